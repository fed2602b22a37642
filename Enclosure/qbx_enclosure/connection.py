"""The connection to the CIM server. What can go wrong becomes one line, with what to do."""

import getpass
import os
import re
import sys
import unicodedata
import urllib.parse
import warnings
from typing import Any

import pywbem

# What the text of a failed connection holds, and what it means.
FAILURES = (
    ("not known|resol", "unknown host; check the name"),
    ("refused", "connection refused; check the port, and that the server runs"),
    ("WRONG_VERSION_NUMBER", "no TLS on this port; try http://"),
    ("NO_CERTIFICATE", "the --ca file holds no certificate in PEM form"),
    ("Failed to establish", "cannot be reached; check the host, the port and firewalls"),
    ("timed out|within", "no response in time; is it hung? --timeout SECONDS waits longer"),
    ("Connection aborted", "ended the connection; is that a CIM server, and http right?"),
)
STEERING = ("Cc", "Cf", "Cs", "Zl", "Zp")  # categories of characters


class EnclosureError(Exception):
    """Why the user gets no result: one line, with what to do."""

    status = 2  # of the program's exit


class NotDoneError(EnclosureError):
    """Why an action was not done, though the server responded."""

    status = 1


def clean(text: object) -> str:
    """A text without characters that steer a terminal: they become escapes."""
    return "".join(
        ascii(each)[1:-1] if unicodedata.category(each) in STEERING else each for each in str(text)
    )


def one_line(text: object) -> str:
    return clean(" ".join(str(text).split()))[:300]


class Client:
    """Asks one CIM server; every failure is a EnclosureError."""

    def __init__(self, url: str, namespace: str, timeout: int, ca: str | None, verify: bool):
        try:
            parts = urllib.parse.urlsplit(url)
            good = parts.scheme in ("http", "https") and parts.hostname and parts.port != 0
        except ValueError:
            good = False
        if not good or parts.path.strip("/"):
            named = one_line(re.sub("//.*@", "//...@", url))  # no password in a message
            form = "http(s)://[USER[:PASSWORD]@]HOST[:PORT]"
            raise EnclosureError(f"{named} is no server's URL; give {form}")
        if ca and not (os.path.isfile(ca) and os.access(ca, os.R_OK)):
            raise EnclosureError(f"--ca {clean(ca)}: no such file, or not readable")
        self.url = f"{parts.scheme}://{parts.netloc.rpartition('@')[2]}"
        self.user = urllib.parse.unquote(parts.username or "")
        self.namespace = namespace
        login = (self.user, self._password(parts.password)) if self.user else None
        warnings.simplefilter("ignore")  # --no-verify is what the user wants
        options = {"ca_certs": ca, "no_verification": not verify, "timeout": timeout}
        self.connection = pywbem.WBEMConnection(self.url, login, namespace, **options)
        if ca or not verify:  # else REQUESTS_CA_BUNDLE would count more
            self.connection.session.trust_env = False

    def _password(self, given: str | None) -> str:
        if given is not None:
            return urllib.parse.unquote(given)
        if "QBX_PASSWORD" in os.environ:
            return os.environ["QBX_PASSWORD"]
        if not sys.stdin.isatty():
            raise EnclosureError(f"no password for {clean(self.user)}: give it in QBX_PASSWORD or the URL")
        return getpass.getpass(f"Password of {clean(self.user)} at {self.url}: ")

    def request(self, operation: str, *arguments: Any, privilege: str = "", **named: Any) -> Any:
        """The result of a WBEM operation; `privilege` is the one that the array requires of the
        user for it, to be named in a refusal."""
        try:
            return getattr(self.connection, operation)(*arguments, **named)
        except pywbem.CIMError as error:
            raise EnclosureError(f"{self.url}: {self._refusal(error, privilege)}") from error
        except (pywbem.Error, OSError) as error:
            raise EnclosureError(f"{self.url}: {self._failure(error)}") from error

    def _refusal(self, error: pywbem.CIMError, privilege: str) -> str:
        """What a CIM error means to an administrator."""
        code, text, user = error.status_code, one_line(error.status_description), clean(self.user)
        if code == pywbem.CIM_ERR_INVALID_NAMESPACE:
            return f"no namespace {clean(self.namespace)} there; --namespace NAME queries another"
        if code == pywbem.CIM_ERR_INVALID_CLASS:
            return f"the drive cage module is not installed there ({text})"
        if code == pywbem.CIM_ERR_ACCESS_DENIED and "generic privilege" in text and privilege:
            return f"user {user} lacks the privilege {privilege}; grant it on the array"
        if code == pywbem.CIM_ERR_ACCESS_DENIED:
            return f"the array refuses user {user}; add the user on the array ({text})"
        if code == pywbem.CIM_ERR_NOT_SUPPORTED and privilege:
            return f"this hardware or this version of the array cannot do that ({text})"
        return f"{error.status_code_name}: {text}"

    def _failure(self, error: Exception) -> str:
        """What went wrong before a CIM server could respond."""
        text = str(error)
        if isinstance(error, pywbem.AuthError):
            wrong = f"wrong password of {clean(self.user)}" if self.user else "requires a user"
            return f"{wrong}; give USER:PASSWORD@ in the URL"
        if isinstance(error, pywbem.HTTPError):
            hint = "try again later" if error.status == 503 else "is that a CIM server?"
            status = f"responds with HTTP {error.status} {error.reason} {error.cimerror or ''}"
            return f"{one_line(status)}; {hint}"
        if isinstance(error, pywbem.ParseError):
            return "responds, but not in CIM-XML; is that a CIM server?"
        untrusted = re.search(r"certificate verify failed: (.*?) \(_ssl", text)
        if untrusted:
            hint = "name its authority by --ca FILE, or give --no-verify"
            return f"certificate not trusted ({one_line(untrusted[1])}); {hint}"
        return next((meaning for part, meaning in FAILURES if re.search(part, text)), one_line(text))
