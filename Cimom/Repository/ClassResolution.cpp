#include "Repository/ClassResolution.h"

#include <Pegasus/Common/CIMMethod.h>
#include <Pegasus/Common/CIMParameter.h>
#include <Pegasus/Common/CIMProperty.h>
#include <Pegasus/Common/CIMQualifier.h>
#include <Pegasus/Common/CIMScope.h>
#include <Pegasus/Common/Exception.h>

#include <vector>

PEGASUS_USING_PEGASUS;

namespace cimom
{
namespace
{

// Resolves one class. `where_` is the subject of every complaint.
class Resolver
{
public:
    Resolver(const CIMClass& given, const CIMClass& superclass, const SchemaLookup& schema)
        : given_(given), schema_(schema), className_("class " + given.getClassName().getString())
    {
        if (!superclass.isUninitialized()) super_ = superclass;
    }

    CIMClass resolve()
    {
        CIMClass result(given_.getClassName(), given_.getSuperClassName());
        resolveClassQualifiers(result);
        if (hasSuper()) super_.getKeyNames(inheritedKeys_);
        inheritProperties(result);
        for (Uint32 i = 0; i < given_.getPropertyCount(); ++i)
            result.addProperty(resolveProperty(given_.getProperty(i).clone()));
        inheritMethods(result);
        for (Uint32 i = 0; i < given_.getMethodCount(); ++i)
            result.addMethod(resolveMethod(given_.getMethod(i).clone()));
        return result;
    }

private:
    bool hasSuper() const { return !super_.isUninitialized(); }

    [[noreturn]] static void refuse(const String& where, const String& what)
    {
        throw CIMException(CIM_ERR_INVALID_PARAMETER, where + ": " + what);
    }

    template <class Element>
    static bool isTrue(const Element& element, const char* qualifier)
    {
        const Uint32 at = element.findQualifier(CIMName(qualifier));
        return at != PEG_NOT_FOUND &&
               CIMConstQualifier(element.getQualifier(at)).getValue() == CIMValue(Boolean(true));
    }

    void resolveClassQualifiers(CIMClass& result)
    {
        for (Uint32 i = 0; i < given_.getQualifierCount(); ++i)
            result.addQualifier(given_.getQualifier(i).clone());
        if (hasSuper()) inheritQualifiers(result, super_, className_);
        const bool association = isTrue(result, "Association");
        if (association && hasSuper() && !isTrue(super_, "Association"))
            refuse(className_, "an association cannot derive from " +
                                   given_.getSuperClassName().getString() + ", which is none");
        const CIMScope scope = association                    ? CIMScope::ASSOCIATION
                               : isTrue(result, "Indication") ? CIMScope::INDICATION
                                                              : CIMScope::CLASS;
        checkQualifiers(result, scope, className_);
    }

    void inheritProperties(CIMClass& result) const
    {
        for (Uint32 i = 0; hasSuper() && i < super_.getPropertyCount(); ++i) {
            const CIMConstProperty inherited = super_.getProperty(i);
            if (given_.findProperty(inherited.getName()) != PEG_NOT_FOUND) continue;
            CIMProperty copy = inherited.clone();
            copy.setPropagated(true);
            result.addProperty(copy);
        }
    }

    void inheritMethods(CIMClass& result) const
    {
        for (Uint32 i = 0; hasSuper() && i < super_.getMethodCount(); ++i) {
            const CIMConstMethod inherited = super_.getMethod(i);
            if (given_.findMethod(inherited.getName()) != PEG_NOT_FOUND) continue;
            CIMMethod copy = inherited.clone();
            copy.setPropagated(true);
            result.addMethod(copy);
        }
    }

    CIMProperty resolveProperty(CIMProperty own) const
    {
        const String where = className_ + ", property " + own.getName().getString();
        own.setPropagated(false);
        own.setClassOrigin(given_.getClassName());
        const Uint32 at = hasSuper() ? super_.findProperty(own.getName()) : PEG_NOT_FOUND;
        if (at != PEG_NOT_FOUND) {
            const CIMConstProperty inherited = super_.getProperty(at);
            if (inherited.getType() != own.getType() || inherited.isArray() != own.isArray())
                refuse(where,
                       "its type differs from that in " + given_.getSuperClassName().getString());
            own.setClassOrigin(inherited.getClassOrigin());
            inheritQualifiers(own, inherited, where);
        }
        checkOverride(own, where,
                      [this](const CIMName& name) { return super_.findProperty(name); });
        const bool reference = own.getType() == CIMTYPE_REFERENCE;
        checkQualifiers(own, reference ? CIMScope::REFERENCE : CIMScope::PROPERTY, where);
        if (reference) checkReference(own, where);
        if (isTrue(own, "Key") && inheritedKeys_.size() > 0) checkKey(own.getName(), where);
        return own;
    }

    CIMMethod resolveMethod(CIMMethod own) const
    {
        const String where = className_ + ", method " + own.getName().getString();
        own.setPropagated(false);
        own.setClassOrigin(given_.getClassName());
        const Uint32 at = hasSuper() ? super_.findMethod(own.getName()) : PEG_NOT_FOUND;
        if (at != PEG_NOT_FOUND) {
            const CIMConstMethod inherited = super_.getMethod(at);
            if (inherited.getType() != own.getType())
                refuse(where, "its return type differs from that in " +
                                  given_.getSuperClassName().getString());
            own.setClassOrigin(inherited.getClassOrigin());
            inheritQualifiers(own, inherited, where);
        }
        checkOverride(own, where, [this](const CIMName& name) { return super_.findMethod(name); });
        checkQualifiers(own, CIMScope::METHOD, where);
        for (Uint32 i = 0; i < own.getParameterCount(); ++i) {
            const CIMConstParameter parameter = own.getParameter(i);
            checkQualifiers(parameter, CIMScope::PARAMETER,
                            where + ", parameter " + parameter.getName().getString());
        }
        return own;
    }

    // Puts the inherited qualifiers that reach subclasses in front of the element's own.
    template <class Element, class Inherited>
    static void inheritQualifiers(Element& element, const Inherited& from, const String& where)
    {
        std::vector<CIMQualifier> own;
        for (Uint32 i = 0; i < element.getQualifierCount(); ++i)
            own.push_back(element.getQualifier(i));
        while (element.getQualifierCount() > 0)
            element.removeQualifier(element.getQualifierCount() - 1);
        for (Uint32 i = from.getQualifierCount(); i-- > 0;) {
            const CIMConstQualifier inherited = from.getQualifier(i);
            if (inherited.getFlavor().hasFlavor(CIMFlavor::RESTRICTED)) continue;
            const CIMQualifier* const mine = find(own, inherited.getName());
            if (mine == nullptr) {
                CIMQualifier copy = inherited.clone();
                copy.setPropagated(true);
                element.addQualifier(copy);
            } else if (inherited.getFlavor().hasFlavor(CIMFlavor::DISABLEOVERRIDE) &&
                       mine->getValue() != inherited.getValue()) {
                refuse(where, "qualifier " + inherited.getName().getString() +
                                  " is DisableOverride and has another value in the superclass");
            }
        }
        for (const CIMQualifier& qualifier : own)
            element.addQualifier(qualifier);
    }

    static const CIMQualifier* find(const std::vector<CIMQualifier>& all, const CIMName& name)
    {
        for (const CIMQualifier& qualifier : all)
            if (qualifier.getName().equal(name)) return &qualifier;
        return nullptr;
    }

    template <class Element>
    void checkQualifiers(const Element& element, const CIMScope& scope, const String& where) const
    {
        for (Uint32 i = 0; i < element.getQualifierCount(); ++i) {
            const CIMConstQualifier qualifier = element.getQualifier(i);
            const String name = "qualifier " + qualifier.getName().getString();
            const CIMQualifierDecl* const decl = schema_.qualifier(qualifier.getName());
            if (decl == nullptr) refuse(where, name + " is not declared");
            if (decl->getType() != qualifier.getType() || decl->isArray() != qualifier.isArray())
                refuse(where, name + " does not have the type it is declared with");
            if (!decl->getScope().hasScope(scope))
                refuse(where, name + " may stand in scope " + decl->getScope().toString() +
                                  " only, not " + scope.toString());
        }
    }

    template <class Element, class Find>
    void checkOverride(const Element& element, const String& where, Find findInSuper) const
    {
        const Uint32 at = element.findQualifier(CIMName("Override"));
        if (at == PEG_NOT_FOUND) return;
        const CIMValue& value = CIMConstQualifier(element.getQualifier(at)).getValue();
        if (value.isNull() || value.getType() != CIMTYPE_STRING || value.isArray()) return;
        String name;
        value.get(name);
        if (!hasSuper() || !CIMName::legal(name) || findInSuper(CIMName(name)) == PEG_NOT_FOUND)
            refuse(where, "it overrides \"" + name + "\", which no superclass has");
    }

    void checkReference(const CIMProperty& own, const String& where) const
    {
        if (!isTrue(given_, "Association"))
            refuse(where, "a class with references needs the Association qualifier");
        const CIMName& name = own.getReferenceClassName();
        if (name.equal(given_.getClassName()) || schema_.hasClass(name)) return;
        refuse(where, "it refers to class " + name.getString() + ", which does not exist");
    }

    void checkKey(const CIMName& name, const String& where) const
    {
        for (Uint32 i = 0; i < inheritedKeys_.size(); ++i)
            if (inheritedKeys_[i].equal(name)) return;
        refuse(where, "it cannot be a key, because " + given_.getSuperClassName().getString() +
                          " has keys already");
    }

    const CIMConstClass given_;
    const SchemaLookup& schema_;
    const String className_;
    CIMConstClass super_;
    Array<CIMName> inheritedKeys_;
};

template <class Element>
void removeQualifiers(Element& element)
{
    while (element.getQualifierCount() > 0)
        element.removeQualifier(element.getQualifierCount() - 1);
}

template <class Element>
void removeInheritedQualifiers(Element& element)
{
    for (Uint32 i = element.getQualifierCount(); i-- > 0;)
        if (CIMConstQualifier(element.getQualifier(i)).getPropagated()) element.removeQualifier(i);
}

template <class Element>
Element viewElement(Element copy, bool localOnly, bool includeQualifiers, bool includeClassOrigin)
{
    if (!includeQualifiers) removeQualifiers(copy);
    if (localOnly) removeInheritedQualifiers(copy);
    if (!includeClassOrigin) copy.setClassOrigin(CIMName());
    return copy;
}

}  // namespace

CIMClass resolveClass(const CIMClass& given, const CIMClass& superclass, const SchemaLookup& schema)
{
    return Resolver(given, superclass, schema).resolve();
}

CIMClass viewClass(const CIMClass& resolved, bool localOnly, bool includeQualifiers,
                   bool includeClassOrigin, const CIMPropertyList& properties)
{
    const CIMConstClass source(resolved);
    CIMClass view(source.getClassName(), source.getSuperClassName());
    for (Uint32 i = 0; includeQualifiers && i < source.getQualifierCount(); ++i)
        view.addQualifier(source.getQualifier(i).clone());
    if (localOnly) removeInheritedQualifiers(view);

    for (Uint32 i = 0; i < source.getPropertyCount(); ++i) {
        const CIMConstProperty property = source.getProperty(i);
        if (localOnly && property.getPropagated()) continue;
        if (!properties.useThisProperty(property.getName())) continue;
        view.addProperty(
            viewElement(property.clone(), localOnly, includeQualifiers, includeClassOrigin));
    }
    for (Uint32 i = 0; i < source.getMethodCount(); ++i) {
        const CIMConstMethod method = source.getMethod(i);
        if (localOnly && method.getPropagated()) continue;
        CIMMethod copy =
            viewElement(method.clone(), localOnly, includeQualifiers, includeClassOrigin);
        for (Uint32 p = 0; !includeQualifiers && p < copy.getParameterCount(); ++p) {
            CIMParameter parameter = copy.getParameter(p);
            removeQualifiers(parameter);
        }
        view.addMethod(copy);
    }
    return view;
}

}  // namespace cimom
