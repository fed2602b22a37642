"""HTTP connections on which any bytes can be sent, also those that no client would send."""

import contextlib
import http.client
import socket
import urllib.parse

COMPARED = ("CIMError", "CIMOperation", "Content-Type", "WWW-Authenticate", "PGErrorDetail")
SECONDS = 300  # for a response: generous, a sanitized server on a busy machine


@contextlib.contextmanager
def connected(port, sent=b"", source="127.0.0.1"):
    """A connection from an address of this machine, on which those bytes were sent."""
    with socket.create_connection(("127.0.0.1", port), SECONDS, (source, 0)) as connection:
        with contextlib.suppress(ConnectionError):  # the server may stop reading, and still answer
            connection.sendall(sent)
        yield connection


def receive_all(connection):
    """All that the server sends until it ends the connection."""
    received = b""
    with contextlib.suppress(ConnectionResetError):
        while part := connection.recv(65536):
            received += part
    return received


def exchange(port, sent, source="127.0.0.1"):
    """All that the server sends on a connection on which those bytes were sent."""
    with connected(port, sent, source) as connection:
        return receive_all(connection)


def chunks(stream):
    """The parts of a chunked body; trailers are left in the stream."""
    while size := int(stream.readline() or b"-1", 16):
        part = stream.read(size + 2)[:-2] if size > 0 else b""
        if len(part) != size:
            raise ConnectionError("the server has ended the connection")
        yield part


class Response:
    """The next response of a stream: status_line, fields (those of COMPARED, "-" for a missing one),
    others (the other header fields, [(name in lower case, value)]) and body. Raises ConnectionError
    when it is cut short. The status line is empty when nothing comes. An interim response (100) is
    skipped."""

    def __init__(self, stream):
        self.read(stream)
        while " 100 " in self.status_line:
            self.read(stream)

    def read(self, stream):
        """Reads one response, which may be an interim one."""
        self.status_line = stream.readline().decode().strip()
        fields = http.client.parse_headers(stream)
        self.fields = {name: fields.get(name, "-") for name in COMPARED}
        named = [(name.lower(), value) for name, value in fields.items()]
        self.others = [each for each in named if each[0] not in map(str.lower, COMPARED)]
        length = int(fields.get("Content-Length", 0))
        chunked = fields.get("Transfer-Encoding") == "chunked"
        body = b"".join(chunks(stream)) if chunked else stream.read(length)
        if len(body) < length:
            raise ConnectionError("the server has ended the connection")
        self.body = body.decode()


def send(url, sent, seconds=SECONDS):
    """The Response to those bytes on a connection of their own. Raises OSError when there is none
    in time, or none at all."""
    parts = urllib.parse.urlsplit(url)
    with contextlib.closing(
        socket.create_connection((parts.hostname, parts.port), seconds)
    ) as connection:
        connection.sendall(sent)
        response = Response(connection.makefile("rb"))
    if not response.status_line:
        raise ConnectionError("the server has ended the connection")
    return response
