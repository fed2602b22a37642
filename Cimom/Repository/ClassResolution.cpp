#include "Repository/ClassResolution.h"

#include <Pegasus/Common/Exception.h>

#include <algorithm>

PEGASUS_USING_PEGASUS;

namespace cimom
{
namespace
{

// Throws an error without the name of the element that it is about; see inContext().
[[noreturn]] void refuse(const String& what)
{
    throw CIMException(CIM_ERR_INVALID_PARAMETER, ": " + what);
}

// Runs the work; an error gets the name of the element in front.
template <class Work>
auto inContext(const char* kind, const CIMName& name, Work work)
{
    try {
        return work();
    } catch (const CIMException& e) {
        throw CIMException(e.getCode(), kind + name.getString() + e.getMessage());
    }
}

// The inherited qualifiers that reach subclasses, in front of the own ones.
Qualifiers inheritQualifiers(const Qualifiers& own, const Qualifiers& inherited)
{
    std::vector<Qualifier> all;
    for (const Qualifier* from = inherited.end(); from != inherited.begin();) {
        --from;
        if (!from->flavor.toSubclass) continue;
        const Qualifier* const mine = own.find(from->name);
        if (mine == nullptr) {
            all.push_back(*from);
            all.back().propagated = true;
        } else if (!from->flavor.overridable && mine->value != from->value) {
            refuse("qualifier " + from->name.getString() +
                   " is DisableOverride and has another value in the superclass");
        }
    }
    if (all.empty()) return own;
    all.insert(all.end(), own.begin(), own.end());
    return Qualifiers(std::move(all));
}

bool isSameType(const Property& a, const Property& b)
{
    return a.value.typeCompatible(b.value);
}

bool isSameType(const Method& a, const Method& b)
{
    return a.type == b.type;
}

// The element as a subclass inherits it; shared from the second generation on.
template <class Element>
std::shared_ptr<const Element> propagated(const std::shared_ptr<const Element>& element)
{
    if (element->propagated) return element;
    const auto copy = std::make_shared<Element>(*element);
    copy->propagated = true;
    return copy;
}

// Resolves one class.
class Resolver
{
public:
    Resolver(const Class& given, const Class& superclass, const SchemaLookup& schema)
        : given_(given), super_(superclass), schema_(schema)
    {
        const auto isKey = [](const auto& p) { return p->qualifiers.isTrue("Key"); };
        superHasKeys_ = std::any_of(super_.properties.begin(), super_.properties.end(), isKey);
    }

    Class resolve() const
    {
        Class result;
        result.path = given_.path;
        result.superClassName = given_.superClassName;
        result.qualifiers = inheritQualifiers(given_.qualifiers, super_.qualifiers);
        checkClass(result);
        result.properties = resolveAll(", property ", given_.properties, super_.properties);
        result.methods = resolveAll(", method ", given_.methods, super_.methods);
        return result;
    }

private:
    void checkClass(const Class& result) const
    {
        Scope scope = result.qualifiers.isTrue("Indication") ? IndicationScope : ClassScope;
        if (result.isAssociation()) {
            scope = AssociationScope;
            if (!given_.superClassName.isNull() && !super_.isAssociation())
                refuse("an association cannot derive from " + given_.superClassName.getString() +
                       ", which is none");
        }
        checkQualifiers(given_.qualifiers, scope);
    }

    template <class Element>
    Elements<Element> resolveAll(const char* kind, const Elements<Element>& own,
                                 const Elements<Element>& inherited) const
    {
        Elements<Element> all;
        all.reserve(own.size() + inherited.size());
        for (const auto& element : inherited)
            if (own.find(element->name) == nullptr) all.push_back(propagated(element));
        for (const auto& element : own)
            all.push_back(inContext(kind, element->name, [&] {
                return resolveOne(*element, inherited.find(element->name), inherited);
            }));
        return all;
    }

    template <class Element>
    std::shared_ptr<const Element> resolveOne(const Element& own, const Element* overridden,
                                              const Elements<Element>& inherited) const
    {
        const auto result = std::make_shared<Element>(own);
        result->classOrigin = overridden == nullptr ? given_.name() : overridden->classOrigin;
        if (overridden != nullptr) {
            if (!isSameType(own, *overridden))
                refuse("its type differs from that in " + given_.superClassName.getString());
            result->qualifiers = inheritQualifiers(own.qualifiers, overridden->qualifiers);
        }
        const Qualifier* const override = own.qualifiers.find("Override");
        const String target = override == nullptr ? String() : override->value.toString();
        if (override != nullptr && !override->value.isNull() &&
            (!CIMName::legal(target) || inherited.find(CIMName(target)) == nullptr))
            refuse("it overrides \"" + target + "\", which no superclass has");
        check(own, overridden);
        return result;
    }

    void check(const Property& own, const Property* overridden) const
    {
        const bool isReference = own.value.getType() == CIMTYPE_REFERENCE;
        checkQualifiers(own.qualifiers, isReference ? ReferenceScope : PropertyScope);
        if (isReference) checkReference(own.referenceClassName);
        if (superHasKeys_ && own.qualifiers.isTrue("Key") &&
            (overridden == nullptr || !overridden->qualifiers.isTrue("Key")))
            refuse("it cannot be a key, because " + given_.superClassName.getString() +
                   " has keys already");
    }

    void checkReference(const CIMName& className) const
    {
        if (!given_.isAssociation())
            refuse("a class with references needs the Association qualifier");
        if (!className.equal(given_.name()) && !schema_.hasClass(className))
            refuse("it refers to class " + className.getString() + ", which does not exist");
    }

    void check(const Method& own, const Method*) const
    {
        checkQualifiers(own.qualifiers, MethodScope);
        for (const Parameter& parameter : own.parameters)
            inContext(", parameter ", parameter.name,
                      [&] { checkQualifiers(parameter.qualifiers, ParameterScope); });
    }

    void checkQualifiers(const Qualifiers& own, Scope scope) const
    {
        for (const Qualifier& qualifier : own)
            inContext(": qualifier ", qualifier.name, [&] {
                const QualifierDecl* const decl = schema_.qualifier(qualifier.name);
                if (decl == nullptr) refuse("it is not declared");
                if ((decl->scopes & scope) == 0) refuse("its declaration does not allow it here");
            });
    }

    const Class& given_;
    const Class& super_;
    const SchemaLookup& schema_;
    bool superHasKeys_;
};

bool showsAllOfElements(const ClassView& view)
{
    return !view.localOnly && view.includeQualifiers && view.includeClassOrigin;
}

Qualifiers viewQualifiers(const Qualifiers& all, const ClassView& view)
{
    if (!view.includeQualifiers) return {};
    if (!view.localOnly) return all;
    std::vector<Qualifier> own;
    std::copy_if(all.begin(), all.end(), std::back_inserter(own),
                 [](const Qualifier& qualifier) { return !qualifier.propagated; });
    return Qualifiers(std::move(own));
}

template <class Element>
std::shared_ptr<const Element> viewElement(const std::shared_ptr<const Element>& element,
                                           const ClassView& view)
{
    if (showsAllOfElements(view)) return element;
    const auto copy = std::make_shared<Element>(*element);
    copy->qualifiers = viewQualifiers(element->qualifiers, view);
    if (!view.includeClassOrigin) copy->classOrigin = CIMName();
    if constexpr (std::is_same_v<Element, Method>)
        for (Parameter& parameter : copy->parameters)
            if (!view.includeQualifiers) parameter.qualifiers = {};
    return copy;
}

}  // namespace

Class resolveClass(const Class& given, const Class* superclass, const SchemaLookup& schema)
{
    static const Class none;
    return inContext("class ", given.name(), [&] {
        return Resolver(given, superclass == nullptr ? none : *superclass, schema).resolve();
    });
}

ClassPtr viewClass(const ClassPtr& resolved, const ClassView& view)
{
    if (showsAllOfElements(view) && view.properties.isNull()) return resolved;
    const auto result = std::make_shared<Class>();
    result->path = resolved->path;
    result->superClassName = resolved->superClassName;
    result->qualifiers = viewQualifiers(resolved->qualifiers, view);
    for (const auto& property : resolved->properties)
        if (!(view.localOnly && property->propagated) &&
            view.properties.useThisProperty(property->name))
            result->properties.push_back(viewElement(property, view));
    for (const auto& method : resolved->methods)
        if (!(view.localOnly && method->propagated))
            result->methods.push_back(viewElement(method, view));
    return result;
}

}  // namespace cimom
