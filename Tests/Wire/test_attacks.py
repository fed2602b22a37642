"""Clients that want to keep the others out, or to bring the server down: it serves the others."""

import base64
import concurrent.futures
import contextlib
import os
import pathlib
import resource
import tempfile

from qbx_support import testing
from qbx_support.exchanges import recorded
from qbx_support.raw import connected, exchange
from qbx_support.server import hashed, program
from qbx_support.testing import started

KEPT = recorded("ok")[0]  # lists the one instance, and keeps the connection
REQUEST = KEPT.replace(b"\r\n", b"\r\nConnection: close\r\n", 1)
MEGA = 1 << 20


def memory(process):
    """Bytes of address space."""
    pages = pathlib.Path(f"/proc/{process.pid}/statm").read_text().split()[0]
    return int(pages) * resource.getpagesize()


class Attacks(testing.EmbeddedServerTest):
    def assertServes(self, port, source="127.0.0.1"):
        self.assertIn(b"<INSTANCENAME", exchange(port, REQUEST, source))

    def test_large_bodies_when_memory_is_short(self):
        """40 bodies of 4 MB, of which few fit, as they are made of attributes: those for which there
        is room are answered, the others get 503 or the end of the connection."""
        head, body = KEPT.split(b"\r\n\r\n")
        head = head.replace(b"Content-Length: %d" % len(body), b"Content-Length: %d" % (4 * MEGA))
        attributes = b"".join(b' a%d=""' % n for n in range(360_000))
        body = body.replace(b"<CIM", b"<CIM" + attributes, 1).ljust(4 * MEGA)
        request = head + b"\r\nConnection: close\r\n\r\n" + body
        with started("--no-auth", "--max-memory", "10000000000") as (_, port, process):
            self.assertServes(port)
            size = memory(process)
            if size > 1 << 40:
                self.skipTest("a sanitizer needs more address space than can be limited")
            resource.prlimit(process.pid, resource.RLIMIT_AS, (size + 60 * MEGA,) * 2)
            for _ in range(3):
                with concurrent.futures.ThreadPoolExecutor(40) as pool:
                    responses = [*pool.map(lambda _: exchange(port, request), range(40))]
                statuses = {response[9:12] for response in responses}
                self.assertLessEqual(statuses, {b"200", b"400", b"503", b""})
                self.assertIsNone(process.poll(), "the server has ended")
                tries = (exchange(port, REQUEST) for _ in range(1000))  # others may be ending yet
                self.assertTrue(any(b"<INSTANCENAME" in response for response in tries))

    def test_bodies_beyond_the_memory_of_all(self):
        """What is made of their XML counts: 17 bytes for each of the body."""
        head = KEPT.split(b"\r\n\r\n")[0].replace(b"Content-Length: ", b"Content-Length: 150")
        with started("--no-auth", "--max-memory", "2000000") as (_, port, _):
            response = exchange(port, head + b"\r\n\r\n")  # nothing of the body is sent
            self.assertEqual(response[9:12], b"503")
            self.assertServes(port)

    def test_connections_that_are_kept(self):
        """Those of two addresses, as many as there may be, give way to one of a third."""
        options = ("--no-auth", "--max-connections", "20", "--max-connections-per-address", "10")
        with contextlib.ExitStack() as clients, started(*options) as (_, port, _):
            for source in 10 * ("127.0.0.2", "127.0.0.3"):
                hog = clients.enter_context(connected(port, KEPT, source))
                self.assertIn(b"<INSTANCENAME", hog.recv(4096))
            for _ in range(5):
                self.assertServes(port)
            kept = clients.enter_context(connected(port, KEPT))
            for source in 10 * ("127.0.0.2", "127.0.0.3"):
                self.assertIn(b"<INSTANCENAME", kept.recv(4096))
                hog = clients.enter_context(connected(port, KEPT, source))
                self.assertIn(b"<INSTANCENAME", hog.recv(4096))
                kept.sendall(KEPT)  # who has one loses none to those who have more

    def test_responses_that_are_not_read(self):
        """Who has most connections loses one on which a response waits to be read, too."""
        options = ("--no-auth", "--max-connections", "8", "--timeout", "600")
        with contextlib.ExitStack() as clients, started(*options) as (_, port, _):
            for _ in range(8):
                clients.enter_context(connected(port, 4000 * KEPT[: len(KEPT)], "127.0.0.2"))
            self.assertServes(port)

    def test_wrong_passwords_from_many_addresses(self):
        """Most of them are refused at once, so that others do not wait behind them."""
        folder = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory()))
        (folder / "users").write_text(f"eva:{hashed(program(os.environ['QBX_BUILD']), 'right')}\n")

        def guess(password, source):
            login = base64.b64encode(b"eva:" + password)
            field = b"\r\nAuthorization: Basic %b\r\n" % login
            return exchange(port, REQUEST.replace(b"\r\n", field, 1), source)

        pool = self.enterContext(concurrent.futures.ThreadPoolExecutor(120))
        with started("--users", folder / "users") as (_, port, _):
            guesses = [pool.submit(guess, b"wrong", f"127.0.1.{n + 1}") for n in range(120)]
            while b"<INSTANCENAME" not in (response := guess(b"right", "127.0.2.1")):
                self.assertEqual(response[9:12], b"503")
            statuses = [guess.result()[9:12] for guess in guesses]
        self.assertEqual({*statuses}, {b"401", b"503"})


if __name__ == "__main__":
    testing.main()
