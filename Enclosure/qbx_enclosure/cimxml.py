"""CIM-XML messages, as much of them as this program needs: requests, and what responses hold, as
Python's own values."""

import re
import urllib.parse
from collections.abc import Callable
from typing import Any, NamedTuple
from xml.etree import ElementTree
from xml.sax.saxutils import escape, quoteattr

from .transport import ReplyError

MOST_MARKS = 5_000_000  # "<" and "=" of a response, which bound its memory; good 64 MB have fewer
# What the return value of an operation consists of.
RETURNED = {
    "EnumerateInstances": "VALUE.NAMEDINSTANCE",
    "EnumerateInstanceNames": "INSTANCENAME",
    "EnumerateClasses": "CLASS",
    "GetClass": "CLASS",
    "GetInstance": "INSTANCE",
    "Associators": "VALUE.OBJECTWITHPATH",
    "ModifyInstance": "nothing",
}
MESSAGE = """<?xml version="1.0" encoding="utf-8"?>
<CIM CIMVERSION="2.0" DTDVERSION="2.0"><MESSAGE ID="1" PROTOCOLVERSION="1.0"><SIMPLEREQ>\
{}</SIMPLEREQ></MESSAGE></CIM>"""
BOOLEANS = {"TRUE": True, "FALSE": False}
NUMBER = re.compile("[+-]?([0-9]{1,20}|0[xX][0-9A-Fa-f]{1,16})")
NUMBERS = {f"uint{bits}": range(1 << bits) for bits in (8, 16, 32, 64)}
NUMBERS |= {f"sint{bits}": range(-1 << bits - 1, 1 << bits - 1) for bits in (8, 16, 32, 64)}
PARAMETER_TYPES = {bool: "boolean", int: "uint16", str: "string"}
QUOTED = str.maketrans({'"': r"\"", "\\": r"\\"})
HEADER_SAFE = "".join(map(chr, range(0x20, 0x7F))).replace("%", "")


class CimError(Exception):
    """What a server gives instead of a result: a status code and a text."""

    def __init__(self, code: int, text: str):
        super().__init__(text)
        self.code = code


class Path(NamedTuple):
    """What names an instance: its class and keys, these as (name, VALUETYPE, text or Path). Host and
    namespace are left out."""

    classname: str
    keys: tuple

    def identity(self) -> tuple:
        """The path in a form to compare: the case of names and the order of keys do not count."""
        keys = ((name.lower(), each) for name, _, each in self.keys)
        plain = ((name, each.identity() if isinstance(each, Path) else each) for name, each in keys)
        return (self.classname.lower(), *sorted(plain, key=lambda key: key[0]))

    def key(self, name: str) -> Any:
        """The key of this name, None when there is none."""
        return next((each for key, _, each in self.keys if key.lower() == name.lower()), None)


class Instance(NamedTuple):
    """An instance: values by name in lower case."""

    path: Path
    values: dict[str, Any]


# ---- Requests ----


def named(tag: str, name: str, content: str, **attributes: str) -> str:
    """An element with a NAME."""
    more = "".join(f" {each}={quoteattr(text)}" for each, text in attributes.items())
    return f"<{tag} NAME={quoteattr(name)}{more}>{content}</{tag}>"


def value(given: object) -> str:
    """A VALUE, or of a list a VALUE.ARRAY."""
    if isinstance(given, list):
        return f"<VALUE.ARRAY>{''.join(map(value, given))}</VALUE.ARRAY>"
    text = str(given).upper() if isinstance(given, bool) else str(given)
    return f"<VALUE>{escape(text, {chr(13): '&#13;'})}</VALUE>"


def instance_name(path: Path) -> str:
    """An INSTANCENAME."""
    keys = ((name, f"<KEYVALUE VALUETYPE={quoteattr(kind)}>{escape(str(key))}</KEYVALUE>")
            for name, kind, key in path.keys)  # fmt: skip
    content = "".join(named("KEYBINDING", *key) for key in keys)
    return f"<INSTANCENAME CLASSNAME={quoteattr(path.classname)}>{content}</INSTANCENAME>"


def argument(name: str, given: object) -> str:
    """What an IPARAMVALUE holds."""
    if isinstance(given, Instance):
        texts = "".join(named("PROPERTY", key, value(text), TYPE="string") for key, text in given.values.items())
        instance = f"<INSTANCE CLASSNAME={quoteattr(given.path.classname)}>{texts}</INSTANCE>"
        return f"<VALUE.NAMEDINSTANCE>{instance_name(given.path)}{instance}</VALUE.NAMEDINSTANCE>"
    if isinstance(given, Path):
        return instance_name(given)
    if name in ("ClassName", "AssocClass"):
        return f"<CLASSNAME NAME={quoteattr(str(given))}/>"
    return value(given)


def request(namespace: str, operation: str, target: Path | None, arguments: dict) -> tuple[dict, bytes]:
    """The header fields and the body of a request: for an operation, or for the method of this name
    when there is a target."""
    levels = "".join(named("NAMESPACE", each, "") for each in namespace.split("/"))
    local = f"<LOCALNAMESPACEPATH>{levels}</LOCALNAMESPACEPATH>"
    if target:
        local = f"<LOCALINSTANCEPATH>{local}{instance_name(target)}</LOCALINSTANCEPATH>"
        given = [named("PARAMVALUE", name, value(each), PARAMTYPE=PARAMETER_TYPES[type(each)])
                 for name, each in arguments.items()]  # fmt: skip
        keys = (f'{name}="{str(key).translate(QUOTED)}"' for name, _, key in target.keys)
        call, place = "METHODCALL", f"{namespace}:{target.classname}.{','.join(keys)}"
    else:
        given = [named("IPARAMVALUE", name, argument(name, each)) for name, each in arguments.items()]
        call, place = "IMETHODCALL", namespace
    names = {"CIMMethod": operation, "CIMObject": place}
    fields = {name: urllib.parse.quote(text, HEADER_SAFE) for name, text in names.items()}
    body = MESSAGE.format(named(call, operation, local + "".join(given)))
    return {"CIMOperation": "MethodCall", **fields}, body.encode()


# ---- Responses ----


def attribute(element: ElementTree.Element, name: str = "NAME") -> str:
    found = element.get(name)
    if found is None:
        raise ReplyError(f"{element.tag} without {name} in the response")
    return found


def child(element: ElementTree.Element, path: str) -> ElementTree.Element:
    found = element.find(path)
    if found is None:
        raise ReplyError(f"{element.tag} without {path.removeprefix('.//')} in the response")
    return found


def scalar(text: str, kind: str) -> Any:
    """A value of a CIM type."""
    if kind == "boolean":
        if text.strip().upper() in BOOLEANS:
            return BOOLEANS[text.strip().upper()]
    elif kind not in NUMBERS:
        return text
    elif NUMBER.fullmatch(text.strip()):
        number = int(text, 16 if "x" in text.lower() else 10)
        if number in NUMBERS[kind]:
            return number
    raise ReplyError(f"{text[:40]!r} is no {kind}")


def path_of(element: ElementTree.Element, *, end: bool = False) -> Path:
    """The path of an INSTANCENAME; `end`: that of an association's end, which has no ends itself."""
    keys: list[tuple[str, str, str | Path]] = []
    for binding in element.findall("KEYBINDING"):
        held = binding.find("KEYVALUE")
        if held is not None:
            keys.append((attribute(binding), held.get("VALUETYPE", "string"), held.text or ""))
        elif not end:
            keys.append((attribute(binding), "", path_of(child(binding, ".//INSTANCENAME"), end=True)))
    return Path(attribute(element, "CLASSNAME"), tuple(keys))


def held_by(element: ElementTree.Element) -> Any:
    """The value of a property or a qualifier; None when it is null."""
    kind = element.get("TYPE", "string")
    for each in element:
        if each.tag == "VALUE":
            return scalar(each.text or "", kind)
        if each.tag == "VALUE.ARRAY":
            return [scalar(one.text or "", kind) if one.tag == "VALUE" else None for one in each]
    return None


def instance_of(element: ElementTree.Element) -> Instance:
    """The instance of an INSTANCE, a VALUE.NAMEDINSTANCE or a VALUE.OBJECTWITHPATH."""
    path, inner = Path("", ()), element
    if element.tag != "INSTANCE":
        path, inner = path_of(child(element, ".//INSTANCENAME")), child(element, "INSTANCE")
    values = {attribute(each).lower(): held_by(each) for each in inner if each.tag.startswith("PROPERTY")}
    return Instance(path, values)


def class_of(element: ElementTree.Element) -> dict[str, dict[str, Any]]:
    """The qualifiers of each property of a CLASS."""
    return {
        attribute(each): {attribute(mark).lower(): held_by(mark) for mark in each.findall("QUALIFIER")}
        for each in element
        if each.tag.startswith("PROPERTY")
    }


DECODERS: dict[str, Callable[[ElementTree.Element], Any]] = {"INSTANCENAME": path_of, "CLASS": class_of}


def response(body: bytes, operation: str) -> list:
    """What the response to an operation returns: of a method its return value. Raises CimError for
    the server's error, ReplyError for what is no response to it."""
    if body.count(b"<") + body.count(b"=") > MOST_MARKS:
        raise ReplyError(f"the response has more than {MOST_MARKS} XML tags and attributes")
    if b"<!DOCTYPE" in body:  # nothing defines entities: those of a few lines can expand to gigabytes
        raise ReplyError("the response has a document type definition")
    parser = ElementTree.XMLParser(encoding="utf-8")
    try:
        parser.feed(body)
        root = parser.close()
    except ElementTree.ParseError as error:
        raise ReplyError(f"responds, but not in XML ({error}); is that a CIM server?") from error
    found = child(root, "MESSAGE/SIMPLERSP/*")
    if not found.tag.endswith("METHODRESPONSE") or attribute(found).lower() != operation.lower():
        raise ReplyError(f"responds with {found.tag} {found.get('NAME')}, not to {operation}")
    refusal = found.find("ERROR")
    if refusal is not None:
        raise CimError(scalar(attribute(refusal, "CODE"), "uint32"), refusal.get("DESCRIPTION", ""))
    if operation not in RETURNED:
        return [scalar(child(found, "RETURNVALUE/VALUE").text or "", "sint32")]
    wanted, result = RETURNED[operation], []
    for each in found.findall("IRETURNVALUE/*"):
        if each.tag != wanted:
            raise ReplyError(f"the response has {each.tag} where {wanted} is expected")
        result.append(DECODERS.get(each.tag, instance_of)(each))
    if operation.startswith("Get") and len(result) != 1:
        raise ReplyError(f"the response has {len(result)} {wanted}, 1 is expected")
    return result
