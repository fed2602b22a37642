// Instances of the repository: listed, and changed where the options allow it.
#include "BrokerFixture.h"

PEGASUS_USING_PEGASUS;

namespace cimom
{
namespace
{

class StaticInstances : public BrokerTest
{
protected:
    // The outcomes of changes: "done" or the path of the instance, or the error.
    std::string create(const CIMInstance& instance)
    {
        return outcomeOf([&] { return text(broker->createInstance(me, test, instance)); });
    }
    std::string modify(const CIMInstance& instance, const CIMPropertyList& list = {})
    {
        return errorOf([&] { broker->modifyInstance(me, test, instance, false, list); });
    }
    std::string remove(const char* path, const char* nameSpace = "root/test")
    {
        return errorOf([&] { broker->deleteInstance(me, nameSpace, CIMObjectPath(path)); });
    }
};

const char* const first = "T_Static.Id=1,Number=1";
const std::string unsupported =
    "CIM_ERR_NOT_SUPPORTED: No provider is registered that could change instances of ";

TEST_F(StaticInstances, CannotBeChangedByDefault)
{
    EXPECT_EQ(create(instanceOf("T_Static")), unsupported + "T_Static.");
    EXPECT_EQ(modify(instanceOf(first)), unsupported + "T_Static.");
    EXPECT_EQ(remove(first), unsupported + "T_Static.");
    EXPECT_EQ(remove("T_None.Id=1"), "CIM_ERR_INVALID_CLASS: T_None");
    EXPECT_EQ(names("T_Static").size(), 3U);
}

// ---- Changing ----

class WritableInstances : public StaticInstances
{
protected:
    WritableInstances()
    {
        options.writableInstances = true;
        start();
    }

    const CIMInstance ninth = instanceOf("t_STATIC", {{"ID", Uint32(9)}, {"Number", Uint32(9)}});
};

TEST_F(WritableInstances, AreCreatedWithDefaultsAndTheSpellingOfTheClass)
{
    EXPECT_EQ(create(ninth), "T_Static.Id=9,Number=9");
    EXPECT_EQ(get("T_Static.Id=9,Number=9"),
              "T_Static.Id=9,Number=9{Text:string=default, Id:uint32=9, Number:uint32=9}");
    EXPECT_EQ(create(ninth), "CIM_ERR_ALREADY_EXISTS: T_Static.Id=9,Number=9");
}

TEST_F(WritableInstances, AreNotCreatedOfWhatCannotBeOne)
{
    const CIMProperty id("Id", Uint32(9)), number("Number", Uint32(9));
    EXPECT_EQ(create(instanceOf("T_Static", {id})),
              "CIM_ERR_INVALID_PARAMETER: key property without a value: T_Static.Number");
    EXPECT_EQ(create(instanceOf("T_Static", {id, number, {"More", String("x")}})),
              "CIM_ERR_INVALID_PARAMETER: class T_Static has no property More of this type");
    EXPECT_EQ(create(instanceOf("T_Static", {id, number, {"Text", Uint8(1)}})),
              "CIM_ERR_INVALID_PARAMETER: class T_Static has no property Text of this type");
    EXPECT_EQ(create(instanceOf("T_None")), "CIM_ERR_INVALID_CLASS: T_None");
    EXPECT_EQ(create(instanceOf("T_Abstract", {{"Name", String("x")}})),
              "CIM_ERR_FAILED: attempted to instantiate an abstract class T_Abstract");
    EXPECT_EQ(names("T_Static").size(), 3U);
}

TEST_F(WritableInstances, AreDeleted)
{
    EXPECT_EQ(remove("t_static.NUMBER=1,Id=1"), "done");
    EXPECT_EQ(names("T_Static"), (Lines{"T_Static.Id=2,Number=2", "T_StaticSub.Id=3,Number=3"}));
    EXPECT_EQ(remove(first), std::string("CIM_ERR_NOT_FOUND: ") + first);
    EXPECT_EQ(remove("T_Static.Id=3,Number=3"), "CIM_ERR_NOT_FOUND: T_Static.Id=3,Number=3")
        << "it is one of T_StaticSub";
}

TEST_F(WritableInstances, AreNotThoseOfTheInteropNamespace)
{
    const std::string registered = "PG_ProviderModule.Name=\"Scripted\"";
    EXPECT_EQ(remove(registered.c_str(), "ROOT/interop"), unsupported + "PG_ProviderModule.");
}

TEST_F(WritableInstances, OfProvidersAreStillTheirs)
{
    EXPECT_EQ(create(instanceOf("T_Side")), "T_Side.Id=1");
    EXPECT_EQ(remove("T_Side.Id=1"), "done");
    EXPECT_EQ(scripted::calls, (Lines{"Side createInstance //here/root/test:T_Side T_Side{} by me",
                                      "Side deleteInstance //here/root/test:T_Side.Id=1 by me"}));
}

// ---- Modifying: T_Static.Id=1,Number=1, whose Text is "before" ----

/// The properties and the list given, the outcome, and the instance's Text afterwards.
struct Modification : Row
{
    std::vector<CIMProperty> properties;
    CIMPropertyList list;
    std::string outcome;
    std::string text;
};

using ModifyStaticInstance = BrokerTableTest<Modification, WritableInstances>;

TEST_P(ModifyStaticInstance, ChangesAllOrNothing)
{
    modify(instanceOf(first, {{"Text", String("before")}}));
    CIMInstance given = instanceOf(first);
    for (const CIMProperty& property : GetParam().properties)
        given.addProperty(property.clone());
    EXPECT_EQ(modify(given, GetParam().list), GetParam().outcome);
    EXPECT_EQ(text(broker->getProperty(me, test, String(first), "Text")), GetParam().text);
    EXPECT_EQ(names("T_Static").at(0), first);
}

const CIMProperty textA("TEXT", String("a")), textNull("Text", CIMValue(CIMTYPE_STRING, false)),
    id1("Id", Uint32(1)), id2("Id", Uint32(2)), undeclared("More", String("x"));
const std::string keyChange = "CIM_ERR_FAILED: attempted to modify a key of T_Static.Id=1,Number=1";
const Modification modifications[] = {
    {"TakesWhatIsGivenWithoutAList", {textA}, {}, "done", "string=a"},
    {"TakesWhatIsListed", {textA, id2}, listOf({"text"}), "done", "string=a"},
    {"TakesNothingForAnEmptyList", {textA}, listOf({}), "done", "string=before"},
    {"TakesTheDefaultOfWhatIsListedOnly", {id1}, listOf({"Id", "Text"}), "done", "string=default"},
    {"TakesNull", {textNull}, {}, "done", "string=null"},
    {"RejectsAnotherKey", {textA, id2}, {}, keyChange, "string=before"},
    {"RejectsAKeyListedOnly",
     {textA},
     listOf({"Text", "Id"}),
     "CIM_ERR_INVALID_PARAMETER: key property without a value: T_Static.Id",
     "string=before"},
    {"RejectsUndeclaredProperty",
     {textA, undeclared},
     {},
     "CIM_ERR_NO_SUCH_PROPERTY: More",
     "string=before"},
};
INSTANTIATE_TEST_SUITE_P(By, ModifyStaticInstance, ::testing::ValuesIn(modifications), NameOfRow());

TEST_F(WritableInstances, MustExistToBeModified)
{
    EXPECT_EQ(modify(instanceOf("T_Static.Id=3,Number=3")),
              "CIM_ERR_NOT_FOUND: T_Static.Id=3,Number=3");
    EXPECT_EQ(modify(instanceOf("T_None.Id=1")), "CIM_ERR_INVALID_CLASS: T_None");
}

}  // namespace
}  // namespace cimom
