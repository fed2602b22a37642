// A repository with schema.mof, and what MOF makes of it.
#pragma once

#include "../../Row.h"
#include "Model/Text.h"
#include "Mof/MofCompiler.h"

#include <gtest/gtest.h>

namespace cimom
{

// ---- Elements as text: MOF with values as they print, "inherited" before what is propagated, and
// the class of origin behind "of".

inline std::string text(const Pegasus::CIMName& name)
{
    return toUtf8(name.getString());
}

inline std::string text(const CIMObjectPath& path)
{
    return toUtf8(path.toString());
}

inline std::string text(const CIMValue& value)
{
    std::string all = toUtf8(value.toString());
    if (value.isArray() && !all.empty()) all.pop_back();  // the blank behind each element
    return all;
}

inline std::string text(const Qualifiers& qualifiers)
{
    std::string all;
    for (const Qualifier& each : qualifiers) {
        all += (all.empty() ? "[" : ", ") + std::string(each.propagated ? "inherited " : "");
        all += text(each.name) + (each.value.isNull() ? "" : "(" + text(each.value) + ")");
    }
    return all.empty() ? all : all + "] ";
}

/// Those that differ from a qualifier's usual ones.
inline std::string text(const Flavor& flavor)
{
    return std::string(flavor.overridable ? "" : "DisableOverride ") +
           (flavor.toSubclass ? "" : "Restricted ") + (flavor.toInstance ? "ToInstance " : "") +
           (flavor.translatable ? "Translatable " : "");
}

/// TYPE NAME[SIZE] of a property or parameter.
template <class Element>
std::string declaration(const Element& element, CIMType type, bool isArray)
{
    const bool isReference = type == Pegasus::CIMTYPE_REFERENCE;
    const std::string size = element.arraySize == 0 ? "" : std::to_string(element.arraySize);
    return (isReference ? text(element.referenceClassName) + " REF"
                        : Pegasus::cimTypeToString(type)) +
           (" " + text(element.name)) + (isArray ? "[" + size + "]" : "");
}

inline std::string text(const Property& property)
{
    return (property.propagated ? "inherited " : "") + text(property.qualifiers) +
           declaration(property, property.value.getType(), property.value.isArray()) +
           (property.value.isNull() ? "" : " = " + text(property.value)) + " of " +
           text(property.classOrigin);
}

inline std::string text(const Method& method)
{
    std::string parameters;
    for (const Parameter& each : method.parameters)
        parameters += (parameters.empty() ? "" : ", ") + text(each.qualifiers) +
                      declaration(each, each.type, each.isArray);
    return (method.propagated ? "inherited " : "") + text(method.qualifiers) +
           Pegasus::cimTypeToString(method.type) + " " + text(method.name) + "(" + parameters +
           ") of " + text(method.classOrigin);
}

/// Each element on a line of its own, behind a line feed.
template <class Elements>
std::string lines(const Elements& elements)
{
    std::string all;
    for (const auto& each : elements)
        all += "\n" + text(*each);
    return all + "\n";
}

inline std::string lines(const Pegasus::CIMInstance& instance)
{
    std::string all = "\n";
    for (Uint32 i = 0; i < instance.getPropertyCount(); ++i)
        all += text(*instance.getProperty(i).clone().shared()) + "\n";
    return all;
}

/// "compiled", or the error of the call of the compiler.
template <class Call>
std::string outcomeOf(Call call)
{
    try {
        call();
        return "compiled";
    } catch (const std::exception& fault) {
        return fault.what();
    }
}

/// The namespace "root/test" with schema.mof in it.
class TestRepository : public testing::Test
{
protected:
    TestRepository()
    {
        repository.addNamespace(nameSpace);
        compileMof(repository, nameSpace, CIMOM_TESTS "Repository/schema.mof");
    }

    /// Throws the compiler's error.
    void compile(const std::string& mof) { compileMofText(repository, nameSpace, mof, "MOF"); }

    /// Class T that the text declares.
    ClassPtr classOf(const std::string& mof)
    {
        compile(mof);
        return repository.requireClass(nameSpace, Pegasus::CIMName("T"),
                                       Pegasus::CIM_ERR_NOT_FOUND);
    }

    const Pegasus::CIMNamespaceName nameSpace{"root/test"};
    Repository repository;
};

/// MOF that is refused, and the error or its end.
struct Fault : Row
{
    const char* mof;
    std::string fault;
};

class FaultTest : public TestRepository, public testing::WithParamInterface<Fault>
{
protected:
    /// Compiles the row's MOF, and expects that the error ends with `end`.
    void expectFault(const std::string& end)
    {
        const testing::ScopedTrace row(GetParam().file, GetParam().line, GetParam().mof);
        const std::string outcome = outcomeOf([&] { compile(GetParam().mof); });
        EXPECT_EQ(outcome.substr(outcome.size() - std::min(outcome.size(), end.size())), end);
    }
};

}  // namespace cimom
