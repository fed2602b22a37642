// How an array file gets into service and stays there, what the queries promise to their callers;
// the semaphore and the log. Users and their privileges: the tests of the wire.
#include "Simulator.h"

#include <atomic>
#include <cerrno>
#include <future>
#include <regex>
#include <thread>

namespace
{

class ServiceTest : public SimulatorTest
{
protected:
    void serveCage(const char* name)
    {
        array_["cages"] = {{{"deviceID", name}, {"type", 0}}};
        serve();
    }

    void serveFaults(const char* faults)
    {
        array_["faults"] = Json::parse(faults);
        serve();
    }

    /// The log, without time, thread, file name and the simulator's own name.
    std::string logged() const
    {
        const std::regex head(
            R"(\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}[+-]\d\d:\d\d (\d) \[\d+\] )"),
            frame("simulated array[:,] |" + path("array.json") + ":? ?");
        return std::regex_replace(std::regex_replace(read("log"), head, "$1 "), frame, "");
    }

    static std::string firstCage() { return cages().at(0).deviceID; }
};

// ---- The array file ----

TEST_F(ServiceTest, FailsUntilThereIsAnArrayFile)
{
    std::filesystem::remove(path("array.json"));
    api_StorageArray_t record = {};
    EXPECT_EQ(api_getStorageArray(&record), QBXSIM_NO_ARRAY);
    EXPECT_EQ(api_qbxOpenForCimserver("admin"), QBXSIM_NO_ARRAY);
    serve();
    EXPECT_EQ(api_getStorageArray(&record), 0);
    EXPECT_EQ(logged(),
              "2 No such file or directory (no array is in service until it is mended)\n"
              "2 no hardware: is in service now\n");
}

TEST_F(ServiceTest, ServesAChangedFileAtTheNextQuery)
{
    for (const char* const name : {"a", "b", "a", "b", "a", "b"}) {
        serveCage(name);
        EXPECT_EQ(firstCage(), name) << "same file and size, and within one tick of its clock";
    }
}

TEST_F(ServiceTest, ServesAChangedFileWhenTheLastChangeIsLongAgo)
{
    serveCage("a");
    const auto now = std::filesystem::last_write_time(path("array.json"));
    std::filesystem::last_write_time(path("array.json"), now - std::chrono::hours(1));
    EXPECT_EQ(firstCage() + firstCage(), "aa");
    serveCage("b");
    EXPECT_EQ(firstCage(), "b");
}

TEST_F(ServiceTest, KeepsTheArrayWhenTheSameContentsAreWrittenAgain)
{
    for (int time = 0; time < 2; ++time) {
        serveCage("a");
        EXPECT_EQ(firstCage(), "a");
    }
    EXPECT_EQ(logged(), "3 no hardware: is in service\n");
}

TEST_F(ServiceTest, RefusesAFileOfMoreThan512MiB)
{
    std::filesystem::resize_file(path("array.json"), (std::uintmax_t{512} << 20) + 1);
    api_StorageArray_t record = {};
    EXPECT_EQ(api_getStorageArray(&record), QBXSIM_NO_ARRAY);
    EXPECT_EQ(logged(), "2 File too large (no array is in service until it is mended)\n");
}

TEST_F(ServiceTest, LeavesTheLastGoodArrayInServiceWhileTheFileIsBadOrAway)
{
    serveCage("good");
    EXPECT_EQ(firstCage(), "good");
    write("array.json", "{}");
    EXPECT_EQ(firstCage() + firstCage(), "goodgood");
    serveCage("mended");
    EXPECT_EQ(firstCage() + firstCage(), "mendedmended");
    std::filesystem::remove(path("array.json"));
    EXPECT_EQ(firstCage() + firstCage(), "mendedmended");
    EXPECT_EQ(logged(),
              "3 no hardware: is in service\n"
              "2 1: /: field 'storageArray' is missing (the array read before stays in service)\n"
              "2 no hardware: is in service again\n"
              "2 No such file or directory (the array read before stays in service)\n");
}

// ---- Faults of the array file ----

TEST_F(ServiceTest, FaultHitsTheNumberedCallOrEveryOther)
{
    serveFaults(R"([{"operation": "cim_sem_wait", "code": 5},
                    {"operation": "cim_sem_wait", "call": 2, "delay": 50}])");
    EXPECT_EQ(cim_sem_wait(), 5);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(cim_sem_wait(), 0);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(50));
    cim_sem_post();
    EXPECT_EQ(cim_sem_wait(), 5);
    EXPECT_EQ(logged(), "3 no hardware: is in service, with faults on demand: 2\n");
}

TEST_F(ServiceTest, FaultKeepsTheCallFromItsWork)
{
    for (const char* const address : {"192.0.2.1", "192.0.2.2"}) {
        array_["nodeIPaddress"] = address;  // calls count anew with another file
        serveFaults(R"([{"operation": "api_locateMagazine", "call": 2, "code": -7}])");
        EXPECT_EQ(api_locateMagazine("dc2", 1, 60), 0) << address;
        EXPECT_EQ(api_locateMagazine("dc2", 1, 0), -7) << address;
        EXPECT_EQ(records(api_getMagazines_Cached, &api_MagazineList_t::mags)[0].locateON, 1);
    }
}

// ---- Queries ----

TEST_F(ServiceTest, AnswersOnlyCachedQueriesFromTheCacheUntilItsTimeIsOver)
{
    char address[10] = {};
    array_["cacheSeconds"] = 1000;
    serveCage("old");
    EXPECT_EQ(firstCage(), "old");
    array_["nodeIPaddress"] = "192.0.2.2";
    serveCage("new");
    EXPECT_EQ(api_getNodeIPaddress(address, 9), QBXSIM_BAD_ARGUMENT);
    EXPECT_EQ(api_getNodeIPaddress(address, 10), 0);
    EXPECT_STREQ(address, "192.0.2.2");
    qbxsim_advanceClock(500);
    EXPECT_EQ(firstCage(), "old");
    qbxsim_advanceClock(500);
    EXPECT_EQ(firstCage(), "new");
}

TEST_F(ServiceTest, RefusesNullArgumentsAndListsThatAreNotZeroed)
{
    api_CageList_t list = {7, nullptr};
    EXPECT_EQ(api_getCages_Cached(0, &list), QBXSIM_BAD_ARGUMENT);
    EXPECT_EQ(api_locateCage(nullptr, 1), QBXSIM_BAD_ARGUMENT);
}

TEST_F(ServiceTest, LeavesManufacturingDataOutOfNoMfgLists)
{
    const auto vendor = [](const auto& list) { return std::string(list.at(0).mfg.vendor); };
    EXPECT_EQ(vendor(cages()), "V");
    EXPECT_EQ(vendor(records(api_getCagesNoMfg_Cached, &api_CageList_t::cages)), "");
    EXPECT_EQ(vendor(records(api_getMagazinesNoMfg_Cached, &api_MagazineList_t::mags)), "");
    EXPECT_EQ(vendor(records(api_getFCALsNoMfg_Cached, &api_FCALList_t::fcals)), "");
}

const std::string DIGITS = "12345678901234567890123456789012345678901234567890123456789012345";

TEST_F(ServiceTest, FindsCagesByTheirWholeName)
{
    api_CageHandle_t handle = {};
    EXPECT_EQ(api_findCageName_Cached(DIGITS.c_str(), &handle), 0);
    EXPECT_EQ(api_findCageName_Cached((DIGITS + '6').c_str(), &handle), QBXSIM_NOT_FOUND);
    EXPECT_EQ(api_findCageName_Cached("dc", &handle), QBXSIM_NOT_FOUND);
}

TEST_F(ServiceTest, FindsMagazinesAndCardsWhoseCageNameFits)
{
    api_MagazineIDs_t ids = {};
    EXPECT_EQ(api_findMagazineIDs("m42", &ids), 0);
    EXPECT_EQ(std::string(ids.cageName, 42), DIGITS.substr(0, 42)) << "full, so not terminated";
    EXPECT_EQ(api_findMagazineIDs("m43", &ids), QBXSIM_NOT_SUPPORTED);
    EXPECT_EQ(api_findMagazineIDs("gone", &ids), QBXSIM_NOT_FOUND);
    char name[API_ID_SIZE] = {};
    EXPECT_EQ(api_findCageNameForFCAL("f64", name), 0);
    EXPECT_EQ(name, DIGITS.substr(0, 64));
    EXPECT_EQ(api_findCageNameForFCAL("f65", name), QBXSIM_NOT_SUPPORTED);
}

// ---- Semaphore ----

TEST_F(ServiceTest, SemaphoreLetsOneThreadInAtATime)
{
    std::atomic<int> inside{0};
    const auto work = [&] {
        for (int round = 0; round < 200; ++round) {
            EXPECT_EQ(api_locateMagazine("dc2", 1, 1), 0) << "needs no semaphore";
            EXPECT_EQ(cim_sem_wait(), 0);
            EXPECT_EQ(++inside, 1);
            std::this_thread::yield();
            --inside;
            cim_sem_post();
        }
    };
    const auto other = std::async(std::launch::async, work);
    work();
}

TEST_F(ServiceTest, LogsMisuseOfTheSemaphore)
{
    setenv("QBX_SIM_STRICT", "0", 1);
    cim_sem_post();
    EXPECT_EQ(cim_sem_wait(), 0);
    EXPECT_EQ(cim_sem_wait(), EDEADLK) << "the stray post must not have counted";
    std::thread(cim_sem_post).join();
    EXPECT_EQ(cim_sem_wait(), EDEADLK) << "nor that of a thread that does not hold it";
    cim_sem_post();
    EXPECT_NE(logged().find("cim_sem_post without a cim_sem_wait"), std::string::npos);
}

TEST_F(ServiceTest, AbortsOnMisuseOfTheSemaphoreWhenStrict)
{
    setenv("QBX_SIM_STRICT", "1", 1);
    EXPECT_DEATH(cim_sem_post(), "misuse of the Storage-system API: cim_sem_post without");
    EXPECT_DEATH(static_cast<void>(cim_sem_wait() + cim_sem_wait()), "would wait for ever");
}

// ---- Log ----

TEST_F(ServiceTest, LogHasMessagesUpToItsLevel)
{
    std::string expected;
    for (const auto& [level, line] : {std::pair("2", ""), std::pair("3", "3 rejected\n"),
                                      std::pair("much", "3 rejected\n")}) {  // that is no level
        setenv("QBX_LOG_LEVEL", level, 1);
        qbxsim_reset();
        log_message(4, "trace");
        log_message(3, "rejected");
        log_message(2, "failure");
        expected += std::string(line) + "2 failure\n";
        EXPECT_EQ(logged(), expected) << "level " << level;
    }
}

TEST_F(ServiceTest, LogHasOneLineForAMessageWithControlCharactersEscaped)
{
    const std::string longText(100000, 'x');
    log_message(3, "%5d|%-4s|%c\n\n", 42, "a\nb", 'z');
    log_message(2, "%s", "%s\x1B[2J \t\x7F K\xC3\x84 \xFF \xC2\x9B[2J \x9B[2J");
    log_message(2, "%s", longText.c_str());
    EXPECT_EQ(logged(),
              "3    42|a\\nb |z\n"
              "2 %s\\x1B[2J \t\\x7F K\xC3\x84 \xFF \\x9B[2J \\x9B[2J\n"
              "2 " +
                  longText + '\n');
}

}  // namespace
