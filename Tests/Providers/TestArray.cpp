// What stands between the providers and the libraries that they call.
#include "TestArray.h"

#include <Pegasus/Provider/CIMOMHandle.h>

extern "C" {

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
