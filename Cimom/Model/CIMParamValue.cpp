#include "Model/Rep.h"

namespace Pegasus
{

using namespace cimom;

CIMParamValue::CIMParamValue(String parameterName, CIMValue value, Boolean isTyped)
{
    auto rep = std::make_shared<ParamValueRep>();
    rep->value = value;
    rep->isTyped = isTyped;
    representation(*this) = std::move(rep);
    setParameterName(parameterName);
}

String CIMParamValue::getParameterName() const
{
    return read<ParamValueRep>(*this).name;
}

CIMValue CIMParamValue::getValue() const
{
    return read<ParamValueRep>(*this).value;
}

Boolean CIMParamValue::isTyped() const
{
    return read<ParamValueRep>(*this).isTyped;
}

void CIMParamValue::setParameterName(String& parameterName)
{
    if (parameterName.size() == 0) throw UninitializedObjectException();
    write<ParamValueRep>(*this).name = parameterName;
}

void CIMParamValue::setValue(CIMValue& value)
{
    write<ParamValueRep>(*this).value = value;
}

void CIMParamValue::setIsTyped(Boolean isTyped)
{
    write<ParamValueRep>(*this).isTyped = isTyped;
}

CIMParamValue CIMParamValue::clone() const
{
    return make<CIMParamValue>(read<ParamValueRep>(*this).clone());
}

}  // namespace Pegasus
