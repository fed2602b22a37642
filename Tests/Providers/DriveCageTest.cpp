// The drive cage provider: which cages, which class, which properties, and its actions.
#include "ProviderTest.h"

#include "QBX_DriveCageProvider.h"

using namespace Pegasus;

namespace
{

class DriveCageTest : public ElementTest<QBX_DriveCageProvider>
{
protected:
    DriveCageTest() : ElementTest("QBX_DriveCageProvider") {}

    std::string modify(const Array<CIMProperty>& properties, const CIMPropertyList& list,
                       const CIMObjectPath& path = pathOf("QBX_DriveCageDC2Family",
                                                          {{"Tag", "cage0"}}))
    {
        CIMInstance instance(path.getClassName());
        for (Uint32 i = 0; i < properties.size(); ++i)
            instance.addProperty(properties[i]);
        PlainHandler handler;
        const std::string thrown = thrownBy(
            [&] { provider.modifyInstance(contextOf(), path, instance, false, list, handler); });
        EXPECT_EQ(handler.steps, Texts{}) << "the handler must be left alone";
        return thrown;
    }
};

// ---- Which cages, which class ----

struct TypeCase
{
    int type;
    const char* className;
    const char* cageType;
};

const TypeCase TYPES[] = {
    {0, "QBX_DriveCage", "0"},          {1, "QBX_DriveCageDC1Family", "2"},
    {2, "QBX_DriveCageDC1Family", "2"}, {3, "QBX_DriveCageDC2Family", "3"},
    {4, "QBX_DriveCageDC3Family", "4"}, {5, "QBX_DriveCageDC2Family", "5"},
    {6, "QBX_DriveCage", "6"},          {-1, "QBX_DriveCage", "65535"},
};

TEST_F(DriveCageTest, HardwareTypeSelectsTheClassAndEachCageIsListedUnderItsOwnOnly)
{
    for (const TypeCase& row : TYPES)
        api.cages.push_back(cage(std::to_string(row.type), row.type));
    std::map<std::string, Texts> expected;
    for (const TypeCase& row : TYPES) {
        expected[row.className].push_back("//array1/root/qbx:" + std::string(row.className) +
                                          ".CreationClassName=\"" + row.className + "\",Tag=\"" +
                                          std::to_string(row.type) + "\"");
    }
    for (const auto& [className, paths] : expected) {
        PathHandler names;
        provider.enumerateInstanceNames(contextOf(), pathOf(className), names);
        Texts listed;
        for (const CIMObjectPath& path : names.results)
            listed.push_back(str(path));
        EXPECT_EQ(listed, paths) << className;

        Texts built;
        for (const CIMInstance& instance : instances(className)) {
            built.push_back(str(instance.getPath()));
            EXPECT_EQ(valueOf(instance, "CreationClassName"), "string " + className);
        }
        EXPECT_EQ(built, paths) << className;
    }
}

/// A cage whose every field says something, but those of its family.
api_Cage_t fullCage(int type)
{
    api_Cage_t record = cage("cage0", type);
    put(record.elementName, "Shelf <1> & \"x\"");
    put(record.location, std::string(257, 'L'));
    put(record.mfg.vendor, std::string(32, 'v'));
    put(record.mfg.model, std::string(65, 'm'));
    put(record.mfg.serial, std::string(32, 's'));
    record.position = 65535;
    record.wwn = 0x1A2B;
    record.subType = JB_SUBTYP_UNKNOWN;
    record.loopSplit = 1;
    record.chainPosA = 7;
    record.chainPosB = 65535;
    record.locateON = 1;
    record.cimState = static_cast<api_state_e>(0x10000 + API_STATE_POWER_MODE);
    record.overallState = ES_FAILED;
    return record;
}

/// What such a cage publishes, with the properties of its family.
Values fullValues(const std::string& className, const std::string& cageType, const Values& family)
{
    Values values = {
        {"CreationClassName", "string " + className},
        {"Tag", "string cage0"},
        {"Name", "string 0000000000001A2B"},
        {"ChassisPackageType", "uint16 22"},
        {"ChassisTypeDescription", "string Drive Cage"},
        {"MultipleSystemSupport", "uint16 2"},
        {"RackMountable", "uint16 2"},
        {"ElementName", "string Shelf <1> & \"x\""},
        {"Location", "string " + std::string(257, 'L')},
        {"CageType", "uint16 " + cageType},
        {"CageSubType", "uint16 65535"},
        {"Manufacturer", "string " + std::string(32, 'v')},
        {"Model", "string " + std::string(65, 'm')},
        {"SerialNumber", "string " + std::string(32, 's')},
        {"Position", "uint16 65535"},
        {"LoopSplit", "boolean TRUE"},
        {"ChainPositionLoopA", "uint16 7"},
        {"ChainPositionLoopB", "uint16 65535"},
        {"LocateON", "boolean TRUE"},
        {"OperationalStatus", "uint16[] 18 "},
    };
    values.insert(family.begin(), family.end());
    return values;
}

TEST_F(DriveCageTest, PropertiesComeFromTheRecordAndItsFamilysArm)
{
    for (const TypeCase& row : TYPES) {
        api_Cage_t record = fullCage(row.type);
        Values family;
        if (row.type == JB_LBOD || row.type == JB_MBOD) {
            put(record.u.lbod.fwVersion, std::string(32, 'f'));
            record.u.lbod.fwState = {0x1FFFF, ES_NORMAL};
            record.u.lbod.cpuState = {9, ES_FAILED};
            family = {{"FirmwareVersion", "string " + std::string(32, 'f')},
                      {"FirmwareStatus", "uint16 65535"},
                      {"CPUState", "uint16 9"}};
        } else if (row.type == JB_DC3) {
            record.u.sbod.tempState = {1, ES_NORMAL};
            record.u.sbod.tempValue = 65535;
            record.u.sbod.tempThresh = {99, ES_NORMAL};
            record.u.sbod.opPanelState = {2, ES_NORMAL};
            record.u.sbod.audAlarmState = {0x10003, ES_NORMAL};
            record.u.sbod.enclosureID = 255;
            family = {{"TempSensorState", "uint16 1"},
                      {"TempSensorValue", "uint16 65535"},
                      {"OperatorPanelState", "uint16 2"},
                      {"AudibleAlarmState", "uint16 3"},
                      {"EnclosureID", "uint16 255"}};
        } else {
            record.u.kbod.isRight = 1;
            family = {{"IsLeftSide", "boolean FALSE"}, {"IsRightSide", "boolean TRUE"}};
        }
        api.cages = {record};
        EXPECT_EQ(valuesOf(instances(row.className).at(0)),
                  fullValues(row.className, row.cageType, family))
            << row.type;
    }
}

TEST_F(DriveCageTest, ACageWithoutDataPublishesEmptyTextsAndZeroes)
{
    api.cages = {cage("cage0", JB_KBOD)};
    api.cages[0].wwn = 0xFEDCBA9876543210u;
    api.cages[0].u.kbod.isLeft = 1;
    const CIMInstance instance = instances("QBX_DriveCageDC1Family").at(0);
    const std::pair<const char*, const char*> rows[] = {
        {"Name", "string FEDCBA9876543210"},
        {"ElementName", "string "},
        {"Location", "string "},
        {"CageSubType", "uint16 0"},
        {"Position", "uint16 0"},
        {"LocateON", "boolean FALSE"},
        {"LoopSplit", "boolean FALSE"},
        {"IsLeftSide", "boolean TRUE"},
        {"IsRightSide", "boolean FALSE"},
        {"OperationalStatus", "uint16[] 0 "},
    };
    for (const auto& [name, value] : rows)
        EXPECT_EQ(valueOf(instance, name), value) << name;
}

TEST_F(DriveCageTest, TextFieldsAreReadToTheirEndAndNoFurther)
{
    const struct
    {
        std::string bytes;
        std::string text;
    } cases[] = {
        {std::string(32, 'n'), std::string(32, 'n')},  // fills the field, no terminator
        {"Gr\xC3\xB6\xC3\x9F"
         "e",
         "Gr\xC3\xB6\xC3\x9F"
         "e"},
        {"a\xFF\xFE"
         "b",
         "a\xEF\xBF\xBD\xEF\xBF\xBD"
         "b"},
        {"\xC3", "\xEF\xBF\xBD"},                                  // cut in a sequence
        {"\xC0\x80", "\xEF\xBF\xBD\xEF\xBF\xBD"},                  // overlong
        {"\xED\xA0\x80", "\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD"},  // surrogate
        {"\xF4\x90\x80\x80", "\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD"},
        {"\xF0\x9F\x94\xA5", "\xF0\x9F\x94\xA5"},
    };
    for (const auto& row : cases) {
        api_Cage_t record = cage("cage0", JB_KBOD);
        put(record.elementName, row.bytes);
        record.position = 0x4141;  // what follows the field
        api.cages = {record};
        EXPECT_EQ(valueOf(instances("QBX_DriveCageDC1Family").at(0), "ElementName"),
                  "string " + row.text);
    }
}

// ---- One cage ----

TEST_F(DriveCageTest, GetInstanceMatchesTheWholePath)
{
    api.cages = {cage("cage 0", JB_LBOD), cage("cage 1", JB_LBOD), cage("cage 1", JB_KBOD)};
    const std::string one =
        "//array1/root/qbx:QBX_DriveCageDC2Family."
        "CreationClassName=\"QBX_DriveCageDC2Family\",Tag=\"cage 1\"";
    const std::string dc2 = "QBX_DriveCageDC2Family";
    const struct
    {
        CIMObjectPath path;
        std::string result;
    } cases[] = {
        {pathOf(dc2, {{"CreationClassName", dc2}, {"Tag", "cage 1"}}), one},
        {pathOf(dc2, {{"tag", "cage 1"}, {"CREATIONCLASSNAME", dc2}}, ""), one},
        {pathOf("qbx_drivecagedc2family", {{"CreationClassName", dc2}, {"Tag", "cage 1"}}), one},
        {pathOf(dc2, {{"CreationClassName", dc2}, {"Tag", "Cage 1"}}),
         "6 QBX_DriveCageProvider CIM Object not found.Cage 1"},
        {pathOf(dc2, {{"Tag", "cage 1"}}), "6 QBX_DriveCageProvider CIM Object not found.cage 1"},
        {pathOf(dc2, {{"CreationClassName", dc2}, {"Tag", ""}}),
         "6 QBX_DriveCageProvider CIM Object not found."},
        {pathOf(dc2, {{"Tag", "first"}, {"TAG", "last"}}),
         "6 QBX_DriveCageProvider CIM Object not found.first"},
        {pathOf(dc2, {{"CreationClassName", dc2}}), "4 QBX_DriveCageProvider Tag key not found."},
        {pathOf("QBX_Disk", {{"Tag", "x"}}), "7 QBX_DriveCageProvider Invalid class nameQBX_Disk"},
    };
    for (const auto& row : cases)
        EXPECT_EQ(get(row.path), row.result) << str(row.path);
}

// ---- Methods ----

TEST_F(DriveCageTest, MethodsByTheirParameters)
{
    const Named file = {"FileName", String("/tmp/fw.bin")};
    const Named portB = {"isporta", false};
    const Named noTimer = {"LocateTimer", nullOf(CIMTYPE_UINT16)};
    const std::string done = "deliver sint32 -7";
    const std::string noFile = "4 QBX_DriveCageProvider:Locate parameter not found: FileName";
    const std::string noPort = "4 QBX_DriveCageProvider:Locate parameter not found: IsPortA";
    expectMethods(
        pathOf("QBX_DriveCageDC1Family", {{"Tag", "first"}, {"TAG", "cage0"}}),
        "api_findCageName_Cached(cage0)",
        {
            {"timer", "Locate", parameters({{"LocateTimer", Uint16(65535)}}), done,
             "api_locateCage(cage0, 65535)"},
            {"other case", "lOCATE", parameters({{"locatetimer", Uint16(5)}}), done,
             "api_locateCage(cage0, 5)"},
            {"no timer", "Locate", parameters({file}), done, "api_locateCage(cage0, 0)"},
            {"null timer", "Locate", parameters({noTimer}), done, "api_locateCage(cage0, 0)"},
            {"null, then a timer", "Locate", parameters({noTimer, {"LocateTimer", Uint16(9)}}),
             done, "api_locateCage(cage0, 9)"},
            {"two timers", "Locate",
             parameters({{"LocateTimer", Uint16(1)}, {"LocateTimer", Uint16(2)}}), done,
             "api_locateCage(cage0, 1)"},
            {"wrong timer", "Locate", parameters({{"LocateTimer", Uint32(5)}}), "type mismatch",
             ""},
            {"port B", "Upgrade", parameters({file, portB}), done,
             "api_upgradeCage(cage0, 0, /tmp/fw.bin)"},
            {"port A", "UPGRADE", parameters({{"IsPortA", true}, file}), done,
             "api_upgradeCage(cage0, 1, /tmp/fw.bin)"},
            {"empty file name", "Upgrade", parameters({{"FILENAME", String()}, portB}), done,
             "api_upgradeCage(cage0, 0, )"},
            {"no parameters", "Upgrade", {}, noFile, ""},
            {"null file", "Upgrade", parameters({{"FileName", nullOf(CIMTYPE_STRING)}, portB}),
             noFile, ""},
            {"no port", "Upgrade", parameters({file}), noPort, ""},
            {"null, then a port", "Upgrade",
             parameters({file, {"IsPortA", nullOf(CIMTYPE_BOOLEAN)}, portB}), noPort, ""},
            {"wrong port", "Upgrade", parameters({file, {"IsPortA", Uint8(1)}}), "type mismatch",
             ""},
            {"unknown method", "Explode", parameters({file}), "deliver sint32 0", ""},
        });
}

// ---- Modification ----

TEST_F(DriveCageTest, OnlyTheLocationCanBeModified)
{
    const auto text = [](const char* name, const char* value) {
        return CIMProperty(CIMName(name), CIMValue(String(value)));
    };
    const auto props = [](std::initializer_list<CIMProperty> list) {
        Array<CIMProperty> result;
        for (const CIMProperty& property : list)
            result.append(property);
        return result;
    };
    const CIMProperty location = text("Location", "Row 5");
    const CIMProperty lower = text("location", "Row 6");
    const CIMProperty name = text("ElementName", "x");
    const CIMPropertyList none;
    const std::string write = "api_setCageLocation(cage0, ";
    const struct
    {
        const char* what;
        Array<CIMProperty> instance;
        CIMPropertyList list;
        std::string thrown;
        std::string written;
    } cases[] = {
        {"location alone", props({location}), none, "nothing", write + "Row 5)"},
        {"location by list", props({name, location}), listOf({"Location"}), "nothing",
         write + "Row 5)"},
        {"in another case", props({lower}), listOf({"LOCATION"}), "nothing", write + "Row 6)"},
        {"named twice", props({location}), listOf({"Location", "location"}), "nothing",
         write + "Row 5)"},
        {"whole instance", props({name, location}), none, "4 Invalid parameter: ElementName", ""},
        {"other first by list", props({name, location}), listOf({"Location", "ElementName"}),
         "4 Invalid parameter: ElementName", ""},
        {"absent names are skipped", props({location}), listOf({"ElementName", "Location"}),
         "nothing", write + "Row 5)"},
        {"absent names only", props({location}), listOf({"Model", "Tag"}),
         "7 QBX_DriveCageProvider does not support modifyInstance.", ""},
        {"listed but not held", props({name}), listOf({"Location"}),
         "7 QBX_DriveCageProvider does not support modifyInstance.", ""},
        {"nothing to examine", props({}), none, "nothing", write + ")"},
        {"empty list", props({location}), listOf({}), "nothing", write + "Row 5)"},
        {"null location",
         props({CIMProperty(CIMName("Location"), CIMValue(CIMTYPE_STRING, false))}), none,
         "nothing", write + ")"},
        {"no text", props({CIMProperty(CIMName("Location"), CIMValue(Uint16(1)))}), none,
         "type mismatch", ""},
    };
    for (const auto& row : cases) {
        api.events.clear();
        api.status = {{"api_setCageLocation", 99}};  // its result is ignored
        EXPECT_EQ(modify(row.instance, row.list), row.thrown) << row.what;
        const Texts calls = api.calls();
        const bool wrote = calls.back().rfind("api_setCageLocation", 0) == 0;
        EXPECT_EQ(wrote ? calls.back() : "", row.written) << row.what;
        if (wrote) {
            EXPECT_EQ(calls[calls.size() - 2], "cim_sem_post()") << "written outside the semaphore";
            EXPECT_EQ(api.log(4).back(), "<--QBX_DriveCageProvider::modifyInstance()\n");
        }
    }
}

TEST_F(DriveCageTest, AModificationNeedsItsPrivilegeAndItsCage)
{
    const CIMObjectPath path = pathOf("QBX_DriveCage", {{"Tag", "x"}});
    const std::string notFound =
        "1 QBX_DriveCageProvider::modifyInstance()  Device not found with Tag=x";
    const struct
    {
        const char* failing;
        int status;
        std::string thrown;
        std::string lastCall;
    } cases[] = {
        {"api_authorizeCIMUser", 1, "2 Insufficient generic privilege", ""},
        {"api_authorizeCIMUser", 2, "2 Insufficient generic privilege", ""},
        {"api_authorizeCIMUser", 3, "7 Does not support in generic!", ""},
        {"api_authorizeCIMUser", -1, "7 Does not support in generic!", ""},
        {"cim_sem_wait", 1, notFound, "cim_sem_wait()"},
        {"api_findCageName_Cached", 1, notFound, "cim_sem_post()"},
    };
    for (const auto& row : cases) {
        api.status = {{row.failing, row.status}};
        api.events.clear();
        EXPECT_EQ(modify({}, CIMPropertyList(), path), row.thrown);
        const Texts calls = api.calls();
        EXPECT_EQ(calls.at(1), "api_authorizeCIMUser(joe, qbx_drivecage.modifyinstance)");
        EXPECT_EQ(calls.back(), row.lastCall.empty() ? calls[1] : row.lastCall);
        EXPECT_EQ(api.log(4).front(), "-->QBX_DriveCageProvider::modifyInstance()\n");
        EXPECT_NE(api.log(4).back(), "<--QBX_DriveCageProvider::modifyInstance()\n");
    }
}

}  // namespace
