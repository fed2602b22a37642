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

PropertyHandle::PropertyHandle(std::shared_ptr<cimom::Property> property)
    : property_(std::move(property))
{
}

PropertyHandle::PropertyHandle(std::shared_ptr<cimom::Instance> instance, Uint32 position)
    : instance_(std::move(instance)), position_(position)
{
}

cimom::InstanceProperty PropertyHandle::get() const
{
    if (instance_) return instance_->properties[position_];
    if (!property_) throwUninitialized();
    return {*property_, property_->value};
}

const CIMName& PropertyHandle::getName() const
{
    return get().declaration.name;
}

const CIMValue& PropertyHandle::getValue() const
{
    return get().value;
}

CIMProperty PropertyHandle::clone() const
{
    if (instance_) return CIMProperty(instance_->properties.copy(position_));
    return CIMProperty(std::make_shared<cimom::Property>(get().declaration));
}

}  // namespace detail

CIMProperty::CIMProperty(std::shared_ptr<cimom::Property> property)
    : PropertyHandle(std::move(property))
{
}

CIMProperty::CIMProperty(std::shared_ptr<cimom::Instance> instance, Uint32 position)
    : PropertyHandle(std::move(instance), position)
{
}

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

std::shared_ptr<cimom::Property> CIMProperty::shared() const
{
    return instance_ ? instance_->properties.own(position_) : property_;
}

void CIMProperty::setValue(const CIMValue& value)
{
    const cimom::InstanceProperty present = get();
    if (!present.value.typeCompatible(value) ||
        !fitsArraySize(value, present.declaration.arraySize))
        throw TypeMismatchException();
    if (instance_)
        instance_->properties.setValue(position_, value);
    else
        property_->value = value;
}

CIMConstProperty::CIMConstProperty(const std::shared_ptr<const cimom::Property>& property)
    : PropertyHandle(std::const_pointer_cast<cimom::Property>(property))  // and never changed
{
}

}  // namespace Pegasus
