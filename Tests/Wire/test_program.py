"""The program qbx-cimserver as its users run it: what it refuses, and how it starts and stops; and
./qbx serve, which runs it."""

import contextlib
import os
import pathlib
import re
import signal
import socket
import subprocess
import sys
import tempfile
import time

from qbx_support import testing
from qbx_support.exchanges import FOLDER, PROBE_SCHEMA, recorded
from qbx_support.raw import connected
from qbx_support.server import ROOT, program
from qbx_support.testing import Case, cases, started

SERVE = f"--no-auth --port 0 {PROBE_SCHEMA}"
WEAK = "users:1: user eva: not a password hash of a strong method; make one with"
TWICE = 2 * (FOLDER / "users").read_text().splitlines()[1:2]


def run(*options):
    """Runs the server program to its end."""
    command = [program(os.environ["QBX_BUILD"]), *options]
    return subprocess.run(command, input="", capture_output=True, text=True, timeout=600)


class FolderTest(testing.EmbeddedServerTest):
    """A test with a folder for its files."""

    def setUp(self):
        self.folder = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory()))

    def file(self, name, content):
        (self.folder / name).write_text(content)
        return self.folder / name


class Errors(FolderTest):
    """What is wrong is one line on standard error; exit status 2 for the command line, 1 for what
    it names."""

    def assertEnds(self, options, status, text):
        done = run(*options.split())
        self.assertEqual((done.returncode, done.stdout), (status, ""), done.stderr)
        self.assertRegex(done.stderr, f"^qbx-cimserver: .*{re.escape(text)}.*\n$")

    @cases(
        Case("no_users", "", "who may use the server? Give --users FILE"),
        Case("unknown_option", f"{SERVE} --frobnicate", "--frobnicate"),
        Case("port", "--no-auth --port 70000", "70000"),
        Case("timeout", f"{SERVE} --timeout 0", "--timeout"),
        Case("users_and_none", f"{SERVE} --users x", "--users"),
        Case("certificate_without_key", f"{SERVE} --cert x", "--cert and --key go together"),
        Case("host_name", f"{SERVE} --host-name a_b?", '--host-name "a_b?" is no host name'),
        Case("schema", f"{SERVE} --schema root/t", "--schema root/t: expected NAMESPACE=FILE"),
        Case("namespace", f"{SERVE} --schema a+b=x", '"a+b" is no namespace name'),
        Case("interop_mof", f"{SERVE} --interop-mof /none", "--interop-mof"),
        Case("provider_dir", f"{SERVE} --provider-dir /none", "--provider-dir"),
    )
    def test_of_command_line(self, options, text):
        self.assertEnds(options, 2, text)

    @cases(
        Case("certificate", "--cert /none --key /none", "cannot read the certificate file /none: No"),
        Case("certificate_that_is_none", "--cert {bad} --key {bad}", "no PEM certificate"),
        Case("MOF", "--schema r/t=/none.mof", "cannot read the MOF file /none.mof: No such"),
        Case("bad_MOF", "--schema root/u={bad}", "bad.mof:1:"),
        Case("address", "--listen no.invalid", "listen on no.invalid port 0: "),
    )
    def test_of_what_is_named(self, options, text):
        bad = self.file("bad.mof", "class T_Bad { uint99 N; };\n")
        self.assertEnds(f"{SERVE} {options.format(bad=bad)}", 1, text)

    @cases(
        Case("empty", [], 'users:1: no user in the password file; add "user:hash"'),
        Case("without_user", ["# x", ":y"], 'users:2: expected "user:hash"'),
        Case("MD5", ["eva:$1$abcdefgh$G//4keteveJp0qb8z2DxG/"], WEAK),
        Case("DES", ["eva:abJnggxhB/yWI"], WEAK),
        Case("few_rounds", ["eva:$5$abcdefgh$sI6g8tHKrJ6RX7w.YoN9B7a/5wK5jYEOMmMnt3tPl0/"], WEAK),
        Case("user_twice", TWICE, "users:2: user root is listed twice"),
    )
    def test_of_password_file(self, lines, text):
        users = self.file("users", "".join(f"{line}\n" for line in lines))
        self.assertEnds(f"--users {users}", 1, text)

    @cases(
        Case("folder", "password", "--port 0 --users", "/", "it is a folder"),
        Case("fifo", "certificate", f"{SERVE} --key /none --cert", "fifo", "it is no regular file"),
        Case("device", "MOF", "--no-auth --port 0 --schema root/u=", "/dev/zero", "it is no regular file"),
        Case("large_file", "password", "--port 0 --users", "large", "it is larger than 16 MB"),
    )
    def test_of_odd_file(self, kind, options, name, text):
        """One that would never end, or not for long."""
        os.mkfifo(self.folder / "fifo")
        os.truncate(self.file("large", ""), 1 << 31)
        file = self.folder / name
        options += str(file) if options.endswith("=") else f" {file}"
        self.assertEnds(options, 1, f"cannot read the {kind} file {file}: {text}")

    def test_of_port_that_is_taken(self):
        taken = self.enterContext(socket.create_server(("127.0.0.1", 0))).getsockname()[1]
        self.assertEnds(f"--no-auth --port {taken}", 1, f"port {taken}: Address already in use; choose")

    def test_of_empty_password(self):
        self.assertEnds("--hash-password", 1, "the password is empty")


class Program(testing.EmbeddedServerTest):
    def test_manual_has_every_option(self):
        manual = (ROOT / "Docs" / "qbx-cimserver.1").read_text().replace("\\-", "-")
        texts = run("--help").stdout, manual
        named, described = ({*re.findall(r"(?<!-)--[a-z][a-z-]+", text)} for text in texts)
        self.assertEqual(named, described)

    def test_stops_while_it_compiles_a_schema(self):
        with tempfile.NamedTemporaryFile("w", suffix=".mof") as mof:
            mof.writelines(f"class T_C{number} {{ uint8 N; }};\n" for number in range(200_000))
            mof.flush()
            command = [program(os.environ["QBX_BUILD"]), "--no-auth", "--port=0", f"--schema=r/t={mof.name}"]
            with subprocess.Popen(command, stdout=subprocess.PIPE) as process:
                assert process.stdout
                while time.clock_gettime((~process.pid << 3) | 2) < 0.3:  # of CPU time
                    self.assertIsNone(process.poll(), "it has ended by itself")
                process.terminate()
                self.assertEqual(process.stdout.read(), b"")
            self.assertEqual(process.returncode, -signal.SIGTERM)

    @cases(Case("SIGTERM", signal.SIGTERM), Case("SIGINT", signal.SIGINT))
    def test_serves_until(self, stop):
        with started("--no-auth", stop=stop) as (ready, port, _):
            self.assertEqual(ready, f"ready: http://127.0.0.1:{port}/root/qbx\n")

    def test_stops_while_bytes_wait_that_are_no_request(self):
        """The HTTP library must not meet them in its stop: it crashed."""
        for _ in range(20):
            with contextlib.ExitStack() as clients, started("--no-auth") as (_, port, _):
                for _ in range(8):
                    clients.enter_context(connected(port, recorded("clen_zero")[0]))


class Serve(FolderTest):
    """What ./qbx serve runs. It loads the array's library, to check the array file."""

    def setUp(self):
        super().setUp()
        if os.environ.get("QBX_SANITIZE"):
            self.skipTest("Python cannot load a library that is built with a sanitizer")
        self.command = [sys.executable, "-m", "Demo.serve", "--build", os.environ["QBX_BUILD"]]
        self.command += ["--port=0", f"--state={self.folder}"]

    @cases(
        Case("address", "--listen=0.0.0.0", "everybody knows the sample's passwords: give --users FILE"),
        Case("users_and_none", "--users=x --no-auth", "--no-auth: not allowed with argument --users"),
        Case("certificate", "--users=x --cert=x", "qbx-cimserver: --cert and --key go together"),
        Case("array", "--array=/none", "no such array file: /none"),
    )
    def test_rejects(self, options, text):
        command = [*self.command, *options.split()]
        done = subprocess.run(command, capture_output=True, text=True, timeout=600)
        self.assertNotEqual(done.returncode, 0)
        self.assertIn(text, done.stderr)

    def test_prints_a_query_and_passes_signals_on(self):
        command = [*self.command, "--no-auth"]
        with subprocess.Popen(command, stdout=-1, stderr=-2, text=True) as process:
            assert process.stdout
            lines = (line for line in process.stdout if "simulated array" not in line)
            ready = next(lines, "")
            process.send_signal(signal.SIGHUP)
            read_again = next(lines, "")
            process.terminate()
        self.assertRegex(ready, "^ready: wbemcli ein 'http://127.0.0.1:[0-9]+/root/qbx:QBX_Drive")
        self.assertIn("have been read again", read_again)
        self.assertEqual(process.returncode, 0)


if __name__ == "__main__":
    testing.main()
