// QBX_FCALCardProvider: the properties of interface cards, and their method.
#include "ElementTest.h"

#include "QBX_FCALCardProvider.h"

namespace
{

// ---- Properties ----

/// Fills the four ports of a loop with numbers that no other loop has.
void setPorts(api_FCALLoop_t& loop, unsigned number)
{
    for (unsigned port = 0; port < 4; ++port) {
        loop.loopPortWWN[port] = UINT64_MAX - number - port;
        loop.nodePortWWN[port] = UINT32_MAX + uint64_t(number + port);
        loop.nodePort[port] = lpid_t(number + 10 + port);
        loop.linkSpeed[port] = api_data_rate_e(65536 + number + 20 + port);
        loop.locateON[port] = port % 2 == number % 2 ? 255 : 0;
    }
}

/// A card with another value in every field that all types have; it shows as CARD_COMMON.
api_FCAL_t cardOf(jb_type_e type)
{
    api_FCAL_t card = {};
    setText(card.deviceID, "card 7");
    setText(card.parentDeviceID, "cage 7");
    card.cageType = type;
    setText(card.cageElementName, "Cage seven");
    card.cagePosition = 31;
    card.position = 65535;
    setText(card.elementName, "Card seven");
    setMade(card.mfg);
    setPorts(card.loopA, 100);
    setPorts(card.loopB, 201);
    return card;
}

// clang-format off
const Texts CARD_COMMON = {  // the schema sets RemovalConditions
    MADE, "ElementName=Card seven", "OperationalStatus=2", "Position=65535", "RemovalConditions=2",
    "Tag=card 7"};

const Texts TWO_PORTS = {
    "LoopALinkSpeed=120 121", "LoopALocateON=TRUE FALSE",
    "LoopAPortWWNs=18446744073709551515 18446744073709551514",
    "LoopBLinkSpeed=221 222", "LoopBLocateON=FALSE TRUE",
    "LoopBPortWWNs=18446744073709551414 18446744073709551413",
    "NodePortsLoopA=4294967395 4294967396", "NodePortsLoopB=4294967496 4294967497",
    "PortsLoopA=0:13:6 0:13:7", "PortsLoopB=1:10:3 1:10:4"};

const Texts FOUR_PORTS = {
    "LoopALinkSpeed=120 121 122 123", "LoopALocateON=TRUE FALSE TRUE FALSE",
    "LoopAPortWWNs=18446744073709551515 18446744073709551514 18446744073709551513 "
    "18446744073709551512",
    "LoopBLinkSpeed=221 222 223 224", "LoopBLocateON=FALSE TRUE FALSE TRUE",
    "LoopBPortWWNs=18446744073709551414 18446744073709551413 18446744073709551412 "
    "18446744073709551411",
    "NodePortsLoopA=4294967395 4294967396 4294967397 4294967398",
    "NodePortsLoopB=4294967496 4294967497 4294967498 4294967499",
    "PortsLoopA=0:13:6 0:13:7 0:14:0 0:14:1", "PortsLoopB=1:10:3 1:10:4 1:10:5 1:10:6"};
// clang-format on

const api_FCALLeds_t LEDS = {LED_STATE_OFF, LED_STATE_GREEN, LED_STATE_BLUE};
const Texts LED_PROPERTIES = {"SplitLED=1", "SystemLED=2", "HotplugLED=6"};

void expectCard(const api_FCAL_t& card, const std::string& className, const Texts& own)
{
    expectProperties<QBX_FCALCardProvider>(card, className, {CARD_COMMON, own});
}

TEST(FCALCardInstance, OfUnknownCageTypeHasTwoPortsOnly)
{
    expectCard(cardOf(JB_UNKNOWN), "QBX_CageInterfaceCard", {TWO_PORTS, "CageType=0"});
    expectCard(cardOf(jb_type_e(6)), "QBX_CageInterfaceCard", {TWO_PORTS, "CageType=6"});
}

TEST(FCALCardInstance, DC1FamilyHasFirmwareProcessorsAndLights)
{
    for (const jb_type_e type : {JB_JBOD, JB_KBOD}) {
        api_FCAL_t card = cardOf(type);
        card.u.kbod.leds = LEDS;
        card.u.kbod.fwState = {65536 + 21, ES_FAILED};
        setText(card.u.kbod.fwVersion, "1.2");
        card.u.kbod.cpuSelfState = {22, ES_FAILED};
        card.u.kbod.cpuPartnerState = {23, ES_FAILED};
        card.u.kbod.loopALinkLED[0] = LED_STATE_GREEN_BLINKING;
        card.u.kbod.loopALinkLED[1] = LED_STATE_AMBER;
        card.u.kbod.loopBLinkLED[0] = LED_STATE_AMBER_BLINKING;
        card.u.kbod.loopBLinkLED[1] = LED_STATE_BLUE_BLINKING;
        expectCard(
            card, "QBX_CageInterfaceCardDC1Family",
            {TWO_PORTS, LED_PROPERTIES, "CageType=2", "FirmwareVersion=1.2", "FirmwareStatus=21",
             "CPUSelfState=22", "CPUPartnerState=23", "LoopALinkLED=3 4", "LoopBLinkLED=5 7"});
    }
}

TEST(FCALCardInstance, DC2FamilyHasLinksAndLights)
{
    for (const jb_type_e type : {JB_LBOD, JB_MBOD}) {
        api_FCAL_t card = cardOf(type);
        card.u.lbod.leds = LEDS;
        card.u.lbod.loopA.linkRX[0] = LED_STATE_OFF;
        card.u.lbod.loopA.linkRX[1] = LED_STATE_GREEN;
        card.u.lbod.loopA.linkTX[0] = LED_STATE_GREEN_BLINKING;
        card.u.lbod.loopA.linkTX[1] = LED_STATE_AMBER;
        card.u.lbod.loopB.linkRX[0] = LED_STATE_AMBER_BLINKING;
        card.u.lbod.loopB.linkRX[1] = LED_STATE_BLUE;
        card.u.lbod.loopB.linkTX[0] = LED_STATE_BLUE_BLINKING;
        card.u.lbod.loopB.linkTX[1] = LED_STATE_OFF;
        expectCard(card, "QBX_CageInterfaceCardDC2Family",
                   {TWO_PORTS, LED_PROPERTIES, "CageType=" + std::to_string(type),
                    "LoopALinkRX=1 2", "LoopALinkTX=3 4", "LoopBLinkRX=5 6", "LoopBLinkTX=7 1"});
    }
}

TEST(FCALCardInstance, DC3FamilyHasFourPortsAndEnclosureServices)
{
    api_FCAL_t card = cardOf(JB_DC3);
    card.u.sbod.master = 1;
    for (unsigned loop = 0; loop < 4; ++loop)
        card.u.sbod.loopState[loop] = {65536 + 31 + loop, ES_FAILED};
    card.u.sbod.fwState = {21, ES_FAILED};
    setText(card.u.sbod.fwVersion, "1.2");
    card.u.sbod.ifcState = {22, ES_FAILED};
    card.u.sbod.eshState = {23, ES_FAILED};
    card.u.sbod.extEshState = {24, ES_FAILED};
    expectCard(
        card, "QBX_CageInterfaceCardDC3Family",
        {FOUR_PORTS, "CageType=4", "IsMaster=TRUE", "LoopState=31 32 33 34", "FirmwareVersion=1.2",
         "FirmwareStatus=21", "IFCState=22", "ESHState=23", "ExtendedESHState=24"});
}

/// A controller port's number and its text, "node:slot:port".
struct NodePortRow : Row
{
    lpid_t number;
    std::string text;
};

using NodePortTest = RowTest<NodePortRow, ProviderTest>;

TEST_P(NodePortTest, IsPublishedAsNodeSlotAndPort)
{
    api_FCAL_t card = cardOf(JB_LBOD);
    card.loopA.nodePort[0] = card.loopB.nodePort[1] = row.number;
    const CIMInstance instance = QBX_FCALCardProvider::buildInstance(
        storedClass("QBX_CageInterfaceCardDC2Family"), card, "array1");
    EXPECT_EQ(valueOf(instance, "PortsLoopA"), row.text + " 0:13:7");
    EXPECT_EQ(valueOf(instance, "PortsLoopB"), "1:10:3 " + row.text);
}

const std::vector<NodePortRow> NODE_PORTS = {
    {"Zero", 0, "0"},
    {"NotConnected", 0xFFFC, "0"},
    {"BelowNotConnected", 0xFFFB, "7:15:3"},
    {"Highest", 0xFFFF, "7:15:7"},
    {"AllParts", 0x019A, "3:3:2"},
    {"LowestPortBit", 0x0001, "0:0:1"},
    {"HighestPortBit", 0x0004, "0:0:4"},
    {"LowestSlotBit", 0x0008, "0:1:0"},
    {"HighestSlotBit", 0x0040, "0:8:0"},
    {"LowestNodeBit", 0x0080, "1:0:0"},
    {"HighestNodeBit", 0x0200, "4:0:0"},
    {"BitsAboveTheNodeDoNotCount", 0x0400, "0:0:0"},
};
INSTANTIATE_TEST_SUITE_P(FCALCard, NodePortTest, testing::ValuesIn(NODE_PORTS), NameOfRow());

// ---- Methods ----

using FCALCardMethodTest = MethodTest;

TEST_P(FCALCardMethodTest, CallsTheArrayForACardOfAnyOtherFamilyThanDC3)
{
    for (const char* className : {"QBX_CageInterfaceCard", "qbx_cageINTERFACECardDC1Family",
                                  "QBX_CageInterfaceCardDC2Family"})
        expectOutcome("QBX_FCALCardProvider", element(className, "card 0"),
                      R"(api_findCageNameForFCAL("card 0") = 0)");
}

const CIMParamValue PORT_1 = uint16("Port", 1);
const CIMParamValue PORT_MAX = uint16("PORT", 65535);
const CIMParamValue NULL_PORT = null("Port", CIMTYPE_UINT16);
const std::string PORT_MISSING = "4 QBX_FCALCardProvider:Locate parameter not found: Port";

// clang-format off
const std::vector<MethodRow> CARD_METHODS = {
    {"ForTheSeconds", "Locate", {timer(65535), PORT_1},
     R"(api_locateFCALPort("cage 0", 1, 65535))"},
    {"InAnyCase", "lOCATE", {PORT_MAX, timer(2)}, R"(api_locateFCALPort("cage 0", 65535, 2))"},
    {"WithoutPort", "Locate", {timer(5)}, PORT_MISSING},
    {"PortAfterNull", "Locate", {NULL_PORT, PORT_1}, PORT_MISSING},
    {"UnknownMethodDoesNothing", "Reset", {PORT_1}, ""},
};
// clang-format on
INSTANTIATE_TEST_SUITE_P(FCALCard, FCALCardMethodTest, testing::ValuesIn(CARD_METHODS),
                         NameOfRow());

using FCALCardProviderTest = ProviderTest;

TEST_F(FCALCardProviderTest, LocateOnADC3CardIsRefusedBeforeTheCardIsLookedUp)
{
    start("QBX_FCALCardProvider");
    const CIMObjectPath card = element("QBX_CageInterfaceCarddc3Family", "card 0");
    EXPECT_EQ(invoke(card, "LOCATE", Parameters{PORT_1}),
              "7 QBX_FCALCardProvider does not support invokeMethod.");
    EXPECT_LIST(
        array.calls(),
        {OPEN, R"(api_authorizeCIMUser("joe", "qbx_cageinterfacecarddc3family.locate") = 0)"});
    EXPECT_EQ(invoke(card, "Reset"), "nothing");
}

}  // namespace
