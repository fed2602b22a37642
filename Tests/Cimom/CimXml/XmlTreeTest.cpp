#include "CimXml/XmlTree.h"

#include <gtest/gtest.h>

namespace cimom
{
namespace
{

const std::string declaration = "<?xml version=\"1.0\" encoding=\"utf-8\" ?>\n";

std::string textOf(const std::string& inner)
{
    return parseXml(declaration + "<V>" + inner + "</V>", XmlProlog::Required).text;
}

TEST(XmlTree, TextKeepsReferencedBlanksAndDropsLiteralOnes)
{
    const struct
    {
        std::string inner;
        std::string text;
    } cases[] = {
        {"", ""},
        {"  \n\t ", ""},
        {"  a  b ", "a  b"},
        {"&#32;a&#32;", " a "},
        {" &#32; a \n &lt; ", "  a \n <"},
        {"a&#10;", "a\n"},
        {"&#9;", "\t"},
        {"\na", "a"},
        {"a<!-- c -->b", "ab"},
        {"<![CDATA[ x ]]>", " x "},
        {"<![CDATA[a<b&#1;]]> ", "a<b&#1;"},
        {"a&#228;\xC3\xA4&#x1F600;", "a\xC3\xA4\xC3\xA4\xF0\x9F\x98\x80"},
        {"&#1;&#x1f;&#31; &#x7F;", "\x01\x1f\x1f \x7f"},
        {"&lt;&gt;&amp;&quot;&apos;", "<>&\"'"},
        {"&#65232;", "\xEF\xBB\x90"},  // a neighbour of the characters that stand in for controls
    };
    for (const auto& c : cases)
        EXPECT_EQ(textOf(c.inner), c.text) << c.inner;
}

TEST(XmlTree, AttributesAndChildrenInOrder)
{
    const XmlElement root =
        parseXml(declaration + "<A X='1' Y=\"&lt;&#1;\"><B/>\n <C>t</C><B Z=''/></A><trailing",
                 XmlProlog::Required);
    EXPECT_EQ(root.name, "A");
    EXPECT_EQ(*root.attribute("X"), "1");
    EXPECT_EQ(*root.attribute("Y"), "<\x01");
    EXPECT_EQ(root.attribute("Z"), nullptr);
    ASSERT_EQ(root.children.size(), 3U);
    EXPECT_EQ(root.children[1].text, "t");
    EXPECT_EQ(root.children[1].line, 3U);
    EXPECT_EQ(root.child("B"), &root.children[0]);
    EXPECT_EQ(root.child("D"), nullptr);
}

TEST(XmlTree, RefusesWhatIsNoAcceptableDocument)
{
    std::string nested;
    for (int i = 0; i < 65; ++i)
        nested += "<A>";
    std::string many = "<A>";
    for (int i = 0; i < 100001; ++i)
        many += "<B/>";
    const struct
    {
        std::string document;
        bool wellFormed;
        std::string text;
    } cases[] = {
        {"", true, "Validation error: on line 1: Expected <?xml ... ?> style declaration"},
        {"hello", true, "Validation error: on line 1: Expected <?xml ... ?> style declaration"},
        {" " + declaration + "<A/>", true,
         "Validation error: on line 1: Expected <?xml ... ?> style declaration"},
        {declaration, false, "no element found: on line 2"},
        {declaration + "<A><B></A>", false, "mismatched tag: on line 2"},
        {declaration + "<A", false, "unclosed token: on line 2"},
        {declaration + "<A><B/>", false, "no element found: on line 2"},
        {declaration + "<A>&foo;</A>", false, "undefined entity: on line 2"},
        {declaration + "<A>&#0;</A>", false, "reference to invalid character number: on line 2"},
        {declaration + "<A>&#x110000;</A>", false,
         "reference to invalid character number: on line 2"},
        {declaration + "<A>\x01</A>", false, "not well-formed (invalid token): on line 2"},
        {declaration + "<A>\xE4</A>", true, "Invalid UTF-8 character detected."},
        {declaration + "<A>\xC0\x80</A>", true, "Invalid UTF-8 character detected."},
        {declaration + "<A>\xED\xA0\x80</A>", true, "Invalid UTF-8 character detected."},
        {declaration + "<A>\xF4\x90\x80\x80</A>", true, "Invalid UTF-8 character detected."},
        {declaration + "<A/>\xC3", true, "Invalid UTF-8 character detected."},
        {declaration + "<!DOCTYPE A><A/>", true,
         "Validation error: on line 2: Expected open of CIM element"},
        {declaration + "<!DOCTYPE A [<!ENTITY e \"x\">]><A>&e;</A>", true,
         "Validation error: on line 2: Expected open of CIM element"},
        {declaration + "<A>text<B/></A>", true,
         "Validation error: on line 2: Unexpected text in A element"},
        {declaration + nested, true, "Validation error: on line 2: elements are nested too deeply"},
        {declaration + many, true, "Validation error: on line 2: too many elements"},
    };
    for (const auto& c : cases) {
        try {
            parseXml(c.document, XmlProlog::Required);
            ADD_FAILURE() << "accepted: " << c.document.substr(0, 200);
        } catch (const XmlError& error) {
            EXPECT_EQ(error.what(), c.text) << c.document.substr(0, 200);
            EXPECT_EQ(error.wellFormed(), c.wellFormed) << c.document.substr(0, 200);
        }
    }
}

TEST(XmlTree, EveryTruncationIsRefused)
{
    const std::string document =
        declaration + "<A X=\"1\"><B>&#1;\xC3\xA4<![CDATA[x]]></B><!-- c --></A>";
    EXPECT_NO_THROW(parseXml(document, XmlProlog::Required));
    for (std::size_t size = 0; size < document.size(); ++size) {
        EXPECT_THROW(parseXml(document.substr(0, size), XmlProlog::Required), XmlError) << size;
    }
}

}  // namespace
}  // namespace cimom
