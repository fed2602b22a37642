// A repository with the usual qualifiers, filled from MOF texts.
#pragma once

#include "Mof/MofCompiler.h"
#include "Repository/Repository.h"

#include <Pegasus/Common/CIMMethod.h>
#include <Pegasus/Common/CIMProperty.h>
#include <Pegasus/Common/Exception.h>

#include <gtest/gtest.h>

#include <string>

inline std::string text(const Pegasus::String& s)
{
    return std::string(static_cast<const char*>(s.getCString()));
}

inline const char* const usualQualifiers = R"mof(
Qualifier Association : boolean = false, Scope(association), Flavor(DisableOverride, ToSubclass);
Qualifier Indication : boolean = false, Scope(class, indication), Flavor(DisableOverride, ToSubclass);
Qualifier Abstract : boolean = false, Scope(class, association, indication), Flavor(EnableOverride, Restricted);
Qualifier Key : boolean = false, Scope(property, reference), Flavor(DisableOverride, ToSubclass);
Qualifier Description : string = null, Scope(any), Flavor(EnableOverride, ToSubclass, Translatable);
Qualifier Override : string = null, Scope(property, reference, method), Flavor(EnableOverride, Restricted);
Qualifier IN : boolean = true, Scope(parameter), Flavor(DisableOverride, ToSubclass);
Qualifier OUT : boolean = false, Scope(parameter), Flavor(DisableOverride, ToSubclass);
Qualifier MaxLen : uint32 = null, Scope(property, method, parameter);
Qualifier Values : string[], Scope(property, method, parameter), Flavor(EnableOverride, ToSubclass, Translatable);
Qualifier Fixed : string = null, Scope(any), Flavor(DisableOverride, ToSubclass);
Qualifier Mine : string = null, Scope(any), Flavor(EnableOverride, Restricted);
)mof";

class RepositoryFixture : public ::testing::Test
{
protected:
    RepositoryFixture()
    {
        repository.addNamespace(ns);
        compile(usualQualifiers);
    }

    void compile(const std::string& mof)
    {
        cimom::MofCompiler(repository).compileText(mof, "test.mof", ns);
    }

    Pegasus::CIMConstClass theClass(const char* name) const
    {
        return repository.getClass(ns, Pegasus::CIMName(name));
    }

    Pegasus::CIMConstProperty property(const char* className, const char* name) const
    {
        const Pegasus::CIMConstClass owner = theClass(className);
        return owner.getProperty(owner.findProperty(Pegasus::CIMName(name)));
    }

    Pegasus::CIMConstMethod method(const char* className, const char* name) const
    {
        const Pegasus::CIMConstClass owner = theClass(className);
        return owner.getMethod(owner.findMethod(Pegasus::CIMName(name)));
    }

    const Pegasus::CIMNamespaceName ns{"root/test"};
    cimom::Repository repository;
};

/// "Name=value" of each qualifier in order, with a leading ^ when it is inherited.
template <class Element>
std::string qualifiersOf(const Element& element)
{
    std::string all;
    for (Pegasus::Uint32 i = 0; i < element.getQualifierCount(); ++i) {
        const Pegasus::CIMConstQualifier qualifier = element.getQualifier(i);
        all += std::string(all.empty() ? "" : " ") + (qualifier.getPropagated() ? "^" : "") +
               text(qualifier.getName().getString()) + "=" + text(qualifier.getValue().toString());
    }
    return all;
}

/// "Name/Origin" of each property in order, with a leading ^ when it is inherited.
template <class Object>
std::string propertiesOf(const Object& object)
{
    std::string all;
    for (Pegasus::Uint32 i = 0; i < object.getPropertyCount(); ++i) {
        const Pegasus::CIMConstProperty property = object.getProperty(i);
        all += std::string(all.empty() ? "" : " ") + (property.getPropagated() ? "^" : "") +
               text(property.getName().getString()) + "/" +
               text(property.getClassOrigin().getString());
    }
    return all;
}

/// What the operation refuses with: "CODE text", or "" when it does not.
template <class Operation>
std::string refusal(Operation operation)
{
    try {
        operation();
    } catch (const Pegasus::CIMException& e) {
        return std::to_string(e.getCode()) + " " + text(e.getMessage());
    }
    return "";
}
