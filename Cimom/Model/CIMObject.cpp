#include "Model/Rep.h"

namespace Pegasus
{

using namespace cimom;

namespace detail
{

const CIMName& ObjectReader::getClassName() const
{
    return read<ObjectRep>(*this).path.getClassName();
}

const CIMObjectPath& ObjectReader::getPath() const
{
    return read<ObjectRep>(*this).path;
}

Uint32 ObjectReader::findProperty(const CIMName& name) const
{
    return read<ObjectRep>(*this).properties.find(name);
}

CIMConstProperty ObjectReader::getProperty(Uint32 index) const
{
    return propertyAt(index);
}

Uint32 ObjectReader::getPropertyCount() const
{
    return read<ObjectRep>(*this).properties.size();
}

void ObjectReader::assignPath(const CIMObjectPath& path)
{
    const ObjectRep& rep = read<ObjectRep>(*this);
    if (path.getClassName().isNull()) throw UninitializedObjectException();
    if (!rep.path.getClassName().equal(path.getClassName())) throw TypeMismatchException();
    write<ObjectRep>(*this).path = path;
}

void ObjectReader::insertProperty(const CIMProperty& x)
{
    const auto& property = read<PropertyRep>(x);
    ObjectRep& rep = write<ObjectRep>(*this);
    rep.properties.checkNew(property);
    const bool isClass = dynamic_cast<const ClassRep*>(&rep) != nullptr;
    const bool isReference = property.value.getType() == CIMTYPE_REFERENCE;
    if (isClass && isReference && property.referenceClassName.isNull())
        throw TypeMismatchException();
    rep.properties.add(x);
}

CIMProperty ObjectReader::propertyAt(Uint32 index) const
{
    return make<CIMProperty>(read<ObjectRep>(*this).properties.at(index));
}

void ObjectReader::eraseProperty(Uint32 index)
{
    write<ObjectRep>(*this).properties.remove(index);
}

void ObjectReader::filterInstance(Boolean includeQualifiers, Boolean includeClassOrigin,
                                  const CIMPropertyList& propertyList)
{
    ObjectRep& rep = write<ObjectRep>(*this);
    rep.properties.retain(
        [&](const PropertyRep& property) { return propertyList.useThisProperty(property.name); });
    if (!includeQualifiers) rep.qualifiers.clear();
    for (const auto& property : rep.properties) {
        if (!includeQualifiers) property->qualifiers.clear();
        if (!includeClassOrigin) property->classOrigin.clear();
    }
}

Boolean AnyObjectReader::isClass() const
{
    return dynamic_cast<const ClassRep*>(representation(*this).get()) != nullptr;
}

Boolean AnyObjectReader::isInstance() const
{
    return dynamic_cast<const InstanceRep*>(representation(*this).get()) != nullptr;
}

String AnyObjectReader::toString() const
{
    const ObjectRep& rep = read<ObjectRep>(*this);
    String text(isClass() ? "class " : "instance of ");
    text.append(rep.path.getClassName().getString());
    text.append(String(" {"));
    for (const auto& property : rep.properties) {
        text.append(String(" "));
        text.append(property->name.getString());
        text.append(String(" = "));
        text.append(property->value.isNull() ? String("NULL") : property->value.toString());
        text.append(String(";"));
    }
    text.append(String(" }"));
    return text;
}

Boolean AnyObjectReader::identical(const CIMConstObject& x) const
{
    const auto& a = read<ObjectRep>(*this);
    const auto& b = read<ObjectRep>(x);
    const auto* thisClass = dynamic_cast<const ClassRep*>(&a);
    if (!thisClass) return cimom::identical(a, b);
    const auto* otherClass = dynamic_cast<const ClassRep*>(&b);
    return otherClass && cimom::identical(*thisClass, *otherClass);
}

CIMObject AnyObjectReader::clone() const
{
    return make<CIMObject>(read<ObjectRep>(*this).clone());
}

}  // namespace detail

CIMObject::CIMObject(const CIMClass& x) : Object(static_cast<const ObjectReader&>(x)) {}

CIMObject::CIMObject(const CIMInstance& x) : Object(static_cast<const ObjectReader&>(x)) {}

void CIMObject::instanceFilter(Boolean includeQualifiers, Boolean includeClassOrigin,
                               const CIMPropertyList& propertyList)
{
    filterInstance(includeQualifiers, includeClassOrigin, propertyList);
}

CIMConstObject::CIMConstObject(const CIMClass& x) : AnyObjectReader(x) {}

CIMConstObject::CIMConstObject(const CIMInstance& x) : AnyObjectReader(x) {}

CIMConstObject::CIMConstObject(const CIMConstClass& x) : AnyObjectReader(x) {}

CIMConstObject::CIMConstObject(const CIMConstInstance& x) : AnyObjectReader(x) {}

}  // namespace Pegasus
