// Enumerations: which classes are covered, and who is called for them.
#include "BrokerFixture.h"

#include <Pegasus/Provider/ProviderException.h>

PEGASUS_USING_PEGASUS;

namespace cimom
{
namespace
{

class Enumeration : public BrokerTest
{
protected:
    Lines names(const char* className)
    {
        return texts(broker->enumerateInstanceNames(me, test, CIMName(className)));
    }
    Lines instances(const char* className, bool deep = true, const InstanceView& view = {})
    {
        return texts(broker->enumerateInstances(me, test, CIMName(className), deep, view));
    }
};

TEST_F(Enumeration, OfNamesCoversTheClassAndAllBelowItInSchemaOrder)
{
    EXPECT_EQ(names("t_BASE"), (Lines{"t_BASE.Id=1", "T_Mid.Id=7", "T_Leaf.Id=1", "T_Side.Id=1"}));
    EXPECT_EQ(scripted::takeCalls(),
              (Lines{"Base enumerateInstanceNames //here/root/test:t_BASE by me",
                     "Leaf enumerateInstanceNames //here/root/test:T_Leaf by me",
                     "Side enumerateInstanceNames //here/root/test:T_Side by me"}));
}

TEST_F(Enumeration, OfInstancesCoversTheClassAndAllBelowItInSchemaOrder)
{
    EXPECT_EQ(instances("T_Base"),
              (Lines{"T_Base.Id=1{}",
                     "T_Mid.Id=7{A:string=null, Level:uint16=null, M:string=null, Id:uint32=7}",
                     "T_Leaf.Id=1{}", "T_Side.Id=1{}"}));
    EXPECT_EQ(scripted::takeCalls(),
              (Lines{"Base enumerateInstances //here/root/test:T_Base by me",
                     "Leaf enumerateInstances //here/root/test:T_Leaf by me",
                     "Side enumerateInstances //here/root/test:T_Side by me"}));
}

TEST_F(Enumeration, HandsOverTheNamespaceAsTheClientSpellsIt)
{
    broker->enumerateInstanceNames(me, CIMNamespaceName("ROOT/test"), CIMName("T_Leaf"));
    broker->enumerateInstances(me, CIMNamespaceName("ROOT/test"), CIMName("T_Leaf"), true, {});
    EXPECT_EQ(scripted::takeCalls(),
              (Lines{"Leaf enumerateInstanceNames //here/ROOT/test:T_Leaf by me",
                     "Leaf enumerateInstances //here/ROOT/test:T_Leaf by me"}));
}

TEST_F(Enumeration, RejectsUnknownClass)
{
    EXPECT_EQ(errorOf([&] { names("T_Nothing"); }), "CIM_ERR_INVALID_CLASS: T_Nothing");
    EXPECT_EQ(errorOf([&] { instances("T_Nothing"); }), "CIM_ERR_INVALID_CLASS: T_Nothing");
}

TEST_F(Enumeration, RejectsUnknownNamespace)
{
    EXPECT_EQ(errorOf([&] { broker->enumerateInstanceNames(me, "root/nope", "T_Mid"); }),
              "CIM_ERR_INVALID_NAMESPACE: root/nope");
}

TEST_F(Enumeration, OmitsSubclassesWhoseProviderDoesNotSupportIt)
{
    const auto refuse = [](auto&) { throw CIMNotSupportedException("not here"); };
    scripted::provider("Leaf").onEnumerateInstanceNames = refuse;
    scripted::provider("Base").onEnumerateInstances = refuse;
    EXPECT_EQ(names("T_Mid"), Lines{"T_Mid.Id=7"});
    EXPECT_EQ(instances("T_Base").size(), 3U) << "those of T_Mid, T_Leaf and T_Side";
}

TEST_F(Enumeration, ReturnsNotSupportedWhenTheOnlyProviderDoesNotSupportIt)
{
    const auto refuse = [](auto&) { throw CIMNotSupportedException("not here"); };
    scripted::provider("Leaf").onEnumerateInstanceNames = refuse;
    scripted::provider("Leaf").onEnumerateInstances = refuse;
    EXPECT_EQ(errorOf([&] { names("T_Leaf"); }), "CIM_ERR_NOT_SUPPORTED: not here");
    EXPECT_EQ(errorOf([&] { instances("T_Leaf"); }), "CIM_ERR_NOT_SUPPORTED: not here");
}

TEST_F(Enumeration, ReturnsOtherErrorsOfOneOfManyProviders)
{
    const auto deny = [](auto&) { throw CIMAccessDeniedException("no"); };
    scripted::provider("Leaf").onEnumerateInstanceNames = deny;
    scripted::provider("Leaf").onEnumerateInstances = deny;
    EXPECT_EQ(errorOf([&] { names("T_Mid"); }), "CIM_ERR_ACCESS_DENIED: no");
    EXPECT_EQ(errorOf([&] { instances("T_Mid"); }), "CIM_ERR_ACCESS_DENIED: no");
}

TEST_F(Enumeration, ReturnsPathsWithoutHostAndNamespace)
{
    const CIMObjectPath path("//far/root/other:T_Leaf.Id=5");
    scripted::provider("Leaf").onEnumerateInstanceNames = [&](ObjectPathResponseHandler& handler) {
        handler.deliver(path);
        handler.complete();
    };
    scripted::provider("Leaf").onEnumerateInstances = [&](InstanceResponseHandler& handler) {
        CIMInstance instance(CIMName("T_Leaf"));
        instance.setPath(path);
        handler.deliver(instance);
        handler.complete();
    };
    EXPECT_EQ(names("T_Leaf"), Lines{"T_Leaf.Id=5"});
    EXPECT_EQ(instances("T_Leaf"), Lines{"T_Leaf.Id=5{}"});
}

TEST_F(Enumeration, WithoutDeepInheritanceListsThePropertiesOfTheClass)
{
    scripted::provider("Leaf").onEnumerateInstances = [&](InstanceResponseHandler& handler) {
        const CIMClass schemaClass = broker->getClass(me, test, "T_Leaf", {});
        handler.deliver(schemaClass.buildInstance(false, false, CIMPropertyList()));
        handler.complete();
    };
    EXPECT_EQ(instances("T_Mid", false),
              (Lines{"T_Mid.Id=7{Id:uint32=7, A:string=null, Level:uint16=null, M:string=null}",
                     "T_Leaf{Id:uint32=null, A:string=null, Level:uint16=null, M:string=null}"}));
    EXPECT_EQ(scripted::takeCalls(), Lines{"Leaf enumerateInstances //here/root/test:T_Leaf "
                                           "PropertyList=[Id A Level M] by me"});
}

TEST_F(Enumeration, WithoutDeepInheritanceKeepsThePropertyListOfTheClient)
{
    const CIMPropertyList list(Array<CIMName>(1, CIMName("L")));
    instances("T_Mid", false, {false, false, list});
    EXPECT_EQ(scripted::takeCalls(),
              Lines{"Leaf enumerateInstances //here/root/test:T_Leaf PropertyList=[L] by me"});
}

}  // namespace
}  // namespace cimom
