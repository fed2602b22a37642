// QBX_MagazineProvider: the properties of magazines and their methods.
#include "ElementTest.h"

namespace
{

// ---- Properties ----

class MagazineInstanceTest : public ElementTest
{
protected:
    /// A magazine of the cage type shows these properties of its own.
    void expectMagazine(int type, const std::string& isLocated, const Texts& own)
    {
        const std::string magazine = R"("magazines": [{"deviceID": "mag 7", "position": 65535,
            "parentDeviceID": "cage 7", "cageElementName": "Cage seven", "cagePosition": 31,
            "elemName": "Magazine seven", "diskCount": 32,
            "stateLoopA": {"actual": 65557, "overall": 3}, "stateLoopB": {"actual": 22},
            "lbod": {"systemLED": 2, "hplLED": 7}, "locateON": )" +
                                     isLocated;
        expectInstance("QBX_MagazineProvider",
                       magazine + ", " + MFG + ", \"cageType\": " + std::to_string(type) + "}]",
                       "QBX_Magazine",
                       {MADE, own, "ElementName=Magazine seven", "LocationType=3",
                        "MediaTypesSupported=29", "OperationalStatus=2", "Position=65535",
                        "RemovalConditions=4", "StateOnLoopA=21", "StateOnLoopB=22", "Tag=mag 7"});
    }
};

TEST_F(MagazineInstanceTest, HasTheFieldsOfItsRecord)
{
    expectMagazine(3, "true", {"CageType=3", "LocateON=TRUE", "SystemLED=2", "HotplugLED=7"});
}

TEST_F(MagazineInstanceTest, OfJbodReportsTheCageTypeOfKbod)
{
    expectMagazine(1, "false", {"CageType=2", "LocateON=FALSE", "SystemLED=2", "HotplugLED=7"});
}

TEST_F(MagazineInstanceTest, OfDC3HasNoLights)
{
    expectMagazine(4, "true", {"CageType=4", "LocateON=TRUE"});
}

// ---- Absent magazines ----

using MagazineProviderTest = ProviderTest;

TEST_F(MagazineProviderTest, LeavesOutAbsentMagazine)
{
    start("QBX_MagazineProvider");
    EXPECT_EQ(read("enumerateInstanceNames", MAGAZINE), "nothing");
    EXPECT_LIST(got.paths, {str(MAGAZINE)});
    EXPECT_EQ(read("getInstance", element("QBX_Magazine", "mag x")),
              "6 QBX_MagazineProvider CIM Object not found.mag x");
}

// ---- Methods ----

using MagazineMethodTest = MethodTest;

/// The longest name of a cage that fits beside a magazine's number, where it has no terminator.
const std::string FULL_NAME(42, 'c');

TEST_P(MagazineMethodTest, CallsTheArray)
{
    const std::string cage = ", \"parentDeviceID\": \"" + FULL_NAME + "\"";
    elements = R"("magazines": [{"deviceID": "mag 0", "position": 65535)" + cage + "}]";
    expectOutcome("QBX_MagazineProvider", MAGAZINE, R"(api_findMagazineIDs("mag 0") = 0)");
}

/// The calls with the cage and the number of the magazine.
const std::string IDS = "(\"" + FULL_NAME + "\", 65535, ";
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
                         NameOfRow());

}  // namespace
