// What a request carries beside its arguments: who sent it, in which language, how long it may
// take.
#pragma once

#include <Pegasus/Common/AcceptLanguageList.h>
#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/ContentLanguageList.h>
#include <Pegasus/Common/Exception.h>
#include <Pegasus/Common/Linkage.h>

#include <memory>
#include <vector>

namespace Pegasus
{

/// A set of named containers. Copies are deep: each container is cloned.
class PEGASUS_COMMON_LINKAGE OperationContext
{
public:
    /// One piece of a context. Derive from it virtually.
    class PEGASUS_COMMON_LINKAGE Container
    {
    public:
        virtual ~Container();
        virtual String getName() const = 0;
        /// A new container; its receiver calls destroy() on it.
        virtual Container* clone() const = 0;
        virtual void destroy() = 0;
    };

    OperationContext() = default;
    OperationContext(const OperationContext& context);
    virtual ~OperationContext() = default;
    OperationContext& operator=(const OperationContext& context);

    void clear();
    /// The container of that name (case counts), owned by the context. Throws Exception "object not
    /// found".
    const Container& get(const String& containerName) const;
    Boolean contains(const String& containerName) const;
    /// Replaces the container of the same name by a clone. Throws Exception "object not found".
    void set(const Container& container);
    /// Adds a clone. Throws Exception "object already exists.".
    void insert(const Container& container);
    /// Throws Exception "object not found".
    void remove(const String& containerName);

private:
    struct Destroy
    {
        void operator()(Container* container) const { container->destroy(); }
    };
    using Containers = std::vector<std::unique_ptr<Container, Destroy>>;
    Containers::const_iterator find(const String& name) const;

    Containers _containers;
};

namespace detail
{

/// A container of class Self that holds one value.
template <class Self, class Value>
class ValueContainer : virtual public OperationContext::Container
{
public:
    String getName() const override { return Self::NAME; }
    OperationContext::Container* clone() const override
    {
        return new Self(static_cast<const Self&>(*this));
    }
    void destroy() override { delete this; }

protected:
    explicit ValueContainer(const Value& value) : _value(value) {}
    /// Throws DynamicCastFailedException unless `container` is a Self.
    explicit ValueContainer(const OperationContext::Container& container)
        : _value(cast(container)._value)
    {
    }
    ValueContainer(const ValueContainer&) = default;
    ValueContainer& operator=(const ValueContainer&) = default;

    Value _value;

private:
    static const ValueContainer& cast(const OperationContext::Container& container)
    {
        if (const auto* self = dynamic_cast<const Self*>(&container)) return *self;
        throw DynamicCastFailedException();
    }
};

struct FilterQuery
{
    String query;
    String language;
    CIMNamespaceName sourceNameSpace;
};

}  // namespace detail

/// The user who sent the request.
class PEGASUS_COMMON_LINKAGE IdentityContainer
    : public detail::ValueContainer<IdentityContainer, String>
{
public:
    static const String NAME;
    IdentityContainer(const OperationContext::Container& container) : ValueContainer(container) {}
    IdentityContainer(const IdentityContainer&) = default;
    IdentityContainer& operator=(const IdentityContainer&) = default;
    IdentityContainer(const String& userName) : ValueContainer(userName) {}
    String getUserName() const { return _value; }
};

/// How long a request may take.
class PEGASUS_COMMON_LINKAGE TimeoutContainer
    : public detail::ValueContainer<TimeoutContainer, Uint32>
{
public:
    static const String NAME;
    TimeoutContainer(const OperationContext::Container& container) : ValueContainer(container) {}
    TimeoutContainer(const TimeoutContainer&) = default;
    TimeoutContainer& operator=(const TimeoutContainer&) = default;
    /// Milliseconds.
    TimeoutContainer(Uint32 timeout) : ValueContainer(timeout) {}
    Uint32 getTimeOut() const { return _value; }
};

/// The languages the client accepts.
class PEGASUS_COMMON_LINKAGE AcceptLanguageListContainer
    : public detail::ValueContainer<AcceptLanguageListContainer, AcceptLanguageList>
{
public:
    static const String NAME;
    AcceptLanguageListContainer(const OperationContext::Container& container)
        : ValueContainer(container)
    {
    }
    AcceptLanguageListContainer(const AcceptLanguageListContainer&) = default;
    AcceptLanguageListContainer& operator=(const AcceptLanguageListContainer&) = default;
    AcceptLanguageListContainer(const AcceptLanguageList& languages) : ValueContainer(languages) {}
    AcceptLanguageList getLanguages() const { return _value; }
};

/// The languages of the request's content.
class PEGASUS_COMMON_LINKAGE ContentLanguageListContainer
    : public detail::ValueContainer<ContentLanguageListContainer, ContentLanguageList>
{
public:
    static const String NAME;
    ContentLanguageListContainer(const OperationContext::Container& container)
        : ValueContainer(container)
    {
    }
    ContentLanguageListContainer(const ContentLanguageListContainer&) = default;
    ContentLanguageListContainer& operator=(const ContentLanguageListContainer&) = default;
    ContentLanguageListContainer(const ContentLanguageList& languages) : ValueContainer(languages)
    {
    }
    ContentLanguageList getLanguages() const { return _value; }
};

/// The object identifier of an SNMP trap.
class PEGASUS_COMMON_LINKAGE SnmpTrapOidContainer
    : public detail::ValueContainer<SnmpTrapOidContainer, String>
{
public:
    static const String NAME;
    SnmpTrapOidContainer(const OperationContext::Container& container) : ValueContainer(container)
    {
    }
    SnmpTrapOidContainer(const SnmpTrapOidContainer&) = default;
    SnmpTrapOidContainer& operator=(const SnmpTrapOidContainer&) = default;
    SnmpTrapOidContainer(const String& snmpTrapOid) : ValueContainer(snmpTrapOid) {}
    String getSnmpTrapOid() const { return _value; }
};

/// The subscription an indication request is about.
class PEGASUS_COMMON_LINKAGE SubscriptionInstanceContainer
    : public detail::ValueContainer<SubscriptionInstanceContainer, CIMInstance>
{
public:
    static const String NAME;
    SubscriptionInstanceContainer(const OperationContext::Container& container)
        : ValueContainer(container)
    {
    }
    SubscriptionInstanceContainer(const SubscriptionInstanceContainer&) = default;
    SubscriptionInstanceContainer& operator=(const SubscriptionInstanceContainer&) = default;
    SubscriptionInstanceContainer(const CIMInstance& subscriptionInstance)
        : ValueContainer(subscriptionInstance)
    {
    }
    CIMInstance getInstance() const { return _value; }
};

/// The condition of a subscription's filter.
class PEGASUS_COMMON_LINKAGE SubscriptionFilterConditionContainer
    : public detail::ValueContainer<SubscriptionFilterConditionContainer, detail::FilterQuery>
{
public:
    static const String NAME;
    SubscriptionFilterConditionContainer(const OperationContext::Container& container)
        : ValueContainer(container)
    {
    }
    SubscriptionFilterConditionContainer(const SubscriptionFilterConditionContainer&) = default;
    SubscriptionFilterConditionContainer& operator=(const SubscriptionFilterConditionContainer&) =
        default;
    SubscriptionFilterConditionContainer(const String& filterCondition, const String& queryLanguage)
        : ValueContainer(detail::FilterQuery{filterCondition, queryLanguage, CIMNamespaceName()})
    {
    }
    String getFilterCondition() const { return _value.query; }
    String getQueryLanguage() const { return _value.language; }
};

/// The query of a subscription's filter.
class PEGASUS_COMMON_LINKAGE SubscriptionFilterQueryContainer
    : public detail::ValueContainer<SubscriptionFilterQueryContainer, detail::FilterQuery>
{
public:
    static const String NAME;
    SubscriptionFilterQueryContainer(const OperationContext::Container& container)
        : ValueContainer(container)
    {
    }
    SubscriptionFilterQueryContainer(const SubscriptionFilterQueryContainer&) = default;
    SubscriptionFilterQueryContainer& operator=(const SubscriptionFilterQueryContainer&) = default;
    SubscriptionFilterQueryContainer(const String& filterQuery, const String& queryLanguage,
                                     const CIMNamespaceName& sourceNameSpace)
        : ValueContainer(detail::FilterQuery{filterQuery, queryLanguage, sourceNameSpace})
    {
    }
    String getFilterQuery() const { return _value.query; }
    String getQueryLanguage() const { return _value.language; }
    CIMNamespaceName getSourceNameSpace() const { return _value.sourceNameSpace; }
};

/// The paths of the subscriptions an indication matches.
class PEGASUS_COMMON_LINKAGE SubscriptionInstanceNamesContainer
    : public detail::ValueContainer<SubscriptionInstanceNamesContainer, Array<CIMObjectPath>>
{
public:
    static const String NAME;
    SubscriptionInstanceNamesContainer(const OperationContext::Container& container)
        : ValueContainer(container)
    {
    }
    SubscriptionInstanceNamesContainer(const SubscriptionInstanceNamesContainer&) = default;
    SubscriptionInstanceNamesContainer& operator=(const SubscriptionInstanceNamesContainer&) =
        default;
    SubscriptionInstanceNamesContainer(const Array<CIMObjectPath>& names) : ValueContainer(names) {}
    Array<CIMObjectPath> getInstanceNames() const { return _value; }
};

}  // namespace Pegasus
