// The semaphore, the log and what the library exports.
#include "Simulator.h"

#include <dlfcn.h>

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <regex>
#include <thread>

namespace
{

class SemaphoreTest : public SimulatorTest
{
};

TEST_F(SemaphoreTest, LetsOneThreadInAtATime)
{
    constexpr int threads = 4;
    constexpr int rounds = 200;
    int unguarded = 0;
    std::atomic<int> inside{0};
    std::atomic<int> clashes{0};
    std::vector<std::thread> workers;
    for (int i = 0; i < threads; ++i)
        workers.emplace_back([&] {
            for (int round = 0; round < rounds; ++round) {
                if (cim_sem_wait() != 0) return;
                if (++inside != 1) ++clashes;
                ++unguarded;
                --inside;
                cim_sem_post();
            }
        });
    for (std::thread& worker : workers)
        worker.join();
    EXPECT_EQ(clashes, 0);
    EXPECT_EQ(unguarded, threads * rounds);
}

TEST_F(SemaphoreTest, ReportsMisuseAndGoesOnWhenNotStrict)
{
    setenv("QBX_SIM_STRICT", "0", 1);
    cim_sem_post();
    EXPECT_NE(log().find("cim_sem_post without a cim_sem_wait"), std::string::npos) << log();
    EXPECT_EQ(cim_sem_wait(), 0);
    EXPECT_EQ(cim_sem_wait(), EDEADLK);
    EXPECT_NE(log().find("would wait for ever"), std::string::npos) << log();
    cim_sem_post();
    EXPECT_EQ(cim_sem_wait(), 0) << "the stray post must not have counted";
    EXPECT_EQ(cim_sem_wait(), EDEADLK);
    cim_sem_post();
}

using SemaphoreDeathTest = SemaphoreTest;

TEST_F(SemaphoreDeathTest, AbortsOnMisuseWhenStrict)
{
    setenv("QBX_SIM_STRICT", "1", 1);
    EXPECT_DEATH(cim_sem_post(), "misuse of the Storage-system API: cim_sem_post without");
    EXPECT_DEATH(static_cast<void>(cim_sem_wait() + cim_sem_wait()), "would wait for ever");
}

// ---- Log
// -----------------------------------------------------------------------------------------

class LogTest : public SimulatorTest
{
protected:
    /// The lines without their times and threads.
    std::vector<std::string> messages() const
    {
        const std::regex prefix(R"(\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{6}Z (\d) \[\d+\] )");
        std::vector<std::string> found;
        for (const std::string& line : logLines()) {
            std::smatch match;
            const auto flags = std::regex_constants::match_continuous;
            EXPECT_TRUE(std::regex_search(line, match, prefix, flags)) << line;
            found.push_back(match.str(1) + ' ' + match.suffix().str());
        }
        return found;
    }
};

TEST_F(LogTest, WritesOneLineAMessageWhateverItsText)
{
    log_message(2, "--> %s\n", "entry");
    log_message(2, "no newline");
    log_message(2, "two\n\n");
    log_message(2, "-->f()\n\t className = %s\n", "a\nforged line");
    log_message(2, "%s", "%s%n stays as it is");
    log_message(2, "%s",
                "\x1B[2J \x7F K\xC3\xA4"
                "fig \xFF");
    log_message(2, "%5d|%-4s|%#x|%c|%%", 42, "ab", 255, 'z');
    const std::string big(100000, 'x');
    log_message(2, "%s", big.c_str());
    log_message(2, "%s", "");
    EXPECT_EQ(messages(), (std::vector<std::string>{"2 --> entry", "2 no newline", "2 two",
                                                    "2 -->f()\\n\t className = a\\nforged line",
                                                    "2 %s%n stays as it is",
                                                    "2 \\x1B[2J \\x7F K\xC3\xA4"
                                                    "fig \xFF",
                                                    "2    42|ab  |0xff|z|%", "2 " + big, "2 "}));
}

TEST_F(LogTest, LeavesOutLevelsAboveTheChosenOne)
{
    const struct
    {
        const char* level;  // null: not set
        std::vector<std::string> expected;
    } cases[] = {
        {nullptr, {"2 m", "3 m"}}, {"4", {"2 m", "3 m", "4 m"}}, {"2", {"2 m"}}, {"0", {}},
        {"much", {"2 m", "3 m"}},
    };
    for (const auto& test : cases) {
        write("log", "");
        test.level == nullptr ? unsetenv("QBX_LOG_LEVEL") : setenv("QBX_LOG_LEVEL", test.level, 1);
        qbxsim_reset();
        for (const int level : {2, 3, 4})
            log_message(level, "m\n");
        EXPECT_EQ(messages(), test.expected) << (test.level == nullptr ? "" : test.level);
    }
}

TEST_F(LogTest, FallsBackToStandardErrorWhenTheFileCannotBeOpened)
{
    setenv("QBX_LOG_FILE", path("no such folder/log").c_str(), 1);
    qbxsim_reset();
    testing::internal::CaptureStderr();
    log_message(2, "message\n");
    const std::string error = testing::internal::GetCapturedStderr();
    EXPECT_NE(error.find("QBX_LOG_FILE: cannot open"), std::string::npos) << error;
    EXPECT_NE(error.find("] message\n"), std::string::npos) << error;
}

TEST_F(LogTest, KeepsLinesOfSeveralThreadsWhole)
{
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([i] {
            for (int n = 0; n < 100; ++n)
                log_message(2, "%s\n", std::string(200, char('a' + i)).c_str());
        });
    for (std::thread& thread : threads)
        thread.join();
    const std::vector<std::string> lines = messages();
    ASSERT_EQ(lines.size(), 400u);
    for (const std::string& line : lines)
        EXPECT_EQ(line, "2 " + std::string(200, line[2]));
}

// ---- Exports
// -------------------------------------------------------------------------------------

TEST(LibraryTest, ExportsNothingOfItsInside)
{
    void* const library = dlopen(SIMULATOR_LIBRARY, RTLD_NOW | RTLD_NOLOAD);
    ASSERT_NE(library, nullptr) << dlerror();
    EXPECT_NE(dlsym(library, "api_locateFCALPort"), nullptr);
    EXPECT_NE(dlsym(library, "qbxsim_reset"), nullptr);
    EXPECT_EQ(dlsym(library, "_ZN6qbxsim8writeLogEiSt17basic_string_viewIcSt11char_traitsIcEE"),
              nullptr);
    dlclose(library);
}

}  // namespace
