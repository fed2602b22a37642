// Providers from the loading of their library to their end, and what they ask of the object manager
// themselves.
#include "BrokerFixture.h"

#include <Pegasus/Provider/CIMOMHandle.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <future>
#include <thread>
#include <unistd.h>

PEGASUS_USING_PEGASUS;

namespace cimom
{
namespace
{

/// The name of the class's first instance as a provider gets it, "none", or the error.
std::string upcall(const char* className)
{
    return outcomeOf([&] {
        const auto paths = CIMOMHandle().enumerateInstanceNames({}, "root/test", className);
        return paths.size() == 0 ? "none" : text(paths[0]);
    });
}

using ProviderLife = BrokerTest;
using ProviderLibrary = BrokerTest;
using Upcall = BrokerTest;

TEST_F(ProviderLife, BeginsAtTheFirstRequestAndEndsInReverseOrderOfRegistration)
{
    EXPECT_EQ(scripted::lifecycle, Lines{});
    for (const char* className : {"T_Side", "T_Leaf", "T_Side"})
        names(className);
    broker.reset();
    EXPECT_EQ(scripted::lifecycle, (Lines{"create Side", "initialize Side", "create Leaf",
                                          "initialize Leaf", "terminate Side", "terminate Leaf"}));
}

TEST_F(ProviderLife, BeginsAnewAfterInitializationFailed)
{
    scripted::provider("Leaf").onInitialize = [] { throw 5; };
    EXPECT_EQ(upcall("T_Leaf"), "CIM_ERR_FAILED: provider initialization failed");
    scripted::provider("Leaf").onInitialize = nullptr;
    EXPECT_EQ(upcall("T_Leaf"), "T_Leaf.Id=1");
    EXPECT_EQ(scripted::lifecycle, (Lines{"create Leaf", "initialize Leaf", "terminate Leaf",
                                          "create Leaf", "initialize Leaf"}));
}

/// Waits for others to arrive; false when they do not.
bool meet(std::atomic<int>& missing)
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::minutes(2);
    --missing;
    while (missing > 0 && std::chrono::steady_clock::now() < end)
        std::this_thread::yield();
    return missing <= 0;
}

TEST_F(ProviderLife, HasOneInitializationAndCallsFromSeveralThreadsAtOnce)
{
    std::atomic<int> outside{4}, inside{4};
    scripted::provider("Leaf").onPaths = [&](ObjectPathResponseHandler& handler) {
        if (meet(inside)) handler.deliver(CIMObjectPath("T_Leaf.Id=1"));
        handler.complete();
    };
    const auto call = [&] {
        return meet(outside) ? upcall("T_Leaf") : "the threads did not start";
    };
    std::vector<std::future<std::string>> calls;
    for (int i = 0; i < 4; ++i)
        calls.push_back(std::async(std::launch::async, call));
    for (auto& each : calls)
        EXPECT_EQ(each.get(), "T_Leaf.Id=1") << "none: a call had to wait for another one";
    EXPECT_EQ(scripted::lifecycle, (Lines{"create Leaf", "initialize Leaf"}));
}

// ---- Libraries ----

/// A registered library and provider that cannot be had, and the error.
struct MissingProvider : Row
{
    std::string location;
    std::string provider;
    std::string error;
};

using ProviderThatCannotBeLoaded = BrokerTableTest<MissingProvider>;

TEST_P(ProviderThatCannotBeLoaded, IsAnErrorOfEachRequest)
{
    registerMof(moduleMof("Module", GetParam().location));
    registerMof(providerMof("Module", GetParam().provider, "T_Loaded", "2"));
    start();
    EXPECT_EQ(upcall("T_Loaded"), "CIM_ERR_FAILED: " + GetParam().error);
    EXPECT_EQ(upcall("T_Loaded"), "CIM_ERR_FAILED: " + GetParam().error);
}

#define NOT_A_LIBRARY PROVIDER_FOLDER "/libNotALibrary.so"
const MissingProvider missingProviders[] = {
    {"NoFile", "Nowhere", "P",
     "File \"libNowhere.so\" was not found for provider module \"Module\"."},
    {"NotALibrary", "NotALibrary", "P",
     "ProviderLoadFailure (" NOT_A_LIBRARY ":P):Cannot load library, error: " NOT_A_LIBRARY
     ": file too short"},
    {"NoEntryPoint", "cimom", "P",
     "ProviderLoadFailure (" CIMOM_FOLDER "/libcimom.so:P):entry point not found."},
    {"NoProviderOfThatName", "LoadableProvider", "Missing",
     "ProviderLoadFailure (" PROVIDER_FOLDER
     "/libLoadableProvider.so:Missing):provider is not a CIMProvider."},
};
INSTANTIATE_TEST_SUITE_P(Of, ProviderThatCannotBeLoaded, ::testing::ValuesIn(missingProviders),
                         NameOfRow());

/// The library of a registered provider, which a test can replace. Each has a file of its own: what
/// was loaded stays.
class ReplacedLibrary : public BrokerTest
{
protected:
    ReplacedLibrary()
    {
        std::filesystem::create_directory(folder);
        registerMof(moduleMof("Module", "Replaced"));
        registerMof(providerMof("Module", "P", "T_Loaded", "2"));
        options.providerFolders = {folder};
    }
    ~ReplacedLibrary() override { std::filesystem::remove_all(folder); }

    void replaceBy(const char* name) const
    {
        std::filesystem::remove(library);
        std::filesystem::copy(std::string(PROVIDER_FOLDER "/") + name, library);
    }

    const std::filesystem::path folder =
        testing::TempDir() + testing::UnitTest::GetInstance()->current_test_info()->name() +
        std::to_string(getpid());
    const std::filesystem::path library = folder / "libReplaced.so";
};

TEST_F(ReplacedLibrary, IsLoggedOnceWhenItHasChanged)
{
    replaceBy("libLoadableProvider.so");
    Lines log;
    options.log = [&log](const std::string& line) {
        log.push_back(line.substr(0, line.find(':', 9)));
    };
    start();
    EXPECT_EQ(upcall("T_Loaded") + upcall("T_Loaded"), "T_Loaded.Id=1T_Loaded.Id=1");
    EXPECT_EQ(log, Lines{});
    last_write_time(library, last_write_time(library) + std::chrono::seconds(1));
    EXPECT_EQ(upcall("T_Loaded") + upcall("T_Loaded"), "T_Loaded.Id=1T_Loaded.Id=1");
    EXPECT_EQ(log, Lines{"warning: " + library.string() + " has changed since it was loaded"});
}

TEST_F(ReplacedLibrary, IsLoadedAfterOneWithoutEntryPoint)
{
    replaceBy("libNoEntryPoint.so");
    start();
    EXPECT_EQ(upcall("T_Loaded"), "CIM_ERR_FAILED: ProviderLoadFailure (" + library.string() +
                                      ":P):entry point not found.");
    replaceBy("libLoadableProvider.so");
    EXPECT_EQ(upcall("T_Loaded"), "T_Loaded.Id=1");
}

TEST_F(ProviderLibrary, MustOfferTheInterfaceOfTheOperation)
{
    registerMof(providerMof("Scripted", "Bare", "T_Loaded", "2, 5"));
    start();
    Array<CIMParamValue> out;
    EXPECT_EQ(upcall("T_Loaded"), "CIM_ERR_NOT_SUPPORTED: Invalid provider interface.");
    EXPECT_EQ(errorOf([&] { broker->invokeMethod(me, test, String("T_Loaded"), "Run", {}, out); }),
              "CIM_ERR_NOT_SUPPORTED: Invalid provider interface.");
}

// ---- Requests of providers ----

TEST_F(Upcall, IsForTheUserOfTheContextOrNobody)
{
    CIMOMHandle().enumerateInstanceNames({}, "root/test", "T_Leaf");
    CIMOMHandle().enumerateInstanceNames(me, "root/test", "T_Leaf");
    EXPECT_EQ(scripted::calls,
              (Lines{"Leaf enumerateInstanceNames //here/root/test:T_Leaf",
                     "Leaf enumerateInstanceNames //here/root/test:T_Leaf by me"}));
}

TEST_F(Upcall, DuringInitializationIsRejectedWhenItNeedsThatProvider)
{
    std::string error;
    scripted::provider("Leaf").onInitialize = [&] { error = upcall("T_Leaf"); };
    EXPECT_EQ(upcall("T_Leaf"), "T_Leaf.Id=1");
    EXPECT_EQ(error,
              "CIM_ERR_FAILED: The provider \"Leaf\" is being initialized and made a request that "
              "needs itself. Make that request after initialize().");
}

TEST_F(Upcall, IsRejectedAtADepthOfSixteen)
{
    int depth = 0;
    std::string deepest;
    scripted::provider("Leaf").onPaths = [&](ObjectPathResponseHandler& handler) {
        ++depth;
        const std::string result = upcall("T_Leaf");
        if (deepest.empty()) deepest = result;
        handler.complete();
    };
    EXPECT_EQ(upcall("T_Leaf"), "none");
    EXPECT_EQ(deepest, "CIM_ERR_FAILED: A provider calls itself without end.");
    EXPECT_EQ(depth, 16);
    upcall("T_Leaf");
    EXPECT_EQ(depth, 32) << "the calls of the first request are counted down again";
}

}  // namespace
}  // namespace cimom
