"""The tour of `./qbx demo`: sends requests to the embedded server through two independent clients,
and shows each request and its response. Exit status 0 when every response was the expected one."""

import argparse
import json
import shutil
import sys

from qbx_support.arrays import element_path
from qbx_support.clients import Pywbem, ResponseError, Wbemcli
from qbx_support.server import ROOT, SAMPLE_FIRMWARE, Server, StartError

DESCRIPTION = """Starts the embedded server on the sample array and a free port, sends it requests
through two WBEM clients (wbemcli, and pywbem where pip could install it), shows each request and its
response, and stops it. Exit status 0 when every response was the expected one."""
MAX_LINES = 12
STATUS = {"API_STATE_OK": 2, "API_STATE_DEGRADED": 3}
MEANING = {"2": "OK", "3": "degraded"}
ON_LOOP, OFF_LOOP, FIRMWARE_MISSING = 1, 2, 20  # codes of the simulated array


class Tour:
    """Shows each request and its response, and counts what went wrong."""

    def __init__(self):
        self.failures = 0

    def title(self, text):
        print(f"\n== {text}")

    def show(self, request, lines, is_right, limit=MAX_LINES):
        """One request. `lines` are its response; of many only the first are shown."""
        print(f"\n$ {request}")
        for line in lines[:limit]:
            print(f"  {line}")
        if len(lines) > limit:
            print(f"  ... {len(lines) - limit} more")
        if not is_right:
            self.failures += 1
            print("  ^^^^ not what was expected")

    def rejected(self, request, operation, code, text=None):
        """A request whose response must be an error of this code, and text."""
        try:
            operation()
            self.show(request, ["(no error, though it should be one)"], False)
        except ResponseError as error:
            is_right = error.code == code and text in (None, error.text)
            self.show(request, [f"error, code {error.code}: {error.text}"], is_right)


class Sample:
    """The content of the array file, as far as the tour shows it."""

    def __init__(self, file):
        contents = json.loads(file.read_text(encoding="utf-8"))
        self.cages = contents["cages"]
        self.magazines = [each for each in contents["magazines"] if not each.get("isAbsent")]
        self.cards = contents["fcals"]
        self.supplies = contents["cagesPS"]

    def cage(self, is_wanted):
        return next(each for each in self.cages if is_wanted(each))

    def inside(self, cage):
        """How many cards, magazines and sensors of its own a cage has."""
        parts = [each["parentDeviceID"] for each in self.cards + self.magazines]
        return parts.count(cage["deviceID"]) + len(sensors(cage))


def sensors(record):
    return [each for each in record.get("lbod", record).get("sensors", []) if each]


def cage_path(cage):
    return element_path("QBX_DriveCage", cage)


def target(path):
    """A path as it would be typed in a shell."""
    text = path if isinstance(path, str) else Wbemcli.path_text(path)
    return f"$U:'{text}'" if '"' in text else f"$U:{text}"


def plain(value):
    """A value without the quotes or brackets that a client puts around it."""
    return str(value).strip('"[]')


def look_around(tour, client, sample):
    """Which cages there are, how they are, and the readings of the worst one's sensors."""
    command_line = client.name == "wbemcli"

    def same(values, expected):
        return all(values.get(name) == client.shown(value) for name, value in expected.items())

    tour.title(f"Which drive cages are there? (through {client.name})")
    names = sorted(client.names("QBX_DriveCage"))
    tour.show(
        "wbemcli ein $U:QBX_DriveCage"
        if command_line
        else 'connection.EnumerateInstanceNames("QBX_DriveCage")',
        names if command_line else [f"{name}  Tag={dict(keys)['Tag']}" for name, keys in names],
        names == sorted(client.shown_path(cage_path(each)) for each in sample.cages),
    )

    tour.title("How are they?")
    found = {plain(values["Tag"]): values for _, values in client.instances("QBX_DriveCage")}
    lines, is_right = [], len(found) == len(sample.cages)
    for cage in sample.cages:
        values = found.get(cage["deviceID"], {})
        expected = {
            "Location": cage["location"],
            "SerialNumber": cage["mfg"]["serial"],
            "OperationalStatus": [STATUS[cage["cimState"]]],
        }
        is_right = is_right and same(values, expected)
        location, serial, status = (plain(values.get(name)) for name in expected)
        note = "" if status == "2" else "  <-- worth a look"
        meaning = MEANING.get(status, "unknown")
        lines.append(
            f"{cage['deviceID']}: {location}, serial {serial}, status {status} ({meaning}){note}"
        )
    tour.show(
        "wbemcli ei $U:QBX_DriveCage"
        if command_line
        else 'connection.EnumerateInstances("QBX_DriveCage")',
        lines,
        is_right,
    )

    worst = sample.cage(lambda each: each["cimState"] != "API_STATE_OK")
    tour.title(f"What is wrong with {worst['deviceID']}?")
    found = {
        plain(values["OtherSensorTypeDescription"]): values
        for _, values in client.associators(cage_path(worst), association="QBX_SensorInDriveCage")
    }
    lines, is_right = [], len(found) == len(sensors(worst))
    for each in sensors(worst):
        values = found.get(each["name"], {})
        numbers = {"LowLimit": "limit_low", "CurrentReading": "reading", "HighLimit": "limit_high"}
        is_right = is_right and same(values, {name: each[key] for name, key in numbers.items()})
        low, reading, high = (int(values.get(name, 0)) for name in numbers)
        note = "" if low <= reading <= high else "  <-- outside its limits"
        unit = plain(values.get("BaseUnit"))
        lines.append(f"{each['name']}: {reading} {unit}, good from {low} to {high}{note}")
    tour.show(
        f"wbemcli ai -ac QBX_SensorInDriveCage {target(cage_path(worst))}"
        if command_line
        else f'connection.Associators({worst["deviceID"]}, AssocClass="QBX_SensorInDriveCage")',
        lines,
        is_right,
    )


class Hand:
    """Acts through wbemcli, and shows the effect."""

    def __init__(self, tour, server):
        self.tour = tour
        self.client = Wbemcli(server)

    def watch(self, path, request, expected, result=None):
        """Shows what was done, what it returned, and what the properties are now."""
        values = self.client.get(path)
        wanted = {name: self.client.shown(value) for name, value in expected.items()}
        self.tour.show(
            request,
            ([] if result is None else [f"returned {result[0]}"])
            + [f"{name} = {values.get(name)}" for name in wanted],
            (result is None or result[0] == result[1])
            and all(values.get(name) == wanted[name] for name in wanted),
        )

    def call(self, path, method, parameters, expected, result=0, note=""):
        listed = ",".join(f"{name}={self.client.shown(value)}" for name, value in parameters)
        request = f"wbemcli cm {target(path)} '{method}.{listed}'{note}"
        self.watch(path, request, expected, (self.client.invoke(path, method, parameters), result))


def act(tour, server, sample):
    """Every method and the one change, each with its effect."""
    hand = Hand(tour, server)
    worst = sample.cage(lambda each: each["cimState"] != "API_STATE_OK")
    path, tag = cage_path(worst), worst["deviceID"]

    tour.title(f"Guiding the technician to {tag}, by light")
    hand.call(path, "Locate", [("LocateTimer", 3600)], {"LocateON": True})
    hand.call(path, "Locate", [("LocateTimer", 0)], {"LocateON": False}, note="   (it is found)")
    first = next(each for each in sample.cards if each["parentDeviceID"] == tag)
    card = element_path("QBX_CageInterfaceCard", first, "cageType")
    lights = {"LoopALocateON": [False, True]}
    hand.call(card, "Locate", [("LocateTimer", 60), ("Port", 1)], lights, note="   (of one port)")

    tour.title("Taking a magazine off loop A, and on again")
    first = next(each for each in sample.magazines if each["parentDeviceID"] == tag)
    magazine = element_path("QBX_Magazine", first)
    hand.call(magazine, "Locate", [("LocateTimer", 60)], {"LocateON": True})
    for is_on, state in ((False, OFF_LOOP), (True, ON_LOOP)):
        loop = [("IsOnloop", is_on), ("IsPortA", True)]
        hand.call(magazine, "SetLoopState", loop, {"StateOnLoopA": state})

    older = sample.cage(lambda each: each["type"] == "JB_MBOD")
    path, version = cage_path(older), older["lbod"]["fwVersion"]
    tour.title(f"Moving {older['deviceID']}, and renewing its firmware")
    place = "Room 3 rack B1 U4"
    hand.client.set(path, "Location", place)
    older["location"] = place  # which is what is to be seen from now on
    hand.watch(path, f"wbemcli sp {target(path)} 'Location={place}'", {"Location": place})
    for file, result, then, note in (
        ("/nowhere/firmware.json", FIRMWARE_MISSING, version, "   (no such file)"),
        (str(SAMPLE_FIRMWARE), 0, json.loads(SAMPLE_FIRMWARE.read_text())["version"], ""),
    ):
        parameters = [("FileName", file), ("IsPortA", True)]
        hand.call(path, "Upgrade", parameters, {"FirmwareVersion": then}, result, note)


def list_others(tour, server, sample):
    """The other element classes."""
    client = Wbemcli(server)
    tour.title("What else is there?")
    cards = [element_path("QBX_CageInterfaceCard", each, "cageType") for each in sample.cards]
    magazines = [element_path("QBX_Magazine", each) for each in sample.magazines]
    for name, expected in (("QBX_CageInterfaceCard", cards), ("QBX_Magazine", magazines)):
        got = sorted(client.names(name))
        tour.show(
            f"wbemcli ein $U:{name}", got, got == sorted(map(client.path_text, expected)), limit=3
        )
    got = sorted(client.names("QBX_CageSensor"))
    count = sum(len(sensors(each)) for each in sample.cages + sample.supplies)
    tour.show("wbemcli ein $U:QBX_CageSensor", got, len(set(got)) == count, limit=3)


def walk(tour, server, sample):
    """From the system package to all there is, printed as a tree."""
    client = Wbemcli(server)
    tour.title("Walking from the system package to every cage and what is in it")
    package = client.names("QBX_SystemPackage")[0]
    lines, reached = [package], 0
    for cage in sorted(client.associator_names(package, association="QBX_SysCageContainer")):
        lines.append(f"+- {cage}")
        inside = client.associator_names(cage, association="CIM_PackageInChassis")
        inside += client.associator_names(cage, association="QBX_SensorInDriveCage")
        reached += 1 + len(inside)
        by_class: dict = {}
        for each in inside:
            name, _, keys = each.partition(".")
            key = next(part for part in keys.split(",") if part.startswith(("Tag=", "DeviceID=")))
            by_class.setdefault(name, []).append(plain(key.partition("=")[2]))
        for name, tags in sorted(by_class.items()):
            lines.append(f"|  +- {name}: {', '.join(sorted(tags))}")
    expected = sum(1 + sample.inside(each) for each in sample.cages)
    lines.append(f"{reached} elements reached; the array file has {expected}")
    tour.show(
        "wbemcli ain ...   (from each object to the next)",
        lines,
        reached == expected,
        limit=len(lines),
    )


def rejections(tour, server, sample):
    """Requests that must get an error."""
    tour.title("What is rejected")
    client, viewer = Wbemcli(server), Wbemcli(server, "viewer")
    stranger, wrong = Wbemcli(server, "stranger"), Wbemcli(server, "admin", "wrong")
    path = cage_path(sample.cages[0])
    nowhere = (path[0], {**path[1], "Tag": "cage99"})
    cages, ein = "QBX_DriveCage", "wbemcli ein $U:"
    for request, operation, code, text in (
        (
            f"{ein}QBX_Disk   (no such class)",
            lambda: client.names("QBX_Disk"),
            5,
            "INVALID_CLASS: QBX_Disk",
        ),
        (
            f"wbemcli gi {target(nowhere)}   (no such cage)",
            lambda: client.get(nowhere),
            6,
            "NOT_FOUND: QBX_DriveCageProvider CIM Object not found.cage99",
        ),
        (
            f"wbemcli cm {target(path)} Locate   (a user who may only look)",
            lambda: viewer.invoke(path, "Locate", []),
            2,
            "ACCESS_DENIED: Insufficient generic privilege",
        ),
        (
            f"{ein}{cages}   (a user that the array does not know)",
            lambda: stranger.names(cages),
            2,
            "ACCESS_DENIED: Insufficient privilege for the user",
        ),
        (f"{ein}{cages}   (a wrong password)", lambda: wrong.names(cages), 401, None),
    ):
        tour.rejected(request, operation, code, text and f"CIM_ERR_{text}")


def main():
    parser = argparse.ArgumentParser(prog="./qbx demo", description=DESCRIPTION)
    parser.add_argument("--build", default=ROOT / "build" / "release", help=argparse.SUPPRESS)
    options = parser.parse_args()
    if not shutil.which("wbemcli"):
        sys.exit("qbx demo: wbemcli is not installed (./qbx setup)")
    tour = Tour()
    try:
        with Server(options.build) as server:
            print("The embedded server is up, with the module and a copy of the sample array.")
            print(f"Below, U is {Wbemcli(server).base}/root/qbx")
            sample = Sample(server.array)
            look_around(tour, Wbemcli(server), sample)
            act(tour, server, sample)
            list_others(tour, server, sample)
            walk(tour, server, sample)
            rejections(tour, server, sample)
            try:
                client = Pywbem(server)
            except ImportError:
                print("\npywbem is not to be had here: its half of the tour is left out")
            else:
                look_around(tour, client, sample)
    except (StartError, ResponseError) as error:
        sys.exit(f"qbx demo: {error}")
    if tour.failures:
        sys.exit(f"\n{tour.failures} responses were not the expected ones.")
    print("\nEvery response was the expected one.")


if __name__ == "__main__":
    main()
