"""An OpenPegasus CIM server that runs: where it is installed, its process, and its programs."""

from __future__ import annotations

import dataclasses
import os
import pathlib
import re
import shutil
import subprocess
import xml.etree.ElementTree as ET
from typing import Any

from .common import ARRAY_LIBRARY, NAMESPACE, CommandError
from .registration import property_values

SERVER_VERSION = "2.14"  # modules are built for the binary interface of its library
INTEROP_NAMESPACES = ("root/PG_InterOp", "root/interop")
CIM_ERR_INVALID_NAMESPACE = 3  # exit status of cimcli


@dataclasses.dataclass(frozen=True)
class Places:
    """Where a packaged server has what. Its settings do not tell: these are compiled in."""

    programs: tuple[str, ...]
    providers: tuple[str, ...]  # folders of modules: the first that exists
    repository: str
    schema: str  # folder of the DMTF schema


# By the folder that the package is in.
PACKAGES = {
    "/usr": Places(  # tog-pegasus of the RPM distributions; its settings are in /etc/Pegasus
        ("/usr/sbin", "/usr/bin"),
        ("/usr/lib64/Pegasus/providers", "/usr/lib/Pegasus/providers"),
        "/var/lib/Pegasus/repository",
        "/usr/share/Pegasus/mof",
    ),
    "/opt/tog-pegasus": Places(  # the server's own packages
        ("/opt/tog-pegasus/sbin", "/opt/tog-pegasus/bin"),
        ("/opt/tog-pegasus/providers/lib",),
        "/var/opt/tog-pegasus/repository",
        "/opt/tog-pegasus/share/mof",
    ),
}


def process_file(pid: int, name: str) -> str:
    """The text of /proc/PID/NAME; empty when the process has ended or is another user's."""
    try:
        return pathlib.Path(f"/proc/{pid}/{name}").read_text(errors="replace")
    except OSError:
        return ""


def processes(name: str) -> list[int]:
    """The processes whose program has this name."""
    pids = (int(folder.name) for folder in pathlib.Path("/proc").glob("[0-9]*"))
    return [pid for pid in pids if process_file(pid, "comm").strip() == name]


class Server:
    """A running server. Its programs act on it as the calling user.

    home: its folder, None when it is a package; version; process; settings: as cimconfig lists
    them; interop: the namespace of the registrations. Raises CommandError when one cannot be had.
    """

    def __init__(self, home: str | None, root: pathlib.Path = pathlib.Path("/")):
        """`home`: the server's folder, or one of PACKAGES; None: any of those, below `root`."""
        own = home and home not in PACKAGES  # an installation that is all in one folder
        self.home = pathlib.Path(home).resolve() if home and own else None
        self.root = root
        self.places, self.path = self._find_programs(home)
        self.environment = dict(os.environ)
        if self.home:
            libraries = f"{self.home}/lib:{os.environ.get('LD_LIBRARY_PATH', '')}".rstrip(":")
            self.environment.update(PEGASUS_HOME=str(self.home), LD_LIBRARY_PATH=libraries)
        self.version = self.run("cimserver", "-v").stdout.strip()
        if not self.version.startswith(SERVER_VERSION + "."):
            reason = f"it is version {self.version or '?'}, this module is for {SERVER_VERSION}"
            raise CommandError("check the server", reason, "Build the module for that version.")
        if self.run("cimserver", "--status").returncode:
            reason = "it does not run, or not for this user"
            raise CommandError("check the server", reason, "Start it: cimserver. Run this as root.")
        self.process = self._find_process()
        listed = self.check("query the server", "Run this as root.", "cimconfig", "-l", "-c")
        self.settings = dict(line.split("=", 1) for line in listed.splitlines() if "=" in line)
        self.interop = self._interop_namespace()

    def _find_programs(self, given: str | None) -> tuple[Places, str]:
        """The places of the server, and the search path of its programs."""
        packages = [PACKAGES[given]] if given in PACKAGES else list(PACKAGES.values())
        if self.home:
            home = str(self.home)
            packages = [Places((f"{home}/bin",), (f"{home}/lib",), f"{home}/repository", home)]
        for places in packages:
            path = os.pathsep.join(map(self._below_root, places.programs))
            if shutil.which("cimserver", path=path):
                return places, path
        tried = ", ".join(f"{self._below_root(places.programs[0])}/cimserver" for places in packages)
        remedy = "Set PEGASUS_HOME, or give --home, to the folder that holds the server's bin/."
        raise CommandError("find the server", f"there is no {tried}", remedy)

    def _below_root(self, path: str) -> str:
        return path if self.home else str(self.root / path.lstrip("/"))

    def _find_process(self) -> int:
        program = os.path.realpath(shutil.which("cimserver", path=self.path) or "")
        others = []
        for pid in processes("cimserver"):
            try:
                running = os.readlink(f"/proc/{pid}/exe").removesuffix(" (deleted)")
            except PermissionError:
                return pid  # another user's: its program cannot be seen
            except OSError:
                continue  # it has just ended
            if running == program:
                return pid
            others.append(running)
        reason = f"the running server is {', '.join(others) or 'not visible'}, not {program}"
        raise CommandError("check the server", reason, "Give the folder of the one that runs: --home.")

    def _interop_namespace(self) -> str:
        for namespace in INTEROP_NAMESPACES:
            if not self.run("cimcli", "gc", "-n", namespace, "PG_ProviderModule").returncode:
                return namespace
        reason = f"PG_ProviderModule is in none of {', '.join(INTEROP_NAMESPACES)}"
        raise CommandError("check the server", reason, "Its repository is broken: install it again.")

    # -- its programs --

    def run(
        self, name: str, *arguments: str, seconds: int = 120
    ) -> subprocess.CompletedProcess[str]:
        """Runs a program of the server, whatever its exit status."""
        program = shutil.which(name, path=self.path)
        if not program:
            raise CommandError("find the server", f"it lacks {name}", "Install the rest of the server.")
        try:
            return subprocess.run(
                [program, *arguments], env=self.environment, stdin=subprocess.DEVNULL, text=True,
                capture_output=True, errors="replace", timeout=seconds, check=False,
            )  # fmt: skip
        except subprocess.TimeoutExpired:
            remedy = "Look at the server's log; restart it."
            raise CommandError(name, f"no response in {seconds} s", remedy) from None

    def check(self, step: str, remedy: str, name: str, *arguments: str, seconds: int = 120) -> str:
        """Runs a program of the server whose exit status must be 0; returns its output."""
        result = self.run(name, *arguments, seconds=seconds)
        if result.returncode:
            output = (result.stderr.strip() or result.stdout.strip()).splitlines()
            raise CommandError(step, f"{name}: {' '.join(output[-2:])}", remedy)
        return result.stdout

    def compile(self, remedy: str, namespace: str, mof: pathlib.Path, *options: str) -> None:
        """Compiles a MOF file into a namespace."""
        options = ("-w", *options, "-n", namespace, "-I", str(mof.parent), str(mof))
        self.check(f"compile {mof}", remedy, "cimmof", *options, seconds=900)

    def compiled(self, namespace: str, mof: pathlib.Path) -> ET.Element:
        """What a MOF file declares, in XML. Changes nothing."""
        command = ("cimmof", "--xml", "-w", "-n", namespace, "-I", str(mof.parent), str(mof))
        return ET.fromstring(self.check(f"read {mof}", "Install the package again.", *command))

    # -- its folders --

    @property
    def provider_folder(self) -> pathlib.Path:
        """Where modules are loaded from: the first folder of the setting, which is below the home; of a
        packaged server the one that exists."""
        if self.home:
            return self.home / self.settings.get("providerDir", "lib").split(":")[0]
        folders = [pathlib.Path(self._below_root(folder)) for folder in self.places.providers]
        return next((folder for folder in folders if folder.is_dir()), folders[0])

    @property
    def repository(self) -> pathlib.Path:
        return pathlib.Path(self._below_root(self.places.repository))

    def schema_folder(self, given: str | None) -> pathlib.Path | None:
        """The folder of a DMTF schema, of several the newest (CIM241: 2.41); None: none."""
        own = [self._below_root(self.places.schema), os.environ.get("PEGASUS_ROOT")]
        roots = [pathlib.Path(root) for root in ([given] if given else own) if root]
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

    def without_namespace(self) -> str:
        """The commands that free the server of the namespace."""
        folder = self.repository / NAMESPACE.replace("/", "#")
        return f"cimserver -s; rm -r '{folder}'; cimserver"

    def array_library(self, library: pathlib.Path) -> str | None:
        """The array's library that the server's loader finds; "": none, None: not known."""
        variables = process_file(self.process, "environ")
        if not variables:
            return None
        match = re.search(r"(?:^|\0)LD_LIBRARY_PATH=([^\0]*)", variables)
        environment = {"PATH": os.defpath, "LD_LIBRARY_PATH": match.group(1) if match else ""}
        command = ["ldd", str(library)]
        needs = subprocess.run(command, env=environment, capture_output=True, text=True).stdout
        match = re.search(rf"{re.escape(ARRAY_LIBRARY)} => (/\S+)", needs)
        return match.group(1) if match else ""

    # -- classes and instances of the namespace --

    def class_names(self) -> set[str]:
        """The classes of the namespace; none when there is no such namespace."""
        listed = self.run("cimcli", "nc", "-n", NAMESPACE, "-di")
        if listed.returncode not in (0, CIM_ERR_INVALID_NAMESPACE):
            raise CommandError("query the server", listed.stderr, "Run this as root.")
        return set() if listed.returncode else set(listed.stdout.split())

    def get_class(self, name: str) -> ET.Element:
        command = ("cimcli", "gc", "-o", "xml", "-n", NAMESPACE, name)
        text = self.check("query the server", "Run this again.", *command)
        return ET.fromstring(text[text.find("<") :])

    def delete_classes(self, names: list[str]) -> None:
        """Deletes those of the classes that are there; `names` has bases first."""
        there = self.class_names()
        for name in reversed([name for name in names if name in there]):
            remedy = (
                "Classes or instances of others under it must go first: "
                f"cimcli nc, cimcli ni -n {NAMESPACE} {name} list them; cimcli dc, cimcli di."
            )
            self.check(f"delete {name}", remedy, "cimcli", "dc", "-n", NAMESPACE, name)

    def instance_names(self, class_name: str) -> list[str]:
        """The paths of a class's instances; none when they cannot be had."""
        listed = self.run("cimcli", "ni", "-n", NAMESPACE, class_name)
        return [] if listed.returncode else listed.stdout.strip().splitlines()

    def delete_instances(self, classes: list[str]) -> None:
        for path in [path for name in classes for path in self.instance_names(name)]:
            command = ("cimcli", "di", "-n", NAMESPACE, path)
            self.check(f"delete {path}", "Look at the server's log.", *command)

    def registered(self, class_name: str) -> list[dict[str, Any]]:
        """The properties of the instances of a class of the interop namespace."""
        text = self.run("cimcli", "ei", "-o", "xml", "-n", self.interop, class_name).stdout
        text = re.sub(r"^path=.*$", "", text, flags=re.MULTILINE)
        return [property_values(instance) for instance in ET.fromstring(f"<all>{text}</all>")]
