"""Measures what WBEM requests cost one or several servers, turn by turn in one run.

Every row is one operation, asked over connections that are kept alive, with requests prepared
beforehand: CPU time of the server's processes per request, and wall time as percentiles and rate,
for one client and for several. Servers on this machine are found by their port; of others there is no
CPU time and no memory. What is asked for is taken from the servers' own instance names, so that any
array will do; servers that are to be compared must serve the same.
"""

import argparse
import base64
import json
import multiprocessing
import pathlib
import re
import socket
import statistics
import subprocess
import time
import urllib.parse

CLIENTS = 8
ELEMENTS = ("QBX_Magazine", "QBX_DriveCage", "QBX_CageInterfaceCard", "QBX_CageSensor")
ASSOCIATIONS = ("QBX_MagazineInDriveCage", "QBX_SysCageContainer")
LARGEST = "EnumerateInstances QBX_Magazine"


class Connection:
    """A connection to a server that is kept alive."""

    def __init__(self, url):
        parts = urllib.parse.urlsplit(url)
        login = f"{parts.username or 'admin'}:{parts.password or 'admin'}"
        self.head = f"POST /cimom HTTP/1.1\r\nHost: {parts.hostname}\r\nAuthorization: Basic "
        self.head += base64.b64encode(login.encode()).decode() + "\r\n"
        self.socket = socket.create_connection((parts.hostname, parts.port))
        self.socket.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
        self.file = self.socket.makefile("rb", 1 << 18)

    def prepared(self, operation, parameters="", target=None):
        """The bytes of a request; `target`: the INSTANCENAME of the object of a method."""
        path = '<NAMESPACE NAME="root"/><NAMESPACE NAME="qbx"/>'
        path = f"<LOCALNAMESPACEPATH>{path}</LOCALNAMESPACEPATH>"
        element, named = "IMETHODCALL", "root/qbx"
        if target:
            element, named = "METHODCALL", "root/qbx:" + path_text(target)
            path = f"<LOCALINSTANCEPATH>{path}{target}</LOCALINSTANCEPATH>"
        call = f'<{element} NAME="{operation}">{path}{parameters}</{element}>'
        body = '<?xml version="1.0"?><CIM CIMVERSION="2.0" DTDVERSION="2.0"><MESSAGE ID="1" '
        body += f'PROTOCOLVERSION="1.0"><SIMPLEREQ>{call}</SIMPLEREQ></MESSAGE></CIM>'
        fields = f"CIMOperation: MethodCall\r\nCIMMethod: {operation}\r\nCIMObject: {named}\r\n"
        fields += f"Content-Type: application/xml\r\nContent-Length: {len(body.encode())}\r\n\r\n"
        return (self.head + fields + body).encode()

    def ask(self, request):
        """The reply's body; ValueError for a reply with another status than 200."""
        self.socket.sendall(request)
        head = [self.file.readline()]
        while head[-1] not in (b"\r\n", b""):
            head.append(self.file.readline())
        fields = dict(line.lower().split(b":", 1) for line in head[1:-1])
        if b" 200 " not in head[0]:
            raise ValueError(b"".join(head).decode())
        if b"content-length" in fields:
            return self.file.read(int(fields[b"content-length"]))
        body = b""
        while size := int(self.file.readline(), 16):
            body += self.file.read(size)
            self.file.readline()
        while self.file.readline() != b"\r\n":
            pass  # trailers
        return body

    def checked(self, request):
        """The reply's body; ValueError for a reply that is an error."""
        reply = self.ask(request)
        if b"<ERROR" in reply:
            raise ValueError(reply[reply.index(b"<ERROR") :][:500].decode())
        return reply

    def names(self, class_name):
        """The INSTANCENAME elements of all instances of the class."""
        start = f'<INSTANCENAME CLASSNAME="{class_name}'
        reply = self.checked(self.prepared("EnumerateInstanceNames", named_class(class_name)))
        return [
            start + part[: part.rindex("</INSTANCENAME>")] + "</INSTANCENAME>"
            for part in reply.decode().split(start)[1:]
        ]


def path_text(name):
    """The text of an INSTANCENAME whose keys are strings."""
    keys = re.findall(r'KEYBINDING NAME="(\w+)".*?<KEYVALUE[^>]*>(.*?)<', name, re.DOTALL)
    class_name = re.search(r'CLASSNAME="(\w+)"', name)[1]
    return class_name + "." + ",".join(f'{key}="{value}"' for key, value in keys)


def parameter(name, value):
    return f'<IPARAMVALUE NAME="{name}">{value}</IPARAMVALUE>'


def named_class(name):
    return parameter("ClassName", f'<CLASSNAME NAME="{name}"/>')


def rows(connection):
    """{row: request} for the array that the server has."""
    found, everything = {}, parameter("LocalOnly", "<VALUE>FALSE</VALUE>")

    def add(row, operation, parameters, target=None):
        found[row] = connection.prepared(operation, parameters, target)

    for name in ELEMENTS + ASSOCIATIONS:
        add(f"EnumerateInstances {name}", "EnumerateInstances", named_class(name) + everything)
        add(f"EnumerateInstanceNames {name}", "EnumerateInstanceNames", named_class(name))
        names = connection.names(name)
        for where, path in ("first", names[0]), ("middle", names[len(names) // 2]):
            given = parameter("InstanceName", path) + everything
            add(f"GetInstance {name}, {where}", "GetInstance", given)
    package = connection.names("QBX_SystemPackage")[0]
    given = parameter("InstanceName", package) + everything
    add("GetInstance QBX_SystemPackage, static", "GetInstance", given)
    magazine = connection.names("QBX_Magazine")[0]
    for name, path in (
        ("the system package", package),
        ("a cage", connection.names("QBX_DriveCage")[0]),
        ("a magazine", magazine),
    ):
        for operation in "Associators", "AssociatorNames", "References", "ReferenceNames":
            add(f"{operation} of {name}", operation, parameter("ObjectName", path))
    add("InvokeMethod Locate of a magazine", "Locate", "", magazine)
    add("GetClass QBX_Magazine", "GetClass", named_class("QBX_Magazine") + everything)
    return found


def processes(url):
    """Process ids of the server behind a URL of this machine, agents of its own included."""
    port = f":{urllib.parse.urlsplit(url).port:04X}"
    lines = [line.split() for table in ("tcp", "tcp6") for line in open(f"/proc/net/{table}")]
    sockets = {f"socket:[{line[9]}]" for line in lines if line[1].endswith(port) and line[3] == "0A"}
    parents, serving = {}, set()
    for process in pathlib.Path("/proc").glob("[0-9]*"):
        pid = int(process.name)
        try:
            parents[pid] = int((process / "stat").read_text().rpartition(")")[2].split()[1])
            if any(str(link.readlink()) in sockets for link in (process / "fd").iterdir()):
                serving.add(pid)
        except OSError:
            continue  # it has ended, or is another user's
    while more := {pid for pid, parent in parents.items() if parent in serving} - serving:
        serving |= more
    return serving


def cpu_seconds(pids):
    return sum(time.clock_gettime(~pid << 3 | 2) for pid in pids)  # CPU clock of a process


def memory(url):
    """{"resident": MiB, "peak": MiB}: the peak since the call before."""
    found = {"VmRSS": 0, "VmHWM": 0}  # in KiB
    for pid in processes(url):
        process = pathlib.Path("/proc", str(pid))
        for line in (process / "status").read_text().splitlines():
            name, _, value = line.partition(":")
            if name in found:
                found[name] += int(value.split()[0])
        (process / "clear_refs").write_text("5")
    return {"resident": found["VmRSS"] // 1024, "peak": found["VmHWM"] // 1024}


def asked(url, request, seconds, least=1):
    """Wall seconds of each request of one client that asks for so long, and at least so often."""
    connection, took = Connection(url), []
    end = time.monotonic() + seconds
    while time.monotonic() < end or len(took) < least:
        start = time.monotonic()
        connection.ask(request)
        took.append(time.monotonic() - start)
    return took


def asked_by_many(url, request, seconds, least=1):
    with multiprocessing.Pool(CLIENTS) as pool:
        taken = pool.starmap(asked, [(url, request, seconds, least)] * CLIENTS, chunksize=1)
    return sum(taken, [])


def measured(urls, request_of, seconds, rounds, ask=asked):
    """{server: figures} of one row; `urls` and `request_of` by server."""
    took, cpu, rate = ({server: [] for server in urls} for _ in range(3))
    for _ in range(rounds):
        for server, url in urls.items():
            pids = processes(url)
            before, start = cpu_seconds(pids), time.monotonic()
            wall = ask(url, request_of[server], seconds)
            rate[server].append(len(wall) / (time.monotonic() - start))
            cpu[server].append((cpu_seconds(pids) - before) / len(wall))
            took[server] += wall
    return {
        server: {
            "cpu_ms": round(1000 * statistics.median(cpu[server]), 4),
            "p50_ms": round(1000 * statistics.median(took[server]), 3),
            "p99_ms": round(1000 * sorted(took[server])[int(0.99 * len(took[server]))], 3),
            "per_second": round(statistics.median(rate[server]), 1),
        }
        for server in urls
    }


def load(urls, pattern="", seconds=0.3, rounds=3):
    """Measures all rows whose name the pattern matches; `urls` by server.

    {"rows": {row: {clients: {server: figures}}}, "memory": {when: {server: figures}}}
    """
    print(f"{'':44}" + "".join(f" {server:>40}" for server in urls))
    print(f"{'':43}n" + "    CPU ms       p50       p99     per s " * len(urls))
    resident = {"at start": {server: memory(url) for server, url in urls.items()}}
    connections = {server: Connection(url) for server, url in urls.items()}
    requests = {server: rows(connection) for server, connection in connections.items()}
    found = {}
    for row in next(iter(requests.values())):
        if not re.search(pattern, row):
            continue
        request = {server: requests[server][row] for server in urls}
        sizes = {server: len(connections[server].checked(request[server])) for server in urls}
        found[row] = {"1": measured(urls, request, seconds, rounds)}
        for server, size in sizes.items():
            found[row]["1"][server]["bytes"] = size
        if max(sizes.values()) < 1 << 20:
            many = measured(urls, request, seconds, rounds, asked_by_many)
            found[row][str(CLIENTS)] = many
        print_row(row, found[row])
    resident["after the rows"] = {server: memory(url) for server, url in urls.items()}
    for when, ask in ("one after another", asked), ("at once", asked_by_many):
        for server, url in urls.items():
            ask(url, requests[server][LARGEST], 0, CLIENTS if ask is asked else 1)
            resident.setdefault(f"{CLIENTS} large replies {when}", {})[server] = memory(url)
    for when, by_server in resident.items():
        print(f"{when:44}", *("{resident:8} (peak {peak}) MiB".format(**m) for m in by_server.values()))
    return {"rows": found, "memory": resident}


def print_row(row, clients):
    """A line for each number of clients; the last columns are how many times as fast the first server
    is as each of the others, by CPU time.
    """
    for number, by_server in clients.items():
        line = f"{row if number == '1' else '':43}{number}"
        for figures in by_server.values():
            line += "{cpu_ms:10.3f}{p50_ms:10.2f}{p99_ms:10.2f}{per_second:10.1f} ".format(**figures)
        first, *others = (figures["cpu_ms"] for figures in by_server.values())
        print(line + "".join(f"{other / first:7.2f}" for other in others if first), flush=True)


def compare_with(earlier, found):
    """Prints how many times as fast each row of the first server is as in an earlier result."""
    for row, clients in found["rows"].items():
        old = earlier["rows"].get(row, {}).get("1")
        if old:
            new, was = (next(iter(each.values()))["cpu_ms"] for each in (clients["1"], old))
            print(f"{row:44} {was:9.3f} -> {new:9.3f} ms CPU, {was / new:6.2f} times as fast")


def result(found):
    """With the date and the commit."""
    commit = subprocess.run(
        ["git", "rev-parse", "--short", "HEAD"], capture_output=True, text=True, check=False
    )
    return {"date": time.strftime("%Y-%m-%d %H:%M"), "commit": commit.stdout.strip(), **found}


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("urls", nargs="+", metavar="URL", help="http://[user:password@]host:port")
    parser.add_argument("--rows", default="", help="only rows that this regular expression matches")
    parser.add_argument("--seconds", type=float, default=0.3, help="of a row, server and round")
    parser.add_argument("--rounds", type=int, default=3)
    parser.add_argument("--json", type=pathlib.Path, help="write the results there")
    parser.add_argument("--against", type=pathlib.Path, help="compare with earlier results")
    options = parser.parse_args()
    urls = {url: url for url in options.urls}
    found = result(load(urls, options.rows, options.seconds, options.rounds))
    if options.json:
        options.json.write_text(json.dumps(found, indent=1))
    if options.against:
        compare_with(json.loads(options.against.read_text()), found)


if __name__ == "__main__":
    main()
