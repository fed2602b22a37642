// Records the calls of the API, and makes chosen ones fail.
#pragma once

#include <deque>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

namespace qbxsim
{

/// What a test wants one call to return, and whether it does its work before.
struct Fault
{
    int code;
    bool afterWork;
};

/// Thread-safe. One for the process.
class CallMonitor
{
public:
    /// Counts a call and returns what is to happen to it.
    std::optional<Fault> begin(const std::string& operation);
    /// Puts a call on record, when records are kept.
    void end(const std::string& text);
    bool isRecording() const;

    /// For call number `call`; 0: for every call that has no fault of its own.
    void setFault(const std::string& operation, unsigned call, const Fault& fault);
    void record(bool on);
    /// Null when there is no such record. Valid until the record is emptied.
    const char* recordAt(std::size_t index) const;
    void reset();

private:
    mutable std::mutex mutex_;
    std::map<std::string, unsigned> counts_;
    std::map<std::pair<std::string, unsigned>, Fault> faults_;
    bool recording_ = false;
    std::deque<std::string> records_;  // a deque: texts handed out stay where they are
};

}  // namespace qbxsim
