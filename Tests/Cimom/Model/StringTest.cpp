#include <Pegasus/Common/Array.h>
#include <Pegasus/Common/Exception.h>
#include <Pegasus/Common/String.h>

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

using namespace Pegasus;

namespace
{

std::vector<unsigned> unitsOf(const String& text)
{
    std::vector<unsigned> units;
    for (Uint32 i = 0; i < text.size(); ++i)
        units.push_back(text[i]);
    return units;
}

/// The message of the exception that the call throws, or "nothing".
template <class Call>
std::string messageOf(Call call)
{
    try {
        call();
        return "nothing";
    } catch (const Exception& exception) {
        return std::string(exception.getMessage().getCString());
    }
}

TEST(String, ReadsUtf8)
{
    const struct
    {
        const char* bytes;
        std::vector<unsigned> units;
    } cases[] = {
        {"", {}},
        {"a\xC3\xA9", {'a', 0xE9}},
        {"\xE4\xB8\xAD\xF0\x9F\x98\x80", {0x4E2D, 0xD83D, 0xDE00}},
        {"\xEF\xBB\xBFx", {0xFEFF, 'x'}},                // a byte order mark stays
        {"\xED\xA0\x80\xEF\xBF\xBF", {0xFFFD, 0xFFFD}},  // surrogates and U+FFFF do not
        {"\xF4\x8F\xBF\xBF", {0xDBFF, 0xDFFF}},
    };
    for (const auto& x : cases)
        EXPECT_EQ(x.units, unitsOf(String(x.bytes))) << x.bytes;
}

TEST(String, RefusesWhatIsNotUtf8)
{
    const std::string start = "The byte sequence starting at index ";
    const std::string text(50, 'x');
    const struct
    {
        std::string bytes;
        std::string rest;
    } cases[] = {
        {"\x80", "0 is not valid UTF-8 encoding:  0x80"},
        {"ab\xFFyz", "2 is not valid UTF-8 encoding: ab 0xFF 0x79 0x7A"},
        {"\xC3", "0 is not valid UTF-8 encoding:  0xC3"},                             // cut short
        {"\xC0\x80", "0 is not valid UTF-8 encoding:  0xC0 0x80"},                    // overlong
        {"\xE0\x9F\xBF", "0 is not valid UTF-8 encoding:  0xE0 0x9F 0xBF"},           // overlong
        {"\xF4\x90\x80\x80", "0 is not valid UTF-8 encoding:  0xF4 0x90 0x80 0x80"},  // too high
        {text + "\xFF", "50 is not valid UTF-8 encoding: " + text.substr(10) + " 0xFF"},
        {"\xFF" + text,
         "0 is not valid UTF-8 encoding:  0xFF 0x78 0x78 0x78 0x78 0x78 0x78 0x78 "
         "0x78 0x78 0x78"},
    };
    for (const auto& x : cases)
        EXPECT_EQ(start + x.rest, messageOf([&] { String text(x.bytes.c_str()); })) << x.bytes;
}

TEST(String, AFailedAssignmentChangesNothing)
{
    String text("keep");
    EXPECT_THROW(text.assign("ab\xFF"), Exception);
    EXPECT_EQ(String("keep"), text);
}

TEST(String, NullPointersAreErrors)
{
    const char* const chars = nullptr;
    const Char16* const units = nullptr;
    String text("keep");
    EXPECT_EQ("null pointer", messageOf([&] { String x(chars); }));
    EXPECT_EQ("null pointer", messageOf([&] { String x(chars, 1); }));
    EXPECT_EQ("null pointer", messageOf([&] { String x(units); }));
    EXPECT_EQ("null pointer", messageOf([&] { text.assign(chars); }));
    EXPECT_EQ("null pointer", messageOf([&] { text.assign(units); }));
    EXPECT_EQ("null pointer", messageOf([&] { text.append(units, 1); }));
    EXPECT_EQ(String("keep"), text);
}

TEST(String, TakesPartsOfItself)
{
    String text("abc");
    for (int i = 0; i < 6; ++i)
        text.append(text);
    EXPECT_EQ(192U, text.size());
    text = String("abcdef");
    text.append(text.getChar16Data() + 3, 3);
    EXPECT_EQ(String("abcdefdef"), text);
    text.assign(text.getChar16Data() + 6, 2);
    EXPECT_EQ(String("de"), text);
    text.append(text[1]);
    EXPECT_EQ(String("dee"), text);
}

TEST(String, FormatsTextOfAnyLength)
{
    const std::string word(1000, 'w');
    String text("<");
    text.appendPrintf("%s|%d>", word.c_str(), -5);
    EXPECT_EQ(String(("<" + word + "|-5>").c_str()), text);
}

TEST(String, ChangesStayInOneCopy)
{
    const String original("Abc");
    String indexed(original);
    indexed[0] = Char16('x');
    String lowered(original);
    lowered.toLower();
    String shortened(original);
    shortened.remove(1);
    String cleared(original);
    cleared.clear();
    EXPECT_EQ(String("xbc"), indexed);
    EXPECT_EQ(String("abc"), lowered);
    EXPECT_EQ(String("A"), shortened);
    EXPECT_EQ(String::EMPTY, cleared);
    EXPECT_EQ(String("Abc"), original);
}

TEST(String, PositionsAtAndPastTheEnd)
{
    String text("abc");
    EXPECT_EQ(0U, Uint16(text[3]));
    EXPECT_EQ(0U, Uint16(String()[0]));
    EXPECT_THROW(text[4], IndexOutOfBoundsException);
    EXPECT_THROW(text.remove(2, 2), IndexOutOfBoundsException);
    EXPECT_THROW(text.remove(4, 0), IndexOutOfBoundsException);
    EXPECT_THROW(text.find(4, Char16('a')), IndexOutOfBoundsException);
    EXPECT_EQ(PEG_NOT_FOUND, text.find(3, Char16('a')));
    EXPECT_EQ(PEG_NOT_FOUND, text.find(String()));
    EXPECT_EQ(String("c"), text.subString(2, 9));
    EXPECT_EQ(String(), text.subString(9));
    EXPECT_THROW(String(text, 4), IndexOutOfBoundsException);
    text.remove(0);
    EXPECT_EQ(0U, Uint16(text.getChar16Data()[0]));
}

TEST(String, OrderEndsAtAZeroEqualityDoesNot)
{
    const Char16 b[] = {'a', Uint16(0), 'b'};
    const Char16 c[] = {'a', Uint16(0), 'c'};
    const String x(b, 3);
    const String y(c, 3);
    EXPECT_EQ(0, String::compare(x, y));
    EXPECT_TRUE(x <= y && x >= y && x != y);
    EXPECT_GT(0, String::compareNoCase(String("A"), String("b")));
    EXPECT_LT(0, String::compareNoCase(String("a"), String("_")));
    EXPECT_TRUE(String::equalNoCase(String("\xC3\xA9X"), String("\xC3\xA9x")));
    EXPECT_FALSE(String::equalNoCase(String("\xC3\xA9"), String("\xC3\x89")));
}

TEST(String, StreamsAsBytesAndEscapes)
{
    std::ostringstream out;
    out << String("a\xC3\xA9\xE4\xB8\xAD\n");
    EXPECT_EQ("a\xE9\\x4E2D\n", out.str());
}

TEST(CString, OutlivesItsString)
{
    String text("\xC3\xA9");
    const CString chars = text.getCString();
    text = String("other");
    EXPECT_STREQ("\xC3\xA9", chars);
    EXPECT_EQ(nullptr, static_cast<const char*>(CString()));
}

}  // namespace
