"""The exporter as Prometheus meets it."""

import base64
import concurrent.futures
import contextlib
import gzip
import importlib.util
import io
import json
import os
import pathlib
import re
import shutil
import socket
import ssl
import subprocess
import sys
import tempfile
import threading
import unittest.mock
import urllib.error
import urllib.request

from qbx_support import enclosure
from qbx_support.enclosure import Liar, ServerTest, body, changed, exporting, listed, login, run
from qbx_support.raw import SECONDS
from qbx_support.server import ROOT
from qbx_support.testing import Case, Test, cases, certified

sys.path.insert(0, str(ROOT / "Enclosure"))
from qbx_enclosure import exporter, webconfig
from qbx_enclosure.model import Enclosure
from qbx_enclosure.severity import Rules
from qbx_enclosure.sites import Array

# Operations of each provider while everything is read once; four classes of cages and of cards.
READS = {"DriveCage": 4, "FCALCard": 4, "Magazine": 1, "CageSensor": 1, "FCALCardInDriveCage": 1,
         "MagazineInDriveCage": 1, "SensorInDriveCage": 1}  # fmt: skip
HASH = "$2b$04$hu.ICf0KXqb3dfObt18fveJQRwy.xWNX.0tgOb.g7e/3uR413syE2"  # of "secret"
OTHER = "$2b$04$/PAVOOr/RIgFwLig1fICqe1rpcnv7nv1wRHw/UuVzdXPl.f4lZlqO"  # of "changed"


def basic(password):
    """The header field for a user:password."""
    return f"Basic {base64.b64encode(password.encode()).decode()}"


def get(url, password="", context=None, **fields):
    """The status and the text of a response."""
    fields = {name.replace("_", "-"): value for name, value in fields.items()}
    if password:
        fields["Authorization"] = basic(password)
    try:
        response = urllib.request.urlopen(urllib.request.Request(url, headers=fields), context=context)
    except urllib.error.HTTPError as error:
        response = error
    with response:
        return response.status, response.read().decode()


def names(text):
    """The names of metrics in a text."""
    return {line.partition("{")[0] for line in text.splitlines() if "{" in line}


class Probe(ServerTest):
    def setUp(self):
        self.folder = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory()))

    def test_many_scrapes_make_one_poll(self):
        self.serve(changed({}))
        before = self.operations()
        with exporting("--interval", "86400", *listed(self.folder, a1=self.server.url)) as (url, _):
            with concurrent.futures.ThreadPoolExecutor(8) as pool:
                pages = [text for _, text in pool.map(get, [f"{url}/probe?target=a1"] * 8)]
            pages.append(get(f"{url}/probe?target=a1")[1])
            self.assertEqual(self.operations() - before, READS)
            self.assertNotIn("qbx_up", get(f"{url}/metrics")[1])
            self.assertEqual(json.loads(get(f"{url}/targets")[1])[0]["targets"], ["a1"])
        hot = 'array="a1",cage="cage1",element="cage1-sensor6"'
        for line in (
            'qbx_up{array="a1"} 1.0', 'qbx_problems{array="a1",cage="cage1"} 3.0',
            f'qbx_sensor_temperature_celsius{{{hot},name="Exhaust temperature"}} 58.0',
            f'qbx_sensor_temperature_high_limit_celsius{{{hot},name="Exhaust temperature"}} 55.0',
            f'qbx_needs_attention{{{hot},kind="sensor",name="Exhaust temperature"}} 2.0',
            'qbx_attention_cause{array="a1",cage="cage1",cause="reading",element="cage1-sensor6",kind="sensor"} 1.0',
        ):  # fmt: skip
            self.assertIn(line, pages[0].splitlines())
        self.assertEqual({names(page) == names(pages[0]) for page in pages}, {True})

    def test_array_that_hangs_delays_no_other_and_is_not_polled_twice(self):
        silent = self.enterContext(socket.create_server(("127.0.0.1", 0)))
        urls = {"good": self.server.url, "hung": f"http://127.0.0.1:{silent.getsockname()[1]}"}
        pool = self.enterContext(concurrent.futures.ThreadPoolExecutor())
        with exporting("--interval", "0", *listed(self.folder, **urls)) as (url, process):
            hung = pool.submit(get, f"{url}/probe?target=hung")
            connection = self.enterContext(silent.accept()[0])
            self.assertIn('qbx_up{array="good"} 1.0', get(f"{url}/probe?target=good")[1])
            short = get(f"{url}/probe?target=hung", X_Prometheus_Scrape_Timeout_Seconds="0.5")
            self.assertIn('qbx_up{array="hung"} 0.0', short[1])
            self.assertIn("hung: no result in 0.45 s", process.stderr.readline())
            self.assertFalse(hung.done())
            silent.setblocking(False)
            self.assertRaises(BlockingIOError, silent.accept)
            connection.close()
            self.assertIn('qbx_up{array="hung"} 0.0', hung.result()[1])

    @cases(
        Case("without_target", "/probe", 400, "give one target: /probe?target=NAME; /targets lists them\n"),
        Case("with_two_targets", "/probe?target=a1&target=a1", 400, "give one target: "),
        Case("of_a_target_not_listed", "/probe?target=a%0A2", 404, r"no array a\n2 is served here; "),
        Case("of_a_url", "/probe?target=URL", 404, "no array http://127.0.0.1:"),
        Case("of_another_page", "/probes", 404, "there is /metrics, /probe?target=NAME and /targets\n"),
    )
    def test_refuses_a_request(self, path, status, message):
        before = self.operations()
        with exporting(*listed(self.folder, a1=self.server.url)) as (url, _):
            actual, text = get(url + path.replace("URL", self.server.url))
        self.assertEqual((actual, text[: len(message)], text.count("\n")), (status, message, 1))
        self.assertEqual(self.operations(), before)

    def test_text_file_holds_all_arrays(self):
        file = self.folder / "qbx.prom"
        file.write_text("before")
        arrays = listed(self.folder, a1=self.server.url, a2=self.server.url, dead="http://127.0.0.1:1")
        done = run(*arrays, "metrics", "--once", "--output", str(file))
        self.assertEqual((done.returncode, done.stdout), (2, ""))
        self.assertRegex(done.stderr, "^qbx-enclosure: dead: http://127.0.0.1:1: connection refused; .*\n$")
        up = sorted(line for line in file.read_text().splitlines() if line.startswith("qbx_up"))
        self.assertEqual(up, [f'qbx_up{{array="{name}"}} {value}' for name, value in
                              (("a1", "1.0"), ("a2", "1.0"), ("dead", "0.0"))])  # fmt: skip
        self.assertEqual(sorted(os.listdir(self.folder)), ["password", "qbx.prom", "sites.toml"])

    def test_port_in_use_is_one_line(self):
        place = f"127.0.0.1:{self.server.port}"
        done = run(*listed(self.folder, a1=self.server.url), "metrics", "--port", str(self.server.port))
        self.assertEqual(done.stderr, f"qbx-enclosure: cannot listen on {place}: Address already in use\n")
        self.assertEqual(done.returncode, 2)

    def test_each_name_is_there_once(self):
        from prometheus_client.parser import text_string_to_metric_families as parse

        self.serve(changed(enclosure.ODD | {"cages.1.lbod.sensors.9.type": "X"}))
        text = run(self.url, "metrics", "--once").stdout
        samples = [each for family in parse(text) for each in family.samples]
        found = [(each.name, *sorted(each.labels.items())) for each in samples]
        self.assertEqual(len(set(found)), len(found))
        count = {each.labels["kind"]: each.value for each in samples if each.name == "qbx_elements"}
        self.assertEqual(count, {"cage": 7, "magazine": 25, "card": 14, "sensor": 28})
        self.assertIn('name="5 V rail",unit="X"} 5.0', text)
        if promtool := shutil.which("promtool"):
            done = subprocess.run([promtool, "check", "metrics"], input=text, capture_output=True, text=True)
            self.assertEqual((done.stderr, done.returncode), ("", 0))


class SlowArray(Test):
    def test_is_served_at_the_next_scrape(self):
        done = threading.Event()
        self.enterContext(unittest.mock.patch.object(
            exporter, "examine", lambda _: done.wait() and Enclosure("slow", [], [])))  # fmt: skip
        self.enterContext(contextlib.redirect_stderr(io.StringIO()))
        target = exporter.Target(Array("a1", "http://127.0.0.1:1"), Rules(), 0)
        early = gzip.decompress(target.page(0.1))
        done.set()
        with target.turn:
            self.assertTrue(target.turn.wait_for(lambda: not target.is_polling, SECONDS))
        done.clear()  # the next poll hangs again
        late = gzip.decompress(target.page(0.1))
        self.assertEqual([re.findall(rb"qbx_up\{.*\} (.)", page) for page in (early, late)], [[b"0"], [b"1"]])
        done.set()


class SlowClients(Test):
    @cases(Case("too_many", 3, 86400), Case("too_slow", 256, 0))
    def test_are_cut_off_when(self, most, seconds):
        limits = {"MOST_CONNECTIONS": most, "REQUEST_SECONDS": seconds}
        self.enterContext(unittest.mock.patch.multiple(exporter, **limits))
        self.enterContext(unittest.mock.patch.object(exporter.Handler, "timeout", 86400))
        server = self.enterContext(exporter.Exporter("127.0.0.1", 0, {}, webconfig.WebConfig(None, print), None))
        threading.Thread(target=server.serve_forever, daemon=True).start()
        self.addCleanup(server.shutdown)
        place = "127.0.0.1", server.server_address[1]
        clients = [self.enterContext(socket.create_connection(place, SECONDS)) for _ in range(4)]
        self.assertEqual(clients[0].recv(1), b"")
        if seconds:
            self.assertEqual(get("http://{}:{}/metrics".format(*place))[0], 200)


class LostArray(ServerTest):
    def test_inventory_is_kept(self):
        url = login(self.enterContext(enclosure.lying(self.server.url)))
        with exporting(url, "--interval", "0") as (place, process):
            good = get(f"{place}/metrics")[1]
            Liar.lie = body(b"<CIM/>")
            bad = get(f"{place}/metrics")[1]
            self.assertIn("CIM without MESSAGE/SIMPLERSP/* in the response", process.stderr.readline())
            Liar.lie = None
            self.assertEqual(names(get(f"{place}/metrics")[1]), names(good))
            self.assertIn("answers again", process.stderr.readline())
        lost = names(good) - names(bad)
        self.assertLess({"qbx_sensor_voltage_volts", "qbx_problems", "qbx_needs_attention", "qbx_state_code"}, lost)
        for kept in ("qbx_cage_info{", "qbx_elements{", "qbx_last_success_timestamp_seconds{"):
            self.assertEqual(*([line for line in page.splitlines() if line.startswith(kept)] for page in (good, bad)))


class Web(Test):
    """TLS and users; no array is needed."""

    folder: pathlib.Path

    @classmethod
    def setUpClass(cls):
        cls.folder = pathlib.Path(cls.enterClassContext(tempfile.TemporaryDirectory()))
        certified(cls.folder, "key.pem", "cert.pem")

    def setUp(self):
        if not all(map(importlib.util.find_spec, ("bcrypt", "yaml"))):
            self.skipTest("bcrypt or yaml cannot be imported (./qbx setup)")
        self.file = self.folder / f"{self.id()}.yml"
        self.words = ["--web-config", str(self.file), *listed(self.folder, a1="http://127.0.0.1:1")]

    def write(self, **config):
        tls = {"cert_file": "cert.pem", "key_file": "key.pem"}
        self.file.write_text(json.dumps({"tls_server_config": tls} | config))  # JSON is YAML

    def test_admits_who_knows_a_password(self):
        trusted = ssl.create_default_context(cafile=self.folder / "cert.pem")
        self.write(basic_auth_users={"one": HASH})
        with exporting(*self.words) as (url, process):
            self.assertTrue(url.startswith("https://"), url)

            def statuses(*passwords):
                return [get(f"{url}/probe?target=a1", each, trusted)[0] for each in passwords]

            self.assertEqual(statuses("", "one:", "one:wrong", "one:wrong", "two:secret", "one:secret", "one:secret"),
                             [401] * 5 + [200] * 2)  # fmt: skip
            self.write(basic_auth_users={"one": OTHER})
            self.assertEqual(statuses("one:secret", "one:changed"), [401, 200])
            process.stderr.readline()  # that the array does not answer
            self.write(basic_auth_users={"one": "changed"})
            self.assertEqual(statuses("one:changed"), [200])
            self.assertIn("one: no bcrypt hash; htpasswd", process.stderr.readline())

    def test_hash_is_computed_once(self):
        self.write(basic_auth_users={"one": HASH})
        config = webconfig.WebConfig(str(self.file), print)
        with unittest.mock.patch.object(webconfig, "matches", wraps=webconfig.matches) as computed:
            admitted = [config.admits(basic(f"one:{each}")) for each in ("secret", "secret", "wrong", "wrong")]
        self.assertEqual((admitted, computed.call_count), ([True, True, False, False], 2))
        with concurrent.futures.ThreadPoolExecutor() as pool, config.checking:  # as while a guess is checked
            self.assertTrue(pool.submit(config.admits, basic("one:secret")).result(SECONDS))

    @cases(
        Case("text_that_is_no_yaml", "[", "is no YAML: while parsing"),
        Case("list", "[]", "the file is no table"),
        Case("unknown_key", "{tls: {}}", "tls: unknown key; there is tls_server_config, basic_auth_users"),
        Case("certificate_without_key", "{tls_server_config: {cert_file: cert.pem}}", "has no cert_file, or no key"),
        Case("missing_key", "{tls_server_config: {cert_file: cert.pem, key_file: none}}", "none: No such file"),
        Case("certificate_as_key", "{tls_server_config: {cert_file: cert.pem, key_file: cert.pem}}", "do not fit: "),
        Case("verification_without_authority", "{tls_server_config: {cert_file: cert.pem, key_file: key.pem, "
             "client_auth_type: RequireAndVerifyClientCert}}", "client_auth_type is NoClientCert, or"),
        Case("password_for_hash", "{basic_auth_users: {one: secret}}", "basic_auth_users one: no bcrypt hash"),
    )  # fmt: skip
    def test_refuses_a(self, content, message):
        self.file.write_text(content)
        done = run(*self.words, "metrics")
        self.assertRegex(done.stderr, "^qbx-enclosure: .*\n$")
        self.assertIn(message, done.stderr)
        self.assertEqual(done.returncode, 2)


if __name__ == "__main__":
    enclosure.main()
