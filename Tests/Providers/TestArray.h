// The simulated array under the providers' tests: what it serves, what fails, and everything that
// was called and written, in order.
#pragma once

#include <qbxapi.h>
#include <qbxapi_sim.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <mutex>
#include <set>
#include <string>
#include <vector>

using Texts = std::vector<std::string>;

/// The event of a record list being freed.
inline const std::string FREED = "0: freed";

/// The array of one test. Users are "joe", who may do everything, and nobody else. A change of a
/// cage's location succeeds without changing anything.
class TestArray
{
public:
    /// Serves an array without elements.
    TestArray()
    {
        current = this;
        setenv("QBX_LOG_FILE", "/dev/null", 1);
        setenv("QBX_SIM_STRICT", "1", 1);  // a misuse of the semaphore ends the program
        serve("empty");
    }

    /// Fails the test when the semaphore is held or a record list was not freed.
    ~TestArray()
    {
        qbxsim_reset();
        EXPECT_EQ(cim_sem_wait(), 0);
        cim_sem_post();
        EXPECT_EQ(lists.size(), 0u) << "record lists that were not freed";
        lists.clear();
        current = nullptr;
    }

    /// Serves data/NAME.json from now on, without faults.
    void serve(const std::string& name)
    {
        setenv("QBX_ARRAY_FILE", (QBX_TEST_DATA "/" + name + ".json").c_str(), 1);
        mend();
    }

    /// Call number `call` (0: every call) of the operation does nothing, or its work, and returns
    /// the status.
    void fail(const std::string& operation, int status, unsigned call = 0, bool doesWork = false)
    {
        const auto setFault = doesWork ? qbxsim_failAfterCall : qbxsim_failCall;
        ASSERT_EQ(setFault(operation.c_str(), call, status), 0) << operation;
    }

    /// Forgets faults, and what happened.
    void mend()
    {
        qbxsim_reset();
        fail("api_setCageLocation", 0);
        forget();
    }

    /// Forgets what happened.
    void forget() { qbxsim_recordCalls(1); }

    ///@{
    /// Edits what is delivered, for what no array file can hold.
    std::function<void(api_CageList_t&)> editCages;
    std::function<void(api_MagazineIDs_t&)> editMagazineIDs;
    ///@}

    /// Calls ("api_locateCage("cage0", 5) = 0"), log lines ("LEVEL: text") and FREED, in order, but
    /// those that hold the text `without`.
    Texts events(const std::string& without = "") const
    {
        Texts events;
        for (std::size_t i = 0; const char* const record = qbxsim_callRecord(i); ++i) {
            const std::string event = eventOf(record);
            if (without.empty() || event.find(without) == std::string::npos)
                events.push_back(event);
        }
        return events;
    }

    /// The calls among the events.
    Texts calls() const
    {
        Texts calls;
        for (const std::string& event : events())
            if (event[0] > '9') calls.push_back(event);
        return calls;
    }

    /// The log lines among the events that begin with `prefix`.
    Texts log(const std::string& prefix = "") const
    {
        Texts lines;
        for (const std::string& event : events()) {
            if (event[0] <= '9' && event != FREED && event.compare(0, prefix.size(), prefix) == 0)
                lines.push_back(event);
        }
        return lines;
    }

    static inline TestArray* current = nullptr;
    static inline std::mutex lock;
    static inline std::set<void*> lists;  ///< handed out and not yet freed

private:
    /// `log_message(4, "text")` as "4: text"; other records as they are.
    static std::string eventOf(const std::string& text)
    {
        const std::string log = "log_message(";
        if (text.compare(0, log.size(), log) != 0) return text;
        const std::size_t quote = text.find('"');
        return text.substr(log.size(), 1) + ": " + text.substr(quote + 1, text.size() - quote - 3);
    }
};
