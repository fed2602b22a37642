// Classes, instances and what they are made of, as plain values.
//
// The library's public classes are handles on these. The object manager works on them directly.
#pragma once

#include <Pegasus/Common/CIMName.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/CIMType.h>
#include <Pegasus/Common/CIMValue.h>

#include <memory>
#include <utility>
#include <vector>

namespace cimom
{

using Pegasus::CIMName;
using Pegasus::CIMObjectPath;
using Pegasus::CIMType;
using Pegasus::CIMValue;
using Pegasus::Uint32;

/// How a qualifier reaches subclasses and clients.
struct Flavor
{
    bool overridable = true;  ///< false: DisableOverride
    bool toSubclass = true;   ///< false: Restricted
    bool toInstance = false;
    bool translatable = false;
};

struct Qualifier
{
    CIMName name;
    CIMValue value;
    Flavor flavor;
    bool propagated = false;
};

/// The qualifiers of an element in their order. Copies share them: a list never changes once made.
class Qualifiers
{
public:
    Qualifiers() = default;
    explicit Qualifiers(std::vector<Qualifier> qualifiers);

    const Qualifier* begin() const { return list_ ? list_->data() : nullptr; }
    const Qualifier* end() const { return list_ ? list_->data() + list_->size() : nullptr; }
    bool empty() const { return !list_; }
    /// Null when there is none of that name (ignoring case).
    const Qualifier* find(const CIMName& name) const;
    /// True when the qualifier is there, a boolean, and true. The name is of ASCII letters.
    bool isTrue(const char* name) const;

private:
    std::shared_ptr<const std::vector<Qualifier>> list_;  // null when there are none
};

struct Property
{
    CIMName name;
    CIMValue value;  ///< also fixes type and arrayness
    Uint32 arraySize = 0;
    CIMName referenceClassName;
    CIMName classOrigin;
    bool propagated = false;
    Qualifiers qualifiers;
    bool isOfClass = false;  ///< never changes; instances that share it take a copy before a change
};

struct Parameter
{
    CIMName name;
    CIMType type = Pegasus::CIMTYPE_BOOLEAN;
    bool isArray = false;
    Uint32 arraySize = 0;
    CIMName referenceClassName;
    Qualifiers qualifiers;
};

struct Method
{
    CIMName name;
    CIMType type = Pegasus::CIMTYPE_BOOLEAN;  ///< of the return value
    CIMName classOrigin;
    bool propagated = false;
    std::vector<Parameter> parameters;
    Qualifiers qualifiers;
};

template <class Element>
const CIMName& nameOf(const Element& element)
{
    return element.name;
}

template <class Element>
const CIMName& nameOf(const std::shared_ptr<Element>& element)
{
    return element->name;
}

/// The position of the element of that name (ignoring case) among elements or pointers to them;
/// PEG_NOT_FOUND when there is none.
template <class Element>
Uint32 positionOf(const std::vector<Element>& elements, const CIMName& name)
{
    for (Uint32 i = 0; i < elements.size(); ++i) {
        if (nameOf(elements[i]).equal(name)) return i;
    }
    return PEG_NOT_FOUND;
}

/// The element of that name (ignoring case); null when there is none.
template <class Element>
const Element* find(const std::vector<std::shared_ptr<Element>>& elements, const CIMName& name)
{
    const Uint32 position = positionOf(elements, name);
    return position == PEG_NOT_FOUND ? nullptr : elements[position].get();
}

/// A class. Immutable once it is in a repository, and shared by everybody who fetched it, as are
/// its properties and methods.
struct Class
{
    CIMObjectPath path;  ///< its class name is the class's
    CIMName superClassName;
    Qualifiers qualifiers;
    std::vector<std::shared_ptr<const Property>> properties;
    std::vector<std::shared_ptr<const Method>> methods;

    const CIMName& name() const { return path.getClassName(); }
    bool isAssociation() const { return qualifiers.isTrue("Association"); }
    bool isAbstract() const { return qualifiers.isTrue("Abstract"); }
    /// Null when there is none of that name (ignoring case).
    const Property* property(const CIMName& wanted) const { return find(properties, wanted); }
    const Method* method(const CIMName& wanted) const { return find(methods, wanted); }
};

using ClassPtr = std::shared_ptr<const Class>;

/// An instance. Its properties may be shared with handles on them.
struct Instance
{
    CIMObjectPath path;  ///< its class name is the instance's
    Qualifiers qualifiers;
    /// Those of the class are not counted: the definition keeps them.
    std::vector<std::shared_ptr<Property>> properties;
    ClassPtr definition;  ///< what the instance was built from; may be null

    /// A property that lives on without the instance.
    std::shared_ptr<const Property> keep(const std::shared_ptr<Property>& property) const
    {
        if (!property->isOfClass) return property;
        return std::shared_ptr<const Property>(definition, property.get());
    }

    /// Null when there is none of that name (ignoring case).
    const Property* property(const CIMName& wanted) const { return find(properties, wanted); }
};

/// Same content, down to the qualifiers; the array size of a property does not count.
bool identical(const Property&, const Property&);
bool identical(const Instance&, const Instance&);
/// A copy that belongs to no class.
std::shared_ptr<Property> clone(const Property&);
/// A copy that shares no property.
std::shared_ptr<Instance> clone(const Instance&);

}  // namespace cimom
