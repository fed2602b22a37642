// QBX_MagazineProvider: the properties of magazines and their methods.
#include "ElementTest.h"

#include "QBX_MagazineProvider.h"

namespace
{

// ---- Properties ----

/// The properties of a magazine with another value in every field.
Texts magazineProperties(jb_type_e type, bool isLocated)
{
    api_Magazine_t magazine = {};
    setText(magazine.deviceID, "mag 7");
    setText(magazine.parentDeviceID, "cage 7");
    magazine.cageType = type;
    magazine.position = 65535;
    setText(magazine.cageElementName, "Cage seven");
    magazine.cagePosition = 31;
    setText(magazine.elemName, "Magazine seven");
    setText(magazine.mfg.vendor, "the vendor");
    setText(magazine.mfg.model, "the model");
    setText(magazine.mfg.serial, "the serial");
    magazine.stateLoopA = {65536 + 21, ES_FAILED};
    magazine.stateLoopB = {22, ES_FAILED};
    magazine.locateON = isLocated;
    magazine.diskCount = 32;
    magazine.u.lbod.systemLED = LED_STATE_GREEN;
    magazine.u.lbod.hplLED = LED_STATE_BLUE_BLINKING;
    const CIMInstance instance =
        QBX_MagazineProvider::buildInstance(storedClass("QBX_Magazine"), magazine, "array1");
    EXPECT_EQ(str(instance.getPath()), str(element("QBX_Magazine", "mag 7")));
    return propertiesOf(instance);
}

const Texts COMMON = {"CreationClassName=QBX_Magazine",
                      "ElementName=Magazine seven",
                      "LocationType=3",
                      "Manufacturer=the vendor",
                      "MediaTypesSupported=29",
                      "Model=the model",
                      "OperationalStatus=2",
                      "Position=65535",
                      "RemovalConditions=4",
                      "SerialNumber=the serial",
                      "StateOnLoopA=21",
                      "StateOnLoopB=22",
                      "Tag=mag 7"};

TEST(MagazineInstance, HasTheFieldsOfItsRecord)
{
    const Texts own = {"CageType=3", "LocateON=TRUE", "SystemLED=2", "HotplugLED=7"};
    EXPECT_LIST(magazineProperties(JB_LBOD, true), (COMMON + own).sorted());
}

TEST(MagazineInstance, OfJbodReportsTheCageTypeOfKbod)
{
    const Texts own = {"CageType=2", "LocateON=FALSE", "SystemLED=2", "HotplugLED=7"};
    EXPECT_LIST(magazineProperties(JB_JBOD, false), (COMMON + own).sorted());
}

TEST(MagazineInstance, OfDC3HasNoLights)
{
    const Texts own = {"CageType=4", "LocateON=TRUE"};
    EXPECT_LIST(magazineProperties(JB_DC3, true), (COMMON + own).sorted());
}

// ---- Absent magazines ----

using MagazineProviderTest = ProviderTest;

TEST_F(MagazineProviderTest, AnAbsentMagazineIsNeitherListedNorFound)
{
    start("QBX_MagazineProvider");
    EXPECT_EQ(read("enumerateInstanceNames", MAGAZINE), "nothing");
    EXPECT_LIST(got.paths, {str(MAGAZINE)});
    EXPECT_EQ(read("getInstance", element("QBX_Magazine", "mag x")),
              "6 QBX_MagazineProvider CIM Object not found.mag x");
}

// ---- Methods ----

using MagazineMethodTest = MethodTest;

TEST_P(MagazineMethodTest, CallsTheArray)
{
    array.editMagazineIDs = [](api_MagazineIDs_t& ids) {
        std::memset(ids.cageName, 'c', sizeof(ids.cageName));  // no terminator
    };
    expectOutcome("QBX_MagazineProvider", MAGAZINE, R"(api_findMagazineIDs("mag 0") = 0)");
}

/// The calls with the cage and the number of the magazine.
const std::string IDS = "(\"" + std::string(42, 'c') + "\", 65535, ";
const std::string SET_LOOP = "api_setMagazineLoop" + IDS;
const std::string LOCATE = "api_locateMagazine" + IDS;

const CIMParamValue ON_LOOP = parameter("IsOnloop", true);
const CIMParamValue OFF_LOOP = parameter("isONLOOP", false);
const CIMParamValue NULL_ON_LOOP = null("IsOnloop", CIMTYPE_BOOLEAN);
const std::string NO_LOOP = "4 QBX_MagazineProvider:SetLoopState parameter not found: IsOnloop";

const std::vector<MethodRow> MAGAZINE_METHODS = {
    {"OffLoopOnBothPorts", "SetLoopState", {OFF_LOOP}, SET_LOOP + "0, 2)"},
    {"OnLoopOnPortA", "setloopSTATE", {PORT_A, ON_LOOP}, SET_LOOP + "1, 0)"},
    {"OnLoopOnPortB", "SetLoopState", {ON_LOOP, parameter("isporta", false)}, SET_LOOP + "1, 1)"},
    {"NullPortIsNoPort", "SetLoopState", {ON_LOOP, NULL_PORT_A}, SET_LOOP + "1, 2)"},
    {"PortAfterNull", "SetLoopState", {ON_LOOP, NULL_PORT_A, PORT_A}, SET_LOOP + "1, 0)"},
    {"SetLoopStateWithoutIsOnloop", "SetLoopState", {}, NO_LOOP},
    {"IsOnloopAfterNull", "SetLoopState", {NULL_ON_LOOP, ON_LOOP}, NO_LOOP},
    {"LocateForTheSeconds", "Locate", {timer(65535)}, LOCATE + "65535)"},
    {"LocateWithoutTimer", "LOCATE", {ON_LOOP}, LOCATE + "0)"},
    {"LocateTimerAfterNull", "Locate", {NULL_TIMER, timer(3)}, LOCATE + "3)"},
    {"UnknownMethodDoesNothing", "Eject", {ON_LOOP}, ""},
};
INSTANTIATE_TEST_SUITE_P(Magazine, MagazineMethodTest, testing::ValuesIn(MAGAZINE_METHODS),
                         nameOfRow);

}  // namespace
