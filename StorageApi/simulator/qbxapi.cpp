// The functions that libqbxapi.so exports: they check their arguments, let the call monitor have
// its way, and turn exceptions into result codes.
#include <qbxapi.h>

#include "CallMonitor.h"
#include "Log.h"
#include "Semaphore.h"
#include "Simulator.h"
#include "qbxapi_sim.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <string>
#include <thread>
#include <vector>

namespace
{

using namespace qbxsim;

// Never destroyed: other threads may call the API while the process ends.

CallMonitor& monitor()
{
    static CallMonitor& monitor = *new CallMonitor;
    return monitor;
}

Semaphore& semaphore()
{
    static Semaphore& semaphore = *new Semaphore;
    return semaphore;
}

Simulator& simulator()
{
    static Simulator& simulator = *new Simulator;
    return simulator;
}

// A found cage is handed out as its record.
static_assert(sizeof(api_CageHandle_t) == sizeof(api_Cage_t));

std::string nameOf(const api_CageHandle_t& handle)
{
    api_Cage_t cage = {};
    std::memcpy(&cage, &handle, sizeof cage);
    return fieldText(cage.deviceID);
}

std::string shown(unsigned long value)
{
    return std::to_string(value);
}
std::string shown(int value)
{
    return std::to_string(value);
}
std::string shown(const std::string& text)
{
    return '"' + text + '"';
}
std::string shown(const char* text)
{
    return text == nullptr ? "null" : shown(std::string(text));
}
std::string shown(const api_CageHandle_t* cage)
{
    return cage == nullptr ? "null" : shown(nameOf(*cage));
}

template <class... Arguments>
std::string callText(const char* operation, const Arguments&... arguments)
{
    std::string text;
    ((text += (text.empty() ? "" : ", ") + shown(arguments)), ...);
    return operation + ('(' + text + ')');
}

/// Does the work, and returns 0 or the code of what was thrown, which is logged.
template <class Work>
int resultOf(const char* operation, const Work& work)
{
    try {
        return work();
    } catch (const Refusal& refusal) {
        // A missing array is logged once, when its file is found to be bad.
        if (refusal.code() != QBXSIM_NO_ARRAY)
            writeLog(LogRejected, std::string(operation) + ": " + refusal.what());
        return refusal.code();
    } catch (const std::exception& error) {
        writeLog(LogFailure, std::string(operation) + ": " + error.what());
        return QBXSIM_INTERNAL;
    }
}

/// One call of the API. The arguments are those to show in the record of calls.
template <class Work, class... Arguments>
int call(const char* operation, const Work& work, const Arguments&... arguments) noexcept
{
    const Fault fault = monitor().begin(operation);
    std::this_thread::sleep_for(fault.delay);
    int result = fault.instead ? *fault.instead : resultOf(operation, work);
    if (fault.afterwards) result = *fault.afterwards;
    if (monitor().isRecording())
        monitor().end(callText(operation, arguments...) + " = " + std::to_string(result));
    return result;
}

void require(bool condition, const char* what)
{
    if (!condition) throw Refusal(QBXSIM_BAD_ARGUMENT, what);
}

template <class List, class Record>
int listCall(const char* operation, int zero, List* list, Record* List::*records,
             std::vector<Record> Records::*which, void (*edit)(Record&) = nullptr)
{
    const auto work = [&] {
        require(zero == 0, "the first argument is not 0");
        require(list != nullptr, "null list");
        require(list->count == 0 && list->*records == nullptr, "the list is not zeroed");
        std::vector<Record> found = simulator().list(which);
        if (found.empty()) return 0;
        if (edit != nullptr)
            for (Record& record : found)
                edit(record);
        const std::size_t size = found.size() * sizeof(Record);
        auto* const memory = static_cast<Record*>(std::malloc(size));
        if (memory == nullptr) throw std::bad_alloc();
        std::memcpy(memory, found.data(), size);
        list->*records = memory;
        list->count = static_cast<std::uint32_t>(found.size());
        return 0;
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
    va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, again);
    va_end(again);
    if (length < 0) return std::string("(cannot be formatted) ") + format;
    std::string text(static_cast<std::size_t>(length) + 1, '\0');
    std::vsnprintf(text.data(), text.size(), format, arguments);
    text.pop_back();
    return text;
}

int setFault(const char* operation, unsigned number, const Fault& fault)
{
    if (operation == nullptr || !isOperation(operation)) return QBXSIM_BAD_ARGUMENT;
    monitor().setFault(operation, number, fault);
    return 0;
}

}  // namespace

// ---- Access, semaphore, log --------------------------------------------------------------------

int api_qbxOpenForCimserver(const char* user)
{
    const auto work = [=] {
        require(user != nullptr, "null user");
        if (!monitor().isRefused(user) && simulator().mayOpen(user)) return 0;
        throw Refusal(QBXSIM_REFUSED, "user '" + std::string(user) + "' may not open the API");
    };
    return call(__func__, work, user);
}

int api_authorizeCIMUser(const char* user, const char* privilegeKey)
{
    const auto work = [=]() -> int {
        require(user != nullptr && privilegeKey != nullptr, "null argument");
        return simulator().authorize(user, privilegeKey);
    };
    return call(__func__, work, user, privilegeKey);
}

int cim_sem_wait(void)
{
    return call(__func__, [] { return semaphore().wait(); });
}

void cim_sem_post(void)
{
    const Fault fault = monitor().begin(__func__);
    std::this_thread::sleep_for(fault.delay);
    // On record before anybody else can take the semaphore.
    monitor().end("cim_sem_post()");
    semaphore().post();
}

void log_message(int level, const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    const std::string text = formatted(format, arguments);
    va_end(arguments);
    const Fault fault = monitor().begin(__func__);
    std::this_thread::sleep_for(fault.delay);
    if (monitor().isRecording()) monitor().end(callText(__func__, level, text));
    writeLog(level, text);
}

// ---- The array ---------------------------------------------------------------------------------

int api_getStorageArray(api_StorageArray_t* array)
{
    const auto work = [=] {
        require(array != nullptr, "null record");
        *array = simulator().storageArray();
        return 0;
    };
    return call(__func__, work);
}

int api_getNodeIPaddress(char* buffer, size_t size)
{
    const auto work = [=] {
        const std::string address = simulator().nodeIPaddress();
        require(buffer != nullptr && address.size() < size, "no buffer, or too small a one");
        std::memcpy(buffer, address.c_str(), address.size() + 1);
        return 0;
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
        require(name != nullptr && cage != nullptr, "null argument");
        const api_Cage_t found = simulator().findCage(name);
        std::memcpy(cage, &found, sizeof found);
        return 0;
    };
    return call(__func__, work, name);
}

int api_locateCage(const api_CageHandle_t* cage, uint16_t seconds)
{
    const auto work = [=] {
        require(cage != nullptr, "null cage");
        simulator().locateCage(nameOf(*cage), seconds);
        return 0;
    };
    return call(__func__, work, cage, seconds);
}

int api_upgradeCage(const api_CageHandle_t* cage, uint8_t isPortA, const char* fileName)
{
    const auto work = [=] {
        require(cage != nullptr, "null cage");
        require(fileName != nullptr && *fileName != '\0', "no file name");
        simulator().upgradeCage(nameOf(*cage), isPortA != 0, fileName);
        return 0;
    };
    return call(__func__, work, cage, isPortA, fileName);
}

int api_setCageLocation(const api_CageHandle_t* cage, const char* location)
{
    const auto work = [=] {
        require(cage != nullptr && location != nullptr, "null argument");
        simulator().setCageLocation(nameOf(*cage), location);
        return 0;
    };
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
        require(tag != nullptr && ids != nullptr, "null argument");
        *ids = simulator().findMagazine(tag);
        return 0;
    };
    return call(__func__, work, tag);
}

int api_setMagazineLoop(const char* cageName, uint16_t magazine, uint8_t onLoop, uint8_t port)
{
    const auto work = [=] {
        require(cageName != nullptr, "null cage name");
        simulator().setMagazineLoop(cageName, magazine, onLoop != 0, port);
        return 0;
    };
    return call(__func__, work, cageName, magazine, onLoop, port);
}

int api_locateMagazine(const char* cageName, uint16_t magazine, uint16_t seconds)
{
    const auto work = [=] {
        require(cageName != nullptr, "null cage name");
        simulator().locateMagazine(cageName, magazine, seconds);
        return 0;
    };
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
        require(tag != nullptr && cageName != nullptr, "null argument");
        const std::string name = simulator().findCageOfCard(tag);
        std::memcpy(cageName, name.c_str(), name.size() + 1);
        return 0;
    };
    return call(__func__, work, tag);
}

int api_locateFCALPort(const char* cageName, uint16_t port, uint16_t seconds)
{
    const auto work = [=] {
        require(cageName != nullptr, "null cage name");
        simulator().locatePort(cageName, port, seconds);
        return 0;
    };
    return call(__func__, work, cageName, port, seconds);
}

// ---- For tests ---------------------------------------------------------------------------------

int qbxsim_failCall(const char* operation, unsigned number, int code)
{
    Fault fault;
    fault.instead = code;
    return setFault(operation, number, fault);
}

int qbxsim_failAfterCall(const char* operation, unsigned number, int code)
{
    Fault fault;
    fault.afterwards = code;
    return setFault(operation, number, fault);
}

int qbxsim_delayCall(const char* operation, unsigned number, unsigned milliseconds)
{
    Fault fault;
    fault.delay = std::chrono::milliseconds(milliseconds);
    return setFault(operation, number, fault);
}

int qbxsim_refuseUser(const char* user)
{
    if (user == nullptr) return QBXSIM_BAD_ARGUMENT;
    monitor().refuse(user);
    return 0;
}

unsigned qbxsim_callCount(const char* operation)
{
    return operation == nullptr ? 0 : monitor().count(operation);
}

void qbxsim_recordCalls(int on)
{
    monitor().record(on != 0);
}

size_t qbxsim_callRecordSize(void)
{
    return monitor().recordSize();
}

size_t qbxsim_callRecord(size_t index, char* buffer, size_t size)
{
    const std::string text = monitor().recordAt(index);
    if (buffer != nullptr && size > 0) std::snprintf(buffer, size, "%s", text.c_str());
    return text.size();
}

int qbxsim_loadFile(const char* path)
{
    return resultOf(__func__, [=] {
        require(path != nullptr, "null path");
        simulator().load(path);
        return 0;
    });
}

void qbxsim_reset(void)
{
    monitor().reset();
    simulator().reset();
    resetLog();
}
