"""Commands for several arrays as a person types them: one that is well, one with the faults of the sample
array, one whose server does not run, and one that never answers."""

import csv
import html
import io
import json
import os
import pathlib
import re
import socket
import subprocess
import sys
import tempfile
import threading
import urllib.parse

from qbx_support.enclosure import GOOD, PROGRAM, Liar, body, browsed, changed, listed, lying, main, run, running
from qbx_support.raw import SECONDS
from qbx_support.server import Server
from qbx_support.testing import Case, Test, cases

REFUSED = "http://127.0.0.1:1: connection refused; check the port, and that the server runs"
FIRMWARE = {"cages.1.lbod.fwVersion": "5.06"}  # one cage of three


class ArraysTest(Test):
    """Tests with a list of three arrays."""

    folder: pathlib.Path
    servers: dict
    urls: dict

    @classmethod
    def setUpClass(cls):
        cls.folder = pathlib.Path(cls.enterClassContext(tempfile.TemporaryDirectory()))
        arrays = {"well": changed(GOOD), "faulty": changed(FIRMWARE)}
        cls.servers = {name: Server(os.environ["QBX_BUILD"], array=array) for name, array in arrays.items()}
        for each in cls.servers.values():
            cls.addClassCleanup(each.close)
        cls.urls = {name: server.url for name, server in cls.servers.items()} | {"dead": "http://127.0.0.1:1"}

    def list(self, more="", **urls):
        """Writes a list of the arrays, more of these URLs, and tables; returns the option that names it."""
        return listed(self.folder, more, **(self.urls | urls))


class Lines(ArraysTest):
    def test_each_array_has_one(self):
        done = run(*self.list(), "arrays")
        head, *lines = [re.split("  +", line) for line in done.stdout.splitlines()]
        self.assertEqual([line[:4] + line[5:] for line in lines], [
            ["well", "well", "0", "74"],
            ["faulty", "attention", "3", "74", "firmware differs: cage DC2 (L) 5.06 (1; usual 5.07)"],
            ["dead", "no answer", "-", "-", REFUSED]])  # fmt: skip
        self.assertRegex(lines[0][4], r"^\d+\.\d s$")
        self.assertEqual((head[0], done.returncode, done.stderr), ("ARRAY", 2, ""))

    @cases(
        Case("array_that_is_well", ["well"], 0),
        Case("faulty_array", ["well", "faulty"], 1),
    )
    def test_status_is_the_worst_of_a(self, names, status):
        done = run(*self.list(), *names, "arrays")
        self.assertEqual(done.returncode, status, done.stdout)

    def test_csv_has_them_in_columns(self):
        rows = csv.DictReader(io.StringIO(run(*self.list(), "arrays", "--csv").stdout))
        found = [(each["array"], each["magazine"], each["needs_attention"]) for each in rows]
        self.assertEqual(found, [("well", "26", "0"), ("faulty", "26", "3"), ("dead", "", "")])

    def test_json_of_the_tree_has_the_properties(self):
        well, faulty = json.loads(run(*self.list(), "well", "faulty", "tree", "--problems", "--json").stdout)["arrays"]
        self.assertEqual(well["elements"], [])
        (hot,) = [each for each in faulty["elements"] if each["name"] == "cage1-sensor6"]
        self.assertEqual(hot["problems"], ["58 °C, above its limit of 55 °C", "state 3"])
        self.assertEqual((hot["cage"], hot["properties"]["HighLimit"], hot["facts"][0]), ("cage1", 55, "58 °C"))

    def test_action_needs_one_array(self):
        done = run(*self.list(), "all", "locate", "cage2")
        message = "qbx-enclosure: locate acts on one array, these are 3; give one of their names\n"
        self.assertEqual((done.returncode, done.stderr), (2, message))


class Check(ArraysTest):
    def check(self, *words, more="", **urls):
        """The exit status and the lines."""
        done = run(*self.list(more, **urls), *words)
        return done.returncode, done.stdout.splitlines()

    def test_names_the_worst_first(self):
        status, lines = self.check("all", "health")
        self.assertEqual(lines[0].split(" | ")[0], "CRITICAL: 3 arrays: 1 critical, 1 unknown, 1 ok")
        self.assertEqual([line.split(",")[0] for line in lines[1:]], [
            "faulty: CRITICAL: 3 elements in 1 cage",
            "faulty: critical: cage1 at Room 2 rack A1 U8: sensor Exhaust temperature: 58 °C",
            "faulty: critical: cage1 at Room 2 rack A1 U8: sensor Fan 2 speed: 1140 rpm",
            "faulty: warning: cage1 at Room 2 rack A1 U8: status is Degraded",
            "faulty: note: cage1 at Room 2 rack A1 U8: others of its type have firmware 5.07",
            "faulty: note: cage3 at Room 2 rack A2 U4 left half: loop is split (one half of a pair)",
            "faulty: note: cage4 at Room 2 rack A2 U4 right half: loop is split (one half of a pair)",
            "dead: UNKNOWN: http://127.0.0.1:1: connection refused; check the port",
            "well: OK: all well"])  # fmt: skip
        self.assertIn(" faulty_problems=3;0 faulty_cages=7 ", lines[0])
        self.assertEqual(status, 2)

    @cases(
        Case("no_answer_critical", "dead", 2, "CRITICAL: http", '[health.severity]\nno_answer = "critical"'),
        Case("reason", "faulty", 2, "CRITICAL: 3",
             '[health.severity]\nreading = "ok"\n"status is Degraded" = "critical"'),
        Case("note", "faulty", 2, "CRITICAL: 5", '[health.severity]\nhalf_split = "warning"'),
        Case("range_of_a_sensor", "well", 1, "WARNING: 3", '[health.readings]\n"5 V rail" = { warning = "6:" }'),
        Case("range_of_a_unit", "well", 2, "CRITICAL: 8", '[health.readings]\n"°C"={ warning="9", critical="27" }'),
    )  # fmt: skip
    def test_table_changes_the(self, name, status, verdict, table):
        actual, lines = self.check(name, "health", more=table)
        self.assertEqual(lines[0][: len(verdict)], verdict)
        self.assertEqual(actual, status)

    @cases(
        Case("unknown_name", "wel health", "UNKNOWN: FOLDER/sites.toml: no array and no group wel; there is well, "),
        Case("unknown_option", "all health --warnings", "UNKNOWN: unrecognized arguments: --warnings; qbx-"),
        Case("unknown_cage", "well health --cage x", "UNKNOWN: no cage x; there is cage0, "),
        Case("missing_list", "--sites none all health", "UNKNOWN: none: No such file or directory"),
    )
    def test_is_unknown_for_a(self, words, message):
        status, lines = self.check(*words.split())
        message = message.replace("FOLDER", str(self.folder))
        self.assertEqual([line[: len(message)] for line in lines], [message])
        self.assertEqual(status, 3)

    def test_ends_in_time(self):
        with socket.create_server(("127.0.0.1", 0)) as silent:
            url = f"http://127.0.0.1:{silent.getsockname()[1]}"
            status, lines = self.check("well", "hung", "health", "--within", "5", hung=url)
        self.assertEqual(lines[1], "hung: UNKNOWN: no answer within 5 s")
        self.assertEqual(lines[2].partition(",")[0], "well: OK: all well")
        self.assertEqual(status, 3)

    def test_csv_has_a_line_for_each_finding(self):
        _, lines = self.check("all", "health", "--csv")
        found = [(each["array"], each["severity"], each["name"]) for each in csv.DictReader(lines)]
        self.assertEqual(len(found), 7)
        self.assertEqual(found[::6], [("faulty", "critical", "cage1-sensor6"), ("dead", "unknown", "")])


class BadArrays(ArraysTest):
    def test_each_costs_a_line_and_the_others_go_on(self):
        """One array never answers, one answers nonsense, the password of one is open to others."""
        silent = self.enterContext(socket.create_server(("127.0.0.1", 0)))
        password, hung = self.folder / "open", f"http://127.0.0.1:{silent.getsockname()[1]}"
        password.write_text("admin")
        password.chmod(0o644)
        nonsense = self.enterContext(lying(self.urls["well"]))
        Liar.lie = body(b"<CIM/>")
        more = f'[array.open]\nurl = "http://a"\npassword_file = "open"\n[array.hung]\nurl = "{hung}"\ntimeout = 1'
        done = run(*self.list(more, nonsense=nonsense), "all", "tree", "--problems")
        self.assertEqual(done.stderr.splitlines(), [
            f"qbx-enclosure: open: {password}: holds a password, and others can use it; chmod o= {password}",
            f"qbx-enclosure: hung: {hung}: no response in time; is it hung? --timeout SECONDS waits longer",
            f"qbx-enclosure: dead: {REFUSED}",
            f"qbx-enclosure: nonsense: {nonsense}: EnumerateClasses QBX_DriveCage: "
            "CIM without MESSAGE/SIMPLERSP/* in the response"])  # fmt: skip
        heads = [line.partition(" ")[0] for line in done.stdout.splitlines() if "qbx-sim" in line]
        self.assertEqual((heads, done.returncode), (["well:", "faulty:"], 2))

    def test_name_without_a_list(self):
        done = run("well", "tree", QBX_SITES="", XDG_CONFIG_HOME=str(self.folder))
        self.assertRegex(done.stderr, "^qbx-enclosure: there is no list that could name well: give --sites .*\n$")


class Pages(ArraysTest):
    def setUp(self):
        self.pages = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory())) / "made" / "pages"
        self.done = run(*self.list(), "all", "report", str(self.pages))
        self.text = {each.name: each.read_text(encoding="utf-8") for each in self.pages.iterdir()}

    def test_there_is_one_for_each_array_that_answers(self):
        self.assertEqual(sorted(self.text), ["array-faulty.html", "array-well.html", "index.html"])
        self.assertEqual((self.done.returncode, self.done.stdout), (2, f"written: {self.pages}/index.html\n"))
        self.assertIn("<td colspan=\"4\">http://127.0.0.1:1: connection refused;", self.text["index.html"])

    def test_every_link_leads_somewhere(self):
        links = [(page, html.unescape(link))
                 for page, text in self.text.items() for link in re.findall('href="(.*?)"', text)]  # fmt: skip
        places = {page: set(re.findall(' id="(.*?)"', text)) for page, text in self.text.items()}
        self.assertIsNone(re.search(r"src=|https?://(?!127\.)|<link|url\(|@import", "".join(self.text.values())))
        wrong = []
        for page, link in links:
            name, _, place = link.partition("#")
            if name not in ("", *self.text) or (place and urllib.parse.unquote(place) not in places[name or page]):
                wrong.append((page, link))
        self.assertEqual(wrong, [])
        self.assertIn(("index.html", "array-faulty.html#cage-cage1"), links)

    def test_search_finds_in_a_browser(self):
        script = pathlib.Path(__file__).with_name("found.js")
        self.assertEqual(browsed(self.pages / "array-faulty.html", script, "#cage-cage3"), {
            "all": 7, "magazine 5:2": ["cage-cage5"], "fan 1140": ["cage-cage1"], "none of these": [],
            "attention": ["cage-cage1"], "open": True})  # fmt: skip


class Changes(ArraysTest):
    def test_each_is_a_line(self):
        server = self.servers["faulty"]
        log, new = server.folder / "module.log", server.folder / "new.json"
        log.write_text("")
        command = [sys.executable, str(PROGRAM), *self.list(), "faulty", "dead", "watch", "--json", "--interval", "1"]
        with running(*command, stdout=subprocess.PIPE, text=True) as process:
            late = threading.Timer(SECONDS, process.kill)  # reading ends then
            late.start()
            self.addCleanup(late.cancel)
            lines = [process.stdout.readline()]
            self.assertLogged(log, "QBX_SensorInDriveCageProvider")  # the first poll has read all properties
            new.write_text(json.dumps(changed(FIRMWARE | {
                "cages.1.cimState": "API_STATE_OK", "cages.1.lbod.sensors.8.reading": 5000,
                "magazines.3.isAbsent": True})))  # fmt: skip
            new.replace(server.array)
            lines += [process.stdout.readline() for _ in range(5)]
        found = [list(json.loads(line).items()) for line in lines]
        self.assertEqual([[value for _, value in each[1:]] for each in found], [
            ["dead", "array", "", "no_answer", None, REFUSED],
            ["faulty", "magazine", "mag0-3", "present", True, False],
            ["faulty", "cage", "cage1", "attention", "status is Degraded", ""],
            ["faulty", "cage", "cage1", "OperationalStatus", "Degraded", "OK"],
            ["faulty", "sensor", "cage1-sensor8", "attention",
             "1140 rpm, below its limit of 3000 rpm; state 3", "state 3"],
            ["faulty", "sensor", "cage1-sensor8", "CurrentReading", 1140, 5000]])  # fmt: skip
        keys = ["time", "array", "kind", "element", "property", "before", "after"]
        self.assertEqual([key for key, _ in found[0]], keys)
        self.assertRegex(found[0][0][1], r"^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d[+-]\d\d:\d\d$")


if __name__ == "__main__":
    main()
