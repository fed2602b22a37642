// Changing instances, single properties, and methods.
#include "BrokerFixture.h"

#include <Pegasus/Common/Exception.h>

PEGASUS_USING_PEGASUS;

namespace cimom
{
namespace
{

class BrokerWrite : public BrokerTest
{
protected:
    void SetUp() override
    {
        BrokerTest::SetUp();
        registerProvider("Base", "T_Base", "2");
        registerProvider("Machine", "T_Machine", "5");
        start();
    }

    static CIMInstance base(const char* path)
    {
        CIMInstance instance(CIMName("T_Base"));
        instance.setPath(CIMObjectPath(path));
        instance.addProperty(CIMProperty("Level", CIMValue(Uint16(3))));
        return instance;
    }
    void modify(const CIMInstance& instance, bool qualifiers, const CIMPropertyList& list)
    {
        broker->modifyInstance(context, ns, instance, qualifiers, list);
    }
    std::string getProperty(const char* path, const char* name)
    {
        const CIMValue value = broker->getProperty(context, ns, CIMObjectPath(path), CIMName(name));
        return std::string(cimTypeToString(value.getType())) + "=" +
               (value.isNull() ? "null" : toUtf8(value.toString()));
    }
    void setProperty(const char* path, const char* name, const CIMValue& value)
    {
        broker->setProperty(context, ns, CIMObjectPath(path), CIMName(name), value);
    }
    /// "RETURN Name=value ..." of a method call.
    std::string invoke(const char* path, const char* method, const Array<CIMParamValue>& in)
    {
        Array<CIMParamValue> out;
        const CIMValue value =
            broker->invokeMethod(context, ns, CIMObjectPath(path), CIMName(method), in, out);
        std::string text = value.isNull() ? "null" : toUtf8(value.toString());
        for (Uint32 i = 0; i < out.size(); ++i) {
            text += " " + toUtf8(out[i].getParameterName()) + "=" +
                    toUtf8(out[i].getValue().toString());
        }
        return text;
    }
};

TEST_F(BrokerWrite, InstancesReachTheProviderAsTheyAre)
{
    modify(base("t_base.Id=\"1\""), true, CIMPropertyList());
    modify(base("T_Base.Id=\"1\""), false, listOf({"level", "Nope", "LEVEL"}));
    modify(base("T_Base.Id=\"1\""), false, CIMPropertyList(Array<CIMName>()));
    EXPECT_EQ(notes(), (Lines{"create Base", "initialize Base",
                              "Base MI //here/root/test:t_base.Id=\"1\" iq=1 co=0 pl=null instance "
                              "t_base.Id=\"1\" Level:uint16=3",
                              "Base MI //here/root/test:T_Base.Id=\"1\" iq=0 co=0 pl=[level,Nope] "
                              "instance T_Base.Id=\"1\" Level:uint16=3",
                              "Base MI //here/root/test:T_Base.Id=\"1\" iq=0 co=0 pl=[] instance "
                              "T_Base.Id=\"1\" Level:uint16=3"}));

    EXPECT_EQ(toUtf8(broker->createInstance(context, ns, base("T_Base")).toString()),
              "T_Base.Id=\"1\"");
    broker->deleteInstance(context, ns, CIMObjectPath("//h/root/x:T_Base.Id=\"1\""));
    EXPECT_EQ(notes(), (Lines{"Base CI //here/root/test:T_Base instance T_Base Level:uint16=3",
                              "Base DI //here/root/test:T_Base.Id=\"1\""}));
}

TEST_F(BrokerWrite, ResultsOfChangesCountLikeTheReadOnes)
{
    struct Case
    {
        const char* operation;
        const char* script;
        const char* outcome;  // the error, or what createInstance returned
    };
    const Case cases[] = {
        {"CI", "dc", "T_Base.Id=\"1\""},
        {"CI", "", ""},
        {"CI", "d", ""},
        {"CI", "pc", "1 Too few objects delivered."},
        {"CI", "ddc", "1 Too many objects delivered."},
        {"CI", "pdct", "6 gone"},
        {"MI", "", ""},
        {"MI", "p", ""},
        {"MI", "cc", ""},
        {"MI", "pt", "6 gone"},
        {"DI", "", ""},
        {"DI", "cc", ""},
        {"DI", "ct", "6 gone"},
    };
    scripted::stage().fault = [] { throw CIMObjectNotFoundException("gone"); };
    scripted::stage().instances["T_Base"] = {base("//far/root/x:T_Base.Id=\"1\"")};
    for (const Case& c : cases) {
        const std::string operation = c.operation;
        scripted::stage().scripts = {{operation, c.script}};
        std::string outcome;
        const std::string error = errorOf([&] {
            if (operation == "CI") {
                outcome = toUtf8(broker->createInstance(context, ns, base("T_Base")).toString());
            }
            if (operation == "MI") modify(base("T_Base.Id=\"1\""), false, CIMPropertyList());
            if (operation == "DI") broker->deleteInstance(context, ns, CIMObjectPath("T_Base"));
        });
        EXPECT_EQ(error == "none" ? outcome : error, c.outcome) << operation << " " << c.script;
    }
}

TEST_F(BrokerWrite, StaticInstancesAreChangedInTheRepository)
{
    CIMInstance fresh(CIMName("T_Static"));
    fresh.addProperty(CIMProperty("Id", String("new")));
    fresh.addProperty(CIMProperty("Number", CIMValue(Uint32(7))));
    EXPECT_EQ(toUtf8(broker->createInstance(context, ns, fresh).toString()),
              "T_Static.Id=\"new\",Number=7");
    EXPECT_EQ(errorOf([&] { broker->createInstance(context, ns, fresh); }),
              "11 T_Static.Id=\"new\",Number=7");

    setProperty("T_Static.Id=\"new\",Number=7", "text", String("changed"));
    EXPECT_EQ(getProperty("T_Static.Id=\"new\",Number=7", "TEXT"), "string=changed");

    const CIMObjectPath path("T_Static.Id=\"new\",Number=7");
    broker->deleteInstance(context, ns, path);
    EXPECT_EQ(errorOf([&] { broker->deleteInstance(context, ns, path); }),
              "6 T_Static.Id=\"new\",Number=7");
    EXPECT_EQ(errorOf([&] { modify(base("T_Base.Id=\"1\""), false, CIMPropertyList()); }), "none");
}

TEST_F(BrokerWrite, PropertiesAreReadAndWrittenThroughTheInstance)
{
    CIMInstance instance = base("T_Base.Id=\"1\"");
    instance.addProperty(CIMProperty("Undeclared", CIMValue(Uint8(1))));
    scripted::stage().instances["T_Base"] = {instance};
    EXPECT_EQ(getProperty("T_Base.Id=\"1\"", "level"), "uint16=3");
    EXPECT_EQ(getProperty("T_Base.Id=\"1\"", "Undeclared"), "uint8=1");
    EXPECT_EQ(getProperty("T_Base.Id=\"1\"", "A"), "string=null") << "declared, not delivered";
    EXPECT_EQ(errorOf([&] { getProperty("T_Base.Id=\"1\"", "Nope"); }), "12 Nope");
    EXPECT_TRUE(hasLine(notes(), "Base GI //here/root/test:T_Base.Id=\"1\" iq=0 co=0 pl=[level]"));
    scripted::stage().scripts["GI"] = "p";
    EXPECT_EQ(getProperty("T_Base.Id=\"1\"", "Level"), "uint16=null") << "not completed";

    setProperty("T_Base.Id=\"1\"", "level", CIMValue(Uint16(12)));
    setProperty("T_Base.Id=\"1\"", "Level", CIMValue(Sint8(4)));
    setProperty("T_Base.Id=\"1\"", "Nope", String("x"));
    const std::string call = "Base MI //here/root/test:T_Base.Id=\"1\" iq=0 co=0 pl=";
    const std::string given = " instance //here/root/test:T_Base.Id=\"1\" ";
    const Lines noted = notes();
    EXPECT_TRUE(hasLine(noted, call + "[level]" + given + "level:uint16=12"));
    EXPECT_TRUE(hasLine(noted, call + "[Level]" + given + "Level:sint8=4"));
    EXPECT_TRUE(hasLine(noted, call + "[Nope]" + given + "Nope:string=x"));
}

TEST_F(BrokerWrite, UnknownClassesAreRefused)
{
    CIMInstance instance(CIMName("Nope"));
    EXPECT_EQ(errorOf([&] { broker->createInstance(context, ns, instance); }), "5 Nope");
    EXPECT_EQ(errorOf([&] { modify(instance, true, CIMPropertyList()); }), "5 Nope");
    EXPECT_EQ(errorOf([&] { broker->deleteInstance(context, ns, CIMObjectPath("Nope")); }),
              "5 Nope");
    EXPECT_EQ(errorOf([&] { setProperty("Nope.Id=\"1\"", "A", String("a")); }), "5 Nope");
    EXPECT_EQ(errorOf([&] { invoke("Nope", "Run", {}); }), "6 Nope");
    EXPECT_EQ(errorOf([&] { invoke("T_Base", "Run", {}); }), "16 Run");
    EXPECT_EQ(errorOf([&] { invoke("T_MachineSub", "rUN", {}); }), "16 rUN");
    const CIMNamespaceName nowhere("root/nope");
    EXPECT_EQ(errorOf([&] { broker->deleteInstance(context, nowhere, CIMObjectPath("T_Base")); }),
              "3 root/nope");
}

TEST_F(BrokerWrite, MethodCallsReachTheProviderAsTheyAre)
{
    Array<CIMParamValue> in;
    in.append(CIMParamValue("cOUNT", String("five")));
    in.append(CIMParamValue("Undeclared", String("x"), false));
    in.append(CIMParamValue("Fast", CIMValue(CIMTYPE_BOOLEAN, true)));
    invoke("t_machine.Id=\"1\"", "rUN", in);
    invoke("T_Machine", "Undeclared", {});
    EXPECT_EQ(notes(), (Lines{"create Machine", "initialize Machine",
                              "Machine IM //here/root/test:t_machine.Id=\"1\" rUN "
                              "cOUNT:string=five Undeclared:untyped=x Fast:boolean[]=null",
                              "Machine IM //here/root/test:T_Machine Undeclared"}));
}

TEST_F(BrokerWrite, MethodResultsCountOnceTheMethodCompletes)
{
    struct Case
    {
        const char* script;
        const char* outcome;
    };
    const Case cases[] = {
        {"pdc", "0"},
        {"dodc", "2 Out=1"},
        {"oodc", "2 Out=0 Out=1"},
        {"pc", "null"},
        {"", "null"},
        {"do", "null"},
        {"dccd", "0"},
        {"uc", "1 The object is not initialized."},
        {"dct", "2 no"},
    };
    scripted::stage().fault = [] { throw CIMAccessDeniedException("no"); };
    for (const Case& c : cases) {
        scripted::stage().scripts["IM"] = c.script;
        std::string outcome;
        const std::string error = errorOf([&] { outcome = invoke("T_Machine", "Run", {}); });
        EXPECT_EQ(error == "none" ? outcome : error, c.outcome) << c.script;
    }
}

}  // namespace
}  // namespace cimom
