"""What can be done to the hardware. Each action checks, asks for a confirmation where it must, and
returns a line for the user: what was done."""

import argparse
import contextlib
import sys

import pywbem
from rich.progress import Progress, SpinnerColumn, TextColumn, TimeElapsedColumn

from .connection import Client, EnclosureError, NotDoneError, clean
from .model import HOLDING, Element, Words, elements_of, matching, one


def find(client: Client, name: str, *kinds: str) -> Element:
    """The element of this name, of the first of these kinds that has one."""
    for kind in kinds:
        elements = elements_of(client, kind, Words({}, set()))  # no words are needed
        if matching(elements, name) or len(kinds) == 1:
            return one(elements, kind, name)
    raise EnclosureError(f"no {' or '.join(kinds)} {clean(name)}; the command tree lists them")


def confirm(question: str, yes: bool) -> None:
    """Goes on when the user agrees; without a terminal only --yes does."""
    if yes:
        return
    if not sys.stdin.isatty():
        raise NotDoneError(f"{question} There is no terminal to confirm on: give --yes")
    print(f"{question} [y/N] ", end="", flush=True)
    if sys.stdin.readline().strip().lower() not in ("y", "yes"):
        raise NotDoneError("nothing done")


def invoke(client: Client, element: Element, method: str, **parameters) -> None:
    """Calls a method of the element."""
    privilege = f"{element.path.classname}.{method}".lower()
    given = list(parameters.items())
    code = client.request("InvokeMethod", method, element.path, given, privilege=privilege)[0]
    if code != 0:
        reason = f"the array's library returns code {code}; the log of the module says more"
        raise NotDoneError(f"{element.name}: {reason}")


def locate(client: Client, given: argparse.Namespace) -> str:
    element = find(client, given.name, "cage", "magazine", "card")
    parameters = {"LocateTimer": pywbem.Uint16(given.seconds)}
    if element.kind == "card" and given.port is None:
        raise EnclosureError(f"{element.name} is a card: --port N says which of its ports to light")
    if element.kind != "card" and given.port is not None:
        raise EnclosureError(f"{element.name} is a {element.kind}: it has no --port")
    if given.port is not None:
        parameters["Port"] = pywbem.Uint16(given.port)
    invoke(client, element, "Locate", **parameters)
    return f"{element.name}: locator {f'on for {given.seconds} s' if given.seconds else 'off'}"


def loop(client: Client, given: argparse.Namespace) -> str:
    magazine = find(client, given.magazine, "magazine")
    loops = f"loop {given.loop}" if given.loop else "both loops"
    if given.state == "off":
        question = f"Take {magazine.name} off {loops}?"
        others = [each for each in "AB" if given.loop and each != given.loop]
        if not any(magazine.get(f"StateOnLoop{each}") in given.well for each in others):
            question += " Its drives are then on no loop that works."
        confirm(question, given.yes)
    port = {"IsPortA": given.loop == "A"} if given.loop else {}
    invoke(client, magazine, "SetLoopState", IsOnloop=given.state == "on", **port)
    return f"{magazine.name}: {given.state} {loops}"


@contextlib.contextmanager
def running(what: str):
    """Shows that something is being done: on a terminal in a line that counts the time."""
    if not sys.stdout.isatty():
        print(f"{what} ...", flush=True)
        yield
        return
    shown = (SpinnerColumn(), TextColumn("{task.description}", markup=False), TimeElapsedColumn())
    with Progress(*shown, transient=True) as progress:
        progress.add_task(what, total=None)
        yield


def versions(client: Client, cage: Element) -> str:
    """The firmware of the cage, or where cages have none, of its cards."""
    found = [client.request("GetInstance", cage.path, LocalOnly=False)]
    if not found[0].get("FirmwareVersion"):
        found = client.request("Associators", cage.path, AssocClass=HOLDING["card"][0])
    listed = {clean(each.get("FirmwareVersion")) for each in found if each.get("FirmwareVersion")}
    return " and ".join(sorted(listed)) or "not reported"


def upgrade(client: Client, given: argparse.Namespace) -> str:
    cage = find(client, given.cage, "cage")
    before = versions(client, cage)
    confirm(f"Load {clean(given.file)} into {cage.name} (firmware {before})?", given.yes)
    with running(f"{cage.name}: loading firmware through port {given.port}"):
        invoke(client, cage, "Upgrade", FileName=given.file, IsPortA=given.port == "A")
    return f"{cage.name}: firmware was {before}, is {versions(client, cage)}"


def relocate(client: Client, given: argparse.Namespace) -> str:
    cage = find(client, given.cage, "cage")
    name = cage.path.classname
    instance = pywbem.CIMInstance(name, {"Location": given.location}, path=cage.path)
    privilege = f"{name}.modifyinstance".lower()
    client.request("ModifyInstance", instance, PropertyList=["Location"], privilege=privilege)
    before = cage.get("Location") or "empty"
    return f"{cage.name}: location was {before}, is {clean(given.location)}"


ACTIONS = {"locate": locate, "loop": loop, "upgrade": upgrade, "relocate": relocate}
