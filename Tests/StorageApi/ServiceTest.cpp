// How an array file gets into service and stays there, what the queries promise to their callers,
// and who may do what.
#include "Simulator.h"

using namespace std::string_literals;

namespace
{

Json cage(const std::string& id, const Json& more = Json::object())
{
    Json record = {{"deviceID", id}, {"type", "JB_LBOD"}};
    record.update(more);
    return record;
}

std::vector<std::string> cageNames()
{
    std::vector<std::string> names;
    for (const api_Cage_t& cage : cages())
        names.push_back(cage.deviceID);
    return names;
}

using Names = std::vector<std::string>;

class ServiceTest : public SimulatorTest
{
};

TEST_F(ServiceTest, EveryCallFailsUntilAUsableFileIsThere)
{
    api_CageList_t list = {};
    api_StorageArray_t array = {};
    EXPECT_EQ(api_getCages_Cached(0, &list), QBXSIM_NO_ARRAY);
    EXPECT_EQ(api_getStorageArray(&array), QBXSIM_NO_ARRAY);
    EXPECT_EQ(api_qbxOpenForCimserver("admin"), QBXSIM_NO_ARRAY);
    EXPECT_EQ(logLines().size(), 1u) << "a missing file is told once: " << log();
    EXPECT_NE(log().find("array.json: No such file or directory (no array is in service"),
              std::string::npos);

    write("array.json", "{");
    EXPECT_EQ(api_getStorageArray(&array), QBXSIM_NO_ARRAY);
    EXPECT_EQ(api_getStorageArray(&array), QBXSIM_NO_ARRAY);
    EXPECT_EQ(logLines().size(), 2u) << log();

    serve({{"cages", {cage("c")}}});
    EXPECT_EQ(cageNames(), Names{"c"});
}

TEST_F(ServiceTest, AChangedFileShowsAtTheNextQuery)
{
    serve({{"cages", {cage("a")}}});
    EXPECT_EQ(cageNames(), Names{"a"});
    const auto time = std::filesystem::last_write_time(path("array.json"));
    serve({{"cages", {cage("b")}}});
    std::filesystem::last_write_time(path("array.json"), time);
    EXPECT_EQ(cageNames(), Names{"b"}) << "same size, and within one tick of the file's clock";
    serve({{"cages", {cage("b"), cage("c")}}});
    EXPECT_EQ(cageNames(), (Names{"b", "c"}));

    // An editor that writes beside the file and renames.
    write("array.json.tmp", read("array.json"));
    serve({{"cages", {cage("d")}}});
    EXPECT_EQ(cageNames(), Names{"d"});
    std::filesystem::rename(path("array.json.tmp"), path("array.json"));
    EXPECT_EQ(cageNames(), (Names{"b", "c"}));
}

TEST_F(ServiceTest, TheLastGoodArrayStaysInServiceWhenItsFileGoesBad)
{
    serve({{"cages", {cage("a")}}});
    EXPECT_EQ(cageNames(), Names{"a"});
    for (const char* const bad : {"{\"storageArray\":", "{}"}) {
        write("array.json", bad);
        EXPECT_EQ(cageNames(), Names{"a"});
        EXPECT_EQ(cageNames(), Names{"a"});
    }
    std::filesystem::remove(path("array.json"));
    EXPECT_EQ(cageNames(), Names{"a"});
    EXPECT_EQ(cageNames(), Names{"a"});

    const std::vector<std::string> lines = logLines();
    ASSERT_EQ(lines.size(), 3u) << log();
    EXPECT_NE(lines[1].find("array.json:1: /: field 'storageArray' is missing (the array read "
                            "before stays in service)"),
              std::string::npos)
        << lines[1];

    serve({{"cages", {cage("b")}}});
    EXPECT_EQ(cageNames(), Names{"b"});
}

TEST_F(ServiceTest, CachedQueriesAnswerFromTheCacheUntilItsTimeIsOver)
{
    serve({{"cacheSeconds", 1.5}, {"cages", {cage("a")}}, {"storageArray", {{"name", "old"}}}});
    EXPECT_EQ(cageNames(), Names{"a"});
    serve({{"cacheSeconds", 1.5}, {"cages", {cage("b")}}, {"storageArray", {{"name", "new"}}}});
    EXPECT_EQ(cageNames(), Names{"a"});
    api_CageHandle_t handle = {};
    EXPECT_EQ(api_findCageName_Cached("b", &handle), QBXSIM_NOT_FOUND);
    api_StorageArray_t array = {};
    EXPECT_EQ(api_getStorageArray(&array), 0);
    EXPECT_STREQ(array.name, "new") << "this query is not a cached one";
    EXPECT_TRUE(happens([] { return cageNames() == Names{"b"}; }));
}

TEST_F(ServiceTest, ActionsShowAtOnceWhateverTheCacheTime)
{
    serve({{"cacheSeconds", 1000}, {"cages", {cage("a")}}});
    EXPECT_FALSE(cages().at(0).locateON);
    const api_CageHandle_t handle = foundCage("a");
    EXPECT_EQ(api_locateCage(&handle, 60), 0);
    EXPECT_TRUE(cages().at(0).locateON);
    EXPECT_EQ(api_setCageLocation(&handle, "here"), 0);
    EXPECT_STREQ(cages().at(0).location, "here");
}

TEST_F(ServiceTest, TheSampleArrayIsServedWhenNoFileIsNamed)
{
    unsetenv("QBX_ARRAY_FILE");
    qbxsim_reset();
    EXPECT_FALSE(cages().empty());
    EXPECT_EQ(log(), "");
}

// ---- Queries
// -------------------------------------------------------------------------------------

TEST_F(ServiceTest, NoMfgListsDifferOnlyInManufacturingData)
{
    const Json mfg = {{"mfg", {{"vendor", "V"}, {"model", "M"}, {"serial", "S"}}}};
    serve(
        {{"cages", {cage("c", mfg)}},
         {"magazines", {cage("m", mfg).patch(Json::parse(R"([{"op":"remove","path":"/type"}])"))}},
         {"fcals", {Json{{"deviceID", "f"}, {"cageType", 1}, {"mfg", mfg["mfg"]}}}}});
    const auto check = [](auto full, const auto& bare) {
        ASSERT_EQ(full.size(), 1u);
        ASSERT_EQ(bare.size(), 1u);
        EXPECT_STREQ(full[0].mfg.vendor, "V");
        full[0].mfg = {};
        EXPECT_EQ(std::memcmp(&full[0], &bare[0], sizeof bare[0]), 0);
    };
    check(cages(), records(api_getCagesNoMfg_Cached, &api_CageList_t::cages));
    check(magazines(), records(api_getMagazinesNoMfg_Cached, &api_MagazineList_t::mags));
    check(fcals(), records(api_getFCALsNoMfg_Cached, &api_FCALList_t::fcals));
}

TEST_F(ServiceTest, RefusesListCallsThatNoLibraryCouldServe)
{
    serve({{"cages", {cage("a")}}});
    EXPECT_EQ(api_getCages_Cached(1, nullptr), QBXSIM_BAD_ARGUMENT);
    EXPECT_EQ(api_getCages_Cached(0, nullptr), QBXSIM_BAD_ARGUMENT);
    api_CageList_t list = {};
    EXPECT_EQ(api_getCages_Cached(1, &list), QBXSIM_BAD_ARGUMENT);
    list.count = 7;
    EXPECT_EQ(api_getCages_Cached(0, &list), QBXSIM_BAD_ARGUMENT);
    EXPECT_EQ(list.count, 7u);
    EXPECT_NE(log().find("api_getCages_Cached: the list is not zeroed"), std::string::npos);
}

TEST_F(ServiceTest, AnEmptyListIsNoFailure)
{
    serve(Json::object());
    api_MagazineList_t list = {};
    EXPECT_EQ(api_getMagazines_Cached(0, &list), 0);
    EXPECT_EQ(list.count, 0u);
    std::free(list.mags);
}

TEST_F(ServiceTest, FindsElementsByTheirWholeName)
{
    const std::string long64(64, 'c');
    const std::string full65(65, 'd');
    serve({{"cages", {cage("cage1"), cage(long64), cage(full65)}},
           {"magazines",
            {Json{{"deviceID", "m0"}, {"parentDeviceID", "cage1"}, {"position", 3}},
             Json{{"deviceID", "gone"}, {"parentDeviceID", "cage1"}, {"isAbsent", true}},
             Json{{"deviceID", "m41"}, {"parentDeviceID", std::string(41, 'x')}},
             Json{{"deviceID", "m42"}, {"parentDeviceID", std::string(42, 'x')}},
             Json{{"deviceID", "m43"}, {"parentDeviceID", std::string(43, 'x')}}}},
           {"fcals",
            {Json{{"deviceID", "f0"}, {"cageType", 1}, {"parentDeviceID", long64}},
             Json{{"deviceID", "f1"}, {"cageType", 1}, {"parentDeviceID", full65}}}}});

    api_CageHandle_t handle = {};
    for (const std::string& name : {"cage1"s, long64, full65})
        EXPECT_EQ(api_findCageName_Cached(name.c_str(), &handle), 0) << name;
    for (const std::string& name : {""s, "cage"s, "cage11"s, "CAGE1"s, full65 + 'd'})
        EXPECT_EQ(api_findCageName_Cached(name.c_str(), &handle), QBXSIM_NOT_FOUND) << name;

    api_MagazineIDs_t ids = {};
    EXPECT_EQ(api_findMagazineIDs("m0", &ids), 0);
    EXPECT_EQ(ids.magazine, 3);
    EXPECT_STREQ(ids.cageName, "cage1");
    EXPECT_EQ(api_findMagazineIDs("m41", &ids), 0);
    EXPECT_EQ(ids.cageName, std::string(41, 'x'));
    EXPECT_EQ(api_findMagazineIDs("m42", &ids), 0);
    EXPECT_EQ(std::string(ids.cageName, 42), std::string(42, 'x')) << "full: no terminator";
    EXPECT_EQ(api_findMagazineIDs("m43", &ids), QBXSIM_NOT_SUPPORTED);
    EXPECT_EQ(api_findMagazineIDs("gone", &ids), QBXSIM_NOT_FOUND);
    EXPECT_EQ(api_findMagazineIDs("none", &ids), QBXSIM_NOT_FOUND);

    char name[API_ID_SIZE] = {};
    EXPECT_EQ(api_findCageNameForFCAL("f0", name), 0);
    EXPECT_EQ(name, long64);
    EXPECT_EQ(api_findCageNameForFCAL("f1", name), QBXSIM_NOT_SUPPORTED) << "no room for the NUL";
    EXPECT_EQ(api_findCageNameForFCAL("none", name), QBXSIM_NOT_FOUND);
}

TEST_F(ServiceTest, WritesTheNodeAddressOnlyIntoABufferThatHoldsIt)
{
    serve({{"nodeIPaddress", "192.0.2.1"}});
    char buffer[10] = {};
    EXPECT_EQ(api_getNodeIPaddress(buffer, 9), QBXSIM_BAD_ARGUMENT);
    EXPECT_EQ(api_getNodeIPaddress(nullptr, 9), QBXSIM_BAD_ARGUMENT);
    EXPECT_EQ(api_getNodeIPaddress(buffer, sizeof buffer), 0);
    EXPECT_STREQ(buffer, "192.0.2.1");
}

// ---- Users
// ---------------------------------------------------------------------------------------

TEST_F(ServiceTest, UsersMayWhatTheFileSays)
{
    serve({{"users",
            {Json{{"name", "admin"}, {"privileges", {"*"}}},
             Json{{"name", "operator"}, {"privileges", {"a.locate", "b.*"}}},
             Json{{"name", "viewer"}, {"privileges", Json::array()}}, Json{{"name", "guest"}},
             Json{{"name", "blocked"}, {"mayOpen", false}, {"privileges", {"*"}}}}},
           {"privilegeKeys", {"a.locate", "a.upgrade", "b.locate", "c.*"}}});

    const std::vector<std::pair<const char*, int>> opens = {{"admin", 0},
                                                            {"viewer", 0},
                                                            {"guest", 0},
                                                            {"blocked", QBXSIM_REFUSED},
                                                            {"", QBXSIM_REFUSED},
                                                            {"Admin", QBXSIM_REFUSED},
                                                            {"nobody", QBXSIM_REFUSED}};
    for (const auto& [user, code] : opens)
        EXPECT_EQ(api_qbxOpenForCimserver(user), code) << user;
    EXPECT_EQ(api_qbxOpenForCimserver(nullptr), QBXSIM_BAD_ARGUMENT);

    const struct
    {
        const char* user;
        const char* key;
        int code;
    } keys[] = {
        {"admin", "a.upgrade", 0},
        {"admin", "c.anything", 0},
        {"admin", "a.upgrade2", 3},
        {"admin", "A.upgrade", 3},
        {"admin", "", 3},
        {"operator", "a.locate", 0},
        {"operator", "a.upgrade", 1},
        {"operator", "b.locate", 0},
        {"operator", "b.other", 3},
        {"viewer", "a.locate", 1},
        {"guest", "a.locate", 2},
        {"nobody", "a.locate", 2},
        {"nobody", "unknown", 2},
    };
    for (const auto& test : keys)
        EXPECT_EQ(api_authorizeCIMUser(test.user, test.key), test.code)
            << test.user << ' ' << test.key;
}

TEST_F(ServiceTest, TheEmptyUserOpensOnlyWhereTheFileNamesIt)
{
    serve({{"users", {Json{{"name", ""}}}}});
    EXPECT_EQ(api_qbxOpenForCimserver(""), 0);
    serve({{"users", {Json{{"name", "*"}}}}});
    EXPECT_EQ(api_qbxOpenForCimserver(""), QBXSIM_REFUSED);
}

TEST_F(ServiceTest, AnyKeyIsKnownToAFileThatListsNone)
{
    serve({{"users", {Json{{"name", "u"}, {"privileges", {"a.*"}}}}}});
    EXPECT_EQ(api_authorizeCIMUser("u", "a.b"), API_CIMUSER_AUTHORIZATION_SUCCESS);
    EXPECT_EQ(api_authorizeCIMUser("u", "b.a"), API_CIMUSER_AUTHORIZATION_UNAUTH_USER);
}

}  // namespace
