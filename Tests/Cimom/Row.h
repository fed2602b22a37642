// Tables of tests: each row becomes a test with a name.
#pragma once

#include <gtest/gtest.h>

#include <ostream>
#include <string>

namespace cimom
{

/// The name of a row, and where it stands. To be the base of the row's type.
struct Row
{
    Row(const char* nameOfRow, const char* fileOfRow = __builtin_FILE(),
        int lineOfRow = __builtin_LINE())
        : name(nameOfRow), file(fileOfRow), line(lineOfRow)
    {
    }
    const char* name;
    const char* file;
    int line;
};

inline std::ostream& operator<<(std::ostream& out, const Row& row)
{
    return out << row.file << ":" << row.line;
}

/// For INSTANTIATE_TEST_SUITE_P: tests are called after their rows.
struct NameOfRow
{
    template <class Info>
    std::string operator()(const Info& info) const
    {
        return info.param.name;
    }
};

}  // namespace cimom
