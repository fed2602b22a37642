"""Many clients at once, clients that want too much and clients that dawdle: each gets an answer of
its own, and the server goes on."""

import base64
import contextlib
import os
import socket
import time
import unittest
from concurrent import futures

import run
from server import NAMESPACE, Server
from test_program import started

LOGIN = base64.b64encode(b"admin:admin").decode()
HEAD = (
    "POST /cimom HTTP/1.1\r\nHost: x\r\nContent-Type: text/xml\r\nCIMOperation: MethodCall\r\n"
    f"CIMObject: {NAMESPACE}\r\nAuthorization: Basic {LOGIN}\r\n"
)


def request(method, parameter, value, size=0):
    """An operation with one parameter, its body filled up to that size; the connection ends after
    its answer."""
    spaces = "".join(f'<NAMESPACE NAME="{part}"/>' for part in NAMESPACE.split("/"))
    body = (
        '<?xml version="1.0"?><CIM CIMVERSION="2.0" DTDVERSION="2.0"><MESSAGE ID="1"'
        f' PROTOCOLVERSION="1.0"><SIMPLEREQ><IMETHODCALL NAME="{method}"><LOCALNAMESPACEPATH>'
        f'{spaces}</LOCALNAMESPACEPATH><IPARAMVALUE NAME="{parameter}">{value}</IPARAMVALUE>'
        "</IMETHODCALL></SIMPLEREQ></MESSAGE></CIM>"
    ).ljust(size)
    return (
        f"{HEAD}CIMMethod: {method}\r\nConnection: close\r\nContent-Length: {len(body)}\r\n\r\n"
        f"{body}"
    )


PROBES = ("EnumerateInstanceNames", "ClassName", '<CLASSNAME NAME="Probe_CageM"/>')
PROBE = request(*PROBES)
EVERYTHING = request("EnumerateInstances", "ClassName", '<CLASSNAME NAME="CIM_ManagedElement"/>')
# From a card to its cage: the provider asks the server itself.
CARD = "QBX_CageInterfaceCardDC1Family"
UPCALL = request(
    "Associators",
    "ObjectName",
    f'<INSTANCENAME CLASSNAME="{CARD}"><KEYBINDING NAME="CreationClassName"><KEYVALUE>{CARD}'
    '</KEYVALUE></KEYBINDING><KEYBINDING NAME="Tag"><KEYVALUE>card1-0</KEYVALUE></KEYBINDING>'
    "</INSTANCENAME>",
)


@contextlib.contextmanager
def connected(port, text=""):
    """A connection on which the text was sent."""
    with socket.create_connection(("127.0.0.1", port), timeout=120) as connection:
        with contextlib.suppress(ConnectionError):  # the server may stop reading, and still answer
            connection.sendall(text.encode())
        yield connection


def rest(connection):
    """All that the server says until it ends the connection."""
    answer = b""
    with contextlib.suppress(ConnectionResetError):
        while part := connection.recv(65536):
            answer += part
    return answer


def answer(port, text=PROBE):
    with connected(port, text) as connection:
        return rest(connection)


class Protocol(unittest.TestCase):
    def test_many_clients_at_once_get_the_same(self):
        with Server(os.environ["QBX_BUILD"], array=run.ARRAY) as server:
            for text, marker in (
                (EVERYTHING, b"<VALUE.NAMEDINSTANCE"),
                (UPCALL, b'<INSTANCE CLASSNAME="QBX_DriveCageDC1Family"'),
            ):
                with self.subTest(marker), futures.ThreadPoolExecutor(24) as pool:
                    answers = list(pool.map(lambda _: answer(server.port, text), range(72)))
                    self.assertIn(marker, answers[0])
                    self.assertEqual(len(set(answers)), 1)

    def test_too_much(self):
        most = 2000
        large = f"PGErrorDetail: The%20request%20body%20is%20larger%20than%20{most}%20bytes."
        chunked = f"{HEAD}Transfer-Encoding: chunked\r\n\r\n"
        with started("--no-auth", "--max-header", "8192", "--max-body", str(most)) as (_, port):
            for text, status, said in (
                (request(*PROBES, size=most), 200, "<INSTANCENAME"),
                (request(*PROBES, size=most + 1), 413, large),
                (f"{HEAD}Content-Length: {10**30}\r\n\r\n", 413, ""),
                (f"{chunked}7d1\r\n{'x' * 2001}\r\n0\r\n\r\n", 413, large),
                (f"{HEAD}X: {'x' * 20000}\r\n\r\n", 431, ""),
                (PROBE.replace("/cimom", "/" + "x" * 20000), 414, ""),
                (chunked + 9999 * f"400\r\n{'x' * 1024}\r\n", 0, ""),  # cut off
            ):
                with self.subTest(text[:400]):
                    reply = answer(port, text).decode()
                    self.assertEqual(reply[:13], f"HTTP/1.1 {status} " if status else "")
                    self.assertIn(said, reply)
                    self.assertIn("Connection: close" if status else "", reply)

    def test_too_many_connections(self):
        """Those beyond a limit are told so at once, and those that end make room."""
        for limit in ("--max-connections", "--max-connections-per-address"):
            with self.subTest(limit), started("--no-auth", limit, "2") as (_, port):
                with connected(port), connected(port):
                    with connected(port) as refused:
                        said = rest(refused)
                    self.assertIn(b" 503 ", said)
                    self.assertIn(b"PGErrorDetail: Too%20many%20connections.", said)
                end = time.monotonic() + 30
                while b"<INSTANCENAME" not in answer(port):
                    self.assertLess(time.monotonic(), end)

    def test_clients_that_dawdle_are_ended(self):
        """Those that say nothing or not all, and those that send a byte now and then."""
        part = f"{HEAD}Content-Length: 9\r\n\r\n12345678"
        with contextlib.ExitStack() as clients, started("--no-auth", "--timeout", "1") as (_, port):
            quiet = [clients.enter_context(connected(port, text)) for text in ["", HEAD, part] * 20]
            idle = clients.enter_context(connected(port, PROBE.replace("close", "keep-alive")))
            drip = clients.enter_context(connected(port))
            end = time.monotonic() + 30
            with contextlib.suppress(ConnectionError):
                while time.monotonic() < end:
                    drip.sendall(b"P")
                    self.assertIn(b"<INSTANCENAME", answer(port))
            for client in (drip, *quiet):
                self.assertIn(b" 408 ", rest(client))
            self.assertTrue(rest(idle).endswith(b"</CIM>\n"))

    def test_who_ends_sending(self):
        """Gets the reply to a whole request, and the end of the connection to a part."""
        with started("--no-auth") as (_, port):
            for text, said in ((PROBE, b"HTTP/1.1 200"), (HEAD, b""), (PROBE[:-1], b"")):
                with self.subTest(text), connected(port, text) as connection:
                    connection.shutdown(socket.SHUT_WR)
                    self.assertEqual(rest(connection)[:12], said)


if __name__ == "__main__":
    run.main()
