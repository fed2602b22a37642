// The input as array file, as state file and as firmware file: a good one is served, and a bad one
// leaves the array in service, with a line in the log that names the place.
#include "Fuzz.h"

#include <qbxapi.h>
#include <qbxapi_sim.h>

#include <cctype>
#include <memory>
#include <vector>

namespace
{

using fuzz::check;

const std::string good =
    "{\"storageArray\": {\"name\": \"a\"}, \"cages\": [{\"deviceID\": \"good\", \"location\": \"l\", "
    "\"type\": \"JB_LBOD\"}]}";

const fuzz::Folder& folder()
{
    static const fuzz::Folder folder;
    return folder;
}

/// The records of one list query.
template <class List, class Record>
std::vector<Record> records(int (*query)(int, List*), Record* List::*pointer)
{
    List list = {};
    check(query(0, &list) == 0, "a list query of an array in service");
    const std::unique_ptr<Record, decltype(&std::free)> owner(list.*pointer, std::free);
    return {list.*pointer, list.*pointer + list.count};
}

std::vector<api_Cage_t> cages()
{
    return records(api_getCages_Cached, &api_CageList_t::cages);
}

std::string nameOf(const api_Cage_t& cage)
{
    return std::string(cage.deviceID, sizeof cage.deviceID).c_str();
}

api_CageHandle_t handleOf(const std::string& name)
{
    api_CageHandle_t handle = {};
    check(api_findCageName_Cached(name.c_str(), &handle) == 0, "a cage that is listed is found");
    return handle;
}

/// Starts anew, with these files.
void begin(const std::string& array, const std::string& state)
{
    folder().write("array.json", array);
    folder().write("state.json", state);
    folder().write("log", "");
    qbxsim_reset();
}

/// One line, with the place of the fault in the file.
void checkLog(const std::string& file)
{
    const std::string log = folder().read("log"), place = folder().path(file) + ":";
    const std::size_t at = log.find(place);
    check(log.find('\n') + 1 == log.size() && at != std::string::npos &&
              std::isdigit(log[at + place.size()]),
          "one line with the place: " + log);
}

/// That a location which is set holds after a restart.
void checkLocation(const std::string& name)
{
    const api_CageHandle_t cage = handleOf(name);
    check(api_setCageLocation(&cage, "moved") == 0, "a location can be set");
    qbxsim_reset();
    for (const api_Cage_t& each : cages())
        if (nameOf(each) == name) return check(each.location == std::string("moved"), "it is kept");
}

void checkAsArray(const std::string& input)
{
    begin(good, "{\"locations\": []}");
    check(cages().size() == 1, "the good array is served");
    folder().write("array.json", input);
    const std::vector<api_Cage_t> served = cages();
    records(api_getCagesPS_Cached, &api_CagePSList_t::cages);
    records(api_getMagazines_Cached, &api_MagazineList_t::mags);
    records(api_getFCALs_Cached, &api_FCALList_t::fcals);
    if (!folder().read("log").empty()) {
        checkLog("array.json");
        check(served.size() == 1 && nameOf(served[0]) == "good", "the good array stays");
    } else if (!served.empty()) {
        checkLocation(nameOf(served[0]));
    }
}

void checkAsState(const std::string& input)
{
    begin(good, input);
    check(cages().size() == 1, "whatever the state, the array is served");
    if (!folder().read("log").empty()) checkLog("state.json");
}

void checkAsFirmware(const std::string& input)
{
    begin(good, "{\"locations\": []}");
    folder().write("firmware", input);
    const api_CageHandle_t cage = handleOf("good");
    const int code = api_upgradeCage(&cage, 1, folder().path("firmware").c_str());
    check(code == 0 || code == QBXSIM_FIRMWARE_INVALID || code == QBXSIM_FIRMWARE_MISMATCH,
          "an upgrade with result " + std::to_string(code));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    setenv("QBX_ARRAY_FILE", folder().path("array.json").c_str(), 1);
    setenv("QBX_ARRAY_STATE", folder().path("state.json").c_str(), 1);
    setenv("QBX_LOG_FILE", folder().path("log").c_str(), 1);
    const std::string input = fuzz::text(data, size);
    checkAsArray(input);
    checkAsState(input);
    checkAsFirmware(input);
    return 0;
}
