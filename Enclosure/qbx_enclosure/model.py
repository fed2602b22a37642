"""What an array's enclosure consists of, read from the CIM server with one request a class."""

import dataclasses
import re

import pywbem

from .connection import Client, Trouble, clean

PACKAGE = "QBX_SystemPackage"
CLASSES = {
    "cage": "QBX_DriveCage",
    "magazine": "QBX_Magazine",
    "card": "QBX_CageInterfaceCard",
    "sensor": "QBX_CageSensor",
}
# What is in a cage, by kind: association, role of the cage, role of the part.
HOLDING = {
    "magazine": ("QBX_MagazineInDriveCage", "GroupComponent", "PartComponent"),
    "card": ("QBX_InterfaceCardInDriveCage", "GroupComponent", "PartComponent"),
    "sensor": ("QBX_SensorInDriveCage", "Dependent", "Antecedent"),
}
LIGHT = re.compile(r"LED$|Link[RT]X$")
UNITS = {"C": "°C", "R": "rpm"}  # other letters are the unit's own


def plain(value: object) -> object:
    """A value of a property as Python's own, texts without control characters."""
    if isinstance(value, list):
        return [plain(each) for each in value]
    if isinstance(value, str):
        return clean(value)
    return int(value) if isinstance(value, pywbem.CIMInt) else value


def reference(path: pywbem.CIMInstanceName) -> tuple:
    """A path in a form to compare: hosts and the case of names do not count."""
    keys = sorted((name.lower(), str(value)) for name, value in path.keybindings.items())
    return (path.classname.lower(), *keys)


class Words:
    """The words that the server's schema has for the values of properties."""

    def __init__(self, classes: dict[str, list[pywbem.CIMClass]], well: set[int]):
        self.well = well  # codes by which the array says that something is as it should be
        self.maps: dict[tuple[str, str], list[tuple[str, str]]] = {}
        for kind, found in classes.items():
            for each in found:
                for name, declared in each.properties.items():
                    values = declared.qualifiers.get("Values")
                    numbers = declared.qualifiers.get("ValueMap")
                    if values and numbers:
                        self.maps[kind, name] = list(zip(numbers.value, values.value))

    def of(self, kind: str, name: str, value: int | None) -> str:
        """The word for a value; "unknown (N)" or "state N" when the schema has none."""
        if value is None:
            return "not reported"
        entries = self.maps.get((kind, "SystemLED" if LIGHT.search(name) else name))
        if entries is None:
            return "well" if value in self.well else f"state {value}"
        for number, word in entries:
            if number == str(value):
                return clean(word)
        for number, word in entries:  # ranges: "N..M", and ".." for all the rest
            low, dots, high = number.partition("..")
            if dots and (int(low or 0, 0) <= value <= int(high or 0xFFFF, 0)):
                return f"{clean(word)} ({value})"
        return f"unknown ({value})"


@dataclasses.dataclass(eq=False)
class Element:
    """A cage, magazine, card or sensor: its properties, and what is to be said about it."""

    kind: str
    path: pywbem.CIMInstanceName
    values: dict
    words: Words
    problems: list[str] = dataclasses.field(default_factory=list)
    notes: list[str] = dataclasses.field(default_factory=list)
    cage: "Cage | None" = None

    def get(self, name: str, default=None):
        value = self.values.get(name.lower())
        return default if value is None else value

    def word(self, name: str, index: int | None = None) -> str:
        value = self.get(name)
        return self.words.of(self.kind, name, value if index is None else value[index])

    @property
    def tag(self) -> str:
        """The name that identifies it."""
        return self.get("DeviceID" if self.kind == "sensor" else "Tag", "")

    @property
    def label(self) -> str:
        """The name that people give it."""
        name = "OtherSensorTypeDescription" if self.kind == "sensor" else "ElementName"
        return self.get(name, "")

    @property
    def name(self) -> str:
        if self.kind == "sensor":
            return self.label or self.tag
        return self.tag if self.label in ("", self.tag) else f"{self.tag} ({self.label})"

    @property
    def order(self) -> tuple:
        return (self.get("Position", 0), self.tag)

    def loops(self) -> str:
        """The loops that a card serves: those on which it has ports."""
        return "".join(each for each in "AB" if any(self.get(f"Loop{each}PortWWNs", [])))

    def is_located(self) -> bool:
        """True while a locator of it is on."""
        ports = self.get("LoopALocateON", []) + self.get("LoopBLocateON", [])
        return bool(self.get("LocateON") or any(ports))

    def reading(self, name: str = "CurrentReading") -> str:
        """A number of a sensor with its unit."""
        letter = self.get("BaseUnit", "")
        return f"{self.get(name, '?')} {UNITS.get(letter, letter)}".strip()

    def limits(self) -> tuple[int, int] | None:
        """The lowest and highest good reading; None when the array sets no limits."""
        low, high = self.get("LowLimit", 0), self.get("HighLimit", 0)
        return (low, high) if low <= high and high else None


class Cage(Element):
    """A cage with what is in it."""

    def __init__(self, *fields):
        super().__init__(*fields)
        self.cage = self
        self.parts: list[Element] = []

    def of(self, kind: str) -> list[Element]:
        return sorted((each for each in self.parts if each.kind == kind), key=lambda e: e.order)

    def everything(self) -> list[Element]:
        """The cage, and its parts in their order."""
        return [self, *(part for kind in HOLDING for part in self.of(kind))]

    @property
    def location(self) -> str:
        return self.get("Location", "")


@dataclasses.dataclass
class Enclosure:
    """All that a server tells of one array."""

    name: str
    cages: list[Cage]
    outside: list[Element]  # what belongs to no cage that is listed

    def everything(self) -> list[Element]:
        return [each for cage in self.cages for each in cage.everything()] + self.outside

    def counts(self) -> dict[str, int]:
        """How many elements of each kind there are."""
        kinds = [each.kind for each in self.everything()]
        return {kind: kinds.count(kind) for kind in CLASSES}

    def narrowed(self, name: str | None, problems: bool) -> "Enclosure":
        """The same with one cage only, or only with the cages that have problems."""
        if name is None and not problems:
            return self
        cages = self.cages if name is None else [one(self.cages, "cage", name)]
        if problems:
            cages = [cage for cage in cages if any(each.problems for each in cage.everything())]
        outside = self.outside if name is None else []
        return Enclosure(self.name, cages, outside)


def matching(elements: list, name: str) -> list:
    """The elements with this Tag, or else those with this name."""
    name = clean(name)
    by_tag = [each for each in elements if each.tag == name]
    return by_tag or [each for each in elements if each.label == name]


def one(elements: list, kind: str, name: str) -> Element:
    """The one of these elements that has this name."""
    found = matching(elements, name)
    if len(found) == 1:
        return found[0]
    named = sorted(found or elements, key=lambda each: each.order)
    tags = ", ".join(each.tag for each in named[:8]) or "none"
    more = f" and {len(named) - 8} more" if len(named) > 8 else ""
    if found:
        raise Trouble(f"{clean(name)} names several: {tags}{more}; take one of these")
    raise Trouble(f"no {kind} {clean(name)}; there is {tags}{more}")


def elements_of(client: Client, kind: str, words: Words) -> list[Element]:
    """All elements of a kind."""
    found = client.ask("EnumerateInstances", CLASSES[kind], DeepInheritance=True, LocalOnly=False)
    make = Cage if kind == "cage" else Element
    return [
        make(kind, each.path, {name.lower(): plain(value) for name, value in each.items()}, words)
        for each in found
    ]


def read_words(client: Client, well: set[int]) -> Words:
    """The words of the classes: one request a kind."""
    classes = {}
    for kind, name in CLASSES.items():
        if kind in ("cage", "card"):  # the families have their own properties, and all inherited
            options = {"DeepInheritance": True, "LocalOnly": False, "IncludeQualifiers": True}
            classes[kind] = client.ask("EnumerateClasses", ClassName=name, **options)
        else:
            classes[kind] = [client.ask("GetClass", name, LocalOnly=False, IncludeQualifiers=True)]
    return Words(classes, well)


def read(client: Client, words: Words) -> Enclosure:
    """The whole enclosure: one request a class."""
    found = {kind: elements_of(client, kind, words) for kind in CLASSES}
    cages = sorted(found["cage"], key=lambda each: each.order)
    if not cages:
        raise Trouble(
            f"{client.url} lists no drive cage: the array's library has failed or is busy, or the "
            "array has none; look in the log of the module"
        )
    by_path = {reference(each.path): each for each in cages}
    by_tag = {each.tag: each for each in cages}
    for kind, (association, whole, part) in HOLDING.items():
        holders = {}
        for path in client.ask("EnumerateInstanceNames", association):
            ends = path.keybindings
            holders[reference(ends[part])] = by_path.get(reference(ends[whole]))
        for each in found[kind]:
            each.cage = holders.get(reference(each.path))
            if kind == "sensor" and each.cage is None:  # of a power supply: in no association
                each.cage = by_tag.get(each.tag.rpartition("-sensor")[0])
            if each.cage:
                each.cage.parts.append(each)
    outside = [each for kind in HOLDING for each in found[kind] if not each.cage]
    return Enclosure(package_name(client), cages, outside)


def package_name(client: Client) -> str:
    """The system package, as people name it."""
    packages = client.ask("EnumerateInstances", PACKAGE, DeepInheritance=True, LocalOnly=False)
    if not packages:
        return "system package not listed"
    package = packages[0]
    serial = package.get("SerialNumber")
    named = [package.get("ElementName") or package.get("Tag"), package.get("Model")]
    return clean(", ".join([*filter(None, named), *([f"serial {serial}"] if serial else [])]))
