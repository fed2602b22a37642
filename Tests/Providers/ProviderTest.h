// What the tests of all providers share: the simulated array, an object manager to ask, a handler
// that keeps what it is given, and short ways to build requests and read results.
#pragma once

#include "TestArray.h"

#include "Model/ObjectManager.h"
#include "Mof/MofCompiler.h"

#include <Pegasus/Common/CIMParamValue.h>
#include <Pegasus/Provider/CIMAssociationProvider.h>
#include <Pegasus/Provider/CIMInstanceProvider.h>
#include <Pegasus/Provider/CIMMethodProvider.h>

#include <algorithm>
#include <fstream>
#include <map>
#include <memory>
#include <sstream>
#include <stdexcept>

using namespace Pegasus;

extern "C" CIMProvider* PegasusCreateProvider(const String& name);

// ---- Texts ----

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

/// "TYPE VALUE", "TYPE[] a b", with "null" for a null value.
inline std::string str(const CIMValue& value)
{
    std::string text = cimTypeToString(value.getType());
    if (value.isArray()) text += "[]";
    return text + " " + (value.isNull() ? "null" : str(value.toString()));
}

inline Texts operator+(Texts first, const Texts& second)
{
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

/// The text in lower or upper case, by std::tolower or std::toupper.
inline std::string cased(std::string text, int (*change)(int))
{
    std::transform(text.begin(), text.end(), text.begin(), change);
    return text;
}

/// The parts of a text, without blanks around them.
inline Texts split(const std::string& text, char separator = ' ')
{
    Texts parts;
    std::istringstream pieces(text);
    for (std::string piece; std::getline(pieces, piece, separator);) {
        const std::size_t first = piece.find_first_not_of(' ');
        const std::size_t last = piece.find_last_not_of(' ');
        parts.push_back(first == std::string::npos ? "" : piece.substr(first, last + 1 - first));
    }
    return parts;
}

/// The rows of data/NAME.txt, each of so many fields; fields that end a line may be missing. "\n"
/// and "\t" are a newline and a tab.
inline std::vector<Texts> table(const std::string& name, std::size_t fields)
{
    std::ifstream file(QBX_TEST_DATA "/" + name + ".txt");
    if (!file) throw std::logic_error("no table " + name);
    std::vector<Texts> rows;
    for (std::string line; std::getline(file, line);) {
        if (line.empty() || line[0] == '#') continue;
        rows.push_back(split(line, '|'));
        rows.back().resize(fields);
        for (std::string& field : rows.back()) {
            for (std::size_t at = 0; (at = field.find('\\', at)) != std::string::npos; ++at) {
                if (field[at + 1] == 'n')
                    field.replace(at, 2, "\n");
                else if (field[at + 1] == 't')
                    field.replace(at, 2, "\t");
            }
        }
    }
    return rows;
}

/// A log line of a provider, with its level and arguments: "OPERATION>" as it begins, "?" for what
/// was asked, "!" for a refusal, "<" as it ends. See data/traces.txt.
inline std::string lineOf(const std::string& provider, const std::string& key,
                          const Texts& arguments = {})
{
    static const std::map<std::string, std::string> lines = [] {
        std::map<std::string, std::string> texts;
        for (const Texts& row : table("traces", 3))
            texts[row[0] + row[1]] = row[2];
        return texts;
    }();
    std::string line = lines.at(provider + key);
    std::size_t from = 0;
    for (const std::string& argument : arguments) {
        from = line.find("%s", from);
        line.replace(from, 2, argument);
        from += argument.size();
    }
    return (key.back() == '!' ? "2: " : "4: ") + line;
}

/// The call that opens the API for the user of contextOf().
inline const std::string OPEN = "api_qbxOpenForCimserver(\"joe\") = 0";

/// The calls of a list query.
inline Texts reading(const std::string& query)
{
    return {"cim_sem_wait() = 0", query + "(0) = 0", "cim_sem_post()"};
}

// ---- Requests and results ----

/// A context that names the user.
inline OperationContext contextOf(const char* user = "joe")
{
    OperationContext context;
    context.insert(IdentityContainer(String(user)));
    return context;
}

/// "Name=value" keys; a value is a STRING binding.
using Keys = std::vector<std::pair<std::string, std::string>>;

inline CIMObjectPath pathOf(const std::string& className, const Keys& keys = {},
                            const std::string& host = "server1")
{
    Array<CIMKeyBinding> bindings;
    for (const auto& [name, value] : keys)
        bindings.append({CIMName(name.c_str()), value.c_str(), CIMKeyBinding::STRING});
    return {host.c_str(), CIMNamespaceName("root/qbx"), CIMName(className.c_str()), bindings};
}

/// What follows the first word of a text.
inline std::string rest(const std::string& text)
{
    const std::size_t blank = text.find(' ');
    return blank == std::string::npos ? "" : text.substr(blank + 1);
}

/// The path of an object as this module writes it, from its class without "QBX_" and its tag.
inline CIMObjectPath at(const std::string& classAndTag, const std::string& host = "array1")
{
    const std::string name = "QBX_" + split(classAndTag)[0];
    const std::string tag = rest(classAndTag);
    if (name != "QBX_CageSensor")
        return pathOf(name, {{"CreationClassName", name}, {"Tag", tag}}, host);
    return pathOf(name,
                  {{"SystemCreationClassName", "QBX_StorageSystem"},
                   {"SystemName", "System One"},
                   {"CreationClassName", name},
                   {"DeviceID", tag}},
                  host);
}

/// The list of these names, separated by blanks.
inline CIMPropertyList listOf(const std::string& names)
{
    Array<CIMName> array;
    for (const std::string& name : split(names))
        array.append(CIMName(name.c_str()));
    return CIMPropertyList(array);
}

/// One value of a parameter by its text; see parameters().
template <class Value>
Value fromText(const std::string& text)
{
    return static_cast<Value>(std::stoll(text));
}

template <>
inline bool fromText(const std::string& text)
{
    return text == "true";
}

template <>
inline String fromText(const std::string& text)
{
    return text.c_str();
}

template <>
inline CIMObjectPath fromText(const std::string& className)
{
    return className.empty() ? CIMObjectPath() : pathOf(className, {{"ID", "1"}});
}

/// A synchronization by the class of its target.
inline CIMObjectPath synchronization(const std::string& targetClass)
{
    Keys keys = {{"SystemElement", "QBX_StorageVolume.ID=\"source\""}};
    if (!targetClass.empty()) keys.push_back({"SyncedElement", targetClass + ".ID=\"target\""});
    return pathOf("QBX_StorageSynchronized", keys);
}

template <class Value, Value (*READ)(const std::string&) = fromText<Value>>
CIMValue valueFrom(const std::string& text, bool isArray)
{
    if (text == "null") return CIMValue(CIMValue(Value()).getType(), isArray);
    if (!isArray) return CIMValue(READ(text));
    Array<Value> values;
    for (const std::string& item : split(text, ','))
        values.append(READ(item));
    return CIMValue(values);
}

/// Parameters as "Name=type:text", separated by blanks. A type (bool, u8 to u64, s16, str, ref,
/// sync) with [] has values separated by commas; "null" is a null value. A reference is given by a
/// class, "" for a path without one; a synchronization by the class of its target, "" for none.
inline Array<CIMParamValue> parameters(const std::string& texts)
{
    static const std::map<std::string, CIMValue (*)(const std::string&, bool)> types = {
        {"bool", valueFrom<bool>},
        {"u8", valueFrom<Uint8>},
        {"u16", valueFrom<Uint16>},
        {"u32", valueFrom<Uint32>},
        {"u64", valueFrom<Uint64>},
        {"s16", valueFrom<Sint16>},
        {"str", valueFrom<String>},
        {"ref", valueFrom<CIMObjectPath>},
        {"sync", valueFrom<CIMObjectPath, synchronization>}};
    Array<CIMParamValue> result;
    for (const std::string& word : split(texts)) {
        const std::size_t equals = word.find('=');
        const std::size_t colon = word.find(':', equals);
        std::string type = word.substr(equals + 1, colon - equals - 1);
        const bool isArray = type.back() == ']';
        if (isArray) type.resize(type.size() - 2);
        result.append(
            {word.substr(0, equals).c_str(), types.at(type)(word.substr(colon + 1), isArray)});
    }
    return result;
}

/// An instance with the properties that parameters() would make.
inline CIMInstance instanceWith(const CIMName& className, const std::string& properties)
{
    CIMInstance instance(className);
    const Array<CIMParamValue> given = parameters(properties);
    for (Uint32 i = 0; i < given.size(); ++i)
        instance.addProperty(
            CIMProperty(CIMName(given[i].getParameterName()), given[i].getValue()));
    return instance;
}

/// The value of a property as str() writes it; "absent" when the instance lacks it.
inline std::string valueOf(const CIMInstance& instance, const char* property)
{
    const Uint32 position = instance.findProperty(CIMName(property));
    if (position == PEG_NOT_FOUND) return "absent";
    return str(instance.getProperty(position).getValue());
}

/// What an operation throws: "CODE MESSAGE" for a CIM exception, the message for another of the
/// library's or the language's, "no exception" for what is neither; "nothing" when it returns.
inline std::string thrownBy(const std::function<void()>& operation)
{
    try {
        operation();
    } catch (const CIMException& exception) {
        return std::to_string(exception.getCode()) + " " + str(exception.getMessage());
    } catch (const Exception& exception) {
        return str(exception.getMessage());
    } catch (const std::exception& exception) {
        return exception.what();
    } catch (...) {
        return "no exception";
    }
    return "nothing";
}

/// Is told of every upcall of a provider before it is answered: "handler.STEP", with the step as
/// Handler keeps it, or "cimom.OPERATION ..." as StubObjectManager does. What it throws, the upcall
/// throws.
inline std::function<void(const std::string&)> onUpcall;

/// Keeps what is delivered, of whatever kind, and the order of its calls ("processing",
/// "deliver 2", "complete"; a single result is "deliver").
class Handler : public InstanceResponseHandler,
                public ObjectPathResponseHandler,
                public ObjectResponseHandler,
                public MethodResultResponseHandler
{
public:
    Texts steps;
    std::vector<CIMInstance> instances;
    Texts paths;  ///< of instances, too

    void processing() override { step("processing"); }
    void complete() override { step("complete"); }
    void deliver(const CIMInstance& instance) override { one(instance); }
    void deliver(const CIMObjectPath& path) override { one(path); }
    void deliver(const CIMObject& object) override { one(object); }
    void deliver(const Array<CIMInstance>& all) override { several(all); }
    void deliver(const Array<CIMObjectPath>& all) override { several(all); }
    void deliver(const Array<CIMObject>& all) override { several(all); }
    void deliver(const CIMValue& value) override { step("deliver " + str(value)); }
    void deliverParamValue(const CIMParamValue&) override { step("parameter"); }
    void deliverParamValue(const Array<CIMParamValue>&) override { step("parameters"); }

private:
    void step(const std::string& text)
    {
        if (onUpcall) onUpcall("handler." + text);
        steps.push_back(text);
    }

    template <class Result>
    void one(const Result& result)
    {
        step("deliver");
        keep(result);
    }

    template <class Result>
    void several(const Array<Result>& all)
    {
        step("deliver " + std::to_string(all.size()));
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

/// What a traversal may ask beside the object.
struct Asked
{
    std::string role;
    std::string resultRole;
    std::string resultClass;
    std::string associationClass;
};

/// Calls a traversal by its name, for qualifiers, no class origins and these properties.
inline void traverse(CIMAssociationProvider& provider, const std::string& operation,
                     const OperationContext& context, const CIMObjectPath& object,
                     const Asked& asked, const CIMPropertyList& list, Handler& handler)
{
    const auto name = [](const std::string& text) {
        return text.empty() ? CIMName() : CIMName(text.c_str());
    };
    const String role(asked.role.c_str());
    const String resultRole(asked.resultRole.c_str());
    const CIMName resultClass = name(asked.resultClass);
    const CIMName association = name(asked.associationClass);
    if (operation == "referenceNames")
        provider.referenceNames(context, object, resultClass, role, handler);
    else if (operation == "references")
        provider.references(context, object, resultClass, role, true, false, list, handler);
    else if (operation == "associatorNames")
        provider.associatorNames(context, object, association, resultClass, role, resultRole,
                                 handler);
    else
        provider.associators(context, object, association, resultClass, role, resultRole, true,
                             false, list, handler);
}

// ---- The schema and the object manager ----

/// The schema of the module, compiled once for the process.
inline cimom::Repository& schema()
{
    static const std::unique_ptr<cimom::Repository> repository = [] {
        const CIMNamespaceName nameSpace("root/qbx");
        auto compiled = std::make_unique<cimom::Repository>();
        compiled->addNamespace(nameSpace);
        cimom::compileMof(*compiled, nameSpace, QBX_SCHEMA_DIR "/qbx.mof");
        cimom::compileMof(*compiled, nameSpace, QBX_TEST_DATA "/sample.mof");
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
/// says. Writes down what it was asked.
class StubObjectManager : public cimom::ObjectManager
{
public:
    StubObjectManager() { current = this; }
    ~StubObjectManager() override { current = nullptr; }

    /// "getClass USER CLASS QUALIFIERS/ORIGIN [list]", "getInstance USER PATH ...", ...
    Texts asked;
    ///@{
    /// Answers the upcalls: at first with one instance that has no host and namespace, as the
    /// server's have, of what is asked for, or a path with the key Tag "package".
    std::function<CIMInstance(const CIMObjectPath&)> onGetInstance = withPath;
    std::function<Array<CIMInstance>(const CIMName&)> onEnumerateInstances =
        [](const CIMName& name) { return Array<CIMInstance>(1, withPath(packageOf(name))); };
    std::function<Array<CIMObjectPath>(const CIMName&)> onEnumerateInstanceNames =
        [](const CIMName& name) { return Array<CIMObjectPath>(1, packageOf(name)); };
    ///@}

    using Ctx = OperationContext;
    using Ns = CIMNamespaceName;

    CIMClass getClass(const Ctx& context, const Ns& nameSpace, const CIMName& className,
                      const cimom::ClassView& view) override
    {
        note("getClass", context,
             str(className) + (view.localOnly ? " local" : "") + viewText(view));
        return CIMClass(schema().getClass(nameSpace, className, view));
    }

    CIMInstance getInstance(const Ctx& context, const Ns&, const CIMObjectPath& path,
                            const cimom::InstanceView& view) override
    {
        note("getInstance", context, str(path) + viewText(view));
        return onGetInstance(path);
    }

    Array<CIMInstance> enumerateInstances(const Ctx& context, const Ns&, const CIMName& className,
                                          bool deep, const cimom::InstanceView& view) override
    {
        note("enumerateInstances", context,
             str(className) + (deep ? " deep" : "") + viewText(view));
        return onEnumerateInstances(className);
    }

    Array<CIMObjectPath> enumerateInstanceNames(const Ctx& context, const Ns&,
                                                const CIMName& className) override
    {
        note("enumerateInstanceNames", context, str(className));
        return onEnumerateInstanceNames(className);
    }

private:
    static CIMObjectPath packageOf(const CIMName& className)
    {
        return pathOf(str(className), {{"CreationClassName", str(className)}, {"Tag", "package"}});
    }

    static CIMInstance withPath(const CIMObjectPath& path)
    {
        CIMInstance instance = instanceOf(path.getClassName());
        instance.setPath({String(), Ns(), path.getClassName(), path.getKeyBindings()});
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

    void note(const std::string& operation, const Ctx& context, const std::string& what)
    {
        std::string user = "nobody";
        if (context.contains(IdentityContainer::NAME)) {
            const IdentityContainer identity = context.get(IdentityContainer::NAME);
            user = str(identity.getUserName());
        }
        const std::string text = operation + " " + user + " " + what;
        if (onUpcall) onUpcall("cimom." + text);
        const std::lock_guard<std::mutex> guard(_lock);
        asked.push_back(text);
    }

    std::mutex _lock;
};

// ---- The fixture ----

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

/// A fresh array and object manager; one initialized provider when asked.
class ProviderTest : public testing::Test
{
protected:
    /// Creates the provider, initializes it, serves the array and forgets what was recorded so far.
    void start(const std::string& name, const std::string& arrayName = "empty")
    {
        _provider = create(name);
        CIMOMHandle handle;
        _provider->initialize(handle);
        provider = dynamic_cast<CIMInstanceProvider*>(_provider.get());
        methods = dynamic_cast<CIMMethodProvider*>(_provider.get());
        associations = dynamic_cast<CIMAssociationProvider*>(_provider.get());
        array.serve(arrayName);
        cimom.asked.clear();
    }

    /// Calls the operation on a class or object, for all properties. `arguments` are a method's
    /// name and parameters(), or instanceWith() to be modified.
    void run(const std::string& operation, const CIMObjectPath& object,
             const std::string& arguments, Handler& handler,
             const OperationContext& context = contextOf()) const
    {
        const std::string method = arguments.substr(0, arguments.find(' '));
        const CIMPropertyList all;
        if (operation == "enumerateInstanceNames")
            provider->enumerateInstanceNames(context, object, handler);
        else if (operation == "enumerateInstances")
            provider->enumerateInstances(context, object, false, false, all, handler);
        else if (operation == "getInstance")
            provider->getInstance(context, object, false, false, all, handler);
        else if (operation == "invokeMethod")
            methods->invokeMethod(context, object, CIMName(method.c_str()),
                                  parameters(rest(arguments)), handler);
        else if (operation == "modifyInstance")
            provider->modifyInstance(context, object,
                                     instanceWith(object.getClassName(), arguments), false, all,
                                     handler);
        else
            traverse(*associations, operation, context, object, {}, all, handler);
    }

    TestArray array;
    StubObjectManager cimom;
    ///@{
    /// The provider that was started; null for what it does not provide.
    CIMInstanceProvider* provider = nullptr;
    CIMMethodProvider* methods = nullptr;
    CIMAssociationProvider* associations = nullptr;
    ///@}

private:
    ProviderPtr _provider;
};
