// The functions that libqbxapi.so exports: they check their arguments, let the call monitor have
// its way, and turn exceptions into result codes.
#include <qbxapi.h>

#include "CallMonitor.h"
#include "Log.h"
#include "Simulator.h"
#include "qbxapi_sim.h"

#include <sys/mman.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <memory>
#include <mutex>
#include <new>
#include <optional>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

namespace
{

using namespace qbxsim;

/// The only one of its kind. Never destroyed: other threads may call the API while the process
/// ends.
template <class T>
T& theOnly()
{
    static T& only = *new T;
    return only;
}

CallMonitor& monitor()
{
    return theOnly<CallMonitor>();
}

// The semaphore of the API knows its holder, and so reports the mistakes that on an array only show
// as a hang or as two calls at once.
std::mutex semaphore;
std::atomic<std::thread::id> semaphoreHolder;

std::mutex simulatorMutex;

/// The simulator: as long as this lives, no other thread's.
class LockedSimulator
{
public:
    Simulator* operator->() const { return &theOnly<Simulator>(); }

private:
    const std::lock_guard<std::mutex> lock_{simulatorMutex};
};

LockedSimulator simulator()
{
    return {};
}

// A found cage is handed out as its record.
static_assert(sizeof(api_CageHandle_t) == sizeof(api_Cage_t));

std::string nameOf(const api_CageHandle_t& handle)
{
    api_Cage_t cage = {};
    std::memcpy(&cage, &handle, sizeof cage);
    return fieldText(cage.deviceID);
}

void require(bool condition, const char* what)
{
    if (!condition) throw Refusal(QBXSIM_BAD_ARGUMENT, what);
}

// How the record of calls shows an argument.

template <class Argument>
std::string shown(const Argument& argument)
{
    if constexpr (std::is_arithmetic_v<Argument>) {
        return std::to_string(argument);
    } else {
        if (argument == nullptr) return "null";
        if constexpr (std::is_same_v<Argument, const char*>)
            return '"' + std::string(argument) + '"';
        else
            return shown(nameOf(*argument).c_str());
    }
}

template <class... Arguments>
std::string callText(const char* operation, const Arguments&... arguments)
{
    std::string text;
    ((text += (text.empty() ? "" : ", ") + shown(arguments)), ...);
    return operation + ('(' + text + ')');
}

template <class Argument>
void refuseNull(const Argument& argument)
{
    if constexpr (std::is_pointer_v<Argument>) require(argument != nullptr, "null argument");
}

/// Does the work, and returns its result or the code of what was thrown, which is logged.
template <class Work>
int resultOf(const char* operation, const Work& work)
{
    try {
        if constexpr (!std::is_void_v<decltype(work())>) return work();
        work();
        return 0;
    } catch (const Refusal& refusal) {
        // A missing array is logged once, when its file is found to be bad.
        if (refusal.code != QBXSIM_NO_ARRAY)
            writeLog(LogRejected, std::string(operation) + ": " + refusal.what());
        return refusal.code;
    } catch (const std::exception& error) {
        writeLog(LogFailure, std::string(operation) + ": " + error.what());
        return QBXSIM_INTERNAL;
    }
}

/// What a test, or else the array file, wants to happen to a call.
std::optional<Fault> beginCall(const char* operation)
{
    const std::optional<Fault> wanted = monitor().begin(operation);
    std::optional<Fault> given;
    resultOf(operation, [&] { given = simulator()->begin(operation); });
    return wanted ? wanted : given;
}

/// One call of the API: counted, failed as somebody wants it, and put on record with the arguments,
/// of which none may be null.
template <class Work, class... Arguments>
int call(const char* operation, const Work& work, const Arguments&... arguments) noexcept
{
    const auto checkedWork = [&] {
        (refuseNull(arguments), ...);
        return work();
    };
    const std::optional<Fault> fault = beginCall(operation);
    if (fault) std::this_thread::sleep_for(fault->delay);
    int result = 0;
    if (!fault || fault->doesWork) result = resultOf(operation, checkedWork);
    if (fault) result = fault->code.value_or(result);
    if (monitor().isRecording())
        monitor().end(callText(operation, arguments...) + " = " + std::to_string(result));
    return result;
}

/// Has the system hand out the memory of a very long list in large pieces: page by page, that takes
/// longer than to fill it. Allocators recycle smaller blocks.
void preferHugePages(void* memory, std::size_t size)
{
    constexpr std::size_t page = 4096, veryLong = 16 << 20;
    if (size >= veryLong && std::align(page, page, memory, size) != nullptr)
        madvise(memory, size / page * page, MADV_HUGEPAGE);
}

template <class List, class Record>
int listCall(const char* operation, int zero, List* list, Record* List::*records,
             std::vector<Record> Records::*which, void (*edit)(Record&) = nullptr)
{
    const auto work = [&] {
        require(zero == 0, "the first argument is not 0");
        require(list != nullptr, "null list");
        require(list->count == 0 && list->*records == nullptr, "the list is not zeroed");
        const LockedSimulator array;
        const std::vector<Record>& found = array->list(which);
        if (found.empty()) return;
        auto* const memory = static_cast<Record*>(std::malloc(found.size() * sizeof(Record)));
        if (memory == nullptr) throw std::bad_alloc();
        preferHugePages(memory, found.size() * sizeof(Record));
        list->*records = memory;
        for (const Record& record : found) {
            Record& copy = memory[list->count++];
            std::memcpy(&copy, &record, sizeof copy);
            if (edit != nullptr) edit(copy);
        }
    };
    return call(operation, work, zero);
}

template <class Record>
void clearMfg(Record& record)
{
    record.mfg = {};
}

std::string formatted(const char* format, va_list arguments)
{
    if (format == nullptr) return "(null format)";
    char* text = nullptr;
    const int length = vasprintf(&text, format, arguments);
    if (length < 0) return std::string("(cannot be formatted) ") + format;
    const std::unique_ptr<char, decltype(&std::free)> owner(text, std::free);
    return {text, static_cast<std::size_t>(length)};
}

/// Refuses what is no function of this library, or none that can fail.
int setFault(const char* operation, unsigned number, const Fault& fault)
{
    if (operation == nullptr || !canFail(operation)) return QBXSIM_BAD_ARGUMENT;
    monitor().setFault(operation, number, fault);
    return 0;
}

}  // namespace

// ---- Access, semaphore, log --------------------------------------------------------------------

int api_qbxOpenForCimserver(const char* user)
{
    const auto work = [=] {
        if (!simulator()->mayOpen(user))
            throw Refusal(QBXSIM_REFUSED, "user '" + std::string(user) + "' may not open the API");
    };
    return call(__func__, work, user);
}

int api_authorizeCIMUser(const char* user, const char* privilegeKey)
{
    const auto work = [=] { return simulator()->authorize(user, privilegeKey); };
    return call(__func__, work, user, privilegeKey);
}

int cim_sem_wait(void)
{
    const auto work = [] {
        if (semaphoreHolder == std::this_thread::get_id()) {
            reportMisuse("cim_sem_wait by the thread that holds the semaphore would wait for ever");
            return EDEADLK;
        }
        semaphore.lock();
        semaphoreHolder = std::this_thread::get_id();
        return 0;
    };
    return call(__func__, work);
}

void cim_sem_post(void)
{
    // On record before anybody else can take the semaphore.
    monitor().end("cim_sem_post()");
    if (semaphoreHolder != std::this_thread::get_id())
        return reportMisuse("cim_sem_post without a cim_sem_wait");
    semaphoreHolder = std::thread::id();
    semaphore.unlock();
}

void log_message(int level, const char* format, ...)
{
    if (!monitor().isRecording() && !isLogged(level)) return;
    va_list arguments;
    va_start(arguments, format);
    const std::string text = formatted(format, arguments);
    va_end(arguments);
    if (monitor().isRecording()) monitor().end(callText(__func__, level, text.c_str()));
    writeLog(level, text);
}

// ---- The array ---------------------------------------------------------------------------------

int api_getStorageArray(api_StorageArray_t* array)
{
    const auto work = [=] {
        require(array != nullptr, "null record");
        *array = simulator()->storageArray();
    };
    return call(__func__, work);
}

int api_getNodeIPaddress(char* buffer, size_t size)
{
    const auto work = [=] {
        const std::string address = simulator()->nodeIPaddress();
        require(buffer != nullptr && address.size() < size, "no buffer, or too small a one");
        std::memcpy(buffer, address.c_str(), address.size() + 1);
    };
    return call(__func__, work, size);
}

// ---- Cages -------------------------------------------------------------------------------------

int api_getCages_Cached(int zero, api_CageList_t* list)
{
    return listCall(__func__, zero, list, &api_CageList_t::cages, &Records::cages);
}

int api_getCagesNoMfg_Cached(int zero, api_CageList_t* list)
{
    return listCall(__func__, zero, list, &api_CageList_t::cages, &Records::cages, clearMfg);
}

int api_getCagesPS_Cached(int zero, api_CagePSList_t* list)
{
    return listCall(__func__, zero, list, &api_CagePSList_t::cages, &Records::cagesPS);
}

int api_findCageName_Cached(const char* name, api_CageHandle_t* cage)
{
    const auto work = [=] {
        require(cage != nullptr, "null cage");
        const api_Cage_t found = simulator()->findCage(name);
        std::memcpy(cage, &found, sizeof found);
    };
    return call(__func__, work, name);
}

int api_locateCage(const api_CageHandle_t* cage, uint16_t seconds)
{
    const auto work = [=] { simulator()->locateCage(nameOf(*cage), seconds); };
    return call(__func__, work, cage, seconds);
}

int api_upgradeCage(const api_CageHandle_t* cage, uint8_t isPortA, const char* fileName)
{
    const auto work = [=] {
        require(*fileName != '\0', "no file name");
        const Firmware firmware = readFirmware(fileName);  // however long that takes
        simulator()->upgradeCage(nameOf(*cage), isPortA != 0, firmware);
    };
    return call(__func__, work, cage, isPortA, fileName);
}

int api_setCageLocation(const api_CageHandle_t* cage, const char* location)
{
    const auto work = [=] { simulator()->setCageLocation(nameOf(*cage), location); };
    return call(__func__, work, cage, location);
}

// ---- Magazines ---------------------------------------------------------------------------------

int api_getMagazines_Cached(int zero, api_MagazineList_t* list)
{
    return listCall(__func__, zero, list, &api_MagazineList_t::mags, &Records::magazines);
}

int api_getMagazinesNoMfg_Cached(int zero, api_MagazineList_t* list)
{
    return listCall(__func__, zero, list, &api_MagazineList_t::mags, &Records::magazines, clearMfg);
}

int api_findMagazineIDs(const char* tag, api_MagazineIDs_t* ids)
{
    const auto work = [=] {
        require(ids != nullptr, "null record");
        *ids = simulator()->findMagazine(tag);
    };
    return call(__func__, work, tag);
}

int api_setMagazineLoop(const char* cageName, uint16_t magazine, uint8_t onLoop, uint8_t port)
{
    const auto work = [=] { simulator()->setMagazineLoop(cageName, magazine, onLoop != 0, port); };
    return call(__func__, work, cageName, magazine, onLoop, port);
}

int api_locateMagazine(const char* cageName, uint16_t magazine, uint16_t seconds)
{
    const auto work = [=] { simulator()->locateMagazine(cageName, magazine, seconds); };
    return call(__func__, work, cageName, magazine, seconds);
}

// ---- Interface cards ---------------------------------------------------------------------------

int api_getFCALs_Cached(int zero, api_FCALList_t* list)
{
    return listCall(__func__, zero, list, &api_FCALList_t::fcals, &Records::fcals);
}

int api_getFCALsNoMfg_Cached(int zero, api_FCALList_t* list)
{
    return listCall(__func__, zero, list, &api_FCALList_t::fcals, &Records::fcals, clearMfg);
}

int api_findCageNameForFCAL(const char* tag, char* cageName)
{
    const auto work = [=] {
        require(cageName != nullptr, "no buffer");
        const std::string name = simulator()->findCageOfCard(tag);
        std::memcpy(cageName, name.c_str(), name.size() + 1);
    };
    return call(__func__, work, tag);
}

int api_locateFCALPort(const char* cageName, uint16_t port, uint16_t seconds)
{
    const auto work = [=] { simulator()->locatePort(cageName, port, seconds); };
    return call(__func__, work, cageName, port, seconds);
}

// ---- For tests ---------------------------------------------------------------------------------

int qbxsim_failCall(const char* operation, unsigned number, int code)
{
    return setFault(operation, number, {code, false, {}});
}

int qbxsim_failAfterCall(const char* operation, unsigned number, int code)
{
    return setFault(operation, number, {code, true, {}});
}

void qbxsim_recordCalls(int on)
{
    monitor().record(on != 0);
}

const char* qbxsim_callRecord(size_t index)
{
    return monitor().recordAt(index);
}

int qbxsim_loadFile(const char* path)
{
    return resultOf(__func__, [=] {
        require(path != nullptr, "null path");
        simulator()->load(path);
    });
}

void qbxsim_advanceClock(unsigned seconds)
{
    simulator()->advanceClock(std::chrono::seconds(seconds));
}

void qbxsim_reset(void)
{
    monitor().reset();
    simulator()->reset();
    resetLog();
}
