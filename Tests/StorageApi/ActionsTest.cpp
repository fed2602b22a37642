// Actions change what later queries show, or say by their code why they could not.
#include "Simulator.h"

#include <sys/stat.h>

#include <functional>

namespace
{

class ActionsTest : public SimulatorTest
{
protected:
    ActionsTest() { serve(array()); }

    static Json card(const char* id, const char* parent, const char* type, const char* loops)
    {
        const std::string flags = loops;
        Json record = {{"deviceID", id},
                       {"parentDeviceID", parent},
                       {"cageType", type},
                       {"isLoopA", flags.find('A') != std::string::npos},
                       {"isLoopB", flags.find('B') != std::string::npos}};
        if (std::string(type) == "JB_KBOD") record["kbod"] = {{"fwVersion", "1"}};
        if (std::string(type) == "JB_DC3") record["sbod"] = {{"fwVersion", "1"}};
        return record;
    }

    static Json array()
    {
        return {{"cages",
                 {Json{{"deviceID", "dc1"}, {"type", "JB_KBOD"}, {"location", "old"}},
                  Json{{"deviceID", "dc2"}, {"type", "JB_LBOD"}, {"lbod", {{"fwVersion", "1"}}}},
                  Json{{"deviceID", "dc3"}, {"type", "JB_DC3"}},
                  Json{{"deviceID", "lit"}, {"type", 0}, {"locateON", true}}}},
                {"magazines",
                 {Json{{"deviceID", "m0"}, {"parentDeviceID", "dc2"}, {"position", 0}},
                  Json{{"deviceID", "m1"}, {"parentDeviceID", "dc2"}, {"position", 1}},
                  Json{{"deviceID", "n1"}, {"parentDeviceID", "dc1"}, {"position", 1}},
                  Json{{"isAbsent", true}, {"parentDeviceID", "dc2"}, {"position", 2}}}},
                {"fcals",
                 {card("a1", "dc1", "JB_KBOD", "A"), card("b1", "dc1", "JB_KBOD", "B"),
                  card("ab2", "dc2", "JB_LBOD", "AB"), card("a3", "dc3", "JB_DC3", "A"),
                  card("x", "lit", "JB_UNKNOWN", "")}}};
    }

    /// The lit port lights of all cards, as in "a1.A0 b1.B0".
    static std::string lights()
    {
        std::string text;
        const auto add = [&text](const api_FCAL_t& card, const char* loop, int port) {
            if (!text.empty()) text += ' ';
            text += std::string(card.deviceID) + loop + std::to_string(port);
        };
        for (const api_FCAL_t& card : fcals())
            for (int port = 0; port < API_FCAL_PORTS; ++port) {
                if (card.loopA.locateON[port]) add(card, ".A", port);
                if (card.loopB.locateON[port]) add(card, ".B", port);
            }
        return text;
    }

    static std::string versions()
    {
        std::string text = cages().at(1).u.lbod.fwVersion;
        for (const api_FCAL_t& card : fcals()) {
            if (card.cageType == JB_KBOD) text += std::string(" ") + card.u.kbod.fwVersion;
            if (card.cageType == JB_DC3) text += std::string(" ") + card.u.sbod.fwVersion;
        }
        return text;
    }

    std::string location() const { return cages().at(0).location; }

    /// As a new process would see the array.
    void restart() const { qbxsim_reset(); }
};

TEST_F(ActionsTest, LightsGoOnForTheirSecondsAndOffAgain)
{
    const api_CageHandle_t cage = foundCage("dc2");
    const struct
    {
        const char* name;
        std::function<int(std::uint16_t)> locate;
        std::function<bool()> isOn;
    } cases[] = {
        {"cage", [&](std::uint16_t seconds) { return api_locateCage(&cage, seconds); },
         [] { return cages().at(1).locateON != 0; }},
        {"magazine", [](std::uint16_t seconds) { return api_locateMagazine("dc2", 1, seconds); },
         [] { return magazines().at(1).locateON != 0; }},
        {"port", [](std::uint16_t seconds) { return api_locateFCALPort("dc2", 1, seconds); },
         [] { return lights() == "ab2.A1 ab2.B1"; }},
    };
    for (const auto& test : cases) {
        EXPECT_FALSE(test.isOn()) << test.name;
        EXPECT_EQ(test.locate(2), 0) << test.name;
        EXPECT_TRUE(test.isOn()) << test.name;
    }
    for (const auto& test : cases) {
        EXPECT_TRUE(happens([&] { return !test.isOn(); })) << test.name;
        EXPECT_EQ(test.locate(65535), 0);
        EXPECT_TRUE(test.isOn()) << test.name;
        EXPECT_EQ(test.locate(0), 0);
        EXPECT_FALSE(test.isOn()) << test.name << ": 0 seconds turn it off";
    }
}

TEST_F(ActionsTest, ALightThatTheFileTurnsOnStaysOnUntilItIsTurnedOff)
{
    const api_CageHandle_t cage = foundCage("lit");
    EXPECT_TRUE(cages().at(3).locateON);
    EXPECT_EQ(api_locateCage(&cage, 0), 0);
    EXPECT_FALSE(cages().at(3).locateON);
}

TEST_F(ActionsTest, APortLightIsOfTheCardsLoop)
{
    EXPECT_EQ(api_locateFCALPort("dc1", 0, 9), 0);
    EXPECT_EQ(lights(), "a1.A0 b1.B0");
    EXPECT_EQ(api_locateFCALPort("dc1", 0, 0), 0);
    EXPECT_EQ(api_locateFCALPort("dc3", 3, 9), 0) << "a DC3 card has four ports";
    EXPECT_EQ(api_locateFCALPort("lit", 1, 9), 0);
    EXPECT_EQ(lights(), "a3.A3 x.A1 x.B1");
    EXPECT_EQ(api_locateFCALPort("dc1", 2, 9), QBXSIM_NOT_FOUND);
    EXPECT_EQ(api_locateFCALPort("dc3", 4, 9), QBXSIM_NOT_FOUND);
    EXPECT_EQ(api_locateFCALPort("none", 0, 9), QBXSIM_NOT_FOUND);
    EXPECT_EQ(lights(), "a3.A3 x.A1 x.B1");
}

TEST_F(ActionsTest, LocatingWhatIsNotThereFails)
{
    const api_CageHandle_t none = {};
    EXPECT_EQ(api_locateCage(&none, 1), QBXSIM_NOT_FOUND);
    EXPECT_EQ(api_locateCage(nullptr, 1), QBXSIM_BAD_ARGUMENT);
    EXPECT_EQ(api_locateMagazine("dc2", 2, 1), QBXSIM_NOT_FOUND) << "an empty bay";
    EXPECT_EQ(api_locateMagazine("dc1", 0, 1), QBXSIM_NOT_FOUND) << "a magazine of another cage";
    EXPECT_EQ(api_locateMagazine(nullptr, 0, 1), QBXSIM_BAD_ARGUMENT);
}

TEST_F(ActionsTest, LoopStatesFollowThePortCode)
{
    const auto states = [] {
        const api_Magazine_t magazine = magazines().at(1);
        return std::vector<unsigned>{
            magazine.stateLoopA.actual, unsigned(magazine.stateLoopA.overall),
            magazine.stateLoopB.actual, unsigned(magazine.stateLoopB.overall)};
    };
    const struct
    {
        std::uint8_t onLoop;
        std::uint8_t port;
        std::vector<unsigned> states;
    } steps[] = {
        {0, 2, {2, ES_DEGRADED, 2, ES_DEGRADED}}, {1, 0, {1, ES_NORMAL, 2, ES_DEGRADED}},
        {255, 1, {1, ES_NORMAL, 1, ES_NORMAL}},   {0, 1, {1, ES_NORMAL, 2, ES_DEGRADED}},
        {1, 2, {1, ES_NORMAL, 1, ES_NORMAL}},     {0, 0, {2, ES_DEGRADED, 1, ES_NORMAL}},
    };
    for (const auto& step : steps) {
        EXPECT_EQ(api_setMagazineLoop("dc2", 1, step.onLoop, step.port), 0);
        EXPECT_EQ(states(), step.states) << int(step.onLoop) << ' ' << int(step.port);
    }
    EXPECT_EQ(api_setMagazineLoop("dc2", 1, 1, 3), QBXSIM_BAD_ARGUMENT);
    EXPECT_EQ(api_setMagazineLoop("dc2", 7, 1, 2), QBXSIM_NOT_FOUND);
    EXPECT_EQ(states(), steps[5].states);
    EXPECT_EQ(magazines().at(2).stateLoopA.actual, 0u) << "magazine 1 of another cage";
}

TEST_F(ActionsTest, AnUpgradeChangesTheVersionOfTheCageOrOfTheCardsAtThatPort)
{
    write("all.fw",
          R"({"qbxFirmware": 1, "version": "2", "cageTypes": ["JB_KBOD", "JB_LBOD", 4]})");
    const std::string file = path("all.fw");
    ASSERT_EQ(versions(), "1 1 1 1");
    const api_CageHandle_t dc1 = foundCage("dc1");
    const api_CageHandle_t dc2 = foundCage("dc2");
    const api_CageHandle_t dc3 = foundCage("dc3");
    EXPECT_EQ(api_upgradeCage(&dc1, 0, file.c_str()), 0);
    EXPECT_EQ(versions(), "1 1 2 1");
    EXPECT_EQ(api_upgradeCage(&dc1, 1, file.c_str()), 0);
    EXPECT_EQ(versions(), "1 2 2 1");
    EXPECT_EQ(api_upgradeCage(&dc2, 0, file.c_str()), 0);
    EXPECT_EQ(versions(), "2 2 2 1");
    EXPECT_EQ(api_upgradeCage(&dc3, 0, file.c_str()), QBXSIM_NOT_SUPPORTED) << "no card at port B";
    EXPECT_EQ(api_upgradeCage(&dc3, 1, file.c_str()), 0);
    EXPECT_EQ(versions(), "2 2 2 2");
    const api_CageHandle_t lit = foundCage("lit");
    EXPECT_EQ(api_upgradeCage(&lit, 1, file.c_str()), QBXSIM_NOT_SUPPORTED);
}

TEST_F(ActionsTest, AnUpgradeThatFailsTellsWhyAndChangesNothing)
{
    const struct
    {
        const char* name;
        const char* text;  // null: no such file
        int code;
        const char* why;
    } cases[] = {
        {"none.fw", nullptr, QBXSIM_FIRMWARE_MISSING, "No such file or directory"},
        {".", nullptr, QBXSIM_FIRMWARE_UNREADABLE, "Is a directory"},
        {"empty.fw", "", QBXSIM_FIRMWARE_INVALID, "empty.fw:1: syntax error"},
        {"other.fw", "{\"version\": \"2\"}", QBXSIM_FIRMWARE_INVALID,
         "other.fw:1: /: field 'qbxFirmware' is missing"},
        {"new.fw", "{\"qbxFirmware\": 2,\n\"version\": \"2\", \"cageTypes\": []}",
         QBXSIM_FIRMWARE_INVALID, "new.fw:1: /qbxFirmware: expected 1"},
        {"none2.fw", "{\"qbxFirmware\": 1,\n\"version\": \"\", \"cageTypes\": []}",
         QBXSIM_FIRMWARE_INVALID, "none2.fw:2: /version: expected a version"},
        {"dc1.fw", "{\"qbxFirmware\": 1, \"version\": \"2\", \"cageTypes\": [\"JB_KBOD\"]}",
         QBXSIM_FIRMWARE_MISMATCH, "is not for the type of cage 'dc2'"},
    };
    const api_CageHandle_t cage = foundCage("dc2");
    for (const auto& test : cases) {
        if (test.text != nullptr) write(test.name, test.text);
        EXPECT_EQ(api_upgradeCage(&cage, 1, path(test.name).c_str()), test.code) << test.name;
        EXPECT_NE(log().find(test.why), std::string::npos) << test.why << '\n' << log();
    }
    EXPECT_EQ(api_upgradeCage(&cage, 1, ""), QBXSIM_BAD_ARGUMENT);
    EXPECT_EQ(api_upgradeCage(&cage, 1, nullptr), QBXSIM_BAD_ARGUMENT);

    ASSERT_EQ(mkfifo(path("fifo").c_str(), 0600), 0);
    EXPECT_EQ(api_upgradeCage(&cage, 1, path("fifo").c_str()), QBXSIM_FIRMWARE_UNREADABLE);
    EXPECT_EQ(versions(), "1 1 1 1");
}

TEST_F(ActionsTest, TheSampleFirmwareFitsTheSampleArray)
{
    write("array.json", "");
    std::filesystem::copy_file(SIMULATOR_DIR "/sample-array.json", path("array.json"),
                               std::filesystem::copy_options::overwrite_existing);
    const api_CageHandle_t cage = foundCage("cage0");
    EXPECT_EQ(api_upgradeCage(&cage, 1, SIMULATOR_DIR "/sample-firmware.json"), 0);
    EXPECT_STREQ(cages().at(0).u.lbod.fwVersion, "6.20");
}

// ---- Location
// ------------------------------------------------------------------------------------

TEST_F(ActionsTest, ALocationOutlivesARestartAndLeavesTheArrayFileAlone)
{
    const std::string file = read("array.json");
    const api_CageHandle_t cage = foundCage("dc1");
    for (const std::string text : {"Rack 7 <\"&>",
                                   "K\xC3\xA4"
                                   "fig",
                                   "\xFF not UTF-8 \x01", "hex:41", ""}) {
        EXPECT_EQ(api_setCageLocation(&cage, text.c_str()), 0) << text;
        EXPECT_EQ(location(), text);
        restart();
        EXPECT_EQ(location(), text);
    }
    EXPECT_EQ(read("array.json"), file);
    EXPECT_TRUE(std::filesystem::exists(path("array.json.state")));
    EXPECT_FALSE(std::filesystem::exists(path("array.json.state.new")));
}

TEST_F(ActionsTest, ALocationHoldsUntilTheFileGivesTheCageAnother)
{
    const api_CageHandle_t cage = foundCage("dc1");
    const api_CageHandle_t other = foundCage("dc2");
    EXPECT_EQ(api_setCageLocation(&cage, "set"), 0);
    EXPECT_EQ(api_setCageLocation(&cage, "set again"), 0);
    EXPECT_EQ(api_setCageLocation(&other, "other"), 0);
    Json changed = array();
    changed["cages"][0]["position"] = 5;
    serve(changed);
    EXPECT_EQ(location(), "set again") << "the file still says the same of the location";
    changed["cages"][0]["location"] = "moved by hand";
    serve(changed);
    EXPECT_EQ(location(), "moved by hand");
    EXPECT_STREQ(cages().at(1).location, "other");
    EXPECT_EQ(api_setCageLocation(&cage, "set once more"), 0);
    restart();
    EXPECT_EQ(location(), "set once more");
}

TEST_F(ActionsTest, TheStateFileCanBeElsewhere)
{
    setenv("QBX_ARRAY_STATE", path("kept").c_str(), 1);
    restart();
    const api_CageHandle_t cage = foundCage("dc1");
    EXPECT_EQ(api_setCageLocation(&cage, "new"), 0);
    EXPECT_TRUE(std::filesystem::exists(path("kept")));
    EXPECT_FALSE(std::filesystem::exists(path("array.json.state")));
    unsetenv("QBX_ARRAY_STATE");
}

TEST_F(ActionsTest, ALocationThatCannotBeKeptIsNotTaken)
{
    const api_CageHandle_t cage = foundCage("dc1");
    EXPECT_EQ(api_setCageLocation(&cage, std::string(257, 'x').c_str()), QBXSIM_BAD_ARGUMENT);
    EXPECT_EQ(api_setCageLocation(&cage, nullptr), QBXSIM_BAD_ARGUMENT);
    EXPECT_EQ(location(), "old");
    EXPECT_EQ(api_setCageLocation(&cage, std::string(256, 'x').c_str()), 0);
    EXPECT_EQ(location(), std::string(256, 'x'));

    write("array.json.state", "{\n\"locations\": [{}]}");
    EXPECT_EQ(api_setCageLocation(&cage, "new"), QBXSIM_STATE_NOT_KEPT);
    EXPECT_EQ(location(), std::string(256, 'x'));
    EXPECT_EQ(read("array.json.state"), "{\n\"locations\": [{}]}") << "not ours to overwrite";
    EXPECT_NE(log().find("array.json.state:2: /locations/0: field 'cage' is missing"),
              std::string::npos);
    restart();
    EXPECT_EQ(location(), "old");

    setenv("QBX_ARRAY_STATE", path("no such folder/state").c_str(), 1);
    restart();
    EXPECT_EQ(api_setCageLocation(&cage, "new"), QBXSIM_STATE_NOT_KEPT);
    EXPECT_EQ(location(), "old");
    unsetenv("QBX_ARRAY_STATE");
}

}  // namespace
