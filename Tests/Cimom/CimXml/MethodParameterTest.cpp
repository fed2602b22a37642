// Calls of methods: how the values of parameters are read, by type, and the response.
#include "ServiceFixture.h"

PEGASUS_USING_PEGASUS;

namespace cimom
{
namespace
{

/// PARAMVALUE; without a type when that is empty.
std::string parameterOf(const std::string& name, const std::string& type,
                        const std::string& content)
{
    const std::string paramType = type.empty() ? "" : " PARAMTYPE='" + type + "'";
    return element("PARAMVALUE NAME='" + name + "'" + paramType, content);
}

const std::string calledWith = "Machine invokeMethod //here/root/test:T_Machine.Id=1 ";

/// A type, the content of a VALUE element, and the value that a provider gets; no value when the
/// content is none of the type. What replies are written with is read back in the tests of
/// encoding.
struct TypedText : Row
{
    std::string type;
    std::string content;
    std::string expected;
};

using ArgumentValue = ServiceTableTest<TypedText>;

TEST_P(ArgumentValue, IsReadByItsType)
{
    const std::string& type = GetParam().type;
    const Reply reply = send(extrinsic(parameterOf("P", type, value(GetParam().content))));
    const bool isValid = GetParam().expected != "invalid";
    const std::string refusal =
        "400 request-not-valid: Semantic error: on line 1: Invalid " + type + " value";
    EXPECT_EQ(reply.refusal, isValid ? "" : refusal);
    const std::string call = calledWith + "Run(P:" + type + "=" + GetParam().expected + ") by me";
    EXPECT_EQ(scripted::calls, isValid ? Lines{call} : Lines{}) << GetParam().content;
}

const TypedText typedTexts[] = {
    {"Uint8Hexadecimal", "uint8", "0xff", "255"},
    {"Uint8AmongBlanks", "uint8", " 7 ", "7"},
    {"Uint8TooGreat", "uint8", "256", "invalid"},
    {"Uint8WithPlus", "uint8", "+5", "invalid"},
    {"Uint8WithLeadingZeros", "uint8", "007", "invalid"},
    {"Sint8SmallestHexadecimal", "sint8", "-0x80", "-128"},
    {"Uint64TooGreat", "uint64", "18446744073709551616", "invalid"},
    {"Real32Infinite", "real32", "INF", "inf"},
    {"Real32TooGreat", "real32", "1e39", "invalid"},
    {"Real64WithSigns", "real64", "+1.5e+5", "1.5000000000000000e+05"},
    {"Real64NotANumber", "real64", "nan", "nan"},
    {"Real64Hexadecimal", "real64", "0x1p3", "invalid"},
    {"Real64WithPlusAndMinus", "real64", "+-1", "invalid"},
    {"BooleanTrue", "boolean", "true", "TRUE"},
    {"BooleanAsNumber", "boolean", "1", "invalid"},
    {"DatetimeOfMonth13", "datetime", "20261302030405.678901+060", "invalid"},
    {"Char16AsReference", "char16", "&#32;", " "},
    {"StringWithBlanksAsReferences", "string", "&#32;a&#32;", " a "},
    {"StringAsCdata", "string", " <![CDATA[ <x>&#1; ]]> ", " <x>&#1; "},
    {"StringBeyondAscii", "string", "a&#228;\xC3\xA4&#x1F600;",
     "a\xC3\xA4\xC3\xA4\xF0\x9F\x98\x80"},
};
INSTANTIATE_TEST_SUITE_P(Of, ArgumentValue, ::testing::ValuesIn(typedTexts), NameOfRow());

// ---- Arrays and references: their paths are read back in the tests of encoding ----

using MethodCall = ServiceTest;

std::string referenceTo(const std::string& path)
{
    return element("VALUE.REFERENCE", path);
}

TEST_F(MethodCall, PassesArraysAndReferences)
{
    const std::string leaf = referenceTo(instanceNameElement("T_Leaf.Id=1"));
    const std::string ofClass = referenceTo("<CLASSNAME NAME='T_Leaf'/>");
    const std::string stringKey = referenceTo(element(
        "INSTANCENAME CLASSNAME='C'", "<KEYBINDING NAME='k'><KEYVALUE>1</KEYVALUE></KEYBINDING>"));
    send(extrinsic(parameterOf("Empty", "uint8", "<VALUE.ARRAY/>") +
                   parameterOf("Paths", "", element("VALUE.REFARRAY", leaf + ofClass)) +
                   parameterOf("Path", "", stringKey)));
    EXPECT_EQ(scripted::calls,
              Lines{calledWith + "Run(Empty:uint8[]=, Paths:reference[]=T_Leaf.Id=1 T_Leaf , "
                                 "Path:reference=C.k=\"1\") by me"});
}

TEST_F(MethodCall, IsRefusedWhenTheTypeOfAParameterIsUnknownOrDoesNotFit)
{
    const std::string wrong = "400 request-not-valid: Semantic error: on line 1: ";
    EXPECT_EQ(send(extrinsic(parameterOf("P", "int", value("5")))).refusal,
              wrong + "Illegal value for PARAMVALUE.PARAMTYPE attribute");
    EXPECT_EQ(send(extrinsic(parameterOf("P", "reference", value("x")))).refusal,
              wrong + "PARAMVALUE.PARAMTYPE does not fit the value");
    EXPECT_EQ(
        send(extrinsic(parameterOf("P", "", "<VALUE.REFARRAY><VALUE/></VALUE.REFARRAY>"))).refusal,
        "400 request-not-valid: Validation error: on line 1: Unexpected VALUE element in "
        "VALUE.REFARRAY element");
}

// ---- Untyped values get the type that the method declares ----

using UntypedArgument = ServiceTest;

TEST_F(UntypedArgument, GetsTheDeclaredType)
{
    send(extrinsic(parameterOf("count", "", value("5")) + parameterOf("Fast", "", "") +
                   parameterOf("Out", "", element("VALUE.ARRAY", value("6")))));
    EXPECT_EQ(scripted::calls,
              Lines{calledWith + "Run(count:uint32=5, Fast:boolean=null, Out:uint32[]=6 ) by me"});
}

TEST_F(UntypedArgument, StaysTextWhenTheMethodDoesNotDeclareIt)
{
    send(extrinsic(parameterOf("Unknown", "", value("x"))));
    EXPECT_EQ(scripted::calls, Lines{calledWith + "Run(Unknown:untyped string=x) by me"});
}

TEST_F(UntypedArgument, MustBeOfTheDeclaredType)
{
    EXPECT_EQ(send(extrinsic(parameterOf("Count", "", value("x")))).error(),
              "4 CIM_ERR_INVALID_PARAMETER: Malformed uint32 value");
    EXPECT_EQ(send(extrinsic(parameterOf("Count", "sint8", value("-5")))).error(), "no error")
        << "a typed one need not be";
}

TEST_F(UntypedArgument, NeedsADeclaredMethod)
{
    EXPECT_EQ(send(extrinsic(parameterOf("X", "", value("x")), "Nope")).error(),
              "17 CIM_ERR_METHOD_NOT_FOUND");
    EXPECT_EQ(send(extrinsic(parameterOf("X", "string", value("x")), "Nope")).error(), "no error");
}

// ---- The call and its response ----

TEST_F(MethodCall, ReturnsTheReturnValueAndTheOutputParameters)
{
    scripted::provider("Machine").onMethod = [](MethodResultResponseHandler& handler) {
        handler.deliver(CIMValue(Uint32(1)));
        handler.deliverParamValue(CIMParamValue("Out", CIMValue(Uint8(2))));
        handler.deliverParamValue(CIMParamValue("Text", CIMValue(String("<")), false));
        handler.complete();
    };
    const Reply reply = send(extrinsic(""));
    EXPECT_EQ(reply.response.name + attribute(reply.response, "NAME"), "METHODRESPONSERun");
    Lines results;
    for (const XmlElement& each : reply.response.children)
        results.push_back(each.name + " " + attribute(each, "NAME") + " " +
                          attribute(each, "PARAMTYPE") + " " + the(each, "VALUE").text);
    EXPECT_EQ(results,
              (Lines{"RETURNVALUE  uint32 1", "PARAMVALUE Out uint8 2", "PARAMVALUE Text  <"}));
}

TEST_F(MethodCall, OfAClassIsACallOnItsPath)
{
    const std::string object = element(
        "LOCALCLASSPATH", localNamespacePath("root/test") + "<CLASSNAME NAME='t_machine'/>");
    send(requestOf("rUN", "root/test:t_machine", element("METHODCALL NAME='rUN'", object)));
    EXPECT_EQ(scripted::calls,
              Lines{"Machine invokeMethod //here/root/test:t_machine rUN() by me"});
}

TEST_F(MethodCall, MayNameTheKeysInAnyOrderInItsHeader)
{
    CimRequest request = extrinsic("", "Run", "T_Static.Id=1,Number=2");
    request.object = "root/test:T_Static.Number=2,Id=1";
    EXPECT_EQ(send(request).error(), "16 CIM_ERR_METHOD_NOT_AVAILABLE: Run");
    request.object = "root/test:T_Static.Number=2,Id=2";
    EXPECT_EQ(send(request).refusal.substr(0, 20), "400 header-mismatch:");
}

}  // namespace
}  // namespace cimom
