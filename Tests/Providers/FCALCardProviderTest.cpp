// QBX_FCALCardProvider: the properties of interface cards, and their method.
#include "ElementTest.h"

namespace
{

// ---- Properties ----

// clang-format off
/// The ports of a card, and how an instance shows two or all four of each loop.
const std::string PORTS = R"(
    "loopA": {"loopPortWWN": [18446744073709551515, 18446744073709551514, 18446744073709551513,
                              18446744073709551512],
              "nodePortWWN": [4294967395, 4294967396, 4294967397, 4294967398],
              "nodePort": [110, 111, 112, 113], "linkSpeed": [65656, 65657, 65658, 65659],
              "locateON": [255, 0, 255, 0]},
    "loopB": {"loopPortWWN": [18446744073709551414, 18446744073709551413, 18446744073709551412,
                              18446744073709551411],
              "nodePortWWN": [4294967496, 4294967497, 4294967498, 4294967499],
              "nodePort": [211, 212, 213, 214], "linkSpeed": [65757, 65758, 65759, 65760],
              "locateON": [0, 255, 0, 255]})";

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

const std::string LEDS = R"("leds": {"split": 1, "system": 2, "hpl": 6})";
const Texts LED_PROPERTIES = {"SplitLED=1", "SystemLED=2", "HotplugLED=6"};

/// An array file with a card of the cage type.
std::string cardOf(int type, const std::string& fields)
{
    return R"("fcals": [{"deviceID": "card 7", "parentDeviceID": "cage 7", "position": 65535,
        "cageElementName": "Cage seven", "cagePosition": 31, "elementName": "Card seven", )" +
           MFG + ", \"cageType\": " + std::to_string(type) + ", " + fields + "}]";
}

class FCALCardInstanceTest : public ElementTest
{
protected:
    /// A card of the cage type with these fields of its own shows these properties of its own.
    void expectCard(int type, const std::string& fields, const std::string& className,
                    const Texts& own)
    {
        expectInstance("QBX_FCALCardProvider", cardOf(type, PORTS + fields), className,
                       {MADE, "ElementName=Card seven", "OperationalStatus=2", "Position=65535",
                        "RemovalConditions=2", "Tag=card 7", own});
    }
};

TEST_F(FCALCardInstanceTest, OfUnknownCageTypeHasTwoPortsOnly)
{
    expectCard(0, "", "QBX_CageInterfaceCard", {TWO_PORTS, "CageType=0"});
    expectCard(6, "", "QBX_CageInterfaceCard", {TWO_PORTS, "CageType=6"});
}

TEST_F(FCALCardInstanceTest, DC1FamilyHasFirmwareProcessorsAndLights)
{
    for (const int type : {1, 2}) {
        expectCard(
            type,
            R"(, "kbod": {"fwState": {"actual": 65557, "overall": 3}, "fwVersion": "1.2",
                      "cpuSelfState": {"actual": 22}, "cpuPartnerState": {"actual": 23},
                      "loopALinkLED": [3, 4], "loopBLinkLED": [5, 7], )" +
                LEDS + "}",
            "QBX_CageInterfaceCardDC1Family",
            {TWO_PORTS, LED_PROPERTIES, "CageType=2", "FirmwareVersion=1.2", "FirmwareStatus=21",
             "CPUSelfState=22", "CPUPartnerState=23", "LoopALinkLED=3 4", "LoopBLinkLED=5 7"});
    }
}

TEST_F(FCALCardInstanceTest, DC2FamilyHasLinksAndLights)
{
    for (const int type : {3, 5}) {
        expectCard(type,
                   R"(, "lbod": {"loopA": {"linkRX": [1, 2], "linkTX": [3, 4]},
                      "loopB": {"linkRX": [5, 6], "linkTX": [7, 1]}, )" +
                       LEDS + "}",
                   "QBX_CageInterfaceCardDC2Family",
                   {TWO_PORTS, LED_PROPERTIES, "CageType=" + std::to_string(type),
                    "LoopALinkRX=1 2", "LoopALinkTX=3 4", "LoopBLinkRX=5 6", "LoopBLinkTX=7 1"});
    }
}

TEST_F(FCALCardInstanceTest, DC3FamilyHasFourPortsAndEnclosureServices)
{
    expectCard(
        4,
        R"(, "sbod": {"master": true, "fwState": {"actual": 21}, "fwVersion": "1.2",
                  "loopState": [{"actual": 65567}, {"actual": 32}, {"actual": 33}, {"actual": 34}],
                  "ifcState": {"actual": 22}, "eshState": {"actual": 23},
                  "extEshState": {"actual": 24}})",
        "QBX_CageInterfaceCardDC3Family",
        {FOUR_PORTS, "CageType=4", "IsMaster=TRUE", "LoopState=31 32 33 34", "FirmwareVersion=1.2",
         "FirmwareStatus=21", "IFCState=22", "ESHState=23", "ExtendedESHState=24"});
}

/// A controller port's number and its text, "node:slot:port".
struct NodePortRow : Row
{
    unsigned number;
    std::string text;
};

using NodePortTest = RowTest<NodePortRow, ProviderTest>;

TEST_P(NodePortTest, IsPublishedAsNodeSlotAndPort)
{
    const std::string ports = "{\"nodePort\": [1, " + std::to_string(row.number) + "]}";
    start("QBX_FCALCardProvider", cardOf(3, "\"loopA\": " + ports + ", \"loopB\": " + ports));
    read("enumerateInstances", pathOf("QBX_CageInterfaceCardDC2Family"));
    EXPECT_EQ(valueOf(got.instances.at(0), "PortsLoopA"), "0:0:1 " + row.text);
    EXPECT_EQ(valueOf(got.instances.at(0), "PortsLoopB"), "0:0:1 " + row.text);
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

TEST_P(FCALCardMethodTest, CallsTheArrayForFamiliesOtherThanDC3)
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

TEST_F(FCALCardProviderTest, RejectsLocateOfDC3CardBeforeLookup)
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
