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


STATUS = '<PROPERTY.ARRAY NAME="OperationalStatus"><VALUE>{}</VALUE></PROPERTY.ARRAY>'
CLASS = re.compile(r"^class (\w+)(?: : (\w+))?\s*\{(.*?)^\}", re.MULTILINE | re.DOTALL)
INSTANCE = re.compile(r"^instance of (\w+)\s*\{(.*?)^\}", re.MULTILINE | re.DOTALL)
VALUE = re.compile(r'(\w+) = (\{?)([\w+."/, ]+)\}?;')


def element(name, array, text):
    """A property with its values, as XML."""
    tag = "PROPERTY.ARRAY" if array else "PROPERTY"
    items = text.replace('"', "").split(",")
    values = "".join(f"<VALUE>{item.strip()}</VALUE>" for item in items)
    return f'<{tag} NAME="{name}">{values}</{tag}>'


def declared(path):
    """The classes and instances of a MOF file and of those that it includes: name and XML."""
    text = re.sub(r"//.*", "", path.read_text())
    for name in re.findall(r'#pragma include \("(.+?)"\)', text):
        yield from declared(path.parent / name)
    for name, parent, body in CLASS.findall(text):
        parts = "".join(f'<PROPERTY NAME="{word}"/>' for word in re.findall(r"(\w+);", body))
        yield name, f'<CLASS NAME="{name}" SUPERCLASS="{parent}">{parts}</CLASS>'
    for name, body in INSTANCE.findall(text):
        parts = "".join(element(*match) for match in VALUE.findall(body))
        yield "", f'<INSTANCE CLASSNAME="{name}">{parts}</INSTANCE>'


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
            REGISTERED.append(xml.replace("</INSTANCE>", STATUS.format(2) + "</INSTANCE>"))
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
    for number, xml in enumerate(REGISTERED):
        for option, old, new in ("-d", 2, 10), ("-e", 10, 2):
            if ARGUMENTS[0] == option:
                REGISTERED[number] = xml.replace(STATUS.format(old), STATUS.format(new))
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
