// What stands between the providers and the libraries that they call.
#include "TestArray.h"

#include <Pegasus/Provider/CIMOMHandle.h>

#include <dlfcn.h>

namespace
{

template <class Function>
Function* arrays(const char* operation, Function*)
{
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, operation));
}

template <class List, class Record>
int passOn(int (*query)(int, List*), int zero, List* list, Record* List::*records)
{
    const int status = query(zero, list);
    if constexpr (std::is_same_v<List, api_CageList_t>) {
        if (TestArray::current->editCages) TestArray::current->editCages(*list);
    }
    const std::lock_guard<std::mutex> guard(TestArray::lock);
    if (list->*records != nullptr) TestArray::lists.insert(list->*records);
    return status;
}

}  // namespace

#define LIST_QUERY(operation, List, records)                                         \
    int operation(int zero, List* list)                                              \
    {                                                                                \
        return passOn(arrays(#operation, &(operation)), zero, list, &List::records); \
    }

extern "C" {

LIST_QUERY(api_getCages_Cached, api_CageList_t, cages)
LIST_QUERY(api_getCagesNoMfg_Cached, api_CageList_t, cages)
LIST_QUERY(api_getCagesPS_Cached, api_CagePSList_t, cages)
LIST_QUERY(api_getMagazines_Cached, api_MagazineList_t, mags)
LIST_QUERY(api_getMagazinesNoMfg_Cached, api_MagazineList_t, mags)
LIST_QUERY(api_getFCALs_Cached, api_FCALList_t, fcals)
LIST_QUERY(api_getFCALsNoMfg_Cached, api_FCALList_t, fcals)

int api_findMagazineIDs(const char* tag, api_MagazineIDs_t* ids)
{
    const int status = arrays(__func__, &api_findMagazineIDs)(tag, ids);
    if (TestArray::current->editMagazineIDs) TestArray::current->editMagazineIDs(*ids);
    return status;
}

void __real_free(void* memory);

/// Stands before free() in the objects of this program (-Wl,--wrap=free).
void __wrap_free(void* memory)
{
    std::unique_lock<std::mutex> guard(TestArray::lock);
    const bool isList = TestArray::lists.erase(memory) != 0;
    guard.unlock();
    __real_free(memory);
    if (isList) log_message(0, "%s", FREED.c_str());
}

}  // extern "C"

/// Stands before the library's own, which leaves no trace.
void Pegasus::CIMOMHandle::disallowProviderUnload()
{
    TestArray::note("cimom.disallowProviderUnload");
}
