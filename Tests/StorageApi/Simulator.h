// A fixture for tests of the simulated array: a folder of its own, an array file, the log.
#pragma once

#include <qbxapi.h>
#include <qbxapi_sim.h>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

using Json = nlohmann::json;

/// The records of one list query; fails the test when the query fails.
template <class List, class Record>
std::vector<Record> records(int (*query)(int, List*), Record* List::*pointer)
{
    List list = {};
    EXPECT_EQ(query(0, &list), 0);
    const std::unique_ptr<Record, decltype(&std::free)> owner(list.*pointer, std::free);
    return std::vector<Record>(list.*pointer, list.*pointer + list.count);
}

inline std::vector<api_Cage_t> cages()
{
    return records(api_getCages_Cached, &api_CageList_t::cages);
}

inline api_CageHandle_t foundCage(const char* name)
{
    api_CageHandle_t cage = {};
    EXPECT_EQ(api_findCageName_Cached(name, &cage), 0) << name;
    return cage;
}

/// Serves array.json of this folder, from a copy that a test can change.
class SimulatorTest : public testing::Test
{
protected:
    SimulatorTest()
    {
        std::string name = (std::filesystem::temp_directory_path() / "qbxapi-XXXXXX").string();
        folder_ = mkdtemp(name.data());
        for (const char* const variable : {"QBX_ARRAY_STATE", "QBX_LOG_LEVEL", "QBX_SIM_STRICT"})
            unsetenv(variable);
        setenv("QBX_ARRAY_FILE", path("array.json").c_str(), 1);
        setenv("QBX_LOG_FILE", path("log").c_str(), 1);
        serve();
        qbxsim_reset();
    }

    ~SimulatorTest() override
    {
        qbxsim_reset();
        std::filesystem::remove_all(folder_);
    }

    std::string path(const std::string& name) const { return folder_ / name; }

    void write(const std::string& name, const std::string& text) const
    {
        std::ofstream(path(name)) << text;
    }

    std::string read(const std::string& name) const
    {
        std::ifstream file(path(name));
        return {std::istreambuf_iterator<char>(file), {}};
    }

    /// Puts array_, as it now is, into service.
    void serve() const { write("array.json", array_.dump()); }

    std::filesystem::path folder_;
    Json array_ = Json::parse(std::ifstream(TEST_DIR "/array.json"));
};
