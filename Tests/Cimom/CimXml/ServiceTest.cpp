// Requests in, calls of the object manager and responses out.
#include "CimXml/PercentCoding.h"
#include "CimXml/Service.h"
#include "FakeObjectManager.h"

#include <Pegasus/Common/Exception.h>

#include <gtest/gtest.h>
#include <stdexcept>

PEGASUS_USING_PEGASUS;

namespace cimom
{
namespace
{

using test::FakeObjectManager;

const std::string instanceName =
    "<INSTANCENAME CLASSNAME=\"Cage\"><KEYBINDING NAME=\"Tag\"><KEYVALUE VALUETYPE=\"string\">c:1</KEYVALUE>"
    "</KEYBINDING></INSTANCENAME>";
const std::string nameSpace =
    "<LOCALNAMESPACEPATH><NAMESPACE NAME=\"root\"/><NAMESPACE NAME=\"qbx\"/></LOCALNAMESPACEPATH>";

std::string parameter(const std::string& name, const std::string& content)
{
    return "<IPARAMVALUE NAME=\"" + name + "\">" + content + "</IPARAMVALUE>";
}
std::string flag(const std::string& name, const std::string& value)
{
    return parameter(name, "<VALUE>" + value + "</VALUE>");
}
std::string className(const std::string& name = "Cage",
                      const std::string& parameterName = "ClassName")
{
    return parameter(parameterName, "<CLASSNAME NAME=\"" + name + "\"/>");
}

std::string message(const std::string& call)
{
    return "<?xml version=\"1.0\" encoding=\"utf-8\" ?>\n<CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\">"
           "<MESSAGE ID=\"7\" PROTOCOLVERSION=\"1.0\"><SIMPLEREQ>" +
           call + "</SIMPLEREQ></MESSAGE></CIM>";
}

CimRequest intrinsic(const std::string& method, const std::string& parameters)
{
    CimRequest request;
    request.method = method;
    request.object = "root%2Fqbx";
    request.user = "eva";
    request.body = message("<IMETHODCALL NAME=\"" + method + "\">" + nameSpace + parameters +
                           "</IMETHODCALL>");
    return request;
}

CimRequest extrinsic(const std::string& method, const std::string& parameters,
                     const std::string& object = "root%2Fqbx%3ACage.Tag%3D%22c%3A1%22")
{
    CimRequest request;
    request.method = method;
    request.object = object;
    request.user = "eva";
    request.body = message("<METHODCALL NAME=\"" + method + "\"><LOCALINSTANCEPATH>" + nameSpace +
                           instanceName + "</LOCALINSTANCEPATH>" + parameters + "</METHODCALL>");
    return request;
}

/// What stands between the opening and the closing tag of the response element.
std::string content(const CimReply& reply)
{
    const std::size_t tag = reply.body.find("RESPONSE NAME=");
    if (reply.status != 200 || tag == std::string::npos) {
        return "status " + std::to_string(reply.status) + " " + reply.cimError + ": " +
               reply.detail;
    }
    const std::size_t start = reply.body.find(">\n", tag) + 2;
    return reply.body.substr(start,
                             reply.body.rfind("</", reply.body.rfind("</SIMPLERSP>") - 1) - start);
}

std::string run(FakeObjectManager& manager, const CimRequest& request)
{
    return content(answerCimRequest(manager, "myhost", request));
}

TEST(Service, EveryOperationReachesTheObjectManagerWithTheProtocolsDefaults)
{
    const std::string path = parameter("InstanceName", instanceName);
    const std::string object = parameter("ObjectName", instanceName);
    const std::string list =
        parameter("PropertyList", "<VALUE.ARRAY><VALUE>a</VALUE><VALUE>B</VALUE></VALUE.ARRAY>");
    const std::string instance =
        "<INSTANCE CLASSNAME=\"Cage\"><PROPERTY NAME=\"Tag\" TYPE=\"string\"/></INSTANCE>";
    const struct
    {
        std::string method;
        std::string parameters;
        std::string call;
    } cases[] = {
        {"GetClass", className(), "getClass user=eva root/qbx Cage lo=1 iq=1 ico=0 pl=all"},
        {"GetClass",
         className() + flag("LocalOnly", "false") + flag("IncludeQualifiers", "FALSE") +
             flag("IncludeClassOrigin", "TRUE") + list,
         "getClass user=eva root/qbx Cage lo=0 iq=0 ico=1 pl=[a,B]"},
        {"EnumerateClasses", "", "enumerateClasses user=eva root/qbx - deep=0 lo=1 iq=1 ico=0"},
        {"EnumerateClasses", className() + flag("DeepInheritance", "TRUE"),
         "enumerateClasses user=eva root/qbx Cage deep=1 lo=1 iq=1 ico=0"},
        {"EnumerateClassNames", parameter("ClassName", ""),
         "enumerateClassNames user=eva root/qbx - deep=0"},
        {"EnumerateQualifiers", "", "enumerateQualifiers user=eva root/qbx -"},
        {"GetQualifier", flag("QualifierName", "Key"), "getQualifier user=eva root/qbx Key"},
        {"GetInstance", path, "getInstance user=eva root/qbx Cage.Tag=\"c:1\" iq=0 ico=0 pl=all"},
        {"GetInstance", path + flag("LocalOnly", "TRUE") + parameter("PropertyList", ""),
         "getInstance user=eva root/qbx Cage.Tag=\"c:1\" iq=0 ico=0 pl=all"},
        {"GetInstance", path + parameter("PropertyList", "<VALUE.ARRAY/>"),
         "getInstance user=eva root/qbx Cage.Tag=\"c:1\" iq=0 ico=0 pl=[]"},
        {"EnumerateInstances", className(),
         "enumerateInstances user=eva root/qbx Cage deep=1 iq=0 ico=0 pl=all"},
        {"EnumerateInstances", flag("DeepInheritance", "FALSE") + className("cAGE"),
         "enumerateInstances user=eva root/qbx cAGE deep=0 iq=0 ico=0 pl=all"},
        {"EnumerateInstanceNames", className(), "enumerateInstanceNames user=eva root/qbx Cage"},
        {"CreateInstance", parameter("NewInstance", instance),
         "createInstance user=eva root/qbx Cage"},
        {"ModifyInstance",
         parameter("ModifiedInstance",
                   "<VALUE.NAMEDINSTANCE>" + instanceName + instance + "</VALUE.NAMEDINSTANCE>"),
         "modifyInstance user=eva root/qbx Cage.Tag=\"c:1\" iq=1 pl=all"},
        {"DeleteInstance", path, "deleteInstance user=eva root/qbx Cage.Tag=\"c:1\""},
        {"GetProperty", path + flag("PropertyName", "Bays"),
         "getProperty user=eva root/qbx Cage.Tag=\"c:1\" Bays"},
        {"SetProperty", path + flag("PropertyName", "bays") + flag("NewValue", "12"),
         "setProperty user=eva root/qbx Cage.Tag=\"c:1\" bays uint32:12"},
        {"SetProperty", path + flag("PropertyName", "Bays"),
         "setProperty user=eva root/qbx Cage.Tag=\"c:1\" Bays uint32:null"},
        {"Associators", object,
         "associators user=eva root/qbx Cage.Tag=\"c:1\" - - '' '' iq=0 ico=0 pl=all"},
        {"Associators",
         object + className("A", "AssocClass") + className("R", "ResultClass") + flag("Role", "x") +
             flag("ResultRole", "y") + flag("IncludeQualifiers", "TRUE") + list,
         "associators user=eva root/qbx Cage.Tag=\"c:1\" A R 'x' 'y' iq=1 ico=0 pl=[a,B]"},
        {"AssociatorNames", object + parameter("AssocClass", "") + parameter("ResultClass", "\n"),
         "associatorNames user=eva root/qbx Cage.Tag=\"c:1\" - - '' ''"},
        {"References", object + flag("Role", ""),
         "references user=eva root/qbx Cage.Tag=\"c:1\" - '' iq=0 ico=0 pl=all"},
        {"ReferenceNames", className("Cage", "ObjectName"),
         "referenceNames user=eva root/qbx Cage - ''"},
    };
    for (const auto& c : cases) {
        FakeObjectManager manager;
        CIMClass cage("Cage");
        cage.addProperty(CIMProperty("Bays", CIMValue(CIMTYPE_UINT32, false)));
        manager.classes.append(cage);
        manager.qualifiers.append(
            CIMQualifierDecl("Key", CIMValue(Boolean(false)), CIMScope(CIMScope::PROPERTY)));
        manager.paths.append(CIMObjectPath("Cage.Tag=\"c:1\""));
        const CimReply reply =
            answerCimRequest(manager, "myhost", intrinsic(c.method, c.parameters));
        EXPECT_EQ(manager.lastCall(), c.call) << reply.detail << reply.body;
        EXPECT_EQ(reply.status, 200) << reply.detail;
        EXPECT_EQ(reply.body.find("<ERROR"), std::string::npos) << reply.body;
    }
}

TEST(Service, ResultsInTheElementsOfTheirOperation)
{
    const std::string name =
        "<INSTANCENAME CLASSNAME=\"Cage\">\n<KEYBINDING NAME=\"Tag\">\n"
        "<KEYVALUE VALUETYPE=\"string\">c:1</KEYVALUE>\n</KEYBINDING>\n</INSTANCENAME>\n";
    const std::string instance = "<INSTANCE CLASSNAME=\"Cage\" >\n</INSTANCE>\n";
    const std::string where =
        "<NAMESPACEPATH>\n<HOST>myhost</HOST>\n<LOCALNAMESPACEPATH>\n<NAMESPACE NAME=\"root\"/>\n"
        "<NAMESPACE NAME=\"qbx\"/>\n</LOCALNAMESPACEPATH>\n</NAMESPACEPATH>\n";
    const std::string path = "<INSTANCEPATH>\n" + where + name + "</INSTANCEPATH>\n";
    const std::string object = parameter("ObjectName", instanceName);
    FakeObjectManager manager;
    manager.paths.append(CIMObjectPath("Cage.Tag=\"c:1\""));
    CIMInstance cage("Cage");
    cage.setPath(CIMObjectPath("Cage.Tag=\"c:1\""));
    manager.instance = cage;
    manager.instances.append(cage);
    manager.objects.append(CIMObject(cage));
    manager.classes.append(CIMClass("Cage"));
    manager.names.append(CIMName("Cage"));
    manager.value = CIMValue(Uint32(12));
    const struct
    {
        CimRequest request;
        std::string result;
    } cases[] = {
        {intrinsic("getclass", className()), "<CLASS NAME=\"Cage\" >\n</CLASS>\n"},
        {intrinsic("EnumerateClasses", ""), "<CLASS NAME=\"Cage\" >\n</CLASS>\n"},
        {intrinsic("EnumerateClassNames", ""), "<CLASSNAME NAME=\"Cage\"/>\n"},
        {intrinsic("GetInstance", parameter("InstanceName", instanceName)), instance},
        {intrinsic("EnumerateInstances", className()),
         "<VALUE.NAMEDINSTANCE>\n" + name + instance + "</VALUE.NAMEDINSTANCE>\n"},
        {intrinsic("EnumerateInstanceNames", className()), name},
        {intrinsic("CreateInstance", parameter("NewInstance", instance)), name},
        {intrinsic("GetProperty",
                   parameter("InstanceName", instanceName) + flag("PropertyName", "Bays")),
         "<VALUE>12</VALUE>\n"},
        {intrinsic("Associators", object),
         "<VALUE.OBJECTWITHPATH>\n" + path + instance + "</VALUE.OBJECTWITHPATH>\n"},
        {intrinsic("References", object),
         "<VALUE.OBJECTWITHPATH>\n" + path + instance + "</VALUE.OBJECTWITHPATH>\n"},
        {intrinsic("AssociatorNames", object), "<OBJECTPATH>\n" + path + "</OBJECTPATH>\n"},
        {intrinsic("ReferenceNames", object), "<OBJECTPATH>\n" + path + "</OBJECTPATH>\n"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(run(manager, c.request), "<IRETURNVALUE>\n" + c.result + "</IRETURNVALUE>\n")
            << *c.request.method;
    }
}

TEST(Service, TheWholeResponse)
{
    FakeObjectManager manager;
    CimRequest request = intrinsic("enumerateinstancenames", className());
    request.body.replace(request.body.find("ID=\"7\""), 6, "ID=\"a&lt;b \xC3\xA9\"");
    EXPECT_EQ(
        answerCimRequest(manager, "h", request).body,
        "<?xml version=\"1.0\" encoding=\"utf-8\" ?>\n<CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\">\n"
        "<MESSAGE ID=\"a&lt;b \xC3\xA9\" PROTOCOLVERSION=\"1.0\">\n<SIMPLERSP>\n"
        "<IMETHODRESPONSE NAME=\"EnumerateInstanceNames\">\n</IMETHODRESPONSE>\n</SIMPLERSP>\n</MESSAGE>\n"
        "</CIM>\n");
}

TEST(Service, EmptyResults)
{
    FakeObjectManager manager;
    const std::string object = parameter("ObjectName", instanceName);
    const std::string empty = "<IRETURNVALUE>\n</IRETURNVALUE>\n";
    EXPECT_EQ(run(manager, intrinsic("EnumerateInstances", className())), "");
    EXPECT_EQ(run(manager, intrinsic("EnumerateClassNames", "")), "");
    EXPECT_EQ(run(manager, intrinsic("Associators", object)), empty);
    EXPECT_EQ(run(manager, intrinsic("ReferenceNames", object)), empty);
    EXPECT_EQ(run(manager, intrinsic("GetInstance", parameter("InstanceName", instanceName))), "");
    EXPECT_EQ(run(manager, intrinsic("DeleteInstance", parameter("InstanceName", instanceName))),
              "");
}

TEST(Service, ClassesAsAssociatedObjects)
{
    FakeObjectManager manager;
    CIMClass cimClass("Card");
    cimClass.setPath(CIMObjectPath("//other/root/x:Card"));
    manager.objects.append(CIMObject(cimClass));
    manager.paths.append(CIMObjectPath("//other/root/x:Card"));
    const std::string path =
        "<CLASSPATH>\n<NAMESPACEPATH>\n<HOST>other</HOST>\n<LOCALNAMESPACEPATH>\n"
        "<NAMESPACE NAME=\"root\"/>\n<NAMESPACE NAME=\"x\"/>\n</LOCALNAMESPACEPATH>\n"
        "</NAMESPACEPATH>\n<CLASSNAME NAME=\"Card\"/>\n</CLASSPATH>\n";
    const std::string source = className("Cage", "ObjectName");
    EXPECT_EQ(run(manager, intrinsic("Associators", source)),
              "<IRETURNVALUE>\n<VALUE.OBJECTWITHPATH>\n" + path +
                  "<CLASS NAME=\"Card\" >\n</CLASS>\n</VALUE.OBJECTWITHPATH>\n</IRETURNVALUE>\n");
    EXPECT_EQ(run(manager, intrinsic("AssociatorNames", source)),
              "<IRETURNVALUE>\n<OBJECTPATH>\n" + path + "</OBJECTPATH>\n</IRETURNVALUE>\n");
}

TEST(Service, FailuresOfTheOperationBecomeErrorElements)
{
    const struct
    {
        std::function<void()> fail;
        std::string error;
    } cases[] = {
        {[] { throw CIMException(CIM_ERR_NOT_FOUND, "my text"); },
         "<ERROR CODE=\"6\" DESCRIPTION=\"CIM_ERR_NOT_FOUND: my text\"/>"},
        {[] { throw CIMException(CIM_ERR_FAILED); },
         "<ERROR CODE=\"1\" DESCRIPTION=\"CIM_ERR_FAILED\"/>"},
        {[] { throw CIMException(CIM_ERR_SUCCESS, "fine"); }, ""},
        {[] { throw CIMException(CIMStatusCode(30), "t"); },
         "<ERROR CODE=\"30\" DESCRIPTION=\"Unrecognized CIM status code &quot;30&quot;: t\"/>"},
        {[] { throw CIMException(CIM_ERR_FAILED, "<&>\"'\n\t \xC3\xA4"); },
         "<ERROR CODE=\"1\" DESCRIPTION=\"CIM_ERR_FAILED: &lt;&amp;&gt;&quot;&apos;&#10;&#9; \xC3\xA4\"/>"},
        {[] { throw TypeMismatchException(); },
         "<ERROR CODE=\"1\" DESCRIPTION=\"CIM_ERR_FAILED: type mismatch\"/>"},
        {[] { throw std::bad_alloc(); },
         "<ERROR CODE=\"1\" DESCRIPTION=\"CIM_ERR_FAILED: std::bad_alloc\"/>"},
        {[] { throw 5; }, "<ERROR CODE=\"1\" DESCRIPTION=\"CIM_ERR_FAILED: Unknown error.\"/>"},
    };
    for (const auto& c : cases) {
        FakeObjectManager manager;
        manager.onCall = [&](const std::string&, const std::string&) { c.fail(); };
        EXPECT_EQ(run(manager, intrinsic("EnumerateInstances", className())), c.error);
        EXPECT_EQ(run(manager, extrinsic("Ping", "")), c.error);
    }
}

TEST(Service, AResultThatCannotBeWrittenLeavesOnlyTheError)
{
    FakeObjectManager manager;
    manager.instances.append(CIMInstance("Cage"));
    manager.instances.append(CIMInstance());
    EXPECT_EQ(run(manager, intrinsic("EnumerateInstances", className())).substr(0, 40),
              "<ERROR CODE=\"1\" DESCRIPTION=\"CIM_ERR_FAI");
}

TEST(Service, ParametersThatAnOperationDoesNotTake)
{
    const std::string path = parameter("InstanceName", instanceName);
    const struct
    {
        CimRequest request;
        std::string content;
    } cases[] = {
        {intrinsic("EnumerateInstances", className() + flag("Bogus", "TRUE")),
         "<ERROR CODE=\"7\" DESCRIPTION=\"CIM_ERR_NOT_SUPPORTED: Unrecognized or invalid request input parameter "
         "&quot;Bogus&quot;\"/>"},
        {intrinsic("EnumerateInstances", className() + className()),
         "<ERROR CODE=\"4\" DESCRIPTION=\"CIM_ERR_INVALID_PARAMETER: Duplicated request input parameter.\"/>"},
        {intrinsic("EnumerateInstances", ""),
         "<ERROR CODE=\"4\" DESCRIPTION=\"CIM_ERR_INVALID_PARAMETER: Required parameter &quot;ClassName&quot; missing "
         "from request.\"/>"},
        {intrinsic("EnumerateInstances", parameter("ClassName", "")),
         "<ERROR CODE=\"4\" DESCRIPTION=\"CIM_ERR_INVALID_PARAMETER: Required parameter &quot;ClassName&quot; missing "
         "from request.\"/>"},
        {intrinsic("GetInstance", ""),
         "<ERROR CODE=\"4\" DESCRIPTION=\"CIM_ERR_INVALID_PARAMETER\"/>"},
        {intrinsic("ModifyInstance", ""),
         "<ERROR CODE=\"4\" DESCRIPTION=\"CIM_ERR_INVALID_PARAMETER\"/>"},
        {intrinsic("ModifyInstance",
                   parameter("ModifiedInstance",
                             "<VALUE.NAMEDINSTANCE>" + instanceName +
                                 "<INSTANCE CLASSNAME=\"Card\"/></VALUE.NAMEDINSTANCE>")),
         "<ERROR CODE=\"4\" DESCRIPTION=\"CIM_ERR_INVALID_PARAMETER: type mismatch\"/>"},
        {intrinsic("SetProperty", path + flag("PropertyName", "Nope") + flag("NewValue", "1")),
         "<ERROR CODE=\"12\" DESCRIPTION=\"CIM_ERR_NO_SUCH_PROPERTY: Nope\"/>"},
        {intrinsic("SetProperty", path + flag("PropertyName", "Bays") + flag("NewValue", "x")),
         "<ERROR CODE=\"13\" DESCRIPTION=\"CIM_ERR_TYPE_MISMATCH: Bays\"/>"},
        {intrinsic("GetProperty", path + flag("PropertyName", "a b")),
         "<ERROR CODE=\"4\" DESCRIPTION=\"CIM_ERR_INVALID_PARAMETER: The CIM name is not valid: a b\"/>"},
        {intrinsic("Frobnicate", flag("Any", "x")),
         "<ERROR CODE=\"7\" DESCRIPTION=\"CIM_ERR_NOT_SUPPORTED: Unrecognized intrinsic method: Frobnicate\"/>"},
        {intrinsic("OpenEnumerateInstances", className()),
         "<ERROR CODE=\"7\" DESCRIPTION=\"CIM_ERR_NOT_SUPPORTED: Unrecognized intrinsic method: "
         "OpenEnumerateInstances\"/>"},
        {intrinsic("ExecQuery", flag("QueryLanguage", "WQL") + flag("Query", "select * from Cage")),
         "<ERROR CODE=\"7\" DESCRIPTION=\"CIM_ERR_NOT_SUPPORTED\"/>"},
        {intrinsic("EnumerateInstances", className() + flag("LocalOnly", "maybe")),
         "status 400 request-not-valid: Semantic error: on line 2: Invalid value for VALUE element: must be \"TRUE\" "
         "or \"FALSE\""},
        {intrinsic("EnumerateInstances", className() + parameter("LocalOnly", "")),
         "status 400 request-not-valid: Validation error: on line 2: Expected VALUE element"},
        {intrinsic("EnumerateInstances", flag("ClassName", "Cage")),
         "status 400 request-not-valid: Validation error: on line 2: Expected CLASSNAME element"},
        {intrinsic("GetInstance", className("Cage", "InstanceName")),
         "status 400 request-not-valid: Validation error: on line 2: Expected INSTANCENAME element"},
        {intrinsic("GetInstance", path + flag("PropertyList", "a")),
         "status 400 request-not-valid: Validation error: on line 2: Expected VALUE.ARRAY element"},
        {intrinsic("GetInstance", "<FOO/>"),
         "status 400 request-not-valid: Validation error: on line 2: Expected IPARAMVALUE element"},
        {intrinsic("CreateInstance",
                   parameter("NewInstance",
                             "<INSTANCE CLASSNAME=\"A\"><PROPERTY NAME=\"P\" TYPE=\"string\"/>"
                             "<PROPERTY NAME=\"p\" TYPE=\"string\"/></INSTANCE>")),
         "status 400 request-not-valid: already exists: property \"p\""},
    };
    FakeObjectManager manager;
    CIMClass cage("Cage");
    cage.addProperty(CIMProperty("Bays", CIMValue(CIMTYPE_UINT32, false)));
    manager.classes.append(cage);
    for (const auto& c : cases)
        EXPECT_EQ(run(manager, c.request), c.content) << c.request.body;
}

TEST(Service, TheInstancesOfWriteOperationsArriveWhole)
{
    FakeObjectManager manager;
    const std::string instance =
        "<INSTANCE CLASSNAME=\"Cage\"><PROPERTY NAME=\"Tag\"  TYPE=\"string\">\n<VALUE>c:1</VALUE>\n</PROPERTY>"
        "<PROPERTY NAME=\"Note\" TYPE=\"string\"><VALUE>a &lt;b&gt; \xC3\xA4&#1;</VALUE></PROPERTY>"
        "<PROPERTY.ARRAY NAME=\"Status\" TYPE=\"uint16\"><VALUE.ARRAY><VALUE>2</VALUE></VALUE.ARRAY></PROPERTY.ARRAY>"
        "<PROPERTY NAME=\"Null\" TYPE=\"uint8\"/></INSTANCE>";
    run(manager, intrinsic("ModifyInstance",
                           parameter("ModifiedInstance", "<VALUE.NAMEDINSTANCE>" + instanceName +
                                                             instance + "</VALUE.NAMEDINSTANCE>")));
    std::string back;
    xml::appendInstance(back, manager.lastInstance);
    EXPECT_EQ(
        back,
        "<INSTANCE CLASSNAME=\"Cage\" >\n"
        "<PROPERTY NAME=\"Tag\"  TYPE=\"string\">\n<VALUE>c:1</VALUE>\n</PROPERTY>\n"
        "<PROPERTY NAME=\"Note\"  TYPE=\"string\">\n<VALUE>a &lt;b&gt; \xC3\xA4&#1;</VALUE>\n</PROPERTY>\n"
        "<PROPERTY.ARRAY NAME=\"Status\"  TYPE=\"uint16\">\n<VALUE.ARRAY>\n<VALUE>2</VALUE>\n"
        "</VALUE.ARRAY>\n</PROPERTY.ARRAY>\n"
        "<PROPERTY NAME=\"Null\"  TYPE=\"uint8\">\n</PROPERTY>\n</INSTANCE>\n");
}

/// A class with one method that takes a parameter of each form.
CIMClass classWithMethod()
{
    CIMMethod ping("Ping", CIMTYPE_UINT32);
    ping.addParameter(CIMParameter("U", CIMTYPE_UINT32));
    ping.addParameter(CIMParameter("B", CIMTYPE_BOOLEAN));
    ping.addParameter(CIMParameter("A", CIMTYPE_SINT16, true));
    ping.addParameter(CIMParameter("D", CIMTYPE_DATETIME));
    ping.addParameter(CIMParameter("R", CIMTYPE_REFERENCE, false, 0, CIMName("Cage")));
    CIMClass cimClass("Cage");
    cimClass.addMethod(ping);
    return cimClass;
}

std::string value(const std::string& name, const std::string& attributes,
                  const std::string& content)
{
    return "<PARAMVALUE NAME=\"" + name + "\"" + attributes + ">" + content + "</PARAMVALUE>";
}

TEST(Service, MethodParametersGetTheTypesOfTheirDeclaration)
{
    const std::string reference = "<VALUE.REFERENCE>" + instanceName + "</VALUE.REFERENCE>";
    const std::string prefix = "invokeMethod user=eva root/qbx root/qbx:Cage.Tag=\"c:1\" ";
    const struct
    {
        std::string method;
        std::string parameters;
        std::string result;  ///< the call, or the error's content
    } cases[] = {
        {"Ping", "", prefix + "Ping"},
        {"pING", value("u", "", "<VALUE>5</VALUE>"), prefix + "pING u=uint32:5"},
        {"Ping", value("B", "", "<VALUE>true</VALUE>"), prefix + "Ping B=boolean:TRUE"},
        {"Ping", value("A", "", "<VALUE.ARRAY><VALUE>1</VALUE><VALUE>-2</VALUE></VALUE.ARRAY>"),
         prefix + "Ping A=sint16[]:1 -2 "},
        {"Ping", value("A", "", ""), prefix + "Ping A=sint16[]:null"},
        {"Ping", value("D", "", "<VALUE>20260102030405.678901+060</VALUE>"),
         prefix + "Ping D=datetime:20260102030405.678901+060"},
        {"Ping", value("R", "", reference), prefix + "Ping R=reference:Cage.Tag=\"c:1\""},
        {"Ping", value("X", "", "<VALUE>5</VALUE>"), prefix + "Ping X=string:5(untyped)"},
        // Typed parameters are taken as they are sent.
        {"Ping", value("U", " PARAMTYPE=\"sint64\"", "<VALUE>-5</VALUE>"),
         prefix + "Ping U=sint64:-5"},
        {"Ping", value("U", " PARAMTYPE=\"uint32\"", "<VALUE.ARRAY><VALUE>1</VALUE></VALUE.ARRAY>"),
         prefix + "Ping U=uint32[]:1 "},
        {"Ping", value("R", " PARAMTYPE=\"reference\"", reference),
         prefix + "Ping R=reference:Cage.Tag=\"c:1\""},
        {"Ping", value("U", " PARAMTYPE=\"string\"", ""), prefix + "Ping U=string:null"},
        {"Nope", value("X", " PARAMTYPE=\"string\"", "<VALUE>x</VALUE>"),
         prefix + "Nope X=string:x"},
        {"Nope", value("X", "", "<VALUE>x</VALUE>"),
         "<ERROR CODE=\"17\" DESCRIPTION=\"CIM_ERR_METHOD_NOT_FOUND\"/>"},
        {"Ping", value("U", "", "<VALUE>x</VALUE>"),
         "<ERROR CODE=\"4\" DESCRIPTION=\"CIM_ERR_INVALID_PARAMETER: Malformed uint32 value\"/>"},
        {"Ping", value("U", " PARAMTYPE=\"uint32\"", "<VALUE>x</VALUE>"),
         "status 400 request-not-valid: Semantic error: on line 2: Invalid uint32 value"},
        {"Ping", value("U", " PARAMTYPE=\"int\"", ""),
         "status 400 request-not-valid: Semantic error: on line 2: Illegal value for PARAMVALUE.PARAMTYPE attribute"},
        {"Ping", value("R", " PARAMTYPE=\"string\"", reference),
         "status 400 request-not-valid: Semantic error: on line 2: PARAMVALUE.PARAMTYPE does not fit the value"},
        {"Ping", "<IPARAMVALUE NAME=\"U\"/>",
         "status 400 request-not-valid: Validation error: on line 2: Expected PARAMVALUE element"},
    };
    for (const auto& c : cases) {
        FakeObjectManager manager;
        manager.classes.append(classWithMethod());
        const std::string result = run(manager, extrinsic(c.method, c.parameters));
        EXPECT_EQ(result.empty() ? manager.lastCall() : result, c.result)
            << c.method << " " << c.parameters;
    }
}

TEST(Service, MethodResultsAndEmbeddedInstances)
{
    FakeObjectManager manager;
    manager.value = CIMValue(Uint32(0));
    manager.outParameters.append(CIMParamValue("Out", CIMValue(String("o")), true));
    const std::string instance =
        "&lt;INSTANCE CLASSNAME=\"In\"&gt;&lt;PROPERTY NAME=\"P\" TYPE=\"uint8\"&gt;&lt;VALUE&gt;3"
        "&lt;/VALUE&gt;&lt;/PROPERTY&gt;&lt;/INSTANCE&gt;";
    const std::string in = value("E", " PARAMTYPE=\"string\" EmbeddedObject=\"instance\"",
                                 "<VALUE>" + instance + "</VALUE>");
    EXPECT_EQ(run(manager, extrinsic("Ping", in)),
              "<RETURNVALUE PARAMTYPE=\"uint32\">\n<VALUE>0</VALUE>\n</RETURNVALUE>\n"
              "<PARAMVALUE NAME=\"Out\" PARAMTYPE=\"string\">\n<VALUE>o</VALUE>\n</PARAMVALUE>\n");
    ASSERT_EQ(manager.lastIn.size(), 1U);
    CIMInstance embedded;
    manager.lastIn[0].getValue().get(embedded);
    Uint8 property = 0;
    embedded.getProperty(0).getValue().get(property);
    EXPECT_EQ(property, 3);
}

TEST(Service, HeadersMustNameTheSameMethodAndObject)
{
    const auto with = [](CimRequest request, std::optional<std::string> method,
                         std::optional<std::string> object) {
        request.method = std::move(method);
        request.object = std::move(object);
        return request;
    };
    const CimRequest get = intrinsic("GetClass", className());
    const CimRequest ping = extrinsic("Ping", "");
    const std::string path = "root%2Fqbx%3ACage.Tag%3D%22c%3A1%22";
    const struct
    {
        CimRequest request;
        std::string detail;  ///< empty: accepted
    } cases[] = {
        {with(get, "getclass", "ROOT/qbx"), ""},
        {with(get, "GetClass", "/root/qbx"), ""},
        {with(get, std::nullopt, "root/qbx"), "Missing CIMMethod HTTP header."},
        {with(get, "GetClass", std::nullopt), "Missing CIMObject HTTP header."},
        {with(get, "GetInstance", "root/qbx"),
         "CIMMethod value \"GetInstance\" does not match CIM request method \"GetClass\"."},
        {with(get, "GetClass", "root%2fcimv2"),
         "CIMObject value \"root/cimv2\" does not match CIM request object \"root/qbx\"."},
        {with(get, "GetClass", "root%zzqbx"),
         "CIMObject value \"root%zzqbx\" does not match CIM request object \"root/qbx\"."},
        {with(ping, "Ping", path), ""},
        {with(ping, "Ping", "ROOT/QBX:cage.tag=\"c:1\""), ""},
        {with(ping, "ping", path),
         "CIMMethod value \"ping\" does not match CIM request method \"Ping\"."},
        {with(ping, "Ping", "root/qbx"),
         "CIMObject value \"root/qbx\" does not match CIM request object \"root/qbx:Cage.Tag=\"c:1\"\"."},
        {with(ping, "Ping", "root/qbx:Cage.Tag=\"c:2\""),
         "CIMObject value \"root/qbx:Cage.Tag=\"c:2\"\" does not match CIM request object "
         "\"root/qbx:Cage.Tag=\"c:1\"\"."},
    };
    FakeObjectManager manager;
    manager.classes.append(CIMClass("Cage"));
    for (const auto& c : cases) {
        const CimReply reply = answerCimRequest(manager, "h", c.request);
        EXPECT_EQ(reply.detail, c.detail);
        EXPECT_EQ(reply.status, c.detail.empty() ? 200 : 400) << c.detail;
        EXPECT_EQ(reply.cimError, c.detail.empty() ? "" : "header-mismatch") << c.detail;
    }
}

TEST(Service, KeysInAnyOrderMatchTheObjectHeader)
{
    FakeObjectManager manager;
    CimRequest request = extrinsic("Ping", "");
    const std::string two =
        "<INSTANCENAME CLASSNAME=\"Cage\"><KEYBINDING NAME=\"Tag\"><KEYVALUE>x</KEYVALUE></KEYBINDING>"
        "<KEYBINDING NAME=\"Class\"><KEYVALUE>y</KEYVALUE></KEYBINDING></INSTANCENAME>";
    request.body.replace(request.body.find(instanceName), instanceName.size(), two);
    request.object = percentEncode("root/qbx:Cage.Tag=\"x\",Class=\"y\"");
    EXPECT_EQ(answerCimRequest(manager, "h", request).detail, "");
}

TEST(Service, LanguagesAndUserReachTheContext)
{
    struct Languages : FakeObjectManager
    {
        CIMClass getClass(const Ctx& c, const Ns&, const CIMName&, bool, bool, bool,
                          const CIMPropertyList&) override
        {
            const AcceptLanguageListContainer accept = c.get(AcceptLanguageListContainer::NAME);
            const ContentLanguageListContainer content = c.get(ContentLanguageListContainer::NAME);
            for (Uint32 i = 0; i < accept.getLanguages().size(); ++i) {
                seen += xml::utf8(accept.getLanguages().getLanguageTag(i).toString()) + " ";
            }
            seen += "/" + std::to_string(content.getLanguages().size());
            return CIMClass("Cage");
        }
        std::string seen;
    };
    const struct
    {
        std::string accept;
        std::string content;
        std::string seen;
        std::string detail;
    } cases[] = {
        {"", "", "/0", ""},
        {"en;q=0.5, de-DE ,fr;q=0.7", "de, en", "de-DE fr en /2", ""},
        {"*", "", "* /0", ""},
        {"$$$", "", "", "invalid acceptlanguage header: Malformed language tag:$$$"},
        {"en;q=2", "", "", "invalid acceptlanguage header: Malformed quality value:q=2"},
        {"en;q=nan", "", "", "invalid acceptlanguage header: Malformed quality value:q=nan"},
        {"toolonglanguage", "", "",
         "invalid acceptlanguage header: Malformed language tag:toolonglanguage"},
        {"", "de-", "", "invalid contentlanguage header: Malformed language tag:de-"},
        {"", "*", "", "invalid contentlanguage header: Malformed language tag:*"},
    };
    for (const auto& c : cases) {
        Languages manager;
        CimRequest request = intrinsic("GetClass", className());
        request.acceptLanguage = c.accept;
        request.contentLanguage = c.content;
        const CimReply reply = answerCimRequest(manager, "h", request);
        EXPECT_EQ(manager.seen, c.seen);
        EXPECT_EQ(reply.detail, c.detail);
    }
}

TEST(Service, DamagedRequestsAreAnsweredAndNeverRun)
{
    // Cut off, and with each byte in turn replaced: always a reply, and no crash.
    const CimRequest whole =
        extrinsic("Ping", value("U", " PARAMTYPE=\"uint32\"", "<VALUE>5</VALUE>"));
    FakeObjectManager manager;
    for (std::size_t size = 0; size < whole.body.size(); ++size) {
        CimRequest request = whole;
        request.body.resize(size);
        EXPECT_EQ(answerCimRequest(manager, "h", request).status, 400) << size;
    }
    EXPECT_TRUE(manager.calls().empty());
    for (const char byte : {'<', '>', '"', '&', 'x', '\0', '\xFF'}) {
        for (std::size_t i = 0; i < whole.body.size(); ++i) {
            CimRequest request = whole;
            request.body[i] = byte;
            const int status = answerCimRequest(manager, "h", request).status;
            EXPECT_TRUE(status == 200 || status == 400 || status == 501) << i << " " << status;
        }
    }
}

TEST(PercentCoding, ThereAndBack)
{
    std::string all;
    for (int i = 0; i < 256; ++i)
        all += static_cast<char>(i);
    EXPECT_EQ(percentDecode(percentEncode(all)), all);
    EXPECT_EQ(percentEncode("a b<\"\xC3\xA4-_.~"), "a%20b%3C%22%C3%A4-_.~");
    EXPECT_EQ(percentDecode("%2Fa%2fb%"), "/a/b%");
    EXPECT_EQ(percentDecode("%2%zz%4"), "%2%zz%4");
    EXPECT_EQ(percentDecode("%-1%+1"), "%-1%+1");
}

}  // namespace
}  // namespace cimom
