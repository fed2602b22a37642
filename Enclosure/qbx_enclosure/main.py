"""The command line of qbx-enclosure."""

import argparse
import os
import re
import sys

NO_ANSWER = 2
UNSENDABLE = re.compile("[\0-\x08\x0b\x0c\x0e-\x1f\ud800-\udfff\ufffe\uffff]")  # in XML
COMMANDS = ("tree", "health", "locate", "loop", "upgrade", "relocate", "metrics", "report")


def number(low: int, high: int):
    """A type for options: a whole number from `low` to `high`."""

    def whole(text: str) -> int:
        if not re.fullmatch("[0-9]{1,9}", text) or not low <= int(text) <= high:
            raise argparse.ArgumentTypeError(f"{text!r} is no whole number from {low} to {high}")
        return int(text)

    return whole


def codes(text: str) -> set[int]:
    return {number(0, 65535)(each) for each in text.split(",")}


def add_common(parser: argparse.ArgumentParser, hidden: bool = False) -> None:
    """The options that every command knows; they can stand before it and after it."""
    default = argparse.SUPPRESS if hidden else None
    for flags, options in {
        ("--namespace",): {"metavar": "NAME", "help": "the module's namespace (root/qbx)"},
        ("--timeout",): {
            "metavar": "SECONDS",
            "type": number(1, 86400),
            "help": "how long to wait for an answer (30; upgrade: 1800)",
        },
        ("--ca",): {"metavar": "FILE", "help": "PEM file of who vouches for the server"},
        ("--no-verify",): {"action": "store_true", "help": "take any certificate"},
        ("--well",): {
            "metavar": "CODES",
            "type": codes,
            "help": "the array's state codes that mean well, such as 1,7 (1)",
        },
    }.items():
        parser.add_argument(*flags, default=default, **options)


def parser() -> argparse.ArgumentParser:
    top = argparse.ArgumentParser(
        prog="qbx-enclosure",
        usage="qbx-enclosure [URL] [COMMAND] [OPTION...]",
        description="Shows and operates the drive cages of an array, through the CIM server at URL: "
        "http(s)://[USER[:PASSWORD]@]HOST[:PORT], or what QBX_URL says, or this machine. The password "
        "can be in QBX_PASSWORD; else it is asked for. Without COMMAND: tree.",
        epilog="Exit status: 0 well or done, 1 needs attention or not done, 2 no answer.",
        allow_abbrev=False,
    )
    add_common(top)
    commands = top.add_subparsers(dest="command", metavar="COMMAND")

    def command(name: str, text: str, *arguments: str) -> argparse.ArgumentParser:
        added = commands.add_parser(name, help=text, description=text, allow_abbrev=False)
        add_common(added, hidden=True)
        for each in arguments:
            added.add_argument(each, metavar=each.upper())
        return added

    def choosing(name: str, text: str, *arguments: str) -> argparse.ArgumentParser:
        added = command(name, text, *arguments)
        added.add_argument("--cage", metavar="NAME", help="this cage only")
        added.add_argument("--problems", action="store_true", help="only what needs attention")
        return added

    def asking(name: str, text: str, *arguments: str) -> argparse.ArgumentParser:
        added = command(name, text, *arguments)
        added.add_argument("--yes", action="store_true", help="do not ask before it is done")
        return added

    choosing("tree", "show everything, and what needs attention")
    health = command("health", "check: one line a problem, exit status 0 when there is none")
    health.add_argument("--cage", metavar="NAME", help="this cage only, with its sensors' readings")
    health.add_argument("--json", action="store_true", help="for machines")
    locate = command("locate", "light the locator of a cage, magazine or card's port", "name")
    locate.add_argument("--seconds", type=number(0, 65535), default=60, help="how long (60); 0: off")
    locate.add_argument("--port", type=number(0, 65535), help="the port of a card")
    loop = asking("loop", "put a magazine on its loops or take it off", "magazine")
    loop.add_argument("state", choices=("on", "off"))
    loop.add_argument("--loop", choices=("A", "B"), help="this loop only (both)")
    upgrade = asking("upgrade", "load firmware into a cage", "cage", "file")
    upgrade.add_argument("--port", choices=("A", "B"), default="A", help="through this port (A)")
    command("relocate", "say where a cage is", "cage", "location")
    metrics = command("metrics", "serve metrics for Prometheus until it is stopped")
    metrics.add_argument("--listen", default="127.0.0.1", metavar="ADDRESS", help="(127.0.0.1)")
    metrics.add_argument("--port", type=number(0, 65535), default=9988, help="(9988; 0: any free)")
    interval = {"type": number(1, 86400), "default": 60, "metavar": "SECONDS"}
    metrics.add_argument("--interval", **interval, help="between two polls of the server (60)")
    metrics.add_argument("--once", action="store_true", help="print them and end")
    choosing("report", "write a page for a browser", "file")
    return top


def arguments(words: list[str]) -> argparse.Namespace:
    """The command line. The URL can stand anywhere in it."""
    urls = [each for each in words if re.match("[A-Za-z]+://", each)][:1]
    rest = [each for each in words if each not in urls]
    options = parser()
    for each in words:
        unsendable = UNSENDABLE.search(each)
        if unsendable:
            options.error(f"{ascii(each)}: U+{ord(unsendable[0]):04X} cannot be sent")
    if not {"-h", "--help", *COMMANDS} & set(rest):
        rest.append("tree")
    given = options.parse_args(rest)
    given.url = (urls or [os.environ.get("QBX_URL", "http://localhost:5988")])[0]
    given.timeout = given.timeout or (1800 if given.command == "upgrade" else 30)
    return given


def run(given: argparse.Namespace) -> int:
    # Here, so that --help and mistakes in the command line do not wait for the libraries.
    from . import actions, metrics, report, show
    from .connection import Client
    from .judgement import judge
    from .model import read, read_words

    client = Client(
        given.url, given.namespace or "root/qbx", given.timeout, given.ca, not given.no_verify
    )
    well = given.well or {1}
    if given.command in actions.ACTIONS:
        return actions.ACTIONS[given.command](client, given, well)
    if given.command == "metrics":
        return metrics.serve(client, given, well)
    enclosure = judge(read(client, read_words(client, well)))
    shown = enclosure.narrowed(given.cage, getattr(given, "problems", False))
    if given.command == "health":
        return show.health(shown, bool(given.cage), given.json)
    if given.command == "report":
        return report.write(given.file, client.url, enclosure, shown)
    show.tree(enclosure, shown, given.problems)
    return show.WELL


def main() -> int:
    """Runs the command line; returns the exit status."""
    for stream in (sys.stdout, sys.stderr):
        stream.reconfigure(errors="backslashreplace")
    given = arguments(sys.argv[1:])
    try:
        from .connection import Trouble
    except ImportError as error:
        print(f"qbx-enclosure: {error}; install it by pip or apt", file=sys.stderr)
        return NO_ANSWER
    try:
        return run(given)
    except Trouble as error:
        print(f"qbx-enclosure: {error}", file=sys.stderr)
        return NO_ANSWER
    except BrokenPipeError:  # "| head"
        os.dup2(os.open(os.devnull, os.O_WRONLY), sys.stdout.fileno())
        return 0
    except KeyboardInterrupt:
        return 130
