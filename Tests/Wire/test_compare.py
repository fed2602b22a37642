"""The comparison of two servers (Compare): what differs, and what of it has a reason."""

import json
import xml.etree.ElementTree as ElementTree
from collections import Counter
from types import SimpleNamespace

from qbx_support import exchanges, testing
from qbx_support.raw import SECONDS
from qbx_support.testing import Case, cases

from Compare.compare import Comparison, Side, known, lines
from Compare.suite import Suite

A, B = (f'<KEYBINDING NAME="{each}"><KEYVALUE>1</KEYVALUE></KEYBINDING>' for each in "AB")
P, Q = (f'<PROPERTY NAME="{each}"><VALUE>1</VALUE></PROPERTY>' for each in "PQ")
NAME = f'<INSTANCENAME CLASSNAME="C">{A}{B}</INSTANCENAME>'
BODY = f'{NAME}<INSTANCE CLASSNAME="C">{P}{Q}</INSTANCE>'
BODY = f"<R><VALUE.NAMEDINSTANCE>{BODY}</VALUE.NAMEDINSTANCE></R>"


class Lines(testing.Test):
    """Bodies that differ in one part."""

    @cases(
        Case("order_of_keys", A + B, B + A, True),
        Case("order_of_properties", P + Q, Q + P, True),
        Case("missing_key", B, "", False),
        Case("missing_property", Q, "", False),
        Case("property_twice", Q, Q + Q, False),
        Case("missing_value", "<VALUE>1</VALUE>", "", False),
        Case("type_of_key", "<KEYVALUE>", '<KEYVALUE VALUETYPE="numeric">', False),
    )
    def test_are_the_same_in_spite_of(self, part, becomes, expected):
        one, other = (
            Counter(lines(ElementTree.fromstring(each)))
            for each in (BODY, BODY.replace(part, becomes))
        )
        self.assertEqual(one == other, expected, (one, other))


class Reasons(testing.Test):
    @cases(
        Case("both_lines_fit", "get", "a", "b", 0),
        Case("servers_swapped", "get", "b", "a", 0),
        Case("one_line_does_not_fit", "get", "a", "c", 1),
        Case("another_request", "set", "a", "b", 2),
        Case("equal", "set", "a", "a", 0),
    )
    def test_unexplained_lines_of(self, request, one, other, expected):
        table = [{"reason": "why", "requests": "^get", "embedded": "^a", "other": "^b"}]
        sides = [SimpleNamespace(responses={request: Counter([line])}) for line in (one, other)]
        unexplained = Comparison(sides, table).unexplained
        self.assertEqual(sum(map(len, unexplained.values())), expected, unexplained)

    def test_none_excuses_every_line(self):
        for entry in known():
            for kind in ("embedded", "other"):
                self.assertNotEqual(entry.get(kind), "", entry)
                self.assertFalse(Comparison.fits({**entry, "requests": ""}, "", kind, "a line"), entry)

    def test_every_deviation_has_one(self):
        reasons = {entry["reason"] for entry in known()}
        self.assertLessEqual({each.reason for each in exchanges.DEVIATIONS.values()}, reasons)


class Servers(testing.EmbeddedServerTest):
    def test_changed_record_is_what_differs(self):
        server = testing.open_server()
        self.addCleanup(server.close)
        sides = [Side(server.url, SECONDS), Side(server.url, SECONDS)]
        suite = Suite(sides[0].paths(), server.interop)
        suite.requests = suite.requests[::9]
        sides[0].run(suite)
        contents = json.loads(server.array.read_text())
        contents["cages"][0]["elementName"] = "changed"
        server.array.write_text(json.dumps(contents))
        sides[1].run(suite)
        found = Comparison(sides, known())
        self.assertTrue(0 < len(found.unexplained) < len(suite.requests) / 4, found.summary())
        for different in found.unexplained.values():
            self.assertRegex(different[0], "ElementName.* = ")


if __name__ == "__main__":
    testing.main()
