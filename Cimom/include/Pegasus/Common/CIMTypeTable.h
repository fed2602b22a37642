// The table of CIM types. Everything that differs by type is generated from it.
#pragma once

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
