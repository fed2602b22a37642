"""Measures the exporter of qbx-enclosure with many arrays, scraped by Debian's Prometheus with the project's
sample configuration and rules. Some arrays are embedded servers; the others are one small server that
repeats an embedded one's responses, so that their processor time does not count.

  python -m Bench.exporter --build build/release [--arrays N] [--servers N] [--magazines N] [--minutes N]
"""

import argparse
import contextlib
import http.server
import multiprocessing
import pathlib
import shutil
import subprocess
import sys
import tempfile
import time
import urllib.request

from qbx_support import arrays
from qbx_support.enclosure import MONITORING, exporting, free_place, listed, queried, running
from qbx_support.server import Server

FIGURES = {
    "arrays that answer": "sum(qbx_up)",
    "time of a poll, median, s": "quantile(0.5, qbx_probe_duration_seconds)",
    "time of a poll, longest, s": "max(qbx_probe_duration_seconds)",
    "exporter, processor time, s/min": 'rate(process_cpu_seconds_total{job="qbx-exporter"}[2m]) * 60',
    "exporter, memory, MB": 'process_resident_memory_bytes{job="qbx-exporter"} / 1e6',
    "Prometheus, processor time, s/min": 'rate(process_cpu_seconds_total{job="prometheus"}[2m]) * 60',
    "Prometheus, memory, MB": 'process_resident_memory_bytes{job="prometheus"} / 1e6',
    "series of an array": "count({__name__=~'qbx_.*'}) / count(qbx_up)",
    "series of all": "prometheus_tsdb_head_series",
}


class Repeater(http.server.BaseHTTPRequestHandler):
    """Gives each request the response that the embedded server gave to the first such one."""

    url = ""
    kept: dict[bytes, bytes] = {}  # noqa: RUF012  # by request

    def do_POST(self):
        body = self.rfile.read(int(self.headers["Content-Length"]))
        if body not in self.kept:
            request = urllib.request.Request(f"{self.url}/cimom", body, dict(self.headers))
            with urllib.request.urlopen(request) as response:
                self.kept[body] = response.read()
        self.send_response(200)
        self.send_header("Content-Type", "application/xml")
        self.end_headers()
        with contextlib.suppress(ConnectionError):
            self.wfile.write(self.kept[body])

    def log_message(self, *_):
        """Nothing."""


def repeat(url, port):
    """A process that repeats a server's responses."""
    Repeater.url = url
    http.server.ThreadingHTTPServer(("127.0.0.1", port), Repeater).serve_forever()


def measure(options, folder, keep):
    """Starts everything, waits, and prints the figures."""
    content = arrays.large(options.magazines)
    urls = [keep(Server(options.build, array=content)).url for _ in range(options.servers)]
    repeater = free_place()
    process = multiprocessing.Process(target=repeat, args=(urls[0], int(repeater.partition(":")[2])), daemon=True)
    process.start()
    urls += [f"http://{repeater}"] * (options.arrays - options.servers)
    arrays_of = {f"a{number}": url for number, url in enumerate(urls)}
    exports, _ = keep(exporting(*listed(folder, **arrays_of), stderr=None))
    place = free_place()
    own = f"  - job_name: prometheus\n    static_configs: [{{targets: ['{place}']}}]\n"
    sample = (MONITORING / "prometheus.yml").read_text().replace("127.0.0.1:9988", exports.removeprefix("http://"))
    sample = sample.replace("/usr/share/qbx/enclosure/monitoring", str(MONITORING))
    (folder / "prometheus.yml").write_text(sample + own)
    keep(running("prometheus", f"--config.file={folder}/prometheus.yml", f"--storage.tsdb.path={folder}/data",
                 f"--web.listen-address={place}", stderr=subprocess.DEVNULL))  # fmt: skip
    time.sleep(60 * options.minutes)  # as many scrapes of each
    for name, expression in FIGURES.items():
        result = queried(place, expression)
        print(f"{name:36} {float(result[0]['value'][1]) if result else float('nan'):10.2f}")


def main():
    parser = argparse.ArgumentParser(prog="python -m Bench.exporter", description=__doc__)
    parser.add_argument("--build", type=pathlib.Path, required=True)
    for name, usual in (("arrays", 100), ("servers", 10), ("magazines", 1000), ("minutes", 4)):
        parser.add_argument(f"--{name}", type=int, default=usual)
    options = parser.parse_args()
    if not shutil.which("prometheus"):
        sys.exit("Prometheus is not installed: ./qbx setup --prometheus")
    with contextlib.ExitStack() as stack:
        folder = stack.enter_context(tempfile.TemporaryDirectory())
        measure(options, pathlib.Path(folder), stack.enter_context)


if __name__ == "__main__":
    main()
