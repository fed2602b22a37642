// An action changes what later queries show, and nothing else; one that fails returns a code that
// names the reason.
#include "Simulator.h"

#include <sys/resource.h>
#include <sys/stat.h>

#include <csignal>

namespace
{

class ActionsTest : public SimulatorTest
{
protected:
    ActionsTest()
    {
        array_["cacheSeconds"] = 1000;  // an action shows at once all the same
        serve();
        last_ = state();
    }

    /// All that an action can change, by the names of the elements.
    static Json state()
    {
        Json all;
        for (const api_Cage_t& cage : cages())
            all[cage.deviceID] = {{"light", +cage.locateON},
                                  {"location", cage.location},
                                  {"version", cage.u.lbod.fwVersion}};
        for (const auto& bay : records(api_getMagazines_Cached, &api_MagazineList_t::mags))
            all[bay.deviceID] = {{"light", +bay.locateON},
                                 {"A", {bay.stateLoopA.actual, bay.stateLoopA.overall}},
                                 {"B", {bay.stateLoopB.actual, bay.stateLoopB.overall}}};
        for (const auto& card : records(api_getFCALs_Cached, &api_FCALList_t::fcals))
            all[card.deviceID] = {{"A", card.loopA.locateON},
                                  {"B", card.loopB.locateON},
                                  {"KBOD", card.u.kbod.fwVersion},
                                  {"DC3", card.u.sbod.fwVersion}};
        return all;
    }

    /// Expects that these fields have changed since the last call, and no others. A failure shows
    /// the fields that differ.
    void expectChanges(const Json& changes, int line = __builtin_LINE())
    {
        const testing::ScopedTrace caller(__FILE__, line, "expectChanges " + changes.dump());
        last_.merge_patch(changes);
        const Json now = state();
        EXPECT_EQ(Json::diff(last_, now).dump(), "[]");
        last_ = now;
    }

    void expectNoChanges(int line = __builtin_LINE()) { expectChanges(Json::object(), line); }

    /// Expects that with this text in the state file no location can be set, and all files stay.
    void expectLocationRefused(const std::string& stateFile, const std::string& logged)
    {
        write("array.json.state", stateFile);
        qbxsim_reset();
        EXPECT_EQ(setLocation("dc1", "new"), QBXSIM_STATE_NOT_KEPT);
        expectNoChanges();
        EXPECT_EQ(read("array.json.state"), stateFile);
        EXPECT_NE(read("log").find(logged), std::string::npos) << read("log");
        const std::filesystem::directory_iterator files(folder_);
        EXPECT_EQ(std::distance(begin(files), end(files)), 3) << "the array, its state, the log";
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

    Json last_;
};

// ---- Locate ----

TEST_F(ActionsTest, LocatesAMagazineOfACageForItsTime)
{
    EXPECT_EQ(api_locateMagazine("dc2", 1, 2000), 0);
    expectChanges({{"m1", {{"light", 1}}}});
    qbxsim_advanceClock(1000);
    expectNoChanges();
    qbxsim_advanceClock(1000);
    expectChanges({{"m1", {{"light", 0}}}});
    EXPECT_EQ(api_locateMagazine("dc2", 1, 1), 0);
    expectChanges({{"m1", {{"light", 1}}}});
    EXPECT_EQ(api_locateMagazine("dc2", 1, 0), 0);
    expectChanges({{"m1", {{"light", 0}}}});
    EXPECT_EQ(api_locateMagazine("dc2", 2, 60), QBXSIM_NOT_FOUND) << "absent";
    expectNoChanges();
}

TEST_F(ActionsTest, LocatesAPortOnTheLoopsThatItsCardsServe)
{
    const Json port1 = {0, 1, 0, 0}, port3 = {0, 0, 0, 1};
    EXPECT_EQ(api_locateFCALPort("dc2", 1, 60), 0);
    expectChanges({{"ab", {{"A", port1}, {"B", port1}}}});
    EXPECT_EQ(api_locateFCALPort("dc3", 3, 60), 0);
    expectChanges({{"a3", {{"A", port3}}}});
    EXPECT_EQ(api_locateFCALPort("lit", 1, 60), 0);
    expectChanges({{"x0", {{"A", port1}, {"B", port1}}}});
    EXPECT_EQ(api_locateFCALPort("dc1", 2, 60), QBXSIM_NOT_FOUND) << "it has two ports";
    expectNoChanges();
}

// ---- Loops and locations ----

TEST_F(ActionsTest, SetsALocationThatFits)
{
    const std::string longest(256, 'x');
    EXPECT_EQ(setLocation("dc1", longest), 0);
    expectChanges({{"dc1", {{"location", longest}}}});
    EXPECT_EQ(setLocation("dc1", longest + 'x'), QBXSIM_BAD_ARGUMENT);
    expectNoChanges();
}

TEST_F(ActionsTest, KeepsALocationOverARestart)
{
    for (const std::string text : {"\xFF not UTF-8 \x01", "hex:41", "", "Rack 7 <\"&>"}) {
        EXPECT_EQ(setLocation("dc1", text), 0) << text;
        qbxsim_reset();
        EXPECT_EQ(cages().at(0).location, text);
    }
    EXPECT_EQ(read("array.json"), array_.dump()) << "the array file is never written";
}

TEST_F(ActionsTest, KeepsALocationUntilTheFileGivesTheCageAnother)
{
    array_["cacheSeconds"] = 0;
    serve();
    EXPECT_EQ(setLocation("dc1", "set"), 0);
    EXPECT_EQ(setLocation("dc2", "other"), 0);
    write("array.json", array_.dump() + ' ');
    EXPECT_STREQ(cages()[0].location, "set") << "the changed file has the same location as before";
    array_["cages"][0]["location"] = "moved";
    serve();
    EXPECT_STREQ(cages()[0].location, "moved");
    EXPECT_STREQ(cages()[1].location, "other");
}

TEST_F(ActionsTest, WritesThePrivateStateFileThroughNoLink)
{
    setenv("QBX_ARRAY_STATE", path("state").c_str(), 1);
    qbxsim_reset();
    std::filesystem::create_symlink(path("elsewhere"), path("state.new"));
    EXPECT_EQ(setLocation("dc2", "other"), 0);
    EXPECT_FALSE(std::filesystem::exists(path("elsewhere")));
    const auto mode = std::filesystem::status(path("state")).permissions();
    EXPECT_EQ(mode & std::filesystem::perms::others_all, std::filesystem::perms::none);
}

TEST_F(ActionsTest, RefusesALocationWhenTheStateFileHasAnotherForm)
{
    expectLocationRefused("{\n\"locations\": [{}]}",
                          "state:2: /locations/0: field 'cage' is missing");
}

TEST_F(ActionsTest, RefusesALocationWhenTheStateFileCannotGrow)
{
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit before = {};
    getrlimit(RLIMIT_FSIZE, &before);
    const rlimit limit = {5000, before.rlim_max};
    setrlimit(RLIMIT_FSIZE, &limit);
    const Json longEntry = {{"cage", "dc2"}, {"from", "not here"}, {"to", std::string(4900, 'x')}};
    expectLocationRefused(Json{{"locations", {longEntry}}}.dump(), "state: File too large");
    setrlimit(RLIMIT_FSIZE, &before);
}

// ---- Firmware ----

TEST_F(ActionsTest, UpgradesTheCardsOfAPort)
{
    write("fw", R"({"qbxFirmware": 1, "version": "2", "cageTypes": ["JB_KBOD", 4]})");
    EXPECT_EQ(upgrade("dc1", false, "fw"), 0);
    expectChanges({{"b1", {{"KBOD", "2"}}}});
    EXPECT_EQ(upgrade("dc3", true, "fw"), 0);
    expectChanges({{"a3", {{"DC3", "2"}}}});
    EXPECT_EQ(upgrade("dc3", false, "fw"), QBXSIM_NOT_SUPPORTED) << "no card at port B";
    EXPECT_EQ(upgrade("dc2", false, "fw"), QBXSIM_FIRMWARE_MISMATCH);
    expectNoChanges();
}

TEST_F(ActionsTest, RefusesWhatIsNoFirmwareFile)
{
    write("newer", R"({"qbxFirmware": 2, "version": "2", "cageTypes": [3]})");
    write("long", std::string(65537, ' '));
    ASSERT_EQ(mkfifo(path("fifo").c_str(), 0600), 0);
    EXPECT_EQ(upgrade("dc2", false, "missing"), QBXSIM_FIRMWARE_MISSING);
    EXPECT_EQ(upgrade("dc2", false, "."), QBXSIM_FIRMWARE_UNREADABLE);
    EXPECT_EQ(upgrade("dc2", false, "fifo"), QBXSIM_FIRMWARE_UNREADABLE);
    EXPECT_EQ(upgrade("dc2", false, "long"), QBXSIM_FIRMWARE_UNREADABLE);
    EXPECT_EQ(upgrade("dc2", false, "newer"), QBXSIM_FIRMWARE_INVALID);
    expectNoChanges();
}

}  // namespace
