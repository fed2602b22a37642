"""What clients see of the array of odd cases (qbx_support.odd_array), element by element.

Each row is an Element: its path, the tag of the cage that it is in (or None), whether `values` are
all its properties that are not null, and `values`. Rows that are not complete give what is odd about
their element. The values are those of the records, by the meaning that the classes' MOF gives them.
"""

import collections

from qbx_support.odd_array import LONGEST_ID, UNTERMINATED_ID, UNTERMINATED_MAGAZINE

Element = collections.namedtuple("Element", "path cage complete values")

SYSTEM = "QBX-1000001"
BAD = "\ufffd"  # for a byte that is no UTF-8, and for each byte of a character that XML forbids
HOSTILE = "h" + 6 * BAD  # the cage of hostile texts
ABSENT = "mag0-2"


def path(name, tag):
    return (name, {"CreationClassName": name, "Tag": tag})


def physical(name, tag, cage=None, complete=False, **values):
    element = path(name, tag)
    return Element(element, cage, complete, element[1] | values)


def made(model, serial):
    return {"Manufacturer": "QBX", "Model": model, "SerialNumber": serial}


CAGE_VALUES = {
    "RemovalConditions": 2,
    "ChassisPackageType": 22,
    "ChassisTypeDescription": "Drive Cage",
    "MultipleSystemSupport": 2,
    "RackMountable": 2,
}
CAGES = [
    physical(
        "QBX_DriveCageDC2Family", "cage0", complete=True, **CAGE_VALUES, **made("DC2", "4000100"),
        Name="2FF70002AC001A00", ElementName="cage0", Location="Rack 1, U2", CageType=3, CageSubType=0, Position=0,
        LoopSplit=False, ChainPositionLoopA=1, ChainPositionLoopB=1, LocateON=False, OperationalStatus=[2],
        FirmwareVersion="5.07", FirmwareStatus=1, CPUState=1,
    ),
    physical(
        "QBX_DriveCageDC1Family", "cage1", complete=True, **CAGE_VALUES, **made("DC1", "4000101"),
        Name="2FF70002AC001A01", ElementName="Left <DC1> & \"friends'\"",
        Location="Rack 1, U6 <left> & \"front\", O'Neill", CageType=2,  # JBOD counts as KBOD
        CageSubType=0, Position=1, LoopSplit=True, ChainPositionLoopA=2, ChainPositionLoopB=2,
        LocateON=False, OperationalStatus=[2], IsLeftSide=True, IsRightSide=False,
    ),
    physical(
        "QBX_DriveCageDC1Family", "cage2", ElementName="Käfig 2 (日本)", CageType=2,
        Location="Gebäude 7, Müllerstraße, 棚 3 🗄", LocateON=True, OperationalStatus=[3],
        IsLeftSide=False, IsRightSide=True,
    ),
    physical(
        "QBX_DriveCageDC2Family", "cage3", CageType=5, ChainPositionLoopA=65535, ChainPositionLoopB=0,
        OperationalStatus=[4], FirmwareStatus=2, CPUState=3,
    ),
    physical(
        "QBX_DriveCageDC3Family", "cage4", complete=True, **CAGE_VALUES, **made("DC3", "4000104"),
        Name="2FF70002AC001A04", ElementName="cage4", Location="Rack 2, U6", CageType=4, CageSubType=1, Position=4,
        LoopSplit=False, ChainPositionLoopA=1, ChainPositionLoopB=2, LocateON=False, OperationalStatus=[2],
        TempSensorState=1, TempSensorValue=27, OperatorPanelState=1, AudibleAlarmState=1, EnclosureID=4,
    ),
    # Numbers of more than 16 bits lose those above.
    physical(
        "QBX_DriveCageDC3Family", "cage5", Location="", CageSubType=2, OperationalStatus=[5], TempSensorState=7,
        TempSensorValue=65535, OperatorPanelState=9, AudibleAlarmState=4464, EnclosureID=255,
    ),
    physical(
        "QBX_DriveCage", LONGEST_ID, complete=True, **CAGE_VALUES, **made("", "4000106"), Name="2FF70002AC001A06",
        ElementName="64-character id", Location="Rack 3, U2", CageType=0, CageSubType=65535, Position=6,
        LoopSplit=False, ChainPositionLoopA=0, ChainPositionLoopB=0, LocateON=False, OperationalStatus=[0],
        IsLeftSide=True, IsRightSide=True,
    ),
    physical(
        "QBX_DriveCage", UNTERMINATED_ID, CageType=42, CageSubType=7, OperationalStatus=[13],
        ElementName=f"cage 7{2 * BAD}( not UTF-8{3 * BAD}", Model=65 * "M",
        Manufacturer="Vendor of thirty-two characters.",
    ),
    physical(
        "QBX_DriveCageDC2Family", "cage8", ElementName="A display name that fills it all", FirmwareVersion="",
        FirmwareStatus=0, CPUState=0, OperationalStatus=[8],
    ),
    physical(
        "QBX_DriveCageDC2Family", "cage9", Name=16 * "0", Manufacturer="", Model="", SerialNumber="", Location="Spare",
        FirmwareStatus=5, CPUState=6, OperationalStatus=[18],
    ),
    physical(
        "QBX_DriveCageDC2Family", HOSTILE, ElementName=6 * BAD, Manufacturer=f"{BAD}[2J", Model=f"{3 * BAD} {3 * BAD}",
        SerialNumber=2 * BAD, Location=5 * BAD, FirmwareVersion=f"{BAD}1",
    ),
]  # fmt: skip

CARD_VALUES = {"RemovalConditions": 2, "OperationalStatus": [2]}
WWN = 0x2FF70002AC000000  # names of ports begin with it
CARDS = [
    physical(
        "QBX_CageInterfaceCardDC2Family", "card0-0", "cage0", True, **CARD_VALUES, **made("FCAL2", "6000100"),
        Position=0, ElementName="0.A", CageType=3, LoopAPortWWNs=[WWN + 0x2000, WWN + 0x2001],
        LoopBPortWWNs=[WWN + 0x2002, WWN + 0x2003], NodePortsLoopA=[WWN + 0x3000, 0], NodePortsLoopB=[0, WWN + 0x3003],
        PortsLoopA=["3:3:2", "0"], PortsLoopB=["0", "0:1:1"], LoopALinkSpeed=[0, 1], LoopBLinkSpeed=[2, 3],
        LoopALocateON=[False, False], LoopBLocateON=[False, False], LoopALinkRX=[4, 5], LoopALinkTX=[5, 6],
        LoopBLinkRX=[6, 7], LoopBLinkTX=[7, 0], SplitLED=1, SystemLED=2, HotplugLED=3,
    ),
    physical(
        "QBX_CageInterfaceCardDC2Family", "card0-1", "cage0", LoopALinkSpeed=[4, 8], LoopBLinkSpeed=[10, 11],
        LoopALocateON=[True, False], PortsLoopA=["7:15:7", "0:0:1"], PortsLoopB=["1:0:0", "7:15:7"],
    ),
    physical(
        "QBX_CageInterfaceCardDC1Family", "card1-0", "cage1", True, **CARD_VALUES, **made("FCAL2", "6000102"),
        Position=0, ElementName="<1.A> & \"it's\"", CageType=2, LoopAPortWWNs=[WWN + 0x2008, WWN + 0x2009],
        LoopBPortWWNs=[WWN + 0x200A, WWN + 0x200B], NodePortsLoopA=[WWN + 0x3008, 0], NodePortsLoopB=[0, WWN + 0x300B],
        PortsLoopA=["3:3:2", "0"], PortsLoopB=["0", "0:1:1"], LoopALinkSpeed=[12, 77], LoopBLinkSpeed=[0, 1],
        LoopALocateON=[False, True], LoopBLocateON=[False, False], FirmwareVersion="2.30", FirmwareStatus=1,
        CPUSelfState=1, CPUPartnerState=1, LoopALinkLED=[6, 7], LoopBLinkLED=[0, 1], SplitLED=3, SystemLED=4,
        HotplugLED=5,
    ),
    physical(
        "QBX_CageInterfaceCardDC1Family", "card1-1", "cage1", FirmwareVersion="2.31", CPUSelfState=1, CPUPartnerState=2,
    ),
    physical("QBX_CageInterfaceCardDC1Family", "card2-0", "cage2", CageType=2),
    physical(
        "QBX_CageInterfaceCardDC1Family", f"c{4 * BAD}", "cage2", ElementName=f"{2 * BAD}(", Manufacturer=BAD,
        Model=2 * BAD, SerialNumber=2 * BAD, FirmwareVersion=4 * BAD, FirmwareStatus=11, CPUSelfState=12,
        CPUPartnerState=13,
    ),
    physical("QBX_CageInterfaceCardDC2Family", "card3-0", "cage3", CageType=5),
    physical("QBX_CageInterfaceCardDC2Family", "card3-1", "cage3", LoopALocateON=[False, True]),
    physical(
        "QBX_CageInterfaceCardDC3Family", "card4-0", "cage4", True, **CARD_VALUES, **made("FCAL2", "6000108"),
        Position=0, ElementName="4.A", CageType=4, IsMaster=True,
        LoopAPortWWNs=[WWN + 0x2020 + port for port in range(4)],
        LoopBPortWWNs=[WWN + 0x2024 + port for port in range(4)], NodePortsLoopA=[WWN + 0x3020, 0, 0, WWN + 0x3023],
        NodePortsLoopB=[WWN + 0x3024 + port for port in range(4)], PortsLoopA=["3:3:2", "0", "0", "0:1:1"],
        PortsLoopB=["7:15:7", "0:0:1", "1:0:0", "7:15:7"], LoopALinkSpeed=[2, 3, 4, 8], LoopBLinkSpeed=[10, 11, 12, 77],
        LoopALocateON=[False, False, True, False], LoopBLocateON=[False, False, False, True], LoopState=[1, 2, 3, 0],
        FirmwareVersion="D3.104", FirmwareStatus=1, IFCState=1, ESHState=2, ExtendedESHState=2,
    ),
    physical("QBX_CageInterfaceCardDC3Family", f"c{2 * BAD}", "cage4", IsMaster=False, FirmwareVersion=2 * BAD),
    physical("QBX_CageInterfaceCardDC3Family", "card5-0", "cage5", CageType=4),
    physical(
        "QBX_CageInterfaceCardDC3Family", "card5-1", "cage5", LoopState=[14, 15, 16, 17], FirmwareStatus=18,
        IFCState=19, ESHState=20, ExtendedESHState=21,
    ),
    physical(
        "QBX_CageInterfaceCard", "card6-0", LONGEST_ID, True, **CARD_VALUES, **made("FCAL2", "6000112"), Position=0,
        ElementName="6.A", CageType=0, LoopAPortWWNs=[WWN + 0x2040, WWN + 0x2041],
        LoopBPortWWNs=[WWN + 0x2042, WWN + 0x2043], NodePortsLoopA=[WWN + 0x3040, 0], NodePortsLoopB=[0, WWN + 0x3043],
        PortsLoopA=["3:3:2", "0"], PortsLoopB=["0", "0:1:1"], LoopALinkSpeed=[4, 8], LoopBLinkSpeed=[10, 11],
        LoopALocateON=[True, False], LoopBLocateON=[False, False],
    ),
    physical("QBX_CageInterfaceCard", "card7-0", UNTERMINATED_ID, CageType=42),
    physical("QBX_CageInterfaceCardDC2Family", "card8-0", "cage8", CageType=3),
]  # fmt: skip


def magazine(tag, cage, kind, position, loops=(1, 1), leds=None, complete=False, **more):
    """Those of DC3 cages have no lights."""
    lights = dict(zip(("SystemLED", "HotplugLED"), leds, strict=True)) if leds else {}
    return physical(
        "QBX_Magazine", tag, cage, complete, CageType=kind, Position=position,
        StateOnLoopA=loops[0], StateOnLoopB=loops[1], **lights, **more,
    )  # fmt: skip


MAGAZINE_VALUES = {"LocationType": 3, "MediaTypesSupported": [29], "RemovalConditions": 4}
MAGAZINE_VALUES |= {"OperationalStatus": [2], "LocateON": False}
MAGAZINES = [
    magazine(
        "mag0-0", "cage0", 3, 0, leds=(0, 3), complete=True, **MAGAZINE_VALUES, **made("MAG4", "5000100"),
        ElementName="0:0",
    ),
    magazine("mag0-1", "cage0", 3, 1, (2, 1), leds=(1, 4)),
    magazine("mag0-3", "cage0", 3, 3, (3, 3), leds=(2, 5), LocateON=True),
    magazine("mag1-0", "cage1", 2, 0, leds=(3, 6), ElementName='<1:0> & "it\'s"'),
    magazine("mag1-1", "cage1", 2, 1, leds=(4, 7), ElementName=f"1{2 * BAD}:1{3 * BAD}"),
    magazine("mag2-0", "cage2", 2, 0, leds=(5, 0)),
    magazine("mag2-1", "cage2", 2, 1, (0, 3), leds=(6, 1)),
    magazine("mag3-0", "cage3", 5, 0, leds=(7, 2)),
    magazine("mag3-9", "cage3", 5, 9, leds=(0, 3)),
    magazine("mag4-0", "cage4", 4, 0, complete=True, **MAGAZINE_VALUES, **made("MAG4", "5000111"), ElementName="4:0"),
    magazine("mag4-15", "cage4", 4, 15, (2, 1)),
    magazine("mag5-0", "cage5", 4, 0, loops=(1, 1)),  # of 65537
    magazine("mag6-0", LONGEST_ID, 0, 0, leds=(1, 4)),
    magazine("mag7-0", UNTERMINATED_ID, 42, 0, leds=(2, 5)),
    magazine(UNTERMINATED_MAGAZINE, "cage8", 3, 0, loops=(1, 10), leds=(3, 6), ElementName=f"8:0{BAD}"),
    magazine(
        f"m{5 * BAD}", HOSTILE, 3, 1, loops=(0, 0), leds=(0, 0), ElementName=4 * BAD, Manufacturer=BAD, Model=2 * BAD,
        SerialNumber=3 * BAD,
    ),
]  # fmt: skip


def sensor(device, cage, position, name, unit, reading, low, high, state=1):
    keys = {"CreationClassName": "QBX_CageSensor", "DeviceID": device, "SystemName": SYSTEM}
    values = {
        **keys, "SystemCreationClassName": "QBX_DriveCageDC2Family",  # the key names the system's
        "EnabledState": 5, "RequestedState": 12, "EnabledDefault": 2, "TransitioningToState": 12,
        "SensorType": 1, "OtherSensorTypeDescription": name, "Position": position,
        "BaseUnit": unit, "CurrentReading": reading, "LowLimit": low, "HighLimit": high,
        "State": state,
    }  # fmt: skip
    keys = {**keys, "SystemCreationClassName": "QBX_StorageSystem"}
    return Element(("QBX_CageSensor", keys), cage, True, values)


# Empty places count. A power supply's sensor may have the id of a cage's, and is in no cage.
SENSORS = [
    sensor("cage0-sensor0", "cage0", 0, "Inlet temperature", "C", 24, 5, 40),
    sensor("cage0-sensor2", "cage0", 1, "Outlet temperature", "C", 31, 5, 55),
    sensor("cage0-sensor3", "cage0", 2, "5 V supply", "V", 5, 4, 6),
    sensor("cage0-sensor5", "cage0", 3, "Fan speed", "R", 5400, 3000, 9000),
    sensor("cage3-sensor0", "cage3", 0, "At its high limit", "C", 40, 5, 40),
    sensor("cage3-sensor1", "cage3", 1, "At its low limit", "C", 5, 5, 40),
    sensor("cage3-sensor2", "cage3", 2, "Above its high limit", "C", 41, 5, 40, state=3),
    sensor("cage3-sensor3", "cage3", 3, "Below its low limit", "C", 4, 5, 40, state=3),
    sensor("cage3-sensor4", "cage3", 4, "Largest values", "W", 65535, 65535, 65535, state=255),
    sensor("cage3-sensor5", "cage3", 5, "Reading only", "A", 1, 0, 0),
    sensor("cage3-sensor6", "cage3", 6, "High limit only", "A", 0, 0, 1),
    sensor("cage3-sensor7", "cage3", 7, "Low limit only", "A", 0, 1, 0),
    sensor("cage3-sensor8", "cage3", 8, "No unit", "", 12, 1, 20),
    sensor("cage3-sensor9", "cage3", 65535, "Full name, and not one byte more", "V", 12, 11, 13),
    sensor(f"{HOSTILE}-sensor0", HOSTILE, 0, 2 * BAD, BAD, 1, 0, 2, state=0),
    sensor(f"p{2 * BAD}-sensor0", None, 0, 4 * BAD, BAD, 1, 0, 2, state=0),
    sensor("cage0-sensor0", None, 0, "Power supply 0", "V", 12, 11, 13),
    sensor("cage0-sensor2", None, 1, "Power supply 1", "V", 0, 11, 13, state=3),
    sensor("cage3-sensor0", None, 0, "Power supply 0", "W", 410, 0, 750),
    sensor("cage-ps-only-sensor1", None, 1, "Fan of power supply", "R", 4200, 3000, 9000),
    sensor("cage-ps-only-sensor2", None, 2, "Inlet", "C", 22, 5, 40),
    sensor("cage-ps-only-sensor3", None, 3, "Output", "V", 5, 4, 6),
    sensor("cage-ps-only-sensor4", None, 4, "Input", "V", 230, 207, 253),
]

ELEMENTS = CAGES + CARDS + MAGAZINES + SENSORS


def element(tag):
    """The first element with this tag or device id."""
    return next(each for each in ELEMENTS if tag in each.path[1].values())


DC2, DC1 = element("cage0"), element("cage1")
CARD, MAGAZINE, SENSOR = element("card1-0"), element("mag0-0"), element("cage0-sensor0")


def in_cages(elements):
    """Pairs of the path of a cage and that of an element in it."""
    return [(element(each.cage).path, each.path) for each in elements if each.cage]


# Association class: (role of the first, role of the second, pairs of paths).
CONTAINED = ("GroupComponent", "PartComponent")
PACKAGE = path("QBX_SystemPackage", SYSTEM)
ASSOCIATIONS = {
    "QBX_SysCageContainer": (*CONTAINED, [(PACKAGE, each.path) for each in CAGES]),
    "QBX_InterfaceCardInDriveCage": (*CONTAINED, in_cages(CARDS)),
    "QBX_MagazineInDriveCage": (*CONTAINED, in_cages(MAGAZINES)),
    "QBX_SensorInDriveCage": ("Dependent", "Antecedent", in_cages(SENSORS)),
}
