#include <Pegasus/Common/OperationContext.h>

#include <algorithm>

namespace Pegasus
{

const String IdentityContainer::NAME("IdentityContainer");
const String TimeoutContainer::NAME("TimeoutContainer");
const String AcceptLanguageListContainer::NAME("AcceptLanguageListContainer");
const String ContentLanguageListContainer::NAME("ContentLanguageListContainer");
const String SnmpTrapOidContainer::NAME("SnmpTrapOidContainer");
const String SubscriptionInstanceContainer::NAME("SubscriptionInstanceContainer");
const String SubscriptionFilterConditionContainer::NAME("SubscriptionFilterConditionContainer");
const String SubscriptionFilterQueryContainer::NAME("SubscriptionFilterQueryContainer");
const String SubscriptionInstanceNamesContainer::NAME("SubscriptionInstanceNamesContainer");

namespace
{

[[noreturn]] void throwNotFound()
{
    throw Exception(String("object not found"));
}

}  // namespace

OperationContext::Container::~Container() = default;

OperationContext::OperationContext(const OperationContext& context)
{
    for (const auto& container : context._containers)
        insert(*container);
}

OperationContext& OperationContext::operator=(const OperationContext& context)
{
    OperationContext copy(context);
    _containers.swap(copy._containers);
    return *this;
}

void OperationContext::clear()
{
    _containers.clear();
}

const OperationContext::Container& OperationContext::get(const String& containerName) const
{
    const auto found = find(containerName);
    if (found == _containers.end()) throwNotFound();
    return **found;
}

Boolean OperationContext::contains(const String& containerName) const
{
    return find(containerName) != _containers.end();
}

void OperationContext::set(const Container& container)
{
    remove(container.getName());
    insert(container);
}

void OperationContext::insert(const Container& container)
{
    if (contains(container.getName())) throw Exception(String("object already exists."));
    _containers.emplace_back(container.clone());
}

void OperationContext::remove(const String& containerName)
{
    const auto found = find(containerName);
    if (found == _containers.end()) throwNotFound();
    _containers.erase(found);
}

OperationContext::Containers::const_iterator OperationContext::find(const String& name) const
{
    return std::find_if(_containers.begin(), _containers.end(),
                        [&](const auto& container) { return container->getName() == name; });
}

}  // namespace Pegasus
