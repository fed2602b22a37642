#include "Model/Rep.h"

namespace Pegasus
{

using namespace cimom;

namespace
{

/// The value of a boolean qualifier; false when it is absent, null or of another type. Throws
/// TypeMismatchException for an array of booleans.
bool hasFlag(const QualifiedRep& element, const CIMName& name)
{
    const Uint32 index = element.qualifiers.find(name);
    if (index == PEG_NOT_FOUND) return false;
    const CIMValue& value = element.qualifiers.at(index)->value;
    Boolean flag = false;
    if (value.getType() == CIMTYPE_BOOLEAN) value.get(flag);
    return flag;
}

bool isKey(const PropertyRep& property)
{
    static const CIMName key("Key");
    return hasFlag(property, key);
}

}  // namespace

namespace detail
{

ClassReader::ClassReader(const ObjectReader& other) : ObjectReader(other)
{
    if (!dynamic_cast<const ClassRep*>(representation(*this).get()))
        throw DynamicCastFailedException();
}

ClassReader::ClassReader(const CIMName& className, const CIMName& superClassName)
{
    auto rep = std::make_shared<ClassRep>(className);
    rep->superClassName = superClassName;
    representation(*this) = std::move(rep);
}

Boolean ClassReader::isAssociation() const
{
    static const CIMName association("Association");
    return hasFlag(read<ClassRep>(*this), association);
}

Boolean ClassReader::isAbstract() const
{
    static const CIMName abstract("Abstract");
    return hasFlag(read<ClassRep>(*this), abstract);
}

const CIMName& ClassReader::getSuperClassName() const
{
    return read<ClassRep>(*this).superClassName;
}

Uint32 ClassReader::findMethod(const CIMName& name) const
{
    return read<ClassRep>(*this).methods.find(name);
}

CIMConstMethod ClassReader::getMethod(Uint32 index) const
{
    return make<CIMConstMethod>(read<ClassRep>(*this).methods.at(index));
}

Uint32 ClassReader::getMethodCount() const
{
    return read<ClassRep>(*this).methods.size();
}

void ClassReader::getKeyNames(Array<CIMName>& keyNames) const
{
    const ClassRep& rep = read<ClassRep>(*this);
    keyNames.clear();
    for (const auto& property : rep.properties) {
        if (isKey(*property)) keyNames.append(property->name);
    }
}

Boolean ClassReader::hasKeys() const
{
    const auto& properties = read<ClassRep>(*this).properties;
    return std::any_of(properties.begin(), properties.end(),
                       [](const auto& property) { return isKey(*property); });
}

Boolean ClassReader::identical(const CIMConstClass& x) const
{
    return cimom::identical(read<ClassRep>(*this), read<ClassRep>(x));
}

CIMClass ClassReader::clone() const
{
    return make<CIMClass>(read<ClassRep>(*this).clone());
}

}  // namespace detail

void CIMClass::setSuperClassName(const CIMName& superClassName)
{
    write<ClassRep>(*this).superClassName = superClassName;
}

CIMClass& CIMClass::addMethod(const CIMMethod& x)
{
    write<ClassRep>(*this).methods.add(x);
    return *this;
}

CIMMethod CIMClass::getMethod(Uint32 index)
{
    return make<CIMMethod>(read<ClassRep>(*this).methods.at(index));
}

void CIMClass::removeMethod(Uint32 index)
{
    write<ClassRep>(*this).methods.remove(index);
}

CIMInstance CIMClass::buildInstance(Boolean includeQualifiers, Boolean includeClassOrigin,
                                    const CIMPropertyList& propertyList) const
{
    const ClassRep& rep = read<ClassRep>(*this);
    CIMInstance instance(rep.path.getClassName());
    if (includeQualifiers) {
        for (const auto& qualifier : rep.qualifiers) {
            instance.addQualifier(make<CIMQualifier>(qualifier->clone()));
        }
    }
    for (const auto& property : rep.properties) {
        if (!propertyList.useThisProperty(property->name)) continue;
        CIMProperty copy(
            property->name, property->value, property->arraySize, property->referenceClassName,
            includeClassOrigin ? property->classOrigin : CIMName(), property->propagated);
        if (includeQualifiers) {
            for (const auto& qualifier : property->qualifiers) {
                copy.addQualifier(make<CIMQualifier>(qualifier->clone()));
            }
        }
        instance.addProperty(copy);
    }
    return instance;
}

}  // namespace Pegasus
