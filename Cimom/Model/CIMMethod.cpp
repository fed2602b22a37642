#include "Model/Rep.h"

namespace Pegasus
{

using Access = cimom::HandleAccess;
using cimom::MethodRep;

namespace
{

const MethodRep& read(const detail::Handle& handle)
{
    return Access::read<MethodRep>(handle);
}

MethodRep& write(detail::Handle& handle)
{
    return Access::write<MethodRep>(handle);
}

}  // namespace

namespace detail
{

MethodReader::MethodReader(const CIMName& name, CIMType type, const CIMName& classOrigin,
                           Boolean propagated)
{
    auto rep = std::make_shared<MethodRep>(name);
    rep->type = type;
    rep->classOrigin = classOrigin;
    rep->propagated = propagated;
    Access::rep(*this) = std::move(rep);
}

const CIMName& MethodReader::getName() const
{
    return read(*this).name;
}

CIMType MethodReader::getType() const
{
    return read(*this).type;
}

const CIMName& MethodReader::getClassOrigin() const
{
    return read(*this).classOrigin;
}

Boolean MethodReader::getPropagated() const
{
    return read(*this).propagated;
}

Uint32 MethodReader::findParameter(const CIMName& name) const
{
    return read(*this).parameters.find(name);
}

CIMConstParameter MethodReader::getParameter(Uint32 index) const
{
    return Access::make<CIMConstParameter>(read(*this).parameters.at(index));
}

Uint32 MethodReader::getParameterCount() const
{
    return read(*this).parameters.size();
}

Boolean MethodReader::identical(const CIMConstMethod& x) const
{
    return cimom::identical(read(*this), read(x));
}

CIMMethod MethodReader::clone() const
{
    return Access::make<CIMMethod>(read(*this).clone());
}

}  // namespace detail

void CIMMethod::setName(const CIMName& name)
{
    write(*this).rename(name, MethodRep::kind);
}

void CIMMethod::setType(CIMType type)
{
    write(*this).type = type;
}

void CIMMethod::setClassOrigin(const CIMName& classOrigin)
{
    write(*this).classOrigin = classOrigin;
}

void CIMMethod::setPropagated(Boolean propagated)
{
    write(*this).propagated = propagated;
}

CIMMethod& CIMMethod::addParameter(const CIMParameter& x)
{
    write(*this).parameters.add(x);
    return *this;
}

CIMParameter CIMMethod::getParameter(Uint32 index)
{
    return Access::make<CIMParameter>(read(*this).parameters.at(index));
}

void CIMMethod::removeParameter(Uint32 index)
{
    write(*this).parameters.remove(index);
}

}  // namespace Pegasus
