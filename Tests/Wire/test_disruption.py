"""What clients are told while much is asked at once, and while something happens to the server."""

import random
import re
import threading
import time
import unittest
from concurrent import futures

from arrayfile import Array
from qbx_support import testing
from qbx_support.cimxml import Request, all_requests, http_request
from qbx_support.raw import send
from qbx_support.server import USERS

SECONDS = 60  # for an answer, and until all is well again
CLIENTS = 8
READS = re.compile("Enumerate|Get|Associator|Reference")
MAY_ACT = ("admin", "operator")  # the others are refused: what is asked changes nothing
BLOCKED = "provider blocked"
EMPTY = r"^<\?xml(?!.*(<ERROR|CLASSNAME))"


class Disruption(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.server = testing.open_server()
        cls.addClassCleanup(cls.server.close)
        array = Array(cls.server.array)
        everything = all_requests([each.path for each in array.everything()], array.associations)
        asked = random.Random(1).sample(list(everything), 60)
        cls.keys = [
            (user, *each)
            for each in asked
            for user in USERS
            if READS.match(each[0]) or user not in MAY_ACT
        ]
        cls.alone = {key: cls.told(key) for key in cls.keys}

    @classmethod
    def told(cls, key):
        """The lines of an answer without the closing ones, sorted: lists come in any order."""
        user, *asked = key
        try:
            reply = send(cls.server.url, http_request(Request(*asked), user), SECONDS)
        except OSError:
            return "no answer"
        lines = [reply.status_line, *reply.body.splitlines()]
        return "".join(sorted(line for line in lines if not line.startswith("</")))

    def assertAsBefore(self, keys):
        for key in keys:
            self.assertEqual(self.told(key), self.alone[key], key)

    def during(self, allowed, *actions):
        """Clients ask all the time; what they are told is what they were told before, or that.
        Returns the answers of the second kind."""
        over, others, count = threading.Event(), [], []

        def client():
            while not over.is_set():
                key = random.choice(self.keys)
                came = self.told(key)
                count.append(1)
                if came != self.alone[key]:
                    others.append(came)

        with futures.ThreadPoolExecutor(CLIENTS) as pool:
            running = [pool.submit(client) for _ in range(CLIENTS)]
            try:
                for action in actions:
                    time.sleep(0.5)
                    self.server.control(action)
                time.sleep(0.5)
            finally:
                over.set()
        for each in running:
            each.result()
        for came in others:
            self.assertRegex(came, allowed)
        self.assertGreater(len(count), 2 * CLIENTS)
        self.assertAsBefore(self.keys[::3])
        return others

    def test_users_at_once_get_what_each_gets_alone(self):
        errors = [came for came in self.alone.values() if "<ERROR" in came]
        self.assertTrue(0 < len(errors) < len(self.alone), "refused, and not")
        keys = 2 * self.keys
        with futures.ThreadPoolExecutor(24) as pool:
            for key, came in zip(keys, pool.map(self.told, keys)):
                self.assertEqual(came, self.alone[key], key)

    def test_a_restart(self):
        allowed = "^no answer$|^HTTP/1.1 503 |shutting down"
        if not isinstance(self.server, testing.EmbeddedServer):
            allowed += f"|{EMPTY}"  # OpenPegasus leaves out what its providers cannot say any more
        self.during(allowed, "restart")

    def test_the_module_replaced(self):
        """The embedded server goes on with the old one, and says so."""
        if isinstance(self.server, testing.EmbeddedServer):
            self.during("^$", "replace")
            self.assertIn("has changed since it was loaded", self.server.output.read_text())
        else:
            self.during(f"{BLOCKED}|{EMPTY}", "replace")

    def test_the_providers_process_killed(self):
        self.during("Lost connection with", "kill-agent")

    def test_the_module_disabled(self):
        others = self.during(f"{BLOCKED}|{EMPTY}", "disable", "enable")
        self.assertRegex("".join(others), BLOCKED)


if __name__ == "__main__":
    testing.main()
