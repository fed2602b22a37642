// A fixture for tests of the simulated array: a folder of its own, array files, the log.
#pragma once

#include <qbxapi.h>
#include <qbxapi_sim.h>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <thread>
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

inline std::vector<api_Magazine_t> magazines()
{
    return records(api_getMagazines_Cached, &api_MagazineList_t::mags);
}

inline std::vector<api_FCAL_t> fcals()
{
    return records(api_getFCALs_Cached, &api_FCALList_t::fcals);
}

inline api_CageHandle_t foundCage(const char* name)
{
    api_CageHandle_t cage = {};
    EXPECT_EQ(api_findCageName_Cached(name, &cage), 0) << name;
    return cage;
}

/// Waits for something that time brings; false when it has not come after a generous while.
template <class Condition>
bool happens(const Condition& condition)
{
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return true;
}

class SimulatorTest : public testing::Test
{
protected:
    SimulatorTest()
    {
        std::string name = (std::filesystem::temp_directory_path() / "qbxapi-XXXXXX").string();
        folder_ = mkdtemp(name.data());
        setenv("QBX_ARRAY_FILE", path("array.json").c_str(), 1);
        setenv("QBX_LOG_FILE", path("log").c_str(), 1);
        unsetenv("QBX_ARRAY_STATE");
        unsetenv("QBX_LOG_LEVEL");
        unsetenv("QBX_SIM_STRICT");
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
        std::ofstream(path(name), std::ios::binary) << text;
    }

    std::string read(const std::string& name) const
    {
        std::ifstream file(path(name), std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    /// Puts an array into service, with the sections given and an empty storage-array record.
    void serve(Json sections) const
    {
        if (!sections.contains("storageArray")) sections["storageArray"] = Json::object();
        write("array.json", sections.dump(2));
    }

    std::string log() const { return read("log"); }

    std::vector<std::string> logLines() const
    {
        std::vector<std::string> lines;
        std::ifstream file(path("log"));
        for (std::string line; std::getline(file, line);)
            lines.push_back(line);
        return lines;
    }

    std::filesystem::path folder_;
};
