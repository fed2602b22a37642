"""An array file of odd cases: every type of cage, magazine and card, types that nobody knows, texts
that no reply could carry as they are, numbers beyond 16 bits, names that fill their fields.
`./qbx test --write-array FILE` writes it.
"""

import itertools
import json

from qbx_support.server import SAMPLE_ARRAY

LONGEST_ID = "cage-with-a-name-that-takes-all-sixty-four-characters-of-its-id-"
UNTERMINATED_ID = "cage-with-a-name-that-fills-its-id-field-and-leaves-no-terminator"
UNTERMINATED_MAGAZINE = "magazine-with-a-name-that-fills-the-sixty-five-bytes-of-its-field"
HOSTILE_ID = "hex:68 01 C0 80 EF BF BE"  # control characters, bytes that are no UTF-8, U+FFFE
COLOURS = ("UNKNOWN", "OFF", "GREEN", "GREEN_BLINKING", "AMBER", "AMBER_BLINKING", "BLUE", "BLUE_BLINKING")
LEDS = [f"LED_STATE_{name}" for name in COLOURS]
RATES = ("NA", "1G", "2G", "AUTO", "4G", "8G", "10G", "10M", "100M")
SPEEDS: list[str | int] = [*(f"PORT_DATA_RATE_{name}" for name in RATES), 77]
NODE_PORTS = ["0x019A", 0, "0xFFFC", "0x0009", "0x03FF", 1, "0x0080", "0xFFFF"]


def led(number):
    return LEDS[number % len(LEDS)]


def states(**numbers):
    """Element states by field."""
    return {name: {"actual": number} for name, number in numbers.items()}


def sensor(position, name, unit, reading, low, high, state=1):
    limits = {"limit_low": low, "limit_high": high}
    return {"position": position, "name": name, "state": state, "type": unit, "reading": reading} | limits


def cage(number, kind, model, location, state="OK", **more):
    return {
        "deviceID": f"cage{number}", "elementName": f"cage{number}", "position": number,
        "mfg": {"vendor": "QBX", "model": model, "serial": str(4000100 + number)},
        "wwn": f"0x{0x2FF70002AC001A00 + number:016X}", "location": location, "type": kind,
        "subType": "JB_SUBTYP_FC", "cimState": f"API_STATE_{state}",
    } | more  # fmt: skip


def chain(loop_a, loop_b):
    return {"chainPosA": loop_a, "chainPosB": loop_b}


def cages():
    yield cage(
        0, "JB_LBOD", "DC2", "Rack 1, U2", **chain(1, 1),
        lbod=states(fwState=1, cpuState=1) | {"fwVersion": "5.07", "sensors": [
            sensor(0, "Inlet temperature", "C", 24, 5, 40), None,
            sensor(1, "Outlet temperature", "C", 31, 5, 55),
            sensor(2, "5 V supply", "V", 5, 4, 6), None,
            sensor(3, "Fan speed", "R", 5400, 3000, 9000),
        ]},
    )  # fmt: skip
    yield cage(
        1, "JB_JBOD", "DC1", "Rack 1, U6 <left> & \"front\", O'Neill", **chain(2, 2),
        elementName="Left <DC1> & \"friends'\"", loopSplit=True, kbod={"isLeft": True},
    )  # fmt: skip
    yield cage(
        2, "JB_KBOD", "DC1", "Gebäude 7, Müllerstraße, 棚 3 🗄", "DEGRADED", **chain(3, 3),
        elementName="Käfig 2 (日本)", loopSplit=True, locateON=True, kbod={"isRight": True},
    )  # fmt: skip
    yield cage(
        3, "JB_MBOD", "DC4", "Rack 2, U2", "STRESSED", **chain(65535, 0),
        lbod=states(fwState=2, cpuState=3) | {"fwVersion": "6.12.1", "sensors": [
            sensor(0, "At its high limit", "C", 40, 5, 40),
            sensor(1, "At its low limit", "C", 5, 5, 40),
            sensor(2, "Above its high limit", "C", 41, 5, 40, state=3),
            sensor(3, "Below its low limit", "C", 4, 5, 40, state=3),
            sensor(4, "Largest values", "W", 65535, 65535, 65535, state=255),
            sensor(5, "Reading only", "A", 1, 0, 0),
            sensor(6, "High limit only", "A", 0, 0, 1),
            sensor(7, "Low limit only", "A", 0, 1, 0),
            sensor(8, "No unit", "", 12, 1, 20),
            sensor(65535, "Full name, and not one byte more", "V", 12, 11, 13),
        ]},
    )  # fmt: skip
    dc3 = states(tempState=1, tempThresh=1, opPanelState=1, audAlarmState=1)
    yield cage(
        4, "JB_DC3", "DC3", "Rack 2, U6", subType="JB_SUBTYP_DC3SATA", **chain(1, 2),
        sbod=dc3 | {"tempValue": 27, "enclosureID": 4},
    )  # fmt: skip
    dc3 = states(tempState=65543, tempThresh=65544, opPanelState=65545, audAlarmState=70000)
    yield cage(
        5, "JB_DC3", "DC3", "", "PREDICTIVE_FAILURE", subType="JB_SUBTYP_DC3ALPHAFC",
        **chain(2, 1), sbod=dc3 | {"tempValue": 65535, "enclosureID": 255},
    )  # fmt: skip
    yield cage(
        6, "JB_UNKNOWN", "", "Rack 3, U2", "UNKNOWN", subType="JB_SUBTYP_UNKNOWN",
        deviceID=LONGEST_ID, elementName="64-character id", kbod={"isLeft": True, "isRight": True},
    )  # fmt: skip
    full = {"vendor": "Vendor of thirty-two characters.", "model": 65 * "M", "serial": "4000107"}
    yield cage(
        7, 42, "", "Rack 3, U6", "LOST_COMMUNICATION", subType=7, **chain(4, 4),
        deviceID=UNTERMINATED_ID, mfg=full, kbod={},
        elementName="hex:636167652037 FF C3 28 20 6E6F742055 5446 2D 38 E0 80 AF",
    )  # fmt: skip
    yield cage(
        8, "JB_LBOD", "DC2", "Rack 3, U10", "STARTING", **chain(5, 5),
        elementName="A display name that fills it all",
        lbod=states(fwState=0, cpuState=0) | {"fwVersion": "", "sensors": [None, None]},
    )  # fmt: skip
    yield cage(
        9, "JB_MBOD", "", "Spare", "POWER_MODE", wwn=0, mfg={},
        lbod=states(fwState=65541, cpuState=65542) | {"fwVersion": "6.12.1", "sensors": []},
    )  # fmt: skip
    yield cage(
        10, "JB_LBOD", "", "hex:1E EF BF BE C3", wwn=0,
        deviceID=HOSTILE_ID, elementName="hex:02 08 0B 0C 0E 1F",
        mfg={"vendor": "hex:1B 5B 32 4A", "model": "hex:EF BF BF 20 ED A0 80", "serial": "hex:07 F8"},
        lbod={"fwVersion": "hex:19 31", "sensors": [
            {"name": "hex:03 80", "type": "hex:01", "reading": 1, "limit_high": 2},
        ]},
    )  # fmt: skip


def power_supplies():
    """Sensors of the power supplies of cages whose own sensors have the same ids, of a type without,
    and of a cage that is in no list."""
    hostile = {"name": "hex:06 EF BF BF", "type": "hex:02", "reading": 1, "limit_high": 2}
    yield "hex:70 0F FE", "JB_LBOD", [hostile]
    yield "cage0", "JB_LBOD", [
        sensor(0, "Power supply 0", "V", 12, 11, 13), None,
        sensor(1, "Power supply 1", "V", 0, 11, 13, state=3),
    ]  # fmt: skip
    yield "cage3", "JB_MBOD", [sensor(0, "Power supply 0", "W", 410, 0, 750)]
    yield "cage4", "JB_DC3", [sensor(0, "Never published", "V", 12, 11, 13)]
    yield "cage-ps-only", "JB_LBOD", [
        None,
        sensor(1, "Fan of power supply", "R", 4200, 3000, 9000),
        sensor(2, "Inlet", "C", 22, 5, 40),
        sensor(3, "Output", "V", 5, 4, 6),
        sensor(4, "Input", "V", 230, 207, 253),
    ]


def magazines(of_cages):
    """Each belongs to the cage of that place in the list. Their lights go through all states."""
    lights, serials = itertools.count(), itertools.count(5000100)

    def magazine(cage_number, position, loops=(1, 1), **more):
        of = of_cages[cage_number]
        mfg = {"vendor": "QBX", "model": "MAG4", "serial": str(next(serials))}
        arm = {}
        if of["type"] != "JB_DC3":
            first = next(lights)
            arm = {"lbod": {"systemLED": led(first), "hplLED": led(first + 3)}}
        return {
            "deviceID": f"mag{cage_number}-{position}", "parentDeviceID": of["deviceID"],
            "cageType": of["type"], "position": position, "elemName": f"{cage_number}:{position}",
            "mfg": mfg, "stateLoopA": {"actual": loops[0]}, "stateLoopB": {"actual": loops[1]},
        } | arm | more  # fmt: skip

    yield magazine(0, 0)
    yield magazine(0, 1, (2, 1))
    next(serials)
    absent = {"deviceID": "mag0-2", "parentDeviceID": "cage0", "cageType": "JB_LBOD", "position": 2}
    yield {"isAbsent": True} | absent
    yield magazine(0, 3, (3, 3), locateON=True)
    yield magazine(1, 0, elemName='<1:0> & "it\'s"')
    next(serials)
    yield {"isAbsent": True}
    yield magazine(1, 1, elemName="hex:31 01 1F 3A 31 EF BF BE")
    yield magazine(2, 0)
    yield magazine(2, 1, (0, 3))
    yield magazine(3, 0)
    yield magazine(3, 9)
    yield magazine(4, 0, sbod={})
    yield magazine(4, 15, (2, 1), sbod={})
    yield magazine(5, 0, (65537, 1), sbod={})
    yield magazine(6, 0)
    yield magazine(7, 0)
    yield magazine(8, 0, (1, 65546), deviceID=UNTERMINATED_MAGAZINE, elemName="hex:38 3A 30 80")
    yield magazine(
        10, 1, (0, 0), deviceID="hex:6D 04 F4 90 80 80", elemName="hex:05 EF BF BF",
        mfg={"vendor": "hex:10", "model": "hex:11 12", "serial": "hex:13 E2 82"}, lbod={},
    )  # fmt: skip


def cards(of_cages):
    """Port names are counted through, and speeds, node ports and lights go through all values."""
    numbers, ports = itertools.count(), itertools.count()

    def loop(count):
        places = list(itertools.islice(ports, count))
        node_ports = [NODE_PORTS[place % len(NODE_PORTS)] for place in places]
        return {
            "loopPortWWN": [f"0x{0x2FF70002AC002000 + place:016X}" for place in places],
            "nodePortWWN": [
                0 if port in (0, "0xFFFC") else f"0x{0x2FF70002AC003000 + place:016X}"
                for place, port in zip(places, node_ports, strict=True)
            ],
            "nodePort": node_ports,
            "linkSpeed": [SPEEDS[place % len(SPEEDS)] for place in places],
            "locateON": [int(place % 5 == 4) for place in places],
        }

    def lights(first, kind):
        leds = {"split": led(first), "system": led(first + 1), "hpl": led(first + 2)}
        pairs = [[led(first + after), led(first + after + 1)] for after in (3, 4, 5, 6)]
        if kind in ("JB_JBOD", "JB_KBOD"):
            return {"leds": leds, "loopALinkLED": pairs[0], "loopBLinkLED": pairs[2]}
        loops = [{"linkRX": receive, "linkTX": send} for receive, send in (pairs[:2], pairs[2:])]
        return {"leds": leds, "loopA": loops[0], "loopB": loops[1]}

    def card(cage_number, position, arm=None, loops=None, **more):
        of, number = of_cages[cage_number], next(numbers)
        kind = of["type"]
        if kind in ("JB_JBOD", "JB_KBOD"):
            arm = {"kbod": lights(number + 1, kind) | arm}
        elif kind in ("JB_LBOD", "JB_MBOD"):
            arm = {"lbod": lights(number + 1, kind)}
        elif arm:
            arm = {"sbod": arm | {"master": position == 0}}
        is_loop_a, is_loop_b = loops or (position == 0, position == 1)
        count = 4 if kind == "JB_DC3" else 2
        return {
            "deviceID": f"card{cage_number}-{position}", "parentDeviceID": of["deviceID"],
            "cageType": kind, "position": position, "elementName": f"{cage_number}.{'AB'[position]}",
            "mfg": {"vendor": "QBX", "model": "FCAL2", "serial": str(6000100 + number)},
            "isLoopA": is_loop_a, "isLoopB": is_loop_b, "loopA": loop(count), "loopB": loop(count),
        } | (arm or {}) | more  # fmt: skip

    def kbod(version, firmware, own, partner):
        return states(fwState=firmware, cpuSelfState=own, cpuPartnerState=partner) | {
            "fwVersion": version
        }

    def sbod(loops, version, firmware, ifc, esh, extended):
        of = states(fwState=firmware, ifcState=ifc, eshState=esh, extEshState=extended)
        return of | {"fwVersion": version, "loopState": [{"actual": each} for each in loops]}

    hostile = {
        "elementName": "hex:14 C3 28",
        "mfg": {"vendor": "hex:15", "model": "hex:16 17", "serial": "hex:18 FF"},
    }
    usual = ([1, 2, 3, 0], "D3.104", 1, 1, 2, 131074)
    yield card(0, 0)
    yield card(0, 1)
    yield card(1, 0, kbod("2.30", 1, 1, 1), elementName="<1.A> & \"it's\"")
    yield card(1, 1, kbod("2.31", 1, 1, 2))
    yield card(2, 0, kbod("2.30", 1, 1, 1))
    firmware = kbod("hex:1C EF BF BE", 65547, 65548, 65549)
    yield card(2, 1, firmware, deviceID="hex:63 1A ED BF BF", **hostile)
    yield card(3, 0)
    yield card(3, 1)
    yield card(4, 0, sbod(*usual))
    hostile["deviceID"] = "hex:63 1D FF"
    yield card(4, 1, sbod([1, 2, 3, 0], "hex:1F 80", 1, 1, 2, 131074), **hostile)
    yield card(5, 0, sbod(*usual))
    yield card(5, 1, sbod(range(65550, 65554), "D3.104", *range(65554, 65558)))
    yield card(6, 0, loops=(True, True))
    yield card(7, 0, loops=(False, False))
    yield card(8, 0)


def contents():
    """The content of the array file; users and privileges are those of the sample array."""
    sample = json.loads(SAMPLE_ARRAY.read_text(encoding="utf-8"))
    del sample["$schema"]  # its path is beside the sample
    of_cages = list(cages())
    return sample | {
        "cages": of_cages,
        "cagesPS": [
            {"name": name, "type": kind, "sensors": sensors}
            for name, kind, sensors in power_supplies()
        ],
        "magazines": list(magazines(of_cages)),
        "fcals": list(cards(of_cages)),
    }


def write(file):
    """Writes the array file."""
    file.write_text(json.dumps(contents(), indent=1), encoding="utf-8")
