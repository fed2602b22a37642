#include "Broker/InstanceFilter.h"
#include "TestRepository.h"

#include <thread>

PEGASUS_USING_PEGASUS;

namespace cimom
{
namespace
{

class RepositoryTest : public ::testing::Test, protected TestRepository
{
};

TEST(RepositoryCases, AreTakenOrRefused)
{
    checkCases(CIMOM_TESTS "Repository/cases.txt", compiled);
}

TEST_F(RepositoryTest, WhatIsTheSameIsShared)
{
    const ClassPtr leaf = repository.getClass(ns, "T_Leaf");
    const ClassPtr middle = repository.getClass(ns, "T_Middle");
    EXPECT_EQ(leaf, repository.findClass(ns, "t_leaf"));
    const ClassView view{true, true, false, {}};
    std::vector<ClassPtr> seen(4);
    std::vector<std::thread> threads;
    for (ClassPtr& local : seen)
        threads.emplace_back([&] { local = repository.getClass(ns, "T_Leaf", view); });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(seen, std::vector<ClassPtr>(4, repository.getClass(ns, "T_Leaf", view)));
    EXPECT_EQ(leaf->property("Id"), middle->property("Id"));
    EXPECT_EQ(leaf->method("Stop"), middle->method("Stop"));
}

TEST_F(RepositoryTest, InstancesAreFoundByTheirKeysAndHandedOutAsCopies)
{
    compile("instance of t_middle { ID = \"a\"; }; instance of T_Leaf { Id = \"a\"; };");
    const CIMInstance stored = repository.getInstance(ns, String("//h/x:T_MIDDLE.ID=\"a\""));
    EXPECT_EQ(stored.getPath().toString(), "T_Middle.Id=\"a\"");
    CIMInstance mine = repository.instancesOf(ns, "T_Middle").at(0);
    mine.getProperty(mine.findProperty("Own")).setValue(CIMValue(Uint16(6)));
    EXPECT_TRUE(stored.identical(repository.instancesOf(ns, "T_Middle").at(0)));
}

TEST_F(RepositoryTest, PropertiesThatAFilterHasReplacedLiveOnWithoutTheirInstance)
{
    // With all that the class has, as a provider may build it; the filter hides the qualifiers.
    CIMInstance built = CIMClass(repository.getClass(ns, "T_Leaf", {false, true, true, {}}))
                            .buildInstance(true, true, CIMPropertyList());
    const CIMName name = std::as_const(built).getProperty(0).getName();
    built = InstanceFilter(InstanceView{}).apply(built, built.getPath());
    const std::weak_ptr<const Property> shown = built.object().properties.shared(0);
    const CIMConstProperty kept = std::as_const(built).getProperty(0);
    built = CIMInstance();
    ASSERT_FALSE(shown.expired());
    EXPECT_EQ(kept.getName(), name);
}

}  // namespace
}  // namespace cimom
