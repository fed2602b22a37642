// How an array file gets into service and stays there, what the queries promise to their callers,
// and who may do what.
#include "Simulator.h"

#include <chrono>
#include <regex>
#include <thread>

namespace
{

class ServiceTest : public SimulatorTest
{
protected:
    /// Puts an array with one cage of that name into service.
    void serve(const char* cage)
    {
        array_["cages"] = {{{"deviceID", cage}, {"type", 0}}};
        write("array.json", array_.dump());
    }

    static std::string firstCage() { return cages().at(0).deviceID; }
};

TEST_F(ServiceTest, AChangedFileShowsAtTheNextQueryAndABadOneIsToldOnce)
{
    api_StorageArray_t record = {};
    std::filesystem::remove(path("array.json"));
    EXPECT_EQ(api_getStorageArray(&record), QBXSIM_NO_ARRAY);
    EXPECT_EQ(api_qbxOpenForCimserver("admin"), QBXSIM_NO_ARRAY);
    serve("a");
    EXPECT_EQ(firstCage(), "a");
    serve("b");
    EXPECT_EQ(firstCage(), "b") << "same file and size, and within one tick of its clock";
    std::filesystem::rename(path("array.json"), path("old.json"));
    for (const char* const bad : {"{}", "{\"cages\": []}"}) {
        EXPECT_EQ(firstCage(), "b");
        EXPECT_EQ(firstCage(), "b");
        write("array.json", bad);
    }
    std::this_thread::sleep_for(std::chrono::seconds(3));  // now the file's time can be trusted
    EXPECT_EQ(firstCage(), "b");
    EXPECT_EQ(firstCage(), "b");
    serve("c");
    EXPECT_EQ(firstCage(), "c");
    std::filesystem::rename(path("old.json"), path("array.json"));
    EXPECT_EQ(firstCage(), "b");
    const std::string missing = "array.json: No such file or directory (";
    const std::string fault = "array.json:1: /: field 'storageArray' is missing (";
    const std::string kept = "the array read before stays in service)\n";
    EXPECT_EQ(
        std::regex_replace(read("log"), std::regex(".*\\] simulated array: .*/(?=array)"), ""),
        missing + "no array is in service until it is mended)\n" + missing + kept + fault + kept +
            fault + kept);
}

TEST_F(ServiceTest, CachedQueriesAnswerFromTheCacheUntilItsTimeIsOver)
{
    array_["cacheSeconds"] = 0.5;
    serve("old");
    EXPECT_EQ(firstCage(), "old");
    array_["nodeIPaddress"] = "192.0.2.2";
    serve("new");
    char address[10] = {};
    EXPECT_EQ(api_getNodeIPaddress(address, 9), QBXSIM_BAD_ARGUMENT);
    EXPECT_EQ(api_getNodeIPaddress(address, 10), 0);
    EXPECT_STREQ(address, "192.0.2.2") << "this query is not a cached one";
    EXPECT_EQ(firstCage(), "old");
    std::this_thread::sleep_for(std::chrono::milliseconds(600));
    EXPECT_EQ(firstCage(), "new");
}

TEST_F(ServiceTest, ListsWantAZeroedListAndLackManufacturingDataWhereTheyShould)
{
    api_CageList_t list = {7, nullptr};
    EXPECT_EQ(api_getCages_Cached(0, &list), QBXSIM_BAD_ARGUMENT);
    EXPECT_STREQ(cages().at(0).mfg.vendor, "V");
    EXPECT_STREQ(records(api_getCagesNoMfg_Cached, &api_CageList_t::cages).at(0).mfg.vendor, "");
}

TEST_F(ServiceTest, ElementsAreFoundByTheirWholeName)
{
    const std::string digits = "12345678901234567890123456789012345678901234567890123456789012345";
    api_CageHandle_t handle = {};
    EXPECT_EQ(api_findCageName_Cached(digits.c_str(), &handle), 0);
    EXPECT_EQ(api_findCageName_Cached((digits + '6').c_str(), &handle), QBXSIM_NOT_FOUND);
    EXPECT_EQ(api_findCageName_Cached("dc", &handle), QBXSIM_NOT_FOUND);
    api_MagazineIDs_t ids = {};
    EXPECT_EQ(api_findMagazineIDs("m42", &ids), 0);
    EXPECT_EQ(std::string(ids.cageName, 42), digits.substr(0, 42)) << "full, so not terminated";
    EXPECT_EQ(api_findMagazineIDs("m43", &ids), QBXSIM_NOT_SUPPORTED);
    EXPECT_EQ(api_findMagazineIDs("gone", &ids), QBXSIM_NOT_FOUND);
    char name[API_ID_SIZE] = {};
    EXPECT_EQ(api_findCageNameForFCAL("f64", name), 0);
    EXPECT_EQ(name, digits.substr(0, 64));
    EXPECT_EQ(api_findCageNameForFCAL("f65", name), QBXSIM_NOT_SUPPORTED);
}

TEST_F(ServiceTest, UsersMayWhatTheFileSays)
{
    for (const char* const user : {"former", "", "Admin", "nobody"})
        EXPECT_EQ(api_qbxOpenForCimserver(user), QBXSIM_REFUSED) << user;
    EXPECT_EQ(api_qbxOpenForCimserver("guest"), 0);
    const std::pair<const char*, const char*> answers[] = {
        {"a.locate", "0022"}, {"a.upgrade", "0122"},  {"b.locate", "0022"}, {"b.other", "3322"},
        {"c.b.x", "0122"},    {"a.upgrade2", "3322"}, {"A.locate", "3322"}, {"", "3322"}};
    for (const auto& [key, expected] : answers) {
        std::string got;
        for (const char* const user : {"admin", "operator", "guest", "nobody"})
            got += std::to_string(api_authorizeCIMUser(user, key));
        EXPECT_EQ(got, expected) << key;
    }
}

}  // namespace
