// What a request carries beside its arguments: who sent it.
#pragma once

#include <Pegasus/Common/Exception.h>
#include <Pegasus/Common/String.h>

#include <memory>

namespace Pegasus
{

class IdentityContainer;

/// A set of named containers: here, none or the identity of the user.
class OperationContext
{
public:
    /// One piece of a context.
    class Container
    {
    public:
        virtual ~Container() = default;
        virtual String getName() const = 0;
    };

    virtual ~OperationContext() = default;

    /// The container of that name (case counts), owned by the context. Throws Exception "object not
    /// found".
    const Container& get(const String& containerName) const;
    Boolean contains(const String& containerName) const;
    /// Adds a copy. Throws Exception "object already exists.".
    void insert(const IdentityContainer& container);

private:
    // Never changed, so copies of a context share it.
    std::shared_ptr<const IdentityContainer> identity_;
};

/// The user who sent the request.
class IdentityContainer : public OperationContext::Container
{
public:
    static const String NAME;

    /// Throws DynamicCastFailedException unless the container is an IdentityContainer.
    IdentityContainer(const OperationContext::Container& container);
    IdentityContainer(const String& userName) : userName_(userName) {}

    String getName() const override { return NAME; }
    String getUserName() const { return userName_; }

private:
    String userName_;
};

}  // namespace Pegasus
