// Records the calls of the API, and makes chosen ones fail.
#pragma once

#include <chrono>
#include <deque>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

namespace qbxsim
{

/// What is to happen to a call.
struct Fault
{
    std::optional<int> code;  // what it returns; absent: its own result
    bool doesWork = false;
    std::chrono::milliseconds delay{0};  // before anything else
};

/// The calls that faults are for, and how often each operation was called.
class FaultPlan
{
public:
    /// For call number `call`; 0: for every call that has no fault of its own. False when this took
    /// the place of another fault.
    bool set(const std::string& operation, unsigned call, const Fault& fault)
    {
        return faults_.insert_or_assign({operation, call}, fault).second;
    }
    /// Counts a call and returns what is to happen to it.
    std::optional<Fault> next(const std::string& operation);
    std::size_t size() const { return faults_.size(); }

private:
    std::map<std::string, unsigned> counts_;
    std::map<std::pair<std::string, unsigned>, Fault> faults_;
};

/// True for the name of a function of qbxapi.h that can fail.
bool canFail(const std::string& operation);

/// Thread-safe. One for the process.
class CallMonitor
{
public:
    /// Counts a call and returns what is to happen to it.
    std::optional<Fault> begin(const std::string& operation);
    /// Puts a call on record, when records are kept.
    void end(const std::string& text);
    bool isRecording() const;

    /// As FaultPlan::set.
    void setFault(const std::string& operation, unsigned call, const Fault& fault);
    void record(bool on);
    /// Null when there is no such record. Valid until the record is emptied.
    const char* recordAt(std::size_t index) const;
    void reset();

private:
    mutable std::mutex mutex_;
    FaultPlan plan_;
    bool recording_ = false;
    std::deque<std::string> records_;  // a deque: texts handed out stay where they are
};

}  // namespace qbxsim
