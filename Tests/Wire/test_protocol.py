"""Clients that want too much and clients that dawdle: each gets an answer of its own, and the
server goes on."""

import contextlib
import json
import pathlib
import re
import socket
import time

from qbx_support import testing
from qbx_support.exchanges import recorded
from qbx_support.raw import connected, exchange, receive_all
from qbx_support.testing import started

# Status, something in the reply, header fields, body.
ROWS = pathlib.Path(__file__).with_name("requests.json")
KEPT = recorded("ok")[0]  # asks for the names of the one instance, and keeps the connection
HEAD, BODY = re.sub(rb"Content-Length.*\n", b"", KEPT).split(b"\r\n\r\n")


def request(size=0):
    """The same with a body of at least that size; the connection ends after the answer."""
    body = BODY.ljust(size)
    return HEAD + b"\r\nConnection: close\r\nContent-Length: %d\r\n\r\n%b" % (len(body), body)


class Protocol(testing.EmbeddedServerTest):
    def test_too_much(self):
        large = b"PGErrorDetail: The%20request%20body%20is%20larger%20than%202000%20bytes."
        chunked = HEAD + b"\r\nTransfer-Encoding: chunked\r\n\r\n"
        with started("--no-auth", "--max-header", "8192", "--max-body", "2000") as (_, port, _):
            for said, status, told in (
                (request(2000), b"200", b"<INSTANCENAME"),
                (request(2001), b"413", large),
                (chunked + b"7d1\r\n%b\r\n0\r\n\r\n" % (2001 * b"x"), b"413", large),
                (HEAD + b"\r\nX: %b\r\n\r\n" % (20000 * b"x"), b"431", b""),
                (request().replace(b"/cimom", b"/" + 20000 * b"x"), b"414", b""),
                (chunked + 9999 * (b"400\r\n%b\r\n" % (1024 * b"x")), b"413", large),
            ):
                with self.subTest(said[:400]):
                    reply = exchange(port, said)
                    self.assertEqual(reply[9:12], status)
                    self.assertIn(told, reply)
                    self.assertIn(b"Connection: close", reply)

    def test_header_fields(self):
        """What could be read in two ways is refused, and what follows it is no request."""
        line, kept = HEAD.split(b"\r\n", 1)
        values = {"n": len(BODY), "size": f"{len(BODY):x}", "body": BODY.decode("latin-1")}
        with started("--no-auth") as (_, port, _):
            for status, text, fields, body in json.loads(ROWS.read_text()):
                with self.subTest(fields=fields, body=body):
                    fields = "\r\n".join(["", *fields, "Connection: close", ""]).format(**values)
                    said = line + fields.encode("latin-1") + kept + b"\r\n\r\n"
                    told = exchange(port, said + body.format(**values).encode("latin-1") + KEPT)
                    self.assertEqual(re.findall(rb"HTTP/1.1 (\d+)", told), [b"%d" % status])
                    self.assertIn(text.encode(), told)

    def test_too_many_connections(self):
        """The client that waits and has most connections loses one: first one on which nothing was
        accepted, which is told so, then one that is kept alive."""
        for limit, sources, displaced in (
            ("--max-connections", "122", (1, 0, 3)),
            ("--max-connections-per-address", "111", (0, 1, 2, 3)),
        ):
            with self.subTest(limit), started("--no-auth", limit, "3") as (_, port, _):
                with contextlib.ExitStack() as clients:
                    begin = lambda *said: clients.enter_context(connected(port, *said))
                    waiting = [begin(b"", f"127.0.0.{source}") for source in sources]
                    for each in displaced:
                        waiting.append(begin(KEPT))
                        self.assertIn(b"<INSTANCENAME", waiting[-1].recv(4096))
                        told = receive_all(waiting[each])
                        self.assertIn(b" 503 " if each < 3 else b"", told)
                        self.assertIn(b"Too%20many%20connections." if each < 3 else b"", told)

    def test_clients_that_dawdle_are_ended(self):
        """Those that say nothing or not all, and those that send a byte now and then."""
        with contextlib.ExitStack() as clients, started("--no-auth", "--timeout", "1") as (_, port, _):
            quiet = [
                clients.enter_context(connected(port, said))
                for said in [b"", HEAD, request()[:-1]] * 20
            ]
            idle = clients.enter_context(connected(port, KEPT))
            drip = clients.enter_context(connected(port))
            end = time.monotonic() + 30
            with contextlib.suppress(ConnectionError):
                while time.monotonic() < end:
                    drip.sendall(b"P")
                    self.assertIn(b"<INSTANCENAME", exchange(port, request()))
            for client in (drip, *quiet):
                self.assertIn(b" 408 ", receive_all(client))
            self.assertTrue(receive_all(idle).endswith(b"</CIM>\n"))

    def test_who_ends_sending(self):
        """Gets the reply to a whole request, and the end of the connection to a part."""
        with started("--no-auth") as (_, port, _):
            for said, told in ((request(), b"200"), (HEAD, b""), (request()[:-1], b"")):
                with self.subTest(said), connected(port, said) as connection:
                    connection.shutdown(socket.SHUT_WR)
                    self.assertEqual(receive_all(connection)[9:12], told)


if __name__ == "__main__":
    testing.main()
