"""HTTPS of the embedded server."""

import pathlib
import signal
import ssl
import subprocess
import tempfile

from qbx_support import testing
from qbx_support.raw import connected, receive_all
from qbx_support.testing import Case, cases, certified, started


class Tls(testing.EmbeddedServerTest):
    """A server for each test, with a certificate of its own."""

    def setUp(self):
        folder = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory()))
        self.key, self.certificate = folder / "key.pem", folder / "cert.pem"
        self.log = folder / "log"
        certified(folder, self.key, self.certificate)
        log = self.enterContext(self.log.open("w"))
        options = ("--no-auth", "--timeout", "1", "--cert", self.certificate, "--key", self.key)
        self.ready, self.port, self.process = self.enterContext(started(*options, log=log))

    def test_prints_its_url(self):
        self.assertEqual(self.ready, f"ready: https://127.0.0.1:{self.port}/root/qbx\n")

    def test_serves_client_that_trusts_the_certificate(self):
        trust = ssl.create_default_context(cafile=self.certificate)
        plain = self.enterContext(connected(self.port))
        client = self.enterContext(trust.wrap_socket(plain, server_hostname="127.0.0.1"))
        client.sendall(b"GET / HTTP/1.1\r\nHost: x\r\n\r\n")
        self.assertRegex(client.recv(1000), b"(?s)^HTTP/1.1 405 .*\r\nAllow: POST\r\n")

    def test_sends_nothing_plain(self):
        with connected(self.port) as silent:
            self.assertEqual(receive_all(silent), b"")

    @cases(
        Case("TLS_1_3", "-tls1_3"),
        Case("TLS_1_2", "-tls1_2 -cipher ECDHE"),
    )
    def test_accepts(self, offer):
        done = self.handshake(offer)
        self.assertEqual(done.returncode, 0, done.stderr)

    @cases(
        Case("TLS_1_1", "-tls1_1 -cipher ALL@SECLEVEL=0"),
        Case("static_RSA", "-tls1_2 -cipher kRSA"),
        Case("SHA1", "-tls1_2 -cipher ECDHE@SECLEVEL=0 -sigalgs RSA+SHA1"),
    )
    def test_rejects(self, offer):
        done = self.handshake(offer)
        self.assertEqual(done.returncode, 1, done.stdout)
        self.assertLogged(self.log, "TLS from 127.0.0.1 ended in its handshake")

    def handshake(self, offer):
        """What openssl does with such an offer."""
        client = f"openssl s_client -connect 127.0.0.1:{self.port} {offer}".split()
        return subprocess.run(client, stdin=subprocess.DEVNULL, capture_output=True, text=True)

    def renew(self, key, certificate):
        """New files, and the signal to read them; a connection has begun before."""
        self.enterContext(connected(self.port))
        certified(self.key.parent, key, certificate)
        self.process.send_signal(signal.SIGHUP)

    def test_reads_new_certificate_at_signal(self):
        self.renew(self.key, self.certificate)
        self.assertLogged(self.log, "have been read again")
        served = ssl.get_server_certificate(("127.0.0.1", self.port))
        self.assertEqual(served, self.certificate.read_text())

    def test_keeps_certificate_when_the_new_key_does_not_fit(self):
        self.renew(self.key, self.certificate.with_name("other.pem"))
        self.assertLogged(self.log, "are no PEM")
        served = ssl.get_server_certificate(("127.0.0.1", self.port))
        self.assertEqual(served, self.certificate.read_text())


if __name__ == "__main__":
    testing.main()
