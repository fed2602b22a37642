#!/usr/bin/python3 -IS
"""The programs of a CIM server, by the name they are called by, over a repository in state.json:

  classes     {name: [superclass, [property...]]}
  registered  [[class, {property: value, or list of values}]...] of the interop namespace
  instances   [class...] of the other instances
  settings    the lines that cimconfig lists
  calls       the commands that changed something, without absolute paths
  event       [command, kind]: what happens at this command, once: "fail" (it does nothing), "kill"
              or "interrupt" (it is done, and then its caller gets a signal)

A MOF file is JSON here, with the first three; one that is not JSON holds instances.
"""

import json
import os
import pathlib
import re
import signal
import sys

HOME = pathlib.Path(__file__).resolve().parents[1]
PROGRAM, ARGUMENTS = pathlib.Path(sys.argv[0]).name, sys.argv[1:]
STATE = json.loads((HOME / "state.json").read_text())
CLASSES, REGISTERED, INSTANCES = STATE["classes"], STATE["registered"], STATE["instances"]


def load(path):
    text = path.read_text()
    instances = re.findall(r"^instance of (\w+)", text, re.MULTILINE)
    return {"classes": {}, "registered": [], "instances": instances} if instances else json.loads(text)


def change(do):
    """Lists the command, does it, and then what the event is."""
    call = " ".join([PROGRAM, *(each for each in ARGUMENTS if not each.startswith("/"))])
    STATE["calls"].append(call)
    command, kind = STATE.get("event", ["", ""])
    kind = STATE.pop("event")[1] if call == command else ""
    if kind != "fail":
        do()
    (HOME / "state.json").write_text(json.dumps(STATE))
    if kind == "fail":
        sys.exit("CIM_ERR_FAILED: the test wants it")
    if kind:
        os.kill(os.getppid(), signal.SIGKILL if kind == "kill" else signal.SIGTERM)
    while kind == "interrupt":
        signal.pause()  # the caller ends this


def class_xml(name):
    superclass, properties = CLASSES[name]
    parts = "".join(f'<PROPERTY NAME="{each}"/>' for each in properties)
    return f'<CLASS NAME="{name}" SUPERCLASS="{superclass}">{parts}</CLASS>'


def instance_xml(name, properties):
    parts = ""
    for key, value in properties.items():
        tag, values = ("PROPERTY.ARRAY", value) if isinstance(value, list) else ("PROPERTY", [value])
        parts += f'<{tag} NAME="{key}">' + "".join(f"<VALUE>{v}</VALUE>" for v in values) + f"</{tag}>"
    return f'<INSTANCE CLASSNAME="{name}">{parts}</INSTANCE>'


def cimmof(mof):
    if "--xml" in ARGUMENTS:
        CLASSES.update(mof["classes"])
        instances = (instance_xml(*each) for each in mof["registered"])
        print("<CIM>", *map(class_xml, mof["classes"]), *instances, "</CIM>")
    else:
        change(lambda: add(mof))


def add(mof):
    CLASSES.update({**mof["classes"], **CLASSES})
    set_status("2", mof["registered"])
    REGISTERED.extend(mof["registered"])
    INSTANCES.extend(mof["instances"])


def set_status(code, instances=REGISTERED):
    for name, properties in instances:
        if name == "PG_ProviderModule":
            properties["OperationalStatus"] = [code]


def remove_module(name):
    REGISTERED[:] = [each for each in REGISTERED if name not in each[1].values()]


def cimprovider(option, *values):
    change({
        "-d": lambda: set_status("10"),
        "-e": lambda: set_status("2"),
        "-r": lambda: remove_module(values[-1]),
        "-g": lambda: REGISTERED[0][1].update(ModuleGroupName=values[0]),
    }[option])


def cimcli(operation, name):
    if operation == "dc":
        change(lambda: CLASSES.pop(name))
    elif operation == "di":
        change(lambda: INSTANCES.remove(name))
    elif operation == "nc":
        print(*CLASSES, sep="\n")
    elif operation == "gc" and name != "PG_ProviderModule":
        print(class_xml(name))
    elif operation == "ei":
        print(*(f"path=x\n{instance_xml(*each)}" for each in REGISTERED if each[0] == name), sep="\n")
    elif operation == "ni":
        print(*(each for each in INSTANCES if each == name), sep="\n")


if PROGRAM == "cimconfig":
    print(*STATE["settings"], sep="\n")
elif PROGRAM == "cimprovider":
    cimprovider(*ARGUMENTS)
elif PROGRAM == "cimcli":
    cimcli(ARGUMENTS[0], ARGUMENTS[-1])
else:
    cimmof(load(pathlib.Path(ARGUMENTS[-1])))
