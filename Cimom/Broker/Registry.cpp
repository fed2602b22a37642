#include "Broker/Registry.h"

#include "Model/Elements.h"
#include "Model/Text.h"

#include <initializer_list>
#include <stdexcept>
#include <string_view>

PEGASUS_USING_PEGASUS;

namespace cimom
{
namespace
{

// Providers run in this process, as the user of this process; UserContext cannot name another.
constexpr Uint16 userOfServer = 5;

[[noreturn]] void refuse(const CIMInstance& instance, const char* property,
                         const std::string& value, const std::string& why)
{
    throw std::runtime_error("Bad provider registration " + toUtf8(instance.getPath().toString()) +
                             ": " + property + " \"" + value + "\": " + why);
}

/// Leaves the value as it is when the property is missing or null.
template <class T>
void read(const CIMInstance& instance, const char* name, T& value)
{
    if (const CIMValue* const found = instance.object().value(CIMName(name))) found->get(value);
}

template <class T>
T required(const CIMInstance& instance, const char* name)
{
    T value;
    read(instance, name, value);
    if (value.size() == 0) refuse(instance, name, "", "a value is required.");
    return value;
}

void requireOneOf(const CIMInstance& instance, const char* name,
                  std::initializer_list<std::string_view> supported)
{
    const std::string value = toUtf8(required<String>(instance, name));
    std::string list;
    for (const std::string_view candidate : supported) {
        if (value == candidate) return;
        list.append(list.empty() ? "" : ", ").append(candidate);
    }
    refuse(instance, name, value, "supported: " + list + ".");
}

}  // namespace

Registry::Registry(const Repository& repository, const BrokerOptions& options)
{
    const auto forEach = [&](const char* className, auto add) {
        if (!repository.findClass(interopNamespace, className)) return;
        for (const CIMInstance& instance : repository.instancesOf(interopNamespace, className))
            add(instance);
    };
    forEach("PG_ProviderModule", [&](const CIMInstance& i) { addModule(i, options); });
    forEach("PG_Provider", [&](const CIMInstance& i) { addProvider(i); });
    forEach("PG_ProviderCapabilities", [&](const CIMInstance& i) { addCapabilities(i); });
}

Registry::~Registry()
{
    while (!providers_.empty())
        providers_.pop_back();
}

ProviderObject* Registry::find(const CIMNamespaceName& nameSpace, const CIMName& className,
                               ProviderKind kind) const
{
    for (const Route& route : routes_) {
        const bool isIt = route.kind == kind && route.className.equal(className) &&
                          route.nameSpace.equal(nameSpace);
        if (isIt) return route.provider;
    }
    return nullptr;
}

ProviderModule* Registry::module(const String& name) const
{
    for (const auto& module : modules_) {
        if (module->name() == name) return module.get();
    }
    return nullptr;
}

void Registry::addModule(const CIMInstance& instance, const BrokerOptions& options)
{
    const auto name = required<String>(instance, "Name");
    required<String>(instance, "Vendor");
    required<String>(instance, "Version");
    requireOneOf(instance, "InterfaceType", {"C++Default"});
    requireOneOf(instance, "InterfaceVersion", {"2.1.0", "2.2.0", "2.3.0", "2.5.0", "2.6.0"});
    Uint16 user = userOfServer;
    read(instance, "UserContext", user);
    if (user != userOfServer) {
        refuse(instance, "UserContext", std::to_string(user), "not supported; leave it out.");
    }
    const auto location = required<String>(instance, "Location");
    if (location.find(Char16('/')) != PEG_NOT_FOUND) {
        refuse(instance, "Location", toUtf8(location),
               "give the bare name NAME of a library libNAME.so.");
    }
    modules_.push_back(
        std::make_unique<ProviderModule>(name, location, options.providerFolders, options.log));
}

void Registry::addProvider(const CIMInstance& instance)
{
    const auto moduleName = required<String>(instance, "ProviderModuleName");
    const auto name = required<String>(instance, "Name");
    ProviderModule* const owner = module(moduleName);
    if (owner == nullptr) {
        refuse(instance, "ProviderModuleName", toUtf8(moduleName), "no such PG_ProviderModule.");
    }
    providers_.push_back(std::make_unique<ProviderObject>(*owner, name, initializations_));
}

void Registry::addCapabilities(const CIMInstance& instance)
{
    const auto moduleName = required<String>(instance, "ProviderModuleName");
    const auto providerName = required<String>(instance, "ProviderName");
    required<String>(instance, "CapabilityID");
    const auto className = required<String>(instance, "ClassName");
    const auto nameSpaces = required<Array<String>>(instance, "Namespaces");
    const auto types = required<Array<Uint16>>(instance, "ProviderType");

    ProviderObject* const target = provider(moduleName, providerName);
    if (target == nullptr) {
        refuse(instance, "ProviderName", toUtf8(providerName),
               "no such PG_Provider of module \"" + toUtf8(moduleName) + "\".");
    }
    if (!CIMName::legal(className)) {
        refuse(instance, "ClassName", toUtf8(className), "not a class name.");
    }
    for (Uint32 n = 0; n < nameSpaces.size(); ++n) {
        if (!CIMNamespaceName::legal(nameSpaces[n])) {
            refuse(instance, "Namespaces", toUtf8(nameSpaces[n]),
                   "not a namespace name; wildcards are not supported.");
        }
        for (Uint32 t = 0; t < types.size(); ++t) {
            addRoute(instance, {CIMNamespaceName(nameSpaces[n]), CIMName(className),
                                ProviderKind(types[t]), target});
        }
    }
}

void Registry::addRoute(const CIMInstance& instance, const Route& route)
{
    const int type = static_cast<int>(route.kind);
    if (type < 2 || type > 7) {
        refuse(instance, "ProviderType", std::to_string(type),
               "use 2 (instance), 3 (association) or 5 (method).");
    }
    if (const ProviderObject* const other = find(route.nameSpace, route.className, route.kind)) {
        refuse(instance, "ProviderType", std::to_string(type),
               "provider \"" + toUtf8(other->name()) + "\" is already registered for class \"" +
                   toUtf8(route.className.getString()) + "\".");
    }
    routes_.push_back(route);
}

ProviderObject* Registry::provider(const String& moduleName, const String& name) const
{
    for (const auto& candidate : providers_) {
        if (candidate->module().name() == moduleName && candidate->name() == name) {
            return candidate.get();
        }
    }
    return nullptr;
}

}  // namespace cimom
