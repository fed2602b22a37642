// QBX_CageSensorProvider: the properties of sensors, and from which records they come.
#include "ElementTest.h"

namespace
{

// ---- Properties ----

/// An array file with one sensor of the unit, which is written as the file writes it.
std::string sensorOf(const std::string& unit)
{
    return R"("cages": [{"deviceID": "cage 7", "type": 3, "lbod": {"sensors": [{"position": 65535,
        "name": "Inlet temperature", "state": 255, "reading": 21, "limit_low": 22,
        "limit_high": 65534, "type": ")" +
           unit + "\"}]}}]";
}

using CageSensorInstanceTest = ProviderTest;

TEST_F(CageSensorInstanceTest, HasTheFieldsOfItsRecord)
{
    start("QBX_CageSensorProvider", sensorOf("C"));
    read("enumerateInstances", pathOf("QBX_CageSensor"));
    EXPECT_LIST(got.paths, {str(sensor("cage 7-sensor0"))});
    EXPECT_LIST(propertiesOf(got.instances.at(0)),
                {"BaseUnit=C", "CreationClassName=QBX_CageSensor", "CurrentReading=21",
                 "DeviceID=cage 7-sensor0", "EnabledDefault=2", "EnabledState=5", "HighLimit=65534",
                 "LowLimit=22", "OtherSensorTypeDescription=Inlet temperature", "Position=65535",
                 "RequestedState=12", "SensorType=1", "State=255",
                 "SystemCreationClassName=QBX_DriveCageDC2Family", "SystemName=System One",
                 "TransitioningToState=12"});
}

/// A unit as the array file has it, and the text of "BaseUnit".
struct UnitRow : Row
{
    const char* unit;
    const char* text;
};

using UnitTest = RowTest<UnitRow, ProviderTest>;

TEST_P(UnitTest, IsOneCharacterOrNone)
{
    start("QBX_CageSensorProvider", sensorOf(row.unit));
    read("enumerateInstances", pathOf("QBX_CageSensor"));
    EXPECT_EQ(valueOf(got.instances.at(0), "BaseUnit"), row.text);
}

const std::vector<UnitRow> UNITS = {
    {"Zero", "", ""},
    {"Degree", "hex:B0", "\xC2\xB0"},
    {"HighestByte", "hex:FF", "\xC3\xBF"},
    {"Delete", "hex:7F", "\x7F"},
    {"ControlCharacter", "hex:07", "\xEF\xBF\xBD"},
    {"Tab", "hex:09", "\t"},
};
INSTANTIATE_TEST_SUITE_P(CageSensor, UnitTest, testing::ValuesIn(UNITS), NameOfRow());

// ---- Which sensors ----

class CageSensorProviderTest : public ProviderTest
{
protected:
    CageSensorProviderTest() { start("QBX_CageSensorProvider"); }

    /// The device IDs of all sensors; names and instances must agree.
    Texts deviceIDs()
    {
        EXPECT_EQ(read("enumerateInstanceNames", pathOf("QBX_CageSensor")), "nothing");
        const Texts names = got.paths;
        EXPECT_EQ(read("enumerateInstances", pathOf("QBX_CageSensor")), "nothing");
        EXPECT_LIST(got.paths, names);
        Texts found;
        for (const CIMInstance& instance : got.instances)
            found.push_back(valueOf(instance, "DeviceID"));
        return found;
    }
};

TEST_F(CageSensorProviderTest, OnlyCagesOfTheDC2FamilyCarrySensors)
{
    array.serve(
        oneOfEachType("cages", R"({"deviceID": "cage$", "type": $,
                                   "lbod": {"sensors": [{"reading": 1}]}})") +
        ", " +
        oneOfEachType("cagesPS", R"({"name": "supply$", "type": $, "sensors": [{"reading": 1}]})"));
    EXPECT_LIST(deviceIDs(),
                {"cage3-sensor0", "cage5-sensor0", "supply3-sensor0", "supply5-sensor0"});
}

TEST_F(CageSensorProviderTest, EmptyPlacesCountForTheIndex)
{
    array.serve(R"("cages": [{"deviceID": "a", "type": "JB_MBOD", "lbod": {"sensors":
        [{"reading": 1}, null, {"limit_low": 1}, null, {"limit_high": 1}, null, null, null, null,
         {"reading": 1}]}}])");
    EXPECT_LIST(deviceIDs(), {"a-sensor0", "a-sensor2", "a-sensor4", "a-sensor9"});
}

TEST_F(CageSensorProviderTest, ReadsNoPlacesBeyondTheCount)
{
    array.serve(R"("cages": [
        {"deviceID": "a", "type": "JB_LBOD",
         "lbod": {"sensors": [{"reading": 1}, {"reading": 1}], "sensCount": 1}},
        {"deviceID": "b", "type": "JB_LBOD", "lbod": {"sensors": [{"reading": 1}], "sensCount": 0}}
    ])");
    EXPECT_LIST(deviceIDs(), {"a-sensor0"});
}

TEST_F(CageSensorProviderTest, ReadsEachListWhenTheOtherFails)
{
    array.serve(R"("cages": [{"deviceID": "a", "type": "JB_LBOD",
                              "lbod": {"sensors": [{"reading": 1}]}}],
                   "cagesPS": [{"name": "a", "type": "JB_MBOD", "sensors": [{"reading": 2}]}])");
    EXPECT_LIST(deviceIDs(), {"a-sensor0", "a-sensor0"});
    array.fail("api_getCages_Cached", 11);
    EXPECT_LIST(deviceIDs(), {"a-sensor0"});
    EXPECT_EQ(valueOf(got.instances.at(0), "CurrentReading"), "2");
    array.mend();
    array.fail("api_getCagesPS_Cached", 11);
    EXPECT_LIST(deviceIDs(), {"a-sensor0"});
    EXPECT_EQ(valueOf(got.instances.at(0), "CurrentReading"), "1");
}

}  // namespace
