"""The enclosure on a terminal: the tree, the line of each array, and the check with its exit status."""

import argparse
import collections
import sys
from collections.abc import Collection, Sequence

from rich.console import Console
from rich.table import Table
from rich.text import Text
from rich.tree import Tree

from . import data
from .connection import Client, EnclosureError
from .judgement import examine, facts
from .model import Element, Enclosure
from .severity import ORDER, WORDS, Rules, Severity, worst
from .sites import Array

WELL, ATTENTION, NO_ANSWER = 0, 1, 2
STATUS = {"well": WELL, "attention": ATTENTION, "no answer": NO_ANSWER}
GROUPS = {"magazine": "magazines", "card": "interface cards", "sensor": "sensors"}
COLOURS = {"well": "green", "attention": "bold red", "no answer": "bold magenta"}
WIDE = 10_000  # a terminal is written to its width; a pipe or a file gets whole lines


def console() -> Console:
    return Console(highlight=False, width=None if sys.stdout.isatty() else WIDE)


def line(element: Element) -> Text:
    """An element in one line: a mark, its name, the facts, and why it needs attention."""
    text = Text().append("! " if element.problems else "", "bold red")
    text.append(element.name, "bold" if element.kind == "cage" else "")
    text.append(f"  {', '.join(facts(element))}")
    if element.problems:
        text.append(f"  <-- {'; '.join(element.problems)}", "bold red")
    if element.notes:
        text.append(f"  ({'; '.join(element.notes)})", "yellow")
    return text


def plural(count: int, noun: str) -> str:
    return f"{count} {noun}" if count == 1 else f"{count} {noun}s"


def summary(enclosure: Enclosure) -> str:
    """How many of what there are, and how many need attention."""
    counts = ", ".join(plural(count, kind) for kind, count in enclosure.counts().items())
    bad = sum(bool(each.problems) for each in enclosure.everything())
    return f"{counts}; {f'{bad} of these in need of attention' if bad else 'all well'}"


def tree_of(enclosure: Enclosure, shown: Enclosure, problems: bool) -> Tree:
    """What is in `shown`; of its parts only those with problems when `problems` is set."""
    root = Tree(Text(f"{enclosure.name}: {summary(enclosure)}"), guide_style="dim")

    def add(branch: Tree, title: str, elements: list[Element]) -> None:
        elements = [each for each in elements if each.problems or not problems]
        if elements:
            group = branch.add(Text(title, "dim"))
            for each in sorted(elements, key=Element.loops):  # cards by loop
                group.add(line(each))

    for cage in shown.cages:
        branch = root.add(line(cage))
        for kind, title in GROUPS.items():
            add(branch, title, cage.of(kind))
    add(root, "in no cage that is listed", shown.outside)
    return root


def tree(arrays: Sequence[Array], given: argparse.Namespace) -> int:
    """Prints the tree of each array, or its elements for programs."""

    def question(client: Client) -> dict:
        enclosure = examine(client)
        shown = enclosure.narrowed(given.cage, given.problems)
        if given.json or given.csv:
            return data.full(enclosure, shown)
        return {"status": "well", "tree": tree_of(enclosure, shown, given.problems)}

    rows = data.query(arrays, given, question)
    if given.json:
        data.print_json({"arrays": rows})
    elif given.csv:
        columns = ("array", *data.ELEMENT, "problems", "notes", "facts")
        data.print_csv(columns, (each | {"array": row["array"]} for row in rows for each in row.get("elements", ())))
    for row in rows:
        if "tree" in row:
            row["tree"].label = Text(f"{row['array']}: " if len(rows) > 1 else "").append(row["tree"].label)
            console().print(row["tree"])
    return unanswered(rows)


def unanswered(rows: list[dict]) -> int:
    """Prints why arrays did not answer; returns the exit status."""
    missing = [each for each in rows if each["status"] == "no answer"]
    for each in missing:
        name = f"{each['array']}: " if len(rows) > 1 else ""
        print(f"qbx-enclosure: {name}{each['reason']}", file=sys.stderr)
    return NO_ANSWER if missing else WELL


# ---- arrays ----


def unusual(rows: list[dict]) -> dict[str, list[str]]:
    """By array the firmware that others of the same type do not have, here or on the other arrays."""
    all_of: dict[str, collections.Counter] = collections.defaultdict(collections.Counter)
    for row in rows:
        for kind, versions in row.get("firmware", {}).items():
            all_of[kind].update(versions)
    usual = {kind: versions.most_common(1)[0][0] for kind, versions in all_of.items()}
    return {
        row["array"]: [
            f"{kind} {version} ({count}; usual {usual[kind]})"
            for kind, versions in row.get("firmware", {}).items()
            for version, count in versions.items()
            if version != usual[kind]
        ]
        for row in rows
    }


def arrays(chosen: Sequence[Array], given: argparse.Namespace) -> int:
    """Prints a line for each array; returns the worst status."""
    rows = data.query(chosen, given, lambda client: data.summary(examine(client)))
    differing = unusual(rows)
    rows = [row | {"firmware_differs": differing[row["array"]]} for row in rows]
    if given.json:
        data.print_json({"arrays": rows})
    elif given.csv:
        columns = (*data.ARRAY, "needs_attention", *data.KINDS_OF_ELEMENTS, "firmware_differs")
        data.print_csv(columns, (row | row.get("counts", {}) for row in rows))
    else:
        screen = console()
        with screen.capture() as text:
            screen.print(table_of(rows))
        print("\n".join(each.rstrip() for each in text.get().splitlines()))  # rich fills the last column
    return max(STATUS[row["status"]] for row in rows)


def table_of(rows: list[dict], marked: Collection[str] | None = None) -> Table:
    """A line for each array. With `marked` it stays one line, and the names of those stand out."""
    table = Table(box=None, pad_edge=False)
    for title in ("ARRAY", "STATE", "PROBLEMS", "ELEMENTS", "ANSWER", "REMARKS"):
        is_number = title in ("PROBLEMS", "ELEMENTS", "ANSWER")
        is_line = title != "REMARKS" or marked is not None
        table.add_column(title, justify="right" if is_number else "left", no_wrap=is_line)
    for row in rows:
        numbers = ["-"] * 3
        if not row["reason"]:
            numbers = [str(row["needs_attention"]), str(sum(row["counts"].values())), f"{row['seconds']:.1f} s"]
        differing = "; ".join(row["firmware_differs"])
        remark = row["reason"] or (differing and f"firmware differs: {differing}")
        name = Text(row["array"], "reverse" if row["array"] in (marked or ()) else "")
        table.add_row(name, Text(row["status"], COLOURS[row["status"]]), *map(Text, (*numbers, remark)))
    return table


# ---- health ----


def health(chosen: Sequence[Array], rules: Rules, given: argparse.Namespace) -> int:
    """Prints the check's result in the form of a Nagios or Icinga plugin, or for programs."""

    def question(client: Client) -> dict:
        shown = examine(client).narrowed(given.cage, False)
        readings = [performance(each) for each in shown.everything() if given.cage and each.kind == "sensor"]
        return data.checked(shown, rules) | {"readings": readings}

    rows = data.query(chosen, given, question)
    for row in rows:
        if row["status"] == "no answer":
            row["status"] = rules.severities["no_answer"].name.lower()
    status = worst(WORDS[row["status"]] for row in rows)
    if given.json:
        data.print_json({"status": status.name.lower(), "arrays": rows})
    elif given.csv:
        columns = ("array", "severity", *data.ELEMENT, "reasons")
        data.print_csv(columns, (each for row in rows for each in entries(row)))
    else:
        print_check(rows, status, rules)
    return status


def entries(row: dict) -> list[dict]:
    """The findings of an array for a table; that it does not answer is one."""
    missing = [{"severity": row["status"], "reasons": [row["reason"]]}] if row["reason"] else []
    return [{"array": row["array"], **each} for each in [*missing, *row.get("findings", ())]]


def print_check(rows: list[dict], status: Severity, rules: Rules) -> None:
    """One array is a verdict and a line a finding; of several each line begins with its array."""
    several = len(rows) > 1
    rows = sorted(rows, key=lambda row: -ORDER.index(WORDS[row["status"]]))
    lines = [line for row in rows for line in check_lines(row, f"{row['array']}: " if several else "")]
    numbers = []
    if several:
        states = collections.Counter(row["status"] for row in rows)
        count = ", ".join(f"{states[each.name.lower()]} {each.name.lower()}" for each in reversed(ORDER)
                          if states[each.name.lower()])  # fmt: skip
        lines.insert(0, f"{status.name}: {len(rows)} arrays: {count}")
        numbers = [f"arrays={len(rows)}", *(f"arrays_{word}={states[word]}" for word in WORDS)]
    most = f";{rules.warning_from - 1}" + (f";{rules.critical_from - 1}" if rules.critical_from else "")
    for row in rows:
        if "findings" in row:
            name = f"{row['array']}_" if several else ""
            bad = sum(each["severity"] != "ok" for each in row["findings"])
            numbers += [f"{name}problems={bad}{most}", *(f"{name}{kind}s={n}" for kind, n in row["counts"].items())]
            numbers += [] if several else row["readings"]
    lines = [each.replace("|", "¦") for each in lines]  # a bar begins the numbers
    print("\n".join([f"{lines[0]} | {' '.join(numbers)}" if numbers else lines[0], *lines[1:]]))


def check_lines(row: dict, name: str) -> list[str]:
    """An array's verdict and findings, the worst first."""
    verdict = f"{name}{row['status'].upper()}"
    if "findings" not in row:
        return [f"{verdict}: {row['reason']}"]
    bad = [each for each in row["findings"] if each["severity"] != "ok"]
    cages = {each["cage"] for each in bad if each["cage"]}
    what = f"{plural(len(bad), 'element')} in {plural(len(cages), 'cage')}" if bad else "all well"
    lines = [f"{verdict}: {what}, {row['system']}"]
    for each in row["findings"]:
        severity = "note" if each["severity"] == "ok" else each["severity"]
        part = "" if each["kind"] == "cage" else f"{each['kind']} {each['title']}: "
        lines.append(f"{name}{severity}: {each['where']}: {part}{'; '.join(each['reasons'])}")
    return lines


def no_check(error: EnclosureError, as_json: bool) -> int:
    """Prints why there was nothing to check."""
    if as_json:
        data.print_json({"status": "unknown", "reason": str(error), "arrays": []})
    else:
        print(f"UNKNOWN: {error}".replace("|", "¦"))
    return Severity.UNKNOWN


def performance(sensor: Element) -> str:
    """A reading with its limits, for graphs: 'label'=value;low:high."""
    label = f"{sensor.tag} {sensor.label}".replace("'", "''").replace("=", "-").replace("|", "¦")
    limits = sensor.limits()
    return f"'{label}'={sensor.get('CurrentReading')}" + (f";{limits[0]}:{limits[1]}" if limits else "")
