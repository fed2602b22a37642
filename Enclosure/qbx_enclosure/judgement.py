"""What needs attention in an enclosure, and the facts about each of its elements in words."""

import collections

from .model import Cage, Element, Enclosure

STATUS_OK = 2
AMBER = (4, 5)
OFF = 1
# Properties with a code of the array that should mean "well", by kind; named as people do.
STATES = {
    "cage": {
        "FirmwareStatus": "firmware",
        "CPUState": "processor",
        "TempSensorState": "temperature sensor",
        "OperatorPanelState": "operator panel",
        "AudibleAlarmState": "audible alarm",
    },
    "magazine": {"StateOnLoopA": "loop A", "StateOnLoopB": "loop B"},
    "card": {
        "FirmwareStatus": "firmware",
        "CPUSelfState": "processor",
        "CPUPartnerState": "other card's processor",
        "LoopState": "loop",
        "IFCState": "interface controller",
        "ESHState": "enclosure services",
        "ExtendedESHState": "enclosure services (extended)",
    },
    "sensor": {"State": ""},
}
LIGHTS = {
    "SystemLED": "system light",
    "HotplugLED": "hot-plug light",
    "SplitLED": "loop-split light",
    **{
        f"Loop{loop}Link{what}": f"loop {loop} {word} light"
        for loop in "AB"
        for what, word in (("LED", "link"), ("RX", "receive"), ("TX", "transmit"))
    },
}


def each_value(element: Element, name: str) -> list[tuple[int | None, str, int]]:
    """(index, " index", value) of a property: one entry, or one for each of an array's."""
    value = element.get(name)
    if isinstance(value, list):
        return [(index, f" {index}", each) for index, each in enumerate(value)]
    return [] if value is None else [(None, "", value)]


def judge(enclosure: Enclosure) -> Enclosure:
    """Says of each element what is wrong with it, and what is worth a note."""
    for element in enclosure.everything():
        judge_element(element)
    for element in enclosure.outside:
        if element.kind != "sensor":
            element.problems.append("is in no cage that the server lists")
    for cage in enclosure.cages:
        judge_cage(cage)
    judge_versions(enclosure)
    return enclosure


def judge_element(element: Element) -> None:
    """What its own properties say."""
    if any(status != STATUS_OK for status in element.get("OperationalStatus", [])):
        element.problems.append(f"status is {element.word('OperationalStatus', 0)}")
    if element.kind == "sensor":
        judge_reading(element)
    for name, words in STATES[element.kind].items():
        for index, which, value in each_value(element, name):
            if value not in element.words.well:
                said = (f"{words}{which}", element.word(name, index))
                element.problems.append(": ".join(filter(None, said)))
    for name, words in LIGHTS.items():
        for index, which, value in each_value(element, name):
            if value in AMBER:
                element.problems.append(f"{words}{which}: {element.word(name, index)}")
    if element.is_located():
        element.notes.append("locator is on")


def judge_reading(sensor: Element) -> None:
    limits = sensor.limits()
    reading = sensor.get("CurrentReading")
    if limits and reading is not None and not limits[0] <= reading <= limits[1]:
        name, word = ("LowLimit", "below") if reading < limits[0] else ("HighLimit", "above")
        sensor.problems.append(f"{sensor.reading()}, {word} its limit of {sensor.reading(name)}")


def judge_cage(cage: Cage) -> None:
    """What its parts say together: an element that is gone has no instance to say so."""
    if cage.get("LoopSplit"):
        if cage.get("IsLeftSide") or cage.get("IsRightSide"):
            cage.notes.append("loop is split (one half of a pair)")
        else:
            cage.problems.append("loop is split")
    served = "".join(card.loops() for card in cage.of("card"))
    missing = [loop for loop in "AB" if loop not in served]
    if missing:
        cage.problems.append(f"no interface card on loop {' and '.join(missing)}")
    if "dc2" in cage.path.classname.lower() and not cage.of("sensor"):
        cage.problems.append("no sensor is listed")
    places = {magazine.get("Position", 0) for magazine in cage.of("magazine")}
    empty = sorted(set(range(min(places, default=0), max(places, default=0))) - places)
    if empty:
        shown = ", ".join(map(str, empty[:10])) + (", ..." if len(empty) > 10 else "")
        cage.notes.append(f"no magazine in place {shown}")


def judge_versions(enclosure: Enclosure) -> None:
    """Notes firmware that differs from what most elements of the same type run."""
    groups = collections.defaultdict(list)
    for element in enclosure.everything():
        if element.get("FirmwareVersion"):
            groups[element.kind, element.get("CageType")].append(element)
    for group in groups.values():
        versions = collections.Counter(each.get("FirmwareVersion") for each in group)
        usual = versions.most_common(1)[0][0]
        for each in group:
            if each.get("FirmwareVersion") != usual:
                each.notes.append(f"others of its type have firmware {usual}")


def together(words: list[str]) -> str:
    """The words of an array's entries: one when they are all the same."""
    return words[0] if len(set(words)) == 1 else " + ".join(words)


def lights(element: Element) -> list[str]:
    """The lights that are not off, in words."""
    lit = []
    for name, words in LIGHTS.items():
        values = each_value(element, name)
        if any(value != OFF for _, _, value in values):
            lit.append(f"{words} {together([element.word(name, index) for index, _, _ in values])}")
    return lit


def facts(element: Element) -> list[str]:
    """What there is to know of an element beside its name and what is wrong, in words."""
    return [each for each in FACTS[element.kind](element) if each]


def cage_facts(cage: Element) -> list[str]:
    version = cage.get("FirmwareVersion")
    side = {"IsLeftSide": "left half", "IsRightSide": "right half"}
    temperature = cage.get("TempSensorValue")
    return [
        cage.word("CageType"),
        cage.word("OperationalStatus", 0) if cage.get("OperationalStatus") else "",
        f"at {cage.location}" if cage.location else "no location",
        *(words for name, words in side.items() if cage.get(name)),
        f"loop A {cage.get('ChainPositionLoopA')}, loop B {cage.get('ChainPositionLoopB')}",
        f"firmware {version}" if version else "",
        "" if temperature is None else f"{temperature} °C",
        *lights(cage),
    ]


def magazine_facts(magazine: Element) -> list[str]:
    loops = [f"loop {each} {magazine.word(f'StateOnLoop{each}')}" for each in "AB"]
    return [f"place {magazine.get('Position')}", *loops, *lights(magazine)]


def card_facts(card: Element) -> list[str]:
    loops = []
    for loop in card.loops() or "-":
        speeds = each_value(card, f"Loop{loop}LinkSpeed")
        words = [card.word(f"Loop{loop}LinkSpeed", index) for index, _, value in speeds if value]
        ports = [port for port in card.get(f"PortsLoop{loop}", []) if port != "0"]
        reached = f"from {together(ports)}" if ports else ""
        loops.append(" ".join(filter(None, (f"loop {loop}", words and together(words), reached))))
    version = card.get("FirmwareVersion")
    return [
        f"place {card.get('Position')}",
        *loops,
        f"firmware {version}" if version else "",
        "master" if card.get("IsMaster") else "",
        *lights(card),
    ]


def sensor_facts(sensor: Element) -> list[str]:
    limits = sensor.limits()
    span = f"good from {limits[0]} to {limits[1]}" if limits else "no limits"
    return [sensor.reading(), span, sensor.word("State")]


FACTS = {
    "cage": cage_facts,
    "magazine": magazine_facts,
    "card": card_facts,
    "sensor": sensor_facts,
}
