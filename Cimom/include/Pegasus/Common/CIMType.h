// The types of CIM values.
#pragma once

#include <Pegasus/Common/Config.h>

/// The types, their names and the C++ types of their values: TYPE(NAME, TEXT, T) for each.
#define PEGASUS_CIM_TYPES(TYPE)                 \
    TYPE(BOOLEAN, "boolean", Boolean)           \
    TYPE(UINT8, "uint8", Uint8)                 \
    TYPE(SINT8, "sint8", Sint8)                 \
    TYPE(UINT16, "uint16", Uint16)              \
    TYPE(SINT16, "sint16", Sint16)              \
    TYPE(UINT32, "uint32", Uint32)              \
    TYPE(SINT32, "sint32", Sint32)              \
    TYPE(UINT64, "uint64", Uint64)              \
    TYPE(SINT64, "sint64", Sint64)              \
    TYPE(REAL32, "real32", Real32)              \
    TYPE(REAL64, "real64", Real64)              \
    TYPE(CHAR16, "char16", Char16)              \
    TYPE(STRING, "string", String)              \
    TYPE(DATETIME, "datetime", CIMDateTime)     \
    TYPE(REFERENCE, "reference", CIMObjectPath) \
    TYPE(OBJECT, "object", CIMObject)           \
    TYPE(INSTANCE, "instance", CIMInstance)

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
