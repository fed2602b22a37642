"""The files of one version of a module."""

from __future__ import annotations

import collections
import json
import pathlib
from typing import Any

from .common import NAMESPACE, CommandError, library_of, module_of
from .registration import Registration, property_values, shape
from .server import Server


def read_manifest(file: pathlib.Path) -> dict[str, Any]:
    """Raises CommandError when the file is no manifest."""
    wanted = {"name", "version", "mof", "registration", "classes", "looked_up", "needs_system"}
    try:
        content = json.loads(file.read_text())
        if not isinstance(content, dict) or not wanted <= set(content):
            raise ValueError("it is the manifest of nothing")
    except (OSError, ValueError) as error:
        remedy = "qbx_add_manifest() of the toolkit writes one when the module is configured: Toolkit.md."
        raise CommandError("read the manifest", f"{file}: {error}", remedy) from None
    return content


class Payload:
    """The library, the MOF files, and the manifest, which says what those declare.

    name: of the module; superclasses: of its classes, in the order of their definition; served: those that the
    module serves; looked_up: those that it finds in the namespace, where others serve them;
    needs_system: those that can only be queried where there is a storage system; bases: classes of
    the DMTF schema or of other modules that these derive from.
    """

    def __init__(self, manifest: pathlib.Path, libraries: list[pathlib.Path]):
        """`libraries`: where the library may be; the first folder that has it is taken."""
        content = read_manifest(manifest)
        self.manifest, self.folder = manifest, manifest.parent
        self.name: str = content["name"]
        self.version: str = content["version"]
        files = [folder / library_of(self.name) for folder in libraries]
        self.library = next(filter(pathlib.Path.is_file, files), files[0])
        self.classes_mof = self.folder / content["mof"]
        self.registration_mof = self.folder / content["registration"]
        for path in (self.library, self.classes_mof, self.registration_mof):
            if not path.is_file():
                raise CommandError("find the module's files", f"no {path}", "Build or install it again.")
        self.superclasses: dict[str, str] = content["classes"]
        self.looked_up: list[str] = content["looked_up"]
        self.needs_system: list[str] = content["needs_system"]
        self.served = [name for name in self.superclasses if name not in self.looked_up]
        self.bases = set(self.superclasses.values()) - set(self.superclasses)

    def class_differences(self, server: Server, there: set[str]) -> dict[str, str]:
        """The classes that the namespace does not have ("") or that differ there (in which of their
        parts); `there`: all that it has."""
        result = {name: "" for name in self.superclasses if name not in there}
        if not self.bases <= there:
            return result  # the server cannot compile the classes to compare them
        for name, wanted in self.declared_classes(server).items():
            found = shape(server.get_class(name)) if name in there else wanted
            if found != wanted:
                parts = {part[1][0] for part in set(found[3]) ^ set(wanted[3])}
                result[name] = ", ".join(sorted(parts)) or "superclass"
        return result

    def declared_classes(self, server: Server) -> dict[str, tuple]:
        """The shapes of the classes in the MOF. Raises CommandError when the manifest has others."""
        compiled = server.compiled(NAMESPACE, self.classes_mof)
        shapes = {item.get("NAME", ""): shape(item) for item in compiled.iter("CLASS")}
        declared = {name: wanted[1][1] for name, wanted in shapes.items()}
        wrong = sorted({name for name, _ in declared.items() ^ self.superclasses.items()})
        if wrong:
            reason = f"{self.classes_mof} declares {', '.join(wrong)} otherwise, or not"
            raise CommandError(f"compare {self.manifest}", reason, "Mend CLASSES of qbx_add_manifest().")
        return shapes

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
        result = Registration(module_of(self.name), found.__getitem__)
        if result.module.get("Location") != self.name:
            reason = f"no module {module_of(self.name)} with the Location {self.name}"
            raise CommandError(f"read {self.registration_mof}", reason, "Mend the names there.")
        return result
