// The simulated array under the providers' tests: what it serves, what fails, and everything that
// happened, in order.
#pragma once

#include "Texts.h"

#include <qbxapi.h>
#include <qbxapi_sim.h>

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>

/// The event of a record list being freed.
inline const std::string FREED = "free(records)";

/// The array of one test, without elements at first. Users are "joe", who may do everything, and
/// nobody else. A change of a cage's location succeeds without changing anything.
class TestArray
{
public:
    TestArray()
    {
        current = this;
        setenv("QBX_LOG_FILE", "/dev/null", 1);
        setenv("QBX_SIM_STRICT", "1", 1);  // a misuse of the semaphore ends the program
        setenv("QBX_ARRAY_FILE", _file.c_str(), 1);
        serve("");
    }

    ~TestArray()
    {
        qbxsim_reset();
        std::remove(_file.c_str());
        current = nullptr;
    }

    /// Serves these members of an array file ("cages": [...], ...) from now on, without faults.
    void serve(const std::string& elements)
    {
        std::ofstream(_file) << R"({"storageArray": {"elementName": "array1", "name": "System One"},
            "users": [{"name": "joe", "privileges": ["*"]}])"
                             << (elements.empty() ? "" : ", ") << elements << "}";
        qbxsim_reset();
        EXPECT_EQ(qbxsim_loadFile(_file.c_str()), 0) << "no array file: " << elements;
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

    /// Everything that happened, in order:
    ///   api_locateCage("cage 0", 5) = 0     a call of the array's library, with its result
    ///   4: --> QBX_...                      a log line with its level
    ///   free(records)                       a record list was freed
    ///   cimom.... and handler....           see note()
    Texts events() const
    {
        Texts events;
        for (std::size_t i = 0; const char* const record = qbxsim_callRecord(i); ++i)
            events.push_back(eventOf(record));
        return events;
    }

    /// The events but log lines.
    Texts calls() const
    {
        Texts calls;
        for (const std::string& event : events()) {
            if (event[1] != ':') calls.push_back(event);
        }
        return calls;
    }

    /// Puts a call of a handler or of the object manager among the events, then lets onNote() know.
    static void note(const std::string& event)
    {
        log_message(0, "%s", event.c_str());
        if (current->onNote) current->onNote(event);
    }
    /// What it throws, the noted call throws.
    std::function<void(const std::string&)> onNote;

    static inline TestArray* current = nullptr;

private:
    static std::string eventOf(const std::string& record)
    {
        const std::string log = "log_message(";
        if (record.compare(0, log.size(), log) != 0) return record;
        const char level = record[log.size()];
        const std::size_t text = record.find('"') + 1;
        const std::string prefix = level == '0' ? "" : std::string(1, level) + ": ";
        return prefix + record.substr(text, record.size() - text - 2);
    }

    const std::string _file =
        testing::TempDir() + "qbx-providers-" + std::to_string(getpid()) + ".json";
};
