"""The changes that a command makes: each step does one, and can undo it."""

from __future__ import annotations

import contextlib
import dataclasses
import pathlib
import shutil
import signal
from collections.abc import Iterator
from typing import ClassVar, NoReturn

from .common import NAMESPACE, CommandError, library_of, module_of, say
from .payload import Payload
from .queries import Client, query_classes
from .record import Entries, Record
from .registration import Registration
from .server import Server, process_file, processes


@dataclasses.dataclass
class Target:
    """A module in a server, by its name, and the record of what was done there for it."""

    server: Server
    name: str
    record: Record

    @property
    def module(self) -> str:
        return module_of(self.name)

    @property
    def library(self) -> pathlib.Path:
        """Where the server loads the module's library from."""
        return self.server.provider_folder / library_of(self.name)

    def registration(self) -> Registration:
        """The module's registration as it is now."""
        return Registration(self.module, self.server.registered)

    def control(self, *arguments: str) -> None:
        """Runs cimprovider for the module: -e starts it, -d stops it, -r removes its registration,
        -g GROUP says in which process it runs."""
        remedy = "Try again when nobody uses the module; look at the server's log."
        step = f"cimprovider {' '.join(arguments)}"
        self.server.check(step, remedy, "cimprovider", *arguments, "-m", self.module)

    def start(self) -> None:
        if self.registration().status != "OK":
            self.control("-e")


@dataclasses.dataclass
class Step:
    """One change. A step that is not needed is left out."""

    target: Target
    needed: bool = dataclasses.field(default=True, kw_only=True)
    can_undo: ClassVar[bool] = True

    @property
    def text(self) -> str:
        """What the step does, for the user."""
        raise NotImplementedError

    def do(self) -> None:
        """Raises CommandError or OSError when it cannot be done."""
        raise NotImplementedError

    def undo(self) -> str | None:
        """Undoes what do() has done, in part or wholly; returns what cannot be undone."""
        raise NotImplementedError


class UndoneError(CommandError):
    """A command has failed after its first change; the text says whether all was undone."""

    def __init__(self, stays: list[str]):
        result = "\n  ".join(["What stays:", *stays]) if stays else "The server is as it was."
        super().__init__("not done", "the reason is above", result)


def run_steps(steps: list[Step], dry_run: bool) -> None:
    """Does the steps that are needed. When one fails or a signal comes, undoes those that were
    begun, the last one first, and raises UndoneError; CommandError, when none was begun that has an undo."""
    begun: list[Step] = []
    with _undoing(begun):
        for step in steps:
            if not step.needed:
                continue
            say(f"{'would ' if dry_run else ''}{step.text}")
            if dry_run:
                continue
            if step.can_undo:
                begun.append(step)
            try:
                step.do()
            except OSError as error:
                raise CommandError(step.text, str(error), "Mend that, and run this again.") from error


@contextlib.contextmanager
def _undoing(begun: list[Step]) -> Iterator[None]:
    def interrupted(number: int, _: object) -> NoReturn:
        raise CommandError("interrupted", signal.Signals(number).name, "Run this again.")

    signals = (signal.SIGINT, signal.SIGTERM, signal.SIGHUP)
    for number in signals:
        signal.signal(number, interrupted)
    try:
        yield
    except Exception as failure:
        for number in signals:
            signal.signal(number, signal.SIG_IGN)
        if not begun:
            raise
        say(f"{failure}\nundoing what was done")
        stays = []
        for step in reversed(begun):
            try:
                if rest := step.undo():
                    stays.append(rest)
            except Exception as error:  # the others are tried all the same
                stays.append(f"'{step.text}' could not be undone: {error}")
        raise UndoneError(stays) from failure


# ---- the record ----


@dataclasses.dataclass
class WriteRecord(Step):
    """The record says what is begun, before anything else is changed."""

    entries: Entries

    def __post_init__(self) -> None:
        self.before = self.target.record.entries

    @property
    def text(self) -> str:
        return f"write {self.target.record.file}"

    def do(self) -> None:
        self.target.record.write(self.entries)

    def undo(self) -> None:
        loaded = {"schema": True} if self.entries.get("schema") else {}  # it stays in any case
        self.target.record.write({**self.before, **loaded})


@dataclasses.dataclass
class KeepFiles(Step):
    """The installation is complete: its record, with copies of the files for the next one."""

    payload: Payload
    instances: pathlib.Path | None
    entries: Entries
    can_undo = False  # the last step

    @property
    def text(self) -> str:
        return f"keep a copy of the files in {self.target.record.folder}"

    def do(self) -> None:
        self.target.record.keep(self.payload, self.instances, self.entries)


@dataclasses.dataclass
class DeleteRecord(Step):
    can_undo = False  # the last step

    @property
    def text(self) -> str:
        return f"delete {self.target.record.folder}"

    def do(self) -> None:
        self.target.record.write({})


# ---- the library ----


def place_library(source: pathlib.Path, library: pathlib.Path) -> None:
    """Never writes into a file that a process may have mapped: a copy takes over its name."""
    part = library.with_suffix(".so.new")
    try:
        shutil.copyfile(source, part)
        part.chmod(0o755)
        part.replace(library)
    finally:
        part.unlink(missing_ok=True)


@dataclasses.dataclass
class PlaceLibrary(Step):
    payload: Payload
    old: Payload | None

    @property
    def text(self) -> str:
        return f"place {self.target.library}"

    def do(self) -> None:
        place_library(self.payload.library, self.target.library)

    def undo(self) -> None:
        if self.old:
            place_library(self.old.library, self.target.library)
        else:
            self.target.library.unlink(missing_ok=True)


@dataclasses.dataclass
class DeleteLibrary(Step):
    old: Payload | None

    @property
    def text(self) -> str:
        return f"delete {self.target.library}"

    def do(self) -> None:
        self.target.library.unlink()

    def undo(self) -> None:
        if self.old:
            place_library(self.old.library, self.target.library)


# ---- the schema ----


def define_classes(server: Server, payload: Payload, replaced: list[str]) -> None:
    """Defines the classes that are not there. Those that are replaced are deleted first."""
    server.delete_classes(replaced)
    remedy = f"Look what others have in {NAMESPACE}."
    server.compile(remedy, NAMESPACE, payload.classes_mof, "-aEV")


def counted(classes: list[str]) -> str:
    return f"{len(classes)} class{'es' * (len(classes) != 1)}"


@dataclasses.dataclass
class LoadSchema(Step):
    """The DMTF schema stays in the namespace: the server cannot delete all its classes."""

    folder: pathlib.Path | None

    @property
    def text(self) -> str:
        return f"load the DMTF schema of {self.folder} into {NAMESPACE} (half a minute)"

    def do(self) -> None:
        assert self.folder
        server = self.target.server
        remedy = (
            "Mend that, and run this again: it goes on where it stopped. If the server cannot, "
            f"because the disk was full: {server.without_namespace()}"
        )
        server.compile(remedy, NAMESPACE, self.folder / "CIM_Schema.mof", "-aE")

    def undo(self) -> str:
        return f"the DMTF schema in {NAMESPACE}"


@dataclasses.dataclass
class DefineClasses(Step):
    """`created`: the classes that this adds or replaces; `replaced`: those that it replaces."""

    payload: Payload
    old: Payload | None
    created: list[str]
    replaced: list[str]

    @property
    def text(self) -> str:
        return f"define {counted(self.created)} in {NAMESPACE}"

    def do(self) -> None:
        self.payload.declared_classes(self.target.server)  # all of them, or none
        define_classes(self.target.server, self.payload, self.replaced)

    def undo(self) -> None:
        server = self.target.server
        if not self.old:
            server.delete_classes(self.created)
        elif differences := self.old.class_differences(server, server.class_names()):
            differ = any(differences.values())  # otherwise they are only missing
            define_classes(server, self.old, self.created if differ else [])


@dataclasses.dataclass
class DeleteClasses(Step):
    old: Payload | None
    classes: list[str]

    @property
    def text(self) -> str:
        return f"delete {counted(self.classes)} from {NAMESPACE}"

    def do(self) -> None:
        self.target.server.delete_classes(self.classes)

    def undo(self) -> None:
        if self.old:
            define_classes(self.target.server, self.old, [])


@dataclasses.dataclass
class LoadInstances(Step):
    """Instances of the storage system: `classes` says of which classes the file holds some."""

    file: pathlib.Path | None
    classes: list[str]

    @property
    def text(self) -> str:
        return f"load {self.file} into {NAMESPACE}"

    def do(self) -> None:
        assert self.file
        remedy = "Compare it with the package's system-instances.mof."
        self.target.server.compile(remedy, NAMESPACE, self.file)

    def undo(self) -> None:
        self.target.server.delete_instances(self.classes)


@dataclasses.dataclass
class DeleteInstances(Step):
    classes: list[str]

    @property
    def text(self) -> str:
        return f"delete the instances of {', '.join(self.classes)}"

    def do(self) -> None:
        self.target.server.delete_instances(self.classes)

    def undo(self) -> None:
        LoadInstances(self.target, self.target.record.instances, self.classes).do()


# ---- the registration ----


def register(target: Target, payload: Payload | None, group: str) -> None:
    """Registers the module anew; without payload only removes its registration."""
    if target.registration().module:
        target.control("-r")
    if payload:
        remedy = "Look at cimprovider -l -s, and at the server's log."
        target.server.compile(remedy, target.server.interop, payload.registration_mof)
        if group:
            target.control("-g", group)


@dataclasses.dataclass
class RegisterModule(Step):
    """Registers a version in place of the old one, whose group was `old_group`."""

    payload: Payload
    group: str
    old: Payload | None
    old_group: str

    @property
    def text(self) -> str:
        return f"register {self.target.module} in {self.target.server.interop}"

    def do(self) -> None:
        register(self.target, self.payload, self.group)

    def undo(self) -> None:
        register(self.target, self.old, self.old_group)


@dataclasses.dataclass
class Unregister(Step):
    old: Payload | None
    old_group: str

    @property
    def text(self) -> str:
        return f"remove the registration of {self.target.module}"

    def do(self) -> None:
        self.target.control("-r")

    def undo(self) -> None:
        register(self.target, self.old, self.old_group)


@dataclasses.dataclass
class SetProcess(Step):
    """Moves the module into the server's process (group CIMServer) or one of its own (none)."""

    group: str
    old_group: str

    @property
    def text(self) -> str:
        return f"run it in {'the server' if self.group else 'a process of its own'}"

    def do(self) -> None:
        self.target.control("-g", self.group)

    def undo(self) -> None:
        self.target.control("-g", self.old_group)


@dataclasses.dataclass
class StopModule(Step):
    """Stops the module, so that the server loads the new library at the next request."""

    text = "stop the module"

    def do(self) -> None:
        self.target.control("-d")

    def undo(self) -> None:
        self.target.start()


@dataclasses.dataclass
class StartModule(Step):
    text = "start the module"
    can_undo = False  # a module that was stopped is started by StopModule's undo

    def do(self) -> None:
        self.target.start()


# ---- the check at the end ----


def require_present_library(target: Target) -> None:
    """No process must run a library that was replaced."""
    in_server = target.registration().group == "CIMServer"
    for pid in [target.server.process] if in_server else processes("cimprovagt"):
        if f"{target.library} (deleted)" in process_file(pid, "maps"):
            reason = f"process {pid} still runs the one that was replaced"
            raise CommandError("look which library runs", reason, "Restart the server.")


@dataclasses.dataclass
class QueryClasses(Step):
    payload: Payload
    client: Client
    can_undo = False  # nothing is changed

    @property
    def text(self) -> str:
        return f"query every class as {self.client.user}"

    def do(self) -> None:
        query_classes(self.target.server, self.payload, self.client)
        require_present_library(self.target)
