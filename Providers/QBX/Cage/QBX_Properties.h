// The names of the properties that the providers set, made once and not for every record: a name is
// checked as it is made.
#ifndef QBX_Properties_h
#define QBX_Properties_h

#include <Pegasus/Common/CIMName.h>

namespace Pegasus
{
/// The names of properties.
namespace QBX_Property
{

inline const CIMName AudibleAlarmState("AudibleAlarmState"), BaseUnit("BaseUnit"),
    CPUPartnerState("CPUPartnerState"), CPUSelfState("CPUSelfState"), CPUState("CPUState"),
    CageSubType("CageSubType"), CageType("CageType"), ChainPositionLoopA("ChainPositionLoopA"),
    ChainPositionLoopB("ChainPositionLoopB"), ChassisPackageType("ChassisPackageType"),
    ChassisTypeDescription("ChassisTypeDescription"), CreationClassName("CreationClassName"),
    CurrentReading("CurrentReading"), DeviceID("DeviceID"), ESHState("ESHState"),
    ElementName("ElementName"), EnclosureID("EnclosureID"), ExtendedESHState("ExtendedESHState"),
    FirmwareStatus("FirmwareStatus"), FirmwareVersion("FirmwareVersion"), HighLimit("HighLimit"),
    HotplugLED("HotplugLED"), IFCState("IFCState"), IsLeftSide("IsLeftSide"), IsMaster("IsMaster"),
    IsRightSide("IsRightSide"), LocateON("LocateON"), Location("Location"),
    LocationType("LocationType"), LoopALinkLED("LoopALinkLED"), LoopALinkRX("LoopALinkRX"),
    LoopALinkSpeed("LoopALinkSpeed"), LoopALinkTX("LoopALinkTX"), LoopALocateON("LoopALocateON"),
    LoopAPortWWNs("LoopAPortWWNs"), LoopBLinkLED("LoopBLinkLED"), LoopBLinkRX("LoopBLinkRX"),
    LoopBLinkSpeed("LoopBLinkSpeed"), LoopBLinkTX("LoopBLinkTX"), LoopBLocateON("LoopBLocateON"),
    LoopBPortWWNs("LoopBPortWWNs"), LoopSplit("LoopSplit"), LoopState("LoopState"),
    LowLimit("LowLimit"), Manufacturer("Manufacturer"), MediaTypesSupported("MediaTypesSupported"),
    Model("Model"), MultipleSystemSupport("MultipleSystemSupport"), Name("Name"),
    NodePortsLoopA("NodePortsLoopA"), NodePortsLoopB("NodePortsLoopB"),
    OperationalStatus("OperationalStatus"), OperatorPanelState("OperatorPanelState"),
    OtherSensorTypeDescription("OtherSensorTypeDescription"), PortsLoopA("PortsLoopA"),
    PortsLoopB("PortsLoopB"), Position("Position"), RackMountable("RackMountable"),
    RemovalConditions("RemovalConditions"), SensorType("SensorType"), SerialNumber("SerialNumber"),
    SplitLED("SplitLED"), State("State"), StateOnLoopA("StateOnLoopA"),
    StateOnLoopB("StateOnLoopB"), SystemCreationClassName("SystemCreationClassName"),
    SystemLED("SystemLED"), SystemName("SystemName"), Tag("Tag"),
    TempSensorState("TempSensorState"), TempSensorValue("TempSensorValue");

}  // namespace QBX_Property
}  // namespace Pegasus

#endif
