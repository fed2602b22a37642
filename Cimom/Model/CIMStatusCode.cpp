#include <Pegasus/Common/CIMStatusCode.h>

namespace Pegasus
{

const char* cimStatusCodeToString(CIMStatusCode code)
{
    switch (code) {
#define NAME_OF(NAME, NUMBER) \
    case NAME:                \
        return #NAME;
        PEGASUS_CIM_STATUS_CODES(NAME_OF)
#undef NAME_OF
    }
    return "Unrecognized CIM status code";
}

}  // namespace Pegasus
