// Tables of tests: each row becomes a test with a name.
#pragma once

#include <gtest/gtest.h>

#include <ostream>
#include <string>

/// The name of a row, and where it stands. A row's type derives from it, so that {"Name", ...} in a
/// list of rows knows its line.
struct Row
{
    Row(const char* rowName, const char* rowFile = __builtin_FILE(), int rowLine = __builtin_LINE())
        : name(rowName), file(rowFile), line(rowLine)
    {
    }
    std::string name;
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

/// A test of each row of a list; a failure names the row's file and line.
template <class RowType, class Fixture>
class RowTest : public Fixture, public testing::WithParamInterface<RowType>
{
protected:
    const RowType& row = this->GetParam();

private:
    const testing::ScopedTrace _row{row.file, row.line, "row " + row.name};
};
