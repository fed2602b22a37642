// What all providers of the module promise, checked on each of them.
#include "ElementTest.h"

#include "QBX_CageSensorProvider.h"
#include "QBX_DriveCageProvider.h"
#include "QBX_FCALCardProvider.h"
#include "QBX_MagazineProvider.h"

namespace
{

using EveryProviderTest = RowTest<ProviderRow, ProviderTest>;

INSTANTIATE_TEST_SUITE_P(All, EveryProviderTest, testing::ValuesIn(PROVIDERS), NameOfRow());

// ---- Life ----

TEST_P(EveryProviderTest, IsCreatedByNameInAnyCaseWithoutACall)
{
    for (const std::string& name :
         {row.name, cased(row.name, std::tolower), cased(row.name, std::toupper)}) {
        const ProviderPtr created = create(name);
        const CIMProvider& provider = *created;
        EXPECT_NE(std::string(typeid(provider).name()).find(row.name), std::string::npos) << name;
    }
    for (const std::string& name : {row.name + "X", row.name.substr(1), std::string()})
        EXPECT_EQ(PegasusCreateProvider(String(name.c_str())), nullptr) << name;
    EXPECT_LIST(array.events(), Texts());
}

template <class Provider>
std::string constructedFromPath()
{
    return thrownBy([] { Provider{CIMObjectPath()}; });
}

TEST(ElementProviders, RejectConstructionFromPath)
{
    const std::string refusal = " does not support constructor with object path.";
    EXPECT_EQ(constructedFromPath<QBX_DriveCageProvider>(), "7 QBX_DriveCageProvider" + refusal);
    EXPECT_EQ(constructedFromPath<QBX_FCALCardProvider>(), "7 QBX_FCALCardProvider" + refusal);
    EXPECT_EQ(constructedFromPath<QBX_MagazineProvider>(), "7 QBX_MagazineProvider" + refusal);
    EXPECT_EQ(constructedFromPath<QBX_CageSensorProvider>(), "7 QBX_CageSensorProvider" + refusal);
}

TEST_P(EveryProviderTest, RejectsUnsupportedOperationsWithoutACall)
{
    start(row.name);
    const CIMInstance instance{row.object.getClassName()};
    const std::string refusal = "7 " + row.name + " does not support ";
    const OperationContext nobody;
    EXPECT_EQ(thrownBy([&] { provider->createInstance(nobody, row.object, instance, got); }),
              refusal + "createInstance.");
    EXPECT_EQ(thrownBy([&] { provider->deleteInstance(nobody, row.object, got); }),
              refusal + "deleteInstance.");
    EXPECT_LIST(array.events(), Texts());
    if (row.name == "QBX_DriveCageProvider") return;  // it supports modifyInstance
    EXPECT_EQ(modify(row.object, {}), refusal + "modifyInstance.");
    EXPECT_LIST(array.events(), Texts());
}

// ---- Initialization ----

TEST_P(EveryProviderTest, InitializeForbidsTheUnloadAndIsTraced)
{
    start(row.name);  // the name of the array is known from here on
    CIMOMHandle handle;
    array.forget();
    create(row.name)->initialize(handle);
    EXPECT_LIST(events(), row.initialize);
}

// ---- Single instances ----

TEST_P(EveryProviderTest, GetInstanceIgnoresHostOrderOfKeysAndCaseOfNames)
{
    start(row.name);
    const Array<CIMKeyBinding> keys = row.object.getKeyBindings();
    Keys reversed;
    for (Uint32 i = keys.size(); i-- > 0;)
        reversed.push_back({cased(str(keys[i].getName()), std::toupper), str(keys[i].getValue())});
    EXPECT_EQ(read("getInstance", pathOf(cased(row.className(), std::toupper), reversed, "other")),
              "nothing");
    EXPECT_LIST(got.paths, {str(row.object)});
}

TEST_P(EveryProviderTest, GetInstanceComparesEveryKey)
{
    start(row.name);
    for (Uint32 i = 0; i < row.object.getKeyBindings().size(); ++i) {
        Array<CIMKeyBinding> keys = row.object.getKeyBindings();
        keys[i] = {keys[i].getName(), "other", CIMKeyBinding::STRING};
        std::string named;  // by the message
        for (Uint32 k = 0; !row.isAssociation() && k < keys.size(); ++k) {
            if (str(keys[k].getName()) == row.key()) named = str(keys[k].getValue());
        }
        CIMObjectPath path = row.object;
        path.setKeyBindings(keys);
        EXPECT_EQ(read("getInstance", path), "6 " + row.name + " CIM Object not found." + named);
    }
}

TEST_P(EveryProviderTest, GetInstanceNeedsItsKey)
{
    start(row.name);
    const std::string needed =
        row.isAssociation() ? "Expect two keys." : row.key() + " key not found.";
    EXPECT_EQ(read("getInstance", pathOf(row.className())), "4 " + row.name + " " + needed);
}

// ---- Reads of the providers of elements ----

/// What a provider of elements does before and after the names and instances of its element are
/// delivered; instances with qualifiers and the property "Tag".
struct ElementRow : Row
{
    CIMObjectPath object;
    Texts names;
    Texts instances;
};

class ElementReadTest : public RowTest<ElementRow, ProviderTest>
{
protected:
    ElementReadTest() { start(row.name); }

    void expectEvents(const std::string& operation, const Texts& opening, const Texts& work,
                      const std::string& result)
    {
        EXPECT_EQ(read(operation, row.object, {true, false, listOf({"Tag"})}), "nothing");
        EXPECT_LIST(events(), {"4: --> P::" + operation + "\n", opening, work, delivered(result),
                               "4: <-- P::" + operation + "\n"});
        EXPECT_LIST(got.paths, {str(row.object)});
        EXPECT_EQ(read(operation, pathOf("QBX_Disk")),
                  "7 " + row.name + " Invalid class nameQBX_Disk");
        EXPECT_LIST(events(), {"4: --> P::" + operation + "\n", opening});
    }
};

TEST_P(ElementReadTest, EnumerateInstanceNames)
{
    const bool isForAnybody = row.name == "QBX_FCALCardProvider";
    expectEvents("enumerateInstanceNames", isForAnybody ? Texts() : Texts{OPEN}, row.names, "1");
}

TEST_P(ElementReadTest, EnumerateInstances)
{
    expectEvents("enumerateInstances", {OPEN}, row.instances, "1");
}

TEST_P(ElementReadTest, GetInstance)
{
    expectEvents("getInstance", {OPEN}, row.instances, "one");
}

const Texts BUILT = {"4: -->P::buildInstance()\n", SKELETON, "4: <--P::buildInstance()\n"};

// clang-format off
const std::vector<ElementRow> ELEMENTS = {
    {"QBX_DriveCageProvider", CAGE,
     {"4: --> P::_build_ref\n", query("api_getCagesNoMfg_Cached"), FREED, "4: <-- P::_build_ref\n"},
     {"4: --> P::_build_instances\n", query("api_getCages_Cached"),
      "cimom.getClass nobody QBX_DriveCageDC2Family TF Tag", SKELETON, FREED,
      "4: <-- P::_build_instances\n"}},
    {"QBX_FCALCardProvider", CARD,
     {"4: --> QBX_FCALProvider::_build_ref\n", query("api_getFCALsNoMfg_Cached"), FREED,
      "4: <-- P::_build_ref\n"}, {"4: --> P::_build_instances\n", query("api_getFCALs_Cached"),
      "cimom.getClass nobody QBX_CageInterfaceCardDC2Family TF Tag", SKELETON, FREED,
      "4: <-- P::_build_instances\n"}},
    {"QBX_MagazineProvider", MAGAZINE,
     {"4: --> P::_build_ref\n", query("api_getMagazinesNoMfg_Cached"), FREED,
      "4: <-- P::_build_ref\n"}, {"4: --> P::_build_instances\n", query("api_getMagazines_Cached"),
      "cimom.getClass nobody QBX_Magazine TF Tag", BUILT, FREED, "4: <-- P::_build_instances\n"}},
    {"QBX_CageSensorProvider", SENSOR,
     {"4: --> P::_build_ref\n", query("api_getCages_Cached"), FREED,
      query("api_getCagesPS_Cached"), FREED, "4: <-- P::_build_ref\n"},
     {"4: --> P::_build_instances\n", "cimom.getClass nobody QBX_CageSensor TF Tag",
      query("api_getCages_Cached"), BUILT, FREED, query("api_getCagesPS_Cached"), FREED,
      "4: <-- P::_build_instances\n"}},
};
// clang-format on
INSTANTIATE_TEST_SUITE_P(Elements, ElementReadTest, testing::ValuesIn(ELEMENTS), NameOfRow());

// ---- Cages by class ----

/// A class of cages, and the tags of those that an array with one of each type has.
struct ClassRow : Row
{
    Texts tags;
};

using ClassTest = RowTest<ClassRow, ProviderTest>;

TEST_P(ClassTest, ListsTheCagesOfTheClassOnly)
{
    start("QBX_DriveCageProvider", oneOfEachType("cages", R"({"deviceID": "t$", "type": $})"));
    Texts paths;
    for (const std::string& tag : row.tags)
        paths.push_back(str(element(row.name, tag)));
    EXPECT_EQ(read("enumerateInstanceNames", pathOf(row.name)), "nothing");
    EXPECT_LIST(got.paths, paths);
    EXPECT_EQ(read("enumerateInstances", pathOf(row.name), {false, true, {}}), "nothing");
    EXPECT_LIST(got.paths, paths);
    EXPECT_LIST(array.events().startingWith("cimom."),
                Texts(paths.size(), "cimom.getClass nobody " + row.name + " FT"))
        << "the class is fetched for each instance";
}

const std::vector<ClassRow> CLASSES = {
    {"QBX_DriveCage", {"t0", "t6", "t-1"}},
    {"QBX_DriveCageDC1Family", {"t1", "t2"}},
    {"QBX_DriveCageDC2Family", {"t3", "t5"}},
    {"QBX_DriveCageDC3Family", {"t4"}},
};
INSTANTIATE_TEST_SUITE_P(Cages, ClassTest, testing::ValuesIn(CLASSES), NameOfRow());

}  // namespace
