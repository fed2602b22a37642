#include "Simulator.h"

#include "Log.h"
#include "qbxapi_sim.h"

#include <dlfcn.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <system_error>
#include <utility>

namespace qbxsim
{
namespace
{

constexpr api_StatePair_t onLoopState = {1, ES_NORMAL};
constexpr api_StatePair_t offLoopState = {2, ES_DEGRADED};
constexpr unsigned bothPorts = 2;

std::string environment(const char* name, const std::string& otherwise)
{
    const char* const value = std::getenv(name);
    return value != nullptr && *value != '\0' ? value : otherwise;
}

/// The one that was installed with this library, else the one of the source tree.
std::string sampleArray()
{
    Dl_info library = {};
    dladdr(QBX_SAMPLE_ARRAY, &library);
    const auto folder = std::filesystem::path(library.dli_fname).parent_path();
    const auto installed = (folder / QBX_INSTALLED_SAMPLE_ARRAY).lexically_normal().string();
    return access(installed.c_str(), R_OK) == 0 ? installed : QBX_SAMPLE_ARRAY;
}

bool matches(const std::vector<std::string>& keys, const std::string& key)
{
    return std::any_of(keys.begin(), keys.end(), [&](const std::string& known) {
        const bool isPrefix = !known.empty() && known.back() == '*';
        return isPrefix ? key.compare(0, known.size() - 1, known, 0, known.size() - 1) == 0
                        : key == known;
    });
}

const User* findUser(const Array& array, const std::string& name)
{
    const auto user = std::find_if(array.users.begin(), array.users.end(),
                                   [&](const User& candidate) { return candidate.name == name; });
    return user == array.users.end() ? nullptr : &*user;
}

/// The element with that deviceID. Throws Refusal when there is none.
template <class List>
auto& named(List& list, const char* kind, const std::string& name)
{
    for (auto& element : list)
        if (isThere(element) && fieldText(element.deviceID) == name) return element;
    throw Refusal(QBXSIM_NOT_FOUND, std::string("no ") + kind + " '" + name + "'");
}

void requireRoom(const std::string& text, std::size_t size, int code)
{
    if (text.size() > size)
        throw Refusal(code, "'" + text + "' has " + std::to_string(text.size()) + " bytes; " +
                                std::to_string(size) + " fit");
}

void setLocation(api_Cage_t& cage, const std::string& location)
{
    cage.location[location.copy(cage.location, sizeof cage.location - 1)] = '\0';
}

bool isFamily(jb_type_e type, jb_type_e one, jb_type_e other)
{
    return type == one || type == other;
}

/// The field with the firmware version of a card, or null when its type has none.
char (*firmwareOf(api_FCAL_t& card))[32]
{
    if (isFamily(card.cageType, JB_JBOD, JB_KBOD)) return &card.u.kbod.fwVersion;
    if (card.cageType == JB_DC3) return &card.u.sbod.fwVersion;
    return nullptr;
}

}  // namespace

Firmware readFirmware(const std::string& fileName)
{
    try {
        constexpr std::size_t maxSize = 65536;
        auto firmware = parse<Firmware>(fileName, readFile(fileName, maxSize));
        firmware.file = fileName;
        return firmware;
    } catch (const std::system_error& error) {
        const bool isMissing = error.code() == std::errc::no_such_file_or_directory;
        throw Refusal(isMissing ? QBXSIM_FIRMWARE_MISSING : QBXSIM_FIRMWARE_UNREADABLE,
                      std::string("firmware file ") + error.what());
    } catch (const FileError& error) {
        throw Refusal(QBXSIM_FIRMWARE_INVALID, std::string("firmware file ") + error.what());
    }
}

void Simulator::use(const std::string& path)
{
    file_ = WatchedFile(path);
    statePath_ = environment("QBX_ARRAY_STATE", path + ".state");
    isBad_ = false;
    array_.reset();
    snapshot_.reset();
    lights_.clear();
}

void Simulator::load(const std::string& path)
{
    use(path);
    reloadIfChanged();
    current();
}

void Simulator::reset()
{
    ahead_ = {};
    use(environment("QBX_ARRAY_FILE", sampleArray()));
}

std::optional<Fault> Simulator::begin(const std::string& operation)
{
    reloadIfChanged();
    return array_ ? array_->faults.next(operation) : std::nullopt;
}

bool Simulator::mayOpen(const std::string& user)
{
    const User* const known = findUser(current(), user);
    return known != nullptr && known->mayOpen;
}

api_cimuser_authorization_e Simulator::authorize(const std::string& user, const std::string& key)
{
    const Array& array = current();
    const User* const known = findUser(array, user);
    if (known == nullptr || !known->privileges) return API_CIMUSER_AUTHORIZATION_USER_NOTFOUND;
    if (array.privilegeKeys && !matches(*array.privilegeKeys, key))
        return API_CIMUSER_AUTHORIZATION_UNSUPPORTED_METHOD;
    return matches(*known->privileges, key) ? API_CIMUSER_AUTHORIZATION_SUCCESS
                                            : API_CIMUSER_AUTHORIZATION_UNAUTH_USER;
}

api_StorageArray_t Simulator::storageArray()
{
    return current().storageArray;
}

std::string Simulator::nodeIPaddress()
{
    return current().nodeIPaddress;
}

api_Cage_t Simulator::findCage(const std::string& name)
{
    return named(cached().cages, "cage", name);
}

api_MagazineIDs_t Simulator::findMagazine(const std::string& tag)
{
    const api_Magazine_t& magazine = named(current().records.magazines, "magazine", tag);
    const std::string cage = fieldText(magazine.parentDeviceID);
    api_MagazineIDs_t ids = {};
    ids.magazine = magazine.position;
    requireRoom(cage, sizeof ids.cageName, QBXSIM_NOT_SUPPORTED);
    cage.copy(ids.cageName, sizeof ids.cageName);
    return ids;
}

std::string Simulator::findCageOfCard(const std::string& tag)
{
    const api_FCAL_t& card = named(current().records.fcals, "interface card", tag);
    const std::string cage = fieldText(card.parentDeviceID);
    requireRoom(cage, API_ID_SIZE - 1, QBXSIM_NOT_SUPPORTED);
    return cage;
}

void Simulator::locateCage(const std::string& name, std::uint16_t seconds)
{
    api_Cage_t& cage = named(current().records.cages, "cage", name);
    turnOn("cage " + name, seconds, [&cage](bool on) { cage.locateON = on; });
}

void Simulator::locateMagazine(const std::string& cage, unsigned number, std::uint16_t seconds)
{
    api_Magazine_t& magazine = magazineNumbered(cage, number);
    turnOn("magazine " + std::to_string(number) + " of " + cage, seconds,
           [&magazine](bool on) { magazine.locateON = on; });
}

void Simulator::locatePort(const std::string& cage, unsigned port, std::uint16_t seconds)
{
    bool isFound = false;
    for (api_FCAL_t& card : current().records.fcals) {
        const unsigned ports = card.cageType == JB_DC3 ? 4 : 2;
        if (fieldText(card.parentDeviceID) != cage || port >= ports) continue;
        isFound = true;
        const auto turn = [&card, port](bool on) {
            const bool isOfNoLoop = !card.isLoopA && !card.isLoopB;
            if (card.isLoopA || isOfNoLoop) card.loopA.locateON[port] = on;
            if (card.isLoopB || isOfNoLoop) card.loopB.locateON[port] = on;
        };
        const std::string light =
            "port " + std::to_string(port) + " of " + fieldText(card.deviceID);
        turnOn(light, seconds, turn);
    }
    if (!isFound)
        throw Refusal(QBXSIM_NOT_FOUND,
                      "no interface card in '" + cage + "' that has port " + std::to_string(port));
}

void Simulator::setMagazineLoop(const std::string& cage, unsigned number, bool onLoop,
                                unsigned port)
{
    if (port > bothPorts)
        throw Refusal(QBXSIM_BAD_ARGUMENT, "port code " + std::to_string(port) +
                                               ": expected 0 for A, 1 for B or 2 for both");
    api_Magazine_t& magazine = magazineNumbered(cage, number);
    const api_StatePair_t& state = onLoop ? onLoopState : offLoopState;
    if (port == 0 || port == bothPorts) magazine.stateLoopA = state;
    if (port == 1 || port == bothPorts) magazine.stateLoopB = state;
    snapshot_.reset();
}

void Simulator::upgradeCage(const std::string& name, bool isPortA, const Firmware& firmware)
{
    api_Cage_t& cage = named(current().records.cages, "cage", name);
    std::vector<char(*)[32]> versions;
    if (isFamily(cage.type, JB_LBOD, JB_MBOD)) versions.push_back(&cage.u.lbod.fwVersion);
    for (api_FCAL_t& card : array_->records.fcals) {
        const bool isAtPort = isPortA ? card.isLoopA : card.isLoopB;
        char(*const version)[32] = firmwareOf(card);
        if (isAtPort && version != nullptr && fieldText(card.parentDeviceID) == name)
            versions.push_back(version);
    }
    if (versions.empty())
        throw Refusal(QBXSIM_NOT_SUPPORTED,
                      "cage '" + name + "' has no firmware at port " + (isPortA ? "A" : "B"));
    const auto& types = firmware.cageTypes;
    if (std::find(types.begin(), types.end(), cage.type) == types.end())
        throw Refusal(QBXSIM_FIRMWARE_MISMATCH, "firmware file " + firmware.file +
                                                    " is not for the type of cage '" + name + "'");
    for (char(*const version)[32] : versions)
        std::copy(std::begin(firmware.version), std::end(firmware.version), *version);
    snapshot_.reset();
}

void Simulator::setCageLocation(const std::string& name, const std::string& location)
{
    api_Cage_t& cage = named(current().records.cages, "cage", name);
    requireRoom(location, sizeof cage.location - 1, QBXSIM_BAD_ARGUMENT);
    const auto index = static_cast<std::size_t>(&cage - array_->records.cages.data());
    try {
        State state = readState();
        auto& kept = state.locations;
        kept.erase(std::remove_if(kept.begin(), kept.end(),
                                  [&](const KeptLocation& entry) { return entry.cage == name; }),
                   kept.end());
        kept.push_back({name, array_->locations[index], location});
        replaceFile(statePath_, formatState(state));
    } catch (const std::runtime_error& error) {
        throw Refusal(QBXSIM_STATE_NOT_KEPT,
                      std::string("the location cannot be kept: ") + error.what());
    }
    setLocation(cage, location);
    snapshot_.reset();
}

void Simulator::reloadIfChanged()
{
    const bool wasLost = isBad_ || file_.isUnreadable();
    const char* const again = array_ ? " again" : " now";
    try {
        const std::optional<std::string> text = file_.readIfChanged();
        if (text) {
            isBad_ = true;  // until all of it is understood
            auto array = parse<Array>(file_.path(), *text);
            for (const std::string& warning : array.warnings)
                writeLog(LogNotice, "simulated array: warning: " + warning);
            restoreLocations(array);
            lights_.clear();
            array_ = std::move(array);
            isBad_ = false;
        }
        const bool isBack = wasLost && !isBad_ && !file_.isUnreadable();
        if (!text && !isBack) return;
        const std::size_t faults = array_->faults.size();
        writeLog(isBack ? LogFailure : LogNotice,
                 "simulated array, no hardware: " + file_.path() + " is in service" +
                     (isBack ? again : "") +
                     (faults == 0 ? "" : ", with faults on demand: " + std::to_string(faults)));
    } catch (const std::runtime_error& error) {
        const char* const consequence = array_ ? "the array read before stays in service"
                                               : "no array is in service until it is mended";
        writeLog(LogFailure,
                 "simulated array: " + std::string(error.what()) + " (" + consequence + ")");
    }
}

Array& Simulator::current()
{
    if (!array_) throw Refusal(QBXSIM_NO_ARRAY, "no array file is in service");
    for (const auto& [name, light] : lights_)
        if (light.until <= now()) light.turn(false);
    return *array_;
}

const Records& Simulator::cached()
{
    if (snapshot_ && now() < snapshotEnd_) return *snapshot_;
    const Array& array = current();
    snapshot_.reset();
    if (array.cacheTime.count() == 0) return array.records;
    snapshotEnd_ = now() + array.cacheTime;
    return snapshot_.emplace(array.records);
}

api_Magazine_t& Simulator::magazineNumbered(const std::string& cage, unsigned number)
{
    for (api_Magazine_t& magazine : current().records.magazines)
        if (isThere(magazine) && magazine.position == number &&
            fieldText(magazine.parentDeviceID) == cage)
            return magazine;
    throw Refusal(QBXSIM_NOT_FOUND,
                  "no magazine " + std::to_string(number) + " in cage '" + cage + "'");
}

void Simulator::turnOn(const std::string& light, std::uint16_t seconds,
                       std::function<void(bool)> turn)
{
    turn(seconds > 0);
    lights_[light] = {now() + std::chrono::seconds(seconds), std::move(turn)};
    snapshot_.reset();
}

void Simulator::restoreLocations(Array& array) const
{
    try {
        for (const KeptLocation& kept : readState().locations)
            for (api_Cage_t& cage : array.records.cages)
                if (fieldText(cage.deviceID) == kept.cage && fieldText(cage.location) == kept.from)
                    setLocation(cage, kept.to);
    } catch (const std::runtime_error& error) {
        writeLog(LogFailure, "simulated array: locations that were set before are lost: " +
                                 std::string(error.what()));
    }
}

State Simulator::readState() const
{
    constexpr std::size_t maxSize = 64 << 20;
    try {
        return parse<State>(statePath_, readFile(statePath_, maxSize));
    } catch (const std::system_error& error) {
        if (error.code() == std::errc::no_such_file_or_directory) return {};
        throw;
    }
}

}  // namespace qbxsim
