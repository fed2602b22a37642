// Log lines that clients cause, as often as they like.
#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <mutex>
#include <string>

namespace cimom
{

/// Writes the first few of equal lines; of further ones in the same minute, only their number, when
/// it is over. Safe for any number of threads.
class LimitedLog
{
public:
    using Write = std::function<void(const std::string&)>;
    explicit LimitedLog(Write write);  ///< may be empty
    /// Writes what is counted.
    ~LimitedLog();

    void add(const std::string& line);
    /// Writes the numbers of those minutes that are over.
    void flush();

private:
    struct Lines
    {
        std::chrono::steady_clock::time_point end;
        unsigned number = 0;
    };

    void flushUntil(std::chrono::steady_clock::time_point);

    const Write write_;
    std::mutex mutex_;
    std::map<std::string, Lines> lines_;
};

}  // namespace cimom
