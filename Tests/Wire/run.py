"""Runs the tests of a module, or says why they cannot run (exit status 77: skipped)."""

import importlib.util
import os
import pathlib
import shutil
import sys
import unittest

SKIPPED = 77
sys.path.append(str(pathlib.Path(__file__).resolve().parents[2] / "Demo"))  # server, clients


def skip(reason):
    print(f"SKIPPED: {reason}")
    sys.exit(SKIPPED)


def main(needs_wbemcli=False, needs_pywbem=False):
    if not {"QBX_BUILD", "QBX_WIRE_URL"} & set(os.environ):
        sys.exit("QBX_BUILD must name the build folder whose server is to be tested")
    if needs_wbemcli and not shutil.which("wbemcli"):
        skip("wbemcli is not installed (./qbx setup)")
    if needs_pywbem and not importlib.util.find_spec("pywbem"):
        skip("pywbem is not installed (./qbx setup, where pip can reach it)")
    unittest.main(verbosity=1)
