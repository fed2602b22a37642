"""An array as one page for a browser, and several as a folder of pages, which need nothing from elsewhere."""

import argparse
import datetime
import functools
import pathlib
import sys
from collections.abc import Sequence
from typing import Any

import jinja2

from . import data
from .connection import Client, EnclosureError, clean
from .judgement import LIGHTS, examine, facts
from .model import Element
from .show import GROUPS, plural, summary, unanswered, unusual
from .sites import Array

# The letter of a light by its code; unknown ones come last.
LAMPS = "?–GGAABB?"  # noqa: RUF001
COLUMNS = {"magazine": 8, "card": 4, "sensor": 4}  # of a row of the drawing
HEIGHTS = {"magazine": 66, "card": 66, "sensor": 44}  # of a box of the drawing
MOST_OPEN = 20  # cages, or elements in need of attention, whose cages are shown open
MOST_PLACES = 64  # that are drawn at their places, with gaps


def lamps(element: Element) -> list[dict]:
    """The lights of an element for the drawing: letter, whether it blinks, and words."""
    found = [
        {"letter": LAMPS[min(code, 8)], "blinks": code in (3, 5, 7), "words": f"{name}: {word}"}
        for light, name in LIGHTS.items()
        for _, code, word in element.entries(light)
    ]
    located = [{"letter": "L", "blinks": True, "words": "locator is on"}]
    return found + (located if element.is_located() else [])


def rows(cage: Element, kind: str) -> list[list[tuple[int, Element | None]]]:
    """The parts of a kind as rows of (place, part): magazines at their places, cards by loop."""
    parts = cage.of(kind)
    placed: list[tuple[int, Element | None]]
    placed = [(part.order[0], part) for part in sorted(parts, key=Element.loops)]
    places = {place for place, _ in placed}
    if kind == "magazine" and len(places) == len(parts) and max(places, default=0) < MOST_PLACES:
        placed += [(place, None) for place in range(max(places, default=0)) if place not in places]
        placed.sort(key=lambda each: each[0])
    return [placed[at : at + COLUMNS[kind]] for at in range(0, len(placed), COLUMNS[kind])]


def anchor(element: Element) -> str:
    """Where its cage is on the page of its array."""
    return f"cage-{element.cage.tag}" if element.cage else "outside"


def what(element: Element) -> str:
    return element.kind if element.kind == "cage" else f"{element.kind} {element.name}"


def elements(counts: dict[str, int]) -> str:
    return ", ".join(plural(count, kind) for kind, count in counts.items() if count)


def contents(cage: Element) -> str:
    return elements({kind: len(cage.of(kind)) for kind in GROUPS})


@functools.cache
def templates() -> jinja2.Environment:
    made = jinja2.Environment(loader=jinja2.PackageLoader(__package__, "."), autoescape=True, trim_blocks=True)
    made.globals.update(lamps=lamps, anchor=anchor, what=what, contents=contents, elements=elements)
    made.globals.update(columns=COLUMNS, heights=HEIGHTS, groups=GROUPS, most_open=MOST_OPEN)
    return made


def page(template: str, **values: Any) -> str:
    """A page of a template."""
    when = datetime.datetime.now().astimezone().strftime("%Y-%m-%d %H:%M:%S %z")
    once = {"facts": functools.cache(facts), "rows": functools.cache(rows)}  # of an element, for one page
    return templates().get_template(template).render(when=when, **once | values)


def save(file: pathlib.Path, text: str) -> None:
    """Writes a page; whoever reads it meanwhile sees the old one or the new one."""
    new = file.with_name(f"{file.name}.new") if file.is_file() else file  # not /dev/stdout
    try:
        new.write_text(text, encoding="utf-8")
        new.replace(file)
    except OSError as error:
        raise EnclosureError(f"{clean(file)}: {error.strerror}") from error


def write(arrays: Sequence[Array], given: argparse.Namespace) -> int:
    """Writes the page of one array into a file ("-" is standard output), or a folder with the pages of
    several and an index; returns the exit status."""
    file = pathlib.Path(given.file)
    is_folder = len(arrays) > 1 or given.file.endswith("/") or file.is_dir()
    if is_folder:
        try:
            file.mkdir(parents=True, exist_ok=True)
        except OSError as error:
            raise EnclosureError(f"{clean(file)}: {error.strerror}; it has to be a folder") from error

    def question(client: Client) -> dict:
        enclosure = examine(client)
        shown = enclosure.narrowed(given.cage, given.problems)
        text = page("report.html", enclosure=enclosure, shown=shown, summary=summary(enclosure), url=client.url,
                    name=client.name if is_folder else "")  # fmt: skip
        if not is_folder:
            return {"page": text}
        own = f"array-{client.name}.html"
        save(file / own, text)
        problems = [{"where": each.where, "what": what(each), "why": "; ".join(each.problems), "anchor": anchor(each)}
                    for each in shown.everything() if each.problems]  # fmt: skip
        return data.summary(enclosure) | {"file": own, "problems": problems}

    found = data.query(arrays, given, question)
    if is_folder:
        differing = unusual(found)
        found = [row | {"firmware_differs": differing[row["array"]]} for row in found]
        save(file / "index.html", page("index.html", arrays=found))
        print(f"written: {clean(file / 'index.html')}")
        return unanswered(found)
    (row,) = found
    if row["reason"]:
        raise EnclosureError(row["reason"])
    if given.file == "-":
        sys.stdout.buffer.write(row["page"].encode())
        return 0
    save(file, row["page"])
    print(f"written: {clean(given.file)}")
    return 0
