// Enumerations: which classes are covered, and who is called for them.
#include "BrokerFixture.h"

#include <Pegasus/Provider/ProviderException.h>

PEGASUS_USING_PEGASUS;

namespace cimom
{
namespace
{

using Enumeration = BrokerTest;

TEST_F(Enumeration, CoversTheClassAndAllBelowItInSchemaOrder)
{
    EXPECT_EQ(names("t_BASE"), (Lines{"t_BASE.Id=1", "T_Mid.Id=7", "T_Leaf.Id=1", "T_Side.Id=1"}));
    EXPECT_EQ(instances("t_BASE"),
              (Lines{"t_BASE.Id=1{}",
                     "T_Mid.Id=7{A:string=null, Level:uint16=null, M:string=null, Id:uint32=7}",
                     "T_Leaf.Id=1{}", "T_Side.Id=1{}"}));
    EXPECT_EQ(scripted::calls, (Lines{"Base enumerateInstanceNames //here/root/test:t_BASE by me",
                                      "Leaf enumerateInstanceNames //here/root/test:T_Leaf by me",
                                      "Side enumerateInstanceNames //here/root/test:T_Side by me",
                                      "Base enumerateInstances //here/root/test:t_BASE by me",
                                      "Leaf enumerateInstances //here/root/test:T_Leaf by me",
                                      "Side enumerateInstances //here/root/test:T_Side by me"}));
}

TEST_F(Enumeration, RejectsUnknownClass)
{
    EXPECT_EQ(errorOf([&] { names("T_None"); }), "CIM_ERR_INVALID_CLASS: T_None");
    EXPECT_EQ(errorOf([&] { instances("T_None"); }), "CIM_ERR_INVALID_CLASS: T_None");
}

TEST_F(Enumeration, OmitsSubclassesWhoseProviderDoesNotSupportIt)
{
    const auto refuse = [](auto&) { throw CIMNotSupportedException("not here"); };
    scripted::provider("Base").onInstances = refuse;
    scripted::provider("Leaf").onPaths = refuse;
    EXPECT_EQ(instances("T_Base").size(), 3U) << "those of T_Mid, T_Leaf and T_Side";
    EXPECT_EQ(names("T_Mid"), Lines{"T_Mid.Id=7"});
    EXPECT_EQ(errorOf([&] { names("T_Leaf"); }), "CIM_ERR_NOT_SUPPORTED: not here")
        << "the error of the only provider is that of the operation";
}

TEST_F(Enumeration, ReturnsOtherErrorsOfOneOfManyProviders)
{
    const auto deny = [](auto&) { throw CIMAccessDeniedException("no"); };
    scripted::provider("Leaf").onPaths = deny;
    scripted::provider("Leaf").onInstances = deny;
    EXPECT_EQ(errorOf([&] { names("T_Mid"); }), "CIM_ERR_ACCESS_DENIED: no");
    EXPECT_EQ(errorOf([&] { instances("T_Mid"); }), "CIM_ERR_ACCESS_DENIED: no");
}

TEST_F(Enumeration, ReturnsPathsWithoutHostAndNamespace)
{
    const std::string path = "//far/root/other:T_Leaf.Id=5";
    scripted::provider("Leaf").onPaths =
        scripted::delivering<CIMObjectPath>({String(path.c_str())});
    scripted::provider("Leaf").onInstances = scripted::delivering<CIMInstance>({instanceOf(path)});
    EXPECT_EQ(names("T_Leaf"), Lines{"T_Leaf.Id=5"});
    EXPECT_EQ(instances("T_Leaf"), Lines{"T_Leaf.Id=5{}"});
}

TEST_F(Enumeration, WithoutDeepInheritanceListsThePropertiesOfTheClass)
{
    const CIMInstance leaf = instanceOf("T_Leaf.Id=1", {{"L", Uint8(1)}, {"Level", Uint16(2)}});
    scripted::provider("Leaf").onInstances = scripted::delivering<CIMInstance>({leaf});
    EXPECT_EQ(instances("T_Mid", false),
              (Lines{"T_Mid.Id=7{Id:uint32=7, A:string=null, Level:uint16=null, M:string=null}",
                     "T_Leaf.Id=1{Level:uint16=2}"}));
    EXPECT_EQ(scripted::calls, Lines{"Leaf enumerateInstances //here/root/test:T_Leaf "
                                     "PropertyList=[Id A Level M] by me"});
}

TEST_F(Enumeration, WithoutDeepInheritanceKeepsThePropertyListOfTheClient)
{
    instances("T_Mid", false, {false, false, listOf({"L"})});
    EXPECT_EQ(scripted::calls,
              Lines{"Leaf enumerateInstances //here/root/test:T_Leaf PropertyList=[L] by me"});
}

}  // namespace
}  // namespace cimom
