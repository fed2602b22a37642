"""The command line of qbx-provider."""

from __future__ import annotations

import argparse
import getpass
import os
import pathlib
import sys
import xml.etree.ElementTree as ET

from . import commands, package
from .common import LIBRARY, CommandError
from .payload import Payload
from .queries import Client, LocalClient, WireClient
from .server import Server
from .steps import UndoneError


def arguments() -> argparse.Namespace:
    parser = argparse.ArgumentParser(
        prog="qbx-provider",
        description="Installs the drive cage module into an OpenPegasus CIM server that runs, "
        "removes it, or prints what is there and what differs from this version.",
    )
    parser.add_argument("command", choices=("install", "remove", "check"))
    add = parser.add_argument
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
    add("--module", type=pathlib.Path, help=f"{LIBRARY} (default: the package's)")
    add("--mof", type=pathlib.Path, help="folder of its MOF files (default: the package's)")
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


def chosen_payload(options: argparse.Namespace) -> Payload:
    """The version that the options name; without them the package's."""
    library = options.module or (package.LIBRARIES and package.LIBRARIES / LIBRARY)
    schema = options.mof or package.SCHEMA
    if not library or not schema:
        reason = "the source tree has no build of its own"
        remedy = "Give --module and --mof, as ./qbx install-provider does."
        raise CommandError("find the module's files", reason, remedy)
    return Payload(library.resolve(), schema.resolve())


def run(options: argparse.Namespace) -> int:
    """Does what the command line says; returns the exit status."""
    server = Server(options.home or os.environ.get("PEGASUS_HOME"))
    target = commands.open_target(server)
    if options.command == "remove":
        commands.remove(target, options.dry_run)
        return 0
    payload = chosen_payload(options)
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
