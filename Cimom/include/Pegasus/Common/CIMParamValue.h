// Arguments and output parameters of method calls.
#pragma once

#include <Pegasus/Common/CIMValue.h>

namespace Pegasus
{

/// A named value that is passed to or returned by a method. Every call on an uninitialized one,
/// isUninitialized() apart, throws UninitializedObjectException.
class CIMParamValue
{
public:
    CIMParamValue() = default;
    /// `isTyped`: the value came with its type. Throws UninitializedObjectException when the name
    /// is empty.
    CIMParamValue(const String& parameterName, const CIMValue& value, Boolean isTyped = true)
        : name_(parameterName), value_(value), isTyped_(isTyped)
    {
        checked();
    }

    Boolean isUninitialized() const { return name_.size() == 0; }
    String getParameterName() const { return checked().name_; }
    CIMValue getValue() const { return checked().value_; }
    Boolean isTyped() const { return checked().isTyped_; }

private:
    const CIMParamValue& checked() const
    {
        if (isUninitialized()) detail::throwUninitialized();
        return *this;
    }

    String name_;
    CIMValue value_;
    Boolean isTyped_ = true;
};

}  // namespace Pegasus
