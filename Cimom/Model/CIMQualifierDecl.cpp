#include "Model/Rep.h"

namespace Pegasus
{

using Access = cimom::HandleAccess;
using cimom::QualifierDeclRep;

namespace
{

const QualifierDeclRep& read(const detail::Handle& handle)
{
    return Access::read<QualifierDeclRep>(handle);
}

}  // namespace

namespace detail
{

QualifierDeclReader::QualifierDeclReader(const CIMName& name, const CIMValue& value,
                                         const CIMScope& scope, const CIMFlavor& flavor,
                                         Uint32 arraySize)
{
    auto rep = std::make_shared<QualifierDeclRep>(name);
    rep->value = value;
    rep->scope = scope;
    rep->flavor = flavor;
    rep->arraySize = arraySize;
    Access::rep(*this) = std::move(rep);
}

const CIMName& QualifierDeclReader::getName() const
{
    return read(*this).name;
}

CIMType QualifierDeclReader::getType() const
{
    return read(*this).value.getType();
}

Boolean QualifierDeclReader::isArray() const
{
    return read(*this).value.isArray();
}

const CIMValue& QualifierDeclReader::getValue() const
{
    return read(*this).value;
}

const CIMScope& QualifierDeclReader::getScope() const
{
    return read(*this).scope;
}

const CIMFlavor& QualifierDeclReader::getFlavor() const
{
    return read(*this).flavor;
}

Uint32 QualifierDeclReader::getArraySize() const
{
    return read(*this).arraySize;
}

Boolean QualifierDeclReader::identical(const CIMConstQualifierDecl& x) const
{
    const QualifierDeclRep& a = read(*this);
    const QualifierDeclRep& b = read(x);
    return a.name.equal(b.name) && a.value.equal(b.value) && a.scope.equal(b.scope) &&
           a.flavor.equal(b.flavor) && a.arraySize == b.arraySize;
}

CIMQualifierDecl QualifierDeclReader::clone() const
{
    return Access::make<CIMQualifierDecl>(read(*this).clone());
}

}  // namespace detail

void CIMQualifierDecl::setName(const CIMName& name)
{
    Access::write<QualifierDeclRep>(*this).rename(name, QualifierDeclRep::kind);
}

void CIMQualifierDecl::setValue(const CIMValue& value)
{
    Access::write<QualifierDeclRep>(*this).value = value;
}

}  // namespace Pegasus
