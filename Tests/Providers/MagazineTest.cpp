// The magazine provider: its instances' properties, absent magazines, its methods.
#include "ProviderTest.h"

#include "QBX_MagazineProvider.h"

using namespace Pegasus;

namespace
{

class MagazineTest : public ElementTest<QBX_MagazineProvider>
{
protected:
    MagazineTest() : ElementTest("QBX_MagazineProvider") {}
};

TEST_F(MagazineTest, PropertiesComeFromTheRecord)
{
    api_Magazine_t record = magazine(std::string(65, 'm'), "cage0", JB_MBOD);
    record.position = 65535;
    put(record.elemName, std::string(32, 'e'));
    put(record.cageElementName, "not this");
    put(record.mfg.vendor, std::string(32, 'v'));
    put(record.mfg.model, std::string(65, 'o'));
    put(record.mfg.serial, std::string(32, 's'));
    record.stateLoopA = {0x10001, ES_FAILED};
    record.stateLoopB = {0xFFFF, ES_FAILED};
    record.locateON = 1;
    record.u.lbod.systemLED = LED_STATE_BLUE_BLINKING;
    record.u.lbod.hplLED = LED_STATE_OFF;
    api.magazines = {record};
    Values expected = {
        {"CreationClassName", "string QBX_Magazine"},
        {"Tag", "string " + std::string(65, 'm')},
        {"Position", "uint16 65535"},
        {"ElementName", "string " + std::string(32, 'e')},
        {"CageType", "uint16 5"},
        {"Manufacturer", "string " + std::string(32, 'v')},
        {"Model", "string " + std::string(65, 'o')},
        {"SerialNumber", "string " + std::string(32, 's')},
        {"LocationType", "uint16 3"},
        {"MediaTypesSupported", "uint16[] 29 "},
        {"RemovalConditions", "uint16 4"},
        {"StateOnLoopA", "uint16 1"},
        {"StateOnLoopB", "uint16 65535"},
        {"LocateON", "boolean TRUE"},
        {"SystemLED", "uint16 7"},
        {"HotplugLED", "uint16 1"},
        {"OperationalStatus", "uint16[] 2 "},
    };
    api.events.clear();
    EXPECT_EQ(valuesOf(instances("QBX_Magazine").at(0)), expected);
    const Texts log = api.log(4);
    EXPECT_EQ(Texts(log.begin() + 2, log.end() - 2),
              (Texts{"-->QBX_MagazineProvider::buildInstance()\n",
                     "-->QBX_Common::_buildInstanceSkeleton()\n",
                     "<--QBX_Common::_buildInstanceSkeleton()\n",
                     "<--QBX_MagazineProvider::buildInstance()\n"}));

    // A DC3 cage has no such lights: the same bytes mean something else there.
    api.magazines[0].cageType = JB_DC3;
    expected["CageType"] = "uint16 4";
    expected.erase("SystemLED");
    expected.erase("HotplugLED");
    EXPECT_EQ(valuesOf(instances("qbx_MAGAZINE").at(0)), expected);
}

TEST_F(MagazineTest, EveryCageTypeHasMagazinesOfTheOneClass)
{
    const std::pair<int, const char*> types[] = {
        {0, "uint16 0"}, {1, "uint16 2"}, {2, "uint16 2"},     {3, "uint16 3"},
        {4, "uint16 4"}, {5, "uint16 5"}, {-1, "uint16 65535"}};
    for (const auto& [type, published] : types) {
        api.magazines = {magazine("m", "c", type)};
        const std::vector<CIMInstance> found = instances("QBX_Magazine");
        ASSERT_EQ(found.size(), 1u) << type;
        EXPECT_EQ(valueOf(found[0], "CageType"), published);
        EXPECT_EQ(valueOf(found[0], "SystemLED"), type == JB_DC3 ? "uint16 null" : "uint16 0");
        EXPECT_EQ(valueOf(found[0], "LocateON"), "boolean FALSE");
    }
}

TEST_F(MagazineTest, AbsentMagazinesAreNowhere)
{
    api.magazines = {magazine("m 0", "c", 3), magazine("m 1", "c", 3), magazine("m 2", "c", 3)};
    api.magazines[1].isAbsent = 1;
    const std::string path =
        "//array1/root/qbx:QBX_Magazine.CreationClassName=\"QBX_Magazine\",Tag=";
    const Texts present = {path + "\"m 0\"", path + "\"m 2\""};
    EXPECT_EQ(names("QBX_Magazine"), present);
    Texts built;
    for (const CIMInstance& instance : instances("QBX_Magazine"))
        built.push_back(str(instance.getPath()));
    EXPECT_EQ(built, present);
    const auto keys = [](const char* tag) {
        return Keys{{"CreationClassName", "QBX_Magazine"}, {"Tag", tag}};
    };
    EXPECT_EQ(get(pathOf("QBX_Magazine", keys("m 2"))), present[1]);
    EXPECT_EQ(get(pathOf("QBX_Magazine", keys("m 1"))),
              "6 QBX_MagazineProvider CIM Object not found.m 1");
}

TEST_F(MagazineTest, EachInstanceIsBuiltFromItsClassAsTheRequestAskedForIt)
{
    api.magazines = {magazine("a", "c", 3), magazine("b", "c", 1)};
    InstanceHandler handler;
    provider.enumerateInstances(contextOf(), pathOf("QBX_Magazine"), true, false, listOf({"Tag"}),
                                handler);
    EXPECT_EQ(cimom.asked, Texts(2, "getClass nobody QBX_Magazine TF Tag"));
    EXPECT_EQ(valueOf(handler.results.at(1), "Tag"), "string b");
    EXPECT_EQ(valueOf(handler.results.at(1), "CageType"), "absent");
}

TEST_F(MagazineTest, MethodsByTheirParameters)
{
    api.magazineIDs.magazine = 65535;
    put(api.magazineIDs.cageName, std::string(42, 'c'));  // fills the field
    const std::string target = "(" + std::string(42, 'c') + ", 65535, ";
    const std::string loop = "api_setMagazineLoop" + target;
    const std::string light = "api_locateMagazine" + target;
    const std::string done = "deliver sint32 -7";
    const std::string missing = "4 QBX_MagazineProvider:SetLoopState parameter not found: IsOnloop";
    const Named on = {"IsOnloop", true};
    const Named off = {"isONLOOP", false};
    const Named nullOn = {"IsOnloop", nullOf(CIMTYPE_BOOLEAN)};
    const Named nullPort = {"IsPortA", nullOf(CIMTYPE_BOOLEAN)};
    const Named nullTimer = {"LocateTimer", nullOf(CIMTYPE_UINT16)};
    expectMethods(
        pathOf("QBX_Magazine", {{"Tag", "m"}}), "api_findMagazineIDs(m)",
        {
            {"no port", "SetLoopState", parameters({off}), done, loop + "0, 2)"},
            {"port A", "setloopSTATE", parameters({{"isporta", true}, on}), done, loop + "1, 0)"},
            {"port B", "SetLoopState", parameters({on, {"IsPortA", false}}), done, loop + "1, 1)"},
            {"null port", "SetLoopState", parameters({on, nullPort}), done, loop + "1, 2)"},
            {"null, then a port", "SetLoopState", parameters({on, nullPort, {"IsPortA", false}}),
             done, loop + "1, 1)"},
            {"given twice", "SetLoopState", parameters({off, on}), done, loop + "0, 2)"},
            {"no parameters", "SetLoopState", {}, missing, ""},
            {"port only", "SetLoopState", parameters({{"IsPortA", true}}), missing, ""},
            {"null state", "SetLoopState", parameters({nullOn}), missing, ""},
            {"null, then a state", "SetLoopState", parameters({nullOn, on}), missing, ""},
            {"wrong state", "SetLoopState", parameters({{"IsOnloop", Uint16(1)}}), "type mismatch",
             ""},
            {"wrong port", "SetLoopState", parameters({on, {"IsPortA", String("A")}}),
             "type mismatch", ""},
            {"timer", "Locate", parameters({{"LOCATETIMER", Uint16(65535)}}), done,
             light + "65535)"},
            {"no timer", "LOCATE", parameters({on}), done, light + "0)"},
            {"null timer", "Locate", parameters({nullTimer}), done, light + "0)"},
            {"null, then a timer", "Locate", parameters({nullTimer, {"LocateTimer", Uint16(3)}}),
             done, light + "3)"},
            {"wrong timer", "Locate", parameters({{"LocateTimer", Sint16(3)}}), "type mismatch",
             ""},
            {"unknown method", "Eject", parameters({on}), "deliver sint32 0", ""},
        });
}

}  // namespace
