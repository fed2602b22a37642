// A broker over a small schema, with scripted providers.
#pragma once

#include "Broker/Broker.h"
#include "Broker/Text.h"
#include "Mof/MofCompiler.h"
#include "ScriptedProvider.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace cimom
{

using Lines = std::vector<std::string>;

/// Whether one of the lines contains the text; the lines are the message when none does.
inline ::testing::AssertionResult hasText(const Lines& lines, const std::string& text)
{
    for (const std::string& line : lines) {
        if (line.find(text) != std::string::npos) return ::testing::AssertionSuccess();
    }
    return ::testing::AssertionFailure()
           << "no \"" << text << "\" in " << ::testing::PrintToString(lines);
}
/// Whether one of the lines is this one.
inline ::testing::AssertionResult hasLine(const Lines& lines, const std::string& wanted)
{
    for (const std::string& line : lines) {
        if (line == wanted) return ::testing::AssertionSuccess();
    }
    return ::testing::AssertionFailure()
           << "no line \"" << wanted << "\" in " << ::testing::PrintToString(lines);
}

/// The registration of the module "Scripted" and one provider of it for a class.
inline std::string registration(const std::string& provider, const std::string& className,
                                const std::string& types)
{
    return "instance of PG_Provider { ProviderModuleName=\"Scripted\"; Name=\"" + provider +
           "\"; };\ninstance of PG_ProviderCapabilities { ProviderModuleName=\"Scripted\"; "
           "ProviderName=\"" +
           provider + "\"; CapabilityID=\"" + className + "\"; ClassName=\"" + className +
           "\"; Namespaces={\"Root/Test\"}; ProviderType={" + types + "}; };\n";
}

constexpr const char* scriptedModule =
    "instance of PG_ProviderModule { Name=\"Scripted\"; Vendor=\"us\"; Version=\"1\"; "
    "InterfaceType=\"C++Default\"; InterfaceVersion=\"2.6.0\"; Location=\"Nowhere\"; };\n";

/// "CODE text" of the CIM error that `call` throws; "none" when it throws nothing.
template <class Call>
std::string errorOf(Call call)
{
    try {
        call();
        return "none";
    } catch (const Pegasus::CIMException& error) {
        return std::to_string(error.getCode()) + " " + toUtf8(error.getMessage());
    }
}

template <class Item>
Lines pathsOf(const Pegasus::Array<Item>& items)
{
    Lines paths;
    for (Pegasus::Uint32 i = 0; i < items.size(); ++i) {
        if constexpr (std::is_same_v<Item, Pegasus::CIMObjectPath>) {
            paths.push_back(toUtf8(items[i].toString()));
        } else {
            paths.push_back(toUtf8(items[i].getPath().toString()));
        }
    }
    return paths;
}

/// "Name Name ..." of the instance's properties.
inline std::string propertiesOf(const Pegasus::CIMInstance& instance)
{
    std::string names;
    for (Pegasus::Uint32 i = 0; i < instance.getPropertyCount(); ++i) {
        names += (i == 0 ? "" : " ") + toUtf8(instance.getProperty(i).getName().getString());
    }
    return names;
}

inline Pegasus::CIMPropertyList listOf(std::initializer_list<const char*> names)
{
    Pegasus::Array<Pegasus::CIMName> array;
    for (const char* name : names)
        array.append(Pegasus::CIMName(name));
    return Pegasus::CIMPropertyList(array);
}

class BrokerTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        scripted::resetStage();
        repository.addNamespace(ns);
        repository.addNamespace(options.interopNamespace);
        compile(TEST_SCHEMA, "root/test");
        MofCompiler(repository).compileFile(INTEROP_MOF, Pegasus::CIMNamespaceName("root/interop"));
        compileText(scriptedModule, "root/interop");
        options.hostName = "here";
    }
    void TearDown() override
    {
        ObjectManager::setCurrent(nullptr);
        broker.reset();
    }

    void compile(const char* file, const char* nameSpace)
    {
        MofCompiler(repository).compileFile(file, Pegasus::CIMNamespaceName(nameSpace));
    }
    void compileText(const std::string& mof, const char* nameSpace)
    {
        MofCompiler(repository).compileText(mof, "test", Pegasus::CIMNamespaceName(nameSpace));
    }
    void registerProvider(const std::string& provider, const std::string& className,
                          const std::string& types)
    {
        compileText(registration(provider, className, types), "root/interop");
    }
    /// Starts the broker as the process's object manager, with the registrations so far.
    void start()
    {
        broker = std::make_unique<Broker>(repository, options);
        broker->setModuleFactory("Scripted", scripted::create);
        ObjectManager::setCurrent(broker.get());
    }

    Pegasus::CIMInstance getInstance(const char* path)
    {
        return broker->getInstance(context, ns, Pegasus::CIMObjectPath(path), false, false,
                                   Pegasus::CIMPropertyList());
    }
    Pegasus::Array<Pegasus::CIMInstance> enumerate(const char* className)
    {
        return broker->enumerateInstances(context, ns, Pegasus::CIMName(className), true, false,
                                          false, Pegasus::CIMPropertyList());
    }
    static Lines notes() { return scripted::stage().notes(); }

    Repository repository;
    BrokerOptions options;
    std::unique_ptr<Broker> broker;
    const Pegasus::OperationContext context;
    const Pegasus::CIMNamespaceName ns{"root/test"};
};

}  // namespace cimom
