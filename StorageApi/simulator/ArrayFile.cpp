#include "ArrayFile.h"

#include "JsonFile.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <functional>
#include <set>
#include <sstream>
#include <string_view>
#include <unordered_map>
#include <utility>

// Names and fields in the files are those of qbxapi.h.
#define NAMED(...) addNames(names, #__VA_ARGS__, {__VA_ARGS__})
#define FIELD(record, field) #field, (record).field

namespace qbxsim
{

/// Adds codes of one enumeration by what stands in `list`, their names with commas between.
template <class Enum>
static void addNames(std::vector<CodeName>& names, const char* list,
                     std::initializer_list<Enum> codes)
{
    std::istringstream words(list);
    for (const Enum code : codes) {
        names.push_back({&typeid(Enum), "", code});
        std::getline(words >> std::ws, names.back().name, ',');
    }
}

static std::vector<CodeName> allNames()
{
    std::vector<CodeName> names;
    NAMED(JB_UNKNOWN, JB_JBOD, JB_KBOD, JB_LBOD, JB_DC3, JB_MBOD);
    NAMED(JB_SUBTYP_UNKNOWN, JB_SUBTYP_FC, JB_SUBTYP_DC3SATA, JB_SUBTYP_DC3ALPHAFC);
    NAMED(API_STATE_UNKNOWN, API_STATE_OTHER, API_STATE_OK, API_STATE_DEGRADED, API_STATE_STRESSED,
          API_STATE_PREDICTIVE_FAILURE, API_STATE_ERROR, API_STATE_NON_RECOV_ERROR,
          API_STATE_STARTING, API_STATE_STOPPING, API_STATE_STOP, API_STATE_IN_SERVICE,
          API_STATE_NO_CONTACT, API_STATE_LOST_COMMUNICATION, API_STATE_ABORTED, API_STATE_DORMANT,
          API_STATE_SUPPORTING_ENTITY_IN_ERROR, API_STATE_COMPLETED, API_STATE_POWER_MODE);
    NAMED(ES_UNKNOWN, ES_NORMAL, ES_DEGRADED, ES_FAILED);
    NAMED(LED_STATE_UNKNOWN, LED_STATE_OFF, LED_STATE_GREEN, LED_STATE_GREEN_BLINKING,
          LED_STATE_AMBER, LED_STATE_AMBER_BLINKING, LED_STATE_BLUE, LED_STATE_BLUE_BLINKING);
    NAMED(PORT_DATA_RATE_NA, PORT_DATA_RATE_1G, PORT_DATA_RATE_2G, PORT_DATA_RATE_AUTO,
          PORT_DATA_RATE_4G, PORT_DATA_RATE_8G, PORT_DATA_RATE_10G, PORT_DATA_RATE_10M,
          PORT_DATA_RATE_100M);
    return names;
}

const std::vector<CodeName>& codeNames()
{
    static const std::vector<CodeName> names = allNames();
    return names;
}

// `static` rather than in an anonymous namespace: JsonValue finds them through their namespace.

static void decode(JsonObject& file, api_StatePair_t& state)
{
    file.read(FIELD(state, actual), FIELD(state, overall));
}

static void decode(JsonObject& file, api_Mfg_t& mfg)
{
    file.read(FIELD(mfg, vendor), FIELD(mfg, model), FIELD(mfg, serial));
}

static void decode(JsonObject& file, api_sensor_t& sensor)
{
    char unit[1] = {};
    file.read(FIELD(sensor, position), FIELD(sensor, name), FIELD(sensor, state), "type", unit,
              FIELD(sensor, reading), FIELD(sensor, limit_low), FIELD(sensor, limit_high));
    sensor.type = static_cast<std::uint8_t>(unit[0]);
}

/// Reads the sensor places, null for an empty one, and their count: the number of places given
/// unless the file says otherwise. Callers of the API trust the count, so it never exceeds N.
template <std::size_t N>
static void readSensors(JsonObject& file, api_sensor_t (&sensors)[N], std::uint8_t& count)
{
    if (const auto list = file.find("sensors")) {
        for (const JsonValue& place : list->elements(N)) {
            if (!place.isNull()) place.read(sensors[count]);
            ++count;
        }
    }
    if (const auto value = file.find("sensCount")) {
        value->read(count);
        if (count > N) value->fail("the record has " + std::to_string(N) + " sensor places");
    }
}

static void decode(JsonObject& file, api_CageKbod_t& cage)
{
    cage.isLeft = file.flag("isLeft");
    cage.isRight = file.flag("isRight");
}

static void decode(JsonObject& file, api_CageLbod_t& cage)
{
    file.read(FIELD(cage, fwVersion), FIELD(cage, fwState), FIELD(cage, cpuState),
              FIELD(cage, sensValid));
    readSensors(file, cage.sensors, cage.sensCount);
}

static void decode(JsonObject& file, api_CageSbod_t& cage)
{
    file.read(FIELD(cage, tempState), FIELD(cage, tempValue), FIELD(cage, tempThresh),
              FIELD(cage, opPanelState), FIELD(cage, audAlarmState), FIELD(cage, enclosureID));
}

// The file gives one arm of a record's union at most. It need not be the arm that belongs to the
// type, since a real record may hold anything in the arm that nobody should read.

static void decode(JsonObject& file, api_Cage_t& cage)
{
    file.need(FIELD(cage, deviceID), FIELD(cage, type));
    file.read(FIELD(cage, elementName), FIELD(cage, position), FIELD(cage, mfg), FIELD(cage, wwn),
              FIELD(cage, location), FIELD(cage, subType), FIELD(cage, chainPosA),
              FIELD(cage, chainPosB), FIELD(cage, cimState), FIELD(cage, overallState));
    cage.loopSplit = file.flag("loopSplit");
    cage.locateON = file.flag("locateON");
    file.oneArmOf({"kbod", "lbod", "sbod"});
    file.read(FIELD(cage.u, kbod), FIELD(cage.u, lbod), FIELD(cage.u, sbod));
}

static void decode(JsonObject& file, api_CagePS_t& cage)
{
    file.need(FIELD(cage, name), FIELD(cage, type));
    readSensors(file, cage.sensors, cage.sensCount);
}

static void decode(JsonObject& file, api_MagazineLbod_t& magazine)
{
    file.read(FIELD(magazine, systemLED), FIELD(magazine, hplLED));
    magazine.isLeft = file.flag("isLeft");
    magazine.isRight = file.flag("isRight");
}

static void decode(JsonObject& file, api_MagazineSbod_t& magazine)
{
    file.read(FIELD(magazine, loopsState));
}

static void decode(JsonObject& file, api_Magazine_t& magazine)
{
    magazine.isAbsent = file.flag("isAbsent");
    if (!magazine.isAbsent) file.need(FIELD(magazine, deviceID));
    file.read(FIELD(magazine, deviceID), FIELD(magazine, parentDeviceID), FIELD(magazine, cageType),
              FIELD(magazine, position), FIELD(magazine, cageElementName),
              FIELD(magazine, cagePosition), FIELD(magazine, elemName), FIELD(magazine, mfg),
              FIELD(magazine, stateLoopA), FIELD(magazine, stateLoopB), FIELD(magazine, diskCount));
    magazine.locateON = file.flag("locateON");
    file.oneArmOf({"lbod", "sbod"});
    file.read(FIELD(magazine.u, lbod), FIELD(magazine.u, sbod));
}

static void decode(JsonObject& file, api_FCALLoop_t& loop)
{
    file.read(FIELD(loop, loopPortWWN), FIELD(loop, nodePortWWN), FIELD(loop, nodePort),
              FIELD(loop, nodeDeviceID), FIELD(loop, linkSpeed), FIELD(loop, locateON));
}

static void decode(JsonObject& file, api_FCALLeds_t& leds)
{
    file.read(FIELD(leds, split), FIELD(leds, system), FIELD(leds, hpl));
}

static void decode(JsonObject& file, api_FCALKbod_t& card)
{
    file.read(FIELD(card, leds), FIELD(card, fwState), FIELD(card, fwVersion),
              FIELD(card, cpuSelfState), FIELD(card, cpuPartnerState), FIELD(card, loopALinkLED),
              FIELD(card, loopBLinkLED));
}

static void decode(JsonObject& file, api_FCALLbodLoop_t& loop)
{
    file.read(FIELD(loop, linkRX), FIELD(loop, linkTX));
}

static void decode(JsonObject& file, api_FCALLbod_t& card)
{
    file.read(FIELD(card, leds), FIELD(card, loopA), FIELD(card, loopB));
}

static void decode(JsonObject& file, api_FCALSbod_t& card)
{
    card.master = file.flag("master");
    file.read(FIELD(card, loopState), FIELD(card, fwState), FIELD(card, fwVersion),
              FIELD(card, ifcState), FIELD(card, eshState), FIELD(card, extEshState));
}

static void decode(JsonObject& file, api_FCAL_t& card)
{
    file.need(FIELD(card, deviceID), FIELD(card, cageType));
    file.read(FIELD(card, parentDeviceID), FIELD(card, cageElementName), FIELD(card, cagePosition),
              FIELD(card, position), FIELD(card, elementName), FIELD(card, mfg), FIELD(card, loopA),
              FIELD(card, loopB));
    card.isLoopA = file.flag("isLoopA");
    card.isLoopB = file.flag("isLoopB");
    file.oneArmOf({"kbod", "lbod", "sbod"});
    file.read(FIELD(card.u, kbod), FIELD(card.u, lbod), FIELD(card.u, sbod));
}

/// Labels of letters, digits, '-' and '_' with points between; the last is no number, but in an
/// IPv4 address.
static bool isHostName(std::string_view text)
{
    const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
    const auto isOfLabel = [&](char c) {
        return isDigit(c) || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '-' ||
               c == '_';
    };
    unsigned labels = 0, numbers = 0;
    bool isNumber = false;
    for (std::size_t begin = 0; begin <= text.size();) {
        const std::size_t end = std::min(text.find('.', begin), text.size());
        const std::string_view label = text.substr(begin, end - begin);
        if (label.empty() || label[0] == '-') return false;
        if (!std::all_of(label.begin(), label.end(), isOfLabel)) return false;
        isNumber = std::all_of(label.begin(), label.end(), isDigit);
        ++labels;
        numbers += isNumber ? 1 : 0;
        begin = end + 1;
    }
    return !isNumber || (labels == 4 && numbers == 4);
}

/// Clients get the array's name as the host of every object path, and their libraries take no other
/// text for one.
static void checkHostName(const JsonValue& name)
{
    std::string text;
    name.read(text);
    if (!text.empty() && !isHostName(text))
        name.fail("'" + text + "' is no host name: use letters, digits, '-', '_' and points");
}

static void decode(JsonObject& file, api_StorageArray_t& array)
{
    if (const auto name = file.find("elementName")) checkHostName(*name);
    file.read(FIELD(array, elementName), FIELD(array, operationalStatus),
              FIELD(array, statusDescriptions), FIELD(array, name), FIELD(array, model),
              FIELD(array, serial), FIELD(array, ownerContact), FIELD(array, ownerName),
              FIELD(array, description), FIELD(array, nameFormat), FIELD(array, systemID),
              FIELD(array, systemType), FIELD(array, isQuadPort));
}

/// Reads privilege keys: lower-case, exact or with a trailing '*'.
static void readKeys(const JsonValue& list, std::vector<std::string>& keys)
{
    for (const JsonValue& value : list.elements()) {
        std::string& key = keys.emplace_back();
        value.read(key);
        const auto isUpper = [](char c) { return c >= 'A' && c <= 'Z'; };
        if (std::any_of(key.begin(), key.end(), isUpper)) value.fail("keys are in lower case");
        if (key.find('*') < key.size() - 1) value.fail("'*' can only stand at the end of a key");
    }
}

static void decode(JsonObject& file, User& user)
{
    file.need(FIELD(user, name));
    file.read(FIELD(user, mayOpen));
    if (const auto keys = file.find("privileges")) readKeys(*keys, user.privileges.emplace());
}

static void readUsers(const JsonValue& list, std::vector<User>& users)
{
    for (const JsonValue& value : list.elements()) {
        User user;
        value.read(user);
        const auto isSame = [&](const User& other) { return other.name == user.name; };
        if (std::any_of(users.begin(), users.end(), isSame))
            value.fail("duplicate user '" + user.name + "'");
        users.push_back(std::move(user));
    }
}

static void readFaults(const JsonValue& list, FaultPlan& plan)
{
    for (const JsonValue& value : list.elements()) {
        JsonObject entry(value);
        std::string operation;
        unsigned call = 0, delay = 0;
        int code = 0;
        entry.need("operation", operation);
        if (!canFail(operation))
            entry.find("operation")
                ->fail("'" + operation + "' is no function of qbxapi.h that can fail");
        entry.read("call", call, "delay", delay, "code", code);
        Fault fault{std::nullopt, true, std::chrono::milliseconds(delay)};
        if (entry.find("code")) fault = {code, false, fault.delay};
        if (fault.doesWork && delay == 0) value.fail("neither 'code' nor 'delay' is given");
        entry.done();
        if (!plan.set(operation, call, fault)) value.fail("duplicate fault of these calls");
    }
}

static void decode(JsonObject& file, Array& array)
{
    std::string schema;  // for editors only
    double cacheSeconds = 0;
    Records& records = array.records;
    file.read("$schema", schema, FIELD(array, nodeIPaddress), "cacheSeconds", cacheSeconds);
    if (cacheSeconds < 0 || cacheSeconds > 86400)
        file.find("cacheSeconds")->fail("expected a number from 0 to 86400");
    array.cacheTime = std::chrono::milliseconds(static_cast<std::int64_t>(cacheSeconds * 1000));
    file.need(FIELD(array, storageArray));
    // The elements of these lists have been read, and are no longer in them.
    file.read(FIELD(records, cages), FIELD(records, cagesPS), FIELD(records, magazines),
              FIELD(records, fcals));
    for (const api_Cage_t& cage : records.cages)
        array.locations.push_back(fieldText(cage.location));
    if (const auto users = file.find("users")) readUsers(*users, array.users);
    if (const auto keys = file.find("privilegeKeys"))
        readKeys(*keys, array.privilegeKeys.emplace());
    if (const auto faults = file.find("faults")) readFaults(*faults, array.faults);
}

static void decode(JsonObject& file, Firmware& firmware)
{
    std::uint8_t format = 0;
    file.need("qbxFirmware", format);
    if (format != 1) file.find("qbxFirmware")->fail("expected 1, the format of these files");
    file.need(FIELD(firmware, version));
    if (firmware.version[0] == '\0') file.find("version")->fail("expected a version");
    file.need(FIELD(firmware, cageTypes));
}

static void decode(JsonObject& file, KeptLocation& location)
{
    file.need(FIELD(location, cage), FIELD(location, from), FIELD(location, to));
}

static void decode(JsonObject& file, State& state)
{
    file.need(FIELD(state, locations));
}

template <class Content>
Content parse(const std::string& file, const std::string& text)
{
    const JsonValue::Document document(file, text);
    Content content;
    document.root().read(content);
    return content;
}

/// Warns of elements that have the same name: who looks for it finds the first one only.
template <class Record, std::size_t N>
static void warnOfTwins(const JsonValue::Document& document, const std::string& list,
                        const std::vector<Record>& records, const std::string& field,
                        char (Record::*name)[N], std::vector<std::string>& warnings)
{
    std::unordered_map<std::string, std::string> seen;  // names, with pointers to them
    std::vector<std::array<std::string, 3>> twins;      // names, with pointers to both
    std::set<std::string> pointers;
    for (std::size_t i = 0; i < records.size(); ++i) {
        if (!isThere(records[i])) continue;
        const std::string text = fieldText(records[i].*name);
        const std::string pointer = '/' + list + '/' + std::to_string(i) + '/' + field;
        const auto [first, isNew] = seen.emplace(text, pointer);
        if (isNew) continue;
        twins.push_back({text, first->second, pointer});
        pointers.insert({first->second, pointer});
    }
    if (twins.empty()) return;
    const auto lines = document.linesOf(pointers);
    for (const auto& [text, first, second] : twins)
        warnings.push_back(document.placed(
            lines.at(second), second,
            "'" + text + "' is given twice, first in line " + std::to_string(lines.at(first))));
}

/// A reader that adds each element to a list of records.
template <class Record>
static std::function<void(const JsonValue&)> into(std::vector<Record>& list)
{
    return [&list](const JsonValue& value) { value.read(list.emplace_back()); };
}

template <>
Array parse(const std::string& file, const std::string& text)
{
    Array array;
    Records& records = array.records;
    const JsonValue::Document document(file, text,
                                       {{"cages", into(records.cages)},
                                        {"cagesPS", into(records.cagesPS)},
                                        {"magazines", into(records.magazines)},
                                        {"fcals", into(records.fcals)}});
    document.root().read(array);
    const auto warn = [&](const char* list, const auto& of, const char* field, auto name) {
        warnOfTwins(document, list, of, field, name, array.warnings);
    };
    warn("cages", records.cages, "deviceID", &api_Cage_t::deviceID);
    warn("magazines", records.magazines, "deviceID", &api_Magazine_t::deviceID);
    warn("fcals", records.fcals, "deviceID", &api_FCAL_t::deviceID);
    warn("cagesPS", records.cagesPS, "name", &api_CagePS_t::name);
    return array;
}

template Firmware parse(const std::string&, const std::string&);
template State parse(const std::string&, const std::string&);

/// `text` as a file can hold it: a JSON text is always UTF-8.
static std::string printable(const std::string& text)
{
    try {
        if (text.rfind("hex:", 0) != 0 && !nlohmann::json(text).dump().empty()) return text;
    } catch (const nlohmann::json::type_error&) {
        // not UTF-8
    }
    std::string hex = "hex:";
    char digits[3] = {};
    for (const char byte : text) {
        std::snprintf(digits, sizeof digits, "%02X", static_cast<unsigned char>(byte));
        hex += digits;
    }
    return hex;
}

std::string formatState(const State& state)
{
    nlohmann::json locations = nlohmann::json::array();
    for (const KeptLocation& location : state.locations)
        locations.push_back({{"cage", printable(location.cage)},
                             {"from", printable(location.from)},
                             {"to", printable(location.to)}});
    return nlohmann::json{{"locations", locations}}.dump(2) + '\n';
}

}  // namespace qbxsim
