"""What must hold before anything is changed. Each check raises CommandError, with the remedy."""

from __future__ import annotations

import fcntl
import os
import pathlib
import re
import shutil

from .common import ARRAY_LIBRARY, NAMESPACE, CommandError, digest
from .payload import Payload
from .record import Record
from .registration import Registration
from .server import Server
from .steps import Target

SCHEMA_BYTES = 64 << 20  # that the DMTF schema takes in the server's repository, and reserve


def lock(target: Target) -> None:
    """Requires the rights to change the server, and that no other qbx-provider changes it until
    this process ends."""
    record = next(folder for folder in target.record.folder.parents if folder.exists())
    for folder in (target.library.parent, record):
        if not os.access(folder, os.W_OK):
            raise CommandError("check the rights", f"{folder} cannot be written", "Run this as root.")
    descriptor = os.open(target.library.parent, os.O_RDONLY)
    try:
        fcntl.flock(descriptor, fcntl.LOCK_EX | fcntl.LOCK_NB)
    except OSError:
        raise CommandError("begin", "another qbx-provider is at work", "Wait for it.") from None


def require_finished_others(record: Record) -> None:
    """No other module is half installed or half removed: who knows what that still takes."""
    for other in record.others():
        if begun := other.entries.get("begun"):
            reason = f"{other.folder.name}: begun, not finished: {begun}"
            remedy = f"Finish that first: qbx-provider {begun.split()[0]} with the manifest of that module."
            raise CommandError("check what is there", reason, remedy)


def require_own_library(target: Target, payload: Payload | None) -> None:
    """The library is of a version that this program placed, or is to place."""
    record, files = target.record, [payload, target.record.installed()]
    known = ["", record.entries.get("digest"), *(digest(each.library) for each in files if each)]
    if digest(target.library) not in known:
        reason = f"somebody else has replaced {target.library} since it was installed"
        raise CommandError("check what is there", reason, "Move that file away, run this again.")


def require_free_names(
    target: Target, served: list[str], registration: Registration, classes: set[str]
) -> None:
    """Nobody else has a registration, a library or classes of the module's names; `served`: the
    classes that it serves; `classes`: those of the namespace."""
    theirs = [name for name in reversed(served) if name in classes]
    for wrong, what, remedy in (
        (registration.module, f"registration of {target.module} is", f"cimprovider -r -m {target.module}"),
        (target.library.exists(), f"{target.library} is", f"rm {target.library}"),
        (theirs, f"{', '.join(theirs)} are", f"cimcli dc -n {NAMESPACE}, in that order"),
    ):
        if wrong:
            reason = f"{what} there already, not by this program"
            raise CommandError("check what is there", reason, f"Remove that first: {remedy}")
    for name in set(served) & set(registration.by_others):
        other = registration.by_others[name]
        remedy = f"Remove that registration first: cimprovider -r -m {other}"
        raise CommandError("check what is there", f"{name} is served by module {other}", remedy)


def require_room(folder: pathlib.Path, size: int) -> None:
    if folder.is_dir() and shutil.disk_usage(folder).free < size:
        reason = f"{folder} has less than {(size >> 20) + 1} MiB left"
        raise CommandError("check the disk", reason, "Make room.")


def require_array_library(server: Server, library: pathlib.Path) -> None:
    if server.array_library(library) == "":
        reason = f"the loader of the running server does not find {ARRAY_LIBRARY}"
        remedy = (
            "Name its folder in /etc/ld.so.conf.d and run ldconfig, or in LD_LIBRARY_PATH "
            "where cimserver is started, and restart the server."
        )
        raise CommandError("check the array's library", reason, remedy)


def schema_to_load(
    target: Target, payload: Payload, classes: set[str], given: str | None
) -> pathlib.Path | None:
    """The folder of the DMTF schema, when the namespace needs it; `given`: by the user."""
    missing = sorted(payload.bases - classes)
    if not missing:
        return None
    if others := [name for name in missing if not name.startswith("CIM_")]:
        reason = f"{NAMESPACE} lacks {', '.join(others)}, which classes of {payload.name} derive from"
        raise CommandError("check the namespace", reason, "Install the module that defines that first.")
    records = [target.record, *target.record.others()]
    if classes and not any(record.entries.get("schema") for record in records):
        reason = f"others use {NAMESPACE}, and it lacks {', '.join(missing)}"
        remedy = "Load the DMTF schema as those others would have it, and run this again."
        raise CommandError("check the namespace", reason, remedy)
    folder = target.server.schema_folder(given)
    lacks = [name for name in missing if not (folder and any(folder.rglob(f"{name}.mof")))]
    if lacks or not folder:
        reason = f"{folder or given or 'the server'} has no {', '.join(lacks)}"
        remedy = "Unpack the DMTF's CIM schema 2.41 (MOF) and name its folder with --schema."
        raise CommandError("find the DMTF schema", reason, remedy)
    require_room(target.server.repository, SCHEMA_BYTES)
    return folder


def instances_to_load(server: Server, payload: Payload, file: pathlib.Path | None) -> list[str]:
    """The classes of the instances that the user's file holds, unless there are some already. The
    server cannot compile the file before it has the classes, so this looks for their names."""
    if not file:
        return []
    text = file.read_text() if file.is_file() else ""
    classes = re.findall(r"^instance of (\w+)", text, re.MULTILINE)
    if not classes or not set(classes) <= set(payload.looked_up):
        remedy = "Take the package's system-instances.mof, with the array's own names."
        raise CommandError("read the instances", f"none of the storage system in {file}", remedy)
    return [] if any(map(server.instance_names, classes)) else classes
