"""Metrics for Prometheus. One poll of the server serves all scrapes until the next."""

import argparse
import os
import sys
import time
from collections.abc import Iterator

from prometheus_client import CollectorRegistry, generate_latest, start_http_server
from prometheus_client.core import GaugeMetricFamily
from prometheus_client.registry import Collector

from .connection import Client, EnclosureError, one_line
from .judgement import STATES, judge
from .model import NAMES, Enclosure, Words, read, read_words

METRICS = NAMES["metrics"]  # name: [text, labels]
INVENTORY = ("qbx_elements", "qbx_cage_info")  # what the last successful poll found stays true longer


def samples(enclosure: Enclosure) -> Iterator[tuple]:
    """(name, value, labels...) of an enclosure's metrics; None: no such value."""
    for kind, count in enclosure.counts().items():
        yield "qbx_elements", count, kind
    yield "qbx_problems", sum(bool(each.problems) for each in enclosure.outside), ""
    for cage in enclosure.cages:
        known = (cage.label, cage.get("Location", ""), cage.word("CageType"))
        yield "qbx_cage_info", 1, cage.tag, *known, cage.get("FirmwareVersion", "")
        yield "qbx_problems", sum(bool(each.problems) for each in cage.everything()), cage.tag
        for status in cage.get("OperationalStatus", [])[:1]:
            yield "qbx_cage_operational_status", status, cage.tag
        yield "qbx_cage_loop_split", cage.get("LoopSplit"), cage.tag
        yield "qbx_cage_temperature_celsius", cage.get("TempSensorValue"), cage.tag
    for each in enclosure.everything():
        holder = each.cage.tag if each.cage else ""
        for name, words in STATES[each.kind].items():
            for which, value, _ in each.entries(name):
                yield "qbx_state_code", value, holder, each.kind, each.tag, f"{words}{which}"
        if each.kind == "sensor":
            labels = (holder, each.label, each.tag, each.get("BaseUnit", ""))
            yield "qbx_sensor_reading", each.get("CurrentReading"), *labels
            for name, limit in zip(("low", "high"), each.limits() or (), strict=False):
                yield f"qbx_sensor_{name}_limit", limit, *labels
        else:
            yield "qbx_locator_on", each.is_located(), holder, each.kind, each.tag


def log(level: int, text: str) -> None:
    """A line on standard error, for systemd's journal with its level: 3 error, 6 information."""
    mark = f"<{level}>" if "JOURNAL_STREAM" in os.environ else ""
    print(f"{mark}qbx-enclosure: {text}", file=sys.stderr, flush=True)


class EnclosureCollector(Collector):
    """Polls one array, and gives what it found to every scrape until the next poll."""

    def __init__(self, client: Client, well: set[int]):
        self.client = client
        self.well = well
        self.words: Words | None = None
        self.found: tuple[float, Enclosure] | None = None  # when, what
        self.problem = ""

    def poll(self) -> None:
        """Queries the server. A failure is logged once, as is its end."""
        before = self.problem
        try:
            self.words = self.words or read_words(self.client, self.well)
            enclosure = judge(read(self.client, self.words))
            self.found, self.problem = (time.time(), enclosure), ""
        except EnclosureError as error:
            self.problem = str(error)
        except Exception as error:  # a fault of this program is no reason to end
            self.problem = f"{self.client.url}: {type(error).__name__}: {one_line(error)}"
        if self.problem not in ("", before):
            log(3, self.problem)
        elif before and not self.problem:
            log(6, f"{self.client.url}: answers again")

    def samples(self) -> Iterator[tuple]:
        """While the array does not answer: what it consists of, and when that was found. Prometheus
        would take a kept reading for a present one."""
        yield "qbx_up", not self.problem
        if self.found:
            when, enclosure = self.found
            yield "qbx_last_success_timestamp_seconds", when
            yield "qbx_poll_age_seconds", time.time() - when
            for sample in samples(enclosure):
                if not self.problem or sample[0] in INVENTORY:
                    yield sample

    def collect(self) -> list[GaugeMetricFamily]:
        """What prometheus_client asks for at each scrape. Two sensors can have all labels in
        common: then the first counts."""
        families = {
            name: GaugeMetricFamily(name, text, labels=labels)
            for name, (text, labels) in METRICS.items()
        }
        seen = set()
        for name, value, *labels in self.samples():
            if value is not None and (name, *labels) not in seen:
                seen.add((name, *labels))
                families[name].add_metric(labels, value)
        return [family for family in families.values() if family.samples]


def serve(client: Client, given: argparse.Namespace) -> int:
    """Serves the metrics until the program is stopped, or prints them once."""
    collector = EnclosureCollector(client, given.well)
    registry = CollectorRegistry()
    registry.register(collector)
    collector.poll()
    if given.once:
        print(generate_latest(registry).decode(), end="")
        return 2 if collector.problem else 0
    try:
        start_http_server(given.port, given.listen, registry)
    except OSError as error:
        raise EnclosureError(f"cannot listen on {given.listen}:{given.port}: {error.strerror}") from error
    print(f"ready: http://{given.listen}:{given.port}/metrics", flush=True)
    while True:
        time.sleep(given.interval)
        collector.poll()
