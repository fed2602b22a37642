// The response handlers that providers are given: they collect what is delivered.
//
// Results count once the provider has called complete(); what is delivered after that is ignored.
#pragma once

#include <Pegasus/Common/Exception.h>
#include <Pegasus/Common/ResponseHandler.h>

#include <optional>

namespace cimom
{

/// Throws what a provider sees when it delivers something that is no object yet.
inline void requireInitialized(bool initialized)
{
    if (!initialized) {
        throw Pegasus::CIMException(Pegasus::CIM_ERR_FAILED, "The object is not initialized.");
    }
}
inline bool isInitialized(const Pegasus::CIMInstance& instance)
{
    return !instance.isUninitialized();
}
inline bool isInitialized(const Pegasus::CIMObject& object)
{
    return !object.isUninitialized();
}
inline bool isInitialized(const Pegasus::CIMObjectPath& path)
{
    return !path.getClassName().isNull();
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
        requireInitialized(isInitialized(item));
        if (!completed_) items_.append(item);
    }
    void deliver(const Pegasus::Array<Item>& items) override
    {
        for (Pegasus::Uint32 i = 0; i < items.size(); ++i)
            deliver(items[i]);
    }

    void discard() { items_.clear(); }
    Pegasus::Array<Item> result() const { return completed_ ? items_ : Pegasus::Array<Item>(); }

private:
    Pegasus::Array<Item> items_;
    bool completed_ = false;
};

using InstanceListHandler = ListHandler<Pegasus::InstanceResponseHandler, Pegasus::CIMInstance>;
using PathListHandler = ListHandler<Pegasus::ObjectPathResponseHandler, Pegasus::CIMObjectPath>;
using ObjectListHandler = ListHandler<Pegasus::ObjectResponseHandler, Pegasus::CIMObject>;

/// Collects exactly one result. One too many is refused when it is delivered, none at all when
/// complete() is called; a provider that catches the latter answers "not found".
template <class Handler, class Item>
class SingleHandler : public Handler
{
public:
    void processing() override {}
    void complete() override
    {
        if (!pending_) {
            completedEmpty_ = true;
            throw Pegasus::CIMException(Pegasus::CIM_ERR_FAILED, "Too few objects delivered.");
        }
        result_ = pending_;
        pending_.reset();
    }
    void deliver(const Item& item) override
    {
        requireInitialized(isInitialized(item));
        if (result_) return;
        if (pending_) {
            throw Pegasus::CIMException(Pegasus::CIM_ERR_FAILED, "Too many objects delivered.");
        }
        pending_ = item;
    }
    void deliver(const Pegasus::Array<Item>& items) override
    {
        for (Pegasus::Uint32 i = 0; i < items.size(); ++i)
            deliver(items[i]);
    }

    void discard()
    {
        result_.reset();
        completedEmpty_ = false;
    }
    /// The result; a default-constructed item when the provider did not complete.
    Item result() const
    {
        if (completedEmpty_) throw Pegasus::CIMException(Pegasus::CIM_ERR_NOT_FOUND);
        return result_.value_or(Item());
    }

private:
    std::optional<Item> pending_;
    std::optional<Item> result_;
    bool completedEmpty_ = false;
};

using SingleInstanceHandler = SingleHandler<Pegasus::InstanceResponseHandler, Pegasus::CIMInstance>;
using SinglePathHandler = SingleHandler<Pegasus::ObjectPathResponseHandler, Pegasus::CIMObjectPath>;

/// For operations without a result, which succeed whether completed or not.
class EmptyHandler : public Pegasus::ResponseHandler
{
public:
    void processing() override {}
    void complete() override {}
    void discard() {}
};

/// Collects a method's return value (the last one delivered) and output parameters.
class MethodHandler : public Pegasus::MethodResultResponseHandler
{
public:
    void processing() override {}
    void complete() override { completed_ = true; }
    void deliverParamValue(const Pegasus::CIMParamValue& value) override
    {
        requireInitialized(!value.isUninitialized());
        if (!completed_) parameters_.append(value);
    }
    void deliverParamValue(const Pegasus::Array<Pegasus::CIMParamValue>& values) override
    {
        for (Pegasus::Uint32 i = 0; i < values.size(); ++i)
            deliverParamValue(values[i]);
    }
    void deliver(const Pegasus::CIMValue& value) override
    {
        requireInitialized(!value.isNull());
        if (!completed_) returnValue_ = value;
    }

    void discard() { completed_ = false; }
    /// Null when the provider delivered none or did not complete.
    Pegasus::CIMValue returnValue() const
    {
        return completed_ ? returnValue_ : Pegasus::CIMValue();
    }
    Pegasus::Array<Pegasus::CIMParamValue> parameters() const
    {
        return completed_ ? parameters_ : Pegasus::Array<Pegasus::CIMParamValue>();
    }

private:
    Pegasus::CIMValue returnValue_;
    Pegasus::Array<Pegasus::CIMParamValue> parameters_;
    bool completed_ = false;
};

}  // namespace cimom
