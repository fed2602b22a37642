// What an array file may say, and the message that names the line and the field of a fault. The
// JSON schema that editors use agrees with the reader.
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
        write("bad.json", text);
        qbxsim_loadFile(path("bad.json").c_str());
        const std::regex frame(
            ".*bad.json(:| is in service.*\n)| \\(no array is in .* mended\\)\n");
        return std::regex_replace(read("log"), frame, "");
    }

    /// array.json with another value at that JSON pointer.
    Json arrayWith(const char* pointer, const char* value) const
    {
        Json array = array_;
        array[Json::json_pointer(pointer)] = Json::parse(value);
        return array;
    }
};

// ---- Whole files ----

struct FileCase : Case
{
    std::string text;
    const char* fault;  ///< "line: field: message"
};

class RefusedFile : public ArrayFileTest, public testing::WithParamInterface<FileCase>
{
};

TEST_P(RefusedFile, NamesLineAndField)
{
    const testing::ScopedTrace row(__FILE__, GetParam().line, GetParam().text);
    EXPECT_EQ(faultIn(GetParam().text), GetParam().fault);
}

const FileCase FILES[] = {
    {"Empty", "",
     "1: syntax error while parsing value - unexpected end of input; expected '[', '{', or a "
     "literal"},
    {"CommaBeforeEnd", "{\n\"storageArray\": {},\n}",
     "3: syntax error while parsing object key - unexpected '}'; expected string literal"},
    {"NestedTooDeep", std::string(100, '['), "1: nested too deep"},
    {"NumberOutOfRange", "{\"a\": [0,\n{\"b/c\":\n-1e999\n}]}",
     "3: /a/1/b~1c: the number is too big"},
    {"DuplicateKey", "{\n\"a\": 0,\n\"a\": 1}", "3: /a: duplicate key, first in line 2"},
    {"WithoutStorageArray", "{\n}", "1: /: field 'storageArray' is missing"},
    {"UnknownField", "{\"storageArray\": {}, \"users\": [\n{\"name\": \"u\", \"password\": 1}]}",
     "2: /users/0/password: unknown field; known here: mayOpen, name, privileges"},
    {"NumberAbove32Bits", "{\n\"storageArray\": {\"systemID\": \"0x100000000\"}}",
     "2: /storageArray/systemID: expected a whole number from 0 to 4294967295, or \"0x\" and "
     "hexadecimal digits"},
    {"EnumerationAbove64Bits",
     "{\"storageArray\": {}, \"cages\": [{\"deviceID\": \"c\", \"type\":\n18446744073709551615}]}",
     "1: /cages/0/type: number does not fit 32 bits"},
    {"ElementOfAnArray", "{\"storageArray\": {\"operationalStatus\": [1,\n2,\n-3\n]}}",
     "3: /storageArray/operationalStatus/2: expected a whole number from 0 to 65535, or \"0x\" and "
     "hexadecimal digits"},
    {"DuplicateUser", "{\"storageArray\": {}, \"users\": [{\"name\": \"u\"},\n{\"name\": \"u\"}]}",
     "2: /users/1: duplicate user 'u'"},
    {"DuplicateFault",
     "{\"storageArray\": {}, \"faults\": [{\"operation\": \"cim_sem_wait\", \"code\": 1},\n"
     "{\"operation\": \"cim_sem_wait\", \"delay\": 1}]}",
     "2: /faults/1: duplicate fault of these calls"},
};

INSTANTIATE_TEST_SUITE_P(ArrayFileTest, RefusedFile, testing::ValuesIn(FILES), nameOf<FileCase>);

TEST_F(ArrayFileTest, WarnsOfElementsWithTheSameName)
{
    EXPECT_EQ(faultIn(R"({"storageArray": {}, "cages": [{"deviceID": "c", "type": 0},
        {"deviceID": "hex:63", "type": 1}], "cagesPS": [{"name": "c", "type": 0},
        {"name": "c", "type": 0}], "magazines": [{"deviceID": "m", "isAbsent": true},
        {"deviceID": "m"},
        {"deviceID": "m"}], "fcals": [{"deviceID": "m", "cageType": 0},
        {"deviceID": "m", "cageType": 0}]})"),
              "2: /cages/1/deviceID: 'c' is given twice, first in line 1\n"
              "5: /magazines/2/deviceID: 'm' is given twice, first in line 4\n"
              "6: /fcals/1/deviceID: 'm' is given twice, first in line 5\n"
              "3: /cagesPS/1/name: 'c' is given twice, first in line 2\n");
}

// ---- Single values ----

struct ValueCase : Case
{
    const char* pointer;  ///< where in array.json the value is put
    const char* value;
    const char* fault = "";  ///< what follows the pointer in the message; empty: accepted
};

class ArrayValue : public ArrayFileTest, public testing::WithParamInterface<ValueCase>
{
};

TEST_P(ArrayValue, IsJudgedAlikeByReaderAndSchema)
{
    const ValueCase& its = GetParam();
    const bool isAccepted = *its.fault == '\0';
    const testing::ScopedTrace row(__FILE__, its.line,
                                   std::string(its.pointer) + " = " + its.value);
    const Json array = arrayWith(its.pointer, its.value);
    EXPECT_EQ(faultIn(array.dump()),
              isAccepted ? "" : std::string("1: ") + its.pointer + its.fault);
    EXPECT_EQ(schemaAccepts(array), isAccepted);
}

#define WANTS_UINT16 ": expected a whole number from 0 to 65535, or \"0x\" and hexadecimal digits"
#define ID_OF_65 "\"12345678901234567890123456789012345678901234567890123456789abcdef\""
#define ID_OF_66 "\"12345678901234567890123456789012345678901234567890123456789abcdefg\""

const ValueCase VALUES[] = {
    {"TextThatFillsItsField", "/cages/0/deviceID", ID_OF_65},
    {"TextThatIsTooLong", "/cages/0/deviceID", ID_OF_66,
     ": string of 66 bytes; the field holds 65"},
    {"TextThatIsANumber", "/cages/0/deviceID", "1", ": expected a string"},
    {"HexText", "/cages/0/elementName", R"("hex:C3 28ff")"},
    {"HexTextOfHalfAByte", "/cages/0/elementName", R"("hex:4")",
     ": 'hex:' needs an even number of digits"},
    {"HexTextOfOtherLetters", "/cages/0/elementName", R"("hex:4G")",
     ": '4G' is not a byte in hexadecimal"},
    {"EnumerationNumber", "/cages/0/type", "-1"},
    {"EnumerationAboveInt32", "/cages/0/type", "2147483648", ": number does not fit 32 bits"},
    {"EnumerationName", "/cages/0/type", R"("JB_XBOD")",
     ": expected a number or one of JB_UNKNOWN, JB_JBOD, JB_KBOD, JB_LBOD, JB_DC3, "
     "JB_MBOD"},
    {"LargestUint16", "/cages/0/position", "65535"},
    {"HexNumber", "/cages/0/position", R"("0xFFFC")"},
    {"NumberAboveUint16", "/cages/0/position", "65536", WANTS_UINT16},
    {"NegativeNumber", "/cages/0/position", "-1", WANTS_UINT16},
    {"Fraction", "/cages/0/position", "1.5", WANTS_UINT16},
    {"HexNumberOfOtherLetters", "/cages/0/position", R"("0xFFFG")", WANTS_UINT16},
    {"FlagThatIsANumber", "/cages/0/locateON", "1", ": expected true or false"},
    {"SecondUnionArm", "/cages/1", R"({"deviceID": "c", "type": 0, "kbod": {}, "lbod": {}})",
     "/lbod: only one arm of the union can be given"},
    {"AsManySensorsAsPlaces", "/cages/1/lbod/sensors",
     "[null, null, null, null, null, null, null, null, null, null]"},
    {"MoreSensorsThanPlaces", "/cages/1/lbod/sensors",
     "[null, null, null, null, null, null, null, null, null, null, null]",
     ": array of 11 elements; there is room for 10"},
    {"SensorsThatAreNoArray", "/cages/1/lbod/sensors", "{}", ": expected an array"},
    {"SensorCountAbovePlaces", "/cages/1/lbod/sensCount", "11",
     ": the record has 10 sensor places"},
    {"PowerSupplySensorCountAbovePlaces", "/cagesPS/0/sensCount", "6",
     ": the record has 5 sensor places"},
    {"AbsentMagazineWithoutName", "/magazines/0", R"({"isAbsent": true})"},
    {"PresentMagazineWithoutName", "/magazines/0", R"({"isAbsent": false})",
     ": field 'deviceID' is missing"},
    {"ObjectThatIsNull", "/magazines/0/mfg", "null", ": expected an object"},
    {"FourPorts", "/fcals/0/loopA", R"({"nodePort": [0, "0x19A", 65532, 1]})"},
    {"CacheOfHalfASecond", "/cacheSeconds", "0.5"},
    {"CacheOfMoreThanADay", "/cacheSeconds", "86401", ": expected a number from 0 to 86400"},
    {"PrivilegeInUpperCase", "/users/0/privileges/0", R"("A")", ": keys are in lower case"},
    {"WildcardNotAtTheEnd", "/privilegeKeys/1", R"("*b")",
     ": '*' can only stand at the end of a key"},
    {"FaultOfOneCallAndOfOthers", "/faults", R"([{"operation": "api_locateCage", "call": 2,
     "code": -2147483648}, {"operation": "api_locateCage", "delay": 4294967295}])"},
    {"FaultOfUnknownOperation", "/faults/0", R"({"operation": "api_locateCages", "code": 5})",
     "/operation: 'api_locateCages' is no function of qbxapi.h that can fail"},
    {"FaultOfOperationWithoutResult", "/faults/0", R"({"operation": "cim_sem_post", "code": 5})",
     "/operation: 'cim_sem_post' is no function of qbxapi.h that can fail"},
    {"FaultWithCodeThatIsAText", "/faults/0", R"({"operation": "cim_sem_wait", "code": "5"})",
     "/code: expected a number"},
    {"FaultWithoutEffect", "/faults/0", R"({"operation": "cim_sem_wait", "delay": 0})",
     ": neither 'code' nor 'delay' is given"},
};

INSTANTIATE_TEST_SUITE_P(ArrayFileTest, ArrayValue, testing::ValuesIn(VALUES), nameOf<ValueCase>);

// ---- The sample ----

TEST_F(ArrayFileTest, SampleMatchesTheSchema)
{
    EXPECT_TRUE(schemaAccepts(Json::parse(std::ifstream(SIMULATOR_DIR "/sample-array.json"))));
}

TEST_F(ArrayFileTest, SampleIsServedByDefault)
{
    unsetenv("QBX_ARRAY_FILE");
    qbxsim_reset();
    EXPECT_FALSE(cages().empty());
    EXPECT_NE(
        read("log").find("] simulated array, no hardware: " SIMULATOR_DIR "/sample-array.json"),
        std::string::npos);
}

}  // namespace
