// The input as array file, as state file and as firmware file: a valid one is served; an invalid
// one leaves the previous array in service, and a line in the log names its line.
#include "Fuzz.h"

#include <qbxapi.h>
#include <qbxapi_sim.h>

#include <cctype>
#include <vector>

namespace
{

using fuzz::check;

const std::string goodArray =
    R"({"storageArray": {}, "cages": [{"deviceID": "good", "type": "JB_LBOD"}]})";
const std::string goodState = R"({"locations": []})";

const std::filesystem::path& folder()
{
    static const fuzz::Folder folder;
    return folder.path;
}

/// Starts the simulated array anew, with these files.
void begin(const std::string& array, const std::string& state)
{
    fuzz::write(folder() / "array", array);
    fuzz::write(folder() / "state", state);
    fuzz::write(folder() / "log", "");
    qbxsim_reset();
}

/// The cages of the array, which must be in service.
std::vector<api_Cage_t> cages()
{
    api_CageList_t list = {};
    check(api_getCages_Cached(0, &list) == 0, "an array is in service");
    const std::vector<api_Cage_t> cages(list.cages, list.cages + list.count);
    std::free(list.cages);
    return cages;
}

api_CageHandle_t handleOf(const std::string& name)
{
    api_CageHandle_t handle = {};
    check(api_findCageName_Cached(name.c_str(), &handle) == 0, "a cage is found: " + name);
    return handle;
}

/// True when an error was logged, which must be one line with the line number in that file.
bool hasFault(const std::string& file)
{
    const std::string log = fuzz::read(folder() / "log"), place = (folder() / file).string() + ":";
    if (log.empty()) return false;
    const std::size_t at = log.find(place);
    check(log.find('\n') + 1 == log.size() && at != std::string::npos &&
              std::isdigit(log[at + place.size()]),
          "one line with the place: " + log);
    return true;
}

/// Checks that a location is kept through a restart.
void checkLocation(const std::string& name)
{
    const api_CageHandle_t cage = handleOf(name);
    check(api_setCageLocation(&cage, "moved") == 0, "a location can be set");
    qbxsim_reset();
    bool isKept = false;
    for (const api_Cage_t& each : cages())
        isKept = isKept || (each.deviceID == name && each.location == std::string("moved"));
    check(isKept, "the location is kept");
}

/// Checks that a valid array is served, and that the previous one stays in service otherwise.
/// Leaves out arrays with faults, which make calls fail or wait, however their keys are spelt.
void checkArray(const std::string& array)
{
    if (array.find("faults") != std::string::npos || array.find("\\u") != std::string::npos) return;
    begin(goodArray, goodState);
    check(cages().size() == 1, "the good array is served");
    fuzz::write(folder() / "array", array);
    const std::vector<api_Cage_t> served = cages();
    if (hasFault("array"))
        handleOf("good");
    else if (!served.empty())
        checkLocation(std::string(served[0].deviceID, sizeof served[0].deviceID).c_str());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    setenv("QBX_ARRAY_FILE", (folder() / "array").c_str(), 1);
    setenv("QBX_ARRAY_STATE", (folder() / "state").c_str(), 1);
    setenv("QBX_LOG_FILE", (folder() / "log").c_str(), 1);
    setenv("QBX_LOG_LEVEL", "2", 1);  // failures only
    const std::string input(data, data + size);

    checkArray(input);

    begin(goodArray, input);
    const api_CageHandle_t cage = handleOf("good");
    hasFault("state");

    begin(goodArray, goodState);
    fuzz::write(folder() / "firmware", input);
    const int code = api_upgradeCage(&cage, 1, (folder() / "firmware").c_str());
    check(code == 0 || code == QBXSIM_FIRMWARE_INVALID || code == QBXSIM_FIRMWARE_MISMATCH,
          "an upgrade with result " + std::to_string(code));
    return 0;
}
