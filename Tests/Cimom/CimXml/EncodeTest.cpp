// What is written, and that reading it back gives the same.
#include "CimXml/Decode.h"
#include "CimXml/Encode.h"

#include <Pegasus/Common/Exception.h>

#include <cmath>
#include <gtest/gtest.h>
#include <limits>

PEGASUS_USING_PEGASUS;

namespace cimom
{
namespace
{

template <class T>
Array<T> arrayOf(std::initializer_list<T> items)
{
    Array<T> array;
    for (const T& item : items)
        array.append(item);
    return array;
}

std::string valueText(const CIMValue& value)
{
    std::string out;
    xml::appendValue(out, value);
    return out;
}

/// Reads an encoded value back as the content of an element.
CIMValue readBack(const std::string& text, CIMType type, bool isArray)
{
    return xml::decodeValue(parseXml("<P>" + text + "</P>", XmlProlog::Optional), type, isArray);
}

TEST(Encode, ValuesOfEveryTypeAndBack)
{
    const Real32 r32 = 3.14159f;
    const Real64 r64 = 1.0 / 3;
    const struct
    {
        CIMValue value;
        std::string text;
    } cases[] = {
        {CIMValue(Boolean(true)), "TRUE"},
        {CIMValue(Boolean(false)), "FALSE"},
        {CIMValue(Uint8(255)), "255"},
        {CIMValue(Sint8(-128)), "-128"},
        {CIMValue(Uint16(65535)), "65535"},
        {CIMValue(Sint16(-32768)), "-32768"},
        {CIMValue(Uint32(0)), "0"},
        {CIMValue(Sint32(-2147483647 - 1)), "-2147483648"},
        {CIMValue(Uint64(18446744073709551615ULL)), "18446744073709551615"},
        {CIMValue(Sint64(std::numeric_limits<Sint64>::min())), "-9223372036854775808"},
        {CIMValue(r32), "3.1415901e+00"},
        {CIMValue(Real32(0.1f)), "1.0000000e-01"},
        {CIMValue(Real32(-0.0f)), "-0.0000000e+00"},
        {CIMValue(-std::numeric_limits<Real32>::infinity()), "-inf"},
        {CIMValue(r64), "3.3333333333333331e-01"},
        {CIMValue(std::numeric_limits<Real64>::max()), "1.7976931348623157e+308"},
        {CIMValue(std::numeric_limits<Real64>::denorm_min()), "4.9406564584124654e-324"},
        {CIMValue(std::numeric_limits<Real64>::infinity()), "inf"},
        {CIMValue(Char16('<')), "&lt;"},
        {CIMValue(Char16(' ')), "&#32;"},
        {CIMValue(Char16(0xE4)), "\xC3\xA4"},
        {CIMValue(String()), ""},
        {CIMValue(String("a")), "a"},
        {CIMValue(String(" ")), "&#32;"},
        {CIMValue(String("  a   b  ")), "&#32; a &#32; b &#32;"},
        {CIMValue(String("<>&\"'")), "&lt;&gt;&amp;&quot;&apos;"},
        {CIMValue(String("\x01\x1f\x7f\t\r\n")), "&#1;&#31;&#127;&#9;&#13;&#10;"},
        {CIMValue(String("\xC3\xA4\xF0\x9F\x98\x80")), "\xC3\xA4\xF0\x9F\x98\x80"},
        {CIMValue(String("]]>&amp;<!--")), "]]&gt;&amp;amp;&lt;!--"},
        {CIMValue(CIMDateTime("20260102030405.678901+060")), "20260102030405.678901+060"},
        {CIMValue(CIMDateTime("00000001000000.000000:000")), "00000001000000.000000:000"},
    };
    for (const auto& c : cases) {
        const std::string text = "<VALUE>" + c.text + "</VALUE>\n";
        EXPECT_EQ(valueText(c.value), text);
        EXPECT_TRUE(readBack(text, c.value.getType(), false).equal(c.value)) << text;
    }
}

TEST(Encode, NotANumberComesBackAsNotANumber)
{
    const std::string text = valueText(CIMValue(std::numeric_limits<Real64>::quiet_NaN()));
    EXPECT_EQ(text, "<VALUE>nan</VALUE>\n");
    Real64 back = 0;
    readBack(text, CIMTYPE_REAL64, false).get(back);
    EXPECT_TRUE(std::isnan(back));
}

TEST(Encode, NothingIsCutOffAtANul)
{
    String text("a");
    text.append(Char16(0)).append(String("b"));
    EXPECT_EQ(valueText(CIMValue(text)), "<VALUE>a&#0;b</VALUE>\n");
    EXPECT_EQ(xml::utf8(text), std::string("a\0b", 3));
}

TEST(Encode, LoneSurrogatesBecomeReplacementCharacters)
{
    const Char16 text[] = {Char16(0xD83D), Char16('x'), Char16(0xDE00), Char16(0xD83D)};
    EXPECT_EQ(xml::utf8(String(text, 4)), "\xEF\xBF\xBDx\xEF\xBF\xBD\xEF\xBF\xBD");
}

TEST(Encode, ArraysAndNulls)
{
    EXPECT_EQ(valueText(CIMValue(CIMTYPE_STRING, false)), "");
    EXPECT_EQ(valueText(CIMValue(CIMTYPE_STRING, true)), "");
    const struct
    {
        CIMValue value;
        std::string text;
    } cases[] = {
        {CIMValue(Array<String>()), "<VALUE.ARRAY>\n</VALUE.ARRAY>\n"},
        {CIMValue(arrayOf<String>({"x", "", " y "})),
         "<VALUE.ARRAY>\n<VALUE>x</VALUE>\n<VALUE></VALUE>\n<VALUE>&#32;y&#32;</VALUE>\n</VALUE.ARRAY>\n"},
        {CIMValue(arrayOf<Uint16>({2, 3})),
         "<VALUE.ARRAY>\n<VALUE>2</VALUE>\n<VALUE>3</VALUE>\n</VALUE.ARRAY>\n"},
        {CIMValue(arrayOf<Boolean>({true, false})),
         "<VALUE.ARRAY>\n<VALUE>TRUE</VALUE>\n<VALUE>FALSE</VALUE>\n</VALUE.ARRAY>\n"},
        {CIMValue(arrayOf<Real32>({0.5f})),
         "<VALUE.ARRAY>\n<VALUE>5.0000000e-01</VALUE>\n</VALUE.ARRAY>\n"},
        {CIMValue(arrayOf<Char16>({Char16('a')})),
         "<VALUE.ARRAY>\n<VALUE>a</VALUE>\n</VALUE.ARRAY>\n"},
        {CIMValue(arrayOf<CIMDateTime>({CIMDateTime("20260102030405.678901+060")})),
         "<VALUE.ARRAY>\n<VALUE>20260102030405.678901+060</VALUE>\n</VALUE.ARRAY>\n"},
        {CIMValue(arrayOf<CIMObjectPath>({CIMObjectPath("C.k=1")})),
         "<VALUE.REFARRAY>\n<VALUE.REFERENCE>\n<INSTANCENAME CLASSNAME=\"C\">\n<KEYBINDING NAME=\"k\">\n"
         "<KEYVALUE VALUETYPE=\"numeric\">1</KEYVALUE>\n</KEYBINDING>\n</INSTANCENAME>\n</VALUE.REFERENCE>\n"
         "</VALUE.REFARRAY>\n"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(valueText(c.value), c.text);
        EXPECT_TRUE(readBack(c.text, c.value.getType(), true).equal(c.value)) << c.text;
    }
}

TEST(Encode, ReferencesWithAsMuchOfThePathAsTheyHave)
{
    const std::string local =
        "<LOCALNAMESPACEPATH>\n<NAMESPACE NAME=\"root\"/>\n<NAMESPACE NAME=\"x\"/>\n"
        "</LOCALNAMESPACEPATH>\n";
    const std::string name =
        "<INSTANCENAME CLASSNAME=\"C\">\n<KEYBINDING NAME=\"b\">\n"
        "<KEYVALUE VALUETYPE=\"boolean\">TRUE</KEYVALUE>\n</KEYBINDING>\n"
        "<KEYBINDING NAME=\"k\">\n<KEYVALUE VALUETYPE=\"string\">v &#32;&lt;</KEYVALUE>\n"
        "</KEYBINDING>\n</INSTANCENAME>\n";
    const std::string keys = "C.k=\"v  <\",b=TRUE";
    const struct
    {
        std::string path;
        std::string text;
    } cases[] = {
        {"C", "<INSTANCENAME CLASSNAME=\"C\">\n</INSTANCENAME>\n"},
        {keys, name},
        {"root/x:" + keys, "<LOCALINSTANCEPATH>\n" + local + name + "</LOCALINSTANCEPATH>\n"},
        {"//h:5989/root/x:" + keys, "<INSTANCEPATH>\n<NAMESPACEPATH>\n<HOST>h:5989</HOST>\n" +
                                        local + "</NAMESPACEPATH>\n" + name + "</INSTANCEPATH>\n"},
        {"A.r=\"root/x:C.k=1\"",
         "<INSTANCENAME CLASSNAME=\"A\">\n<KEYBINDING NAME=\"r\">\n<VALUE.REFERENCE>\n<LOCALINSTANCEPATH>\n" +
             local +
             "<INSTANCENAME CLASSNAME=\"C\">\n<KEYBINDING NAME=\"k\">\n"
             "<KEYVALUE VALUETYPE=\"numeric\">1</KEYVALUE>\n</KEYBINDING>\n</INSTANCENAME>\n</LOCALINSTANCEPATH>\n"
             "</VALUE.REFERENCE>\n</KEYBINDING>\n</INSTANCENAME>\n"},
        {"A.r=\"B.s=\\\"C.k=1\\\"\"",
         "<INSTANCENAME CLASSNAME=\"A\">\n<KEYBINDING NAME=\"r\">\n<VALUE.REFERENCE>\n<INSTANCENAME CLASSNAME=\"B\">\n"
         "<KEYBINDING NAME=\"s\">\n<VALUE.REFERENCE>\n<INSTANCENAME CLASSNAME=\"C\">\n<KEYBINDING NAME=\"k\">\n"
         "<KEYVALUE VALUETYPE=\"numeric\">1</KEYVALUE>\n</KEYBINDING>\n</INSTANCENAME>\n</VALUE.REFERENCE>\n"
         "</KEYBINDING>\n</INSTANCENAME>\n</VALUE.REFERENCE>\n</KEYBINDING>\n</INSTANCENAME>\n"},
    };
    for (const auto& c : cases) {
        const CIMValue value(CIMObjectPath(String(c.path.c_str())));
        const std::string text = "<VALUE.REFERENCE>\n" + c.text + "</VALUE.REFERENCE>\n";
        EXPECT_EQ(valueText(value), text) << c.path;
        EXPECT_TRUE(readBack(text, CIMTYPE_REFERENCE, false).equal(value)) << c.path;
    }
}

/// An instance with one property of each form.
CIMInstance sampleInstance()
{
    CIMInstance inner("Inner");
    inner.addProperty(CIMProperty("S", CIMValue(String("a <b>  \"q\"\n"))));
    CIMInstance instance("Inst");
    instance.addQualifier(CIMQualifier("Q", CIMValue(String("z"))));
    instance.addProperty(CIMProperty("P", CIMValue(Uint8(1)), 0, CIMName(), CIMName("Base"), true));
    instance.addProperty(CIMProperty("N", CIMValue(CIMTYPE_STRING, false)));
    instance.addProperty(
        CIMProperty("A", CIMValue(arrayOf<Uint16>({2})), 0, CIMName(), CIMName("Base"), true));
    instance.addProperty(CIMProperty("NA", CIMValue(CIMTYPE_SINT8, true)));
    instance.addProperty(
        CIMProperty("R", CIMValue(CIMObjectPath("C.k=1")), 0, CIMName("C"), CIMName("Inst")));
    instance.addProperty(CIMProperty("NR", CIMValue(CIMTYPE_REFERENCE, false)));
    CIMProperty qualified("K", CIMValue(String("k")));
    qualified.addQualifier(
        CIMQualifier("Key", CIMValue(Boolean(true)), CIMFlavor(CIMFlavor::TOSUBCLASS)));
    instance.addProperty(qualified);
    instance.addProperty(CIMProperty("E", CIMValue(inner)));
    instance.addProperty(CIMProperty("EO", CIMValue(arrayOf<CIMObject>({CIMObject(inner)}))));
    return instance;
}

TEST(Encode, InstanceInTheFormClientsKnow)
{
    const std::string inner =
        "&lt;INSTANCE CLASSNAME=&quot;Inner&quot; &gt;&#10;&lt;PROPERTY NAME=&quot;S&quot; "
        "&#32;TYPE=&quot;string&quot;&gt;&#10;&lt;VALUE&gt;a &amp;lt;b&amp;gt; &amp;#32;"
        "&amp;quot;q&amp;quot;&amp;#10;&lt;/VALUE&gt;&#10;&lt;/PROPERTY&gt;&#10;"
        "&lt;/INSTANCE&gt;&#10;";
    std::string out;
    xml::appendInstance(out, sampleInstance());
    EXPECT_EQ(
        out,
        "<INSTANCE CLASSNAME=\"Inst\" >\n"
        "<QUALIFIER NAME=\"Q\" TYPE=\"string\" OVERRIDABLE=\"false\" TOSUBCLASS=\"false\">\n<VALUE>z</VALUE>\n"
        "</QUALIFIER>\n"
        "<PROPERTY NAME=\"P\"  CLASSORIGIN=\"Base\" PROPAGATED=\"true\" TYPE=\"uint8\">\n<VALUE>1</VALUE>\n"
        "</PROPERTY>\n"
        "<PROPERTY NAME=\"N\"  TYPE=\"string\">\n</PROPERTY>\n"
        "<PROPERTY.ARRAY NAME=\"A\"  TYPE=\"uint16\" CLASSORIGIN=\"Base\" PROPAGATED=\"true\">\n"
        "<VALUE.ARRAY>\n<VALUE>2</VALUE>\n</VALUE.ARRAY>\n</PROPERTY.ARRAY>\n"
        "<PROPERTY.ARRAY NAME=\"NA\"  TYPE=\"sint8\">\n</PROPERTY.ARRAY>\n"
        "<PROPERTY.REFERENCE NAME=\"R\"  REFERENCECLASS=\"C\" CLASSORIGIN=\"Inst\">\n<VALUE.REFERENCE>\n"
        "<INSTANCENAME CLASSNAME=\"C\">\n<KEYBINDING NAME=\"k\">\n"
        "<KEYVALUE VALUETYPE=\"numeric\">1</KEYVALUE>\n</KEYBINDING>\n</INSTANCENAME>\n</VALUE.REFERENCE>\n"
        "</PROPERTY.REFERENCE>\n"
        "<PROPERTY.REFERENCE NAME=\"NR\" >\n</PROPERTY.REFERENCE>\n"
        "<PROPERTY NAME=\"K\"  TYPE=\"string\">\n"
        "<QUALIFIER NAME=\"Key\" TYPE=\"boolean\" OVERRIDABLE=\"false\">\n<VALUE>TRUE</VALUE>\n</QUALIFIER>\n"
        "<VALUE>k</VALUE>\n</PROPERTY>\n"
        "<PROPERTY NAME=\"E\"  TYPE=\"string\" EmbeddedObject=\"instance\" EMBEDDEDOBJECT=\"instance\">\n"
        "<VALUE>" +
            inner +
            "</VALUE>\n</PROPERTY>\n"
            "<PROPERTY.ARRAY NAME=\"EO\"  TYPE=\"string\" EmbeddedObject=\"object\" EMBEDDEDOBJECT=\"object\">\n"
            "<VALUE.ARRAY>\n<VALUE>" +
            inner +
            "</VALUE>\n</VALUE.ARRAY>\n</PROPERTY.ARRAY>\n"
            "</INSTANCE>\n");
}

TEST(Encode, InstanceComesBackIdentical)
{
    std::string out;
    xml::appendInstance(out, sampleInstance());
    const CIMInstance back = xml::decodeInstance(parseXml(out, XmlProlog::Optional));
    std::string again;
    xml::appendInstance(again, back);
    EXPECT_EQ(again, out);
    EXPECT_TRUE(back.identical(sampleInstance()));
}

TEST(Encode, ClassWithMethodsAndFlavors)
{
    CIMClass cimClass("Cls", "Sup");
    cimClass.addQualifier(
        CIMQualifier("D", CIMValue(String("d")), CIMFlavor(CIMFlavor::TRANSLATABLE)));
    cimClass.addQualifier(
        CIMQualifier("Q1", CIMValue(Uint32(4)), CIMFlavor(CIMFlavor::DEFAULTS), true));
    CIMProperty key("P", CIMValue(CIMTYPE_STRING, false), 0, CIMName(), CIMName("Sup"), true);
    key.addQualifier(
        CIMQualifier("Key", CIMValue(Boolean(true)), CIMFlavor(CIMFlavor::TOSUBCLASS)));
    cimClass.addProperty(key);
    cimClass.addProperty(CIMProperty("R", CIMValue(CIMTYPE_REFERENCE, false), 0, CIMName("Other")));
    CIMMethod method("M", CIMTYPE_UINT32, CIMName("Cls"), true);
    CIMParameter in("In", CIMTYPE_STRING);
    in.addQualifier(CIMQualifier("IN", CIMValue(Boolean(true)), CIMFlavor(CIMFlavor::DEFAULTS)));
    method.addParameter(in);
    method.addParameter(CIMParameter("Ar", CIMTYPE_UINT8, true, 4));
    method.addParameter(CIMParameter("Rf", CIMTYPE_REFERENCE, false, 0, CIMName("Other")));
    method.addParameter(CIMParameter("RfA", CIMTYPE_REFERENCE, true, 3, CIMName("Other")));
    cimClass.addMethod(method);
    std::string out;
    xml::appendClass(out, cimClass);
    EXPECT_EQ(
        out,
        "<CLASS NAME=\"Cls\"  SUPERCLASS=\"Sup\" >\n"
        "<QUALIFIER NAME=\"D\" TYPE=\"string\" OVERRIDABLE=\"false\" TOSUBCLASS=\"false\" "
        "TRANSLATABLE=\"true\">\n<VALUE>d</VALUE>\n</QUALIFIER>\n"
        "<QUALIFIER NAME=\"Q1\" TYPE=\"uint32\" PROPAGATED=\"true\">\n<VALUE>4</VALUE>\n</QUALIFIER>\n"
        "<PROPERTY NAME=\"P\"  CLASSORIGIN=\"Sup\" PROPAGATED=\"true\" TYPE=\"string\">\n"
        "<QUALIFIER NAME=\"Key\" TYPE=\"boolean\" OVERRIDABLE=\"false\">\n<VALUE>TRUE</VALUE>\n</QUALIFIER>\n"
        "</PROPERTY>\n"
        "<PROPERTY.REFERENCE NAME=\"R\"  REFERENCECLASS=\"Other\">\n</PROPERTY.REFERENCE>\n"
        "<METHOD NAME=\"M\" TYPE=\"uint32\" CLASSORIGIN=\"Cls\" PROPAGATED=\"true\">\n"
        "<PARAMETER NAME=\"In\" TYPE=\"string\">\n"
        "<QUALIFIER NAME=\"IN\" TYPE=\"boolean\">\n<VALUE>TRUE</VALUE>\n</QUALIFIER>\n</PARAMETER>\n"
        "<PARAMETER.ARRAY NAME=\"Ar\" TYPE=\"uint8\" ARRAYSIZE=\"4\">\n</PARAMETER.ARRAY>\n"
        "<PARAMETER.REFERENCE NAME=\"Rf\" REFERENCECLASS=\"Other\">\n</PARAMETER.REFERENCE>\n"
        "<PARAMETER.REFARRAY NAME=\"RfA\" REFERENCECLASS=\"Other\" ARRAYSIZE=\"3\">\n</PARAMETER.REFARRAY>\n"
        "</METHOD>\n"
        "</CLASS>\n");
}

TEST(Encode, QualifierDeclarations)
{
    const CIMScope scope = CIMScope(CIMScope::PROPERTY) + CIMScope::REFERENCE;
    std::string out;
    xml::appendQualifierDecl(
        out, CIMQualifierDecl("Key", CIMValue(Boolean(false)), scope,
                              CIMFlavor(CIMFlavor::DISABLEOVERRIDE) + CIMFlavor::TOSUBCLASS));
    xml::appendQualifierDecl(
        out, CIMQualifierDecl("V", CIMValue(CIMTYPE_STRING, true), CIMScope(CIMScope::ANY),
                              CIMFlavor(CIMFlavor::DEFAULTS)));
    EXPECT_EQ(
        out,
        "<QUALIFIER.DECLARATION NAME=\"Key\" TYPE=\"boolean\" OVERRIDABLE=\"false\">\n"
        "<SCOPE REFERENCE=\"true\" PROPERTY=\"true\"/><VALUE>FALSE</VALUE>\n</QUALIFIER.DECLARATION>\n"
        "<QUALIFIER.DECLARATION NAME=\"V\" TYPE=\"string\" ISARRAY=\"true\">\n"
        "<SCOPE CLASS=\"true\" ASSOCIATION=\"true\" REFERENCE=\"true\" PROPERTY=\"true\" METHOD=\"true\" "
        "PARAMETER=\"true\" INDICATION=\"true\"/></QUALIFIER.DECLARATION>\n");
}

TEST(Encode, ParametersAndReturnValues)
{
    std::string out;
    xml::appendReturnValue(out, CIMValue(Uint32(5)));
    xml::appendParamValue(out, CIMParamValue("A<", CIMValue(arrayOf<String>({"x"})), true));
    xml::appendParamValue(out, CIMParamValue("U", CIMValue(String("y")), false));
    xml::appendParamValue(out, CIMParamValue("N", CIMValue(CIMTYPE_REFERENCE, false), true));
    xml::appendParamValue(out, CIMParamValue("E", CIMValue(CIMInstance("X")), true));
    EXPECT_EQ(out,
              "<RETURNVALUE PARAMTYPE=\"uint32\">\n<VALUE>5</VALUE>\n</RETURNVALUE>\n"
              "<PARAMVALUE NAME=\"A&lt;\" PARAMTYPE=\"string\">\n<VALUE.ARRAY>\n<VALUE>x</VALUE>\n"
              "</VALUE.ARRAY>\n</PARAMVALUE>\n"
              "<PARAMVALUE NAME=\"U\">\n<VALUE>y</VALUE>\n</PARAMVALUE>\n"
              "<PARAMVALUE NAME=\"N\" PARAMTYPE=\"reference\">\n</PARAMVALUE>\n"
              "<PARAMVALUE NAME=\"E\" PARAMTYPE=\"string\" EmbeddedObject=\"instance\" "
              "EMBEDDEDOBJECT=\"instance\">\n<VALUE>&lt;INSTANCE CLASSNAME=&quot;X&quot; &gt;&#10;"
              "&lt;/INSTANCE&gt;&#10;</VALUE>\n</PARAMVALUE>\n");
}

TEST(Decode, NumbersAsTheProtocolAllowsThem)
{
    const struct
    {
        CIMType type;
        std::string text;
        std::string value;  ///< "!": refused
    } cases[] = {
        {CIMTYPE_UINT8, "0xff", "255"},
        {CIMTYPE_UINT8, "0XFF", "255"},
        {CIMTYPE_UINT8, "256", "!"},
        {CIMTYPE_UINT8, "0x100", "!"},
        {CIMTYPE_UINT8, "+5", "!"},
        {CIMTYPE_UINT8, "-1", "!"},
        {CIMTYPE_UINT8, "007", "!"},
        {CIMTYPE_UINT8, "", "!"},
        {CIMTYPE_UINT8, "5x", "!"},
        {CIMTYPE_UINT8, "0x", "!"},
        {CIMTYPE_UINT8, "1e1", "!"},
        {CIMTYPE_SINT8, "-0x80", "-128"},
        {CIMTYPE_SINT8, "-129", "!"},
        {CIMTYPE_SINT8, "+7", "7"},
        {CIMTYPE_SINT8, "128", "!"},
        {CIMTYPE_SINT8, "--1", "!"},
        {CIMTYPE_SINT8, "-", "!"},
        {CIMTYPE_UINT64, "18446744073709551616", "!"},
        {CIMTYPE_SINT64, "-9223372036854775808", "-9223372036854775808"},
        {CIMTYPE_SINT64, "9223372036854775808", "!"},
        {CIMTYPE_REAL64, "+1.5e+5", "1.5000000000000000e+05"},
        {CIMTYPE_REAL64, ".5", "5.0000000000000000e-01"},
        {CIMTYPE_REAL64, "1", "1.0000000000000000e+00"},
        {CIMTYPE_REAL64, "INF", "inf"},
        {CIMTYPE_REAL64, "1e999", "!"},
        {CIMTYPE_REAL64, "0x1p3", "!"},
        {CIMTYPE_REAL64, "+-1", "!"},
        {CIMTYPE_REAL64, "", "!"},
        {CIMTYPE_REAL64, "1.5 2", "!"},
        {CIMTYPE_REAL32, "1e39", "!"},
        {CIMTYPE_CHAR16, "ab", "!"},
        {CIMTYPE_CHAR16, "", "!"},
        {CIMTYPE_BOOLEAN, "true", "TRUE"},
        {CIMTYPE_BOOLEAN, "1", "!"},
        {CIMTYPE_DATETIME, "x", "!"},
        {CIMTYPE_DATETIME, "20261302030405.678901+060", "!"},
    };
    for (const auto& c : cases) {
        std::string value = "!";
        try {
            value = xml::utf8(readBack("<VALUE>" + c.text + "</VALUE>", c.type, false).toString());
        } catch (const RequestError& error) {
            EXPECT_EQ(error.status, 400);
            EXPECT_EQ(error.detail, std::string("Semantic error: on line 1: Invalid ") +
                                        cimTypeToString(c.type) + " value");
        }
        EXPECT_EQ(value, c.value) << cimTypeToString(c.type) << " " << c.text;
    }
}

TEST(Decode, RefusesElementsThatAreNotWhatTheyHaveToBe)
{
    const char* const instances[] = {
        "<INSTANCE/>",
        "<INSTANCE CLASSNAME='a b'/>",
        "<CLASS NAME='A'/>",
        "<INSTANCE CLASSNAME='A'><FOO/></INSTANCE>",
        "<INSTANCE CLASSNAME='A'><PROPERTY TYPE='string'/></INSTANCE>",
        "<INSTANCE CLASSNAME='A'><PROPERTY NAME='P'/></INSTANCE>",
        "<INSTANCE CLASSNAME='A'><PROPERTY NAME='P' TYPE='int'/></INSTANCE>",
        "<INSTANCE CLASSNAME='A'><PROPERTY NAME='P' TYPE='uint8'><VALUE>x</VALUE></PROPERTY></INSTANCE>",
        "<INSTANCE CLASSNAME='A'><PROPERTY NAME='P' TYPE='uint8'><VALUE.ARRAY/></PROPERTY></INSTANCE>",
        "<INSTANCE CLASSNAME='A'><PROPERTY NAME='P' TYPE='string'><VALUE><B/></VALUE></PROPERTY></INSTANCE>",
        "<INSTANCE CLASSNAME='A'><PROPERTY NAME='P' TYPE='string' PROPAGATED='maybe'/></INSTANCE>",
        "<INSTANCE CLASSNAME='A'><PROPERTY.ARRAY NAME='P' TYPE='string'><VALUE>x</VALUE></PROPERTY.ARRAY></INSTANCE>",
        "<INSTANCE CLASSNAME='A'><PROPERTY.ARRAY NAME='P' TYPE='string'><VALUE.ARRAY><VALUE.NULL/></VALUE.ARRAY>"
        "</PROPERTY.ARRAY></INSTANCE>",
        "<INSTANCE CLASSNAME='A'><PROPERTY NAME='P' TYPE='string' EmbeddedObject='x'/></INSTANCE>",
        "<INSTANCE CLASSNAME='A'><PROPERTY NAME='P' TYPE='string' EmbeddedObject='instance'><VALUE>x</VALUE>"
        "</PROPERTY></INSTANCE>",
        "<INSTANCE CLASSNAME='A'><PROPERTY.REFERENCE NAME='P'><VALUE.REFERENCE/></PROPERTY.REFERENCE></INSTANCE>",
        "<INSTANCE CLASSNAME='A'><PROPERTY.REFERENCE NAME='P'><VALUE.REFERENCE><FOO/></VALUE.REFERENCE>"
        "</PROPERTY.REFERENCE></INSTANCE>",
    };
    for (const char* text : instances) {
        EXPECT_THROW(xml::decodeInstance(parseXml(text, XmlProlog::Optional)), RequestError)
            << text;
    }
    const char* const names[] = {
        "<INSTANCENAME/>",
        "<FOO/>",
        "<INSTANCENAME CLASSNAME='A'><FOO/></INSTANCENAME>",
        "<INSTANCENAME CLASSNAME='A'><KEYBINDING/></INSTANCENAME>",
        "<INSTANCENAME CLASSNAME='A'><KEYBINDING NAME='k'/></INSTANCENAME>",
        "<INSTANCENAME CLASSNAME='A'><KEYBINDING NAME='k'><KEYVALUE VALUETYPE='x'>1</KEYVALUE></KEYBINDING>"
        "</INSTANCENAME>",
        "<INSTANCENAME CLASSNAME='A'><KEYBINDING NAME='k'><KEYVALUE><![CDATA[1]]></KEYVALUE></KEYBINDING>"
        "</INSTANCENAME>",
        "<INSTANCENAME CLASSNAME='A'><KEYBINDING NAME='k'><KEYVALUE><B/></KEYVALUE></KEYBINDING></INSTANCENAME>",
    };
    for (const char* text : names) {
        EXPECT_THROW(xml::decodeObjectName(parseXml(text, XmlProlog::Optional)), RequestError)
            << text;
    }
}

}  // namespace
}  // namespace cimom
