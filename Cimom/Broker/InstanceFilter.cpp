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
    if (!view_.properties.isNull()) result->properties.select(listed(result->properties));
    result->properties.hide(view_.includeQualifiers, view_.includeClassOrigin);
    return CIMInstance(result);
}

std::vector<Uint32> InstanceFilter::listed(const InstanceProperties& properties) const
{
    std::vector<Uint32> found(positions_.size(), PEG_NOT_FOUND);
    for (Uint32 i = 0; i < properties.size(); ++i) {
        const auto position = positions_.find(properties[i].declaration.name);
        if (position != positions_.end()) found[position->second] = i;
    }
    found.erase(std::remove(found.begin(), found.end(), PEG_NOT_FOUND), found.end());
    return found;
}

}  // namespace cimom
