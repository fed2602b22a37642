"""The files of one version of the module."""

from __future__ import annotations

import collections
import json
import pathlib
from typing import Any

from .common import NAMESPACE, CommandError
from .registration import Registration, property_values, shape
from .server import Server


class Payload:
    """The library, the MOF files, and the manifest, which says what those declare.

    superclasses: of the module's classes, in the order of their definition; served: those that the
    module serves; looked_up: those that it finds in the namespace, where others serve them;
    dmtf_classes: classes of the DMTF schema that these derive from.
    """

    def __init__(self, library: pathlib.Path, schema: pathlib.Path):
        self.library, self.schema = library, schema
        self.classes_mof = schema / "qbx_classes.mof"
        self.registration_mof = schema / "registration.mof"
        manifest_file = schema / "manifest.json"
        for path in (library, self.classes_mof, self.registration_mof, manifest_file):
            if not path.is_file():
                raise CommandError("find the module's files", f"no {path}", "Install the package again.")
        manifest = json.loads(manifest_file.read_text())
        self.version: str = manifest["version"]
        self.superclasses: dict[str, str] = manifest["classes"]
        self.looked_up: list[str] = manifest["looked_up"]
        self.served = [name for name in self.superclasses if name not in self.looked_up]
        self.dmtf_classes = set(self.superclasses.values()) - set(self.superclasses)

    def class_differences(self, server: Server, there: set[str]) -> dict[str, str]:
        """The classes that the namespace does not have ("") or that differ there (in which of their
        parts); `there`: all that it has."""
        result = {name: "" for name in self.superclasses if name not in there}
        if not self.dmtf_classes <= there:
            return result  # the server cannot compile the classes to compare them
        for item in server.compiled(NAMESPACE, self.classes_mof):
            for wanted in map(shape, item.iter("CLASS")):
                name = wanted[1][0]
                found = shape(server.get_class(name)) if name in there else wanted
                if found != wanted:
                    parts = {part[1][0] for part in set(found[3]) ^ set(wanted[3])}
                    result[name] = ", ".join(sorted(parts)) or "superclass"
        return result

    def with_subclasses(self, names: set[str]) -> set[str]:
        """These classes and those that derive from them: they cannot be replaced without."""
        result = set(names)
        for name, superclass in self.superclasses.items():
            if superclass in result:
                result.add(name)
        return result

    def registration(self, server: Server) -> Registration:
        """The registration that this version wants."""
        found: dict[str, list[dict[str, Any]]] = collections.defaultdict(list)
        for item in server.compiled(server.interop, self.registration_mof).iter("INSTANCE"):
            found[item.get("CLASSNAME", "")].append(property_values(item))
        return Registration(found.__getitem__)
