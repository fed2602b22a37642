"""The connection to the CIM server. What can go wrong becomes one line that says what to do."""

import getpass
import os
import sys
import unicodedata
import urllib.parse
import warnings

import pywbem

ACCESS_DENIED = "Insufficient generic privilege"  # what the module says to a user it lets in
READ_SECONDS = 30


class Trouble(Exception):
    """Why the user gets no answer: one line, with what to do."""


def clean(text: object) -> str:
    """A text without characters that steer a terminal: they become escapes."""

    def shown(char: str) -> str:
        if unicodedata.category(char) not in ("Cc", "Cf", "Cs", "Zl", "Zp"):
            return char
        return f"\\x{ord(char):02x}" if ord(char) < 256 else f"\\u{ord(char):04x}"

    return "".join(map(shown, str(text)))


def one_line(error: object) -> str:
    return clean(" ".join(str(error).split()))[:300]


class Client:
    """Asks one CIM server. Every failure is a Trouble; `requests` counts what was asked."""

    def __init__(self, url: str, namespace: str, timeout: int, ca: str | None, verify: bool):
        parts = urllib.parse.urlsplit(url)
        try:
            bad = parts.scheme not in ("http", "https") or not parts.hostname or parts.port == 0
        except ValueError:  # of the port
            bad = True
        if bad or parts.path.strip("/"):
            form = "http(s)://[USER[:PASSWORD]@]HOST[:PORT]"
            raise Trouble(f"{clean(url)} is no server's URL; give {form}")
        if ca and not os.access(ca, os.R_OK):
            raise Trouble(f"--ca {clean(ca)}: no such file, or not readable")
        host = parts.netloc.rpartition("@")[2]
        self.url = f"{parts.scheme}://{host}"
        self.user = urllib.parse.unquote(parts.username or "")
        self.namespace = namespace
        self.timeout = timeout
        self.requests = 0
        warnings.simplefilter("ignore")  # --no-verify is what the user asked for
        self.connection = pywbem.WBEMConnection(
            self.url,
            (self.user, self._password(parts.password)) if self.user else None,
            namespace,
            ca_certs=ca,
            no_verification=not verify,
            timeout=timeout,
        )

    def _password(self, given: str | None) -> str:
        if given is not None:
            return urllib.parse.unquote(given)
        if "QBX_PASSWORD" in os.environ:
            return os.environ["QBX_PASSWORD"]
        if not sys.stdin.isatty():
            raise Trouble(f"no password for {clean(self.user)}: give it in QBX_PASSWORD or the URL")
        return getpass.getpass(f"Password of {clean(self.user)} at {self.url}: ")

    def ask(self, operation: str, *arguments, privilege: str = "", **named):
        """What the server answers to a WBEM operation; `privilege` is what the array wants of the
        user for it, to be named in a refusal."""
        self.requests += 1
        try:
            return getattr(self.connection, operation)(*arguments, **named)
        except pywbem.CIMError as error:
            raise Trouble(f"{self.url}: {self._refusal(error, privilege)}") from error
        except pywbem.AuthError as error:
            wrong = f"refuses the password of {clean(self.user)}" if self.user else "wants a user"
            raise Trouble(f"{self.url} {wrong}; give USER:PASSWORD@ in the URL") from error
        except pywbem.TimeoutError as error:
            raise Trouble(
                f"{self.url} has not answered within {self.timeout} s; is it overloaded or hung? "
                "--timeout SECONDS waits longer"
            ) from error
        except pywbem.ConnectionError as error:
            raise Trouble(f"{self.url}: {self._unreachable(str(error))}") from error
        except pywbem.HTTPError as error:
            said = one_line(f"answers HTTP {error.status} {error.reason} {error.cimerror or ''}")
            hint = "try again later" if error.status == 503 else "is that a CIM server?"
            raise Trouble(f"{self.url} {said}; {hint}") from error
        except pywbem.ParseError as error:
            raise Trouble(f"{self.url} does not answer in CIM-XML: is that a CIM server?") from error
        except (pywbem.Error, OSError) as error:
            raise Trouble(f"{self.url}: {one_line(error)}") from error

    def _refusal(self, error: pywbem.CIMError, privilege: str) -> str:
        """What a CIM error means to an administrator."""
        text = one_line(error.status_description)
        if error.status_code == pywbem.CIM_ERR_INVALID_NAMESPACE:
            return f"no namespace {clean(self.namespace)} there; --namespace NAME asks in another"
        if error.status_code == pywbem.CIM_ERR_INVALID_CLASS:
            return f"the drive cage module is not installed there ({text})"
        if error.status_code == pywbem.CIM_ERR_ACCESS_DENIED and ACCESS_DENIED in text and privilege:
            return f"user {clean(self.user)} lacks the privilege {privilege}; grant it on the array"
        if error.status_code == pywbem.CIM_ERR_ACCESS_DENIED:
            return f"the array does not let in user {clean(self.user)}; add the user on the array"
        if error.status_code == pywbem.CIM_ERR_NOT_SUPPORTED and privilege:
            return f"this hardware or this version of the array cannot do that ({text})"
        return f"{error.status_code_name}: {text}"

    @staticmethod
    def _unreachable(text: str) -> str:
        for part, meaning in (
            ("Name or service not known", "unknown host; check the name"),
            ("name resolution", "unknown host; check the name"),
            ("Failed to resolve", "unknown host; check the name"),
            ("refused", "nobody listens there; check the port, and that the server runs"),
            ("WRONG_VERSION_NUMBER", "no TLS on this port; try http://"),
            ("certificate verify failed", ""),
            ("timed out", "no connection; check the host, the port and firewalls"),
            ("Connection aborted", "the connection was ended; is that a CIM server, and http right?"),
        ):
            if part in text:
                return meaning or (
                    "certificate not trusted ("
                    + one_line(text.partition("failed: ")[2].partition(" (_ssl")[0])
                    + "); name its authority by --ca FILE, or give --no-verify"
                )
        return one_line(text)
