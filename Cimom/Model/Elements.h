// Classes, instances and what they are made of, as plain values.
//
// The library's public classes are handles on these. The object manager works on them directly.
#pragma once

#include <Pegasus/Common/CIMName.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/CIMType.h>
#include <Pegasus/Common/CIMValue.h>

#include <algorithm>
#include <cstddef>
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
    /// True when the qualifier is there, a boolean, and true.
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

/// The position of the element of that name (ignoring case); PEG_NOT_FOUND when there is none.
template <class Element>
Uint32 positionOf(const std::vector<Element>& elements, const CIMName& name)
{
    for (Uint32 i = 0; i < elements.size(); ++i) {
        if (elements[i].name.equal(name)) return i;
    }
    return PEG_NOT_FOUND;
}

/// The properties or methods of a class, in their order: found by name (ignoring case) at once, and
/// shared, as they never change.
template <class Element>
class Elements
{
public:
    using Pointer = std::shared_ptr<const Element>;

    void reserve(std::size_t size) { elements_.reserve(size); }
    void push_back(Pointer element)
    {
        elements_.push_back(std::move(element));
        std::size_t first = size() - 1;  // of those without a slot
        if (2 * size() > slots_.size()) {
            slots_.assign(std::max<std::size_t>(8, 2 * slots_.size()), PEG_NOT_FOUND);
            first = 0;
        }
        for (std::size_t i = first; i < size(); ++i)
            slots_[slotOf(elements_[i]->name)] = Uint32(i);
    }

    std::size_t size() const { return elements_.size(); }
    const Pointer& operator[](std::size_t position) const { return elements_[position]; }
    auto begin() const { return elements_.begin(); }
    auto end() const { return elements_.end(); }

    /// PEG_NOT_FOUND when there is none of that name.
    Uint32 positionOf(const CIMName& name) const
    {
        return slots_.empty() ? PEG_NOT_FOUND : slots_[slotOf(name)];
    }
    /// Null when there is none of that name.
    const Element* find(const CIMName& name) const
    {
        const Uint32 position = positionOf(name);
        return position == PEG_NOT_FOUND ? nullptr : elements_[position].get();
    }

private:
    /// The slot of that name, or a free one. A few characters tell the names of one class apart
    /// well enough.
    std::size_t slotOf(const CIMName& name) const
    {
        const Pegasus::Char16* const text = name.getString().getChar16Data();
        const std::size_t size = name.getString().size();
        const std::size_t mask = slots_.size() - 1;
        const auto lower = [text](std::size_t at) { return std::size_t(text[at] | 0x20U); };
        std::size_t slot = size;
        if (size > 0) slot += 3 * lower(size / 3) + 7 * lower(2 * size / 3) + 11 * lower(size - 1);
        slot &= mask;
        while (slots_[slot] != PEG_NOT_FOUND && !elements_[slots_[slot]]->name.equal(name))
            slot = (slot + 1) & mask;
        return slot;
    }

    std::vector<Pointer> elements_;
    // A hash table with open addressing of positions, or PEG_NOT_FOUND: at least half of it is
    // free, and its size is a power of 2.
    std::vector<Uint32> slots_;
};

/// A class. Immutable once it is in a repository, and shared by everybody who fetched it, as are
/// its properties and methods.
struct Class
{
    CIMObjectPath path;  ///< its class name is the class's
    CIMName superClassName;
    Qualifiers qualifiers;
    Elements<Property> properties;
    Elements<Method> methods;

    const CIMName& name() const { return path.getClassName(); }
    bool isAssociation() const { return qualifiers.isTrue("Association"); }
    bool isAbstract() const { return qualifiers.isTrue("Abstract"); }
    /// Null when there is none of that name (ignoring case).
    const Property* property(const CIMName& wanted) const { return properties.find(wanted); }
    const Method* method(const CIMName& wanted) const { return methods.find(wanted); }
};

using ClassPtr = std::shared_ptr<const Class>;

/// A property of an instance: its own or the class's, and the value that it has there.
struct InstanceProperty
{
    const Property& declaration;
    const CIMValue& value;
};

/// The properties of an instance, in their order. Each is either one of the class that the instance
/// was built from, as it is declared or with a value of the instance's own, or the instance's own.
///
/// The class's are shared with it and never change. The instance's own may be shared with handles
/// on them, through which they change.
class InstanceProperties
{
public:
    InstanceProperties() = default;
    /// None yet of an instance of that class.
    explicit InstanceProperties(ClassPtr definition) : definition_(std::move(definition)) {}

    std::size_t size() const { return slots_.size(); }
    InstanceProperty operator[](std::size_t position) const
    {
        const Slot& slot = slots_[position];
        if (slot.own != none) return {*own_[slot.own], own_[slot.own]->value};
        const Property& declared = *definition_->properties[slot.declared];
        return {declared, slot.value == none ? declared.value : values_[slot.value]};
    }
    /// PEG_NOT_FOUND when there is none of that name (ignoring case).
    Uint32 positionOf(const CIMName& name) const;
    /// What `declaration` refers to, which lives on without the instance. Its value may be another.
    std::shared_ptr<const Property> declaration(std::size_t position) const;
    /// A property that shares nothing which can change.
    std::shared_ptr<Property> copy(std::size_t position) const;

    void reserve(std::size_t size) { slots_.reserve(size); }
    /// Adds the property at that position of the class.
    void addDeclared(Uint32 position) { slots_.push_back({position, none, none}); }
    /// Adds one of the instance's own.
    void push_back(const std::shared_ptr<Property>& own);
    /// Its type has to be the property's.
    void setValue(std::size_t position, const CIMValue& value);
    /// The property to be shared with others that change it: the instance's own from now on.
    const std::shared_ptr<Property>& own(std::size_t position);
    /// Puts copies in place of the properties with qualifiers or origins that are not to be shown.
    void hide(bool qualifiersShown, bool originsShown);
    /// Keeps those at these positions, in this order.
    void select(const std::vector<Uint32>& positions);
    /// A copy that shares no property which can change.
    InstanceProperties clone() const;

private:
    static constexpr Uint32 none = PEG_NOT_FOUND;
    struct Slot
    {
        Uint32 declared;  ///< where the class has it
        Uint32 value;     ///< where values_ has the instance's value of it
        Uint32 own;       ///< where own_ has the instance's own, which counts then
    };

    void setOwn(Slot& slot, const std::shared_ptr<Property>& own);

    ClassPtr definition_;  // keeps the class's properties; null when all are the instance's own
    std::vector<Slot> slots_;
    std::vector<CIMValue> values_;  // room for all from the first on: others may refer to them
    std::vector<std::shared_ptr<Property>> own_;
};

/// An instance.
struct Instance
{
    CIMObjectPath path;  ///< its class name is the instance's
    Qualifiers qualifiers;
    InstanceProperties properties;

    /// The value of a property; null when there is none of that name (ignoring case).
    const CIMValue* value(const CIMName& wanted) const
    {
        const Uint32 position = properties.positionOf(wanted);
        return position == PEG_NOT_FOUND ? nullptr : &properties[position].value;
    }
};

/// Same content, down to the qualifiers; the array size of a property does not count.
bool identical(const Property&, const Property&);
bool identical(const Instance&, const Instance&);

}  // namespace cimom
