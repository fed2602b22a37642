"""The server program by itself, and connections that say to it what no client would."""

import contextlib
import os
import pathlib
import re
import signal
import socket
import subprocess

import run  # noqa: F401: it says where the next one is
from server import program

DATA = pathlib.Path(__file__).with_name("exchanges")
PROBE = f"--schema=root/qbx={DATA / 'probe.mof'}"  # what the recorded server served


def recorded(name):
    """What the client said in a recorded exchange, and what it was told."""
    said, _, told = (DATA / f"{name}.txt").read_bytes().partition(b"\n##### server->client\n")
    return said.partition(b"##### client->server\n")[2], told.rpartition(b"\n##### end")[0]


def server():
    return program(os.environ["QBX_BUILD"])


@contextlib.contextmanager
def started(*options, stop=signal.SIGTERM, log=None):
    """The program while it serves; yields its ready line, port and process. It must end well."""
    command = [server(), "--port", "0", PROBE, *options]
    with subprocess.Popen(command, stdout=subprocess.PIPE, stderr=log, text=True) as process:
        try:
            ready = process.stdout.readline()
            yield ready, int(re.search(r":(\d+)/", ready)[1]), process
        finally:
            process.send_signal(stop)
    if process.returncode:
        raise AssertionError(f"the server ended with status {process.returncode}")


@contextlib.contextmanager
def connected(port, said=b"", source="127.0.0.1"):
    """A connection from that address on which that was sent."""
    local = (source, 0)
    with socket.create_connection(("127.0.0.1", port), 120, local) as connection:
        with contextlib.suppress(ConnectionError):  # the server may stop reading, and still answer
            connection.sendall(said)
        yield connection


def rest(connection):
    """All that the server says until it ends the connection."""
    told = b""
    with contextlib.suppress(ConnectionResetError):
        while part := connection.recv(65536):
            told += part
    return told


def answer(port, said, *source):
    with connected(port, said, *source) as connection:
        return rest(connection)
