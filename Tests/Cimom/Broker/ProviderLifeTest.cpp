// Providers from the loading of their library to their end, and what they ask of the object manager
// themselves.
#include "BrokerFixture.h"

#include <Pegasus/Provider/CIMOMHandle.h>

#include <chrono>
#include <condition_variable>
#include <filesystem>
#include <future>
#include <mutex>
#include <unistd.h>

PEGASUS_USING_PEGASUS;

namespace cimom
{
namespace
{

/// The names of the class's instances as a provider gets them, or the error.
std::string upcall(const char* className)
{
    return outcomeOf([&] {
        const auto paths = CIMOMHandle().enumerateInstanceNames({}, "root/test", className);
        return paths.size() == 0 ? "none" : text(paths[0]);
    });
}

using Loading = BrokerTest;
using Life = BrokerTest;
using Upcalls = BrokerTest;

TEST_F(Life, BeginsAtTheFirstRequestAndEndsInTurnWithTheBroker)
{
    EXPECT_EQ(scripted::takeLifecycle(), Lines{});
    for (const char* name : {"T_Side", "T_Leaf", "T_Side"})
        broker->enumerateInstanceNames(me, test, name);
    EXPECT_EQ(scripted::takeLifecycle(),
              (Lines{"create Side", "initialize Side", "create Leaf", "initialize Leaf"}));
    broker.reset();
    EXPECT_EQ(scripted::takeLifecycle(), (Lines{"terminate Side", "terminate Leaf"}))
        << "the last registered first";
}

TEST_F(Life, StartsAnewAfterInitializationFailed)
{
    scripted::provider("Leaf").onInitialize = [] { throw 5; };
    const auto names = [&] { broker->enumerateInstanceNames(me, test, "T_Leaf"); };
    EXPECT_EQ(errorOf(names), "CIM_ERR_FAILED: provider initialization failed");
    EXPECT_EQ(scripted::takeLifecycle(), (Lines{"create Leaf", "initialize Leaf", "terminate Leaf"}));
    scripted::provider("Leaf").onInitialize = nullptr;
    EXPECT_EQ(errorOf(names), "no error");
    EXPECT_EQ(scripted::takeLifecycle(), (Lines{"create Leaf", "initialize Leaf"}));
}

/// Waits for several threads to meet; false when they do not.
class Meeting
{
public:
    explicit Meeting(int threads) : missing_(threads) {}
    bool arrive()
    {
        std::unique_lock<std::mutex> lock(mutex_);
        if (--missing_ == 0) all_.notify_all();
        return all_.wait_for(lock, std::chrono::minutes(2), [this] { return missing_ <= 0; });
    }

private:
    std::mutex mutex_;
    std::condition_variable all_;
    int missing_;
};

TEST_F(Life, CallsAProviderFromSeveralThreadsAtOnceAndInitializesItOnce)
{
    constexpr int threads = 4;
    Meeting before(threads), inside(threads);
    std::atomic<bool> haveMet{true};
    scripted::provider("Leaf").onEnumerateInstanceNames = [&](ObjectPathResponseHandler& handler) {
        if (!inside.arrive()) haveMet = false;
        handler.complete();
    };
    std::vector<std::future<std::string>> calls;
    for (int i = 0; i < threads; ++i) {
        calls.push_back(std::async(std::launch::async, [&before] {
            before.arrive();
            return upcall("T_Leaf");
        }));
    }
    for (auto& call : calls)
        EXPECT_EQ(call.get(), "none");
    EXPECT_TRUE(haveMet) << "one call had to wait for another";
    EXPECT_EQ(scripted::takeLifecycle(), (Lines{"create Leaf", "initialize Leaf"}));
}

// ---- Libraries ----

/// A registered module and provider that cannot be had, and what clients are told.
struct MissingProvider : Row
{
    std::string location;
    std::string provider;
    std::string error;
};

class ProviderThatCannotBeHad : public BrokerTableTest<MissingProvider>
{
};

TEST_P(ProviderThatCannotBeHad, IsAnErrorOfEachRequest)
{
    registerMof(moduleMof("Module", GetParam().location));
    registerMof(providerMof("Module", GetParam().provider, "T_Loaded", "2"));
    start();
    for (int request = 1; request <= 2; ++request) {
        EXPECT_EQ(errorOf([&] { broker->enumerateInstanceNames(me, test, "T_Loaded"); }),
                  "CIM_ERR_FAILED: " + GetParam().error)
            << "request " << request;
    }
}

const MissingProvider missingProviders[] = {
    {"NoFile", "Nowhere", "P",
     "File \"libNowhere.so\" was not found for provider module \"Module\"."},
    {"NotALibrary", "NotALibrary", "P",
     "ProviderLoadFailure (" PROVIDER_FOLDER "/libNotALibrary.so:P):Cannot load library, error: "
     PROVIDER_FOLDER "/libNotALibrary.so: file too short"},
    {"NoEntryPoint", "cimom", "P",
     "ProviderLoadFailure (" CIMOM_FOLDER "/libcimom.so:P):entry point not found."},
    {"NoProviderOfThatName", "LoadableProvider", "Missing",
     "ProviderLoadFailure (" PROVIDER_FOLDER
     "/libLoadableProvider.so:Missing):provider is not a CIMProvider."},
};
INSTANTIATE_TEST_SUITE_P(Of, ProviderThatCannotBeHad, ::testing::ValuesIn(missingProviders),
                         NameOfRow());

TEST_F(Loading, LogsOnceThatALibraryHasChanged)
{
    const std::filesystem::path folder =
        std::filesystem::temp_directory_path() / ("broker_test." + std::to_string(getpid()));
    const std::filesystem::path library = folder / "libLoadableProvider.so";
    std::filesystem::create_directory(folder);
    std::filesystem::copy(PROVIDER_FOLDER "/libLoadableProvider.so", library);
    options.providerFolders = {folder};
    registerMof(moduleMof("Module", "LoadableProvider"));
    registerMof(providerMof("Module", "P", "T_Loaded", "2"));
    Lines log;
    options.log = [&log](const std::string& line) { log.push_back(line); };
    start();
    EXPECT_EQ(upcall("T_Loaded"), "T_Loaded.Id=1");
    EXPECT_EQ(upcall("T_Loaded"), "T_Loaded.Id=1");
    EXPECT_EQ(log, Lines{});
    const auto written = std::filesystem::last_write_time(library);
    std::filesystem::last_write_time(library, written + std::chrono::seconds(1));
    EXPECT_EQ(upcall("T_Loaded"), "T_Loaded.Id=1");
    EXPECT_EQ(upcall("T_Loaded"), "T_Loaded.Id=1");
    std::filesystem::remove_all(folder);
    ASSERT_EQ(log.size(), 1U);
    const std::string expected = "warning: " + library.string() + " has changed since it was loaded";
    EXPECT_EQ(log[0].substr(0, expected.size()), expected);
}

TEST_F(Loading, RejectsAProviderWithoutTheInterfaceOfTheOperation)
{
    registerMof(providerMof("Scripted", "Bare", "T_Loaded", "2, 5"));
    start();
    Array<CIMParamValue> out;
    EXPECT_EQ(upcall("T_Loaded"), "CIM_ERR_NOT_SUPPORTED: Invalid provider interface.");
    EXPECT_EQ(errorOf([&] {
                  broker->invokeMethod(me, test, CIMObjectPath("T_Loaded.Id=1"), "Run", {}, out);
              }),
              "CIM_ERR_NOT_SUPPORTED: Invalid provider interface.");
}

// ---- Requests of providers ----

TEST_F(Upcalls, AreForAnUnnamedUserUnlessTheProviderPassesItsContext)
{
    upcall("T_Leaf");
    CIMOMHandle().enumerateInstanceNames(me, "root/test", "T_Leaf");
    EXPECT_EQ(scripted::takeCalls(),
              (Lines{"Leaf enumerateInstanceNames //here/root/test:T_Leaf",
                     "Leaf enumerateInstanceNames //here/root/test:T_Leaf by me"}));
}

TEST_F(Upcalls, ReachOtherProvidersDuringInitialization)
{
    Lines results;
    scripted::provider("Leaf").onInitialize = [&] {
        results = {upcall("T_Side"), upcall("T_Static")};
    };
    upcall("T_Leaf");
    EXPECT_EQ(results, (Lines{"T_Side.Id=1", "T_Static.Id=1,Number=1"}));
}

TEST_F(Upcalls, ThatNeedTheProviderThatIsBeingInitializedAreRejected)
{
    std::string error;
    scripted::provider("Leaf").onInitialize = [&] { error = upcall("T_Leaf"); };
    EXPECT_EQ(upcall("T_Leaf"), "T_Leaf.Id=1");
    EXPECT_EQ(error,
              "CIM_ERR_FAILED: The provider \"Leaf\" is being initialized and made a request that "
              "needs itself. Make that request after initialize().");
}

TEST_F(Upcalls, WithoutEndAreRejectedAtSomeDepth)
{
    int depth = 0;
    std::string deepest;
    scripted::provider("Leaf").onEnumerateInstanceNames = [&](ObjectPathResponseHandler& handler) {
        ++depth;
        const std::string result = upcall("T_Leaf");
        if (deepest.empty()) deepest = result;
        handler.complete();
    };
    for (const int request : {1, 2}) {  // the calls of the first are counted down again
        depth = 0;
        deepest.clear();
        EXPECT_EQ(upcall("T_Leaf"), "none") << "request " << request;
        EXPECT_EQ(deepest, "CIM_ERR_FAILED: A provider calls itself without end.");
        EXPECT_EQ(depth, 16) << "request " << request;
    }
}

}  // namespace
}  // namespace cimom
