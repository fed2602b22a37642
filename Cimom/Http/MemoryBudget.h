// What requests may hold of the memory of the process, all together.
#pragma once

#include <atomic>
#include <cstddef>

namespace cimom
{

/// Bytes that are free for all requests together. Safe for any number of threads.
using MemoryBudget = std::atomic<std::size_t>;

/// What one request has taken of the budget, given back at its end.
class MemoryShare
{
public:
    explicit MemoryShare(MemoryBudget& budget) : budget_(budget) {}
    MemoryShare(const MemoryShare&) = delete;
    MemoryShare& operator=(const MemoryShare&) = delete;
    ~MemoryShare() { budget_ += taken_; }

    /// Takes what is missing to have so many bytes; false, and nothing taken, when they are not
    /// free.
    bool growTo(std::size_t bytes)
    {
        if (bytes <= taken_) return true;
        const std::size_t missing = bytes - taken_;
        for (std::size_t free = budget_; missing <= free;) {
            if (!budget_.compare_exchange_weak(free, free - missing)) continue;
            taken_ = bytes;
            return true;
        }
        return false;
    }

private:
    MemoryBudget& budget_;
    std::size_t taken_ = 0;
};

/// The budget of a server: the bytes given, or when that is 0, a quarter of the memory that this
/// process may use, which is the least of its address space limit, the limits of its control
/// groups, and the machine's memory.
std::size_t budgetOf(std::size_t given);

/// Gives back to the system what this thread, or one that has ended, has freed.
void giveBackMemory();

}  // namespace cimom
