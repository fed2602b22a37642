// The handles on classes, instances, properties and method arguments.
#include "Model/Schema.h"

#include <Pegasus/Common/CIMClass.h>
#include <Pegasus/Common/CIMObject.h>
#include <Pegasus/Common/CIMParamValue.h>
#include <Pegasus/Common/MessageLoader.h>

#include <Pegasus/Common/InternalException.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <string_view>

namespace cimom
{

using namespace Pegasus;

namespace
{

bool identical(const Qualifier& a, const Qualifier& b)
{
    return a.name.equal(b.name) && a.value.equal(b.value) && a.propagated == b.propagated &&
           a.flavor.overridable == b.flavor.overridable &&
           a.flavor.toSubclass == b.flavor.toSubclass &&
           a.flavor.toInstance == b.flavor.toInstance &&
           a.flavor.translatable == b.flavor.translatable;
}

bool identical(const Qualifiers& a, const Qualifiers& b)
{
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](const Qualifier& x, const Qualifier& y) { return identical(x, y); });
}

/// A fixed size needs an array of that size (also for a null), none accepts any value.
bool fitsArraySize(const CIMValue& value, Uint32 arraySize)
{
    return arraySize == 0 || (value.isArray() && value.getArraySize() == arraySize);
}

template <class T>
const std::shared_ptr<T>& at(const std::vector<std::shared_ptr<T>>& elements, Uint32 index)
{
    if (index >= elements.size()) detail::throwOutOfBounds();
    return elements[index];
}

}  // namespace

bool identical(const Property& a, const Property& b)
{
    return a.name.equal(b.name) && a.value.equal(b.value) &&
           a.referenceClassName.equal(b.referenceClassName) && a.classOrigin.equal(b.classOrigin) &&
           a.propagated == b.propagated && identical(a.qualifiers, b.qualifiers);
}

bool identical(const Instance& a, const Instance& b)
{
    return a.path.identical(b.path) && identical(a.qualifiers, b.qualifiers) &&
           std::equal(a.properties.begin(), a.properties.end(), b.properties.begin(),
                      b.properties.end(),
                      [](const auto& x, const auto& y) { return identical(*x, *y); });
}

std::shared_ptr<Property> clone(const Property& property)
{
    auto copy = std::make_shared<Property>(property);
    copy->isOfClass = false;
    return copy;
}

std::shared_ptr<Instance> clone(const Instance& instance)
{
    auto copy = std::make_shared<Instance>(instance);
    for (auto& property : copy->properties)
        property = clone(*property);
    return copy;
}

Qualifiers::Qualifiers(std::vector<Qualifier> qualifiers)
{
    if (qualifiers.empty()) return;
    list_ = std::make_shared<const std::vector<Qualifier>>(std::move(qualifiers));
}

const Qualifier* Qualifiers::find(const CIMName& name) const
{
    const Qualifier* const found =
        std::find_if(begin(), end(), [&](const Qualifier& x) { return x.name.equal(name); });
    return found == end() ? nullptr : found;
}

bool Qualifiers::isTrue(const char* name) const
{
    // Without a CIMName made of the characters, as this is asked often.
    const std::string_view wanted(name);
    const auto isSameLetter = [](char a, Uint16 b) { return (a | 0x20) == (b | 0x20); };
    return std::any_of(begin(), end(), [&](const Qualifier& x) {
        const Char16* const own = x.name.getString().getChar16Data();
        return std::equal(wanted.begin(), wanted.end(), own, own + x.name.getString().size(),
                          isSameLetter) &&
               x.value.equal(CIMValue(true));
    });
}

}  // namespace cimom

namespace Pegasus
{

namespace detail
{

void throwUninitialized()
{
    throw UninitializedObjectException();
}

void throwOutOfBounds()
{
    throw IndexOutOfBoundsException();
}

void InstanceHandle::setPath(const CIMObjectPath& path)
{
    cimom::Instance& instance = object();
    if (path.getClassName().isNull()) throw UninitializedObjectException();
    if (instance.path.getClassName() != path.getClassName()) throw TypeMismatchException();
    instance.path = path;
}

Uint32 InstanceHandle::findProperty(const CIMName& name) const
{
    // The same names are asked for in one instance after the other: look first where a name of that
    // text was found last.
    thread_local std::array<Uint32, 256> found{};
    const auto& properties = object().properties;
    const auto address = reinterpret_cast<std::uintptr_t>(name.getString().getChar16Data());
    Uint32& last = found[(address / 16 + properties.size()) % found.size()];
    if (last < properties.size() && properties[last]->name.equal(name)) return last;
    const Uint32 position = cimom::positionOf(properties, name);
    if (position != PEG_NOT_FOUND) last = position;
    return position;
}

CIMProperty InstanceHandle::getProperty(Uint32 index)
{
    if (cimom::at(object().properties, index)->isOfClass)
        object().properties[index] = cimom::clone(*object().properties[index]);
    return CIMProperty(object().properties[index]);
}

CIMConstProperty InstanceHandle::getProperty(Uint32 index) const
{
    return CIMConstProperty(object().keep(cimom::at(object().properties, index)));
}

}  // namespace detail

CIMProperty::CIMProperty(const CIMName& name, const CIMValue& value, Uint32 arraySize,
                         const CIMName& referenceClassName, const CIMName& classOrigin,
                         Boolean propagated)
    : PropertyHandle(std::make_shared<cimom::Property>(
          cimom::Property{name, value, arraySize, referenceClassName, classOrigin, propagated, {}}))
{
    const bool isReference = value.getType() == CIMTYPE_REFERENCE;
    if (name.isNull()) throw UninitializedObjectException();
    if (!cimom::fitsArraySize(value, arraySize)) throw TypeMismatchException();
    if (isReference ? value.isArray() : !referenceClassName.isNull()) throw TypeMismatchException();
}

void CIMProperty::setValue(const CIMValue& value)
{
    cimom::Property& property = object();
    if (!property.value.typeCompatible(value) || !cimom::fitsArraySize(value, property.arraySize))
        throw TypeMismatchException();
    property.value = value;
}

CIMInstance::CIMInstance(const CIMObject& x) : InstanceHandle(x.shared())
{
    if (isUninitialized()) throw DynamicCastFailedException();
}

CIMInstance::CIMInstance(const CIMName& className)
    : InstanceHandle(std::make_shared<cimom::Instance>())
{
    if (className.isNull()) throw UninitializedObjectException();
    object().path.setClassName(className);
}

CIMInstance& CIMInstance::addProperty(const CIMProperty& x)
{
    const CIMName& name = x.object().name;
    if (findProperty(name) != PEG_NOT_FOUND) {
        throw AlreadyExistsException("property \"" + name.getString() + "\"");
    }
    object().properties.push_back(x.shared());
    return *this;
}

CIMObjectPath CIMInstance::buildPath(const CIMClass& cimClass) const
{
    Array<CIMName> names;
    cimClass.getKeyNames(names);
    Array<CIMKeyBinding> keys;
    for (Uint32 i = 0; i < names.size(); ++i) {
        const cimom::Property* const property = object().property(names[i]);
        if (!property) throw NoSuchProperty(names[i].getString());
        keys.append(CIMKeyBinding(names[i], property->value));
    }
    return CIMObjectPath(String(), CIMNamespaceName(), getClassName(), keys);
}

void CIMClass::getKeyNames(Array<CIMName>& keyNames) const
{
    keyNames.clear();
    for (const auto& property : object().properties) {
        if (property->qualifiers.isTrue("Key")) keyNames.append(property->name);
    }
}

CIMConstProperty CIMClass::getProperty(Uint32 index) const
{
    return CIMConstProperty(cimom::at(object().properties, index));
}

CIMInstance CIMClass::buildInstance(Boolean includeQualifiers, Boolean includeClassOrigin,
                                    const CIMPropertyList& propertyList) const
{
    CIMInstance instance(getClassName());
    if (includeQualifiers) instance.object().qualifiers = object().qualifiers;
    instance.object().definition = shared();
    auto& properties = instance.object().properties;
    properties.reserve(object().properties.size());
    for (const auto& declared : object().properties) {
        if (!propertyList.useThisProperty(declared->name)) continue;
        const bool hidesQualifiers = !includeQualifiers && !declared->qualifiers.empty();
        const bool hidesOrigin = !includeClassOrigin && !declared->classOrigin.isNull();
        if (declared->isOfClass && !hidesQualifiers && !hidesOrigin) {
            auto* const property = const_cast<cimom::Property*>(declared.get());
            properties.emplace_back(std::shared_ptr<void>(), property);
            continue;
        }
        properties.push_back(cimom::clone(*declared));
        if (hidesQualifiers) properties.back()->qualifiers = cimom::Qualifiers();
        if (hidesOrigin) properties.back()->classOrigin.clear();
    }
    return instance;
}

CIMParamValue::CIMParamValue(String parameterName, CIMValue value, Boolean isTyped)
    : Handle(std::make_shared<const cimom::ParamValue>(
          cimom::ParamValue{parameterName, value, isTyped}))
{
    if (parameterName.size() == 0) throw UninitializedObjectException();
}

}  // namespace Pegasus
