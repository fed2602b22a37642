// Association operations: routing, checks, paths, and static associations.
#include "BrokerFixture.h"

#include <Pegasus/Common/Exception.h>

PEGASUS_USING_PEGASUS;

namespace cimom
{
namespace
{

class Traversal : public BrokerTest
{
protected:
    void SetUp() override
    {
        BrokerTest::SetUp();
        registerProvider("Link", "T_Link", "2,3");
        registerProvider("LinkSub", "T_LinkSub", "2,3");
        registerProvider("Odd", "T_Machine", "3");
        start();
    }

    Lines names(const char* path, const char* association = "", const char* resultClass = "",
                const char* role = "", const char* resultRole = "")
    {
        return pathsOf(broker->associatorNames(context, ns, CIMObjectPath(path), name(association),
                                               name(resultClass), role, resultRole));
    }
    Lines objects(const char* path, const char* association = "", const char* resultClass = "",
                  const char* role = "", const char* resultRole = "")
    {
        return pathsOf(broker->associators(context, ns, CIMObjectPath(path), name(association),
                                           name(resultClass), role, resultRole, false, false,
                                           CIMPropertyList()));
    }
    Lines referenceNames(const char* path, const char* resultClass = "", const char* role = "")
    {
        return pathsOf(
            broker->referenceNames(context, ns, CIMObjectPath(path), name(resultClass), role));
    }
    Lines references(const char* path, const char* resultClass = "", const char* role = "")
    {
        return pathsOf(broker->references(context, ns, CIMObjectPath(path), name(resultClass), role,
                                          false, false, CIMPropertyList()));
    }
    static CIMName name(const char* text) { return *text ? CIMName(text) : CIMName(); }
    /// What the providers were asked, without how they were started.
    static Lines asked()
    {
        Lines calls;
        for (const std::string& line : notes()) {
            if (line.find(" via ") != std::string::npos) calls.push_back(line);
        }
        return calls;
    }
};

TEST_F(Traversal, AsksEachRegisteredAssociationClassThatTheSourceFitsOnce)
{
    EXPECT_EQ(names("t_LEAF.Id=\"1\""),
              (Lines{"//here/root/test:T_Link.Id=\"1\"", "//here/root/test:T_LinkSub.Id=\"1\""}));
    const std::string source = "//here/root/test:t_LEAF.Id=\"1\" via ";
    EXPECT_EQ(asked(), (Lines{"Link AN " + source + "T_Link rc= r= rr=",
                              "LinkSub AN " + source + "T_LinkSub rc= r= rr="}));

    objects("t_LEAF.Id=\"1\"", "t_linkSUB", "t_static", "uPPer", "Any");
    referenceNames("t_LEAF.Id=\"1\"", "T_LINK", "Upper");
    references("t_LEAF.Id=\"1\"", "T_LinkSub", "no such role");
    EXPECT_EQ(
        asked(),
        (Lines{"LinkSub A " + source + "T_LinkSub rc=t_static r=uPPer rr=Any iq=0 co=0 pl=null",
               "Link RN " + source + "T_Link rc= r=Upper rr=",
               "LinkSub RN " + source + "T_LinkSub rc= r=Upper rr=",
               "LinkSub R " + source + "T_LinkSub rc= r=no such role rr= iq=0 co=0 pl=null"}));
}

TEST_F(Traversal, AsksNobodyWhereTheSchemaHasNoWay)
{
    EXPECT_EQ(names("T_Empty.Id=\"1\""), Lines{});
    EXPECT_EQ(objects("T_Machine.Id=\"1\""), Lines{});
    EXPECT_EQ(referenceNames("T_Leaf.Id=\"1\"", "T_Static"), Lines{}) << "no association class";
    EXPECT_EQ(names("T_Leaf.Id=\"1\"", "T_Machine"), Lines{}) << "no association class";
    EXPECT_EQ(asked(), Lines{});
}

TEST_F(Traversal, UnknownClassesAreRefusedByTheirPlace)
{
    const char* const leaf = "T_Leaf.Id=\"1\"";
    EXPECT_EQ(errorOf([&] { names(leaf, "No_Such"); }), "4 No_Such");
    EXPECT_EQ(errorOf([&] { objects(leaf, "", "No_Such"); }), "5 No_Such");
    EXPECT_EQ(errorOf([&] { referenceNames(leaf, "No_Such"); }), "4 No_Such");
    EXPECT_EQ(errorOf([&] { references(leaf, "No_Such"); }), "4 No_Such");
    EXPECT_EQ(errorOf([&] { names("Nope.Id=\"1\""); }), "4 Nope");
    EXPECT_EQ(errorOf([&] { references("Nope.Id=\"1\""); }), "4 Nope");
    EXPECT_EQ(errorOf([&] {
                  broker->referenceNames(context, CIMNamespaceName("root/nope"),
                                         CIMObjectPath(leaf), CIMName(), "");
              }),
              "3 root/nope");
    EXPECT_EQ(notes(), Lines{});
}

TEST_F(Traversal, ErrorsOfOneProviderAreErrorsUnlessItRefuses)
{
    scripted::stage().fault = [] { throw CIMNotSupportedException("t"); };
    for (const char* const operation : {"A", "AN", "R", "RN"}) {
        scripted::stage().scripts[std::string(operation) + " T_Link"] = "pdct";
    }
    const char* const leaf = "T_Leaf.Id=\"1\"";
    const Lines onlySub{"//here/root/test:T_LinkSub.Id=\"1\""};
    EXPECT_EQ(names(leaf), onlySub);
    EXPECT_EQ(objects(leaf), onlySub);
    EXPECT_EQ(referenceNames(leaf), onlySub);
    EXPECT_EQ(references(leaf), onlySub);

    scripted::stage().fault = [] { throw 5; };
    EXPECT_EQ(errorOf([&] { names(leaf); }), "1 Unknown error.");
    EXPECT_EQ(errorOf([&] { objects(leaf); }), "1 Unknown error.");
    EXPECT_EQ(errorOf([&] { referenceNames(leaf); }), "1 Unknown error.");
    EXPECT_EQ(errorOf([&] { references(leaf); }), "1 Unknown error.");
}

TEST_F(Traversal, ResultsCountOnceTheProviderCompletes)
{
    const char* const leaf = "T_Leaf.Id=\"1\"";
    for (const char* const script : {"", "p", "pc", "pd"}) {
        scripted::stage().scripts = {{"A", script}, {"AN", script}, {"R", script}, {"RN", script}};
        EXPECT_EQ(objects(leaf), Lines{}) << script;
        EXPECT_EQ(names(leaf), Lines{}) << script;
        EXPECT_EQ(references(leaf), Lines{}) << script;
        EXPECT_EQ(referenceNames(leaf), Lines{}) << script;
    }
}

TEST_F(Traversal, PathsAreCompletedAndInstancesFilteredButNothingIsDropped)
{
    std::vector<CIMInstance> delivered;
    for (const char* const path :
         {"T_Static.Id=\"a\"", "other/place:T_Static.Id=\"b\"", "//far/x:T_Static.Id=\"c\""}) {
        CIMInstance instance(CIMName("T_Static"));
        instance.setPath(CIMObjectPath(path));
        instance.addProperty(CIMProperty("Id", String("a"), 0, CIMName(), CIMName("T_Static")));
        instance.addProperty(CIMProperty("Text", String("t")));
        delivered.push_back(instance);
    }
    delivered.emplace_back(CIMName("T_Machine"));
    scripted::stage().instances["T_LinkSub"] = delivered;

    const Array<CIMObject> got = broker->associators(
        context, ns, CIMObjectPath("T_Leaf.Id=\"1\""), CIMName("T_LinkSub"), CIMName("T_Static"),
        "", "", false, false, CIMPropertyList(Array<CIMName>(1, CIMName("ID"))));
    EXPECT_EQ(pathsOf(got),
              (Lines{"//here/root/test:T_Static.Id=\"a\"", "//here/other/place:T_Static.Id=\"b\"",
                     "//far/x:T_Static.Id=\"c\"", "//here/root/test:T_Machine"}));
    EXPECT_EQ(propertiesOf(CIMInstance(got[0])), "Id");
    EXPECT_TRUE(got[0].getProperty(0).getClassOrigin().isNull());
}

TEST_F(Traversal, AClassAsSourceIsAnsweredFromTheSchemaAndByTheProviders)
{
    EXPECT_EQ(names("T_Leaf", "T_LinkSub"),
              (Lines{"//here/root/test:T_Static", "//here/root/test:T_LinkSub.Id=\"1\""}));
    EXPECT_EQ(asked(), Lines{"LinkSub AN //here/root/test:T_Leaf via T_LinkSub rc= r= rr="});
    scripted::stage().scripts = {{"A", "c"}, {"AN", "c"}, {"R", "c"}, {"RN", "c"}};
    EXPECT_EQ(names("T_Leaf"), Lines{"//here/root/test:T_Static"}) << "each class once";
    EXPECT_EQ(names("T_Leaf", "", "", "Lower"), Lines{});
    EXPECT_EQ(names("T_Leaf", "", "", "upper", "lower"), Lines{"//here/root/test:T_Static"});
    EXPECT_EQ(names("T_Leaf", "", "T_Machine"), Lines{});
    EXPECT_EQ(referenceNames("T_Leaf"),
              (Lines{"//here/root/test:T_Link", "//here/root/test:T_LinkSub"}));
    EXPECT_EQ(referenceNames("T_Leaf", "", "Lower"), Lines{});
    EXPECT_EQ(references("T_Leaf", "T_LinkSub"), Lines{"//here/root/test:T_LinkSub"});
    EXPECT_EQ(objects("T_Leaf"), Lines{"//here/root/test:T_Static"});
}

TEST_F(Traversal, StaticAssociationsAreFollowedWithTheirFilters)
{
    scripted::stage().scripts = {{"A", ""}, {"AN", ""}, {"R", ""}, {"RN", ""}};
    const char* const one = "T_Static.Number=1,Id=\"one\"";
    const char* const two = "//any/root/test:t_static.Id=\"two\",number=2";
    const std::string here = "//here/root/test:";
    const std::string first = here + "T_Static.Id=\"one\",Number=1";
    const std::string second = here + "T_Static.Id=\"two\",Number=2";
    const std::string sub = here + "T_StaticSub.Id=\"sub\",Number=3";
    const std::string gone = here + "T_Static.Id=\"gone\",Number=9";
    const std::string other = "//here/root/other:T_Static.Id=\"one\",Number=1";
    struct Case
    {
        const char* source;
        const char* association;
        const char* resultClass;
        const char* role;
        const char* resultRole;
        Lines expected;
    };
    const Case cases[] = {
        {one, "", "", "", "", {second, sub}},
        {one, "T_StaticLink", "", "", "", {second, sub}},
        {one, "T_Link", "", "", "", {}},
        {one, "", "T_Static", "", "", {second, sub}},
        {one, "", "t_staticSUB", "", "", {sub}},
        {one, "", "T_Machine", "", "", {}},
        {one, "", "", "owner", "", {second, sub}},
        {one, "", "", "Owned", "", {}},
        {one, "", "", "", "OWNED", {second, sub}},
        {one, "", "", "", "Owner", {}},
        {two, "", "", "", "", {first, gone, other}},
        {two, "", "", "Owned", "", {first, other}},
        {"T_Static.Id=\"none\",Number=1", "", "", "", "", {}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(::testing::Message() << c.source << " " << c.association << "/"
                                          << c.resultClass << "/" << c.role << "/" << c.resultRole);
        EXPECT_EQ(names(c.source, c.association, c.resultClass, c.role, c.resultRole), c.expected);
        Lines there;  // the two others do not exist
        for (const std::string& path : c.expected) {
            if (path != gone && path != other) there.push_back(path);
        }
        EXPECT_EQ(objects(c.source, c.association, c.resultClass, c.role, c.resultRole), there);
    }
    EXPECT_EQ(referenceNames(two).size(), 3u);
    EXPECT_EQ(references(two).size(), 3u);
    EXPECT_EQ(referenceNames(two, "T_StaticLink", "Owner").size(), 1u);
    EXPECT_EQ(references(two, "T_Link").size(), 0u);
    EXPECT_EQ(referenceNames(one)[0].rfind("//here/root/test:T_StaticLink.Owned=", 0), 0u)
        << referenceNames(one)[0];
}

}  // namespace
}  // namespace cimom
