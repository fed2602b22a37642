#include "Repository/Repository.h"

#include "Repository/ClassResolution.h"
#include "Model/NoCase.h"

#include <Pegasus/Common/Exception.h>

#include <algorithm>
#include <array>
#include <mutex>
#include <set>
#include <shared_mutex>
#include <tuple>
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

// The map's value of that name; null when there is none.
template <class Map, class Name>
auto* find(Map& map, const Name& name)
{
    const auto found = map.find(name);
    return found == map.end() ? nullptr : &found->second;
}

// A class of the schema, its place in the tree and its static instances.
struct ClassEntry
{
    ClassPtr resolved;
    const ClassEntry* superclass = nullptr;
    std::vector<const ClassEntry*> subclasses;
    std::vector<CIMInstance> instances;

    auto find(const CIMObjectPath& path)
    {
        const auto same = [&path](const CIMInstance& i) { return i.getPath().identical(path); };
        return std::find_if(instances.begin(), instances.end(), same);
    }

    // The stored instance that the path names, whatever its host and namespace.
    auto require(const CIMObjectPath& given)
    {
        const CIMObjectPath path(String(), CIMNamespaceName(), given.getClassName(),
                                 given.getKeyBindings());
        const auto found = find(path);
        if (found == instances.end()) fail(CIM_ERR_NOT_FOUND, path.toString());
        return found;
    }

    // A view without property list, made at the first request for it.
    ClassPtr view(const ClassView& selected) const
    {
        auto& [made, content] =
            views_[(selected.localOnly ? 4U : 0U) + (selected.includeQualifiers ? 2U : 0U) +
                   (selected.includeClassOrigin ? 1U : 0U)];
        std::call_once(made, [&, &shown = content] { shown = viewClass(resolved, selected); });
        return content;
    }

private:
    mutable std::array<std::pair<std::once_flag, ClassPtr>, 8> views_;
};

void appendSubclasses(const std::vector<const ClassEntry*>& from, bool deep,
                      std::vector<CIMName>& names)
{
    for (const ClassEntry* const entry : from) {
        names.push_back(entry->resolved->name());
        if (deep) appendSubclasses(entry->subclasses, deep, names);
    }
}

bool sameDecl(const QualifierDecl& a, const QualifierDecl& b)
{
    const auto all = [](const QualifierDecl& d) {
        return std::tie(d.value, d.scopes, d.arraySize, d.flavor.overridable, d.flavor.toSubclass,
                        d.flavor.toInstance, d.flavor.translatable);
    };
    return all(a) == all(b);
}

std::shared_ptr<Property> makeProperty(const Property& declared, const CIMValue& value,
                                       const Qualifiers& qualifiers, bool fromClass)
{
    auto result = std::make_shared<Property>(declared);
    result->value = value;
    result->qualifiers = qualifiers;
    result->propagated = fromClass;
    return result;
}

// The instance with the path that its keys give.
CIMInstance withPath(CIMInstance instance, const ClassPtr& definition)
{
    Array<CIMName> keys;
    CIMClass(definition).getKeyNames(keys);
    const String& className = definition->name().getString();
    if (keys.size() == 0) fail(CIM_ERR_FAILED, "class has no keys: " + className);
    for (Uint32 i = 0; i < keys.size(); ++i)
        if (instance.object().value(keys[i])->isNull())
            fail(CIM_ERR_INVALID_PARAMETER,
                 "key property without a value: " + className + "." + keys[i].getString());
    instance.setPath(instance.buildPath(CIMClass(definition)));
    return instance;
}

// The instance as it is stored. The properties that it lacks come first, in the order of the class,
// then its own in their order. Names have the spelling of the class, and the path has its keys.
CIMInstance completeInstance(const Instance& given, const ClassPtr& definition)
{
    const auto result = std::make_shared<Instance>();
    result->path = definition->path;
    result->qualifiers = given.qualifiers;
    for (const auto& declared : definition->properties)
        if (given.value(declared->name) == nullptr)
            result->properties.push_back(makeProperty(*declared, declared->value, {}, true));
    for (std::size_t i = 0; i < given.properties.size(); ++i) {
        const auto [property, value] = given.properties[i];
        const Property* const declared = definition->property(property.name);
        if (declared == nullptr || !value.typeCompatible(declared->value))
            fail(CIM_ERR_INVALID_PARAMETER, "class " + definition->name().getString() +
                                                " has no property " + property.name.getString() +
                                                " of this type");
        result->properties.push_back(makeProperty(*declared, value, property.qualifiers, false));
    }
    return withPath(CIMInstance(result), definition);
}

}  // namespace

struct Repository::Impl
{
    struct Namespace
    {
        NameMap<CIMName, QualifierDecl> qualifiers;
        std::vector<const QualifierDecl*> qualifierOrder;
        NameMap<CIMName, ClassEntry> classes;
        std::vector<const ClassEntry*> roots;

        ClassEntry& get(const CIMName& className, CIMStatusCode codeIfUnknown)
        {
            ClassEntry* const entry = find(classes, className);
            if (entry == nullptr) fail(codeIfUnknown, className.getString());
            return *entry;
        }
    };

    Namespace& get(const CIMNamespaceName& name)
    {
        Namespace* const space = find(namespaces, name);
        if (space == nullptr) fail(CIM_ERR_INVALID_NAMESPACE, name.getString());
        return *space;
    }

    NameMap<CIMNamespaceName, Namespace> namespaces;
    std::vector<CIMNamespaceName> order;
    std::shared_mutex instances;  // guards those of all classes
};

Repository::Repository() : impl_(std::make_unique<Impl>()) {}

Repository::~Repository() = default;

void Repository::addNamespace(const CIMNamespaceName& name)
{
    if (impl_->namespaces.try_emplace(name).second) impl_->order.push_back(name);
}

std::vector<CIMNamespaceName> Repository::namespaces() const
{
    return impl_->order;
}

void Repository::addQualifierDecl(const CIMNamespaceName& nameSpace, QualifierDecl decl)
{
    Impl::Namespace& space = impl_->get(nameSpace);
    if (const QualifierDecl* const known = find(space.qualifiers, decl.name)) {
        if (sameDecl(*known, decl)) return;
        fail(CIM_ERR_ALREADY_EXISTS,
             "qualifier " + decl.name.getString() + " is declared already, and differently");
    }
    const CIMName name = decl.name;
    space.qualifierOrder.push_back(&(space.qualifiers[name] = std::move(decl)));
}

const QualifierDecl& Repository::getQualifierDecl(const CIMNamespaceName& nameSpace,
                                                  const CIMName& name) const
{
    const QualifierDecl* const decl = find(impl_->get(nameSpace).qualifiers, name);
    if (decl == nullptr) fail(CIM_ERR_NOT_FOUND, name.getString());
    return *decl;
}

std::vector<const QualifierDecl*> Repository::qualifierDecls(
    const CIMNamespaceName& nameSpace) const
{
    return impl_->get(nameSpace).qualifierOrder;
}

void Repository::addClass(const CIMNamespaceName& nameSpace, const Class& given)
{
    Impl::Namespace& space = impl_->get(nameSpace);
    const String text = "class " + given.name().getString();
    if (find(space.classes, given.name()) != nullptr)
        fail(CIM_ERR_ALREADY_EXISTS, text + " exists already");
    ClassEntry* superclass = nullptr;
    if (!given.superClassName.isNull()) {
        superclass = find(space.classes, given.superClassName);
        if (superclass == nullptr)
            fail(CIM_ERR_INVALID_SUPERCLASS,
                 text + ": its superclass " + given.superClassName.getString() + " does not exist");
    }
    const SchemaLookup lookup{
        [&space](const CIMName& name) { return find(space.qualifiers, name); },
        [&space](const CIMName& name) { return find(space.classes, name) != nullptr; }};
    auto resolved = std::make_shared<const Class>(
        resolveClass(given, superclass == nullptr ? nullptr : superclass->resolved.get(), lookup));
    ClassEntry& entry = space.classes[given.name()];
    entry.resolved = std::move(resolved);
    entry.superclass = superclass;
    (superclass == nullptr ? space.roots : superclass->subclasses).push_back(&entry);
}

ClassPtr Repository::findClass(const CIMNamespaceName& nameSpace, const CIMName& className) const
{
    const ClassEntry* const entry = find(impl_->get(nameSpace).classes, className);
    return entry == nullptr ? nullptr : entry->resolved;
}

ClassPtr Repository::requireClass(const CIMNamespaceName& nameSpace, const CIMName& className,
                                  CIMStatusCode whenUnknown) const
{
    return impl_->get(nameSpace).get(className, whenUnknown).resolved;
}

ClassPtr Repository::getClass(const CIMNamespaceName& nameSpace, const CIMName& className,
                              const ClassView& view) const
{
    const ClassEntry& entry = impl_->get(nameSpace).get(className, CIM_ERR_NOT_FOUND);
    return view.properties.isNull() ? entry.view(view) : viewClass(entry.resolved, view);
}

std::vector<CIMName> Repository::subclassNames(const CIMNamespaceName& nameSpace,
                                               const CIMName& className, bool deep) const
{
    Impl::Namespace& space = impl_->get(nameSpace);
    std::vector<CIMName> names;
    appendSubclasses(
        className.isNull() ? space.roots : space.get(className, CIM_ERR_INVALID_CLASS).subclasses,
        deep, names);
    return names;
}

std::vector<CIMName> Repository::lineage(const CIMNamespaceName& nameSpace,
                                         const CIMName& className, CIMStatusCode whenUnknown) const
{
    std::vector<CIMName> names;
    for (const ClassEntry* entry = &impl_->get(nameSpace).get(className, whenUnknown);
         entry != nullptr; entry = entry->superclass)
        names.push_back(entry->resolved->name());
    return names;
}

CIMObjectPath Repository::addInstance(const CIMNamespaceName& nameSpace, const CIMInstance& given)
{
    ClassEntry& entry = impl_->get(nameSpace).get(given.getClassName(), CIM_ERR_INVALID_CLASS);
    if (entry.resolved->isAbstract())
        fail(CIM_ERR_FAILED,
             "attempted to instantiate an abstract class " + entry.resolved->name().getString());
    const CIMInstance instance = completeInstance(given.object(), entry.resolved);
    const std::unique_lock lock(impl_->instances);
    if (entry.find(instance.getPath()) != entry.instances.end())
        fail(CIM_ERR_ALREADY_EXISTS, instance.getPath().toString());
    entry.instances.push_back(instance);
    return instance.getPath();
}

void Repository::modifyInstance(const CIMNamespaceName& nameSpace, const CIMInstance& given,
                                const CIMPropertyList& list)
{
    ClassEntry& entry = impl_->get(nameSpace).get(given.getClassName(), CIM_ERR_INVALID_CLASS);
    std::set<CIMName, NoCaseLess> listed;
    for (Uint32 i = 0; i < list.size(); ++i)
        listed.insert(list[i]);
    const InstanceProperties& news = given.object().properties;
    for (std::size_t i = 0; list.isNull() && i < news.size(); ++i)
        listed.insert(news[i].declaration.name);
    for (const CIMName& name : listed)
        if (entry.resolved->property(name) == nullptr)
            fail(CIM_ERR_NO_SUCH_PROPERTY, name.getString());
    const std::unique_lock lock(impl_->instances);
    CIMInstance& stored = *entry.require(given.getPath());
    Instance changed;
    changed.qualifiers = stored.object().qualifiers;
    const InstanceProperties& olds = stored.object().properties;
    for (std::size_t i = 0; i < olds.size(); ++i) {
        const Property& old = olds[i].declaration;
        if (!old.propagated && listed.count(old.name) == 0)
            changed.properties.push_back(olds.copy(i));
    }
    for (std::size_t i = 0; i < news.size(); ++i)
        if (listed.count(news[i].declaration.name) > 0) changed.properties.push_back(news.copy(i));
    const CIMInstance result = completeInstance(changed, entry.resolved);
    if (!result.getPath().identical(stored.getPath()))
        fail(CIM_ERR_FAILED, "attempted to modify a key of " + stored.getPath().toString());
    stored = result;
}

void Repository::deleteInstance(const CIMNamespaceName& nameSpace, const CIMObjectPath& path)
{
    ClassEntry& entry = impl_->get(nameSpace).get(path.getClassName(), CIM_ERR_INVALID_CLASS);
    const std::unique_lock lock(impl_->instances);
    entry.instances.erase(entry.require(path));
}

CIMInstance Repository::getInstance(const CIMNamespaceName& nameSpace,
                                    const CIMObjectPath& path) const
{
    ClassEntry& entry = impl_->get(nameSpace).get(path.getClassName(), CIM_ERR_INVALID_CLASS);
    const std::shared_lock lock(impl_->instances);
    return entry.require(path)->clone();
}

std::vector<CIMInstance> Repository::instancesOf(const CIMNamespaceName& nameSpace,
                                                 const CIMName& className) const
{
    const ClassEntry& entry = impl_->get(nameSpace).get(className, CIM_ERR_INVALID_CLASS);
    std::vector<CIMInstance> copies;
    const std::shared_lock lock(impl_->instances);
    for (const CIMInstance& instance : entry.instances)
        copies.push_back(instance.clone());
    return copies;
}

}  // namespace cimom
