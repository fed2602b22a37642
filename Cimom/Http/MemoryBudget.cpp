#include "Http/MemoryBudget.h"

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <malloc.h>
#include <string>
#include <sys/resource.h>
#include <unistd.h>

// Of the allocator libmimalloc: null in a program without it.
extern "C" [[gnu::weak]] void mi_collect(bool force);

namespace cimom
{

namespace
{

/// The limit of the process's control group and of those around it (version 2).
std::size_t controlGroupLimit()
{
    const std::filesystem::path root = "/sys/fs/cgroup";
    std::ifstream groups("/proc/self/cgroup");
    std::string line;
    while (std::getline(groups, line) && line.compare(0, 3, "0::") != 0) {
    }
    if (!groups) return SIZE_MAX;
    std::size_t least = SIZE_MAX;
    std::filesystem::path group = std::filesystem::path(line.substr(3)).relative_path();
    for (;; group = group.parent_path()) {
        std::size_t limit = 0;  // stays where the file says "max", or is not there
        if (std::ifstream(root / group / "memory.max") >> limit) least = std::min(least, limit);
        if (group.empty()) return least;
    }
}

}  // namespace

std::size_t budgetOf(std::size_t given)
{
    if (given != 0) return given;
    rlimit space{};
    const bool isLimited = getrlimit(RLIMIT_AS, &space) == 0 && space.rlim_cur != RLIM_INFINITY;
    const auto machine = static_cast<std::size_t>(sysconf(_SC_PHYS_PAGES)) *
                         static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    return std::min(
               {isLimited ? std::size_t{space.rlim_cur} : SIZE_MAX, controlGroupLimit(), machine}) /
           4;
}

void giveBackMemory()
{
    mi_collect ? mi_collect(true) : static_cast<void>(malloc_trim(0));
}

}  // namespace cimom
