"""What can be done to the hardware. Each action checks, asks for a confirmation where it must, reads
back what it has changed, and returns a line for the user: what is."""

import argparse
import contextlib
import sys
import time
from collections.abc import Callable

from rich.progress import Progress, SpinnerColumn, TextColumn, TimeElapsedColumn

from .cimxml import Instance
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
    (code,) = client.request(method, target=element.path, privilege=privilege, **parameters)
    if code != 0:
        reason = f"the array's library returns code {code}; the log of the module says more"
        raise NotDoneError(f"{element.name}: {reason}")


def read_back(client: Client, element: Element, good: Callable[[dict], bool]) -> dict:
    """The element's values after an action, by name in lower case: as soon as they are good, or what
    they are three seconds later. An array may take a moment to show what it did."""
    for pause in (0, 1, 2):
        time.sleep(pause)
        try:
            (found,) = client.request("GetInstance", InstanceName=element.path, LocalOnly=False)
        except EnclosureError as error:
            why = f"the array has accepted it, but what is now cannot be read: {error}"
            raise EnclosureError(f"{element.name}: {why}") from error
        if good(found.values):
            break
    return found.values


def lit(values: dict, port: int | None) -> bool:
    """Whether the locator is on, of a card that of the port."""
    if port is None:
        return values.get("locateon") is True
    loops = [values.get(f"loop{each}locateon") or [] for each in "ab"]
    return any(ports[port : port + 1] == [True] for ports in loops)


def locate(client: Client, given: argparse.Namespace) -> str:
    element = find(client, given.name, "cage", "magazine", "card")
    if element.kind == "card" and given.port is None:
        raise EnclosureError(f"{element.name} is a card: --port N says which of its ports to light")
    if element.kind != "card" and given.port is not None:
        raise EnclosureError(f"{element.name} is a {element.kind}: it has no --port")
    port = {} if given.port is None else {"Port": given.port}
    invoke(client, element, "Locate", LocateTimer=given.seconds, **port)
    values = read_back(client, element, lambda now: lit(now, given.port) == bool(given.seconds))
    if lit(values, given.port) != bool(given.seconds):
        is_now = "is off" if given.seconds else "is on"
        raise NotDoneError(f"{element.name}: the array has accepted it, but the locator {is_now}")
    return f"{element.name}: locator {f'on for {given.seconds} s' if given.seconds else 'off'}"


def loop(client: Client, given: argparse.Namespace) -> str:
    magazine = find(client, given.magazine, "magazine")
    loops = f"loop {given.loop}" if given.loop else "both loops"
    if given.state == "off":
        question = f"Take {magazine.name} off {loops}?"
        others = [each for each in "AB" if given.loop and each != given.loop]
        if not any(magazine.get(f"StateOnLoop{each}") in client.well for each in others):
            question += " Its drives are then on no loop that works."
        confirm(question, given.yes)
    port = {"IsPortA": given.loop == "A"} if given.loop else {}
    invoke(client, magazine, "SetLoopState", IsOnloop=given.state == "on", **port)

    def wrong(values: dict) -> list[str]:
        states = [(each, values.get(f"stateonloop{each.lower()}")) for each in given.loop or "AB"]
        return [f"state {state} on loop {each}" for each, state in states
                if (state in client.well) != (given.state == "on")]  # fmt: skip

    if kept := wrong(read_back(client, magazine, lambda now: not wrong(now))):
        reason = f"but it has {' and '.join(kept)}; --well CODES says which states mean well"
        raise NotDoneError(f"{magazine.name}: the array has accepted {given.state} {loops}, {reason}")
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
    found = client.request("GetInstance", InstanceName=cage.path, LocalOnly=False)
    if not found[0].values.get("firmwareversion"):
        association = HOLDING["card"][0]
        found = client.request("Associators", ObjectName=cage.path, AssocClass=association)
    listed = {clean(each.values.get("firmwareversion") or "") for each in found}
    return " and ".join(sorted(filter(None, listed))) or "not reported"


def upgrade(client: Client, given: argparse.Namespace) -> str:
    cage = find(client, given.cage, "cage")
    before = versions(client, cage)
    confirm(f"Load {clean(given.file)} into {cage.name} (firmware {before})?", given.yes)
    with running(f"{cage.name}: loading firmware through port {given.port}"):
        invoke(client, cage, "Upgrade", FileName=given.file, IsPortA=given.port == "A")
    after = versions(client, cage)
    if after == before:  # which version is in the file, only the array knows
        return f"{cage.name}: the array has taken the file, and its firmware is {after} as before"
    return f"{cage.name}: firmware was {before}, is {after}"


def relocate(client: Client, given: argparse.Namespace) -> str:
    cage = find(client, given.cage, "cage")
    before, name = cage.get("Location") or "empty", cage.path.classname
    changed = Instance(cage.path, {"Location": given.location})
    client.request("ModifyInstance", privilege=f"{name}.modifyinstance".lower(),
                   ModifiedInstance=changed, PropertyList=["Location"])  # fmt: skip

    def is_given(values: dict) -> bool:  # servers strip blanks
        return (values.get("location") or "").strip() == given.location.strip()

    values = read_back(client, cage, is_given)
    after = clean(values.get("location") or "empty")
    if not is_given(values):
        size = len(given.location.encode())
        raise NotDoneError(f"{cage.name}: location is {after}, not the {size} bytes given; 256 are the most")
    return f"{cage.name}: location was {before}, is {after}"


ACTIONS = {"locate": locate, "loop": loop, "upgrade": upgrade, "relocate": relocate}
