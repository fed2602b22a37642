"""Responses while many requests come at once, and while something happens to the server."""

import random
import re
import threading
from concurrent import futures

from expected import ASSOCIATIONS, ELEMENTS
from qbx_support import testing
from qbx_support.cimxml import Request, all_requests, http_request
from qbx_support.raw import SECONDS, send
from qbx_support.server import USERS

CLIENTS = 8
READS = re.compile("Enumerate|Get|Associator|Reference")
MAY_ACT = ("admin", "operator")  # requests of the others to act are denied, and change nothing
BLOCKED = "provider blocked"
EMPTY = r"^<\?xml(?!.*(<ERROR|CLASSNAME))"


class Traffic:
    """Clients that send requests all the time; counts the responses, and keeps those that differ from
    what each request alone got."""

    def __init__(self, test):
        self.test, self.count = test, 0
        self.others: list[str] = []
        self.changed, self.over = threading.Condition(), False

    def client(self):
        while not self.over:
            key = random.choice(self.test.keys)
            response = self.test.response(key)
            with self.changed:
                self.count += 1
                if response != self.test.alone[key]:
                    self.others.append(response)
                self.changed.notify_all()

    def wait(self, count):
        """Waits for so many responses more."""
        with self.changed:
            wanted = self.count + count
            self.changed.wait_for(lambda: self.count >= wanted, SECONDS)
            self.test.assertGreaterEqual(self.count, wanted, "no responses any more")

    def __enter__(self):
        self.pool = futures.ThreadPoolExecutor(CLIENTS)
        self.running = [self.pool.submit(self.client) for _ in range(CLIENTS)]
        return self

    def __exit__(self, *_):
        self.over = True
        self.pool.shutdown()
        for each in self.running:
            each.result()


class Disruption(testing.Test):
    server: testing.EmbeddedServer | testing.ExternalServer
    keys: list  # requests: (user, method, object, body)
    alone: dict  # what each gets alone

    @classmethod
    def setUpClass(cls):
        cls.server = testing.open_server()
        cls.addClassCleanup(cls.server.close)
        requests = list(all_requests([each.path for each in ELEMENTS], ASSOCIATIONS))
        cls.keys = [
            (user, *each)
            for each in random.Random(1).sample(requests, 60)
            for user in USERS
            if READS.match(each.method) or user not in MAY_ACT
        ]
        cls.alone = {key: cls.response(key) for key in cls.keys}

    @classmethod
    def response(cls, key):
        """The lines of the response without the closing ones, sorted: lists come in any order."""
        user, *request = key
        try:
            response = send(cls.server.url, http_request(Request(*request), user))
        except OSError:
            return "no response"
        lines = [response.status_line, *response.body.splitlines()]
        return "".join(sorted(line for line in lines if not line.startswith("</")))

    def during(self, allowed, *actions):
        """Runs control actions while clients send requests. Their responses are those from before,
        or allowed ones, which it returns; afterwards those from before."""
        with Traffic(self) as traffic:
            for action in actions:
                traffic.wait(2 * CLIENTS)
                self.server.control(action)
            traffic.wait(2 * CLIENTS)
        for response in traffic.others:
            self.assertRegex(response, allowed)
        for key in self.keys[::3]:
            self.assertResponse(self.response(key), self.alone[key], key)
        return traffic.others

    def test_users_at_once_get_what_each_gets_alone(self):
        denied = [response for response in self.alone.values() if "<ERROR" in response]
        self.assertTrue(0 < len(denied) < len(self.alone), "some are denied, and others not")
        keys = 2 * self.keys
        with futures.ThreadPoolExecutor(24) as pool:
            for key, response in zip(keys, pool.map(self.response, keys), strict=True):
                self.assertResponse(response, self.alone[key], key)

    def test_restart(self):
        allowed = "^no response$|^HTTP/1.1 503 |shutting down"
        if not isinstance(self.server, testing.EmbeddedServer):
            allowed += f"|{EMPTY}"  # OpenPegasus leaves out what its providers cannot return any more
        self.during(allowed, "restart")

    def test_replaced_module(self):
        """The embedded server keeps the old one, and logs that."""
        if isinstance(self.server, testing.EmbeddedServer):
            self.during("^$", "replace")
            self.assertIn("has changed since it was loaded", self.server.output.read_text())
        else:
            self.during(f"{BLOCKED}|{EMPTY}", "replace")

    def test_killed_provider_agent(self):
        self.during("Lost connection with", "kill-agent")

    def test_disabled_module(self):
        others = self.during(f"{BLOCKED}|{EMPTY}", "disable", "enable")
        self.assertRegex("".join(others), BLOCKED)


if __name__ == "__main__":
    testing.main()
