"""Says in a few lines how a ctest run ended, from its JUnit file.

  summary.py NAME FILE

The first line is the numbers of passed, failed and skipped tests alone. Then comes "NAME: N passed,
N failed, N skipped", the reasons of skipped tests, and the end of the output of failed ones. A result
file that is missing or empty counts as one failed test.
"""

import re
import sys
import xml.etree.ElementTree as ElementTree

MAX_FAILED_SHOWN = 5
MAX_OUTPUT_LINES = 40


def read(path):
    """(name, output) of the tests that passed, failed and were skipped."""
    passed: list = []
    failed: list = []
    skipped: list = []
    try:
        cases = list(ElementTree.parse(path).iter("testcase"))
    except (OSError, ElementTree.ParseError) as error:
        return [], [("ctest", f"no result file: {error}")], []
    for case in cases:
        kinds = {"fail": failed, "notrun": skipped, "disabled": skipped}
        kind = kinds.get(case.get("status", ""), passed)
        kind.append((case.get("name"), (case.findtext("system-out") or "").strip()))
    if not cases:
        failed.append(("ctest", "no test was run"))
    return passed, failed, skipped


def reason(output):
    """Why a test was skipped: the line that says so, or what stands after GoogleTest's mark."""
    match = re.search(r"(?:^(?:SKIPPED|skipped): *|: Skipped\n)(.+)$", output, re.MULTILINE)
    return match.group(1) if match else "no reason given"


def main(name, path):
    passed, failed, skipped = read(path)
    print(len(passed), len(failed), len(skipped))
    print(f"{name}: {len(passed)} passed, {len(failed)} failed, {len(skipped)} skipped")
    for test, output in skipped:
        print(f"  skipped {test}: {reason(output)}")
    for test, output in failed[:MAX_FAILED_SHOWN]:
        print(f"  failed {test}:")
        for line in output.splitlines()[-MAX_OUTPUT_LINES:]:
            print(f"    {line}")
    if len(failed) > MAX_FAILED_SHOWN:
        print("  also failed: " + ", ".join(test for test, _ in failed[MAX_FAILED_SHOWN:]))


if __name__ == "__main__":
    main(*sys.argv[1:])
