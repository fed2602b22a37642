"""A request costs the server a small multiple of its size: hostile shapes, each at two sizes. What is
compared is the growth of the server's CPU time, whatever the machine's speed, and its peak memory."""

import os
import pathlib
import re
import time

from qbx_support import testing
from qbx_support.cimxml import MESSAGE, http_fields, local_namespace, request
from qbx_support.raw import exchange
from qbx_support.server import Server
from qbx_support.testing import Case, cases

RATIO = 4  # of the sizes; nesting makes more of it
# By which the cost may grow faster than the bytes; the square of them is 4 times as fast. Sanitizers keep
# much beside each allocation, which makes caches count.
FACTOR = 3 if os.environ.get("QBX_SANITIZE") else 2
NOISE = 0.02  # seconds of other work
TRIES = 20
MEMORY = 20  # bytes that one of a request may cost
MEMORY_NOISE = 6 << 20  # of small requests, and of what others have left

CLASS = "QBX_DriveCageDC2Family"
INSTANCENAME = '<INSTANCENAME CLASSNAME="{}">{}</INSTANCENAME>'
KEY = '<KEYBINDING NAME="{}"><KEYVALUE VALUETYPE="string">{}</KEYVALUE></KEYBINDING>'
DOCTYPE = '<?xml version="1.0"?><!DOCTYPE a ['


def cage_tagged(tag):
    return INSTANCENAME.format(CLASS, KEY.format("Tag", tag))


CAGE = cage_tagged("cage0")


def head(length, who="viewer", **more):
    """An HTTP head; more is of CIM."""
    lines = {**http_fields("GetInstance", "root/qbx", who), **more, "Host": "here", "Connection": "close"}
    if not who:
        del lines["Authorization"]
    lines |= length if isinstance(length, dict) else {"Content-Length": length}
    text = "".join(f"{name}: {value}\r\n" for name, value in lines.items())
    return f"POST /cimom HTTP/1.1\r\n{text}\r\n".encode()


CHUNKED = head({"Transfer-Encoding": "chunked"})


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
    return f"<VALUE.ARRAY>{listed('<VALUE>N{}</VALUE>', count)}</VALUE.ARRAY>"


def text_value(text):
    return get(CAGE, PropertyList=f"<VALUE.ARRAY><VALUE>{text}</VALUE></VALUE.ARRAY>")


class Cost(testing.EmbeddedServerTest):
    """A row: a shape's request for a size, and the small size."""

    server: Server

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.server = cls.enterClassContext(Server(os.environ["QBX_BUILD"]))

    def memory(self, what):
        """Bytes of memory: VmRSS, or its greatest since the last reset, VmHWM."""
        assert self.server.process
        status = pathlib.Path(f"/proc/{self.server.process.pid}/status").read_text()
        found = re.search(rf"{what}:\s+(\d+)", status)
        assert found
        return 1024 * int(found[1])

    def peak(self, sent):
        """Bytes that the server has taken at most for a request."""
        assert self.server.process
        pathlib.Path(f"/proc/{self.server.process.pid}/clear_refs").write_text("5")
        before = self.memory("VmRSS")
        self.assertTrue(exchange(self.server.port, sent))
        return self.memory("VmHWM") - before

    def cost(self, sent):
        """CPU seconds of the server for a request."""
        assert self.server.process
        clock = (~self.server.process.pid << 3) | 2  # of the process, for clock_gettime()
        before = time.clock_gettime(clock)
        self.assertTrue(exchange(self.server.port, sent))
        return time.clock_gettime(clock) - before

    @cases(
        Case("references", lambda n: get(nested(n)), 4),
        Case("escapes", lambda n: get(cage_tagged(quoted(n))), 4),
        Case("path_in_a_header", lambda n: method("", quoted(n)), 3),
        Case("long_key", lambda n: get(cage_tagged(n * '"')), 15_000),
        Case("keys", lambda n: get(INSTANCENAME.format(CLASS, listed(KEY.format("K{0}", "v"), n))), 2_000),
        Case("property_list", lambda n: get(CAGE, PropertyList=names(n)), 10_000),
        Case("properties", lambda n: modified(listed('<PROPERTY NAME="P{}" TYPE="string"/>', n)), 8_000),
        Case("embedded_instances", embedded, 4),
        Case("parameters", lambda n: method(listed('<PARAMVALUE NAME="P{}"/>', n)), 8_000),
        Case("namespace", lambda n: operation("GetInstance", {}, "/".join(n * "a")), 10_000),
        Case("control_characters", lambda n: text_value(n * "&#1;"), 100_000),
        Case("CDATA", lambda n: text_value(n * "<![CDATA[ ]]>"), 50_000),
        Case("CDATA_of_blanks", lambda n: text_value(f"<![CDATA[{n * ' '}]]>"), 900_000),
        Case("text", lambda n: text_value(n * "x"), 900_000),
        Case("elements", lambda n: get(n * "<X/>"), 200_000),
        Case("attributes", lambda n: get("<X" + listed(' a{}=""', n) + "/>"), 90_000),
        Case("attributes_of_many", lambda n: get(n * '<X a="" b="" c=""/>'), 45_000),
        Case("namespaces", lambda n: get("<X" + listed(' xmlns:a{}="b"', n) + "/>"), 45_000),
        Case("comments", lambda n: get(n * "<!---->"), 120_000),
        Case("instructions", lambda n: get(n * "<?a b?>"), 120_000),
        Case("depth", lambda n: get(n * "<X>"), 100_000),
        Case("doctype", lambda n: sent(DOCTYPE + n * "<!ENTITY b 'c'>"), 50_000),
        Case("header_fields", lambda n: head(0, **{f"X{i}": "" for i in range(n)}), 150),
        Case("tiny_chunks", lambda n: CHUNKED + n * b"1\r\n \r\n" + b"0\r\n\r\n", 50_000),
        Case("body_without_credentials", lambda n: sent(n * "x", who=""), 1_000_000),
        Case("body_with_wrong_credentials", lambda n: sent(n * "x", who="nobody"), 1_000_000),
    )  # fmt: skip
    def test_grows_no_faster_than_the_request_with(self, shape, size):
        """The least cost of several counts: others work on this machine too."""
        few, many = shape(size), shape(RATIO * size)
        if not os.environ.get("QBX_SANITIZE"):  # with which memory is kept for long
            most = MEMORY * len(many) + MEMORY_NOISE
            self.assertLess(self.peak(many), most, f"bytes, for a request of {len(many)}")
        small = large = bound = float("inf")
        for _ in range(TRIES):
            small, large = min(small, self.cost(few)), min(large, self.cost(many))
            bound = FACTOR * small * len(many) / len(few) + NOISE
            if large < bound:
                return
        self.fail(
            f"request: {few[:500].decode(errors='replace')} ...\n"
            f"expected: less than {bound:.3f} CPU seconds for {len(many)} bytes, with {small:.3f}"
            f" for {len(few)}\n  actual: {large:.3f}"
        )


if __name__ == "__main__":
    testing.main()
