// What the tests of all providers share: the simulated array, an object manager to ask, handlers
// that keep what they are given, and short ways to build requests and read results.
#pragma once

#include "TestArray.h"

#include "Model/ObjectManager.h"

#include <Pegasus/Common/CIMObject.h>
#include <Pegasus/Common/ResponseHandler.h>
#include <Pegasus/Provider/CIMAssociationProvider.h>
#include <Pegasus/Provider/CIMInstanceProvider.h>
#include <Pegasus/Provider/CIMMethodProvider.h>
#include <Pegasus/Provider/CIMProvider.h>

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <utility>

extern "C" Pegasus::CIMProvider* PegasusCreateProvider(const Pegasus::String& name);

/// "(holds a NUL)" before a text that no C string shows whole.
std::string str(const Pegasus::String& text);
std::string str(const Pegasus::CIMName& name);
/// "TYPE VALUE", "TYPE[] a b", with "null" for a null value.
std::string str(const Pegasus::CIMValue& value);
std::string str(const Pegasus::CIMObjectPath& path);

Texts operator+(Texts first, const Texts& second);

/// The paths of instances, objects or paths.
template <class Result>
Texts pathsIn(const std::vector<Result>& results)
{
    Texts texts;
    for (const Result& result : results) {
        if constexpr (std::is_same_v<Result, Pegasus::CIMObjectPath>)
            texts.push_back(str(result));
        else
            texts.push_back(str(result.getPath()));
    }
    return texts;
}

/// The text in lower or upper case, by std::tolower or std::toupper.
std::string cased(std::string text, int (*change)(int));

/// The parts of a text, without blanks around them.
Texts split(const std::string& text, char separator = ' ');

/// The rows of data/NAME.txt, each of so many fields; fields that end a line may be missing. "\n"
/// and "\t" are a newline and a tab.
std::vector<Texts> table(const std::string& name, std::size_t fields);

// ---- The schema and the object manager ----

/// A class of the schema, as it is stored.
Pegasus::CIMClass storedClass(const char* className);

/// An instance of a class of the schema, with every property at its default.
Pegasus::CIMInstance instanceOf(const Pegasus::CIMName& className);

/// The object manager behind the providers' handle: classes from the schema, instances as the test
/// says. Writes down what it was asked.
class StubObjectManager : public cimom::ObjectManager
{
public:
    StubObjectManager();
    ~StubObjectManager() override;

    /// "getClass USER CLASS QUALIFIERS/ORIGIN [list]", "getInstance USER PATH ...", ...
    Texts asked;
    ///@{
    /// Answers the upcalls: at first with one instance that has no host and namespace, as the
    /// server's have, of what is asked for, or a path with the key Tag "package".
    std::function<Pegasus::CIMInstance(const Pegasus::CIMObjectPath&)> onGetInstance;
    std::function<Pegasus::Array<Pegasus::CIMInstance>(const Pegasus::CIMName&)>
        onEnumerateInstances;
    std::function<Pegasus::Array<Pegasus::CIMObjectPath>(const Pegasus::CIMName&)>
        onEnumerateInstanceNames;
    ///@}

    using Ctx = Pegasus::OperationContext;
    using Ns = Pegasus::CIMNamespaceName;
    Pegasus::CIMClass getClass(const Ctx&, const Ns&, const Pegasus::CIMName&,
                               const cimom::ClassView&) override;
    Pegasus::CIMInstance getInstance(const Ctx&, const Ns&, const Pegasus::CIMObjectPath&,
                                     const cimom::InstanceView&) override;
    Pegasus::Array<Pegasus::CIMInstance> enumerateInstances(const Ctx&, const Ns&,
                                                            const Pegasus::CIMName&, bool deep,
                                                            const cimom::InstanceView&) override;
    Pegasus::Array<Pegasus::CIMObjectPath> enumerateInstanceNames(const Ctx&, const Ns&,
                                                                  const Pegasus::CIMName&) override;

private:
    void note(const char* operation, const Ctx& context, const std::string& object,
              const std::string& flags = "", const Pegasus::CIMPropertyList& list = {});
    std::mutex _lock;
};

// ---- Handlers ----

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

/// What a traversal may ask beside the object.
struct Asked
{
    std::string role;
    std::string resultRole;
    std::string resultClass;
    std::string associationClass;
};

/// Calls a traversal by its name, for qualifiers, no class origins and these properties.
void traverse(Pegasus::CIMAssociationProvider& provider, const std::string& operation,
              const Pegasus::OperationContext& context, const Pegasus::CIMObjectPath& object,
              const Asked& asked, const Pegasus::CIMPropertyList& list, PathHandler& paths,
              ObjectHandler& objects);

// ---- Requests and results ----

/// A log line of a provider, with its level and arguments: "OPERATION>" as it begins, "?" for what
/// was asked, "!" for a refusal, "<" as it ends. See data/traces.txt.
std::string lineOf(const std::string& provider, const std::string& key,
                   const Texts& arguments = {});

/// The call that opens the API for the user of contextOf().
extern const std::string OPEN;

/// A context that names the user.
Pegasus::OperationContext contextOf(const char* user = "joe");

/// "Name=value" keys; a value is a STRING binding.
using Keys = std::vector<std::pair<std::string, std::string>>;
Pegasus::CIMObjectPath pathOf(const std::string& className, const Keys& keys = {},
                              const std::string& host = "server1");

/// The list of these names, separated by blanks.
Pegasus::CIMPropertyList listOf(const std::string& names);

/// A value by its type (bool, u8 to u64, s16, str, ref, sync; with [] an array of values separated
/// by commas) and its text; "null" is a null value. A reference is given by a class, "" for a path
/// without one; a synchronization by the class of its target, "" for none.
Pegasus::CIMValue valueOf(std::string type, const std::string& text);

/// Parameters as "Name=type:text", separated by blanks; see valueOf().
Pegasus::Array<Pegasus::CIMParamValue> parameters(const std::string& texts);

/// The value of a property as str() writes it; "absent" when the instance lacks it.
std::string valueOf(const Pegasus::CIMInstance& instance, const char* property);

/// What an operation throws: "CODE MESSAGE" for a CIM exception, the message for another of the
/// library's; "nothing" when it returns.
std::string thrownBy(const std::function<void()>& operation);

// ---- The fixture ----

/// Ends a provider as the server does.
struct Terminate
{
    void operator()(Pegasus::CIMProvider* provider) const { provider->terminate(); }
};
using ProviderPtr = std::unique_ptr<Pegasus::CIMProvider, Terminate>;

/// A provider of the module by its name, not yet initialized.
ProviderPtr create(const std::string& name);

/// A fresh array and object manager; one initialized provider when asked.
class ProviderTest : public testing::Test
{
protected:
    /// Creates the provider, initializes it and forgets what was recorded so far.
    template <class Interface>
    Interface& start(const std::string& name)
    {
        _provider = create(name);
        Pegasus::CIMOMHandle handle;
        _provider->initialize(handle);
        array.forget();
        cimom.asked.clear();
        return dynamic_cast<Interface&>(*_provider);
    }

    TestArray array;
    StubObjectManager cimom;

private:
    ProviderPtr _provider;
};
