"""HTTP to one CIM server. Whatever the server does, an exchange ends in time, and a response beyond
its limit is not taken."""

import base64
import contextlib
import http.client
import socket
import ssl
import threading
import time

MOST_BYTES = 64 << 20  # of a response's body: an array of 20,000 magazines


class ReplyError(Exception):
    """A response that no CIM server gives; the text says what is wrong with it."""


class StatusError(Exception):
    """A response with another HTTP status than 200."""

    def __init__(self, status: int, text: str):
        super().__init__(f"responds with HTTP {status} {text}".strip())
        self.status = status


def shut(line: socket.socket) -> None:
    """Ends a connection that another thread waits for."""
    with contextlib.suppress(OSError):  # it has ended
        line.shutdown(socket.SHUT_RDWR)


class Transport:
    """Sends requests to a server, each over a connection of its own. Threads may share it.

    login: "user:password" or empty; timeout: seconds for an exchange, from the name of the host to the
    last byte.
    """

    def __init__(self, host: str, port: int, tls: ssl.SSLContext | None, login: str, timeout: int):
        self.place = (host, port)
        self.tls = tls
        self.timeout = timeout
        self.fields = {"Content-Type": 'application/xml; charset="utf-8"', "Connection": "close"}
        if login:
            self.fields["Authorization"] = f"Basic {base64.b64encode(login.encode()).decode()}"

    def post(self, fields: dict[str, str], body: bytes) -> bytes:
        """The body of the response to a request with these header fields. Raises StatusError,
        ReplyError, and for what prevents a response OSError (in time: TimeoutError), HTTPException."""
        end = time.monotonic() + self.timeout
        try:
            return self._exchange({**self.fields, **fields}, body, end)
        finally:
            if time.monotonic() >= end:  # whatever else it looks like
                raise TimeoutError

    def _exchange(self, fields: dict[str, str], body: bytes, end: float) -> bytes:
        with contextlib.ExitStack() as stack:
            line = stack.enter_context(socket.create_connection(self.place, self.timeout))
            other = stack.enter_context(line.dup())  # that TLS does not take over
            alarm = threading.Timer(end - time.monotonic(), shut, [other])
            stack.callback(alarm.cancel)
            alarm.daemon = True
            alarm.start()
            if self.tls:
                line = stack.enter_context(self.tls.wrap_socket(line, server_hostname=self.place[0]))
            connection = http.client.HTTPConnection(*self.place)
            connection.sock = line
            connection.request("POST", "/cimom", body, fields)
            return self._body(stack.enter_context(connection.getresponse()))

    def _body(self, response: http.client.HTTPResponse) -> bytes:
        if response.status != http.HTTPStatus.OK:
            raise StatusError(response.status, f"{response.reason} {response.headers['CIMError'] or ''}")
        kind = response.headers.get_content_type()
        if kind not in ("application/xml", "text/xml"):
            raise ReplyError(f"responds with {kind}; is that a CIM server?")
        body = response.read(MOST_BYTES + 1)
        if len(body) > MOST_BYTES:
            raise ReplyError(f"the response has more than {MOST_BYTES >> 20} MB")
        if response.length:
            raise ReplyError(f"the response ends {response.length} bytes too early")
        return body
