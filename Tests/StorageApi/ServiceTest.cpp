// How an array file gets into service and stays there, what the queries promise to their callers,
// who may do what; the semaphore and the log.
#include "Simulator.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <ctime>
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
    EXPECT_NE(logged().find("2 No such file or directory (no array is in service until it is "
                            "mended)\n"),
              std::string::npos);
    EXPECT_NE(logged().find("2 no hardware: is in service now\n"), std::string::npos);
}

TEST_F(ServiceTest, ServesAChangedFileAtTheNextQuery)
{
    serveCage("a");
    EXPECT_EQ(firstCage(), "a");
    serveCage("b");
    EXPECT_EQ(firstCage(), "b") << "same file and size, and within one tick of its clock";
    EXPECT_EQ(logged(), "3 no hardware: is in service\n3 no hardware: is in service\n");
}

TEST_F(ServiceTest, ServesAChangedFileWhenTheLastChangeIsLongAgo)
{
    serveCage("a");
    const std::time_t change = std::time(nullptr);
    while (std::time(nullptr) - change < 4)  // the time of the file tells a change from then on
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    EXPECT_EQ(firstCage() + firstCage(), "aa");
    serveCage("b");
    EXPECT_EQ(firstCage(), "b");
    std::filesystem::rename(path("array.json"), path("b.json"));
    serveCage("c");
    EXPECT_EQ(firstCage(), "c");
    std::filesystem::rename(path("b.json"), path("array.json"));
    EXPECT_EQ(firstCage(), "b");
}

class BadFileTest : public ServiceTest
{
protected:
    BadFileTest()
    {
        serveCage("good");
        EXPECT_EQ(firstCage(), "good");
        write("log", "");
    }
};

TEST_F(BadFileTest, LeavesTheLastGoodArrayInService)
{
    write("array.json", "{}");
    EXPECT_EQ(firstCage() + firstCage(), "goodgood");
    EXPECT_EQ(logged(),
              "2 1: /: field 'storageArray' is missing (the array read before stays in "
              "service)\n");
    serveCage("mended");
    EXPECT_EQ(firstCage(), "mended");
    EXPECT_NE(logged().find(")\n2 no hardware: is in service again\n"), std::string::npos);
}

TEST_F(BadFileTest, MayBeMissing)
{
    std::filesystem::rename(path("array.json"), path("away"));
    EXPECT_EQ(firstCage() + firstCage(), "goodgood");
    std::filesystem::rename(path("away"), path("array.json"));
    EXPECT_EQ(firstCage(), "good");
    EXPECT_EQ(logged(),
              "2 No such file or directory (the array read before stays in service)\n"
              "2 no hardware: is in service again\n");
}

TEST_F(BadFileTest, MayBeUnreadableForATime)
{
    serveCage("next");
    withLimit(RLIMIT_NOFILE, 0, [] { EXPECT_EQ(firstCage() + firstCage(), "goodgood"); });
    EXPECT_EQ(firstCage(), "next") << "the file is as it was when it could not be read";
    EXPECT_EQ(logged(),
              "2 Too many open files (the array read before stays in service)\n"
              "2 no hardware: is in service again\n");
}

// ---- Faults of the array file ----

class FileFaultTest : public ServiceTest
{
protected:
    void serveFaults(const char* faults)
    {
        array_["faults"] = Json::parse(faults);
        serve();
    }
};

TEST_F(FileFaultTest, HitsTheNumberedCallOrEveryOther)
{
    serveFaults(R"([{"operation": "cim_sem_wait", "code": 5},
                    {"operation": "cim_sem_wait", "call": 2, "delay": 1}])");
    EXPECT_EQ(cim_sem_wait(), 5);
    EXPECT_EQ(cim_sem_wait(), 0);
    cim_sem_post();
    EXPECT_EQ(cim_sem_wait(), 5);
    EXPECT_NE(logged().find("is in service, with faults on demand: 2\n"), std::string::npos);
}

TEST_F(FileFaultTest, KeepsTheCallFromItsWork)
{
    serveFaults(R"([{"operation": "api_locateMagazine", "call": 2, "code": -7}])");
    EXPECT_EQ(api_locateMagazine("dc2", 1, 60), 0);
    EXPECT_EQ(api_locateMagazine("dc2", 1, 0), -7);
    EXPECT_EQ(records(api_getMagazines_Cached, &api_MagazineList_t::mags)[0].locateON, 1);
    EXPECT_EQ(api_locateMagazine("dc2", 1, 0), 0);
}

TEST_F(FileFaultTest, DelaysTheCall)
{
    serveFaults(R"([{"operation": "api_locateMagazine", "delay": 300}])");
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(api_locateMagazine("dc2", 1, 60), 0);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(300));
}

TEST_F(FileFaultTest, CountsCallsSinceTheFileCameIntoService)
{
    const char* const second = R"([{"operation": "api_locateMagazine", "call": 2, "code": -7}])";
    for (const char* const address : {"192.0.2.1", "192.0.2.2"}) {
        array_["nodeIPaddress"] = address;
        serveFaults(second);
        EXPECT_EQ(api_locateMagazine("dc2", 1, 60), 0);
        EXPECT_EQ(api_locateMagazine("dc2", 1, 60), -7);
    }
}

TEST_F(FileFaultTest, ComesAfterThoseOfTheHeader)
{
    serveFaults(R"([{"operation": "cim_sem_wait", "code": 5}])");
    qbxsim_failCall("cim_sem_wait", 2, 9);
    EXPECT_EQ(cim_sem_wait(), 5);
    EXPECT_EQ(cim_sem_wait(), 9);
    EXPECT_EQ(cim_sem_wait(), 5);
}

// ---- Queries ----

TEST_F(ServiceTest, AnswersCachedQueriesFromTheCacheUntilItsTimeIsOver)
{
    array_["cacheSeconds"] = 1000;
    serveCage("old");
    EXPECT_EQ(firstCage(), "old");
    serveCage("new");
    EXPECT_EQ(firstCage(), "old");
    qbxsim_advanceClock(1000);
    EXPECT_EQ(firstCage(), "new");
}

TEST_F(ServiceTest, AnswersOtherQueriesFromTheFile)
{
    array_["cacheSeconds"] = 1000;
    serveCage("old");
    EXPECT_EQ(firstCage(), "old");
    array_["nodeIPaddress"] = "192.0.2.2";
    serve();
    char address[10] = {};
    EXPECT_EQ(api_getNodeIPaddress(address, 9), QBXSIM_BAD_ARGUMENT);
    EXPECT_EQ(api_getNodeIPaddress(address, 10), 0);
    EXPECT_STREQ(address, "192.0.2.2");
}

TEST_F(ServiceTest, RefusesAListThatIsNotZeroed)
{
    api_CageList_t list = {7, nullptr};
    EXPECT_EQ(api_getCages_Cached(0, &list), QBXSIM_BAD_ARGUMENT);
}

TEST_F(ServiceTest, LeavesManufacturingDataOutOfNoMfgLists)
{
    EXPECT_STREQ(cages().at(0).mfg.vendor, "V");
    EXPECT_STREQ(records(api_getCagesNoMfg_Cached, &api_CageList_t::cages).at(0).mfg.vendor, "");
}

const std::string DIGITS = "12345678901234567890123456789012345678901234567890123456789012345";

TEST_F(ServiceTest, FindsCagesByTheirWholeName)
{
    api_CageHandle_t handle = {};
    EXPECT_EQ(api_findCageName_Cached(DIGITS.c_str(), &handle), 0);
    EXPECT_EQ(api_findCageName_Cached((DIGITS + '6').c_str(), &handle), QBXSIM_NOT_FOUND);
    EXPECT_EQ(api_findCageName_Cached("dc", &handle), QBXSIM_NOT_FOUND);
}

TEST_F(ServiceTest, FindsMagazinesWhoseCageNameFits)
{
    api_MagazineIDs_t ids = {};
    EXPECT_EQ(api_findMagazineIDs("m42", &ids), 0);
    EXPECT_EQ(std::string(ids.cageName, 42), DIGITS.substr(0, 42)) << "full, so not terminated";
    EXPECT_EQ(api_findMagazineIDs("m43", &ids), QBXSIM_NOT_SUPPORTED);
    EXPECT_EQ(api_findMagazineIDs("gone", &ids), QBXSIM_NOT_FOUND);
}

TEST_F(ServiceTest, FindsCardsWhoseCageNameFits)
{
    char name[API_ID_SIZE] = {};
    EXPECT_EQ(api_findCageNameForFCAL("f64", name), 0);
    EXPECT_EQ(name, DIGITS.substr(0, 64));
    EXPECT_EQ(api_findCageNameForFCAL("f65", name), QBXSIM_NOT_SUPPORTED);
}

// ---- Users ----

struct UserCase : Case
{
    const char* user;
    int open;                    ///< of api_qbxOpenForCimserver
    std::vector<int> decisions;  ///< of api_authorizeCIMUser, for each of PRIVILEGES
};

const char* const PRIVILEGES[] = {"a.locate", "a.upgrade", "b.other", "c.b.x", "A.locate"};

class UserTest : public SimulatorTest, public testing::WithParamInterface<UserCase>
{
};

TEST_P(UserTest, MayDoWhatTheFileGrants)
{
    EXPECT_EQ(api_qbxOpenForCimserver(GetParam().user), GetParam().open);
    std::vector<int> decisions;
    for (const char* const key : PRIVILEGES)
        decisions.push_back(api_authorizeCIMUser(GetParam().user, key));
    EXPECT_EQ(decisions, GetParam().decisions);
}

INSTANTIATE_TEST_SUITE_P(ServiceTest, UserTest,
                         testing::Values(UserCase{"WithAllPrivileges", "admin", 0, {0, 0, 3, 0, 3}},
                                         UserCase{
                                             "WithSomePrivileges", "operator", 0, {0, 1, 3, 1, 3}},
                                         UserCase{"WithoutPrivileges", "guest", 0, {2, 2, 2, 2, 2}},
                                         UserCase{"WhoMayNotOpen", "former", 1, {0, 0, 3, 0, 3}},
                                         UserCase{"InOtherCase", "Admin", 1, {2, 2, 2, 2, 2}},
                                         UserCase{"WithoutName", "", 1, {2, 2, 2, 2, 2}}),
                         nameOf<UserCase>);

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
    const auto one = std::async(std::launch::async, work),
               two = std::async(std::launch::async, work);
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

using LogTest = ServiceTest;

TEST_F(LogTest, HasMessagesUpToItsLevel)
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

TEST_F(LogTest, HasOneLineForAMessage)
{
    log_message(3, "%5d|%-4s|%c\n\n", 42, "a\nb", 'z');
    EXPECT_EQ(logged(), "3    42|a\\nb |z\n");
}

TEST_F(LogTest, EscapesControlCharactersOnly)
{
    log_message(2, "%s", "%s\x1B[2J \t\x7F K\xC3\xA4 \xFF");
    EXPECT_EQ(logged(), "2 %s\\x1B[2J \t\\x7F K\xC3\xA4 \xFF\n");
}

TEST_F(LogTest, HasLongMessagesWhole)
{
    const std::string longText(100000, 'x');
    log_message(2, "%s", longText.c_str());
    EXPECT_EQ(logged(), "2 " + longText + '\n');
}

TEST_F(LogTest, GoesOnAfterAMessageThatCouldNotBeWritten)
{
    std::signal(SIGXFSZ, SIG_IGN);
    log_message(2, "before");
    withLimit(RLIMIT_FSIZE, 0, [] { log_message(2, "no room"); });
    log_message(2, "after");
    EXPECT_EQ(logged(), "2 before\n2 after\n");
}

TEST_F(LogTest, HasTheLocalTimeWithItsOffset)
{
    setenv("TZ", "IST-5:30", 1);
    tzset();
    log_message(2, "now");
    unsetenv("TZ");
    EXPECT_EQ(read("log").substr(23, 10), "+05:30 2 [");
}

}  // namespace
