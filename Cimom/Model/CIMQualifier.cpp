#include "Model/Rep.h"

namespace Pegasus
{

using Access = cimom::HandleAccess;
using cimom::QualifiedRep;
using cimom::QualifierRep;

namespace
{

const QualifierRep& read(const detail::Handle& handle)
{
    return Access::read<QualifierRep>(handle);
}

QualifierRep& write(detail::Handle& handle)
{
    return Access::write<QualifierRep>(handle);
}

const cimom::ElementList<QualifierRep>& qualifiers(const detail::Handle& handle)
{
    return Access::read<QualifiedRep>(handle).qualifiers;
}

}  // namespace

namespace detail
{

QualifierReader::QualifierReader(const CIMName& name, const CIMValue& value,
                                 const CIMFlavor& flavor, Boolean propagated)
{
    auto rep = std::make_shared<QualifierRep>(name);
    rep->value = value;
    rep->flavor = flavor;
    rep->propagated = propagated;
    Access::rep(*this) = std::move(rep);
}

const CIMName& QualifierReader::getName() const
{
    return read(*this).name;
}

CIMType QualifierReader::getType() const
{
    return read(*this).value.getType();
}

Boolean QualifierReader::isArray() const
{
    return read(*this).value.isArray();
}

const CIMValue& QualifierReader::getValue() const
{
    return read(*this).value;
}

const CIMFlavor& QualifierReader::getFlavor() const
{
    return read(*this).flavor;
}

Uint32 QualifierReader::getPropagated() const
{
    return read(*this).propagated ? 1 : 0;
}

Boolean QualifierReader::identical(const CIMConstQualifier& x) const
{
    return cimom::identical(read(*this), read(x));
}

CIMQualifier QualifierReader::clone() const
{
    return Access::make<CIMQualifier>(read(*this).clone());
}

Uint32 QualifiedReader::findQualifier(const CIMName& name) const
{
    return qualifiers(*this).find(name);
}

CIMConstQualifier QualifiedReader::getQualifier(Uint32 index) const
{
    return qualifierAt(index);
}

Uint32 QualifiedReader::getQualifierCount() const
{
    return qualifiers(*this).size();
}

void QualifiedReader::insertQualifier(const CIMQualifier& x)
{
    Access::write<QualifiedRep>(*this).qualifiers.add(x);
}

CIMQualifier QualifiedReader::qualifierAt(Uint32 index) const
{
    return Access::make<CIMQualifier>(qualifiers(*this).at(index));
}

void QualifiedReader::eraseQualifier(Uint32 index)
{
    Access::write<QualifiedRep>(*this).qualifiers.remove(index);
}

}  // namespace detail

void CIMQualifier::setName(const CIMName& name)
{
    write(*this).rename(name, QualifierRep::kind);
}

void CIMQualifier::setValue(const CIMValue& value)
{
    write(*this).value = value;
}

void CIMQualifier::setFlavor(const CIMFlavor& flavor)
{
    write(*this).flavor = flavor;
}

void CIMQualifier::unsetFlavor(const CIMFlavor& flavor)
{
    write(*this).flavor.removeFlavor(flavor);
}

void CIMQualifier::setPropagated(Boolean propagated)
{
    write(*this).propagated = propagated;
}

}  // namespace Pegasus
