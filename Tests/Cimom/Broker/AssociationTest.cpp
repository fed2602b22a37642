// Traversals of associations: which providers are called, and where results are said to be. What
// filters become for the provider, the tests of CIM-XML show.
#include "BrokerFixture.h"

#include <Pegasus/Provider/ProviderException.h>

PEGASUS_USING_PEGASUS;

namespace cimom
{
namespace
{

/// A traversal to associators.
Traversal from(const char* path, const CIMName& association = {}, const CIMName& resultClass = {})
{
    return {Traversal::Associators, CIMObjectPath(path), association, resultClass, {}, {}};
}

Traversal referencesTo(const char* path, const CIMName& association = {})
{
    return {Traversal::References, CIMObjectPath(path), association, {}, {}, {}};
}

Lines classNames(const std::vector<CIMName>& classes)
{
    Lines lines;
    for (const CIMName& name : classes)
        lines.push_back(toUtf8(name.getString()));
    return lines;
}

using Associations = BrokerTest;

TEST_F(Associations, AskTheProviderOfEachAssociationClassThatCanReferToTheSource)
{
    EXPECT_EQ(texts(broker->traverseNames(me, "Root/test", from("t_LEAF.Id=1"))),
              (Lines{"//here/Root/test:T_Link.Id=1", "//here/Root/test:T_LinkSub.Id=1"}));
    EXPECT_EQ(
        scripted::calls,
        (Lines{"Link associatorNames //here/Root/test:t_LEAF.Id=1 AssocClass=T_Link by me",
               "LinkSub associatorNames //here/Root/test:t_LEAF.Id=1 AssocClass=T_LinkSub by me"}));
}

TEST_F(Associations, AreFoundFromEitherEnd)
{
    EXPECT_EQ(broker->traverseNames(me, test, from("T_Static.Id=1,Number=1")).size(), 2U);
    EXPECT_EQ(broker->traverseNames(me, test, referencesTo("T_StaticSub.Id=1,Number=1")).size(),
              2U);
}

TEST_F(Associations, OfOtherNamespacesAreNotAsked)
{
    repository.addNamespace("root/other");
    compileMof(repository, "root/other", CIMOM_TESTS "Broker/schema.mof");
    start();
    EXPECT_EQ(broker->traverseNames(me, test, from("T_Leaf.Id=1")).size(), 2U);
}

TEST_F(Associations, GiveNothingWhereNoProviderCanAnswer)
{
    EXPECT_EQ(broker->traverse(me, test, referencesTo("T_Machine.Id=1"), {}).size(), 0U)
        << "no association class refers to it";
    EXPECT_EQ(broker->traverseNames(me, test, from("T_Leaf.Id=1", "T_Unserved")).size(), 0U);
    EXPECT_EQ(broker->traverseNames(me, test, from("T_Leaf.Id=1", "T_Machine")).size(), 0U)
        << "it is no association class";
    EXPECT_EQ(scripted::calls, Lines{});
}

TEST_F(Associations, OfClassesAreThoseOfTheirSuperclassesFirst)
{
    const AssociationSchema& schema = broker->associations();
    const auto classes = [&](const Traversal& traversal) {
        return classNames(schema.classesOf(test, traversal));
    };
    EXPECT_EQ(classes(referencesTo("T_Leaf")), (Lines{"T_Link", "T_LinkSub", "T_Unserved"}));
    EXPECT_EQ(classes(referencesTo("T_Base", "T_LinkSub")), Lines{"T_LinkSub"});
    EXPECT_EQ(classes(from("T_Leaf")), Lines{"T_Static"});
    EXPECT_EQ(classes(from("T_Leaf", "T_LinkSub", "T_Static")), Lines{"T_Static"});
    EXPECT_EQ(classes(from("T_Leaf", {}, "T_StaticSub")), Lines{}) << "below the class named";
    Traversal inRole = from("T_StaticSub");
    inRole.role = "LOWER";
    EXPECT_EQ(classes(inRole), Lines{"T_Base"});
    inRole.resultRole = "lower";
    EXPECT_EQ(classes(inRole), Lines{});
    EXPECT_EQ(errorOf([&] { classes(from("T_Leaf", "T_None")); }), "CIM_ERR_INVALID_CLASS: T_None");
    EXPECT_EQ(errorOf([&] { classes(referencesTo("T_Leaf", "T_None")); }),
              "CIM_ERR_INVALID_PARAMETER: T_None");
}

TEST_F(Associations, RejectUnknownClassesAndNamespaces)
{
    const auto associators = [&](const Traversal& traversal) {
        return errorOf([&] { broker->traverseNames(me, test, traversal); });
    };
    EXPECT_EQ(associators(from("T_None.Id=1")), "CIM_ERR_INVALID_PARAMETER: T_None");
    EXPECT_EQ(associators(from("T_Leaf", "T_None")), "CIM_ERR_INVALID_PARAMETER: T_None");
    EXPECT_EQ(associators(from("T_Leaf", {}, "T_None")), "CIM_ERR_INVALID_CLASS: T_None");
    EXPECT_EQ(errorOf([&] { broker->traverseNames(me, test, referencesTo("T_Leaf", "T_None")); }),
              "CIM_ERR_INVALID_PARAMETER: T_None");
    EXPECT_EQ(errorOf([&] { broker->traverseNames(me, "root/none", referencesTo("T_Leaf")); }),
              "CIM_ERR_INVALID_NAMESPACE: root/none");
}

TEST_F(Associations, GiveObjectsTheHostAndNamespaceThatTheyLack)
{
    const Traversal traversal = from("T_Leaf.Id=1", "T_LinkSub");
    for (const auto& [delivered, expected] : {std::pair("C.Id=1", "//here/root/test:C.Id=1"),
                                              std::pair("a/b:C.Id=2", "//here/a/b:C.Id=2"),
                                              std::pair("//h/x:C.Id=3", "//h/x:C.Id=3")}) {
        const CIMInstance object = instanceOf(delivered);
        scripted::provider("LinkSub").onPaths =
            scripted::delivering<CIMObjectPath>({object.getPath()});
        scripted::provider("LinkSub").onObjects = scripted::delivering<CIMObject>({object});
        EXPECT_EQ(texts(broker->traverseNames(me, test, traversal)), Lines{expected});
        EXPECT_EQ(text(broker->traverse(me, test, traversal, {})[0].getPath()), expected);
    }
}

TEST_F(Associations, OmitProvidersThatDoNotSupportIt)
{
    const auto refuse = [](auto&) { throw CIMNotSupportedException("not here"); };
    scripted::provider("Link").onPaths = refuse;
    EXPECT_EQ(texts(broker->traverseNames(me, test, from("T_Leaf.Id=1"))),
              Lines{"//here/root/test:T_LinkSub.Id=1"});
    scripted::provider("LinkSub").onPaths = refuse;
    EXPECT_EQ(broker->traverseNames(me, test, from("T_Leaf.Id=1")).size(), 0U);
}

TEST_F(Associations, ReturnOtherErrorsOfOneProvider)
{
    scripted::provider("Link").onObjects = [](auto&) { throw CIMAccessDeniedException("no"); };
    EXPECT_EQ(errorOf([&] { broker->traverse(me, test, referencesTo("T_Leaf.Id=1"), {}); }),
              "CIM_ERR_ACCESS_DENIED: no");
}

}  // namespace
}  // namespace cimom
