"""Requests for all that clients can ask the module: what the clients of `./qbx soak` ask, and seeds
for `./qbx fuzz`; and how a request goes to a server as it is, whatever is wrong with it."""

import base64
import contextlib
import http.client
import json
import socket
import urllib.parse
from xml.sax.saxutils import escape

from server import NAMESPACE, SAMPLE_FIRMWARE

OF_CLASSES = ("EnumerateInstances", "EnumerateInstanceNames", "EnumerateClasses", "GetClass")
OF_OBJECTS = ("Associators", "AssociatorNames", "References", "ReferenceNames")
MESSAGE = """<?xml version="1.0"?><CIM CIMVERSION="2.0" DTDVERSION="2.0">\
<MESSAGE ID="1" PROTOCOLVERSION="1.0"><SIMPLEREQ>{}</SIMPLEREQ></MESSAGE></CIM>"""


COMPARED = ("CIMError", "CIMOperation", "Content-Type", "WWW-Authenticate", "PGErrorDetail")


def local(namespace):
    levels = "".join(f'<NAMESPACE NAME="{each}"/>' for each in namespace.split("/"))
    return f"<LOCALNAMESPACEPATH>{levels}</LOCALNAMESPACEPATH>"


def local_path(path):
    return f"<LOCALINSTANCEPATH>{local(NAMESPACE)}{instance_name(path)}</LOCALINSTANCEPATH>"


def key_value(value):
    if isinstance(value, tuple):
        return f"<VALUE.REFERENCE>{local_path(value)}</VALUE.REFERENCE>"
    return f"<KEYVALUE>{escape(value)}</KEYVALUE>"


def instance_name(path):
    """A path (class, {key: text or path}) as XML."""
    keys = "".join(
        f'<KEYBINDING NAME="{key}">{key_value(value)}</KEYBINDING>'
        for key, value in path[1].items()
    )
    return f'<INSTANCENAME CLASSNAME="{path[0]}">{keys}</INSTANCENAME>'


def question(method, path=None, namespace=NAMESPACE, **parameters):
    """CIMMethod, CIMObject and body of an operation in a namespace, or of a method at a path."""
    kind, call, target = "I", local(namespace), namespace
    if path:
        kind, call = "", local_path(path)
        keys = sorted(path[1].items())
        texts = (f"{key}={json.dumps(value, ensure_ascii=False)}" for key, value in keys)
        target = f"{NAMESPACE}:{path[0]}.{','.join(texts)}"
    for name, value in parameters.items():
        value = value if value[:1] == "<" else f"<VALUE>{escape(value)}</VALUE>"
        call += f'<{kind}PARAMVALUE NAME="{name}">{value}</{kind}PARAMVALUE>'
    call = f'<{kind}METHODCALL NAME="{method}">{call}</{kind}METHODCALL>'
    return method, target, MESSAGE.format(call)


def login(user, password):
    return "Basic " + base64.b64encode(f"{user}:{password}".encode()).decode()


def fields(method, target, user):
    """The header of a question of a user, each his own password."""
    return {
        "Content-Type": "application/xml",
        "CIMOperation": "MethodCall",
        "CIMMethod": method,
        "CIMObject": urllib.parse.quote(target, safe=""),
        "Authorization": login(user, user),
    }


def request(asked, user):
    """A question of a user as HTTP; the connection ends after the reply."""
    *named, body = asked
    head = {**fields(*named, user), "Host": "here", "Connection": "close"}
    head["Content-Length"] = len(body.encode())
    lines = "".join(f"{name}: {value}\r\n" for name, value in head.items())
    return f"POST /cimom HTTP/1.1\r\n{lines}\r\n{body}".encode()


def chunks(stream):
    """The parts of a body that has no length; trailers are left."""
    while size := int(stream.readline() or b"-1", 16):
        part = stream.read(size + 2)[:-2] if size > 0 else b""
        if len(part) != size:
            raise ConnectionError("the server has ended the connection")
        yield part


class Reply:
    """The next reply of a stream: its first line, the header fields that matter, its body. Raises
    ConnectionError when that is cut short. When nothing comes the line is empty."""

    def __init__(self, stream):
        self.line = stream.readline().decode().strip()
        fields = http.client.parse_headers(stream)
        self.fields = {name: fields.get(name, "-") for name in COMPARED}
        length = int(fields.get("Content-Length", 0))
        chunked = fields.get("Transfer-Encoding") == "chunked"
        body = b"".join(chunks(stream)) if chunked else stream.read(length)
        if len(body) < length:
            raise ConnectionError("the server has ended the connection")
        self.body = body.decode()
        if " 100 " in self.line:
            self.__init__(stream)


def ask(url, said, seconds):
    """The reply to those bytes on a connection of their own. Raises OSError: there is none in time,
    or none at all."""
    parts = urllib.parse.urlsplit(url)
    with contextlib.closing(
        socket.create_connection((parts.hostname, parts.port), seconds)
    ) as connection:
        connection.sendall(said)
        reply = Reply(connection.makefile("rb"))
    if not reply.line:
        raise ConnectionError("the server has ended the connection")
    return reply


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
