// What the tests of all providers share: the schema, an object manager to ask, handlers that keep
// what they are given, and short ways to build requests and read results.
#pragma once

#include "RecordingApi.h"

#include "Broker/Broker.h"

#include <Pegasus/Common/CIMDateTime.h>
#include <Pegasus/Common/ResponseHandler.h>
#include <Pegasus/Provider/CIMInstanceProvider.h>
#include <Pegasus/Provider/CIMMethodProvider.h>
#include <Pegasus/Provider/CIMProvider.h>
#include <Pegasus/Provider/ProviderException.h>

#include <gtest/gtest.h>

#include <functional>
#include <initializer_list>
#include <map>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

extern "C" Pegasus::CIMProvider* PegasusCreateProvider(const Pegasus::String& name);

using Texts = std::vector<std::string>;

std::string str(const Pegasus::String& text);
std::string str(const Pegasus::CIMName& name);
/// "TYPE VALUE", "TYPE[] a b", with "null" for a null value.
std::string str(const Pegasus::CIMValue& value);
std::string str(const Pegasus::CIMObjectPath& path);
Texts strs(const std::vector<Pegasus::CIMObjectPath>& paths);

/// Properties or parameters by name.
using Named = std::pair<const char*, Pegasus::CIMValue>;
using Values = std::map<std::string, std::string>;

/// The object manager behind the providers' handle: classes from the schema, instances as the test
/// says. Writes down what it was asked.
class StubObjectManager : public cimom::Broker
{
public:
    StubObjectManager();
    ~StubObjectManager() override;

    /// "getClass CLASS localOnly/qualifiers/origin [list]", "getInstance USER PATH", ...
    Texts asked;
    /// Answers the upcalls; a test that expects none leaves them empty.
    std::function<Pegasus::CIMInstance(const Pegasus::CIMObjectPath&)> onGetInstance;
    std::function<Pegasus::Array<Pegasus::CIMInstance>(const Pegasus::CIMName&)>
        onEnumerateInstances;
    std::function<Pegasus::Array<Pegasus::CIMObjectPath>(const Pegasus::CIMName&)>
        onEnumerateInstanceNames;

    Pegasus::CIMClass getClass(const Ctx&, const Ns&, const Pegasus::CIMName&, bool, bool, bool,
                               const Pegasus::CIMPropertyList&) override;
    Pegasus::CIMInstance getInstance(const Ctx&, const Ns&, const Pegasus::CIMObjectPath&, bool,
                                     bool, const Pegasus::CIMPropertyList&) override;
    Pegasus::Array<Pegasus::CIMInstance> enumerateInstances(
        const Ctx&, const Ns&, const Pegasus::CIMName&, bool, bool, bool,
        const Pegasus::CIMPropertyList&) override;
    Pegasus::Array<Pegasus::CIMObjectPath> enumerateInstanceNames(const Ctx&, const Ns&,
                                                                  const Pegasus::CIMName&) override;

private:
    void note(const std::string& question);
    std::mutex _lock;
};

/// A handler that keeps what is delivered, and the order of its calls ("processing", "deliver 2",
/// "complete"; a single result is "deliver").
template <class Base, class Result>
class KeepingHandler : public Base
{
public:
    std::vector<Result> results;
    Texts steps;
    bool refuses = false;  ///< deliver() throws

    void processing() override { steps.push_back("processing"); }
    void complete() override { steps.push_back("complete"); }
    void deliver(const Result& result) override
    {
        if (refuses) throw std::runtime_error("not delivered");
        steps.push_back("deliver");
        results.push_back(result);
    }
    void deliver(const Pegasus::Array<Result>& delivered) override
    {
        if (refuses) throw std::runtime_error("not delivered");
        steps.push_back("deliver " + std::to_string(delivered.size()));
        for (Pegasus::Uint32 i = 0; i < delivered.size(); ++i)
            results.push_back(delivered[i]);
    }
};

using InstanceHandler = KeepingHandler<Pegasus::InstanceResponseHandler, Pegasus::CIMInstance>;
using PathHandler = KeepingHandler<Pegasus::ObjectPathResponseHandler, Pegasus::CIMObjectPath>;
using ObjectHandler = KeepingHandler<Pegasus::ObjectResponseHandler, Pegasus::CIMObject>;

class MethodHandler : public Pegasus::MethodResultResponseHandler
{
public:
    Texts steps;

    void processing() override { steps.push_back("processing"); }
    void complete() override { steps.push_back("complete"); }
    void deliver(const Pegasus::CIMValue& value) override
    {
        steps.push_back("deliver " + str(value));
    }
    void deliverParamValue(const Pegasus::CIMParamValue&) override { steps.push_back("parameter"); }
    void deliverParamValue(const Pegasus::Array<Pegasus::CIMParamValue>&) override
    {
        steps.push_back("parameters");
    }
};

class PlainHandler : public Pegasus::ResponseHandler
{
public:
    Texts steps;
    void processing() override { steps.push_back("processing"); }
    void complete() override { steps.push_back("complete"); }
};

/// What a method delivers, or what it throws, as `MethodCase::result`.
std::string invoke(Pegasus::CIMMethodProvider& provider, const char* method,
                   const Pegasus::Array<Pegasus::CIMParamValue>& in,
                   const Pegasus::CIMObjectPath& path);

/// A log line of a provider, with its level and arguments: "OPERATION>" as it begins, "?" for what
/// was asked, "!" for a refusal, "<" as it ends.
std::string lineOf(const std::string& provider, const std::string& key,
                   const Texts& arguments = {});

/// A context that names the user.
Pegasus::OperationContext contextOf(const char* user = "joe");

/// "Name=value" keys; a value is a STRING binding.
using Keys = std::vector<std::pair<std::string, std::string>>;
Pegasus::CIMObjectPath pathOf(const std::string& className, const Keys& keys = {},
                              const std::string& host = "server1");
Pegasus::CIMPropertyList listOf(std::initializer_list<const char*> names);

/// The value of a property as str() writes it; "absent" when the instance lacks it.
std::string valueOf(const Pegasus::CIMInstance& instance, const char* property);

/// The properties that have a value, but those that hold the class default.
Values valuesOf(const Pegasus::CIMInstance& instance);

Pegasus::Array<Pegasus::CIMParamValue> parameters(std::initializer_list<Named> values);
Pegasus::CIMValue nullOf(Pegasus::CIMType type);

/// What an operation throws: "CODE MESSAGE" for a CIM exception, the message for another of the
/// library's; "nothing" when it returns.
std::string thrownBy(const std::function<void()>& operation);

/// Ends a provider as the server does.
struct Terminate
{
    void operator()(Pegasus::CIMProvider* provider) const { provider->terminate(); }
};
using ProviderPtr = std::unique_ptr<Pegasus::CIMProvider, Terminate>;

/// A provider of the module by its name, not yet initialized.
ProviderPtr create(const char* name);

/// Fixture: a fresh recording API and object manager; one initialized provider when asked.
class ProviderTest : public testing::Test
{
protected:
    ProviderTest();

    /// Creates the provider, initializes it and forgets what was recorded so far.
    template <class Interface>
    Interface& start(const char* name)
    {
        _provider = create(name);
        Pegasus::CIMOMHandle handle;
        _provider->initialize(handle);
        api.events.clear();
        cimom.asked.clear();
        return dynamic_cast<Interface&>(*_provider);
    }

    RecordingApi& api;
    StubObjectManager cimom;

private:
    ProviderPtr _provider;
};

/// What a call of a method does with its parameters.
struct MethodCase
{
    const char* what;
    const char* method;
    Pegasus::Array<Pegasus::CIMParamValue> in;
    std::string result;  ///< "deliver TYPE VALUE", or what is thrown
    std::string action;  ///< the API call after the lookup; empty for none
};

/// Fixture of one provider of elements.
template <class Provider>
class ElementTest : public ProviderTest
{
protected:
    explicit ElementTest(const char* name) : provider(start<Provider>(name)) {}

    std::vector<Pegasus::CIMInstance> instances(
        const std::string& className,
        const Pegasus::CIMPropertyList& list = Pegasus::CIMPropertyList())
    {
        InstanceHandler handler;
        provider.enumerateInstances(contextOf(), pathOf(className), false, false, list, handler);
        return handler.results;
    }

    Texts names(const std::string& className)
    {
        PathHandler handler;
        provider.enumerateInstanceNames(contextOf(), pathOf(className), handler);
        return strs(handler.results);
    }

    /// The path of the instance that is delivered, or what is thrown.
    std::string get(const Pegasus::CIMObjectPath& path)
    {
        InstanceHandler handler;
        const std::string thrown = thrownBy([&] {
            provider.getInstance(contextOf(), path, false, false, Pegasus::CIMPropertyList(),
                                 handler);
        });
        return thrown == "nothing" ? str(handler.results.at(0).getPath()) : thrown;
    }

    /// Every row on that object, with the calls that must follow in order and no others. Actions
    /// fail with -7, which is the method's return value.
    void expectMethods(const Pegasus::CIMObjectPath& path, const std::string& lookup,
                       const std::vector<MethodCase>& rows)
    {
        for (const char* action : {"api_locateCage", "api_upgradeCage", "api_setMagazineLoop",
                                   "api_locateMagazine", "api_locateFCALPort"})
            api.status[action] = -7;
        for (const MethodCase& row : rows) {
            SCOPED_TRACE(row.what);
            api.events.clear();
            EXPECT_EQ(invoke(provider, row.method, row.in, path), row.result);
            Pegasus::String key = path.getClassName().getString() + "." + row.method;
            key.toLower();
            Texts calls = {"api_qbxOpenForCimserver(joe)",
                           "api_authorizeCIMUser(joe, " + str(key) + ")"};
            if (!lookup.empty())
                calls.insert(calls.end(), {"cim_sem_wait()", lookup, "cim_sem_post()"});
            if (!row.action.empty())
                calls.insert(calls.end(), {"cim_sem_wait()", row.action, "cim_sem_post()"});
            EXPECT_EQ(api.calls(), calls);
        }
        api.status.clear();
    }

    Provider& provider;
};

// Records with everything zero but what is said.
api_Cage_t cage(const std::string& tag, int type);
api_Magazine_t magazine(const std::string& tag, const std::string& cageTag, int cageType);
api_FCAL_t card(const std::string& tag, const std::string& cageTag, int cageType);
api_sensor_t sensor(uint16_t reading, uint16_t low, uint16_t high);
