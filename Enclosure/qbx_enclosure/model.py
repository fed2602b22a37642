"""What an array's enclosure consists of, read from the CIM server with one request a class."""

import dataclasses
import functools
import json
import pathlib
import re
import weakref
from collections.abc import Collection
from typing import Any

from .cimxml import Instance, Path
from .connection import Client, EnclosureError, clean, one_line

# By property, what people call it: codes that should mean "well" (by kind), and lights; and what kind
# of value is in it: those of no other kind have codes.
NAMES = json.loads(pathlib.Path(__file__).with_name("names.json").read_text(encoding="utf-8"))

CLASSES = {
    "cage": "QBX_DriveCage",
    "magazine": "QBX_Magazine",
    "card": "QBX_CageInterfaceCard",
    "sensor": "QBX_CageSensor",
}
# What identifies an element, and what people call it.
IDENTITIES = dict.fromkeys(CLASSES, ("Tag", "ElementName")) | {
    "sensor": ("DeviceID", "OtherSensorTypeDescription")
}
# What is in a cage, by kind: association, role of the cage, role of the part.
HOLDING = {
    "magazine": ("QBX_MagazineInDriveCage", "GroupComponent", "PartComponent"),
    "card": ("QBX_InterfaceCardInDriveCage", "GroupComponent", "PartComponent"),
    "sensor": ("QBX_SensorInDriveCage", "Dependent", "Antecedent"),
}
LIGHT = re.compile(r"LED$|Link[RT]X$")
UNITS = {"C": "°C", "R": "rpm"}  # other letters are the unit's own
WHOLE: dict[str, Any] = {"DeepInheritance": True, "LocalOnly": False}
CODED = [*NAMES["lights"], *(name for names in NAMES["states"].values() for name in names)]
KINDS = {name.lower(): (name, kind) for kind, names in ({"code": CODED} | NAMES["values"]).items() for name in names}
MOST_CHARACTERS, MOST_ENTRIES = 1024, 256  # of a text, of an array
MAPPED = re.compile(r"\d+|(0[xX][0-9A-Fa-f]+|\d*)\.\.(0[xX][0-9A-Fa-f]+|\d*)")  # in a ValueMap


class Words:
    """The words that the server's schema has for the values of properties."""

    def __init__(self, classes: dict[str, list[dict]], well: Collection[int]):
        self.well = well  # state codes that mean that something is as it should be
        self.maps: dict[tuple[str, str], list[tuple[str, str]]] = {}
        for kind, found in classes.items():
            for name, qualifiers in [item for each in found for item in each.items()]:
                numbers, words = map(qualifiers.get, ("valuemap", "values"))
                if isinstance(numbers, list) and isinstance(words, list):
                    pairs = zip(map(str, numbers[:MOST_ENTRIES]), map(one_line, words), strict=False)
                    self.maps[kind, name] = [pair for pair in pairs if MAPPED.fullmatch(pair[0])]

    def of(self, kind: str, name: str, value: int) -> str:
        """The word for a value; "unknown (N)" or "state N" when the schema has none."""
        entries = self.maps.get((kind, "SystemLED" if LIGHT.search(name) else name))
        if entries is None:
            return "well" if value in self.well else f"state {value}"
        for number, word in entries:
            if number == str(value):
                return word
        for number, word in entries:  # ranges: "N..M", and ".." for all the rest
            low, dots, high = number.partition("..")
            if dots and (int(low or "0", 0) <= value <= int(high or "65535", 0)):
                return f"{word} ({value})"
        return f"unknown ({value})"


class Reason(str):
    """Why an element needs attention, or is worth a note; `cause` says in a word of what kind it is."""

    cause: str

    def __new__(cls, cause: str, text: str) -> "Reason":
        reason = super().__new__(cls, text)
        reason.cause = cause
        return reason


@dataclasses.dataclass(eq=False)
class Element:
    """A cage, magazine, card or sensor: its properties, and what is wrong with it or worth a note."""

    kind: str
    path: Path
    values: dict
    words: Words
    problems: list[Reason] = dataclasses.field(default_factory=list)
    notes: list[Reason] = dataclasses.field(default_factory=list)
    parts: list["Element"] = dataclasses.field(default_factory=list)  # by position

    def __post_init__(self):
        """Sets tag (what identifies it), label (what people call it), name (both), order."""
        self.tag, self.label = (self.get(each, "") for each in IDENTITIES[self.kind])
        both = f"{self.tag} ({self.label})" if self.label not in ("", self.tag) else self.tag
        self.name = self.label if self.kind == "sensor" and self.label else both
        self.cage = self if self.kind == "cage" else None
        self.order = (self.get("Position", 0), self.tag)

    @property
    def cage(self) -> "Element | None":
        """The cage that holds it, as long as its enclosure is there; a cage's own is itself."""
        return self._cage() if self._cage else None

    @cage.setter
    def cage(self, cage: "Element | None") -> None:
        self._cage = weakref.ref(cage) if cage else None  # no cycle: memory is free at once

    def get(self, name: str, default=None):
        """The value of a property, as Python's own; `default` when it is null or missing."""
        value = self.values.get(name.lower())
        return default if value is None else value

    def entries(self, name: str) -> list[tuple[str, int, str]]:
        """(" index", value, word) of a property's values; the index only of those of an array."""
        value = self.get(name)
        if value is None:
            return []
        listed = enumerate(value) if isinstance(value, list) else [("", value)]
        word = functools.partial(self.words.of, self.kind, name)
        return [(f" {at}".rstrip(), each, word(each)) for at, each in listed]

    def word(self, name: str) -> str:
        """The word for the value, or for an array's first; empty when there is none."""
        return next((word for _, _, word in self.entries(name)), "")

    def labelled(self, words: str, name: str) -> str:
        """A property's value behind these words; empty when there is none."""
        return f"{words} {self.get(name)}" if self.get(name) else ""

    @property
    def where(self) -> str:
        """The cage and its location, for whoever has to go there."""
        cage = self.cage
        return f"{cage.name} {cage.labelled('at', 'Location')}".strip() if cage else "in no cage"

    def of(self, kind: str) -> list["Element"]:
        """The parts of a kind, by position."""
        return [part for part in self.parts if part.kind == kind]

    def everything(self) -> list["Element"]:
        """The cage, and its parts in their order."""
        return [self, *(part for kind in HOLDING for part in self.of(kind))]

    def loops(self) -> str:
        """The loops that a card serves: those on which it has ports."""
        return "".join(each for each in "AB" if any(self.get(f"Loop{each}PortWWNs", [])))

    def is_located(self) -> bool:
        """True while a locator of it is on."""
        ports = self.get("LoopALocateON", []) + self.get("LoopBLocateON", [])
        return any([self.get("LocateON"), *ports])

    def limits(self) -> tuple[int, int] | None:
        """The lowest and highest good reading; None when the array sets no limits."""
        low, high = self.get("LowLimit", 0), self.get("HighLimit", 0)
        return (low, high) if low <= high and high else None

    def reading(self) -> tuple[int | None, str, tuple[str, ...]]:
        """A sensor's reading, or the temperature of a cage: the value, with its unit, and the names of
        what was measured and in what."""
        if self.kind == "cage":
            value = self.get("TempSensorValue")
            return value, f"{value} °C", ("temperature", "°C")
        letter = self.get("BaseUnit", "")
        return self.get("CurrentReading"), self.with_unit("CurrentReading"), (self.label, UNITS.get(letter, letter))

    def with_unit(self, name: str) -> str:
        """A number of a sensor with its unit."""
        letter = self.get("BaseUnit", "")
        return f"{self.get(name, '?')} {UNITS.get(letter, letter)}".strip()


@dataclasses.dataclass
class Enclosure:
    """All that a server has of one array."""

    name: str
    cages: list[Element]
    outside: list[Element]  # what belongs to no cage that is listed

    def everything(self) -> list[Element]:
        return [each for cage in self.cages for each in cage.everything()] + self.outside

    def counts(self) -> dict[str, int]:
        """How many elements of each kind there are."""
        kinds = [each.kind for each in self.everything()]
        return {kind: kinds.count(kind) for kind in CLASSES}

    def narrowed(self, name: str | None, problems: bool) -> "Enclosure":
        """The same with one cage only, or only with the cages that have problems."""
        cages = [one(self.cages, "cage", name)] if name is not None else self.cages
        if problems:
            cages = [cage for cage in cages if any(each.problems for each in cage.everything())]
        return Enclosure(self.name, cages, self.outside if name is None else [])


def matching(elements: list[Element], name: str) -> list[Element]:
    """The elements with this Tag, or else those with this name."""
    by_tag = [each for each in elements if each.tag == clean(name)]
    return by_tag or [each for each in elements if each.label == clean(name)]


def one(elements: list[Element], kind: str, name: str) -> Element:
    """The one of these elements that has this name."""
    found = matching(elements, name)
    if len(found) == 1:
        return found[0]
    named = [each.tag for each in found or elements]
    tags = ", ".join(named[:8]) + (f" and {len(named) - 8} more" if len(named) > 8 else "")
    if found:
        raise EnclosureError(f"{clean(name)} names several: {tags}; take one of these")
    raise EnclosureError(f"no {kind} {clean(name)}; there is {tags or 'none'}")


def fits(value: object, kind: str) -> bool:
    """Whether a value is of a kind that NAMES has."""
    if kind == "code":  # one, or an array of them
        return fits(value, "number[]" if isinstance(value, list) else "number")
    if isinstance(value, list):
        one_kind, array, _ = kind.partition("[]")
        return bool(array) and len(value) <= MOST_ENTRIES and all(fits(each, one_kind) for each in value)
    if isinstance(value, bool) or kind == "flag":
        return isinstance(value, bool) and kind == "flag"
    if isinstance(value, int):
        return kind == "wwn" or (kind == "number" and 0 <= value <= 65535)
    return isinstance(value, str) and kind == "text" and len(value) <= MOST_CHARACTERS


def values_of(instance: Instance, identity: str) -> dict:
    """The values that are known here, by name in lower case, texts without control characters."""
    values = {}
    for name, kind in (KINDS[each] for each in instance.values if each in KINDS):
        value = instance.values[name.lower()]
        if value is not None and not fits(value, kind):
            raise EnclosureError(f"{name} is {one_line(value)[:60] or 'empty'}, {kind} is expected")
        texts = [clean(each) for each in value] if kind == "text[]" and value else value
        values[name.lower()] = clean(value) if isinstance(value, str) else texts
    if not values.get(identity.lower()):
        raise EnclosureError(f"an instance has no {identity}")
    return values


def elements_of(client: Client, kind: str, words: Words) -> list[Element]:
    """All elements of a kind, by position."""
    elements = []
    options = {**WHOLE, "PropertyList": sorted(name for name, _ in KINDS.values())}
    for each in client.request("EnumerateInstances", ClassName=CLASSES[kind], **options):
        try:
            values = values_of(each, IDENTITIES[kind][0])
        except EnclosureError as error:
            raise EnclosureError(f"{client.url}: EnumerateInstances {CLASSES[kind]}: {error}") from error
        elements.append(Element(kind, each.path, values, words))
    twice = len(elements) - len({each.path.identity() for each in elements})
    if twice and kind != "sensor":  # the array's sensors may share a name
        raise EnclosureError(f"{client.url}: EnumerateInstances {CLASSES[kind]}: a path is there twice")
    return sorted(elements, key=lambda element: element.order)


def read_words(client: Client, well: Collection[int]) -> Words:
    """The words of the classes: one request a kind."""
    classes = {}
    for kind, name in CLASSES.items():
        if kind in ("cage", "card"):  # the families have their own properties, and all inherited
            options = {"ClassName": name, "IncludeQualifiers": True, **WHOLE}
            classes[kind] = client.request("EnumerateClasses", **options)
        else:
            options = {"ClassName": name, "LocalOnly": False, "IncludeQualifiers": True}
            classes[kind] = client.request("GetClass", **options)
    return Words(classes, well)


def read(client: Client, words: Words) -> Enclosure:
    """The whole enclosure: one request a class."""
    found = {kind: elements_of(client, kind, words) for kind in CLASSES}
    cages = found["cage"]
    if not cages:
        why = "the array's library has failed or is busy, or the array has none"
        raise EnclosureError(f"{client.url} lists no drive cage: {why}; look in the log of the module")
    by_path = {cage.path.identity(): cage for cage in cages}
    by_tag = {cage.tag: cage for cage in cages}
    outside: list[Element] = []
    for kind, ends in HOLDING.items():
        held = holders(client, *ends)
        for each in found[kind]:
            cage = by_path.get(held.get(each.path.identity(), ()))
            if kind == "sensor" and not cage:  # of a power supply: in no association
                cage = by_tag.get(each.tag.rpartition("-sensor")[0])
            each.cage = cage
            (cage.parts if cage else outside).append(each)
    return Enclosure(package_name(client), cages, outside)


def holders(client: Client, association: str, whole: str, part: str) -> dict[tuple, tuple]:
    """By the path of a part the path of what holds it, as an association has them."""
    held = {}
    for path in client.request("EnumerateInstanceNames", ClassName=association):
        ends = path.key(part), path.key(whole)
        if not all(isinstance(end, Path) for end in ends):
            where = f"{client.url}: EnumerateInstanceNames {association}"
            raise EnclosureError(f"{where}: a path has no {part} or no {whole} that names an instance")
        held[ends[0].identity()] = ends[1].identity()
    return held


def package_name(client: Client) -> str:
    """The system package, as people name it."""
    packages = client.request("EnumerateInstances", ClassName="QBX_SystemPackage", **WHOLE)
    if not packages:
        return "system package not listed"
    named = map(packages[0].values.get, ("elementname", "tag", "model", "serialnumber"))
    name, tag, model, serial = (one_line(each or "") for each in named)
    return ", ".join(filter(None, (name or tag, model, serial and f"serial {serial}")))
