// The parts of instances that a request selects.
#pragma once

#include "Model/Elements.h"
#include "Model/NoCase.h"
#include "Model/ObjectManager.h"

#include <cstddef>
#include <map>
#include <vector>

namespace cimom
{

/// Reduces instances to what the request selects by its property list and flags. Every instance
/// that goes back to the client passes it, as providers are free to ignore these parameters.
class InstanceFilter
{
public:
    explicit InstanceFilter(const InstanceView& view);

    /// The view for providers: no name is twice in its property list.
    const InstanceView& view() const { return view_; }
    /// The filtered instance under the given path (of the same class). It is the given one if that
    /// has no other handle, otherwise a new one that shares the properties which do not change.
    CIMInstance apply(const CIMInstance& instance, const CIMObjectPath& path) const;

private:
    /// Where the instance has the properties of the list, in the order of the list.
    std::vector<Uint32> listed(const InstanceProperties& properties) const;

    InstanceView view_;
    std::map<CIMName, std::size_t, NoCaseLess> positions_;  // in the property list
};

}  // namespace cimom
