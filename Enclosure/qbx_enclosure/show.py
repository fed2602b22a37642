"""The enclosure on a terminal: the tree, and the check with its exit status."""

import json
import sys
from collections.abc import Sequence

from rich.console import Console
from rich.text import Text
from rich.tree import Tree

from .judgement import facts
from .model import Element, Enclosure

WELL, ATTENTION = 0, 1
GROUPS = {"magazine": "magazines", "card": "interface cards", "sensor": "sensors"}


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


def tree(enclosure: Enclosure, shown: Enclosure, problems: bool) -> int:
    """Prints what is in `shown`; of its parts only those with problems when `problems` is set."""
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
    # A terminal is written to its width; a pipe or a file gets whole lines.
    width = None if sys.stdout.isatty() else 10_000
    Console(highlight=False, width=width).print(root)
    return WELL


def plural(count: int, noun: str) -> str:
    return f"{count} {noun}" if count == 1 else f"{count} {noun}s"


def summary(enclosure: Enclosure) -> str:
    """How many of what there are, and how many need attention."""
    counts = ", ".join(plural(count, kind) for kind, count in enclosure.counts().items())
    bad = sum(bool(each.problems) for each in enclosure.everything())
    return f"{counts}; {f'{bad} of these in need of attention' if bad else 'all well'}"


def finding(element: Element, reasons: Sequence[str]) -> str:
    """Where something is, and what is wrong or worth a note."""
    part = "" if element.kind == "cage" else f"{element.kind} {element.name}: "
    return f"{element.where}: {part}{'; '.join(reasons)}"


def health(shown: Enclosure, readings: bool, as_json: bool) -> int:
    """Prints the check's result in the form of a Nagios or Icinga plugin, or as JSON."""
    elements = shown.everything()
    bad = [each for each in elements if each.problems]
    noted = [each for each in elements if each.notes]
    status = ATTENTION if bad else WELL
    if as_json:
        print_json(shown, bad, noted)
        return status
    cages = {id(each.cage) for each in bad if each.cage}
    verdict = f"NEEDS ATTENTION: {plural(len(bad), 'element')} in {plural(len(cages), 'cage')}"
    numbers = [f"problems={len(bad)};0"]
    numbers += [f"{kind}s={count}" for kind, count in shown.counts().items()]
    numbers += [performance(each) for each in elements if readings and each.kind == "sensor"]
    lines = [f"{verdict if bad else 'WELL'}, {shown.name}"]
    lines += [finding(each, each.problems) for each in bad]
    lines += [f"note: {finding(each, each.notes)}" for each in noted]
    lines = [each.replace("|", "¦") for each in lines]  # a bar begins the numbers
    print("\n".join([f"{lines[0]} | {' '.join(numbers)}", *lines[1:]]))
    return status


def performance(sensor: Element) -> str:
    """A reading with its limits, for graphs: 'label'=value;low:high."""
    label = f"{sensor.tag} {sensor.label}".replace("'", "''").replace("=", "-").replace("|", "¦")
    limits = sensor.limits()
    return f"'{label}'={sensor.get('CurrentReading')}" + (f";{limits[0]}:{limits[1]}" if limits else "")


def print_json(shown: Enclosure, bad: list[Element], noted: list[Element]) -> None:
    def entry(element: Element, reasons: Sequence[str]) -> dict:
        cage = element.cage
        place = {"cage": cage.tag, "location": cage.get("Location")} if cage else {"cage": None}
        name = {"kind": element.kind, "name": element.tag, "label": element.label}
        return {**place, **name, "reasons": reasons}

    result = {
        "system": shown.name,
        "status": "attention" if bad else "well",
        "counts": shown.counts(),
        "problems": [entry(each, each.problems) for each in bad],
        "notes": [entry(each, each.notes) for each in noted],
    }
    print(json.dumps(result, ensure_ascii=False, indent=2))
