// Reading instances: fan-out, filters, handlers, errors, identity, static instances.
#include "BrokerFixture.h"

#include <Pegasus/Common/AcceptLanguageList.h>
#include <Pegasus/Common/ContentLanguageList.h>
#include <Pegasus/Common/Exception.h>

#include <stdexcept>

PEGASUS_USING_PEGASUS;

namespace cimom
{
namespace
{

class BrokerRead : public BrokerTest
{
protected:
    void SetUp() override
    {
        BrokerTest::SetUp();
        registerProvider("Base", "T_Base", "2");
        registerProvider("Leaf", "T_Leaf", "2");
        registerProvider("Side", "T_Side", "2");
        start();
    }

    Array<CIMInstance> enumerateWith(const char* className, bool deep, const CIMPropertyList& list)
    {
        return broker->enumerateInstances(context, ns, CIMName(className), deep, false, false,
                                          list);
    }
};

CIMInstance leaf(const char* id)
{
    CIMInstance instance(CIMName("T_Leaf"));
    instance.setPath(
        CIMObjectPath(String("//far/root/other:T_Leaf.Id=\"") + String(id) + String("\"")));
    instance.addQualifier(CIMQualifier("Note", String("class")));
    instance.addProperty(CIMProperty("L", String("l"), 0, CIMName(), CIMName("T_Leaf")));
    CIMProperty a("A", String("a"), 0, CIMName(), CIMName("T_Base"), true);
    a.addQualifier(CIMQualifier("Note", String("a")));
    instance.addProperty(a);
    instance.addProperty(CIMProperty("Undeclared", CIMValue(Uint8(1))));
    instance.addProperty(CIMProperty("Id", String(id)));
    return instance;
}

TEST_F(BrokerRead, ABaseClassAsksEachRegisteredClassOnceInSchemaOrder)
{
    compileText("instance of T_Mid { Id=\"static\"; };", "root/test");
    EXPECT_EQ(pathsOf(enumerate("t_BASE")), (Lines{"t_BASE.Id=\"1\"", "T_Mid.Id=\"static\"",
                                                   "T_Leaf.Id=\"1\"", "T_Side.Id=\"1\""}));
    EXPECT_EQ(notes(),
              (Lines{"create Base", "initialize Base",
                     "Base EI //here/root/test:t_BASE iq=0 co=0 pl=null", "create Leaf",
                     "initialize Leaf", "Leaf EI //here/root/test:T_Leaf iq=0 co=0 pl=null",
                     "create Side", "initialize Side",
                     "Side EI //here/root/test:T_Side iq=0 co=0 pl=null"}));

    EXPECT_EQ(pathsOf(broker->enumerateInstanceNames(context, CIMNamespaceName("ROOT/Test"),
                                                     CIMName("T_Mid"))),
              (Lines{"T_Mid.Id=\"static\"", "T_Leaf.Id=\"1\""}));
    EXPECT_EQ(notes(), (Lines{"Leaf EIN //here/ROOT/Test:T_Leaf"}));
}

TEST_F(BrokerRead, OneOfManyClassesMayRefuse)
{
    scripted::stage().fault = [] { throw CIMNotSupportedException("not here"); };
    scripted::stage().scripts = {{"EI T_Base", "pdct"}, {"EIN T_Leaf", "t"}};
    EXPECT_EQ(pathsOf(enumerate("T_Base")), (Lines{"T_Leaf.Id=\"1\"", "T_Side.Id=\"1\""}));
    EXPECT_EQ(pathsOf(broker->enumerateInstanceNames(context, ns, CIMName("T_Mid"))), Lines{});
    EXPECT_EQ(errorOf([&] { broker->enumerateInstanceNames(context, ns, CIMName("T_Leaf")); }),
              "7 not here");

    scripted::stage().fault = [] { throw CIMAccessDeniedException("no"); };
    EXPECT_EQ(errorOf([&] { enumerate("T_Base"); }), "2 no");
}

TEST_F(BrokerRead, TheClientsPropertyListIsHandedOverAndEnforced)
{
    const CIMInstance original = leaf("1");
    scripted::stage().instances["T_Leaf"] = {original};
    struct Case
    {
        const char* what;
        CIMPropertyList list;
        const char* handedOver;
        const char* properties;
    };
    const Case cases[] = {
        {"none", CIMPropertyList(), "null", "L A Undeclared Id"},
        {"empty", CIMPropertyList(Array<CIMName>()), "[]", ""},
        {"in the list's order, the instance's spelling", listOf({"ID", "a"}), "[ID,a]", "Id A"},
        {"unknown and repeated names", listOf({"A", "Nope", "a"}), "[A,Nope]", "A"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        const CIMInstance got = broker->getInstance(context, ns, CIMObjectPath("T_Leaf.Id=\"1\""),
                                                    false, false, c.list);
        EXPECT_EQ(propertiesOf(got), c.properties);
        EXPECT_TRUE(
            hasLine(notes(), std::string("Leaf GI //here/root/test:T_Leaf.Id=\"1\" iq=0 co=0 "
                                         "pl=") +
                                 c.handedOver));
        EXPECT_EQ(propertiesOf(enumerateWith("T_Leaf", true, c.list)[0]), c.properties);
        notes();
    }
    EXPECT_EQ(propertiesOf(original), "L A Undeclared Id") << "the provider's own instance";
}

TEST_F(BrokerRead, WithoutDeepInheritanceTheClassesOwnPropertiesAreTheList)
{
    scripted::stage().instances["T_Leaf"] = {leaf("1")};
    const Array<CIMInstance> got = enumerateWith("T_Mid", false, CIMPropertyList());
    ASSERT_EQ(got.size(), 1u);
    EXPECT_EQ(propertiesOf(got[0]), "Id A");
    EXPECT_TRUE(hasLine(notes(), "Leaf EI //here/root/test:T_Leaf iq=0 co=0 pl=[Id,A,Level,M]"));
    EXPECT_EQ(propertiesOf(enumerateWith("T_Mid", false, listOf({"L"}))[0]), "L");
}

TEST_F(BrokerRead, QualifiersAndOriginsAreShownOnRequestOnly)
{
    const CIMInstance original = leaf("1");
    scripted::stage().instances["T_Leaf"] = {original};
    for (const bool qualifiers : {false, true}) {
        for (const bool origins : {false, true}) {
            SCOPED_TRACE(std::to_string(qualifiers) + std::to_string(origins));
            const CIMInstance got =
                broker->getInstance(context, ns, CIMObjectPath("T_Leaf.Id=\"1\""), qualifiers,
                                    origins, CIMPropertyList());
            EXPECT_EQ(got.getQualifierCount(), qualifiers ? 1u : 0u);
            EXPECT_EQ(got.getProperty(1).getQualifierCount(), qualifiers ? 1u : 0u);
            EXPECT_EQ(got.getProperty(1).getClassOrigin().isNull(), !origins);
            EXPECT_TRUE(got.getProperty(1).getPropagated());
            EXPECT_EQ(toUtf8(got.getPath().toString()), "T_Leaf.Id=\"1\"");
        }
    }
    EXPECT_EQ(original.getProperty(1).getQualifierCount(), 1u);
    EXPECT_EQ(toUtf8(original.getPath().toString()), "//far/root/other:T_Leaf.Id=\"1\"");
}

TEST_F(BrokerRead, GetInstanceHandsThePathOverAsTyped)
{
    getInstance("//client/root/elsewhere:T_LEAF.Bogus=TRUE,id=5");
    EXPECT_TRUE(
        hasLine(notes(), "Leaf GI //here/root/test:T_LEAF.Bogus=TRUE,id=5 iq=0 co=0 pl=null"));
}

TEST_F(BrokerRead, WhatAProviderDeliversCountsOnceItCompletes)
{
    struct Case
    {
        const char* operation;
        const char* script;
        const char* outcome;  // the error, or the number of results
        const char* caught;   // what the provider itself catches
    };
    const char* const tooFew = "1 Too few objects delivered.";
    const char* const tooMany = "1 Too many objects delivered.";
    const char* const notInitialized = "1 The object is not initialized.";
    const Case cases[] = {
        {"GI", "pdc", "1", ""},
        {"GI", "dc", "1", ""},
        {"GI", "Dc", "1", ""},
        {"GI", "ppdc", "1", ""},
        {"GI", "dcd", "1", ""},
        {"GI", "", "0", ""},
        {"GI", "p", "0", ""},
        {"GI", "d", "0", ""},
        {"GI", "pc", tooFew, ""},
        {"GI", "dcc", tooFew, ""},
        {"GI", "dcdc", tooFew, ""},
        {"GI", "ddc", tooMany, ""},
        {"GI", "d?dc", "1", "caught 1 Too many objects delivered."},
        {"GI", "uc", notInitialized, ""},
        {"GI", "?udc", "1", "caught 1 The object is not initialized."},
        {"GI", "?cdc", "6 ", "caught 1 Too few objects delivered."},
        {"EI", "", "0", ""},
        {"EI", "pc", "0", ""},
        {"EI", "d", "0", ""},
        {"EI", "ddc", "2", ""},
        {"EI", "Ddc", "2", ""},
        {"EI", "dcdc", "1", ""},
        {"EI", "uc", notInitialized, ""},
        {"EIN", "", "0", ""},
        {"EIN", "d", "0", ""},
        {"EIN", "ddcc", "2", ""},
        {"EIN", "uc", notInitialized, ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.operation) + " " + c.script);
        const std::string operation = c.operation;
        scripted::stage().scripts[operation] = c.script;
        std::string outcome;
        const std::string error = errorOf([&] {
            std::size_t count = 0;
            if (operation == "GI") count = getInstance("T_Leaf.Id=\"1\"").isUninitialized() ? 0 : 1;
            if (operation == "EI") count = enumerate("T_Leaf").size();
            if (operation == "EIN") {
                count = broker->enumerateInstanceNames(context, ns, CIMName("T_Leaf")).size();
            }
            outcome = std::to_string(count);
        });
        EXPECT_EQ(error == "none" ? outcome : error, c.outcome);
        const Lines noted = notes();
        EXPECT_TRUE(*c.caught == '\0' || hasLine(noted, c.caught));
    }
}

TEST_F(BrokerRead, WhatAProviderThrowsReachesTheClient)
{
    struct Case
    {
        const char* what;
        std::function<void()> fault;
        const char* error;
    };
    const Case cases[] = {
        {"CIM, no text", [] { throw CIMException(CIM_ERR_FAILED); }, "1 "},
        {"CIM", [] { throw CIMException(CIM_ERR_INVALID_CLASS, "t"); }, "5 t"},
        {"unknown code", [] { throw CIMException(static_cast<CIMStatusCode>(31), "t"); }, "31 t"},
        {"not found", [] { throw CIMObjectNotFoundException("t"); }, "6 t"},
        {"not supported", [] { throw CIMNotSupportedException("t"); }, "7 t"},
        {"library", [] { throw TypeMismatchException(); }, "1 type mismatch"},
        {"plain", [] { throw Exception(String("t")); }, "1 t"},
        {"standard", [] { throw std::runtime_error("t"); }, "1 t"},
        {"standard, not UTF-8", [] { throw std::runtime_error("t\xE4"); }, "1 t?"},
        {"anything", [] { throw 5; }, "1 Unknown error."},
        {"success", [] { throw CIMException(CIM_ERR_SUCCESS, "t"); }, "none"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        scripted::stage().fault = c.fault;
        for (const char* const script : {"t", "pdt", "dct"}) {
            scripted::stage().scripts = {{"GI", script}, {"EI", script}};
            CIMInstance got;
            EXPECT_EQ(errorOf([&] { got = getInstance("T_Leaf.Id=\"1\""); }), c.error) << script;
            EXPECT_TRUE(got.isUninitialized());
            Array<CIMInstance> all;
            EXPECT_EQ(errorOf([&] { all = enumerate("T_Leaf"); }), c.error) << script;
            EXPECT_EQ(all.size(), 0u);
        }
    }
}

TEST_F(BrokerRead, UnknownNamesAreRefusedBeforeAnyProviderIsAsked)
{
    const CIMNamespaceName nowhere("root/nope");
    const CIMPropertyList all;
    const CIMName leafClass("T_Leaf");
    const CIMName nope("Nope");
    struct Case
    {
        const char* what;
        std::function<void()> call;
        const char* error;
    };
    const Case cases[] = {
        {"GI", [&] { getInstance("Nope.Id=\"1\""); }, "5 Nope"},
        {"EI", [&] { enumerate("Nope"); }, "5 Nope"},
        {"EIN", [&] { broker->enumerateInstanceNames(context, ns, nope); }, "5 Nope"},
        {"EC", [&] { broker->enumerateClasses(context, ns, nope, true, false, true, true); },
         "5 Nope"},
        {"ECN", [&] { broker->enumerateClassNames(context, ns, nope, true); }, "5 Nope"},
        {"GC", [&] { broker->getClass(context, ns, nope, false, true, true, all); }, "6 Nope"},
        {"GQ", [&] { broker->getQualifier(context, ns, nope); }, "6 Nope"},
        {"EI, namespace",
         [&] { broker->enumerateInstances(context, nowhere, leafClass, true, true, true, all); },
         "3 root/nope"},
        {"GC, namespace",
         [&] { broker->getClass(context, nowhere, leafClass, false, true, true, all); },
         "3 root/nope"},
        {"ECN, namespace", [&] { broker->enumerateClassNames(context, nowhere, CIMName(), false); },
         "3 root/nope"},
        {"EQ, namespace", [&] { broker->enumerateQualifiers(context, nowhere); }, "3 root/nope"},
    };
    for (const Case& c : cases)
        EXPECT_EQ(errorOf(c.call), c.error) << c.what;
    EXPECT_EQ(notes(), Lines{});
}

TEST_F(BrokerRead, AProviderSeesTheCallersIdentityAndLanguagesAndNothingElse)
{
    Lines users;
    scripted::stage().onCall = [&](const std::string&, const OperationContext& ctx) {
        const IdentityContainer identity = ctx.get(IdentityContainer::NAME);
        users.push_back(toUtf8(identity.getUserName()));
        EXPECT_TRUE(ctx.contains(AcceptLanguageListContainer::NAME));
        EXPECT_TRUE(ctx.contains(ContentLanguageListContainer::NAME));
        EXPECT_FALSE(ctx.contains(TimeoutContainer::NAME));
    };
    OperationContext callers;
    callers.insert(IdentityContainer("someone"));
    callers.insert(TimeoutContainer(5));
    broker->enumerateInstanceNames(callers, ns, CIMName("T_Side"));
    broker->enumerateInstanceNames(context, ns, CIMName("T_Side"));
    EXPECT_EQ(users, (Lines{"someone", ""}));
}

TEST_F(BrokerRead, StaticInstancesAreServedWithTheSameFilters)
{
    EXPECT_EQ(pathsOf(enumerate("T_Static")),
              (Lines{"T_Static.Id=\"one\",Number=1", "T_Static.Id=\"two\",Number=2",
                     "T_StaticSub.Id=\"sub\",Number=3"}));
    EXPECT_EQ(propertiesOf(enumerateWith("T_Static", true, listOf({"TEXT", "Id"}))[1]), "Text Id");
    for (Uint32 i = 0; i < 3; ++i) {
        const CIMInstance got = enumerateWith("T_Static", false, CIMPropertyList())[i];
        EXPECT_EQ(got.findProperty(CIMName("More")), PEG_NOT_FOUND) << i;
    }
    const CIMInstance one = getInstance("t_static.number=1,id=\"one\"");
    EXPECT_EQ(toUtf8(one.getProperty(one.findProperty(CIMName("Text"))).getValue().toString()),
              "default");
    EXPECT_EQ(errorOf([&] { getInstance("//h/root/test:T_Static.Number=3,Id=\"sub\""); }),
              "6 T_Static.Id=\"sub\",Number=3");
    EXPECT_EQ(pathsOf(enumerate("T_Empty")), Lines{});
    EXPECT_EQ(notes(), Lines{});
}

TEST_F(BrokerRead, ClassesComeFromTheRepository)
{
    const Array<CIMName> roots = broker->enumerateClassNames(context, ns, CIMName(), false);
    EXPECT_EQ(roots.size(), 6u);
    const Array<CIMClass> below =
        broker->enumerateClasses(context, ns, CIMName("t_base"), true, true, false, false);
    std::vector<std::string> seen;
    for (Uint32 i = 0; i < below.size(); ++i) {
        seen.push_back(toUtf8(below[i].getClassName().getString()) + " " +
                       std::to_string(below[i].getPropertyCount()));
    }
    EXPECT_EQ(seen, (Lines{"T_Mid 1", "T_Leaf 1", "T_Side 0"}));
    EXPECT_EQ(broker->enumerateQualifiers(context, ns).size(), 5u);
}

}  // namespace
}  // namespace cimom
