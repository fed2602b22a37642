// Requests whose XML or whose elements are not what they have to be. What is wrong with the
// elements around the call, and with header fields, the recorded exchanges show.
#include "ServiceFixture.h"

PEGASUS_USING_PEGASUS;

namespace cimom
{
namespace
{

/// A request, and the detail that it is refused with.
struct Malformed : Row
{
    CimRequest request;
    std::string detail;
};

class MalformedRequest : public ServiceTableTest<Malformed>
{
};

TEST_P(MalformedRequest, IsRefusedAndCallsNoProvider)
{
    EXPECT_EQ(send(GetParam().request).error(), "400 request-not-valid: " + GetParam().detail);
    EXPECT_EQ(scripted::calls, Lines{});
}

// Requests around what is malformed.
CimRequest create(const std::string& instance)
{
    return intrinsic("CreateInstance", parameter("NewInstance", instance));
}
CimRequest createWith(const std::string& inside)
{
    return create(element("INSTANCE CLASSNAME='T_Leaf'", inside));
}
CimRequest property(const std::string& attributes, const std::string& content = "")
{
    return createWith(element("PROPERTY NAME='P' " + attributes, content));
}
CimRequest array(const std::string& content)
{
    return createWith(element("PROPERTY.ARRAY NAME='P' TYPE='string'", content));
}
CimRequest reference(const std::string& path)
{
    return createWith(element("PROPERTY.REFERENCE NAME='P'", element("VALUE.REFERENCE", path)));
}
CimRequest remove(const std::string& keys)
{
    return intrinsic("DeleteInstance",
                     parameter("InstanceName", element("INSTANCENAME CLASSNAME='C'", keys)));
}
CimRequest key(const std::string& content)
{
    return remove(element("KEYBINDING NAME='k'", content));
}
CimRequest argument(const std::string& attributes, const std::string& content)
{
    return extrinsic(element("PARAMVALUE NAME='P'" + attributes, content));
}

// What is wrong with structure, and with values.
std::string invalid(const std::string& what)
{
    return "Validation error: on line 1: " + what;
}
std::string wrong(const std::string& what)
{
    return "Semantic error: on line 1: " + what;
}
std::string unexpected(const std::string& inner, const std::string& outer)
{
    return invalid("Unexpected " + inner + " element in " + outer + " element");
}
std::string missing(const std::string& attribute)
{
    return invalid("missing " + attribute + " attribute");
}
std::string illegal(const std::string& attribute)
{
    return wrong("Illegal value for " + attribute + " attribute");
}

const std::string instance = "EmbeddedObject='instance' TYPE='string'";
const Malformed malformedRequests[] = {
    {"InstanceWithoutClass", create("<INSTANCE/>"), missing("INSTANCE.CLASSNAME")},
    {"InstanceOfNoClassName", create("<INSTANCE CLASSNAME='a b'/>"), illegal("INSTANCE.CLASSNAME")},
    {"ClassAsInstance", create("<CLASS NAME='C'/>"), invalid("Expected INSTANCE element")},
    {"UnknownElementInInstance", createWith("<FOO/>"), unexpected("FOO", "INSTANCE")},
    {"TextInInstance", createWith("text<PROPERTY NAME='P' TYPE='string'/>"),
     invalid("Unexpected text in INSTANCE element")},
    {"PropertyTwice",
     createWith("<PROPERTY NAME='P' TYPE='string'/><PROPERTY NAME='p' TYPE='string'/>"),
     "already exists: property \"p\""},
    {"PropertyWithoutName", createWith("<PROPERTY TYPE='string'/>"), missing("PROPERTY.NAME")},
    {"PropertyWithoutType", property(""), missing("PROPERTY.TYPE")},
    {"PropertyOfUnknownType", property("TYPE='int'"), illegal("PROPERTY.TYPE")},
    {"PropertyMaybePropagated", property("TYPE='string' PROPAGATED='maybe'"),
     illegal("PROPERTY.PROPAGATED")},
    {"PropertyWithArray", property("TYPE='uint8'", "<VALUE.ARRAY/>"),
     unexpected("VALUE.ARRAY", "PROPERTY")},
    {"ValueWithElement", property("TYPE='string'", value("<B/>")), unexpected("B", "VALUE")},
    {"ArrayWithValue", array(value("x")), unexpected("VALUE", "PROPERTY.ARRAY")},
    {"ArrayWithNull", array("<VALUE.ARRAY><VALUE.NULL/></VALUE.ARRAY>"),
     unexpected("VALUE.NULL", "VALUE.ARRAY")},
    {"EmbeddedUnknownKind", property("TYPE='string' EmbeddedObject='x'"),
     illegal("PROPERTY.EmbeddedObject")},
    {"EmbeddedText", property(instance, value("x")),
     wrong("Invalid instance value: syntax error: on line 1")},
    {"EmbeddedInstanceWithoutClass", property(instance, value("&lt;INSTANCE/>")),
     wrong("Invalid instance value: " + missing("INSTANCE.CLASSNAME"))},
    {"ReferenceToNothing", reference(""), invalid("Expected one element in VALUE.REFERENCE")},
    {"ReferenceToUnknownElement", reference("<FOO/>"), invalid("Expected INSTANCEPATH element")},
    {"ReferenceToEmptyPath", reference("<LOCALINSTANCEPATH/>"),
     invalid("Expected LOCALNAMESPACEPATH element and one more")},
    {"ReferenceToEmptyNamespace",
     reference("<INSTANCEPATH><NAMESPACEPATH><HOST/><LOCALNAMESPACEPATH/></NAMESPACEPATH>"
               "<CLASSNAME NAME='A'/></INSTANCEPATH>"),
     "invalid CIM namespace name: "},
    {"InstanceNameWithoutClass",
     intrinsic("DeleteInstance", parameter("InstanceName", "<INSTANCENAME/>")),
     missing("INSTANCENAME.CLASSNAME")},
    {"InstanceNameThatIsTooLong", key(element("KEYVALUE", std::string(65536, 'x'))),
     wrong("the path is longer than 65536 characters")},
    {"UnknownElementInInstanceName", remove("<FOO/>"), invalid("Expected KEYBINDING element")},
    {"KeyWithoutName", remove("<KEYBINDING/>"), missing("KEYBINDING.NAME")},
    {"KeyWithoutValue", key(""), invalid("Expected one element in KEYBINDING")},
    {"KeyWithValue", key(value("x")), invalid("Expected KEYVALUE element")},
    {"KeyOfUnknownType", key("<KEYVALUE VALUETYPE='x'>1</KEYVALUE>"),
     illegal("KEYVALUE.VALUETYPE")},
    {"KeyWithElement", key("<KEYVALUE><B/></KEYVALUE>"),
     invalid("Expected close of KEYVALUE element, got  instead")},
    {"KeyWithCdata", key("<KEYVALUE><![CDATA[x]]></KEYVALUE>"),
     invalid("Expected close of KEYVALUE element, got x instead")},
    {"UnknownElementAsParameter", intrinsic("GetInstance", "<FOO/>"),
     invalid("Expected IPARAMVALUE element")},
    {"ClassNameAsInstanceName", intrinsic("GetInstance", className("T_Leaf", "InstanceName")),
     invalid("Expected INSTANCENAME element")},
    {"TextAsPropertyList",
     intrinsic("GetInstance", instanceName("T_Leaf.Id=1") + flag("PropertyList", "L")),
     invalid("Expected VALUE.ARRAY element")},
    {"TextBesideElement", intrinsic("GetQualifier", flag("QualifierName", "In<B/>")),
     invalid("Unexpected text in VALUE element")},
    {"ElementAsText", intrinsic("GetQualifier", flag("QualifierName", "<B/>")),
     unexpected("B", "VALUE")},
    {"ArgumentOfUnknownType", argument(" PARAMTYPE='int'", value("5")),
     illegal("PARAMVALUE.PARAMTYPE")},
    {"ArgumentOfTextAsReference", argument(" PARAMTYPE='reference'", value("x")),
     wrong("PARAMVALUE.PARAMTYPE does not fit the value")},
    {"ArgumentOfValuesAsReferences", argument("", element("VALUE.REFARRAY", value("x"))),
     unexpected("VALUE", "VALUE.REFARRAY")},
};
INSTANTIATE_TEST_SUITE_P(By, MalformedRequest, ::testing::ValuesIn(malformedRequests), NameOfRow());

// ---- Documents: what the parser itself finds, the recorded exchanges show ----

/// A document behind its XML declaration, and the error of the request.
struct BadDocument : Row
{
    std::string document;
    std::string error;
};

class MalformedDocument : public ServiceTableTest<BadDocument>
{
};

TEST_P(MalformedDocument, IsRefused)
{
    CimRequest request;
    request.body = "<?xml version=\"1.0\"?>" + GetParam().document;
    const std::string refusal = send(request).refusal;
    EXPECT_EQ(refusal.substr(0, GetParam().error.size()), GetParam().error) << refusal;
}

std::string repeated(int times, const std::string& text)
{
    std::string result;
    for (int i = 0; i < times; ++i)
        result += text;
    return result;
}

const std::string notWellFormed = "400 request-not-well-formed: ";
const std::string notValid1 = "400 request-not-valid: ";
const BadDocument badDocuments[] = {
    {"ReferenceToZero", "<A>&#0;</A>", notWellFormed},
    {"ReferenceBeyond32Bits", "<A>&#4294967297;</A>", notWellFormed},
    {"ReferenceWithoutEnd", "<A>&#1</A>", notWellFormed},
    {"CutOffBehindReference", "<A>&#1", notWellFormed},
    {"OverlongUtf8", "<A>\xE0\x82\x80</A>", notValid1 + "Invalid UTF-8 character detected."},
    {"SurrogateBehindTheElement", "<A/>\xED\xA0\x80",
     notValid1 + "Invalid UTF-8 character detected."},
    {"Entity", "<!DOCTYPE A [<!ENTITY e \"x\">]><A>&e;</A>",
     notValid1 + invalid("Expected open of CIM element")},
    {"NestedAsDeeplyAsAllowed", repeated(64, "<A>") + repeated(64, "</A>"),
     notValid1 + invalid("Expected open of CIM element")},
    {"NestedTooDeeply", repeated(65, "<A>"), notValid1 + invalid("elements are nested too deeply")},
    {"AsManyElementsAsAllowed", "<A>" + repeated(99999, "<B/>") + "</A>",
     notValid1 + invalid("Expected open of CIM element")},
    {"TooManyElements", "<A>" + repeated(100000, "<B/>"), notValid1 + invalid("too many elements")},
};
INSTANTIATE_TEST_SUITE_P(By, MalformedDocument, ::testing::ValuesIn(badDocuments), NameOfRow());

/// Whole requests to damage.
class DamagedRequest : public ServiceTest
{
protected:
    const CimRequest whole =
        extrinsic("<PARAMVALUE NAME='Count' PARAMTYPE='uint32'><VALUE>&#32;5</VALUE></PARAMVALUE>");
};

TEST_F(DamagedRequest, CutOffAnywhereIsRefusedAndCallsNoProvider)
{
    for (std::size_t size = 0; size < whole.body.size(); ++size) {
        CimRequest request = whole;
        request.body.resize(size);
        ASSERT_EQ(answerCimRequest(*broker, request).status, 400) << request.body;
        ASSERT_EQ(scripted::calls, Lines{}) << request.body;
    }
}

TEST_F(DamagedRequest, WithAnyByteReplacedIsAnswered)
{
    for (std::size_t at = 0; at < whole.body.size(); ++at) {
        for (const char byte : {'<', '>', '"', '&', 'x', '\0', '\xFF'}) {
            CimRequest request = whole;
            request.body[at] = byte;
            const CimReply reply = answerCimRequest(*broker, request);
            ASSERT_TRUE(reply.status == 200 || !reply.detail.empty()) << request.body;
        }
    }
}

TEST_F(DamagedRequest, MayNotNestEmbeddedInstancesTooDeeply)
{
    std::string embedded = "x";
    for (int i = 0; i < 7; ++i) {
        std::string escaped;
        for (const char c : embedded)
            escaped += c == '<' ? "&lt;" : c == '&' ? "&amp;" : std::string(1, c);
        embedded = element("INSTANCE CLASSNAME='A'",
                           element("PROPERTY NAME='B' " + instance, value(escaped)));
    }
    const std::string refusal = send(create(embedded)).refusal;
    EXPECT_NE(refusal.find(invalid("elements are nested too deeply")), std::string::npos)
        << refusal;
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
