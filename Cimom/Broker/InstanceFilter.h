// What clients asked to see of instances.
#pragma once

#include "Model/ObjectManager.h"
#include "Model/Schema.h"
#include "Model/Names.h"

#include <cstddef>
#include <map>
#include <memory>

namespace cimom
{

/// Shows instances as one request wants them. Applied to everything that goes back to the client,
/// as providers are free to ignore what they are asked.
class InstanceFilter
{
public:
    explicit InstanceFilter(const InstanceView& view);

    /// The view as providers are handed it: no name twice in its property list.
    const InstanceView& view() const { return view_; }
    /// The filtered instance under the given path (of the same class): the given one itself when
    /// nobody else has it, else another that shares with it the properties that are shown whole.
    CIMInstance apply(const CIMInstance& instance, const CIMObjectPath& path) const;

private:
    InstanceProperties listed(const InstanceProperties& properties) const;
    void hide(InstanceProperties& properties, std::size_t position) const;

    InstanceView view_;
    std::map<CIMName, std::size_t, NoCaseLess> positions_;  // in the property list
};

}  // namespace cimom
