// Actions change what later queries show, and nothing else, or say by their code why they could
// not.
#include "Simulator.h"

#include <sys/stat.h>

#include <csignal>

namespace
{

class ActionsTest : public SimulatorTest
{
protected:
    /// All that an action can change, by the names of the elements.
    static Json picture()
    {
        Json all;
        for (const api_Cage_t& cage : cages())
            all[cage.deviceID] = {{"light", +cage.locateON},
                                  {"at", cage.location},
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

    /// The result of an action, and what it changes in the picture.
    void expect(int result, int code, const Json& news = Json::object())
    {
        last_.merge_patch(news);
        EXPECT_EQ(result, code) << news;
        EXPECT_EQ(picture(), last_) << news;
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

    Json last_ = picture();
};

TEST_F(ActionsTest, ShowAtOnceWhateverTheCacheTime)
{
    array_["cacheSeconds"] = 1000;
    serve();
    const api_CageHandle_t dc2 = foundCage("dc2"), lit = foundCage("lit"), none = {};
    expect(api_locateCage(&dc2, 60), 0, {{"dc2", {{"light", 1}}}});
    expect(api_locateCage(&lit, 0), 0, {{"lit", {{"light", 0}}}});
    expect(api_locateCage(&none, 1), QBXSIM_NOT_FOUND);
    expect(api_locateCage(nullptr, 1), QBXSIM_BAD_ARGUMENT);
    expect(api_locateMagazine("dc2", 1, 60), 0, {{"m1", {{"light", 1}}}});
    expect(api_locateMagazine("dc1", 1, 60), 0, {{"n1", {{"light", 1}}}});
    expect(api_locateMagazine("dc2", 2, 60), QBXSIM_NOT_FOUND);  // absent
    const Json port0 = {1, 0, 0, 0}, port1 = {0, 1, 0, 0}, port3 = {0, 0, 0, 1};
    expect(api_locateFCALPort("dc2", 1, 60), 0, {{"ab", {{"A", port1}, {"B", port1}}}});
    expect(api_locateFCALPort("dc1", 0, 60), 0, {{"a1", {{"A", port0}}}, {"b1", {{"B", port0}}}});
    expect(api_locateFCALPort("dc3", 3, 60), 0, {{"a3", {{"A", port3}}}});
    expect(api_locateFCALPort("lit", 1, 60), 0, {{"x0", {{"A", port1}, {"B", port1}}}});
    expect(api_locateFCALPort("dc1", 2, 60), QBXSIM_NOT_FOUND);
    const Json on = {1, ES_NORMAL}, off = {2, ES_DEGRADED};
    expect(api_setMagazineLoop("dc2", 1, 0, 2), 0, {{"m1", {{"A", off}, {"B", off}}}});
    expect(api_setMagazineLoop("dc2", 1, 255, 1), 0, {{"m1", {{"B", on}}}});
    expect(api_setMagazineLoop("dc2", 1, 0, 3), QBXSIM_BAD_ARGUMENT);
    expect(setLocation("dc1", "new"), 0, {{"dc1", {{"at", "new"}}}});
    expect(setLocation("dc1", std::string(257, 'x')), QBXSIM_BAD_ARGUMENT);

    write("fw", R"({"qbxFirmware": 1, "version": "2", "cageTypes": ["JB_KBOD", 4]})");
    write("newer", R"({"qbxFirmware": 2})");
    write("long", std::string(65537, ' '));
    ASSERT_EQ(mkfifo(path("fifo").c_str(), 0600), 0);
    expect(upgrade("dc1", false, "fw"), 0, {{"b1", {{"KBOD", "2"}}}});
    expect(upgrade("dc1", true, "fw"), 0, {{"a1", {{"KBOD", "2"}}}});
    expect(upgrade("dc3", true, "fw"), 0, {{"a3", {{"DC3", "2"}}}});
    expect(upgrade("dc3", false, "fw"), QBXSIM_NOT_SUPPORTED);
    expect(upgrade("dc2", false, "."), QBXSIM_FIRMWARE_UNREADABLE);
    expect(upgrade("dc2", false, "fifo"), QBXSIM_FIRMWARE_UNREADABLE);
    expect(upgrade("dc2", false, "newer"), QBXSIM_FIRMWARE_INVALID);
    expect(upgrade("dc2", false, "long"), QBXSIM_FIRMWARE_UNREADABLE);
    write("fw", R"({"qbxFirmware": 1, "version": "3", "cageTypes": ["JB_LBOD"]})");
    expect(upgrade("dc2", false, "fw"), 0, {{"dc2", {{"version", "3"}}}});
}

TEST_F(ActionsTest, ALocationOutlivesARestartUntilTheFileGivesTheCageAnother)
{
    std::filesystem::create_symlink(path("elsewhere"), path("array.json.state.new"));
    EXPECT_EQ(setLocation("dc2", "other"), 0);
    EXPECT_FALSE(std::filesystem::exists(path("elsewhere")));
    for (const std::string text : {"\xFF not UTF-8 \x01", "hex:41", "", "Rack 7 <\"&>"}) {
        EXPECT_EQ(setLocation("dc1", text), 0) << text;
        qbxsim_reset();
        EXPECT_EQ(cages()[0].location, text);
    }
    EXPECT_EQ(read("array.json"), array_.dump());
    const auto mode = std::filesystem::status(path("array.json.state")).permissions();
    EXPECT_EQ(mode & std::filesystem::perms::others_all, std::filesystem::perms::none);
    write("array.json", array_.dump() + ' ');
    EXPECT_STREQ(cages()[0].location, "Rack 7 <\"&>") << "the file says the same of the location";
    array_["cages"][0]["location"] = "moved";
    serve();
    EXPECT_STREQ(cages()[0].location, "moved");
    EXPECT_STREQ(cages()[1].location, "other");
}

TEST_F(ActionsTest, ALocationThatCannotBeKeptIsNotTaken)
{
    const std::string big = R"({"locations": [{"cage": "dc2", "from": "not here", "to": ")" +
                            std::string(9999, 'x') + R"("}]})";
    std::signal(SIGXFSZ, SIG_IGN);
    for (const std::string state : {"{\n\"locations\": [{}]}", "[1e999]", big.c_str(), ""}) {
        if (state.empty()) setenv("QBX_ARRAY_STATE", path("no such folder/state").c_str(), 1);
        write("array.json.state", state);
        serve();
        qbxsim_reset();
        const api_CageHandle_t lit = foundCage("lit");
        expect(api_locateCage(&lit, 0), 0, {{"lit", {{"light", 0}}}});
        write("array.json", array_.dump() + ' ');  // with a light that is on
        withLimit(RLIMIT_FSIZE, 5000, [&] {
            expect(setLocation("dc1", "new"), QBXSIM_STATE_NOT_KEPT, {{"lit", {{"light", 1}}}});
        });
        EXPECT_EQ(read("array.json.state"), state) << "not ours to overwrite";
        const std::filesystem::directory_iterator files(folder_);
        EXPECT_EQ(std::distance(begin(files), end(files)), 3) << "the array, its state, the log";
    }
    EXPECT_NE(read("log").find("state: File too large\n"), std::string::npos);
    EXPECT_NE(read("log").find("state:2: /locations/0: field 'cage' is"), std::string::npos);
}

}  // namespace
