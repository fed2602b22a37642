// Providers' handles and local clients reach the object manager of the process.
#include "Model/ObjectManager.h"

#include <Pegasus/Client/CIMClient.h>
#include <Pegasus/Provider/CIMOMHandle.h>
#include <gtest/gtest.h>

#include <functional>
#include <optional>
#include <string>

using namespace Pegasus;

namespace
{

std::string text(const String& value)
{
    return std::string(value.getCString());
}
std::string text(const CIMName& value)
{
    return value.isNull() ? "null" : text(value.getString());
}
std::string text(bool value)
{
    return value ? "true" : "false";
}
std::string text(const CIMObjectPath& value)
{
    return text(value.toString());
}
std::string text(const CIMInstance& value)
{
    return text(value.getPath());
}
std::string text(const CIMValue& value)
{
    return text(value.toString());
}
std::string text(const CIMPropertyList& value)
{
    return "[" + text(value.toString()) + "]";
}
std::string text(const Array<CIMParamValue>& value)
{
    return std::to_string(value.size()) + " parameters";
}

/// Notes each operation with all its arguments, the caller first, and answers with something that
/// can be told from other answers.
class FakeManager : public cimom::ObjectManager
{
public:
    FakeManager() { setCurrent(this); }
    ~FakeManager() override { setCurrent(nullptr); }

    std::string called;
    std::optional<CIMException> error;

    CIMClass getClass(const Ctx& c, const Ns& n, const CIMName& a, bool l, bool q, bool o,
                      const CIMPropertyList& p) override
    {
        note("getClass", c, n, a, l, q, o, p);
        return CIMClass(a);
    }
    Array<CIMClass> enumerateClasses(const Ctx& c, const Ns& n, const CIMName& a, bool d, bool l,
                                     bool q, bool o) override
    {
        note("enumerateClasses", c, n, a, d, l, q, o);
        return Array<CIMClass>(2, CIMClass(a));
    }
    Array<CIMName> enumerateClassNames(const Ctx& c, const Ns& n, const CIMName& a, bool d) override
    {
        note("enumerateClassNames", c, n, a, d);
        return Array<CIMName>(3, a);
    }
    CIMQualifierDecl getQualifier(const Ctx& c, const Ns& n, const CIMName& a) override
    {
        note("getQualifier", c, n, a);
        return CIMQualifierDecl(a, CIMValue(true), CIMScope::ANY);
    }
    Array<CIMQualifierDecl> enumerateQualifiers(const Ctx& c, const Ns& n) override
    {
        note("enumerateQualifiers", c, n);
        return {};
    }
    CIMInstance getInstance(const Ctx& c, const Ns& n, const CIMObjectPath& a, bool q, bool o,
                            const CIMPropertyList& p) override
    {
        note("getInstance", c, n, a, q, o, p);
        return CIMInstance(a.getClassName());
    }
    Array<CIMInstance> enumerateInstances(const Ctx& c, const Ns& n, const CIMName& a, bool d,
                                          bool q, bool o, const CIMPropertyList& p) override
    {
        note("enumerateInstances", c, n, a, d, q, o, p);
        return Array<CIMInstance>(4, CIMInstance(a));
    }
    Array<CIMObjectPath> enumerateInstanceNames(const Ctx& c, const Ns& n,
                                                const CIMName& a) override
    {
        note("enumerateInstanceNames", c, n, a);
        return {};
    }
    CIMObjectPath createInstance(const Ctx& c, const Ns& n, const CIMInstance& a) override
    {
        note("createInstance", c, n, a);
        return a.getPath();
    }
    void modifyInstance(const Ctx& c, const Ns& n, const CIMInstance& a, bool q,
                        const CIMPropertyList& p) override
    {
        note("modifyInstance", c, n, a, q, p);
    }
    void deleteInstance(const Ctx& c, const Ns& n, const CIMObjectPath& a) override
    {
        note("deleteInstance", c, n, a);
    }
    CIMValue getProperty(const Ctx& c, const Ns& n, const CIMObjectPath& a,
                         const CIMName& b) override
    {
        note("getProperty", c, n, a, b);
        return CIMValue(Uint32(5));
    }
    void setProperty(const Ctx& c, const Ns& n, const CIMObjectPath& a, const CIMName& b,
                     const CIMValue& v) override
    {
        note("setProperty", c, n, a, b, v);
    }
    Array<CIMObject> associators(const Ctx& c, const Ns& n, const CIMObjectPath& a,
                                 const CIMName& s, const CIMName& r, const String& x,
                                 const String& y, bool q, bool o, const CIMPropertyList& p) override
    {
        note("associators", c, n, a, s, r, x, y, q, o, p);
        return {};
    }
    Array<CIMObjectPath> associatorNames(const Ctx& c, const Ns& n, const CIMObjectPath& a,
                                         const CIMName& s, const CIMName& r, const String& x,
                                         const String& y) override
    {
        note("associatorNames", c, n, a, s, r, x, y);
        return {};
    }
    Array<CIMObject> references(const Ctx& c, const Ns& n, const CIMObjectPath& a, const CIMName& r,
                                const String& x, bool q, bool o, const CIMPropertyList& p) override
    {
        note("references", c, n, a, r, x, q, o, p);
        return {};
    }
    Array<CIMObjectPath> referenceNames(const Ctx& c, const Ns& n, const CIMObjectPath& a,
                                        const CIMName& r, const String& x) override
    {
        note("referenceNames", c, n, a, r, x);
        return {};
    }
    CIMValue invokeMethod(const Ctx& c, const Ns& n, const CIMObjectPath& a, const CIMName& m,
                          const Array<CIMParamValue>& in, Array<CIMParamValue>& out) override
    {
        note("invokeMethod", c, n, a, m, in);
        out.append(CIMParamValue(String("Out"), CIMValue(true)));
        return CIMValue(Uint32(6));
    }

private:
    template <class... Arguments>
    void note(const char* operation, const Ctx& context, const Ns& nameSpace,
              const Arguments&... arguments)
    {
        called = context.contains(IdentityContainer::NAME)
                     ? text(IdentityContainer(context.get(IdentityContainer::NAME)).getUserName())
                     : std::string("nobody");
        called += std::string(" ") + operation + " " + text(nameSpace.getString());
        ((called += " " + text(arguments)), ...);
        if (error) throw CIMException(*error);
    }
};

class LocalOperations : public testing::Test
{
protected:
    LocalOperations()
    {
        context.insert(IdentityContainer(String("operator")));
        names.append(CIMName("Tag"));
        list = CIMPropertyList(names);
        instance.setPath(path);
    }

    OperationContext context;
    CIMOMHandle handle;
    CIMClient client;
    const CIMNamespaceName ns{"root/x"};
    const CIMName cls{"Sample"}, assoc{"Link"}, result{"Result"}, property{"Tag"};
    const CIMObjectPath path{String("Sample.k=1")};
    CIMInstance instance{CIMName("Sample")};
    const String role{"Near"}, resultRole{"Far"};
    const CIMValue value{Uint32(9)};
    Array<CIMName> names;
    CIMPropertyList list;
    Array<CIMParamValue> in{2, CIMParamValue(String("In"), CIMValue(true))};
    Array<CIMParamValue> out;
};

struct Operation
{
    const char* called;  ///< without the caller
    std::function<void()> byHandle;
    std::function<void()> byClient;
};

// The flags alternate so that two swapped ones show.
TEST_F(LocalOperations, EveryOperationArrivesWithItsArgumentsAndCaller)
{
    const Operation operations[] = {
        {"getClass root/x Sample true false true [Tag]",
         [&] { handle.getClass(context, ns, cls, true, false, true, list); },
         [&] { client.getClass(ns, cls, true, false, true, list); }},
        {"enumerateClasses root/x Sample true false true false",
         [&] { handle.enumerateClasses(context, ns, cls, true, false, true, false); },
         [&] { client.enumerateClasses(ns, cls, true, false, true, false); }},
        {"enumerateClassNames root/x null true",
         [&] { handle.enumerateClassNames(context, ns, CIMName(), true); },
         [&] { client.enumerateClassNames(ns, CIMName(), true); }},
        {"getInstance root/x Sample.k=1 true false [Tag]",
         [&] { handle.getInstance(context, ns, path, false, true, false, list); },
         [&] { client.getInstance(ns, path, false, true, false, list); }},
        {"enumerateInstances root/x Sample false true false [Tag]",
         [&] { handle.enumerateInstances(context, ns, cls, false, true, true, false, list); },
         [&] { client.enumerateInstances(ns, cls, false, true, true, false, list); }},
        {"enumerateInstanceNames root/x Sample",
         [&] { handle.enumerateInstanceNames(context, ns, cls); },
         [&] { client.enumerateInstanceNames(ns, cls); }},
        {"createInstance root/x Sample.k=1", [&] { handle.createInstance(context, ns, instance); },
         [&] { client.createInstance(ns, instance); }},
        {"modifyInstance root/x Sample.k=1 false [Tag]",
         [&] { handle.modifyInstance(context, ns, instance, false, list); },
         [&] { client.modifyInstance(ns, instance, false, list); }},
        {"deleteInstance root/x Sample.k=1", [&] { handle.deleteInstance(context, ns, path); },
         [&] { client.deleteInstance(ns, path); }},
        {"getProperty root/x Sample.k=1 Tag",
         [&] { handle.getProperty(context, ns, path, property); },
         [&] { client.getProperty(ns, path, property); }},
        {"setProperty root/x Sample.k=1 Tag 9",
         [&] { handle.setProperty(context, ns, path, property, value); },
         [&] { client.setProperty(ns, path, property, value); }},
        {"associators root/x Sample.k=1 Link Result Near Far true false [Tag]",
         [&] {
             handle.associators(context, ns, path, assoc, result, role, resultRole, true, false,
                                list);
         },
         [&] { client.associators(ns, path, assoc, result, role, resultRole, true, false, list); }},
        {"associatorNames root/x Sample.k=1 Link Result Near Far",
         [&] { handle.associatorNames(context, ns, path, assoc, result, role, resultRole); },
         [&] { client.associatorNames(ns, path, assoc, result, role, resultRole); }},
        {"references root/x Sample.k=1 Result Near false true [Tag]",
         [&] { handle.references(context, ns, path, result, role, false, true, list); },
         [&] { client.references(ns, path, result, role, false, true, list); }},
        {"referenceNames root/x Sample.k=1 Result Near",
         [&] { handle.referenceNames(context, ns, path, result, role); },
         [&] { client.referenceNames(ns, path, result, role); }},
        {"invokeMethod root/x Sample.k=1 Tag 2 parameters",
         [&] { handle.invokeMethod(context, ns, path, property, in, out); },
         [&] { client.invokeMethod(ns, path, property, in, out); }},
        {"getQualifier root/x Tag", nullptr, [&] { client.getQualifier(ns, property); }},
        {"enumerateQualifiers root/x", nullptr, [&] { client.enumerateQualifiers(ns); }},
    };
    for (const Operation& operation : operations) {
        EXPECT_THROW(operation.byClient(), NotConnectedException) << operation.called;
    }
    FakeManager manager;
    client.connectLocal();
    for (const Operation& operation : operations) {
        if (operation.byHandle) {
            operation.byHandle();
            EXPECT_EQ(std::string("operator ") + operation.called, manager.called);
        }
        operation.byClient();
        EXPECT_EQ(std::string("nobody ") + operation.called, manager.called);
    }
}

TEST_F(LocalOperations, AnswersComeBack)
{
    FakeManager manager;
    client.connectLocal();
    EXPECT_EQ(cls, handle.getClass(context, ns, cls, true, true, true, list).getClassName());
    EXPECT_EQ(4U, client.enumerateInstances(ns, cls).size());
    EXPECT_EQ(path, handle.createInstance(context, ns, instance));
    EXPECT_EQ(CIMValue(Uint32(6)), client.invokeMethod(ns, path, property, in, out));
    ASSERT_EQ(1U, out.size());
    EXPECT_EQ(String("Out"), out[0].getParameterName());
}

TEST_F(LocalOperations, DefaultsOfTheClient)
{
    FakeManager manager;
    client.connectLocal();
    client.getClass(ns, cls);
    EXPECT_EQ("nobody getClass root/x Sample true true false [NULL]", manager.called);
    client.enumerateInstances(ns, cls);
    EXPECT_EQ("nobody enumerateInstances root/x Sample true false false [NULL]", manager.called);
    client.associators(ns, path);
    EXPECT_EQ("nobody associators root/x Sample.k=1 null null   false false [NULL]",
              manager.called);
    EXPECT_EQ(20000U, client.getTimeout());
}

struct ErrorCase
{
    CIMStatusCode code;
    const char* text;
    const char* clientText;
};

TEST_F(LocalOperations, AProviderSeesTheBareErrorAClientTheNameOfItsCodeToo)
{
    const ErrorCase cases[] = {{CIM_ERR_NOT_FOUND, "Sample.k=1", "CIM_ERR_NOT_FOUND: Sample.k=1"},
                               {CIM_ERR_ACCESS_DENIED, "", "CIM_ERR_ACCESS_DENIED"}};
    FakeManager manager;
    client.connectLocal();
    for (const ErrorCase& c : cases) {
        manager.error = CIMException(c.code, String(c.text));
        try {
            handle.deleteInstance(context, ns, path);
            ADD_FAILURE() << c.clientText;
        } catch (const CIMException& error) {
            EXPECT_EQ(c.code, error.getCode());
            EXPECT_EQ(String(c.text), error.getMessage());
        }
        try {
            client.deleteInstance(ns, path);
            ADD_FAILURE() << c.clientText;
        } catch (const CIMException& error) {
            EXPECT_EQ(c.code, error.getCode());
            EXPECT_EQ(String(c.clientText), error.getMessage());
        }
    }
}

TEST_F(LocalOperations, ConnectingTwiceAndAgain)
{
    FakeManager manager;
    client.disconnect();
    client.connectLocal();
    EXPECT_THROW(client.connectLocal(), AlreadyConnectedException);
    EXPECT_THROW(client.connect(String("host"), 5988, String(), String()),
                 AlreadyConnectedException);
    client.disconnect();
    EXPECT_THROW(client.deleteInstance(ns, path), NotConnectedException);
    client.connectLocal();
    client.deleteInstance(ns, path);
}

TEST_F(LocalOperations, ConnectingToNothingSaysSo)
{
    try {
        client.connectLocal();
        ADD_FAILURE();
    } catch (const CannotConnectException& error) {
        EXPECT_EQ(String("Cannot connect to local CIM server. Connection failed."),
                  error.getMessage());
    }
    try {
        client.connect(String("array7"), 5989, String("u"), String("p"));
        ADD_FAILURE();
    } catch (const CannotConnectException& error) {
        EXPECT_EQ(
            String(
                "Cannot connect to array7:5989. The embedded CIM library has no network client: use "
                "connectLocal()."),
            error.getMessage());
    }
    EXPECT_THROW(client.deleteInstance(ns, path), NotConnectedException);
}

TEST_F(LocalOperations, AHandleWithoutObjectManagerAndWithoutSupportSaysSo)
{
    try {
        handle.deleteInstance(context, ns, path);
        ADD_FAILURE();
    } catch (const CIMException& error) {
        EXPECT_EQ(CIM_ERR_FAILED, error.getCode());
        EXPECT_EQ(String("No object manager is running in this process."), error.getMessage());
    }
    try {
        handle.execQuery(context, ns, String("WQL"), String("SELECT"));
        ADD_FAILURE();
    } catch (const CIMException& error) {
        EXPECT_EQ(CIM_ERR_NOT_SUPPORTED, error.getCode());
        EXPECT_EQ(String("The embedded object manager does not support ExecQuery."),
                  error.getMessage());
    }
}

}  // namespace
