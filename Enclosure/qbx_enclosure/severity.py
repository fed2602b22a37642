"""What of an enclosure's findings is critical to the check and what a warning: the defaults, and the
table [health] of the list of arrays, which changes them."""

import dataclasses
import enum
import re
from collections.abc import Iterable
from typing import Any, NamedTuple

from .connection import EnclosureError, one_line
from .model import Element, Enclosure


class Severity(enum.IntEnum):
    """How bad something is, as the exit status of a Nagios or Icinga plugin."""

    OK, WARNING, CRITICAL, UNKNOWN = range(4)


ORDER = (Severity.OK, Severity.WARNING, Severity.UNKNOWN, Severity.CRITICAL)
WORDS = {each.name.lower(): each for each in ORDER}
# By cause (see judgement.py), or by the text of a reason as the check prints it.
DEFAULTS = {
    "status": "critical", "status is Degraded": "warning", "status is In Service": "warning",
    "reading": "critical", "state": "warning", "light": "warning", "loop_split": "warning", "no_card": "critical",
    "no_sensor": "warning", "no_cage": "warning", "half_split": "ok", "gap": "ok", "firmware": "ok", "locator": "ok",
    "no_answer": "unknown",
}  # fmt: skip
RANGE = re.compile("(?:(-?[0-9]+|~)?:)?(-?[0-9]+)?")  # of Nagios: 10:35, 35 (from 0), 10: and ~:35


def worst(severities: Iterable[Severity]) -> Severity:
    return max(severities, key=ORDER.index, default=Severity.OK)


class Finding(NamedTuple):
    """An element, how bad it is, and why."""

    element: Element
    severity: Severity
    reasons: list[str]


@dataclasses.dataclass(frozen=True)
class Rules:
    """severities: by cause or reason; readings: by a sensor's name or unit the ranges of good readings;
    warning_from, critical_from: how many elements with warnings make a warning, and are critical (0:
    however many, they are not)."""

    severities: dict[str, Severity] = dataclasses.field(
        default_factory=lambda: {key: WORDS[word] for key, word in DEFAULTS.items()}
    )
    readings: dict[str, dict[Severity, str]] = dataclasses.field(default_factory=dict)
    warning_from: int = 1
    critical_from: int = 0

    def with_counts(self, warning_from: int | None, critical_from: int | None) -> "Rules":
        """The same with these counts, where they are given."""
        warning = self.warning_from if warning_from is None else warning_from
        critical = self.critical_from if critical_from is None else critical_from
        return dataclasses.replace(self, warning_from=warning, critical_from=critical)

    def of(self, reason: str, cause: str) -> Severity:
        return self.severities.get(reason, self.severities[cause])

    def findings(self, enclosure: Enclosure) -> list[Finding]:
        """What there is to say of a judged enclosure, the worst first: of an element one finding with
        what is bad, and one with what is not, its notes."""
        found = []
        for each in enclosure.everything():
            reasons = [(self.of(reason, reason.cause), str(reason)) for reason in [*each.problems, *each.notes]]
            reasons += self._readings(each)
            bad = [reason for reason in reasons if reason[0] != Severity.OK]
            for part in (bad, [reason for reason in reasons if reason[0] == Severity.OK]):
                if part:
                    found.append(Finding(each, worst(how for how, _ in part), [text for _, text in part]))
        return sorted(found, key=lambda each: -ORDER.index(each.severity))

    def _readings(self, element: Element) -> list[tuple[Severity, str]]:
        """What the ranges of the list say of a reading, beside the array's own limits."""
        value, shown, names = element.reading()
        ranges = next((self.readings[name] for name in names if name in self.readings), {})
        for severity in (Severity.CRITICAL, Severity.WARNING):
            if value is not None and severity in ranges and outside(value, ranges[severity]):
                return [(severity, f"{shown}, outside {ranges[severity]}")]
        return []

    def status(self, findings: list[Finding]) -> Severity:
        """The status of the whole."""
        status = worst(each.severity for each in findings)
        count = sum(each.severity != Severity.OK for each in findings)
        if self.critical_from and count >= self.critical_from:
            return Severity.CRITICAL
        return Severity.OK if status == Severity.WARNING and count < self.warning_from else status


def outside(value: int, span: str) -> bool:
    """Whether a value is outside of a range as Nagios writes them."""
    low, high = RANGE.fullmatch(span).groups()  # type: ignore[union-attr]  # as checked
    lowest = 0 if low is None and ":" not in span else None if low in (None, "~") else int(low)
    return (lowest is not None and value < lowest) or (high is not None and value > int(high))


# ---- The table ----


def rules_of(table: Any, place: str) -> Rules:
    """The rules of a table [health]; `place` begins the messages. Raises EnclosureError."""
    rules = Rules()
    severities, readings, counts = dict(rules.severities), {}, {}
    for key, value in entries(table, f"{place}]"):
        if key == "severity":
            for name, word in entries(value, f"{place}.severity]"):
                severities[name] = severity_of(name, word, f"{place}.severity] {one_line(name)}")
        elif key == "readings":
            for name, ranges in entries(value, f"{place}.readings]"):
                readings[name] = ranges_of(ranges, f"{place}.readings] {one_line(name)}")
        elif key not in ("warning_from", "critical_from"):
            known = "warning_from, critical_from, and tables severity and readings"
            raise EnclosureError(f"{place}] {one_line(key)}: unknown key; there is {known}")
        elif type(value) is not int or not int(key == "warning_from") <= value <= 65535:
            raise EnclosureError(f"{place}] {key}: a number of elements, up to 65535, is expected")
        else:
            counts[key] = value
    return Rules(severities, readings, **counts)


def entries(table: Any, place: str) -> Iterable[tuple[str, Any]]:
    if not isinstance(table, dict):
        raise EnclosureError(f"{place}: is no table")
    return table.items()


def severity_of(name: str, word: Any, place: str) -> Severity:
    if name not in DEFAULTS and " " not in name:  # a reason has a blank
        causes = ", ".join(each for each in DEFAULTS if " " not in each)
        raise EnclosureError(f"{place}: unknown cause; there is {causes}; or a reason as the check prints it")
    if word not in WORDS:
        raise EnclosureError(f"{place}: {', '.join(WORDS)} is expected")
    return WORDS[word]


def ranges_of(ranges: Any, place: str) -> dict[Severity, str]:
    found = {}
    for word, span in entries(ranges, place):
        if word not in ("warning", "critical") or not isinstance(span, str) or not span or not RANGE.fullmatch(span):
            raise EnclosureError(f'{place}: {{ warning = "10:35", critical = "5:40" }} is expected')
        found[WORDS[word]] = span
    return found
