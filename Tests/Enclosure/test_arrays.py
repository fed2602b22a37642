"""Commands for several arrays as a person types them: one that is well, one with the faults of the sample
array, one whose server does not run, and one that never answers."""

import csv
import html
import importlib.util
import io
import json
import os
import pathlib
import re
import shutil
import socket
import socketserver
import subprocess
import sys
import tempfile
import threading
import urllib.parse

from qbx_support import testing
from qbx_support.raw import SECONDS
from qbx_support.server import Server
from qbx_support.testing import Case, Test, cases
from test_enclosure import GOOD, HERE, LIBRARIES, PROGRAM, LyingServer, body, changed, run

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
        (cls.folder / "password").write_text("admin\n")
        (cls.folder / "password").chmod(0o600)

    def list(self, more="", **urls):
        """Writes a list of the arrays, more of these URLs, and tables; returns the option that names it."""
        text = f'{more}\n[defaults]\nuser = "admin"\npassword_file = "password"\n'
        for name, url in (self.urls | urls).items():
            text += f'[array.{name}]\nurl = "{url}"\ngroup = "{"live" if name in self.servers else "lost"}"\n'
        file = self.folder / "sites.toml"
        file.write_text(text)
        return "--sites", str(file)


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
        Case("group_with_a_fault", ["live"], 1),
        Case("dead_array", ["dead", "well"], 2),
    )
    def test_status_is_the_worst_of_a(self, names, status):
        done = run(*self.list(), *names, "arrays")
        self.assertEqual(done.returncode, status, done.stdout)

    def test_csv_has_them_in_columns(self):
        rows = csv.DictReader(io.StringIO(run(*self.list(), "arrays", "--csv").stdout))
        found = [(each["array"], each["magazine"], each["needs_attention"]) for each in rows]
        self.assertEqual(found, [("well", "26", "0"), ("faulty", "26", "3"), ("dead", "", "")])

    def test_json_of_the_tree_has_the_properties(self):
        well, faulty = json.loads(run(*self.list(), "live", "tree", "--problems", "--json").stdout)["arrays"]
        self.assertEqual(well["elements"], [])
        (hot,) = [each for each in faulty["elements"] if each["name"] == "cage1-sensor6"]
        self.assertEqual(hot["problems"], ["58 °C, above its limit of 55 °C", "state 3"])
        self.assertEqual((hot["cage"], hot["properties"]["HighLimit"], hot["facts"][0]), ("cage1", 55, "58 °C"))

    def test_trees_name_their_array(self):
        done = run(*self.list(), "all", "tree", "--problems")
        heads = [line.partition(" ")[0] for line in done.stdout.splitlines() if "qbx-sim" in line]
        self.assertEqual(heads, ["well:", "faulty:"])
        self.assertRegex(done.stderr, "^qbx-enclosure: dead: http://127.0.0.1:1: connection refused; .*\n$")

    def test_action_needs_one_array(self):
        done = run(*self.list(), "live", "locate", "cage2")
        message = "qbx-enclosure: locate acts on one array, these are 2; give one of their names\n"
        self.assertEqual((done.returncode, done.stderr), (2, message))
        self.assertEqual(run(*self.list(), "well", "locate", "cage2").stdout, "cage2: locator on for 60 s\n")


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
        Case("cause", "faulty", 1, "WARNING: 3", '[health.severity]\nreading = "warning"'),
        Case("reason", "faulty", 2, "CRITICAL: 3",
             '[health.severity]\nreading = "ok"\n"status is Degraded" = "critical"'),
        Case("note", "faulty", 2, "CRITICAL: 5", '[health.severity]\nhalf_split = "warning"'),
        Case("range_of_a_sensor", "well", 1, "WARNING: 3", '[health.readings]\n"5 V rail" = { warning = "6:" }'),
        Case("range_of_a_unit", "well", 2, "CRITICAL: 8", '[health.readings]\n"°C"={ warning="9", critical="27" }'),
        Case("count", "faulty", 0, "OK: 3 el", '[health]\nwarning_from = 4\n[health.severity]\nreading = "warning"'),
    )  # fmt: skip
    def test_table_changes_the(self, name, status, verdict, table):
        actual, lines = self.check(name, "health", more=table)
        self.assertEqual(lines[0][: len(verdict)], verdict)
        self.assertEqual(actual, status)

    @cases(
        Case("dead_array", "dead health", "UNKNOWN: http://127.0.0.1:1: connection refused; check the port,"),
        Case("unknown_name", "wel health", "UNKNOWN: FOLDER/sites.toml: no array and no group wel; there is well, "),
        Case("unknown_option", "all health --warnings", "UNKNOWN: unrecognized arguments: --warnings; qbx-"),
        Case("unknown_cage", "well health --cage x", "UNKNOWN: no cage x; there is cage0, "),
        Case("missing_list", "--sites none all health", "UNKNOWN: none: No such file or directory"),
        Case("missing_password_file", "well health --password-file none", "UNKNOWN: none: No such file or directory"),
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
        rows = list(csv.DictReader(lines))
        self.assertEqual([each["array"] for each in rows], ["faulty"] * 6 + ["dead"])
        self.assertEqual(rows[0] | {"reasons": ""}, {
            "array": "faulty", "severity": "critical", "kind": "sensor", "name": "cage1-sensor6",
            "label": "Exhaust temperature", "cage": "cage1", "location": "Room 2 rack A1 U8",
            "reasons": ""})  # fmt: skip


class BadArrays(ArraysTest):
    """One costs a line; the others go on."""

    @cases(
        Case("does_not_run", "http://127.0.0.1:1", "bad: http://127.0.0.1:1: connection refused; check"),
        Case("never_answers", "http://SILENT", "bad: http://SILENT: no response in time; is it hung?"),
        Case("answers_nonsense", "http://NONSENSE", "bad: http://NONSENSE: EnumerateClasses QBX_DriveCage: CIM w"),
        Case("has_no_module", "http://NOWHERE.invalid", "bad: http://NOWHERE.invalid: unknown host; check the name"),
    )
    def test_is_one_that(self, url, message):
        LyingServer.url, LyingServer.lie = f"{self.urls['well']}/cimom", body(b"<CIM/>")
        liar = self.enterContext(socketserver.ThreadingTCPServer(("127.0.0.1", 0), LyingServer))
        threading.Thread(target=liar.serve_forever, daemon=True).start()
        self.addCleanup(liar.shutdown)
        silent = self.enterContext(socket.create_server(("127.0.0.1", 0)))
        for name, server in (("SILENT", silent.getsockname()), ("NONSENSE", liar.server_address)):
            url, message = (each.replace(name, f"127.0.0.1:{server[1]}") for each in (url, message))
        words = ["well", "bad", "tree", "--problems", "--timeout", "2" if "time" in message else "600"]
        done = run(*self.list(bad=url), *words)
        self.assertRegex(done.stderr, f"^qbx-enclosure: {re.escape(message)}.*\n$")
        self.assertEqual((done.returncode, done.stdout.partition(":")[0]), (2, "well"))

    def test_password_file_of_one_is_open_to_others(self):
        path = self.folder / "open"
        path.write_text("admin")
        path.chmod(0o644)
        more = f'[array.open]\nurl = "{self.urls["faulty"]}"\nuser = "admin"\npassword_file = "open"'
        done = run(*self.list(more), "well", "open", "arrays")
        lines = done.stdout.splitlines()
        self.assertIn("well", lines[2])
        self.assertRegex(lines[1], f" {path}: holds a password, and others can use it; chmod o= {path}$")

    @cases(
        Case("unknown_name", ["wel", "tree"], "sites.toml: no array and no group wel; there is well, faulty, dead"),
        Case("url_and_a_name", ["http://a", "well", "tree"], "error: there are a URL and well; give a URL, or names"),
        Case("name_behind_the_command", ["tree", "well"], "error: unrecognized arguments: well"),
    )
    def test_command_line_is_refused_for_a(self, words, message):
        done = run(*self.list(), *words)
        self.assertIn(message, done.stderr.splitlines()[-1])
        self.assertEqual((done.returncode, done.stdout), (2, ""))

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
        browser = shutil.which("chromium")
        if not browser:
            self.skipTest("no Chromium to load the page (./qbx setup --browser)")
        page = self.pages / "array-faulty.html"
        with page.open("a") as end:
            end.write(f"<script>{(HERE / 'found.js').read_text()}</script>")
        options = ["--headless", "--no-sandbox", "--disable-gpu", "--dump-dom", f"--user-data-dir={self.pages.parent}"]
        command = [browser, *options, f"{page.as_uri()}#cage-cage3"]
        done = subprocess.run(command, capture_output=True, text=True, timeout=1200)
        seen, *_ = re.findall("<title>(.*?)</title>", done.stdout)
        self.assertEqual(json.loads(html.unescape(seen)), {
            "all": 7, "magazine 5:2": ["cage-cage5"], "fan 1140": ["cage-cage1"], "none of these": [],
            "attention": ["cage-cage1"], "open": True})  # fmt: skip


class Changes(ArraysTest):
    def test_each_is_a_line(self):
        server = self.servers["faulty"]
        log, new = server.folder / "module.log", server.folder / "new.json"
        log.write_text("")
        command = [sys.executable, str(PROGRAM), *self.list(), "faulty", "dead", "watch", "--json", "--interval", "1"]
        with subprocess.Popen(command, stdout=subprocess.PIPE, text=True) as process:
            assert process.stdout
            late = threading.Timer(SECONDS, process.kill)  # reading ends then
            late.start()
            self.addCleanup(late.cancel)
            self.addCleanup(process.kill)
            lines = [process.stdout.readline()]
            self.assertLogged(log, "QBX_SensorInDriveCageProvider")  # the first poll has read all properties
            new.write_text(json.dumps(changed(FIRMWARE | {
                "cages.1.cimState": "API_STATE_OK", "cages.1.lbod.sensors.8.reading": 5000,
                "magazines.3.isAbsent": True})))  # fmt: skip
            new.replace(server.array)
            lines += [process.stdout.readline() for _ in range(5)]
            process.terminate()
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
    missing = [each for each in LIBRARIES if not importlib.util.find_spec(each)]
    if missing:
        print(f"SKIPPED: {', '.join(missing)} cannot be imported (./qbx setup)")
        sys.exit(testing.SKIPPED)
    testing.main()
