#include "Broker/Registry.h"

#include "Broker/Text.h"

#include <algorithm>
#include <stdexcept>

PEGASUS_USING_PEGASUS;

namespace cimom
{
namespace
{

constexpr const char* supportedInterfaceType = "C++Default";
constexpr const char* supportedInterfaceVersions[] = {"2.1.0", "2.2.0", "2.3.0", "2.5.0", "2.6.0"};
constexpr Uint16 firstProviderType = 2;  // instance
constexpr Uint16 lastProviderType = 7;   // instance query
constexpr Uint16 userContextOfServer = 5;

[[noreturn]] void refuse(const CIMInstance& instance, const std::string& what)
{
    throw std::runtime_error("Bad provider registration " + toUtf8(instance.getPath().toString()) +
                             ": " + what);
}

template <class T>
bool read(const CIMInstance& instance, const char* property, T& value)
{
    const Uint32 position = instance.findProperty(CIMName(property));
    if (position == PEG_NOT_FOUND) return false;
    const CIMValue& stored = instance.getProperty(position).getValue();
    if (stored.isNull()) return false;
    try {
        stored.get(value);
    } catch (const TypeMismatchException&) {
        refuse(instance, std::string("property ") + property + " has another type than declared.");
    }
    return true;
}

template <class T>
T required(const CIMInstance& instance, const char* property)
{
    T value;
    if (!read(instance, property, value) || value.size() == 0) {
        refuse(instance, std::string("required property ") + property + " is missing or empty.");
    }
    return value;
}

void requireSupportedInterface(const CIMInstance& module)
{
    const std::string type = toUtf8(required<String>(module, "InterfaceType"));
    if (type != supportedInterfaceType) {
        refuse(module, "InterfaceType \"" + type + "\" is not supported; use \"" +
                           supportedInterfaceType + "\".");
    }
    const std::string version = toUtf8(required<String>(module, "InterfaceVersion"));
    const auto known = std::find(std::begin(supportedInterfaceVersions),
                                 std::end(supportedInterfaceVersions), version);
    if (known == std::end(supportedInterfaceVersions)) {
        refuse(module, "InterfaceVersion \"" + version +
                           "\" is not supported; use 2.1.0, 2.2.0, 2.3.0, 2.5.0 or 2.6.0.");
    }
}

// Providers run in this process as this process's user; another one cannot be asked for.
void requireUserOfServer(const CIMInstance& module)
{
    Uint16 userContext = userContextOfServer;
    if (read(module, "UserContext", userContext) && userContext != userContextOfServer) {
        refuse(module, "The UserContext property is not supported; leave it out.");
    }
}

}  // namespace

bool Registry::Route::operator==(const Route& other) const
{
    return type == other.type && className.equal(other.className) &&
           nameSpace.equal(other.nameSpace);
}

std::size_t Registry::RouteHash::operator()(const Route& route) const
{
    const NoCase hash;
    return (hash(route.nameSpace) * 31 + hash(route.className)) * 31 + route.type;
}

Registry::Registry(const Repository& repository, const CIMNamespaceName& interop,
                   const std::vector<std::filesystem::path>& providerFolders,
                   std::chrono::milliseconds initializeWait)
    : gate_(initializeWait)
{
    const auto instancesOf = [&](const char* className) {
        const CIMName name(className);
        return repository.hasNamespace(interop) && repository.hasClass(interop, name)
                   ? repository.instancesOf(interop, name)
                   : std::vector<CIMInstance>();
    };
    for (const CIMInstance& instance : instancesOf("PG_ProviderModule")) {
        addModule(instance, providerFolders);
    }
    for (const CIMInstance& instance : instancesOf("PG_Provider"))
        addProvider(instance);
    for (const CIMInstance& instance : instancesOf("PG_ProviderCapabilities")) {
        addCapabilities(instance);
    }
}

Registry::~Registry()
{
    while (!providers_.empty())
        providers_.pop_back();
}

ProviderObject* Registry::find(const CIMNamespaceName& nameSpace, const CIMName& className,
                               ProviderKind kind) const
{
    const auto route = routes_.find(Route{nameSpace, className, static_cast<Uint16>(kind)});
    return route == routes_.end() ? nullptr : route->second;
}

ProviderModule* Registry::module(const String& name) const
{
    for (const auto& module : modules_) {
        if (module->name() == name) return module.get();
    }
    return nullptr;
}

void Registry::addModule(const CIMInstance& instance,
                         const std::vector<std::filesystem::path>& folders)
{
    const String name = required<String>(instance, "Name");
    required<String>(instance, "Vendor");
    required<String>(instance, "Version");
    requireSupportedInterface(instance);
    requireUserOfServer(instance);
    const String location = required<String>(instance, "Location");
    if (location.find(Char16('/')) != PEG_NOT_FOUND) {
        refuse(instance, "Location \"" + toUtf8(location) +
                             "\" is a path; give the bare name NAME of a library libNAME.so.");
    }
    modules_.push_back(std::make_unique<ProviderModule>(name, location, folders));
}

void Registry::addProvider(const CIMInstance& instance)
{
    const String moduleName = required<String>(instance, "ProviderModuleName");
    const String name = required<String>(instance, "Name");
    ProviderModule* const owner = module(moduleName);
    if (owner == nullptr) {
        refuse(instance, "ProviderModuleName \"" + toUtf8(moduleName) +
                             "\" names no registered PG_ProviderModule.");
    }
    providers_.push_back(std::make_unique<ProviderObject>(*owner, name, gate_));
}

void Registry::addCapabilities(const CIMInstance& instance)
{
    const String moduleName = required<String>(instance, "ProviderModuleName");
    const String providerName = required<String>(instance, "ProviderName");
    required<String>(instance, "CapabilityID");
    const String className = required<String>(instance, "ClassName");
    const auto nameSpaces = required<Array<String>>(instance, "Namespaces");
    const auto types = required<Array<Uint16>>(instance, "ProviderType");

    ProviderObject* const target = provider(moduleName, providerName);
    if (target == nullptr) {
        refuse(instance, "ProviderName \"" + toUtf8(providerName) +
                             "\" names no registered PG_Provider of module \"" +
                             toUtf8(moduleName) + "\".");
    }
    if (!CIMName::legal(className)) {
        refuse(instance, "ClassName \"" + toUtf8(className) + "\" is not a class name.");
    }
    for (Uint32 n = 0; n < nameSpaces.size(); ++n) {
        if (!CIMNamespaceName::legal(nameSpaces[n])) {
            refuse(instance, "Namespaces has \"" + toUtf8(nameSpaces[n]) +
                                 "\", which is not a namespace name; wildcards are not supported.");
        }
        for (Uint32 t = 0; t < types.size(); ++t) {
            if (types[t] < firstProviderType || types[t] > lastProviderType) {
                refuse(instance, "ProviderType " + std::to_string(types[t]) +
                                     " is not supported; use 2 (instance), 3 (association) or "
                                     "5 (method).");
            }
            const Route capability{CIMNamespaceName(nameSpaces[n]), CIMName(className), types[t]};
            const auto [route, isNew] = routes_.emplace(capability, target);
            if (!isNew) {
                refuse(instance,
                       "A provider is already registered for the specified capability: "
                       "class \"" +
                           toUtf8(className) + "\", ProviderType " + std::to_string(types[t]) +
                           ", provider \"" + toUtf8(route->second->name()) + "\".");
            }
        }
    }
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
