// A log that clients cannot fill.
#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <mutex>
#include <string>

namespace cimom
{

/// A log of lines that clients cause, as often as they like: the first few of equal lines in a
/// minute, then their number. Safe for any number of threads.
class LimitedLog
{
public:
    explicit LimitedLog(std::function<void(const std::string&)> write) : write_(std::move(write)) {}
    ~LimitedLog() { summarize(); }

    /// The detail is written behind the line, and makes it no other one.
    void add(const std::string& line, const std::string& detail = "")
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (std::chrono::steady_clock::now() > end_) summarize();
        const unsigned number = ++numbers_[numbers_.size() < 256 ? line : "further events"];
        if (number <= first && write_) write_(line + detail);
    }

private:
    static constexpr unsigned first = 5;

    /// Writes the numbers, and begins a new minute.
    void summarize()
    {
        for (const auto& [line, number] : numbers_) {
            if (number > first && write_)
                write_(line + " (" + std::to_string(number - first) + " more of these)");
        }
        numbers_.clear();
        end_ = std::chrono::steady_clock::now() + std::chrono::minutes(1);
    }

    const std::function<void(const std::string&)> write_;
    std::mutex mutex_;
    std::map<std::string, unsigned> numbers_;
    std::chrono::steady_clock::time_point end_;
};

}  // namespace cimom
