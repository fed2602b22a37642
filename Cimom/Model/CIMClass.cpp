#include "Model/Rep.h"

namespace Pegasus
{

using Access = cimom::HandleAccess;
using cimom::ClassRep;
using cimom::MethodRep;
using cimom::PropertyRep;
using cimom::QualifierRep;

namespace
{

const ClassRep& read(const detail::Handle& handle)
{
    return Access::read<ClassRep>(handle);
}

ClassRep& write(detail::Handle& handle)
{
    return Access::write<ClassRep>(handle);
}

/// The value of a boolean qualifier; false when it is absent or null. Throws TypeMismatchException
/// for one of another type.
bool hasFlag(const ClassRep& rep, const CIMName& name)
{
    const Uint32 index = rep.qualifiers.find(name);
    if (index == PEG_NOT_FOUND) return false;
    Boolean flag = false;
    rep.qualifiers.at(index)->value.get(flag);
    return flag;
}

bool isKey(const PropertyRep& property)
{
    static const CIMName key("Key");
    static const CIMValue yes(true);
    const Uint32 index = property.qualifiers.find(key);
    return index != PEG_NOT_FOUND && property.qualifiers.at(index)->value.equal(yes);
}

}  // namespace

namespace detail
{

ClassReader::ClassReader(const ObjectReader& other) : ObjectReader(other)
{
    if (!dynamic_cast<const ClassRep*>(Access::rep(*this).get()))
        throw DynamicCastFailedException();
}

ClassReader::ClassReader(const CIMName& className, const CIMName& superClassName)
{
    auto rep = std::make_shared<ClassRep>(className);
    rep->superClassName = superClassName;
    Access::rep(*this) = std::move(rep);
}

Boolean ClassReader::isAssociation() const
{
    static const CIMName association("Association");
    return hasFlag(read(*this), association);
}

Boolean ClassReader::isAbstract() const
{
    static const CIMName abstract("Abstract");
    return hasFlag(read(*this), abstract);
}

const CIMName& ClassReader::getSuperClassName() const
{
    return read(*this).superClassName;
}

Uint32 ClassReader::findMethod(const CIMName& name) const
{
    return read(*this).methods.find(name);
}

CIMConstMethod ClassReader::getMethod(Uint32 index) const
{
    return Access::make<CIMConstMethod>(read(*this).methods.at(index));
}

Uint32 ClassReader::getMethodCount() const
{
    return read(*this).methods.size();
}

void ClassReader::getKeyNames(Array<CIMName>& keyNames) const
{
    const ClassRep& rep = read(*this);
    keyNames.clear();
    for (const auto& property : rep.properties) {
        if (isKey(*property)) keyNames.append(property->name);
    }
}

Boolean ClassReader::hasKeys() const
{
    const auto& properties = read(*this).properties;
    return std::any_of(properties.begin(), properties.end(),
                       [](const auto& property) { return isKey(*property); });
}

Boolean ClassReader::identical(const CIMConstClass& x) const
{
    const ClassRep& a = read(*this);
    const ClassRep& b = read(x);
    return cimom::identical(a, b) && a.superClassName.equal(b.superClassName) &&
           cimom::identical(a.methods, b.methods);
}

CIMClass ClassReader::clone() const
{
    return Access::make<CIMClass>(read(*this).clone());
}

}  // namespace detail

void CIMClass::setSuperClassName(const CIMName& superClassName)
{
    write(*this).superClassName = superClassName;
}

CIMClass& CIMClass::addMethod(const CIMMethod& x)
{
    write(*this).methods.add(x);
    return *this;
}

CIMMethod CIMClass::getMethod(Uint32 index)
{
    return Access::make<CIMMethod>(read(*this).methods.at(index));
}

void CIMClass::removeMethod(Uint32 index)
{
    write(*this).methods.remove(index);
}

CIMInstance CIMClass::buildInstance(Boolean includeQualifiers, Boolean includeClassOrigin,
                                    const CIMPropertyList& propertyList) const
{
    const ClassRep& rep = read(*this);
    CIMInstance instance(rep.path.getClassName());
    if (includeQualifiers) {
        for (const auto& qualifier : rep.qualifiers) {
            instance.addQualifier(Access::make<CIMQualifier>(qualifier->clone()));
        }
    }
    for (const auto& property : rep.properties) {
        if (!propertyList.useThisProperty(property->name)) continue;
        CIMProperty copy(
            property->name, property->value, property->arraySize, property->referenceClassName,
            includeClassOrigin ? property->classOrigin : CIMName(), property->propagated);
        if (includeQualifiers) {
            for (const auto& qualifier : property->qualifiers) {
                copy.addQualifier(Access::make<CIMQualifier>(qualifier->clone()));
            }
        }
        instance.addProperty(copy);
    }
    return instance;
}

}  // namespace Pegasus
