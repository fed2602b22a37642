"""Sends two servers the same requests, and lists every difference between their responses with its
reason, from known.json: what `./qbx compare` runs."""

import argparse
import collections
import concurrent.futures
import contextlib
import datetime
import itertools
import json
import pathlib
import re
import sys
import time
import urllib.parse
import xml.etree.ElementTree as ElementTree

from qbx_support import exchanges, odd_array
from qbx_support.cimxml import http_request, instance_paths, request
from qbx_support.raw import send
from qbx_support.server import ROOT, Server, StartError

from Compare.suite import NAMESPACE, OWN, Suite

SECONDS = 20  # for a response: some servers never send some
INTEROP = ("root/PG_InterOp", "root/interop", "interop")
INTEROP_CLASS = "CIM_ObjectManager"
KNOWN = pathlib.Path(__file__).with_name("known.json")
EXAMPLES, LENGTH = 3, 300  # of a reason in the report; of a line in it
DESCRIPTION = """\
Sends two servers some 800 requests, and lists every difference between their responses with its
reason, from Compare/known.json. The word embedded stands for the embedded server, which is built and
started. Both must serve the same array in the same state, and know the users of the tests: admin,
operator, viewer, guest, blocked and stranger, each his own password. The requests change the array.
Exit status 1 when a difference has no reason. Docs/Equivalence.md tells more."""

ENVELOPE = {"CIM", "MESSAGE", "SIMPLERSP", "IMETHODRESPONSE", "METHODRESPONSE", "IRETURNVALUE"}
WITH_PATH = {"VALUE.NAMEDINSTANCE", "VALUE.OBJECTWITHPATH"}
VALUE = re.compile(r"(VALUE|\w*PATH|\w*NAME|ERROR|SCOPE)(\.ARRAY|\.REF\w+)?")


# How a value or a part of a path is shown; the host's name says nothing.
SHOWN = {
    "HOST": "HOST",
    "NAMESPACE": "{NAME}",
    "KEYBINDING": "{NAME}={parts}",
    "KEYVALUE": "{text} ({VALUETYPE} {TYPE})",
    "INSTANCENAME": "{CLASSNAME}.{parts}",
    "CLASSNAME": "{NAME}",
    "VALUE": '"{text}"',
    "VALUE.ARRAY": "[{parts}]",
    "ERROR": "error {CODE}: {DESCRIPTION}",
    "LOCALNAMESPACEPATH": "{path}",
    "NAMESPACEPATH": "//{path}",
}


def whole(element):
    """A value, a path or an error in one line; keys in order."""
    parts = [whole(each) for each in element]
    if element.tag == "INSTANCENAME":
        parts.sort()
    given = collections.defaultdict(str, element.attrib)
    given.update(text=element.text or "", parts=",".join(parts), path="/".join(parts))
    return SHOWN.get(element.tag, "{path}").format_map(given)


def lines(element, where=""):
    """The content of an element, in lines that stand for themselves: their order means nothing."""
    if VALUE.fullmatch(element.tag):
        yield where + whole(element)
        return
    children = list(element)
    if element.tag in WITH_PATH:
        where += whole(children.pop(0)) + ": "
    else:
        values = [each for each in children if VALUE.fullmatch(each.tag)]
        given = dict(element.attrib)
        here = f"{where}{element.tag} {given.pop('NAME', given.pop('CLASSNAME', ''))}"
        text = "".join(f" {name}={value}" for name, value in sorted(given.items()))
        if element.tag.startswith(("PROPERTY", "QUALIFIER", "RETURNVALUE")):
            text += " = " + (" ".join(map(whole, values)) or "null")
            children = [each for each in children if each not in values]
        yield here + text
        where = where if element.tag in ENVELOPE else f"{here}: "
    for each in children:
        yield from lines(each, where)


class Side:
    """A server: its URL, what it is, and its responses, {request: lines counted}. A response may
    take so many seconds."""

    def __init__(self, url, seconds=SECONDS):
        self.url, self.seconds, self.responses = url, seconds, {}
        self.interop = next(filter(self.has_managers, INTEROP), INTEROP[0])
        self.about = self.version()

    def body(self, operation, namespace, **parameters):
        """The body of the response to a request of the administrator."""
        of = request(operation, namespace=namespace, **parameters)
        try:
            response = send(self.url, http_request(of, "admin"), self.seconds)
        except (OSError, ValueError) as error:
            sys.exit(f"qbx compare: {self.url} does not respond: {error}")
        if " 200 " not in response.status_line:
            sys.exit(f"qbx compare: {self.url} refuses the user admin: {response.status_line}")
        return response.body

    def objects(self, operation, name, namespace=NAMESPACE):
        return self.body(operation, namespace, ClassName=f'<CLASSNAME NAME="{name}"/>')

    def has_managers(self, namespace):
        return "<INSTANCENAME" in self.objects("EnumerateInstanceNames", INTEROP_CLASS, namespace)

    def version(self):
        """Name, description and version of the object manager."""
        body = self.objects("EnumerateInstances", INTEROP_CLASS, self.interop)
        pattern = r'NAME="(?:ElementName|Description|Version)"[^>]*>\s*<VALUE>(.*?)</VALUE>'
        found = re.findall(pattern, body)
        return ", ".join(found) or "a server that does not describe itself"

    def paths(self):
        """{class: [path]} of the module's elements, in order."""
        found = {}
        for name in OWN:
            paths = sorted(instance_paths(self.objects("EnumerateInstanceNames", name)), key=str)
            own = [each for each in paths if each[0] == name]
            if not own:
                sys.exit(f"qbx compare: {self.url} has no {name}: is the array the right one?")
            found[name] = [each for each, _ in itertools.groupby(own)]
        return found

    def response(self, sent):
        """The lines of the response to a request."""
        try:
            response = send(self.url, sent, self.seconds)
        except TimeoutError:
            return [f"no response in {self.seconds} seconds"]
        except (OSError, ValueError, IndexError) as error:
            return [f"no response: {type(error).__name__}"]
        found = [response.status_line]
        found += (f"{name}: {value}" for name, value in response.fields.items())
        found = [re.sub('realm=".*"', 'realm="HOST"', each) for each in found]
        try:
            found += lines(ElementTree.fromstring(response.body)) if response.body else ["no body"]
        except ElementTree.ParseError:
            found.append(f"no XML: {response.body}")
        place = urllib.parse.urlsplit(self.url).netloc
        return [each.replace(place, "HOST").replace(self.interop, "INTEROP") for each in found]

    def run(self, suite):
        """Sends the requests of a suite, and keeps the responses."""
        start = time.monotonic()
        for name, sent in suite.requests:
            self.responses[name] = collections.Counter(self.response(sent))
        self.took = time.monotonic() - start


class Comparison:
    """What differs between the responses of two servers, and why. differences is {request: (lines
    of the first only, lines of the second only)}; reasons {reason: {request: lines}}; unexplained
    {request: lines}."""

    def __init__(self, sides, known):
        self.sides = sides
        one, other = (side.responses for side in sides)
        pairs = {name: (one[name] - other[name], other[name] - one[name]) for name in one}
        self.differences = {name: pair for name, pair in pairs.items() if any(pair)}
        self.count = len(one)
        if not self.schemas_differ():
            known = [each for each in known if not each.get("schemas")]
        self.known = known
        # Which server is which is not known: the table fits better one way than the other.
        kinds = ("embedded", "other")
        orders = [self.explain(known, each) for each in (kinds, kinds[::-1])]
        self.reasons, self.unexplained = min(orders, key=lambda found: len(found[1]))

    def schemas_differ(self):
        """Whether one has classes of the DMTF that the other lacks."""
        pair = self.differences.get("EnumerateClassNames DeepInheritance=True", ())
        return any(line.startswith("CIM_") for found in pair for line in found)

    def explain(self, known, kinds):
        """The reasons and what is unexplained, if the sides are of those kinds; a line begins with the
        number of its server."""
        reasons: dict[str, dict] = collections.defaultdict(dict)
        unexplained: dict[str, list] = {}
        for name, pair in self.differences.items():
            for number, (kind, found) in enumerate(zip(kinds, pair, strict=True)):
                for line in found:
                    fitting = (each for each in known if self.fits(each, name, kind, line))
                    entry = next(fitting, None)
                    where = reasons[entry["reason"]] if entry else unexplained
                    where.setdefault(name, []).append(f"{number + 1}: {line}")
        return reasons, unexplained

    @staticmethod
    def fits(entry, name, kind, line):
        """Whether an entry of the table is the reason for a line that only such a server sends."""
        pattern = entry.get(kind)
        return (
            pattern is not None
            and re.search(entry.get("requests", ""), name) is not None
            and re.search(pattern, line) is not None
        )

    def summary(self):
        return (
            f"{self.count} requests: {self.count - len(self.differences)} with equal responses, "
            f"{len(self.differences) - len(self.unexplained)} with differences that have a reason, "
            f"{len(self.unexplained)} with differences that have none"
        )

    def report(self):
        """The report as lines of Markdown."""
        yield "# Two servers, one suite of requests\n"
        yield f"{datetime.datetime.now():%Y-%m-%d %H:%M}\n"
        for number, side in enumerate(self.sides):
            yield f"{number + 1}. {side.url}: {side.about}; {side.took:.0f} s"
        yield f"\n{self.summary()}.\n\n## Without a reason\n"
        yield from examples(self.unexplained, None)
        for reason, found in sorted(self.reasons.items(), key=lambda each: -len(each[1])):
            yield f"\n## {reason}\n\n{len(found)} requests.\n"
            yield from examples(found, EXAMPLES)
        yield "\n## Reasons that nothing needed\n"
        reasons = (each["reason"] for each in self.known)
        yield from (f"- {each}" for each in reasons if each not in self.reasons)


def lines_of_status(status):
    """A pattern for the lines of a response with this status; none: of no response."""
    if not status:
        return "^no response"
    body = r"(CIM|MESSAGE|SIMPLERSP|I?METHODRESPONSE) |error \d" if status == "200" else "no (body|XML)"
    return rf"^(HTTP/1\.1 {status} |(CIMError|CIMOperation|Content-Type|PGErrorDetail): |{body})"


def known():
    """The table of known differences: known.json, and the deviations from recorded exchanges."""
    return json.loads(KNOWN.read_text(encoding="utf-8")) + [
        {
            "reason": deviation.reason,
            "requests": f"^exchange {name}$",
            "embedded": lines_of_status(str(deviation.status)),
            "other": lines_of_status(exchanges.recorded(name)[1][9:12].decode()),
        }
        for name, deviation in exchanges.DEVIATIONS.items()
    ]


def examples(found, limit):
    """Requests and their lines, for the report; the first of many."""
    for name in itertools.islice(found, limit):
        yield f"- `{name}`"
        for line in found[name][:limit]:
            line = " ".join(line.split())
            yield f"  - `{line if len(line) < LENGTH else line[:LENGTH] + ' ...'}`"


@contextlib.contextmanager
def server(named, options):
    """The URL of a server that runs, or of the embedded one, which this starts."""
    if named != "embedded":
        if not re.fullmatch(r"http://[^/]+/?", named):
            sys.exit(f"qbx compare: {named!r} is neither http://HOST:PORT nor the word embedded")
        yield named.rstrip("/")
        return
    if options.array and not options.array.is_file():
        sys.exit(f"qbx compare: no such array file: {options.array}")
    array = options.array or odd_array.contents()
    with Server(options.build, array=array, schema=options.schema) as embedded:
        yield embedded.url


def main():
    parser = argparse.ArgumentParser(
        prog="./qbx compare",
        formatter_class=argparse.RawDescriptionHelpFormatter,
        description=DESCRIPTION,
    )
    parser.add_argument("servers", nargs=2, metavar="URL", help="http://HOST:PORT, or embedded")
    parser.add_argument(
        "--array",
        type=pathlib.Path,
        metavar="FILE",
        help="array file of the embedded server (default: the array of odd cases, which"
        " ./qbx test --write-array FILE writes)",
    )
    parser.add_argument(
        "--schema",
        nargs="+",
        metavar=("NAMESPACE=FILE", "FOLDER"),
        help="its schema, and folders of included files (default: the project's own)",
    )
    parser.add_argument(
        "--build", type=pathlib.Path, metavar="FOLDER", default=ROOT / "build" / "release",
        help="a build of it (default: build/release, which ./qbx compare makes)",
    )  # fmt: skip
    parser.add_argument(
        "--out", type=pathlib.Path, metavar="FOLDER", default=ROOT / "build" / "compare",
        help="where report.md and report.json go (default: build/compare)",
    )  # fmt: skip
    options = parser.parse_args()
    try:
        with contextlib.ExitStack() as stack:
            urls = [stack.enter_context(server(each, options)) for each in options.servers]
            sides = [Side(url) for url in urls]
            paths = sides[0].paths()
            with concurrent.futures.ThreadPoolExecutor() as pool:
                list(pool.map(lambda side: side.run(Suite(paths, side.interop)), sides))
    except StartError as error:
        sys.exit(f"qbx compare: {error}")
    found = Comparison(sides, known())
    options.out.mkdir(parents=True, exist_ok=True)
    (options.out / "report.md").write_text("\n".join([*found.report(), ""]), encoding="utf-8")
    everything = {"summary": found.summary(), "reasons": found.reasons}
    everything["unexplained"] = found.unexplained
    (options.out / "report.json").write_text(json.dumps(everything, indent=1), encoding="utf-8")
    print("\n".join(examples(found.unexplained, 20)))
    print(f"{found.summary()}; see {options.out}/report.md")
    sys.exit(bool(found.unexplained))


if __name__ == "__main__":
    main()
