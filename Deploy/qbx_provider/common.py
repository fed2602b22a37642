"""Names that several modules of this package use, and the failure that ends a command."""

import hashlib
import pathlib

NAMESPACE = "root/qbx"
ARRAY_LIBRARY = "libqbxapi.so"
MANIFEST = "manifest.json"  # of a module; in the record's copies, too
SYSTEM_INSTANCES = "system-instances.mof"  # in the package, and in the record's copies


class CommandError(Exception):
    """Why a command ends: the step that failed, the reason, and the remedy in a line of its own."""

    def __init__(self, step: str, reason: str, remedy: str):
        super().__init__(f"{step}: {reason.strip()}\n  {remedy}")


def module_of(name: str) -> str:
    """What a module is called in its registration."""
    return f"{name}Module"


def library_of(name: str) -> str:
    """The file of a module's library."""
    return f"lib{name}.so"


def say(text: str) -> None:
    print(text, flush=True)


def digest(path: pathlib.Path) -> str:
    """The SHA-256 of a file's contents; empty when there is no such file."""
    return hashlib.sha256(path.read_bytes()).hexdigest() if path.is_file() else ""
