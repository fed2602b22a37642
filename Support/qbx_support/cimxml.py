"""CIM-XML requests, and the HTTP requests that carry them.

A path is (class, {key: text or path}); host and namespace are left out.
"""

import base64
import collections
import json
import urllib.parse
import xml.etree.ElementTree as ElementTree
from xml.sax.saxutils import escape

from qbx_support.server import NAMESPACE, SAMPLE_FIRMWARE

CLASS_OPERATIONS = ("EnumerateInstances", "EnumerateInstanceNames", "EnumerateClasses", "GetClass")
TRAVERSALS = ("Associators", "AssociatorNames", "References", "ReferenceNames")
MESSAGE = """<?xml version="1.0"?><CIM CIMVERSION="2.0" DTDVERSION="2.0">\
<MESSAGE ID="1" PROTOCOLVERSION="1.0"><SIMPLEREQ>{}</SIMPLEREQ></MESSAGE></CIM>"""

# The values of the header fields CIMMethod and CIMObject, and the body.
Request = collections.namedtuple("Request", "method object body")


def local_namespace(namespace):
    """A LOCALNAMESPACEPATH."""
    levels = "".join(f'<NAMESPACE NAME="{each}"/>' for each in namespace.split("/"))
    return f"<LOCALNAMESPACEPATH>{levels}</LOCALNAMESPACEPATH>"


def local_path(path):
    """A LOCALINSTANCEPATH in the module's namespace."""
    name = local_namespace(NAMESPACE) + instance_name(path)
    return f"<LOCALINSTANCEPATH>{name}</LOCALINSTANCEPATH>"


def key_value(value):
    """The value of a KEYBINDING."""
    if isinstance(value, tuple):
        return f"<VALUE.REFERENCE>{local_path(value)}</VALUE.REFERENCE>"
    return f"<KEYVALUE>{escape(value)}</KEYVALUE>"


def instance_name(path):
    """An INSTANCENAME."""
    keys = "".join(
        f'<KEYBINDING NAME="{key}">{key_value(value)}</KEYBINDING>'
        for key, value in path[1].items()
    )
    return f'<INSTANCENAME CLASSNAME="{path[0]}">{keys}</INSTANCENAME>'


def path_of(element):
    """The path of an INSTANCENAME."""
    keys = {}
    for each in element.findall("KEYBINDING"):
        inner = each.find(".//INSTANCENAME")
        keys[each.attrib["NAME"]] = each[0].text if inner is None else path_of(inner)
    return element.attrib["CLASSNAME"], keys


def instance_paths(body):
    """The paths in the response to EnumerateInstanceNames."""
    return [path_of(each) for each in ElementTree.fromstring(body).findall(".//IRETURNVALUE/INSTANCENAME")]


def class_name(name):
    """A CLASSNAME."""
    return f'<CLASSNAME NAME="{name}"/>'


def request(method, path=None, namespace=NAMESPACE, **parameters):
    """The Request for an operation in a namespace, or for a method at a path. A parameter is XML, or
    a text that becomes a VALUE."""
    kind, call, target = "I", local_namespace(namespace), namespace
    if path:
        kind, call = "", local_path(path)
        keys = sorted(path[1].items())
        texts = (f"{key}={json.dumps(value, ensure_ascii=False)}" for key, value in keys)
        target = f"{NAMESPACE}:{path[0]}.{','.join(texts)}"
    for name, value in parameters.items():
        value = value if value[:1] == "<" else f"<VALUE>{escape(value)}</VALUE>"
        call += f'<{kind}PARAMVALUE NAME="{name}">{value}</{kind}PARAMVALUE>'
    call = f'<{kind}METHODCALL NAME="{method}">{call}</{kind}METHODCALL>'
    return Request(method, target, MESSAGE.format(call))


def authorization(user, password):
    """The value of the header field Authorization."""
    return "Basic " + base64.b64encode(f"{user}:{password}".encode()).decode()


def http_fields(method, target, user):
    """The header fields of a request of a user whose password is his name, without its length."""
    return {
        "Content-Type": "application/xml",
        "CIMOperation": "MethodCall",
        "CIMMethod": method,
        "CIMObject": urllib.parse.quote(target, safe=""),
        "Authorization": authorization(user, user),
    }


def http_request(of, user):
    """A Request of a user as the bytes of HTTP; the connection ends after the response."""
    fields = {**http_fields(of.method, of.object, user), "Host": "here", "Connection": "close"}
    fields["Content-Length"] = len(of.body.encode())
    lines = "".join(f"{name}: {value}\r\n" for name, value in fields.items())
    return f"POST /cimom HTTP/1.1\r\n{lines}\r\n{of.body}".encode()


def all_requests(paths, associations):
    """Requests for every operation on the classes and elements of an array, given as the paths of
    its elements and the names of its associations; not every element supports each."""
    names = {path[0] for path in paths} | set(associations)
    for name in (*sorted(names), "CIM_Chassis", "QBX_StorageSystem"):
        for operation in CLASS_OPERATIONS:
            yield request(operation, ClassName=class_name(name))
    for path in paths:
        named, place = instance_name(path), "<VALUE>Room 1 &lt;&amp;&gt; &#228;</VALUE>"
        for operation in TRAVERSALS:
            yield request(operation, ObjectName=named)
        some = "<VALUE.ARRAY><VALUE>Position</VALUE><VALUE>Tag</VALUE></VALUE.ARRAY>"
        yield request("GetInstance", InstanceName=named, PropertyList=some)
        yield request("GetProperty", InstanceName=named, PropertyName="Position")
        whole = f'{named}<INSTANCE CLASSNAME="{path[0]}"><PROPERTY NAME="Location" TYPE="string">'
        whole = f"<VALUE.NAMEDINSTANCE>{whole}{place}</PROPERTY></INSTANCE></VALUE.NAMEDINSTANCE>"
        yield request("ModifyInstance", ModifiedInstance=whole)
        yield request("SetProperty", InstanceName=named, PropertyName="Location", NewValue=place)
        yield request("Locate", path, LocateTimer="1")
        yield request("Locate", path, LocateTimer="1", Port="0")
        yield request("SetLoopState", path, IsOnloop="false")
        yield request("Upgrade", path, FileName=str(SAMPLE_FIRMWARE), IsPortA="true")
