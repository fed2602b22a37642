// What requests may hold of the memory of the process, all together.
#pragma once

#include <atomic>
#include <cstddef>

namespace cimom
{

/// Bytes that are taken and given back. Safe for any number of threads.
class MemoryBudget
{
public:
    explicit MemoryBudget(std::size_t size) : free_(size) {}

    /// False, and nothing taken, when so many bytes are not free.
    bool take(std::size_t bytes)
    {
        std::size_t free = free_;
        while (bytes <= free) {
            if (free_.compare_exchange_weak(free, free - bytes)) return true;
        }
        return false;
    }

    void giveBack(std::size_t bytes) { free_ += bytes; }

private:
    std::atomic<std::size_t> free_;
};

/// What one request has taken of the budget, given back at its end.
class MemoryShare
{
public:
    explicit MemoryShare(MemoryBudget& budget) : budget_(budget) {}
    MemoryShare(const MemoryShare&) = delete;
    MemoryShare& operator=(const MemoryShare&) = delete;
    ~MemoryShare() { budget_.giveBack(taken_); }

    /// Takes what is missing to have so many bytes; false when they are not free.
    bool growTo(std::size_t bytes)
    {
        if (bytes <= taken_) return true;
        if (!budget_.take(bytes - taken_)) return false;
        taken_ = bytes;
        return true;
    }

private:
    MemoryBudget& budget_;
    std::size_t taken_ = 0;
};

/// The memory that this process may use, in bytes: the least of its address space limit, the limits
/// of its control groups, and the machine's memory.
std::size_t usableMemory();

}  // namespace cimom
