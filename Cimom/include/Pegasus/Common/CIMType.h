// The types of CIM values.
#pragma once

#include <Pegasus/Common/CIMTypeTable.h>
#include <Pegasus/Common/Config.h>

namespace Pegasus
{

// With an underlying type, so that a number which is not a CIM type can be recognised.
enum CIMType : Sint32
{
#define PEGASUS_TYPE(NAME, TEXT, T) CIMTYPE_##NAME,
    PEGASUS_CIM_TYPES(PEGASUS_TYPE)
#undef PEGASUS_TYPE
};

/// "boolean" to "instance"; "unknown" for a number that is not a CIM type.
const char* cimTypeToString(const CIMType type);

}  // namespace Pegasus
