#include "Broker/Interop.h"

PEGASUS_USING_PEGASUS;

namespace cimom
{
namespace
{

constexpr const char* objectManagerClass = "CIM_ObjectManager";
constexpr const char* namespaceClass = "CIM_Namespace";
constexpr const char* systemClass = "CIM_ComputerSystem";

template <class Value>
void set(CIMInstance& instance, const char* property, const Value& value)
{
    instance.addProperty(CIMProperty(CIMName(property), CIMValue(value)));
}

}  // namespace

void describeObjectManager(Repository& repository, const String& hostName, const String& version)
{
    const String name("QBXObjectManager");
    CIMInstance manager{CIMName(objectManagerClass)};
    set(manager, "SystemCreationClassName", String(systemClass));
    set(manager, "SystemName", hostName);
    set(manager, "CreationClassName", String(objectManagerClass));
    set(manager, "Name", name);
    set(manager, "ElementName", name);
    set(manager, "Description", name + " on " + hostName + ", version " + version);
    set(manager, "Version", version);
    set(manager, "OperationalStatus", Array<Uint16>(1, 2));
    set(manager, "StatusDescriptions", Array<String>(1, "OK"));
    set(manager, "Started", true);
    repository.addInstance(interopNamespace, manager);

    for (const CIMNamespaceName& nameSpace : repository.namespaces()) {
        CIMInstance instance{CIMName(namespaceClass)};
        set(instance, "SystemCreationClassName", String(systemClass));
        set(instance, "SystemName", hostName);
        set(instance, "ObjectManagerCreationClassName", String(objectManagerClass));
        set(instance, "ObjectManagerName", name);
        set(instance, "CreationClassName", String(namespaceClass));
        set(instance, "Name", nameSpace.getString());
        repository.addInstance(interopNamespace, instance);
    }
}

}  // namespace cimom
