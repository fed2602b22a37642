"""How a module is registered with the server, or wants to be; CIM elements in XML, to compare."""

from __future__ import annotations

import xml.etree.ElementTree as ET
from collections.abc import Callable
from typing import Any

from .common import NAMESPACE


def property_values(instance: ET.Element) -> dict[str, Any]:
    """The properties of an instance: texts, and tuples of texts."""
    values: dict[str, Any] = {}
    for item in instance:
        texts = tuple((value.text or "").strip() for value in item.iter("VALUE"))
        values[item.get("NAME", "")] = texts if item.tag.endswith(".ARRAY") else "".join(texts)
    return values


def shape(item: ET.Element) -> tuple:
    """A class or a part of it, comparable: without the order of its parts, flavors and origin."""
    marks = ("NAME", "SUPERCLASS", "TYPE", "REFERENCECLASS", "ARRAYSIZE")
    named = tuple(item.get(mark, "") for mark in marks)
    return (item.tag, named, " ".join((item.text or "").split()), tuple(sorted(map(shape, item))))


class Registration:
    """The module's registration: its properties, its providers and what they serve.

    module: the properties of its PG_ProviderModule, empty when it is not registered; group: of
    which modules share a process; status: "OK", "stopped" or a number; by_others: classes of the
    namespace that other modules serve, with the module's name.
    """

    def __init__(self, module: str, instances: Callable[[str], list[dict[str, Any]]]):
        """`module`: its name; `instances` returns those of a class of the interop namespace."""
        self.module: dict[str, Any] = {}
        self.parts: set[tuple] = set()  # providers (name), capabilities (class, provider, ...)
        self.by_others: dict[str, str] = {}
        for item in instances("PG_ProviderModule"):
            if item["Name"] == module:
                self.module = item
        for item in instances("PG_Provider"):
            if item["ProviderModuleName"] == module:
                self.parts.add((item["Name"],))
        for item in instances("PG_ProviderCapabilities"):
            if item["ProviderModuleName"] == module:
                names = ("ClassName", "ProviderName", "Namespaces", "ProviderType")
                self.parts.add(tuple(item[name] for name in names))
            elif NAMESPACE in map(str.lower, item["Namespaces"]):
                self.by_others[item["ClassName"]] = item["ProviderModuleName"]
        self.group: str = self.module.get("ModuleGroupName") or ""
        status = self.module.get("OperationalStatus", ())
        self.status = {("2",): "OK", ("10",): "stopped"}.get(status, f"status {status}")

    def differences(self, wanted: Registration) -> list[str]:
        """What of this is not as wanted."""
        if not self.module:
            return ["missing"]
        return [
            f"{name} is {self.module[name]}, expected {wanted.module[name]}"
            for name in ("Version", "InterfaceType", "InterfaceVersion", "Location")
            if self.module[name] != wanted.module[name]
        ] + sorted({f"{part[0]} differs" for part in self.parts ^ wanted.parts})
