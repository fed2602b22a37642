// The response handlers that providers are given: they collect what is delivered.
//
// Results count once the provider has called complete(); what is delivered after that is ignored.
#pragma once

#include <Pegasus/Common/Exception.h>
#include <Pegasus/Common/ResponseHandler.h>

#include <algorithm>
#include <optional>

namespace cimom
{

template <class Item>
bool isInitialized(const Item& item)
{
    return !item.isUninitialized();
}
template <>
inline bool isInitialized(const Pegasus::CIMObjectPath& path)
{
    return !path.getClassName().isNull();
}
template <>
inline bool isInitialized(const Pegasus::CIMValue& value)
{
    return !value.isNull();
}

/// Throws the error of a provider that delivers an uninitialized object.
template <class Item>
void requireInitialized(const Item& item)
{
    if (!isInitialized(item)) {
        throw Pegasus::CIMException(Pegasus::CIM_ERR_FAILED, "The object is not initialized.");
    }
}

/// Collects any number of results.
template <class Handler, class Item>
class ListHandler : public Handler
{
public:
    void processing() override {}
    void complete() override { completed_ = true; }
    void deliver(const Item& item) override
    {
        requireInitialized(item);
        if (!completed_) items_.append(item);
    }
    void deliver(const Pegasus::Array<Item>& items) override
    {
        const Item* const first = items.getData();
        const bool isGood = std::all_of(first, first + items.size(), isInitialized<Item>);
        if (isGood && !completed_) return items_.appendArray(items);
        for (Pegasus::Uint32 i = 0; i < items.size(); ++i)
            deliver(items[i]);
    }
    /// To be called once.
    Pegasus::Array<Item> result() { return completed_ ? items_ : Pegasus::Array<Item>(); }

private:
    Pegasus::Array<Item> items_;
    bool completed_ = false;
};

using InstanceListHandler = ListHandler<Pegasus::InstanceResponseHandler, Pegasus::CIMInstance>;
using PathListHandler = ListHandler<Pegasus::ObjectPathResponseHandler, Pegasus::CIMObjectPath>;
using ObjectListHandler = ListHandler<Pegasus::ObjectResponseHandler, Pegasus::CIMObject>;

/// Collects exactly one result. A second result throws in deliver(), a missing one in complete();
/// if the provider catches the latter, result() throws CIM_ERR_NOT_FOUND.
template <class Handler, class Item>
class SingleHandler : public Handler
{
public:
    void processing() override {}
    void complete() override
    {
        const bool isFirst = !completed_;
        completed_ = true;
        if (!item_ || !isFirst) {
            throw Pegasus::CIMException(Pegasus::CIM_ERR_FAILED, "Too few objects delivered.");
        }
    }
    void deliver(const Item& item) override
    {
        requireInitialized(item);
        if (completed_) return;
        if (item_) {
            throw Pegasus::CIMException(Pegasus::CIM_ERR_FAILED, "Too many objects delivered.");
        }
        item_ = item;
    }
    void deliver(const Pegasus::Array<Item>& items) override
    {
        for (Pegasus::Uint32 i = 0; i < items.size(); ++i)
            deliver(items[i]);
    }
    /// A default-constructed item when the provider did not complete.
    Item result() const
    {
        if (!completed_) return Item();
        if (!item_) throw Pegasus::CIMException(Pegasus::CIM_ERR_NOT_FOUND);
        return *item_;
    }

private:
    std::optional<Item> item_;
    bool completed_ = false;
};

using SingleInstanceHandler = SingleHandler<Pegasus::InstanceResponseHandler, Pegasus::CIMInstance>;
using SinglePathHandler = SingleHandler<Pegasus::ObjectPathResponseHandler, Pegasus::CIMObjectPath>;

/// For operations without a result. They succeed even if the provider does not call complete().
class EmptyHandler : public Pegasus::ResponseHandler
{
public:
    void processing() override {}
    void complete() override {}
    void result() const {}
};

/// Collects a method's return value (the last one delivered) and output parameters.
class MethodHandler : public Pegasus::MethodResultResponseHandler
{
public:
    struct Result
    {
        Pegasus::CIMValue returnValue;  ///< null when none was delivered
        Pegasus::Array<Pegasus::CIMParamValue> parameters;
    };

    void processing() override {}
    void complete() override { completed_ = true; }
    void deliverParamValue(const Pegasus::CIMParamValue& value) override
    {
        requireInitialized(value);
        if (!completed_) result_.parameters.append(value);
    }
    void deliverParamValue(const Pegasus::Array<Pegasus::CIMParamValue>& values) override
    {
        for (Pegasus::Uint32 i = 0; i < values.size(); ++i)
            deliverParamValue(values[i]);
    }
    void deliver(const Pegasus::CIMValue& value) override
    {
        requireInitialized(value);
        if (!completed_) result_.returnValue = value;
    }
    Result result() const { return completed_ ? result_ : Result(); }

private:
    Result result_;
    bool completed_ = false;
};

}  // namespace cimom
