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

from qbx_support import odd_array
from qbx_support.cimxml import http_request, instance_paths, request
from qbx_support.raw import send
from qbx_support.server import ROOT, Server, StartError

from Compare.suite import NAMESPACE, OWN, Suite

FRAMING = {"content-length", "transfer-encoding", "connection"}  # of the body; says nothing of it
SECONDS = 20  # for a response: some servers never send some
INTEROP = ("root/PG_InterOp", "root/interop", "interop")
INTEROP_CLASS = "CIM_ObjectManager"
KNOWN = pathlib.Path(__file__).with_name("known.json")
EXAMPLES, LENGTH = 3, 300  # of a reason in the report; of a line in it
DESCRIPTION = """\
Sends two servers some 800 requests, and lists every difference between their responses with its
reason, from Compare/known.json. The word embedded stands for the embedded server, which is built and
started. Both run on this machine, serve the same array in the same state, and know the users: admin,
operator, viewer, guest, blocked and stranger, each his own password. The requests change the array.
Exit status 1 when a difference has no reason. Docs/Equivalence.md tells more."""

ENVELOPE = {"CIM", "MESSAGE", "SIMPLERSP", "IMETHODRESPONSE", "METHODRESPONSE", "IRETURNVALUE"}
TEXTS = {"VALUE", "KEYVALUE", "HOST"}
WITH_PATH = {"VALUE.NAMEDINSTANCE", "VALUE.OBJECTWITHPATH"}
VALUE = re.compile(r"(VALUE|\w*PATH|\w*NAME|ERROR|SCOPE)(\.ARRAY|\.REF\w+)?")

# What every response has, whether there is something in it or not.
EMPTY = re.compile(
    r"HTTP/1\.1 200 OK|[\w-]+: (-|MethodResponse|application/xml; charset=utf-8)|<\?xml [^>]*>|no body"
    r"|(CIM|MESSAGE|SIMPLERSP|I?METHODRESPONSE|IRETURNVALUE)\b.*"
)

# How a value or a part of a path is shown, by its element and attributes; any other as in XML.
SHOWN = {
    "HOST": "{content}",
    "NAMESPACE NAME": "{NAME}{content}",
    "KEYBINDING NAME": "{NAME}={content}",
    "KEYVALUE VALUETYPE": "{VALUETYPE} {content!r}",
    "INSTANCENAME CLASSNAME": "{CLASSNAME}.{content}",
    "CLASSNAME NAME": "{NAME}{content}",
    "VALUE": "{content!r}",
    "VALUE.ARRAY": "[{content}]",
    "ERROR CODE DESCRIPTION": "error {CODE}: {DESCRIPTION}{content}",
    "LOCALNAMESPACEPATH": "{content}",
    "NAMESPACEPATH": "//{content}",
    "INSTANCEPATH": "{content}",
}


def attributes(given):
    return "".join(f" {name}={value}" for name, value in sorted(given.items()))


def own_text(element):
    """The text in an element and behind it, where white space means nothing."""
    text = element.text or ""
    return (text if element.tag in TEXTS else text.strip()) + (element.tail or "").strip()


def whole(element):
    """A value, a path or an error in one line, with all that it holds."""
    between = "/" if element.tag.endswith("PATH") else ","
    content = own_text(element) + between.join(map(whole, element))
    form = SHOWN.get(" ".join([element.tag, *sorted(element.attrib)]))
    if form:
        return form.format(content=content, **element.attrib)
    return f"<{element.tag}{attributes(element.attrib)}>({content})"


def lines(element, where=""):
    """The content of an element, in lines that stand for themselves."""
    if VALUE.fullmatch(element.tag):
        yield where + whole(element)
        return
    children = list(element)
    if element.tag in WITH_PATH and children:
        path = whole(children.pop(0))
        yield f"{where}{path}: {element.tag}{attributes(element.attrib)}{own_text(element)}"
        where += f"{path}: "
    else:
        values = [each for each in children if VALUE.fullmatch(each.tag)]
        given = dict(element.attrib)
        name = given.pop("CLASSNAME" if element.tag == "INSTANCE" else "NAME", "")
        here = f"{where}{element.tag}{name and ' ' + name}{attributes(given)}"
        text = own_text(element)
        if element.tag.startswith(("PROPERTY", "QUALIFIER", "RETURNVALUE")):
            text += " = " + (" ".join(map(whole, values)) or "null")
            children = [each for each in children if each not in values]
        yield here + text
        where = where if element.tag in ENVELOPE else f"{here}: "
    for each in children:
        yield from lines(each, where)


class Side:
    """A server: its URL, what it is, and its responses, {request: lines}. A response may take so
    many seconds."""

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
            return self.lines(send(self.url, sent, self.seconds))
        except TimeoutError:
            return [f"no response in {self.seconds} seconds"]
        except (OSError, ValueError, IndexError) as error:
            return [f"no response: {type(error).__name__}"]

    def lines(self, response):
        """A response as lines."""
        found = [response.status_line]
        found += (f"{name}: {value}" for name, value in response.fields.items())
        found += (f"{name}: {value}" for name, value in response.others if name not in FRAMING)
        try:
            body = response.body and lines(ElementTree.fromstring(response.body))
            found += [response.body.partition("<CIM")[0].strip() or "no body", *body]
        except ElementTree.ParseError:
            found.append(f"no XML: {response.body}")
        place = urllib.parse.urlsplit(self.url).netloc
        return [each.replace(place, "HOST").replace(self.interop, "INTEROP") for each in found]

    def run(self, suite):
        """Sends the requests of a suite, and keeps the responses."""
        start = time.monotonic()
        for name, sent in suite.requests:
            self.responses[name] = self.response(sent)
        self.took = time.monotonic() - start


class Reason:
    """An entry of known.json: why a response of the embedded server differs from the other's. It
    holds for a request only if each of its patterns fits a whole line that one of them alone has;
    with the status, what every response of that status has differs too. If it has "same", it is how
    both are written before they are compared."""

    def __init__(self, entry):
        self.text = entry["reason"]
        self.requests = re.compile(entry["requests"])
        self.same = entry.get("same")
        self.own_schema = entry.get("own_schema", False)
        self.patterns = [
            [re.compile(each) for each in entry.get(kind, [])] for kind in ("embedded", "other")
        ]

    def written(self, found, number):
        """The lines of a server as they are compared."""
        for pattern in self.patterns[number] if self.same else ():
            found = [pattern.sub(self.same, each) for each in found]
        return found

    def fitting(self, pair):
        """Of the lines that only one server has, those that this explains."""
        fits = [
            [{line for line in found if pattern.fullmatch(line)} for pattern in patterns]
            for patterns, found in zip(self.patterns, pair, strict=True)
        ]
        if self.same or not all(map(all, fits)):
            return set(), set()
        status = any(line.startswith("HTTP/") for line in itertools.chain(*itertools.chain(*fits)))
        frames = [{line for line in found if status and EMPTY.fullmatch(line)} for found in pair]
        return [frame.union(*found) for frame, found in zip(frames, fits, strict=True)]


def by_class(found, common):
    """{class: its lines in order} of a response; only lines that both have. Objects of different
    classes come in any order, for different providers serve them; so do qualifiers."""
    sequences, left = collections.defaultdict(list), collections.Counter(common)
    for line in found:
        if left[line] and ": QUALIFIER" not in line:
            left[line] -= 1
            sequences[re.split(r"\.\w+=|: ", line, maxsplit=1)[0]].append(line)
    return sequences


def differences(found):
    """What only the one of two responses has, what only the other has, and what both have: counters
    of lines. Another order of what both have is a line of the first."""
    one: collections.Counter = collections.Counter(found[0])
    other: collections.Counter = collections.Counter(found[1])
    common = one & other
    orders = [by_class(each, common) for each in found]
    moved = [f"order of {each}" for each in orders[0] if orders[0][each] != orders[1][each]]
    return one - other + collections.Counter(moved), other - one, common


class Comparison:
    """What differs between the responses of two servers, and why; the first is the embedded one.
    reasons is {reason: {request: lines}}, unexplained {request: lines}; a line begins with the number
    of its server. counts is how many requests ended how."""

    def __init__(self, sides, reasons):
        self.sides, self.known = sides, reasons
        self.reasons: dict[str, dict] = {each.text: {} for each in reasons}
        self.unexplained: dict[str, list] = {}
        self.counts = dict.fromkeys(("equal", "explained", "excused", "unexplained", "content"), 0)
        for name in sides[0].responses:
            self.compare(name, [each for each in reasons if each.requests.search(name)])

    def compare(self, name, reasons):
        """Compares the responses to a request, for which there may be these reasons."""
        found = [side.responses[name] for side in self.sides]
        for reason in reasons if found[0] != found[1] else ():
            written = [reason.written(each, number) for number, each in enumerate(found)]
            if written != found:
                self.reasons[reason.text][name] = []
            found = written
        *pair, common = differences(found)
        different = any(pair)
        fitting = [(reason.text, *reason.fitting(pair)) for reason in reasons]
        for text, *fits in fitting:
            for number, each in enumerate(fits):
                for line in sorted(each & pair[number].keys()):
                    if number or pair[0][line] == 1:  # not for what the embedded server says twice
                        del pair[number][line]
                        self.reasons[text].setdefault(name, []).append(f"{number + 1}: {line}")
        left = [f"{n}: {line}" for n, each in enumerate(pair, 1) for line in each.elements()]
        if left:
            self.unexplained[name] = left
        content = bool(left) or not all(map(EMPTY.fullmatch, common))
        self.counts["content"] += content
        how = "unexplained" if left else "explained" if content else "excused"
        self.counts[how if different else "equal"] += 1

    def summary(self):
        return (
            "{} requests: {equal} with equal responses, {explained} with differences that have a"
            " reason, {excused} not compared, for a reason excuses all of the response,"
            " {unexplained} with differences that have none. {content} carry content that was"
            " compared"
        ).format(len(self.sides[0].responses), **self.counts)

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

    def table(self, own_schema):
        """The result as lines of Markdown, with the reasons for the embedded server's own schema or
        with the others."""
        of = "own" if own_schema else "the other's"
        yield f"\n{datetime.date.today()}, with {of} schema: {self.summary()}.\n"
        yield "| What is excused, and why | Requests |\n|---|---|"
        for each in self.known:
            if each.own_schema == own_schema:
                yield f"| {each.text} | {len(self.reasons[each.text])} |"


def write_table(path, own_schema, table):
    """Writes the table between its two marks in a document."""
    begin, end = (f"<!-- {each} of table, {own_schema=} -->" for each in ("begin", "end"))
    head, mark, rest = path.read_text(encoding="utf-8").partition(begin)
    if not mark or end not in rest:
        sys.exit(f"qbx compare: {path} has no {begin} with its end")
    text = "\n".join([head + begin, *table, "", end + rest.partition(end)[2]])
    path.write_text(text, encoding="utf-8")


def known(own_schema):
    """The reasons of known.json; those of the embedded server's own schema only where it has that."""
    reasons = map(Reason, json.loads(KNOWN.read_text(encoding="utf-8")))
    return [each for each in reasons if own_schema or not each.own_schema]


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
    parser.add_argument(
        "servers", nargs=2, metavar="URL", help="http://HOST:PORT, or embedded; an embedded one first"
    )
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
    parser.add_argument(
        "--table", type=pathlib.Path, metavar="FILE",
        help="write the table of reasons into this document, between its marks",
    )  # fmt: skip
    options = parser.parse_args()
    try:
        with contextlib.ExitStack() as stack:
            named = sorted(options.servers, key=lambda each: each != "embedded")
            urls = [stack.enter_context(server(each, options)) for each in named]
            sides = [Side(url) for url in urls]
            paths = sides[0].paths()
            with concurrent.futures.ThreadPoolExecutor() as pool:
                list(pool.map(lambda side: side.run(Suite(paths, side.interop)), sides))
    except StartError as error:
        sys.exit(f"qbx compare: {error}")
    own_schema = not options.schema
    found = Comparison(sides, known(own_schema))
    options.out.mkdir(parents=True, exist_ok=True)
    (options.out / "report.md").write_text("\n".join([*found.report(), ""]), encoding="utf-8")
    everything = {"summary": found.summary(), "reasons": found.reasons}
    everything["unexplained"] = found.unexplained
    (options.out / "report.json").write_text(json.dumps(everything, indent=1), encoding="utf-8")
    if options.table:
        write_table(options.table, own_schema, found.table(own_schema))
    print("\n".join(examples(found.unexplained, 20)))
    print(f"{found.summary()}; see {options.out}/report.md")
    sys.exit(bool(found.unexplained))


if __name__ == "__main__":
    main()
