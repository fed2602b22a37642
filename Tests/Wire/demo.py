"""The tour of `./qbx demo`: asks the embedded server with two clients that are not ours, and shows
what was asked and what came. Exit status 0 when every answer was the expected one."""

import argparse
import shutil
import sys
import time

from arrayfile import Array
from clients import Pywbem, Refused, Wbemcli
from server import Server, StartError

MAX_LINES = 12
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


def act(tour, server, array):
    """A method and a change, with their effect."""
    client = Wbemcli(server)
    tour.title("Acting on a cage")
    cage = next(each for each in array.cages if not each.values["LocateON"])
    name = target(Wbemcli.path_text(cage.path))
    result = client.invoke(cage.path, "Locate", [("LocateTimer", 2)])
    seen = client.get(cage.path)["LocateON"]
    tour.show(
        f"wbemcli cm {name} Locate.LocateTimer=2",
        [f"returned {result}", f"LocateON = {seen}"],
        (result, seen) == (0, "TRUE"),
    )
    time.sleep(3)
    seen = client.get(cage.path)["LocateON"]
    tour.show(
        f"wbemcli gp {name} LocateON   (3 seconds later)", [f"LocateON = {seen}"], seen == "FALSE"
    )
    client.set(cage.path, "Location", "Room 2 rack 7")
    seen = client.get(cage.path)["Location"]
    tour.show(
        f"wbemcli sp {name} 'Location=Room 2 rack 7'",
        [f"Location = {seen}"],
        seen == '"Room 2 rack 7"',
    )
    viewer = Wbemcli(server, "viewer")
    tour.refused(
        f"wbemcli cm {name} Locate   (a user who may only look)",
        lambda: viewer.invoke(cage.path, "Locate", []),
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
    print("\n$ wbemcli ain, again and again")
    for each in lines:
        print(f"  {each}")
    tour.show(
        "(counted)",
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
            act(tour, server, array)
            walk(tour, server, array)
    except (StartError, Refused) as error:
        sys.exit(f"qbx demo: {error}")
    if tour.failures:
        sys.exit(f"\n{tour.failures} answers were not the expected ones.")
    print("\nEvery answer was the expected one.")


if __name__ == "__main__":
    main()
