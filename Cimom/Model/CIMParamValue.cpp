#include <Pegasus/Common/CIMParamValue.h>

#include "Model/Elements.h"

namespace Pegasus
{

CIMParamValue::CIMParamValue(String parameterName, CIMValue value, Boolean isTyped)
    : Handle(std::make_shared<const cimom::ParamValue>(
          cimom::ParamValue{parameterName, value, isTyped}))
{
    if (parameterName.size() == 0) throw UninitializedObjectException();
}

String CIMParamValue::getParameterName() const
{
    return object().name;
}

CIMValue CIMParamValue::getValue() const
{
    return object().value;
}

Boolean CIMParamValue::isTyped() const
{
    return object().isTyped;
}

}  // namespace Pegasus
