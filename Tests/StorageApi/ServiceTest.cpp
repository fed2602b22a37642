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

    /// The log, without time, thread, file name and who says it.
    std::string said() const
    {
        const std::regex head(
            R"(\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}[+-]\d\d:\d\d (\d) \[\d+\] )"),
            frame("simulated array[:,] |" + path("array.json") + ":? ?");
        return std::regex_replace(std::regex_replace(read("log"), head, "$1 "), frame, "");
    }

    static std::string firstCage() { return cages().at(0).deviceID; }
};

TEST_F(ServiceTest, AChangedFileShowsAtTheNextQueryAndABadOneIsToldOnce)
{
    api_StorageArray_t record = {};
    std::filesystem::remove(path("array.json"));
    EXPECT_EQ(api_getStorageArray(&record), QBXSIM_NO_ARRAY);
    EXPECT_EQ(api_qbxOpenForCimserver("admin"), QBXSIM_NO_ARRAY);
    serveCage("a");
    EXPECT_EQ(firstCage(), "a");
    serveCage("b");
    EXPECT_EQ(firstCage(), "b") << "same file and size, and within one tick of its clock";
    std::filesystem::rename(path("array.json"), path("b.json"));
    EXPECT_EQ(firstCage() + firstCage(), "bb");
    write("array.json", "{}");
    EXPECT_EQ(firstCage(), "b");
    std::this_thread::sleep_for(std::chrono::seconds(3));  // now the file's time can be trusted
    EXPECT_EQ(firstCage() + firstCage(), "bb");
    serveCage("c");
    EXPECT_EQ(firstCage(), "c");
    std::filesystem::rename(path("b.json"), path("array.json"));
    EXPECT_EQ(firstCage(), "b");
    serveCage("d");
    withLimit(RLIMIT_NOFILE, 0, [] { EXPECT_EQ(firstCage() + firstCage(), "bb"); });
    EXPECT_EQ(firstCage(), "d") << "the file is as it was when it could not be read";
    const std::string good = "3 no hardware: is in service\n",
                      again = "2 no hardware: is in service ",
                      stays = " (the array read before stays in service)\n";
    EXPECT_EQ(said(), "2 No such file or directory (no array is in service until it is mended)\n" +
                          again + "now\n" + good + "2 No such file or directory" + stays +
                          "2 1: /: field 'storageArray' is missing" + stays + again + "again\n" +
                          good + "2 Too many open files" + stays + again + "again\n");
}

TEST_F(ServiceTest, FaultsOfTheFileHitTheirCallsFromTheMomentItIsServed)
{
    array_["faults"] = Json::parse(R"([{"operation": "api_locateMagazine", "call": 2, "code": -7},
        {"operation": "cim_sem_wait", "code": 5}, {"operation": "cim_sem_wait", "call": 2, "delay": 1},
        {"operation": "api_locateMagazine", "call": 1, "delay": 300}])");
    for (const char* const address : {"1", "2"}) {
        array_["nodeIPaddress"] = address;
        serve();
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(cim_sem_wait(), 5);
        EXPECT_EQ(api_locateMagazine("dc2", 1, 60), 0);
        EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(300));
        EXPECT_EQ(api_locateMagazine("dc2", 1, 0), -7);
        EXPECT_EQ(records(api_getMagazines_Cached, &api_MagazineList_t::mags)[0].locateON, 1);
        EXPECT_EQ(api_locateMagazine("dc2", 1, 0), 0);
        qbxsim_failCall("cim_sem_wait", 2, 9);
        EXPECT_EQ(cim_sem_wait(), *address == '1' ? 9 : 0) << "the header's faults come first";
    }
    cim_sem_post();
    EXPECT_NE(said().find("is in service, with faults on demand: 4\n"), std::string::npos);
}

TEST_F(ServiceTest, CachedQueriesAnswerFromTheCacheUntilItsTimeIsOver)
{
    array_["cacheSeconds"] = 0.5;
    serveCage("old");
    EXPECT_EQ(firstCage(), "old");
    array_["nodeIPaddress"] = "192.0.2.2";
    serveCage("new");
    char address[10] = {};
    EXPECT_EQ(api_getNodeIPaddress(address, 9), QBXSIM_BAD_ARGUMENT);
    EXPECT_EQ(api_getNodeIPaddress(address, 10), 0);
    EXPECT_STREQ(address, "192.0.2.2") << "this query is not a cached one";
    EXPECT_EQ(firstCage(), "old");
    std::this_thread::sleep_for(std::chrono::milliseconds(600));
    EXPECT_EQ(firstCage(), "new");
}

TEST_F(ServiceTest, ListsWantAZeroedListAndLackManufacturingDataWhereTheyShould)
{
    api_CageList_t list = {7, nullptr};
    EXPECT_EQ(api_getCages_Cached(0, &list), QBXSIM_BAD_ARGUMENT);
    EXPECT_STREQ(cages().at(0).mfg.vendor, "V");
    EXPECT_STREQ(records(api_getCagesNoMfg_Cached, &api_CageList_t::cages).at(0).mfg.vendor, "");
}

TEST_F(ServiceTest, ElementsAreFoundByTheirWholeName)
{
    const std::string digits = "12345678901234567890123456789012345678901234567890123456789012345";
    api_CageHandle_t handle = {};
    EXPECT_EQ(api_findCageName_Cached(digits.c_str(), &handle), 0);
    EXPECT_EQ(api_findCageName_Cached((digits + '6').c_str(), &handle), QBXSIM_NOT_FOUND);
    EXPECT_EQ(api_findCageName_Cached("dc", &handle), QBXSIM_NOT_FOUND);
    api_MagazineIDs_t ids = {};
    EXPECT_EQ(api_findMagazineIDs("m42", &ids), 0);
    EXPECT_EQ(std::string(ids.cageName, 42), digits.substr(0, 42)) << "full, so not terminated";
    EXPECT_EQ(api_findMagazineIDs("m43", &ids), QBXSIM_NOT_SUPPORTED);
    EXPECT_EQ(api_findMagazineIDs("gone", &ids), QBXSIM_NOT_FOUND);
    char name[API_ID_SIZE] = {};
    EXPECT_EQ(api_findCageNameForFCAL("f64", name), 0);
    EXPECT_EQ(name, digits.substr(0, 64));
    EXPECT_EQ(api_findCageNameForFCAL("f65", name), QBXSIM_NOT_SUPPORTED);
}

TEST_F(ServiceTest, UsersMayWhatTheFileSays)
{
    Json answers;
    for (const char* const user : {"admin", "operator", "guest", "former", "Admin", ""}) {
        answers[user].push_back(api_qbxOpenForCimserver(user));
        for (const char* const key : {"a.locate", "a.upgrade", "b.other", "c.b.x", "A.locate"})
            answers[user].push_back(api_authorizeCIMUser(user, key));
    }
    EXPECT_EQ(answers, Json::parse(R"({
        "admin": [0, 0, 0, 3, 0, 3], "operator": [0, 0, 1, 3, 1, 3], "guest": [0, 2, 2, 2, 2, 2],
        "former": [1, 0, 0, 3, 0, 3], "Admin": [1, 2, 2, 2, 2, 2], "": [1, 2, 2, 2, 2, 2]})"));
}

TEST_F(ServiceTest, TheSemaphoreLetsOneThreadInAtATime)
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

TEST_F(ServiceTest, MisuseOfTheSemaphoreIsToldAndAbortsWhenStrict)
{
    setenv("QBX_SIM_STRICT", "0", 1);
    cim_sem_post();
    EXPECT_EQ(cim_sem_wait(), 0);
    EXPECT_EQ(cim_sem_wait(), EDEADLK) << "the stray post must not have counted";
    std::thread(cim_sem_post).join();
    EXPECT_EQ(cim_sem_wait(), EDEADLK) << "nor that of a thread that does not hold it";
    cim_sem_post();
    EXPECT_NE(read("log").find("cim_sem_post without a cim_sem_wait"), std::string::npos);
    setenv("QBX_SIM_STRICT", "1", 1);
    EXPECT_DEATH(cim_sem_post(), "misuse of the Storage-system API: cim_sem_post without");
    EXPECT_DEATH(static_cast<void>(cim_sem_wait() + cim_sem_wait()), "would wait for ever");
}

TEST_F(ServiceTest, TheLogHasOneLineAMessageUpToItsLevel)
{
    const std::string big(100000, 'x');
    for (const char* const level : {"4", "much", "2"}) {
        setenv("QBX_LOG_LEVEL", level, 1);
        setenv("TZ", "IST-5:30", 1);
        tzset();
        qbxsim_reset();
        log_message(4, "-->%s\n", level);
        log_message(3, "%5d|%-4s|%c\n\n", 42, "a\nb", 'z');
        log_message(2, "%s", "%s\x1B[2J \t\x7F K\xC3\xA4 \xFF");
    }
    std::signal(SIGXFSZ, SIG_IGN);
    withLimit(RLIMIT_FSIZE, 0, [] { log_message(2, "no room"); });
    log_message(2, "%s", big.c_str());
    const std::string odd = "2 %s\\x1B[2J \t\\x7F K\xC3\xA4 \xFF\n", number = "3    42|a\\nb |z\n";
    unsetenv("TZ");
    EXPECT_EQ(read("log").substr(23, 10), "+05:30 4 [");
    EXPECT_EQ(said(), "4 -->4\n" + number + odd + number + odd + odd + "2 " + big + '\n');
}

}  // namespace
