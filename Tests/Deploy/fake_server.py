#!/usr/bin/python3 -IS
"""The tools of a CIM server, by the name they are called by, over a repository in a JSON file.

Commands that change something are noted in "calls"; the first that begins like "fails" does nothing
but to fail.
"""

import json
import pathlib
import re
import sys

HOME = pathlib.Path(__file__).resolve().parents[1]
TOOL, ARGUMENTS = pathlib.Path(sys.argv[0]).name, sys.argv[1:]
STATE = json.loads((HOME / "state.json").read_text())
CLASSES, REGISTERED = STATE["classes"], STATE["registered"]
CALL = " ".join([TOOL, *(a for a in ARGUMENTS if not a.startswith("/"))])


def declared(path):
    """The classes and instances of a MOF file and of those that it includes, as XML."""
    text = re.sub(r"//.*", "", path.read_text())
    for name in re.findall(r'#pragma include \("(.+?)"\)', text):
        yield from declared(path.parent / name)
    for name, parent, body in re.findall(r"^class (\w+)(?: : (\w+))?\s*\{(.*?)^\}", text, re.M | re.S):
        parts = "".join(f'<PROPERTY NAME="{word}"/>' for word in re.findall(r"(\w+);", body))
        yield name, f'<CLASS NAME="{name}" SUPERCLASS="{parent}">{parts}</CLASS>'
    for name, body in re.findall(r"^instance of (\w+)\s*\{(.*?)^\}", text, re.M | re.S):
        parts = re.findall(r'(\w+) = (\{?)(?:"(.*?)"|([\d, "/\w]+))\}?;', body)
        tags = {"": "PROPERTY", "{": "PROPERTY.ARRAY"}
        xml = "".join(f'<{tags[b]} NAME="{n}">' + "".join(
            f'<VALUE>{v.strip(chr(34) + " ")}</VALUE>' for v in (s or d).split(",")) + f"</{tags[b]}>"
            for n, b, s, d in parts)
        yield "", f'<INSTANCE CLASSNAME="{name}">{xml}</INSTANCE>'


def change():
    """Notes a command that changes something."""
    STATE["calls"].append(CALL)
    (HOME / "state.json").write_text(json.dumps(STATE))
    if STATE.get("fails") and CALL.startswith(STATE["fails"]):
        del STATE["fails"]
        (HOME / "state.json").write_text(json.dumps(STATE))
        sys.exit("CIM_ERR_FAILED: told to")


def compile_mof(path):
    for name, xml in declared(path):
        if "<INSTANCE" in xml:
            status = '<PROPERTY.ARRAY NAME="OperationalStatus"><VALUE>2</VALUE></PROPERTY.ARRAY>'
            REGISTERED.append(xml.replace("</INSTANCE>", status + "</INSTANCE>"))
        else:
            CLASSES.setdefault(name, xml)


def cimcli(operation, name):
    if operation == "dc":
        change()
        del CLASSES[name]
    elif operation == "nc":
        print(*CLASSES, sep="\n")
    elif operation == "gc" and name != "PG_ProviderModule":
        print(CLASSES[name])
    elif operation == "ei":
        print(*(f"path=x\n{xml}" for xml in REGISTERED if f'CLASSNAME="{name}"' in xml), sep="\n")
    elif operation == "ni" and STATE.get("answers", {}).get(name):
        sys.exit(STATE["answers"][name])


if TOOL == "cimconfig":
    print("providerDir=lib")
elif TOOL == "cimprovider":
    change()
    if ARGUMENTS[0] == "-r":
        REGISTERED.clear()
elif TOOL == "cimcli":
    cimcli(ARGUMENTS[0], ARGUMENTS[-1])
elif "--xml" in ARGUMENTS:
    print("<CIM>", *(xml for _, xml in declared(pathlib.Path(ARGUMENTS[-1]))), "</CIM>")
else:
    change()
    compile_mof(pathlib.Path(ARGUMENTS[-1]))
(HOME / "state.json").write_text(json.dumps(STATE))
