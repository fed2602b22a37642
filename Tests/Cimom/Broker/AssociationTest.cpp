// Traversals of associations: which providers are called, and where results are said to be.
#include "BrokerFixture.h"

#include <Pegasus/Provider/ProviderException.h>

PEGASUS_USING_PEGASUS;

namespace cimom
{
namespace
{

Lines pathsOf(const Array<CIMInstance>& instances)
{
    Lines paths;
    for (Uint32 i = 0; i < instances.size(); ++i)
        paths.push_back(text(instances[i].getPath()));
    return paths;
}

/// A traversal from that path; the association class is the result class of references.
Traversal from(const char* path, const char* association = nullptr)
{
    Traversal traversal;
    traversal.source = CIMObjectPath(path);
    if (association) traversal.associationClass = traversal.resultClass = CIMName(association);
    return traversal;
}

using Associations = BrokerTest;

TEST_F(Associations, AsksTheProviderOfEachAssociationClassThatCanReferToTheSource)
{
    EXPECT_EQ(texts(broker->associatorNames(me, "Root/test", from("t_LEAF.Id=1"))),
              (Lines{"//here/Root/test:T_Link.Id=1", "//here/Root/test:T_LinkSub.Id=1"}));
    EXPECT_EQ(
        scripted::takeCalls(),
        (Lines{"Link associatorNames //here/Root/test:t_LEAF.Id=1 AssocClass=T_Link by me",
               "LinkSub associatorNames //here/Root/test:t_LEAF.Id=1 AssocClass=T_LinkSub by me"}));
}

TEST_F(Associations, AreFoundFromEitherEnd)
{
    EXPECT_EQ(broker->associatorNames(me, test, from("T_Static.Id=1,Number=1")).size(), 2U);
    EXPECT_EQ(broker->referenceNames(me, test, from("T_StaticSub.Id=1,Number=1")).size(), 2U);
}

TEST_F(Associations, AreFoundForAClassToo)
{
    broker->referenceNames(me, test, from("T_Leaf", "T_LinkSub"));
    EXPECT_EQ(scripted::takeCalls(),
              Lines{"LinkSub referenceNames //here/root/test:T_Leaf ResultClass=T_LinkSub by me"});
}

TEST_F(Associations, GiveNothingForAClassThatNoneRefersTo)
{
    EXPECT_EQ(broker->references(me, test, from("T_Machine.Id=1"), {}).size(), 0U);
    EXPECT_EQ(scripted::takeCalls(), Lines{});
}

TEST_F(Associations, GiveNothingForAnAssociationWithoutProviderOrForNoAssociation)
{
    EXPECT_EQ(broker->referenceNames(me, test, from("T_Leaf.Id=1", "T_Unserved")).size(), 0U);
    EXPECT_EQ(broker->referenceNames(me, test, from("T_Leaf.Id=1", "T_Machine")).size(), 0U);
    EXPECT_EQ(scripted::takeCalls(), Lines{});
}

TEST_F(Associations, HandsOverTheFiltersOfAssociatorsAsTyped)
{
    const Traversal traversal{CIMObjectPath("T_Leaf.Id=1"), "t_linkSUB", "t_static", "uPPer", "Any"};
    const InstanceView view{true, true, CIMPropertyList(Array<CIMName>(1, CIMName("A")))};
    broker->associators(me, test, traversal, view);
    broker->associatorNames(me, test, traversal);
    const std::string filters =
        "//here/root/test:T_Leaf.Id=1 AssocClass=T_LinkSub ResultClass=t_static Role=uPPer "
        "ResultRole=Any";
    EXPECT_EQ(scripted::takeCalls(),
              (Lines{"LinkSub associators " + filters +
                         " IncludeQualifiers IncludeClassOrigin PropertyList=[A] by me",
                     "LinkSub associatorNames " + filters + " by me"}));
}

TEST_F(Associations, HandsOverTheFiltersOfReferencesToTheResultClassAndAllBelowIt)
{
    Traversal traversal = from("T_Leaf.Id=1", "T_LINK");
    traversal.associationClass = CIMName();
    traversal.role = "uPPer";
    const InstanceView view{true, true, CIMPropertyList(Array<CIMName>(1, CIMName("A")))};
    broker->references(me, test, traversal, view);
    broker->referenceNames(me, test, traversal);
    const std::string path = "//here/root/test:T_Leaf.Id=1 ";
    const std::string shown = " IncludeQualifiers IncludeClassOrigin PropertyList=[A] by me";
    EXPECT_EQ(
        scripted::takeCalls(),
        (Lines{"Link references " + path + "ResultClass=T_Link Role=uPPer" + shown,
               "LinkSub references " + path + "ResultClass=T_LinkSub Role=uPPer" + shown,
               "Link referenceNames " + path + "ResultClass=T_Link Role=uPPer by me",
               "LinkSub referenceNames " + path + "ResultClass=T_LinkSub Role=uPPer by me"}));
}

TEST_F(Associations, OfOtherNamespacesAreNotAsked)
{
    repository.addNamespace("root/other");
    compileMof(repository, "root/other", CIMOM_TESTS "Broker/schema.mof");
    start();
    EXPECT_EQ(broker->associatorNames(me, test, from("T_Leaf.Id=1")).size(), 2U);
}

// ---- Classes that do not exist ----

/// A traversal with an unknown class, and the error that it ends in.
struct UnknownClass : Row
{
    Traversal traversal;
    bool ofReferences;
    std::string error;
};

class AssociationsOfUnknownClasses : public BrokerTableTest<UnknownClass>
{
};

TEST_P(AssociationsOfUnknownClasses, AreRejected)
{
    const Traversal& traversal = GetParam().traversal;
    const std::string error = errorOf([&] {
        GetParam().ofReferences ? broker->referenceNames(me, test, traversal)
                                : broker->associatorNames(me, test, traversal);
    });
    EXPECT_EQ(error, GetParam().error);
}

const CIMObjectPath leaf("T_Leaf.Id=1");
const CIMName nothing("T_Nothing");
INSTANTIATE_TEST_SUITE_P(
    All, AssociationsOfUnknownClasses,
    ::testing::ValuesIn(std::vector<UnknownClass>{
        {"AssociationClass", {leaf, nothing, {}, {}, {}}, false,
         "CIM_ERR_INVALID_PARAMETER: T_Nothing"},
        {"ResultClass", {leaf, {}, nothing, {}, {}}, false, "CIM_ERR_INVALID_CLASS: T_Nothing"},
        {"ResultClassOfReferences", {leaf, {}, nothing, {}, {}}, true,
         "CIM_ERR_INVALID_PARAMETER: T_Nothing"},
        {"Source", {String("T_Nothing.Id=1"), {}, {}, {}, {}}, false,
         "CIM_ERR_INVALID_PARAMETER: T_Nothing"},
        {"SourceOfReferences", {String("T_Nothing.Id=1"), {}, {}, {}, {}}, true,
         "CIM_ERR_INVALID_PARAMETER: T_Nothing"},
    }),
    NameOfRow());

TEST_F(Associations, RejectsUnknownNamespace)
{
    EXPECT_EQ(errorOf([&] { broker->referenceNames(me, "root/nope", from("T_Leaf.Id=1")); }),
              "CIM_ERR_INVALID_NAMESPACE: root/nope");
}

// ---- What the four operations have in common ----

struct TraversingOperation : Row
{
    Lines (*paths)(Broker&, const OperationContext&, const CIMNamespaceName&, const Traversal&);
};

/// Runs with behaviors for the providers of T_Link and T_LinkSub.
class EachTraversal : public BrokerTableTest<TraversingOperation>
{
protected:
    Lines paths(const Traversal& traversal)
    {
        return GetParam().paths(*broker, me, test, traversal);
    }
    template <class Behavior>
    static void setBehavior(const char* providerName, Behavior behavior)
    {
        scripted::Behavior& provider = scripted::provider(providerName);
        provider.onAssociators = provider.onReferences = behavior;
        provider.onAssociatorNames = provider.onReferenceNames = behavior;
    }
};

/// Delivers objects of these paths to either kind of handler.
struct Deliver
{
    std::vector<const char*> paths;
    void operator()(ObjectPathResponseHandler& handler) const
    {
        for (const char* path : paths)
            handler.deliver(CIMObjectPath(path));
        handler.complete();
    }
    void operator()(ObjectResponseHandler& handler) const
    {
        for (const char* path : paths) {
            CIMInstance instance(CIMName("T_Static"));
            instance.setPath(String(path));
            handler.deliver(CIMObject(instance));
        }
        handler.complete();
    }
};

TEST_P(EachTraversal, GivesPathsTheHostAndNamespaceThatTheyLack)
{
    setBehavior("LinkSub", Deliver{{"T_Static.Id=1", "other/place:T_Static.Id=2",
                                    "//far/x:T_Static.Id=3"}});
    EXPECT_EQ(paths(from("T_Leaf.Id=1", "T_LinkSub")),
              (Lines{"//here/root/test:T_Static.Id=1", "//here/other/place:T_Static.Id=2",
                     "//far/x:T_Static.Id=3"}));
}

TEST_P(EachTraversal, OmitsAssociationsWhoseProviderDoesNotSupportIt)
{
    setBehavior("Link", [](auto&) { throw CIMNotSupportedException("not here"); });
    EXPECT_EQ(paths(from("T_Leaf.Id=1")), Lines{"//here/root/test:T_LinkSub.Id=1"});
    setBehavior("LinkSub", [](auto&) { throw CIMNotSupportedException("not here"); });
    EXPECT_EQ(paths(from("T_Leaf.Id=1")), Lines{});
}

TEST_P(EachTraversal, ReturnsOtherErrorsOfOneProvider)
{
    setBehavior("Link", [](auto&) { throw CIMAccessDeniedException("no"); });
    EXPECT_EQ(errorOf([&] { paths(from("T_Leaf.Id=1")); }), "CIM_ERR_ACCESS_DENIED: no");
}

INSTANTIATE_TEST_SUITE_P(
    Of, EachTraversal,
    ::testing::ValuesIn(std::vector<TraversingOperation>{
        {"Associators", [](auto& broker, auto& context, auto& nameSpace, auto& traversal) {
             return pathsOf(broker.associators(context, nameSpace, traversal, {}));
         }},
        {"AssociatorNames", [](auto& broker, auto& context, auto& nameSpace, auto& traversal) {
             return texts(broker.associatorNames(context, nameSpace, traversal));
         }},
        {"References", [](auto& broker, auto& context, auto& nameSpace, auto& traversal) {
             return pathsOf(broker.references(context, nameSpace, traversal, {}));
         }},
        {"ReferenceNames", [](auto& broker, auto& context, auto& nameSpace, auto& traversal) {
             return texts(broker.referenceNames(context, nameSpace, traversal));
         }},
    }),
    NameOfRow());

}  // namespace
}  // namespace cimom
