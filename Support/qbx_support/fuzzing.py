"""Runs the fuzz targets and says what they found: what `./qbx fuzz` calls."""

import argparse
import pathlib
import re
import subprocess
import sys

from qbx_support.server import ROOT

FOLDER = ROOT / "Fuzz"
TARGETS = ("array", "cimxml", "http", "mof", "text")


def positive(text):
    number = int(text)
    if not 1 <= number <= 10_000:
        raise argparse.ArgumentTypeError(f"{text} is not a number from 1 to 10000")
    return number


def parse_arguments():
    parser = argparse.ArgumentParser(
        prog="qbx fuzz",
        usage="./qbx fuzz [TARGET...] [--minutes N]",
        description="Looks for inputs that break something (libFuzzer under AddressSanitizer, with leak detection, "
        "and UndefinedBehaviorSanitizer), starting from Fuzz/corpus, seeds made of the tests, and what earlier runs "
        "kept. Exit status 1 when anything was found. To run an input again: build/fuzz/bin/fuzz_TARGET FILE. When "
        "its fault is mended, the input goes into Fuzz/corpus/TARGET.",
    )
    parser.add_argument("targets", nargs="*", metavar="TARGET", help=f"any of {' '.join(TARGETS)} (default: all)")
    parser.add_argument("--minutes", type=positive, default=2, help="how long each target runs (default 2)")
    parser.add_argument("--build", type=pathlib.Path, required=True, help=argparse.SUPPRESS)
    options = parser.parse_args()
    for target in options.targets:
        if target not in TARGETS:
            parser.error(f"no target '{target}': choose from {' '.join(TARGETS)}")
    return options


def run(target, build, minutes):
    """Runs one target; returns whether it found nothing, and a line on it."""
    kept, findings, log = build / "corpus" / target, build / "findings" / target, build / f"{target}.log"
    seeds = build / "seeds" / target
    for folder in (kept, findings):
        folder.mkdir(parents=True, exist_ok=True)
    command = [
        build / "bin" / f"fuzz_{target}",
        f"-dict={seeds}.dict",
        f"-artifact_prefix={findings}/",
        "-timeout=20",
        f"-max_total_time={60 * minutes}",
        "-print_final_stats=1",
        kept,
        FOLDER / "corpus" / target,
        seeds,
    ]
    with log.open("wb") as output:
        status = subprocess.run(command, stdout=output, stderr=output, check=False).returncode
    text = log.read_text(errors="replace")
    runs = re.search(r"^stat::number_of_executed_units: *(\d+)", text, re.MULTILINE)
    places = re.findall(r" cov: (\d+)", text)
    count = f"{runs[1] if runs else 0} runs, {places[-1] if places else 0} places reached"
    found = "nothing found" if status == 0 else f"FOUND something: see {log} and {findings}"
    return status == 0, f"{target}: {count}, {found}"


def main():
    options = parse_arguments()
    subprocess.run([sys.executable, "-m", "qbx_support.fuzz_seeds", options.build / "seeds"], check=True)
    results = []
    for target in options.targets or TARGETS:
        print(f"fuzz: {target}, {options.minutes} minutes", flush=True)
        results.append(run(target, options.build, options.minutes))
    print("\n".join(line for _, line in results))
    return 0 if all(good for good, _ in results) else 1


if __name__ == "__main__":
    sys.exit(main())
