"""Runs the tests of a module, or says why they cannot run (exit status 77: skipped).

Import this before clients and server: it says where they are. The server under test is a new one
out of QBX_BUILD, or one that somebody else runs, such as OpenPegasus with the module: QBX_WIRE_URL
is where that listens, QBX_WIRE_ARRAY the array file that it serves, QBX_WIRE_INTEROP its interop
namespace. It must know the users of Demo/server.py.
"""

import importlib.util
import os
import pathlib
import shutil
import sys
import unittest

sys.path.append(str(pathlib.Path(__file__).resolve().parents[2] / "Demo"))
from server import Server  # noqa: E402

SKIPPED = 77
ARRAY = pathlib.Path(__file__).resolve().with_name("array.json")


class ForeignServer:
    """The server that QBX_WIRE_URL names."""

    def __init__(self):
        self.url = os.environ["QBX_WIRE_URL"]
        self.array = pathlib.Path(os.environ["QBX_WIRE_ARRAY"])
        self.interop = os.environ.get("QBX_WIRE_INTEROP", "root/PG_InterOp")

    def restart(self):
        raise unittest.SkipTest("the server is not ours to restart")

    def close(self):
        pass


def open_server(*options):
    """The server to test; `options` are for the program, when it is ours to start."""
    if "QBX_WIRE_URL" in os.environ:
        return ForeignServer()
    return Server(os.environ["QBX_BUILD"], *options, array=ARRAY)


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
