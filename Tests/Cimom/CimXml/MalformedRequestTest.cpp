// Requests whose XML or whose elements are not what they have to be. What is wrong with the
// elements around the call, and with header fields, the recorded exchanges show.
#include "ServiceFixture.h"

PEGASUS_USING_PEGASUS;

namespace cimom
{
namespace
{

/// What stands in an instance that is to be created, and the end of the detail of the refusal.
struct MalformedContent : Row
{
    std::string content;
    std::string detail;
};

using MalformedInstance = ServiceTableTest<MalformedContent>;

CimRequest create(const std::string& content)
{
    return intrinsic("CreateInstance",
                     parameter("NewInstance", element("INSTANCE CLASSNAME='T_Leaf'", content)));
}

TEST_P(MalformedInstance, IsRefusedAndCallsNoProvider)
{
    const std::string refusal = send(create(GetParam().content)).refusal;
    EXPECT_EQ(refusal.substr(0, 22), "400 request-not-valid:") << refusal;
    EXPECT_EQ(refusal.substr(refusal.rfind(": ") + 2), GetParam().detail)
        << refusal << " for " << GetParam().content;
    EXPECT_EQ(scripted::calls, Lines{});
}

// Properties in the instance, and what they consist of.
std::string property(const std::string& attributes, const std::string& content = "")
{
    return element("PROPERTY NAME='P' " + attributes, content);
}
std::string array(const std::string& content)
{
    return element("PROPERTY.ARRAY NAME='P' TYPE='string'", content);
}
std::string reference(const std::string& path)
{
    return element("PROPERTY.REFERENCE NAME='P'", element("VALUE.REFERENCE", path));
}
std::string key(const std::string& content)
{
    return reference(
        element("INSTANCENAME CLASSNAME='C'", element("KEYBINDING NAME='k'", content)));
}

const std::string embedded = "EmbeddedObject='instance' TYPE='string'";
const MalformedContent malformedContents[] = {
    {"Text", "text" + property("TYPE='string'"), "Unexpected text in INSTANCE element"},
    {"PropertyTwice", property("TYPE='string'") + "<PROPERTY NAME='p' TYPE='string'/>",
     "property \"p\""},
    {"PropertyWithoutName", "<PROPERTY TYPE='string'/>", "missing PROPERTY.NAME attribute"},
    {"PropertyOfUnknownType", property("TYPE='int'"), "Illegal value for PROPERTY.TYPE attribute"},
    {"ArrayWithNull", array("<VALUE.ARRAY><VALUE.NULL/></VALUE.ARRAY>"),
     "Unexpected VALUE.NULL element in VALUE.ARRAY element"},
    {"ReferenceToNothing", reference(""), "Expected one element in VALUE.REFERENCE"},
    {"ReferenceToEmptyPath", reference("<LOCALINSTANCEPATH/>"),
     "Expected LOCALNAMESPACEPATH element and one more"},
    {"NameThatIsTooLong", key(element("KEYVALUE", std::string(65536, 'x'))),
     "the path is longer than 65536 characters"},
    {"KeyOfUnknownType", key("<KEYVALUE VALUETYPE='x'>1</KEYVALUE>"),
     "Illegal value for KEYVALUE.VALUETYPE attribute"},
    {"KeyWithCdata", key("<KEYVALUE><![CDATA[x]]></KEYVALUE>"),
     "Expected close of KEYVALUE element, got x instead"},
};
INSTANTIATE_TEST_SUITE_P(By, MalformedInstance, ::testing::ValuesIn(malformedContents),
                         NameOfRow());

TEST_F(ServiceTest, RefusesEmbeddedInstancesNestedTooDeeply)
{
    std::string content = "x";
    for (int i = 0; i < 7; ++i) {
        std::string escaped;
        for (const char c : element("INSTANCE CLASSNAME='A'", property(embedded, value(content))))
            escaped += c == '<' ? "&lt;" : c == '&' ? "&amp;" : std::string(1, c);
        content = escaped;
    }
    const std::string refusal = send(create(property(embedded, value(content)))).refusal;
    EXPECT_NE(refusal.find("on line 1: elements are nested too deeply"), std::string::npos)
        << refusal;
}

TEST_F(ServiceTest, RefusesARequestCutOffAnywhereAndCallsNoProvider)
{
    CimRequest request =
        extrinsic("<PARAMVALUE NAME='Count' PARAMTYPE='uint32'><VALUE>&#32;5</VALUE></PARAMVALUE>");
    while (!request.body.empty()) {
        request.body.pop_back();
        ASSERT_EQ(answerCimRequest(*broker, enumerations, request).status, 400) << request.body;
        ASSERT_EQ(scripted::calls, Lines{}) << request.body;
    }
}

// ---- Documents: what the parser itself finds, the recorded exchanges show ----

/// "read", or the error.
std::string outcomeOfParsing(const std::string& document)
{
    try {
        parseXml(document);
        return "read";
    } catch (const RequestError& error) {
        return error.cimError == "request-not-valid" ? error.detail : error.cimError;
    }
}

std::string repeated(int times, const std::string& text)
{
    std::string result;
    for (int i = 0; i < times; ++i)
        result += text;
    return result;
}

TEST(XmlTree, RefusesWhatIsNoTextOfXml)
{
    const std::string invalid = "Invalid UTF-8 character detected.";
    EXPECT_EQ(outcomeOfParsing("<A>&#0;</A>"), "request-not-well-formed");
    EXPECT_EQ(outcomeOfParsing("<A>&#4294967297;</A>"), "request-not-well-formed");
    EXPECT_EQ(outcomeOfParsing("<A>\xE0\x82\x80</A>"), invalid) << "overlong";
    EXPECT_EQ(outcomeOfParsing("<A>\xF0\x82\x82\x80</A>"), invalid) << "overlong";
    EXPECT_EQ(outcomeOfParsing("<A/>\xED\xA0\x80"), invalid) << "a surrogate";
}

TEST(XmlTree, RefusesTooManyElementsAndTooManyLevels)
{
    const std::string where = "Validation error: on line 1: ";
    EXPECT_EQ(outcomeOfParsing(repeated(64, "<A>") + repeated(64, "</A>")), "read");
    EXPECT_EQ(outcomeOfParsing(repeated(65, "<A>")), where + "elements are nested too deeply");
    EXPECT_EQ(outcomeOfParsing("<A>" + repeated(2000, "<B/>") + "</A>"), "read");
    EXPECT_EQ(outcomeOfParsing("<A>" + repeated(100000, "<B/>")),
              where + "the elements need too much memory");
}

TEST(XmlTree, TakesReferencesToControlCharactersAndNoncharacters)
{
    // The parser uses one of the noncharacters itself.
    const std::string same =
        "\xEF\xB7\x90@\xEF\xB7\xAF\xEF\xB7\x90\xF4\x8F\xBF\xBE\xEF\xB7\x90\x41";
    const std::string written =
        "&#1;&#x1f;&#31; &#x20;&#x7F;&#65519;&#xFDD0;&#xfdef;&#x10FFFE;" + same;
    const std::string expected =
        "\x01\x1f\x1f  \x7f\xEF\xBF\xAF\xEF\xB7\x90\xEF\xB7\xAF\xF4\x8F\xBF\xBE" + same;
    const XmlElement root = parseXml("<A X='" + written + "'>\n" + written + "<!-- &#1; --></A>");
    EXPECT_EQ(root.text, expected);
    EXPECT_EQ(*root.attribute("X"), expected);
}

}  // namespace
}  // namespace cimom
