// QBX_Records: the texts of record fields.
#include "ProviderTest.h"

#include "QBX_Records.h"

namespace
{

/// The bytes of a field, and the text that they read as; ? stands for U+FFFD.
struct TextRow : Row
{
    std::string bytes;
    std::string text;
};

using TextTest = RowTest<TextRow, ProviderTest>;

TEST_P(TextTest, IsReadToTheEndOfItsFieldAndCleaned)
{
    std::string expected;
    for (const char each : row.text)
        expected += each == '?' ? "\xEF\xBF\xBD" : std::string(1, each);
    EXPECT_EQ(str(QBX_Records::text(row.bytes.data(), row.bytes.size())), expected);
}

// clang-format off
const std::vector<TextRow> TEXTS = {
    {"EndsAtNul", std::string("ab\0c", 4), "ab"},
    {"FullField", "nnnn", "nnnn"},
    {"WellFormed", "\xC3\xB6 \xEF\x80\x80 \xF0\x9F\x94\xA5", "\xC3\xB6 \xEF\x80\x80 \xF0\x9F\x94\xA5"},
    {"NoUtf8", "a\xFF\xFE" "b", "a??b"},
    {"CutAfterTwoBytes", "\xE2\x82", "??"},
    {"ContinuationMissing", "\xE2" "A\xAC \xE2\x82" "A \xF0\x9F\x94" "A", "?A? ??A ???A"},
    {"OverlongTwoBytes", "\xC0\x80 \xC1\xBF \xC2\x80", "?? ?? \xC2\x80"},
    {"OverlongThreeBytes", "\xE0\x9F\xBF \xE0\xA0\x80", "??? \xE0\xA0\x80"},
    {"OverlongFourBytes", "\xF0\x8F\xBF\xBF \xF0\x90\x80\x80", "???? \xF0\x90\x80\x80"},
    {"Surrogates", "\xED\xA0\x80 \xED\x9F\xBF \xEE\x80\x80", "??? \xED\x9F\xBF \xEE\x80\x80"},
    {"AboveUnicode", "\xF4\x90\x80\x80 \xF4\x8F\xBF\xBF", "???? \xF4\x8F\xBF\xBF"},
    {"NoLeadByte", "\xF5\x80\x80\x80", "????"},
    {"NoCharacters", "\xEF\xBF\xBD \xEF\xBF\xBE \xEF\xBF\xBF", "? ??? ???"},
    {"ControlCharacters", "\x01\x08\x0B\x0C\x0E\x1F\x7F", "??????\x7F"},
    {"WhiteSpace", "a\tb\nc\rd", "a\tb\nc\rd"},
};
// clang-format on
INSTANTIATE_TEST_SUITE_P(Records, TextTest, testing::ValuesIn(TEXTS), NameOfRow());

TEST(SensorWalk, DoesNotClampTheCount)
{
    api_sensor_t sensors[12] = {};
    sensors[11].reading = 1;
    unsigned found = 0;
    QBX_Records::forEachSensor(sensors, 12, [&](const api_sensor_t&, unsigned index) {
        found = index;
        return true;
    });
    EXPECT_EQ(found, 11u);
}

}  // namespace
