// A broker over a small schema, with scripted providers.
#pragma once

#include "../../Row.h"
#include "Broker/Broker.h"
#include "Model/Errors.h"
#include "Model/Text.h"
#include "Mof/MofCompiler.h"
#include "ScriptedProvider.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace cimom
{

/// What `call` returns, or the error as a client sees it.
template <class Call>
std::string outcomeOf(Call call)
{
    try {
        return call();
    } catch (...) {
        return toUtf8(describe(currentError()));
    }
}

/// "done", or the error of the call as a client sees it.
template <class Call>
std::string errorOf(Call call)
{
    return outcomeOf([&]() -> std::string {
        call();
        return "done";
    });
}

/// The MOF that registers lib<location>.so as a module.
inline std::string moduleMof(const std::string& name, const std::string& location)
{
    return "instance of PG_ProviderModule { Name=\"" + name +
           "\"; Vendor=\"v\"; Version=\"1\"; InterfaceType=\"C++Default\"; "
           "InterfaceVersion=\"2.6.0\"; Location=\"" +
           location + "\"; };\n";
}

/// The MOF that registers a provider for a class in Root/Test; `types` as in "2, 5".
inline std::string providerMof(const std::string& module, const std::string& provider,
                               const std::string& className, const std::string& types)
{
    const std::string owner = "ProviderModuleName=\"" + module + "\"; ";
    return "instance of PG_Provider { " + owner + "Name=\"" + provider +
           "\"; };\ninstance of PG_ProviderCapabilities { " + owner + "ProviderName=\"" + provider +
           "\"; CapabilityID=\"" + className + "\"; ClassName=\"" + className +
           "\"; Namespaces={\"Root/Test\"}; ProviderType={" + types + "}; };\n";
}

inline CIMPropertyList listOf(std::initializer_list<const char*> names)
{
    Array<CIMName> list;
    for (const char* name : names)
        list.append(CIMName(name));
    return CIMPropertyList(list);
}

/// Fixture: schema.mof in root/test, served by scripted providers called Base, Leaf, Side, Machine,
/// Link and LinkSub, and the broker of all as the process's object manager.
class BrokerTest : public ::testing::Test
{
protected:
    BrokerTest()
    {
        me.insert(Pegasus::IdentityContainer(Pegasus::String("me")));
        repository.addNamespace(test);
        compileMof(repository, test, CIMOM_TESTS "Broker/schema.mof");
        repository.addNamespace(interopNamespace);
        compileMof(repository, interopNamespace, INTEROP_MOF);
        registerMof(moduleMof("Scripted", "Nowhere"));
        for (const std::string name : {"Base", "Leaf", "Side"})
            registerMof(providerMof("Scripted", name, "T_" + name, "2"));
        registerMof(providerMof("Scripted", "Machine", "T_Machine", "3, 5"));
        registerMof(providerMof("Scripted", "Link", "T_Link", "2, 3"));
        registerMof(providerMof("Scripted", "LinkSub", "T_LinkSub", "2, 3"));
        options.hostName = "here";
        options.providerFolders = {"/nonexistent", PROVIDER_FOLDER, CIMOM_FOLDER};
        start();
    }
    ~BrokerTest() override
    {
        ObjectManager::current = nullptr;
        broker.reset();
        scripted::reset();
    }

    void registerMof(const std::string& mof)
    {
        compileMofText(repository, interopNamespace, mof, "registration");
    }
    /// Makes the broker, anew after changes of registrations or options.
    void start()
    {
        broker = std::make_unique<Broker>(repository, options);
        broker->setModuleFactory("Scripted", scripted::create);
        ObjectManager::current = broker.get();
    }

    // Results as text; errors are thrown.
    Lines names(const char* className)
    {
        return texts(broker->enumerateInstanceNames(me, test, CIMName(className), PathForm::Local));
    }
    Lines instances(const char* className, bool deep = true, const InstanceView& view = {})
    {
        return texts(
            broker->enumerateInstances(me, test, CIMName(className), deep, view, PathForm::Local));
    }
    /// The instance or the error.
    std::string get(const char* path, const InstanceView& view = {})
    {
        const CIMObjectPath name(path);
        return outcomeOf([&] { return text(broker->getInstance(me, test, name, view)); });
    }

    const CIMNamespaceName test = CIMNamespaceName("root/test");
    OperationContext me;  ///< of the user "me"
    Repository repository;
    BrokerOptions options;
    std::unique_ptr<Broker> broker;
};

/// The same for a table: failures name the row.
template <class RowType, class Base = BrokerTest>
class BrokerTableTest : public Base, public ::testing::WithParamInterface<RowType>
{
    const ::testing::ScopedTrace row_{this->GetParam().file, this->GetParam().line,
                                      this->GetParam().name};
};

}  // namespace cimom
