#include "RecordingApi.h"

#include <gtest/gtest.h>

#include <cctype>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <mutex>

namespace
{

std::recursive_mutex lock;

bool isLogLine(const std::string& event)
{
    return std::isdigit(static_cast<unsigned char>(event[0])) != 0;
}

template <class Record>
int serve(const char* operation, int zero, const std::vector<Record>& records, uint32_t* count,
          Record** out)
{
    EXPECT_EQ(*count, 0u) << operation << ": the caller must zero the list";
    EXPECT_EQ(*out, nullptr) << operation << ": the caller must zero the list";
    RecordingApi& api = RecordingApi::get();
    const int status = api.call(operation, std::to_string(zero));
    if (status != 0 && !api.failingQueryLeavesRecords) return status;
    if (records.empty()) return status;
    *count = static_cast<uint32_t>(records.size());
    *out = static_cast<Record*>(std::malloc(records.size() * sizeof(Record)));
    std::memcpy(static_cast<void*>(*out), records.data(), records.size() * sizeof(Record));
    return status;
}

const char* nameIn(const api_CageHandle_t* cage)
{
    return reinterpret_cast<const char*>(cage->opaque);
}

}  // namespace

RecordingApi& RecordingApi::get()
{
    static RecordingApi api;
    return api;
}

void RecordingApi::reset()
{
    *this = RecordingApi();
    std::memset(&array, 0, sizeof(array));
    std::memset(&magazineIDs, 0, sizeof(magazineIDs));
    put(array.elementName, "array1");
    put(array.name, "System One");
}

int RecordingApi::call(const std::string& operation, const std::string& arguments)
{
    const std::lock_guard<std::recursive_mutex> guard(lock);
    events.push_back(operation + "(" + arguments + ")");
    auto found = status.find(events.back());
    if (found == status.end()) found = status.find(operation);
    return found == status.end() ? 0 : found->second;
}

std::vector<std::string> RecordingApi::calls() const
{
    std::vector<std::string> result;
    for (const std::string& event : events) {
        if (!isLogLine(event)) result.push_back(event);
    }
    return result;
}

std::vector<std::string> RecordingApi::log() const
{
    std::vector<std::string> result;
    for (const std::string& event : events) {
        if (isLogLine(event)) result.push_back(event);
    }
    return result;
}

std::vector<std::string> RecordingApi::log(int level) const
{
    const std::string prefix = std::to_string(level) + ": ";
    std::vector<std::string> result;
    for (const std::string& line : log()) {
        if (line.compare(0, prefix.size(), prefix) == 0)
            result.push_back(line.substr(prefix.size()));
    }
    return result;
}

// ---- The API ----

extern "C" {

int api_qbxOpenForCimserver(const char* user)
{
    return RecordingApi::get().call("api_qbxOpenForCimserver", user);
}

int api_authorizeCIMUser(const char* user, const char* privilegeKey)
{
    return RecordingApi::get().call("api_authorizeCIMUser",
                                    std::string(user) + ", " + privilegeKey);
}

int cim_sem_wait(void)
{
    const std::lock_guard<std::recursive_mutex> guard(lock);
    const int status = RecordingApi::get().call("cim_sem_wait", "");
    if (status == 0) ++RecordingApi::get().held;
    return status;
}

void cim_sem_post(void)
{
    const std::lock_guard<std::recursive_mutex> guard(lock);
    RecordingApi::get().call("cim_sem_post", "");
    EXPECT_GT(RecordingApi::get().held, 0) << "a post without a wait";
    --RecordingApi::get().held;
}

void log_message(int level, const char* format, ...)
{
    char text[4096];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof(text), format, arguments);
    va_end(arguments);
    const std::lock_guard<std::recursive_mutex> guard(lock);
    RecordingApi::get().events.push_back(std::to_string(level) + ": " + text);
}

int api_getStorageArray(api_StorageArray_t* array)
{
    const int status = RecordingApi::get().call("api_getStorageArray", "");
    if (status == 0) *array = RecordingApi::get().array;
    return status;
}

int api_getNodeIPaddress(char* buffer, size_t size)
{
    RecordingApi& api = RecordingApi::get();
    const int status = api.call("api_getNodeIPaddress", "");
    std::string answer;
    if (!api.addresses.empty()) {
        answer = api.addresses.front();
        api.addresses.erase(api.addresses.begin());
    }
    std::snprintf(buffer, size, "%s", answer.c_str());
    return status;
}

int api_getCages_Cached(int zero, api_CageList_t* list)
{
    return serve("api_getCages_Cached", zero, RecordingApi::get().cages, &list->count,
                 &list->cages);
}

int api_getCagesNoMfg_Cached(int zero, api_CageList_t* list)
{
    return serve("api_getCagesNoMfg_Cached", zero, RecordingApi::get().cages, &list->count,
                 &list->cages);
}

int api_getCagesPS_Cached(int zero, api_CagePSList_t* list)
{
    return serve("api_getCagesPS_Cached", zero, RecordingApi::get().cagesPS, &list->count,
                 &list->cages);
}

int api_getMagazines_Cached(int zero, api_MagazineList_t* list)
{
    return serve("api_getMagazines_Cached", zero, RecordingApi::get().magazines, &list->count,
                 &list->mags);
}

int api_getMagazinesNoMfg_Cached(int zero, api_MagazineList_t* list)
{
    return serve("api_getMagazinesNoMfg_Cached", zero, RecordingApi::get().magazines, &list->count,
                 &list->mags);
}

int api_getFCALs_Cached(int zero, api_FCALList_t* list)
{
    return serve("api_getFCALs_Cached", zero, RecordingApi::get().fcals, &list->count,
                 &list->fcals);
}

int api_getFCALsNoMfg_Cached(int zero, api_FCALList_t* list)
{
    return serve("api_getFCALsNoMfg_Cached", zero, RecordingApi::get().fcals, &list->count,
                 &list->fcals);
}

int api_findCageName_Cached(const char* name, api_CageHandle_t* cage)
{
    std::snprintf(reinterpret_cast<char*>(cage->opaque), sizeof(cage->opaque), "%s", name);
    return RecordingApi::get().call("api_findCageName_Cached", name);
}

int api_locateCage(const api_CageHandle_t* cage, uint16_t seconds)
{
    return RecordingApi::get().call("api_locateCage",
                                    std::string(nameIn(cage)) + ", " + std::to_string(seconds));
}

int api_upgradeCage(const api_CageHandle_t* cage, uint8_t isPortA, const char* fileName)
{
    return RecordingApi::get().call(
        "api_upgradeCage",
        std::string(nameIn(cage)) + ", " + std::to_string(isPortA) + ", " + fileName);
}

int api_setCageLocation(const api_CageHandle_t* cage, const char* location)
{
    return RecordingApi::get().call("api_setCageLocation",
                                    std::string(nameIn(cage)) + ", " + location);
}

int api_findMagazineIDs(const char* tag, api_MagazineIDs_t* ids)
{
    *ids = RecordingApi::get().magazineIDs;
    return RecordingApi::get().call("api_findMagazineIDs", tag);
}

int api_setMagazineLoop(const char* cageName, uint16_t magazine, uint8_t onLoop, uint8_t port)
{
    return RecordingApi::get().call("api_setMagazineLoop",
                                    std::string(cageName) + ", " + std::to_string(magazine) + ", " +
                                        std::to_string(onLoop) + ", " + std::to_string(port));
}

int api_locateMagazine(const char* cageName, uint16_t magazine, uint16_t seconds)
{
    return RecordingApi::get().call(
        "api_locateMagazine",
        std::string(cageName) + ", " + std::to_string(magazine) + ", " + std::to_string(seconds));
}

int api_findCageNameForFCAL(const char* tag, char* cageName)
{
    std::snprintf(cageName, API_ID_SIZE, "%s", RecordingApi::get().cageNameOfFCAL.c_str());
    return RecordingApi::get().call("api_findCageNameForFCAL", tag);
}

int api_locateFCALPort(const char* cageName, uint16_t port, uint16_t seconds)
{
    return RecordingApi::get().call(
        "api_locateFCALPort",
        std::string(cageName) + ", " + std::to_string(port) + ", " + std::to_string(seconds));
}

}  // extern "C"
