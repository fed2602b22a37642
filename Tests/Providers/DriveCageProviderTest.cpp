// QBX_DriveCageProvider: the properties of cages, their methods and their modification.
#include "ElementTest.h"

namespace
{

// ---- Properties ----

class DriveCageInstanceTest : public ElementTest
{
protected:
    /// A cage of the type with these fields of its own shows these properties of its own.
    void expectCage(int type, const std::string& fields, const std::string& className,
                    const Texts& own)
    {
        const std::string cage = R"("cages": [{"deviceID": "cage 7", "elementName": "Cage seven",
            "position": 65535, "wwn": "0x1A2B", "location": "Row 5", "subType": -1,
            "loopSplit": true, "chainPosA": 11, "chainPosB": 12, "cimState": 13,
            "overallState": 3, "type": )" +
                                 std::to_string(type);
        const Texts common = {MADE,
                              "CageSubType=65535",
                              "ChainPositionLoopA=11",
                              "ChainPositionLoopB=12",
                              "ChassisPackageType=22",
                              "ChassisTypeDescription=Drive Cage",
                              "ElementName=Cage seven",
                              "Location=Row 5",
                              "LoopSplit=TRUE",
                              "MultipleSystemSupport=2",
                              "Name=0000000000001A2B",
                              "OperationalStatus=13",
                              "Position=65535",
                              "RackMountable=2",
                              "RemovalConditions=2",
                              "Tag=cage 7"};
        expectInstance("QBX_DriveCageProvider", cage + ", " + MFG + ", " + fields + "}]", className,
                       {common, own});
    }
};

TEST_F(DriveCageInstanceTest, DC2FamilyHasFirmwareAndProcessor)
{
    for (const int type : {3, 5}) {
        expectCage(type,
                   R"("lbod": {"fwVersion": "1.2", "fwState": {"actual": 65557, "overall": 3},
                               "cpuState": {"actual": 22, "overall": 3}})",
                   "QBX_DriveCageDC2Family",
                   {"CageType=" + std::to_string(type), "LocateON=FALSE", "FirmwareVersion=1.2",
                    "FirmwareStatus=21", "CPUState=22"});
    }
}

TEST_F(DriveCageInstanceTest, DC3FamilyHasEnclosureServices)
{
    expectCage(4,
               R"("locateON": true, "sbod": {"tempState": {"actual": 21}, "tempValue": 22,
                  "tempThresh": {"actual": 23}, "opPanelState": {"actual": 24},
                  "audAlarmState": {"actual": 25}, "enclosureID": 255})",
               "QBX_DriveCageDC3Family",
               {"CageType=4", "LocateON=TRUE", "TempSensorState=21", "TempSensorValue=22",
                "OperatorPanelState=24", "AudibleAlarmState=25", "EnclosureID=255"});
}

TEST_F(DriveCageInstanceTest, DC1FamilyHasItsSideAndReportsOneCageType)
{
    for (const int type : {1, 2}) {
        expectCage(type, R"("kbod": {"isLeft": true})", "QBX_DriveCageDC1Family",
                   {"CageType=2", "LocateON=FALSE", "IsLeftSide=TRUE", "IsRightSide=FALSE"});
    }
}

TEST_F(DriveCageInstanceTest, UnknownTypesHaveTheirSide)
{
    for (const int type : {0, 6, 65535}) {
        expectCage(type, R"("kbod": {"isRight": true})", "QBX_DriveCage",
                   {"CageType=" + std::to_string(type), "LocateON=FALSE", "IsLeftSide=FALSE",
                    "IsRightSide=TRUE"});
    }
}

// ---- Single instances ----

using DriveCageProviderTest = ProviderTest;

TEST_F(DriveCageProviderTest, GetInstanceDeliversTheFirstThatMatches)
{
    start("QBX_DriveCageProvider", R"("cages": [{"deviceID": "cage 0", "type": "JB_LBOD"},
                                                {"deviceID": "cage 0", "type": "JB_MBOD"}])");
    EXPECT_EQ(read("getInstance", CAGE), "nothing");
    ASSERT_EQ(got.instances.size(), 1u);
    EXPECT_EQ(valueOf(got.instances[0], "CageType"), "3");
}

TEST_F(DriveCageProviderTest, GetInstanceNamesTheFirstOfSeveralTagsInItsMessage)
{
    start("QBX_DriveCageProvider");
    EXPECT_EQ(read("getInstance", pathOf("QBX_DriveCage", {{"Tag", "first"}, {"TAG", "last"}})),
              "6 QBX_DriveCageProvider CIM Object not found.first");
}

// ---- Methods ----

using DriveCageMethodTest = MethodTest;

TEST_P(DriveCageMethodTest, CallsTheArray)
{
    expectOutcome("QBX_DriveCageProvider", CAGE, R"(api_findCageName_Cached("cage 0") = 0)");
}

const CIMParamValue FIRMWARE = string("FileName", "/fw.bin");
const CIMParamValue PORT_B = parameter("isporta", false);
const std::string NO_FILE = "4 QBX_DriveCageProvider:Locate parameter not found: FileName";
const std::string NO_PORT = "4 QBX_DriveCageProvider:Locate parameter not found: IsPortA";

// clang-format off
const std::vector<MethodRow> CAGE_METHODS = {
    {"LocateForTheSeconds", "Locate", {timer(65535)}, R"(api_locateCage("cage 0", 65535))"},
    {"LocateWithoutTimer", "Locate", {FIRMWARE}, R"(api_locateCage("cage 0", 0))"},
    {"LocateTimerAfterNull", "Locate", {NULL_TIMER, timer(9)}, R"(api_locateCage("cage 0", 9))"},
    {"UpgradePortB", "Upgrade", {FIRMWARE, PORT_B}, R"(api_upgradeCage("cage 0", 0, "/fw.bin"))"},
    {"UpgradePortA", "UPGRADE", {PORT_A, FIRMWARE}, R"(api_upgradeCage("cage 0", 1, "/fw.bin"))"},
    {"UpgradeFileAfterNull", "Upgrade", {null("FileName", CIMTYPE_STRING), FIRMWARE}, NO_FILE},
    {"UpgradeWithoutPort", "Upgrade", {FIRMWARE}, NO_PORT},
    {"UpgradePortAfterNull", "Upgrade", {FIRMWARE, NULL_PORT_A, PORT_B}, NO_PORT},
    {"UnknownMethodDoesNothing", "Explode", {FIRMWARE}, ""},
};
// clang-format on
INSTANTIATE_TEST_SUITE_P(DriveCage, DriveCageMethodTest, testing::ValuesIn(CAGE_METHODS),
                         NameOfRow());

// ---- Modification ----

TEST_F(DriveCageProviderTest, ModifyInstanceSetsTheLocationOutsideTheSemaphoreIgnoringTheStatus)
{
    start("QBX_DriveCageProvider");
    array.fail("api_setCageLocation", 99);
    EXPECT_EQ(modify(CAGE, {string("Location", "Row5")}), "nothing");
    EXPECT_LIST(
        events(),
        {"4: -->P::modifyInstance()\n", OPEN,
         R"(api_authorizeCIMUser("joe", "qbx_drivecagedc2family.modifyinstance") = 0)",
         readKey("Tag", "cage 0"), underSemaphore(R"(api_findCageName_Cached("cage 0") = 0)"),
         readKey("Location", "Row5"), R"(api_setCageLocation("cage 0", "Row5") = 99)",
         "4: <--P::modifyInstance()\n"});
}

/// A modification: the location that is set, or what is thrown ("4 ...").
struct ModificationRow : Row
{
    Parameters properties;
    Texts list;
    std::string outcome;
};

const Texts NO_LIST = {"(null)"};

using ModificationTest = RowTest<ModificationRow, ProviderTest>;

TEST_P(ModificationTest, SetsTheLocationOrThrows)
{
    start("QBX_DriveCageProvider");
    const bool isThrown = std::isdigit(row.outcome[0]) != 0 || row.outcome == "type mismatch";
    EXPECT_EQ(
        modify(CAGE, row.properties, row.list == NO_LIST ? CIMPropertyList() : listOf(row.list)),
        isThrown ? row.outcome : "nothing");
    const std::string set = R"(api_setCageLocation("cage 0", ")";
    EXPECT_LIST(array.events().startingWith("api_setCageLocation"),
                isThrown ? Texts() : Texts{set + row.outcome + "\") = 0"});
    EXPECT_LIST(array.events().startingWith("handler."), Texts());
}

const CIMParamValue ROW5 = string("Location", "Row5");
const CIMParamValue NAME = string("ElementName", "x");
const std::string NOT_THE_NAME = "4 Invalid parameter: ElementName";
const std::string NO_LOCATION = "7 QBX_DriveCageProvider does not support modifyInstance.";
const std::string FOURTH = "4 Invalid parameter: Location: character 4 is ";
const std::string BAD_CHARACTER = FOURTH + "U+001F, which XML cannot carry";
const std::string NUL_CHARACTER = FOURTH + "U+0000, which XML cannot carry";

const std::vector<ModificationRow> MODIFICATIONS = {
    {"ListHidesOtherProperties", {NAME, ROW5}, {"Location"}, "Row5"},
    {"NamesInAnyCase", {string("location", "Row6")}, {"LOCATION"}, "Row6"},
    {"OtherPropertyWithoutList", {NAME, ROW5}, NO_LIST, NOT_THE_NAME},
    {"OtherPropertyListed", {NAME, ROW5}, {"Location", "ElementName"}, NOT_THE_NAME},
    {"ListedButNotHeld", {ROW5}, {"ElementName", "Location"}, "Row5"},
    {"LocationListedButNotHeld", {NAME}, {"Location"}, NO_LOCATION},
    {"NoProperties", {}, NO_LIST, ""},
    {"EmptyList", {ROW5}, {}, "Row5"},
    {"NullLocation", {null("Location", CIMTYPE_STRING)}, NO_LIST, ""},
    {"LocationOfAnotherType", {uint16("Location", 1)}, NO_LIST, "type mismatch"},
    {"ReplacementAndTab", {string("Location", "\xEF\xBF\xBD\t")}, NO_LIST, "\xEF\xBF\xBD\t"},
    {"NulCharacter", {parameter("Location", String("Row\0", 4))}, NO_LIST, NUL_CHARACTER},
    {"CharacterThatNoReplyCanCarry", {string("Location", "Row\x1F")}, NO_LIST, BAD_CHARACTER},
};
INSTANTIATE_TEST_SUITE_P(DriveCage, ModificationTest, testing::ValuesIn(MODIFICATIONS),
                         NameOfRow());

}  // namespace
