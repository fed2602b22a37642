"""Metrics for Prometheus. One poll of the server serves all scrapes until the next."""

import argparse
import socketserver
import sys
import threading
import time
import wsgiref.simple_server

from prometheus_client import CollectorRegistry, generate_latest, make_wsgi_app
from prometheus_client.core import GaugeMetricFamily

from .connection import Client, Trouble, clean
from .judgement import STATES, each_value, judge
from .model import Enclosure, read, read_words

ELEMENT = ("cage", "kind", "element")
SENSOR = ("cage", "sensor", "id", "unit")


class Server(socketserver.ThreadingMixIn, wsgiref.simple_server.WSGIServer):
    daemon_threads = True


class Quiet(wsgiref.simple_server.WSGIRequestHandler):
    def log_message(self, *_):
        """Scrapes are not worth a line."""


class Family:
    """A metric with its samples; of samples with the same labels only the first counts."""

    def __init__(self, name: str, text: str, labels: tuple[str, ...] = ()):
        self.gauge = GaugeMetricFamily(name, text, labels=labels)
        self.seen: set[tuple[str, ...]] = set()

    def add(self, value: float | None, *labels: str) -> None:
        if value is not None and labels not in self.seen:
            self.seen.add(labels)
            self.gauge.add_metric(labels, value)


class Collector:
    """Holds what the last successful poll found, and gives it to every scrape."""

    def __init__(self, client: Client, well: set[int]):
        self.client = client
        self.well = well
        self.words = None
        self.found: tuple[float, Enclosure] | None = None
        self.is_up = False
        self.said = ""

    def poll(self) -> None:
        """Asks the server; a failure is told once and leaves the last findings."""
        try:
            self.words = self.words or read_words(self.client, self.well)
            self.found = (time.monotonic(), judge(read(self.client, self.words)))
            self.is_up, problem = True, ""
        except Trouble as error:
            self.is_up, problem = False, str(error)
        if problem and problem != self.said:
            print(f"qbx-enclosure: {problem}", file=sys.stderr, flush=True)
        self.said = problem

    def collect(self):
        """What prometheus_client asks for at each scrape."""
        up = Family("qbx_up", "1 when the last poll of the CIM server succeeded")
        up.add(float(self.is_up))
        yield up.gauge
        if self.found:
            when, enclosure = self.found
            age = Family("qbx_poll_age_seconds", "Time since the last successful poll")
            age.add(time.monotonic() - when)
            yield age.gauge
            for family in families(enclosure):
                yield family.gauge


def families(enclosure: Enclosure):
    """All metrics of an enclosure."""
    elements = enclosure.everything()
    count = Family("qbx_elements", "Number of elements", ("kind",))
    for kind, number in enclosure.counts().items():
        count.add(number, kind)
    bad = Family("qbx_problems", "Number of elements that need attention", ("cage", "kind"))
    for cage in [*enclosure.cages, None]:
        for kind in STATES:
            group = [each for each in elements if each.cage is cage and each.kind == kind]
            if group:
                bad.add(sum(1 for each in group if each.problems), cage.tag if cage else "", kind)
    info = Family("qbx_cage_info", "Always 1", ("cage", "name", "location", "type", "firmware"))
    split = Family("qbx_cage_loop_split", "1 while the loop is split", ("cage",))
    status = Family("qbx_cage_operational_status", "OperationalStatus; 2: OK", ("cage",))
    heat = Family("qbx_cage_temperature_celsius", "Temperature of a DC3 cage", ("cage",))
    for cage in enclosure.cages:
        version = cage.get("FirmwareVersion", "")
        info.add(1, cage.tag, cage.label, cage.location, cage.word("CageType"), version)
        split.add(cage.get("LoopSplit"), cage.tag)
        status.add(next(iter(cage.get("OperationalStatus", [])), None), cage.tag)
        heat.add(cage.get("TempSensorValue"), cage.tag)
    state = Family("qbx_state_code", "The array's state code; 1: well", (*ELEMENT, "state"))
    lit = Family("qbx_locator_on", "1 while a locator of the element is on", ELEMENT)
    reading = Family("qbx_sensor_reading", "Present reading, in the sensor's unit", SENSOR)
    low = Family("qbx_sensor_low_limit", "Lowest good reading", SENSOR)
    high = Family("qbx_sensor_high_limit", "Highest good reading", SENSOR)
    for each in elements:
        labels = (each.cage.tag if each.cage else "", each.kind, each.tag)
        for name, words in STATES[each.kind].items():
            for _, which, value in each_value(each, name):
                state.add(value, *labels, f"{words}{which}" or "state")
        if each.kind != "sensor":
            lit.add(each.is_located(), *labels)
            continue
        labels = (labels[0], each.label, each.tag, each.get("BaseUnit", ""))
        reading.add(each.get("CurrentReading"), *labels)
        limits = each.limits()
        low.add(limits and limits[0], *labels)
        high.add(limits and limits[1], *labels)
    return count, bad, info, split, status, heat, state, lit, reading, low, high


def serve(client: Client, given: argparse.Namespace, well: set[int]) -> int:
    """Serves the metrics until the program is stopped, or prints them once."""
    collector = Collector(client, well)
    registry = CollectorRegistry()
    registry.register(collector)
    collector.poll()
    if given.once:
        print(generate_latest(registry).decode(), end="")
        return 0 if collector.is_up else 2
    try:
        server = wsgiref.simple_server.make_server(
            given.listen, given.port, make_wsgi_app(registry), Server, Quiet
        )
    except OSError as error:
        raise Trouble(
            f"cannot listen on {clean(given.listen)} port {given.port}: {error.strerror}"
        ) from error
    threading.Thread(target=server.serve_forever, daemon=True).start()
    print(f"ready: http://{given.listen}:{server.server_port}/metrics", flush=True)
    while True:
        time.sleep(given.interval)
        collector.poll()
