"""Runs qbx-enclosure for its tests and measurements: on servers with a changed sample array or with lies,
on lists of arrays, as an exporter, and with the programs that read what it makes."""

import collections
import contextlib
import html
import http.client
import importlib.util
import json
import os
import re
import shutil
import socket
import socketserver
import subprocess
import sys
import threading
import typing
import unittest
import urllib.parse
import urllib.request

from qbx_support import testing
from qbx_support.server import ROOT, SAMPLE_ARRAY, Server

PROGRAM = ROOT / "Enclosure" / "qbx-enclosure"
MONITORING = ROOT / "Enclosure" / "monitoring"
LIBRARIES = ("rich", "jinja2", "prometheus_client")
# What the sample array has wrong, put right.
GOOD = {
    "cages.1.cimState": "API_STATE_OK", "cages.3.loopSplit": False, "cages.4.loopSplit": False,
    "cages.1.lbod.sensors.6.reading": 30, "cages.1.lbod.sensors.6.state": 1,
    "cages.1.lbod.sensors.8.reading": 5000, "cages.1.lbod.sensors.8.state": 1,
}  # fmt: skip
# Texts with markup, quotes and control characters, an element in no cage, two sensors alike.
ODD = {
    "cages.0.elementName": "Left <DC1> & \"friends'\"", "cages.0.location": "Rack 1, O'Neill, left half",
    "cages.0.lbod.sensors.5.limit_low": 0, "cages.0.lbod.sensors.5.limit_high": 0,
    "cages.0.lbod.sensors.0": {"name": "Power supply 1 output", "type": "V", "reading": 12},
    "cages.0.lbod.sensValid": 0b1111100001, "cages.2.cimState": "API_STATE_LOST_COMMUNICATION",
    "cages.1.elementName": "hex:02 08 1B 5B 32 4A", "cages.1.location": "hex:C2 9B E2 80 AE FF 41 7C",
    "magazines.0.elemName": "<0> & 'x'", "magazines.1.lbod.hplLED": "LED_STATE_AMBER_BLINKING",
    "magazines.1.locateON": True, "magazines.2.isAbsent": True, "magazines.4.parentDeviceID": "nowhere",
    "fcals.0.loopA.linkSpeed": ["PORT_DATA_RATE_100M", "PORT_DATA_RATE_2G"],
}  # fmt: skip
DEFAULTS = '[defaults]\nuser = "admin"\npassword_file = "password"\n'


def changed(changes):
    """The sample array with changes: {"cages.0.location": "Room 3"} by the names and indices that lead to
    a value of the array file."""
    array = json.loads(SAMPLE_ARRAY.read_text())
    for path, value in changes.items():
        target = array
        *names, last = [int(each) if each.isdigit() else each for each in path.split(".")]
        for name in names:
            target = target[name]
        target[last] = value
    return array


def run(*words, **variables):
    """Runs the program, not on a terminal."""
    return subprocess.run(
        [sys.executable, PROGRAM, *words], stdin=subprocess.DEVNULL, capture_output=True,
        text=True, env={**os.environ, **variables}, timeout=1200,
    )  # fmt: skip


def login(url, user="admin"):
    """The URL with a user; the password is the same."""
    return url.replace("://", f"://{user}:{user}@")


def listed(folder, more="", **urls):
    """Writes a list of these arrays, and more tables; returns the options that name it."""
    (folder / "password").touch(0o600)
    (folder / "password").write_text("admin\n")
    arrays = (f'[array.{name}]\nurl = "{url}"\n' for name, url in urls.items())
    (folder / "sites.toml").write_text(f"{more}\n{DEFAULTS}{''.join(arrays)}")
    return "--sites", str(folder / "sites.toml")


class ServerTest(testing.Test):
    """Tests with one server; each writes the array that it wants, or acts on elements of its own."""

    server: Server
    url: str

    @classmethod
    def setUpClass(cls):
        cls.server = Server(os.environ["QBX_BUILD"])
        cls.addClassCleanup(cls.server.close)
        cls.url = login(cls.server.url)

    def operations(self):
        """The providers of all operations that the module has performed, counted."""
        log = self.server.folder / "module.log"
        names = r"--> QBX_(\w+)Provider::(?:enumerateInstance|getInstance|associator|reference)"
        return collections.Counter(re.findall(names, log.read_text() if log.exists() else ""))

    def serve(self, array):
        self.server.array.write_text(json.dumps(array))


# ---- A server that lies ----


def body(text, more=b""):
    """A response with this body."""
    return b"HTTP/1.1 200 OK\r\nContent-Type: text/xml\r\n%b\r\n%b" % (more, text)


class Liar(socketserver.StreamRequestHandler):
    """Gives the present lie: all of a response, or what to replace in those of the real server."""

    lie: typing.Any = None  # bytes, a function that yields them, or a pattern with its replacement
    url = ""

    def handle(self):
        self.rfile.readline()
        fields = http.client.parse_headers(self.rfile)
        request = urllib.request.Request(self.url, self.rfile.read(int(fields["Content-Length"])), dict(fields))
        lie = Liar.lie
        if lie is None or isinstance(lie, tuple):
            with urllib.request.urlopen(request) as reply:
                text = reply.read()
            lie = body(lie[0].sub(lie[1], text) if lie else text)
        with contextlib.suppress(OSError):  # the client has had enough
            for part in lie() if callable(lie) else [lie]:
                self.wfile.write(part)


@contextlib.contextmanager
def lying(url):
    """A server that gives Liar.lie, and without one the responses of that URL; yields its own."""
    Liar.url, Liar.lie = f"{url}/cimom", None
    with socketserver.ThreadingTCPServer(("127.0.0.1", 0), Liar) as liar:
        liar.daemon_threads = True
        threading.Thread(target=liar.serve_forever, daemon=True).start()
        try:
            yield f"http://127.0.0.1:{liar.server_address[1]}"
        finally:
            liar.shutdown()


# ---- The exporter, and other programs ----


@contextlib.contextmanager
def running(*command, **options):
    """A program, until the end."""
    with subprocess.Popen(command, **options) as process:
        try:
            yield process
        finally:
            process.terminate()


@contextlib.contextmanager
def exporting(*words, stderr=subprocess.PIPE):
    """The exporter; yields its URL and the process."""
    command = (sys.executable, str(PROGRAM), *words, "metrics", "--port", "0")
    with running(*command, stdout=subprocess.PIPE, stderr=stderr, text=True) as process:
        yield process.stdout.readline().removeprefix("ready: ").removesuffix("/metrics\n"), process


def free_place():
    """An address of this machine with a port that nothing listens on."""
    with socket.create_server(("127.0.0.1", 0)) as free:
        return f"127.0.0.1:{free.getsockname()[1]}"


def queried(place, expression):
    """What the Prometheus at that address returns for an expression, at present."""
    words = urllib.parse.urlencode({"query": expression})
    with urllib.request.urlopen(f"http://{place}/api/v1/query?{words}") as response:
        return json.loads(response.read())["data"]["result"]


def browsed(page, script, place=""):
    """What a script writes into the title of a page in Chromium, as JSON; skips the test without that."""
    browser = shutil.which("chromium")
    if not browser:
        raise unittest.SkipTest("no Chromium to load the page (./qbx setup --browser)")
    with page.open("a") as end:
        end.write(f"<script>{script.read_text()}</script>")
    options = ["--headless", "--no-sandbox", "--disable-gpu", "--window-size=1280,1000", "--dump-dom"]
    command = [browser, *options, f"--user-data-dir={page.parent}/browser", page.as_uri() + place]
    done = subprocess.run(command, capture_output=True, text=True, timeout=1200)
    title, *_ = re.findall("<title>(.*?)</title>", done.stdout)
    return json.loads(html.unescape(title))


def main():
    """Runs the tests of the main module, if the program can run at all."""
    missing = [each for each in LIBRARIES if not importlib.util.find_spec(each)]
    if missing:
        print(f"SKIPPED: {', '.join(missing)} cannot be imported (./qbx setup)")
        sys.exit(testing.SKIPPED)
    testing.main()
