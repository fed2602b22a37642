#include "Model/Rep.h"

namespace Pegasus
{

using namespace cimom;

namespace
{

const ElementList<QualifierRep>& qualifiers(const detail::Handle& handle)
{
    return read<QualifiedRep>(handle).qualifiers;
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
    representation(*this) = std::move(rep);
}

const CIMName& QualifierReader::getName() const
{
    return read<QualifierRep>(*this).name;
}

CIMType QualifierReader::getType() const
{
    return read<QualifierRep>(*this).value.getType();
}

Boolean QualifierReader::isArray() const
{
    return read<QualifierRep>(*this).value.isArray();
}

const CIMValue& QualifierReader::getValue() const
{
    return read<QualifierRep>(*this).value;
}

const CIMFlavor& QualifierReader::getFlavor() const
{
    return read<QualifierRep>(*this).flavor;
}

Uint32 QualifierReader::getPropagated() const
{
    return read<QualifierRep>(*this).propagated ? 1 : 0;
}

Boolean QualifierReader::identical(const CIMConstQualifier& x) const
{
    return cimom::identical(read<QualifierRep>(*this), read<QualifierRep>(x));
}

CIMQualifier QualifierReader::clone() const
{
    return make<CIMQualifier>(read<QualifierRep>(*this).clone());
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
    write<QualifiedRep>(*this).qualifiers.add(x);
}

CIMQualifier QualifiedReader::qualifierAt(Uint32 index) const
{
    return make<CIMQualifier>(qualifiers(*this).at(index));
}

void QualifiedReader::eraseQualifier(Uint32 index)
{
    write<QualifiedRep>(*this).qualifiers.remove(index);
}

}  // namespace detail

void CIMQualifier::setName(const CIMName& name)
{
    rename<QualifierRep>(*this, name);
}

void CIMQualifier::setValue(const CIMValue& value)
{
    write<QualifierRep>(*this).value = value;
}

void CIMQualifier::setFlavor(const CIMFlavor& flavor)
{
    write<QualifierRep>(*this).flavor = flavor;
}

void CIMQualifier::unsetFlavor(const CIMFlavor& flavor)
{
    write<QualifierRep>(*this).flavor.removeFlavor(flavor);
}

void CIMQualifier::setPropagated(Boolean propagated)
{
    write<QualifierRep>(*this).propagated = propagated;
}

}  // namespace Pegasus
