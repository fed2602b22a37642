// The interface card provider: which class, which properties, how many ports, its method.
#include "ProviderTest.h"

#include "QBX_FCALCardProvider.h"

using namespace Pegasus;

namespace
{

const std::string BASE = "QBX_CageInterfaceCard";

class InterfaceCardTest : public ElementTest<QBX_FCALCardProvider>
{
protected:
    InterfaceCardTest() : ElementTest("QBX_FCALCardProvider") {}

    /// A card with something else in every place of every loop.
    static api_FCAL_t fullCard(int type)
    {
        api_FCAL_t record = card("card 0", "cage0", type);
        record.position = 65535;
        record.cagePosition = 9;
        put(record.elementName, std::string(32, 'e'));
        put(record.mfg.vendor, "Vendor");
        put(record.mfg.model, std::string(65, 'o'));
        put(record.mfg.serial, "Serial");
        const lpid_t ports[] = {0x019A, 0xFFFC, 0, 0xFFFF};
        const api_data_rate_e rates[] = {PORT_DATA_RATE_100M, PORT_DATA_RATE_NA, PORT_DATA_RATE_8G,
                                         PORT_DATA_RATE_10G};
        for (int i = 0; i < 4; ++i) {
            record.loopA.loopPortWWN[i] = ~uint64_t(0) - i;
            record.loopB.loopPortWWN[i] = 10 + i;
            record.loopA.nodePortWWN[i] = 20 + i;
            record.loopB.nodePortWWN[i] = 30 + i;
            record.loopA.nodePort[i] = ports[i];
            record.loopB.nodePort[i] = static_cast<lpid_t>(1 << (3 * i));
            record.loopA.linkSpeed[i] = rates[i];
            record.loopB.linkSpeed[i] = rates[3 - i];
            record.loopA.locateON[i] = i % 2 ? 0 : 0x80;
            record.loopB.locateON[i] = i % 2 ? 1 : 0;
        }
        return record;
    }

    /// What such a card publishes whatever its family.
    static Values commonValues(const std::string& className, const std::string& cageType,
                               bool fourPorts)
    {
        const auto ports = [fourPorts](const std::string& two, const std::string& more) {
            return two + (fourPorts ? more : "");
        };
        return {
            {"CreationClassName", "string " + className},
            {"Tag", "string card 0"},
            {"Position", "uint16 65535"},
            {"ElementName", "string " + std::string(32, 'e')},
            {"Manufacturer", "string Vendor"},
            {"Model", "string " + std::string(65, 'o')},
            {"SerialNumber", "string Serial"},
            {"CageType", "uint16 " + cageType},
            {"LoopAPortWWNs", ports("uint64[] 18446744073709551615 18446744073709551614 ",
                                    "18446744073709551613 18446744073709551612 ")},
            {"LoopBPortWWNs", ports("uint64[] 10 11 ", "12 13 ")},
            {"LoopALinkSpeed", ports("uint16[] 12 0 ", "8 10 ")},
            {"LoopBLinkSpeed", ports("uint16[] 10 8 ", "0 12 ")},
            {"NodePortsLoopA", ports("uint64[] 20 21 ", "22 23 ")},
            {"NodePortsLoopB", ports("uint64[] 30 31 ", "32 33 ")},
            {"LoopALocateON", ports("boolean[] TRUE FALSE ", "TRUE FALSE ")},
            {"LoopBLocateON", ports("boolean[] FALSE TRUE ", "FALSE TRUE ")},
            {"PortsLoopA", ports("string[] 3:3:2 0 ", "0 7:15:7 ")},
            {"PortsLoopB", ports("string[] 0:0:1 0:1:0 ", "0:8:0 4:0:0 ")},
            {"OperationalStatus", "uint16[] 2 "},
        };
    }

    CIMInstance built(const api_FCAL_t& record, const std::string& className)
    {
        api.fcals = {record};
        return instances(className).at(0);
    }
};

struct Family
{
    int type;
    std::string suffix;
    const char* cageType;
};

const Family FAMILIES[] = {{0, "", "0"},          {1, "DC1Family", "2"}, {2, "DC1Family", "2"},
                           {3, "DC2Family", "3"}, {4, "DC3Family", "4"}, {5, "DC2Family", "5"},
                           {6, "", "6"},          {-1, "", "65535"}};

TEST_F(InterfaceCardTest, CageTypeSelectsTheClassAndEachCardIsListedUnderItsOwnOnly)
{
    std::map<std::string, Texts> expected;
    for (const Family& row : FAMILIES) {
        api.fcals.push_back(card(std::to_string(row.type), "cage0", row.type));
        const std::string name = BASE + row.suffix;
        expected[name].push_back("//array1/root/qbx:" + name + ".CreationClassName=\"" + name +
                                 "\",Tag=\"" + std::to_string(row.type) + "\"");
    }
    for (const auto& [className, paths] : expected) {
        EXPECT_EQ(names(className), paths);
        Texts built;
        for (const CIMInstance& instance : instances(className))
            built.push_back(str(instance.getPath()));
        EXPECT_EQ(built, paths);
    }
}

TEST_F(InterfaceCardTest, PropertiesOfDC1Cards)
{
    for (const int type : {JB_JBOD, JB_KBOD}) {
        api_FCAL_t record = fullCard(type);
        api_FCALKbod_t& own = record.u.kbod;
        own.leds = {LED_STATE_OFF, LED_STATE_GREEN, LED_STATE_AMBER};
        own.fwState = {0x10002, ES_FAILED};
        put(own.fwVersion, std::string(32, 'f'));
        own.cpuSelfState = {3, ES_NORMAL};
        own.cpuPartnerState = {0xFFFF, ES_NORMAL};
        own.loopALinkLED[0] = LED_STATE_BLUE_BLINKING;
        own.loopBLinkLED[1] = LED_STATE_BLUE;
        Values expected = commonValues(BASE + "DC1Family", "2", false);
        expected.insert({{"FirmwareVersion", "string " + std::string(32, 'f')},
                         {"FirmwareStatus", "uint16 2"},
                         {"CPUSelfState", "uint16 3"},
                         {"CPUPartnerState", "uint16 65535"},
                         {"LoopALinkLED", "uint16[] 7 0 "},
                         {"LoopBLinkLED", "uint16[] 0 6 "},
                         {"SplitLED", "uint16 1"},
                         {"SystemLED", "uint16 2"},
                         {"HotplugLED", "uint16 4"}});
        EXPECT_EQ(valuesOf(built(record, BASE + "DC1Family")), expected) << type;
    }
}

TEST_F(InterfaceCardTest, PropertiesOfDC2Cards)
{
    for (const int type : {JB_LBOD, JB_MBOD}) {
        api_FCAL_t record = fullCard(type);
        api_FCALLbod_t& own = record.u.lbod;
        own.leds = {LED_STATE_GREEN_BLINKING, LED_STATE_AMBER_BLINKING, LED_STATE_UNKNOWN};
        own.loopA.linkRX[0] = LED_STATE_OFF;
        own.loopA.linkTX[1] = LED_STATE_GREEN;
        own.loopB.linkRX[0] = LED_STATE_AMBER;
        own.loopB.linkTX[1] = LED_STATE_BLUE;
        own.loopA.sfp[0].reserved[0] = ~uint64_t(0);
        Values expected = commonValues(BASE + "DC2Family", std::to_string(type), false);
        expected.insert({{"LoopALinkRX", "uint16[] 1 0 "},
                         {"LoopALinkTX", "uint16[] 0 2 "},
                         {"LoopBLinkRX", "uint16[] 4 0 "},
                         {"LoopBLinkTX", "uint16[] 0 6 "},
                         {"SplitLED", "uint16 3"},
                         {"SystemLED", "uint16 5"},
                         {"HotplugLED", "uint16 0"}});
        EXPECT_EQ(valuesOf(built(record, BASE + "DC2Family")), expected) << type;
    }
}

TEST_F(InterfaceCardTest, PropertiesOfDC3Cards)
{
    api_FCAL_t record = fullCard(JB_DC3);
    api_FCALSbod_t& own = record.u.sbod;
    own.master = 1;
    for (unsigned i = 0; i < 4; ++i)
        own.loopState[i] = {0x1FFFC + i, ES_DEGRADED};
    own.fwState = {5, ES_NORMAL};
    put(own.fwVersion, "3.1");
    own.ifcState = {6, ES_NORMAL};
    own.eshState = {7, ES_NORMAL};
    own.extEshState = {8, ES_NORMAL};
    Values expected = commonValues(BASE + "DC3Family", "4", true);
    expected.insert({{"IsMaster", "boolean TRUE"},
                     {"LoopState", "uint16[] 65532 65533 65534 65535 "},
                     {"FirmwareVersion", "string 3.1"},
                     {"FirmwareStatus", "uint16 5"},
                     {"IFCState", "uint16 6"},
                     {"ESHState", "uint16 7"},
                     {"ExtendedESHState", "uint16 8"}});
    EXPECT_EQ(valuesOf(built(record, BASE + "DC3Family")), expected);
}

TEST_F(InterfaceCardTest, OtherCardsHaveTheCommonPropertiesOnly)
{
    for (const int type : {0, 6, -1}) {
        api_FCAL_t record = fullCard(type);
        record.u.kbod.leds = {LED_STATE_OFF, LED_STATE_OFF, LED_STATE_OFF};
        api.events.clear();
        const std::string cageType = type == -1 ? "65535" : std::to_string(type);
        EXPECT_EQ(valuesOf(built(record, BASE)), commonValues(BASE, cageType, false)) << type;
        EXPECT_EQ(api.log(4).size(), 6u) << "building an instance traces its skeleton only";
    }
}

TEST_F(InterfaceCardTest, NamesAreListedForAUserWhomTheArrayRefuses)
{
    api.fcals = {card("a", "c", JB_JBOD)};
    api.status = {{"api_qbxOpenForCimserver", 1}};
    EXPECT_EQ(names("qbx_cageinterfacecardDC1FAMILY").size(), 1u);
    PathHandler handler;
    provider.enumerateInstanceNames(OperationContext(), pathOf(BASE + "DC1Family"), handler);
    EXPECT_EQ(handler.steps, (Texts{"processing", "deliver 1", "complete"}));
    EXPECT_EQ(thrownBy([&] { instances(BASE + "DC1Family"); }),
              "2 Insufficient privilege for the user");
}

TEST_F(InterfaceCardTest, LocateByItsParameters)
{
    api.cageNameOfFCAL = std::string(64, 'c');
    const std::string locate = "api_locateFCALPort(" + std::string(64, 'c') + ", ";
    const std::string done = "deliver sint32 -7";
    const std::string missing = "4 QBX_FCALCardProvider:Locate parameter not found: Port";
    const Named port = {"Port", Uint16(1)};
    const Named nullPort = {"Port", nullOf(CIMTYPE_UINT16)};
    const Named nullTimer = {"LocateTimer", nullOf(CIMTYPE_UINT16)};
    for (const char* suffix : {"", "DC1Family", "DC2Family", "dc1FAMILY"}) {
        expectMethods(
            pathOf(BASE + suffix, {{"Tag", "card 0"}}), "api_findCageNameForFCAL(card 0)",
            {
                {"both", "Locate", parameters({{"LocateTimer", Uint16(65535)}, port}), done,
                 locate + "1, 65535)"},
                {"other case", "lOCATE",
                 parameters({{"PORT", Uint16(65535)}, {"locatetimer", Uint16(2)}}), done,
                 locate + "65535, 2)"},
                {"no timer", "Locate", parameters({port}), done, locate + "1, 0)"},
                {"null timer", "Locate", parameters({nullTimer, port}), done, locate + "1, 0)"},
                {"null, then a timer", "Locate",
                 parameters({nullTimer, port, {"LocateTimer", Uint16(4)}}), done, locate + "1, 4)"},
                {"two ports", "Locate", parameters({port, {"Port", Uint16(2)}}), done,
                 locate + "1, 0)"},
                {"no port", "Locate", parameters({{"LocateTimer", Uint16(5)}}), missing, ""},
                {"null port", "Locate", parameters({nullPort}), missing, ""},
                {"null, then a port", "Locate", parameters({nullPort, port}), missing, ""},
                {"wrong port", "Locate", parameters({{"Port", Uint8(1)}}), "type mismatch", ""},
                {"wrong timer", "Locate", parameters({{"LocateTimer", true}, port}),
                 "type mismatch", ""},
                {"unknown method", "Reset", parameters({port}), "deliver sint32 0", ""},
            });
    }
}

TEST_F(InterfaceCardTest, CardsOfTheDC3FamilyCannotBeLocated)
{
    const CIMObjectPath path = pathOf("QBX_CageInterfaceCarddc3Family", {{"Tag", "card 0"}});
    const std::string refused = "7 QBX_FCALCardProvider does not support invokeMethod.";
    expectMethods(path, "", {{"locate", "LOCATE", parameters({{"Port", Uint16(1)}}), refused, ""}});
    expectMethods(path, "api_findCageNameForFCAL(card 0)",
                  {{"another method", "Reset", {}, "deliver sint32 0", ""}});
    api.status = {{"api_authorizeCIMUser", 1}};
    EXPECT_EQ(invoke(provider, "Locate", {}, path), "2 Insufficient generic privilege");
}

}  // namespace
