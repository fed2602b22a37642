"""The command line of qbx-enclosure."""

import argparse
import dataclasses
import gc
import os
import re
import sys
from typing import NamedTuple

from . import COMMANDS, sites
from .connection import EnclosureError, clean, hidden, server_of
from .severity import Severity
from .sites import Array, Site
from .version import VERSION

ACTIONS = ("locate", "loop", "upgrade", "relocate")
OF_ALL = ("arrays", "metrics")  # without a name or URL these are about all arrays of the list
TIMEOUTS = {"upgrade": 1800}  # seconds, where those of the array are too few
WITHIN = {"health": 50}  # seconds: Nagios and Icinga end a check after 60
UNSENDABLE = re.compile("[\0-\x08\x0b\x0c\x0e-\x1f\ud800-\udfff\ufffe\uffff]")  # in XML
DESCRIPTION = """Shows and operates the drive cages of arrays through their CIM servers: of the array at URL,
http(s)://[USER[:PASSWORD]@]HOST[:PORT], or of arrays, groups or all of a list. Without one it is
the URL of QBX_URL, or this machine. QBX_PASSWORD can hold the password; else it is prompted for.
Without COMMAND: tree.

commands:
"""
EPILOG = """qbx-enclosure COMMAND --help prints the options of a command.
Exit status: 0 well or done, 1 needs attention or not done, 2 no answer; of health 0 ok, 1 warning,
2 critical, 3 unknown."""


def number(low: int, high: int):
    """A type for options: a whole number from `low` to `high`."""

    def whole(text: str) -> int:
        if not re.fullmatch("[0-9]{1,9}", text) or not low <= int(text) <= high:
            raise argparse.ArgumentTypeError(f"{text!r} is no whole number from {low} to {high}")
        return int(text)

    return whole


def codes(text: str) -> frozenset[int]:
    return frozenset(number(0, 65535)(each) for each in text.split(","))


class Parser(argparse.ArgumentParser):
    """A parser whose messages show no password and steer no terminal."""

    def error(self, message: str):
        text = hidden(clean(message))
        if self.prog.endswith(" health"):  # who runs a check reads its standard output
            print(f"UNKNOWN: {text}; qbx-enclosure health --help prints the options")
            self.exit(Severity.UNKNOWN)
        super().error(text)


class Command(NamedTuple):
    """What a command does, what follows it (each a name, and the words that it can be), and options."""

    text: str
    arguments: tuple[str, ...]
    options: Parser

    def parse(self, name: str, before: list[str], after: list[str]) -> argparse.Namespace:
        """Parses the words before and after the command; names of arrays stand before."""
        program = f"qbx-enclosure [NAME...|URL] {name}"
        names = Parser(prog=program, parents=[self.options], add_help=False, usage=f"{program} [OPTION...]")
        names.add_argument("names", nargs="*")
        rest = Parser(prog=program, parents=[self.options], description=self.text)
        for each in self.arguments:
            word, *choices = each.split()
            rest.add_argument(word, choices=choices or None, metavar=None if choices else word.upper())
        if {"-h", "--help"} & {*before}:
            before, after = [], ["--help"]
        return rest.parse_args(after, names.parse_intermixed_args(before))


def commands() -> dict[str, Command]:
    common = Parser(add_help=False)
    of_common = common.add_argument
    of_common("--sites", metavar="FILE", help="the list of arrays")
    of_common("--password-file", metavar="FILE", help="its first line is the password")
    of_common("--namespace", metavar="NAME", help="the module's (root/qbx)")
    of_common("--timeout", type=number(1, 86400), metavar="SECONDS",
              help="how long a request may take (30; upgrade: 1800)")
    of_common("--ca", metavar="FILE", help="PEM file of who vouches for the server")
    of_common("--no-verify", action="store_true", help="take any certificate")
    of_common("--well", type=codes, metavar="CODES",
              help="the array's state codes that mean well, such as 1,7 (1)")
    found = {}

    def command(name: str, text: str, *arguments: str, confirms=False, chooses=False, lists=False):
        options = Parser(add_help=False, parents=[common])
        option = options.add_argument
        if name not in (*ACTIONS, "metrics"):
            option("--at-once", type=number(1, 1000), default=sites.AT_ONCE, metavar="N",
                   help=f"how many arrays are queried at the same time ({sites.AT_ONCE})")
        if name not in (*ACTIONS, "metrics", "watch"):
            option("--within", type=number(1, 86400), default=WITHIN.get(name), metavar="SECONDS",
                   help=f"how long all of it may take ({WITHIN.get(name, 'no limit')})")
        if confirms:
            option("--yes", action="store_true", help="do not ask for a confirmation")
        if chooses:
            option("--cage", metavar="NAME", help="this cage only")
            option("--problems", action="store_true", help="only what needs attention")
        if lists:
            forms = options.add_mutually_exclusive_group()
            forms.add_argument("--json", action="store_true", help="for programs")
            forms.add_argument("--csv", action="store_true", help="for spreadsheets")
        found[name] = Command(text, arguments, options)
        return option

    command("tree", "show everything, and what needs attention", chooses=True, lists=True)
    command("arrays", "show each array in a line; without a name: all", lists=True)
    option = command("health", "check for Nagios and Icinga: one line a problem", lists=True)
    option("--cage", metavar="NAME", help="this cage only, with its sensors' readings")
    option("--warning-from", type=number(1, 65535), metavar="N", help="elements that make a warning (1)")
    option("--critical-from", type=number(0, 65535), metavar="N", help="elements that are critical (0: never)")
    option = command("watch", "show what changes until it is stopped")
    option("--interval", type=number(1, 86400), default=60, metavar="SECONDS", help="between two polls (60)")
    option("--json", action="store_true", help="one line for each change")
    option = command("locate", "light the locator of a cage, a magazine or a card's port", "name")
    option("--seconds", type=number(0, 65535), default=60, metavar="N", help="how long (60)")
    option("--port", type=number(0, 65535), metavar="N", help="the port of a card")
    option = command("loop", "put a magazine on its loops or take it off", "magazine", "state on off", confirms=True)
    option("--loop", choices=("A", "B"), help="this loop only (both)")
    option = command("upgrade", "load a firmware file, which the array reads, into a cage", "cage", "file",
                     confirms=True)
    option("--port", choices=("A", "B"), default="A", help="through this port (A)")
    command("relocate", "set the location of a cage", "cage", "location")
    option = command("metrics", "serve metrics for Prometheus until it is stopped")
    option("--listen", default="127.0.0.1", metavar="ADDRESS", help="(127.0.0.1)")
    option("--port", type=number(0, 65535), default=9988, metavar="N", help="(9988); 0: any free one")
    option("--interval", type=number(0, 86400), default=5, metavar="SECONDS",
           help="between two polls of an array, at least (5)")
    option("--web-config", metavar="FILE", help="TLS and users, in the form of Prometheus' exporters")
    option("--once", action="store_true", help="print them and end")
    option("--output", metavar="FILE", help="with --once: replace this file by them")
    command("report", "write a page for a browser into a file (-: standard output), of several arrays a folder",
            "file", chooses=True)
    return found


def arguments(words: list[str]) -> argparse.Namespace:
    """The command line. The URL can stand anywhere in it, options also before the command."""
    known = commands()
    urls = [each for each in words if re.match("[A-Za-z]+://", each)]
    rest = [each for each in words if each not in urls]
    at = next((at for at, each in enumerate(rest) if each in COMMANDS), len(rest))
    command = rest[at] if at < len(rest) else "tree"
    top = Parser(prog="qbx-enclosure", usage="qbx-enclosure [NAME...|URL] [COMMAND] [OPTION...]",
                 formatter_class=argparse.RawDescriptionHelpFormatter, epilog=EPILOG,
                 description=DESCRIPTION + "\n".join(f"  {name:9} {each.text}" for name, each in known.items()),
                 parents=[known["tree"].options])  # fmt: skip
    top.add_argument("--version", action="version", version=f"qbx-enclosure {VERSION}")
    if at == len(rest) and {"-h", "--help", "--version"} & set(rest):
        top.parse_args(rest)
    options = Parser(prog=f"qbx-enclosure {command}", usage=top.usage)
    for unsendable in filter(None, map(UNSENDABLE.search, words)):
        options.error(f"{unsendable.string!a}: U+{ord(unsendable[0]):04X} cannot be sent")
    if len(urls) > 1:
        options.error(f"there are {len(urls)} URLs; give one, or names of the list")
    given = known[command].parse(command, rest[:at], rest[at + 1 :])
    if urls and given.names:
        options.error(f"there are a URL and {given.names[0]}; give a URL, or names of the list")
    given.command, given.url = command, urls[0] if urls else ""
    return given


def chosen(given: argparse.Namespace) -> tuple[Site, list[Array]]:
    """The list, as far as it is needed, and the arrays that the command line names."""
    listed = given.names or (not given.url and given.command in OF_ALL)
    site = sites.load(given.sites) if listed or given.command == "health" else Site("")
    names = given.names or ([sites.ALL] if listed and site.file else [])
    options = {"namespace": given.namespace, "timeout": given.timeout or TIMEOUTS.get(given.command), "ca": given.ca,
               "verify": False if given.no_verify else None, "well": given.well,
               "password_file": given.password_file}  # fmt: skip
    url = given.url or os.environ.get("QBX_URL", "http://localhost:5988")
    arrays = site.chosen(names) or [Array(server_of(url).netloc.rpartition("@")[2], url)]
    changes = {key: value for key, value in options.items() if value is not None}
    if given.password_file:
        changes["password_env"] = ""
    return site, [dataclasses.replace(each, **changes).prompted() for each in arrays]


def run(given: argparse.Namespace) -> int:
    """Does what the command line says; returns the exit status. What a command alone needs is imported
    with it."""
    site, arrays = chosen(given)
    if given.command in ACTIONS:
        from . import actions

        if len(arrays) > 1:
            raise EnclosureError(f"{given.command} acts on one array, these are {len(arrays)}; give one of their names")
        print(actions.ACTIONS[given.command](arrays[0].client(), given))
        return 0
    if given.command == "metrics":
        from . import exporter

        return exporter.run(site, arrays, given)
    if given.command == "report":
        from . import report

        return report.write(arrays, given)
    if given.command == "watch":
        from . import watch

        return watch.watch(arrays, given)
    from . import show

    if given.command == "health":
        return show.health(arrays, site.rules.with_counts(given.warning_from, given.critical_from), given)
    return show.arrays(arrays, given) if given.command == "arrays" else show.tree(arrays, given)


def main() -> int:
    """Runs the command line; returns the exit status."""
    gc.set_threshold(500_000)  # what was read lives on: looking for garbage in it takes longer than reading it
    for stream in (sys.stdout, sys.stderr):
        stream.reconfigure(errors="backslashreplace")  # type: ignore[union-attr]
    given = arguments(sys.argv[1:])
    try:
        return run(given)
    except EnclosureError as error:
        if given.command == "health":
            from . import show

            return show.no_check(error, given.json)
        print(f"qbx-enclosure: {error}", file=sys.stderr)
        return error.status
    except BrokenPipeError:  # "| head"
        os.dup2(os.open(os.devnull, os.O_WRONLY), sys.stdout.fileno())
        return 0
    except (KeyboardInterrupt, EOFError):  # EOFError: no password was typed
        return 130
