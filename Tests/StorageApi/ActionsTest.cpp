// Actions change what later queries show, and nothing else, or say by their code why they could
// not.
#include "Simulator.h"

#include <sys/stat.h>

#include <chrono>
#include <set>
#include <thread>

namespace
{

class ActionsTest : public SimulatorTest
{
protected:
    /// All that an action can change, as in "dc1 at old".
    static std::set<std::string> picture()
    {
        std::set<std::string> lines;
        const auto add = [&](const std::string& id, const char* what, const std::string& value) {
            lines.insert(id + what + value);
        };
        for (const api_Cage_t& cage : cages()) {
            add(cage.deviceID, " light ", std::to_string(cage.locateON));
            add(cage.deviceID, " at ", cage.location);
            add(cage.deviceID, " version ", cage.u.lbod.fwVersion);
        }
        for (const auto& bay : records(api_getMagazines_Cached, &api_MagazineList_t::mags)) {
            const api_StatePair_t &a = bay.stateLoopA, &b = bay.stateLoopB;
            add(bay.deviceID, " light ", std::to_string(bay.locateON));
            add(bay.deviceID, " A ", std::to_string(a.actual) + '/' + std::to_string(a.overall));
            add(bay.deviceID, " B ", std::to_string(b.actual) + '/' + std::to_string(b.overall));
        }
        for (const auto& card : records(api_getFCALs_Cached, &api_FCALList_t::fcals)) {
            std::string ports;
            for (const api_FCALLoop_t* const loop : {&card.loopA, &card.loopB})
                for (const std::uint8_t isOn : loop->locateON)
                    ports += isOn != 0 ? '1' : '0';
            add(card.deviceID, " ports ", ports);
            add(card.deviceID, " KBOD ", card.u.kbod.fwVersion);
            add(card.deviceID, " DC3 ", card.u.sbod.fwVersion);
        }
        return lines;
    }

    /// The result of an action, and what is new in the picture since the last call.
    void expect(int result, int code, const std::string& news)
    {
        std::string text;
        const std::set<std::string> now = picture();
        for (const std::string& line : now)
            if (last_.count(line) == 0) text += (text.empty() ? "" : ", ") + line;
        last_ = now;
        EXPECT_EQ(result, code) << news;
        EXPECT_EQ(text, news);
    }

    int upgrade(const char* cage, bool isPortA, const char* file) const
    {
        const api_CageHandle_t handle = foundCage(cage);
        return api_upgradeCage(&handle, isPortA, path(file).c_str());
    }

    static int setLocation(const char* cage, const std::string& text)
    {
        const api_CageHandle_t handle = foundCage(cage);
        return api_setCageLocation(&handle, text.c_str());
    }

    std::set<std::string> last_ = picture();
};

TEST_F(ActionsTest, ShowAtOnceWhateverTheCacheTime)
{
    array_["cacheSeconds"] = 1000;
    write("array.json", array_.dump());
    const api_CageHandle_t dc2 = foundCage("dc2"), lit = foundCage("lit"), none = {};
    expect(api_locateCage(&dc2, 60), 0, "dc2 light 1");
    expect(api_locateCage(&lit, 0), 0, "lit light 0");
    expect(api_locateCage(&none, 1), QBXSIM_NOT_FOUND, "");
    expect(api_locateCage(nullptr, 1), QBXSIM_BAD_ARGUMENT, "");
    expect(api_locateMagazine("dc2", 1, 60), 0, "m1 light 1");
    expect(api_locateMagazine("dc2", 2, 60), QBXSIM_NOT_FOUND, "");  // absent
    expect(api_locateFCALPort("dc2", 1, 60), 0, "ab ports 01000100");
    expect(api_locateFCALPort("dc1", 0, 60), 0, "a1 ports 10000000, b1 ports 00001000");
    expect(api_locateFCALPort("dc3", 3, 60), 0, "a3 ports 00010000");
    expect(api_locateFCALPort("lit", 1, 60), 0, "x0 ports 01000100");
    expect(api_locateFCALPort("dc1", 2, 60), QBXSIM_NOT_FOUND, "");
    expect(api_setMagazineLoop("dc2", 1, 0, 2), 0, "m1 A 2/2, m1 B 2/2");
    expect(api_setMagazineLoop("dc2", 1, 1, 0), 0, "m1 A 1/1");
    expect(api_setMagazineLoop("dc2", 1, 255, 1), 0, "m1 B 1/1");
    expect(api_setMagazineLoop("dc2", 1, 0, 3), QBXSIM_BAD_ARGUMENT, "");
    expect(setLocation("dc1", "new"), 0, "dc1 at new");
    expect(setLocation("dc1", std::string(257, 'x')), QBXSIM_BAD_ARGUMENT, "");

    write("fw", R"({"qbxFirmware": 1, "version": "2", "cageTypes": ["JB_KBOD", 4]})");
    write("newer", R"({"qbxFirmware": 2})");
    ASSERT_EQ(mkfifo(path("fifo").c_str(), 0600), 0);
    expect(upgrade("dc1", false, "fw"), 0, "b1 KBOD 2");
    expect(upgrade("dc1", true, "fw"), 0, "a1 KBOD 2");
    expect(upgrade("dc3", true, "fw"), 0, "a3 DC3 2");
    expect(upgrade("dc3", false, "fw"), QBXSIM_NOT_SUPPORTED, "");
    expect(upgrade("dc2", false, "none"), QBXSIM_FIRMWARE_MISSING, "");
    expect(upgrade("dc2", false, "."), QBXSIM_FIRMWARE_UNREADABLE, "");
    expect(upgrade("dc2", false, "fifo"), QBXSIM_FIRMWARE_UNREADABLE, "");
    expect(upgrade("dc2", false, "newer"), QBXSIM_FIRMWARE_INVALID, "");
    expect(upgrade("dc2", false, "fw"), QBXSIM_FIRMWARE_MISMATCH, "");
    write("fw", R"({"qbxFirmware": 1, "version": "3", "cageTypes": ["JB_LBOD"]})");
    expect(upgrade("dc2", false, "fw"), 0, "dc2 version 3");
    EXPECT_NE(read("log").find("newer:1: /qbxFirmware: expected 1"), std::string::npos);
}

TEST_F(ActionsTest, LightsGoOffAfterTheirSeconds)
{
    api_locateMagazine("dc2", 1, 1);
    expect(api_locateFCALPort("dc2", 1, 1), 0, "ab ports 01000100, m1 light 1");
    std::this_thread::sleep_for(std::chrono::milliseconds(1100));
    expect(0, 0, "ab ports 00000000, m1 light 0");
}

TEST_F(ActionsTest, ALocationOutlivesARestartUntilTheFileGivesTheCageAnother)
{
    EXPECT_EQ(setLocation("dc2", "other"), 0);
    for (const std::string text : {"\xFF not UTF-8 \x01", "hex:41", "", "Rack 7 <\"&>"}) {
        EXPECT_EQ(setLocation("dc1", text), 0) << text;
        qbxsim_reset();
        EXPECT_EQ(cages()[0].location, text);
    }
    EXPECT_EQ(read("array.json"), array_.dump());
    write("array.json", array_.dump() + ' ');
    EXPECT_STREQ(cages()[0].location, "Rack 7 <\"&>") << "the file says the same of the location";
    array_["cages"][0]["location"] = "moved";
    write("array.json", array_.dump());
    EXPECT_STREQ(cages()[0].location, "moved");
    EXPECT_STREQ(cages()[1].location, "other");
}

TEST_F(ActionsTest, ALocationThatCannotBeKeptIsNotTaken)
{
    for (const std::string state : {"{\n\"locations\": [{}]}", "[1e999]", ""}) {
        if (state.empty()) setenv("QBX_ARRAY_STATE", path("no such folder/state").c_str(), 1);
        write("array.json.state", state);
        qbxsim_reset();
        EXPECT_EQ(setLocation("dc1", "new"), QBXSIM_STATE_NOT_KEPT);
        EXPECT_STREQ(cages()[0].location, "old");
        EXPECT_EQ(read("array.json.state"), state) << "not ours to overwrite";
    }
    const std::string fault = "state:2: /locations/0: field 'cage' is missing";
    EXPECT_NE(read("log").find(fault), std::string::npos) << read("log");
}

}  // namespace
