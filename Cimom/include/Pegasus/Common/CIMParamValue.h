// Arguments and output parameters of method calls.
#pragma once

#include <Pegasus/Common/Array.h>
#include <Pegasus/Common/CIMHandle.h>
#include <Pegasus/Common/CIMValue.h>
#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/Linkage.h>
#include <Pegasus/Common/String.h>

namespace Pegasus
{

/// A named value that is passed to or returned by a method. A handle.
class PEGASUS_COMMON_LINKAGE CIMParamValue : public detail::Handle
{
public:
    CIMParamValue() = default;
    /// `isTyped`: the value came with its type. Throws UninitializedObjectException when the name
    /// is empty.
    CIMParamValue(String parameterName, CIMValue value, Boolean isTyped = true);

    String getParameterName() const;
    CIMValue getValue() const;
    Boolean isTyped() const;
    void setParameterName(String& parameterName);
    /// Accepts a value of any type.
    void setValue(CIMValue& value);
    void setIsTyped(Boolean isTyped);
    /// An independent copy.
    CIMParamValue clone() const;
};

}  // namespace Pegasus
