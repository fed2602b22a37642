// Handles used wrongly, and handles in several threads.
#include <Pegasus/Common/CIMClass.h>
#include <Pegasus/Common/CIMParamValue.h>
#include <Pegasus/Common/CIMQualifierDecl.h>

#include <gtest/gtest.h>

#include <thread>
#include <utility>
#include <vector>

using namespace Pegasus;

namespace
{

template <class HandleClass>
class UninitializedHandle : public testing::Test
{
};

using HandleClasses = testing::Types<CIMQualifier, CIMConstQualifier, CIMQualifierDecl, CIMProperty,
                                     CIMConstProperty, CIMParameter, CIMConstParameter, CIMMethod,
                                     CIMConstMethod, CIMInstance, CIMConstInstance, CIMClass,
                                     CIMConstClass, CIMObject, CIMConstObject, CIMParamValue>;
TYPED_TEST_SUITE(UninitializedHandle, HandleClasses);

TYPED_TEST(UninitializedHandle, CloneThrows)
{
    const TypeParam handle;
    EXPECT_TRUE(handle.isUninitialized());
    EXPECT_THROW(handle.clone(), UninitializedObjectException);
    const TypeParam copy(handle);
    EXPECT_TRUE(copy.isUninitialized());
}

TEST(Handle, TheSourceOfAMoveStaysUsable)
{
    CIMInstance source(CIMName("Sample"));
    CIMInstance target(std::move(source));
    target.addProperty(CIMProperty(CIMName("P"), CIMValue(true)));
    EXPECT_EQ(1U, source.getPropertyCount());
}

TEST(Handle, AnAbstractQualifierWithoutValueMeansNotAbstract)
{
    CIMClass sample(CIMName("Sample"));
    sample.addQualifier(CIMQualifier(CIMName("Abstract"), CIMValue(CIMTYPE_BOOLEAN, false)));
    EXPECT_FALSE(sample.isAbstract());
}

// Key qualifiers may come and go at any time; nothing about them is remembered.
TEST(Handle, KeysFollowTheQualifiersOfTheProperties)
{
    CIMClass sample(CIMName("Sample"));
    CIMProperty property(CIMName("P"), CIMValue(String("x")));
    sample.addProperty(property);
    EXPECT_FALSE(sample.hasKeys());
    property.addQualifier(CIMQualifier(CIMName("KEY"), CIMValue(true)));
    EXPECT_TRUE(sample.hasKeys());
    property.removeQualifier(0);
    EXPECT_FALSE(sample.hasKeys());
}

TEST(Handle, ThreadsMayEachHaveTheirHandlesOnOneObject)
{
    const CIMInstance shared(CIMName("Sample"));
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&shared] {
            for (int i = 0; i < 1000; ++i) {
                const CIMInstance copy = shared;
                const CIMObject object = copy;
                EXPECT_TRUE(object.isInstance());
                EXPECT_EQ(0U, CIMConstInstance(object).getPropertyCount());
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
}

TEST(Handle, OnePropertyMayLeaveItsInstancesInDifferentThreads)
{
    CIMProperty property(CIMName("P"), CIMValue(Uint32(1)));
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([property] {
            for (int i = 0; i < 1000; ++i)
                CIMInstance(CIMName("Sample")).addProperty(property);
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    property.setName(CIMName("Other"));  // would throw if a container were still counted
    EXPECT_EQ(String("Other"), property.getName().getString());
}

}  // namespace
