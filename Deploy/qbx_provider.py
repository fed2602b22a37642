#!/usr/bin/python3
"""Installs the provider module into an OpenPegasus CIM server, removes it, and says what is there."""

from __future__ import annotations

import argparse
import base64
import collections
import contextlib
import fcntl
import getpass
import hashlib
import http.client
import json
import os
import pathlib
import re
import shlex
import shutil
import signal
import ssl
import subprocess
import sys
import urllib.parse
import xml.etree.ElementTree as ET
from collections.abc import Callable, Iterator
from typing import NoReturn

NAMESPACE = "root/qbx"
MODULE = "QBX_DriveCageProviderModule"
LIBRARY = "libQBX_DriveCageProvider.so"
ARRAY_LIBRARY = "libqbxapi.so"
SERVER_VERSION = "2.14"  # the library's binary interface belongs to it
INTEROP_NAMESPACES = ("root/PG_InterOp", "root/interop")
# Where packages of the server put their programs, and the schema.
PACKAGE_PROGRAMS = (
    ("/usr/sbin", "/usr/bin"),
    ("/opt/tog-pegasus/sbin", "/opt/tog-pegasus/bin"),
)
SCHEMA_FOLDERS = ("/usr/share/Pegasus/mof", "/opt/tog-pegasus/share/mof")
SCHEMA_BYTES = 64 << 20  # of the repository, for the DMTF schema
PREFIX = pathlib.Path(__file__).resolve().parents[1]  # of the installation: lib/ and share/ are there

# The module's class that needs instances from elsewhere, and the class of the most important one.
CONTAINER, SYSTEM = "QBX_SysCageContainer", "QBX_StorageSystem"

# Exit status codes of cimcli are those of CIM.
NOT_FOUND_CODES = (3, 6)  # namespace, object
ACCESS_DENIED = 2


class Failure(Exception):
    """A step that cannot be done: which, why, and what to do."""

    def __init__(self, step: str, reason: str, remedy: str):
        super().__init__(f"{step}: {reason.strip()}\n  {remedy}")


def say(text: str) -> None:
    print(text, flush=True)


def digest(path: pathlib.Path) -> str:
    return hashlib.sha256(path.read_bytes()).hexdigest() if path.is_file() else ""


def process_file(pid: int, name: str) -> bytes:
    """A file of /proc; empty when the process is gone or somebody else's."""
    with contextlib.suppress(OSError):
        return pathlib.Path(f"/proc/{pid}/{name}").read_bytes()
    return b""


# ---- the server ----


class Server:
    """An OpenPegasus CIM server and its tools, which act on it locally as the calling user."""

    def __init__(self, home: str | None):
        self.home = pathlib.Path(home).resolve() if home else None
        self.folders = self._folders()
        self.environment = dict(os.environ)
        if self.home:
            libraries = [str(self.home / "lib"), os.environ.get("LD_LIBRARY_PATH", "")]
            self.environment["PEGASUS_HOME"] = str(self.home)
            self.environment["LD_LIBRARY_PATH"] = ":".join(filter(None, libraries))
        self.version = self.tool("cimserver", "-v").stdout.strip()
        self.process = 0
        self.settings: dict[str, str] = {}
        self.interop = ""

    def _folders(self) -> tuple[str, ...]:
        choices = ((str(self.home / "bin"),),) if self.home else PACKAGE_PROGRAMS
        for folders in choices:
            if shutil.which("cimserver", path=":".join(folders)):
                return folders
        looked = ", ".join(f"{folders[0]}/cimserver" for folders in choices)
        raise Failure(
            "find the server",
            f"there is no {looked}",
            "Set PEGASUS_HOME, or give --home, to the folder that holds the server's bin/.",
        )

    def tool(self, name: str, *arguments: str, seconds: int = 120) -> subprocess.CompletedProcess:
        """Runs a program of the server; whatever its status."""
        program = shutil.which(name, path=":".join(self.folders))
        if not program:
            raise Failure(
                "find the server",
                f"it lacks its program {name}",
                "Install the rest of the server.",
            )
        try:
            return subprocess.run(
                [program, *arguments],
                env=self.environment,
                stdin=subprocess.DEVNULL,
                capture_output=True,
                text=True,
                errors="replace",
                timeout=seconds,
                check=False,
            )
        except subprocess.TimeoutExpired as error:
            raise Failure(
                name, f"no answer in {seconds} s", "Look at the server's log; restart it."
            ) from error

    def do(self, step: str, remedy: str, name: str, *arguments: str, seconds: int = 120) -> str:
        """Runs a program of the server that must succeed; returns what it said."""
        result = self.tool(name, *arguments, seconds=seconds)
        if result.returncode:
            said = (result.stderr.strip() or result.stdout.strip()).splitlines()
            raise Failure(step, f"{name}: {' '.join(said[-2:])}", remedy)
        return result.stdout

    def connect(self) -> None:
        """Learns what the running server is like."""
        start = "Start it: cimserver"
        if not re.match(re.escape(SERVER_VERSION) + r"\b", self.version):
            raise Failure(
                "check the server",
                f"it is version {self.version or 'unknown'}, the module is for {SERVER_VERSION}",
                "Build the module for that version: see Docs/Deployment.md.",
            )
        if self.tool("cimserver", "--status").returncode:
            raise Failure("check the server", "it does not run", start)
        self.process = self._process()
        listed = self.do(
            "ask the server", "Run this as root, or as the server's user.", "cimconfig", "-l", "-c"
        )
        self.settings = dict(line.split("=", 1) for line in listed.splitlines() if "=" in line)
        for namespace in INTEROP_NAMESPACES:
            if self.tool("cimcli", "gc", "-n", namespace, "PG_ProviderModule").returncode == 0:
                self.interop = namespace
                return
        raise Failure(
            "check the server",
            f"PG_ProviderModule is in none of {', '.join(INTEROP_NAMESPACES)}",
            "Its repository is not complete: install the server again.",
        )

    def _process(self) -> int:
        """The process id. The tools reach the one server that listens locally: it must be ours."""
        program = os.path.realpath(shutil.which("cimserver", path=":".join(self.folders)) or "")
        others = []
        for folder in pathlib.Path("/proc").glob("[0-9]*"):
            pid = int(folder.name)
            if process_file(pid, "comm").strip() != b"cimserver":
                continue
            try:
                running = os.readlink(folder / "exe").removesuffix(" (deleted)")
            except OSError:
                return pid  # somebody else's: not for us to know
            if running == program:
                return pid
            others.append(running)
        raise Failure(
            "check the server",
            f"what runs is {', '.join(others) or 'out of sight'}, not {program}",
            "Stop the other server, or give its folder with --home.",
        )

    @property
    def provider_folder(self) -> pathlib.Path:
        """Where the server loads modules from: the first folder of its setting providerDir."""
        first = self.settings.get("providerDir", "lib").split(":")[0]
        return (self.home or pathlib.Path("/usr")) / first

    @property
    def repository(self) -> pathlib.Path:
        setting = self.settings.get("repositoryDir", "repository")
        return (self.home / setting) if self.home else pathlib.Path("/var/lib/Pegasus/repository")

    def schema_folder(self, given: str | None) -> pathlib.Path | None:
        """The folder of a DMTF schema (holds CIM_Schema.mof), of several the newest (CIM241 is
        version 2.41); None when there is none."""
        roots = [given] if given else [self.home, os.environ.get("PEGASUS_ROOT"), *SCHEMA_FOLDERS]
        patterns = ("CIM_Schema.mof", "CIM*/CIM_Schema.mof", "[Ss]chemas/CIM*/CIM_Schema.mof")
        found = [
            path.parent
            for root in filter(None, roots)
            for pattern in patterns
            for path in pathlib.Path(root).glob(pattern)
        ]

        def version(folder: pathlib.Path) -> int:
            match = re.fullmatch(r"CIM2(\d{1,2})\d*", folder.name)
            return int(match.group(1)) if match else -1

        return max(found, key=version, default=None)

    # -- what is in its repository --

    def ask(self, operation: str, namespace: str, name: str, *options: str) -> ET.Element | None:
        """What cimcli answers, as XML; None when the namespace or the object is not there."""
        result = self.tool("cimcli", operation, "-n", namespace, name, "-o", "xml", *options)
        if result.returncode in NOT_FOUND_CODES:
            return None
        if result.returncode:
            raise Failure(
                "ask the server",
                f"{operation} {namespace}:{name}: {result.stderr}",
                "Run this as root, or as the server's user; look at the server's log.",
            )
        return ET.fromstring(f"<answer>{result.stdout[result.stdout.find('<'):]}</answer>")

    def class_names(self) -> set[str] | None:
        """All classes of the namespace; None when there is no such namespace."""
        listed = self.tool("cimcli", "nc", "-n", NAMESPACE, "-di")
        return None if listed.returncode else set(listed.stdout.split())

    def paths(self, class_name: str) -> list[str]:
        """The paths of the instances of a class, without host and namespace."""
        listed = self.tool("cimcli", "ni", "-n", NAMESPACE, class_name)
        return [] if listed.returncode else listed.stdout.strip().splitlines()

    def instances(self, class_name: str) -> list[dict[str, object]]:
        """The instances of a class of the interop namespace."""
        answer = self.tool("cimcli", "ei", "-n", self.interop, class_name, "-o", "xml").stdout
        text = re.sub(r"^path=.*$", "", answer, flags=re.MULTILINE)
        return [values_of(instance) for instance in ET.fromstring(f"<all>{text}</all>")]

    def compiled(self, namespace: str, mof: pathlib.Path) -> ET.Element:
        """What a MOF file says, as the server's own compiler understands it. Changes nothing."""
        text = self.do(
            "read the schema",
            "The package's files are not complete: install it again.",
            *("cimmof", "--xml", "-w", "-n", namespace, "-I", str(mof.parent), str(mof)),
        )
        return ET.fromstring(text)

    def registration(self) -> Registration:
        return Registration(self.instances)


def values_of(instance: ET.Element) -> dict[str, object]:
    """The properties of an instance: texts, and tuples of texts."""
    values: dict[str, object] = {}
    for item in instance:
        texts = tuple((value.text or "").strip() for value in item.iter("VALUE"))
        values[item.get("NAME", "")] = texts if item.tag.endswith(".ARRAY") else "".join(texts)
    return values


def shape(item: ET.Element) -> tuple:
    """A class or a part of it, comparable: without the order of its parts, flavors and origin."""
    marks = ("NAME", "SUPERCLASS", "TYPE", "REFERENCECLASS", "ARRAYSIZE")
    return (
        item.tag,
        tuple(item.get(mark, "") for mark in marks),
        " ".join((item.text or "").split()),
        tuple(sorted(map(shape, item))),
    )


class Registration:
    """How the module is registered: the module's properties, its providers and what they serve."""

    def __init__(self, instances: Callable[[str], list[dict[str, object]]]):
        """`instances` gives those of a class of the interop namespace."""
        self.module = next(
            (m for m in instances("PG_ProviderModule") if m.get("Name") == MODULE), None
        )
        self.providers = {
            p.get("Name") for p in instances("PG_Provider") if p.get("ProviderModuleName") == MODULE
        }
        self.served: set[tuple] = set()  # class, provider, namespaces, types
        self.by_others: dict[object, object] = {}  # class of NAMESPACE: module
        for item in instances("PG_ProviderCapabilities"):
            names = ("ClassName", "ProviderName", "Namespaces", "ProviderType")
            if item.get("ProviderModuleName") == MODULE:
                self.served.add(tuple(item.get(name) for name in names))
            elif NAMESPACE in (n.lower() for n in item.get("Namespaces", ())):
                self.by_others[item.get("ClassName")] = item.get("ProviderModuleName")

    @property
    def group(self) -> str:
        return str((self.module or {}).get("ModuleGroupName") or "")

    @property
    def status(self) -> str:
        codes = (self.module or {}).get("OperationalStatus") or ()
        return {("2",): "OK", ("10",): "stopped"}.get(tuple(codes), f"status {codes}")

    def differences(self, wanted: Registration) -> list[str]:
        """What of this is not as wanted."""
        if not self.module:
            return ["missing"]
        names = ("Version", "InterfaceType", "InterfaceVersion", "Location")
        result = [
            f"{name} is {self.module.get(name)}, not {(wanted.module or {}).get(name)}"
            for name in names
            if self.module.get(name) != (wanted.module or {}).get(name)
        ]
        for verb, items in (
            ("lacks", (wanted.providers - self.providers) | (wanted.served - self.served)),
            ("has besides", (self.providers - wanted.providers) | (self.served - wanted.served)),
        ):
            result += [f"{verb} {item[0] if isinstance(item, tuple) else item}" for item in items]
        return sorted(set(result))


# ---- the module's files, and the record of what was done ----


class Payload:
    """The files of one version: the library, the schema and the registration."""

    def __init__(self, library: pathlib.Path, schema: pathlib.Path):
        self.library, self.schema = library, schema
        self.classes_mof = schema / "qbx_classes.mof"
        self.registration_mof = schema / "registration.mof"
        for path in (library, self.classes_mof, self.registration_mof):
            if not path.is_file():
                raise Failure("find the module's files", f"no {path}", "Install the package again.")
        self.parents: dict[str, str] = {}  # by class, in the order of their definition
        needed: set[str] = set()
        for name in re.findall(r'#pragma include \("(\w+\.mof)"\)', self.classes_mof.read_text()):
            text = re.sub(r"//.*", "", (schema / name).read_text())
            self.parents.update(re.findall(r"^class (\w+)\s*:\s*(\w+)", text, re.MULTILINE))
            needed.update(re.findall(r"(\w+)\s+REF\b", text))
        needed.update(self.parents.values())
        self.bases = needed - set(self.parents)  # the DMTF classes that they need
        text = self.registration_mof.read_text()
        self.served = re.findall(r'^\s*ClassName = "(\w+)";', text, re.MULTILINE)
        self.version = "".join(re.findall(r'^\s*Version = "([^"]+)"', text, re.MULTILINE)[:1])

    def class_differences(self, server: Server, there: set[str]) -> dict[str, str]:
        """The classes that the server does not have ("") or has otherwise (which of its parts);
        `there`: the classes of the namespace."""
        result = {name: "" for name in self.parents if name not in there}
        if not self.bases <= there:
            return result
        for item in server.compiled(NAMESPACE, self.classes_mof).iter("CLASS"):
            name = item.get("NAME", "")
            answer = server.ask("gc", NAMESPACE, name) if name in there else None
            if answer is not None and shape(answer[0]) != shape(item):
                parts = set(shape(answer[0])[3]) ^ set(shape(item)[3])
                result[name] = ", ".join(sorted({p[1][0] for p in parts})) or "superclass"
        return result

    def registration(self, server: Server) -> Registration:
        listed = collections.defaultdict(list)
        for item in server.compiled(server.interop, self.registration_mof).iter("INSTANCE"):
            listed[item.get("CLASSNAME")].append(values_of(item))
        return Registration(listed.__getitem__)

    def copy(self, folder: pathlib.Path) -> None:
        shutil.rmtree(folder, ignore_errors=True)
        (folder / "schema").mkdir(parents=True)
        shutil.copy(self.library, folder / LIBRARY)
        for path in self.schema.glob("*.mof"):
            shutil.copy(path, folder / "schema")


class Record:
    """What this program has done to a server: record.json, and a copy of the installed files.

    version: of what is installed; absent while the first installation runs. digest: of the
    library. classes: those that this program defined, bases first. schema: whether it loaded the
    DMTF schema.
    """

    def __init__(self, server: Server):
        self.folder = (server.home or pathlib.Path("/var/lib")) / "qbx-provider"
        self.file = self.folder / "record.json"
        self.copies = self.folder / "installed"
        try:
            self.entries = json.loads(self.file.read_text()) if self.file.is_file() else {}
        except ValueError as error:
            raise Failure("read the record", f"{self.file}: {error}", "Restore the file.") from error

    def installed(self) -> Payload | None:
        if "version" not in self.entries:
            return None
        return Payload(self.copies / LIBRARY, self.copies / "schema")

    def write(self, entries: dict[str, object]) -> None:
        """Replaces the record; without entries nothing of it is left."""
        if not entries:
            return shutil.rmtree(self.folder, ignore_errors=True)
        self.folder.mkdir(mode=0o755, exist_ok=True)
        part = self.file.with_suffix(".new")
        part.write_text(json.dumps(entries, indent=1) + "\n")
        part.replace(self.file)

    def keep(
        self, payload: Payload, entries: dict[str, object], instances: pathlib.Path | None
    ) -> None:
        """The installation is complete."""
        new = self.folder / "new"
        payload.copy(new)
        if instances:
            shutil.copy(instances, self.folder / "system-instances.mof")
        shutil.rmtree(self.copies, ignore_errors=True)
        new.rename(self.copies)
        self.write(entries)


# ---- a WBEM client, to see what a user sees ----


class Client:
    """Asks the server over HTTP or HTTPS as a user."""

    def __init__(self, server: Server, user: str, password: str, url: str | None):
        settings = server.settings
        if not url:
            secure = settings.get("enableHttpConnection") != "true"
            port = settings.get("httpsPort" if secure else "httpPort") or (5988 + secure)
            url = f"{'https' if secure else 'http'}://localhost:{port}"
        self.user, self.url = user, urllib.parse.urlsplit(url)
        self.authorization = base64.b64encode(f"{user}:{password}".encode()).decode()

    def post(self, body: str, headers: dict[str, str]) -> tuple[int, bytes]:
        host, port = self.url.hostname or "", self.url.port or 5989
        connection: http.client.HTTPConnection
        if self.url.scheme == "https":
            context = ssl.create_default_context()
            if host in ("localhost", "127.0.0.1", "::1"):  # a server's own certificate names others
                context.check_hostname, context.verify_mode = False, ssl.CERT_NONE
            connection = http.client.HTTPSConnection(host, port, timeout=60, context=context)
        else:
            connection = http.client.HTTPConnection(host, port, timeout=60)
        with contextlib.closing(connection):
            connection.request("POST", "/cimom", body.encode(), headers)
            answer = connection.getresponse()
            return answer.status, answer.read()

    def names(self, class_name: str) -> tuple[int, str]:
        """The number of instances and an empty text, or -1 and the error."""
        path = "".join(f'<NAMESPACE NAME="{part}"/>' for part in NAMESPACE.split("/"))
        body = (
            '<?xml version="1.0" encoding="utf-8"?><CIM CIMVERSION="2.0" DTDVERSION="2.0">'
            '<MESSAGE ID="1" PROTOCOLVERSION="1.0"><SIMPLEREQ>'
            f'<IMETHODCALL NAME="EnumerateInstanceNames"><LOCALNAMESPACEPATH>{path}'
            f'</LOCALNAMESPACEPATH><IPARAMVALUE NAME="ClassName"><CLASSNAME NAME="{class_name}"/>'
            "</IPARAMVALUE></IMETHODCALL></SIMPLEREQ></MESSAGE></CIM>"
        )
        headers = {
            "Content-Type": 'application/xml; charset="utf-8"',
            "CIMOperation": "MethodCall",
            "CIMMethod": "EnumerateInstanceNames",
            "CIMObject": urllib.parse.quote(NAMESPACE, safe=""),
            "Authorization": f"Basic {self.authorization}",
        }
        remedy = "Look at the server's ports (cimconfig -l -c), or give --url."
        try:
            status, answer = self.post(body, headers)
        except (OSError, http.client.HTTPException) as error:
            raise Failure("ask over the wire", f"{self.url.geturl()}: {error}", remedy) from error
        if status == 401:
            raise Failure("log in", f"user {self.user} is refused", "Give another user or password.")
        if status != 200:
            raise Failure("ask over the wire", f"{self.url.geturl()}: HTTP {status}", remedy)
        tree = ET.fromstring(answer)
        error = tree.find(".//ERROR")
        if error is not None:
            return -1, error.get("DESCRIPTION", f"CIM error {error.get('CODE')}")
        return len(tree.findall(".//IRETURNVALUE/INSTANCENAME")), ""


# ---- installing, removing, checking ----


class Steps:
    """Runs steps; when one fails or a signal comes, undoes those that were begun."""

    SIGNALS = (signal.SIGINT, signal.SIGTERM, signal.SIGHUP)

    def __init__(self, dry_run: bool):
        self.dry_run = dry_run
        self.begun: list[tuple[str, Callable[[], object]]] = []
        self.notes: list[str] = []  # what is not taken back

    def run(
        self, what: str, do: Callable[[], object], undo: Callable[[], object] | None = None
    ) -> None:
        """One step. `undo` also takes back what `do` did before it failed."""
        say(f"{'would ' if self.dry_run else ''}{what}")
        if self.dry_run:
            return
        if undo:
            self.begun.append((what, undo))
        try:
            do()
        except OSError as error:
            raise Failure(what, str(error), "Mend that, and run it again.") from error

    @contextlib.contextmanager
    def all_or_nothing(self) -> Iterator[None]:
        def interrupted(number: int, _: object) -> NoReturn:
            raise Failure("interrupted", signal.Signals(number).name, "Run it again.")

        for number in self.SIGNALS:
            signal.signal(number, interrupted)
        try:
            yield
        except Failure as failure:
            for number in self.SIGNALS:
                signal.signal(number, signal.SIG_IGN)
            if not self.begun:
                raise
            say(f"{failure}\ntaking back what was done")
            left = self._take_back() + self.notes
            result = "What remains:\n    " + "\n    ".join(left) if left else "The server is as it was."
            raise Failure("not done", "see above", result) from failure

    def _take_back(self) -> list[str]:
        failed = []
        for what, undo in reversed(self.begun):
            try:
                undo()
            except (Failure, OSError) as error:
                failed.append(f"'{what}' could not be taken back: {error}")
        return failed


class Manager:
    """The module on one server: what is there, what was recorded, and the steps between."""

    def __init__(self, server: Server, steps: Steps):
        server.connect()
        self.server, self.steps = server, steps
        self.record = Record(server)
        self.library = server.provider_folder / LIBRARY
        self.registered = server.registration()
        self.there = server.class_names()

    # -- single actions --

    def place(self, source: pathlib.Path) -> None:
        """Never writes into a file that a process may have mapped: a copy takes over its name."""
        part = self.library.with_suffix(".so.new")
        try:
            shutil.copyfile(source, part)
            part.chmod(0o755)
            part.replace(self.library)
        finally:
            part.unlink(missing_ok=True)

    def define(self, payload: Payload, anew: list[str]) -> None:
        """Defines the classes that are not there. Those of `anew` are deleted first."""
        self.delete(anew)
        self.server.do(
            "compile the classes",
            "Look at what others have in the namespace.",
            *("cimmof", "-w", "-aEV", "-n", NAMESPACE, "-I", str(payload.schema)),
            str(payload.classes_mof),
        )

    def delete(self, names: list[str]) -> None:
        """Deletes those of the classes that are there; bases are named first."""
        there = self.server.class_names() or set()
        for name in reversed([name for name in names if name in there]):
            self.server.do(
                f"delete class {name}",
                "Others have classes or instances under it, which must go first: "
                f"cimcli nc or ni -n {NAMESPACE} {name} lists them, cimcli dc or di deletes one.",
                *("cimcli", "dc", "-n", NAMESPACE, name),
            )

    def provider_tool(self, *arguments: str) -> None:
        remedy = "Try again when nobody uses the module; look at the server's log."
        self.server.do(
            "cimprovider " + shlex.join(arguments),
            remedy,
            *("cimprovider", *arguments, "-m", MODULE),
        )

    def register(self, payload: Payload, group: str) -> None:
        """Registers the module anew."""
        if self.server.registration().module:
            self.provider_tool("-r")
        self.server.do(
            "register the module",
            "Look at cimprovider -l -s, and at the server's log.",
            *("cimmof", "-w", "-n", self.server.interop, str(payload.registration_mof)),
        )
        if group:
            self.provider_tool("-g", group)

    def start(self) -> None:
        if self.server.registration().status != "OK":
            self.provider_tool("-e")

    # -- what must hold before anything is changed --

    def require_rights(self) -> None:
        for folder in (self.library.parent, self.record.folder.parent):
            if not os.access(folder, os.W_OK):
                raise Failure("check the rights", f"{folder} cannot be written", "Run this as root.")
        self.lock = os.open(self.library.parent, os.O_RDONLY)
        try:
            fcntl.flock(self.lock, fcntl.LOCK_EX | fcntl.LOCK_NB)
        except OSError as error:
            raise Failure("begin", "another qbx-provider is at work", "Wait for it.") from error

    def require_own(self, payload: Payload | None) -> None:
        """What stands where the module's things belong must be this program's."""
        known = [self.record.entries.get("digest"), payload and digest(payload.library), ""]
        if "classes" in self.record.entries:
            if digest(self.library) not in known and "version" in self.record.entries:
                raise Failure(
                    "check the library",
                    f"somebody else has replaced {self.library} since it was installed",
                    "Move that file away, and run this again.",
                )
            return
        by_hand = "not by this program"
        if self.registered.module:
            raise Failure(
                "check the registration",
                f"{MODULE} is registered already, {by_hand}",
                f"Take that registration away first: cimprovider -r -m {MODULE}",
            )
        if self.library.exists():
            raise Failure(
                "check the library", f"{self.library} is there, {by_hand}", "Move it away first."
            )
        theirs = [name for name in payload.served if name in (self.there or ())] if payload else []
        if theirs:
            raise Failure(
                "check the classes",
                f"{NAMESPACE} has {', '.join(theirs)} already, {by_hand}",
                f"Delete them first, from the last to the first: cimcli dc -n {NAMESPACE} NAME",
            )

    def require_classes_free(self, payload: Payload) -> None:
        for name in payload.served:
            if name in self.registered.by_others:
                module = self.registered.by_others[name]
                raise Failure(
                    "check the registration",
                    f"{name} is served by another module, {module}",
                    f"Take that registration away first: cimprovider -r -m {module}",
                )

    def require_room(self, folder: pathlib.Path, size: int) -> None:
        if folder.is_dir() and shutil.disk_usage(folder).free < size:
            raise Failure(
                "check the disk", f"{folder} has less than {size >> 20} MiB left", "Make room."
            )

    def array_library(self, library: pathlib.Path) -> str | None:
        """The array's library that the server's loader finds; "" for none, None: not known."""
        variables = process_file(self.server.process, "environ").split(b"\0")
        if variables == [b""]:
            return None
        path = next((v[16:] for v in variables if v.startswith(b"LD_LIBRARY_PATH=")), b"")
        found = subprocess.run(
            ["ldd", str(library)],
            env={"PATH": os.environ.get("PATH", ""), "LD_LIBRARY_PATH": path.decode()},
            capture_output=True,
            text=True,
            check=False,
        )
        match = re.search(rf"{re.escape(ARRAY_LIBRARY)} => (/\S+)", found.stdout)
        return match.group(1) if match else ""

    def require_array_library(self, library: pathlib.Path) -> None:
        if self.array_library(library) == "":
            raise Failure(
                "check the array's library",
                f"the loader of the running server does not find {ARRAY_LIBRARY}",
                "Put it into a folder of /etc/ld.so.conf.d and run ldconfig, or name its folder in "
                "LD_LIBRARY_PATH where cimserver is started; restart the server.",
            )

    def schema_to_load(self, payload: Payload, given: str | None) -> pathlib.Path | None:
        """The folder of the DMTF schema when the namespace needs it."""
        there = self.there or set()
        missing = sorted(payload.bases - there)
        if not missing:
            return None
        if there and not self.record.entries.get("schema"):
            raise Failure(
                "check the namespace",
                f"{NAMESPACE} has {len(there)} classes of others, but lacks {', '.join(missing)}",
                "Load the DMTF schema into it as those others would have it, and run this again.",
            )
        folder = self.server.schema_folder(given)
        if not folder:
            raise Failure(
                "find the DMTF schema",
                f"{given or 'the server'} has no CIM_Schema.mof",
                "Unpack the DMTF's CIM schema (MOF files) and name its folder with --schema.",
            )
        lacks = [name for name in missing if not next(folder.rglob(f"{name}.mof"), None)]
        if lacks:
            raise Failure(
                "check the DMTF schema",
                f"that of {folder} lacks {', '.join(lacks)}",
                "Name the folder of a newer one (2.41 is good) with --schema.",
            )
        self.require_room(self.server.repository, SCHEMA_BYTES)
        return folder

    def instances_to_load(self, payload: Payload, file: pathlib.Path | None) -> list[str]:
        """The classes of the instances that the file holds, unless they are there already."""
        if not file:
            return []
        text = file.read_text() if file.is_file() else ""
        classes = re.findall(r"^instance of (\w+)", text, re.MULTILINE)
        if not classes or not set(classes) <= set(payload.parents) - set(payload.served):
            raise Failure(
                "read the instances",
                f"{file} is no file of instances of the storage system",
                "Take the package's system-instances.mof, with the array's own names.",
            )
        return [] if any(map(self.server.paths, classes)) else classes

    # -- the commands --

    def install(
        self, payload: Payload, client: Client | None, options: argparse.Namespace
    ) -> None:
        self.require_rights()
        self.require_own(payload)
        self.require_classes_free(payload)
        self.require_array_library(payload.library)
        self.require_room(self.library.parent, 4 * payload.library.stat().st_size)
        schema = self.schema_to_load(payload, options.schema)
        instances = self.instances_to_load(payload, options.system_instances)
        if client:
            client.names("CIM_ManagedElement")  # the password is good

        there, old = self.there or set(), self.record.installed()
        differing = set(payload.class_differences(self.server, there))
        for name, parent in payload.parents.items():  # those below go with it
            if parent in differing:
                differing.add(name)
        before = dict(self.record.entries)
        owned = before.get("classes", [])
        anew = [name for name in owned if name in differing or name not in payload.parents]
        foreign = differing & there - set(owned)
        if foreign:
            say(f"kept as others have them: {', '.join(sorted(foreign))}")
        to_define = (differing - foreign) or set(anew)
        to_place = digest(self.library) != digest(payload.library)
        to_register = bool(self.registered.differences(payload.registration(self.server)))
        group = {"server": "CIMServer", "own": ""}.get(options.process, self.registered.group)
        entries = {
            "digest": digest(payload.library),
            "classes": [n for n in payload.parents if n in owned or n not in there],
            "instances": [*before.get("instances", []), *instances],
            "schema": bool(schema) or before.get("schema", False),
        }

        # The module remembers the storage system: it starts anew for its instances too.
        changes = schema or to_define or instances or to_place or to_register
        steps = self.steps
        with steps.all_or_nothing():
            if changes:
                started = {**entries, **({"version": before["version"]} if old else {})}
                steps.run(
                    f"write {self.record.file}",
                    lambda: self.record.write(started),
                    lambda: self.record.write(
                        {**before, "schema": True} if steps.notes else before
                    ),
                )
            if schema:
                steps.run(
                    f"load the DMTF schema of {schema} into {NAMESPACE} (half a minute)",
                    lambda: self.load_schema(schema),
                )
            if self.registered.module and changes:
                steps.run("stop the module", lambda: self.provider_tool("-d"), self.start)
            if to_place:
                steps.run(
                    f"place {self.library}",
                    lambda: self.place(payload.library),
                    lambda: self.place(old.library) if old else self.library.unlink(True),
                )
            if to_define:
                created = [n for n in payload.parents if n in differing and n not in foreign]
                steps.run(
                    f"define {len(created)} classes in {NAMESPACE}",
                    lambda: self.define(payload, anew),
                    lambda: self.define(old, created) if old else self.delete(created),
                )
            if instances:
                steps.run(
                    f"load {options.system_instances} into {NAMESPACE}",
                    lambda: self.load_instances(options.system_instances),
                    lambda: self.delete_instances(instances),
                )
            if to_register:
                steps.run(
                    f"register {MODULE} in {self.server.interop}",
                    lambda: self.register(payload, group),
                    lambda: self.restore_registration(old),
                )
            else:
                if group != self.registered.group:
                    steps.run(
                        f"have it run in {'the server' if group else 'a process of its own'}",
                        lambda: self.provider_tool("-g", group),
                        lambda: self.provider_tool("-g", self.registered.group),
                    )
                if changes or self.registered.status != "OK":
                    steps.run("start the module", self.start)
            steps.run(
                f"query every class as {client.user if client else 'the local user'}",
                lambda: self.verify(payload, client),
            )
            final = {"version": payload.version, **entries}
            if final != before:
                steps.run("keep a copy of the files", lambda: self.record.keep(payload, final, options.system_instances))
        say(f"installed: version {payload.version}" if not steps.dry_run else "nothing was changed")

    def load_instances(self, file: pathlib.Path) -> None:
        self.server.do(
            f"load {file}",
            "Compare it with the package's system-instances.mof.",
            *("cimmof", "-w", "-n", NAMESPACE, str(file)),
        )

    def delete_instances(self, classes: list[str]) -> None:
        for path in [path for name in classes for path in self.server.paths(name)]:
            self.server.do(
                f"delete {path}",
                "Look at the server's log.",
                *("cimcli", "di", "-n", NAMESPACE, path),
            )

    def load_schema(self, folder: pathlib.Path) -> None:
        self.steps.notes.append(f"the DMTF schema in {NAMESPACE}")
        self.server.do(
            "load the DMTF schema",
            "Mend that, and run it again: it goes on where it stopped.",
            *("cimmof", "-w", "-aE", "-n", NAMESPACE, "-I", str(folder)),
            str(folder / "CIM_Schema.mof"),
            seconds=900,
        )

    def restore_registration(self, old: Payload | None) -> None:
        if old:
            self.register(old, self.registered.group)
        elif self.server.registration().module:
            self.provider_tool("-r")

    def verify(self, payload: Payload, client: Client | None) -> None:
        found, denied = [], ""
        for name in payload.served:
            if client:
                count, error = client.names(name)
            else:
                result = self.server.tool("cimcli", "ni", "-n", NAMESPACE, name)
                count = -1 if result.returncode else len(result.stdout.split("\n")) - 1
                error = result.stderr.strip().rpartition("\n")[2]
                if result.returncode == ACCESS_DENIED and "nsufficient privilege" in error:
                    denied = error
                    continue
            if count < 0 and name == CONTAINER and not self.server.paths(SYSTEM):
                say(f"  {name}: there is no {SYSTEM} in {NAMESPACE}: install the array's module that")
                say("  serves it, or see --system-instances")
                continue
            if count < 0:
                raise Failure(
                    f"query {name}", error, "Docs/Troubleshooting.md says what that means."
                )
            found.append(f"{name} {count}")
        if denied:
            say(f"  the module answers, but the array refuses the local user ({denied}):")
            say("  give --user NAME to ask as a user of the array")
        else:
            say(f"  {', '.join(found)}")
        self.require_mapped()

    def require_mapped(self) -> None:
        """The processes that load modules must not run a file that was replaced."""
        in_server = self.server.registration().group == "CIMServer"
        for folder in pathlib.Path("/proc").glob("[0-9]*"):
            pid = int(folder.name)
            agent = process_file(pid, "comm").strip() == b"cimprovagt"
            maps = process_file(pid, "maps").decode(errors="replace")
            if f"{self.library} (deleted)" in maps and (pid == self.server.process) == in_server:
                if in_server or agent:
                    raise Failure(
                        "look for the old library",
                        f"process {pid} still runs it",
                        "Restart the server.",
                    )

    def remove(self) -> None:
        if "classes" not in self.record.entries:
            self.require_own(None)
            return say("nothing to do: it is not installed")
        self.require_rights()
        self.require_own(None)
        steps, old, entries = self.steps, self.record.installed(), self.record.entries
        with steps.all_or_nothing():
            if self.registered.module:
                steps.run(
                    f"take away the registration of {MODULE}",
                    lambda: self.provider_tool("-r"),
                    lambda: self.restore_registration(old),
                )
            if instances := entries.get("instances", []):
                kept = self.record.folder / "system-instances.mof"
                steps.run(
                    f"delete the instances of {', '.join(instances)}",
                    lambda: self.delete_instances(instances),
                    lambda: self.load_instances(kept),
                )
            classes = [name for name in entries["classes"] if name in (self.there or ())]
            if classes:
                steps.run(
                    f"delete {len(classes)} classes from {NAMESPACE}",
                    lambda: self.delete(classes),
                    (lambda: self.define(old, [])) if old else None,
                )
            if self.library.exists():
                steps.run(
                    f"delete {self.library}",
                    self.library.unlink,
                    (lambda: self.place(old.library)) if old else None,
                )
            steps.run(f"delete {self.record.folder}", lambda: self.record.write({}))
        if entries.get("schema"):
            folder = self.server.repository / NAMESPACE.replace("/", "#")
            say(
                f"The DMTF schema stays in {NAMESPACE}: the server cannot delete all of its classes."
                f" When nobody else uses the namespace: cimserver -s, then rm -r '{folder}'"
            )
        say("removed" if not steps.dry_run else "nothing was changed")

    def check(self, payload: Payload, client: Client | None) -> bool:
        """Says what is there and what differs from this version; whether nothing does."""
        server, differs = self.server, []

        def line(what: str, difference: str, good: str = "as in this version") -> None:
            say(f"{what + ':':<18}{difference or good}")
            if difference:
                differs.append(what)

        say(f"{'this version:':<18}{payload.version}")
        say(f"{'server:':<18}OpenPegasus {server.version}, process {server.process}")
        recorded = self.record.entries.get("version")
        line("installed", "" if recorded else "not by qbx-provider", f"version {recorded}")
        state = f"{self.library} is " + ("another file" if self.library.exists() else "missing")
        line("library", state if digest(self.library) != digest(payload.library) else "")
        found = self.array_library(payload.library)
        simulated = found and b"qbxsim_loadFile" in pathlib.Path(found).read_bytes()
        good = (found or "not known") + (", a SIMULATED array" if simulated else "")
        line("array's library", "not found by the server's loader" if found == "" else "", good)
        classes = payload.class_differences(server, self.there or set())
        said = [f"{name} has another {what}" for name, what in classes.items() if what]
        missing = [name for name, what in classes.items() if not what]
        said += [f"missing: {', '.join(missing)}"] if missing else []
        line("classes", "; ".join(said) if missing != list(payload.parents) else "all missing")
        differences = self.registered.differences(payload.registration(server))
        line("registration", "; ".join(differences))
        if self.registered.module:
            line("module", self.registered.status.replace("OK", ""), "OK")
            say(f"{'runs in:':<18}{'the server' if self.registered.group else 'its own process'}")
            if self.registered.status == "OK":
                say("queries:")
                self.verify(payload, client)
        return not differs


def arguments() -> argparse.Namespace:
    parser = argparse.ArgumentParser(
        prog="qbx-provider",
        description="Installs the drive cage module into an OpenPegasus CIM server that runs, "
        "removes it, or says what is there and what differs from this version.",
    )
    parser.add_argument("command", choices=("install", "remove", "check"))
    parser.add_argument("--home", help="folder of the server (default: PEGASUS_HOME, else packages')")
    parser.add_argument("--user", help="query over the wire as this user of server and array")
    parser.add_argument("--password-file", help="the user's password (default: ask; -: stdin)")
    parser.add_argument("--url", help="where to query (default: this server, as it is configured)")
    parser.add_argument("--schema", help="folder of the DMTF schema (default: the server's own)")
    parser.add_argument(
        "--process",
        choices=("own", "server"),
        default="",
        help="where the module runs: in a process of its own (default), or in the server's, which "
        "is faster, but a crash of the module or the array's library ends the server",
    )
    parser.add_argument(
        "--system-instances",
        type=pathlib.Path,
        help="also load this file (see system-instances.mof), where no other module serves "
        "the array's storage system",
    )
    parser.add_argument("--dry-run", action="store_true", help="print the steps, change nothing")
    parser.add_argument("--module", type=pathlib.Path, help=f"{LIBRARY} (default: the package's)")
    parser.add_argument("--mof", type=pathlib.Path, help="folder of the module's MOF files")
    return parser.parse_args()


def password(options: argparse.Namespace) -> str:
    if options.password_file == "-":
        return sys.stdin.readline().rstrip("\n")
    if options.password_file:
        return pathlib.Path(options.password_file).read_text().split("\n")[0]
    return getpass.getpass(f"password of {options.user}: ")


def own_files(options: argparse.Namespace) -> Payload:
    libraries = [*PREFIX.glob(f"lib*/qbx/{LIBRARY}"), *PREFIX.glob(f"lib/*/qbx/{LIBRARY}")]
    library = options.module or next(iter(libraries), PREFIX / "lib/qbx" / LIBRARY)
    return Payload(library.resolve(), (options.mof or PREFIX / "share/qbx/schema").resolve())


def main() -> None:
    options = arguments()
    steps = Steps(options.dry_run)
    try:
        server = Server(options.home or os.environ.get("PEGASUS_HOME"))
        manager = Manager(server, steps)
        client = None
        if options.user:
            client = Client(server, options.user, password(options), options.url)
        payload = None if options.command == "remove" else own_files(options)
        if options.command == "install":
            manager.install(payload, client, options)
        elif options.command == "check":
            sys.exit(0 if manager.check(payload, client) else 1)
        else:
            manager.remove()
    except (Failure, OSError) as error:
        nothing = "" if steps.begun or options.command == "check" else "\n  Nothing was changed."
        sys.exit(f"qbx-provider: {error}{nothing}")


if __name__ == "__main__":
    main()
