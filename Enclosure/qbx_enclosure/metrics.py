"""An array's findings and readings as Prometheus' metrics, each with the array's name as a label."""

from collections.abc import Iterable, Iterator

from prometheus_client import CollectorRegistry, generate_latest
from prometheus_client.core import GaugeMetricFamily
from prometheus_client.registry import Collector

from .judgement import STATES
from .model import NAMES, Element, Enclosure
from .severity import Rules, Severity

# What a unit of the array's sensors measures, and Prometheus' word for it; other units become labels.
UNITS = {
    "C": ("temperature", "celsius"),
    "V": ("voltage", "volts"),
    "A": ("current", "amperes"),
    "W": ("power", "watts"),
    "R": ("fan", "rpm"),
}
READINGS = {"": "Present reading", "_low_limit": "Lowest good reading", "_high_limit": "Highest good reading"}
METRICS: dict[str, tuple[str, list[str]]] = NAMES["metrics"]  # name: (text, labels beside the array's)
METRICS |= {
    f"qbx_sensor_{measured}{which}_{unit}": (f"{text} of a sensor, in {unit}", ["cage", "element", "name"])
    for measured, unit in UNITS.values()
    for which, text in READINGS.items()
}
METRICS |= {
    f"qbx_sensor_reading{which}": (f"{text} of a sensor, in another unit", ["cage", "element", "name", "unit"])
    for which, text in READINGS.items()
}
# What the last successful poll found of these stays true longer than a reading.
INVENTORY = ("qbx_array_info", "qbx_elements", "qbx_cage_info")


def poll_samples(array: str, is_up: bool, seconds: float, success: float | None, now: float) -> Iterator[tuple]:
    """What a poll was like, see samples(). `success`: when the last one that succeeded ended."""
    yield "qbx_up", is_up, array
    yield "qbx_probe_duration_seconds", seconds, array
    yield "qbx_last_success_timestamp_seconds", success, array
    yield "qbx_poll_age_seconds", None if success is None else now - success, array


def samples(array: str, enclosure: Enclosure, rules: Rules) -> Iterator[tuple]:
    """(name, value, array, labels...) of what was found in an array; None: there is no such value."""
    yield "qbx_array_info", 1, array, enclosure.name
    for kind, count in enclosure.counts().items():
        yield "qbx_elements", count, array, kind
    found = {id(each.element): each for each in rules.findings(enclosure) if each.severity != Severity.OK}
    groups = [("", enclosure.outside), *((cage.tag, cage.everything()) for cage in enclosure.cages)]
    for holder, elements in groups:
        yield "qbx_problems", sum(id(each) in found for each in elements), array, holder
        for each in elements:
            labels = (array, holder, each.kind, each.tag)
            severity = found[id(each)].severity if id(each) in found else Severity.OK
            yield "qbx_needs_attention", int(severity), *labels, each.label
            for reason in [*each.problems, *each.notes]:
                if rules.of(reason, reason.cause) != Severity.OK:
                    yield "qbx_attention_cause", 1, *labels, reason.cause
            yield from element_samples(each, labels)
    for cage in enclosure.cages:
        known = (cage.label, cage.get("Location", ""), cage.word("CageType"))
        yield "qbx_cage_info", 1, array, cage.tag, *known, cage.get("FirmwareVersion", "")
        for status in cage.get("OperationalStatus", [])[:1]:
            yield "qbx_cage_operational_status", status, array, cage.tag
        yield "qbx_cage_loop_split", cage.get("LoopSplit"), array, cage.tag
        yield "qbx_cage_temperature_celsius", cage.get("TempSensorValue"), array, cage.tag


def element_samples(element: Element, labels: tuple) -> Iterator[tuple]:
    """The codes of an element, and its reading or its locator; its labels: array, cage, kind, tag."""
    for name, words in STATES[element.kind].items():
        for which, value, _ in element.entries(name):
            yield "qbx_state_code", value, *labels, f"{words}{which}"
    if element.kind != "sensor":
        yield "qbx_locator_on", element.is_located(), *labels
        return
    array, holder, _, tag = labels
    letter = element.get("BaseUnit", "")
    measured, unit = UNITS.get(letter, ("reading", ""))
    labels = (array, holder, tag, element.label, *([] if unit else [letter]))
    values = (element.get("CurrentReading"), *(element.limits() or ()))
    for which, value in zip(READINGS, values, strict=False):
        yield f"qbx_sensor_{measured}{which}{unit and f'_{unit}'}", value, *labels


class Families(Collector):
    """Samples by their metric. Two sensors can have all labels in common: then the first counts."""

    def __init__(self, given: Iterable[tuple]):
        self.families: dict[str, GaugeMetricFamily] = {}
        seen = set()
        for name, value, *labels in given:
            if value is None or (name, *labels) in seen:
                continue
            seen.add((name, *labels))
            if name not in self.families:
                text, more = METRICS[name]
                self.families[name] = GaugeMetricFamily(name, text, labels=["array", *more])
            self.families[name].add_metric(labels, value)

    def collect(self) -> Iterable[GaugeMetricFamily]:
        return self.families.values()


def text_of(given: Iterable[tuple]) -> bytes:
    """Samples in Prometheus' text format."""
    registry = CollectorRegistry()
    registry.register(Families(given))
    return generate_latest(registry)
