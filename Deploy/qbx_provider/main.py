"""The command line of qbx-provider."""

from __future__ import annotations

import argparse
import getpass
import os
import pathlib
import sys
import xml.etree.ElementTree as ET

from . import commands, package
from .common import MANIFEST, CommandError
from .payload import Payload, read_manifest
from .queries import Client, LocalClient, WireClient
from .server import Server
from .steps import Target, UndoneError


def arguments() -> argparse.Namespace:
    parser = argparse.ArgumentParser(
        prog="qbx-provider",
        description="Installs a provider module into an OpenPegasus CIM server that runs, "
        "removes it, or prints what is there and what differs from this version.",
    )
    add = parser.add_argument
    add("command", choices=("install", "remove", "check"))
    add(
        "module",
        nargs="?",
        help="its manifest.json, or the name of a module that is installed "
        "(default: the drive cage module of the package)",
    )
    add("--home", help="folder of the server (default: PEGASUS_HOME, or where packages put it)")
    add("--user", help="query over the wire as this user of server and array (default: locally)")
    add("--password-file", help="holds the user's password (default: prompt; -: standard input)")
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
    add("--library", type=pathlib.Path, help="folder of the module's library (default: the manifest's)")
    add("--version", action="version", version=f"qbx-provider {package.VERSION}")
    return parser.parse_args()


def password(options: argparse.Namespace) -> str:
    if options.password_file == "-":
        return sys.stdin.readline().rstrip("\n")
    if options.password_file:
        return pathlib.Path(options.password_file).read_text().split("\n")[0]
    try:
        return getpass.getpass(f"password of {options.user}: ")
    except EOFError:
        reason = "nothing was entered"
        raise CommandError("ask for the password", reason, "Give --password-file.") from None


def chosen_module(server: Server, given: str | None) -> tuple[Target, pathlib.Path]:
    """The module that the command line names, by its manifest or its name; and the manifest."""
    manifest = pathlib.Path(given or package.MANIFEST or "")
    if manifest.is_file():
        return commands.open_target(server, read_manifest(manifest)["name"]), manifest.resolve()
    if given and given == manifest.name:
        target = commands.open_target(server, given)
        if target.record.entries:
            return target, target.record.copies / MANIFEST
    reason = f"there is no file {given or MANIFEST}, and no module of that name is installed"
    remedy = f"Give the {MANIFEST} of its build or package, or an installed module's name."
    raise CommandError("find the module", reason, remedy)


def run(options: argparse.Namespace) -> int:
    """Does what the command line says; returns the exit status."""
    server = Server(options.home or os.environ.get("PEGASUS_HOME"))
    target, manifest = chosen_module(server, options.module)
    if options.command == "remove":
        commands.remove(target, options.dry_run)
        return 0
    libraries = [options.library] if options.library else [manifest.parent, package.LIBRARIES]
    payload = Payload(manifest, [folder.resolve() for folder in libraries if folder])
    client: Client = LocalClient(server)
    if options.user:
        client = WireClient(server, options.user, password(options), options.url)
    if options.command == "check":
        return 0 if commands.check(target, payload, client) else 1
    chosen = commands.Options(options.schema, options.system_instances, options.process)
    commands.install(target, payload, chosen, client, options.dry_run)
    return 0


def main() -> None:
    """Runs the command line and ends the program."""
    options = arguments()
    unchanged = "" if options.command == "check" else "\n  Nothing was changed."
    try:
        sys.exit(run(options))
    except KeyboardInterrupt:
        sys.exit("qbx-provider: interrupted\n  Nothing was changed.")
    except UndoneError as error:
        sys.exit(f"qbx-provider: {error}")
    except (CommandError, OSError, ET.ParseError) as error:
        sys.exit(f"qbx-provider: {error}{unchanged}")
