"""What can be done to the hardware: each checks, asks where it must, and says what came of it."""

import argparse
import contextlib
import sys

import pywbem
from rich.progress import Progress, SpinnerColumn, TextColumn, TimeElapsedColumn

from .connection import Client, Trouble, clean
from .model import HOLDING, Element, Words, elements_of, matching, one

DONE, NOT_DONE = 0, 1


def find(client: Client, name: str, well: set[int], *kinds: str) -> Element:
    """The element of this name, of the first of these kinds that has one."""
    words = Words({}, well)
    for kind in kinds:
        elements = elements_of(client, kind, words)
        if matching(elements, name) or len(kinds) == 1:
            return one(elements, kind, name)
    raise Trouble(f"no {' or '.join(kinds)} {clean(name)}; the command tree lists them")


def confirmed(question: str, yes: bool) -> bool:
    """Whether the user agrees; without a terminal only --yes does."""
    if yes:
        return True
    if not sys.stdin.isatty():
        raise Trouble(f"{question} Nobody can be asked here: say so by --yes")
    try:
        return input(f"{question} [y/N] ").strip().lower() in ("y", "yes")
    except EOFError:
        return False


def invoke(client: Client, element: Element, method: str, **parameters) -> int:
    """Calls a method of the element; returns what the array's library answers, 0 for done."""
    privilege = f"{element.path.classname}.{method}".lower()
    given = list(parameters.items())
    return client.ask("InvokeMethod", method, element.path, given, privilege=privilege)[0]


def told(element: Element, code: int, done: str) -> int:
    """Says what came of an action; returns the exit status."""
    if code == 0:
        print(f"{element.name}: {done}")
        return DONE
    print(
        f"qbx-enclosure: {element.name}: not done, the array's library answers code {code}; "
        "the log of the module says more",
        file=sys.stderr,
    )
    return NOT_DONE


def not_done() -> int:
    print("nothing done")
    return NOT_DONE


def locate(client: Client, given: argparse.Namespace, well: set[int]) -> int:
    element = find(client, given.name, well, "cage", "magazine", "card")
    parameters = {"LocateTimer": pywbem.Uint16(given.seconds)}
    if element.kind == "card" and given.port is None:
        raise Trouble(f"{element.name} is a card: --port N says which of its ports to light")
    if element.kind != "card" and given.port is not None:
        raise Trouble(f"{element.name} is a {element.kind}: it has no --port")
    if given.port is not None:
        parameters["Port"] = pywbem.Uint16(given.port)
    code = invoke(client, element, "Locate", **parameters)
    return told(element, code, f"locator on for {given.seconds} s" if given.seconds else "locator off")


def loop(client: Client, given: argparse.Namespace, well: set[int]) -> int:
    magazine = find(client, given.magazine, well, "magazine")
    loops = f"loop {given.loop}" if given.loop else "both loops"
    if given.state == "off":
        question = f"Take {magazine.name} off {loops}?"
        others = [each for each in "AB" if given.loop and each != given.loop]
        if not any(magazine.get(f"StateOnLoop{each}") in well for each in others):
            question += " Its drives are then on no loop that works."
        if not confirmed(question, given.yes):
            return not_done()
    parameters = {"IsOnloop": given.state == "on"}
    if given.loop:
        parameters["IsPortA"] = given.loop == "A"
    code = invoke(client, magazine, "SetLoopState", **parameters)
    return told(magazine, code, f"{given.state} {loops}")


def versions(client: Client, cage: Element) -> str:
    """The firmware of the cage, or where cages have none, of its cards."""
    found = [client.ask("GetInstance", cage.path, LocalOnly=False)]
    if not found[0].get("FirmwareVersion"):
        found = client.ask("Associators", cage.path, AssocClass=HOLDING["card"][0])
    listed = {clean(each.get("FirmwareVersion")) for each in found if each.get("FirmwareVersion")}
    return " and ".join(sorted(listed)) or "not reported"


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


def upgrade(client: Client, given: argparse.Namespace, well: set[int]) -> int:
    cage = find(client, given.cage, well, "cage")
    before = versions(client, cage)
    file = clean(given.file)
    if not confirmed(f"Load {file} into {cage.name} (firmware {before})?", given.yes):
        return not_done()
    with running(f"{cage.name}: loading {file} through port {given.port}"):
        port = given.port == "A"
        code = invoke(client, cage, "Upgrade", FileName=given.file, IsPortA=port)
    after = versions(client, cage) if code == 0 else before
    return told(cage, code, f"firmware was {before}, is {after}")


def relocate(client: Client, given: argparse.Namespace, well: set[int]) -> int:
    cage = find(client, given.cage, well, "cage")
    properties = {"Location": given.location}
    instance = pywbem.CIMInstance(cage.path.classname, properties, path=cage.path)
    privilege = f"{cage.path.classname}.modifyinstance".lower()
    client.ask("ModifyInstance", instance, PropertyList=["Location"], privilege=privilege)
    return told(cage, 0, f"location was {cage.get('Location') or 'empty'}, is {clean(given.location)}")


ACTIONS = {"locate": locate, "loop": loop, "upgrade": upgrade, "relocate": relocate}
