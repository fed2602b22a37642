"""Exchanges recorded at a CIM server of the field, most with one fault or oddity in the request,
replayed against ours. Ours has to answer alike; where it does not, the table says why."""

import http.client
import io
import pathlib
import socket
import unittest

import run
from test_program import DATA, started

# How our reply differs: status, CIMError, PGErrorDetail (None: any), something in the body.
DEVIATIONS = {
    # The recorded server never answers these: it waits for a body that does not come.
    "no_clen": (411, "-", None, ""),
    "clen_huge": (413, "-", None, ""),
    # Bytes behind an announced body of length 0 or -5 were taken for the body.
    "clen_zero": (400, "request-not-valid", None, ""),
    "clen_neg": (400, "-", "-", ""),
    # The HTTP library answers these itself.
    "clen_bad": (400, "-", "-", ""),
    "garbage": (400, "-", "-", ""),
    "http_version_0_9": (505, "-", "-", ""),
    "http_version_2_0": (505, "-", "-", ""),
    "header_nocolon": (400, "-", "-", ""),
    # A built-in web server: absent here. It crashed at PUT.
    "verb_get": (405, "-", None, ""),
    "verb_put": (405, "-", None, ""),
    # Only few clients ever sent M-POST.
    "mpost": (405, "-", None, ""),
    "mpost_noman": (405, "-", None, ""),
    "mpost_prefixed": (405, "-", None, ""),
    # Nobody reads the languages.
    "accept_lang_bad": (200, "-", "-", "Probe_CageM:1</KEYVALUE>"),
    "content_lang_bad": (200, "-", "-", "Probe_CageM:1</KEYVALUE>"),
    # &#0; cut the value off; XML knows no such character.
    "xml_charref_zero": (400, "request-not-well-formed", None, ""),
    # References above 127 were taken for single bytes, so that the key was no UTF-8.
    "xml_charref": (200, "-", "-", "Tag=&quot;aABää&lt;&quot;"),
    # Not offered: changes of the schema, pulled enumerations.
    "xml_delete_class": (200, "-", "-", 'CODE="7" DESCRIPTION="CIM_ERR_NOT_SUPPORTED"/>'),
    "xml_openenum": (200, "-", "-", 'Unrecognized intrinsic method: OpenEnumerateInstances"/>'),
    "xml_openenum0": (200, "-", "-", 'Unrecognized intrinsic method: OpenEnumerateInstancePaths"'),
    # The recorded server had a provider with this method.
    "im_hdr_objcase": (200, "-", "-", '<METHODRESPONSE NAME="Stat">\n<ERROR CODE="'),
    # Trailers are optional for the server; ours answers plainly.
    "chunked_TE": (200, "-", "-", "Probe_CageM:1</KEYVALUE>"),
    # The ID is echoed with its escapes: the recorded reply is no XML.
    "xml_msgid_weird": (200, "-", "-", 'ID="a&lt;b é"'),
    # Nested without end: we refuse the depth, not the element.
    "xml_deep": (400, "request-not-valid", None, ""),
}
COMPARED = ("CIMError", "CIMOperation", "Content-Type", "WWW-Authenticate", "PGErrorDetail")
INCOMPLETE = {"partial_then_wait", "clen_long", "garbage_bin"}  # nobody answers until time is up


class Reply:
    """The next reply of a stream."""

    def __init__(self, stream):
        self.line = stream.readline().decode().strip()
        fields = http.client.parse_headers(stream)
        self.fields = {name: fields.get(name, "-") for name in COMPARED}
        self.body = stream.read(int(fields.get("Content-Length", 0))).decode()
        if " 100 " in self.line:
            self.__init__(stream)


def ask(port, request, count):
    """That many replies to a request."""
    with socket.create_connection(("127.0.0.1", port), timeout=60) as connection:
        connection.sendall(request)
        with connection.makefile("rb") as stream:
            return [Reply(stream) for _ in range(count)]


class Exchanges(unittest.TestCase):
    maxDiff = None

    def compare(self, name, reply, recorded):
        if name in DEVIATIONS:
            status, error, detail, part = DEVIATIONS[name]
            self.assertEqual(reply.line.split()[1], str(status))
            self.assertEqual(reply.fields["CIMError"], error)
            self.assertIn(detail, (None, reply.fields["PGErrorDetail"]))
            self.assertIn(part, reply.body)
            return
        if recorded.fields["CIMError"] == "request-not-well-formed":
            # What is wrong with text that is no XML, the parser says in its own words.
            recorded.fields["PGErrorDetail"] = reply.fields["PGErrorDetail"]
        self.assertEqual(reply.line, recorded.line)
        self.assertEqual(reply.fields, recorded.fields)
        if recorded.line.split()[1] == "200":
            self.assertEqual(reply.body, recorded.body)

    def replay(self, paths, *options):
        with started("--host-name=vm", *options) as (_, port):
            for path in paths:
                request, _, rest = path.read_bytes().partition(b"\n##### server->client\n")
                request = request.partition(b"##### client->server\n")[2]
                answers = rest.rpartition(b"\n##### end")[0]
                with self.subTest(path.stem):
                    replies = ask(port, request, answers.count(b"HTTP/1.1 ") or 1)
                    stream = io.BytesIO(answers)
                    for reply in replies:
                        self.compare(path.stem, reply, Reply(stream))

    def test_answered_alike(self):
        paths = {path for path in DATA.glob("*.txt") if path.stem not in INCOMPLETE}
        asking = {path for path in paths if path.stem.startswith("auth_")}
        self.assertGreater(len(asking), 10)
        self.replay(sorted(asking), "--users", DATA / "users")
        self.assertGreater(len(paths), 100)
        self.replay(sorted(paths - asking), "--no-auth")


if __name__ == "__main__":
    run.main()
