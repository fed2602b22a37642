#include <Pegasus/Common/CIMType.h>

namespace Pegasus
{

const char* cimTypeToString(const CIMType type)
{
    switch (type) {
#define TEXT_OF(NAME, TEXT, T) \
    case CIMTYPE_##NAME:       \
        return TEXT;
        PEGASUS_CIM_TYPES(TEXT_OF)
#undef TEXT_OF
    }
    return "unknown";
}

}  // namespace Pegasus
