"""What a client sends costs the server a small multiple of its size: hostile shapes of requests, each
at two sizes."""

import os
import time

from qbx_support import testing
from qbx_support.cimxml import MESSAGE, http_fields, local_namespace, request
from qbx_support.raw import exchange
from qbx_support.server import Server

RATIO = 4  # of the sizes; nesting makes more of it
FACTOR = 2  # by which the cost may grow faster than the bytes
NOISE = 0.02  # seconds

CLASS = "QBX_DriveCageDC2Family"
INSTANCENAME = '<INSTANCENAME CLASSNAME="{}">{}</INSTANCENAME>'
KEY = '<KEYBINDING NAME="{}"><KEYVALUE VALUETYPE="string">{}</KEYVALUE></KEYBINDING>'
CAGE = INSTANCENAME.format(CLASS, KEY.format("Tag", "cage0"))


def head(length, who="viewer", **more):
    """An HTTP head; more is of CIM."""
    lines = {**http_fields("GetInstance", "root/qbx", who), **more, "Host": "here", "Connection": "close"}
    if not who:
        del lines["Authorization"]
    lines |= length if isinstance(length, dict) else {"Content-Length": length}
    text = "".join(f"{name}: {value}\r\n" for name, value in lines.items())
    return f"POST /cimom HTTP/1.1\r\n{text}\r\n".encode()


def sent(body, **more):
    return head(len(body.encode()), **more) + body.encode()


def operation(name, parameters, space="root/qbx"):
    return sent(request(name, namespace=space, **parameters).body, CIMMethod=name)


def get(name, **more):
    return operation("GetInstance", {"InstanceName": name, **more})


def method(parameters, target=f'{CLASS}.Tag="cage0"'):
    call = f"<LOCALINSTANCEPATH>{local_namespace('root/qbx')}{CAGE}</LOCALINSTANCEPATH>{parameters}"
    body = MESSAGE.format(f'<METHODCALL NAME="Locate">{call}</METHODCALL>')
    return sent(body, CIMMethod="Locate", CIMObject="root/qbx:" + target)


def nested(levels):
    """References inside one another, as XML."""
    name = CAGE
    for _ in range(levels):
        reference = f"<VALUE.REFERENCE>{name}</VALUE.REFERENCE>"
        name = INSTANCENAME.format(CLASS, f'<KEYBINDING NAME="Tag">{reference}</KEYBINDING>')
    return name


def quoted(levels):
    """The same as the text of a path: each level doubles the escapes."""
    text = "A.k=1"
    for _ in range(levels):
        text = 'A.k="' + text.replace("\\", "\\\\").replace('"', '\\"') + '"'
    return text


def modified(properties):
    given = f'<INSTANCE CLASSNAME="{CLASS}">{properties}</INSTANCE>'
    value = f"<VALUE.NAMEDINSTANCE>{CAGE}{given}</VALUE.NAMEDINSTANCE>"
    return operation("ModifyInstance", {"ModifiedInstance": value})


def embedded(levels):
    """Instances inside one another, each a text in the next, around a long text."""
    text = 100_000 * "x"
    for _ in range(levels):
        text = text.replace("&", "&amp;").replace("<", "&lt;")
        text = (
            f'<INSTANCE CLASSNAME="A"><PROPERTY NAME="B" TYPE="string" EmbeddedObject="instance">'
            f"<VALUE>{text}</VALUE></PROPERTY></INSTANCE>"
        )
    kind = 'PARAMTYPE="string" EmbeddedObject="instance"'
    text = text.replace("&", "&amp;").replace("<", "&lt;")
    return method(f'<PARAMVALUE NAME="P" {kind}><VALUE>{text}</VALUE></PARAMVALUE>')


def listed(text, count):
    """So many numbered texts."""
    return "".join(text.format(i) for i in range(count))


def names(count):
    return f'<VALUE.ARRAY>{listed("<VALUE>N{}</VALUE>", count)}</VALUE.ARRAY>'


def text_value(text):
    return get(CAGE, PropertyList=f"<VALUE.ARRAY><VALUE>{text}</VALUE></VALUE.ARRAY>")


# The request of each shape, and the small size.
SHAPES = {
    "references": (lambda n: get(nested(n)), 4),
    "escapes": (lambda n: get(INSTANCENAME.format(CLASS, KEY.format("Tag", quoted(n)))), 4),
    "path in a header": (lambda n: method("", quoted(n)), 3),
    "long key": (lambda n: get(INSTANCENAME.format(CLASS, KEY.format("Tag", n * '"'))), 15_000),
    "keys": (lambda n: get(INSTANCENAME.format(CLASS, listed(KEY.format("K{0}", "v"), n))), 2_000),
    "property list": (lambda n: get(CAGE, PropertyList=names(n)), 10_000),
    "property list of a list": (
        lambda n: operation(
            "EnumerateInstances",
            {"ClassName": f'<CLASSNAME NAME="{CLASS}"/>', "PropertyList": names(n)},
        ),
        10_000,
    ),
    "properties": (
        lambda n: modified(listed('<PROPERTY NAME="P{}" TYPE="string"/>', n)),
        8_000,
    ),
    "embedded instances": (embedded, 4),
    "parameters": (lambda n: method(listed('<PARAMVALUE NAME="P{}"/>', n)), 8_000),
    "namespace": (
        lambda n: operation("GetInstance", {}, "/".join(n * "a")),
        10_000,
    ),
    "control characters": (lambda n: text_value(n * "&#1;"), 100_000),
    "noncharacters": (lambda n: text_value(n * "\ufdd0"), 100_000),
    "CDATA": (lambda n: text_value(n * "<![CDATA[ ]]>"), 50_000),
    "attributes": (lambda n: get("<X" + listed(' a{}=""', n) + "/>"), 50_000),
    "depth": (lambda n: get(n * "<X>"), 100_000),
    "elements": (lambda n: get(n * "<X/>"), 80_000),
    "doctype": (lambda n: sent('<?xml version="1.0"?><!DOCTYPE a [' + n * "<!ENTITY b 'c'>"), 50_000),
    "header fields": (lambda n: head(0, **{f"X{i}": "" for i in range(n)}), 150),
    "tiny chunks": (
        lambda n: head({"Transfer-Encoding": "chunked"}) + n * b"1\r\n \r\n" + b"0\r\n\r\n",
        50_000,
    ),
    "body without credentials": (lambda n: sent(n * "x", who=""), 1_000_000),
    "body with wrong credentials": (lambda n: sent(n * "x", who="nobody"), 1_000_000),
}


class Cost(testing.EmbeddedServerTest):
    def test_grows_no_faster_than_the_request(self):
        with Server(os.environ["QBX_BUILD"]) as server:
            clock = (~server.process.pid << 3) | 2  # of the process, for clock_gettime()

            def cost(said):
                """CPU seconds."""
                before = time.clock_gettime(clock)
                self.assertTrue(exchange(server.port, said))
                return time.clock_gettime(clock) - before

            for shape, (sent, size) in SHAPES.items():
                with self.subTest(shape):
                    few, many = sent(size), sent(RATIO * size)
                    small = large = bound = float("inf")
                    for _ in range(5):  # the least counts: others work on this machine too
                        small, large = min(small, cost(few)), min(large, cost(many))
                        bound = FACTOR * small * len(many) / len(few) + NOISE
                        if large < bound:
                            break
                    self.assertLess(large, bound)


if __name__ == "__main__":
    testing.main()
