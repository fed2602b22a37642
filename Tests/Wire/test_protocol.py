"""Many clients at once, and clients that dawdle: the server goes on, and everybody gets the same."""

import base64
from concurrent import futures
import os
import socket
import time
import unittest

import run
from server import NAMESPACE, Server

LOGIN = base64.b64encode(b"admin:admin").decode()
TIMEOUT = 2  # seconds that the server gives a request


def request(method, parameter, value):
    """The bytes of an operation with one parameter; the connection ends after its answer."""
    spaces = "".join(f'<NAMESPACE NAME="{part}"/>' for part in NAMESPACE.split("/"))
    body = (
        '<?xml version="1.0"?><CIM CIMVERSION="2.0" DTDVERSION="2.0"><MESSAGE ID="1" PROTOCOLVERSION='
        f'"1.0"><SIMPLEREQ><IMETHODCALL NAME="{method}"><LOCALNAMESPACEPATH>{spaces}'
        f'</LOCALNAMESPACEPATH><IPARAMVALUE NAME="{parameter}">{value}</IPARAMVALUE></IMETHODCALL>'
        "</SIMPLEREQ></MESSAGE></CIM>"
    )
    return (
        f"POST /cimom HTTP/1.1\r\nHost: localhost\r\nContent-Type: text/xml\r\nAuthorization: Basic "
        f"{LOGIN}\r\nCIMOperation: MethodCall\r\nCIMMethod: {method}\r\nCIMObject: {NAMESPACE}\r\n"
        f"Connection: close\r\nContent-Length: {len(body)}\r\n\r\n{body}"
    ).encode()


CAGES = request("EnumerateInstanceNames", "ClassName", '<CLASSNAME NAME="QBX_DriveCage"/>')
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


class Protocol(unittest.TestCase):
    def serve(self, *options):
        self.server = Server(os.environ["QBX_BUILD"], *options, array=run.ARRAY)
        self.addCleanup(self.server.close)

    def connect(self):
        return socket.create_connection(("127.0.0.1", self.server.port), timeout=120)

    def send(self, data):
        """All that the server answers until it closes the connection."""
        with self.connect() as connection, connection.makefile("rb") as answer:
            connection.sendall(data)
            return answer.read()

    def test_many_clients_at_once_get_the_same(self):
        self.serve()
        for data, marker in (
            (EVERYTHING, b"<VALUE.NAMEDINSTANCE"),
            (UPCALL, b'<INSTANCE CLASSNAME="QBX_DriveCageDC1Family"'),
        ):
            with self.subTest(marker), futures.ThreadPoolExecutor(24) as pool:
                answers = list(pool.map(lambda _: self.send(data), range(72)))
                self.assertIn(marker, answers[0])
                self.assertEqual(len(set(answers)), 1)

    def test_clients_that_dawdle_are_ended(self):
        """Those that say nothing, and those that send a byte now and then; others do not wait."""
        self.serve("--timeout", str(TIMEOUT))
        silent = [self.enterContext(self.connect()) for _ in range(50)]
        dripping = {self.enterContext(self.connect()): b"" for _ in range(5)}
        end = time.monotonic() + 15 * TIMEOUT
        while open_ones := [each for each, said in dripping.items() if b" 408 " not in said]:
            self.assertLess(time.monotonic(), end, "a dripping connection lives on")
            for connection in open_ones:
                connection.sendall(b"P")
                connection.settimeout(0.05)
                try:
                    dripping[connection] += connection.recv(1000)
                except TimeoutError:
                    pass
            self.assertIn(b"<INSTANCENAME", self.send(CAGES))
        for connection in silent:
            self.assertIn(b" 408 ", connection.recv(1000))
        self.assertIn(b"<INSTANCENAME", self.send(CAGES))


if __name__ == "__main__":
    run.main()
