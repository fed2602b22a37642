"""The connection to the CIM server. What can go wrong becomes one line, with what to do."""

import functools
import http.client
import os
import re
import socket
import ssl
import threading
import unicodedata
import urllib.parse
from typing import Any

from .cimxml import CimError, Path, request, response
from .transport import ReplyError, StatusError, Transport

PORTS = {"http": 5988, "https": 5989}
# CIM_ERR_..., by status code.
CODES = ("0", "FAILED", "ACCESS_DENIED", "INVALID_NAMESPACE", "INVALID_PARAMETER", "INVALID_CLASS", "NOT_FOUND",
         "NOT_SUPPORTED")  # fmt: skip
# What a failed connection means: the first kind of error that it is.
FAILURES: tuple[tuple[type[Exception], str], ...] = (
    (socket.gaierror, "unknown host; check the name"),
    (UnicodeError, "unknown host; check the name"),
    (ConnectionRefusedError, "connection refused; check the port, and that the server runs"),
    (TimeoutError, "no response in time; is it hung? --timeout SECONDS waits longer"),
    (ConnectionError, "ended the connection; is that a CIM server, and http right?"),
    (http.client.HTTPException, "does not respond in HTTP; is that a CIM server, and http right?"),
    (ssl.SSLError, "TLS failed; is that a CIM server, and https right?"),
    (OSError, "cannot be reached; check the host, the port and firewalls"),
)
STEERING = ("Cc", "Cf", "Cs", "Zl", "Zp")  # categories of characters
# Python's threads share one processor: who reads a large response, or works with it, does so one after
# another, so that a hundred of them leave room for others.
PROCESSOR = threading.Lock()
SECRET = re.compile(r"(//|[\s'\"]|^)[^\s/]*:.*@")  # a user with a password


class EnclosureError(Exception):
    """Why the user gets no result: one line, with what to do."""

    status = 2  # of the program's exit


class NotDoneError(EnclosureError):
    """Why an action was not done, though the server responded."""

    status = 1


def clean(text: object) -> str:
    """A text without characters that steer a terminal: they become escapes."""
    text = str(text)
    if text.isprintable():
        return text
    return "".join(ascii(each)[1:-1] if unicodedata.category(each) in STEERING else each for each in text)


def one_line(text: object) -> str:
    """The start of a text, as one line for a message."""
    return clean(" ".join(str(text)[:1000].split()))[:300]


def hidden(text: str) -> str:
    """A text for a message: passwords in its URLs are left out."""
    return SECRET.sub(r"\1...@", text)


def server_of(url: str) -> urllib.parse.SplitResult:
    """The parts of a server's URL; raises EnclosureError for what is none."""
    try:
        parts = urllib.parse.urlsplit(url)
        good = parts.scheme in PORTS and parts.hostname and parts.port != 0
    except ValueError:
        good = False
    if not good or parts.path.strip("/"):
        form = "http(s)://[USER[:PASSWORD]@]HOST[:PORT]"
        raise EnclosureError(f"{one_line(re.sub('//.*@', '//...@', url))} is no server's URL; give {form}")
    return parts


def address(parts: urllib.parse.SplitResult) -> str:
    """A server's URL without a user."""
    return f"{parts.scheme}://{parts.netloc.rpartition('@')[2]}"


@functools.cache  # reading the authorities of this machine takes longer than a small array
def context_of(ca: str | None, verify: bool) -> ssl.SSLContext:
    """How TLS is spoken: whose certificates are taken."""
    try:
        context = ssl.create_default_context(cafile=ca)
    except ssl.SSLError as error:
        raise EnclosureError(f"--ca {clean(ca)}: holds no certificate in PEM form") from error
    except OSError as error:
        raise EnclosureError(f"--ca {clean(ca)}: {error.strerror}") from error
    if not verify:
        context.check_hostname, context.verify_mode = False, ssl.CERT_NONE
    return context


class Client:
    """Queries one CIM server; every failure is an EnclosureError. Threads may share it."""

    def __init__(self, url: str, namespace: str, timeout: int, ca: str | None, verify: bool,
                 login: tuple[str, str | None] = ("", None), well: frozenset[int] = frozenset({1})):  # fmt: skip
        """`login` is a user and a password; empty, and None: those of the URL. Without a password there
        it is that of QBX_PASSWORD. `well`: the state codes that mean well."""
        parts = server_of(url)
        self.url = self.name = address(parts)  # name: what the user calls it
        self.user = login[0] or urllib.parse.unquote(parts.username or "")
        self.namespace, self.well = namespace, well
        self.words: Any = None  # of its schema, once they have been read
        of_url = None if parts.password is None else urllib.parse.unquote(parts.password)
        password = of_url if login[1] is None else login[1]
        if self.user and password is None:
            password = self._password()
        tls = context_of(ca, verify) if parts.scheme == "https" else None
        port = parts.port or PORTS[parts.scheme]
        sent = f"{self.user}:{password}" if self.user else ""
        self.transport = Transport(parts.hostname or "", port, tls, sent, timeout)

    def _password(self) -> str:
        if "QBX_PASSWORD" in os.environ:
            return os.environ["QBX_PASSWORD"]
        where = "give it in QBX_PASSWORD, a password file or the URL"
        raise EnclosureError(f"no password for {clean(self.user)}: {where}")

    def request(self, operation: str, *, target: Path | None = None, privilege: str = "", **arguments: Any) -> list:
        """What a WBEM operation returns, or the method of this name of a target. `privilege` is the one
        that the array requires of the user for it, to be named in a refusal."""
        try:
            message = request(self.namespace, operation, target, arguments)
            body = self.transport.post(*message)
            with PROCESSOR:
                return response(body, operation)
        except CimError as error:
            raise EnclosureError(f"{self.url}: {self._refusal(error, privilege)}") from error
        except StatusError as error:
            raise EnclosureError(f"{self.url}: {self._rejection(error)}") from error
        except ReplyError as error:
            of = target or next(iter(arguments.values()))
            name = getattr(getattr(of, "path", of), "classname", of)
            raise EnclosureError(f"{self.url}: {operation} {clean(name)}: {one_line(error)}") from error
        except (OSError, UnicodeError, http.client.HTTPException) as error:
            raise EnclosureError(f"{self.url}: {self._failure(error)}") from error

    def _refusal(self, error: CimError, privilege: str) -> str:
        """What a CIM error means to an administrator."""
        text, user = one_line(error), clean(self.user)
        name = CODES[error.code] if error.code < len(CODES) else str(error.code)
        if name == "INVALID_NAMESPACE":
            return f"no namespace {clean(self.namespace)} there; --namespace NAME queries another"
        if name == "INVALID_CLASS":
            return f"the drive cage module is not installed there ({text})"
        if name == "ACCESS_DENIED" and "generic privilege" in text and privilege:
            return f"user {user} lacks the privilege {clean(privilege)}; grant it on the array"
        if name == "ACCESS_DENIED":
            return f"the array refuses user {user}; add the user on the array ({text})"
        if name == "NOT_SUPPORTED" and privilege:
            return f"this hardware or this version of the array cannot do that ({text})"
        return f"CIM_ERR_{name}: {text}"

    def _rejection(self, error: StatusError) -> str:
        """What an HTTP status means."""
        if error.status == http.HTTPStatus.UNAUTHORIZED:
            wrong = f"wrong password of {clean(self.user)}" if self.user else "requires a user"
            return f"{wrong}; give USER:PASSWORD@ in the URL"
        busy = error.status == http.HTTPStatus.SERVICE_UNAVAILABLE
        return f"{one_line(error)}; {'try again later' if busy else 'is that a CIM server?'}"

    def _failure(self, error: Exception) -> str:
        """What went wrong before a CIM server could respond."""
        if isinstance(error, ssl.SSLCertVerificationError):
            hint = "name its authority by --ca FILE, or give --no-verify"
            return f"certificate not trusted ({one_line(error.verify_message)}); {hint}"
        if isinstance(error, ssl.SSLError) and error.reason == "WRONG_VERSION_NUMBER":
            return "no TLS on this port; try http://"
        meaning = next(meaning for kind, meaning in FAILURES if isinstance(error, kind))
        return f"{meaning} ({one_line(error)})" if isinstance(error, http.client.HTTPException) else meaning
