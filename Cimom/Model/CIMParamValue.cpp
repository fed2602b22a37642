#include "Model/Rep.h"

namespace Pegasus
{

using Access = cimom::HandleAccess;
using cimom::ParamValueRep;

namespace
{

const ParamValueRep& read(const detail::Handle& handle)
{
    return Access::read<ParamValueRep>(handle);
}

ParamValueRep& write(detail::Handle& handle)
{
    return Access::write<ParamValueRep>(handle);
}

}  // namespace

CIMParamValue::CIMParamValue(String parameterName, CIMValue value, Boolean isTyped)
{
    auto rep = std::make_shared<ParamValueRep>();
    rep->value = value;
    rep->isTyped = isTyped;
    cimom::HandleAccess::rep(*this) = std::move(rep);
    setParameterName(parameterName);
}

String CIMParamValue::getParameterName() const
{
    return read(*this).name;
}

CIMValue CIMParamValue::getValue() const
{
    return read(*this).value;
}

Boolean CIMParamValue::isTyped() const
{
    return read(*this).isTyped;
}

void CIMParamValue::setParameterName(String& parameterName)
{
    if (parameterName.size() == 0) throw UninitializedObjectException();
    write(*this).name = parameterName;
}

void CIMParamValue::setValue(CIMValue& value)
{
    write(*this).value = value;
}

void CIMParamValue::setIsTyped(Boolean isTyped)
{
    write(*this).isTyped = isTyped;
}

CIMParamValue CIMParamValue::clone() const
{
    return Access::make<CIMParamValue>(read(*this).clone());
}

}  // namespace Pegasus
