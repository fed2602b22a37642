// The types of CIM values.
#pragma once

#include <Pegasus/Common/CIMTypeTable.h>
#include <Pegasus/Common/Config.h>

namespace Pegasus
{

// With a type, so that a number that is no type can be told from one.
enum CIMType : Sint32
{
#define PEGASUS_TYPE(NAME, TEXT, T) CIMTYPE_##NAME,
    PEGASUS_CIM_TYPES(PEGASUS_TYPE)
#undef PEGASUS_TYPE
};

/// "boolean" to "instance"; "unknown" for what is no type.
const char* cimTypeToString(const CIMType type);

}  // namespace Pegasus
