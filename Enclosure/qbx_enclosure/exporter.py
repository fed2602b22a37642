"""Serves the metrics of many arrays to Prometheus. An array is polled when it is scraped."""

import argparse
import contextlib
import functools
import gzip
import http.server
import json
import os
import pathlib
import re
import socket
import socketserver
import sys
import tempfile
import threading
import time
import urllib.parse
from collections.abc import Sequence
from http import HTTPStatus

from prometheus_client import CONTENT_TYPE_LATEST, CollectorRegistry, Gauge, ProcessCollector, generate_latest

from .connection import PROCESSOR, Client, EnclosureError, clean
from .judgement import examine
from .metrics import INVENTORY, poll_samples, samples, text_of
from .severity import Rules
from .sites import Array, Site, answer, ask
from .transport import shut
from .version import VERSION
from .webconfig import WebConfig

LONGEST = 120  # seconds that a scrape waits for a poll, when Prometheus does not say how long
LATE = 300  # seconds within which a result that came too late for one scrape goes to the next
REQUEST_SECONDS = 10  # in which a request must have come, with TLS
RESPONSE_SECONDS = 30
MOST_CONNECTIONS = 256
TIMEOUT_FIELD = "X-Prometheus-Scrape-Timeout-Seconds"
HOME = "qbx-enclosure {}\n/metrics: of this exporter\n/probe?target=NAME: of an array\n/targets: the arrays\n"


def log(level: int, text: str) -> None:
    """A line on standard error, for systemd's journal with its level: 3 error, 6 information."""
    mark = f"<{level}>" if "JOURNAL_STREAM" in os.environ else ""
    sys.stderr.write(f"{mark}qbx-enclosure: {text}\n")  # at once: print() would let threads mix lines


class Target:
    """An array for scrapes. It is polled when one asks, unless the last result is younger than `least`
    seconds; never twice at once: scrapes that come meanwhile wait for the same poll. A poll that takes
    longer than a scrape can wait is for the next scrape."""

    def __init__(self, array: Array, rules: Rules, least: float):
        self.array, self.rules, self.least = array, rules, least
        self.connect = functools.cache(array.client)  # which keeps the words of the schema
        self.turn = threading.Condition()  # guards what follows
        self.is_polling = False
        self.begun = self.ended = 0.0  # the last poll, by the monotonic clock; 0: there was none
        self.seconds = 0.0
        self.problem = ""
        self.is_new = False  # no scrape has got the last result
        self.told = ""  # the problem that was logged last
        self.success: float | None = None
        self.found = self.inventory = b""  # compressed: a hundred large arrays have a hundred megabytes

    def page(self, patience: float) -> bytes:
        """What a scrape gets, compressed, after `patience` seconds at most. Without an answer of the
        array: what it consists of, and when that was found; Prometheus would take a kept reading for a
        present one."""
        with self.turn:
            age = time.monotonic() - self.ended if self.ended else float("inf")
            is_late = self.is_new and self.seconds > patience and age < LATE
            if not self.is_polling and age >= self.least:
                threading.Thread(target=self._poll, daemon=True).start()
                self.is_polling, self.begun = True, time.monotonic()
            if is_late or self.turn.wait_for(lambda: not self.is_polling, patience):
                problem, seconds, self.is_new = self.problem, self.seconds, False
            else:
                problem = f"{self.array.name}: no result in {patience:g} s, which is as long as the scrape can wait"
                seconds = time.monotonic() - self.begun
            self._tell(problem)
            polled = poll_samples(self.array.name, not problem, seconds, self.success, time.time())
            # Compressed texts can stand one after another.
            return gzip.compress(text_of(polled), 1) + (self.inventory if problem else self.found)

    def _poll(self) -> None:
        result = answer(self.array, self._texts, self.connect)
        if result.error:  # a password may be new, and the server
            self.connect.cache_clear()
        with self.turn:
            if not result.error:
                self.found, self.inventory = result.result
                self.success = time.time()
            self.problem = f"{self.array.name}: {result.error}" if result.error else ""
            self.ended, self.seconds, self.is_polling, self.is_new = time.monotonic(), result.seconds, False, True
            self.turn.notify_all()

    def _texts(self, client: Client) -> tuple[bytes, bytes]:
        """All metrics of the array, and those of its inventory, compressed."""
        enclosure = examine(client)
        with PROCESSOR:
            given = [*samples(self.array.name, enclosure, self.rules)]
            kept = (each for each in given if each[0] in INVENTORY)
            return gzip.compress(text_of(given), 1), gzip.compress(text_of(kept), 1)

    def _tell(self, problem: str) -> None:
        """Logs the first failure, each other one, and their end."""
        if problem and problem != self.told:
            log(3, problem)
        elif self.told and not problem:
            log(6, f"{self.array.name}: answers again")
        self.told = problem


class Handler(http.server.BaseHTTPRequestHandler):
    """Answers one request."""

    server: "Exporter"
    timeout = RESPONSE_SECONDS
    server_version, sys_version = f"qbx-enclosure/{VERSION}", ""
    error_content_type, error_message_format = "text/plain", "%(code)d %(message)s\n"

    def do_GET(self) -> None:
        self.server.has_come(self.client_address)
        if not self.server.web.admits(self.headers.get("Authorization", "")):
            self.reply(HTTPStatus.UNAUTHORIZED, "give a user and a password\n", field=("WWW-Authenticate", "Basic"))
            return
        url = urllib.parse.urlsplit(self.path)
        if url.path == "/probe":
            self.probe(urllib.parse.parse_qs(url.query).get("target", []))
        elif url.path == "/metrics":
            self.reply(HTTPStatus.OK, self.server.metrics(self.patience()), CONTENT_TYPE_LATEST)
        elif url.path == "/targets":
            self.reply(HTTPStatus.OK, json.dumps(self.server.listed()) + "\n", "application/json")
        elif url.path == "/":
            self.reply(HTTPStatus.OK, HOME.format(VERSION))
        else:
            self.reply(HTTPStatus.NOT_FOUND, "there is /metrics, /probe?target=NAME and /targets\n")

    do_HEAD = do_GET  # noqa: N815

    def probe(self, names: list[str]) -> None:
        targets = self.server.targets
        if len(names) != 1:
            self.reply(HTTPStatus.BAD_REQUEST, "give one target: /probe?target=NAME; /targets lists them\n")
        elif names[0] not in targets:
            self.reply(HTTPStatus.NOT_FOUND, f"no array {clean(names[0][:100])} is served here; /targets lists them\n")
        else:
            self.reply(HTTPStatus.OK, targets[names[0]].page(self.patience()), CONTENT_TYPE_LATEST)

    def patience(self) -> float:
        """How long this scrape can wait for a result: somewhat less than Prometheus does."""
        given = self.headers.get(TIMEOUT_FIELD, "")
        return min(float(given) * 0.9, LONGEST) if re.fullmatch(r"\d{1,6}(\.\d{1,9})?", given) else LONGEST

    def reply(self, status: HTTPStatus, body: str | bytes, kind="text/plain; charset=utf-8", field=None) -> None:
        """Sends a response; a body of bytes is compressed, and goes as it is to who takes that."""
        content = body.encode() if isinstance(body, str) else body
        fields = {"Content-Type": kind, **dict([field] if field else [])}
        if isinstance(body, bytes):
            if "gzip" in self.headers.get("Accept-Encoding", ""):
                fields["Content-Encoding"] = "gzip"
            else:
                content = gzip.decompress(body)
        self.send_response(status)
        for name, value in (fields | {"Content-Length": str(len(content))}).items():
            self.send_header(name, value)
        self.end_headers()
        if self.command != "HEAD":
            self.wfile.write(content)

    def log_message(self, *_) -> None:
        """Nothing: who scrapes knows."""


class Exporter(socketserver.ThreadingTCPServer):
    """Serves /probe and what else Prometheus wants. Each connection has a thread, and carries one
    request; who takes too long to send it is cut off, the slowest first when there are too many."""

    allow_reuse_address = daemon_threads = True
    request_queue_size = 128

    def __init__(self, host: str, port: int, targets: dict[str, Target], web: WebConfig, single: Target | None):
        self.address_family = socket.getaddrinfo(host, port, type=socket.SOCK_STREAM)[0][0]
        self.targets, self.web, self.single = targets, web, single
        self.coming: dict[tuple, tuple[float, socket.socket]] = {}  # connections without a whole request
        self.connections = 0
        self.counting = threading.Lock()
        self.registry = CollectorRegistry()
        ProcessCollector(registry=self.registry)
        Gauge("qbx_exporter_info", "Always 1", ["version"], registry=self.registry).labels(VERSION).set(1)
        Gauge("qbx_exporter_arrays", "Number of arrays", registry=self.registry).set(len(targets))
        super().__init__((host, port), Handler)

    def metrics(self, patience: float) -> bytes:
        """The exporter's own, and when it serves one array without a list, that array's."""
        own = gzip.compress(generate_latest(self.registry))
        return own + (self.single.page(patience) if self.single else b"")

    def listed(self) -> list[dict]:
        """The arrays in the form of Prometheus' service discovery over HTTP."""
        arrays = [each.array for each in self.targets.values()]
        return [{"targets": [each.name], "labels": {"groups": ",".join(each.groups)}} for each in arrays]

    def process_request(self, request, client_address) -> None:
        if self.connections >= MOST_CONNECTIONS:
            shut(next((line for _, line in self.coming.values()), request))
        self.coming[client_address] = time.monotonic() + REQUEST_SECONDS, request.dup()
        with self.counting:
            self.connections += 1
        try:
            super().process_request(request, client_address)
        except RuntimeError:  # no thread can be started
            self.has_gone(client_address)
            raise

    def process_request_thread(self, request, client_address) -> None:
        try:
            super().process_request_thread(request, client_address)
        finally:
            self.has_gone(client_address)

    def has_gone(self, client_address) -> None:
        """A connection has ended."""
        self.has_come(client_address)
        with self.counting:
            self.connections -= 1

    def has_come(self, client_address) -> None:
        """A request is whole: nothing cuts its connection off any more."""
        if client_address in self.coming:
            self.coming.pop(client_address)[1].close()

    def service_actions(self) -> None:
        """Cuts off who is too slow: called twice a second."""
        for end, line in list(self.coming.values()):
            if time.monotonic() > end:
                shut(line)

    def finish_request(self, request, client_address) -> None:
        with contextlib.ExitStack() as stack:
            tls = self.web.current().tls
            line = stack.enter_context(tls.wrap_socket(request, server_side=True)) if tls else request
            Handler(line, client_address, self)

    def handle_error(self, request, client_address) -> None:
        error = sys.exc_info()[1]
        if not isinstance(error, OSError):  # which is the client's
            log(3, f"request of {client_address[0]}: {type(error).__name__}: {clean(error)}")


def run(site: Site, arrays: Sequence[Array], given: argparse.Namespace) -> int:
    """Serves the metrics until the program is stopped, or prints them once."""
    if given.output and not given.once:
        raise EnclosureError("--output FILE needs --once")
    return once(arrays, site.rules, given.output) if given.once else serve(site, arrays, given)


def serve(site: Site, arrays: Sequence[Array], given: argparse.Namespace) -> int:
    """Serves the metrics until the program is stopped."""
    targets = {each.name: Target(each, site.rules, given.interval) for each in arrays}
    single = None if site.file else targets[arrays[0].name]
    if single:
        single.connect()  # what is missing for that is said at once
    web = WebConfig(given.web_config, log)
    try:
        server = Exporter(given.listen, given.port, targets, web, single)
    except OSError as error:
        raise EnclosureError(f"cannot listen on {given.listen}:{given.port}: {error.strerror}") from error
    with server:
        host = f"[{given.listen}]" if ":" in given.listen else given.listen
        scheme = "https" if web.current().tls else "http"
        print(f"ready: {scheme}://{host}:{server.server_address[1]}/metrics", flush=True)
        server.serve_forever()
    return 0


def once(arrays: Sequence[Array], rules: Rules, output: str | None) -> int:
    """Polls the arrays, and prints the metrics of all, or replaces a file by them."""
    found: list[tuple] = []
    status = 0
    for each in ask(arrays, examine):
        now = time.time()
        found += poll_samples(each.array.name, not each.error, each.seconds, None if each.error else now, now)
        if each.error:
            log(3, f"{each.array.name}: {each.error}")
            status = 2
        else:
            found += samples(each.array.name, each.result, rules)
    if output:
        replace(output, text_of(found))
    else:
        print(text_of(found).decode(), end="")
    return status


def replace(file: str, content: bytes) -> None:
    """Gives a file this content at once: who reads it never sees half of it."""
    path = pathlib.Path(file)
    try:
        with tempfile.TemporaryDirectory(dir=path.parent, prefix=f".{path.name}.") as folder:
            new = pathlib.Path(folder) / path.name
            new.write_bytes(content)
            new.chmod(0o644)
            new.replace(path)
    except OSError as error:
        raise EnclosureError(f"{clean(file)}: {error.strerror}") from error
