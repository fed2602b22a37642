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

bool identical(const InstanceProperties& a, const InstanceProperties& b)
{
    bool same = a.size() == b.size();
    for (std::size_t i = 0; same && i < a.size(); ++i)
        same = identical(*a[i], *b[i]);
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
    const Uint32 declared = definition_ ? definition_->properties.positionOf(name) : notDeclared;
    if (declared < slots_.size() && slots_[declared].declared == declared) return declared;
    for (Uint32 i = 0; i < slots_.size(); ++i) {
        if (get(slots_[i])->name.equal(name)) return i;
    }
    return PEG_NOT_FOUND;
}

const Property* InstanceProperties::find(const CIMName& name) const
{
    const Uint32 position = positionOf(name);
    return position == PEG_NOT_FOUND ? nullptr : get(slots_[position]);
}

std::shared_ptr<const Property> InstanceProperties::shared(std::size_t position) const
{
    const Slot& slot = slots_[position];
    if (slot.own) return slot.own;
    return definition_->properties[slot.declared];
}

const std::shared_ptr<Property>& InstanceProperties::own(std::size_t position)
{
    Slot& slot = slots_[position];
    if (!slot.own) slot.own = std::make_shared<Property>(*get(slot));
    return slot.own;
}

void InstanceProperties::hide(bool qualifiersShown, bool originsShown)
{
    for (Slot& slot : slots_) {
        const Property& property = *get(slot);
        const bool hidesQualifiers = !qualifiersShown && !property.qualifiers.empty();
        const bool hidesOrigin = !originsShown && !property.classOrigin.isNull();
        if (!hidesQualifiers && !hidesOrigin) continue;

        const auto own = std::make_shared<Property>(property);
        if (hidesQualifiers) own->qualifiers = Qualifiers();
        if (hidesOrigin) own->classOrigin.clear();
        slot.own = own;
    }
}

std::vector<const Property*> InstanceProperties::all() const
{
    std::vector<const Property*> properties;
    for (const Slot& slot : slots_)
        properties.push_back(get(slot));
    return properties;
}

InstanceProperties InstanceProperties::selected(const std::vector<Uint32>& positions) const
{
    InstanceProperties result(definition_);
    result.reserve(positions.size());
    for (const Uint32 position : positions)
        result.slots_.push_back(slots_[position]);
    return result;
}

InstanceProperties InstanceProperties::clone() const
{
    InstanceProperties copy(*this);
    for (Slot& slot : copy.slots_) {
        if (slot.own) slot.own = std::make_shared<Property>(*slot.own);
    }
    return copy;
}

bool identical(const Property& a, const Property& b)
{
    return a.name.equal(b.name) && a.value.equal(b.value) &&
           a.referenceClassName.equal(b.referenceClassName) && a.classOrigin.equal(b.classOrigin) &&
           a.propagated == b.propagated && identical(a.qualifiers, b.qualifiers);
}

bool identical(const Instance& a, const Instance& b)
{
    return a.path.identical(b.path) && identical(a.qualifiers, b.qualifiers) &&
           identical(a.properties, b.properties);
}

}  // namespace cimom
