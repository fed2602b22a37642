"""The program qbx-enclosure as a person runs it: its lines, its exit status, what it asks a server.
In an expected line, ~ stands for any text, such as what the schema calls a state code."""

import contextlib
import http.server
import importlib.util
import json
import os
import pathlib
import re
import shutil
import socket
import subprocess
import sys
import tempfile
import threading
import unittest
import urllib.request
from xml.etree import ElementTree

from qbx_support import testing
from qbx_support.server import ROOT, SAMPLE_ARRAY, SAMPLE_FIRMWARE, Server
from qbx_support.testing import started

HERE = pathlib.Path(__file__).resolve().parent
PROGRAM = ROOT / "Enclosure" / "qbx-enclosure"
COMMANDS = ("tree", "health", "locate", "loop", "upgrade", "relocate", "metrics", "report")
LIBRARIES = ("pywbem", "rich", "jinja2", "prometheus_client")
WORDS = ["EnumerateClasses", "GetClass", "EnumerateClasses", "GetClass"]
ELEMENTS = ["EnumerateInstances"] * 4 + ["EnumerateInstanceNames"] * 3 + ["EnumerateInstances"]


def table(name):
    return json.loads((HERE / name).read_text(encoding="utf-8"))


def program(*words, **variables):
    """Runs the program away from any terminal."""
    command = [sys.executable, PROGRAM, *words]
    options = {"stdin": subprocess.DEVNULL, "capture_output": True, "text": True}
    return subprocess.run(command, **options, env={**os.environ, **variables}, timeout=300)


def login(url, user="admin"):
    """The URL with a user, each his own password."""
    return url.replace("://", f"://{user}:{user}@")


class Proxy:
    """Passes connections on to a server, and lists the operations that it sees."""

    def __init__(self, url):
        self.socket = socket.create_server(("127.0.0.1", 0))
        self.behind = ("127.0.0.1", int(url.rpartition(":")[2]))
        self.url = login(f"http://127.0.0.1:{self.socket.getsockname()[1]}")
        self.asked = []
        threading.Thread(target=self.serve, daemon=True).start()

    def serve(self):
        while True:
            ends = self.socket.accept()[0], socket.create_connection(self.behind)
            for each in (ends, ends[::-1]):
                threading.Thread(target=self.pass_on, args=each, daemon=True).start()

    def pass_on(self, source, target):
        with contextlib.suppress(OSError):
            while data := source.recv(1 << 20):
                self.asked += re.findall(r"CIMMethod: (\w+)", data.decode("latin-1"))
                target.sendall(data)
            target.shutdown(socket.SHUT_WR)


class Case(unittest.TestCase):
    def lines(self, told, *expected):
        """All lines, one by one."""
        told = told.splitlines()
        for line, wanted in zip(told, expected):
            self.assertRegex(line, f"^{re.escape(wanted)}$".replace(r"\~", ".+"))
        self.assertEqual(len(told), len(expected), told)


class Documents(unittest.TestCase):
    def test_name_every_option(self):
        """The man page and the completion keep up with what the program's help tells."""
        shown = "".join(program(each, "--help").stdout for each in COMMANDS)
        for path in ("Docs/qbx-enclosure.1", "Enclosure/completion/qbx-enclosure"):
            text = (ROOT / path).read_text().replace("\\-", "-")
            told = {*re.findall(r"--[a-z-]+", shown), *COMMANDS}
            self.assertEqual([each for each in sorted(told) if each not in text], [])


class OnSample(Case):
    def setUp(self):
        if "QBX_BUILD" not in os.environ:
            self.skipTest("QBX_BUILD must name the build folder")
        self.server = self.enterContext(Server(os.environ["QBX_BUILD"]))
        self.url = login(self.server.url)

    def serve(self, *changes):
        """Serves the sample array with these changes: [value, key...]."""
        array = json.loads(SAMPLE_ARRAY.read_text())
        for value, *keys, last in changes:
            target = array
            for key in keys:
                target = target[key]
            target[last] = value
        self.server.array.write_text(json.dumps(array))

    def test_tree(self):
        proxy = Proxy(self.server.url)
        expected = (HERE / "tree.txt").read_text(encoding="utf-8").splitlines()
        self.lines(program(proxy.url).stdout, *expected)
        self.assertEqual(proxy.asked, WORDS + ELEMENTS)
        self.assertEqual(len(program(self.url, "--problems").stdout.splitlines()), 5)

    def test_health(self):
        """Each rule once, the limits at their edges."""
        hot, fan = ["cages", 1, "lbod", "sensors", 6], ["cages", 1, "lbod", "sensors", 8]
        mended = [["API_STATE_OK", "cages", 1, "cimState"], [30, *hot, "reading"],
                  [1, *hot, "state"], [5000, *fan, "reading"], [1, *fan, "state"],
                  [False, "cages", 3, "loopSplit"], [False, "cages", 4, "loopSplit"]]  # fmt: skip
        for row in table("health.json"):
            with self.subTest(row["about"]):
                self.serve(*mended, *row.get("change", []))
                done = program(self.url, "health")
                bad = [line for line in row["lines"] if not line.startswith("note")]
                verdict = f"NEEDS ATTENTION: {len(bad)} element~" if bad else "WELL"
                verdict += f", qbx-sim, ~, serial 1000001 | problems={len(bad)};0 cages=7 ~"
                self.lines(done.stdout, verdict, *row["lines"])
                self.assertEqual((done.returncode, done.stderr), (1 if bad else 0, ""))
        self.serve(*mended)
        told = json.loads(program(self.url, "health", "--json").stdout)
        self.assertEqual((told["status"], told["problems"], told["notes"]), ("well", [], []))
        told = program(self.url, "--cage", "cage1", "health").stdout
        self.assertIn("'cage1-sensor6 Exhaust temperature'=30;5:55 'cage1-sensor7 Fan 1 sp", told)
        self.serve([[], "cages"], [[], "cagesPS"])
        done = program(self.url, "health", "--json")
        self.assertIn(" lists no drive cage: ", json.loads(done.stdout)["reason"])

    def test_actions(self):
        for user, words, status, told in table("actions.json"):
            with self.subTest(words):
                words = [str(SAMPLE_FIRMWARE) if each == "FIRMWARE" else each for each in words]
                done = program(login(self.server.url, user), *words)
                last = (done.stderr or done.stdout).splitlines()[-1]
                self.lines(last.removeprefix("qbx-enclosure: "), told)
                self.assertEqual(done.returncode, status)
        tree = program(self.url, "--cage", "cage0").stdout
        for seen in ("cage0  .* at <&>ä  9, .* firmware 6.20", "card0-0 .*[(]locator is on",
                     "! mag0-0 .*<-- loop A: [^;]*$", "! mag0-1 .*<-- loop A: [^;]*  [(]locator"):
            self.assertRegex(tree, f"(?m){seen}")

    def test_metrics(self):
        """Many scrapes, one poll."""
        proxy = Proxy(self.server.url)
        with socket.create_server(("127.0.0.1", 0)) as free:
            place = f"127.0.0.1:{free.getsockname()[1]}"
        command = [sys.executable, PROGRAM, proxy.url, "metrics", "--port", place.partition(":")[2]]
        with subprocess.Popen(command, stdout=subprocess.PIPE, text=True) as process:
            self.assertEqual(process.stdout.readline(), f"ready: http://{place}/metrics\n")
            scrapes = [urllib.request.urlopen(f"http://{place}/metrics").read() for _ in range(5)]
            process.terminate()
        self.assertEqual(proxy.asked, WORDS + ELEMENTS)
        age = [float(re.search(rb"(?m)^qbx_poll_age_seconds (.*)$", each)[1]) for each in scrapes]
        self.assertTrue(0 < age[0] < age[-1] < 60)
        hot = 'cage="cage1",id="cage1-sensor6",sensor="Exhaust temperature",unit="C"'
        for line in ("qbx_up 1.0", f"qbx_sensor_reading{{{hot}}} 58.0",
                     'qbx_problems{cage="cage1"} 3.0', f"qbx_sensor_high_limit{{{hot}}} 55.0"):
            self.assertIn(f"\n{line}\n", scrapes[-1].decode())
        done = program("http://127.0.0.1:1", "metrics", "--once")
        self.assertEqual((done.returncode, done.stdout[-11:]), (2, "qbx_up 0.0\n"))

    def test_errors(self):
        """Each is one line, without a password in it."""
        silent = self.enterContext(socket.create_server(("127.0.0.1", 0))).getsockname()[1]
        web = http.server.HTTPServer(("127.0.0.1", 0), http.server.BaseHTTPRequestHandler)
        web.RequestHandlerClass.log_message = lambda *_: None
        threading.Thread(target=web.serve_forever, daemon=True).start()
        key, cert = self.server.folder / "key", self.server.folder / "cert"
        make = "openssl req -x509 -newkey rsa:2048 -nodes -subj /CN=127.0.0.1 -addext"
        make = [*make.split(), "subjectAltName=IP:127.0.0.1", "-keyout", key, "-out", cert]
        subprocess.run(make, check=True, capture_output=True)
        tls = self.enterContext(started("--no-auth", "--cert", cert, "--key", key))[1]
        places = {"silent": silent, "web": web.server_port, "cert": cert, "tls": tls}
        places["good"] = self.server.port
        for row in table("errors.json"):
            url, words, error = (each.format(**places) for each in row)
            with self.subTest(url=url, words=words):
                done = program(url, *words.split(), "tree")
                self.lines(done.stderr, f"qbx-enclosure: {error}")
                self.assertEqual((done.returncode, done.stdout), (2, ""))
        admin = self.url.replace(":admin@", "@")
        self.assertIn("no password for admin: ", program(admin).stderr)
        self.assertEqual(program(admin, "health", QBX_PASSWORD="admin").returncode, 1)


class OnEveryKind(Case):
    """Names of all sorts, states that nobody knows, elements twice or in no cage: on a server of
    its own, or on the one that QBX_WIRE_URL names."""

    @classmethod
    def setUpClass(cls):
        cls.server = testing.open_server()
        cls.addClassCleanup(cls.server.close)
        cls.url = login(cls.server.url)

    def page(self):
        page = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory())) / "page.html"
        program(self.url, "report", page)
        return page

    def test_texts(self):
        from prometheus_client.parser import text_string_to_metric_families as parsed

        shown = ("tree", "health", "metrics --once")
        told = [program(self.url, *words.split()).stdout for words in shown]
        self.assertTrue(all(line.isprintable() for text in told for line in text.splitlines()))
        samples = [each for family in parsed(told[-1]) for each in family.samples]
        names = {(each.name, *sorted(each.labels.items())) for each in samples}
        self.assertEqual(len(names), len(samples))
        count = {each.labels["kind"]: each.value for each in samples if each.name == "qbx_elements"}
        self.assertEqual(count, {"cage": 11, "magazine": 16, "card": 15, "sensor": 23})
        for line in ("├── ! cage5  DC3, Predictive Failure, ", "loop A 100 Mb/s + ", "no limits",
                     "└── in no cage that is listed", "Lost Communication, ", "O'Neill, left half"):
            self.assertIn(line, told[0])

    def test_report(self):
        """The order of the page, and each part in the drawing of its cage, at its place."""
        text = self.page().read_text(encoding="utf-8")
        self.assertIsNone(re.search(r"(src|href)=|<script|url\(|@import", text))
        titles = ("Needs attention", "Notes", "Drive cages")
        order = [text.index(f"<h2>{each}</h2>") for each in titles]
        self.assertEqual(order, sorted(order))
        drawings = re.findall(r"(?s)\n(<svg viewBox.*?\n</svg>)\s*<table>", text)
        cages = [ElementTree.fromstring(each) for each in drawings]
        self.assertEqual(cages[1].get("aria-label"), "cage1 (Left <DC1> & \"friends'\")")
        self.assertEqual(len(cages), 11)
        parts = cages[0].findall("svg")
        places = [(each.get("x"), each.get("class"), each.findtext("text")) for each in parts[:4]]
        self.assertEqual(places, [("14", "good", "✓ 0:0"), ("130", "bad", "! 0:1"),
                                  ("362", "bad", "! 0:3"), ("14", "bad", "! 0.A")])  # fmt: skip
        lights = [each.get("class") for each in parts[2].findall("g")]
        self.assertEqual(lights, ["lamp G", "lamp A blinks", "lamp L blinks"])
        rows = re.findall(r"<tr[^>]*><td>(\w+)</td><td>[✓!] ", text)
        self.assertEqual((len(rows), rows.count("magazine")), (11 + 16 + 15 + 23, 16))

    def test_browser(self):
        """What is seen: nothing beside the page, no text beyond its box."""
        browser = shutil.which("chromium")
        if not browser:
            self.skipTest("no Chromium to load the page (./qbx setup --browser)")
        page = self.page()
        with page.open("a") as end:
            end.write(f"<script>{(HERE / 'seen.js').read_text()}</script>")
        options = "--headless --no-sandbox --disable-gpu --window-size=1280,1000 --dump-dom".split()
        command = [browser, *options, f"--user-data-dir={page.parent}", page.as_uri()]
        done = subprocess.run(command, capture_output=True, text=True, timeout=120)
        seen = json.loads(re.search("<title>(.*?)</title>", done.stdout)[1])
        self.assertEqual(seen, [True, [], True, 49])


if __name__ == "__main__":
    missing = [each for each in LIBRARIES if not importlib.util.find_spec(each)]
    if missing:
        print(f"SKIPPED: {', '.join(missing)} cannot be imported (./qbx setup; pywbem is pip's)")
        sys.exit(testing.SKIPPED)
    testing.main()
