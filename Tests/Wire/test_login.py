"""Users of the embedded server: who is let in, how fast passwords can be tried, what is logged."""

import base64
import contextlib
import os
import pathlib
import tempfile

from qbx_support import testing
from qbx_support.raw import connected, exchange, receive_all
from qbx_support.server import hashed, program
from qbx_support.testing import Case, cases, started

PASSWORD = "a:b ä"
RIGHT = f"eva:{PASSWORD}".encode()
EMPTY = b"Content-Length: 0\r\n\r\n"
CHUNKED, CHUNK = b"Transfer-Encoding: chunked\r\n\r\n", b"fff\r\n%b\r\n" % (4095 * b"x")


def listed(user):
    """A line of a password file, with PASSWORD."""
    return f"{user}:{hashed(program(os.environ['QBX_BUILD']), PASSWORD)}\n"


def login(credentials, body=EMPTY):
    """A request without anything of CIM, to which the server responds 400 when it lets it in."""
    value = base64.b64encode(credentials).rstrip(b"=")
    head = b"POST / HTTP/1.1\r\nConnection: close\r\nAuthorization: Basic "
    return head + value + b"\r\n" + body


class Login(testing.EmbeddedServerTest):
    def setUp(self):
        folder = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory()))
        self.users, self.log = folder / "users", folder / "log"
        self.users.touch()
        self.users.chmod(0o644)
        self.users.write_text(f"# comment\n\n{listed('eva')}")
        log = self.enterContext(self.log.open("w"))
        options = ("--users", self.users, "--max-body", "20000")
        _, self.port, _ = self.enterContext(started(*options, log=log))

    def test_lets_in_user_with_right_password(self):
        self.assertEqual(exchange(self.port, login(RIGHT))[9:12], b"400")

    @cases(
        Case("without_colon", b"eva", b"PGErrorDetail: User%20Unauthorized"),
        Case("no_text", b"\xff:a", b"PGErrorDetail: The%20user%20name%20is%20not%20UTF-8."),
        Case("wrong_password", b"eva:a", b"WWW-Authenticate: Basic realm="),
        Case("unknown_user", b"bob:a", b"WWW-Authenticate: Basic realm="),
    )
    def test_rejects_login(self, credentials, part):
        response = exchange(self.port, login(credentials))
        self.assertEqual(response[9:12], b"401", response)
        self.assertIn(part, response)

    def test_reads_body_of_a_user_it_rejects(self):
        body = CHUNKED + 3 * CHUNK + b"0\r\n\r\n"
        self.assertEqual(exchange(self.port, login(b"eva:a", body))[9:12], b"401")

    def test_cuts_off_larger_body_of_a_user_it_rejects(self):
        body = CHUNKED + 6 * CHUNK + b"0\r\n\r\n"
        self.assertIn(b" 401 ", exchange(self.port, login(b"eva:a", body)))

    def test_limits_logins_of_an_address_that_sends_wrong_passwords(self):
        """Of many at once some get 503; who sends the right password from elsewhere is let in."""
        with contextlib.ExitStack() as clients:
            guesses = [
                clients.enter_context(connected(self.port, login(b"eva:%d" % n), "127.0.0.2"))
                for n in range(40)
            ]
            self.assertEqual(exchange(self.port, login(RIGHT))[9:12], b"400")
            responses = [receive_all(each) for each in guesses]
        self.assertEqual({each[9:12] for each in responses}, {b"401", b"503"})
        busy = next(each for each in responses if each[9:12] == b"503")
        self.assertRegex(busy, rb"Too%20many%20logins(?s:.*)\r\nRetry-After: 1\r\n")

    def change(self, content, text):
        """Changes the password file, and waits until the server has logged that."""
        self.users.write_text(content)
        self.assertLogged(self.log, text)

    def test_keeps_users_when_password_file_becomes_bad(self):
        text = f'warning: {self.users}:4: expected "user:hash"; what was read'
        self.change(f"# comment\n\n{listed('eva')}bad\n", text)
        self.assertEqual(exchange(self.port, login(RIGHT))[9:12], b"400")

    def test_reads_changed_password_file(self):
        self.change(listed("bob"), "users, certificate and key have been read")
        self.assertEqual(exchange(self.port, login(RIGHT))[9:12], b"401")
        self.assertEqual(exchange(self.port, login(RIGHT.replace(b"eva", b"bob")))[9:12], b"400")

    def test_warns_of_password_file_that_others_can_read(self):
        self.assertLogged(self.log, f"warning: {self.users} can be read or written by others")

    def test_logs_rejected_user_in_one_line(self):
        exchange(self.port, login("e\nva ä".encode() + 80 * b"x" + b":a"))
        self.assertLogged(self.log, f"from 127.0.0.1: user e%0Ava%20%C3%A4{57 * 'x'}\n")
        stamp = r"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}[+-]\d\d:\d\d 2 \[\d+\] \S.*\n"
        self.assertRegex(self.log.read_text(), f"^(?:{stamp})+$")


class FullLog(testing.EmbeddedServerTest):
    def test_rejected_user_is_logged_when_there_is_room(self):
        folder = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory()))
        (folder / "users").write_text(listed("eva"))
        (folder / "users").chmod(0o600)
        reader, writer = os.pipe()
        self.addCleanup(os.close, reader)
        os.set_blocking(writer, False)
        os.write(writer, bytes(1 << 20))  # as much as there is room for
        try:
            with started("--users", folder / "users", log=writer) as (_, port, _):
                self.assertIn(b" 401 ", exchange(port, login(b"eva:a")))
                self.assertEqual(os.read(reader, 1 << 20).count(b"wrong"), 0)
                self.assertIn(b" 401 ", exchange(port, login(b"eva:a")))
        finally:
            os.close(writer)
        self.assertEqual(os.read(reader, 1 << 20).count(b"wrong user"), 1)


if __name__ == "__main__":
    testing.main()
