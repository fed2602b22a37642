"""Runs the embedded server in the foreground: what `./qbx serve` calls."""

import argparse
import ctypes
import pathlib
import signal
import subprocess
import sys

from server import SAMPLE_ARRAY, StartError, USERS, command, environment, password_file


def array_is_good(build, array):
    """Whether the simulated array can serve the file; if not it has said why on standard error."""
    library = ctypes.CDLL(str(pathlib.Path(build) / "lib" / "libqbxapi.so"))
    return library.qbxsim_loadFile(str(array).encode()) == 0


def main():
    parser = argparse.ArgumentParser(prog="qbx serve")
    parser.add_argument("--build", required=True)
    parser.add_argument("--state", required=True, type=pathlib.Path)
    parser.add_argument("--port", type=int, default=5988)
    parser.add_argument("--array", type=pathlib.Path, default=SAMPLE_ARRAY)
    parser.add_argument("--no-auth", action="store_true")
    options = parser.parse_args()
    if not options.array.is_file():
        sys.exit(f"qbx serve: no such array file: {options.array}")

    if not array_is_good(options.build, options.array.resolve()):
        sys.exit("qbx serve: the array file cannot be served")

    options.state.mkdir(parents=True, exist_ok=True)
    try:
        users = None if options.no_auth else password_file(options.build, options.state)
    except StartError as error:
        sys.exit(f"qbx serve: {error}")
    server = subprocess.Popen(
        command(options.build, users, options.port),
        stdout=subprocess.PIPE,
        text=True,
        env=environment(options.array.resolve(), options.state / "state.json"),
    )
    for signum in (signal.SIGINT, signal.SIGTERM):
        signal.signal(signum, lambda *_: server.terminate())
    for line in server.stdout:
        if line.startswith("ready:"):
            login = "" if options.no_auth else "admin:admin@"
            url = line.split()[1].replace("://", f"://{login}")
            known = (
                "" if options.no_auth else f"   (users, each his own password: {', '.join(USERS)})"
            )
            print(f"ready: wbemcli ein '{url}:QBX_DriveCage'{known}", flush=True)
        else:
            print(line, end="", flush=True)
    status = server.wait()
    sys.exit(0 if status in (0, -signal.SIGTERM) else status)


if __name__ == "__main__":
    main()
