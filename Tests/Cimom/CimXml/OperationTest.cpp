// The intrinsic operations: what their parameters become for a provider, and what elements make up
// their responses.
#include "ServiceFixture.h"

PEGASUS_USING_PEGASUS;

namespace cimom
{
namespace
{

/// The names of an element and of those in it, as in "A(B, C(D))"; paths and instances are whole.
std::string outline(const XmlElement& element)
{
    std::string inside;
    for (const XmlElement& child : element.children)
        inside += (inside.empty() ? "" : ", ") + outline(child);
    const std::string& name = element.name;
    const bool isWhole = name == "INSTANCENAME" || name == "INSTANCEPATH" || name == "INSTANCE";
    return name + (inside.empty() || isWhole ? "" : "(" + inside + ")");
}

/// An operation with parameters, the call of a provider that it leads to, and the outline of the
/// content of its response.
struct OperationCall : Row
{
    std::string operation;
    std::string parameters;
    std::string call;
    std::string response;
};

using IntrinsicOperation = ServiceTableTest<OperationCall>;

TEST_P(IntrinsicOperation, CallsTheProviderAndReturnsItsResult)
{
    const Reply reply = send(intrinsic(GetParam().operation, GetParam().parameters));
    EXPECT_EQ(reply.error(), "no error");
    EXPECT_EQ(reply.response.name + attribute(reply.response, "NAME"),
              "IMETHODRESPONSE" + GetParam().operation);
    EXPECT_EQ(scripted::calls, Lines{GetParam().call + " by me"}) << GetParam().parameters;
    const auto& content = reply.response.children;
    EXPECT_EQ(content.empty() ? "" : outline(content[0]), GetParam().response);
}

const std::string leaf = "T_Leaf.Id=1", path = " //here/root/test:T_Leaf.Id=1";
const std::string views =
    flag("IncludeQualifiers") + flag("includeclassorigin", "true") + propertyList({"A", "b"});
const std::string viewed = " IncludeQualifiers IncludeClassOrigin PropertyList=[A b]";
const std::string id =
    "<QUALIFIER NAME='Q' TYPE='string'/><PROPERTY NAME='Id' TYPE='uint32'>"
    "<VALUE> 1 </VALUE></PROPERTY>";
const std::string instanceOfLeaf = element("INSTANCE CLASSNAME='T_Leaf'", id);
const std::string modified = parameter(
    "ModifiedInstance", element("VALUE.NAMEDINSTANCE", instanceNameElement(leaf) + instanceOfLeaf));
const std::string association = className("t_linkSUB", "AssocClass");
const std::string filters = className("t_static", "ResultClass") + parameter("Role", value("x")) +
                            parameter("ResultRole", value("y"));
const std::string filtered = " AssocClass=T_LinkSub ResultClass=t_static Role=x ResultRole=y";
const std::string links = className("t_linkSUB", "ResultClass") + parameter("Role", value("x"));
const std::string linked = " ResultClass=T_LinkSub Role=x";
const std::string named = "IRETURNVALUE(VALUE.NAMEDINSTANCE(INSTANCENAME, INSTANCE))";
const std::string withPath = "IRETURNVALUE(VALUE.OBJECTWITHPATH(INSTANCEPATH, INSTANCE))";
const std::string objectPath = "IRETURNVALUE(OBJECTPATH(INSTANCEPATH))";

const OperationCall operationCalls[] = {
    {"GetInstanceWithAll", "GetInstance", instanceName(leaf) + flag("LocalOnly") + views,
     "Leaf getInstance" + path + viewed, "IRETURNVALUE(INSTANCE)"},
    {"EnumerateInstancesWithAll", "EnumerateInstances",
     className("T_Side") + flag("DeepInheritance") + flag("LocalOnly", "FALSE") + views,
     "Side enumerateInstances //here/root/test:T_Side" + viewed, named},
    {"EnumerateInstanceNames", "EnumerateInstanceNames", className("T_Leaf"),
     "Leaf enumerateInstanceNames //here/root/test:T_Leaf", "IRETURNVALUE(INSTANCENAME)"},
    {"CreateInstance", "CreateInstance", parameter("NewInstance", instanceOfLeaf),
     "Leaf createInstance //here/root/test:T_Leaf T_Leaf{Id:uint32=1}",
     "IRETURNVALUE(INSTANCENAME)"},
    {"ModifyInstance", "ModifyInstance", modified,
     "Leaf modifyInstance" + path + " T_Leaf.Id=1{Id:uint32=1} IncludeQualifiers", ""},
    {"ModifyInstanceWithAll", "ModifyInstance",
     modified + flag("IncludeQualifiers", "FALSE") + propertyList({"Id", "a", "ID"}),
     "Leaf modifyInstance" + path + " T_Leaf.Id=1{Id:uint32=1} PropertyList=[Id a]", ""},
    {"DeleteInstance", "DeleteInstance", instanceName(leaf), "Leaf deleteInstance" + path, ""},
    {"GetPropertyOfNull", "GetProperty",
     instanceName(leaf) + parameter("PropertyName", value("Level")),
     "Leaf getInstance" + path + " PropertyList=[Level]", ""},
    {"SetProperty", "SetProperty",
     instanceName(leaf) + parameter("PropertyName", value("Level")) +
         parameter("NewValue", value("7")),
     "Leaf modifyInstance" + path + path + "{Level:uint16=7} PropertyList=[Level]", ""},
    {"Associators", "Associators", objectName(leaf) + association + filters + views,
     "LinkSub associators" + path + filtered + viewed, withPath},
    {"AssociatorNames", "AssociatorNames", objectName(leaf) + association + filters,
     "LinkSub associatorNames" + path + filtered, objectPath},
    {"References", "References", objectName(leaf) + links + views,
     "LinkSub references" + path + linked + viewed, withPath},
    {"ReferenceNames", "ReferenceNames", objectName(leaf) + links,
     "LinkSub referenceNames" + path + linked, objectPath},
};
INSTANTIATE_TEST_SUITE_P(Of, IntrinsicOperation, ::testing::ValuesIn(operationCalls), NameOfRow());

using Response = ServiceTest;

TEST_F(Response, IsEmptyWithoutResults)
{
    scripted::provider("Leaf").onInstances = [](InstanceResponseHandler&) {};
    for (const CimRequest& request :
         {intrinsic("GetInstance", instanceName(leaf)),
          intrinsic("EnumerateInstances", className("T_Leaf")),
          intrinsic("Associators", objectName("T_Machine.Id=1")),
          intrinsic("ReferenceNames", objectName("T_Machine.Id=1"))}) {
        EXPECT_EQ(send(request).response.children.size(), 0U) << request.body;
    }
}

TEST_F(Response, HasAnEmptyElementWhereProvidersOfAssociationsFindNothing)
{
    for (const char* provider : {"Link", "LinkSub"}) {
        scripted::provider(provider).onObjects = [](auto& handler) { handler.complete(); };
        scripted::provider(provider).onPaths = [](auto& handler) { handler.complete(); };
    }
    for (const char* operation : {"Associators", "AssociatorNames", "References", "ReferenceNames"})
        EXPECT_EQ(outline(send(intrinsic(operation, objectName(leaf))).response),
                  "IMETHODRESPONSE(IRETURNVALUE)")
            << operation;
}

TEST_F(Response, HasOnlyTheErrorWhenAProviderFailsAfterResults)
{
    scripted::provider("Machine").onMethod = [](MethodResultResponseHandler& handler) {
        handler.deliver(CIMValue(Uint32(1)));
        handler.complete();
        throw CIMException(CIM_ERR_NOT_FOUND, toString({"<&>\"'\n\t \xC3\xA4\x1F\0", 12}));
    };
    const Reply reply = send(extrinsic(""));
    EXPECT_EQ(reply.error(), "6 CIM_ERR_NOT_FOUND: <&>\"'\n\t \xC3\xA4\xEF\xBF\xBD\xEF\xBF\xBD");
    EXPECT_EQ(reply.response.children.size(), 1U) << reply.body;
}

TEST_F(Response, ThatIsLongComesInPieces)
{
    std::vector<CIMInstance> many;
    for (int i = 0; i < 2000; ++i)
        many.push_back(instanceOf("T_Leaf.Id=" + std::to_string(i)));
    scripted::provider("Leaf").onInstances = scripted::delivering<CIMInstance>(many);
    const CimRequest request = intrinsic("EnumerateInstances", className("T_Leaf"));
    const std::size_t firstPiece = answerCimRequest(*broker, enumerations, request).body.size();
    const Reply reply = send(request);
    EXPECT_LT(firstPiece, reply.body.size() / 2);
    const auto keys = all(reply.response, "KEYVALUE");
    ASSERT_EQ(keys.size(), many.size());
    for (std::size_t i = 0; i < many.size(); ++i)
        EXPECT_EQ(keys[i]->text, std::to_string(i));
}

// ---- Errors of parameters ----

struct WrongParameters : Row
{
    std::string operation;
    std::string parameters;
    std::string error;
};

using OperationWithWrongParameters = ServiceTableTest<WrongParameters>;

TEST_P(OperationWithWrongParameters, ReturnsAnErrorAndCallsNoProvider)
{
    EXPECT_EQ(send(intrinsic(GetParam().operation, GetParam().parameters)).error(),
              GetParam().error)
        << GetParam().parameters;
    EXPECT_EQ(scripted::calls, Lines{});
}

const std::string ofLevel = instanceName(leaf) + parameter("PropertyName", value("Level"));
const std::string notValid = "400 request-not-valid: Validation error: on line 1: ";
const WrongParameters wrongParameters[] = {
    {"Missing", "GetInstance", "", "4 CIM_ERR_INVALID_PARAMETER"},
    {"MissingClass", "EnumerateInstances", parameter("ClassName"),
     "4 CIM_ERR_INVALID_PARAMETER: Required parameter \"ClassName\" missing from request."},
    {"Twice", "EnumerateInstances", className("T_Leaf") + className("T_Leaf", "className"),
     "4 CIM_ERR_INVALID_PARAMETER: Duplicated request input parameter."},
    {"NotAName", "GetQualifier", parameter("QualifierName", value("a b")),
     "4 CIM_ERR_INVALID_PARAMETER: The CIM name is not valid: a b"},
    {"OperationNotOffered", "DeleteClass", className("T_Leaf"), "7 CIM_ERR_NOT_SUPPORTED"},
    {"TwoClasses", "ModifyInstance",
     parameter("ModifiedInstance",
               element("VALUE.NAMEDINSTANCE",
                       instanceNameElement(leaf) + "<INSTANCE CLASSNAME='T_Mid'/>")),
     "4 CIM_ERR_INVALID_PARAMETER: type mismatch"},
    {"NewValueOfAnotherType", "SetProperty", ofLevel + parameter("NewValue", value("x")),
     "13 CIM_ERR_TYPE_MISMATCH: Level"},
    {"NewValueAsArray", "SetProperty",
     ofLevel + parameter("NewValue", element("VALUE.ARRAY", value("7"))),
     "13 CIM_ERR_TYPE_MISMATCH: Level"},
    {"NewValueOfUndeclaredProperty", "SetProperty",
     instanceName(leaf) + parameter("PropertyName", value("Nope")) +
         parameter("NewValue", value("7")),
     "12 CIM_ERR_NO_SUCH_PROPERTY: Nope"},
    {"NotAnInstance", "CreateInstance", parameter("NewInstance", "<CLASS NAME='C'/>"),
     notValid + "Expected INSTANCE element"},
};
INSTANTIATE_TEST_SUITE_P(Of, OperationWithWrongParameters, ::testing::ValuesIn(wrongParameters),
                         NameOfRow());

}  // namespace
}  // namespace cimom
