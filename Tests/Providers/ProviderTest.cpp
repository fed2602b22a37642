#include "ProviderTest.h"

#include "Mof/MofCompiler.h"

#include <stdexcept>

using namespace Pegasus;

std::string str(const String& text)
{
    return std::string(static_cast<const char*>(text.getCString()));
}

std::string str(const CIMName& name)
{
    return str(name.getString());
}

std::string str(const CIMValue& value)
{
    std::string text = cimTypeToString(value.getType());
    if (value.isArray()) text += "[]";
    return text + " " + (value.isNull() ? "null" : str(value.toString()));
}

std::string str(const CIMObjectPath& path)
{
    return str(path.toString());
}

Texts strs(const std::vector<CIMObjectPath>& paths)
{
    Texts texts;
    for (const CIMObjectPath& path : paths)
        texts.push_back(str(path));
    return texts;
}

// ---- The object manager ----

namespace
{

/// The schema of the module, compiled once for the process.
cimom::Repository& schema()
{
    static const std::unique_ptr<cimom::Repository> repository = [] {
        auto compiled = std::make_unique<cimom::Repository>();
        const CIMNamespaceName nameSpace("root/qbx");
        compiled->addNamespace(nameSpace);
        cimom::MofCompiler(*compiled).compileFile(QBX_SCHEMA_DIR "/qbx.mof", nameSpace);
        return compiled;
    }();
    return *repository;
}

std::string userOf(const OperationContext& context)
{
    if (!context.contains(IdentityContainer::NAME)) return "nobody";
    const IdentityContainer identity = context.get(IdentityContainer::NAME);
    return str(identity.getUserName());
}

std::string flags(bool first, bool second)
{
    return std::string(first ? "T" : "F") + (second ? "T" : "F");
}

}  // namespace

StubObjectManager::StubObjectManager() : Broker(schema(), {})
{
    setCurrent(this);
}

StubObjectManager::~StubObjectManager()
{
    setCurrent(nullptr);
}

void StubObjectManager::note(const std::string& question)
{
    const std::lock_guard<std::mutex> guard(_lock);
    asked.push_back(question);
}

CIMClass StubObjectManager::getClass(const Ctx& context, const Ns& nameSpace,
                                     const CIMName& className, bool localOnly,
                                     bool includeQualifiers, bool includeClassOrigin,
                                     const CIMPropertyList& list)
{
    note("getClass " + userOf(context) + " " + str(className) + " " + (localOnly ? "local " : "") +
         flags(includeQualifiers, includeClassOrigin) +
         (list.isNull() ? "" : " " + str(list.toString())));
    return schema().getClass(nameSpace, className, localOnly, includeQualifiers, includeClassOrigin,
                             list);
}

CIMInstance StubObjectManager::getInstance(const Ctx& context, const Ns&, const CIMObjectPath& path,
                                           bool includeQualifiers, bool includeClassOrigin,
                                           const CIMPropertyList& list)
{
    note("getInstance " + userOf(context) + " " + str(path) + " " +
         flags(includeQualifiers, includeClassOrigin) +
         (list.isNull() ? "" : " " + str(list.toString())));
    if (!onGetInstance) throw CIMException(CIM_ERR_NOT_FOUND, "no such instance");
    return onGetInstance(path);
}

Array<CIMInstance> StubObjectManager::enumerateInstances(const Ctx& context, const Ns&,
                                                         const CIMName& className, bool deep,
                                                         bool includeQualifiers,
                                                         bool includeClassOrigin,
                                                         const CIMPropertyList& list)
{
    note("enumerateInstances " + userOf(context) + " " + str(className) + (deep ? " deep" : "") +
         " " + flags(includeQualifiers, includeClassOrigin) +
         (list.isNull() ? "" : " " + str(list.toString())));
    return onEnumerateInstances ? onEnumerateInstances(className) : Array<CIMInstance>();
}

Array<CIMObjectPath> StubObjectManager::enumerateInstanceNames(const Ctx& context, const Ns&,
                                                               const CIMName& className)
{
    note("enumerateInstanceNames " + userOf(context) + " " + str(className));
    return onEnumerateInstanceNames ? onEnumerateInstanceNames(className) : Array<CIMObjectPath>();
}

/// Stands before the library's own, which tells nobody.
void Pegasus::CIMOMHandle::disallowProviderUnload()
{
    RecordingApi::get().call("disallowProviderUnload", "");
}

// ---- The fixture ----

ProviderPtr create(const char* name)
{
    ProviderPtr provider(PegasusCreateProvider(String(name)));
    if (!provider) throw std::logic_error(std::string("the module has no provider ") + name);
    return provider;
}

ProviderTest::ProviderTest() : api(RecordingApi::get())
{
    api.reset();
}

std::string invoke(CIMMethodProvider& provider, const char* method, const Array<CIMParamValue>& in,
                   const CIMObjectPath& path)
{
    MethodHandler handler;
    const std::string thrown =
        thrownBy([&] { provider.invokeMethod(contextOf(), path, CIMName(method), in, handler); });
    if (thrown != "nothing") {
        EXPECT_EQ(handler.steps, Texts{}) << "a failed method must deliver nothing";
        return thrown;
    }
    EXPECT_EQ(handler.steps.size(), 3u);
    EXPECT_EQ(handler.steps.back(), "complete");
    return handler.steps.at(1);
}

OperationContext contextOf(const char* user)
{
    OperationContext context;
    context.insert(IdentityContainer(String(user)));
    return context;
}

CIMObjectPath pathOf(const std::string& className, const Keys& keys, const std::string& host)
{
    Array<CIMKeyBinding> bindings;
    for (const auto& [name, value] : keys) {
        bindings.append(
            CIMKeyBinding(CIMName(name.c_str()), String(value.c_str()), CIMKeyBinding::STRING));
    }
    return CIMObjectPath(String(host.c_str()), CIMNamespaceName("root/qbx"),
                         CIMName(className.c_str()), bindings);
}

CIMPropertyList listOf(std::initializer_list<const char*> names)
{
    Array<CIMName> array;
    for (const char* name : names)
        array.append(CIMName(name));
    return CIMPropertyList(array);
}

std::string valueOf(const CIMInstance& instance, const char* property)
{
    const Uint32 position = instance.findProperty(CIMName(property));
    if (position == PEG_NOT_FOUND) return "absent";
    return str(instance.getProperty(position).getValue());
}

Values valuesOf(const CIMInstance& instance)
{
    const CIMClass cimClass =
        schema().getClass(CIMNamespaceName("root/qbx"), instance.getClassName(), false, false,
                          false, CIMPropertyList());
    Values values;
    for (Uint32 i = 0; i < instance.getPropertyCount(); ++i) {
        const CIMConstProperty property = instance.getProperty(i);
        const Uint32 position = cimClass.findProperty(property.getName());
        const CIMValue unset = cimClass.getProperty(position).getValue();
        if (!property.getValue().equal(unset))
            values[str(property.getName())] = str(property.getValue());
    }
    return values;
}

Array<CIMParamValue> parameters(std::initializer_list<Named> values)
{
    Array<CIMParamValue> result;
    for (const auto& [name, value] : values)
        result.append(CIMParamValue(String(name), value));
    return result;
}

CIMValue nullOf(CIMType type)
{
    return CIMValue(type, false);
}

std::string thrownBy(const std::function<void()>& operation)
{
    try {
        operation();
    } catch (const CIMException& exception) {
        return std::to_string(exception.getCode()) + " " + str(exception.getMessage());
    } catch (const Exception& exception) {
        return str(exception.getMessage());
    }
    return "nothing";
}

// ---- Records ----

api_Cage_t cage(const std::string& tag, int type)
{
    api_Cage_t record = {};
    put(record.deviceID, tag);
    record.type = static_cast<jb_type_e>(type);
    return record;
}

api_Magazine_t magazine(const std::string& tag, const std::string& cageTag, int cageType)
{
    api_Magazine_t record = {};
    put(record.deviceID, tag);
    put(record.parentDeviceID, cageTag);
    record.cageType = static_cast<jb_type_e>(cageType);
    return record;
}

api_FCAL_t card(const std::string& tag, const std::string& cageTag, int cageType)
{
    api_FCAL_t record = {};
    put(record.deviceID, tag);
    put(record.parentDeviceID, cageTag);
    record.cageType = static_cast<jb_type_e>(cageType);
    return record;
}

api_sensor_t sensor(uint16_t reading, uint16_t low, uint16_t high)
{
    api_sensor_t record = {};
    record.reading = reading;
    record.limit_low = low;
    record.limit_high = high;
    return record;
}
