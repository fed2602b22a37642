"""The enclosure on a terminal: the tree, and the check with its exit status."""

import json
import sys

from rich.console import Console
from rich.text import Text
from rich.tree import Tree

from .judgement import facts
from .model import Cage, Element, Enclosure

WELL, ATTENTION = 0, 1
GROUPS = {"magazine": "magazines", "card": "interface cards", "sensor": "sensors"}


def console() -> Console:
    """A terminal is written to its width and in colour; a pipe or file gets whole lines."""
    return Console(highlight=False, width=None if sys.stdout.isatty() else 10_000)


def line(element: Element) -> Text:
    """An element in one line: a mark, its name, the facts, and why it needs attention."""
    style = "bold" if element.kind == "cage" else ""
    text = Text.assemble(("! ", "bold red") if element.problems else "", (element.name, style), "  ")
    text.append(", ".join(facts(element)))
    if element.problems:
        text.append(f"  <-- {'; '.join(element.problems)}", "bold red")
    if element.notes:
        text.append(f"  ({'; '.join(element.notes)})", "yellow")
    return text


def tree(enclosure: Enclosure, shown: Enclosure, problems: bool) -> None:
    """Prints what is in `shown`; of its parts only those with problems when `problems` is set."""
    root = Tree(Text(f"{enclosure.name}: {summary(enclosure)}"), guide_style="dim")
    for cage in shown.cages:
        branch = root.add(line(cage))
        for kind, title in GROUPS.items():
            for_group = [part for part in cage.of(kind) if part.problems or not problems]
            if for_group:
                add_group(branch, title, for_group)
    outside = [each for each in shown.outside if each.problems or not problems]
    if outside:
        add_group(root, "in no cage that is listed", outside)
    console().print(root)


def add_group(branch: Tree, title: str, elements: list[Element]) -> None:
    if elements[0].kind == "card":
        elements = sorted(elements, key=lambda card: (card.loops(), card.order))
    group = branch.add(Text(title, "dim"))
    for each in elements:
        group.add(line(each))


def plural(count: int, noun: str) -> str:
    return f"{count} {noun}" if count == 1 else f"{count} {noun}s"


def summary(enclosure: Enclosure) -> str:
    """How many of what there are, and how many need attention."""
    counts = ", ".join(plural(count, kind) for kind, count in enclosure.counts().items())
    bad = sum(1 for each in enclosure.everything() if each.problems)
    return f"{counts}; {need_attention(bad)}"


def need_attention(count: int) -> str:
    return f"{count} of these need{'s' if count == 1 else ''} attention" if count else "all well"


def where(element: Element) -> str:
    """The cage and its place, for whoever has to go there."""
    cage = element.cage
    if not isinstance(cage, Cage):
        return "in no cage"
    return f"{cage.name} at {cage.location}" if cage.location else cage.name


def finding(element: Element, reasons: list[str]) -> str:
    part = "" if element.kind == "cage" else f"{element.kind} {element.name}: "
    return f"{where(element)}: {part}{'; '.join(reasons)}"


def health(shown: Enclosure, readings: bool, as_json: bool) -> int:
    """Prints the check's result in the form of a Nagios or Icinga plugin, or as JSON."""
    elements = shown.everything()
    bad = [each for each in elements if each.problems]
    noted = [each for each in elements if each.notes]
    if as_json:
        print_json(shown, bad, noted)
        return ATTENTION if bad else WELL
    if bad:
        cages = len({id(each.cage) for each in bad if each.cage})
        verdict = f"NEEDS ATTENTION: {plural(len(bad), 'element')}, in {plural(cages, 'cage')}"
    else:
        verdict = "WELL"
    counts = [f"problems={len(bad)};0"]
    counts += [f"{kind}s={count}" for kind, count in shown.counts().items()]
    counts += [performance(each) for each in elements if readings and each.kind == "sensor"]
    print(f"{verdict}, {shown.name}".replace("|", "¦"), "|", " ".join(counts))
    for each in bad:
        print(finding(each, each.problems).replace("|", "¦"))  # a bar would begin numbers
    for each in noted:
        print("note:", finding(each, each.notes).replace("|", "¦"))
    return ATTENTION if bad else WELL


def performance(sensor: Element) -> str:
    """A reading with its limits, for graphs: 'label'=value;low:high."""
    label = f"{sensor.tag} {sensor.name}".replace("'", "''").replace("=", "-").replace("|", "¦")
    limits = sensor.limits()
    return f"'{label}'={sensor.get('CurrentReading')}" + (f";{limits[0]}:{limits[1]}" if limits else "")


def print_json(shown: Enclosure, bad: list[Element], noted: list[Element]) -> None:
    def listed(elements: list[Element], what: str) -> list[dict]:
        return [
            {
                "cage": each.cage.tag if each.cage else None,
                "location": each.cage.location if each.cage else None,
                "kind": each.kind,
                "name": each.tag,
                "label": each.label,
                "reasons": getattr(each, what),
            }
            for each in elements
        ]

    result = {
        "system": shown.name,
        "status": "attention" if bad else "well",
        "counts": shown.counts(),
        "problems": listed(bad, "problems"),
        "notes": listed(noted, "notes"),
    }
    print(json.dumps(result, ensure_ascii=False, indent=2))
