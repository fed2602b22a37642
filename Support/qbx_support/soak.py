"""Many clients send requests for minutes while the array changes: what `./qbx soak` runs."""

import argparse
import collections
import concurrent.futures
import contextlib
import http.client
import json
import os
import pathlib
import random
import re
import sys
import threading
import time

from qbx_support import odd_array
from qbx_support.arrays import ASSOCIATIONS
from qbx_support.cimxml import all_requests, class_name, http_fields, http_request, instance_paths, request
from qbx_support.raw import send
from qbx_support.server import ROOT, Server

SECONDS = 300  # until the server has closed all connections
CLASSES = ("CIM_Chassis", "QBX_CageInterfaceCard", "QBX_Magazine", "QBX_CageSensor")
LOGINS = ("admin", "admin", "operator", "viewer", "guest", "blocked")


DESCRIPTION = """Builds the server under ThreadSanitizer, and lets clients send it all kinds of requests
at once while the array file changes. Prints every 10 seconds what the responses were, the server's
memory and descriptors. Exit status 1 for an unexpected response, more descriptors than before, a report
of the sanitizer (or with --release, whose memory is its own: memory that keeps growing), or a crash."""


class Soak:
    def __init__(self, server):
        self.server = server
        self.contents = json.loads(server.array.read_text(encoding="utf-8"))
        self.requests = list(all_requests(self.paths(), ASSOCIATIONS))
        self.responses: collections.Counter = collections.Counter()
        self.unexpected: list[str] = []
        self.lock, self.over = threading.Lock(), threading.Event()

    def paths(self):
        """The paths of all elements, as the server lists them."""
        requests = [request("EnumerateInstanceNames", ClassName=class_name(each)) for each in CLASSES]
        responses = [send(self.server.url, http_request(each, "admin")) for each in requests]
        return [path for response in responses for path in instance_paths(response.body)]

    def send(self, connection, user):
        """Sends a request, now and then with a fault in it, and counts the response."""
        method, target, body = random.choice(self.requests)
        is_damaged = random.random() < 0.1
        if is_damaged:
            place = random.randrange(len(body))
            body = body[:place] + random.choice(("", "<", "\x01", "ä" + body[place:]))
        connection.request("POST", "/cimom", body.encode(), http_fields(method, target, user))
        response = connection.getresponse()
        text = response.read().decode()
        error = re.search(r'<ERROR CODE="(\d+)" DESCRIPTION="([^"]*)"', text)
        unexpected = response.status not in ((200, 400, 501) if is_damaged else (200,))
        if error:  # FAILED, unless an element has gone meanwhile; ACCESS_DENIED
            unexpected |= error[1] == "1" and "not found" not in error[2]
            unexpected |= error[1] == "2" and user == "admin"
        with self.lock:
            self.responses[f"{response.status} error {error[1]}" if error else str(response.status)] += 1
            if unexpected:
                self.unexpected.append(f"{user} sent {body}: {response.status} {text[-600:]}")

    def client(self, user):
        while not self.over.is_set():
            with contextlib.closing(http.client.HTTPConnection(self.server.url[7:])) as connection:
                try:
                    for _ in range(random.randrange(1, 200)):
                        self.over.is_set() or self.send(connection, user)
                except (http.client.HTTPException, OSError) as error:
                    self.unexpected.append(f"{user} got no response: {error!r}")
                    time.sleep(1)

    def change_array(self):
        """Replaces the array file: other values, fewer records, and for a moment a broken file."""
        draft = self.server.array.with_suffix(".draft")
        while not self.over.wait(1):
            contents = json.loads(json.dumps(self.contents))
            for cage in contents["cages"]:
                cage.update(position=random.randrange(99), location=str(random.random()))
            for kind in ("cages", "magazines", "fcals"):
                del contents[kind][random.randrange(1, 99) :]
            text = json.dumps(contents)
            draft.write_text(text[: random.choice((len(text), -1))])
            os.replace(draft, self.server.array)

    def resources(self):
        """The server's resident memory in MB, and its descriptors."""
        process = f"/proc/{self.server.process.pid}"
        with open(f"{process}/statm", encoding="ascii") as numbers:
            pages = int(numbers.read().split()[1])
        return pages * os.sysconf("SC_PAGESIZE") // 1000000, len(os.listdir(f"{process}/fd"))

    def report(self, seconds):
        with self.lock:
            responses = ", ".join(f"{count} x {each}" for each, count in self.responses.items())
        memory, descriptors = self.resources()
        print(
            f"{seconds:.0f} s: {responses}; {len(self.unexpected)} unexpected; "
            f"{memory} MB, {descriptors} descriptors",
            flush=True,
        )

    def run(self, seconds, clients, is_sanitized):
        """Returns what is wrong, a line each. A sanitizer's own memory grows."""
        memory, descriptors = [], self.resources()[1]
        start = time.monotonic()
        with concurrent.futures.ThreadPoolExecutor(clients + 1) as threads:
            running = [threads.submit(self.change_array)]
            for number in range(clients):
                running.append(threads.submit(self.client, LOGINS[number % len(LOGINS)]))
            while (spent := time.monotonic() - start) < seconds and self.server.is_running():
                memory.append(self.resources()[0])
                self.report(spent)
                time.sleep(min(10, seconds - spent))
            self.over.set()
        for each in running:
            each.result()  # raises what ended it
        wrong = self.unexpected[:10]
        if not self.server.is_running():
            return [*wrong, "the server ended by itself"]
        deadline = time.monotonic() + SECONDS
        while self.resources()[1] > descriptors + 4 and time.monotonic() < deadline:
            time.sleep(0.1)  # it closes what the clients have closed
        if self.resources()[1] > descriptors + 4:  # the module has some of its own
            wrong.append(f"{self.resources()[1]} descriptors, {descriptors} before the clients")
        third = len(memory) // 3
        if third and not is_sanitized and max(memory[-third:]) > 1.2 * max(memory[third:-third]) + 5:
            wrong.append(f"memory keeps growing: {memory} MB")
        return wrong


def main():
    parser = argparse.ArgumentParser(prog="./qbx soak", description=DESCRIPTION)
    parser.add_argument("--minutes", type=float, metavar="N", default=5, help="how long (default 5)")
    parser.add_argument("--clients", type=int, metavar="N", default=16, help="how many (default 16)")
    parser.add_argument(
        "--release", action="store_true", help="the server as it is, without ThreadSanitizer"
    )
    parser.add_argument(
        "--build", type=pathlib.Path, metavar="FOLDER", help="a build that is there already"
    )
    options = parser.parse_args()
    build = options.build or ROOT / "build" / ("release" if options.release else "tsan")
    # The log's end is to be the reason of a failure, such as a sanitizer's report.
    os.environ.update(QBX_LOG_LEVEL="0", TSAN_OPTIONS="halt_on_error=1")
    server = Server(build, array=odd_array.contents())
    server.log = None
    server.restart()
    is_sanitized = build.name != "release"
    wrong = Soak(server).run(60 * options.minutes, options.clients, is_sanitized)
    try:
        server.close()
    except AssertionError as error:  # a sanitizer's report, or a crash
        wrong.append(str(error))
    print("\n".join(wrong) or "nothing unexpected")
    sys.exit(bool(wrong))


if __name__ == "__main__":
    main()
