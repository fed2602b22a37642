"""What this program has done to a server for a module, kept on disk."""

from __future__ import annotations

import contextlib
import json
import pathlib
import shutil
from typing import Any

from .common import MANIFEST, SYSTEM_INSTANCES, CommandError
from .payload import Payload

Entries = dict[str, Any]


class Record:
    """The file record.json in a folder of the module's name, and beside it a copy of its files.

    entries: none when nothing is installed, or else
      version    what is installed; absent during a first installation
      files      folder of the copies
      begun      the command that was begun and has not finished: "install 1.0.0" or "remove"
      digest     of the library
      classes    that this program defined for this module or another one, bases first
      instances  the classes whose instances it loaded
      schema     whether it loaded the DMTF schema, which alone can be left after a removal
    """

    def __init__(self, folder: pathlib.Path):
        self.folder = folder
        self.file = folder / "record.json"
        try:
            self.entries: Entries = json.loads(self.file.read_text()) if self.file.is_file() else {}
        except ValueError as error:
            raise CommandError("read the record", f"{self.file}: {error}", "Restore the file.") from None

    @property
    def copies(self) -> pathlib.Path:
        return self.folder / self.entries.get("files", "files")

    @property
    def instances(self) -> pathlib.Path:
        """The copy of the file with the instances of the storage system."""
        return self.copies / SYSTEM_INSTANCES

    def installed(self) -> Payload | None:
        """The installed version; None when there is none, or not yet."""
        copies = self.copies
        return Payload(copies / MANIFEST, [copies]) if "version" in self.entries else None

    def others(self) -> list[Record]:
        """What was done to the server for other modules."""
        files = sorted(self.folder.parent.glob("*/record.json"))
        return [Record(file.parent) for file in files if file != self.file]

    def write(self, entries: Entries) -> None:
        """Replaces the record, at once; without entries nothing of it is left."""
        self.entries = entries
        if not entries:
            shutil.rmtree(self.folder, ignore_errors=True)
            with contextlib.suppress(OSError):  # others are in it
                self.folder.parent.rmdir()
            return
        self.folder.mkdir(mode=0o755, parents=True, exist_ok=True)
        part = self.file.with_suffix(".new")
        part.write_text(json.dumps(entries, indent=1) + "\n")
        part.replace(self.file)

    def keep(self, payload: Payload, instances: pathlib.Path | None, entries: Entries) -> None:
        """Records a finished installation, with copies of its files. The copies from before stay
        in their folder until the record names the new one."""
        old = self.copies
        new = self.folder / ("files-2" if old.name == "files-1" else "files-1")
        shutil.rmtree(new, ignore_errors=True)
        new.mkdir()
        shutil.copy(payload.manifest, new / MANIFEST)
        for path in (payload.library, *payload.folder.glob("*.mof")):
            shutil.copy(path, new)
        instances = instances or (self.instances if self.instances.exists() else None)
        if instances:
            shutil.copy(instances, new / SYSTEM_INSTANCES)
        self.write({**entries, "files": new.name})
        shutil.rmtree(old, ignore_errors=True)
