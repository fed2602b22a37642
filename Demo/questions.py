"""Requests for all that clients can ask the module: what the clients of `./qbx soak` ask, and seeds
for `./qbx fuzz`."""

import json
from xml.sax.saxutils import escape

from server import NAMESPACE, SAMPLE_FIRMWARE

OF_CLASSES = ("EnumerateInstances", "EnumerateInstanceNames", "EnumerateClasses", "GetClass")
OF_OBJECTS = ("Associators", "AssociatorNames", "References", "ReferenceNames")
LEVELS = "".join(f'<NAMESPACE NAME="{each}"/>' for each in NAMESPACE.split("/"))
LOCAL = f"<LOCALNAMESPACEPATH>{LEVELS}</LOCALNAMESPACEPATH>"
MESSAGE = """<?xml version="1.0"?><CIM CIMVERSION="2.0" DTDVERSION="2.0">\
<MESSAGE ID="1" PROTOCOLVERSION="1.0"><SIMPLEREQ>{}</SIMPLEREQ></MESSAGE></CIM>"""


def instance_name(path):
    keys = "".join(
        f'<KEYBINDING NAME="{key}"><KEYVALUE>{escape(value)}</KEYVALUE></KEYBINDING>'
        for key, value in path[1].items()
    )
    return f'<INSTANCENAME CLASSNAME="{path[0]}">{keys}</INSTANCENAME>'


def question(method, path=None, **parameters):
    """CIMMethod, CIMObject and body of an operation, or of a method at a path."""
    kind, call, target = "I", LOCAL, NAMESPACE
    if path:
        kind, call = "", f"<LOCALINSTANCEPATH>{LOCAL}{instance_name(path)}</LOCALINSTANCEPATH>"
        keys = sorted(path[1].items())
        texts = (f"{key}={json.dumps(value, ensure_ascii=False)}" for key, value in keys)
        target = f"{NAMESPACE}:{path[0]}.{','.join(texts)}"
    for name, value in parameters.items():
        value = value if value[0] == "<" else f"<VALUE>{escape(value)}</VALUE>"
        call += f'<{kind}PARAMVALUE NAME="{name}">{value}</{kind}PARAMVALUE>'
    call = f'<{kind}METHODCALL NAME="{method}">{call}</{kind}METHODCALL>'
    return method, target, MESSAGE.format(call)


def questions(array):
    """Every operation on the classes and elements of an array; not every element can do it."""
    elements = array.everything()
    names = {each.path[0] for each in elements} | set(array.associations)
    for name in (*sorted(names), "CIM_Chassis", "QBX_StorageSystem"):
        for operation in OF_CLASSES:
            yield question(operation, ClassName=f'<CLASSNAME NAME="{name}"/>')
    for path in [each.path for each in elements]:
        named, place = instance_name(path), "<VALUE>Room 1 &lt;&amp;&gt; &#228;</VALUE>"
        for operation in OF_OBJECTS:
            yield question(operation, ObjectName=named)
        some = "<VALUE.ARRAY><VALUE>Position</VALUE><VALUE>Tag</VALUE></VALUE.ARRAY>"
        yield question("GetInstance", InstanceName=named, PropertyList=some)
        yield question("GetProperty", InstanceName=named, PropertyName="Position")
        whole = f'{named}<INSTANCE CLASSNAME="{path[0]}"><PROPERTY NAME="Location" TYPE="string">'
        whole = f"<VALUE.NAMEDINSTANCE>{whole}{place}</PROPERTY></INSTANCE></VALUE.NAMEDINSTANCE>"
        yield question("ModifyInstance", ModifiedInstance=whole)
        yield question("SetProperty", InstanceName=named, PropertyName="Location", NewValue=place)
        yield question("Locate", path, LocateTimer="1")
        yield question("Locate", path, LocateTimer="1", Port="0")
        yield question("SetLoopState", path, IsOnloop="false")
        yield question("Upgrade", path, FileName=str(SAMPLE_FIRMWARE), IsPortA="true")
