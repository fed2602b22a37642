"""What clients see of the array of odd cases (qbx_support.odd_array): the path of every element, one
complete instance of every kind of element, and the values that are odd on the way to a client.

Each row is an Element: its path, the tag of the cage that it is in (or None), whether `values` are
all its properties that are not null, and `values`. The values are those of the records, by the
meaning that the classes' MOF gives them.
"""

import collections
import re

from qbx_support.odd_array import LONGEST_ID, UNTERMINATED_ID, UNTERMINATED_MAGAZINE

Element = collections.namedtuple("Element", "path cage complete values")

SYSTEM = "QBX-1000001"
BAD = "\ufffd"  # for a byte that is no UTF-8, and for each byte of a character that XML forbids
HOSTILE = "h" + 6 * BAD  # the cage of hostile texts


def path(name, tag):
    return (name, {"CreationClassName": name, "Tag": tag})


def physical(name, tag, cage=None, complete=False, **values):
    element = path(name, tag)
    return Element(element, cage, complete, element[1] | values)


def plain(name, *tags):
    """Elements of a class with nothing odd about them; their tags begin with the number of their cage."""
    return [physical(name, tag, "cage" + re.sub(r"\D*(\d).*", r"\1", tag)) for tag in tags]


def made(model, serial):
    return {"Manufacturer": "QBX", "Model": model, "SerialNumber": serial}


CAGES = [
    physical(
        "QBX_DriveCageDC2Family", "cage0", complete=True, RemovalConditions=2, ChassisPackageType=22,
        ChassisTypeDescription="Drive Cage", MultipleSystemSupport=2, RackMountable=2, **made("DC2", "4000100"),
        Name="2FF70002AC001A00", ElementName="cage0", Location="Rack 1, U2", CageType=3, CageSubType=0, Position=0,
        LoopSplit=False, ChainPositionLoopA=1, ChainPositionLoopB=1, LocateON=False, OperationalStatus=[2],
        FirmwareVersion="5.07", FirmwareStatus=1, CPUState=1,
    ),
    physical(
        "QBX_DriveCageDC1Family", "cage1", ElementName="Left <DC1> & \"friends'\"", Position=1,
        Location="Rack 1, U6 <left> & \"front\", O'Neill", CageType=2, IsLeftSide=True,  # JBOD counts as KBOD
    ),
    physical(
        "QBX_DriveCageDC1Family", "cage2", ElementName="Käfig 2 (日本)", Location="Gebäude 7, Müllerstraße, 棚 3 🗄",
    ),
    physical("QBX_DriveCageDC2Family", "cage3", ChainPositionLoopA=65535),
    physical("QBX_DriveCageDC3Family", "cage4", CageSubType=1, TempSensorValue=27, Position=4),
    # A number of more than 16 bits loses those above.
    physical("QBX_DriveCageDC3Family", "cage5", Location="", TempSensorValue=65535, AudibleAlarmState=4464),
    physical("QBX_DriveCage", LONGEST_ID, CageSubType=65535, ElementName="64-character id", Model=""),
    physical(
        "QBX_DriveCage", UNTERMINATED_ID, CageType=42, ElementName=f"cage 7{2 * BAD}( not UTF-8{3 * BAD}",
        Model=65 * "M",
    ),
    physical("QBX_DriveCageDC2Family", "cage8", FirmwareVersion=""),
    physical("QBX_DriveCageDC2Family", "cage9", Location="Spare"),
    physical(
        "QBX_DriveCageDC2Family", HOSTILE, ElementName=6 * BAD, Manufacturer=f"{BAD}[2J", Model=f"{3 * BAD} {3 * BAD}",
        SerialNumber=2 * BAD, Location=5 * BAD, FirmwareVersion=f"{BAD}1",
    ),
]  # fmt: skip

WWN = 0x2FF70002AC000000  # names of ports begin with it
CARDS = [
    physical(
        "QBX_CageInterfaceCardDC2Family", "card0-0", "cage0", True, RemovalConditions=2, OperationalStatus=[2],
        Position=0, **made("FCAL2", "6000100"),
        ElementName="0.A", CageType=3, LoopAPortWWNs=[WWN + 0x2000, WWN + 0x2001],
        LoopBPortWWNs=[WWN + 0x2002, WWN + 0x2003], NodePortsLoopA=[WWN + 0x3000, 0], NodePortsLoopB=[0, WWN + 0x3003],
        PortsLoopA=["3:3:2", "0"], PortsLoopB=["0", "0:1:1"], LoopALinkSpeed=[0, 1], LoopBLinkSpeed=[2, 3],
        LoopALocateON=[False, False], LoopBLocateON=[False, False], LoopALinkRX=[4, 5], LoopALinkTX=[5, 6],
        LoopBLinkRX=[6, 7], LoopBLinkTX=[7, 0], SplitLED=1, SystemLED=2, HotplugLED=3,
    ),
    physical(
        "QBX_CageInterfaceCardDC1Family", "card1-0", "cage1", ElementName="<1.A> & \"it's\"", CageType=2,
        LoopALinkSpeed=[12, 77], LoopALocateON=[False, True], CPUPartnerState=1,
    ),
    physical(
        "QBX_CageInterfaceCardDC3Family", "card4-0", "cage4", IsMaster=True, LoopState=[1, 2, 3, 0],
        PortsLoopA=["3:3:2", "0", "0", "0:1:1"], PortsLoopB=["7:15:7", "0:0:1", "1:0:0", "7:15:7"],
    ),
    physical("QBX_CageInterfaceCard", "card6-0", LONGEST_ID, LoopALinkSpeed=[4, 8], LoopALocateON=[True, False]),
    physical(
        "QBX_CageInterfaceCardDC1Family", f"c{4 * BAD}", "cage2", ElementName=f"{2 * BAD}(", Manufacturer=BAD,
        FirmwareVersion=4 * BAD,
    ),
    physical("QBX_CageInterfaceCardDC3Family", f"c{2 * BAD}", "cage4", IsMaster=False, FirmwareVersion=2 * BAD),
    physical("QBX_CageInterfaceCard", "card7-0", UNTERMINATED_ID, CageType=42),
    *plain("QBX_CageInterfaceCardDC1Family", "card1-1", "card2-0"),
    *plain("QBX_CageInterfaceCardDC2Family", "card0-1", "card3-0", "card3-1", "card8-0"),
    *plain("QBX_CageInterfaceCardDC3Family", "card5-0", "card5-1"),
]  # fmt: skip

MAGAZINES = [
    physical(
        "QBX_Magazine", "mag0-0", "cage0", True, **made("MAG4", "5000100"), ElementName="0:0", CageType=3,
        SystemLED=0, HotplugLED=3, LocationType=3, MediaTypesSupported=[29], RemovalConditions=4, OperationalStatus=[2],
        LocateON=False, StateOnLoopA=1, StateOnLoopB=1, Position=0,
    ),
    physical("QBX_Magazine", "mag4-0", "cage4", ElementName="4:0", CageType=4),
    physical("QBX_Magazine", "mag1-0", "cage1", ElementName='<1:0> & "it\'s"'),
    physical("QBX_Magazine", "mag6-0", LONGEST_ID),
    physical("QBX_Magazine", "mag7-0", UNTERMINATED_ID, CageType=42),
    physical("QBX_Magazine", UNTERMINATED_MAGAZINE, "cage8", ElementName=f"8:0{BAD}"),
    physical("QBX_Magazine", f"m{5 * BAD}", HOSTILE, ElementName=4 * BAD, Manufacturer=BAD, Model=2 * BAD),
    *plain("QBX_Magazine", "mag0-1", "mag0-3", "mag1-1", "mag2-0", "mag2-1", "mag3-0", "mag3-9", "mag4-15", "mag5-0"),
]  # fmt: skip


def sensor(device, cage, complete=False, **values):
    keys = {"CreationClassName": "QBX_CageSensor", "DeviceID": device, "SystemName": SYSTEM}
    # The key names the class of the system, the property that of the cage.
    values = {**keys, "SystemCreationClassName": "QBX_DriveCageDC2Family", **values}
    return Element(("QBX_CageSensor", {**keys, "SystemCreationClassName": "QBX_StorageSystem"}), cage, complete, values)


# Empty places count. A power supply's sensor may have the id of a cage's, and is in no cage.
SENSORS = [
    sensor(
        "cage0-sensor0", "cage0", True, OtherSensorTypeDescription="Inlet temperature", BaseUnit="C", CurrentReading=24,
        LowLimit=5, HighLimit=40, Position=0, State=1, SensorType=1, EnabledState=5, RequestedState=12,
        EnabledDefault=2, TransitioningToState=12,
    ),
    *(sensor(f"cage0-sensor{place}", "cage0") for place in (2, 3, 5)),
    *(sensor(f"cage3-sensor{place}", "cage3") for place in range(10)),
    *(sensor(f"cage{place}", None, BaseUnit="V") for place in ("0-sensor0", "0-sensor2")),
    sensor("cage3-sensor0", None, BaseUnit="W"),
    *(sensor(f"cage-ps-only-sensor{place}", None) for place in (1, 2, 3, 4)),
    sensor(f"{HOSTILE}-sensor0", HOSTILE, OtherSensorTypeDescription=2 * BAD, BaseUnit=BAD),
    sensor(f"p{2 * BAD}-sensor0", None, OtherSensorTypeDescription=4 * BAD, BaseUnit=BAD),
]  # fmt: skip

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
