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

CIMProperty::CIMProperty(std::shared_ptr<cimom::Property> property) : property_(std::move(property))
{
}

CIMProperty::CIMProperty(std::shared_ptr<cimom::Instance> instance, Uint32 position)
    : instance_(std::move(instance)), position_(position)
{
}

CIMProperty::CIMProperty(const CIMName& name, const CIMValue& value, Uint32 arraySize,
                         const CIMName& referenceClassName, const CIMName& classOrigin,
                         Boolean propagated)
    : property_(std::make_shared<cimom::Property>(
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

const CIMName& CIMProperty::getName() const
{
    return where().declaration.name;
}

const CIMValue& CIMProperty::getValue() const
{
    return where().value;
}

CIMProperty CIMProperty::clone() const
{
    if (instance_) return CIMProperty(instance_->properties.copy(position_));
    return CIMProperty(std::make_shared<cimom::Property>(where().declaration));
}

void CIMProperty::setValue(const CIMValue& value)
{
    const cimom::InstanceProperty present = where();
    if (!present.value.typeCompatible(value) ||
        !fitsArraySize(value, present.declaration.arraySize))
        throw TypeMismatchException();
    if (instance_)
        instance_->properties.setValue(position_, value);
    else
        property_->value = value;
}

cimom::InstanceProperty CIMProperty::where() const
{
    if (instance_) return instance_->properties[position_];
    if (!property_) detail::throwUninitialized();
    return {*property_, property_->value};
}

const CIMName& CIMConstProperty::getName() const
{
    return object().name;
}

const CIMValue& CIMConstProperty::getValue() const
{
    return object().value;
}

CIMProperty CIMConstProperty::clone() const
{
    return CIMProperty(std::make_shared<cimom::Property>(object()));
}

}  // namespace Pegasus
