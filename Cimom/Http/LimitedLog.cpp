#include "Http/LimitedLog.h"

#include <iterator>
#include <utility>

namespace cimom
{

namespace
{

constexpr unsigned firstLines = 5;
constexpr std::size_t mostKinds = 256;  // any further ones count as one
constexpr std::chrono::minutes interval{1};

}  // namespace

LimitedLog::LimitedLog(Write write) : write_(write ? std::move(write) : [](const std::string&) {})
{
}

LimitedLog::~LimitedLog()
{
    flushUntil(std::chrono::steady_clock::time_point::max());
}

void LimitedLog::add(const std::string& line)
{
    const std::lock_guard<std::mutex> lock(mutex_);
    const bool room = lines_.size() < mostKinds || lines_.count(line) != 0;
    const auto end = std::chrono::steady_clock::now() + interval;
    Lines& lines =
        lines_.try_emplace(room ? line : "further kinds of lines", Lines{end}).first->second;
    if (++lines.number <= firstLines) write_(line);
}

void LimitedLog::flush()
{
    flushUntil(std::chrono::steady_clock::now());
}

void LimitedLog::flushUntil(std::chrono::steady_clock::time_point latest)
{
    const std::lock_guard<std::mutex> lock(mutex_);
    for (auto entry = lines_.begin(); entry != lines_.end();) {
        const auto& [line, lines] = *entry;
        const bool over = lines.end <= latest;
        if (over && lines.number > firstLines)
            write_(line + " (" + std::to_string(lines.number - firstLines) + " more of these)");
        entry = over ? lines_.erase(entry) : std::next(entry);
    }
}

}  // namespace cimom
