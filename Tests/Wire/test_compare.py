"""The comparison of two servers (Compare): what differs, and what of it has a reason."""

import json
import re
import types
import xml.etree.ElementTree as ElementTree

from qbx_support import testing
from qbx_support.raw import SECONDS, send
from qbx_support.testing import Case, cases

from Compare.compare import KNOWN, Comparison, Reason, Side, lines
from Compare.suite import Suite

A, B = (f'<KEYBINDING NAME="{each}"><KEYVALUE>1</KEYVALUE></KEYBINDING>' for each in "AB")
P, Q = (f'<PROPERTY NAME="{each}"><VALUE>1</VALUE></PROPERTY>' for each in "PQ")
NAME = f'<INSTANCENAME CLASSNAME="C">{A}{B}</INSTANCENAME>'
BODY = f'{NAME}<INSTANCE CLASSNAME="C">{P}{Q}</INSTANCE>'
BODY = f"<R><VALUE.NAMEDINSTANCE>{BODY}</VALUE.NAMEDINSTANCE></R>"


class Lines(testing.Test):
    """Bodies that differ in one part."""

    @cases(
        Case("nothing", "", "", False),
        Case("white_space", "</PROPERTY>", "</PROPERTY>\n", False),
        Case("order_of_keys", A + B, B + A, True),
        Case("missing_key", B, "", True),
        Case("type_of_key", "<KEYVALUE>", '<KEYVALUE VALUETYPE="numeric">', True),
        Case("attribute_of_value", "<VALUE>", '<VALUE X="1">', True),
        Case("text_elsewhere", NAME, f"text{NAME}", True),
        Case("another_element", "VALUE.NAMEDINSTANCE", "VALUE.OBJECTWITHPATH", True),
    )
    def test_differ_by(self, part, becomes, expected):
        bodies = (BODY, BODY.replace(part, becomes))
        one, other = ([*lines(ElementTree.fromstring(each))] for each in bodies)
        self.assertEqual(one != other, expected, (one, other))


def compared(one, other, reasons):
    """The Comparison of two servers, which sent the lines {request: lines}."""
    sides = [types.SimpleNamespace(responses=each) for each in (one, other)]
    return Comparison(sides, reasons)


class Reasons(testing.Test):
    @cases(
        Case("both_lines_fit", "get", ["a"], ["b"], {}, 0),
        Case("servers_swapped", "get", ["b"], ["a"], {}, 2),
        Case("one_line_does_not_fit", "get", ["a"], ["c"], {}, 2),
        Case("one_line_is_missing", "get", ["a"], [], {}, 1),
        Case("a_longer_line", "get", ["a"], ["bb"], {}, 2),
        Case("a_line_too_often", "get", ["a", "a"], ["b"], {}, 2),
        Case("another_request", "set", ["a"], ["b"], {}, 2),
        Case("another_order", "get", ["c.k=1", "c.k=2"], ["c.k=2", "c.k=1"], {}, 1),
        Case("another_order_of_classes", "get", ["c.k=1", "d.k=2"], ["d.k=2", "c.k=1"], {}, 0),
        Case("lines_written_the_same", "get", ["x a"], ["x b"], {"same": "z"}, 0),
    )
    def test_unexplained_lines_of(self, request, one, other, more, expected):
        entry = {"reason": "why", "requests": "^get", "embedded": ["a"], "other": ["b"], **more}
        unexplained = compared({request: one}, {request: other}, [Reason(entry)]).unexplained
        self.assertEqual(sum(map(len, unexplained.values())), expected, unexplained)


def separate(entries):
    """The reasons with each pattern by itself: what the others wait for, OpenPegasus may send."""
    for entry in entries:
        if "same" in entry:
            yield Reason(entry)
            continue
        for kind in {"embedded", "other"} & entry.keys():
            for each in entry[kind]:
                yield Reason({"reason": each, "requests": entry["requests"], kind: [each]})


PATH = r"<INSTANCENAME .*?</INSTANCENAME>"
PROPERTY = r'(<PROPERTY(?:.ARRAY)? NAME="%s" .*?>).*?(</PROPERTY.*?>)'


class Faults(testing.EmbeddedServerTest):
    """Faults in the responses of the embedded server to such requests: a pattern is replaced. Each
    response with the fault differs without a reason."""

    side: Side
    responses: dict
    reasons: list

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        server = testing.open_server()
        cls.addClassCleanup(server.close)
        cls.side = Side(server.url, SECONDS)
        suite = Suite(cls.side.paths(), cls.side.interop)
        cls.responses = {name: send(server.url, sent, SECONDS) for name, sent in suite.requests}
        cls.reasons = list(separate(json.loads(KNOWN.read_text())))

    @cases(
        Case("namespace", "interop$", r"root/qbx(?=</(KEY)?VALUE>)", "root/other"),
        Case("object_managers_name", "interop$", "QBXObjectManager", "Manager"),
        Case("object_managers_status", "interop$", "<VALUE>OK</VALUE>", "<VALUE>Error</VALUE>"),
        Case("object_managers_state", "ObjectManager in interop$", "<VALUE>5</VALUE>", "<VALUE>3</VALUE>"),
        Case("qualifiers", "^GetClass ClassName=QBX", "<QUALIFIER .*?</QUALIFIER>", ""),
        Case("keys_qualifier", "GetClass", '<QUALIFIER NAME="Key".*?</QUALIFIER>', ""),
        Case("type", "^EnumerateInstances", r'(NAME="OperationalStatus" .*?)uint16', r"\1uint32"),
        Case("scalar", "", PROPERTY % "OperationalStatus", r"<PROPERTY NAME='OperationalStatus'/>"),
        Case("key", "", '<KEYBINDING NAME="CreationClassName">.*?</KEYBINDING>', ""),
        Case("error_code", "", 'CODE="6"', 'CODE="1"'),
        Case("error_text", "", "CIM_ERR_NOT_FOUND: .*?[\"]", 'CIM_ERR_NOT_FOUND"'),
        Case("one_element", "", f"^((?:(?!{PATH}).)*){PATH}", r"\1"),
        Case("element_twice", "^EnumerateInstanceNames", f"({PATH})", r"\1\1"),
        Case("order", "^EnumerateInstanceNames ClassName=QBX_Magazine", f"({PATH})(.*)({PATH})", r"\3\2\1"),
        Case("empty_value", "", "<VALUE></VALUE>", ""),
        Case("host", "", "<HOST>.*?</HOST>", "<HOST>other</HOST>"),
        Case("namespace_of_path", "", '(<NAMESPACE NAME="qbx)', r"\1x"),
        Case("class_origin", "", ' CLASSORIGIN=".*?"', ""),
        Case("propagated", "", ' PROPAGATED="true"', ""),
        Case("case_of_class", "", 'CLASSNAME="QBX', 'CLASSNAME="qbx'),
    )
    def test_are_found_in(self, requests, pattern, replacement):
        one, other = {}, {}
        for name, response in self.responses.items():
            body = re.sub(pattern, replacement, response.body, flags=re.DOTALL)
            if body != response.body and re.search(requests, name):
                one[name] = self.side.lines(types.SimpleNamespace(**{**vars(response), "body": body}))
                other[name] = self.side.lines(response)
                for reason in self.reasons:  # the sound response, as OpenPegasus would write it
                    if reason.requests.search(name):
                        other[name] = reason.written(other[name], 0)
        found = compared(one, other, self.reasons)
        missed = sorted(one.keys() - found.unexplained.keys())
        excuses = [each for each, of in found.reasons.items() if any(map(of.get, missed))]
        if missed or not one:
            text = [f"not found in {len(missed)} of {len(one)} responses, such as to", *missed[:9]]
            self.fail("\n".join([*text, "excused by", *excuses]))


if __name__ == "__main__":
    testing.main()
