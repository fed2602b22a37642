"""What WBEM requests cost servers: several are measured turn by turn in one run."""
# Every row is one operation, requested over connections that are kept alive, with requests prepared
# beforehand: CPU time of the server's processes per request, and wall time as percentiles and rate,
# for one client and for several. Servers on this machine are found by their port. The objects
# are taken from the servers' own instance names: any array will do, the same for all.

import base64
import itertools
import multiprocessing
import pathlib
import re
import socket
import statistics
import time
import urllib.parse

CLIENTS = 8
MOST_FOR_MANY, MOST_FOR_MANY_NAMES = 0.05, 1.0  # seconds of a request that many clients send at once
REST = 2.0  # seconds after which a server has given back what it will
CLASSES: tuple[str, ...] = ("QBX_Magazine", "QBX_DriveCage", "QBX_CageInterfaceCard", "QBX_CageSensor")
CLASSES += ("QBX_MagazineInDriveCage", "QBX_SysCageContainer")
LARGEST = "EnumerateInstances QBX_Magazine"


class Connection:
    """A connection that is kept alive. Raises ValueError for replies that are errors."""

    def __init__(self, url):
        parts = urllib.parse.urlsplit(url)
        login = f"{parts.username or 'admin'}:{parts.password or 'admin'}".encode()
        self.head = f"POST /cimom HTTP/1.1\r\nHost: {parts.hostname}\r\nAuthorization: Basic "
        self.head += base64.b64encode(login).decode() + "\r\nContent-Type: application/xml\r\n"
        self.socket = socket.create_connection((parts.hostname, parts.port))
        self.socket.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
        self.file = self.socket.makefile("rb", 1 << 18)

    # The bytes of a request; a method's names the INSTANCENAME of its object.
    def prepared(self, operation, parameters="", target=""):
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
        return f"{self.head}{fields}Content-Length: {len(body)}\r\n\r\n{body}".encode()

    # The response's body; only the HTTP status is checked. Notes the seconds until its first byte.
    def send(self, request):
        start = time.monotonic()
        self.socket.sendall(request)
        head = [self.file.readline()]
        self.waited = time.monotonic() - start
        if not head[0]:
            raise ConnectionError("the server has closed the connection")
        head += iter(self.file.readline, b"\r\n")
        if b" 200 " not in head[0]:
            raise ValueError(b"".join(head).decode())
        fields = dict(line.lower().split(b":", 1) for line in head[1:])
        if b"content-length" in fields:
            return self.file.read(int(fields[b"content-length"]))
        chunks = []
        while size := int(self.file.readline(), 16):
            chunks.append(self.file.read(size + 2)[:-2])
        list(iter(self.file.readline, b"\r\n"))  # trailers
        return b"".join(chunks)

    def checked(self, request):
        body = self.send(request)
        if b"<ERROR" in body:
            raise ValueError(body[body.index(b"<ERROR") :][:500].decode())
        return body

    # The INSTANCENAME elements of all instances of a class.
    def names(self, class_name):
        start, end = f'<INSTANCENAME CLASSNAME="{class_name}', "</INSTANCENAME>"
        body = self.checked(self.prepared("EnumerateInstanceNames", named_class(class_name)))
        parts = body.decode().split(start)[1:]
        return [start + part[: part.rindex(end)] + end for part in parts]


# The text of an INSTANCENAME whose keys are strings.
def path_text(name):
    keys = re.findall(r'KEYBINDING NAME="(\w+)".*?<KEYVALUE[^>]*>(.*?)<', name, re.DOTALL)
    class_name = re.findall(r'CLASSNAME="(\w+)"', name)[0]
    return class_name + "." + ",".join(f'{key}="{value}"' for key, value in keys)


def parameter(name, value):
    return f'<IPARAMVALUE NAME="{name}">{value}</IPARAMVALUE>'


def named_class(name):
    return parameter("ClassName", f'<CLASSNAME NAME="{name}"/>')


# {row: request} for the array that the server has.
def rows(connection):
    found, everything = {}, parameter("LocalOnly", "<VALUE>FALSE</VALUE>")

    def add_fetch(row, path):
        given = parameter("InstanceName", path) + everything
        found[f"GetInstance {row}"] = connection.prepared("GetInstance", given)

    for name in CLASSES:
        for operation, more in ("EnumerateInstances", everything), ("EnumerateInstanceNames", ""):
            request = connection.prepared(operation, named_class(name) + more)
            found[f"{operation} {name}"] = request
        names = connection.names(name)
        add_fetch(f"{name}, first", names[0])
        add_fetch(f"{name}, middle", names[len(names) // 2])
    ends = ("QBX_SystemPackage", "QBX_DriveCage", "QBX_Magazine")
    package, cage, magazine = (connection.names(name)[0] for name in ends)
    add_fetch("QBX_SystemPackage, static", package)
    for name, path in ("the system", package), ("a cage", cage), ("a magazine", magazine):
        for operation in "Associators", "AssociatorNames", "References", "ReferenceNames":
            request = connection.prepared(operation, parameter("ObjectName", path))
            found[f"{operation} of {name}"] = request
    found["InvokeMethod Locate of a magazine"] = connection.prepared("Locate", "", magazine)
    found["GetClass QBX_Magazine"] = connection.prepared("GetClass", named_class("QBX_Magazine") + everything)
    return found


# Ids of the processes behind a URL of this machine: the one that listens, its children, and OpenPegasus'
# agents, which leave their parent: they have its home.
def processes(url):
    port = f":{urllib.parse.urlsplit(url).port:04X}"
    tables = (pathlib.Path("/proc/net", name).read_text() for name in ("tcp", "tcp6"))
    lines = [line.split() for table in tables for line in table.splitlines()]
    listening = (line for line in lines if line[1].endswith(port) and line[3] == "0A")
    sockets = {f"socket:[{line[9]}]" for line in listening}
    parents, homes, serving = {}, {}, set()
    for process in pathlib.Path("/proc").glob("[0-9]*"):
        pid = int(process.name)
        try:
            name, _, fields = (process / "stat").read_text().partition(")")
            parents[pid] = int(fields.split()[1])
            if name.endswith(("(cimserver", "(cimprovagt")):
                homes[pid] = re.findall(rb"\0PEGASUS_HOME=[^\0]+", (process / "environ").read_bytes())
            if any(str(link.readlink()) in sockets for link in (process / "fd").iterdir()):
                serving.add(pid)
        except OSError:
            continue  # it has ended, or is another user's
    home = next((homes[pid] for pid in serving if homes.get(pid)), None)
    serving |= {pid for pid, agents in homes.items() if agents == home}
    while more := {pid for pid, parent in parents.items() if parent in serving} - serving:
        serving |= more
    return serving


def cpu_seconds(pids):
    return sum(time.clock_gettime(~pid << 3 | 2) for pid in pids)  # CPU clock of a process


# MiB; the peak since the call before.
def memory(url):
    found = {"VmRSS": 0.0, "VmHWM": 0.0}
    for pid in processes(url):
        process = pathlib.Path("/proc", str(pid))
        for line in (process / "status").read_text().splitlines():
            if line.partition(":")[0] in found:
                found[line.partition(":")[0]] += int(line.split()[1]) / 1024
        (process / "clear_refs").write_text("5")
    return {"resident": round(found["VmRSS"], 1), "peak": round(found["VmHWM"], 1)}


# Wall seconds (to the first byte and to the last) of each request of a client that sends them for so long, and at
# least so often.
def sent(url, request, seconds, least=1):
    connection, took = Connection(url), list[tuple[float, float]]()
    end = time.monotonic() + seconds
    while time.monotonic() < end or len(took) < least:
        start = time.monotonic()
        connection.send(request)
        took.append((connection.waited, time.monotonic() - start))
    return took


def sent_by_many(url, request, seconds):
    with multiprocessing.Pool(CLIENTS) as pool:
        found = pool.starmap(sent, [(url, request, seconds)] * CLIENTS, chunksize=1)
        return list(itertools.chain.from_iterable(found))


# {server: figures} of one row; `urls` and `requests` by server. CPU time is that of the best round; the ratio
# says how many times as fast the first server was, in each round.
def measured(urls, requests, seconds, rounds, send):
    first_byte, took, cpu, rate, client = ({server: list[float]() for server in urls} for _ in range(5))
    for server, url in list(urls.items()) * rounds:
        pids = processes(url)
        before, start, own = cpu_seconds(pids), time.monotonic(), time.process_time()
        wall = send(url, requests[server], seconds)
        client[server].append(1000 * (time.process_time() - own) / len(wall))
        rate[server].append(len(wall) / (time.monotonic() - start))
        cpu[server].append(1000 * (cpu_seconds(pids) - before) / len(wall))
        first_byte[server] += (1000 * begun for begun, _ in wall)
        took[server] += (1000 * ended for _, ended in wall)
    first = next(iter(urls))
    return {
        server: {
            "cpu_ms": round(min(cpu[server]), 4),
            "ratios": [round(each / own, 2) for each, own in zip(cpu[server], cpu[first], strict=True)],
            "client_ms": round(min(client[server]), 4),
            "first_byte_ms": round(statistics.median(first_byte[server]), 3),
            "p50_ms": round(statistics.median(took[server]), 3),
            "p99_ms": round(sorted(took[server])[int(0.99 * len(took[server]))], 3),
            "per_second": round(statistics.median(rate[server]), 1),
        }
        for server in urls
    }


# {when: {server: MiB}}, each when the server has rested: after large replies, and after a day's work, which is
# lists of instances and of names by several clients at once, and small requests.
def memories(server, url, ask):
    found = {}

    def note(when):
        found[when] = {server: memory(url)}

    sent(url, ask[LARGEST], 0, CLIENTS)
    time.sleep(REST)
    note("after large replies")
    sent_by_many(url, ask[LARGEST], 0)
    note("just after large replies at once")
    for _ in range(4):
        sent_by_many(url, ask["EnumerateInstances QBX_DriveCage"], 0)
        sent_by_many(url, ask["EnumerateInstanceNames QBX_DriveCage"], 0)
    for _ in range(20):
        sent(url, ask["GetInstance QBX_SystemPackage, static"], 0)
    time.sleep(REST)
    note("aged")
    return found


# {"rows": {row, clients: {server: figures}}, "memory": {when: {server: figures}}}, printed as well.
# The last columns: how many times as fast the first server is as each of the others, by CPU time.
def load(urls, pattern, seconds, rounds):
    fresh = {server: memory(url) for server, url in urls.items()}
    requests = {server: rows(Connection(url)) for server, url in urls.items()}
    print(f"{'':46}" + "".join(f"{server:>60}" for server in urls))
    print(f"{'clients':>46}" + "    CPU ms    client     first       p50       p99     per s" * len(urls))
    found = {}
    for row in filter(re.compile(pattern).search, next(iter(requests.values()))):
        request = {server: requests[server][row] for server in urls}
        start = time.monotonic()
        for server, url in urls.items():
            Connection(url).checked(request[server])
        # Eight requests at once that each take long would only measure the queue.
        many = time.monotonic() - start < (MOST_FOR_MANY_NAMES if "Names" in row else MOST_FOR_MANY)
        for clients, send in ((1, sent), (CLIENTS, sent_by_many))[: 2 if many else 1]:
            by_server = found[f"{row}, {clients}"] = measured(urls, request, seconds, rounds, send)
            columns = "{cpu_ms:10.3f}{client_ms:10.3f}{first_byte_ms:10.2f}{p50_ms:10.2f}{p99_ms:10.2f}"
            columns += "{per_second:10.1f}"
            line = "".join(columns.format(**figures) for figures in by_server.values())
            first, *others = (figures["cpu_ms"] for figures in by_server.values())
            ratios = "".join(f"{other / first:7.2f}" for other in others)
            print(f"{row:44}{clients:2}{line}{ratios}", flush=True)
    first_server, url = next(iter(urls.items()))
    resident = {"fresh": fresh} | memories(first_server, url, requests[first_server])
    for when, by_server in resident.items():
        sizes = (f"{each['resident']:10} MiB, peak {each['peak']}" for each in by_server.values())
        print(f"{when:46}" + "".join(f"{size:40}" for size in sizes))
    return {"rows": found, "memory": resident}
