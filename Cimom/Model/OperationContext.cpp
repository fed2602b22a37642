#include <Pegasus/Common/OperationContext.h>

namespace Pegasus
{

const String IdentityContainer::NAME("IdentityContainer");

const OperationContext::Container& OperationContext::get(const String& containerName) const
{
    if (contains(containerName)) return *identity_;
    throw Exception("object not found");
}

Boolean OperationContext::contains(const String& containerName) const
{
    return identity_ && containerName == IdentityContainer::NAME;
}

void OperationContext::insert(const IdentityContainer& container)
{
    if (identity_) throw Exception("object already exists.");
    identity_ = std::make_shared<const IdentityContainer>(container);
}

IdentityContainer::IdentityContainer(const OperationContext::Container& container)
{
    const auto* const identity = dynamic_cast<const IdentityContainer*>(&container);
    if (!identity) throw DynamicCastFailedException();
    userName_ = identity->userName_;
}

}  // namespace Pegasus
