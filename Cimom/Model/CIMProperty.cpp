#include "Model/Rep.h"

namespace Pegasus
{

using Access = cimom::HandleAccess;
using cimom::PropertyRep;

namespace
{

const PropertyRep& read(const detail::Handle& handle)
{
    return Access::read<PropertyRep>(handle);
}

PropertyRep& write(detail::Handle& handle)
{
    return Access::write<PropertyRep>(handle);
}

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
    Access::rep(*this) = std::move(rep);
}

const CIMName& PropertyReader::getName() const
{
    return read(*this).name;
}

const CIMValue& PropertyReader::getValue() const
{
    return read(*this).value;
}

CIMType PropertyReader::getType() const
{
    return read(*this).value.getType();
}

Boolean PropertyReader::isArray() const
{
    return read(*this).value.isArray();
}

Uint32 PropertyReader::getArraySize() const
{
    return read(*this).arraySize;
}

const CIMName& PropertyReader::getReferenceClassName() const
{
    return read(*this).referenceClassName;
}

const CIMName& PropertyReader::getClassOrigin() const
{
    return read(*this).classOrigin;
}

Boolean PropertyReader::getPropagated() const
{
    return read(*this).propagated;
}

Boolean PropertyReader::identical(const CIMConstProperty& x) const
{
    return cimom::identical(read(*this), read(x));
}

CIMProperty PropertyReader::clone() const
{
    return Access::make<CIMProperty>(read(*this).clone());
}

}  // namespace detail

void CIMProperty::setName(const CIMName& name)
{
    write(*this).rename(name, PropertyRep::kind);
}

void CIMProperty::setValue(const CIMValue& value)
{
    const PropertyRep& rep = read(*this);
    if (!rep.value.typeCompatible(value) || !fitsArraySize(value, rep.arraySize))
        throw TypeMismatchException();
    write(*this).value = value;
}

void CIMProperty::setClassOrigin(const CIMName& classOrigin)
{
    write(*this).classOrigin = classOrigin;
}

void CIMProperty::setPropagated(Boolean propagated)
{
    write(*this).propagated = propagated;
}

}  // namespace Pegasus
