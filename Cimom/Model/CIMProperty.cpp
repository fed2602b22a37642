#include "Model/Rep.h"

namespace Pegasus
{

using namespace cimom;

namespace
{

/// A fixed size needs an array of that size (also for a null), none accepts any value.
bool fitsArraySize(const CIMValue& value, Uint32 arraySize)
{
    return arraySize == 0 || (value.isArray() && value.getArraySize() == arraySize);
}

}  // namespace

namespace detail
{

PropertyReader::PropertyReader(const CIMName& name, const CIMValue& value, Uint32 arraySize,
                               const CIMName& referenceClassName, const CIMName& classOrigin,
                               Boolean propagated)
{
    auto rep = std::make_shared<PropertyRep>(name);
    const bool isReference = value.getType() == CIMTYPE_REFERENCE;
    if (!fitsArraySize(value, arraySize)) throw TypeMismatchException();
    if (isReference ? value.isArray() : !referenceClassName.isNull()) throw TypeMismatchException();
    rep->value = value;
    rep->arraySize = arraySize;
    rep->referenceClassName = referenceClassName;
    rep->classOrigin = classOrigin;
    rep->propagated = propagated;
    representation(*this) = std::move(rep);
}

const CIMName& PropertyReader::getName() const
{
    return read<PropertyRep>(*this).name;
}

const CIMValue& PropertyReader::getValue() const
{
    return read<PropertyRep>(*this).value;
}

CIMType PropertyReader::getType() const
{
    return read<PropertyRep>(*this).value.getType();
}

Boolean PropertyReader::isArray() const
{
    return read<PropertyRep>(*this).value.isArray();
}

Uint32 PropertyReader::getArraySize() const
{
    return read<PropertyRep>(*this).arraySize;
}

const CIMName& PropertyReader::getReferenceClassName() const
{
    return read<PropertyRep>(*this).referenceClassName;
}

const CIMName& PropertyReader::getClassOrigin() const
{
    return read<PropertyRep>(*this).classOrigin;
}

Boolean PropertyReader::getPropagated() const
{
    return read<PropertyRep>(*this).propagated;
}

Boolean PropertyReader::identical(const CIMConstProperty& x) const
{
    return cimom::identical(read<PropertyRep>(*this), read<PropertyRep>(x));
}

CIMProperty PropertyReader::clone() const
{
    return make<CIMProperty>(read<PropertyRep>(*this).clone());
}

}  // namespace detail

void CIMProperty::setName(const CIMName& name)
{
    rename<PropertyRep>(*this, name);
}

void CIMProperty::setValue(const CIMValue& value)
{
    const PropertyRep& rep = read<PropertyRep>(*this);
    if (!rep.value.typeCompatible(value) || !fitsArraySize(value, rep.arraySize))
        throw TypeMismatchException();
    write<PropertyRep>(*this).value = value;
}

void CIMProperty::setClassOrigin(const CIMName& classOrigin)
{
    write<PropertyRep>(*this).classOrigin = classOrigin;
}

void CIMProperty::setPropagated(Boolean propagated)
{
    write<PropertyRep>(*this).propagated = propagated;
}

}  // namespace Pegasus
