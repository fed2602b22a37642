#include "Model/Rep.h"

namespace Pegasus
{

using namespace cimom;

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
    representation(*this) = std::move(rep);
}

const CIMName& QualifierDeclReader::getName() const
{
    return read<QualifierDeclRep>(*this).name;
}

CIMType QualifierDeclReader::getType() const
{
    return read<QualifierDeclRep>(*this).value.getType();
}

Boolean QualifierDeclReader::isArray() const
{
    return read<QualifierDeclRep>(*this).value.isArray();
}

const CIMValue& QualifierDeclReader::getValue() const
{
    return read<QualifierDeclRep>(*this).value;
}

const CIMScope& QualifierDeclReader::getScope() const
{
    return read<QualifierDeclRep>(*this).scope;
}

const CIMFlavor& QualifierDeclReader::getFlavor() const
{
    return read<QualifierDeclRep>(*this).flavor;
}

Uint32 QualifierDeclReader::getArraySize() const
{
    return read<QualifierDeclRep>(*this).arraySize;
}

Boolean QualifierDeclReader::identical(const CIMConstQualifierDecl& x) const
{
    const QualifierDeclRep& a = read<QualifierDeclRep>(*this);
    const QualifierDeclRep& b = read<QualifierDeclRep>(x);
    return a.name.equal(b.name) && a.value.equal(b.value) && a.scope.equal(b.scope) &&
           a.flavor.equal(b.flavor) && a.arraySize == b.arraySize;
}

CIMQualifierDecl QualifierDeclReader::clone() const
{
    return make<CIMQualifierDecl>(read<QualifierDeclRep>(*this).clone());
}

}  // namespace detail

void CIMQualifierDecl::setName(const CIMName& name)
{
    rename<QualifierDeclRep>(*this, name);
}

void CIMQualifierDecl::setValue(const CIMValue& value)
{
    write<QualifierDeclRep>(*this).value = value;
}

}  // namespace Pegasus
