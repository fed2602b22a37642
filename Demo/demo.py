"""The tour of `./qbx demo`: asks the embedded server with two clients that are not ours, and shows
what was asked and what came. Exit status 0 when every answer was the expected one."""

import argparse
import json
import shutil
import sys
import time

from clients import Pywbem, Refused, Wbemcli
from server import ROOT, SAMPLE_FIRMWARE, Server, StartError

sys.path.append(str(ROOT / "Tests" / "Wire"))  # what is to be expected of an array file
from arrayfile import CODES, Array

MAX_LINES = 12
CARDS = ["QBX_CageInterfaceCard"] + [
    f"QBX_CageInterfaceCard{family}Family" for family in ("DC1", "DC2", "DC3")
]
METHODS = {"ein": "EnumerateInstanceNames", "ei": "EnumerateInstances", "gi": "GetInstance"}


class Tour:
    """Shows each question and its answer, and remembers what went wrong."""

    def __init__(self):
        self.failures = 0

    def title(self, text):
        print(f"\n== {text}")

    def show(self, asked, lines, is_right):
        """One question. `lines` are what came, shortened when there are many."""
        print(f"\n$ {asked}")
        for line in lines[:MAX_LINES]:
            print(f"  {line}")
        if len(lines) > MAX_LINES:
            print(f"  ... {len(lines) - MAX_LINES} more")
        if not is_right:
            self.failures += 1
            print("  ^^^^ not what was expected")

    def refused(self, asked, operation, code, text):
        """A question that must be refused with this code and text."""
        try:
            operation()
            self.show(asked, ["(an answer, though it should have been refused)"], False)
        except Refused as refusal:
            self.show(
                asked,
                [f"refused, code {refusal.code}: {refusal.text}"],
                (refusal.code, refusal.text) == (code, text)
                or (code == 401 and refusal.code == code),
            )


def target(path):
    """A path as it would be typed in a shell."""
    return f"$U:'{path}'" if '"' in path else f"$U:{path}"


def chosen(values, names):
    return [f"{name} = {values[name]}" for name in names if name in values]


def ask_both(tour, server, array):
    """The same questions through both clients."""
    clients = [Wbemcli]
    try:
        Pywbem(server)
        clients.append(Pywbem)
    except ImportError:
        print("\npywbem is not to be had here: its half of the tour is left out")
    cage = array.elements("QBX_DriveCageDC2Family")[0]
    nothing = ("QBX_DriveCageDC2Family", {**cage.path[1], "Tag": "cage99"})
    for kind in clients:
        client = kind(server)
        command_line = kind is Wbemcli

        def say(operation, what):
            if command_line:
                return f"wbemcli {operation} {target(what)}"
            return f"connection.{METHODS[operation]}({what})"

        tour.title(f"Asking with {kind.name}")

        expected = sorted(client.shown_path(each.path) for each in array.cages)
        came = sorted(client.names("QBX_DriveCage"))
        tour.show(
            say("ein", "QBX_DriveCage"),
            [each if command_line else f"{each[0]}  {dict(each[1])['Tag']}" for each in came],
            came == expected,
        )

        instances = client.instances("QBX_DriveCage")
        wanted = {
            client.shown_path(each.path): {
                name: client.shown(value) for name, value in each.values.items()
            }
            for each in array.cages
        }
        tour.show(
            say("ei", "QBX_DriveCage"),
            [
                f"{values['Tag']}: {values['ElementName']}, type {values['CageType']}, "
                f"{values.get('Location')}"
                for _, values in instances
            ],
            dict(instances) == wanted and len(instances) == len(wanted),
        )

        values = client.get(cage.path)
        tour.show(
            say("gi", Wbemcli.path_text(cage.path)),
            chosen(
                values,
                (
                    "Name",
                    "Model",
                    "SerialNumber",
                    "Location",
                    "OperationalStatus",
                    "FirmwareVersion",
                    "LocateON",
                ),
            ),
            values == wanted[client.shown_path(cage.path)],
        )

        tour.refused(
            say("ein", "QBX_Disk") + "   (no such class)",
            lambda: client.names("QBX_Disk"),
            5,
            "CIM_ERR_INVALID_CLASS: QBX_Disk",
        )
        tour.refused(
            say("gi", Wbemcli.path_text(nothing)) + "   (no such cage)",
            lambda: client.get(nothing),
            6,
            "CIM_ERR_NOT_FOUND: QBX_DriveCageProvider CIM Object not found.cage99",
        )
        stranger = kind(server, "stranger")
        tour.refused(
            say("ein", "QBX_DriveCage") + "   (a user that the array does not know)",
            lambda: stranger.names("QBX_DriveCage"),
            2,
            "CIM_ERR_ACCESS_DENIED: Insufficient privilege for the user",
        )
        wrong = kind(server, "admin", "wrong")
        tour.refused(
            say("ein", "QBX_DriveCage") + "   (a wrong password)",
            lambda: wrong.names("QBX_DriveCage"),
            401,
            None,
        )


def list_others(tour, server, array):
    """The other element classes."""
    client = Wbemcli(server)
    tour.title("Magazines, interface cards and sensors")
    for class_names in (["QBX_Magazine"], CARDS, ["QBX_CageSensor"]):
        got = client.names(class_names[0])
        expected = [
            client.path_text(each.path) for name in class_names for each in array.elements(name)
        ]
        tour.show(f"wbemcli ein $U:{class_names[0]}", sorted(got), sorted(got) == sorted(expected))


def act(tour, server, array):
    """Every method and the one change, each with its effect."""
    client = Wbemcli(server)
    tour.title("Acting on the hardware")

    def watch(path, asked, result, expected, properties):
        """Shows a question, what it returned, and what the properties are now."""
        values = client.get(path)
        wanted = {name: client.shown(value) for name, value in properties.items()}
        tour.show(
            asked,
            ([] if result is None else [f"returned {result}"]) + chosen(values, wanted),
            result == expected and all(values[name] == wanted[name] for name in wanted),
        )

    def call(path, method, parameters, expected, properties, note=""):
        listed = ",".join(f"{name}={client.shown(value)}" for name, value in parameters)
        asked = f"wbemcli cm {target(client.path_text(path))} '{method}.{listed}'{note}"
        watch(path, asked, client.invoke(path, method, parameters), expected, properties)

    first = array.elements("QBX_DriveCageDC2Family")[0]
    cage, version = first.path, first.values["FirmwareVersion"]
    name = target(client.path_text(cage))
    call(cage, "Locate", [("LocateTimer", 5)], 0, {"LocateON": True})
    deadline = time.monotonic() + 60
    while client.get(cage)["LocateON"] != "FALSE" and time.monotonic() < deadline:
        time.sleep(0.5)
    later = f"wbemcli gp {name} LocateON   (when the seconds are over)"
    watch(cage, later, None, None, {"LocateON": False})
    client.set(cage, "Location", "Room 2 rack 7")
    location = {"Location": "Room 2 rack 7"}
    watch(cage, f"wbemcli sp {name} 'Location=Room 2 rack 7'", None, None, location)

    def upgrade(file, expected, then, note=""):
        parameters = [("FileName", str(file)), ("IsPortA", True)]
        call(cage, "Upgrade", parameters, expected, {"FirmwareVersion": then}, note)

    missing = CODES["QBXSIM_FIRMWARE_MISSING"]
    upgrade("/nowhere/firmware.json", missing, version, "   (no such file)")
    upgrade(SAMPLE_FIRMWARE, 0, json.loads(SAMPLE_FIRMWARE.read_text())["version"])

    magazine = array.elements("QBX_Magazine")[0].path
    on, off = 1, 2  # the state codes of the simulated array
    for is_on, state in ((False, off), (True, on)):
        loop = [("IsOnloop", is_on), ("IsPortA", True)]
        call(magazine, "SetLoopState", loop, 0, {"StateOnLoopA": state})
    call(magazine, "Locate", [("LocateTimer", 60)], 0, {"LocateON": True})
    card = array.elements("QBX_CageInterfaceCardDC2Family")[0].path
    lights = {"LoopALocateON": [False, True]}
    call(card, "Locate", [("LocateTimer", 60), ("Port", 1)], 0, lights)

    viewer = Wbemcli(server, "viewer")
    tour.refused(
        f"wbemcli cm {name} Locate   (a user who may only look)",
        lambda: viewer.invoke(cage, "Locate", []),
        2,
        "CIM_ERR_ACCESS_DENIED: Insufficient generic privilege",
    )


def walk(tour, server, array):
    """From the system package to all there is, printed as a tree."""
    client = Wbemcli(server)
    tour.title("Walking from the system package to every cage and what is in it")
    package = client.names("QBX_SystemPackage")[0]
    lines, reached = [package], 0
    for cage in sorted(client.associator_names(package, association="QBX_SysCageContainer")):
        lines.append(f"+- {cage}")
        inside = client.associator_names(
            cage, role="GroupComponent", association="QBX_InterfaceCardInDriveCage"
        )
        inside += client.associator_names(
            cage, role="GroupComponent", association="QBX_MagazineInDriveCage"
        )
        inside += client.associator_names(cage, association="QBX_SensorInDriveCage")
        reached += 1 + len(inside)
        by_class = {}
        for each in inside:
            name, _, keys = each.partition(".")
            key = next(part for part in keys.split(",") if part.startswith(("Tag=", "DeviceID=")))
            by_class.setdefault(name, []).append(key.partition("=")[2].strip('"'))
        for name, tags in sorted(by_class.items()):
            lines.append(f"|  +- {name}: {', '.join(sorted(tags))}")
    known = {client.path_text(each.path) for each in array.cages}
    expected = len(known) + sum(
        1
        for name in ("QBX_InterfaceCardInDriveCage", "QBX_MagazineInDriveCage")
        for cage, _ in array.associations[name][2]
        if client.path_text(cage) in known
    )
    expected += len(array.associations["QBX_SensorInDriveCage"][2])
    print("\n$ wbemcli ain $U:...   (from each object to the next)")
    for each in lines:
        print(f"  {each}")
    tour.show(
        "# counted",
        [f"{reached} elements reached; the array file has {expected}"],
        reached == expected,
    )


def main():
    parser = argparse.ArgumentParser(prog="qbx demo")
    parser.add_argument("--build", required=True)
    options = parser.parse_args()
    if not shutil.which("wbemcli"):
        sys.exit("qbx demo: wbemcli is not installed (./qbx setup)")
    tour = Tour()
    try:
        with Server(options.build) as server:
            print("The embedded server is up, with the module and a copy of the sample array.")
            print(f"Below, U is {Wbemcli(server).base}/root/qbx")
            array = Array(server.array)
            ask_both(tour, server, array)
            list_others(tour, server, array)
            act(tour, server, array)
            walk(tour, server, array)
    except (StartError, Refused) as error:
        sys.exit(f"qbx demo: {error}")
    if tour.failures:
        sys.exit(f"\n{tour.failures} answers were not the expected ones.")
    print("\nEvery answer was the expected one.")


if __name__ == "__main__":
    main()
