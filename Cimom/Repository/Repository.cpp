#include "Repository/Repository.h"

#include "Model/Frozen.h"
#include "Repository/ClassResolution.h"
#include "Repository/Names.h"

#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/CIMProperty.h>
#include <Pegasus/Common/Exception.h>

#include <algorithm>
#include <array>
#include <mutex>
#include <shared_mutex>
#include <unordered_map>

PEGASUS_USING_PEGASUS;

namespace cimom
{
namespace
{

template <class Name, class Value>
using NameMap = std::unordered_map<Name, Value, NoCase, NoCase>;

[[noreturn]] void fail(CIMStatusCode code, const String& text)
{
    throw CIMException(code, text);
}

// A class of the schema, its place in the tree and its static instances.
class ClassEntry
{
public:
    ClassEntry(const CIMClass& resolved, const ClassEntry* superclass)
        : superclass_(superclass), resolved_(frozen(resolved))
    {
    }

    const CIMClass& resolved() const { return resolved_; }
    const CIMName& name() const { return resolved_.getClassName(); }
    const ClassEntry* superclass() const { return superclass_; }

    // The view without property list, made at the first request for it and shared from then on.
    const CIMClass& view(bool localOnly, bool includeQualifiers, bool includeClassOrigin) const
    {
        View& view = views_[(localOnly ? 4U : 0U) + (includeQualifiers ? 2U : 0U) +
                            (includeClassOrigin ? 1U : 0U)];
        std::call_once(view.made, [&] {
            view.content = frozen(viewClass(resolved_, localOnly, includeQualifiers,
                                            includeClassOrigin, CIMPropertyList()));
        });
        return view.content;
    }

    std::vector<const ClassEntry*> subclasses;
    std::vector<CIMInstance> instances;

private:
    struct View
    {
        std::once_flag made;
        CIMClass content;
    };

    static CIMClass frozen(CIMClass content)
    {
        freeze(content);
        return content;
    }

    const ClassEntry* superclass_;
    CIMClass resolved_;
    mutable std::array<View, 8> views_;
};

void appendSubclasses(const std::vector<const ClassEntry*>& from, bool deep,
                      std::vector<CIMName>& names)
{
    for (const ClassEntry* const entry : from) {
        names.push_back(entry->name());
        if (deep) appendSubclasses(entry->subclasses, deep, names);
    }
}

// The path as this repository keys and reports it: no host, no namespace.
CIMObjectPath bare(const CIMObjectPath& path)
{
    return CIMObjectPath(String(), CIMNamespaceName(), path.getClassName(), path.getKeyBindings());
}

bool isKey(const CIMConstProperty& declared)
{
    const Uint32 at = declared.findQualifier(CIMName("Key"));
    return at != PEG_NOT_FOUND && declared.getQualifier(at).getValue() == CIMValue(Boolean(true));
}

// The value, or for null the null that a property of this declaration can hold.
CIMValue fitted(const CIMValue& value, const CIMConstProperty& declared)
{
    if (!value.isNull()) return value;
    return CIMValue(declared.getType(), declared.isArray(), declared.getArraySize());
}

bool fits(const CIMValue& value, const CIMConstProperty& declared)
{
    if (value.getType() != declared.getType() || value.isArray() != declared.isArray())
        return false;
    return value.isNull() || declared.getArraySize() == 0 ||
           value.getArraySize() == declared.getArraySize();
}

CIMProperty propertyWithValue(const CIMConstProperty& declared, const CIMValue& value,
                              bool fromClass)
{
    return CIMProperty(declared.getName(), fitted(value, declared), declared.getArraySize(),
                       declared.getReferenceClassName(), declared.getClassOrigin(), fromClass);
}

void checkProperties(const CIMConstInstance& instance, const CIMConstClass& definition)
{
    for (Uint32 i = 0; i < instance.getPropertyCount(); ++i) {
        const CIMConstProperty given = instance.getProperty(i);
        const Uint32 at = definition.findProperty(given.getName());
        if (at == PEG_NOT_FOUND)
            fail(CIM_ERR_FAILED, "no such property: " + given.getName().getString());
        const CIMConstProperty declared = definition.getProperty(at);
        if (!fits(given.getValue(), declared))
            fail(CIM_ERR_FAILED, "type mismatch: property " + declared.getName().getString());
    }
}

// The instance as it is stored: what it lacks comes first, in the order of the class, then what it
// has, in its own order; names in the spelling of the class.
CIMInstance completeInstance(const CIMConstInstance& given, const CIMConstClass& definition)
{
    CIMInstance result(definition.getClassName());
    for (Uint32 i = 0; i < given.getQualifierCount(); ++i)
        result.addQualifier(given.getQualifier(i).clone());
    for (Uint32 i = 0; i < definition.getPropertyCount(); ++i) {
        const CIMConstProperty declared = definition.getProperty(i);
        if (given.findProperty(declared.getName()) == PEG_NOT_FOUND)
            result.addProperty(propertyWithValue(declared, declared.getValue(), true));
    }
    for (Uint32 i = 0; i < given.getPropertyCount(); ++i) {
        const CIMConstProperty mine = given.getProperty(i);
        const CIMConstProperty declared =
            definition.getProperty(definition.findProperty(mine.getName()));
        CIMProperty property = propertyWithValue(declared, mine.getValue(), false);
        for (Uint32 q = 0; q < mine.getQualifierCount(); ++q)
            property.addQualifier(mine.getQualifier(q).clone());
        result.addProperty(property);
    }
    return result;
}

void setPathFromKeys(CIMInstance& instance, const CIMConstClass& definition)
{
    Array<CIMName> keys;
    definition.getKeyNames(keys);
    if (keys.size() == 0)
        fail(CIM_ERR_FAILED, "class has no keys: " + definition.getClassName().getString());
    for (Uint32 i = 0; i < keys.size(); ++i)
        if (instance.getProperty(instance.findProperty(keys[i])).getValue().isNull())
            fail(CIM_ERR_INVALID_PARAMETER,
                 "key property without a value: " + definition.getClassName().getString() + "." +
                     keys[i].getString());
    instance.setPath(instance.buildPath(definition));
}

// Changes one property of a stored instance to what `given` says of it: a property that `given`
// lacks goes back to the default of the class, a key stays.
void modifyProperty(CIMInstance& stored, const CIMConstInstance& given,
                    const CIMConstProperty& declared)
{
    const Uint32 at = given.findProperty(declared.getName());
    if (isKey(declared) && at == PEG_NOT_FOUND) return;
    const CIMValue value = fitted(
        at == PEG_NOT_FOUND ? declared.getValue() : given.getProperty(at).getValue(), declared);
    CIMProperty property = stored.getProperty(stored.findProperty(declared.getName()));
    if (isKey(declared) && property.getValue() != value)
        fail(CIM_ERR_FAILED, "Attempted to modify a key property");
    property.setValue(value);
}

}  // namespace

struct Repository::Impl
{
    struct Namespace
    {
        CIMNamespaceName name;
        NameMap<CIMName, CIMQualifierDecl> qualifiers;
        std::vector<CIMName> qualifierOrder;
        NameMap<CIMName, std::unique_ptr<ClassEntry>> classes;
        std::vector<const ClassEntry*> roots;

        ClassEntry* find(const CIMName& className) const
        {
            const auto found = classes.find(className);
            return found == classes.end() ? nullptr : found->second.get();
        }

        ClassEntry& get(const CIMName& className, CIMStatusCode codeIfUnknown) const
        {
            ClassEntry* const entry = find(className);
            if (entry == nullptr) fail(codeIfUnknown, className.getString());
            return *entry;
        }

        std::vector<CIMInstance>::iterator findInstance(ClassEntry& entry,
                                                        const CIMObjectPath& path) const
        {
            return std::find_if(
                entry.instances.begin(), entry.instances.end(),
                [&](const CIMInstance& instance) { return instance.getPath().identical(path); });
        }

        CIMInstance& getInstance(const CIMObjectPath& path) const
        {
            ClassEntry& entry = get(path.getClassName(), CIM_ERR_INVALID_CLASS);
            const auto found = findInstance(entry, path);
            if (found == entry.instances.end()) fail(CIM_ERR_NOT_FOUND, path.toString());
            return *found;
        }
    };

    Namespace& get(const CIMNamespaceName& name)
    {
        const auto found = namespaces.find(name);
        if (found == namespaces.end()) fail(CIM_ERR_INVALID_NAMESPACE, name.getString());
        return *found->second;
    }

    std::shared_mutex mutex;
    NameMap<CIMNamespaceName, std::unique_ptr<Namespace>> namespaces;
    std::vector<const Namespace*> order;
};

using Reading = std::shared_lock<std::shared_mutex>;
using Writing = std::unique_lock<std::shared_mutex>;

Repository::Repository() : impl_(std::make_unique<Impl>()) {}

Repository::~Repository() = default;

void Repository::addNamespace(const CIMNamespaceName& name)
{
    const Writing lock(impl_->mutex);
    auto& slot = impl_->namespaces[name];
    if (slot != nullptr) return;
    slot = std::make_unique<Impl::Namespace>();
    slot->name = name;
    impl_->order.push_back(slot.get());
}

bool Repository::hasNamespace(const CIMNamespaceName& name) const
{
    const Reading lock(impl_->mutex);
    return impl_->namespaces.count(name) > 0;
}

std::vector<CIMNamespaceName> Repository::namespaces() const
{
    const Reading lock(impl_->mutex);
    std::vector<CIMNamespaceName> names;
    for (const Impl::Namespace* const space : impl_->order)
        names.push_back(space->name);
    return names;
}

void Repository::addQualifierDecl(const CIMNamespaceName& nameSpace, const CIMQualifierDecl& decl)
{
    const Writing lock(impl_->mutex);
    Impl::Namespace& space = impl_->get(nameSpace);
    const auto [slot, isNew] = space.qualifiers.emplace(decl.getName(), decl);
    if (isNew) {
        slot->second = decl.clone();
        freeze(slot->second);
        space.qualifierOrder.push_back(decl.getName());
    } else if (!slot->second.identical(decl)) {
        fail(CIM_ERR_ALREADY_EXISTS,
             "qualifier " + decl.getName().getString() + " is declared already, and differently");
    }
}

CIMQualifierDecl Repository::getQualifierDecl(const CIMNamespaceName& nameSpace,
                                              const CIMName& name) const
{
    const Reading lock(impl_->mutex);
    const Impl::Namespace& space = impl_->get(nameSpace);
    const auto found = space.qualifiers.find(name);
    if (found == space.qualifiers.end()) fail(CIM_ERR_NOT_FOUND, name.getString());
    return found->second;
}

std::vector<CIMQualifierDecl> Repository::qualifierDecls(const CIMNamespaceName& nameSpace) const
{
    const Reading lock(impl_->mutex);
    const Impl::Namespace& space = impl_->get(nameSpace);
    std::vector<CIMQualifierDecl> decls;
    for (const CIMName& name : space.qualifierOrder)
        decls.push_back(space.qualifiers.at(name));
    return decls;
}

void Repository::addClass(const CIMNamespaceName& nameSpace, const CIMClass& given)
{
    const Writing lock(impl_->mutex);
    Impl::Namespace& space = impl_->get(nameSpace);
    const String& name = given.getClassName().getString();
    if (space.find(given.getClassName()) != nullptr)
        fail(CIM_ERR_ALREADY_EXISTS, "class " + name + " exists already");
    ClassEntry* superclass = nullptr;
    if (!given.getSuperClassName().isNull()) {
        superclass = space.find(given.getSuperClassName());
        if (superclass == nullptr)
            fail(CIM_ERR_INVALID_SUPERCLASS, "class " + name + ": its superclass " +
                                                 given.getSuperClassName().getString() +
                                                 " does not exist");
    }
    const SchemaLookup lookup{
        [&space](const CIMName& qualifier) {
            const auto found = space.qualifiers.find(qualifier);
            return found == space.qualifiers.end() ? nullptr : &found->second;
        },
        [&space](const CIMName& className) { return space.find(className) != nullptr; }};
    auto entry = std::make_unique<ClassEntry>(
        resolveClass(given, superclass == nullptr ? CIMClass() : superclass->resolved(), lookup),
        superclass);
    (superclass == nullptr ? space.roots : superclass->subclasses).push_back(entry.get());
    space.classes.emplace(given.getClassName(), std::move(entry));
}

bool Repository::hasClass(const CIMNamespaceName& nameSpace, const CIMName& className) const
{
    const Reading lock(impl_->mutex);
    return impl_->get(nameSpace).find(className) != nullptr;
}

CIMClass Repository::getClass(const CIMNamespaceName& nameSpace, const CIMName& className,
                              bool localOnly, bool includeQualifiers, bool includeClassOrigin,
                              const CIMPropertyList& properties) const
{
    const Reading lock(impl_->mutex);
    const ClassEntry& entry = impl_->get(nameSpace).get(className, CIM_ERR_NOT_FOUND);
    if (properties.isNull()) return entry.view(localOnly, includeQualifiers, includeClassOrigin);
    return viewClass(entry.resolved(), localOnly, includeQualifiers, includeClassOrigin,
                     properties);
}

std::vector<CIMName> Repository::subclassNames(const CIMNamespaceName& nameSpace,
                                               const CIMName& className, bool deep) const
{
    const Reading lock(impl_->mutex);
    const Impl::Namespace& space = impl_->get(nameSpace);
    std::vector<CIMName> names;
    appendSubclasses(
        className.isNull() ? space.roots : space.get(className, CIM_ERR_INVALID_CLASS).subclasses,
        deep, names);
    return names;
}

std::vector<CIMName> Repository::superclassNames(const CIMNamespaceName& nameSpace,
                                                 const CIMName& className) const
{
    const Reading lock(impl_->mutex);
    const ClassEntry& entry = impl_->get(nameSpace).get(className, CIM_ERR_NOT_FOUND);
    std::vector<CIMName> names;
    for (const ClassEntry* e = entry.superclass(); e != nullptr; e = e->superclass())
        names.push_back(e->name());
    return names;
}

bool Repository::isSubclassOf(const CIMNamespaceName& nameSpace, const CIMName& className,
                              const CIMName& ancestor) const
{
    const Reading lock(impl_->mutex);
    const Impl::Namespace& space = impl_->get(nameSpace);
    const ClassEntry* const wanted = space.find(ancestor);
    if (wanted == nullptr) return false;
    const ClassEntry* entry = space.find(className);
    while (entry != nullptr && entry != wanted)
        entry = entry->superclass();
    return entry != nullptr;
}

CIMObjectPath Repository::addInstance(const CIMNamespaceName& nameSpace, const CIMInstance& given)
{
    const Writing lock(impl_->mutex);
    const Impl::Namespace& space = impl_->get(nameSpace);
    ClassEntry& entry = space.get(given.getClassName(), CIM_ERR_INVALID_CLASS);
    const CIMConstClass definition(entry.resolved());
    if (definition.isAbstract())
        fail(CIM_ERR_FAILED,
             "attempted to instantiate an abstract class " + entry.name().getString());
    checkProperties(given, definition);
    CIMInstance instance = completeInstance(given, definition);
    setPathFromKeys(instance, definition);
    const CIMObjectPath path = instance.getPath();
    if (space.findInstance(entry, path) != entry.instances.end())
        fail(CIM_ERR_ALREADY_EXISTS, path.toString());
    entry.instances.push_back(instance);
    return path;
}

void Repository::modifyInstance(const CIMNamespaceName& nameSpace, const CIMInstance& given,
                                const CIMPropertyList& properties)
{
    const Writing lock(impl_->mutex);
    const Impl::Namespace& space = impl_->get(nameSpace);
    CIMInstance& stored = space.getInstance(bare(given.getPath()));
    const CIMConstClass definition(
        space.get(given.getClassName(), CIM_ERR_INVALID_CLASS).resolved());
    checkProperties(given, definition);
    CIMInstance changed = stored.clone();
    for (Uint32 i = 0; i < definition.getPropertyCount(); ++i)
        if (properties.useThisProperty(definition.getProperty(i).getName()))
            modifyProperty(changed, given, definition.getProperty(i));
    stored = changed;
}

void Repository::removeInstance(const CIMNamespaceName& nameSpace, const CIMObjectPath& path)
{
    const Writing lock(impl_->mutex);
    const Impl::Namespace& space = impl_->get(nameSpace);
    const CIMObjectPath wanted = bare(path);
    ClassEntry& entry = space.get(wanted.getClassName(), CIM_ERR_INVALID_CLASS);
    const auto found = space.findInstance(entry, wanted);
    if (found == entry.instances.end()) fail(CIM_ERR_NOT_FOUND, wanted.toString());
    entry.instances.erase(found);
}

CIMInstance Repository::getInstance(const CIMNamespaceName& nameSpace,
                                    const CIMObjectPath& path) const
{
    const Reading lock(impl_->mutex);
    return impl_->get(nameSpace).getInstance(bare(path)).clone();
}

std::vector<CIMInstance> Repository::instancesOf(const CIMNamespaceName& nameSpace,
                                                 const CIMName& className) const
{
    const Reading lock(impl_->mutex);
    const ClassEntry& entry = impl_->get(nameSpace).get(className, CIM_ERR_INVALID_CLASS);
    std::vector<CIMInstance> copies;
    for (const CIMInstance& instance : entry.instances)
        copies.push_back(instance.clone());
    return copies;
}

}  // namespace cimom
