// A provider for tests: it records every call and does what the test has set for it.
#pragma once

#include "Model/Text.h"

#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMParamValue.h>
#include <Pegasus/Common/ResponseHandler.h>
#include <Pegasus/Provider/CIMProvider.h>

#include <functional>
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

// How calls, results and expectations show what they hold.
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

namespace scripted
{

/// What a provider does. An operation that is not set delivers CLASS.Id=1 of the class that it is
/// asked for (a traversal: of the association class, a method: the number 0) and completes.
struct Behavior
{
    std::function<void()> onInitialize;
    std::function<void(Pegasus::InstanceResponseHandler&)> onGetInstance, onEnumerateInstances;
    std::function<void(Pegasus::ObjectPathResponseHandler&)> onEnumerateInstanceNames,
        onCreateInstance, onAssociatorNames, onReferenceNames;
    std::function<void(Pegasus::ObjectResponseHandler&)> onAssociators, onReferences;
    std::function<void(Pegasus::ResponseHandler&)> onModifyInstance, onDeleteInstance;
    std::function<void(Pegasus::MethodResultResponseHandler&)> onInvokeMethod;
};

/// The behavior of the provider of that name.
Behavior& provider(const std::string& name);

/// The operations that providers were called for since the last time, as in
/// "Leaf getInstance //here/root/test:T_Leaf.Id=1 IncludeQualifiers PropertyList=[A B] by USER".
/// What is false, null or empty is left out.
Lines takeCalls();
/// The same for "create NAME", "initialize NAME", "terminate NAME".
Lines takeLifecycle();
/// Forgets what was set and recorded.
void reset();

/// The factory of the module; "Missing" gives no provider, "Bare" one without operations.
Pegasus::CIMProvider* create(const Pegasus::String& providerName);

}  // namespace scripted
}  // namespace cimom
