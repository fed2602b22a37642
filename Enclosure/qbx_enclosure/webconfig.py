"""The web configuration file of the exporter, in the form that the exporters of Prometheus have: TLS,
and users with hashes of their passwords."""

import base64
import binascii
import collections
import hashlib
import hmac
import os
import pathlib
import secrets
import ssl
import threading
from typing import Any, NamedTuple

from .connection import EnclosureError, clean, one_line

KEYS = {
    "": ("tls_server_config", "basic_auth_users"),
    "tls_server_config": ("cert_file", "key_file", "client_ca_file", "client_auth_type", "min_version"),
}
VERSIONS = {"TLS12": ssl.TLSVersion.TLSv1_2, "TLS13": ssl.TLSVersion.TLSv1_3}
VERIFY = "RequireAndVerifyClientCert"


class Settings(NamedTuple):
    """What a file says: no TLS and no users when there is none."""

    tls: ssl.SSLContext | None = None
    users: dict[str, bytes] = {}  # noqa: RUF012  # nobody changes it
    files: tuple[pathlib.Path, ...] = ()  # of what it was made


def table(value: Any, name: str) -> dict:
    """A table of the file, with the keys that are known there."""
    if not isinstance(value, dict):
        raise EnclosureError(f"{name or 'the file'} is no table")
    for key in value:
        if name in KEYS and key not in KEYS[name]:
            raise EnclosureError(f"{one_line(key)}: unknown key; there is {', '.join(KEYS[name])}")
    return value


def context_of(config: dict, folder: pathlib.Path) -> tuple[ssl.SSLContext, list[pathlib.Path]]:
    """How TLS is served, and the files of which that was made."""
    paths = {key: folder / str(value) for key, value in config.items() if key.endswith("_file")}
    if not {"cert_file", "key_file"} <= {*paths}:
        raise EnclosureError("tls_server_config has no cert_file, or no key_file")
    verify = config.get("client_auth_type", "NoClientCert")
    if verify not in ("NoClientCert", VERIFY) or (verify == VERIFY) != ("client_ca_file" in paths):
        raise EnclosureError(f"client_auth_type is NoClientCert, or with a client_ca_file {VERIFY}")
    if config.get("min_version", "TLS12") not in VERSIONS:
        raise EnclosureError(f"min_version is one of {', '.join(VERSIONS)}")
    context = ssl.create_default_context(ssl.Purpose.CLIENT_AUTH)
    context.minimum_version = VERSIONS[config.get("min_version", "TLS12")]
    for path in paths.values():
        path.read_bytes()  # its error names the file
    try:
        context.load_cert_chain(paths["cert_file"], paths["key_file"])
        if "client_ca_file" in paths:
            context.load_verify_locations(paths["client_ca_file"])
            context.verify_mode = ssl.CERT_REQUIRED
    except ssl.SSLError as error:
        raise EnclosureError(f"the certificates and the key do not fit: {error.reason or error}") from error
    return context, [*paths.values()]


def users_of(config: dict) -> dict[str, bytes]:
    for user, hashed in config.items():
        if not isinstance(hashed, str) or not hashed.startswith("$2"):
            raise EnclosureError(f"basic_auth_users {one_line(user)}: no bcrypt hash; htpasswd -nBC 10 USER makes one")
    return {str(user): hashed.encode() for user, hashed in config.items()}


def settings_of(file: str) -> Settings:
    """The content of a web configuration file; raises EnclosureError."""
    try:
        import bcrypt  # noqa: F401  # needed to check passwords
        import yaml
    except ImportError as error:
        needed = "apt-get install python3-bcrypt python3-yaml"
        raise EnclosureError(f"--web-config: {error}; {needed}") from error
    try:
        path = pathlib.Path(file)
        content = yaml.safe_load(path.read_bytes())
        config = table({} if content is None else content, "")
        users = users_of(table(config.get("basic_auth_users") or {}, "basic_auth_users"))
        if "tls_server_config" not in config:
            return Settings(None, users, (path,))
        tls, files = context_of(table(config["tls_server_config"], "tls_server_config"), path.parent)
        return Settings(tls, users, (path, *files))
    except OSError as error:
        raise EnclosureError(f"{clean(error.filename or file)}: {error.strerror}") from error
    except (yaml.YAMLError, UnicodeError) as error:
        raise EnclosureError(f"{clean(file)}: is no YAML: {one_line(error)}") from error
    except EnclosureError as error:
        raise EnclosureError(f"{clean(file)}: {error}") from error


class WebConfig:
    """The settings of a file, as they are at present: certificates are renewed, passwords changed. What
    cannot be read then changes nothing, and `log` gets a line."""

    def __init__(self, file: str | None, log):
        self.file, self.log = file, log
        self.settings = settings_of(file) if file else Settings()
        self.stamps = self._stamps()
        self.reading, self.checking = threading.Lock(), threading.Lock()
        self.secret = secrets.token_bytes()
        self.right: set[bytes] = set()
        self.wrong: collections.deque[bytes] = collections.deque(maxlen=100)

    def _stamps(self) -> list[int]:
        return [os.stat(each).st_mtime_ns if each.exists() else 0 for each in self.settings.files]

    def current(self) -> Settings:
        """The present settings."""
        with self.reading:
            if self.file and self._stamps() != self.stamps:
                try:
                    self.settings = settings_of(self.file)
                except EnclosureError as error:
                    self.log(3, f"{error}; the settings before go on")
                self.stamps = self._stamps()
            return self.settings

    def admits(self, authorization: str) -> bool:
        """Whether this header field has a user and his password.

        A hash costs its check tenths of a second on purpose. What was right is remembered, and so are
        the last wrong ones, by a digest that says nothing outside of this process. Guesses are checked one
        at a time, and delay nobody who is remembered."""
        users = self.current().users
        if not users:
            return True
        try:
            user, _, password = base64.b64decode(authorization.removeprefix("Basic ")).decode().partition(":")
        except (binascii.Error, UnicodeError):
            return False
        # For an unknown user the check takes as long as for others.
        hashed = users.get(user) or next(iter(users.values()))
        proof = hmac.digest(self.secret, b"\0".join([hashed, user.encode(), password.encode()]), hashlib.sha256)
        if proof in self.right:
            return True
        with self.checking:
            if proof in self.wrong or not matches(password, hashed) or user not in users:
                self.wrong.append(proof)
                return False
            self.right.add(proof)
            return True


def matches(password: str, hashed: bytes) -> bool:
    import bcrypt

    try:
        return bcrypt.checkpw(password.encode(), hashed)
    except ValueError:  # a NUL in it, or no hash
        return False
