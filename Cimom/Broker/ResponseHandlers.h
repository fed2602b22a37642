// The response handlers that providers are given: they collect what is delivered.
//
// Results count once the provider has called complete(); what is delivered after that is ignored.
#pragma once

#include <Pegasus/Common/Exception.h>
#include <Pegasus/Common/ResponseHandler.h>

namespace cimom
{

template <class Item>
bool isInitialized(const Item& item)
{
    return !item.isUninitialized();
}
inline bool isInitialized(const Pegasus::CIMObjectPath& path)
{
    return !path.getClassName().isNull();
}
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
        for (Pegasus::Uint32 i = 0; i < items.size(); ++i)
            requireInitialized(items[i]);
        if (!completed_) items_.appendArray(items);
    }
    /// To be called once.
    Pegasus::Array<Item> result() { return completed_ ? items_ : Pegasus::Array<Item>(); }

protected:
    Pegasus::Array<Item> items_;
    bool completed_ = false;
};

using InstanceListHandler = ListHandler<Pegasus::InstanceResponseHandler, Pegasus::CIMInstance>;
using PathListHandler = ListHandler<Pegasus::ObjectPathResponseHandler, Pegasus::CIMObjectPath>;
using ObjectListHandler = ListHandler<Pegasus::ObjectResponseHandler, Pegasus::CIMObject>;

/// Collects exactly one result. A second result throws in deliver(), a missing one in complete();
/// if the provider catches the latter, result() throws CIM_ERR_NOT_FOUND.
template <class Handler, class Item>
class SingleHandler : public ListHandler<Handler, Item>
{
public:
    void deliver(const Pegasus::Array<Item>& items) override
    {
        for (Pegasus::Uint32 i = 0; i < items.size(); ++i)
            deliver(items[i]);
    }
    void complete() override
    {
        const bool isGood = !this->completed_ && this->items_.size() == 1;
        this->completed_ = true;
        if (isGood) return;
        throw Pegasus::CIMException(Pegasus::CIM_ERR_FAILED, "Too few objects delivered.");
    }
    void deliver(const Item& item) override
    {
        ListHandler<Handler, Item>::deliver(item);
        if (this->items_.size() < 2) return;
        this->items_ = Pegasus::Array<Item>(1, this->items_[0]);
        throw Pegasus::CIMException(Pegasus::CIM_ERR_FAILED, "Too many objects delivered.");
    }
    /// A default-constructed item when the provider did not complete.
    Item result() const
    {
        if (!this->completed_) return Item();
        if (this->items_.size() == 0) throw Pegasus::CIMException(Pegasus::CIM_ERR_NOT_FOUND);
        return this->items_[0];
    }
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
