"""The commands: install, remove, check."""

from __future__ import annotations

import dataclasses
import pathlib

from . import checks
from .common import NAMESPACE, digest, say
from .payload import Payload
from .queries import Client, query_classes
from .record import Entries, Record
from .registration import Registration
from .server import Server
from .steps import (
    DefineClasses,
    DeleteClasses,
    DeleteInstances,
    DeleteLibrary,
    DeleteRecord,
    KeepFiles,
    LoadInstances,
    LoadSchema,
    PlaceLibrary,
    QueryClasses,
    RegisterModule,
    SetProcess,
    StartModule,
    StopModule,
    Target,
    Unregister,
    WriteRecord,
    require_present_library,
    run_steps,
)

GROUPS = {"server": "CIMServer", "own": ""}  # by --process


@dataclasses.dataclass
class Options:
    """What the user may choose about an installation: as the command line says it."""

    schema: str | None = None  # folder of the DMTF schema
    system_instances: pathlib.Path | None = None
    process: str | None = None  # a key of GROUPS


def open_target(server: Server, name: str) -> Target:
    """The module of that name in the server, whether it is there or not."""
    folder = (server.home or pathlib.Path("/var/lib")) / "qbx-provider"
    return Target(server, name, Record(folder / name))


def shared_classes(record: Record) -> set[str]:
    """The classes that this program has defined for other modules."""
    return {name for other in record.others() for name in other.entries.get("classes", [])}


# ---- install ----


@dataclasses.dataclass
class Plan:
    """What differs from the version that is wanted."""

    registered: Registration  # as it is
    schema: pathlib.Path | None  # folder of the DMTF schema that is to be loaded
    instances: list[str]  # classes whose instances are to be loaded
    foreign: list[str]  # classes that differ and stay, because others have defined them
    created: list[str]  # classes to define, those that are replaced too
    replaced: list[str]
    defined: list[str]  # all classes that are then this program's
    place: bool  # the library
    register: bool
    group: str  # the process that the module is to run in

    @property
    def define(self) -> bool:
        return bool(self.created or self.replaced)

    @property
    def change(self) -> bool:
        """Whether the module must start anew. It remembers the storage system, so that this holds
        for instances of that, too."""
        return bool(self.schema or self.define or self.instances or self.place or self.register)

    @property
    def stop(self) -> bool:
        return self.change and bool(self.registered.module) and self.registered.status != "stopped"

    @property
    def move(self) -> bool:
        """Into another process; where it is registered anew, that is part of it."""
        return self.group != self.registered.group and not self.register

    @property
    def start(self) -> bool:
        return not self.register and (self.change or self.registered.status != "OK")


def make_plan(target: Target, payload: Payload, options: Options) -> Plan:
    """Checks what must hold for an installation, and compares."""
    server, entries = target.server, target.record.entries
    registered, there = target.registration(), server.class_names()
    checks.require_finished_others(target.record)
    if "classes" in entries:
        checks.require_own_library(target, payload)
    else:
        checks.require_free_names(target, payload.served, registered, there)
    checks.require_array_library(server, payload.library)
    checks.require_room(target.library.parent, 4 * payload.library.stat().st_size)

    owned = entries.get("classes", [])
    shared = shared_classes(target.record)
    own = [name for name in owned if name not in shared]
    differing = payload.with_subclasses(set(payload.class_differences(server, there)))
    foreign = (differing & there) - set(own)
    return Plan(
        registered=registered,
        schema=checks.schema_to_load(target, payload, there, options.schema),
        instances=checks.instances_to_load(server, payload, options.system_instances),
        foreign=sorted(foreign),
        created=[name for name in payload.superclasses if name in differing - foreign],
        replaced=[name for name in own if name in differing or name not in payload.superclasses],
        defined=[name for name in payload.superclasses if name not in there - {*owned, *shared}],
        place=digest(target.library) != digest(payload.library),
        register=bool(registered.differences(payload.registration(server))),
        group=GROUPS.get(options.process or "", registered.group),
    )


def install(
    target: Target, payload: Payload, options: Options, client: Client, dry_run: bool
) -> None:
    """Makes the server have this version of the module: what differs is changed, or nothing."""
    checks.lock(target)
    plan = make_plan(target, payload, options)
    client.check_login()
    if plan.foreign:
        say(f"stay as others have them: {', '.join(plan.foreign)}")

    before, old = target.record.entries, target.record.installed()
    entries: Entries = {
        "digest": digest(payload.library),
        "classes": plan.defined,
        "instances": [*before.get("instances", []), *plan.instances],
        "schema": bool(plan.schema) or before.get("schema", False),
    }
    old_entries: Entries = {name: before[name] for name in ("version", "files") if name in before}
    begun: Entries = {**old_entries, **entries, "begun": f"install {payload.version}"}
    done = {"version": payload.version, **entries}
    was_group, file = plan.registered.group, options.system_instances
    run_steps(
        [
            WriteRecord(target, begun, needed=plan.change),
            LoadSchema(target, plan.schema, needed=bool(plan.schema)),
            StopModule(target, needed=plan.stop),
            PlaceLibrary(target, payload, old, needed=plan.place),
            DefineClasses(target, payload, old, plan.created, plan.replaced, needed=plan.define),
            LoadInstances(target, file, plan.instances, needed=bool(plan.instances)),
            RegisterModule(target, payload, plan.group, old, was_group, needed=plan.register),
            SetProcess(target, plan.group, was_group, needed=plan.move),
            StartModule(target, needed=plan.start),
            QueryClasses(target, payload, client),
            KeepFiles(target, payload, file, done, needed=done != without_files(before)),
        ],
        dry_run,
    )
    say("nothing was changed" if dry_run else f"installed: {payload.name} {payload.version}")


def without_files(entries: Entries) -> Entries:
    return {name: value for name, value in entries.items() if name != "files"}


# ---- remove ----


def remove(target: Target, dry_run: bool) -> None:
    """Undoes what install did. Classes that other modules of this program have, too, stay."""
    server, record, entries = target.server, target.record, target.record.entries
    registered, there = target.registration(), server.class_names()
    if "classes" not in entries:
        checks.require_free_names(target, [], registered, there)
        say("nothing to do: it is not installed")
        return
    checks.require_own_library(target, None)
    checks.lock(target)
    old = record.installed()
    classes = [name for name in entries["classes"] if name in there - shared_classes(record)]
    instances = entries.get("instances", [])
    run_steps(
        [
            WriteRecord(target, {**entries, "begun": "remove"}),
            Unregister(target, old, registered.group, needed=bool(registered.module)),
            DeleteInstances(target, instances, needed=bool(instances)),
            DeleteClasses(target, old, classes, needed=bool(classes)),
            DeleteLibrary(target, old, needed=target.library.exists()),
            DeleteRecord(target),
        ],
        dry_run,
    )
    others = record.others()
    if entries.get("schema") and others and not dry_run:
        others[0].write({**others[0].entries, "schema": True})  # for when that is removed
    elif entries.get("schema"):
        say(
            f"The DMTF schema stays in {NAMESPACE}: the server cannot delete all its classes."
            f" If nobody else uses it: {server.without_namespace()}"
        )
    say("nothing was changed" if dry_run else f"removed: {target.name}")


# ---- check ----


def check(target: Target, payload: Payload, client: Client) -> bool:
    """Prints what is there and what differs from this version; whether nothing differs."""
    server, entries, differs = target.server, target.record.entries, []

    def line(what: str, difference: str, good: str = "as in this version") -> None:
        say(f"{what + ':':<18}{difference or good}")
        if difference:
            differs.append(what)

    line("this version", "", f"{payload.name} {payload.version}")
    line("server", "", f"OpenPegasus {server.version}, process {server.process}")
    line("installed", installation_fault(entries), f"version {entries.get('version')}")
    state = f"{target.library} is {'another file' if target.library.exists() else 'missing'}"
    line("library", state if digest(target.library) != digest(payload.library) else "")
    array = server.array_library(payload.library)
    simulated = array and b"qbxsim_loadFile" in pathlib.Path(array).read_bytes()
    good = (array or "not known") + (", a SIMULATED array" if simulated else "")
    line("array's library", "not found by the server's loader" if array == "" else "", good)
    line("classes", class_faults(payload.class_differences(server, server.class_names()), payload))
    registered = target.registration()
    line("registration", "; ".join(registered.differences(payload.registration(server))))
    if registered.module:
        status = registered.status
        line("module", "" if status == "OK" else status, "OK")
        line("runs in", "", "the server" if registered.group else "a process of its own")
        if status == "OK":
            client.check_login()
            say("queries:")
            query_classes(server, payload, client)
            require_present_library(target)
    return not differs


def installation_fault(entries: Entries) -> str:
    """What is wrong with the record; empty when it is of a finished installation."""
    if begun := entries.get("begun"):
        again = f"run qbx-provider {begun.split()[0]} again, which goes on where that one stopped"
        return f"begun, not finished: {begun}; {again}"
    return "" if "version" in entries else "not by qbx-provider"


def class_faults(differences: dict[str, str], payload: Payload) -> str:
    """What differs in the namespace's classes; empty when nothing does."""
    missing = [name for name, parts in differences.items() if not parts]
    if missing == list(payload.superclasses):
        return "missing"
    faults = [f"{name} differs in {parts}" for name, parts in differences.items() if parts]
    return "; ".join(faults + ([f"missing: {', '.join(missing)}"] if missing else []))
