"""What clients must see of an array, computed from its file.

Element(path, values): path is (class, {key: value}), values {property: value} holds every property
that is not null. Values are str, int, bool, or lists of them. The rules are the module's, written
anew from what the records mean, and never taken from what a server answered.
"""

import codecs
import collections
import json
import pathlib
import re

STORAGE_API = pathlib.Path(__file__).resolve().parents[2] / "StorageApi"
HEADERS = (STORAGE_API / "include" / "qbxapi.h", STORAGE_API / "simulator" / "qbxapi_sim.h")

Element = collections.namedtuple("Element", "path values")

JB_JBOD, JB_KBOD, JB_LBOD, JB_DC3, JB_MBOD = 1, 2, 3, 4, 5
FAMILY = {
    JB_JBOD: "DC1Family",
    JB_KBOD: "DC1Family",
    JB_LBOD: "DC2Family",
    JB_MBOD: "DC2Family",
    JB_DC3: "DC3Family",
}

# Inherited properties with a default in the schema, which instances keep.
PACKAGE_DEFAULTS = {"RemovalConditions": 2}
DEVICE_DEFAULTS = {
    "EnabledState": 5,
    "RequestedState": 12,
    "EnabledDefault": 2,
    "TransitioningToState": 12,
}

# Published as U+FFFD: each byte that is not UTF-8, and each of a character that XML forbids.
codecs.register_error("one_by_one", lambda error: ("\ufffd", error.start + 1))
FORBIDDEN = re.compile("[\1-\x08\x0b\x0c\x0e-\x1f\ufffe\uffff]")


def text(value):
    """A text of the file as clients see it."""
    if not value.startswith("hex:"):
        return value
    decoded = bytes.fromhex(value[4:]).split(b"\0")[0].decode("utf-8", "one_by_one")
    return FORBIDDEN.sub(lambda found: "\ufffd" * len(found[0].encode()), decoded)


def codes():
    """The enumerators of the array's interface, and the simulated array's results."""
    return {
        name: int(number)
        for header in HEADERS
        for name, number in re.findall(
            r"^ +([A-Z][A-Z0-9_]+) = (-?\d+)", header.read_text(), re.MULTILINE
        )
    }


CODES = codes()


def number(value):
    """A number of the file: a number, a hexadecimal text or an enumerator's name."""
    if isinstance(value, str):
        return int(value, 16) if value.startswith("0x") else CODES[value]
    return value


def uint16(value):
    return number(value) & 0xFFFF


class Record:
    """A record of the file; fields that it does not give are 0, false or empty."""

    def __init__(self, fields):
        self.fields = fields or {}

    def text(self, name):
        return text(self.fields.get(name, ""))

    def number(self, name):
        return number(self.fields.get(name, 0))

    def uint16(self, name):
        return uint16(self.fields.get(name, 0))

    def flag(self, name):
        return bool(self.fields.get(name, False))

    def numbers(self, name, count):
        given = [number(value) for value in self.fields.get(name, [])]
        return (given + [0] * count)[:count]

    def uint16s(self, name, count):
        return [value & 0xFFFF for value in self.numbers(name, count)]

    def record(self, name):
        return Record(self.fields.get(name))

    def state(self, name):
        return self.record(name).uint16("actual")

    def states(self, name, count):
        given = [Record(state).uint16("actual") for state in self.fields.get(name, [])]
        return (given + [0] * count)[:count]

    def arm(self, name):
        """The union's arm. The file must give this one, or none."""
        others = {"kbod", "lbod", "sbod"} & set(self.fields) - {name}
        if others:
            raise ValueError(f"{self.fields}: cannot tell what {name} reads out of {others}")
        return self.record(name)


def manufacturing(record):
    mfg = record.record("mfg")
    return {
        "Manufacturer": mfg.text("vendor"),
        "Model": mfg.text("model"),
        "SerialNumber": mfg.text("serial"),
    }


def cage_type(kind):
    return JB_KBOD if kind == JB_JBOD else kind & 0xFFFF


def element(name, tag, values):
    keys = {"CreationClassName": name, "Tag": tag}
    return Element((name, keys), {**keys, **values})


def cage_class(kind):
    return "QBX_DriveCage" + FAMILY.get(kind, "")


def card_class(kind):
    return "QBX_CageInterfaceCard" + FAMILY.get(kind, "")


def cage_path(kind, tag):
    return element(cage_class(kind), tag, {}).path


def cage(record):
    kind = record.number("type")
    values = {
        **PACKAGE_DEFAULTS,
        **manufacturing(record),
        "Name": f"{record.number('wwn'):016X}",
        "ChassisPackageType": 22,
        "ChassisTypeDescription": "Drive Cage",
        "MultipleSystemSupport": 2,
        "RackMountable": 2,
        "ElementName": record.text("elementName"),
        "Location": record.text("location"),
        "CageType": cage_type(kind),
        "CageSubType": record.uint16("subType"),
        "Position": record.uint16("position"),
        "LoopSplit": record.flag("loopSplit"),
        "ChainPositionLoopA": record.uint16("chainPosA"),
        "ChainPositionLoopB": record.uint16("chainPosB"),
        "LocateON": record.flag("locateON"),
        "OperationalStatus": [record.uint16("cimState")],
    }
    if kind in (JB_LBOD, JB_MBOD):
        arm = record.arm("lbod")
        values.update(
            FirmwareVersion=arm.text("fwVersion"),
            FirmwareStatus=arm.state("fwState"),
            CPUState=arm.state("cpuState"),
        )
    elif kind == JB_DC3:
        arm = record.arm("sbod")
        values.update(
            TempSensorState=arm.state("tempState"),
            TempSensorValue=arm.uint16("tempValue"),
            OperatorPanelState=arm.state("opPanelState"),
            AudibleAlarmState=arm.state("audAlarmState"),
            EnclosureID=arm.uint16("enclosureID"),
        )
    else:
        arm = record.arm("kbod")
        values.update(IsLeftSide=arm.flag("isLeft"), IsRightSide=arm.flag("isRight"))
    return element(cage_class(kind), record.text("deviceID"), values)


def magazine(record):
    kind = record.number("cageType")
    values = {
        **manufacturing(record),
        "Position": record.uint16("position"),
        "ElementName": record.text("elemName"),
        "CageType": cage_type(kind),
        "LocationType": 3,
        "MediaTypesSupported": [29],
        "RemovalConditions": 4,
        "StateOnLoopA": record.state("stateLoopA"),
        "StateOnLoopB": record.state("stateLoopB"),
        "LocateON": record.flag("locateON"),
        "OperationalStatus": [2],
    }
    if kind != JB_DC3:
        arm = record.arm("lbod")
        values.update(SystemLED=arm.uint16("systemLED"), HotplugLED=arm.uint16("hplLED"))
    return element("QBX_Magazine", record.text("deviceID"), values)


def port(value):
    """The controller port that reaches a card's port: node:slot:port."""
    if value in (0, 0xFFFC):
        return "0"
    return f"{value >> 7 & 7}:{value >> 3 & 15}:{value & 7}"


def card(record):
    kind = record.number("cageType")
    count = 4 if kind == JB_DC3 else 2
    values = {
        **PACKAGE_DEFAULTS,
        **manufacturing(record),
        "Position": record.uint16("position"),
        "ElementName": record.text("elementName"),
        "CageType": cage_type(kind),
        "OperationalStatus": [2],
    }
    for letter in "AB":
        loop = record.record(f"loop{letter}")
        values[f"Loop{letter}PortWWNs"] = loop.numbers("loopPortWWN", count)
        values[f"Loop{letter}LinkSpeed"] = loop.uint16s("linkSpeed", count)
        values[f"NodePortsLoop{letter}"] = loop.numbers("nodePortWWN", count)
        values[f"Loop{letter}LocateON"] = [bool(on) for on in loop.numbers("locateON", count)]
        values[f"PortsLoop{letter}"] = [port(value) for value in loop.numbers("nodePort", count)]
    if kind in (JB_JBOD, JB_KBOD):
        arm = record.arm("kbod")
        values.update(
            FirmwareVersion=arm.text("fwVersion"),
            FirmwareStatus=arm.state("fwState"),
            CPUSelfState=arm.state("cpuSelfState"),
            CPUPartnerState=arm.state("cpuPartnerState"),
            LoopALinkLED=arm.uint16s("loopALinkLED", 2),
            LoopBLinkLED=arm.uint16s("loopBLinkLED", 2),
        )
    elif kind in (JB_LBOD, JB_MBOD):
        arm = record.arm("lbod")
        for letter in "AB":
            loop = arm.record(f"loop{letter}")
            values[f"Loop{letter}LinkRX"] = loop.uint16s("linkRX", 2)
            values[f"Loop{letter}LinkTX"] = loop.uint16s("linkTX", 2)
    elif kind == JB_DC3:
        arm = record.arm("sbod")
        values.update(
            IsMaster=arm.flag("master"),
            LoopState=arm.states("loopState", 4),
            FirmwareVersion=arm.text("fwVersion"),
            FirmwareStatus=arm.state("fwState"),
            IFCState=arm.state("ifcState"),
            ESHState=arm.state("eshState"),
            ExtendedESHState=arm.state("extEshState"),
        )
    if kind in (JB_JBOD, JB_KBOD, JB_LBOD, JB_MBOD):
        leds = arm.record("leds")
        values.update(
            SplitLED=leds.uint16("split"),
            SystemLED=leds.uint16("system"),
            HotplugLED=leds.uint16("hpl"),
        )
    return element(card_class(kind), record.text("deviceID"), values)


def sensor(record, cage_name, index, system):
    device = f"{cage_name}-sensor{index}"
    path = (
        "QBX_CageSensor",
        {
            "CreationClassName": "QBX_CageSensor",
            "DeviceID": device,
            "SystemCreationClassName": "QBX_StorageSystem",
            "SystemName": system,
        },
    )
    unit = record.text("type") if isinstance(record.fields.get("type"), str) else ""
    return Element(
        path,
        {
            **DEVICE_DEFAULTS,
            # The property names the cage's class, the key the system's.
            "SystemCreationClassName": "QBX_DriveCageDC2Family",
            "SystemName": system,
            "CreationClassName": "QBX_CageSensor",
            "DeviceID": device,
            "SensorType": 1,
            "OtherSensorTypeDescription": record.text("name"),
            "Position": record.uint16("position"),
            "BaseUnit": unit,
            "CurrentReading": record.uint16("reading"),
            "LowLimit": record.uint16("limit_low"),
            "HighLimit": record.uint16("limit_high"),
            "State": record.uint16("state"),
        },
    )


def sensors_of(places, cage_name, system):
    """The sensors in a cage's places; empty places count but have no sensor."""
    found = []
    for index, place in enumerate(places):
        record = Record(place)
        if any(record.number(name) for name in ("reading", "limit_low", "limit_high")):
            found.append(sensor(record, cage_name, index, system))
    return found


class Array:
    """Everything that clients see of an array file."""

    def __init__(self, contents):
        if isinstance(contents, (str, pathlib.Path)):
            contents = json.loads(pathlib.Path(contents).read_text(encoding="utf-8"))
        system = Record(contents["storageArray"])
        self.host = system.text("elementName")
        self.system = system.text("name")
        self.model = system.text("model")
        self.serial = system.text("serial")

        cages = [Record(each) for each in contents.get("cages", [])]
        magazines = [
            Record(each) for each in contents.get("magazines", []) if not each.get("isAbsent")
        ]
        cards = [Record(each) for each in contents.get("fcals", [])]
        self.cages = [cage(each) for each in cages]
        self.magazines = [magazine(each) for each in magazines]
        self.cards = [card(each) for each in cards]
        self.absent = [
            text(each["deviceID"])
            for each in contents.get("magazines", [])
            if each.get("isAbsent") and "deviceID" in each
        ]
        self.sensors = []
        sensors_in = []  # (cage path, sensor), of the cages only
        for each in cages:
            if each.number("type") in (JB_LBOD, JB_MBOD):
                found = sensors_of(
                    each.arm("lbod").fields.get("sensors", []), each.text("deviceID"), self.system
                )
                self.sensors += found
                holder = cage_path(each.number("type"), each.text("deviceID"))
                sensors_in += [(holder, one.path) for one in found]
        for each in (Record(one) for one in contents.get("cagesPS", [])):
            if each.number("type") in (JB_LBOD, JB_MBOD):
                self.sensors += sensors_of(
                    each.fields.get("sensors", []), each.text("name"), self.system
                )

        def of_cages(records, elements):
            """Pairs of a cage, as the record of the element names it, and the element."""
            return [
                (cage_path(record.number("cageType"), record.text("parentDeviceID")), each.path)
                for record, each in zip(records, elements)
            ]

        package = element("QBX_SystemPackage", self.system, {}).path
        contained = ("GroupComponent", "PartComponent")
        # Association class: (role of the first, role of the second, pairs of paths).
        self.associations = {
            "QBX_SysCageContainer": (*contained, [(package, each.path) for each in self.cages]),
            "QBX_InterfaceCardInDriveCage": (*contained, of_cages(cards, self.cards)),
            "QBX_MagazineInDriveCage": (*contained, of_cages(magazines, self.magazines)),
            "QBX_SensorInDriveCage": (
                "Antecedent",
                "Dependent",
                [(path, holder) for holder, path in sensors_in],
            ),
        }

    def everything(self):
        """All elements. A sensor may come twice: once of the cage, once of its power supplies."""
        return self.cages + self.magazines + self.cards + self.sensors

    def elements(self, class_name):
        """The elements of exactly this class, in the order of the file."""
        return [each for each in self.everything() if each.path[0] == class_name]
