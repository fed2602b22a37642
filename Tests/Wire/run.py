"""Runs the tests of a module, or says why they cannot run (exit status 77: skipped).

Import this before clients and server: it says where they are. The server under test is a new one
out of QBX_BUILD, or one that somebody else runs, such as OpenPegasus (./qbx test --server):
QBX_WIRE_URL is where that listens, QBX_WIRE_ARRAY the array file that it serves, QBX_WIRE_INTEROP
its interop namespace, QBX_WIRE_CONTROL a command that does something to it.
"""

import importlib.util
import os
import pathlib
import shlex
import shutil
import subprocess
import sys
import tempfile
import unittest

FOLDER = pathlib.Path(__file__).resolve().parent
sys.path.append(str(FOLDER.parents[1] / "Demo"))
from server import Server  # noqa: E402

SKIPPED = 77
ARRAY = FOLDER / "array.json"
MODULE = "libQBX_DriveCageProvider.so"


class ForeignServer:
    """The server that QBX_WIRE_URL names."""

    def __init__(self):
        self.url = os.environ["QBX_WIRE_URL"]
        self.array = pathlib.Path(os.environ.get("QBX_WIRE_ARRAY", ARRAY))
        self.interop = os.environ.get("QBX_WIRE_INTEROP", "root/PG_InterOp")

    def control(self, action):
        """Has the control command do something to the server."""
        command = shlex.split(os.environ.get("QBX_WIRE_CONTROL", ""))
        if not command:
            raise unittest.SkipTest(f"{action}: the server is not ours, --control would say how")
        done = subprocess.run([*command, action], stdout=subprocess.DEVNULL, check=False)
        if done.returncode == SKIPPED:
            raise unittest.SkipTest(f"{action}: the control command cannot do that")
        if done.returncode != 0:
            raise AssertionError(f"{command[0]} {action} ended with {done.returncode}")

    def close(self):
        pass


class OwnServer(Server):
    """One out of QBX_BUILD, with a copy of the module."""

    def __init__(self, *options):
        self.home = tempfile.TemporaryDirectory(prefix="qbx-module-")
        home, build = pathlib.Path(self.home.name), pathlib.Path(os.environ["QBX_BUILD"]).resolve()
        (home / "bin").symlink_to(build / "bin")
        (home / "lib").mkdir()
        for each in (build / "lib").iterdir():
            (home / "lib" / each.name).symlink_to(each)
        self.module = home / "lib" / MODULE
        self.replace()
        super().__init__(home, *options, array=ARRAY)

    def replace(self):
        os.replace(shutil.copy(self.module, self.module.with_suffix(".new")), self.module)

    def control(self, action):
        if action not in ("restart", "replace"):
            raise unittest.SkipTest(f"{action}: the embedded server cannot do that")
        getattr(self, action)()

    def close(self):
        super().close()
        self.home.cleanup()


def open_server(*options):
    """The server to test; `options` are for the program, when it is ours to start."""
    return ForeignServer() if "QBX_WIRE_URL" in os.environ else OwnServer(*options)


class OwnTest(unittest.TestCase):
    """A test that starts the embedded server its own way."""

    def setUp(self):
        if "QBX_WIRE_URL" in os.environ:
            self.skipTest("starts the embedded server with options of its own")


def missing(client):
    """Why a client cannot be asked, or None."""
    if client == "wbemcli" and not shutil.which("wbemcli"):
        return "wbemcli is not installed (./qbx setup)"
    if client == "pywbem" and not importlib.util.find_spec("pywbem"):
        return "pywbem is not installed (./qbx setup, where pip can reach it)"
    return None


def main(needs=None):
    if not {"QBX_BUILD", "QBX_WIRE_URL"} & set(os.environ):
        sys.exit("QBX_BUILD must name the build folder whose server is to be tested")
    if reason := missing(needs):
        print(f"SKIPPED: {reason}")
        sys.exit(SKIPPED)
    unittest.main(verbosity=1)
