"""What the listings say in JSON and CSV. Names and meanings stay; new ones may be added."""

import collections
import csv
import json
import sys
from collections.abc import Callable, Iterable, Sequence
from typing import Any

from . import sites
from .connection import Client
from .judgement import facts
from .model import CLASSES, KINDS, Element, Enclosure
from .severity import Rules

ARRAY = ("array", "url", "status", "reason", "seconds")
KINDS_OF_ELEMENTS = tuple(CLASSES)
ELEMENT = ("kind", "name", "label", "cage", "location")


def query(arrays: Sequence[sites.Array], given: Any, question: Callable[[Client], dict]) -> list[dict]:
    """What is known of each array, in their order: an entry of the JSON that `question` completes. One
    that does not answer has a reason."""
    answers = sites.ask(arrays, question, at_once=given.at_once, within=given.within)
    found = {each.array.name: row_of(each) for each in answers}
    return [found[each.name] for each in arrays]


def row_of(answer: sites.Answer) -> dict:
    """What is known of an array after a query."""
    array, error = answer.array, answer.error
    row = {"array": array.name, "url": array.address, "status": "no answer", "reason": error and str(error)}
    return row | {"seconds": round(answer.seconds, 3)} | ({} if error else answer.result)


def summary(enclosure: Enclosure) -> dict:
    """An array in a line: system, counts, and by type how many of it have each firmware."""
    elements = enclosure.everything()
    firmware: dict[str, collections.Counter] = collections.defaultdict(collections.Counter)
    for each in elements:
        if each.get("FirmwareVersion"):
            firmware[f"{each.kind} {each.word('CageType')}".strip()][each.get("FirmwareVersion")] += 1
    bad = sum(bool(each.problems) for each in elements)
    return {
        "status": "attention" if bad else "well", "system": enclosure.name, "counts": enclosure.counts(),
        "needs_attention": bad, "firmware": {kind: dict(versions) for kind, versions in sorted(firmware.items())},
    }  # fmt: skip


def place(element: Element) -> dict:
    """What an element is, and where."""
    cage = element.cage
    where = (cage.tag, cage.get("Location")) if cage else (None, None)
    return dict(zip(ELEMENT, (element.kind, element.tag, element.label, *where), strict=True))


def full(enclosure: Enclosure, shown: Enclosure) -> dict:
    """An array with all elements that are shown; properties that are null are left out."""
    return summary(enclosure) | {"elements": [
        {**place(each), "problems": each.problems, "notes": each.notes, "facts": facts(each),
         "properties": {KINDS[name][0]: value for name, value in each.values.items() if value is not None}}
        for each in shown.everything()
    ]}  # fmt: skip


def checked(shown: Enclosure, rules: Rules) -> dict:
    """What the check finds in an array: the status, and each finding."""
    findings = rules.findings(shown)
    return summary(shown) | {
        "status": rules.status(findings).name.lower(),
        "findings": [
            {"severity": each.severity.name.lower(), **place(each.element), "title": each.element.name,
             "where": each.element.where, "reasons": each.reasons}
            for each in findings
        ],
    }  # fmt: skip


def print_json(result: dict) -> None:
    print(json.dumps(result, ensure_ascii=False, indent=2))


def print_csv(columns: Sequence[str], rows: Iterable[dict]) -> None:
    """A table with a head; lists are joined by "; ", what is not there is empty."""
    writer = csv.DictWriter(sys.stdout, columns, extrasaction="ignore", lineterminator="\n")
    writer.writeheader()
    for row in rows:
        writer.writerow({key: "; ".join(value) if isinstance(value, list) else value for key, value in row.items()})
