// QBX_CageSensorProvider: the properties of sensors, and from which records they come.
#include "ElementTest.h"

#include "QBX_CageSensorProvider.h"

namespace
{

// ---- Properties ----

/// A sensor with another value in every field; the schema sets four properties more.
CIMInstance instanceOfSensor(char unit)
{
    api_sensor_t sensor = {};
    sensor.position = 65535;
    setText(sensor.name, "Inlet temperature");
    sensor.state = 255;
    sensor.type = static_cast<uint8_t>(unit);
    sensor.reading = 21;
    sensor.limit_low = 22;
    sensor.limit_high = 65534;
    return QBX_CageSensorProvider::buildInstance(storedClass("QBX_CageSensor"), sensor, "array1",
                                                 "cage 7-sensor8", "System One");
}

TEST(CageSensorInstance, HasTheFieldsOfItsRecord)
{
    const CIMInstance instance = instanceOfSensor('C');
    EXPECT_LIST(propertiesOf(instance),
                {"BaseUnit=C", "CreationClassName=QBX_CageSensor", "CurrentReading=21",
                 "DeviceID=cage 7-sensor8", "EnabledDefault=2", "EnabledState=5", "HighLimit=65534",
                 "LowLimit=22", "OtherSensorTypeDescription=Inlet temperature", "Position=65535",
                 "RequestedState=12", "SensorType=1", "State=255",
                 "SystemCreationClassName=QBX_DriveCageDC2Family", "SystemName=System One",
                 "TransitioningToState=12"});
    EXPECT_EQ(str(instance.getPath()), str(sensor("cage 7-sensor8")));
}

/// The byte of a unit, and the text of "BaseUnit".
struct UnitRow : Row
{
    char unit;
    const char* text;
};

using UnitTest = RowTest<UnitRow, ProviderTest>;

TEST_P(UnitTest, IsOneCharacterOrNone)
{
    EXPECT_EQ(valueOf(instanceOfSensor(row.unit), "BaseUnit"), row.text);
}

const std::vector<UnitRow> UNITS = {
    {"Zero", 0, ""},
    {"Degree", '\xB0', "\xC2\xB0"},
    {"HighestByte", '\xFF', "\xC3\xBF"},
    {"Delete", '\x7F', "\x7F"},
    {"ControlCharacter", '\x07', "\xEF\xBF\xBD"},
    {"Tab", '\t', "\t"},
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

TEST_F(CageSensorProviderTest, PlacesBeyondTheCountAreNotRead)
{
    array.serve(R"("cages": [
        {"deviceID": "a", "type": "JB_LBOD",
         "lbod": {"sensors": [{"reading": 1}, {"reading": 1}], "sensCount": 1}},
        {"deviceID": "b", "type": "JB_LBOD", "lbod": {"sensors": [{"reading": 1}], "sensCount": 0}}
    ])");
    EXPECT_LIST(deviceIDs(), {"a-sensor0"});
}

TEST_F(CageSensorProviderTest, BothListsAreReadWhateverBecomesOfTheOther)
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
