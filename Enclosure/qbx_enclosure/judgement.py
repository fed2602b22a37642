"""What needs attention in an enclosure, and the facts about each of its elements in words."""

import collections

from .connection import Client
from .model import NAMES, Element, Enclosure, Reason, read, read_words

STATUS_OK = 2
OFF = 1
AMBER = (4, 5)
STATES, LIGHTS = NAMES["states"], NAMES["lights"]


def examine(client: Client) -> Enclosure:
    """All of an array, judged. The words of its schema are read once for a client."""
    if client.words is None:
        client.words = read_words(client, client.well)
    return judge(read(client, client.words))


def judge(enclosure: Enclosure) -> Enclosure:
    """Says of each element what is wrong with it, and what is worth a note."""
    for element in enclosure.everything():
        judge_element(element)
    for cage in enclosure.cages:
        judge_cage(cage)
    judge_versions(enclosure)
    return enclosure


def judge_element(element: Element) -> None:
    """What its own properties show."""
    if not element.cage and element.kind != "sensor":  # the array has sensors elsewhere too
        element.problems.append(Reason("no_cage", "is in no cage that the server lists"))
    for _, value, word in element.entries("OperationalStatus"):
        if value != STATUS_OK:
            element.problems.append(Reason("status", f"status is {word}"))
    reading, limits = element.get("CurrentReading"), element.limits()
    if limits and reading is not None and not limits[0] <= reading <= limits[1]:
        name, word = ("LowLimit", "below") if reading < limits[0] else ("HighLimit", "above")
        measured, limit = element.with_unit("CurrentReading"), element.with_unit(name)
        element.problems.append(Reason("reading", f"{measured}, {word} its limit of {limit}"))
    for name, words in STATES[element.kind].items():
        for which, value, word in element.entries(name):
            if value not in element.words.well:
                element.problems.append(Reason("state", ": ".join(filter(None, (words + which, word)))))
    for name, words in LIGHTS.items():
        for which, value, word in element.entries(name):
            if value in AMBER:
                element.problems.append(Reason("light", f"{words}{which}: {word}"))
    if element.is_located():
        element.notes.append(Reason("locator", "locator is on"))


def judge_cage(cage: Element) -> None:
    """What its parts show together: an element that is gone has no instance of its own."""
    if cage.get("LoopSplit"):
        if cage.get("IsLeftSide") or cage.get("IsRightSide"):
            cage.notes.append(Reason("half_split", "loop is split (one half of a pair)"))
        else:
            cage.problems.append(Reason("loop_split", "loop is split"))
    served = "".join(card.loops() for card in cage.of("card"))
    missing = [loop for loop in "AB" if loop not in served]
    if missing:
        cage.problems.append(Reason("no_card", f"no interface card on loop {' and '.join(missing)}"))
    if "dc2" in cage.path.classname.lower() and not cage.of("sensor"):
        cage.problems.append(Reason("no_sensor", "no sensor is listed"))
    places = {magazine.get("Position", 0) for magazine in cage.of("magazine")}
    empty = [str(place) for place in range(max(places, default=0)) if place not in places]
    if empty:
        more = ", ..." if len(empty) > 10 else ""
        cage.notes.append(Reason("gap", f"no magazine in place {', '.join(empty[:10])}{more}"))


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
                each.notes.append(Reason("firmware", f"others of its type have firmware {usual}"))


def facts(element: Element) -> list[str]:
    """What there is to know of an element beside its name and what is wrong, in words."""
    return [each for each in FACTS[element.kind](element) + lights(element) if each]


def lights(element: Element) -> list[str]:
    """The lights that are not all off, in words."""
    return [
        f"{words} {together([word for _, _, word in element.entries(name)])}"
        for name, words in LIGHTS.items()
        if any(value != OFF for _, value, _ in element.entries(name))
    ]


def together(words: list[str]) -> str:
    """The words of an array's entries: one when they are all the same."""
    return words[0] if len(set(words)) == 1 else " + ".join(words)


def cage_facts(cage: Element) -> list[str]:
    sides = {"IsLeftSide": "left half", "IsRightSide": "right half"}
    temperature = cage.get("TempSensorValue")
    return [
        cage.word("CageType"),
        cage.word("OperationalStatus"),
        cage.labelled("at", "Location") or "no location",
        *(words for name, words in sides.items() if cage.get(name)),
        f"number {cage.get('ChainPositionLoopA', '?')} on loop A",
        f"{cage.get('ChainPositionLoopB', '?')} on loop B",
        cage.labelled("firmware", "FirmwareVersion"),
        "" if temperature is None else f"{temperature} °C",
    ]


def magazine_facts(magazine: Element) -> list[str]:
    loops = [f"loop {each} {magazine.word(f'StateOnLoop{each}')}" for each in "AB"]
    return [f"place {magazine.get('Position', '?')}", *loops]


def card_facts(card: Element) -> list[str]:
    loops = []
    for loop in card.loops():
        speeds = [word for _, value, word in card.entries(f"Loop{loop}LinkSpeed") if value]
        ports = [port for port in card.get(f"PortsLoop{loop}", []) if port != "0"]
        reached = f"from {together(ports)}" if ports else ""
        loops.append(" ".join(filter(None, (f"loop {loop}", together(speeds), reached))))
    others = [card.labelled("firmware", "FirmwareVersion"), "master" if card.get("IsMaster") else ""]
    return [f"place {card.get('Position', '?')}", *loops, *others]


def sensor_facts(sensor: Element) -> list[str]:
    limits = sensor.limits()
    span = f"good from {limits[0]} to {limits[1]}" if limits else "no limits"
    return [sensor.with_unit("CurrentReading"), span, sensor.word("State")]


FACTS = {"cage": cage_facts, "magazine": magazine_facts, "card": card_facts, "sensor": sensor_facts}
