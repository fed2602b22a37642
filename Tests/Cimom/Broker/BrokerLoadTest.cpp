// Loading and initializing providers, upcalls and their limits.
#include "BrokerFixture.h"

#include <Pegasus/Provider/CIMOMHandle.h>

#include <atomic>
#include <condition_variable>
#include <filesystem>
#include <future>
#include <stdexcept>
#include <thread>

PEGASUS_USING_PEGASUS;

namespace cimom
{
namespace
{

class BrokerLoad : public BrokerTest
{
protected:
    void SetUp() override
    {
        BrokerTest::SetUp();
        registerProvider("One", "T_Base", "2");
        registerProvider("Two", "T_Leaf", "2");
        registerProvider("Missing", "T_Side", "2");
        registerProvider("Bare", "T_Machine", "2,5");
    }
    /// A request to provider One or Two.
    std::string ask(const char* className)
    {
        return errorOf([&] {
            broker->getInstance(context, ns, CIMObjectPath(String(className) + String(".Id=\"1\"")),
                                false, false, CIMPropertyList());
        });
    }
    /// The same through the handle that providers are given.
    static std::string askHandle(CIMOMHandle& handle, const char* className)
    {
        return errorOf([&] {
            handle.getInstance(OperationContext(), CIMNamespaceName("root/test"),
                               CIMObjectPath(String(className) + String(".Id=\"1\"")), false, false,
                               false, CIMPropertyList());
        });
    }
};

TEST_F(BrokerLoad, EachProviderIsCreatedAtItsFirstRequestAndTerminatedOnce)
{
    start();
    EXPECT_EQ(notes(), Lines{});
    EXPECT_EQ(ask("T_Leaf"), "none");
    EXPECT_EQ(ask("T_Leaf"), "none");
    EXPECT_EQ(ask("T_Base"), "none");
    const std::string leaf = "Two GI //here/root/test:T_Leaf.Id=\"1\" iq=0 co=0 pl=null";
    EXPECT_EQ(notes(),
              (Lines{"create Two", "initialize Two", leaf, leaf, "create One", "initialize One",
                     "One GI //here/root/test:T_Base.Id=\"1\" iq=0 co=0 pl=null"}));
    broker.reset();
    EXPECT_EQ(notes(), (Lines{"terminate Two", "terminate One"}));
}

TEST_F(BrokerLoad, AProviderThatThrowsInInitializeIsTerminatedAndTriedAgain)
{
    start();
    int attempts = 0;
    scripted::stage().onInitialize = [&](const std::string&, CIMOMHandle&) {
        if (++attempts < 3) throw std::runtime_error("not yet");
    };
    EXPECT_EQ(ask("T_Leaf"), "1 provider initialization failed");
    EXPECT_EQ(notes(), (Lines{"create Two", "initialize Two", "terminate Two"}));
    EXPECT_EQ(errorOf([&] { enumerate("T_Mid"); }), "1 provider initialization failed");
    EXPECT_EQ(ask("T_Leaf"), "none");
}

TEST_F(BrokerLoad, LoadFailuresSayWhatIsMissing)
{
    start();
    EXPECT_EQ(ask("T_Side"),
              "1 ProviderLoadFailure (libNowhere.so:Missing):provider is not a CIMProvider.");
    EXPECT_EQ(ask("T_Machine"), "7 Invalid provider interface.");
    EXPECT_EQ(errorOf([&] {
                  Array<CIMParamValue> out;
                  broker->invokeMethod(context, ns, CIMObjectPath("T_Machine"), CIMName("Run"),
                                       Array<CIMParamValue>(), out);
              }),
              "7 Invalid provider interface.");

    Broker without(repository, options);
    EXPECT_EQ(errorOf([&] { without.enumerateInstanceNames(context, ns, CIMName("T_Side")); }),
              "1 File \"libNowhere.so\" was not found for provider module \"Scripted\".");
    EXPECT_THROW(without.setModuleFactory("Other", scripted::create), std::invalid_argument);
}

TEST_F(BrokerLoad, InitializeMayAskOthersButNotItself)
{
    start();
    Lines answers;
    scripted::stage().onInitialize = [&](const std::string& name, CIMOMHandle& handle) {
        answers.push_back(name + " asks T_Base: " + askHandle(handle, "T_Base"));
        answers.push_back(name + " asks T_Static: " + askHandle(handle, "T_Static"));
    };
    EXPECT_EQ(ask("T_Leaf"), "none");
    const std::string refused =
        "1 The provider \"One\" is being initialized and made a request that needs itself. Make "
        "that request after initialize().";
    EXPECT_EQ(answers,
              (Lines{"One asks T_Base: " + refused, "One asks T_Static: 6 T_Static.Id=\"1\"",
                     "Two asks T_Base: none", "Two asks T_Static: 6 T_Static.Id=\"1\""}));
}

TEST_F(BrokerLoad, OtherThreadsWaitForTheOneThatInitializes)
{
    start();
    constexpr int others = 4;
    std::promise<void> begun;
    std::atomic<int> arriving{0};
    scripted::stage().onInitialize = [&](const std::string&, CIMOMHandle&) {
        begun.set_value();
        while (arriving < others)
            std::this_thread::yield();
        std::this_thread::sleep_for(std::chrono::milliseconds(20));  // most of them wait by now
    };
    std::vector<std::future<std::string>> calls;
    calls.push_back(std::async(std::launch::async, [&] { return ask("T_Leaf"); }));
    begun.get_future().wait();
    EXPECT_EQ(errorOf([&] { getInstance("T_Static.Id=\"one\",Number=1"); }), "none");
    for (int i = 0; i < others; ++i) {
        calls.push_back(std::async(std::launch::async, [&] {
            ++arriving;
            return ask("T_Leaf");
        }));
    }
    for (auto& call : calls)
        EXPECT_EQ(call.get(), "none");
    const Lines noted = notes();
    EXPECT_EQ(std::count(noted.begin(), noted.end(), "create Two"), 1);
}

TEST_F(BrokerLoad, WaitersDoNotWaitForEver)
{
    options.initializeWait = std::chrono::milliseconds(20);
    start();
    std::promise<void> begun;
    std::promise<void> released;
    scripted::stage().onInitialize = [&](const std::string&, CIMOMHandle&) {
        begun.set_value();
        released.get_future().wait();
        throw std::runtime_error("too late");
    };
    auto first = std::async(std::launch::async, [&] { return ask("T_Leaf"); });
    begun.get_future().wait();
    EXPECT_EQ(ask("T_Leaf"),
              "1 The provider \"Two\" is still being initialized by another request. Try again "
              "later.");
    released.set_value();
    EXPECT_EQ(first.get(), "1 provider initialization failed");
}

TEST_F(BrokerLoad, WaitersShareTheFailure)
{
    start();
    std::promise<void> begun;
    std::atomic<bool> arriving{false};
    std::atomic<int> attempts{0};
    scripted::stage().onInitialize = [&](const std::string&, CIMOMHandle&) {
        if (++attempts > 1) return;
        begun.set_value();
        while (!arriving)
            std::this_thread::yield();
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        throw std::runtime_error("no");
    };
    auto first = std::async(std::launch::async, [&] { return ask("T_Leaf"); });
    begun.get_future().wait();
    arriving = true;
    const std::string second = ask("T_Leaf");
    EXPECT_EQ(first.get(), "1 provider initialization failed");
    // A thread that came too late to wait has made the next attempt.
    EXPECT_EQ(second, attempts == 1 ? "1 provider initialization failed" : "none");
    EXPECT_EQ(ask("T_Leaf"), "none");
}

TEST_F(BrokerLoad, ProvidersThatNeedEachOtherToInitializeGetAnErrorNotADeadlock)
{
    start();
    std::atomic<int> inside{0};
    std::mutex mutex;
    Lines answers;
    scripted::stage().onInitialize = [&](const std::string& name, CIMOMHandle& handle) {
        ++inside;
        while (inside < 2)
            std::this_thread::yield();
        const std::string answer = askHandle(handle, name == "One" ? "T_Leaf" : "T_Base");
        const std::lock_guard<std::mutex> lock(mutex);
        answers.push_back(answer);
    };
    auto one = std::async(std::launch::async, [&] { return ask("T_Base"); });
    auto two = std::async(std::launch::async, [&] { return ask("T_Leaf"); });
    EXPECT_EQ(one.get(), "none");
    EXPECT_EQ(two.get(), "none");
    ASSERT_EQ(answers.size(), 2u);
    EXPECT_TRUE(hasText(answers, "made a request that needs itself"));
    EXPECT_TRUE(hasLine(answers, "none"));
}

TEST_F(BrokerLoad, ProvidersMayAskOneAnotherToALimitedDepth)
{
    options.callDepth = 5;
    start();
    CIMOMHandle handle;
    Lines answers;
    Lines users;
    scripted::stage().onCall = [&](const std::string&, const OperationContext& ctx) {
        const IdentityContainer identity = ctx.get(IdentityContainer::NAME);
        users.push_back(toUtf8(identity.getUserName()));
        answers.push_back(errorOf([&] {
            handle.enumerateInstanceNames(ctx, CIMNamespaceName("root/test"), CIMName("T_Leaf"));
        }));
    };
    OperationContext callers;
    callers.insert(IdentityContainer("caller"));
    broker->enumerateInstanceNames(callers, ns, CIMName("T_Leaf"));
    EXPECT_EQ(users, (Lines{"caller", "caller", "caller", "caller", "caller"}));
    ASSERT_EQ(answers.size(), 5u);
    EXPECT_TRUE(hasText({answers[0]}, "1 The request was not made: 5 provider calls"));
    EXPECT_EQ(Lines(answers.begin() + 1, answers.end()), (Lines{"none", "none", "none", "none"}));

    scripted::stage().onCall = nullptr;
    EXPECT_EQ(ask("T_Leaf"), "none") << "the depth is given back";
}

TEST_F(BrokerLoad, ManyThreadsUseOneProviderAtOnce)
{
    start();
    std::mutex mutex;
    std::condition_variable allThere;
    int inside = 0;
    scripted::stage().onCall = [&](const std::string&, const OperationContext&) {
        std::unique_lock<std::mutex> lock(mutex);
        ++inside;
        allThere.notify_all();
        allThere.wait(lock, [&] { return inside == 4; });
    };
    std::vector<std::future<std::string>> calls;
    for (int i = 0; i < 4; ++i) {
        calls.push_back(std::async(std::launch::async, [&] { return ask("T_Leaf"); }));
    }
    for (auto& call : calls)
        EXPECT_EQ(call.get(), "none");
}

/// Modules that are really loaded with dlopen; the test's build makes the libraries.
class BrokerLibrary : public BrokerTest
{
protected:
    void load(const std::string& location, const std::string& provider)
    {
        compileText(
            "instance of PG_ProviderModule { Name=\"Real\"; Vendor=\"us\"; Version=\"1\"; "
            "InterfaceType=\"C++Default\"; InterfaceVersion=\"2.5.0\"; Location=\"" +
                location +
                "\"; };\ninstance of PG_Provider { ProviderModuleName=\"Real\"; Name=\"" +
                provider +
                "\"; };\ninstance of PG_ProviderCapabilities { "
                "ProviderModuleName=\"Real\"; ProviderName=\"" +
                provider +
                "\"; CapabilityID=\"1\"; ClassName=\"T_Base\"; "
                "Namespaces={\"root/test\"}; ProviderType={2}; };",
            "root/interop");
        options.providerFolders = {"/nonexistent", PROVIDER_FOLDER};
        broker = std::make_unique<Broker>(repository, options);
    }
    std::string failure()
    {
        return errorOf([&] { broker->enumerateInstanceNames(context, ns, CIMName("T_Base")); });
    }
};

TEST_F(BrokerLibrary, ServesRequestsFromALoadedLibrary)
{
    load("LoadableProvider", "Loadable");
    EXPECT_EQ(pathsOf(broker->enumerateInstanceNames(context, ns, CIMName("T_Base"))),
              (Lines{"T_Base.Id=\"Loadable\"", "T_Base.Id=\"calls: 1\""}));
    EXPECT_EQ(pathsOf(broker->enumerateInstanceNames(context, ns, CIMName("T_Base"))),
              (Lines{"T_Base.Id=\"Loadable\"", "T_Base.Id=\"calls: 2\""}));
}

TEST_F(BrokerLibrary, SaysThatTheLibraryHasNoSuchProvider)
{
    load("LoadableProvider", "Unknown");
    EXPECT_EQ(failure(), "1 ProviderLoadFailure (" + std::string(PROVIDER_FOLDER) +
                             "/libLoadableProvider.so:Unknown):provider is not a CIMProvider.");
}

TEST_F(BrokerLibrary, SaysThatTheEntryPointIsMissing)
{
    load("NoEntryPoint", "Any");
    const std::string error = "1 ProviderLoadFailure (" + std::string(PROVIDER_FOLDER) +
                              "/libNoEntryPoint.so:Any):entry point not found.";
    EXPECT_EQ(failure(), error);
    EXPECT_EQ(failure(), error) << "and again";
}

TEST_F(BrokerLibrary, SaysWhyAFileIsNoLibrary)
{
    load("NotALibrary", "Any");
    EXPECT_TRUE(hasText({failure()}, "libNotALibrary.so:Any):Cannot load library, error: "));
}

}  // namespace
}  // namespace cimom
