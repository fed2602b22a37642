#include "ArrayFile.h"

#include "JsonFile.h"

#include <algorithm>
#include <cstdio>
#include <utility>

// Names and fields in the files are those of qbxapi.h.

namespace qbxsim
{

template <>
CodeNames codeNames<jb_type_e>()
{
    return {{"JB_UNKNOWN", JB_UNKNOWN}, {"JB_JBOD", JB_JBOD}, {"JB_KBOD", JB_KBOD},
            {"JB_LBOD", JB_LBOD},       {"JB_DC3", JB_DC3},   {"JB_MBOD", JB_MBOD}};
}

template <>
CodeNames codeNames<jb_subtype_e>()
{
    return {{"JB_SUBTYP_UNKNOWN", JB_SUBTYP_UNKNOWN},
            {"JB_SUBTYP_FC", JB_SUBTYP_FC},
            {"JB_SUBTYP_DC3SATA", JB_SUBTYP_DC3SATA},
            {"JB_SUBTYP_DC3ALPHAFC", JB_SUBTYP_DC3ALPHAFC}};
}

template <>
CodeNames codeNames<api_state_e>()
{
    return {{"API_STATE_UNKNOWN", API_STATE_UNKNOWN},
            {"API_STATE_OTHER", API_STATE_OTHER},
            {"API_STATE_OK", API_STATE_OK},
            {"API_STATE_DEGRADED", API_STATE_DEGRADED},
            {"API_STATE_STRESSED", API_STATE_STRESSED},
            {"API_STATE_PREDICTIVE_FAILURE", API_STATE_PREDICTIVE_FAILURE},
            {"API_STATE_ERROR", API_STATE_ERROR},
            {"API_STATE_NON_RECOV_ERROR", API_STATE_NON_RECOV_ERROR},
            {"API_STATE_STARTING", API_STATE_STARTING},
            {"API_STATE_STOPPING", API_STATE_STOPPING},
            {"API_STATE_STOP", API_STATE_STOP},
            {"API_STATE_IN_SERVICE", API_STATE_IN_SERVICE},
            {"API_STATE_NO_CONTACT", API_STATE_NO_CONTACT},
            {"API_STATE_LOST_COMMUNICATION", API_STATE_LOST_COMMUNICATION},
            {"API_STATE_ABORTED", API_STATE_ABORTED},
            {"API_STATE_DORMANT", API_STATE_DORMANT},
            {"API_STATE_SUPPORTING_ENTITY_IN_ERROR", API_STATE_SUPPORTING_ENTITY_IN_ERROR},
            {"API_STATE_COMPLETED", API_STATE_COMPLETED},
            {"API_STATE_POWER_MODE", API_STATE_POWER_MODE}};
}

template <>
CodeNames codeNames<api_overall_state_e>()
{
    return {{"ES_UNKNOWN", ES_UNKNOWN},
            {"ES_NORMAL", ES_NORMAL},
            {"ES_DEGRADED", ES_DEGRADED},
            {"ES_FAILED", ES_FAILED}};
}

template <>
CodeNames codeNames<api_led_state_e>()
{
    return {{"LED_STATE_UNKNOWN", LED_STATE_UNKNOWN},
            {"LED_STATE_OFF", LED_STATE_OFF},
            {"LED_STATE_GREEN", LED_STATE_GREEN},
            {"LED_STATE_GREEN_BLINKING", LED_STATE_GREEN_BLINKING},
            {"LED_STATE_AMBER", LED_STATE_AMBER},
            {"LED_STATE_AMBER_BLINKING", LED_STATE_AMBER_BLINKING},
            {"LED_STATE_BLUE", LED_STATE_BLUE},
            {"LED_STATE_BLUE_BLINKING", LED_STATE_BLUE_BLINKING}};
}

template <>
CodeNames codeNames<api_data_rate_e>()
{
    return {
        {"PORT_DATA_RATE_NA", PORT_DATA_RATE_NA},    {"PORT_DATA_RATE_1G", PORT_DATA_RATE_1G},
        {"PORT_DATA_RATE_2G", PORT_DATA_RATE_2G},    {"PORT_DATA_RATE_AUTO", PORT_DATA_RATE_AUTO},
        {"PORT_DATA_RATE_4G", PORT_DATA_RATE_4G},    {"PORT_DATA_RATE_8G", PORT_DATA_RATE_8G},
        {"PORT_DATA_RATE_10G", PORT_DATA_RATE_10G},  {"PORT_DATA_RATE_10M", PORT_DATA_RATE_10M},
        {"PORT_DATA_RATE_100M", PORT_DATA_RATE_100M}};
}

// `static` rather than in an anonymous namespace: JsonValue finds them through their namespace.

static void decode(JsonObject& file, api_StatePair_t& state)
{
    file.read("actual", state.actual);
    file.read("overall", state.overall);
}

static void decode(JsonObject& file, api_Mfg_t& mfg)
{
    file.read("vendor", mfg.vendor);
    file.read("model", mfg.model);
    file.read("serial", mfg.serial);
}

static void decode(JsonObject& file, api_sensor_t& sensor)
{
    char unit[1] = {};
    file.read("position", sensor.position);
    file.read("name", sensor.name);
    file.read("state", sensor.state);
    if (file.read("type", unit)) sensor.type = static_cast<std::uint8_t>(unit[0]);
    file.read("reading", sensor.reading);
    file.read("limit_low", sensor.limit_low);
    file.read("limit_high", sensor.limit_high);
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
    file.read("fwVersion", cage.fwVersion);
    file.read("fwState", cage.fwState);
    file.read("cpuState", cage.cpuState);
    file.read("sensValid", cage.sensValid);
    readSensors(file, cage.sensors, cage.sensCount);
}

static void decode(JsonObject& file, api_CageSbod_t& cage)
{
    file.read("tempState", cage.tempState);
    file.read("tempValue", cage.tempValue);
    file.read("tempThresh", cage.tempThresh);
    file.read("opPanelState", cage.opPanelState);
    file.read("audAlarmState", cage.audAlarmState);
    file.read("enclosureID", cage.enclosureID);
}

/// Reads the arms of a record's union that the file gives: one at most. It need not be the arm that
/// belongs to the type, since a real record may hold anything in the arm that nobody should read.
template <class... Arm>
static void readArm(JsonObject& file, std::pair<const char*, Arm*>... arms)
{
    bool isRead = false;
    const auto readIfGiven = [&](const char* name, auto* arm) {
        const auto value = file.find(name);
        if (!value) return;
        if (isRead) value->fail("only one arm of the union can be given");
        value->read(*arm);
        isRead = true;
    };
    (readIfGiven(arms.first, arms.second), ...);
}

static void decode(JsonObject& file, api_Cage_t& cage)
{
    file.need("deviceID", cage.deviceID);
    file.read("elementName", cage.elementName);
    file.read("position", cage.position);
    file.read("mfg", cage.mfg);
    file.read("wwn", cage.wwn);
    file.read("location", cage.location);
    file.need("type", cage.type);
    file.read("subType", cage.subType);
    cage.loopSplit = file.flag("loopSplit");
    file.read("chainPosA", cage.chainPosA);
    file.read("chainPosB", cage.chainPosB);
    cage.locateON = file.flag("locateON");
    file.read("cimState", cage.cimState);
    file.read("overallState", cage.overallState);
    readArm(file, std::pair("kbod", &cage.u.kbod), std::pair("lbod", &cage.u.lbod),
            std::pair("sbod", &cage.u.sbod));
}

static void decode(JsonObject& file, api_CagePS_t& cage)
{
    file.need("name", cage.name);
    file.need("type", cage.type);
    readSensors(file, cage.sensors, cage.sensCount);
}

static void decode(JsonObject& file, api_MagazineLbod_t& magazine)
{
    file.read("systemLED", magazine.systemLED);
    file.read("hplLED", magazine.hplLED);
    magazine.isLeft = file.flag("isLeft");
    magazine.isRight = file.flag("isRight");
}

static void decode(JsonObject& file, api_Magazine_t& magazine)
{
    magazine.isAbsent = file.flag("isAbsent");
    if (magazine.isAbsent)
        file.read("deviceID", magazine.deviceID);
    else
        file.need("deviceID", magazine.deviceID);
    file.read("parentDeviceID", magazine.parentDeviceID);
    file.read("cageType", magazine.cageType);
    file.read("position", magazine.position);
    file.read("cageElementName", magazine.cageElementName);
    file.read("cagePosition", magazine.cagePosition);
    file.read("elemName", magazine.elemName);
    file.read("mfg", magazine.mfg);
    file.read("stateLoopA", magazine.stateLoopA);
    file.read("stateLoopB", magazine.stateLoopB);
    magazine.locateON = file.flag("locateON");
    file.read("diskCount", magazine.diskCount);
    readArm(file, std::pair("lbod", &magazine.u.lbod), std::pair("sbod", &magazine.u.sbod));
}

static void decode(JsonObject& file, api_MagazineSbod_t& magazine)
{
    file.read("loopsState", magazine.loopsState);
}

static void decode(JsonObject& file, api_FCALLoop_t& loop)
{
    file.read("loopPortWWN", loop.loopPortWWN);
    file.read("nodePortWWN", loop.nodePortWWN);
    file.read("nodePort", loop.nodePort);
    file.read("nodeDeviceID", loop.nodeDeviceID);
    file.read("linkSpeed", loop.linkSpeed);
    file.read("locateON", loop.locateON);
}

static void decode(JsonObject& file, api_FCALLeds_t& leds)
{
    file.read("split", leds.split);
    file.read("system", leds.system);
    file.read("hpl", leds.hpl);
}

static void decode(JsonObject& file, api_FCALKbod_t& card)
{
    file.read("leds", card.leds);
    file.read("fwState", card.fwState);
    file.read("fwVersion", card.fwVersion);
    file.read("cpuSelfState", card.cpuSelfState);
    file.read("cpuPartnerState", card.cpuPartnerState);
    file.read("loopALinkLED", card.loopALinkLED);
    file.read("loopBLinkLED", card.loopBLinkLED);
}

static void decode(JsonObject& file, api_FCALLbodLoop_t& loop)
{
    file.read("linkRX", loop.linkRX);
    file.read("linkTX", loop.linkTX);
}

static void decode(JsonObject& file, api_FCALLbod_t& card)
{
    file.read("leds", card.leds);
    file.read("loopA", card.loopA);
    file.read("loopB", card.loopB);
}

static void decode(JsonObject& file, api_FCALSbod_t& card)
{
    card.master = file.flag("master");
    file.read("loopState", card.loopState);
    file.read("fwState", card.fwState);
    file.read("fwVersion", card.fwVersion);
    file.read("ifcState", card.ifcState);
    file.read("eshState", card.eshState);
    file.read("extEshState", card.extEshState);
}

static void decode(JsonObject& file, api_FCAL_t& card)
{
    file.need("deviceID", card.deviceID);
    file.read("parentDeviceID", card.parentDeviceID);
    file.need("cageType", card.cageType);
    file.read("cageElementName", card.cageElementName);
    file.read("cagePosition", card.cagePosition);
    file.read("position", card.position);
    file.read("elementName", card.elementName);
    file.read("mfg", card.mfg);
    card.isLoopA = file.flag("isLoopA");
    card.isLoopB = file.flag("isLoopB");
    file.read("loopA", card.loopA);
    file.read("loopB", card.loopB);
    readArm(file, std::pair("kbod", &card.u.kbod), std::pair("lbod", &card.u.lbod),
            std::pair("sbod", &card.u.sbod));
}

static void decode(JsonObject& file, api_StorageArray_t& array)
{
    file.read("elementName", array.elementName);
    file.read("operationalStatus", array.operationalStatus);
    file.read("statusDescriptions", array.statusDescriptions);
    file.read("name", array.name);
    file.read("model", array.model);
    file.read("serial", array.serial);
    file.read("ownerContact", array.ownerContact);
    file.read("ownerName", array.ownerName);
    file.read("description", array.description);
    file.read("nameFormat", array.nameFormat);
    file.read("systemID", array.systemID);
    file.read("systemType", array.systemType);
    file.read("isQuadPort", array.isQuadPort);
}

/// Reads privilege keys: lower-case, exact or with a trailing '*'.
static void readKeys(const JsonValue& list, std::vector<std::string>& keys)
{
    for (const JsonValue& value : list.elements(UINT32_MAX)) {
        std::string& key = keys.emplace_back();
        value.read(key);
        const auto isUpper = [](char c) { return c >= 'A' && c <= 'Z'; };
        if (std::any_of(key.begin(), key.end(), isUpper)) value.fail("keys are in lower case");
        if (key.find('*') < key.size() - 1) value.fail("'*' can only stand at the end of a key");
    }
}

static void decode(JsonObject& file, User& user)
{
    file.need("name", user.name);
    file.read("mayOpen", user.mayOpen);
    if (const auto keys = file.find("privileges")) readKeys(*keys, user.privileges.emplace());
}

static void readUsers(const JsonValue& list, std::vector<User>& users)
{
    for (const JsonValue& value : list.elements(UINT32_MAX)) {
        User user;
        value.read(user);
        const auto isSame = [&](const User& other) { return other.name == user.name; };
        if (std::any_of(users.begin(), users.end(), isSame))
            value.fail("user '" + user.name + "' is described twice");
        users.push_back(std::move(user));
    }
}

static void decode(JsonObject& file, Array& array)
{
    std::string schema;  // for editors only
    double cacheSeconds = 0;
    file.read("$schema", schema);
    if (file.read("cacheSeconds", cacheSeconds) && (cacheSeconds < 0 || cacheSeconds > 86400))
        file.find("cacheSeconds")->fail("expected a number from 0 to 86400");
    array.cacheTime = std::chrono::milliseconds(static_cast<std::int64_t>(cacheSeconds * 1000));
    file.read("nodeIPaddress", array.nodeIPaddress);
    file.need("storageArray", array.storageArray);
    file.read("cages", array.records.cages);
    file.read("cagesPS", array.records.cagesPS);
    file.read("magazines", array.records.magazines);
    file.read("fcals", array.records.fcals);
    if (const auto users = file.find("users")) readUsers(*users, array.users);
    if (const auto keys = file.find("privilegeKeys"))
        readKeys(*keys, array.privilegeKeys.emplace());
}

static void decode(JsonObject& file, Firmware& firmware)
{
    std::uint8_t format = 0;
    file.need("qbxFirmware", format);
    if (format != 1) file.find("qbxFirmware")->fail("expected 1, the format of these files");
    file.need("version", firmware.version);
    if (firmware.version[0] == '\0') file.find("version")->fail("expected a version");
    file.need("cageTypes", firmware.cageTypes);
}

static void decode(JsonObject& file, KeptLocation& location)
{
    file.need("cage", location.cage);
    file.need("from", location.from);
    file.need("to", location.to);
}

static void decode(JsonObject& file, State& state)
{
    file.need("locations", state.locations);
}

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

template <class Content>
static Content parse(const std::string& file, const std::string& text)
{
    const JsonValue::Document document(file, text);
    Content content;
    document.root().read(content);
    return content;
}

Array parseArray(const std::string& file, const std::string& text)
{
    return parse<Array>(file, text);
}

Firmware parseFirmware(const std::string& file, const std::string& text)
{
    return parse<Firmware>(file, text);
}

State parseState(const std::string& file, const std::string& text)
{
    return parse<State>(file, text);
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
