// Providers that call back, and threads.
#include "BrokerFixture.h"

#include <Pegasus/Provider/CIMOMHandle.h>

#include <atomic>
#include <future>
#include <thread>

PEGASUS_USING_PEGASUS;

namespace cimom
{
namespace
{

/// The names of the class's instances as a provider gets them.
std::string upcall(const char* className)
{
    return answerOf(
        [&] { return Text::of(CIMOMHandle().enumerateInstanceNames({}, "root/test", className)); });
}

using Providers = BrokerTest;

TEST_F(Providers, MayAskOthersWhileTheyInitializeButNotThemselves)
{
    Lines answers;
    scripted::stage.onNote = [&](const std::string& line) {
        if (line == "initialize Leaf")
            answers = {upcall("T_Side"), upcall("T_Static"), upcall("T_Leaf")};
    };
    EXPECT_EQ(upcall("T_Leaf"), "[T_Leaf.Id=1]");
    EXPECT_EQ(answers,
              (Lines{"[T_Side.Id=1]",
                     "[T_Static.Id=1,Number=1 T_Static.Id=2,Number=2 "
                     "T_StaticSub.Id=3,Number=3]",
                     "1 The provider \"Leaf\" is being initialized and made a request that "
                     "needs itself. Make that request after initialize()."}));
}

TEST_F(Providers, AreInitializedOnceAndThenCalledSideBySide)
{
    constexpr int threads = 4;
    std::atomic<int> arrived{0}, inside{0};
    scripted::stage.onNote = [&](const std::string& line) {
        const bool isCall = line.find(" EIN ") != std::string::npos;
        std::atomic<int>& count = isCall ? inside : arrived;
        if (isCall) ++inside;
        while (line.rfind("create", 0) != 0 && count < threads)
            std::this_thread::yield();
    };
    std::vector<std::future<std::string>> calls;
    for (int i = 0; i < threads; ++i) {
        calls.push_back(std::async(std::launch::async, [&] {
            ++arrived;
            return upcall("T_Leaf");
        }));
    }
    for (auto& call : calls)
        EXPECT_EQ(call.get(), "[T_Leaf.Id=1]");
    const std::string call = "Leaf EIN //here/root/test:T_Leaf";
    EXPECT_EQ(notes(), (Lines{"create Leaf", "initialize Leaf", call, call, call, call}));
}

TEST_F(Providers, ThatCallThemselvesWithoutEndGetAnError)
{
    std::string deepest;
    scripted::stage.onNote = [&](const std::string& line) {
        const std::string answer = line.find(" EIN ") == std::string::npos ? "" : upcall("T_Leaf");
        if (deepest.empty()) deepest = answer;
    };
    EXPECT_EQ(upcall("T_Leaf"), "[T_Leaf.Id=1]");
    EXPECT_EQ(deepest, "1 A provider calls itself without end.");
    EXPECT_EQ(upcall("T_Leaf"), "[T_Leaf.Id=1]") << "the calls are counted down again";
}

TEST_F(Providers, WhoseLibraryChangesWhileItIsLoadedAreToldOfOnce)
{
    const std::filesystem::path library = PROVIDER_FOLDER "/libLoadableProvider.so";
    EXPECT_EQ(upcall("T_Loaded") + upcall("T_Loaded"), "[T_Loaded.Id=1][T_Loaded.Id=1]");
    EXPECT_EQ(notes(), Lines{});
    std::filesystem::last_write_time(library, std::filesystem::file_time_type::clock::now());
    EXPECT_EQ(upcall("T_Loaded") + upcall("T_Loaded"), "[T_Loaded.Id=1][T_Loaded.Id=1]");
    ASSERT_EQ(notes().size(), 1u);
}

TEST_F(Providers, AreRegisteredWithoutMistakes)
{
    checkCases(CIMOM_TESTS "Broker/registrations.txt", [this](const std::string& mof) {
        Repository other;
        other.addNamespace(interopNamespace);
        compileMof(other, interopNamespace, INTEROP_MOF);
        compileMofText(other, interopNamespace, mof, "test");
        return answerOf([&] {
            const Broker started(other, options);
            return "started";
        });
    });
}

}  // namespace
}  // namespace cimom
