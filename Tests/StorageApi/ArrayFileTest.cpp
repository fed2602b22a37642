// What an array file may say, and the message that names the line and the field of a fault. The
// JSON schema that editors use agrees with the reader.
#include "../Row.h"
#include "Simulator.h"

#include <valijson/adapters/nlohmann_json_adapter.hpp>
#include <valijson/schema.hpp>
#include <valijson/schema_parser.hpp>
#include <valijson/validator.hpp>

#include <regex>

namespace
{

using valijson::adapters::NlohmannJsonAdapter;

class ArrayFileTest : public SimulatorTest
{
protected:
    static bool schemaAccepts(const Json& array)
    {
        const Json document = Json::parse(std::ifstream(SIMULATOR_DIR "/array.schema.json"));
        valijson::Schema schema;
        valijson::SchemaParser().populateSchema(NlohmannJsonAdapter(document), schema);
        return valijson::Validator().validate(schema, NlohmannJsonAdapter(array), nullptr);
    }

    /// What loading a file logs of its faults, without time, thread and file name.
    std::string faultIn(const std::string& text) const
    {
        write("log", "");
        write("bad.json", text);
        qbxsim_loadFile(path("bad.json").c_str());
        const std::regex frame(
            ".*bad.json(:| is in service.*\n)| \\(no array is in .* mended\\)\n");
        return std::regex_replace(read("log"), frame, "");
    }
};

TEST_F(ArrayFileTest, NamesTheLineOfASyntaxError)
{
    EXPECT_EQ(faultIn("{\n\"storageArray\": {},\n}"),
              "3: syntax error while parsing object key - unexpected '}'; expected string literal");
    const std::string deep = std::string(1'000'000, '[') + std::string(1'000'000, ']');
    EXPECT_EQ(faultIn("{\"a\":\n" + deep + ", \"storageArray\": 0}"), "2: nested too deep");
    EXPECT_EQ(faultIn("{\"a\": [0,\n{\"b/c\":\n-1e999\n}]}"),
              "3: /a/1/b~1c: the number is too big");
}

TEST_F(ArrayFileTest, NamesTheLineOfAValue)
{
    EXPECT_EQ(faultIn("{\"storageArray\": {}, \"magazines\": [{\"deviceID\": \"m\",\n\"cageType\": "
                      "18446744073709551615}]}"),
              "2: /magazines/0/cageType: number does not fit 32 bits");
    EXPECT_EQ(faultIn("{\"storageArray\": {\"operationalStatus\": [1,\n2,\n\"\"\n]}}"),
              "3: /storageArray/operationalStatus/2: expected a whole number from 0 to 65535, or "
              "\"0x\" and hexadecimal digits");
}

TEST_F(ArrayFileTest, NamesTheLineOfAValueFarDown)
{
    std::string text = "{\"storageArray\": {}, \"cages\": [], \"magazines\": [\n";
    for (int number = 0; number < 100; ++number)
        text += "{\"deviceID\": \"m" + std::to_string(number) + "\"},\n";
    const auto fault = [&](const std::string& last) { return faultIn(text + last + "\n]}"); };
    EXPECT_EQ(fault("{\"isAbsent\": true,\n\"mfg\": {\"serial\": 7}}"),
              "103: /magazines/100/mfg/serial: expected a string");
    EXPECT_EQ(fault("7"), "102: /magazines/100: expected an object");
    EXPECT_EQ(fault("{\"deviceID\": \"\", \"mfg\": {\"model\": \"\",\n\"model\": \"\"}}"),
              "103: /magazines/100/mfg/model: duplicate key, first in line 102");
    EXPECT_EQ(fault("{\"deviceID\": \"m98\"}"),
              "102: /magazines/100/deviceID: 'm98' is given twice, first in line 100\n");
    EXPECT_EQ(fault("{\"isAbsent\": true}],\n\"fcals\": {\"deviceID\": {}}, \"users\": ["),
              "103: /fcals: expected an array");
}

TEST_F(ArrayFileTest, AcceptsOnlyHostNamesAsNameOfTheArray)
{
    const auto fault = [this](const std::string& name) {
        return faultIn("{\"storageArray\": {\"elementName\": \"" + name + "\"}}");
    };
    for (const char* name : {"", "array_1", "a.b-c.example", "10.0.0.1", "1a"})
        EXPECT_EQ(fault(name), "") << name;
    for (const char* name : {"My Array", "12", "a..b", "a.", "-a", "a.1", "caf\u00e9"}) {
        EXPECT_EQ(fault(name), "1: /storageArray/elementName: '" + std::string(name) +
                                   "' is no host name: use letters, digits, '-', '_' and points");
    }
}

TEST_F(ArrayFileTest, NamesTheLinesOfDuplicates)
{
    EXPECT_EQ(faultIn("{\n\"a\": 0,\n\"a\": 1}"), "3: /a: duplicate key, first in line 2");
    EXPECT_EQ(faultIn(R"({"storageArray": {}, "users": [{"name": "u"},
        {"name": "u"}]})"),
              "2: /users/1: duplicate user 'u'");
    EXPECT_EQ(faultIn(R"({"storageArray": {}, "faults": [{"operation": "cim_sem_wait", "code": 1},
        {"operation": "cim_sem_wait", "delay": 1}]})"),
              "2: /faults/1: duplicate fault of these calls");
}

TEST_F(ArrayFileTest, WarnsOfElementsWithTheSameName)
{
    EXPECT_EQ(faultIn(R"({"storageArray": {},
        "cages": [{"deviceID": "c", "type": 0}, {"deviceID": "hex:63", "type": 1}],
        "cagesPS": [{"name": "m", "type": 0}, {"name": "m", "type": 0}],
        "magazines": [{"deviceID": "m", "isAbsent": true}, {"deviceID": "m"},
        {"deviceID": "m"}]})"),
              "2: /cages/1/deviceID: 'c' is given twice, first in line 2\n"
              "5: /magazines/2/deviceID: 'm' is given twice, first in line 4\n"
              "3: /cagesPS/1/name: 'm' is given twice, first in line 3\n");
}

TEST_F(ArrayFileTest, AcceptsValuesAtTheirLimits)
{
    const std::string longest(API_ID_SIZE, 'c');
    array_["cacheSeconds"] = 86400;
    array_["cages"] = {{{"deviceID", longest},
                        {"type", INT32_MIN},
                        {"position", 65535},
                        {"wwn", "0xFFFFFFFFFFFFFFFF"},
                        {"elementName", "hex:C3 28ff"},
                        {"lbod", {{"sensors", Json(std::size_t{10}, Json())}}}}};
    array_["magazines"][0] = {{"isAbsent", true}};
    array_["fcals"][0]["loopA"] = {{"nodePort", {0, "0x19A", 65532, 1}}};
    array_["faults"] = {{{"operation", "api_locateCage"}, {"call", 2}, {"code", INT32_MIN}},
                        {{"operation", "api_locateCage"}, {"delay", UINT32_MAX}}};
    EXPECT_EQ(faultIn(array_.dump()), "");
    EXPECT_TRUE(schemaAccepts(array_));
    const api_Cage_t cage = cages().at(0);
    EXPECT_EQ(std::string(cage.deviceID, API_ID_SIZE), longest) << "full, so not terminated";
    EXPECT_EQ(cage.type, INT32_MIN);
    EXPECT_EQ(cage.wwn, UINT64_MAX);
    EXPECT_STREQ(cage.elementName, "\xC3(\xFF");
    EXPECT_EQ(cage.u.lbod.sensCount, 10) << "empty places count";
}

struct RefusedValue : Row
{
    const char* pointer;  ///< where in array.json the value is put
    const char* value;
    const char* fault;  ///< what follows the pointer in the message
};

using ArrayFileValueTest = RowTest<RefusedValue, ArrayFileTest>;

TEST_P(ArrayFileValueTest, IsRefusedByReaderAndSchema)
{
    array_[Json::json_pointer(row.pointer)] = Json::parse(row.value);
    EXPECT_EQ(faultIn(array_.dump()), std::string("1: ") + row.pointer + row.fault);
    EXPECT_FALSE(schemaAccepts(array_));
}

#define WANTS_UINT16 ": expected a whole number from 0 to 65535, or \"0x\" and hexadecimal digits"
#define NO_FUNCTION " is no function of qbxapi.h that can fail"

const std::vector<RefusedValue> VALUES = {
    {"TooLongText", "/cages/0/mfg/vendor", R"("123456789 123456789 123456789 123")",
     ": string of 33 bytes; the field holds 32"},
    {"HalfAByteOfHex", "/cages/0/elementName", R"("hex:4")",
     ": 'hex:' needs an even number of digits"},
    {"OtherLettersInHex", "/cages/0/elementName", R"("hex:4G")",
     ": '4G' is not a byte in hexadecimal"},
    {"UnknownEnumerationName", "/cages/0/type", R"("JB_XBOD")",
     ": expected a number or one of JB_UNKNOWN, JB_JBOD, JB_KBOD, JB_LBOD, JB_DC3, JB_MBOD"},
    {"OtherLettersInHexNumber", "/cages/0/position", R"("0xFFFG")", WANTS_UINT16},
    {"UnknownField", "/users/0/password", "1",
     ": unknown field; known here: mayOpen, name, privileges"},
    {"NumberForText", "/cages/0/deviceID", "1", ": expected a string"},
    {"NumberAboveUint16", "/cages/0/position", "65536", WANTS_UINT16},
    {"NumberForFlag", "/cages/0/locateON", "1", ": expected true or false"},
    {"ObjectForArray", "/cages/1/lbod/sensors", "{}", ": expected an array"},
    {"NullForObject", "/magazines/0/mfg", "null", ": expected an object"},
    {"SecondUnionArm", "/cages/1/sbod", "{}", ": only one arm of the union can be given"},
    {"MoreSensorsThanPlaces", "/cagesPS/0/sensors", "[null, null, null, null, null, null]",
     ": array of 6 elements; there is room for 5"},
    {"SensorCountAbovePlaces", "/cages/1/lbod/sensCount", "11",
     ": the record has 10 sensor places"},
    {"PresentMagazineWithoutName", "/magazines/0", R"({"isAbsent": false})",
     ": field 'deviceID' is missing"},
    {"CacheOfMoreThanADay", "/cacheSeconds", "86401", ": expected a number from 0 to 86400"},
    {"PrivilegeInUpperCase", "/users/0/privileges/0", R"("A")", ": keys are in lower case"},
    {"WildcardNotAtTheEnd", "/privilegeKeys/1", R"("*b")",
     ": '*' can only stand at the end of a key"},
    {"FaultOfUnknownOperation", "/faults/0", R"({"operation": "api_locateCages", "code": 5})",
     "/operation: 'api_locateCages'" NO_FUNCTION},
    {"FaultWithoutEffect", "/faults/0", R"({"operation": "cim_sem_wait", "delay": 0})",
     ": neither 'code' nor 'delay' is given"},
};

INSTANTIATE_TEST_SUITE_P(ArrayFileTest, ArrayFileValueTest, testing::ValuesIn(VALUES), NameOfRow());

TEST_F(ArrayFileTest, SampleMatchesTheSchemaAndIsServedByDefault)
{
    EXPECT_TRUE(schemaAccepts(Json::parse(std::ifstream(SIMULATOR_DIR "/sample-array.json"))));
    unsetenv("QBX_ARRAY_FILE");
    qbxsim_reset();
    EXPECT_FALSE(cages().empty());
    EXPECT_NE(read("log").find(": " SIMULATOR_DIR "/sample-array.json"), std::string::npos);
}

}  // namespace
