"""The enclosure as one page for a browser, which needs nothing from elsewhere."""

import datetime
import pathlib
import sys

import jinja2

from .connection import EnclosureError, clean
from .judgement import LIGHTS, facts
from .model import Element, Enclosure
from .show import GROUPS, summary

# The letter of a light by its code; unknown ones come last.
LAMPS = "?–GGAABB?"  # noqa: RUF001
COLUMNS = {"magazine": 8, "card": 4, "sensor": 4}  # of a row of the drawing
HEIGHTS = {"magazine": 66, "card": 66, "sensor": 44}  # of a box of the drawing
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


def write(file: str, url: str, enclosure: Enclosure, shown: Enclosure) -> int:
    """Writes the page into a file; "-" is standard output."""
    source = jinja2.PackageLoader(__package__, ".")
    templates = jinja2.Environment(loader=source, autoescape=True, trim_blocks=True)
    templates.globals.update(facts=facts, lamps=lamps, rows=rows)
    templates.globals.update(columns=COLUMNS, heights=HEIGHTS, groups=GROUPS)
    page = templates.get_template("report.html").render(
        enclosure=enclosure,
        shown=shown,
        summary=summary(enclosure),
        url=url,
        when=datetime.datetime.now().astimezone().strftime("%Y-%m-%d %H:%M:%S %z"),
    )
    if file == "-":
        sys.stdout.buffer.write(page.encode())
        return 0
    try:
        pathlib.Path(file).write_text(page, encoding="utf-8")
    except OSError as error:
        raise EnclosureError(f"{clean(file)}: {error.strerror}") from error
    print(f"written: {clean(file)}")
    return 0
