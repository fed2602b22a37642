// Traversals of associations: which providers are called, and where results are said to be. What
// filters become for the provider, the tests of CIM-XML show.
#include "BrokerFixture.h"

#include <Pegasus/Provider/ProviderException.h>

PEGASUS_USING_PEGASUS;

namespace cimom
{
namespace
{

Traversal from(const char* path, const CIMName& association = {}, const CIMName& resultClass = {})
{
    return {CIMObjectPath(path), association, resultClass, {}, {}};
}

using Associations = BrokerTest;

TEST_F(Associations, AskTheProviderOfEachAssociationClassThatCanReferToTheSource)
{
    EXPECT_EQ(texts(broker->associatorNames(me, "Root/test", from("t_LEAF.Id=1"))),
              (Lines{"//here/Root/test:T_Link.Id=1", "//here/Root/test:T_LinkSub.Id=1"}));
    EXPECT_EQ(
        scripted::calls,
        (Lines{"Link associatorNames //here/Root/test:t_LEAF.Id=1 AssocClass=T_Link by me",
               "LinkSub associatorNames //here/Root/test:t_LEAF.Id=1 AssocClass=T_LinkSub by me"}));
}

TEST_F(Associations, AreFoundFromEitherEnd)
{
    EXPECT_EQ(broker->associatorNames(me, test, from("T_Static.Id=1,Number=1")).size(), 2U);
    EXPECT_EQ(broker->referenceNames(me, test, from("T_StaticSub.Id=1,Number=1")).size(), 2U);
}

TEST_F(Associations, OfOtherNamespacesAreNotAsked)
{
    repository.addNamespace("root/other");
    compileMof(repository, "root/other", CIMOM_TESTS "Broker/schema.mof");
    start();
    EXPECT_EQ(broker->associatorNames(me, test, from("T_Leaf.Id=1")).size(), 2U);
}

TEST_F(Associations, GiveNothingWhereNoProviderCanAnswer)
{
    EXPECT_EQ(broker->references(me, test, from("T_Machine.Id=1"), {}).size(), 0U)
        << "no association class refers to it";
    EXPECT_EQ(broker->associatorNames(me, test, from("T_Leaf.Id=1", "T_Unserved")).size(), 0U);
    EXPECT_EQ(broker->associatorNames(me, test, from("T_Leaf.Id=1", "T_Machine")).size(), 0U)
        << "it is no association class";
    EXPECT_EQ(scripted::calls, Lines{});
}

TEST_F(Associations, RejectUnknownClassesAndNamespaces)
{
    const auto associators = [&](const Traversal& traversal) {
        return errorOf([&] { broker->associatorNames(me, test, traversal); });
    };
    EXPECT_EQ(associators(from("T_None.Id=1")), "CIM_ERR_INVALID_PARAMETER: T_None");
    EXPECT_EQ(associators(from("T_Leaf", "T_None")), "CIM_ERR_INVALID_PARAMETER: T_None");
    EXPECT_EQ(associators(from("T_Leaf", {}, "T_None")), "CIM_ERR_INVALID_CLASS: T_None");
    EXPECT_EQ(errorOf([&] { broker->referenceNames(me, test, from("T_Leaf", {}, "T_None")); }),
              "CIM_ERR_INVALID_PARAMETER: T_None");
    EXPECT_EQ(errorOf([&] { broker->referenceNames(me, "root/none", from("T_Leaf")); }),
              "CIM_ERR_INVALID_NAMESPACE: root/none");
}

// ---- What the four operations have in common ----

struct Operation : Row
{
    /// The paths that T_Leaf.Id=1 leads to.
    Lines (*paths)(Broker&, const OperationContext&);
};

class EachTraversal : public BrokerTableTest<Operation>
{
protected:
    Lines paths() { return GetParam().paths(*broker, me); }
    static void deliver(ObjectPathResponseHandler& handler, const char* path)
    {
        handler.deliver(CIMObjectPath(path));
    }
    static void deliver(ObjectResponseHandler& handler, const char* path)
    {
        handler.deliver(CIMObject(instanceOf(path)));
    }
    template <class Behavior>
    static void setBehavior(const char* provider, Behavior behavior)
    {
        scripted::provider(provider).onPaths = behavior;
        scripted::provider(provider).onObjects = behavior;
    }
};

TEST_P(EachTraversal, GivesPathsTheHostAndNamespaceThatTheyLack)
{
    setBehavior("Link", [](auto& handler) {
        for (const char* path : {"C.Id=1", "a/b:C.Id=2", "//h/x:C.Id=3"})
            deliver(handler, path);
        handler.complete();
    });
    setBehavior("LinkSub", [](auto& handler) { handler.complete(); });
    EXPECT_EQ(paths(), (Lines{"//here/root/test:C.Id=1", "//here/a/b:C.Id=2", "//h/x:C.Id=3"}));
}

TEST_P(EachTraversal, OmitsAssociationsWhoseProviderDoesNotSupportIt)
{
    setBehavior("Link", [](auto&) { throw CIMNotSupportedException("not here"); });
    EXPECT_EQ(paths(), Lines{"//here/root/test:T_LinkSub.Id=1"});
    setBehavior("LinkSub", [](auto&) { throw CIMNotSupportedException("not here"); });
    EXPECT_EQ(paths(), Lines{});
}

TEST_P(EachTraversal, ReturnsOtherErrorsOfOneProvider)
{
    setBehavior("Link", [](auto&) { throw CIMAccessDeniedException("no"); });
    EXPECT_EQ(errorOf([&] { paths(); }), "CIM_ERR_ACCESS_DENIED: no");
}

Lines pathsOf(const Array<CIMInstance>& instances)
{
    Lines paths;
    for (Uint32 i = 0; i < instances.size(); ++i)
        paths.push_back(text(instances[i].getPath()));
    return paths;
}

const CIMNamespaceName root("root/test");
const Traversal ofLeaf = from("T_Leaf.Id=1");
const Operation traversals[] = {
    {"Associators",
     [](auto& broker, auto& me) { return pathsOf(broker.associators(me, root, ofLeaf, {})); }},
    {"AssociatorNames",
     [](auto& broker, auto& me) { return texts(broker.associatorNames(me, root, ofLeaf)); }},
    {"References",
     [](auto& broker, auto& me) { return pathsOf(broker.references(me, root, ofLeaf, {})); }},
    {"ReferenceNames",
     [](auto& broker, auto& me) { return texts(broker.referenceNames(me, root, ofLeaf)); }},
};
INSTANTIATE_TEST_SUITE_P(Of, EachTraversal, ::testing::ValuesIn(traversals), NameOfRow());

}  // namespace
}  // namespace cimom
