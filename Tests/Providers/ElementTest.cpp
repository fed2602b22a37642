// The providers of elements: which records, which class, which texts, and their actions. The
// properties that the records become are compared over the wire.
#include "ProviderTest.h"

#include <cstring>

namespace
{

class ElementTest : public ProviderTest
{
protected:
    Handler enumerated(const std::string& className)
    {
        Handler handler;
        provider->enumerateInstances(contextOf(), pathOf(className), false, true, listOf(list),
                                     handler);
        return handler;
    }

    /// The value of a property of each instance of the class, or their paths. Names must agree.
    Texts values(const std::string& className, const char* property)
    {
        const Handler found = enumerated(className);
        Handler names;
        provider->enumerateInstanceNames(contextOf(), pathOf(className), names);
        EXPECT_EQ(found.paths, names.paths);
        if (property == PATH) return found.paths;
        Texts values;
        for (const CIMInstance& instance : found.instances) {
            const std::string value = valueOf(instance, property);
            values.push_back(value.substr(value.find(' ') + 1));
        }
        return values;
    }

    static constexpr const char* PATH = nullptr;
    std::string list =
        "CreationClassName Tag DeviceID ElementName Location Manufacturer BaseUnit "
        "CurrentReading CageType";
};

// ---- Which records, which class ----

TEST_F(ElementTest, EachElementIsListedUnderTheClassOfItsCageTypeOnly)
{
    for (const Texts& row : table("classes", 3)) {
        SCOPED_TRACE(row[1]);
        start(row[0], "types");
        const std::string path = "//array1/root/qbx:" + row[1] + ".CreationClassName=\"" + row[1];
        Texts expected;
        Texts cageTypes;
        for (const std::string& tag : split(row[2])) {
            expected.push_back(path + "\",Tag=\"" + tag + "\"");
            const int type = std::stoi(tag.substr(1));
            cageTypes.push_back(std::to_string(Uint16(type == JB_JBOD ? JB_KBOD : type)));
        }
        EXPECT_EQ(values(row[1], PATH), expected);
        EXPECT_EQ(values(row[1], "CageType"), cageTypes);
        EXPECT_EQ(values(row[1], "CreationClassName"), Texts(expected.size(), row[1]));

        // A class for every instance, as the request asks for it.
        list = "Tag";
        cimom.asked.clear();
        enumerated(row[1]);
        EXPECT_EQ(cimom.asked, Texts(expected.size(), "getClass nobody " + row[1] + " FT Tag"));
        list = "CreationClassName CageType";
    }
}

TEST_F(ElementTest, SensorsComeFromBothListsAndKeepTheIndexOfTheirPlace)
{
    start("QBX_CageSensorProvider", "types");
    EXPECT_EQ(values("QBX_CageSensor", "DeviceID"),
              (Texts{"t3-sensor0", "t5-sensor0", "p3-sensor0", "p5-sensor0"}));

    // Empty places count, places beyond the count do not, and nothing is merged.
    array.serve("sensors");
    const Texts ofCages = {"a-sensor0", "a-sensor2", "a-sensor4", "b-sensor0", "c-sensor9"};
    const Texts ofSupplies = {"b-sensor1", "a-sensor0", std::string(65, 'z') + "-sensor0"};
    EXPECT_EQ(values("QBX_CageSensor", "DeviceID"), ofCages + ofSupplies);
    EXPECT_EQ(values("QBX_CageSensor", PATH).at(0),
              "//array1/root/qbx:QBX_CageSensor.CreationClassName=\"QBX_CageSensor\","
              "DeviceID=\"a-sensor0\",SystemCreationClassName=\"QBX_StorageSystem\","
              "SystemName=\"System One\"");

    cimom.asked.clear();
    enumerated("QBX_CageSensor");
    EXPECT_EQ(cimom.asked.size(), 1u) << "the class is fetched once";

    cimom::ObjectManager::current = nullptr;
    array.forget();
    EXPECT_NE(thrownBy([&] { enumerated("QBX_CageSensor"); }), "nothing");
    EXPECT_EQ(array.calls(), Texts{OPEN}) << "the class comes before the array";
}

TEST_F(ElementTest, TheCountOfSensorsIsTheArraysWord)
{
    // An eleventh sensor lies in what follows the record: the next cage's name.
    start("QBX_CageSensorProvider", "types");
    array.editCages = [](api_CageList_t& cages) {
        cages.cages[3].u.lbod.sensCount = 11;
        std::memset(cages.cages[4].deviceID, 'x', sizeof(cages.cages[4].deviceID));
    };
    EXPECT_EQ(values("QBX_CageSensor", "DeviceID").at(1), "t3-sensor10");
    EXPECT_EQ(values("QBX_CageSensor", "CurrentReading").at(1), "30840");
}

// ---- Texts ----

TEST_F(ElementTest, TextsAreReadToTheEndOfTheirFieldAndCleaned)
{
    // The location of each cage says how its element name must read.
    start("QBX_DriveCageProvider", "texts");
    const Texts names = values("QBX_DriveCageDC1Family", "ElementName");
    EXPECT_EQ(names.size(), 20u);
    EXPECT_EQ(names, values("QBX_DriveCageDC1Family", "Location"));
    EXPECT_EQ(names.at(1),
              "a\xEF\xBF\xBD\xEF\xBF\xBD"
              "b");
}

TEST_F(ElementTest, UnitsAreOneCharacterOrNone)
{
    start("QBX_CageSensorProvider", "units");
    EXPECT_EQ(values("QBX_CageSensor", "BaseUnit"),
              (Texts{"C", "", "\xC2\xB0", "\xC3\xBF", "\x7F", "\xEF\xBF\xBD", "\t"}));
}

// ---- One element ----

TEST_F(ElementTest, GetInstanceDeliversTheFirstThatMatches)
{
    start("QBX_DriveCageProvider", "associations");
    Handler handler;
    run("getInstance", at("DriveCageDC2Family cage a"), "", handler);
    EXPECT_EQ(valueOf(handler.instances.at(0), "CageType"), "uint16 3") << "the other is of type 5";
    const CIMObjectPath other =
        pathOf("QBX_DriveCageDC2Family", {{"Tag", "first"}, {"TAG", "last"}});
    EXPECT_EQ(thrownBy([&] { run("getInstance", other, "", handler); }),
              "6 QBX_DriveCageProvider CIM Object not found.first");
}

// ---- Methods ----

TEST_F(ElementTest, MethodsByTheirParameters)
{
    const std::map<std::string, std::pair<const char*, const char*>> targets = {
        {"QBX_DriveCageProvider", {"cage0", "api_findCageName_Cached(\"cage0\") = 0"}},
        {"QBX_MagazineProvider", {"mag 0", "api_findMagazineIDs(\"mag 0\") = 0"}},
        {"QBX_FCALCardProvider", {"card 0", "api_findCageNameForFCAL(\"card 0\") = 0"}},
    };
    array.editMagazineIDs = [](api_MagazineIDs_t& ids) {
        std::memset(ids.cageName, 'c', sizeof(ids.cageName));  // no terminator
    };
    for (const Texts& row : table("methods", 6)) {
        SCOPED_TRACE(row[1] + "." + row[2] + " " + row[3]);
        const auto& [tag, lookup] = targets.at(row[0]);
        start(row[0], "one");
        for (const char* action : {"api_locateCage", "api_upgradeCage", "api_setMagazineLoop",
                                   "api_locateMagazine", "api_locateFCALPort"})
            array.fail(action, -7);
        Handler handler;
        const CIMObjectPath path = pathOf(row[1], {{"Tag", "first"}, {"TAG", tag}});
        const std::string thrown =
            thrownBy([&] { run("invokeMethod", path, row[2] + " " + row[3], handler); });
        if (thrown == "nothing")
            EXPECT_EQ(handler.steps, (Texts{"processing", row[4], "complete"}));
        else
            EXPECT_EQ(handler.steps + Texts{thrown}, Texts{row[4]});
        const std::string key = cased(row[1] + "." + row[2], std::tolower);
        Texts calls = {OPEN, "api_authorizeCIMUser(\"joe\", \"" + key + "\") = 0"};
        for (const std::string& call : {std::string(lookup), row[5]}) {
            // What is not supported is not looked for.
            if (!call.empty() && row[4][0] != '7')
                calls = calls + Texts{"cim_sem_wait() = 0", call, "cim_sem_post()"};
        }
        EXPECT_EQ(array.calls(), calls);
        EXPECT_EQ(array.log().front(), lineOf(row[0], "invokeMethod>", {row[1], row[2]}));
    }
}

// ---- Modification of cages ----

TEST_F(ElementTest, OnlyTheLocationOfACageCanBeModified)
{
    const Texts opening = {
        OPEN, "api_authorizeCIMUser(\"joe\", \"qbx_drivecagedc2family.modifyinstance\") = 0"};
    const Texts lookup = {"cim_sem_wait() = 0", "api_findCageName_Cached(\"cage0\") = 0",
                          "cim_sem_post()"};
    const CIMObjectPath path = pathOf("QBX_DriveCageDC2Family", {{"Tag", "cage0"}});
    start("QBX_DriveCageProvider", "one");
    array.fail("api_setCageLocation", 99);  // its result is ignored
    for (const Texts& row : table("modifications", 4)) {
        SCOPED_TRACE(row[0] + " by " + row[1]);
        const CIMInstance instance = instanceWith(path.getClassName(), row[0]);
        const CIMPropertyList names = row[1] == "none" ? CIMPropertyList() : listOf(row[1]);
        Handler handler;
        array.forget();
        EXPECT_EQ(thrownBy([&] {
                      provider->modifyInstance(contextOf(), path, instance, false, names, handler);
                  }),
                  row[2]);
        EXPECT_EQ(handler.steps, Texts{}) << "the handler is left alone";
        const bool isRefused = row[2].find("QBX") != std::string::npos ||
                               row[2].find("ElementName") != std::string::npos;
        EXPECT_EQ(array.calls(), opening + (isRefused ? Texts{} : lookup) +
                                     (row[3].empty() ? Texts{} : Texts{row[3]}));
        EXPECT_EQ(array.log().front(), lineOf("QBX_DriveCageProvider", "modifyInstance>"));
        EXPECT_EQ(array.log().back() == lineOf("QBX_DriveCageProvider", "modifyInstance<"),
                  row[2] == "nothing");
    }
}

}  // namespace
