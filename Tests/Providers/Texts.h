// Lists of texts, which the tests compare most, and a comparison that prints where they differ.
#pragma once

#include <gtest/gtest.h>

#include <strings.h>

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

/// Texts in order. A list among the items of an initializer stands for its entries.
struct Texts : std::vector<std::string>
{
    struct Item
    {
        Item(const char* text) : entries{text} {}
        Item(const std::string& text) : entries{text} {}
        Item(const Texts& list) : entries(list) {}
        std::vector<std::string> entries;
    };
    Texts() = default;
    Texts(std::size_t count, const std::string& text) : vector(count, text) {}
    Texts(std::initializer_list<Item> items)
    {
        for (const Item& item : items)
            insert(end(), item.entries.begin(), item.entries.end());
    }

    /// The entries that begin so.
    Texts startingWith(const std::string& start) const
    {
        Texts found;
        for (const std::string& text : *this) {
            if (text.compare(0, start.size(), start) == 0) found.push_back(text);
        }
        return found;
    }

    /// True when one is that text, case ignored.
    bool hold(const std::string& text) const
    {
        return std::any_of(begin(), end(), [&](const std::string& each) {
            return strcasecmp(each.c_str(), text.c_str()) == 0;
        });
    }

    /// The entries up to there.
    Texts first(std::size_t count) const
    {
        Texts found;
        found.assign(begin(), begin() + std::ptrdiff_t(std::min(count, size())));
        return found;
    }

    Texts sorted() const
    {
        Texts result = *this;
        std::sort(result.begin(), result.end());
        return result;
    }
};

/// Prints the entries in which the lists differ, one a line, with those around them.
inline testing::AssertionResult isSameList(const char* actualText, const char*, const Texts& actual,
                                           const Texts& expected)
{
    if (actual == expected) return testing::AssertionSuccess();
    const auto shown = [](Texts list) {
        for (std::string& text : list) {
            for (std::size_t at = 0; (at = text.find('\n', at)) != std::string::npos;)
                text.replace(at, 1, "\\n");
        }
        return list;
    };
    std::istringstream diff(
        testing::internal::edit_distance::CreateUnifiedDiff(shown(expected), shown(actual)));
    testing::AssertionResult result = testing::AssertionFailure();
    result << actualText << " is not as expected (- expected, + actual):";
    int left = 30;
    for (std::string line; std::getline(diff, line) && left >= 0; --left)
        result << "\n  " << (left > 0 ? line : "... and more");
    return result;
}

/// EXPECT_LIST(actual, {"one", "two"}): two lists are the same.
#define EXPECT_LIST(actual, ...) EXPECT_PRED_FORMAT2(isSameList, actual, Texts(__VA_ARGS__))
