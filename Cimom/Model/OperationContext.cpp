#include <Pegasus/Common/OperationContext.h>

namespace Pegasus
{

const String IdentityContainer::NAME("IdentityContainer");

const OperationContext::Container& OperationContext::get(const String& containerName) const
{
    if (const Container* const found = find(containerName)) return *found;
    throw Exception("object not found");
}

void OperationContext::insert(const IdentityContainer& container)
{
    if (contains(container.getName())) throw Exception("object already exists.");
    containers_.push_back(std::make_shared<const IdentityContainer>(container));
}

const OperationContext::Container* OperationContext::find(const String& name) const
{
    for (const auto& container : containers_) {
        if (container->getName() == name) return container.get();
    }
    return nullptr;
}

IdentityContainer::IdentityContainer(const OperationContext::Container& container)
{
    const auto* const identity = dynamic_cast<const IdentityContainer*>(&container);
    if (!identity) throw DynamicCastFailedException();
    userName_ = identity->userName_;
}

}  // namespace Pegasus
