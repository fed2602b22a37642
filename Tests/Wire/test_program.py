"""The program qbx-cimserver as its users run it: what it refuses, and how it starts and stops."""

import base64
import concurrent.futures
import contextlib
import os
import pathlib
import re
import signal
import socket
import ssl
import subprocess
import sys
import tempfile
import time

from qbx_support import testing
from qbx_support.exchanges import FOLDER, PROBE_SCHEMA, recorded
from qbx_support.raw import connected, exchange
from qbx_support.server import program
from qbx_support.testing import started


class Program(testing.EmbeddedServerTest):
    def setUp(self):
        super().setUp()
        self.folder = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory()))

    def file(self, name, content):
        (self.folder / name).write_text(content)
        return self.folder / name

    def wait_for(self, condition):
        end = time.monotonic() + 30
        while not condition():
            self.assertLess(time.monotonic(), end)
            time.sleep(0.1)

    def users(self, *lines):
        """The option for a password file with these lines."""
        name = f"{len(list(self.folder.iterdir()))}.users"
        content = "".join(f"{line}\n" for line in lines)
        return f"--users {self.file(name, content)}"

    def test_what_is_wrong_fills_one_line(self):
        taken = self.enterContext(socket.create_server(("127.0.0.1", 0))).getsockname()[1]
        serve = f"--no-auth --port 0 {PROBE_SCHEMA}"
        bad = self.file("bad.mof", "class T_Bad { uint99 N; };\n")
        weak = "users:1: user eva: not a password hash of a strong method; make one with"
        twice = 2 * (FOLDER / "users").read_text().splitlines()[1:2]
        for options, status, text in (
            ("", 2, "who may use the server? Give --users FILE"),
            (f"{serve} --frobnicate", 2, "--frobnicate; --help lists the options"),
            ("--no-auth --port 70000", 2, "70000"),
            (f"{serve} --timeout 0", 2, "--timeout: Value 0 not in range 1 to 86400"),
            (f"{serve} --users x", 2, "--users excludes --no-auth"),
            (f"{serve} --cert x", 2, "--cert and --key go together"),
            (f"{serve} --cert /none --key /none", 1, "cannot read the certificate file /none: No"),
            (f"{serve} --cert {bad} --key {bad}", 1, f"{bad} and {bad} are no PEM certificate"),
            (f"{serve} --host-name a_b?", 2, '--host-name "a_b?" is no host name'),
            (f"{serve} --schema root/t", 2, "--schema root/t: expected NAMESPACE=FILE"),
            (f"{serve} --schema a+b=x", 2, '"a+b" is no namespace name'),
            (f"{serve} --schema r/t=/none.mof", 1, "cannot read the MOF file /none.mof: No such"),
            (f"{serve} --schema root/u={bad}", 1, "bad.mof:1:"),
            (f"{serve} --interop-mof /none", 2, "--interop-mof: File does not exist: /none"),
            (f"{serve} --provider-dir /none", 2, "--provider-dir: Directory does not exist: /none"),
            (f"{serve} --listen no.invalid", 1, "listen on no.invalid port 0: Name or service"),
            (f"--no-auth --port {taken}", 1, f"port {taken}: Address already in use; choose"),
            (self.users(), 1, 'users:1: no user in the password file; add "user:hash"'),
            (self.users("# x", ":y"), 1, 'users:2: expected "user:hash"'),
            (self.users("eva:$1$abcdefgh$G//4keteveJp0qb8z2DxG/"), 1, weak),
            (self.users("eva:abJnggxhB/yWI"), 1, weak),
            (self.users("eva:$5$abcdefgh$sI6g8tHKrJ6RX7w.YoN9B7a/5wK5jYEOMmMnt3tPl0/"), 1, weak),
            (self.users(*twice), 1, "users:2: user root is listed twice"),
            ("--users /", 1, "/: cannot read the password file: Is a directory"),
            ("--hash-password", 1, "the password is empty"),
        ):
            with self.subTest(options):
                command = [program(os.environ["QBX_BUILD"]), *options.split()]
                done = subprocess.run(command, input="", capture_output=True, text=True, timeout=60)
                self.assertEqual((done.returncode, done.stdout), (status, ""))
                self.assertRegex(done.stderr, f"^qbx-cimserver: .*{re.escape(text)}.*\n$")

    def test_the_manual_has_every_option(self):
        told = subprocess.run([program(os.environ["QBX_BUILD"]), "--help"], capture_output=True, text=True, check=True)
        manual = pathlib.Path(__file__).parents[2] / "Docs" / "qbx-cimserver.1"
        texts = told.stdout, manual.read_text().replace("\\-", "-")
        named, described = ({*re.findall(r"(?<!-)--[a-z][a-z-]+", text)} for text in texts)
        self.assertEqual(named, described)

    def test_serves_until_it_is_told(self):
        for stop in (signal.SIGTERM, signal.SIGINT):
            with started("--no-auth", stop=stop) as (ready, port, _):
                self.assertEqual(ready, f"ready: http://127.0.0.1:{port}/root/qbx\n")

    def test_users(self):
        """A hash that it makes is one that it takes; nothing of a request is looked at before.
        Who is refused is logged as soon as there is room for it."""
        hashed = subprocess.run([program(os.environ["QBX_BUILD"]), "--hash-password"], input=b"a:b \xc3\xa4\n", stdout=-1)
        users = self.users("# comment", "", f"eva:{hashed.stdout.decode()}")
        log = self.enterContext((self.folder / "log").open("w+"))
        empty, chunked = b"Content-Length: 0\r\n\r\n", b"Transfer-Encoding: chunked\r\n\r\n"
        much = 3 * (b"fff\r\n%b\r\n" % (4095 * b"x"))
        with started(*users.split(), "--max-body", "20000", log=log) as (_, port, _):

            def told(login, body=empty, source="127.0.0.1"):
                said = b"POST / HTTP/1.1\r\nConnection: close\r\nAuthorization: Basic %b\r\n%b"
                login = base64.b64encode(login).rstrip(b"=")
                return exchange(port, said % (login, body), source)

            with concurrent.futures.ThreadPoolExecutor(40) as pool:
                guesses = pool.map(lambda n: told(b"eva:%d" % n, empty, "127.0.0.2"), range(40))
                self.assertEqual(told(b"eva:a:b \xc3\xa4")[9:12], b"400")
                busy = [reply for reply in guesses if reply[9:12] == b"503"]
            self.assertGreater(len(busy), 10)
            self.assertRegex(busy[0], rb"Too%20many%20logins(?s:.*)\r\nRetry-After: 1\r\n")
            self.assertIn(b"PGErrorDetail: User%20Unauthorized", told(b"eva"))
            self.assertIn(b"PGErrorDetail: The%20user%20name%20is%20not%20UTF-8.", told(b"\xff:a"))
            self.assertIn(b" 401 ", told(b"eva:a", chunked + much + b"0\r\n\r\n"))
            self.assertIn(b" 401 ", told(b"eva:a", chunked + much + much + b"0\r\n\r\n"))
            self.assertIn(b" 401 ", told(b"e\nva \xc3\xa4" + 80 * b"x" + b":a"))
            file = pathlib.Path(users.split()[1])
            good, text = file.read_text(), pathlib.Path(log.name).read_text
            for change, known, said in (
                (good + "bad", b"eva", f'warning: {file}:5: expected "user:hash"; what was read'),
                (good.replace("eva", "bob"), b"bob", "users, certificate and key have been read"),
            ):
                file.write_text(change)
                self.wait_for(lambda: said in text())
                self.assertIn(b" 400 ", told(known + b":a:b \xc3\xa4"))
            self.assertIn(b" 401 ", told(b"eva:a:b \xc3\xa4"))
            said = text()
            self.assertIn(f"warning: {file} can be read or written by others", said)
            self.assertIn(f"from 127.0.0.1: user e%0Ava%20%C3%A4{57 * 'x'}\n", said)
            stamp = r"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}[+-]\d\d:\d\d 2 \[\d+\] \S.*\n"
            self.assertRegex(said, f"^(?:{stamp})+$")
        reader, writer = os.pipe()
        os.set_blocking(writer, False)
        os.write(writer, bytes(1 << 20))  # as much as there is room for
        said = b"POST / HTTP/1.1\r\nConnection: close\r\nAuthorization: Basic ZXZhOmE=\r\n" + empty
        with started(*users.split(), log=writer) as (_, port, _):
            self.assertIn(b" 401 ", exchange(port, said))
            self.assertEqual(os.read(reader, 1 << 20).count(b"wrong"), 0)
            self.assertIn(b" 401 ", exchange(port, said))
        os.close(writer)
        self.assertEqual(os.read(reader, 1 << 20).count(b"wrong user"), 1)

    def test_serve(self):
        """What ./qbx serve runs hands on its options, and what it is told."""
        serve = [sys.executable, "-m", "Demo.serve", "--build", os.environ["QBX_BUILD"], "--port=0"]
        serve += [f"--state={self.folder}"]
        for options, text in (
            ("--listen=0.0.0.0", "everybody knows the sample's passwords: give --users FILE"),
            ("--users=x --no-auth", "error: argument --no-auth: not allowed with argument --users"),
            ("--users=x --cert=x", "qbx-cimserver: --cert and --key go together"),
        ):
            command = [*serve, *options.split()]
            done = subprocess.run(command, capture_output=True, text=True, timeout=60)
            if re.search("Sanitizer|ASan|TLS block", done.stderr):
                self.skipTest("Python cannot load a library that is built with a sanitizer")
            self.assertIn(text, done.stderr)
        with subprocess.Popen([*serve, "--no-auth"], stdout=-1, stderr=-2, text=True) as process:
            said = (line for line in process.stdout if "simulated array" not in line)
            ready = next(said, "")
            process.send_signal(signal.SIGHUP)
            told = next(said, "")
            process.terminate()
        self.assertRegex(ready, "^ready: wbemcli ein 'http://127.0.0.1:[0-9]+/root/qbx:QBX_Drive")
        self.assertIn("have been read again", told)
        self.assertEqual(process.returncode, 0)

    def test_stops_while_bytes_wait_that_are_no_request(self):
        """The HTTP library must not meet them in its stop: it crashed."""
        for _ in range(20):
            with contextlib.ExitStack() as clients, started("--no-auth") as (_, port, _):
                for _ in range(8):
                    clients.enter_context(connected(port, recorded("clen_zero")[0]))

    def test_tls(self):
        key, certificate = self.folder / "key.pem", self.folder / "cert.pem"
        make = "openssl req -x509 -newkey rsa:2048 -nodes -days 2 -subj /CN=localhost"
        make = [*make.split(), "-keyout", key, "-out", certificate]
        subprocess.run(make, check=True, capture_output=True)
        trust = ssl.create_default_context(cafile=certificate)
        options = ("--no-auth", "--timeout", "1", "--cert", certificate, "--key", key)
        log = self.enterContext((self.folder / "log").open("w+"))
        with started(*options, log=log) as (ready, port, process):
            self.assertEqual(ready, f"ready: https://127.0.0.1:{port}/root/qbx\n")
            with connected(port) as plain:
                with trust.wrap_socket(plain, server_hostname="localhost") as client:
                    client.sendall(b"GET / HTTP/1.1\r\nHost: x\r\n\r\n")
                    self.assertRegex(client.recv(1000), b"(?s)^HTTP/1.1 405 .*\r\nAllow: POST\r\n")
            with connected(port) as silent:
                self.assertEqual(silent.recv(100), b"")  # nothing plain on an encrypted line
            for status, *offers in (
                (0, "-tls1_3", "-tls1_2 -cipher ECDHE"),
                (1, "-tls1_1 -cipher ALL@SECLEVEL=0", "-tls1_2 -cipher kRSA"),
                (1, "-tls1_2 -cipher ECDHE@SECLEVEL=0 -sigalgs RSA+SHA1"),
            ):
                for offer in offers:
                    client = f"openssl s_client -connect 127.0.0.1:{port} {offer}".split()
                    done = subprocess.run(client, stdin=-3, stdout=-3, stderr=-3)
                    self.assertEqual(done.returncode, status, offer)
            self.enterContext(connected(port))  # that began before
            # Both files are new; then the key alone is, which is no use.
            for making, said in ((make, "have been read again"), (make[:-2], "are no PEM")):
                subprocess.run(making, check=True, capture_output=True)
                process.send_signal(signal.SIGHUP)
                self.wait_for(lambda: said in pathlib.Path(log.name).read_text())
                renewed = ssl.get_server_certificate(("127.0.0.1", port))
                self.assertEqual(renewed, certificate.read_text())
        log.seek(0)
        self.assertIn("TLS from 127.0.0.1 ended in its handshake", log.read())


if __name__ == "__main__":
    testing.main()
