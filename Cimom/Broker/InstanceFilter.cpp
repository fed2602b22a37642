#include "Broker/InstanceFilter.h"

#include <algorithm>

PEGASUS_USING_PEGASUS;

namespace cimom
{

InstanceFilter::InstanceFilter(const InstanceView& view) : view_(view)
{
    if (view.properties.isNull()) return;
    Array<CIMName> names;
    for (Uint32 i = 0; i < view.properties.size(); ++i) {
        const CIMName& name = view.properties[i];
        if (positions_.emplace(name, names.size()).second) names.append(name);
    }
    view_.properties = CIMPropertyList(names);
}

CIMInstance InstanceFilter::apply(const CIMInstance& instance, const CIMObjectPath& path) const
{
    const bool isOwn = instance.shared().use_count() == 1;
    const auto result = isOwn ? instance.shared() : std::make_shared<Instance>(instance.object());
    result->path = path;
    if (!view_.includeQualifiers) result->qualifiers = Qualifiers();
    if (!view_.properties.isNull()) result->properties = listed(result->properties);
    for (PropertyPtr& property : result->properties)
        hide(property);
    return CIMInstance(result);
}

std::vector<InstanceFilter::PropertyPtr> InstanceFilter::listed(
    const std::vector<PropertyPtr>& properties) const
{
    std::vector<PropertyPtr> result(positions_.size());
    for (const PropertyPtr& property : properties) {
        const auto position = positions_.find(property->name);
        if (position != positions_.end()) result[position->second] = property;
    }
    result.erase(std::remove(result.begin(), result.end(), nullptr), result.end());
    return result;
}

/// Replaces a property of which not all is to be shown.
void InstanceFilter::hide(PropertyPtr& property) const
{
    const bool hidesOrigin = !view_.includeClassOrigin && !property->classOrigin.isNull();
    const bool hidesQualifiers = !view_.includeQualifiers && !property->qualifiers.empty();
    if (!hidesOrigin && !hidesQualifiers) return;

    property = clone(*property);
    if (hidesOrigin) property->classOrigin = CIMName();
    if (hidesQualifiers) property->qualifiers = Qualifiers();
}

}  // namespace cimom
