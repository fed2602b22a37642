"""Recorded exchanges, replayed at the embedded server: its responses are those that OpenPegasus sent,
except for the deviations that qbx_support.exchanges explains."""

import io
import unittest
import urllib.parse

from qbx_support import exchanges, testing
from qbx_support.raw import Response, connected
from qbx_support.testing import Case, cases, started

NAMES = exchanges.names()


def rows(names):
    """A case for each exchange; its place is the file."""
    for name in names:
        row = Case(name, name)
        row.place = str(exchanges.FOLDER / f"{name}.txt")
        yield row


class Replay(testing.EmbeddedServerTest):
    """A server for all exchanges of the class, each on a connection of its own."""

    options: tuple = ()
    port: int

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        _, cls.port, _ = cls.enterClassContext(started("--host-name=vm", *cls.options))

    def compare(self, name, request, actual, recorded):
        """Compares what is defined of a response: without the other fields, and without the body
        of an HTTP error."""
        fields, expected = dict(actual.fields), dict(recorded.fields)
        status, expected_status = actual.status_line, recorded.status_line
        lines, expected_lines = actual.body.splitlines(), recorded.body.splitlines()
        if deviation := exchanges.DEVIATIONS.get(name):
            status, expected_status = status.split()[1], str(deviation.status)
            detail = urllib.parse.unquote(fields["PGErrorDetail"])
            fields = {"CIMError": fields["CIMError"], "PGErrorDetail": detail}
            expected = {"CIMError": deviation.cim_error, "PGErrorDetail": deviation.detail}
            self.assertIn(deviation.body or "no body", actual.body or "no body", request)
        elif expected["CIMError"] == "request-not-well-formed":
            # What is wrong with text that is no XML, each parser words in its own way.
            expected["PGErrorDetail"] = fields["PGErrorDetail"]
        if deviation or " 200 " not in recorded.status_line:
            lines = expected_lines = []
        self.assertResponse(
            {"status": status, **fields, **dict(enumerate(lines, 1))},
            {"status": expected_status, **expected, **dict(enumerate(expected_lines, 1))},
            request,
        )

    def replay(self, name):
        request, response = exchanges.recorded(name)
        recording = io.BytesIO(response)
        with connected(self.port, request) as connection:
            stream = connection.makefile("rb")
            for _ in range(response.count(b"HTTP/1.1 ") or 1):
                text = request.decode("utf-8", "replace")
                self.compare(name, text, Response(stream), Response(recording))


class WithUsers(Replay):
    options = ("--users", exchanges.FOLDER / "users")

    @cases(*rows(name for name in NAMES if name.startswith("auth_")))
    def test_response_to(self, name):
        self.replay(name)


class WithoutUsers(Replay):
    options = ("--no-auth",)

    @cases(*rows(name for name in NAMES if not name.startswith("auth_")))
    def test_response_to(self, name):
        self.replay(name)


class Deviations(unittest.TestCase):
    def test_each_is_of_an_exchange(self):
        self.assertLessEqual(set(exchanges.DEVIATIONS), set(NAMES))


if __name__ == "__main__":
    testing.main()
