// A provider for tests: it records every call and does what the test has set for it.
#pragma once

#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/ResponseHandler.h>
#include <Pegasus/Provider/CIMProvider.h>

#include <functional>
#include <initializer_list>
#include <ostream>
#include <string>
#include <vector>

namespace cimom
{

/// Lines of text that a failing test prints one below the other.
struct Lines : std::vector<std::string>
{
    using vector::vector;
};
void PrintTo(const Lines& lines, std::ostream* out);

// How calls and results show what they hold.
std::string text(const Pegasus::CIMObjectPath&);
/// "type=value"
std::string text(const Pegasus::CIMValue&);
/// "PATH{Name:type=value, ...}", nothing for an uninitialized instance.
std::string text(const Pegasus::CIMInstance&);

template <class Item>
Lines texts(const Pegasus::Array<Item>& items)
{
    Lines lines;
    for (Pegasus::Uint32 i = 0; i < items.size(); ++i)
        lines.push_back(text(items[i]));
    return lines;
}

Pegasus::CIMInstance instanceOf(const std::string& path,
                                std::initializer_list<Pegasus::CIMProperty> properties = {});

namespace scripted
{

/// What a provider does, by the kind of result. An operation for which nothing is set delivers
/// CLASS.Id=1 of the class that it is asked for (a traversal: of the association class, a method:
/// the number 0) and completes.
struct Behavior
{
    std::function<void()> onInitialize;
    std::function<void(Pegasus::InstanceResponseHandler&)> onInstances;
    std::function<void(Pegasus::ObjectPathResponseHandler&)> onPaths;
    std::function<void(Pegasus::ObjectResponseHandler&)> onObjects;
    std::function<void(Pegasus::ResponseHandler&)> onChange;
    std::function<void(Pegasus::MethodResultResponseHandler&)> onMethod;
};

/// The behavior of the provider of that name.
Behavior& provider(const std::string& name);

/// Delivers these to whatever handler takes them, and completes.
template <class Item>
auto delivering(std::vector<Item> items)
{
    return [items](auto& handler) {
        for (const Item& item : items)
            handler.deliver(item);
        handler.complete();
    };
}

/// The calls of providers, as in "Leaf getInstance //here/root/test:T_Leaf.Id=1 IncludeQualifiers
/// PropertyList=[A B] by USER"; what is false, null or empty is left out.
extern Lines calls;
/// "create NAME", "initialize NAME", "terminate NAME".
extern Lines lifecycle;

/// Forgets what was set and recorded.
void reset();

/// The factory of the module; "Missing" gives no provider, "Bare" one without operations.
Pegasus::CIMProvider* create(const Pegasus::String& providerName);

}  // namespace scripted
}  // namespace cimom
