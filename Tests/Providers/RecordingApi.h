// A Storage-system API for tests: serves the records it is given, answers with the codes it is
// told, and writes down every call and every log line in the order they were made.
#pragma once

#include <qbxapi.h>

#include <cstring>
#include <map>
#include <string>
#include <vector>

/// The one API of the test process. Every test starts with reset().
struct RecordingApi
{
    static RecordingApi& get();
    /// Back to an array without elements, where every call succeeds.
    void reset();

    // ---- What the array holds ----
    std::vector<api_Cage_t> cages;
    std::vector<api_CagePS_t> cagesPS;
    std::vector<api_Magazine_t> magazines;
    std::vector<api_FCAL_t> fcals;
    api_StorageArray_t array;
    /// Successive answers of api_getNodeIPaddress.
    std::vector<std::string> addresses;
    api_MagazineIDs_t magazineIDs;
    std::string cageNameOfFCAL;

    // ---- How it behaves ----
    /// Status by call ("api_locateCage(cage0, 5)") or by operation; 0 where none is given.
    /// "cim_sem_wait" counts as an operation.
    std::map<std::string, int> status;
    /// A failing list query leaves its records behind, as the array's library may.
    bool failingQueryLeavesRecords = false;

    // ---- What happened ----
    /// Calls ("api_locateCage(cage0, 5)") and log lines ("LEVEL: text"), in order.
    std::vector<std::string> events;
    /// Semaphores taken and not yet released.
    int held = 0;

    /// The calls among the events.
    std::vector<std::string> calls() const;
    /// The log lines among the events, "LEVEL: text".
    std::vector<std::string> log() const;
    /// The log lines that begin with "LEVEL: ", without that.
    std::vector<std::string> log(int level) const;

    int call(const std::string& operation, const std::string& arguments);
};

/// Copies a text into a fixed field, without a terminator when it fills the field.
template <std::size_t N>
void put(char (&field)[N], const std::string& text)
{
    std::memset(field, 0, N);
    std::memcpy(field, text.data(), text.size() < N ? text.size() : N);
}
