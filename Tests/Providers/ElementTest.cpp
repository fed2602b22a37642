// The providers of elements: which records, which class, which texts, and their actions. The
// properties that the records become are compared over the wire.
#include "ProviderTest.h"

#include <Pegasus/Common/CIMProperty.h>
#include <Pegasus/Provider/CIMInstanceProvider.h>

#include <cstring>
#include <map>

using namespace Pegasus;

namespace
{

/// What a call of a method does with its parameters.
struct MethodCase
{
    const char* method;
    std::string in;
    std::string result;  ///< "deliver TYPE VALUE", or what is thrown
    std::string action;  ///< the API call after the lookup; empty for none
};

class ElementTest : public ProviderTest
{
protected:
    void use(const std::string& name)
    {
        provider = &start<CIMInstanceProvider>(name);
        methods = dynamic_cast<CIMMethodProvider*>(provider);
    }

    std::vector<CIMInstance> instances(const std::string& className)
    {
        InstanceHandler handler;
        provider->enumerateInstances(contextOf(), pathOf(className), false, true, listOf(list),
                                     handler);
        return handler.results;
    }

    /// The paths of the class, which names and instances must agree in.
    Texts paths(const std::string& className)
    {
        PathHandler names;
        provider->enumerateInstanceNames(contextOf(), pathOf(className), names);
        EXPECT_EQ(pathsIn(instances(className)), pathsIn(names.results));
        return pathsIn(names.results);
    }

    /// The value of one key of each path of the class.
    Texts keys(const std::string& className, const std::string& key)
    {
        Texts values;
        for (const std::string& path : paths(className)) {
            const std::size_t from = path.find(key + "=\"") + key.size() + 2;
            values.push_back(path.substr(from, path.find('"', from) - from));
        }
        return values;
    }

    /// The value of one property of each instance of the class.
    Texts values(const std::string& className, const char* property)
    {
        Texts values;
        for (const CIMInstance& instance : instances(className))
            values.push_back(valueOf(instance, property));
        return values;
    }

    /// Every row on that object, with the calls that must follow in order and no others. Actions
    /// fail with -7, which is the method's return value.
    void expectMethods(const CIMObjectPath& path, const std::string& lookup,
                       const std::vector<MethodCase>& rows)
    {
        for (const char* action : {"api_locateCage", "api_upgradeCage", "api_setMagazineLoop",
                                   "api_locateMagazine", "api_locateFCALPort"})
            array.fail(action, -7);
        for (const MethodCase& row : rows) {
            SCOPED_TRACE(std::string(row.method) + " " + row.in);
            array.forget();
            EXPECT_EQ(invoke(*methods, row.method, row.in, path), row.result);
            String key = path.getClassName().getString() + "." + row.method;
            key.toLower();
            Texts calls = {OPEN, "api_authorizeCIMUser(\"joe\", \"" + str(key) + "\") = 0"};
            const auto add = [&calls](const std::string& call) {
                if (!call.empty())
                    calls = calls + Texts{"cim_sem_wait() = 0", call, "cim_sem_post()"};
            };
            add(lookup);
            add(row.action);
            EXPECT_EQ(array.calls(), calls);
        }
    }

    CIMInstanceProvider* provider = nullptr;
    CIMMethodProvider* methods = nullptr;
    std::string list =
        "CreationClassName Tag DeviceID ElementName Location Manufacturer BaseUnit "
        "CurrentReading CageType";
};

// ---- Which records, which class ----

TEST_F(ElementTest, EachElementIsListedUnderTheClassOfItsCageTypeOnly)
{
    const struct
    {
        const char* provider;
        const char* prefix;
        std::map<std::string, Texts> tags;  // by what follows the prefix
    } rows[] = {
        {"QBX_DriveCageProvider",
         "QBX_DriveCage",
         {{"", {"t0", "t6", "t-1"}},
          {"DC1Family", {"t1", "t2"}},
          {"DC2Family", {"t3", "t5"}},
          {"DC3Family", {"t4"}}}},
        {"QBX_FCALCardProvider",
         "QBX_CageInterfaceCard",
         {{"", {"t0", "t6", "t-1"}},
          {"DC1Family", {"t1", "t2"}},
          {"DC2Family", {"t3", "t5"}},
          {"DC3Family", {"t4"}}}},
        {"QBX_MagazineProvider",
         "QBX_Magazine",
         {{"", {"t0", "t1", "t2", "t3", "t4", "t5", "t6", "t-1"}}}},
    };
    const std::map<std::string, std::string> published = {{"t1", "2"}, {"t-1", "65535"}};
    for (const auto& row : rows) {
        use(row.provider);
        array.serve("types");
        for (const auto& [suffix, tags] : row.tags) {
            const std::string className = row.prefix + suffix;
            Texts expected;
            Texts cageTypes;
            for (const std::string& tag : tags) {
                expected.push_back("//array1/root/qbx:" + className + ".CreationClassName=\"" +
                                   className + "\",Tag=\"" + tag + "\"");
                const auto other = published.find(tag);
                cageTypes.push_back("uint16 " +
                                    (other == published.end() ? tag.substr(1) : other->second));
            }
            EXPECT_EQ(paths(className), expected);
            EXPECT_EQ(values(className, "CreationClassName"),
                      Texts(tags.size(), "string " + className));
            EXPECT_EQ(values(className, "CageType"), cageTypes);

            // A class for every instance, as the request asks for it.
            cimom.asked.clear();
            list = "Tag";
            instances(className);
            EXPECT_EQ(cimom.asked, Texts(tags.size(), "getClass nobody " + className + " FT Tag"));
            list = "CreationClassName CageType";
        }
    }
}

TEST_F(ElementTest, SensorsComeFromBothListsAndKeepTheIndexOfTheirPlace)
{
    use("QBX_CageSensorProvider");
    array.serve("types");
    EXPECT_EQ(keys("QBX_CageSensor", "DeviceID"),
              (Texts{"t3-sensor0", "t5-sensor0", "p3-sensor0", "p5-sensor0"}));

    // Empty places count, places beyond the count do not, and nothing is merged.
    array.serve("sensors");
    const Texts ofCages = {"a-sensor0", "a-sensor2", "a-sensor4", "b-sensor0", "c-sensor9"};
    const Texts ofSupplies = {"b-sensor1", "a-sensor0", std::string(65, 'z') + "-sensor0"};
    EXPECT_EQ(keys("QBX_CageSensor", "DeviceID"), ofCages + ofSupplies);
    EXPECT_EQ(paths("QBX_CageSensor").at(0),
              "//array1/root/qbx:QBX_CageSensor.CreationClassName=\"QBX_CageSensor\","
              "DeviceID=\"a-sensor0\",SystemCreationClassName=\"QBX_StorageSystem\","
              "SystemName=\"System One\"");

    cimom.asked.clear();
    instances("QBX_CageSensor");
    EXPECT_EQ(cimom.asked.size(), 1u) << "the class is fetched once";

    array.failAfterwards("api_getCagesPS_Cached", 1);
    EXPECT_EQ(keys("QBX_CageSensor", "DeviceID"), ofCages);
    array.mend();
    array.fail("api_getCages_Cached", 1);
    EXPECT_EQ(keys("QBX_CageSensor", "DeviceID"), ofSupplies);

    cimom::ObjectManager::setCurrent(nullptr);
    array.forget();
    EXPECT_NE(thrownBy([&] { instances("QBX_CageSensor"); }), "nothing");
    EXPECT_EQ(array.calls(), Texts{OPEN}) << "the class comes before the array";
}

TEST_F(ElementTest, TheCountOfSensorsIsTheArraysWord)
{
    // An eleventh sensor lies in what follows the record: the next cage's name.
    use("QBX_CageSensorProvider");
    array.serve("types");
    array.editCages = [](api_CageList_t& cages) {
        cages.cages[3].u.lbod.sensCount = 11;
        std::memset(cages.cages[4].deviceID, 'x', sizeof(cages.cages[4].deviceID));
    };
    EXPECT_EQ(keys("QBX_CageSensor", "DeviceID").at(1), "t3-sensor10");
    EXPECT_EQ(values("QBX_CageSensor", "CurrentReading").at(1), "uint16 30840");
}

// ---- Texts ----

TEST_F(ElementTest, TextsAreReadToTheEndOfTheirFieldAndCleaned)
{
    // The location of each cage says how its element name must read.
    use("QBX_DriveCageProvider");
    array.serve("texts");
    const Texts names = values("QBX_DriveCageDC1Family", "ElementName");
    EXPECT_EQ(names.size(), 20u);
    EXPECT_EQ(names, values("QBX_DriveCageDC1Family", "Location"));
    EXPECT_EQ(names.at(1),
              "string a\xEF\xBF\xBD\xEF\xBF\xBD"
              "b");
}

TEST_F(ElementTest, UnitsAreOneCharacterOrNone)
{
    use("QBX_CageSensorProvider");
    array.serve("units");
    EXPECT_EQ(values("QBX_CageSensor", "BaseUnit"),
              (Texts{"string C", "string ", "string \xC2\xB0", "string \xC3\xBF", "string \x7F",
                     "string \xEF\xBF\xBD", "string \t"}));
}

// ---- One element ----

TEST_F(ElementTest, GetInstanceDeliversTheFirstThatMatchesTheWholePath)
{
    const std::string dc2 = "QBX_DriveCageDC2Family";
    const std::string notFound = "6 QBX_DriveCageProvider CIM Object not found.";
    const std::pair<CIMObjectPath, std::string> rows[] = {
        {pathOf(dc2, {{"CreationClassName", dc2}, {"Tag", "cage a"}}), "string JB_LBOD"},
        {pathOf(dc2, {{"CreationClassName", dc2}, {"Tag", "Cage a"}}), notFound + "Cage a"},
        {pathOf(dc2, {{"Tag", "cage a"}}), notFound + "cage a"},
        {pathOf(dc2, {{"CreationClassName", dc2}, {"Tag", ""}}), notFound},
        {pathOf(dc2, {{"Tag", "first"}, {"TAG", "last"}}), notFound + "first"},
    };
    use("QBX_DriveCageProvider");
    array.serve("associations");
    for (const auto& [path, result] : rows) {
        InstanceHandler handler;
        const std::string thrown = thrownBy([&, &path = path] {
            provider->getInstance(contextOf(), path, false, false, CIMPropertyList(), handler);
        });
        if (thrown != "nothing")
            EXPECT_EQ(thrown, result) << str(path);
        else
            EXPECT_EQ(valueOf(handler.results.at(0), "CageType"), "uint16 3")
                << "of two, the first";
    }
}

// ---- Methods ----

const std::string DONE = "deliver sint32 -7";
const std::string MISMATCH = "type mismatch";

TEST_F(ElementTest, MethodsOfCages)
{
    const std::string file = "FileName=str:/tmp/fw.bin ";
    const std::string noFile = "4 QBX_DriveCageProvider:Locate parameter not found: FileName";
    const std::string noPort = "4 QBX_DriveCageProvider:Locate parameter not found: IsPortA";
    const std::string nullTimer = "LocateTimer=u16:null ";
    use("QBX_DriveCageProvider");
    array.serve("one");
    expectMethods(
        pathOf("QBX_DriveCageDC1Family", {{"Tag", "first"}, {"TAG", "cage0"}}),
        "api_findCageName_Cached(\"cage0\") = 0",
        {
            {"Locate", "LocateTimer=u16:65535", DONE, "api_locateCage(\"cage0\", 65535) = -7"},
            {"lOCATE", "locatetimer=u16:5", DONE, "api_locateCage(\"cage0\", 5) = -7"},
            {"Locate", file, DONE, "api_locateCage(\"cage0\", 0) = -7"},
            {"Locate", nullTimer, DONE, "api_locateCage(\"cage0\", 0) = -7"},
            {"Locate", nullTimer + "LocateTimer=u16:9", DONE, "api_locateCage(\"cage0\", 9) = -7"},
            {"Locate", "LocateTimer=u32:5", MISMATCH, ""},
            {"Upgrade", file + "isporta=bool:false", DONE,
             "api_upgradeCage(\"cage0\", 0, \"/tmp/fw.bin\") = -7"},
            {"UPGRADE", "IsPortA=bool:true " + file, DONE,
             "api_upgradeCage(\"cage0\", 1, \"/tmp/fw.bin\") = -7"},
            {"Upgrade", "FILENAME=str: IsPortA=bool:false", DONE,
             "api_upgradeCage(\"cage0\", 0, \"\") = -7"},
            {"Upgrade", "", noFile, ""},
            {"Upgrade", "FileName=str:null IsPortA=bool:false", noFile, ""},
            {"Upgrade", "FileName=str:null " + file + "IsPortA=bool:false", noFile, ""},
            {"Upgrade", file, noPort, ""},
            {"Upgrade", file + "IsPortA=bool:null IsPortA=bool:false", noPort, ""},
            {"Upgrade", file + "IsPortA=u8:1", MISMATCH, ""},
            {"Explode", file, "deliver sint32 0", ""},
        });
}

TEST_F(ElementTest, MethodsOfMagazines)
{
    array.editMagazineIDs = [](api_MagazineIDs_t& ids) {
        std::memset(ids.cageName, 'c', sizeof(ids.cageName));  // no terminator
    };
    const std::string target = "(\"" + std::string(42, 'c') + "\", 65535, ";
    const std::string loop = "api_setMagazineLoop" + target;
    const std::string light = "api_locateMagazine" + target;
    const std::string missing = "4 QBX_MagazineProvider:SetLoopState parameter not found: IsOnloop";
    const std::string on = "IsOnloop=bool:true ";
    use("QBX_MagazineProvider");
    array.serve("one");
    expectMethods(
        pathOf("QBX_Magazine", {{"Tag", "mag 0"}}), "api_findMagazineIDs(\"mag 0\") = 0",
        {
            {"SetLoopState", "isONLOOP=bool:false", DONE, loop + "0, 2) = -7"},
            {"setloopSTATE", "isporta=bool:true " + on, DONE, loop + "1, 0) = -7"},
            {"SetLoopState", on + "IsPortA=bool:false", DONE, loop + "1, 1) = -7"},
            {"SetLoopState", on + "IsPortA=bool:null", DONE, loop + "1, 2) = -7"},
            {"SetLoopState", on + "IsPortA=bool:null IsPortA=bool:true", DONE, loop + "1, 0) = -7"},
            {"SetLoopState", "", missing, ""},
            {"SetLoopState", "IsOnloop=bool:null " + on, missing, ""},
            {"SetLoopState", "IsOnloop=u16:1", MISMATCH, ""},
            {"SetLoopState", on + "IsPortA=str:A", MISMATCH, ""},
            {"Locate", "LOCATETIMER=u16:65535", DONE, light + "65535) = -7"},
            {"LOCATE", on, DONE, light + "0) = -7"},
            {"Locate", "LocateTimer=u16:null LocateTimer=u16:3", DONE, light + "3) = -7"},
            {"Locate", "LocateTimer=s16:3", MISMATCH, ""},
            {"Eject", on, "deliver sint32 0", ""},
        });
}

TEST_F(ElementTest, MethodsOfInterfaceCards)
{
    const std::string locate = "api_locateFCALPort(\"cage0\", ";
    const std::string lookup = "api_findCageNameForFCAL(\"card 0\") = 0";
    const std::string missing = "4 QBX_FCALCardProvider:Locate parameter not found: Port";
    use("QBX_FCALCardProvider");
    array.serve("one");
    for (const char* family : {"", "DC1Family", "dc2FAMILY"}) {
        expectMethods(
            pathOf(std::string("QBX_CageInterfaceCard") + family, {{"Tag", "card 0"}}), lookup,
            {
                {"Locate", "LocateTimer=u16:65535 Port=u16:1", DONE, locate + "1, 65535) = -7"},
                {"lOCATE", "PORT=u16:65535 locatetimer=u16:2", DONE, locate + "65535, 2) = -7"},
                {"Locate", "Port=u16:1 Port=u16:2", DONE, locate + "1, 0) = -7"},
                {"Locate", "LocateTimer=u16:null Port=u16:1 LocateTimer=u16:4", DONE,
                 locate + "1, 4) = -7"},
                {"Locate", "LocateTimer=u16:5", missing, ""},
                {"Locate", "Port=u16:null Port=u16:1", missing, ""},
                {"Locate", "Port=u8:1", MISMATCH, ""},
                {"Locate", "LocateTimer=bool:true Port=u16:1", MISMATCH, ""},
                {"Reset", "Port=u16:1", "deliver sint32 0", ""},
            });
    }
    const CIMObjectPath dc3 = pathOf("QBX_CageInterfaceCarddc3Family", {{"Tag", "card 0"}});
    expectMethods(
        dc3, "",
        {{"LOCATE", "Port=u16:1", "7 QBX_FCALCardProvider does not support invokeMethod.", ""}});
    expectMethods(dc3, lookup, {{"Reset", "", "deliver sint32 0", ""}});
    array.fail("api_authorizeCIMUser", 1);
    EXPECT_EQ(invoke(*methods, "Locate", "", dc3), "2 Insufficient generic privilege");
}

TEST_F(ElementTest, NamesOfCardsAreListedForAnybody)
{
    use("QBX_FCALCardProvider");
    array.serve("types");
    array.fail("api_qbxOpenForCimserver", 1);
    PathHandler handler;
    provider->enumerateInstanceNames(OperationContext(), pathOf("qbx_cageinterfacecardDC3FAMILY"),
                                     handler);
    EXPECT_EQ(handler.steps, (Texts{"processing", "deliver 1", "complete"}));
    EXPECT_EQ(array.calls(), reading("api_getFCALsNoMfg_Cached"));
}

// ---- Modification of cages ----

TEST_F(ElementTest, OnlyTheLocationOfACageCanBeModified)
{
    const std::string set = "api_setCageLocation(\"cage0\", \"";
    const std::string location = "Location=str:Row5";
    const std::string both = "ElementName=str:x Location=str:Row5";
    const std::string notSupported = "7 QBX_DriveCageProvider does not support modifyInstance.";
    const std::string invalid = "4 Invalid parameter: ElementName";
    const struct
    {
        std::string properties;
        const char* list;  // null: no list
        std::string thrown;
        std::string written;
    } rows[] = {
        {location, nullptr, "nothing", set + "Row5\") = 99"},
        {both, "Location", "nothing", set + "Row5\") = 99"},
        {"location=str:Row6", "LOCATION", "nothing", set + "Row6\") = 99"},
        {location, "Location location", "nothing", set + "Row5\") = 99"},
        {both, nullptr, invalid, ""},
        {both, "Location ElementName", invalid, ""},
        {location, "ElementName Location", "nothing", set + "Row5\") = 99"},
        {location, "Model Tag", notSupported, ""},
        {"ElementName=str:x", "Location", notSupported, ""},
        {"", nullptr, "nothing", set + "\") = 99"},
        {location, "", "nothing", set + "Row5\") = 99"},
        {"Location=str:null", nullptr, "nothing", set + "\") = 99"},
        {"Location=u16:1", nullptr, MISMATCH, ""},
    };
    const Texts opening = {
        OPEN, "api_authorizeCIMUser(\"joe\", \"qbx_drivecagedc2family.modifyinstance\") = 0"};
    const Texts lookup = {"cim_sem_wait() = 0", "api_findCageName_Cached(\"cage0\") = 0",
                          "cim_sem_post()"};
    const CIMObjectPath path = pathOf("QBX_DriveCageDC2Family", {{"Tag", "cage0"}});
    use("QBX_DriveCageProvider");
    array.serve("one");
    array.fail("api_setCageLocation", 99);  // its result is ignored
    for (const auto& row : rows) {
        SCOPED_TRACE(row.properties + " by " + (row.list == nullptr ? "no list" : row.list));
        CIMInstance instance(path.getClassName());
        const Array<CIMParamValue> properties = parameters(row.properties);
        for (Uint32 i = 0; i < properties.size(); ++i)
            instance.addProperty(
                CIMProperty(CIMName(properties[i].getParameterName()), properties[i].getValue()));
        PlainHandler handler;
        array.forget();
        EXPECT_EQ(thrownBy([&] {
                      provider->modifyInstance(
                          contextOf(), path, instance, false,
                          row.list == nullptr ? CIMPropertyList() : listOf(row.list), handler);
                  }),
                  row.thrown);
        EXPECT_EQ(handler.steps, Texts{}) << "the handler is left alone";
        const bool isLookedFor = !row.written.empty() || row.thrown == MISMATCH;
        EXPECT_EQ(array.calls(), opening + (isLookedFor ? lookup : Texts{}) +
                                     (row.written.empty() ? Texts{} : Texts{row.written}));
        EXPECT_EQ(array.log().front(), lineOf("QBX_DriveCageProvider", "modifyInstance>"));
        EXPECT_EQ(array.log().back() == lineOf("QBX_DriveCageProvider", "modifyInstance<"),
                  row.thrown == "nothing");
    }
}

}  // namespace
