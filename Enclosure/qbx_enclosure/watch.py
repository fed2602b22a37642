"""What changes on arrays, as it is seen: live on a terminal, else a line for each change."""

import argparse
import collections
import datetime
import json
import sys
from collections.abc import Iterator, Sequence
from typing import Any, NamedTuple

from rich.console import Group
from rich.live import Live
from rich.rule import Rule
from rich.text import Text

from . import data
from .connection import Client
from .judgement import examine
from .model import CODED, KINDS, Enclosure
from .show import console, table_of, unusual
from .sites import Answer, Array, follow

KEPT = 1000  # changes that a terminal may show
State = dict[tuple[str, str], dict[str, Any]]  # by kind and tag the properties of an element


class Change(NamedTuple):
    """A property of an element, or of an array as a whole, that is no longer as it was."""

    time: str
    array: str
    kind: str  # "array": of the whole
    element: str
    property: str
    before: Any
    after: Any

    def text(self) -> str:
        name = f"{self.array} {self.element}".rstrip()
        before, after = ("none" if each in (None, "") else each for each in (self.before, self.after))
        return f"{self.time} {name} {self.property}: {before} -> {after}"


def state_of(enclosure: Enclosure) -> State:
    """What can change: each property, as words where it is a code, and why an element needs attention."""
    state: State = {}
    for each in enclosure.everything():
        values: dict[str, Any] = {"attention": "; ".join(each.problems), "notes": "; ".join(each.notes)}
        for name, value in ((KINDS[key][0], value) for key, value in each.values.items()):
            coded = value is not None and (name in CODED or (each.kind, name) in each.words.maps)
            values[name] = ", ".join(word for _, _, word in each.entries(name)) if coded else value
        tag, number = each.tag, 2
        while (each.kind, tag) in state:  # the array's sensors may share a name
            tag, number = f"{each.tag}#{number}", number + 1
        state[each.kind, tag] = values
    return state


class Watch:
    """What was seen of arrays last, and what changed."""

    def __init__(self, arrays: Sequence[Array]):
        self.order = [each.name for each in arrays]
        self.states: dict[str, State] = {}
        self.rows: dict[str, dict] = {}
        self.changes: collections.deque[Change] = collections.deque(maxlen=KEPT)
        self.changed: dict[str, set[str]] = {}  # by array the elements that changed at the last poll

    def take(self, answer: Answer) -> list[Change]:
        """What an answer changes. What the first one shows is no change."""
        name, row = answer.array.name, data.row_of(answer)
        now = datetime.datetime.now().astimezone().isoformat(timespec="seconds")
        reasons = self.rows.get(name, {}).get("reason"), row["reason"]
        found = [Change(now, name, "array", "", "no_answer", *reasons)] if reasons[0] != reasons[1] else []
        self.rows[name] = row
        if not answer.error:
            state = row.pop("state")
            found += [Change(now, name, *each) for each in differences(self.states.get(name), state)]
            self.states[name] = state
        self.changed[name] = {each.element for each in found}
        self.changes.extend(found)
        return found


def differences(before: State | None, after: State) -> Iterator[tuple]:
    """(kind, element, property, before, after) of all that differs."""
    if before is None:
        return
    for kind, tag in dict.fromkeys([*before, *after]):
        old, new = (each.get((kind, tag)) for each in (before, after))
        if old is None or new is None:
            yield kind, tag, "present", old is not None, new is not None
        elif old != new:
            both = ((name, old.get(name), new.get(name)) for name in dict.fromkeys([*old, *new]))
            yield from ((kind, tag, *each) for each in both if each[1] != each[2])


def question(client: Client) -> dict:
    enclosure = examine(client)
    problems = [(each.tag, each.where, each.name, "; ".join(each.problems))
                for each in enclosure.everything() if each.problems]  # fmt: skip
    return data.summary(enclosure) | {"state": state_of(enclosure), "problems": problems}


def watch(arrays: Sequence[Array], given: argparse.Namespace) -> int:
    """Polls until it is stopped."""
    seen = Watch(arrays)
    answers = follow(arrays, question, given.interval, at_once=given.at_once)
    if given.json or not sys.stdout.isatty():
        for each in answers:
            for change in seen.take(each):
                print(json.dumps(change._asdict(), ensure_ascii=False) if given.json else change.text(), flush=True)
    screen = console()
    try:
        with Live(get_renderable=lambda: view(seen, screen.height), console=screen, screen=True, refresh_per_second=2):
            for each in answers:
                seen.take(each)
    finally:  # what was seen stays on the terminal
        for change in seen.changes:
            print(change.text())
    return 0


def view(seen: Watch, height: int) -> Group:
    """The arrays, what needs attention in them, and the last changes, as much as fits."""
    rows = [seen.rows[name] for name in seen.order if name in seen.rows]
    waiting = len(seen.order) - len(rows)
    worst_first = sorted(rows, key=lambda row: (not seen.changed[row["array"]], row["status"] == "well"))
    kept = {row["array"] for row in worst_first[: height // 2]}
    differing = unusual(rows)
    table = table_of([row | {"firmware_differs": differing[row["array"]]} for row in rows if row["array"] in kept],
                     marked={name for name, changed in seen.changed.items() if changed})  # fmt: skip
    more = [f"{count} {what}" for count, what in ((len(rows) - len(kept), "more"), (waiting, "not asked yet")) if count]
    problems = [
        Text(f"{row['array']}: {where}: {'' if where.startswith(name) else f'{name}: '}{why}",
             "bold reverse red" if tag in seen.changed[row["array"]] else "red", no_wrap=True, overflow="ellipsis")
        for row in rows
        for tag, where, name, why in row.get("problems", ())
    ]  # fmt: skip
    space = max(height - len(kept) - 4, 2)
    most = max(space // 2, space - len(seen.changes))
    shown = problems if len(problems) <= most else [*problems[: most - 1], Text(f"... {len(problems) - most + 1} more")]
    last = list(seen.changes)[-max(space - len(shown), 1) :]
    changes = [Text(change.text(), no_wrap=True, overflow="ellipsis") for change in last]
    title = Text(", ".join(more), "dim")
    return Group(table, title, *shown, Rule("changes; Ctrl-C ends", style="dim"), *changes)
