// What an array file says is what the records hold, byte by byte; what is wrong with a file is told
// with line and field; and the schema that editors use says the same as the reader.
#include "Simulator.h"

#include <valijson/adapters/nlohmann_json_adapter.hpp>
#include <valijson/schema.hpp>
#include <valijson/schema_parser.hpp>
#include <valijson/validator.hpp>

#include <map>
#include <set>

extern "C" size_t sizeOfCageInC(void);

using namespace std::string_literals;

namespace
{

/// Bytes of a record that are not 0.
using Bytes = std::map<std::size_t, std::string>;

struct FieldCase
{
    const char* list;   // section of the file
    const char* field;  // pointer within the record
    std::string value;  // JSON
    Bytes bytes;
};

std::string bytes(std::initializer_list<int> values)
{
    return {values.begin(), values.end()};
}

template <class Record>
std::string memoryOf(const std::vector<Record>& list)
{
    return {reinterpret_cast<const char*>(list.data()), list.size() * sizeof(Record)};
}

std::string memoryOfList(const std::string& list)
{
    if (list == "cages") return memoryOf(cages());
    if (list == "magazines") return memoryOf(magazines());
    if (list == "fcals") return memoryOf(fcals());
    if (list == "cagesPS")
        return memoryOf(records(api_getCagesPS_Cached, &api_CagePSList_t::cages));
    api_StorageArray_t array = {};
    EXPECT_EQ(api_getStorageArray(&array), 0);
    return {reinterpret_cast<const char*>(&array), sizeof array};
}

/// A record that needs nothing more, all zeros.
Json emptyRecord(const std::string& list)
{
    if (list == "cages") return {{"deviceID", ""}, {"type", 0}};
    if (list == "cagesPS") return {{"name", ""}, {"type", 0}};
    if (list == "magazines") return {{"deviceID", ""}};
    if (list == "fcals") return {{"deviceID", ""}, {"cageType", 0}};
    return Json::object();
}

class ArrayFileTest : public SimulatorTest
{
protected:
    void checkFields(const std::vector<FieldCase>& cases)
    {
        for (const FieldCase& test : cases) {
            SCOPED_TRACE(std::string(test.list) + test.field + " = " + test.value);
            Json record = emptyRecord(test.list);
            record[Json::json_pointer(test.field)] = Json::parse(test.value);
            const bool isSystem = std::string(test.list) == "storageArray";
            serve({{test.list, isSystem ? record : Json::array({record})}});
            const std::string memory = memoryOfList(test.list);
            std::string expected(memory.size(), '\0');
            for (const auto& [offset, text] : test.bytes)
                expected.replace(offset, text.size(), text);
            for (std::size_t i = 0; i < memory.size(); ++i)
                ASSERT_EQ(int(memory[i]), int(expected[i])) << "byte " << i;
        }
    }

    /// What loading a text says, without time, thread and file name.
    std::string faultIn(const std::string& text)
    {
        write("bad.json", text);
        write("log", "");
        if (qbxsim_loadFile(path("bad.json").c_str()) == 0) return "";
        const std::string line = log();
        const std::size_t start = line.find("bad.json:");
        const std::size_t end = line.find(" (no array is in service until it is mended)\n");
        if (start == std::string::npos || end == std::string::npos) return "not told: " + line;
        return line.substr(start + 9, end - start - 9);
    }
};

TEST_F(ArrayFileTest, PutsEveryFieldOfACageWhereTheRecordHasIt)
{
    const std::string full(65, 'x');
    checkFields({
        {"cages", "/deviceID", "\"cage0\"", {{0, "cage0"}}},
        {"cages", "/deviceID", '"' + full + '"', {{0, full}}},
        {"cages",
         "/elementName",
         "\"Käfig\"",
         {{65,
           "K\xC3\xA4"
           "fig"}}},
        {"cages", "/elementName", "\"hex:C3 28ff\"", {{65, "\xC3\x28\xFF"}}},
        {"cages", "/position", "258", {{98, bytes({2, 1})}}},
        {"cages",
         "/mfg",
         R"({"vendor": "V", "model": "M", "serial": "S"})",
         {{100, "V"}, {132, "M"}, {197, "S"}}},
        {"cages", "/wwn", "\"0x2FF70002AC00001A\"", {{232, "\x1A\0\0\xAC\x02\0\xF7\x2F"s}}},
        {"cages", "/wwn", "18446744073709551615", {{232, std::string(8, '\xFF')}}},
        {"cages", "/location", "\"Rack 1\"", {{240, "Rack 1"}}},
        {"cages", "/type", "\"JB_MBOD\"", {{500, bytes({5})}}},
        {"cages", "/type", "-2", {{500, bytes({0xFE, 0xFF, 0xFF, 0xFF})}}},
        {"cages", "/subType", "\"JB_SUBTYP_UNKNOWN\"", {{504, std::string(4, '\xFF')}}},
        {"cages", "/subType", "\"JB_SUBTYP_DC3ALPHAFC\"", {{504, bytes({2})}}},
        {"cages", "/loopSplit", "true", {{508, bytes({1})}}},
        {"cages", "/chainPosA", "\"0xFFFC\"", {{510, bytes({0xFC, 0xFF})}}},
        {"cages", "/chainPosB", "3", {{512, bytes({3})}}},
        {"cages", "/locateON", "true", {{514, bytes({1})}}},
        {"cages", "/cimState", "\"API_STATE_POWER_MODE\"", {{516, bytes({18})}}},
        {"cages", "/overallState", "\"ES_FAILED\"", {{520, bytes({3})}}},
        {"cages", "/kbod", R"({"isLeft": true})", {{524, bytes({1})}}},
        {"cages", "/kbod", R"({"isRight": true})", {{524, bytes({2})}}},
        {"cages", "/lbod/fwVersion", "\"5.07\"", {{524, "5.07"}}},
        {"cages",
         "/lbod/fwState",
         R"({"actual": 65537, "overall": 2})",
         {{556, bytes({1, 0, 1, 0, 2})}}},
        {"cages",
         "/lbod/cpuState",
         R"({"actual": 7, "overall": "ES_NORMAL"})",
         {{564, bytes({7, 0, 0, 0, 1})}}},
        {"cages", "/lbod/sensValid", "513", {{572, bytes({1, 2})}}},
        {"cages", "/lbod/sensCount", "10", {{574, bytes({10})}}},
        {"cages",
         "/lbod/sensors",
         R"([null, {"position": 258, "name": "T", "state": 3, "type": "C", "reading": 772,
                    "limit_low": 1286, "limit_high": 1800}])",
         {{574, bytes({2})},
          {618, bytes({2, 1}) + "T"},
          {652, bytes({3}) + "C" + bytes({4, 3, 6, 5, 8, 7})}}},
        {"cages", "/sbod/tempState", R"({"actual": 1})", {{524, bytes({1})}}},
        {"cages", "/sbod/tempValue", "258", {{532, bytes({2, 1})}}},
        {"cages", "/sbod/tempThresh", R"({"actual": 2})", {{536, bytes({2})}}},
        {"cages", "/sbod/opPanelState", R"({"actual": 3})", {{544, bytes({3})}}},
        {"cages", "/sbod/audAlarmState", R"({"actual": 4})", {{552, bytes({4})}}},
        {"cages", "/sbod/enclosureID", "255", {{560, bytes({255})}}},
        {"cagesPS", "/name", "\"cage0\"", {{1, "cage0"}}},
        {"cagesPS", "/type", "\"JB_LBOD\"", {{424, bytes({3})}}},
        {"cagesPS",
         "/sensors",
         R"([null, null, null, null, {"limit_high": 9}])",
         {{490, bytes({5})}, {492 + 4 * 42 + 40, bytes({9})}}},
    });
    EXPECT_EQ(sizeOfCageInC(), sizeof(api_Cage_t));
}

TEST_F(ArrayFileTest, PutsEveryFieldOfAMagazineWhereTheRecordHasIt)
{
    checkFields({
        {"magazines", "/isAbsent", "true", {{0, bytes({1})}}},
        {"magazines", "/deviceID", "\"mag0\"", {{1, "mag0"}}},
        {"magazines", "/parentDeviceID", "\"cage0\"", {{66, "cage0"}}},
        {"magazines", "/cageType", "\"JB_DC3\"", {{132, bytes({4})}}},
        {"magazines", "/position", "258", {{136, bytes({2, 1})}}},
        {"magazines", "/cageElementName", "\"C\"", {{138, "C"}}},
        {"magazines", "/cagePosition", "258", {{170, bytes({2, 1})}}},
        {"magazines", "/elemName", "\"E\"", {{172, "E"}}},
        {"magazines",
         "/mfg",
         R"({"vendor": "V", "model": "M", "serial": "S"})",
         {{204, "V"}, {236, "M"}, {301, "S"}}},
        {"magazines",
         "/stateLoopA",
         R"({"actual": 5, "overall": "ES_FAILED"})",
         {{336, bytes({5, 0, 0, 0, 3})}}},
        {"magazines",
         "/stateLoopB",
         R"({"actual": 6, "overall": "ES_DEGRADED"})",
         {{344, bytes({6, 0, 0, 0, 2})}}},
        {"magazines", "/locateON", "true", {{352, bytes({1})}}},
        {"magazines", "/diskCount", "4", {{353, bytes({4})}}},
        {"magazines", "/lbod/systemLED", "\"LED_STATE_BLUE_BLINKING\"", {{356, bytes({7})}}},
        {"magazines", "/lbod/hplLED", "\"LED_STATE_AMBER\"", {{360, bytes({4})}}},
        {"magazines", "/lbod/isLeft", "true", {{364, bytes({1})}}},
        {"magazines", "/lbod/isRight", "true", {{364, bytes({2})}}},
        {"magazines", "/sbod/loopsState", "\"LED_STATE_GREEN\"", {{356, bytes({2})}}},
    });
}

TEST_F(ArrayFileTest, PutsEveryFieldOfACardWhereTheRecordHasIt)
{
    checkFields({
        {"fcals", "/deviceID", "\"card0\"", {{0, "card0"}}},
        {"fcals", "/parentDeviceID", "\"cage0\"", {{65, "cage0"}}},
        {"fcals", "/cageType", "\"JB_KBOD\"", {{132, bytes({2})}}},
        {"fcals", "/cageElementName", "\"C\"", {{136, "C"}}},
        {"fcals", "/cagePosition", "258", {{168, bytes({2, 1})}}},
        {"fcals", "/position", "258", {{170, bytes({2, 1})}}},
        {"fcals", "/elementName", "\"E\"", {{172, "E"}}},
        {"fcals",
         "/mfg",
         R"({"vendor": "V", "model": "M", "serial": "S"})",
         {{204, "V"}, {236, "M"}, {301, "S"}}},
        {"fcals", "/isLoopA", "true", {{333, bytes({1})}}},
        {"fcals", "/isLoopB", "true", {{333, bytes({2})}}},
        {"fcals", "/loopA/loopPortWWN", "[0, 0, 0, 1]", {{336 + 24, bytes({1})}}},
        {"fcals", "/loopA/nodePortWWN", "[\"0x01\"]", {{336 + 32, bytes({1})}}},
        {"fcals",
         "/loopA/nodePort",
         "[\"0x019A\", 0, 65532]",
         {{336 + 64, bytes({0x9A, 1, 0, 0, 0xFC, 0xFF})}}},
        {"fcals", "/loopA/nodeDeviceID", "[\"\", \"N\"]", {{336 + 72 + 65, "N"}}},
        {"fcals",
         "/loopA/linkSpeed",
         "[\"PORT_DATA_RATE_8G\", \"PORT_DATA_RATE_100M\"]",
         {{336 + 332, bytes({8, 0, 0, 0, 12})}}},
        {"fcals", "/loopA/locateON", "[0, 1, 0, 255]", {{336 + 349, bytes({1, 0, 255})}}},
        {"fcals", "/loopB/loopPortWWN", "[1]", {{688, bytes({1})}}},
        {"fcals", "/loopB/locateON", "[1]", {{688 + 348, bytes({1})}}},
        {"fcals",
         "/kbod/leds",
         R"({"split": 1, "system": 2, "hpl": 3})",
         {{1040, bytes({1, 0, 0, 0, 2, 0, 0, 0, 3})}}},
        {"fcals",
         "/kbod/fwState",
         R"({"actual": 1, "overall": 2})",
         {{1052, bytes({1, 0, 0, 0, 2})}}},
        {"fcals", "/kbod/fwVersion", "\"F\"", {{1060, "F"}}},
        {"fcals", "/kbod/cpuSelfState", R"({"actual": 1})", {{1092, bytes({1})}}},
        {"fcals", "/kbod/cpuPartnerState", R"({"actual": 1})", {{1100, bytes({1})}}},
        {"fcals", "/kbod/loopALinkLED", "[1, 2]", {{1108, bytes({1, 0, 0, 0, 2})}}},
        {"fcals", "/kbod/loopBLinkLED", "[1, 2]", {{1116, bytes({1, 0, 0, 0, 2})}}},
        {"fcals", "/lbod/leds", R"({"hpl": 3})", {{1048, bytes({3})}}},
        {"fcals", "/lbod/loopA/linkRX", "[1, 2]", {{1056, bytes({1, 0, 0, 0, 2})}}},
        {"fcals", "/lbod/loopA/linkTX", "[1, 2]", {{1064, bytes({1, 0, 0, 0, 2})}}},
        {"fcals", "/lbod/loopB/linkRX", "[1, 2]", {{2464, bytes({1, 0, 0, 0, 2})}}},
        {"fcals", "/lbod/loopB/linkTX", "[1, 2]", {{2472, bytes({1, 0, 0, 0, 2})}}},
        {"fcals", "/sbod/master", "true", {{1040, bytes({1})}}},
        {"fcals", "/sbod/loopState", R"([{}, {}, {}, {"actual": 9}])", {{1068, bytes({9})}}},
        {"fcals", "/sbod/fwState", R"({"actual": 1})", {{1076, bytes({1})}}},
        {"fcals", "/sbod/fwVersion", "\"F\"", {{1084, "F"}}},
        {"fcals", "/sbod/ifcState", R"({"actual": 1})", {{1116, bytes({1})}}},
        {"fcals", "/sbod/eshState", R"({"actual": 1})", {{1124, bytes({1})}}},
        {"fcals", "/sbod/extEshState", R"({"actual": 1})", {{1132, bytes({1})}}},
    });
}

TEST_F(ArrayFileTest, PutsEveryFieldOfTheStorageArrayWhereTheRecordHasIt)
{
    checkFields({
        {"storageArray", "/elementName", "\"host\"", {{0, "host"}}},
        {"storageArray", "/operationalStatus", "[2, 0, 3]", {{256, bytes({2, 0, 0, 0, 3})}}},
        {"storageArray", "/statusDescriptions", R"(["a", "b"])", {{262, "a"}, {518, "b"}}},
        {"storageArray", "/name", "\"n\"", {{774, "n"}}},
        {"storageArray", "/model", "\"m\"", {{1030, "m"}}},
        {"storageArray", "/serial", "\"s\"", {{1062, "s"}}},
        {"storageArray", "/ownerContact", "\"c\"", {{1094, "c"}}},
        {"storageArray", "/ownerName", "\"o\"", {{1350, "o"}}},
        {"storageArray", "/description", "\"d\"", {{1606, "d"}}},
        {"storageArray", "/nameFormat", "\"f\"", {{1862, "f"}}},
        {"storageArray", "/systemID", "4294967295", {{2120, std::string(4, '\xFF')}}},
        {"storageArray", "/systemType", "1", {{2124, bytes({1})}}},
        {"storageArray", "/isQuadPort", "1", {{2128, bytes({1})}}},
    });
}

TEST_F(ArrayFileTest, TellsLineAndFieldOfWhatIsWrong)
{
    const std::string head = "{\n\"storageArray\": {},\n";
    const struct
    {
        std::string text;
        const char* fault;
    } cases[] = {
        {"",
         "1: syntax error while parsing value - unexpected end of input; expected '[', '{', or a "
         "literal"},
        {"{\n\"storageArray\": {},\n}",
         "3: syntax error while parsing object key - unexpected '}'; "
         "expected string literal"},
        {"[]", "1: /: expected an object"},
        {"{\n}", "1: /: field 'storageArray' is missing"},
        {head + "\"cages\": {}}", "3: /cages: expected a list"},
        {head + "\"cages\": [\n{\"type\": 1}]}", "4: /cages/0: field 'deviceID' is missing"},
        {head +
             "\"cages\": [\n{\"deviceID\": \"a\", \"type\": 1},\n{\"deviceID\": \"b\",\n\"type\": "
             "\"JB_XBOD\"}]}",
         "6: /cages/1/type: expected a number or one of JB_UNKNOWN, JB_JBOD, JB_KBOD, JB_LBOD, "
         "JB_DC3, JB_MBOD"},
        {head + "\"cages\": [{\"deviceID\": \"a\", \"type\": 2147483648}]}",
         "3: /cages/0/type: number does not fit 32 bits"},
        {head + "\"cages\": [{\"deviceID\": \"a\", \"type\": 1,\n\"chainPosA\": 65536\n}]}",
         "4: /cages/0/chainPosA: expected a whole number from 0 to 65535, or \"0x\" and hexadecimal digits"},
        {head + "\"cages\": [{\"deviceID\": \"a\", \"type\": 1,\n\"chainPosA\": -1}]}",
         "4: /cages/0/chainPosA: expected a whole number from 0 to 65535, or \"0x\" and hexadecimal "
         "digits"},
        {head +
             "\"cages\": [{\"deviceID\": \"a\", \"type\": 1, \"wwn\": \"0x12345678901234567\"}]}",
         "3: /cages/0/wwn: expected a whole number from 0 to 18446744073709551615, or \"0x\" and "
         "hexadecimal digits"},
        {head + "\"cages\": [{\"deviceID\": \"a\", \"type\": 1,\n\n\"elementName\": \"hex:4\"}]}",
         "5: /cages/0/elementName: 'hex:' wants an even number of digits"},
        {head + "\"cages\": [{\"deviceID\": \"a\", \"type\": 1, \"elementName\": \"hex:4G\"}]}",
         "3: /cages/0/elementName: '4G' is not a byte in hexadecimal"},
        {head + "\"cages\": [{\"deviceID\": \"" + std::string(66, 'x') + "\", \"type\": 1}]}",
         "3: /cages/0/deviceID: text of 66 bytes; the field holds 65"},
        {head + "\"cages\": [{\"deviceID\": \"a\", \"type\": 1, \"locateON\": 1}]}",
         "3: /cages/0/locateON: expected true or false"},
        {head + "\"cages\": [{\"deviceID\": \"a\", \"type\": 1, \"kbod\": {},\n\"sbod\": {}}]}",
         "4: /cages/0/sbod: only one arm of the union can be given"},
        {head + "\"cages\": [{\"deviceID\": \"a\", \"type\": 3, \"lbod\": {\n\"sensors\": "
                "[null,null,null,null,null,null,null,null,null,null,null]}}]}",
         "4: /cages/0/lbod/sensors: list of 11; there is room for 10"},
        {head + "\"cages\": [{\"deviceID\": \"a\", \"type\": 3, \"lbod\": {\n\"sensCount\": 11}}]}",
         "4: /cages/0/lbod/sensCount: the record has 10 sensor places"},
        {head + "\"cagesPS\": [{\"name\": \"a\", \"type\": 3,\n\"sensCount\": 6}]}",
         "4: /cagesPS/0/sensCount: the record has 5 sensor places"},
        {head + "\"magazines\": [{\"isAbsent\": true},\n{\"isAbsent\": false}]}",
         "4: /magazines/1: field 'deviceID' is missing"},
        {head + "\"fcals\": [{\"deviceID\": \"f\", \"cageType\": 4,\n\"loopA\": {\"nodePort\": "
                "[1,2,3,4,5]}}]}",
         "4: /fcals/0/loopA/nodePort: list of 5; there is room for 4"},
        {head + "\"fcals\": [{\"deviceID\": \"f\", \"cageType\": 4,\n\"loopA\": {\"nodePort\": "
                "[1,\n65536\n]}}]}",
         "5: /fcals/0/loopA/nodePort/1: expected a whole number from 0 to 65535, or \"0x\" and hexadecimal digits"},
        {head + "\"cacheSeconds\": -1}", "3: /cacheSeconds: expected a number from 0 to 86400"},
        {head + "\"users\": [{\"name\": \"u\"},\n{\"name\": \"u\"}]}",
         "4: /users/1: user 'u' is described twice"},
        {head + "\"users\": [{\"name\": \"u\", \"privileges\": [\n\"A.b\"]}]}",
         "4: /users/0/privileges/0: keys are in lower case"},
        {head + "\"privilegeKeys\": [\"a.*\",\n\"*.b\"]}",
         "4: /privilegeKeys/1: '*' can only stand at the end of a key"},
        {head + "\"cacheSeconds\": 0,\n\"cacheSeconds\": 1}",
         "4: /cacheSeconds: given twice"},
        {head + "\"cacheSeconds\":\n1e999}", "4: /cacheSeconds: the number is too big"},
        {std::string(100, '['), "1: nested too deep"},
        {head + "\"a/b~c\": 0}",
         "3: /a~1b~0c: unknown field; known here: $schema, cacheSeconds, cages, cagesPS, "
         "fcals, magazines, nodeIPaddress, privilegeKeys, storageArray, users"},
    };
    for (const auto& test : cases)
        EXPECT_EQ(faultIn(test.text), test.fault) << test.text;
}

TEST_F(ArrayFileTest, NamesAFileThatCannotBeRead)
{
    EXPECT_EQ(qbxsim_loadFile(path("none.json").c_str()), QBXSIM_NO_ARRAY);
    EXPECT_NE(log().find("none.json: No such file or directory"), std::string::npos) << log();
    EXPECT_EQ(qbxsim_loadFile(folder_.c_str()), QBXSIM_NO_ARRAY);
    EXPECT_NE(log().find("Is a directory"), std::string::npos) << log();
}

// ---- The schema
// ----------------------------------------------------------------------------------

Json readJson(const std::string& file)
{
    return Json::parse(std::ifstream(file));
}

class SchemaTest : public ArrayFileTest
{
protected:
    SchemaTest()
    {
        valijson::SchemaParser parser;
        const valijson::adapters::NlohmannJsonAdapter adapter(document_);
        parser.populateSchema(adapter, schema_);
    }

    bool schemaAccepts(const Json& array) const
    {
        valijson::Validator validator;
        return validator.validate(schema_, valijson::adapters::NlohmannJsonAdapter(array), nullptr);
    }

    /// The schema of the member that a pointer's next token names.
    const Json& resolved(const Json& schema) const
    {
        if (schema.contains("$ref")) {
            const std::string pointer = schema["$ref"].get<std::string>().substr(1);
            return resolved(document_.at(Json::json_pointer(pointer)));
        }
        if (schema.contains("allOf")) return resolved(schema["allOf"].front());
        if (schema.contains("anyOf") && schema["anyOf"].back().contains("properties"))
            return schema["anyOf"].back();
        return schema;
    }

    /// Calls visit(pointer, schema) for every object of a document.
    template <class Visit>
    void forEachObject(const Json& value, const std::string& pointer, const Json& schema,
                       const Visit& visit) const
    {
        if (value.is_object()) {
            visit(pointer, schema);
            for (const auto& [name, member] : value.items())
                forEachObject(member, pointer + '/' + name, resolved(schema["properties"].at(name)),
                              visit);
        } else if (value.is_array()) {
            for (std::size_t i = 0; i < value.size(); ++i)
                forEachObject(value[i], pointer + '/' + std::to_string(i),
                              resolved(schema["items"]), visit);
        }
    }

    const Json document_ = readJson(SIMULATOR_DIR "/array.schema.json");
    const Json sample_ = readJson(SIMULATOR_DIR "/sample-array.json");
    valijson::Schema schema_;
};

TEST_F(SchemaTest, KnowsTheFieldsThatTheReaderKnows)
{
    std::set<const Json*> seen;
    forEachObject(sample_, "", document_, [&](const std::string& pointer, const Json& schema) {
        if (!seen.insert(&schema).second) return;
        Json array = sample_;
        array[Json::json_pointer(pointer)]["no such field"] = 1;
        const std::string fault = faultIn(array.dump(2));
        std::set<std::string> known;
        std::string list = fault.substr(fault.rfind(": ") + 2) + ", ";
        for (std::size_t end; (end = list.find(", ")) != std::string::npos; list.erase(0, end + 2))
            known.insert(list.substr(0, end));
        std::set<std::string> inSchema;
        for (const auto& [name, member] : schema["properties"].items())
            inSchema.insert(name);
        EXPECT_EQ(known, inSchema) << pointer << ": " << fault;
    });
    EXPECT_GT(seen.size(), 20u);
}

TEST_F(SchemaTest, AcceptsAndRefusesWhatTheReaderDoes)
{
    EXPECT_TRUE(schemaAccepts(sample_));
    EXPECT_EQ(faultIn(sample_.dump()), "");

    Json small = sample_;
    for (const char* const list : {"cages", "cagesPS", "magazines", "fcals"})
        small[list] = Json::array({sample_[list][0]});

    const std::string full(65, 'x');
    const struct
    {
        const char* pointer;
        Json value;
        bool isGood;
    } cases[] = {
        {"/cages/0/deviceID", full, true},
        {"/cages/0/deviceID", full + 'x', false},
        {"/cages/0/deviceID", 1, false},
        {"/cages/0/elementName", "hex:" + std::string(64, 'A'), true},
        {"/cages/0/elementName", "hex:" + std::string(66, 'A'), false},
        {"/cages/0/elementName", "hex:4", false},
        {"/cages/0/type", -1, true},
        {"/cages/0/type", "JB_XBOD", false},
        {"/cages/0/type", 1.5, false},
        {"/cages/0/position", 65535, true},
        {"/cages/0/position", 65536, false},
        {"/cages/0/position", "0xFFFC", true},
        {"/cages/0/position", "0xFFFG", false},
        {"/cages/0/position", -1, false},
        {"/cages/0/wwn", "0x1A2B", true},
        {"/cages/0/wwn", "1A2B", false},
        {"/cages/0/loopSplit", 1, false},
        {"/cages/0/kbod", Json::object(), false},
        {"/cages/0/lbod/sensCount", 10, true},
        {"/cages/0/lbod/sensCount", 11, false},
        {"/cages/0/lbod/sensors/0/type", "CC", false},
        {"/cagesPS/0/sensors/5", nullptr, false},
        {"/magazines/0/isAbsent", true, true},
        {"/magazines/0/mfg", nullptr, false},
        {"/magazines/0/lbod/systemLED", "LED_STATE_PINK", false},
        {"/fcals/0/loopA/linkSpeed/0", "PORT_DATA_RATE_10M", true},
        {"/fcals/0/lbod/loopA/linkRX/2", 0, false},
        {"/cacheSeconds", 0.5, true},
        {"/cacheSeconds", 86401, false},
        {"/users/0/mayOpen", "no", false},
        {"/users/0/privileges/0", "A", false},
        {"/users/0/privileges/0", "*a", false},
        {"/storageArray", nullptr, false},
    };
    for (const auto& test : cases) {
        Json array = small;
        const Json::json_pointer pointer(test.pointer);
        if (pointer.back() == "5")  // one after the places that are there
            array[pointer.parent_pointer()] =
                Json::array({nullptr, nullptr, nullptr, nullptr, nullptr});
        array[pointer] = test.value;
        EXPECT_EQ(schemaAccepts(array), test.isGood) << test.pointer << " = " << test.value;
        EXPECT_EQ(faultIn(array.dump()) == "", test.isGood) << test.pointer << " = " << test.value;
    }
}

// ---- The sample array
// ------------------------------------------------------------------------------

TEST_F(ArrayFileTest, SampleShowsEveryCaseThatClientsSeeDifferently)
{
    ASSERT_EQ(qbxsim_loadFile(SIMULATOR_DIR "/sample-array.json"), 0);
    std::set<int> types;
    std::set<int> subTypes;
    std::set<std::size_t> idLengths;
    for (const api_Cage_t& cage : cages()) {
        types.insert(cage.type);
        subTypes.insert(cage.subType);
        idLengths.insert(strnlen(cage.deviceID, sizeof cage.deviceID));
    }
    for (int type = JB_UNKNOWN; type <= JB_MBOD; ++type)
        EXPECT_EQ(types.count(type), 1u) << type;
    EXPECT_GT(*types.rbegin(), JB_MBOD);
    for (int type = JB_SUBTYP_UNKNOWN; type <= JB_SUBTYP_DC3ALPHAFC; ++type)
        EXPECT_EQ(subTypes.count(type), 1u) << type;
    EXPECT_EQ(idLengths.count(64), 1u);
    EXPECT_EQ(idLengths.count(65), 1u);

    std::set<int> cardTypes;
    std::set<int> nodePorts;
    for (const api_FCAL_t& card : fcals()) {
        cardTypes.insert(card.cageType);
        nodePorts.insert(std::begin(card.loopA.nodePort), std::end(card.loopA.nodePort));
    }
    EXPECT_EQ(cardTypes, types);
    for (const int port : {0, 0xFFFC, 0x019A})
        EXPECT_EQ(nodePorts.count(port), 1u) << port;

    std::set<int> leds;
    bool hasAbsent = false;
    for (const api_Magazine_t& magazine : magazines()) {
        hasAbsent = hasAbsent || magazine.isAbsent;
        if (!magazine.isAbsent && magazine.cageType != JB_DC3)
            leds.insert(magazine.u.lbod.systemLED);
    }
    EXPECT_TRUE(hasAbsent);
    EXPECT_EQ(leds.size(), std::size_t(LED_STATE_BLUE_BLINKING + 1));
}

}  // namespace
