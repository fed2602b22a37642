"""Asks two servers the same and lists what differs, and why: what `./qbx compare` calls."""

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

from Compare.suite import NAMESPACE, OWN, ROOT, Suite
from qbx_support.cimxml import http_request, request
from qbx_support.exchanges import FOLDER
from qbx_support.raw import send
from qbx_support.server import Server, StartError

SECONDS = 5  # some questions are never answered by some servers
INTEROP = ("root/PG_InterOp", "root/interop", "interop")
INTEROP_CLASS = "CIM_ObjectManager"
KNOWN = pathlib.Path(__file__).with_name("known.json")
EXAMPLES, LENGTH = 3, 300  # of a reason in the report; of a line in it

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
    """What an element says, in lines that stand for themselves: their order means nothing."""
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


def path(element):
    """An INSTANCENAME as (class, {key: text or path})."""
    keys = {}
    for each in element.findall("KEYBINDING"):
        inner = each.find(".//INSTANCENAME")
        keys[each.attrib["NAME"]] = each[0].text if inner is None else path(inner)
    return element.attrib["CLASSNAME"], keys


class Side:
    """A server: where it is, what it is, and what it has answered."""

    def __init__(self, url):
        self.url, self.answers = url, {}
        self.interop = next(filter(self.has_managers, INTEROP), INTEROP[0])
        self.about = self.version()

    def told(self, operation, namespace, **given):
        """The body of the reply to a question of the administrator."""
        asked = request(operation, namespace=namespace, **given)
        try:
            reply = send(self.url, http_request(asked, "admin"), SECONDS)
        except (OSError, ValueError) as error:
            sys.exit(f"qbx compare: {self.url} does not answer: {error}")
        if " 200 " not in reply.status_line:
            sys.exit(f"qbx compare: {self.url} refuses the user admin: {reply.status_line}")
        return reply.body

    def objects(self, operation, name, namespace=NAMESPACE):
        return self.told(operation, namespace, ClassName=f'<CLASSNAME NAME="{name}"/>')

    def has_managers(self, namespace):
        return "<INSTANCENAME" in self.objects("EnumerateInstanceNames", INTEROP_CLASS, namespace)

    def version(self):
        """What the server says that it is."""
        body = self.objects("EnumerateInstances", INTEROP_CLASS, self.interop)
        pattern = r'NAME="(?:ElementName|Description|Version)"[^>]*>\s*<VALUE>(.*?)</VALUE>'
        found = re.findall(pattern, body)
        return ", ".join(found) or "a server that does not say what it is"

    def paths(self):
        """{class: [path]} of the module's elements, in order."""
        found = {}
        for name in OWN:
            root = ElementTree.fromstring(self.objects("EnumerateInstanceNames", name))
            paths = sorted(map(path, root.findall(".//IRETURNVALUE/INSTANCENAME")), key=str)
            own = [each for each in paths if each[0] == name]
            if not own:
                sys.exit(f"qbx compare: {self.url} has no {name}: is the array the right one?")
            found[name] = [each for each, _ in itertools.groupby(own)]
        return found

    def answer(self, said):
        """The lines of the answer to a request."""
        try:
            reply = send(self.url, said, SECONDS)
        except TimeoutError:
            return [f"no answer in {SECONDS} seconds"]
        except (OSError, ValueError, IndexError) as error:
            return [f"no answer: {type(error).__name__}"]
        found = [reply.status_line, *(f"{name}: {value}" for name, value in reply.fields.items())]
        found = [re.sub('realm=".*"', 'realm="HOST"', each) for each in found]
        try:
            found += lines(ElementTree.fromstring(reply.body)) if reply.body else ["no body"]
        except ElementTree.ParseError:
            found.append(f"no XML: {reply.body}")
        place = urllib.parse.urlsplit(self.url).netloc
        return [each.replace(place, "HOST").replace(self.interop, "INTEROP") for each in found]

    def run(self, suite):
        start = time.monotonic()
        for name, said in suite.asked:
            self.answers[name] = collections.Counter(self.answer(said))
        self.seconds = time.monotonic() - start


class Comparison:
    """What two servers have answered differently, and why: differences is
    {question: (lines that only the first says, lines that only the second says)}."""

    def __init__(self, sides, known):
        self.sides = sides
        one, other = (side.answers for side in sides)
        pairs = {name: (one[name] - other[name], other[name] - one[name]) for name in one}
        self.differences = {name: pair for name, pair in pairs.items() if any(pair)}
        self.count = len(one)
        if not self.schemas_differ():
            known = [each for each in known if not each.get("schemas")]
        self.known = known
        # Nobody says which server is which: the table fits better one way than the other.
        kinds = ("embedded", "other")
        orders = [self.explain(known, each) for each in (kinds, kinds[::-1])]
        self.reasons, self.unexplained = min(orders, key=lambda found: len(found[1]))

    def schemas_differ(self):
        """Whether one has classes of the DMTF that the other lacks."""
        pair = self.differences.get("EnumerateClassNames DeepInheritance=True", ())
        return any(line.startswith("CIM_") for found in pair for line in found)

    def explain(self, known, kinds):
        """({reason: {question: [lines]}}, {question: [lines]}); a line begins with its server."""
        reasons, unexplained = collections.defaultdict(dict), {}
        for name, pair in self.differences.items():
            for number, (kind, found) in enumerate(zip(kinds, pair)):
                for line in found:
                    fitting = (each for each in known if fits(each, name, kind, line))
                    entry = next(fitting, None)
                    where = reasons[entry["reason"]] if entry else unexplained
                    where.setdefault(name, []).append(f"{number + 1}: {line}")
        return reasons, unexplained

    def summary(self):
        return (
            f"{self.count} questions: {self.count - len(self.differences)} answered alike, "
            f"{len(self.differences) - len(self.unexplained)} with differences that have a reason, "
            f"{len(self.unexplained)} with differences that have none"
        )

    def report(self):
        """The report as lines of Markdown."""
        yield "# Two servers, one suite of questions\n"
        yield f"{datetime.datetime.now():%Y-%m-%d %H:%M}\n"
        for number, side in enumerate(self.sides):
            yield f"{number + 1}. {side.url}: {side.about}; {side.seconds:.0f} s"
        yield f"\n{self.summary()}.\n\n## Without a reason\n"
        yield from examples(self.unexplained, None)
        for reason, found in sorted(self.reasons.items(), key=lambda each: -len(each[1])):
            yield f"\n## {reason}\n\n{len(found)} questions.\n"
            yield from examples(found, EXAMPLES)
        yield "\n## Reasons that nothing needed\n"
        reasons = (each["reason"] for each in self.known)
        yield from (f"- {each}" for each in reasons if each not in self.reasons)


def known():
    """The table of known differences: with that of the recorded exchanges."""
    return json.loads(KNOWN.read_text(encoding="utf-8")) + [
        {"reason": each["why"], "questions": f"^exchange ({'|'.join(each['ours'])})$"}
        | {"embedded": "", "other": ""}
        for each in json.loads((FOLDER / "deviations.json").read_text(encoding="utf-8"))
    ]


def fits(entry, name, kind, line):
    """Whether an entry of the table explains a line that only such a server says."""
    pattern = entry.get(kind)
    return (
        pattern is not None
        and re.search(entry.get("questions", ""), name) is not None
        and re.search(pattern, line) is not None
    )


def examples(found, limit):
    """Questions and their lines, for the report; the first of many."""
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
    if not pathlib.Path(options.array).is_file():
        sys.exit(f"qbx compare: no such array file: {options.array}")
    with Server(options.build, array=options.array, schema=options.schema) as embedded:
        yield embedded.url


def main():
    parser = argparse.ArgumentParser(prog="qbx compare")
    parser.add_argument("servers", nargs=2, metavar="URL")
    parser.add_argument("--build", default=ROOT / "build" / "release")
    parser.add_argument("--array", default=ROOT / "Tests" / "Wire" / "array.json")
    parser.add_argument("--schema", nargs="+")
    parser.add_argument("--out", type=pathlib.Path, default=ROOT / "build" / "compare")
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
