#include "Model/Elements.h"

#include <algorithm>

namespace cimom
{

using namespace Pegasus;

namespace
{

bool identical(const Qualifier& a, const Qualifier& b)
{
    return a.name.equal(b.name) && a.value.equal(b.value) && a.propagated == b.propagated;
}

bool identical(const Qualifiers& a, const Qualifiers& b)
{
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](const Qualifier& x, const Qualifier& y) { return identical(x, y); });
}

/// All but the values.
bool declaredAlike(const Property& a, const Property& b)
{
    return a.name.equal(b.name) && a.referenceClassName.equal(b.referenceClassName) &&
           a.classOrigin.equal(b.classOrigin) && a.propagated == b.propagated &&
           identical(a.qualifiers, b.qualifiers);
}

bool identical(const InstanceProperties& a, const InstanceProperties& b)
{
    bool same = a.size() == b.size();
    for (std::size_t i = 0; same && i < a.size(); ++i)
        same = declaredAlike(a[i].declaration, b[i].declaration) && a[i].value.equal(b[i].value);
    return same;
}

}  // namespace

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
    const Qualifier* const qualifier = empty() ? nullptr : find(name);
    return qualifier && qualifier->value.equal(CIMValue(true));
}

Uint32 InstanceProperties::positionOf(const CIMName& name) const
{
    // Most instances have their properties where the class has them.
    const Uint32 declared = definition_ ? definition_->properties.positionOf(name) : none;
    if (declared < slots_.size() && slots_[declared].declared == declared) return declared;
    for (Uint32 i = 0; i < slots_.size(); ++i) {
        if ((*this)[i].declaration.name.equal(name)) return i;
    }
    return PEG_NOT_FOUND;
}

std::shared_ptr<const Property> InstanceProperties::declaration(std::size_t position) const
{
    const Slot& slot = slots_[position];
    if (slot.own != none) return own_[slot.own];
    return definition_->properties[slot.declared];
}

std::shared_ptr<Property> InstanceProperties::copy(std::size_t position) const
{
    const InstanceProperty property = (*this)[position];
    auto copy = std::make_shared<Property>(property.declaration);
    copy->value = property.value;
    return copy;
}

void InstanceProperties::setOwn(Slot& slot, const std::shared_ptr<Property>& own)
{
    slot.own = Uint32(own_.size());
    own_.push_back(own);
}

void InstanceProperties::push_back(const std::shared_ptr<Property>& own)
{
    setOwn(slots_.emplace_back(Slot{none, none, none}), own);
}

void InstanceProperties::setValue(std::size_t position, const CIMValue& value)
{
    Slot& slot = slots_[position];
    if (slot.own != none) {
        own_[slot.own]->value = value;
    } else if (slot.value != none) {
        values_[slot.value] = value;
    } else {
        slot.value = Uint32(values_.size());
        values_.reserve(slots_.size());
        values_.push_back(value);
    }
}

const std::shared_ptr<Property>& InstanceProperties::own(std::size_t position)
{
    Slot& slot = slots_[position];
    if (slot.own == none) setOwn(slot, copy(position));
    return own_[slot.own];
}

void InstanceProperties::hide(bool qualifiersShown, bool originsShown)
{
    for (std::size_t i = 0; i < size(); ++i) {
        const Property& property = (*this)[i].declaration;
        const bool hidesQualifiers = !qualifiersShown && !property.qualifiers.empty();
        const bool hidesOrigin = !originsShown && !property.classOrigin.isNull();
        if (!hidesQualifiers && !hidesOrigin) continue;

        const auto shown = copy(i);
        if (hidesQualifiers) shown->qualifiers = Qualifiers();
        if (hidesOrigin) shown->classOrigin.clear();
        setOwn(slots_[i], shown);
    }
}

void InstanceProperties::select(const std::vector<Uint32>& positions)
{
    std::vector<Slot> selected;
    selected.reserve(positions.size());
    for (const Uint32 position : positions)
        selected.push_back(slots_[position]);
    slots_.swap(selected);
}

InstanceProperties InstanceProperties::clone() const
{
    InstanceProperties copy(*this);
    copy.values_.reserve(size());
    for (auto& own : copy.own_)
        own = std::make_shared<Property>(*own);
    return copy;
}

bool identical(const Property& a, const Property& b)
{
    return declaredAlike(a, b) && a.value.equal(b.value);
}

bool identical(const Instance& a, const Instance& b)
{
    return a.path.identical(b.path) && identical(a.qualifiers, b.qualifiers) &&
           identical(a.properties, b.properties);
}

}  // namespace cimom
