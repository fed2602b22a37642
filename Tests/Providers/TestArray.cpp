// What stands between the providers and the libraries that they call.
#include "TestArray.h"

#include <Pegasus/Provider/CIMOMHandle.h>

#include <dlfcn.h>

namespace
{

/// The operation of the array's library that one of this program stands before.
template <class Function>
Function* arrays(const char* operation, Function*)
{
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, operation));
}

}  // namespace

extern "C" {

int api_getCages_Cached(int zero, api_CageList_t* cages)
{
    const int status = arrays(__func__, &api_getCages_Cached)(zero, cages);
    if (TestArray::current->editCages) TestArray::current->editCages(*cages);
    return status;
}

int api_findMagazineIDs(const char* tag, api_MagazineIDs_t* ids)
{
    const int status = arrays(__func__, &api_findMagazineIDs)(tag, ids);
    if (TestArray::current->editMagazineIDs) TestArray::current->editMagazineIDs(*ids);
    return status;
}

void __real_free(void* memory);

/// Stands before free() in the objects of this program (-Wl,--wrap=free), which free nothing but
/// record lists.
void __wrap_free(void* memory)
{
    __real_free(memory);
    if (memory != nullptr) log_message(0, "%s", FREED.c_str());
}

}  // extern "C"

/// Stands before the library's own, which leaves no trace.
void Pegasus::CIMOMHandle::disallowProviderUnload()
{
    TestArray::note("cimom.disallowProviderUnload");
}
