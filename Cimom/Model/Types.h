// The C++ types behind the CIM types.
#pragma once

#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMObject.h>
#include <Pegasus/Common/CIMValue.h>

#include <utility>

namespace cimom
{

/// Calls the visitor with a T() of the C++ type that holds values of the CIM type, such as
/// Uint32() or an uninitialized CIMInstance(). Throws TypeMismatchException for what is no type.
template <class Visitor>
decltype(auto) visitType(Pegasus::CIMType type, Visitor&& visitor)
{
    using namespace Pegasus;
    switch (type) {
#define CIMOM_VISIT(CIM_TYPE, T) \
    case CIM_TYPE:               \
        return std::forward<Visitor>(visitor)(T());
        CIMOM_VISIT(CIMTYPE_BOOLEAN, Boolean)
        CIMOM_VISIT(CIMTYPE_UINT8, Uint8)
        CIMOM_VISIT(CIMTYPE_SINT8, Sint8)
        CIMOM_VISIT(CIMTYPE_UINT16, Uint16)
        CIMOM_VISIT(CIMTYPE_SINT16, Sint16)
        CIMOM_VISIT(CIMTYPE_UINT32, Uint32)
        CIMOM_VISIT(CIMTYPE_SINT32, Sint32)
        CIMOM_VISIT(CIMTYPE_UINT64, Uint64)
        CIMOM_VISIT(CIMTYPE_SINT64, Sint64)
        CIMOM_VISIT(CIMTYPE_REAL32, Real32)
        CIMOM_VISIT(CIMTYPE_REAL64, Real64)
        CIMOM_VISIT(CIMTYPE_CHAR16, Char16)
        CIMOM_VISIT(CIMTYPE_STRING, String)
        CIMOM_VISIT(CIMTYPE_DATETIME, CIMDateTime)
        CIMOM_VISIT(CIMTYPE_REFERENCE, CIMObjectPath)
        CIMOM_VISIT(CIMTYPE_OBJECT, CIMObject)
        CIMOM_VISIT(CIMTYPE_INSTANCE, CIMInstance)
#undef CIMOM_VISIT
    }
    throw TypeMismatchException();
}

}  // namespace cimom
