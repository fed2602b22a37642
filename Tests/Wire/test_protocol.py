"""Requests that no good client sends: each gets an answer of its own, and the server goes on."""

import base64
from concurrent import futures
import os
import socket
import unittest

import run
from server import NAMESPACE, Server

LOGIN = "Basic " + base64.b64encode(b"admin:admin").decode()
GOOD_BODY = """<?xml version="1.0" encoding="utf-8" ?>
<CIM CIMVERSION="2.0" DTDVERSION="2.0"><MESSAGE ID="1" PROTOCOLVERSION="1.0"><SIMPLEREQ>
<IMETHODCALL NAME="EnumerateInstanceNames"><LOCALNAMESPACEPATH><NAMESPACE NAME="root"/>
<NAMESPACE NAME="qbx"/></LOCALNAMESPACEPATH><IPARAMVALUE NAME="ClassName">
<CLASSNAME NAME="QBX_DriveCage"/></IPARAMVALUE></IMETHODCALL></SIMPLEREQ></MESSAGE></CIM>"""
GOOD_HEADERS = {
    "Host": "localhost",
    "Content-Type": 'application/xml; charset="utf-8"',
    "Authorization": LOGIN,
    "CIMOperation": "MethodCall",
    "CIMMethod": "EnumerateInstanceNames",
    "CIMObject": NAMESPACE.replace("/", "%2F"),
    "Connection": "close",
}


def request(body=GOOD_BODY, verb="POST", path="/cimom", version="HTTP/1.1", drop=(), **headers):
    """The bytes of a request that differs from a good one in what is given."""
    content = body if isinstance(body, bytes) else body.encode()
    lines = {
        **GOOD_HEADERS,
        "Content-Length": str(len(content)),
        **{name.replace("_", "-"): value for name, value in headers.items()},
    }
    text = f"{verb} {path} {version}\r\n" + "".join(
        f"{name}: {value}\r\n" for name, value in lines.items() if name not in drop
    )
    return text.encode() + b"\r\n" + content


class Protocol(unittest.TestCase):
    maxDiff = None

    @classmethod
    def setUpClass(cls):
        cls.server = Server(os.environ["QBX_BUILD"], "--timeout", "2", array=run.ARRAY)
        cls.addClassCleanup(cls.server.close)

    def send(self, data, seconds=30, half_close=False):
        """All that the server answers until it closes the connection."""
        with socket.create_connection(
            ("127.0.0.1", self.server.port), timeout=seconds
        ) as connection:
            answer = b""
            try:
                connection.sendall(data)
                if half_close:
                    connection.shutdown(socket.SHUT_WR)
            except (BrokenPipeError, ConnectionResetError):
                pass  # it may stop reading, and still answer
            while True:
                try:
                    part = connection.recv(65536)
                except ConnectionResetError:
                    return answer
                if not part:
                    return answer
                answer += part

    def status(self, data, **how):
        answer = self.send(data, **how)
        return int(answer.split(b" ", 2)[1]) if answer.startswith(b"HTTP/") else None

    def tearDown(self):
        answer = self.send(request())
        self.assertIn(b" 200 ", answer.split(b"\r\n")[0], "the server no longer answers")
        self.assertIn(b"<INSTANCENAME", answer)

    def test_xml_faults(self):
        for name, body in {
            "truncated": GOOD_BODY[:-40],
            "tags that do not match": GOOD_BODY.replace("</CIM>", "</MIC>"),
            "no XML": "hello",
            "empty": "",
            "an unknown entity": GOOD_BODY.replace("QBX_DriveCage", "&who;"),
            "a document type": GOOD_BODY.replace(
                "<CIM ", '<!DOCTYPE CIM [<!ENTITY a "aaaa">]><CIM ', 1
            ),
            "an external entity": GOOD_BODY.replace(
                "<CIM ", '<!DOCTYPE CIM [<!ENTITY a SYSTEM "file:///etc/passwd">]><CIM ', 1
            ).replace("QBX_DriveCage", "&a;"),
            "no UTF-8": GOOD_BODY.encode().replace(b"QBX_DriveCage", b"QBX_\xff\xfe"),
            "another root": GOOD_BODY.replace("<CIM ", "<CAT ").replace("</CIM>", "</CAT>"),
            "an unknown element": GOOD_BODY.replace("<SIMPLEREQ>", "<SIMPLEREQ><WHAT/>"),
            "no namespace": GOOD_BODY.replace('<NAMESPACE NAME="root"/>', "").replace(
                '<NAMESPACE NAME="qbx"/>', ""
            ),
            "a bad class name": GOOD_BODY.replace("QBX_DriveCage", "1 2"),
            "depth": '<?xml version="1.0"?>' + "<a>" * 20000,
        }.items():
            with self.subTest(name):
                self.assertEqual(self.status(request(body)), 400)

    def test_versions(self):
        self.assertEqual(
            self.status(request(GOOD_BODY.replace('CIMVERSION="2.0"', 'CIMVERSION="1.0"'))), 501
        )
        self.assertEqual(
            self.status(request(GOOD_BODY.replace('DTDVERSION="2.0"', 'DTDVERSION="3.0"'))), 501
        )

    def test_header_faults(self):
        for name, data in {
            "no host": request(drop=["Host"]),
            "no operation": request(drop=["CIMOperation"]),
            "another operation": request(CIMOperation="MethodResponse"),
            "no method": request(drop=["CIMMethod"]),
            "another method than the body's": request(CIMMethod="GetInstance"),
            "no object": request(drop=["CIMObject"]),
            "another object than the body's": request(CIMObject="root%2Fother"),
            "another type": request(**{"Content_Type": "text/plain"}),
            "another character set": request(**{"Content_Type": "application/xml; charset=latin1"}),
        }.items():
            with self.subTest(name):
                self.assertEqual(self.status(data), 400)

    def test_who_asks(self):
        for name, data in {
            "nobody": request(drop=["Authorization"]),
            "another scheme": request(Authorization="Digest x"),
            "no base64": request(Authorization="Basic %%%"),
            "no colon": request(Authorization="Basic " + base64.b64encode(b"admin").decode()),
            "a wrong password": request(
                Authorization="Basic " + base64.b64encode(b"admin:nimda").decode()
            ),
        }.items():
            with self.subTest(name):
                answer = self.send(data)
                self.assertIn(b" 401 ", answer.split(b"\r\n")[0])
                self.assertIn(b"www-authenticate: basic realm=", answer.lower())
        self.assertNotIn("nimda", self.server.output.read_text())

    def test_what_is_no_http(self):
        for name, data in {
            "garbage": b"\x00\x01\x02\xff\r\n\r\n",
            "a line": b"hello\r\n\r\n",
            "nothing": b"",
            "half a request": request()[:100],
            "a body that never comes": request(**{"Content_Length": "100000"}),
            "a length that is no number": request(**{"Content_Length": "many"}),
            "a negative length": request(**{"Content_Length": "-5"}),
        }.items():
            with self.subTest(name):
                status = self.status(data, half_close=True)
                self.assertTrue(status is None or status >= 400, status)

    def test_other_verbs(self):
        for verb in ("GET", "PUT", "DELETE", "OPTIONS"):
            with self.subTest(verb):
                status = self.status(request(verb=verb))
                self.assertTrue(status is not None and status >= 400, status)

    def test_too_much(self):
        too_long = 1 << 30
        head = request(body="").replace(
            b"Content-Length: 0", f"Content-Length: {too_long}".encode()
        )
        status = self.status(head, half_close=True)
        self.assertTrue(status is None or status >= 400, status)
        status = self.status(request(**{"X_Long": "x" * (4 << 20)}))
        self.assertTrue(status is None or status >= 400, status)

    def test_an_unknown_operation(self):
        answer = self.send(
            request(
                GOOD_BODY.replace("EnumerateInstanceNames", "Frobnicate"), CIMMethod="Frobnicate"
            )
        )
        self.assertIn(b'<ERROR CODE="7"', answer)

    def test_many_connections_that_say_nothing(self):
        idle = [socket.create_connection(("127.0.0.1", self.server.port)) for _ in range(50)]
        self.addCleanup(lambda: [each.close() for each in idle])
        self.assertEqual(self.status(request()), 200)

    def test_many_clients_at_once_get_the_same(self):
        """Everything there is, and the way from a card to its cage, which asks the server itself."""
        everything = GOOD_BODY.replace("EnumerateInstanceNames", "EnumerateInstances").replace(
            "QBX_DriveCage", "CIM_ManagedElement"
        )
        upcall = GOOD_BODY.replace("EnumerateInstanceNames", "Associators").replace(
            """<IPARAMVALUE NAME="ClassName">
<CLASSNAME NAME="QBX_DriveCage"/></IPARAMVALUE>""",
            """<IPARAMVALUE NAME="ObjectName"><INSTANCENAME CLASSNAME="QBX_CageInterfaceCardDC1Family">
<KEYBINDING NAME="CreationClassName"><KEYVALUE>QBX_CageInterfaceCardDC1Family</KEYVALUE></KEYBINDING>
<KEYBINDING NAME="Tag"><KEYVALUE>card1-0</KEYVALUE></KEYBINDING></INSTANCENAME></IPARAMVALUE>""",
        )
        for data, marker in (
            (request(everything, CIMMethod="EnumerateInstances"), b"<VALUE.NAMEDINSTANCE"),
            (
                request(upcall, CIMMethod="Associators"),
                b'<INSTANCE CLASSNAME="QBX_DriveCageDC1Family"',
            ),
        ):
            with self.subTest(marker), futures.ThreadPoolExecutor(24) as pool:
                answers = list(pool.map(lambda _: self.send(data, seconds=120), range(72)))
                self.assertIn(marker, answers[0])
                self.assertEqual(len(set(answers)), 1)


if __name__ == "__main__":
    run.main()
