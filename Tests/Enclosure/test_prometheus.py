"""The files of Enclosure/monitoring with the programs of Debian that they are for: Prometheus scrapes two
arrays through the exporter and alerts, node_exporter gives what was written into text files."""

import importlib.util
import json
import os
import pathlib
import re
import shutil
import sys
import tempfile
import unittest
import urllib.request

from qbx_support import enclosure, testing
from qbx_support.enclosure import GOOD, MONITORING, changed, exporting, listed, queried, running
from qbx_support.server import Server
from qbx_support.testing import Test, certified, must
from test_metrics import HASH

FAULT = {"cages.1.lbod.sensors.6.reading": 60, "cages.1.cimState": "API_STATE_DEGRADED"}
UNITS = {"cages.1.lbod.sensors.9.type": "A", "cages.2.lbod.sensors.9.type": "W"}  # each panel has a reading


def lacking(programs):
    """Those that are not installed."""
    return ", ".join(each for each in programs if not shutil.which(each))


class EngineTest(Test):
    """Tests that need programs of Debian."""

    programs: tuple[str, ...] = ()
    folder: pathlib.Path

    @classmethod
    def setUpClass(cls):
        if missing := lacking(cls.programs):
            raise unittest.SkipTest(f"{missing} not installed (./qbx setup --prometheus)")
        cls.folder = pathlib.Path(cls.enterClassContext(tempfile.TemporaryDirectory()))


class Files(EngineTest):
    programs = ("promtool",)

    def test_alert_rules_pass_their_unit_tests(self):
        for each in (*MONITORING.glob("qbx-*.yml"), pathlib.Path(__file__).with_name("alerts.yml")):
            shutil.copy(each, self.folder)
        must("promtool", "test", "rules", self.folder / "alerts.yml")

    def test_web_configuration_is_that_of_prometheus_exporters(self):
        certified(self.folder, "exporter.key", "exporter.pem")
        shutil.copy(MONITORING / "web-config.yml", self.folder)
        must("promtool", "check", "web-config", self.folder / "web-config.yml")


class Alertmanager(EngineTest):
    programs = ("amtool",)

    def test_critical_alerts_go_to_who_is_on_call(self):
        file = MONITORING / "alertmanager.yml"
        must("amtool", "check-config", file)
        routes = ["amtool", "config", "routes", "test", f"--config.file={file}", "alertname=QbxNeedsAttention"]
        receivers = [must(*routes, f"severity={each}").split()[-1] for each in ("critical", "warning")]
        self.assertEqual(receivers, ["on-call", "storage"])


class NodeExporter(EngineTest):
    programs = ("prometheus-node-exporter",)

    def test_text_files_of_several_arrays_are_served_together(self):
        with Server(os.environ["QBX_BUILD"]) as server:
            for name in ("a1", "a2"):
                file = str(self.folder / f"{name}.prom")
                enclosure.run(*listed(self.folder, **{name: server.url}), "metrics", "--once", "--output", file)
        place = enclosure.free_place()
        options = ("--collector.disable-defaults", "--collector.textfile", f"--web.listen-address={place}")
        directory = f"--collector.textfile.directory={self.folder}"

        def served():
            text = urllib.request.urlopen(f"http://{place}/metrics").read().decode()
            return re.findall(r"^(?:qbx_up|qbx_problems\{.*cage1|node_textfile_scrape_error).*$", text, re.MULTILINE)

        with running(*self.programs, "--log.level=error", *options, directory):
            self.assertSoon(["node_textfile_scrape_error 0", 'qbx_problems{array="a1",cage="cage1"} 3',
                         'qbx_problems{array="a2",cage="cage1"} 3', 'qbx_up{array="a1"} 1', 'qbx_up{array="a2"} 1'],
                        served)  # fmt: skip


class Prometheus(EngineTest):
    programs = ("prometheus", "promtool")

    def setUp(self):
        if not all(map(importlib.util.find_spec, ("bcrypt", "yaml"))):
            self.skipTest("bcrypt or yaml cannot be imported (./qbx setup)")

    def configured(self, exporter):
        """Writes the sample's configuration for an exporter with TLS and a password, every second."""
        import yaml

        config = yaml.safe_load((MONITORING / "prometheus.yml").read_text().replace("127.0.0.1:9988", exporter))
        del config["alerting"]
        config["global"] = {"scrape_interval": "2s", "scrape_timeout": "2s", "evaluation_interval": "1s"}
        config["rule_files"] = [pathlib.Path(each).name for each in config["rule_files"]]
        arrays, itself = config["scrape_configs"]
        for each in (arrays, itself, *arrays["http_sd_configs"]):
            if "url" in each:
                each["url"] = each["url"].replace("http:", "https:")
            else:
                each["scheme"] = "https"
            each["tls_config"] = {"ca_file": "cert.pem"}
            each["basic_auth"] = {"username": "one", "password": "secret"}
        (self.folder / "prometheus.yml").write_text(yaml.safe_dump(config))
        for each in MONITORING.glob("qbx-*.yml"):
            (self.folder / each.name).write_text(re.sub(r"for: \w+", "for: 0s", each.read_text()))

    def alerts(self):
        """The alerts that fire: (name, severity, array, element)."""
        names = ("alertname", "severity", "array", "element")
        found = queried(self.place, 'ALERTS{alertstate="firing"}')
        return sorted(tuple(each["metric"].get(name, "") for name in names) for each in found)

    def test_alert_fires_and_ends(self):
        build, keep = os.environ["QBX_BUILD"], self.enterContext
        good, faulty = (keep(Server(build, array=changed(GOOD | UNITS))) for _ in range(2))
        certified(self.folder, "key.pem", "cert.pem")
        web = {"tls_server_config": {"cert_file": "cert.pem", "key_file": "key.pem"}, "basic_auth_users": {"one": HASH}}
        (self.folder / "web.yml").write_text(json.dumps(web))
        arrays = listed(self.folder, good=good.url, faulty=faulty.url, dead="http://127.0.0.1:1")
        url, _ = keep(exporting("--interval", "0", "--web-config", str(self.folder / "web.yml"), *arrays))
        self.configured(url.removeprefix("https://"))
        must("promtool", "check", "config", self.folder / "prometheus.yml")
        self.place = enclosure.free_place()
        keep(running("prometheus", "--log.level=error", f"--config.file={self.folder / 'prometheus.yml'}",
                     f"--storage.tsdb.path={self.folder / 'data'}", f"--web.listen-address={self.place}"))  # fmt: skip
        dead = ("QbxArrayNotAnswering", "critical", "dead", "")
        self.assertSoon([dead], self.alerts)

        faulty.array.write_text(json.dumps(changed(GOOD | UNITS | FAULT)))
        attention = [("QbxNeedsAttention", "critical", "faulty", "cage1-sensor6"),
                     ("QbxNeedsAttention", "warning", "faulty", "cage1")]  # fmt: skip
        self.assertSoon([dead, *attention], self.alerts)
        for panel in json.loads((MONITORING / "qbx-dashboard.json").read_text())["panels"]:
            for target in panel["targets"]:
                expression = re.sub(r"\$(array|cage)", ".*", target["expr"])
                self.assertTrue(queried(self.place, expression), f"{panel['title']}: no data for {expression}")

        faulty.array.write_text(json.dumps(changed(GOOD | UNITS)))
        self.assertSoon([dead], self.alerts)


if __name__ == "__main__":
    if lacking(["promtool"]) and lacking(["amtool"]) and lacking(["prometheus-node-exporter"]):
        print("SKIPPED: Prometheus is not installed (./qbx setup --prometheus)")
        sys.exit(testing.SKIPPED)
    enclosure.main()
