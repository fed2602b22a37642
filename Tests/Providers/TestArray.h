// The simulated array under the providers' tests: what it serves, what fails, and everything that
// was called and written, in order.
#pragma once

#include <qbxapi.h>

#include <functional>
#include <string>
#include <vector>

using Texts = std::vector<std::string>;

/// The array of one test. Users are "joe", who may do everything, and nobody else. A change of a
/// cage's location succeeds without changing anything.
class TestArray
{
public:
    /// Serves an array without elements.
    TestArray();
    /// Fails the test when the semaphore is held or a record list was not freed.
    ~TestArray();

    /// Serves data/NAME.json from now on, without faults.
    void serve(const std::string& name);
    /// Call number `call` (0: every call) of the operation does nothing but return the status.
    void fail(const std::string& operation, int status, unsigned call = 0);
    /// Every call of the operation does its work and returns the status nevertheless.
    void failAfterwards(const std::string& operation, int status);
    /// Forgets faults, and what happened.
    void mend();
    /// Forgets what happened.
    void forget();

    ///@{
    /// Edits what is delivered, for what no array file can hold.
    std::function<void(api_CageList_t&)> editCages;
    std::function<void(api_MagazineIDs_t&)> editMagazineIDs;
    ///@}

    /// Calls ("api_locateCage("cage0", 5) = 0"), log lines ("LEVEL: text") and FREED, in order.
    Texts events() const;
    /// The calls among the events.
    Texts calls() const;
    /// The log lines among the events that begin with `prefix`.
    Texts log(const std::string& prefix = "") const;
};

/// The event of a record list being freed.
extern const std::string FREED;

/// The calls of a list query.
Texts reading(const std::string& query);
