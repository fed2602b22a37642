"""Exchanges recorded at a CIM server of the field, most with one fault or oddity in the request,
replayed against ours. Ours has to answer alike; where it does not, deviations.json says why."""

import io
import json

from qbx_support import testing
from qbx_support.exchanges import FOLDER, recorded
from qbx_support.raw import Response, connected
from qbx_support.testing import started

# By exchange: status, CIMError, PGErrorDetail (null: any), something in the body.
DEVIATIONS = {
    name: ours
    for group in json.loads((FOLDER / "deviations.json").read_text())
    for name, ours in group["ours"].items()
}
INCOMPLETE = {"partial_then_wait", "clen_long", "garbage_bin"}  # nobody answers until time is up


class Exchanges(testing.EmbeddedServerTest):
    maxDiff = None

    def compare(self, name, reply, recorded):
        if name in DEVIATIONS:
            status, error, detail, part = DEVIATIONS[name]
            self.assertEqual(reply.status_line.split()[1], str(status))
            self.assertEqual(reply.fields["CIMError"], error)
            self.assertIn(detail, (None, reply.fields["PGErrorDetail"]))
            self.assertIn(part, reply.body)
            return
        if recorded.fields["CIMError"] == "request-not-well-formed":
            # What is wrong with text that is no XML, the parser says in its own words.
            recorded.fields["PGErrorDetail"] = reply.fields["PGErrorDetail"]
        self.assertEqual(reply.status_line, recorded.status_line)
        self.assertEqual(reply.fields, recorded.fields)
        if recorded.status_line.split()[1] == "200":
            self.assertEqual(reply.body, recorded.body)

    def replay(self, names, *options):
        with started("--host-name=vm", *options) as (_, port, _):
            for name in sorted(names):
                said, told = recorded(name)
                recording = io.BytesIO(told)
                with self.subTest(name), connected(port, said) as connection:
                    stream = connection.makefile("rb")
                    for _ in range(told.count(b"HTTP/1.1 ") or 1):
                        self.compare(name, Response(stream), Response(recording))

    def test_answered_alike(self):
        names = {path.stem for path in FOLDER.glob("*.txt")} - INCOMPLETE
        asking = {name for name in names if name.startswith("auth_")}
        self.assertGreater(len(asking), 10)
        self.replay(asking, "--users", FOLDER / "users")
        self.assertGreater(len(names), 100)
        self.replay(names - asking, "--no-auth")


if __name__ == "__main__":
    testing.main()
