// QBX_DriveCageProvider: the properties of cages, their methods and their modification.
#include "ElementTest.h"

#include "QBX_DriveCageProvider.h"

namespace
{

// ---- Properties ----

/// A cage with another value in every field that all types have; it shows as CAGE_COMMON.
api_Cage_t cageOf(jb_type_e type)
{
    api_Cage_t cage = {};
    setText(cage.deviceID, "cage 7");
    setText(cage.elementName, "Cage seven");
    cage.position = 65535;
    setMade(cage.mfg);
    cage.wwn = 0x1A2B;
    setText(cage.location, "Row 5");
    cage.type = type;
    cage.subType = JB_SUBTYP_UNKNOWN;
    cage.loopSplit = type != JB_DC3;
    cage.chainPosA = 11;
    cage.chainPosB = 12;
    cage.locateON = type == JB_DC3;
    cage.cimState = API_STATE_LOST_COMMUNICATION;
    cage.overallState = ES_FAILED;
    return cage;
}

// clang-format off
const Texts CAGE_COMMON = {  // the schema sets RemovalConditions
    MADE, "CageSubType=65535", "ChainPositionLoopA=11", "ChainPositionLoopB=12",
    "ChassisPackageType=22", "ChassisTypeDescription=Drive Cage", "ElementName=Cage seven",
    "Location=Row 5", "MultipleSystemSupport=2", "Name=0000000000001A2B", "OperationalStatus=13",
    "Position=65535", "RackMountable=2", "RemovalConditions=2", "Tag=cage 7"};
// clang-format on

void expectCage(const api_Cage_t& cage, const std::string& className, const Texts& own)
{
    expectProperties<QBX_DriveCageProvider>(cage, className, {CAGE_COMMON, own});
}

TEST(DriveCageInstance, DC2FamilyHasFirmwareAndProcessor)
{
    for (const jb_type_e type : {JB_LBOD, JB_MBOD}) {
        api_Cage_t cage = cageOf(type);
        setText(cage.u.lbod.fwVersion, "1.2");
        cage.u.lbod.fwState = {65536 + 21, ES_FAILED};
        cage.u.lbod.cpuState = {22, ES_FAILED};
        expectCage(cage, "QBX_DriveCageDC2Family",
                   {"CageType=" + std::to_string(type), "FirmwareVersion=1.2", "FirmwareStatus=21",
                    "CPUState=22", "LocateON=FALSE", "LoopSplit=TRUE"});
    }
}

TEST(DriveCageInstance, DC3FamilyHasEnclosureServices)
{
    api_Cage_t cage = cageOf(JB_DC3);
    cage.u.sbod.tempState = {21, ES_FAILED};
    cage.u.sbod.tempValue = 22;
    cage.u.sbod.tempThresh = {23, ES_FAILED};
    cage.u.sbod.opPanelState = {24, ES_FAILED};
    cage.u.sbod.audAlarmState = {25, ES_FAILED};
    cage.u.sbod.enclosureID = 255;
    expectCage(
        cage, "QBX_DriveCageDC3Family",
        {"CageType=4", "LocateON=TRUE", "LoopSplit=FALSE", "TempSensorState=21",
         "TempSensorValue=22", "OperatorPanelState=24", "AudibleAlarmState=25", "EnclosureID=255"});
}

TEST(DriveCageInstance, DC1FamilyHasItsSideAndReportsOneCageType)
{
    for (const jb_type_e type : {JB_JBOD, JB_KBOD}) {
        api_Cage_t cage = cageOf(type);
        cage.u.kbod.isLeft = 1;
        expectCage(cage, "QBX_DriveCageDC1Family",
                   {"CageType=2", "LocateON=FALSE", "LoopSplit=TRUE", "IsLeftSide=TRUE",
                    "IsRightSide=FALSE"});
    }
}

TEST(DriveCageInstance, UnknownTypesHaveTheirSide)
{
    for (const int type : {0, 6, 65535}) {
        api_Cage_t cage = cageOf(jb_type_e(type));
        cage.u.kbod.isRight = 1;
        expectCage(cage, "QBX_DriveCage",
                   {"CageType=" + std::to_string(type), "LocateON=FALSE", "LoopSplit=TRUE",
                    "IsLeftSide=FALSE", "IsRightSide=TRUE"});
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
const std::string BAD_CHARACTER =
    "4 Invalid parameter: Location: character 4 is U+001F, which XML cannot carry";

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
    {"CharacterThatNoReplyCanCarry", {string("Location", "Row\x1F")}, NO_LIST, BAD_CHARACTER},
};
INSTANTIATE_TEST_SUITE_P(DriveCage, ModificationTest, testing::ValuesIn(MODIFICATIONS),
                         NameOfRow());

}  // namespace
