#include "Repository/ClassResolution.h"

#include <Pegasus/Common/Exception.h>

#include <algorithm>

PEGASUS_USING_PEGASUS;

namespace cimom
{
namespace
{

template <class Element>
using Elements = std::vector<std::shared_ptr<const Element>>;

template <class Element>
const Element* find(const Elements<Element>& elements, const CIMName& name)
{
    const Uint32 at = positionOf(elements, name);
    return at == PEG_NOT_FOUND ? nullptr : elements[at].get();
}

// What a complaint is about; put into words only when there is one.
struct Subject
{
    const CIMName& className;
    const char* kind = "";
    const CIMName& element = className;
    const CIMName& parameter = element;
};

[[noreturn]] void refuse(const Subject& subject, const String& what)
{
    String text = "class " + subject.className.getString();
    if (&subject.element != &subject.className)
        text.append(subject.kind + subject.element.getString());
    if (&subject.parameter != &subject.element)
        text.append(", parameter " + subject.parameter.getString());
    throw CIMException(CIM_ERR_INVALID_PARAMETER, text + ": " + what);
}

String scopesToString(unsigned scopes)
{
    String text;
    for (const ScopeName& entry : scopeNames)
        if (entry.scope != AnyScope && (scopes & entry.scope) != 0)
            text.append((text.size() == 0 ? "" : " ") + String(entry.name));
    return text;
}

// The inherited qualifiers that reach subclasses, in front of the own ones.
Qualifiers inheritQualifiers(const Qualifiers& own, const Qualifiers& inherited,
                             const Subject& subject)
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
            refuse(subject, "qualifier " + from->name.getString() +
                                " is DisableOverride and has another value in the superclass");
        }
    }
    if (all.empty()) return own;
    all.insert(all.end(), own.begin(), own.end());
    return Qualifiers(std::move(all));
}

// Resolves one class.
class Resolver
{
public:
    Resolver(const Class& given, const Class& superclass, const SchemaLookup& schema)
        : given_(given),
          super_(superclass),
          schema_(schema),
          superHasKeys_(std::any_of(superclass.properties.begin(), superclass.properties.end(),
                                    [](const auto& p) { return p->qualifiers.isTrue("Key"); }))
    {
    }

    Class resolve() const
    {
        Class result;
        result.path = given_.path;
        result.superClassName = given_.superClassName;
        result.qualifiers =
            inheritQualifiers(given_.qualifiers, super_.qualifiers, {given_.name()});
        checkClass(result);
        result.properties = resolveAll(given_.properties, super_.properties);
        result.methods = resolveAll(given_.methods, super_.methods);
        return result;
    }

private:
    void checkClass(const Class& result) const
    {
        const bool association = result.isAssociation();
        if (association && !given_.superClassName.isNull() && !super_.isAssociation())
            refuse({given_.name()}, "an association cannot derive from " +
                                        given_.superClassName.getString() + ", which is none");
        const bool indication = result.qualifiers.isTrue("Indication");
        checkQualifiers(given_.qualifiers,
                        association  ? AssociationScope
                        : indication ? IndicationScope
                                     : ClassScope,
                        {given_.name()});
    }

    template <class Element>
    Elements<Element> resolveAll(const Elements<Element>& own,
                                 const Elements<Element>& inherited) const
    {
        Elements<Element> all;
        all.reserve(own.size() + inherited.size());
        for (const auto& element : inherited)
            if (find(own, element->name) == nullptr) all.push_back(propagated(element));
        for (const auto& element : own)
            all.push_back(resolveOne(*element, inherited));
        return all;
    }

    // Shared with the superclass where that inherited it already.
    template <class Element>
    static std::shared_ptr<const Element> propagated(const std::shared_ptr<const Element>& element)
    {
        if (element->propagated) return element;
        const auto copy = std::make_shared<Element>(*element);
        copy->propagated = true;
        return copy;
    }

    template <class Element>
    std::shared_ptr<const Element> resolveOne(const Element& own,
                                              const Elements<Element>& inherited) const
    {
        const Element* const overridden = find(inherited, own.name);
        const Subject subject = subjectOf(own);
        const auto result = std::make_shared<Element>(own);
        result->classOrigin = overridden == nullptr ? given_.name() : overridden->classOrigin;
        if (overridden != nullptr) {
            checkSameType(own, *overridden, subject);
            result->qualifiers = inheritQualifiers(own.qualifiers, overridden->qualifiers, subject);
        }
        checkOverride(own.qualifiers, inherited, subject);
        check(own, overridden, subject);
        return result;
    }

    Subject subjectOf(const Property& own) const
    {
        return {given_.name(), ", property ", own.name};
    }
    Subject subjectOf(const Method& own) const { return {given_.name(), ", method ", own.name}; }

    void checkSameType(const Property& own, const Property& inherited, const Subject& subject) const
    {
        if (own.value.typeCompatible(inherited.value)) return;
        refuse(subject, "its type differs from that in " + given_.superClassName.getString());
    }

    void checkSameType(const Method& own, const Method& inherited, const Subject& subject) const
    {
        if (own.type == inherited.type) return;
        refuse(subject,
               "its return type differs from that in " + given_.superClassName.getString());
    }

    void check(const Property& own, const Property* overridden, const Subject& subject) const
    {
        const bool reference = own.value.getType() == CIMTYPE_REFERENCE;
        checkQualifiers(own.qualifiers, reference ? ReferenceScope : PropertyScope, subject);
        if (reference) checkReference(own.referenceClassName, subject);
        if (superHasKeys_ && own.qualifiers.isTrue("Key") &&
            (overridden == nullptr || !overridden->qualifiers.isTrue("Key")))
            refuse(subject, "it cannot be a key, because " + given_.superClassName.getString() +
                                " has keys already");
    }

    void check(const Method& own, const Method*, const Subject& subject) const
    {
        checkQualifiers(own.qualifiers, MethodScope, subject);
        for (const Parameter& parameter : own.parameters)
            checkQualifiers(parameter.qualifiers, ParameterScope,
                            {subject.className, subject.kind, subject.element, parameter.name});
    }

    void checkQualifiers(const Qualifiers& own, Scope scope, const Subject& subject) const
    {
        for (const Qualifier& qualifier : own) {
            const QualifierDecl* const decl = schema_.qualifier(qualifier.name);
            const String name = "qualifier " + qualifier.name.getString();
            if (decl == nullptr) refuse(subject, name + " is not declared");
            if (!decl->value.typeCompatible(qualifier.value))
                refuse(subject, name + " does not have the type it is declared with");
            if ((decl->scopes & scope) == 0)
                refuse(subject, name + " may stand in scope " + scopesToString(decl->scopes) +
                                    " only, not " + scopesToString(scope));
        }
    }

    template <class Element>
    static void checkOverride(const Qualifiers& own, const Elements<Element>& inherited,
                              const Subject& subject)
    {
        const Qualifier* const override = own.find("Override");
        if (override == nullptr || override->value.isNull() ||
            !override->value.typeCompatible(CIMValue(String())))
            return;
        String name;
        override->value.get(name);
        if (!CIMName::legal(name) || find(inherited, CIMName(name)) == nullptr)
            refuse(subject, "it overrides \"" + name + "\", which no superclass has");
    }

    void checkReference(const CIMName& className, const Subject& subject) const
    {
        if (!given_.isAssociation())
            refuse(subject, "a class with references needs the Association qualifier");
        if (!className.equal(given_.name()) && !schema_.hasClass(className))
            refuse(subject,
                   "it refers to class " + className.getString() + ", which does not exist");
    }

    const Class& given_;
    const Class& super_;
    const SchemaLookup& schema_;
    const bool superHasKeys_;
};

Qualifiers viewQualifiers(const Qualifiers& all, const ClassView& view)
{
    if (!view.includeQualifiers) return {};
    if (!view.localOnly) return all;
    std::vector<Qualifier> own;
    std::copy_if(all.begin(), all.end(), std::back_inserter(own),
                 [](const Qualifier& qualifier) { return !qualifier.propagated; });
    return Qualifiers(std::move(own));
}

void hideParameterQualifiers(Property&) {}

void hideParameterQualifiers(Method& method)
{
    for (Parameter& parameter : method.parameters)
        parameter.qualifiers = {};
}

template <class Element>
std::shared_ptr<const Element> viewElement(const std::shared_ptr<const Element>& element,
                                           const ClassView& view)
{
    if (!view.localOnly && view.includeQualifiers && view.includeClassOrigin) return element;
    const auto copy = std::make_shared<Element>(*element);
    copy->qualifiers = viewQualifiers(element->qualifiers, view);
    if (!view.includeQualifiers) hideParameterQualifiers(*copy);
    if (!view.includeClassOrigin) copy->classOrigin = CIMName();
    return copy;
}

}  // namespace

Class resolveClass(const Class& given, const Class* superclass, const SchemaLookup& schema)
{
    static const Class none;
    return Resolver(given, superclass == nullptr ? none : *superclass, schema).resolve();
}

ClassPtr viewClass(const ClassPtr& resolved, const ClassView& view)
{
    if (!view.localOnly && view.includeQualifiers && view.includeClassOrigin &&
        view.properties.isNull())
        return resolved;
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
