#include "ProviderTest.h"

#include "Mof/MofCompiler.h"

#include <Pegasus/Common/CIMParamValue.h>

#include <algorithm>
#include <fstream>
#include <map>
#include <sstream>

using namespace Pegasus;

std::string str(const String& text)
{
    const CString bytes = text.getCString();
    const char* const chars = bytes;
    return (String(chars) == text ? "" : "(holds a NUL)") + std::string(chars);
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

Texts operator+(Texts first, const Texts& second)
{
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

std::string cased(std::string text, int (*change)(int))
{
    std::transform(text.begin(), text.end(), text.begin(), change);
    return text;
}

Texts split(const std::string& text, char separator)
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

namespace
{

std::string unescaped(std::string text)
{
    const std::pair<char, char> escapes[] = {{'n', '\n'}, {'t', '\t'}};
    for (const auto& [letter, character] : escapes) {
        const std::string escape = {'\\', letter};
        for (std::size_t at = 0; (at = text.find(escape, at)) != std::string::npos;)
            text.replace(at, 2, 1, character);
    }
    return text;
}

}  // namespace

std::vector<Texts> table(const std::string& name, std::size_t fields)
{
    std::ifstream file(QBX_TEST_DATA "/" + name + ".txt");
    if (!file) throw std::logic_error("no table " + name);
    std::vector<Texts> rows;
    for (std::string line; std::getline(file, line);) {
        if (line.empty() || line[0] == '#') continue;
        Texts row;
        for (const std::string& field : split(line, '|'))
            row.push_back(unescaped(field));
        row.resize(fields);
        rows.push_back(row);
    }
    return rows;
}

std::string lineOf(const std::string& provider, const std::string& key, const Texts& arguments)
{
    static const std::map<std::string, std::string> lines = [] {
        std::map<std::string, std::string> lines;
        for (const Texts& row : table("traces", 3))
            lines[row[0] + row[1]] = row[2];
        return lines;
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

// ---- The schema and the object manager ----

namespace
{

const CIMNamespaceName NAMESPACE("root/qbx");

/// The schema of the module, compiled once for the process.
cimom::Repository& schema()
{
    static const std::unique_ptr<cimom::Repository> repository = [] {
        auto compiled = std::make_unique<cimom::Repository>();
        compiled->addNamespace(NAMESPACE);
        cimom::MofCompiler(*compiled).compileFile(QBX_SCHEMA_DIR "/qbx.mof", NAMESPACE);
        cimom::MofCompiler(*compiled).compileFile(QBX_TEST_DATA "/sample.mof", NAMESPACE);
        return compiled;
    }();
    return *repository;
}

std::string flags(bool first, bool second)
{
    return std::string(first ? " T" : " F") + (second ? "T" : "F");
}

CIMInstance withPath(const CIMName& className, const CIMObjectPath& path)
{
    CIMInstance instance = instanceOf(className);
    instance.setPath(
        CIMObjectPath(String(), CIMNamespaceName(), path.getClassName(), path.getKeyBindings()));
    return instance;
}

CIMObjectPath packageOf(const CIMName& className)
{
    return pathOf(str(className), {{"CreationClassName", str(className)}, {"Tag", "package"}});
}

}  // namespace

CIMClass storedClass(const char* className)
{
    return CIMClass(schema().getClass(NAMESPACE, CIMName(className)));
}

CIMInstance instanceOf(const CIMName& className)
{
    return storedClass(str(className).c_str()).buildInstance(true, true, CIMPropertyList());
}

StubObjectManager::StubObjectManager()
{
    onGetInstance = [](const CIMObjectPath& path) { return withPath(path.getClassName(), path); };
    onEnumerateInstances = [](const CIMName& className) {
        return Array<CIMInstance>(1, withPath(className, packageOf(className)));
    };
    onEnumerateInstanceNames = [](const CIMName& className) {
        return Array<CIMObjectPath>(1, packageOf(className));
    };
    setCurrent(this);
}

StubObjectManager::~StubObjectManager()
{
    setCurrent(nullptr);
}

void StubObjectManager::note(const char* operation, const Ctx& context, const std::string& object,
                             const std::string& flags, const CIMPropertyList& list)
{
    std::string user = "nobody";
    if (context.contains(IdentityContainer::NAME)) {
        const IdentityContainer identity = context.get(IdentityContainer::NAME);
        user = str(identity.getUserName());
    }
    std::string question = std::string(operation) + " " + user + " " + object + flags;
    for (Uint32 i = 0; !list.isNull() && i < list.size(); ++i)
        question += " " + str(list[i]);
    const std::lock_guard<std::mutex> guard(_lock);
    asked.push_back(question);
}

CIMClass StubObjectManager::getClass(const Ctx& context, const Ns& nameSpace,
                                     const CIMName& className, const cimom::ClassView& view)
{
    note("getClass", context, str(className),
         (view.localOnly ? " local" : "") + flags(view.includeQualifiers, view.includeClassOrigin),
         view.properties);
    return CIMClass(schema().getClass(nameSpace, className, view));
}

CIMInstance StubObjectManager::getInstance(const Ctx& context, const Ns&, const CIMObjectPath& path,
                                           const cimom::InstanceView& view)
{
    note("getInstance", context, str(path), flags(view.includeQualifiers, view.includeClassOrigin),
         view.properties);
    return onGetInstance(path);
}

Array<CIMInstance> StubObjectManager::enumerateInstances(const Ctx& context, const Ns&,
                                                         const CIMName& className, bool deep,
                                                         const cimom::InstanceView& view)
{
    note("enumerateInstances", context, str(className),
         (deep ? " deep" : "") + flags(view.includeQualifiers, view.includeClassOrigin),
         view.properties);
    return onEnumerateInstances(className);
}

Array<CIMObjectPath> StubObjectManager::enumerateInstanceNames(const Ctx& context, const Ns&,
                                                               const CIMName& className)
{
    note("enumerateInstanceNames", context, str(className));
    return onEnumerateInstanceNames(className);
}

/// Stands before the library's own, which tells nobody.
void Pegasus::CIMOMHandle::disallowProviderUnload()
{
    log_message(0, "disallowProviderUnload");
}

void traverse(CIMAssociationProvider& provider, const std::string& operation,
              const OperationContext& context, const CIMObjectPath& object, const Asked& asked,
              const CIMPropertyList& list, PathHandler& paths, ObjectHandler& objects)
{
    const auto name = [](const std::string& text) {
        return text.empty() ? CIMName() : CIMName(text.c_str());
    };
    const String role(asked.role.c_str());
    const String resultRole(asked.resultRole.c_str());
    const CIMName resultClass = name(asked.resultClass);
    const CIMName association = name(asked.associationClass);
    if (operation == "referenceNames")
        provider.referenceNames(context, object, resultClass, role, paths);
    else if (operation == "references")
        provider.references(context, object, resultClass, role, true, false, list, objects);
    else if (operation == "associatorNames")
        provider.associatorNames(context, object, association, resultClass, role, resultRole,
                                 paths);
    else
        provider.associators(context, object, association, resultClass, role, resultRole, true,
                             false, list, objects);
}

// ---- Requests and results ----

const std::string OPEN = "api_qbxOpenForCimserver(\"joe\") = 0";

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
    return CIMObjectPath(String(host.c_str()), NAMESPACE, CIMName(className.c_str()), bindings);
}

CIMPropertyList listOf(const std::string& names)
{
    Array<CIMName> array;
    for (const std::string& name : split(names))
        array.append(CIMName(name.c_str()));
    return CIMPropertyList(array);
}

namespace
{

template <class Value>
CIMValue valueFrom(CIMType type, bool isArray, const std::string& text,
                   Value (*read)(const std::string&))
{
    if (text == "null") return CIMValue(type, isArray);
    if (!isArray) return CIMValue(read(text));
    Array<Value> values;
    for (const std::string& item : split(text, ','))
        values.append(read(item));
    return CIMValue(values);
}

template <class Number>
Number number(const std::string& text)
{
    return static_cast<Number>(std::stoll(text));
}

bool truth(const std::string& text)
{
    return text == "true";
}

String string(const std::string& text)
{
    return String(text.c_str());
}

CIMObjectPath reference(const std::string& className)
{
    return className.empty() ? CIMObjectPath() : pathOf(className, {{"ID", "1"}});
}

CIMObjectPath synchronization(const std::string& targetClass)
{
    Keys keys = {{"SystemElement", "QBX_StorageVolume.ID=\"source\""}};
    if (!targetClass.empty()) keys.push_back({"SyncedElement", targetClass + ".ID=\"target\""});
    return pathOf("QBX_StorageSynchronized", keys);
}

}  // namespace

CIMValue valueOf(std::string type, const std::string& text)
{
    const bool isArray = type.back() == ']';
    if (isArray) type.resize(type.size() - 2);
    if (type == "bool") return valueFrom(CIMTYPE_BOOLEAN, isArray, text, truth);
    if (type == "u8") return valueFrom(CIMTYPE_UINT8, isArray, text, number<Uint8>);
    if (type == "u16") return valueFrom(CIMTYPE_UINT16, isArray, text, number<Uint16>);
    if (type == "u32") return valueFrom(CIMTYPE_UINT32, isArray, text, number<Uint32>);
    if (type == "u64") return valueFrom(CIMTYPE_UINT64, isArray, text, number<Uint64>);
    if (type == "s16") return valueFrom(CIMTYPE_SINT16, isArray, text, number<Sint16>);
    if (type == "str") return valueFrom(CIMTYPE_STRING, isArray, text, string);
    if (type == "ref") return valueFrom(CIMTYPE_REFERENCE, isArray, text, reference);
    if (type == "sync") return valueFrom(CIMTYPE_REFERENCE, isArray, text, synchronization);
    throw std::logic_error("no type " + type);
}

Array<CIMParamValue> parameters(const std::string& texts)
{
    Array<CIMParamValue> result;
    for (const std::string& word : split(texts)) {
        const std::size_t type = word.find('=') + 1;
        const std::size_t text = word.find(':', type) + 1;
        result.append(
            CIMParamValue(String(word.substr(0, type - 1).c_str()),
                          valueOf(word.substr(type, text - type - 1), word.substr(text))));
    }
    return result;
}

std::string valueOf(const CIMInstance& instance, const char* property)
{
    const Uint32 position = instance.findProperty(CIMName(property));
    if (position == PEG_NOT_FOUND) return "absent";
    return str(instance.getProperty(position).getValue());
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

ProviderPtr create(const std::string& name)
{
    ProviderPtr provider(PegasusCreateProvider(String(name.c_str())));
    if (!provider) throw std::logic_error("the module has no provider " + name);
    return provider;
}
