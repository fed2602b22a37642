"""The comparison of two servers: what differs, and what of it has a reason."""

import json
import xml.etree.ElementTree as ElementTree
from collections import Counter
from types import SimpleNamespace

from Compare.compare import Comparison, Side, known, lines
from Compare.suite import Suite
from qbx_support import testing

A, B = (f'<KEYBINDING NAME="{each}"><KEYVALUE>1</KEYVALUE></KEYBINDING>' for each in "AB")
P, Q = (f'<PROPERTY NAME="{each}"><VALUE>1</VALUE></PROPERTY>' for each in "PQ")
NAME = f'<INSTANCENAME CLASSNAME="C">{A}{B}</INSTANCENAME>'
ONE = f'{NAME}<INSTANCE CLASSNAME="C">{P}{Q}</INSTANCE>'
ONE = f"<R><VALUE.NAMEDINSTANCE>{ONE}</VALUE.NAMEDINSTANCE></R>"


class Compare(testing.EmbeddedServerTest):
    def test_order_means_nothing_and_all_else_does(self):
        for part, becomes, is_same in (
            (A + B, B + A, True),
            (P + Q, Q + P, True),
            (B, "", False),
            (Q, "", False),
            (Q, Q + Q, False),
            ("<VALUE>1</VALUE>", "", False),
            ("<KEYVALUE>", '<KEYVALUE VALUETYPE="numeric">', False),
        ):
            told = [
                Counter(lines(ElementTree.fromstring(each)))
                for each in (ONE, ONE.replace(part, becomes))
            ]
            self.assertEqual(told[0] == told[1], is_same, (part, becomes))

    def test_a_reason_is_for_a_question_a_server_and_a_line(self):
        table = [{"reason": "why", "questions": "^ask", "embedded": "^a", "other": "^b"}]
        for question, one, other, unexplained in (
            ("ask", "a", "b", 0),
            ("ask", "b", "a", 0),  # whichever is which
            ("ask", "a", "c", 1),
            ("told", "a", "b", 2),
            ("told", "a", "a", 0),
        ):
            sides = [SimpleNamespace(answers={question: Counter([line])}) for line in (one, other)]
            found = Comparison(sides, table)
            self.assertEqual(sum(map(len, found.unexplained.values())), unexplained, (one, other))

    def test_equal_servers_answer_alike_and_another_array_shows(self):
        server = testing.open_server()
        self.addCleanup(server.close)
        sides = [Side(server.url), Side(server.url)]
        suite = Suite(sides[0].paths(), server.interop)
        suite.asked = suite.asked[::9]
        sides[0].run(suite)
        contents = json.loads(server.array.read_text())
        contents["cages"][0]["elementName"] = "changed"
        server.array.write_text(json.dumps(contents))
        sides[1].run(suite)
        found = Comparison(sides, known())
        self.assertTrue(0 < len(found.unexplained) < len(suite.asked) / 4, found.summary())
        for told in found.unexplained.values():
            self.assertRegex(told[0], "ElementName.* = ")


if __name__ == "__main__":
    testing.main()
