#include "Model/Rep.h"

namespace Pegasus
{

using namespace cimom;

namespace detail
{

MethodReader::MethodReader(const CIMName& name, CIMType type, const CIMName& classOrigin,
                           Boolean propagated)
{
    auto rep = std::make_shared<MethodRep>(name);
    rep->type = type;
    rep->classOrigin = classOrigin;
    rep->propagated = propagated;
    representation(*this) = std::move(rep);
}

const CIMName& MethodReader::getName() const
{
    return read<MethodRep>(*this).name;
}

CIMType MethodReader::getType() const
{
    return read<MethodRep>(*this).type;
}

const CIMName& MethodReader::getClassOrigin() const
{
    return read<MethodRep>(*this).classOrigin;
}

Boolean MethodReader::getPropagated() const
{
    return read<MethodRep>(*this).propagated;
}

Uint32 MethodReader::findParameter(const CIMName& name) const
{
    return read<MethodRep>(*this).parameters.find(name);
}

CIMConstParameter MethodReader::getParameter(Uint32 index) const
{
    return make<CIMConstParameter>(read<MethodRep>(*this).parameters.at(index));
}

Uint32 MethodReader::getParameterCount() const
{
    return read<MethodRep>(*this).parameters.size();
}

Boolean MethodReader::identical(const CIMConstMethod& x) const
{
    return cimom::identical(read<MethodRep>(*this), read<MethodRep>(x));
}

CIMMethod MethodReader::clone() const
{
    return make<CIMMethod>(read<MethodRep>(*this).clone());
}

}  // namespace detail

void CIMMethod::setName(const CIMName& name)
{
    rename<MethodRep>(*this, name);
}

void CIMMethod::setType(CIMType type)
{
    write<MethodRep>(*this).type = type;
}

void CIMMethod::setClassOrigin(const CIMName& classOrigin)
{
    write<MethodRep>(*this).classOrigin = classOrigin;
}

void CIMMethod::setPropagated(Boolean propagated)
{
    write<MethodRep>(*this).propagated = propagated;
}

CIMMethod& CIMMethod::addParameter(const CIMParameter& x)
{
    write<MethodRep>(*this).parameters.add(x);
    return *this;
}

CIMParameter CIMMethod::getParameter(Uint32 index)
{
    return make<CIMParameter>(read<MethodRep>(*this).parameters.at(index));
}

void CIMMethod::removeParameter(Uint32 index)
{
    write<MethodRep>(*this).parameters.remove(index);
}

}  // namespace Pegasus
