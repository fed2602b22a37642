"""The server that a test file tests, and how the file is run.

That server is a new one out of QBX_BUILD, or one that runs already, such as OpenPegasus
(./qbx test --server): QBX_WIRE_URL is where that listens, QBX_WIRE_ARRAY the array file that it
serves, QBX_WIRE_INTEROP its interop namespace, QBX_WIRE_CONTROL a command that controls it.
"""

import contextlib
import importlib.util
import os
import pathlib
import re
import shlex
import shutil
import signal
import subprocess
import sys
import tempfile
import unittest

from qbx_support.exchanges import PROBE_SCHEMA
from qbx_support.server import ROOT, Server, program

SKIPPED = 77  # exit status of a test file that cannot run, and of a control command that cannot
ARRAY = ROOT / "Tests" / "Wire" / "array.json"
MODULE = "libQBX_DriveCageProvider.so"


class ExternalServer:
    """The server that QBX_WIRE_URL names."""

    def __init__(self):
        self.url = os.environ["QBX_WIRE_URL"]
        self.array = pathlib.Path(os.environ.get("QBX_WIRE_ARRAY", ARRAY))
        self.interop = os.environ.get("QBX_WIRE_INTEROP", "root/PG_InterOp")

    def control(self, action):
        """Runs the control command; skips the test when it cannot do that."""
        command = shlex.split(os.environ.get("QBX_WIRE_CONTROL", ""))
        if not command:
            raise unittest.SkipTest(f"{action}: needs --control, a command that does that")
        done = subprocess.run([*command, action], stdout=subprocess.DEVNULL, check=False)
        if done.returncode == SKIPPED:
            raise unittest.SkipTest(f"{action}: the control command cannot do that")
        if done.returncode != 0:
            raise AssertionError(f"{command[0]} {action} ended with {done.returncode}")

    def close(self):
        """Nothing: it goes on running."""


class EmbeddedServer(Server):
    """A server out of QBX_BUILD, with a copy of the module."""

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
        """Replaces the module's file by an equal one."""
        os.replace(shutil.copy(self.module, self.module.with_suffix(".new")), self.module)

    def control(self, action):
        """Restarts the server, or replaces its module; skips the test for any other action."""
        if action not in ("restart", "replace"):
            raise unittest.SkipTest(f"{action}: the embedded server cannot do that")
        getattr(self, action)()

    def close(self):
        super().close()
        self.home.cleanup()


def open_server(*options):
    """The server to test; `options` are for the program, when it is the embedded one."""
    return ExternalServer() if "QBX_WIRE_URL" in os.environ else EmbeddedServer(*options)


@contextlib.contextmanager
def started(*options, stop=signal.SIGTERM, log=None):
    """The server program by itself, with the schema of the recorded exchanges; yields its ready
    line, its port and the process. Raises AssertionError when it does not end well."""
    command = [program(os.environ["QBX_BUILD"]), "--port", "0", PROBE_SCHEMA, *options]
    with subprocess.Popen(command, stdout=subprocess.PIPE, stderr=log, text=True) as process:
        try:
            ready = process.stdout.readline()
            yield ready, int(re.search(r":(\d+)/", ready)[1]), process
        finally:
            process.send_signal(stop)
    if process.returncode:
        raise AssertionError(f"the server ended with status {process.returncode}")


class EmbeddedServerTest(unittest.TestCase):
    """A test that starts the embedded server with options of its own: skipped for any other."""

    def setUp(self):
        if "QBX_WIRE_URL" in os.environ:
            self.skipTest("starts the embedded server with options of its own")


def missing(client):
    """Why a client cannot be used, or None."""
    if client == "wbemcli" and not shutil.which("wbemcli"):
        return "wbemcli is not installed (./qbx setup)"
    if client == "pywbem" and not importlib.util.find_spec("pywbem"):
        return "pywbem is not installed (./qbx setup, where pip can reach it)"
    return None


def main(needs=None):
    """Runs the tests of the main module, all or those named as arguments (Class.test_name); exit
    status 77 when a client that they need is missing."""
    if not {"QBX_BUILD", "QBX_WIRE_URL"} & set(os.environ):
        sys.exit("QBX_BUILD must name the build folder whose server is to be tested")
    if reason := missing(needs):
        print(f"SKIPPED: {reason}")
        sys.exit(SKIPPED)
    unittest.main(verbosity=1)
