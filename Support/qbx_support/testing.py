"""The server that a test file tests, and how the file is run.

That server is a new one out of QBX_BUILD, or one that runs already, such as OpenPegasus
(./qbx test --server): QBX_WIRE_URL is where that listens, QBX_WIRE_ARRAY the array file that it
serves, QBX_WIRE_INTEROP its interop namespace, QBX_WIRE_CONTROL a command that controls it. Both
serve the array of odd_array.
"""

import collections
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
import time
import unittest
import urllib.error

from qbx_support import odd_array
from qbx_support.exchanges import PROBE_SCHEMA
from qbx_support.raw import SECONDS
from qbx_support.server import Server, program

__unittest = True  # tracebacks of failures leave out what is here

SKIPPED = 77  # exit status of a test file that cannot run, and of a control command that cannot
MODULE = "libQBX_DriveCageProvider.so"


class ExternalServer:
    """The server that QBX_WIRE_URL names."""

    def __init__(self):
        self.url = os.environ["QBX_WIRE_URL"]
        array = os.environ.get("QBX_WIRE_ARRAY")
        self.array = pathlib.Path(array) if array else None
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
        for each in ("bin", "Schema"):
            (home / each).symlink_to(build / each)
        (home / "lib").mkdir()
        for library in (build / "lib").iterdir():
            (home / "lib" / library.name).symlink_to(library)
        self.module = home / "lib" / MODULE
        self.replace()
        super().__init__(home, *options, array=odd_array.contents())

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
    line, its port and the process. Its log goes to `log`, a file. Raises AssertionError when it does
    not start, or ends with another exit status than 0."""
    command = [program(os.environ["QBX_BUILD"]), "--port", "0", PROBE_SCHEMA, *options]
    with contextlib.ExitStack() as stack:
        own = stack.enter_context(tempfile.TemporaryFile("w+")) if log is None else None
        process = stack.enter_context(
            subprocess.Popen(command, stdout=subprocess.PIPE, stderr=own or log, text=True)
        )
        try:
            assert process.stdout
            ready = process.stdout.readline()
            if listening := re.search(r":(\d+)/", ready):
                yield ready, int(listening[1]), process
        finally:
            process.send_signal(stop)
            process.wait()
        if process.returncode or not listening:
            text = own.seek(0) or own.read()[-4000:] if own else ""
            raise AssertionError(f"the server ended with status {process.returncode}: {text}")


def must(*command, **variables):
    """Runs a command and returns its output; fails with its output when it fails."""
    done = subprocess.run(
        command,
        stdin=subprocess.DEVNULL,
        stdout=subprocess.PIPE,
        stderr=subprocess.STDOUT,
        text=True,
        env={**os.environ, **variables},
        check=False,
    )
    if done.returncode != 0:
        raise AssertionError(f"{command}: exit status {done.returncode}\n{done.stdout}")
    return done.stdout


def certified(folder, key, certificate):
    """Writes a key and a certificate of this machine."""
    make = "req -x509 -newkey rsa:2048 -nodes -subj /CN=127.0.0.1 -addext subjectAltName=IP:127.0.0.1"
    must("openssl", *make.split(), "-keyout", folder / key, "-out", folder / certificate)


class Case:
    """A row of a table of tests: its name, its arguments, and its line in the file."""

    def __init__(self, name, *arguments):
        self.name, self.arguments = name, arguments
        caller = sys._getframe(1)
        self.place = f"{caller.f_code.co_filename}:{caller.f_lineno}"


def cases(*rows):
    """Makes a test method one test for each Case: test_x and the case y become test_x_y. What a
    failing one prints ends with the file and line of its row."""

    def keep(method):
        method.rows = rows
        return method

    return keep


def test_of(method, row):
    """The test method for a Case."""

    def test(self):
        try:
            method(self, *row.arguments)
        except AssertionError as error:
            error.add_note(f"row: {row.place}")
            raise

    return test


def differences(actual, expected):
    """What differs, a line each: the entries of dictionaries and lists, else both as they are."""
    if isinstance(actual, dict) and isinstance(expected, dict):
        for name in sorted({*actual, *expected}):
            if actual.get(name) != expected.get(name):
                yield f"{name}: expected {expected.get(name)!r}, actual {actual.get(name)!r}"
    elif isinstance(actual, list) and isinstance(expected, list):
        for number, entries in enumerate((expected, actual)):
            counts = collections.Counter(map(repr, entries))
            counts.subtract(map(repr, (actual, expected)[number]))
            what = ("expected, and missing", "actual, and not expected")[number]
            yield from (f"{what}: {entry}" for entry in counts.elements())
    else:
        yield f"expected: {expected!r}"
        yield f"  actual: {actual!r}"


class Test(unittest.TestCase):
    """A test case whose methods may have rows, see cases()."""

    maxDiff = None
    longest = 20  # lines of what differs

    def __init_subclass__(cls, **options):
        super().__init_subclass__(**options)
        for name, method in list(vars(cls).items()):
            for row in getattr(method, "rows", ()):
                test = f"{name}_{row.name}"
                assert not hasattr(cls, test), f"two rows are named {row.name}"
                setattr(cls, test, test_of(method, row))
            if hasattr(method, "rows"):
                delattr(cls, name)

    def assertSoon(self, expected, actual):
        """Waits until a function returns what is expected; a server may be starting meanwhile."""
        deadline, last = time.monotonic() + SECONDS, None
        while time.monotonic() < deadline:
            with contextlib.suppress(urllib.error.URLError, ConnectionError):
                last = actual()
            if last == expected:
                return
            time.sleep(0.1)
        self.assertEqual(last, expected)

    def assertLogged(self, log, text, meanwhile=lambda: None):
        """Waits until a text is in a log file."""
        deadline = time.monotonic() + SECONDS
        while text not in log.read_text():
            self.assertLess(time.monotonic(), deadline, f"not logged: {text}\n{log.read_text()}")
            meanwhile()
            time.sleep(0.05)

    def assertResponse(self, actual, expected, request):
        """That a response holds what it should. Lists hold the same in any order. What is printed
        is the request, and only what differs."""
        if isinstance(actual, list) and sorted(map(repr, actual)) == sorted(map(repr, expected)):
            return
        if actual == expected:
            return
        lines = list(differences(actual, expected))
        more = [f"... {len(lines) - self.longest} more"] if len(lines) > self.longest else []
        self.fail("\n".join([f"request: {request}", *lines[: self.longest], *more]))


class EmbeddedServerTest(Test):
    """A test that starts the embedded server with options of its own: skipped for any other."""

    @classmethod
    def setUpClass(cls):
        if "QBX_WIRE_URL" in os.environ:
            raise unittest.SkipTest("starts the embedded server with options of its own")


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
