// The cage sensor provider: the walk through both lists, and the sensors' properties.
#include "ProviderTest.h"

#include "QBX_CageSensorProvider.h"

using namespace Pegasus;

namespace
{

api_Cage_t cageWith(const std::string& tag, int type, const std::vector<api_sensor_t>& sensors)
{
    api_Cage_t record = cage(tag, type);
    record.u.lbod.sensCount = static_cast<uint8_t>(sensors.size());
    std::copy(sensors.begin(), sensors.end(), record.u.lbod.sensors);
    return record;
}

api_CagePS_t supplyWith(const std::string& tag, int type, const std::vector<api_sensor_t>& sensors)
{
    api_CagePS_t record;
    std::memset(&record, 0xEE, sizeof(record));  // nothing but the known fields is read
    put(record.name, tag);
    record.type = static_cast<jb_type_e>(type);
    record.sensCount = static_cast<uint8_t>(sensors.size());
    std::copy(sensors.begin(), sensors.end(), record.sensors);
    return record;
}

const api_sensor_t EMPTY = {};

class CageSensorTest : public ElementTest<QBX_CageSensorProvider>
{
protected:
    CageSensorTest() : ElementTest("QBX_CageSensorProvider") {}

    /// The device IDs that are listed; names and instances must agree.
    Texts deviceIDs()
    {
        Texts ids;
        Texts paths;
        for (const CIMInstance& instance : instances("QBX_CageSensor")) {
            ids.push_back(valueOf(instance, "DeviceID").substr(7));
            paths.push_back(str(instance.getPath()));
        }
        EXPECT_EQ(names("QBX_CageSensor"), paths);
        return ids;
    }
};

TEST_F(CageSensorTest, PropertiesComeFromTheRecord)
{
    api_sensor_t record = sensor(65535, 1, 65534);
    record.position = 65533;
    put(record.name, std::string(32, 'n'));
    record.state = 255;
    const std::pair<int, const char*> units[] = {{0x43, "string C"},
                                                 {0, "string "},
                                                 {0x7F, "string \x7F"},
                                                 {0xB0, "string \xC2\xB0"},
                                                 {0xFF, "string \xC3\xBF"}};
    for (const auto& [type, unit] : units) {
        record.type = static_cast<uint8_t>(type);
        api.cages = {cageWith("cage 1", JB_LBOD, {record})};
        const Values expected = {
            {"SystemCreationClassName",
             "string QBX_DriveCageDC2Family"},  // the path's says another
            {"SystemName", "string System One"},
            {"CreationClassName", "string QBX_CageSensor"},
            {"DeviceID", "string cage 1-sensor0"},
            {"SensorType", "uint16 1"},
            {"OtherSensorTypeDescription", "string " + std::string(32, 'n')},
            {"Position", "uint16 65533"},
            {"BaseUnit", unit},
            {"CurrentReading", "uint16 65535"},
            {"LowLimit", "uint16 1"},
            {"HighLimit", "uint16 65534"},
            {"State", "uint16 255"},
        };
        api.events.clear();
        const CIMInstance instance = instances("QBX_CageSensor").at(0);
        EXPECT_EQ(valuesOf(instance), expected);
        EXPECT_EQ(str(instance.getPath()),
                  "//array1/root/qbx:QBX_CageSensor.CreationClassName=\"QBX_CageSensor\","
                  "DeviceID=\"cage 1-sensor0\",SystemCreationClassName=\"QBX_StorageSystem\","
                  "SystemName=\"System One\"");
        const Texts log = api.log(4);
        EXPECT_EQ(Texts(log.begin() + 2, log.end() - 2),
                  (Texts{"-->QBX_CageSensorProvider::buildInstance()\n",
                         "-->QBX_Common::_buildInstanceSkeleton()\n",
                         "<--QBX_Common::_buildInstanceSkeleton()\n",
                         "<--QBX_CageSensorProvider::buildInstance()\n"}));
    }
}

TEST_F(CageSensorTest, EmptyPlacesKeepTheirIndex)
{
    api.cages = {
        cageWith("c", JB_MBOD, {sensor(1, 0, 0), EMPTY, sensor(0, 1, 0), EMPTY, sensor(0, 0, 1)})};
    EXPECT_EQ(deviceIDs(), (Texts{"c-sensor0", "c-sensor2", "c-sensor4"}));
    api.cages[0].u.lbod.sensCount = 2;
    EXPECT_EQ(deviceIDs(), (Texts{"c-sensor0"})) << "places beyond the count do not exist";
    api.cages[0].u.lbod.sensCount = 0;
    EXPECT_EQ(deviceIDs(), Texts{});
    api.cages = {cageWith("c", JB_LBOD, std::vector<api_sensor_t>(10, sensor(1, 1, 1)))};
    EXPECT_EQ(deviceIDs().back(), "c-sensor9");
}

TEST_F(CageSensorTest, OnlyCagesOfTheDC2FamilyCarrySensors)
{
    for (const int type : {0, 1, 2, 4, 6, -1}) {
        api.cages.push_back(cageWith("other", type, {sensor(1, 1, 1)}));
        api.cagesPS.push_back(supplyWith("other", type, {sensor(1, 1, 1)}));
    }
    EXPECT_EQ(deviceIDs(), Texts{});
}

TEST_F(CageSensorTest, BothListsAreReadAndNothingIsMerged)
{
    const std::vector<api_sensor_t> one = {sensor(1, 1, 1)};
    api.cages = {cageWith("a", JB_LBOD, one), cageWith("b", JB_MBOD, one)};
    api.cagesPS = {supplyWith("b", JB_LBOD, {EMPTY, sensor(2, 2, 2)}),
                   supplyWith("a", JB_MBOD, one), supplyWith(std::string(65, 'c'), JB_MBOD, one)};
    EXPECT_EQ(deviceIDs(), (Texts{"a-sensor0", "b-sensor0", "b-sensor1", "a-sensor0",
                                  std::string(65, 'c') + "-sensor0"}));
    for (const bool leavesRecords : {false, true}) {
        api.failingQueryLeavesRecords = leavesRecords;
        api.status = {{"api_getCagesPS_Cached", 1}};
        EXPECT_EQ(deviceIDs(), (Texts{"a-sensor0", "b-sensor0"})) << "the first list's stand";
        api.status = {{"api_getCages_Cached", 1}};
        EXPECT_EQ(deviceIDs().size(), 3u) << "the second list is read all the same";
    }
}

TEST_F(CageSensorTest, TheCountIsTheArraysWord)
{
    // An eleventh sensor lies in what follows the record: the next cage's name.
    api.cages = {cageWith("c", JB_LBOD, {sensor(1, 1, 1)}), cage(std::string(64, 'x'), JB_UNKNOWN)};
    api.cages[0].u.lbod.sensCount = 11;
    const std::vector<CIMInstance> found = instances("QBX_CageSensor");
    ASSERT_EQ(found.size(), 2u);
    EXPECT_EQ(valueOf(found[1], "DeviceID"), "string c-sensor10");
    EXPECT_EQ(valueOf(found[1], "CurrentReading"), "uint16 30840");
}

TEST_F(CageSensorTest, TheClassIsFetchedOnceBeforeTheArrayIsAsked)
{
    const std::vector<api_sensor_t> two = {sensor(1, 1, 1), sensor(2, 2, 2)};
    api.cages = {cageWith("a", JB_LBOD, two), cageWith("b", JB_LBOD, two)};
    InstanceHandler handler;
    provider.enumerateInstances(contextOf(), pathOf("QBX_CageSensor"), false, true,
                                listOf({"State"}), handler);
    EXPECT_EQ(handler.steps, (Texts{"processing", "deliver 4", "complete"}));
    EXPECT_EQ(cimom.asked, (Texts{"getClass nobody QBX_CageSensor FT State"}));

    api.events.clear();
    cimom::ObjectManager::setCurrent(nullptr);
    EXPECT_NE(thrownBy([&] { instances("QBX_CageSensor"); }), "nothing");
    EXPECT_EQ(api.calls(), (Texts{"api_qbxOpenForCimserver(joe)"}));
}

}  // namespace
