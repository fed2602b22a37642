#!/usr/bin/python3
"""Installs the drive cage module into an OpenPegasus CIM server, removes it, says what is there."""

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
import shutil
import signal
import ssl
import subprocess
import sys
import urllib.error
import urllib.parse
import urllib.request
import xml.etree.ElementTree as ET
from collections.abc import Callable, Iterator
from typing import Any, NoReturn

NAMESPACE = "root/qbx"
MODULE = "QBX_DriveCageProviderModule"
LIBRARY = "libQBX_DriveCageProvider.so"
ARRAY_LIBRARY = "libqbxapi.so"
SYSTEM = "QBX_StorageSystem"  # class of the instance that CONTAINER needs from elsewhere
CONTAINER = "QBX_SysCageContainer"
PREFIX = pathlib.Path(__file__).resolve().parents[1]  # where this is installed: has lib/ and share/

SERVER_VERSION = "2.14"  # the module is built for the binary interface of its library
INTEROP_NAMESPACES = ("root/PG_InterOp", "root/interop")
# Where packages of the server put its programs, and the DMTF schema.
PACKAGES = {
    "/usr": "/usr/sbin:/usr/bin",
    "/opt/tog-pegasus": "/opt/tog-pegasus/sbin:/opt/tog-pegasus/bin",
}
SCHEMA_FOLDERS = ("/usr/share/Pegasus/mof", "/opt/tog-pegasus/share/mof")
SCHEMA_BYTES = 64 << 20  # that the DMTF schema takes in the server's repository, and reserve

# What cimcli ends with: codes of CIM.
ACCESS_DENIED, INVALID_NAMESPACE, NOT_FOUND = 2, 3, 6


class Failure(Exception):
    """A step that cannot be done: which, why, and what to do."""

    def __init__(self, step: str, reason: str, remedy: str):
        super().__init__(f"{step}: {reason.strip()}\n  {remedy}")


def say(text: str) -> None:
    print(text, flush=True)


def digest(path: pathlib.Path) -> str:
    return hashlib.sha256(path.read_bytes()).hexdigest() if path.is_file() else ""


def process_file(pid: int, name: str) -> str:
    """A file of /proc; empty when the process is gone or somebody else's."""
    try:
        return pathlib.Path(f"/proc/{pid}/{name}").read_text(errors="replace")
    except OSError:
        return ""


def processes(name: str) -> list[int]:
    pids = (int(folder.name) for folder in pathlib.Path("/proc").glob("[0-9]*"))
    return [pid for pid in pids if process_file(pid, "comm").strip() == name]


# ---- the server ----


class Server:
    """An OpenPegasus CIM server that runs, by its tools: they act on it as the calling user."""

    def __init__(self, home: str | None):
        own = home and home not in PACKAGES  # of an installation that is all in one folder
        self.home = pathlib.Path(home).resolve() if home and own else None
        places = [f"{self.home}/bin"] if self.home else list(PACKAGES.values())
        self.path = next((p for p in places if shutil.which("cimserver", path=p)), "")
        if not self.path:
            looked = ", ".join(f"{place.split(':')[0]}/cimserver" for place in places)
            remedy = "Set PEGASUS_HOME, or give --home, to the folder that holds the server's bin/."
            raise Failure("find the server", f"there is no {looked}", remedy)
        self.environment = dict(os.environ)
        if self.home:
            libraries = f"{self.home}/lib:{os.environ.get('LD_LIBRARY_PATH', '')}".rstrip(":")
            self.environment.update(PEGASUS_HOME=str(self.home), LD_LIBRARY_PATH=libraries)

        self.version = self.tool("cimserver", "-v").stdout.strip()
        if not self.version.startswith(SERVER_VERSION + "."):
            reason = f"it is version {self.version or '?'}, this module is for {SERVER_VERSION}"
            raise Failure("check the server", reason, "Build the module for that version.")
        if self.tool("cimserver", "--status").returncode:
            reason = "it does not run, or not for this user"
            raise Failure("check the server", reason, "Start it: cimserver. Run this as root.")
        self.process = self._process()
        listed = self.do("ask the server", "Run this as root.", "cimconfig", "-l", "-c")
        self.settings = dict(line.split("=", 1) for line in listed.splitlines() if "=" in line)
        for self.interop in INTEROP_NAMESPACES:
            if not self.tool("cimcli", "gc", "-n", self.interop, "PG_ProviderModule").returncode:
                break
        else:
            reason = f"PG_ProviderModule is in none of {', '.join(INTEROP_NAMESPACES)}"
            raise Failure("check the server", reason, "Its repository is broken: install it again.")

    def _process(self) -> int:
        program = os.path.realpath(shutil.which("cimserver", path=self.path) or "")
        others = []
        for pid in processes("cimserver"):
            try:
                running = os.readlink(f"/proc/{pid}/exe").removesuffix(" (deleted)")
            except PermissionError:
                return pid  # another user's: not for us to know
            except OSError:
                continue  # it has just ended
            if running == program:
                return pid
            others.append(running)
        reason = f"what runs is {', '.join(others) or 'out of sight'}, not {program}"
        raise Failure("check the server", reason, "Give the folder of the one that runs: --home.")

    def tool(self, name: str, *arguments: str, seconds: int = 120) -> Any:
        """Runs a program of the server, however it ends."""
        program = shutil.which(name, path=self.path)
        if not program:
            raise Failure("find the server", f"it lacks {name}", "Install the rest of the server.")
        try:
            return subprocess.run(
                [program, *arguments], env=self.environment, stdin=subprocess.DEVNULL, text=True,
                capture_output=True, errors="replace", timeout=seconds, check=False,
            )
        except subprocess.TimeoutExpired:
            remedy = "Look at the server's log; restart it."
            raise Failure(name, f"no answer in {seconds} s", remedy) from None

    def do(self, step: str, remedy: str, name: str, *arguments: str, seconds: int = 120) -> str:
        """Runs a program of the server that must end well; returns what it said."""
        result = self.tool(name, *arguments, seconds=seconds)
        if result.returncode:
            said = (result.stderr.strip() or result.stdout.strip()).splitlines()
            raise Failure(step, f"{name}: {' '.join(said[-2:])}", remedy)
        return result.stdout

    @property
    def provider_folder(self) -> pathlib.Path:
        """Where modules are loaded from: the first folder of the setting, below the home."""
        folder = self.settings.get("providerDir", "lib").split(":")[0]
        return (self.home or pathlib.Path("/usr")) / folder

    @property
    def repository(self) -> pathlib.Path:
        return (self.home or pathlib.Path("/var/lib/Pegasus")) / "repository"

    def schema_folder(self, given: str | None) -> pathlib.Path | None:
        """The folder of a DMTF schema, of several the newest (CIM241: 2.41); None: none."""
        ours = [self.home, os.environ.get("PEGASUS_ROOT"), *SCHEMA_FOLDERS]
        roots = [pathlib.Path(root) for root in ([given] if given else ours) if root]
        file = "CIM_Schema.mof"
        found = [
            path.parent
            for root in roots
            for pattern in (file, f"CIM*/{file}", f"[Ss]chemas/CIM*/{file}")
            for path in root.glob(pattern)
        ]

        def version(folder: pathlib.Path) -> int:
            match = re.fullmatch(r"CIM2(\d{1,2})\d*", folder.name)
            return int(match.group(1)) if match else -1

        return max(found, key=version, default=None)

    # -- its repository --

    def class_names(self) -> set[str]:
        """The classes of the namespace; none when there is no such namespace."""
        listed = self.tool("cimcli", "nc", "-n", NAMESPACE, "-di")
        if listed.returncode not in (0, INVALID_NAMESPACE):
            raise Failure("ask the server", listed.stderr, "Run this as root.")
        return set() if listed.returncode else set(listed.stdout.split())

    def get_class(self, name: str) -> ET.Element:
        command = ("cimcli", "gc", "-o", "xml", "-n", NAMESPACE, name)
        text = self.do("ask the server", "Run this again.", *command)
        return ET.fromstring(text[text.find("<") :])

    def paths(self, class_name: str) -> list[str]:
        """The instances of a class; none when they cannot be had."""
        listed = self.tool("cimcli", "ni", "-n", NAMESPACE, class_name)
        return [] if listed.returncode else listed.stdout.strip().splitlines()

    def compiled(self, namespace: str, mof: pathlib.Path) -> ET.Element:
        """What a MOF file says, as the server's compiler understands it. Changes nothing."""
        command = ("cimmof", "--xml", "-w", "-n", namespace, "-I", str(mof.parent), str(mof))
        return ET.fromstring(self.do(f"read {mof}", "Install the package again.", *command))

    def registration(self) -> Registration:
        def instances(name: str) -> list[dict]:
            text = self.tool("cimcli", "ei", "-o", "xml", "-n", self.interop, name).stdout
            text = re.sub(r"^path=.*$", "", text, flags=re.MULTILINE)
            return [values_of(instance) for instance in ET.fromstring(f"<all>{text}</all>")]

        return Registration(instances)


def values_of(instance: ET.Element) -> dict[str, Any]:
    """The properties of an instance: texts, and tuples of texts."""
    values: dict[str, Any] = {}
    for item in instance:
        texts = tuple((value.text or "").strip() for value in item.iter("VALUE"))
        values[item.get("NAME", "")] = texts if item.tag.endswith(".ARRAY") else "".join(texts)
    return values


def shape(item: ET.Element) -> tuple:
    """A class or a part of it, comparable: without the order of its parts, flavors and origin."""
    marks = ("NAME", "SUPERCLASS", "TYPE", "REFERENCECLASS", "ARRAYSIZE")
    named = tuple(item.get(mark, "") for mark in marks)
    return (item.tag, named, " ".join((item.text or "").split()), tuple(sorted(map(shape, item))))


class Registration:
    """How the module is registered: its properties, its providers and what they serve."""

    def __init__(self, instances: Callable[[str], list[dict]]):
        """`instances` gives those of a class of the interop namespace."""
        self.module: dict = {}
        self.parts: set[tuple] = set()  # providers (name), capabilities (class, provider, ...)
        self.by_others: dict[str, str] = {}  # class of NAMESPACE: module
        for item in instances("PG_ProviderModule"):
            if item["Name"] == MODULE:
                self.module = item
        for item in instances("PG_Provider"):
            if item["ProviderModuleName"] == MODULE:
                self.parts.add((item["Name"],))
        for item in instances("PG_ProviderCapabilities"):
            if item["ProviderModuleName"] == MODULE:
                names = ("ClassName", "ProviderName", "Namespaces", "ProviderType")
                self.parts.add(tuple(item[name] for name in names))
            elif NAMESPACE in map(str.lower, item["Namespaces"]):
                self.by_others[item["ClassName"]] = item["ProviderModuleName"]
        self.group = self.module.get("ModuleGroupName") or ""
        status = self.module.get("OperationalStatus", ())
        self.status = {("2",): "OK", ("10",): "stopped"}.get(status, f"status {status}")

    def differences(self, wanted: Registration) -> list[str]:
        """What of this is not as wanted."""
        if not self.module:
            return ["missing"]
        return [
            f"{name} is {self.module[name]}, not {wanted.module[name]}"
            for name in ("Version", "InterfaceType", "InterfaceVersion", "Location")
            if self.module[name] != wanted.module[name]
        ] + sorted({f"{part[0]} otherwise" for part in self.parts ^ wanted.parts})


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
        self.bases = (needed | set(self.parents.values())) - set(self.parents)  # the DMTF's
        text = self.registration_mof.read_text()
        self.served = re.findall(r'^\s*ClassName = "(\w+)";', text, re.MULTILINE)
        self.version = "".join(re.findall(r'^\s*Version = "([^"]+)"', text, re.MULTILINE)[:1])

    def class_differences(self, server: Server, there: set[str]) -> dict[str, str]:
        """The classes that the namespace does not have ("") or has otherwise (which of their
        parts); `there`: all that it has."""
        result = {name: "" for name in self.parents if name not in there}
        for item in server.compiled(NAMESPACE, self.classes_mof) if self.bases <= there else ():
            for wanted in map(shape, item.iter("CLASS")):
                name = wanted[1][0]
                found = shape(server.get_class(name)) if name in there else wanted
                if found != wanted:
                    parts = {part[1][0] for part in set(found[3]) ^ set(wanted[3])}
                    result[name] = ", ".join(sorted(parts)) or "superclass"
        return result

    def registration(self, server: Server) -> Registration:
        listed = collections.defaultdict(list)
        for item in server.compiled(server.interop, self.registration_mof).iter("INSTANCE"):
            listed[item.get("CLASSNAME", "")].append(values_of(item))
        return Registration(listed.__getitem__)


class Record:
    """What this program has done to a server: record.json, and a copy of the installed files.

    digest: of the library. classes: those that this program defined, bases first; absent when
    nothing is installed. instances: the classes whose instances it loaded. schema: whether it
    loaded the DMTF schema. version: of what is installed; absent during a first installation.
    """

    def __init__(self, server: Server):
        self.folder = (server.home or pathlib.Path("/var/lib")) / "qbx-provider"
        self.file = self.folder / "record.json"
        self.copies = self.folder / "installed"
        self.instances = self.copies / "system-instances.mof"
        try:
            self.entries = json.loads(self.file.read_text()) if self.file.is_file() else {}
        except ValueError as error:
            raise Failure("read the record", f"{self.file}: {error}", "Restore the file.") from None

    def installed(self) -> Payload | None:
        return Payload(self.copies / LIBRARY, self.copies) if "version" in self.entries else None

    def write(self, entries: dict) -> None:
        """Replaces the record; without entries nothing of it is left."""
        if not entries:
            shutil.rmtree(self.folder, ignore_errors=True)
            return
        self.folder.mkdir(mode=0o755, exist_ok=True)
        part = self.file.with_suffix(".new")
        part.write_text(json.dumps(entries, indent=1) + "\n")
        part.replace(self.file)

    def keep(self, payload: Payload, instances: pathlib.Path | None, entries: dict) -> None:
        """The installation is complete: copies its files."""
        new = self.folder / "new"
        shutil.rmtree(new, ignore_errors=True)
        new.mkdir()
        shutil.copy(payload.library, new / LIBRARY)
        for path in payload.schema.glob("*.mof"):
            shutil.copy(path, new)
        instances = instances or (self.instances if self.instances.exists() else None)
        if instances:
            shutil.copy(instances, new / self.instances.name)
        shutil.rmtree(self.copies, ignore_errors=True)
        new.rename(self.copies)
        self.write(entries)


# ---- a WBEM client, to see what a user sees ----

ENUMERATE = """<?xml version="1.0" encoding="utf-8"?>
<CIM CIMVERSION="2.0" DTDVERSION="2.0"><MESSAGE ID="1" PROTOCOLVERSION="1.0"><SIMPLEREQ>
<IMETHODCALL NAME="EnumerateInstanceNames"><LOCALNAMESPACEPATH><NAMESPACE NAME="root"/>
<NAMESPACE NAME="qbx"/></LOCALNAMESPACEPATH><IPARAMVALUE NAME="ClassName"><CLASSNAME NAME="{}"/>
</IPARAMVALUE></IMETHODCALL></SIMPLEREQ></MESSAGE></CIM>"""


class Client:
    """Asks the server over HTTP or HTTPS as a user."""

    def __init__(self, server: Server, user: str, password: str, url: str | None):
        if not url:
            secure = server.settings.get("enableHttpConnection") != "true"
            port = server.settings.get("httpsPort" if secure else "httpPort") or 5988 + secure
            url = f"http{'s' if secure else ''}://localhost:{port}"
        self.user, self.url = user, url
        self.authorization = base64.b64encode(f"{user}:{password}".encode()).decode()
        context = ssl.create_default_context()
        if urllib.parse.urlsplit(url).hostname in ("localhost", "127.0.0.1", "::1"):
            context.check_hostname = False  # the server's certificate has its other name
            context.verify_mode = ssl.CERT_NONE
        secure_handler = urllib.request.HTTPSHandler(context=context)
        self.opener = urllib.request.build_opener(urllib.request.ProxyHandler({}), secure_handler)

    def count(self, class_name: str) -> tuple[int, str]:
        """The number of instances and an empty text, or -1 and the error."""
        headers = {
            "Content-Type": 'application/xml; charset="utf-8"',
            "CIMOperation": "MethodCall",
            "CIMMethod": "EnumerateInstanceNames",
            "CIMObject": urllib.parse.quote(NAMESPACE, safe=""),
            "Authorization": f"Basic {self.authorization}",
        }
        body = ENUMERATE.format(class_name).encode()
        try:
            request = urllib.request.Request(f"{self.url}/cimom", body, headers)
            with self.opener.open(request, timeout=60) as answer:
                tree = ET.fromstring(answer.read())
        except (OSError, ValueError, ET.ParseError, http.client.HTTPException) as error:
            if isinstance(error, urllib.error.HTTPError) and error.code == 401:
                remedy = "Give another user or password."
                raise Failure("log in", f"the server refuses user {self.user}", remedy) from None
            remedy = "Look at the server's ports (cimconfig -l -c), or give --url."
            raise Failure("ask over the wire", f"{self.url}: {error}", remedy) from None
        failed = tree.find(".//ERROR")
        if failed is not None:
            return -1, failed.get("DESCRIPTION", f"CIM error {failed.get('CODE')}")
        return len(tree.findall(".//IRETURNVALUE/INSTANCENAME")), ""


# ---- installing, removing, checking ----

Step = tuple[Any, str, Callable[[], object], "Callable[[], object] | None"]


class Steps:
    """Runs steps; when one fails or a signal comes, undoes those that were begun."""

    SIGNALS = (signal.SIGINT, signal.SIGTERM, signal.SIGHUP)

    def __init__(self, dry_run: bool):
        self.dry_run = dry_run
        self.begun: list[tuple[str, Callable[[], object]]] = []
        self.stays: list[str] = []  # what cannot be taken back

    def run(self, steps: list[Step]) -> None:
        """Each step: whether it is needed, what it does, how, and how that is undone, also when it
        was done by half."""
        with self._all_or_nothing():
            for needed, what, do, undo in steps:
                if not needed:
                    continue
                say(f"{'would ' if self.dry_run else ''}{what}")
                if self.dry_run:
                    continue
                if undo:
                    self.begun.append((what, undo))
                try:
                    do()
                except OSError as error:
                    raise Failure(what, str(error), "Mend that, and run this again.") from error

    @contextlib.contextmanager
    def _all_or_nothing(self) -> Iterator[None]:
        def interrupted(number: int, _: object) -> NoReturn:
            raise Failure("interrupted", signal.Signals(number).name, "Run this again.")

        for number in self.SIGNALS:
            signal.signal(number, interrupted)
        try:
            yield
        except Exception as failure:
            for number in self.SIGNALS:
                signal.signal(number, signal.SIG_IGN)
            if not self.begun:
                raise
            say(f"{failure}\ntaking back what was done")
            for what, undo in reversed(self.begun):
                try:
                    undo()
                except Exception as error:  # the others are tried all the same
                    self.stays.append(f"'{what}' could not be taken back: {error}")
            stays = "\n  ".join(["What stays:", *self.stays])
            result = stays if self.stays else "The server is as it was."
            raise Failure("not done", "the reason is above", result) from failure


class Manager:
    """The module on one server: what is there, what was recorded, and the steps between."""

    def __init__(self, server: Server, steps: Steps):
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

    def compile(self, remedy: str, namespace: str, mof: pathlib.Path, *options: str) -> None:
        options = ("-w", *options, "-n", namespace, "-I", str(mof.parent), str(mof))
        self.server.do(f"compile {mof}", remedy, "cimmof", *options, seconds=900)

    def load_schema(self, folder: pathlib.Path) -> None:
        self.steps.stays.append(f"the DMTF schema in {NAMESPACE}")
        remedy = "Mend that, and run this again: it goes on where it stopped."
        self.compile(remedy, NAMESPACE, folder / "CIM_Schema.mof", "-aE")

    def define(self, payload: Payload, anew: list[str]) -> None:
        """Defines the classes that are not there. Those of `anew` are deleted first."""
        self.delete(anew)
        remedy = f"Look what others have in {NAMESPACE}."
        self.compile(remedy, NAMESPACE, payload.classes_mof, "-aEV")

    def delete(self, names: list[str]) -> None:
        """Deletes those of the classes that are there; bases are named first."""
        there = self.server.class_names()
        for name in reversed([name for name in names if name in there]):
            remedy = (
                "Classes or instances of others under it must go first: "
                f"cimcli nc, cimcli ni -n {NAMESPACE} {name} list them; cimcli dc, cimcli di."
            )
            self.server.do(f"delete {name}", remedy, "cimcli", "dc", "-n", NAMESPACE, name)

    def restore(self, old: Payload | None, created: list[str]) -> None:
        """Takes back what define() has done, by half or wholly."""
        if not old:
            self.delete(created)
        elif differences := old.class_differences(self.server, self.server.class_names()):
            self.define(old, created if any(differences.values()) else [])

    def load_instances(self, file: pathlib.Path) -> None:
        self.compile("Compare it with the package's system-instances.mof.", NAMESPACE, file)

    def delete_instances(self, classes: list[str]) -> None:
        for path in [path for name in classes for path in self.server.paths(name)]:
            command = ("cimcli", "di", "-n", NAMESPACE, path)
            self.server.do(f"delete {path}", "Look at the server's log.", *command)

    def provider_tool(self, *arguments: str) -> None:
        remedy = "Try again when nobody uses the module; look at the server's log."
        step = f"cimprovider {' '.join(arguments)}"
        self.server.do(step, remedy, "cimprovider", *arguments, "-m", MODULE)

    def register(self, payload: Payload | None, group: str) -> None:
        """Registers the module anew; without payload not at all."""
        if self.server.registration().module:
            self.provider_tool("-r")
        if payload:
            remedy = "Look at cimprovider -l -s, and at the server's log."
            self.compile(remedy, self.server.interop, payload.registration_mof)
            if group:
                self.provider_tool("-g", group)

    def start(self) -> None:
        if self.server.registration().status != "OK":
            self.provider_tool("-e")

    def verify(self, payload: Payload, client: Client | None) -> None:
        """Queries every class, and looks whether the server runs the file that is there."""
        found, denied = [], ""
        for name in payload.served:
            if client:
                count, error = client.count(name)
            else:
                result = self.server.tool("cimcli", "ni", "-n", NAMESPACE, name)
                count = -1 if result.returncode else len(result.stdout.strip().splitlines())
                error = result.stderr.strip().rpartition("\n")[2]
                if result.returncode == ACCESS_DENIED:
                    denied = error
                    continue
            if count >= 0:
                found.append(f"{name} {count}")
            elif name == CONTAINER and not self.server.paths(SYSTEM):
                say(f"  {name}: no {SYSTEM} in {NAMESPACE}: install the array's module that serves")
                say("  it and start this one anew (cimprovider -d, -e), or see --system-instances")
            else:
                raise Failure(f"query {name}", error, "Troubleshooting.md says what that means.")
        if denied:
            say(f"  the module answers, but the array refuses the local user: {denied}")
            say("  --user NAME asks as a user of the array")
        else:
            say(f"  {', '.join(found)}")
        in_server = self.server.registration().group == "CIMServer"
        for pid in [self.server.process] if in_server else processes("cimprovagt"):
            if f"{self.library} (deleted)" in process_file(pid, "maps"):
                reason = f"process {pid} still runs the one that was replaced"
                raise Failure("look which library runs", reason, "Restart the server.")

    # -- what must hold before anything is changed --

    def require_rights(self) -> None:
        for folder in (self.library.parent, self.record.folder.parent):
            if not os.access(folder, os.W_OK):
                reason = f"{folder} cannot be written"
                raise Failure("check the rights", reason, "Run this as root.")
        self.lock = os.open(self.library.parent, os.O_RDONLY)
        try:
            fcntl.flock(self.lock, fcntl.LOCK_EX | fcntl.LOCK_NB)
        except OSError:
            raise Failure("begin", "another qbx-provider is at work", "Wait for it.") from None

    def require_own(self, payload: Payload | None) -> None:
        """What stands where the module's things belong must be this program's."""
        entries = self.record.entries
        if "classes" in entries:
            files = [payload, self.record.installed()]
            known = ["", entries.get("digest"), *(digest(file.library) for file in files if file)]
            if digest(self.library) not in known:
                reason = f"somebody else has replaced {self.library} since it was installed"
                raise Failure("check what is there", reason, "Move that file away, run this again.")
            return
        served = payload.served if payload else []
        theirs = [name for name in reversed(served) if name in self.there]
        for wrong, what, remedy in (
            (self.registered.module, f"registration of {MODULE} is", f"cimprovider -r -m {MODULE}"),
            (self.library.exists(), f"{self.library} is", f"rm {self.library}"),
            (theirs, f"{', '.join(theirs)} are", f"cimcli dc -n {NAMESPACE}, in that order"),
        ):
            if wrong:
                reason = f"{what} there already, not by this program"
                raise Failure("check what is there", reason, f"Take that away first: {remedy}")
        for name in set(served) & set(self.registered.by_others):
            other = self.registered.by_others[name]
            remedy = f"Take that registration away first: cimprovider -r -m {other}"
            raise Failure("check what is there", f"{name} is served by module {other}", remedy)

    def require_room(self, folder: pathlib.Path, size: int) -> None:
        if folder.is_dir() and shutil.disk_usage(folder).free < size:
            reason = f"{folder} has less than {(size >> 20) + 1} MiB left"
            raise Failure("check the disk", reason, "Make room.")

    def array_library(self, library: pathlib.Path) -> str | None:
        """The array's library that the server's loader finds; "": none, None: not known."""
        variables = process_file(self.server.process, "environ")
        if not variables:
            return None
        match = re.search(r"(?:^|\0)LD_LIBRARY_PATH=([^\0]*)", variables)
        environment = {"PATH": os.defpath, "LD_LIBRARY_PATH": match.group(1) if match else ""}
        command = ["ldd", str(library)]
        needs = subprocess.run(command, env=environment, capture_output=True, text=True).stdout
        match = re.search(rf"{re.escape(ARRAY_LIBRARY)} => (/\S+)", needs)
        return match.group(1) if match else ""

    def require_array_library(self, library: pathlib.Path) -> None:
        if self.array_library(library) == "":
            reason = f"the loader of the running server does not find {ARRAY_LIBRARY}"
            remedy = (
                "Name its folder in /etc/ld.so.conf.d and run ldconfig, or in LD_LIBRARY_PATH "
                "where cimserver is started, and restart the server."
            )
            raise Failure("check the array's library", reason, remedy)

    def schema_to_load(self, payload: Payload, given: str | None) -> pathlib.Path | None:
        """The folder of the DMTF schema, when the namespace needs it."""
        missing = sorted(payload.bases - self.there)
        if not missing:
            return None
        if self.there and not self.record.entries.get("schema"):
            reason = f"others use {NAMESPACE}, and it lacks {', '.join(missing)}"
            remedy = "Load the DMTF schema as those others would have it, and run this again."
            raise Failure("check the namespace", reason, remedy)
        folder = self.server.schema_folder(given)
        lacks = [name for name in missing if not (folder and any(folder.rglob(f"{name}.mof")))]
        if lacks or not folder:
            reason = f"{folder or given or 'the server'} has no {', '.join(lacks)}"
            remedy = "Unpack the DMTF's CIM schema 2.41 (MOF) and name its folder with --schema."
            raise Failure("find the DMTF schema", reason, remedy)
        self.require_room(self.server.repository, SCHEMA_BYTES)
        return folder

    def instances_to_load(self, payload: Payload, file: pathlib.Path | None) -> list[str]:
        """The classes of the instances that the file holds, unless there are some already."""
        if not file:
            return []
        text = file.read_text() if file.is_file() else ""
        classes = re.findall(r"^instance of (\w+)", text, re.MULTILINE)
        if not classes or not set(classes) <= set(payload.parents) - set(payload.served):
            remedy = "Take the package's system-instances.mof, with the array's own names."
            raise Failure("read the instances", f"none of the storage system in {file}", remedy)
        return [] if any(map(self.server.paths, classes)) else classes

    # -- the commands --

    def install(self, payload: Payload, client: Client | None, options: argparse.Namespace) -> None:
        self.require_rights()
        self.require_own(payload)
        self.require_array_library(payload.library)
        self.require_room(self.library.parent, 4 * payload.library.stat().st_size)
        schema = self.schema_to_load(payload, options.schema)
        instances = self.instances_to_load(payload, options.system_instances)
        if client:
            client.count("CIM_ManagedElement")  # the password is good

        record, server, registered = self.record, self.server, self.registered
        before, old = dict(record.entries), record.installed()
        owned = before.get("classes", [])
        differing = set(payload.class_differences(server, self.there))
        for name, parent in payload.parents.items():  # those below go with it
            if parent in differing:
                differing.add(name)
        kept = sorted((differing & self.there) - set(owned))
        if kept:
            say(f"stay as others have them: {', '.join(kept)}")
        created = [name for name in payload.parents if name in differing and name not in kept]
        anew = [name for name in owned if name in differing or name not in payload.parents]
        place = digest(self.library) != digest(payload.library)
        register = bool(registered.differences(payload.registration(server)))
        group = {"server": "CIMServer", "own": ""}.get(options.process, registered.group)
        # The module remembers the storage system: for its instances, too, it starts anew.
        changes = any((schema, created, anew, instances, place, register))
        entries = {
            "digest": digest(payload.library),
            "classes": [n for n in payload.parents if n in owned or n not in self.there],
            "instances": [*before.get("instances", []), *instances],
            "schema": bool(schema) or before.get("schema", False),
        }
        version = {"version": before["version"]} if old else {}
        final = {"version": payload.version, **entries}
        self.steps.run([
            (
                changes,
                f"write {record.file}",
                lambda: record.write({**entries, **version}),
                lambda: record.write({**before, "schema": True} if self.steps.stays else before),
            ),
            (
                schema,
                f"load the DMTF schema of {schema} into {NAMESPACE} (half a minute)",
                lambda: self.load_schema(schema) if schema else None,
                None,
            ),
            (
                registered.module and changes,
                "stop the module",
                lambda: self.provider_tool("-d"),
                self.start,
            ),
            (
                place,
                f"place {self.library}",
                lambda: self.place(payload.library),
                lambda: self.place(old.library) if old else self.library.unlink(True),
            ),
            (
                created or anew,
                f"define {len(created)} classes in {NAMESPACE}",
                lambda: self.define(payload, anew),
                lambda: self.restore(old, created),
            ),
            (
                instances,
                f"load {options.system_instances} into {NAMESPACE}",
                lambda: self.load_instances(options.system_instances),
                lambda: self.delete_instances(instances),
            ),
            (
                register,
                f"register {MODULE} in {server.interop}",
                lambda: self.register(payload, group),
                lambda: self.register(old, registered.group),
            ),
            (
                not register and group != registered.group,
                f"have it run in {'the server' if group else 'a process of its own'}",
                lambda: self.provider_tool("-g", group),
                lambda: self.provider_tool("-g", registered.group),
            ),
            (
                not register and (changes or registered.status != "OK"),
                "start the module",
                self.start,
                None,
            ),
            (
                True,
                f"query every class as {client.user if client else 'the local user'}",
                lambda: self.verify(payload, client),
                None,
            ),
            (
                final != before,
                f"keep a copy of the files in {record.copies}",
                lambda: record.keep(payload, options.system_instances, final),
                None,
            ),
        ])
        self.finish(f"installed: version {payload.version}")

    def finish(self, result: str) -> None:
        say("nothing was changed" if self.steps.dry_run else result)

    def remove(self) -> None:
        self.require_own(None)
        record, entries, old = self.record, self.record.entries, self.record.installed()
        if "classes" not in entries:
            say("nothing to do: it is not installed")
            return
        self.require_rights()
        instances = entries.get("instances", [])
        classes = [name for name in entries["classes"] if name in self.there]
        self.steps.run([
            (
                self.registered.module,
                f"take away the registration of {MODULE}",
                lambda: self.provider_tool("-r"),
                lambda: self.register(old, self.registered.group),
            ),
            (
                instances,
                f"delete the instances of {', '.join(instances)}",
                lambda: self.delete_instances(instances),
                lambda: self.load_instances(record.instances),
            ),
            (
                classes,
                f"delete {len(classes)} classes from {NAMESPACE}",
                lambda: self.delete(classes),
                lambda: self.define(old, []) if old else None,
            ),
            (
                self.library.exists(),
                f"delete {self.library}",
                self.library.unlink,
                lambda: self.place(old.library) if old else None,
            ),
            (True, f"delete {record.folder}", lambda: record.write({}), None),
        ])
        if entries.get("schema"):
            folder = self.server.repository / NAMESPACE.replace("/", "#")
            say(
                f"The DMTF schema stays in {NAMESPACE}: the server cannot delete all its classes."
                f" If nobody else uses it: cimserver -s; rm -r '{folder}'; cimserver"
            )
        self.finish("removed")

    def check(self, payload: Payload, client: Client | None) -> bool:
        """Says what is there and what differs from this version; whether nothing does."""
        server, differs = self.server, []

        def line(what: str, difference: str, good: str = "as in this version") -> None:
            say(f"{what + ':':<18}{difference or good}")
            if difference:
                differs.append(what)

        line("this version", "", payload.version)
        line("server", "", f"OpenPegasus {server.version}, process {server.process}")
        version = self.record.entries.get("version")
        line("installed", "" if version else "not by qbx-provider", f"version {version}")
        state = f"{self.library} is " + ("another file" if self.library.exists() else "missing")
        line("library", state if digest(self.library) != digest(payload.library) else "")
        array = self.array_library(payload.library)
        simulated = array and b"qbxsim_loadFile" in pathlib.Path(array).read_bytes()
        good = (array or "not known") + (", a SIMULATED array" if simulated else "")
        line("array's library", "not found by the server's loader" if array == "" else "", good)
        classes = payload.class_differences(server, self.there)
        said = [f"{name} differs in {what}" for name, what in classes.items() if what]
        missing = [name for name, what in classes.items() if not what]
        said += [f"missing: {', '.join(missing)}"] if missing else []
        line("classes", "; ".join(said) if missing != list(payload.parents) else "missing")
        differences = self.registered.differences(payload.registration(server))
        line("registration", "; ".join(differences))
        if self.registered.module:
            status = self.registered.status
            line("module", "" if status == "OK" else status, "OK")
            line("runs in", "", "the server" if self.registered.group else "a process of its own")
            if status == "OK":
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
    add = parser.add_argument
    add("--home", help="folder of the server (default: PEGASUS_HOME, or where packages put it)")
    add("--user", help="query over the wire as this user of server and array (default: locally)")
    add("--password-file", help="holds the user's password (default: ask; -: standard input)")
    add("--url", help="where to query, http://HOST:PORT or https://... (default: as configured)")
    add("--schema", help="folder of the DMTF schema, if root/qbx lacks it (default: the server's)")
    add(
        "--system-instances",
        type=pathlib.Path,
        metavar="FILE",
        help="load also these instances of the storage system, where no other module serves them",
    )
    add(
        "--process",
        choices=("own", "server"),
        help="where the module runs: in a process of its own, or in the server's, which is faster, "
        "but a crash in the module or the array's library then ends the server (default: own, "
        "and as it is when installed already)",
    )
    add("--dry-run", action="store_true", help="print the steps, change nothing")
    add("--module", type=pathlib.Path, help=f"{LIBRARY} (default: the package's)")
    add("--mof", type=pathlib.Path, help="folder of its MOF files (default: the package's)")
    return parser.parse_args()


def password(options: argparse.Namespace) -> str:
    if options.password_file == "-":
        return sys.stdin.readline().rstrip("\n")
    if options.password_file:
        return pathlib.Path(options.password_file).read_text().split("\n")[0]
    try:
        return getpass.getpass(f"password of {options.user}: ")
    except EOFError:
        raise Failure("ask for the password", "no answer", "Give --password-file.") from None


def run(options: argparse.Namespace, steps: Steps) -> int:
    manager = Manager(Server(options.home or os.environ.get("PEGASUS_HOME")), steps)
    if options.command == "remove":
        manager.remove()
        return 0
    library = options.module or next(PREFIX.glob(f"lib*/**/qbx/{LIBRARY}"), PREFIX / LIBRARY)
    payload = Payload(library.resolve(), (options.mof or PREFIX / "share/qbx/schema").resolve())
    client = None
    if options.user:
        client = Client(manager.server, options.user, password(options), options.url)
    if options.command == "check":
        return 0 if manager.check(payload, client) else 1
    manager.install(payload, client, options)
    return 0


def main() -> None:
    options = arguments()
    steps = Steps(options.dry_run)
    try:
        sys.exit(run(options, steps))
    except KeyboardInterrupt:
        sys.exit("qbx-provider: interrupted\n  Nothing was changed.")
    except (Failure, OSError, ET.ParseError) as error:
        nothing = "" if steps.begun or options.command == "check" else "\n  Nothing was changed."
        sys.exit(f"qbx-provider: {error}{nothing}")


if __name__ == "__main__":
    main()
