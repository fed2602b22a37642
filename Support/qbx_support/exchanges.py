"""Requests and responses recorded at OpenPegasus, most with one fault or oddity in the request."""

from qbx_support.server import ROOT

FOLDER = ROOT / "Tests" / "Wire" / "exchanges"
PROBE_SCHEMA = f"--schema=root/qbx={FOLDER / 'probe.mof'}"  # what the recorded server served


def names():
    """The names of all exchanges."""
    return sorted(path.stem for path in FOLDER.glob("*.txt"))


def recorded(name):
    """The bytes of a recorded request, and those of its response."""
    request, _, response = (FOLDER / f"{name}.txt").read_bytes().partition(
        b"\n##### server->client\n"
    )
    return request.partition(b"##### client->server\n")[2], response.rpartition(b"\n##### end")[0]
