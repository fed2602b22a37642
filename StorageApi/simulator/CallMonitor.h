// Counts the calls of the API, records them, and makes chosen ones fail or wait.
#pragma once

#include <chrono>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace qbxsim
{

/// True for the name of a function of the API.
bool isOperation(const std::string& name);

/// What a test wants to happen to one call.
struct Fault
{
    std::optional<int> instead;          // return this and do nothing
    std::optional<int> afterwards;       // do the work and return this
    std::chrono::milliseconds delay{0};  // before anything else
};

/// Thread-safe. One for the process.
class CallMonitor
{
public:
    /// Counts a call and returns what is to happen to it.
    Fault begin(const std::string& operation);
    /// Puts a call on record, when records are kept.
    void end(const std::string& text);
    bool isRecording() const;
    bool isRefused(const std::string& user) const;

    /// Applies to call number `call`, 0 for every call, beside what was set for it before.
    void setFault(const std::string& operation, unsigned call, const Fault& fault);
    void refuse(const std::string& user);
    unsigned count(const std::string& operation) const;
    void record(bool on);
    std::size_t recordSize() const;
    /// Empty when there is no such record.
    std::string recordAt(std::size_t index) const;
    void reset();

private:
    mutable std::mutex mutex_;
    std::map<std::string, unsigned> counts_;
    std::map<std::pair<std::string, unsigned>, Fault> faults_;
    std::set<std::string> refused_;
    bool recording_ = false;
    std::vector<std::string> records_;
};

}  // namespace qbxsim
