// The semaphore, the log, and faults on demand.
#include "Simulator.h"

#include <atomic>
#include <cerrno>
#include <chrono>
#include <regex>
#include <thread>

namespace
{

using AccessTest = SimulatorTest;

TEST_F(AccessTest, TheSemaphoreLetsOneThreadInAtATime)
{
    std::atomic<int> inside{0};
    std::atomic<int> clashes{0};
    std::vector<std::thread> workers;
    for (int i = 0; i < 4; ++i)
        workers.emplace_back([&] {
            for (int round = 0; round < 200; ++round) {
                EXPECT_EQ(api_locateMagazine("dc2", 1, 1), 0) << "needs no semaphore";
                EXPECT_EQ(cim_sem_wait(), 0);
                if (++inside != 1) ++clashes;
                std::this_thread::yield();
                --inside;
                cim_sem_post();
            }
        });
    for (std::thread& worker : workers)
        worker.join();
    EXPECT_EQ(clashes, 0);
}

TEST_F(AccessTest, MisuseOfTheSemaphoreIsToldAndAbortsWhenStrict)
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

TEST_F(AccessTest, TheLogHasOneLineAMessageUpToItsLevel)
{
    const std::string big(100000, 'x');
    for (const char* const level : {"4", "much", "2"}) {
        setenv("QBX_LOG_LEVEL", level, 1);
        qbxsim_reset();
        log_message(4, "-->%s\n", level);
        log_message(3, "%5d|%-4s|%c\n\n", 42, "a\nb", 'z');
        log_message(2, "%s", "%s\x1B[2J \t\x7F K\xC3\xA4 \xFF");
    }
    log_message(2, "%s", big.c_str());
    const std::regex head(R"(\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{6}Z (\d) \[\d+\] )");
    const std::string odd = "2 %s\\x1B[2J \t\\x7F K\xC3\xA4 \xFF\n", number = "3    42|a\\nb |z\n";
    EXPECT_EQ(std::regex_replace(read("log"), head, "$1 "),
              "4 -->4\n" + number + odd + number + odd + odd + "2 " + big + '\n');
}

TEST_F(AccessTest, ChosenCallsFailOrWait)
{
    qbxsim_failCall("api_locateMagazine", 1, 77);
    qbxsim_failAfterCall("api_locateMagazine", 2, 9);
    qbxsim_delayCall("api_locateMagazine", 3, 60);
    qbxsim_refuseUser("admin");
    EXPECT_EQ(qbxsim_failCall("api_getCages", 1, 9), QBXSIM_BAD_ARGUMENT);
    const auto isLit = [] {
        return records(api_getMagazines_Cached, &api_MagazineList_t::mags).at(0).locateON != 0;
    };
    EXPECT_EQ(api_locateMagazine("dc2", 1, 60), 77);
    EXPECT_FALSE(isLit());
    EXPECT_EQ(api_locateMagazine("dc2", 1, 60), 9);
    EXPECT_TRUE(isLit());
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(api_locateMagazine("dc2", 1, 0), 0);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(60));
    EXPECT_EQ(api_qbxOpenForCimserver("admin"), QBXSIM_REFUSED);
}

}  // namespace
