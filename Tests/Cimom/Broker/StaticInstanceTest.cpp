// Instances of the repository: read like those of providers, and changed where the options allow it.
#include "BrokerFixture.h"

PEGASUS_USING_PEGASUS;

namespace cimom
{
namespace
{

class StaticInstances : public BrokerTest
{
protected:
    std::string get(const char* path, const InstanceView& view = {})
    {
        return outcomeOf([&] { return text(broker->getInstance(me, test, CIMObjectPath(path), view)); });
    }
    Lines names(const char* className)
    {
        return texts(broker->enumerateInstanceNames(me, test, className));
    }

    /// The outcome of a change of an instance: its path, or the error.
    std::string create(const CIMInstance& instance, const char* nameSpace = "root/test")
    {
        return outcomeOf([&] { return text(broker->createInstance(me, nameSpace, instance)); });
    }
    std::string modify(const char* path, const CIMInstance& values,
                       const CIMPropertyList& list = CIMPropertyList())
    {
        CIMInstance instance = values.clone();
        instance.setPath(CIMObjectPath(path));
        return errorOf([&] { broker->modifyInstance(me, test, instance, false, list); });
    }
    std::string remove(const char* path, const char* nameSpace = "root/test")
    {
        return errorOf([&] { broker->deleteInstance(me, nameSpace, CIMObjectPath(path)); });
    }
};

/// An instance, built property by property.
struct Values
{
    explicit Values(const char* className) : instance(CIMName(className)) {}
    Values& with(const char* name, const CIMValue& value)
    {
        instance.addProperty(CIMProperty(CIMName(name), value));
        return *this;
    }
    operator const CIMInstance&() const { return instance; }

    CIMInstance instance;
};

CIMPropertyList listOf(std::initializer_list<const char*> names)
{
    Array<CIMName> list;
    for (const char* name : names)
        list.append(CIMName(name));
    return CIMPropertyList(list);
}

const char* const first = "T_Static.Id=1,Number=1";

// ---- Reading ----

TEST_F(StaticInstances, AreFoundByClassAndKeysInAnyCaseAndOrder)
{
    EXPECT_EQ(get("t_static.number=2,ID=2"),
              "T_Static.Id=2,Number=2{Id:uint32=2, Number:uint32=2, Text:string=second}");
    EXPECT_EQ(get("T_NAMEDSUB.NAME=\"a\"", {false, false, listOf({"Name"})}),
              "T_NamedSub.Name=\"a\"{Name:string=a}");
}

TEST_F(StaticInstances, AreNotFoundByOtherKeysOrAnotherClass)
{
    for (const char* path : {"T_Static.Id=3,Number=3", "T_NamedSub.Name=\"A\"",
                             "T_NamedSub.Name=\"a\",Text=5", "T_Named.Name=\"a\""}) {
        EXPECT_EQ(get(path), std::string("CIM_ERR_NOT_FOUND: ") + path);
    }
}

TEST_F(StaticInstances, AreEnumeratedWithThoseOfSubclasses)
{
    EXPECT_EQ(texts(broker->enumerateInstances(me, test, "T_Static", true,
                                               {false, false, listOf({"TEXT", "Id"})})),
              (Lines{"T_Static.Id=1,Number=1{Text:string=default, Id:uint32=1}",
                     "T_Static.Id=2,Number=2{Text:string=second, Id:uint32=2}",
                     "T_StaticSub.Id=3,Number=3{Text:string=default, Id:uint32=3}"}));
}

TEST_F(StaticInstances, CannotBeChangedByDefault)
{
    const std::string error =
        "CIM_ERR_NOT_SUPPORTED: No provider is registered that could change instances of T_Static.";
    EXPECT_EQ(create(Values("T_Static")), error);
    EXPECT_EQ(modify(first, Values("T_Static")), error);
    EXPECT_EQ(remove(first), error);
    EXPECT_EQ(errorOf([&] { broker->setProperty(me, test, String(first), "Text", Uint8(3)); }), error);
    EXPECT_EQ(names("T_Static").size(), 3U);
}

TEST_F(StaticInstances, OfUnknownClassesCannotBeChanged)
{
    EXPECT_EQ(remove("T_Nothing.Id=1"), "CIM_ERR_INVALID_CLASS: T_Nothing");
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
    /// T_Static.Id=9,Number=9, as much of it as a client gives.
    static Values ninth() { return Values("t_STATIC").with("ID", Uint32(9)).with("Number", Uint32(9)); }
    static Values withText(const char* text) { return Values("T_Static").with("TEXT", String(text)); }
};

TEST_F(WritableInstances, AreCreatedWithDefaultsAndTheSpellingOfTheClass)
{
    EXPECT_EQ(create(ninth()), "T_Static.Id=9,Number=9");
    EXPECT_EQ(get("T_Static.Id=9,Number=9"),
              "T_Static.Id=9,Number=9{Text:string=default, Id:uint32=9, Number:uint32=9}");
}

TEST_F(WritableInstances, AreCreatedOnce)
{
    create(ninth());
    EXPECT_EQ(create(ninth()), "CIM_ERR_ALREADY_EXISTS: T_Static.Id=9,Number=9");
}

TEST_F(WritableInstances, AreNotCreatedOfWhatCannotBeOne)
{
    EXPECT_EQ(create(Values("T_Static").with("Id", Uint32(9))),
              "CIM_ERR_INVALID_PARAMETER: key property without a value: T_Static.Number");
    EXPECT_EQ(create(ninth().with("More", String("x"))),
              "CIM_ERR_INVALID_PARAMETER: class T_Static has no property More of this type");
    EXPECT_EQ(create(ninth().with("Text", Uint8(1))),
              "CIM_ERR_INVALID_PARAMETER: class T_Static has no property Text of this type");
    EXPECT_EQ(create(Values("T_Nothing")), "CIM_ERR_INVALID_CLASS: T_Nothing");
    EXPECT_EQ(create(Values("T_Abstract").with("Name", String("x"))),
              "CIM_ERR_FAILED: attempted to instantiate an abstract class T_Abstract");
    EXPECT_EQ(names("T_Static").size(), 3U);
}

TEST_F(WritableInstances, TakeWhatIsGivenWithoutAList)
{
    EXPECT_EQ(modify(first, withText("a")), "no error");
    EXPECT_EQ(get(first), "T_Static.Id=1,Number=1{Id:uint32=1, Number:uint32=1, Text:string=a}");
}

TEST_F(WritableInstances, TakeWhatIsListed)
{
    EXPECT_EQ(modify(first, withText("b").with("Id", Uint32(2)), listOf({"text"})), "no error");
    EXPECT_EQ(get(first), "T_Static.Id=1,Number=1{Id:uint32=1, Number:uint32=1, Text:string=b}");
}

TEST_F(WritableInstances, TakeNothingForAnEmptyList)
{
    EXPECT_EQ(modify(first, withText("c"), listOf({})), "no error");
    EXPECT_NE(get(first).find("Text:string=default"), std::string::npos);
}

TEST_F(WritableInstances, TakeTheDefaultOfWhatIsListedAndNotGiven)
{
    modify(first, withText("d"));
    EXPECT_EQ(modify(first, Values("T_Static").with("Id", Uint32(1)), listOf({"Id", "Text"})),
              "no error");
    EXPECT_NE(get(first).find("Text:string=default"), std::string::npos) << get(first);
}

TEST_F(WritableInstances, TakeNull)
{
    EXPECT_EQ(modify(first, Values("T_Static").with("Text", CIMValue(CIMTYPE_STRING, false))),
              "no error");
    EXPECT_NE(get(first).find("Text:string=null"), std::string::npos) << get(first);
}

TEST_F(WritableInstances, ChangeWholeOrNotAtAll)
{
    const std::string before = get(first);
    EXPECT_EQ(modify(first, withText("e").with("Id", Uint32(2))),
              "CIM_ERR_FAILED: attempted to modify a key of T_Static.Id=1,Number=1");
    EXPECT_EQ(modify(first, withText("e"), listOf({"Text", "Id"})),
              "CIM_ERR_INVALID_PARAMETER: key property without a value: T_Static.Id");
    EXPECT_EQ(modify(first, withText("e").with("More", String("x"))),
              "CIM_ERR_NO_SUCH_PROPERTY: More");
    EXPECT_EQ(modify(first, withText("e"), listOf({"Text", "More"})),
              "CIM_ERR_NO_SUCH_PROPERTY: More");
    EXPECT_EQ(modify(first, Values("T_Static").with("Text", Uint8(1))),
              "CIM_ERR_INVALID_PARAMETER: class T_Static has no property Text of this type");
    EXPECT_EQ(get(first), before);
}

TEST_F(WritableInstances, MustExistToBeModified)
{
    EXPECT_EQ(modify("T_Static.Id=3,Number=3", withText("f")),
              "CIM_ERR_NOT_FOUND: T_Static.Id=3,Number=3");
    EXPECT_EQ(modify("T_Nothing.Id=1", Values("T_Nothing")), "CIM_ERR_INVALID_CLASS: T_Nothing");
}

TEST_F(WritableInstances, TakeOneProperty)
{
    const CIMObjectPath path(first);
    broker->setProperty(me, test, path, "Text", CIMValue(String("g")));
    EXPECT_EQ(text(broker->getProperty(me, test, path, "text")), "string=g");
    EXPECT_EQ(errorOf([&] { broker->setProperty(me, test, path, "Id", CIMValue(Uint32(2))); }),
              "CIM_ERR_FAILED: attempted to modify a key of T_Static.Id=1,Number=1");
}

TEST_F(WritableInstances, AreDeleted)
{
    EXPECT_EQ(remove("t_static.NUMBER=1,Id=1"), "no error");
    EXPECT_EQ(names("T_Static"), (Lines{"T_Static.Id=2,Number=2", "T_StaticSub.Id=3,Number=3"}));
    EXPECT_EQ(remove(first), std::string("CIM_ERR_NOT_FOUND: ") + first);
    EXPECT_EQ(remove("T_Static.Id=3,Number=3"), "CIM_ERR_NOT_FOUND: T_Static.Id=3,Number=3");
}

TEST_F(WritableInstances, AreNotThoseOfTheInteropNamespace)
{
    const std::string error =
        "CIM_ERR_NOT_SUPPORTED: No provider is registered that could change instances of "
        "PG_ProviderModule.";
    EXPECT_EQ(remove("PG_ProviderModule.Name=\"Scripted\"", "ROOT/interop"), error);
    EXPECT_EQ(create(Values("PG_ProviderModule").with("Name", String("x")), "root/interop"), error);
    CIMInstance scriptedModule = Values("PG_ProviderModule").with("Vendor", String("x"));
    scriptedModule.setPath(String("PG_ProviderModule.Name=\"Scripted\""));
    EXPECT_EQ(errorOf([&] {
                  broker->modifyInstance(me, "root/interop", scriptedModule, false, {});
              }),
              error);
}

TEST_F(WritableInstances, OfProvidersAreStillTheirs)
{
    EXPECT_EQ(create(Values("T_Side").with("Id", Uint32(5))), "T_Side.Id=1");
    EXPECT_EQ(remove("T_Side.Id=1"), "no error");
    EXPECT_EQ(scripted::takeCalls(),
              (Lines{"Side createInstance //here/root/test:T_Side T_Side{Id:uint32=5} by me",
                     "Side deleteInstance //here/root/test:T_Side.Id=1 by me"}));
}

}  // namespace
}  // namespace cimom
