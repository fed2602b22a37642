"""The command line of qbx-enclosure."""

import argparse
import json
import os
import re
import sys

from . import actions, exporter, report, show, sites
from .connection import Client, EnclosureError, clean, hidden
from .judgement import judge
from .model import read, read_words
from .severity import Rules
from .sites import Array
from .version import VERSION

TIMEOUTS = {"upgrade": 1800}  # seconds; 30 for any other command
COMMANDS = ("tree", "health", "locate", "loop", "upgrade", "relocate", "metrics", "report")
UNSENDABLE = re.compile("[\0-\x08\x0b\x0c\x0e-\x1f\ud800-\udfff\ufffe\uffff]")  # in XML


def number(low: int, high: int):
    """A type for options: a whole number from `low` to `high`."""

    def whole(text: str) -> int:
        if not re.fullmatch("[0-9]{1,9}", text) or not low <= int(text) <= high:
            raise argparse.ArgumentTypeError(f"{text!r} is no whole number from {low} to {high}")
        return int(text)

    return whole


def codes(text: str) -> set[int]:
    return {number(0, 65535)(each) for each in text.split(",")}


class Parser(argparse.ArgumentParser):
    """A parser whose messages show no password and steer no terminal."""

    def error(self, message: str):
        super().error(hidden(clean(message)))


def parser() -> Parser:
    common = Parser(add_help=False)
    of_common = common.add_argument
    of_common("--namespace", default="root/qbx", metavar="NAME", help="the module's (root/qbx)")
    of_common("--timeout", type=number(1, 86400), metavar="SECONDS",
              help="how long a request may take (30; upgrade: 1800)")
    of_common("--ca", metavar="FILE", help="PEM file of who vouches for the server")
    of_common("--no-verify", action="store_true", help="take any certificate")
    of_common("--well", type=codes, default={1}, metavar="CODES",
              help="the array's state codes that mean well, such as 1,7 (1)")
    top = Parser(
        prog="qbx-enclosure",
        usage="qbx-enclosure [URL] [COMMAND] [OPTION...]",
        description="Shows and operates the drive cages of an array through the CIM server at URL: "
        "http(s)://[USER[:PASSWORD]@]HOST[:PORT], or that of QBX_URL, or this machine. "
        "QBX_PASSWORD can hold the password; else it is prompted for. Without COMMAND: tree.",
        epilog="qbx-enclosure COMMAND --help prints the options. "
        "Exit status: 0 well or done, 1 needs attention or not done, 2 no answer.",
    )
    top.add_argument("--version", action="version", version=f"qbx-enclosure {VERSION}")
    commands = top.add_subparsers(dest="command", metavar="COMMAND", prog="qbx-enclosure [URL]")

    def command(name: str, text: str, *arguments: str, confirms: bool = False, chooses: bool = False):
        added = commands.add_parser(name, help=text, description=text, parents=[common])
        for each in arguments:
            added.add_argument(each, metavar=each.upper())
        if confirms:
            added.add_argument("--yes", action="store_true", help="do not ask for a confirmation")
        if chooses:
            added.add_argument("--cage", metavar="NAME", help="this cage only")
            added.add_argument("--problems", action="store_true", help="only what needs attention")
        return added.add_argument

    command("tree", "show everything, and what needs attention", chooses=True)
    option = command("health", "check: one line a problem, exit status 0 when there is none")
    option("--cage", metavar="NAME", help="this cage only, with its sensors' readings")
    option("--json", action="store_true", help="for machines")
    option = command("locate", "light the locator of a cage, a magazine or a card's port", "name")
    option("--seconds", type=number(0, 65535), default=60, metavar="N", help="how long (60)")
    option("--port", type=number(0, 65535), metavar="N", help="the port of a card")
    option = command("loop", "put a magazine on its loops or take it off", "magazine", confirms=True)
    option("state", choices=("on", "off"))
    option("--loop", choices=("A", "B"), help="this loop only (both)")
    option = command("upgrade", "load a firmware file, which the array reads, into a cage", "cage",
                     "file", confirms=True)
    option("--port", choices=("A", "B"), default="A", help="through this port (A)")
    command("relocate", "set the location of a cage", "cage", "location")
    option = command("metrics", "serve metrics for Prometheus until it is stopped")
    option("names", nargs="*", metavar="NAME", help="arrays or groups of the list")
    option("--sites", metavar="FILE", help="the list of arrays")
    option("--listen", default="127.0.0.1", metavar="ADDRESS", help="(127.0.0.1)")
    option("--port", type=number(0, 65535), default=9988, metavar="N", help="(9988); 0: any free one")
    option("--interval", type=number(0, 86400), default=5, metavar="SECONDS",
           help="between two polls of an array, at least (5)")
    option("--web-config", metavar="FILE", help="TLS and users, in the form of Prometheus' exporters")
    option("--once", action="store_true", help="print them and end")
    option("--output", metavar="FILE", help="with --once: replace this file by them")
    command("report", "write a page for a browser into a file; -: standard output", "file", chooses=True)
    return top


def arguments(words: list[str]) -> argparse.Namespace:
    """The command line. The URL can stand anywhere in it, options also before the command."""
    options = parser()
    for unsendable in filter(None, map(UNSENDABLE.search, words)):
        options.error(f"{unsendable.string!a}: U+{ord(unsendable[0]):04X} cannot be sent")
    urls = [each for each in words if re.match("[A-Za-z]+://", each)]
    if len(urls) > 1:
        options.error(f"there are {len(urls)} URLs; give one")
    rest = [each for each in words if each not in urls]
    command = next((each for each in rest if each in COMMANDS), None)
    if command:
        rest.remove(command)
    elif not {"-h", "--help", "--version"} & set(rest):
        command = "tree"
    given = options.parse_args(([command] if command else []) + rest)
    given.url = urls[0] if urls else os.environ.get("QBX_URL", "http://localhost:5988")
    if getattr(given, "output", None) and not given.once:
        options.error("--output needs --once")
    given.timeout = given.timeout or TIMEOUTS.get(given.command, 30)
    return given


def run(given: argparse.Namespace) -> int:
    """Does what the command line says; returns the exit status."""
    if given.command == "metrics" and given.names:
        site = sites.load(given.sites)
        given.url = ""
        return exporter.run(site.chosen(given.names), site.rules, given)
    client = Client(given.url, given.namespace, given.timeout, given.ca, not given.no_verify)
    if given.command in actions.ACTIONS:
        print(actions.ACTIONS[given.command](client, given))
        return 0
    if given.command == "metrics":
        name = client.url.partition("//")[2]
        array = Array(name, given.url, ca=given.ca or "", verify=not given.no_verify, namespace=given.namespace,
                      timeout=given.timeout, well=frozenset(given.well))  # fmt: skip
        return exporter.run([array], Rules(), given)
    enclosure = judge(read(client, read_words(client, given.well)))
    if given.command == "health":
        return show.health(enclosure.narrowed(given.cage, False), bool(given.cage), given.json)
    shown = enclosure.narrowed(given.cage, given.problems)
    if given.command == "report":
        return report.write(given.file, client.url, enclosure, shown)
    return show.tree(enclosure, shown, given.problems)


def main() -> int:
    """Runs the command line; returns the exit status."""
    for stream in (sys.stdout, sys.stderr):
        stream.reconfigure(errors="backslashreplace")  # type: ignore[union-attr]
    given = arguments(sys.argv[1:])
    try:
        return run(given)
    except EnclosureError as error:
        text = f"qbx-enclosure: {error}"
        if getattr(given, "json", False):
            text = json.dumps({"status": "no answer", "reason": str(error)}, ensure_ascii=False)
        # Who runs a check reads its standard output.
        print(text, file=sys.stdout if given.command == "health" else sys.stderr)
        return error.status
    except BrokenPipeError:  # "| head"
        os.dup2(os.open(os.devnull, os.O_WRONLY), sys.stdout.fileno())
        return 0
    except (KeyboardInterrupt, EOFError):  # EOFError: no password was typed
        return 130
