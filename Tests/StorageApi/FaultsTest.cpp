// Faults on demand, call counts and the record of calls; and the library under many threads.
#include "Simulator.h"

#include <atomic>
#include <chrono>
#include <thread>

namespace
{

class FaultsTest : public SimulatorTest
{
protected:
    FaultsTest()
    {
        serve({{"cages", {Json{{"deviceID", "c"}, {"type", 3}}}},
               {"magazines", {Json{{"deviceID", "m"}, {"parentDeviceID", "c"}}}},
               {"fcals", {Json{{"deviceID", "f"}, {"parentDeviceID", "c"}, {"cageType", 3}}}},
               {"users", {Json{{"name", "u"}, {"privileges", {"*"}}}}}});
    }

    static std::vector<std::string> calls()
    {
        std::vector<std::string> texts;
        for (std::size_t i = 0; i < qbxsim_callRecordSize(); ++i) {
            char buffer[300] = {};
            const std::size_t length = qbxsim_callRecord(i, buffer, sizeof buffer);
            texts.push_back(buffer);
            EXPECT_EQ(length, texts.back().size());
        }
        return texts;
    }
};

TEST_F(FaultsTest, MakesTheChosenCallFailAndDoNothing)
{
    EXPECT_EQ(qbxsim_failCall("api_locateMagazine", 2, 77), 0);
    EXPECT_EQ(api_locateMagazine("c", 0, 9), 0);
    EXPECT_EQ(api_locateMagazine("c", 0, 0), 77);
    EXPECT_TRUE(magazines().at(0).locateON) << "the failing call must not turn it off";
    EXPECT_EQ(api_locateMagazine("c", 0, 0), 0);
    EXPECT_EQ(qbxsim_callCount("api_locateMagazine"), 3u);

    EXPECT_EQ(qbxsim_failCall("api_locateMagazine", 0, 78), 0);
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(api_locateMagazine("c", 0, 0), 78);
    qbxsim_reset();
    EXPECT_EQ(qbxsim_callCount("api_locateMagazine"), 0u);
    EXPECT_EQ(api_locateMagazine("c", 0, 0), 0);
}

TEST_F(FaultsTest, AFailedWaitDoesNotTakeTheSemaphore)
{
    qbxsim_failCall("cim_sem_wait", 1, 5);
    EXPECT_EQ(cim_sem_wait(), 5);
    EXPECT_EQ(cim_sem_wait(), 0);
    cim_sem_post();
}

TEST_F(FaultsTest, AQueryCanFailAndLeaveAListBehind)
{
    qbxsim_failAfterCall("api_getCages_Cached", 1, 9);
    api_CageList_t list = {};
    EXPECT_EQ(api_getCages_Cached(0, &list), 9);
    EXPECT_EQ(list.count, 1u);
    ASSERT_NE(list.cages, nullptr);
    std::free(list.cages);
}

TEST_F(FaultsTest, RefusesAUserWhomTheFileAllows)
{
    EXPECT_EQ(api_qbxOpenForCimserver("u"), 0);
    EXPECT_EQ(qbxsim_refuseUser("u"), 0);
    EXPECT_EQ(api_qbxOpenForCimserver("u"), QBXSIM_REFUSED);
}

TEST_F(FaultsTest, DelaysTheChosenCall)
{
    qbxsim_delayCall("api_getCages_Cached", 2, 60);
    const auto duration = [] {
        const auto start = std::chrono::steady_clock::now();
        cages();
        return std::chrono::steady_clock::now() - start;
    };
    cages();
    EXPECT_GE(duration(), std::chrono::milliseconds(60));
}

TEST_F(FaultsTest, RefusesOperationsThatDoNotExist)
{
    EXPECT_EQ(qbxsim_failCall("api_getCages", 1, 9), QBXSIM_BAD_ARGUMENT);
    EXPECT_EQ(qbxsim_delayCall(nullptr, 1, 9), QBXSIM_BAD_ARGUMENT);
    EXPECT_EQ(qbxsim_loadFile(nullptr), QBXSIM_BAD_ARGUMENT);
}

TEST_F(FaultsTest, RecordsTheCallsInOrderWithArgumentsAndResults)
{
    cages();
    qbxsim_recordCalls(1);
    qbxsim_failCall("api_getFCALs_Cached", 1, 4);
    api_CageHandle_t cage = {};
    api_MagazineIDs_t ids = {};
    api_FCALList_t list = {};
    log_message(4, "--> %d\n", 1);
    api_qbxOpenForCimserver("u");
    api_authorizeCIMUser("u", "a.b");
    cim_sem_wait();
    api_findCageName_Cached("c", &cage);
    cim_sem_post();
    api_locateCage(&cage, 30);
    api_upgradeCage(&cage, 1, "");
    api_findMagazineIDs("none", &ids);
    api_getFCALs_Cached(0, &list);
    api_locateFCALPort(nullptr, 1, 2);
    EXPECT_EQ(calls(), (std::vector<std::string>{
                           "log_message(4, \"--> 1\n\")",
                           "api_qbxOpenForCimserver(\"u\") = 0",
                           "api_authorizeCIMUser(\"u\", \"a.b\") = 0",
                           "cim_sem_wait() = 0",
                           "api_findCageName_Cached(\"c\") = 0",
                           "cim_sem_post()",
                           "api_locateCage(\"c\", 30) = 0",
                           "api_upgradeCage(\"c\", 1, \"\") = 12",
                           "api_findMagazineIDs(\"none\") = 11",
                           "api_getFCALs_Cached(0) = 4",
                           "api_locateFCALPort(null, 1, 2) = 12",
                       }));
    char cut[8] = {};
    EXPECT_EQ(qbxsim_callRecord(3, cut, sizeof cut), std::strlen("cim_sem_wait() = 0"));
    EXPECT_STREQ(cut, "cim_sem");
    EXPECT_EQ(qbxsim_callRecord(99, cut, sizeof cut), 0u);
    qbxsim_recordCalls(0);
    cages();
    EXPECT_EQ(qbxsim_callRecordSize(), 0u);
}

TEST_F(FaultsTest, ServesManyThreadsWhileTheFileChanges)
{
    std::atomic<bool> stop{false};
    std::atomic<int> failures{0};
    std::vector<std::thread> threads;
    const auto run = [&](auto work) {
        threads.emplace_back([&failures, &stop, work] {
            while (!stop)
                if (!work()) ++failures;
        });
    };
    run([] { return cages().size() == 1 && fcals().size() == 1; });
    run([] {
        return api_locateCage(std::make_unique<api_CageHandle_t>(foundCage("c")).get(), 1) == 0;
    });
    run([] { return api_setMagazineLoop("c", 0, 1, 2) == 0 && magazines().size() == 1; });
    run([] { return api_authorizeCIMUser("u", "x") == 0; });
    Json array = Json::parse(read("array.json"));
    for (int i = 0; i < 50; ++i) {
        array["cages"][0]["position"] = i;
        write("array.json.tmp", array.dump());
        std::filesystem::rename(path("array.json.tmp"), path("array.json"));
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    stop = true;
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(failures, 0);
    EXPECT_EQ(cages().at(0).position, 49);
}

}  // namespace
