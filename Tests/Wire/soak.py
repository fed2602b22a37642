"""Many clients ask a server for minutes while its array changes: what `./qbx soak` runs.

Fails on an answer that was not to be expected, on memory or descriptors that keep growing, and when
the server ends by itself or with a sanitizer's report.
"""

import argparse
import base64
import collections
import contextlib
import http.client
import json
import os
import random
import re
import sys
import threading
import time
import urllib.parse
from xml.sax.saxutils import escape, quoteattr

import run
from arrayfile import Array
from server import NAMESPACE, SAMPLE_FIRMWARE, Server

LOGINS = ("admin", "admin", "operator", "viewer", "guest", "blocked")
EXPECTED = {"200", "200 error 2", "200 error 6", "200 error 7"}  # denied, not found, not supported
READ = ("Associators", "AssociatorNames", "References", "ReferenceNames")
DAMAGED = EXPECTED | {"200 error 4", "200 error 5", "200 error 13", "200 error 17", "400", "501"}

Question = collections.namedtuple("Question", "method object body")


def instance_name(path):
    """The INSTANCENAME of a path (class, {key: value})."""
    bindings = ""
    for key, value in path[1].items():
        content = f"<KEYVALUE>{escape(str(value))}</KEYVALUE>"
        if isinstance(value, tuple):
            content = f"<VALUE.REFERENCE>{instance_name(value)}</VALUE.REFERENCE>"
        bindings += f'<KEYBINDING NAME="{key}">{content}</KEYBINDING>'
    return f'<INSTANCENAME CLASSNAME="{path[0]}">{bindings}</INSTANCENAME>'


def path_text(path):
    """A path as it stands in the CIMObject header."""
    keys = (f"{key}={json.dumps(path[1][key], ensure_ascii=False)}" for key in sorted(path[1]))
    return f"{NAMESPACE}:{path[0]}.{','.join(keys)}"


def question(kind, method, target, path, parameters):
    levels = "".join(f'<NAMESPACE NAME="{each}"/>' for each in NAMESPACE.split("/"))
    local = f"<LOCALNAMESPACEPATH>{levels}</LOCALNAMESPACEPATH>"
    if path:
        local = f"<LOCALINSTANCEPATH>{local}{instance_name(path)}</LOCALINSTANCEPATH>"
    given = "".join(
        f"<{kind[0]}PARAMVALUE NAME={quoteattr(name)}>{value}</{kind[0]}PARAMVALUE>"
        for name, value in parameters.items()
    )
    call = f'<{kind[1]} NAME="{method}">{local}{given}</{kind[1]}>'
    body = f"""<?xml version="1.0"?><CIM CIMVERSION="2.0" DTDVERSION="2.0"><MESSAGE ID="1" \
PROTOCOLVERSION="1.0"><SIMPLEREQ>{call}</SIMPLEREQ></MESSAGE></CIM>"""
    return Question(method, target, body)


def intrinsic(operation, **parameters):
    return question(("I", "IMETHODCALL"), operation, NAMESPACE, None, parameters)


def invocation(path, method, **parameters):
    given = {name: f"<VALUE>{escape(str(value))}</VALUE>" for name, value in parameters.items()}
    return question(("", "METHODCALL"), method, path_text(path), path, given)


def questions(array):
    """Every operation on the classes and the elements of an array, in good form."""
    pairs = [pair for *_, found in array.associations.values() for pair in found]
    names = {each.path[0] for each in array.everything()} | set(array.associations)
    for name in (*sorted(names), "CIM_Chassis", "QBX_StorageSystem"):
        asked = {"ClassName": f'<CLASSNAME NAME="{name}"/>'}
        for operation in ("EnumerateInstances", "EnumerateInstanceNames", "GetClass"):
            yield intrinsic(operation, **asked)
        yield intrinsic("EnumerateClasses", DeepInheritance="<VALUE>TRUE</VALUE>", **asked)
    for path in [each.path for each in array.everything()] + [first for first, _ in pairs]:
        named = instance_name(path)
        some = "<VALUE.ARRAY><VALUE>Position</VALUE><VALUE>Tag</VALUE></VALUE.ARRAY>"
        yield intrinsic("GetInstance", InstanceName=named)
        yield intrinsic("GetInstance", InstanceName=named, PropertyList=some)
        for operation in READ:
            yield intrinsic(operation, ObjectName=named)
    for path in [each.path for each in array.magazines]:
        for is_on in ("true", "false"):
            yield invocation(path, "SetLoopState", IsOnloop=is_on)
        yield invocation(path, "Locate", LocateTimer=1)
    for path in [each.path for each in array.cards]:
        yield invocation(path, "Locate", LocateTimer=1, Port=0)
    for path in [each.path for each in array.cages]:
        named, place = instance_name(path), "<VALUE>Room 1 &lt;&amp;&gt; \u00e4</VALUE>"
        changed = f'<PROPERTY NAME="Location" TYPE="string">{place}</PROPERTY>'
        whole = f'{named}<INSTANCE CLASSNAME="{path[0]}">{changed}</INSTANCE>'
        whole = f"<VALUE.NAMEDINSTANCE>{whole}</VALUE.NAMEDINSTANCE>"
        named = {"InstanceName": named, "PropertyName": "<VALUE>Location</VALUE>"}
        yield intrinsic("ModifyInstance", ModifiedInstance=whole)
        yield intrinsic("GetProperty", **named)
        yield intrinsic("SetProperty", **named, NewValue=place)
        yield invocation(path, "Locate", LocateTimer=1)
        yield invocation(path, "Upgrade", FileName=SAMPLE_FIRMWARE, IsPortA="true")


def damaged(body):
    """A body with a fault, or with another byte in it, which may be none."""
    place = random.randrange(len(body))
    return body[:place] + random.choice((b"", b"<", b"\xff" + body[place:], b"a" + body[place + 1 :]))


class Soak:
    def __init__(self, server, contents):
        self.server, self.contents = server, contents
        self.questions = list(questions(Array(contents)))
        self.answers = collections.Counter()
        self.unexpected = []
        self.lock = threading.Lock()
        self.over = threading.Event()

    def ask(self, connection, user, password):
        """Asks something; notes the answer."""
        asked = random.choice(self.questions)
        body, expected = asked.body.encode(), EXPECTED
        if user == "admin":
            expected = EXPECTED - {"200 error 2"}
        if random.random() < 0.1:
            body, expected = damaged(body), DAMAGED
        if password != user:
            expected = {"401"}
        login = base64.b64encode(f"{user}:{password}".encode()).decode()
        fields = {
            "Content-Type": "application/xml",
            "CIMOperation": "MethodCall",
            "CIMMethod": asked.method,
            "CIMObject": urllib.parse.quote(asked.object, safe=""),
            "Authorization": f"Basic {login}",
        }
        connection.request("POST", "/cimom", body, fields)
        reply = connection.getresponse()
        told = reply.read().decode()
        error = re.search(r'<ERROR CODE="(\d+)"', told)
        outcome = f"{reply.status} error {error[1]}" if error else str(reply.status)
        with self.lock:
            self.answers[outcome] += 1
            if outcome not in expected and " not found" not in told:
                self.unexpected.append((user, outcome, body.decode(errors="replace"), told[-600:]))

    def client(self, user, address="127.0.0.1", password=None, pause=0):
        """Asks until the end; what the server ends is opened again."""
        while not self.over.is_set():
            connection = http.client.HTTPConnection(
                "127.0.0.1", self.server.port, timeout=120, source_address=(address, 0)
            )
            try:
                for _ in range(random.randrange(1, 200)):
                    if not self.over.wait(pause):
                        self.ask(connection, user, password or user)
            except (http.client.HTTPException, OSError) as error:
                with self.lock:
                    self.answers[type(error).__name__] += 1
                    self.unexpected.append((user, repr(error), "", ""))
            finally:
                connection.close()

    def change_array(self):
        """Replaces the array file: other values, fewer records, and for a moment a broken file."""
        while not self.over.wait(0.2):
            contents = json.loads(json.dumps(self.contents))
            for cage in contents["cages"]:
                cage.update(position=random.randrange(99), location=str(random.random()))
            for kind in ("cages", "magazines", "fcals"):
                del contents[kind][random.randrange(1, 99) :]
            text = json.dumps(contents)
            self.replace(text[: random.choice((-1, len(text)))])
        self.replace(json.dumps(self.contents))

    def replace(self, text):
        draft = self.server.array.with_suffix(".draft")
        draft.write_text(text)
        os.replace(draft, self.server.array)

    def resources(self):
        """The server's resident memory in MB, and its descriptors."""
        process = f"/proc/{self.server.process.pid}"
        with open(f"{process}/statm", encoding="ascii") as numbers:
            pages = int(numbers.read().split()[1])
        return pages * os.sysconf("SC_PAGESIZE") / 1e6, len(os.listdir(f"{process}/fd"))

    def report(self, seconds, memory, descriptors):
        answers = ", ".join(f"{count} x {each}" for each, count in sorted(self.answers.items()))
        print(
            f"{seconds:.0f} s: {sum(self.answers.values())} answers ({answers}), "
            f"{len(self.unexpected)} unexpected; {memory:.0f} MB, {descriptors} descriptors",
            flush=True,
        )

    def run(self, seconds, clients):
        """Returns what is wrong, a line each."""
        wrong, memory, before = [], [], self.resources()[1]
        logins = [(LOGINS[each % len(LOGINS)],) for each in range(clients)]
        logins.append(("admin", "127.0.0.2", "wrong", 1))
        threads = [threading.Thread(target=self.client, args=login) for login in logins]
        threads.append(threading.Thread(target=self.change_array))
        for thread in threads:
            thread.start()
        start = time.monotonic()
        while (spent := time.monotonic() - start) < seconds and self.server.process.poll() is None:
            time.sleep(min(10, seconds - spent))
            with contextlib.suppress(OSError):  # the server has ended
                memory.append(self.resources()[0])
                self.report(time.monotonic() - start, *self.resources())
        self.over.set()
        for thread in threads:
            thread.join()
        for user, outcome, body, told in self.unexpected[:10]:
            wrong.append(f"{outcome} for {user}: {body} ... {told}")
        if (status := self.server.process.poll()) is not None:
            return [*wrong, f"the server ended by itself with status {status}"]
        time.sleep(2)
        if (after := self.resources()[1]) > before + 4:
            wrong.append(f"{after} descriptors, before all clients {before}")
        third = len(memory) // 3
        middle, late = (sum(part) for part in (memory[third : 2 * third], memory[-third:]))
        if third > 1 and late > 1.1 * middle + 5 * third:
            wrong.append("memory keeps growing: " + ", ".join(f"{each:.0f}" for each in memory))
        return wrong


def main():
    parser = argparse.ArgumentParser(prog="qbx soak")
    parser.add_argument("--build", required=True)
    parser.add_argument("--minutes", type=float, default=5)
    parser.add_argument("--clients", type=int, default=16)
    options = parser.parse_args()
    server = Server(options.build, array=run.ARRAY)
    server.log = None  # failures only, in the server's own output
    server.restart()
    soak = Soak(server, json.loads(run.ARRAY.read_text(encoding="utf-8")))
    wrong = soak.run(60 * options.minutes, options.clients)
    try:
        server.close()
    except AssertionError as error:
        wrong.append(str(error))
    print("\n".join(wrong) or "nothing unexpected")
    sys.exit(bool(wrong))


if __name__ == "__main__":
    main()
