// What the tests of all providers share: short ways to write paths, parameters and the
// events of a request, a handler and an object manager that note their calls, the fixture.
#pragma once

#include "../Row.h"
#include "TestArray.h"

#include "Model/ObjectManager.h"
#include "Mof/MofCompiler.h"

#include <Pegasus/Common/CIMParamValue.h>
#include <Pegasus/Provider/CIMAssociationProvider.h>
#include <Pegasus/Provider/CIMInstanceProvider.h>
#include <Pegasus/Provider/CIMMethodProvider.h>

#include <memory>
#include <regex>
#include <stdexcept>

using namespace Pegasus;

extern "C" CIMProvider* PegasusCreateProvider(const String& name);

// ---- Texts of CIM objects ----

/// "(holds a NUL)" before a text that no C string shows whole.
inline std::string str(const String& text)
{
    const CString bytes = text.getCString();
    const char* const chars = bytes;
    return (String(chars) == text ? "" : "(holds a NUL)") + std::string(chars);
}

inline std::string str(const CIMName& name)
{
    return str(name.getString());
}

inline std::string str(const CIMObjectPath& path)
{
    return str(path.toString());
}

/// The value's text, with a blank between the items of an array; "null" for a null value.
inline std::string str(const CIMValue& value)
{
    if (value.isNull()) return "null";
    const std::string text = str(value.toString());
    return value.isArray() ? text.substr(0, text.find_last_not_of(' ') + 1) : text;
}

/// The value of a property; "absent" when the instance lacks it.
inline std::string valueOf(const CIMInstance& instance, const char* property)
{
    const Uint32 position = instance.findProperty(CIMName(property));
    if (position == PEG_NOT_FOUND) return "absent";
    return str(instance.getProperty(position).getValue());
}

/// "NAME=VALUE" of every property that is not null, sorted.
inline Texts propertiesOf(const CIMInstance& instance)
{
    Texts properties;
    for (Uint32 i = 0; i < instance.getPropertyCount(); ++i) {
        const CIMConstProperty property = instance.getProperty(i);
        if (property.getValue().isNull()) continue;
        properties.push_back(str(property.getName()) + "=" + str(property.getValue()));
    }
    return properties.sorted();
}

/// What an operation throws: "CODE MESSAGE" for a CIM exception, the message for another of the
/// library's, "no exception" for what is neither; "nothing" when it returns.
template <class Operation>
std::string thrownBy(Operation&& operation)
{
    try {
        operation();
    } catch (const CIMException& exception) {
        return std::to_string(exception.getCode()) + " " + str(exception.getMessage());
    } catch (const Exception& exception) {
        return str(exception.getMessage());
    } catch (...) {
        return "no exception";
    }
    return "nothing";
}

/// The text with the change of std::tolower or std::toupper.
inline std::string cased(std::string text, int (*change)(int))
{
    std::transform(text.begin(), text.end(), text.begin(), change);
    return text;
}

// ---- Requests ----

/// A context that names the user.
inline OperationContext contextOf(const char* user = "joe")
{
    OperationContext context;
    context.insert(IdentityContainer(String(user)));
    return context;
}

/// The host of the paths that clients send.
inline const std::string CLIENTS_HOST = "server1";

/// Names and values of STRING keys.
using Keys = std::vector<std::pair<std::string, std::string>>;

inline CIMObjectPath pathOf(const std::string& className, const Keys& keys = {},
                            const std::string& host = CLIENTS_HOST)
{
    Array<CIMKeyBinding> bindings;
    for (const auto& [name, value] : keys)
        bindings.append({CIMName(name.c_str()), value.c_str(), CIMKeyBinding::STRING});
    return {host.c_str(), CIMNamespaceName("root/qbx"), CIMName(className.c_str()), bindings};
}

/// The path of a cage, magazine, card or system package as this module writes it.
inline CIMObjectPath element(const std::string& className, const std::string& tag,
                             const std::string& host = "array1")
{
    return pathOf(className, {{"CreationClassName", className}, {"Tag", tag}}, host);
}

/// The path of a sensor as this module writes it.
inline CIMObjectPath sensor(const std::string& deviceID, const std::string& host = "array1")
{
    return pathOf("QBX_CageSensor",
                  {{"SystemCreationClassName", "QBX_StorageSystem"},
                   {"SystemName", "System One"},
                   {"CreationClassName", "QBX_CageSensor"},
                   {"DeviceID", deviceID}},
                  host);
}

inline CIMPropertyList listOf(const Texts& names)
{
    Array<CIMName> array;
    for (const std::string& name : names)
        array.append(CIMName(name.c_str()));
    return CIMPropertyList(array);
}

/// Method parameters, written as {uint16("LocateTimer", 5), ...}.
struct Parameters : Array<CIMParamValue>
{
    Parameters(std::initializer_list<CIMParamValue> parameters)
    {
        for (const CIMParamValue& parameter : parameters)
            append(parameter);
    }
};

///@{
/// A parameter, or a property of instanceWith().
template <class Value>
CIMParamValue parameter(const char* name, const Value& value)
{
    return {name, CIMValue(value)};
}
inline CIMParamValue uint16(const char* name, Uint16 value)
{
    return parameter(name, value);
}
inline CIMParamValue string(const char* name, const char* value)
{
    return parameter(name, String(value));
}
inline CIMParamValue null(const char* name, CIMType type, bool isArray = false)
{
    return {name, CIMValue(type, isArray)};
}
///@}

inline CIMInstance instanceWith(const CIMName& className, const Parameters& properties)
{
    CIMInstance instance(className);
    for (Uint32 i = 0; i < properties.size(); ++i)
        instance.addProperty(
            CIMProperty(CIMName(properties[i].getParameterName()), properties[i].getValue()));
    return instance;
}

// ---- Events of a request, as TestArray::events() writes them ----

/// The API is opened for the user of contextOf().
inline const std::string OPEN = "api_qbxOpenForCimserver(\"joe\") = 0";

/// A call of the array's library that holds the semaphore.
inline Texts underSemaphore(const std::string& call)
{
    return {"cim_sem_wait() = 0", call, "cim_sem_post()"};
}

/// A list query that succeeds.
inline Texts query(const std::string& operation)
{
    return underSemaphore(operation + "(0) = 0");
}

/// The handler gets one result, such as "4" for an array of four.
inline Texts delivered(const std::string& result)
{
    return {"handler.processing", "handler.deliver " + result, "handler.complete"};
}

inline const Texts SKELETON = {"4: -->QBX_Common::_buildInstanceSkeleton()\n",
                               "4: <--QBX_Common::_buildInstanceSkeleton()\n"};

/// QBX_Common reads a key of a path.
inline Texts readKey(const std::string& name, const std::string& value)
{
    return {"4: -->QBX_Common::getStringProperty(), propertyName = " + name + "\n",
            "4: <--QBX_Common::getStringProperty(), value = " + value + "\n"};
}

/// Notes its calls ("handler.processing", "handler.deliver 2" for an array, "handler.deliver one",
/// "handler.deliver sint32 0", "handler.complete") and keeps what is delivered.
class Handler : public InstanceResponseHandler,
                public ObjectPathResponseHandler,
                public ObjectResponseHandler,
                public MethodResultResponseHandler
{
public:
    std::vector<CIMInstance> instances;
    Texts paths;  ///< of instances, too

    void processing() override { TestArray::note("handler.processing"); }
    void complete() override { TestArray::note("handler.complete"); }
    void deliver(const CIMInstance& instance) override { one(instance); }
    void deliver(const CIMObjectPath& path) override { one(path); }
    void deliver(const CIMObject& object) override { one(object); }
    void deliver(const Array<CIMInstance>& all) override { several(all); }
    void deliver(const Array<CIMObjectPath>& all) override { several(all); }
    void deliver(const Array<CIMObject>& all) override { several(all); }
    void deliver(const CIMValue& value) override
    {
        TestArray::note("handler.deliver " + std::string(cimTypeToString(value.getType())) + " " +
                        str(value));
    }
    void deliverParamValue(const CIMParamValue&) override {}
    void deliverParamValue(const Array<CIMParamValue>&) override {}

private:
    template <class Result>
    void one(const Result& result)
    {
        TestArray::note("handler.deliver one");
        keep(result);
    }

    template <class Result>
    void several(const Array<Result>& all)
    {
        TestArray::note("handler.deliver " + std::to_string(all.size()));
        for (Uint32 i = 0; i < all.size(); ++i)
            keep(all[i]);
    }

    void keep(const CIMObjectPath& path) { paths.push_back(str(path)); }
    void keep(const CIMObject& object) { keep(CIMInstance(object)); }
    void keep(const CIMInstance& instance)
    {
        instances.push_back(instance);
        keep(instance.getPath());
    }
};

// ---- The schema and the object manager ----

/// The schema of the module, compiled once for the process.
inline cimom::Repository& schema()
{
    static const std::unique_ptr<cimom::Repository> repository = [] {
        const CIMNamespaceName nameSpace("root/qbx");
        auto compiled = std::make_unique<cimom::Repository>();
        compiled->addNamespace(nameSpace);
        cimom::compileMof(*compiled, nameSpace, QBX_SCHEMA_DIR "/qbx.mof");
        return compiled;
    }();
    return *repository;
}

/// A class of the schema, as it is stored.
inline CIMClass storedClass(const CIMName& className)
{
    return CIMClass(schema().getClass(CIMNamespaceName("root/qbx"), className));
}

/// An instance of a class of the schema, with every property at its default.
inline CIMInstance instanceOf(const CIMName& className)
{
    return storedClass(className).buildInstance(true, true, CIMPropertyList());
}

/// The object manager behind the providers' handle: classes from the schema, instances as the test
/// says. Notes its calls: "cimom.getClass USER CLASS TF Tag" asks with qualifiers (T), without
/// class origins (F), for the property Tag; "nobody" is a context without a user.
class StubObjectManager : public cimom::ObjectManager
{
public:
    StubObjectManager() { current = this; }
    ~StubObjectManager() override { current = nullptr; }

    ///@{
    /// The answers: at first one instance that has no host and namespace, as the server's have, of
    /// the requested path, or a path with the key Tag "package".
    std::function<CIMInstance(const CIMObjectPath&)> onGetInstance = withPath;
    std::function<Array<CIMObjectPath>(const CIMName&)> onEnumerateInstanceNames =
        [](const CIMName& name) { return Array<CIMObjectPath>(1, packageOf(name)); };
    ///@}

    CIMClass getClass(const OperationContext& context, const CIMNamespaceName& nameSpace,
                      const CIMName& className, const cimom::ClassView& view) override
    {
        note("getClass", context,
             str(className) + (view.localOnly ? " local" : "") + viewText(view));
        return CIMClass(schema().getClass(nameSpace, className, view));
    }

    CIMInstance getInstance(const OperationContext& context, const CIMNamespaceName&,
                            const CIMObjectPath& path, const cimom::InstanceView& view) override
    {
        note("getInstance", context, str(path) + viewText(view));
        return onGetInstance(path);
    }

    Array<CIMInstance> enumerateInstances(const OperationContext& context, const CIMNamespaceName&,
                                          const CIMName& className, bool deep,
                                          const cimom::InstanceView& view, cimom::PathForm) override
    {
        note("enumerateInstances", context,
             str(className) + (deep ? " deep" : "") + viewText(view));
        return Array<CIMInstance>(1, withPath(packageOf(className)));
    }

    Array<CIMObjectPath> enumerateInstanceNames(const OperationContext& context,
                                                const CIMNamespaceName&, const CIMName& className,
                                                cimom::PathForm) override
    {
        note("enumerateInstanceNames", context, str(className));
        return onEnumerateInstanceNames(className);
    }

private:
    static CIMObjectPath packageOf(const CIMName& className)
    {
        return element(str(className), "package", CLIENTS_HOST);
    }

    static CIMInstance withPath(const CIMObjectPath& path)
    {
        CIMInstance instance = instanceOf(path.getClassName());
        instance.setPath(
            {String(), CIMNamespaceName(), path.getClassName(), path.getKeyBindings()});
        return instance;
    }

    template <class View>
    static std::string viewText(const View& view)
    {
        std::string text = view.includeQualifiers ? " T" : " F";
        text += view.includeClassOrigin ? "T" : "F";
        const CIMPropertyList& list = view.properties;
        for (Uint32 i = 0; !list.isNull() && i < list.size(); ++i)
            text += " " + str(list[i]);
        return text;
    }

    static void note(const char* operation, const OperationContext& context,
                     const std::string& what)
    {
        std::string user = "nobody";
        if (context.contains(IdentityContainer::NAME)) {
            const IdentityContainer identity = context.get(IdentityContainer::NAME);
            user = str(identity.getUserName());
        }
        TestArray::note("cimom." + std::string(operation) + " " + user + " " + what);
    }
};

// ---- The fixture ----

/// One of each element: the members of its array file.
inline const std::string ONE_OF_EACH = R"(
  "nodeIPaddress": "192.0.2.1",
  "cages": [{"deviceID": "cage 0", "type": "JB_LBOD", "lbod": {"sensors": [{"reading": 1}]}}],
  "cagesPS": [{"name": "cage 0", "type": "JB_LBOD"}],
  "magazines": [
    {"deviceID": "mag x", "parentDeviceID": "cage 0", "cageType": "JB_LBOD", "isAbsent": true},
    {"deviceID": "mag 0", "parentDeviceID": "cage 0", "cageType": "JB_LBOD", "position": 65535}],
  "fcals": [{"deviceID": "card 0", "parentDeviceID": "cage 0", "cageType": "JB_LBOD"}])";

/// Ends a provider as the server does.
struct Terminate
{
    void operator()(CIMProvider* provider) const { provider->terminate(); }
};
using ProviderPtr = std::unique_ptr<CIMProvider, Terminate>;

/// A provider of the module by its name, not yet initialized.
inline ProviderPtr create(const std::string& name)
{
    ProviderPtr provider(PegasusCreateProvider(name.c_str()));
    if (!provider) throw std::logic_error("the module has no provider " + name);
    return provider;
}

/// What clients may ask beside the object of a traversal.
struct Traversal
{
    String role;
    String resultRole;
    CIMName resultClass;
    CIMName associationClass;
};

/// What clients may ask of the properties: "TF Tag" in the object manager's notes.
struct View
{
    bool qualifiers = false;
    bool classOrigin = false;
    CIMPropertyList properties;
};

/// A fresh array and object manager; one initialized provider after start().
class ProviderTest : public testing::Test
{
protected:
    /// Creates the provider, initializes it, serves the array and forgets what was recorded so far.
    void start(const std::string& name, const std::string& elements = ONE_OF_EACH)
    {
        _provider = create(name);
        CIMOMHandle handle;
        _provider->initialize(handle);
        _name = name;
        provider = dynamic_cast<CIMInstanceProvider*>(_provider.get());
        methods = dynamic_cast<CIMMethodProvider*>(_provider.get());
        associations = dynamic_cast<CIMAssociationProvider*>(_provider.get());
        array.serve(elements);
    }

    /// What happened since the request began, with P for the name of the provider that was started.
    Texts events() const
    {
        Texts events = array.events();
        for (std::string& event : events)
            event = std::regex_replace(event, std::regex(_name + "::"), "P::");
        return events;
    }

    ///@{
    /// Makes a request for contextOf(), of which alone is on record afterwards; returns what it
    /// threw and keeps what it delivered.
    template <class Operation>
    std::string run(Operation&& operation)
    {
        array.forget();
        got = Handler();
        return thrownBy(operation);
    }

    /// An operation that reads a class, an instance, or what lies at the other end of an object.
    std::string read(const std::string& operation, const CIMObjectPath& object,
                     const View& view = {}, const Traversal& traversal = {})
    {
        return run([&] { sendRead(operation, object, view, traversal); });
    }

    std::string invoke(const CIMObjectPath& object, const char* method,
                       const Array<CIMParamValue>& in = {})
    {
        return run([&] { methods->invokeMethod(context, object, CIMName(method), in, got); });
    }

    std::string modify(const CIMObjectPath& object, const Parameters& properties,
                       const CIMPropertyList& list = {})
    {
        const CIMInstance instance = instanceWith(object.getClassName(), properties);
        return run([&] { provider->modifyInstance(context, object, instance, false, list, got); });
    }
    ///@}

    TestArray array;
    StubObjectManager cimom;
    OperationContext context = contextOf();
    Handler got;
    ///@{
    /// The provider that was started; null for what it does not provide.
    CIMInstanceProvider* provider = nullptr;
    CIMMethodProvider* methods = nullptr;
    CIMAssociationProvider* associations = nullptr;
    ///@}

private:
    void sendRead(const std::string& operation, const CIMObjectPath& object, const View& view,
                  const Traversal& traversal)
    {
        const auto& [role, resultRole, resultClass, association] = traversal;
        const auto& [qualifiers, classOrigin, properties] = view;
        if (operation == "enumerateInstanceNames")
            provider->enumerateInstanceNames(context, object, got);
        else if (operation == "enumerateInstances")
            provider->enumerateInstances(context, object, qualifiers, classOrigin, properties, got);
        else if (operation == "getInstance")
            provider->getInstance(context, object, qualifiers, classOrigin, properties, got);
        else if (operation == "referenceNames")
            associations->referenceNames(context, object, resultClass, role, got);
        else if (operation == "references")
            associations->references(context, object, resultClass, role, qualifiers, classOrigin,
                                     properties, got);
        else if (operation == "associatorNames")
            associations->associatorNames(context, object, association, resultClass, role,
                                          resultRole, got);
        else if (operation == "associators")
            associations->associators(context, object, association, resultClass, role, resultRole,
                                      qualifiers, classOrigin, properties, got);
        else
            throw std::logic_error("no operation " + operation);
    }

    ProviderPtr _provider;
    std::string _name;
};
