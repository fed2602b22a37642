// visitType(): from a CIM type to the C++ type of its values.
#pragma once

#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMObject.h>
#include <Pegasus/Common/CIMTypeTable.h>
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
#define CIMOM_VISIT(NAME, TEXT, T) \
    case CIMTYPE_##NAME:           \
        return std::forward<Visitor>(visitor)(T());
        PEGASUS_CIM_TYPES(CIMOM_VISIT)
#undef CIMOM_VISIT
    }
    throw TypeMismatchException();
}

}  // namespace cimom
