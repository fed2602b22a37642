// Arguments and output parameters of method calls.
#pragma once

#include <Pegasus/Common/CIMHandle.h>
#include <Pegasus/Common/CIMValue.h>

namespace cimom
{

struct ParamValue;

}  // namespace cimom

namespace Pegasus
{

/// A named value that is passed to or returned by a method. A handle.
class CIMParamValue : public detail::Handle<const cimom::ParamValue>
{
public:
    CIMParamValue() = default;
    /// `isTyped`: the value came with its type. Throws UninitializedObjectException when the name
    /// is empty.
    CIMParamValue(String parameterName, CIMValue value, Boolean isTyped = true);

    String getParameterName() const;
    CIMValue getValue() const;
    Boolean isTyped() const;
};

}  // namespace Pegasus
