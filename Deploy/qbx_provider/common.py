"""Names that several modules of this package use, and the failure that ends a command."""

import hashlib
import pathlib

NAMESPACE = "root/qbx"
MODULE = "QBX_DriveCageProviderModule"
LIBRARY = "libQBX_DriveCageProvider.so"
ARRAY_LIBRARY = "libqbxapi.so"
SYSTEM_INSTANCES = "system-instances.mof"  # in the package, and in the record's copies


class CommandError(Exception):
    """Why a command ends: the step that failed, the reason, and the remedy in a line of its own."""

    def __init__(self, step: str, reason: str, remedy: str):
        super().__init__(f"{step}: {reason.strip()}\n  {remedy}")


def say(text: str) -> None:
    print(text, flush=True)


def digest(path: pathlib.Path) -> str:
    """The SHA-256 of a file's contents; empty when there is no such file."""
    return hashlib.sha256(path.read_bytes()).hexdigest() if path.is_file() else ""
