// What an array file may say and how its faults are told (faults.json: files with the fault in
// each, and values with the place in array.json where each is put); the schema that editors use
// agrees.
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

    /// What loading a text says of its faults, without time, thread and file name.
    std::string faultIn(const std::string& text) const
    {
        write("log", "");
        write("bad.json", text);
        qbxsim_loadFile(path("bad.json").c_str());
        const std::regex frame(
            ".*bad.json(:| is in service.*\n)| \\(no array is in .* mended\\)\n");
        return std::regex_replace(read("log"), frame, "");
    }

    const Json faults_ = Json::parse(std::ifstream(TEST_DIR "/faults.json"));
};

TEST_F(ArrayFileTest, TellsLineAndFieldOfAFaultAndRefusesWhatTheSchemaDoes)
{
    for (const Json& row : faults_["files"])
        EXPECT_EQ(faultIn(row[0]), row[1]) << row;
    for (const Json& row : faults_["values"]) {
        Json array = array_;
        array[Json::json_pointer(row[0])] = row[1];
        const std::string fault = row[2];
        const std::string place =
            fault[0] == '/' ? "1: " : "1: " + row[0].get<std::string>() + ": ";
        EXPECT_EQ(faultIn(array.dump()), fault.empty() ? "" : place + fault) << row;
        EXPECT_EQ(schemaAccepts(array), fault.empty()) << row;
    }
}

TEST_F(ArrayFileTest, TheSampleIsGoodAndServedByDefault)
{
    EXPECT_TRUE(schemaAccepts(Json::parse(std::ifstream(SIMULATOR_DIR "/sample-array.json"))));
    unsetenv("QBX_ARRAY_FILE");
    qbxsim_reset();
    EXPECT_FALSE(cages().empty());
    EXPECT_NE(
        read("log").find("] simulated array, no hardware: " SIMULATOR_DIR "/sample-array.json"),
        std::string::npos);
}

}  // namespace
