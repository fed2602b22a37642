#include "TestRepository.h"

#include <thread>
#include <vector>

PEGASUS_USING_PEGASUS;

namespace
{

class RepositoryTest : public ::testing::Test, protected TestRepository
{
};

TEST(RepositoryCases, AreTakenOrRefused)
{
    checkCases(TEST_FOLDER "/cases.txt");
}

TEST_F(RepositoryTest, UnknownNamesAreRefused)
{
    const CIMObjectPath path("T_None.Id=1");
    EXPECT_EQ(refusal([&] { repository.getClass("root/None", "T_Base"); }), "3 root/None");
    EXPECT_EQ(refusal([&] { repository.getQualifierDecl(ns, "nOne"); }), "6 nOne");
    EXPECT_EQ(refusal([&] { repository.getClass(ns, "t_nOne"); }), "6 t_nOne");
    EXPECT_EQ(refusal([&] { repository.subclassNames(ns, "T_None", true); }), "5 T_None");
    EXPECT_EQ(refusal([&] { repository.instancesOf(ns, "T_None"); }), "5 T_None");
    EXPECT_EQ(refusal([&] { repository.getInstance(ns, path); }), "5 T_None");
    EXPECT_EQ(repository.findClass(ns, "T_None"), nullptr);
}

TEST_F(RepositoryTest, NamesHaveNoCaseAndKeepTheirOrder)
{
    repository.addNamespace("ROOT/Second");
    repository.addNamespace("Root/TEST");
    EXPECT_TRUE(repository.hasNamespace("root/second"));
    ASSERT_EQ(repository.namespaces().size(), 2U);
    EXPECT_EQ(repository.namespaces()[0].getString(), "root/test");
    ASSERT_EQ(repository.qualifierDecls(ns).size(), 10U);
    EXPECT_EQ(text(repository.qualifierDecls(ns)[3]->name), "Key");
    const auto below = [this](const CIMName& name, bool deep) {
        std::string all;
        for (const CIMName& found : repository.subclassNames(ns, name, deep))
            all += text(found) + " ";
        return all;
    };
    EXPECT_EQ(below(CIMName(), false), "T_Base T_Link ");
    EXPECT_EQ(below(CIMName(), true), "T_Base T_Middle T_Leaf T_Other T_Link ");
    EXPECT_EQ(below("t_BASE", false), "T_Middle T_Other ");
    EXPECT_TRUE(repository.isSubclassOf(ns, "T_leaf", "t_BASE"));
    EXPECT_TRUE(repository.isSubclassOf(ns, "T_Base", "T_Base"));
    EXPECT_FALSE(repository.isSubclassOf(ns, "T_Base", "T_Leaf"));
    EXPECT_FALSE(repository.isSubclassOf(ns, "T_None", "T_None"));
}

TEST_F(RepositoryTest, ClassesShowWhatIsAskedFor)
{
    const CIMPropertyList list(Array<CIMName>(1, CIMName("own")));
    const std::pair<cimom::ClassView, const char*> rows[] = {
        {{true, true, true, {}},
         "T_Middle uint16 Own/T_Middle=5 string NAME/T_Base{Override=Name Values=v } "
         "uint32 Own/T_Middle() uint32 RUN/T_Base{Override=Run}(string B{Fixed=in})"},
        {{false, false, true, {}},
         "T_Middle ^string Id/T_Base ^uint8[2] Sizes/T_Base=1 2  uint16 Own/T_Middle=5 "
         "string NAME/T_Base ^uint32 Stop/T_Base() uint32 Own/T_Middle() "
         "uint32 RUN/T_Base(string B)"},
        {{false, true, false, list},
         "T_Middle{^Text=base ^Fixed=c} uint16 Own/=5 ^uint32 Stop/() uint32 Own/() "
         "uint32 RUN/{^Fixed=m Override=Run}(string B{Fixed=in})"}};
    for (const auto& [view, shown] : rows)
        EXPECT_EQ(show(*repository.getClass(ns, "t_MIDDLE", view)), shown);
}

TEST_F(RepositoryTest, WhatIsTheSameIsShared)
{
    const cimom::ClassPtr leaf = repository.getClass(ns, "T_Leaf");
    const cimom::ClassPtr middle = repository.getClass(ns, "T_Middle");
    EXPECT_EQ(leaf, repository.findClass(ns, "t_leaf"));
    const cimom::ClassView view{true, true, false, {}};
    std::vector<cimom::ClassPtr> seen(4);
    std::vector<std::thread> threads;
    for (cimom::ClassPtr& local : seen)
        threads.emplace_back([&] { local = repository.getClass(ns, "T_Leaf", view); });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(seen, std::vector<cimom::ClassPtr>(4, repository.getClass(ns, "T_Leaf", view)));
    EXPECT_EQ(leaf->property("Id"), middle->property("Id"));
    EXPECT_EQ(leaf->method("Stop"), middle->method("Stop"));
}

TEST_F(RepositoryTest, InstancesAreFoundByTheirKeysAndHandedOutAsCopies)
{
    compile("instance of t_middle { ID = \"a\"; }; instance of T_Leaf { Id = \"a\"; };");
    const CIMInstance stored = repository.getInstance(ns, String("//h/x:T_MIDDLE.ID=\"a\""));
    EXPECT_EQ(stored.getPath().toString(), "T_Middle.Id=\"a\"");
    for (const char* path : {"T_Middle.Id=\"A\"", "T_Middle.Id=\"a\",Own=5", "T_Base.Id=\"a\""})
        EXPECT_EQ(refusal([&] { repository.getInstance(ns, String(path)); }),
                  "6 " + std::string(path));
    CIMInstance mine = repository.instancesOf(ns, "T_Middle").at(0);
    mine.getProperty(mine.findProperty("Own")).setValue(CIMValue(Uint16(6)));
    EXPECT_TRUE(stored.identical(repository.instancesOf(ns, "T_Middle").at(0)));
    CIMInstance wrong{CIMName("T_Middle")};
    wrong.addProperty(CIMProperty("Id", Uint8(1)));
    EXPECT_EQ(refusal([&] { repository.addInstance(ns, wrong); }),
              "4 class T_Middle has no property Id of this type");
}

}  // namespace
