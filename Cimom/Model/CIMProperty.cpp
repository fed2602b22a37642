#include <Pegasus/Common/CIMProperty.h>

#include "Model/Elements.h"

namespace Pegasus
{

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

template <class Property>
const CIMName& PropertyHandle<Property>::getName() const
{
    return this->object().name;
}

template <class Property>
const CIMValue& PropertyHandle<Property>::getValue() const
{
    return this->object().value;
}

template <class Property>
CIMProperty PropertyHandle<Property>::clone() const
{
    return CIMProperty(std::make_shared<cimom::Property>(this->object()));
}

template class PropertyHandle<cimom::Property>;
template class PropertyHandle<const cimom::Property>;

}  // namespace detail

CIMProperty::CIMProperty(const CIMName& name, const CIMValue& value, Uint32 arraySize,
                         const CIMName& referenceClassName, const CIMName& classOrigin,
                         Boolean propagated)
    : PropertyHandle(std::make_shared<cimom::Property>(
          cimom::Property{name, value, arraySize, referenceClassName, classOrigin, propagated, {}}))
{
    const bool isReference = value.getType() == CIMTYPE_REFERENCE;
    if (name.isNull()) throw UninitializedObjectException();
    if (!fitsArraySize(value, arraySize)) throw TypeMismatchException();
    if (isReference ? value.isArray() : !referenceClassName.isNull()) throw TypeMismatchException();
}

void CIMProperty::setValue(const CIMValue& value)
{
    cimom::Property& property = object();
    if (!property.value.typeCompatible(value) || !fitsArraySize(value, property.arraySize))
        throw TypeMismatchException();
    property.value = value;
}

}  // namespace Pegasus
