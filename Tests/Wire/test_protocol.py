"""HTTP at its limits: requests that are too large or ambiguous, too many connections, slow clients.
Each gets a response of its own, and the server goes on."""

import contextlib
import re
import socket
import time

from qbx_support import testing
from qbx_support.exchanges import recorded
from qbx_support.raw import SECONDS, connected, exchange, receive_all
from qbx_support.testing import Case, cases, started

KEPT = recorded("ok")[0]  # lists the one instance, and keeps the connection
HEAD, BODY = re.sub(rb"Content-Length.*\n", b"", KEPT).split(b"\r\n\r\n")
LIST = b"<INSTANCENAME"  # in the response to it
CHUNKED = HEAD + b"\r\nTransfer-Encoding: chunked\r\n\r\n"


def request(size=0):
    """The same with a body of at least that size; the connection ends after the response."""
    body = BODY.ljust(size)
    return HEAD + b"\r\nConnection: close\r\nContent-Length: %d\r\n\r\n%b" % (len(body), body)


class TooMuch(testing.EmbeddedServerTest):
    port: int

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        limits = ("--max-header", "8192", "--max-body", "2000")
        _, cls.port, _ = cls.enterClassContext(started("--no-auth", *limits))

    LARGE = b"PGErrorDetail: The%20request%20body%20is%20larger%20than%202000%20bytes."

    @cases(
        Case("largest_body", request(2000), b"200", LIST),
        Case("larger_body", request(2001), b"413", LARGE),
        Case("larger_chunk", CHUNKED + b"7d1\r\n%b\r\n0\r\n\r\n" % (2001 * b"x"), b"413", LARGE),
        Case("larger_header", HEAD + b"\r\nX: %b\r\n\r\n" % (20000 * b"x"), b"431", b""),
        Case("larger_path", request().replace(b"/cimom", b"/" + 20000 * b"x"), b"414", b""),
    )
    def test_response_to(self, sent, status, part):
        received = exchange(self.port, sent)
        self.assertEqual(received[9:12], status, received[:2000])
        self.assertIn(part, received)
        self.assertIn(b"Connection: close", received)

    def test_endless_body_is_cut_off(self):
        sent = CHUNKED + 9999 * (b"400\r\n%b\r\n" % (1024 * b"x"))
        self.assertIn(self.LARGE, exchange(self.port, sent))


UNCLEAR = "not%20clear%20from%20the%20header%20where%20the%20body%20ends"
UNKNOWN_CODING = "only%20transfer%20coding%20known%20here%20is%20chunked"
PLAIN, ONE_CHUNK = "{body}", "{size}\r\n{body}\r\n0\r\n\r\n"
LENGTH, CODING = "Content-Length: {n}", "Transfer-Encoding: chunked"


class Framing(testing.EmbeddedServerTest):
    """Where a request ends. What could be read in two ways is refused, and what follows it is not
    taken for a request.

    A row: header fields, how the body is sent, status, a part of the response. {body} is the body,
    {n} its length and {size} that in hexadecimal.
    """

    port: int

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        _, cls.port, _ = cls.enterClassContext(started("--no-auth"))

    @cases(
        Case("length", [LENGTH], PLAIN, 200, "<INSTANCENAME"),
        Case("chunked", [CODING], ONE_CHUNK, 200, "<INSTANCENAME"),
        Case("many_fields", [*(f"X{i}: y" for i in range(300)), LENGTH], PLAIN, 200, "<INSTANCENAME"),
        Case("second_length", [LENGTH, "Content-Length: 5"], PLAIN, 400, UNCLEAR),
        Case("same_length_twice", [LENGTH, LENGTH], PLAIN, 400, UNCLEAR),
        Case("blank_before_colon_of_length", ["Content-Length : 5", LENGTH], PLAIN, 400, UNCLEAR),
        Case("blank_before_length", [" " + LENGTH, "X: y"], PLAIN, 400, UNCLEAR),
        Case("length_and_coding", [LENGTH, CODING], ONE_CHUNK, 400, UNCLEAR),
        Case("coding_and_length", [CODING, LENGTH], ONE_CHUNK, 400, UNCLEAR),
        Case("coding_twice", [CODING, CODING], ONE_CHUNK, 400, UNCLEAR),
        Case("other_coding_before", ["Transfer-Encoding: gzip", CODING], ONE_CHUNK, 400, UNCLEAR),
        Case("tab_before_colon", [LENGTH, "Transfer-Encoding\t: chunked"], PLAIN, 400, UNCLEAR),
        Case("coding_behind_bare_CR", [LENGTH, "X: y\r" + CODING], PLAIN, 400, UNCLEAR),
        Case("list_of_lengths", ["Content-Length: {n}, {n}"], PLAIN, 400, ""),
        Case("sign_before_length", ["Content-Length: +{n}"], PLAIN, 400, ""),
        Case("empty_length", ["Content-Length:"], PLAIN, 400, ""),
        Case("length_beyond_64_bits", ["Content-Length: 18446744073709551621"], PLAIN, 400, ""),
        Case("gzip", ["Transfer-Encoding: gzip, chunked"], ONE_CHUNK, 501, UNKNOWN_CODING),
        Case("control_in_coding", ["Transfer-Encoding: \vchunked"], ONE_CHUNK, 400, UNCLEAR),
        Case("empty_coding", ["Transfer-Encoding: "], ONE_CHUNK, 501, UNKNOWN_CODING),
        Case("identity", ["Transfer-Encoding: identity"], PLAIN, 501, UNKNOWN_CODING),
        Case("sign_before_chunk", [CODING], "+" + ONE_CHUNK, 400, ""),
        Case("blank_before_chunk", [CODING], " " + ONE_CHUNK, 400, ""),
        Case("line_before_chunk", [CODING], "\r\n" + ONE_CHUNK, 400, ""),
        Case("chunk_beyond_64_bits", [CODING], "10000000000000000" + ONE_CHUNK, 400, ""),
        Case("longer_chunk", [CODING], "{size}\r\n{body}more\r\n0\r\n\r\n", 400, ""),
        Case("text_behind_size", [CODING], "{size} x\r\n{body}\r\n0\r\n\r\n", 400, ""),
        Case("chunk_beyond_32_bits", [CODING], "1{size:0>16}\r\n{body}\r\n0\r\n\r\n", 400, ""),
        Case("bare_LF_behind_size", [CODING], "{size}\n{body}\r\n0\r\n\r\n", 400, ""),
        Case("blanks_behind_coding", [CODING + " \t"], ONE_CHUNK, 200, "<INSTANCENAME"),
        Case("text_behind_length", [LENGTH + " x"], PLAIN, 400, UNCLEAR),
        Case("empty_name", [":", LENGTH], PLAIN, 400, UNCLEAR),
        Case("NUL_as_name", ["\0: x", LENGTH], PLAIN, 400, UNCLEAR),
        Case("NUL_in_name", ["X\0Y: x", LENGTH], PLAIN, 400, UNCLEAR),
        Case("bare_LF", [LENGTH, "X: y\n" + CODING], PLAIN, 400, UNCLEAR),
        Case("folded_line", [LENGTH, "X: y\r\n folded"], PLAIN, 400, UNCLEAR),
        Case("field_without_colon", ["nonsense", LENGTH], PLAIN, 400, ""),
        Case("byte_that_is_no_text", ["CIMMethod: \xff", LENGTH], PLAIN, 400,
             "CIMMethod%20value%20%22%FF%22%20does%20not%20match"),
        Case("escapes_that_are_no_text", ["CIMObject: root%c0%80", LENGTH], PLAIN, 400,
             "CIMObject%20value%20%22root%C0%80%22%20does%20not%20match"),
    )  # fmt: skip
    def test_response_to(self, fields, body, status, part):
        values = {"n": len(BODY), "size": f"{len(BODY):x}", "body": BODY.decode("latin-1")}
        line, others = HEAD.split(b"\r\n", 1)
        header = "\r\n".join(["", *fields, "Connection: close", ""]).format(**values)
        sent = line + header.encode("latin-1") + others + b"\r\n\r\n"
        sent += body.format(**values).encode("latin-1")
        received = exchange(self.port, sent + KEPT)
        message = f"\nrequest: {sent.decode('latin-1')}\nresponse: {received[:2000]}"
        self.assertEqual(re.findall(rb"HTTP/1.1 (\d+)", received), [b"%d" % status], message)
        self.assertIn(part.encode(), received)


class Connections(testing.EmbeddedServerTest):
    @cases(
        Case("of_all", "--max-connections", "122", (1, 0, 3)),
        Case("of_an_address", "--max-connections-per-address", "111", (0, 1, 2, 3)),
    )
    def test_beyond_the_limit(self, limit, sources, order):
        """The client that waits and has most connections loses one: first one on which no request
        was accepted, which gets 503, then one that is kept alive."""
        with started("--no-auth", limit, "3") as (_, port, _), contextlib.ExitStack() as clients:
            waiting = [
                clients.enter_context(connected(port, b"", f"127.0.0.{source}"))
                for source in sources
            ]
            for displaced in order:
                waiting.append(self.served(clients, port))
                part = b"PGErrorDetail: Too%20many%20connections." if displaced < 3 else b""
                self.assertIn(part, receive_all(waiting[displaced]))

    def served(self, clients, port):
        """A connection on which a request was responded to. It gets 503 while all others are at
        work, as they are until they have noted that their response was sent."""
        while True:
            client = clients.enter_context(connected(port, KEPT))
            if LIST in (received := client.recv(4096)):
                return client
            self.assertIn(b" 503 ", received)

    @cases(Case("nothing", b""), Case("a_header", HEAD), Case("a_part", request()[:-1]))
    def test_ends_client_that_sends_only(self, sent):
        with started("--no-auth", "--timeout", "1") as (_, port, _), connected(port, sent) as client:
            self.assertIn(b" 408 ", receive_all(client))

    def test_ends_idle_connection_without_a_word(self):
        with started("--no-auth", "--timeout", "1") as (_, port, _), connected(port, KEPT) as idle:
            self.assertTrue(receive_all(idle).endswith(b"</CIM>\n"))

    def test_ends_client_that_sends_a_byte_now_and_then(self):
        """The time is that of the whole request; others are served meanwhile."""
        with started("--no-auth", "--timeout", "1") as (_, port, _), connected(port) as slow:
            deadline = time.monotonic() + SECONDS
            with contextlib.suppress(ConnectionError):
                while time.monotonic() < deadline:
                    slow.sendall(b"P")
                    self.assertIn(LIST, exchange(port, request()))
            self.assertIn(b" 408 ", receive_all(slow))

    @cases(
        Case("a_request", request(), b"200"),
        Case("a_header", HEAD, b""),
        Case("a_part", request()[:-1], b""),
    )
    def test_client_that_stops_sending_after(self, sent, status):
        """It gets the response to a whole request, and the end of the connection to a part."""
        with started("--no-auth") as (_, port, _), connected(port, sent) as connection:
            connection.shutdown(socket.SHUT_WR)
            self.assertEqual(receive_all(connection)[9:12], status)


if __name__ == "__main__":
    testing.main()
