// A repository filled from schema.mof and further MOF, and what it holds then as text.
#pragma once

#include "Model/Text.h"
#include "Mof/MofCompiler.h"
#include "Repository/Repository.h"

#include <Pegasus/Common/Exception.h>

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>

inline std::string text(const Pegasus::CIMName& name)
{
    return cimom::toUtf8(name.getString());
}

/// "{Name=value ...}", inherited ones with a leading ^; nothing when there are none.
inline void show(std::ostream& out, const cimom::Qualifiers& qualifiers)
{
    const char* before = "{";
    for (const cimom::Qualifier& qualifier : qualifiers) {
        out << before << (qualifier.propagated ? "^" : "") << text(qualifier.name) << "="
            << cimom::toUtf8(qualifier.value.toString());
        before = " ";
    }
    if (!qualifiers.empty()) out << "}";
}

/// "TYPE[SIZE] Name"; the type of a reference is its class.
template <class Element>
void show(std::ostream& out, Pegasus::CIMType type, bool isArray, const Element& element)
{
    const bool isReference = type == Pegasus::CIMTYPE_REFERENCE;
    out << (isReference ? text(element.referenceClassName) : Pegasus::cimTypeToString(type));
    if (isArray) out << "[" << element.arraySize << "]";
    out << " " << text(element.name);
}

/// "TYPE Name/Origin=value{qualifiers}", an inherited one with a leading ^; null shows no value.
inline void show(std::ostream& out, const cimom::Property& property)
{
    out << (property.propagated ? " ^" : " ");
    show(out, property.value.getType(), property.value.isArray(), property);
    out << "/" << text(property.classOrigin);
    if (!property.value.isNull()) out << "=" << cimom::toUtf8(property.value.toString());
    show(out, property.qualifiers);
}

/// "TYPE Name/Origin{qualifiers}(parameters)", an inherited one with a leading ^.
inline void show(std::ostream& out, const cimom::Method& method)
{
    out << (method.propagated ? " ^" : " ") << Pegasus::cimTypeToString(method.type) << " "
        << text(method.name) << "/" << text(method.classOrigin);
    show(out, method.qualifiers);
    const char* before = "(";
    for (const cimom::Parameter& parameter : method.parameters) {
        out << std::exchange(before, ", ");
        show(out, parameter.type, parameter.isArray, parameter);
        show(out, parameter.qualifiers);
    }
    out << (method.parameters.empty() ? "()" : ")");
}

template <class ClassOrInstance>
std::string show(const ClassOrInstance& object)
{
    std::ostringstream out;
    out << text(object.path.getClassName());
    show(out, object.qualifiers);
    for (const auto& property : object.properties)
        show(out, *property);
    if constexpr (std::is_same_v<ClassOrInstance, cimom::Class>)
        for (const auto& method : object.methods)
            show(out, *method);
    return out.str();
}

/// What the operation refuses with: "CODE text" or a fault in MOF; "" when it does not.
template <class Operation>
std::string refusal(Operation operation)
{
    try {
        operation();
    } catch (const Pegasus::CIMException& e) {
        return std::to_string(e.getCode()) + " " + cimom::toUtf8(e.getMessage());
    } catch (const std::runtime_error& e) {
        return e.what();
    }
    return "";
}

struct TestRepository
{
    TestRepository()
    {
        repository.addNamespace(ns);
        cimom::MofCompiler(repository).compileFile(TEST_FOLDER "/../Repository/schema.mof", ns);
    }

    /// "LINE:COLUMN: fault", or what the text made of class T and of T_Middle's instances.
    std::string compile(const std::string& mof)
    {
        std::string all = refusal([&] { cimom::MofCompiler(repository).compileText(mof, "", ns); });
        if (!all.empty()) return all.substr(1);
        if (const cimom::ClassPtr made = repository.findClass(ns, "T")) all = show(*made);
        for (const Pegasus::CIMInstance& instance : repository.instancesOf(ns, "T_Middle"))
            all += show(instance.object());
        return all;
    }

    const Pegasus::CIMNamespaceName ns{"root/test"};
    cimom::Repository repository;
};

/// Compiles every text of the file, each below a line "= " with what has to come of it.
inline void checkCases(const char* file)
{
    std::ifstream stream(file);
    std::vector<std::pair<std::string, std::string>> cases;
    for (std::string line; std::getline(stream, line);) {
        if (line.compare(0, 2, "= ") == 0)
            cases.emplace_back(line.substr(2), "");
        else if (!cases.empty())
            cases.back().second += line + "\n";
    }
    EXPECT_GT(cases.size(), 10U) << file;
    for (const auto& [expected, mof] : cases)
        EXPECT_EQ(TestRepository().compile(mof), expected) << mof;
}
