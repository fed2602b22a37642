"""Runs the embedded server in the foreground: what `./qbx serve` calls."""

import argparse
import contextlib
import ctypes
import os
import pathlib
import signal
import subprocess
import sys

from qbx_support.server import SAMPLE_ARRAY, USERS, StartError
from qbx_support.server import command, environment, password_file


def array_is_good(build, array):
    """Whether the simulated array can serve the file; if not it has said why on standard error."""
    library = ctypes.CDLL(str(pathlib.Path(build) / "lib" / "libqbxapi.so"))
    return library.qbxsim_loadFile(str(array).encode()) == 0


def has_terminal():
    """Whether there is a terminal that the program belongs to; none once it was closed."""
    try:
        os.close(os.open("/dev/tty", os.O_RDONLY))
    except OSError:
        return False
    return True


def follow_signals(server):
    """Hands the server what this program is told: to end, or to read its files again."""
    had_terminal = has_terminal()

    def end(*_):
        server.terminate()

    def hang_up(*_):
        if had_terminal and not has_terminal():
            server.terminate()
        else:
            server.send_signal(signal.SIGHUP)

    for signum in (signal.SIGINT, signal.SIGTERM):
        signal.signal(signum, end)
    signal.signal(signal.SIGHUP, hang_up)


def query(url, options):
    """A command that asks the server at this URL for its cages."""
    login = "" if options.no_auth else "USER:PASSWORD@" if options.users else "admin:admin@"
    trust = f"-cacert {options.cert} " if options.cert else ""
    return f"wbemcli {trust}ein '{url.replace('://', f'://{login}')}:QBX_DriveCage'"


def main():
    parser = argparse.ArgumentParser(prog="qbx serve", usage="./qbx serve --help lists the options")
    parser.add_argument("--build", required=True)
    parser.add_argument("--state", required=True, type=pathlib.Path)
    parser.add_argument("--port", type=int, default=5988)
    parser.add_argument("--array", type=pathlib.Path, default=SAMPLE_ARRAY)
    parser.add_argument("--listen", default="127.0.0.1")
    who = parser.add_mutually_exclusive_group()
    who.add_argument("--users", type=pathlib.Path)
    who.add_argument("--no-auth", action="store_true")
    parser.add_argument("--cert", type=pathlib.Path)
    parser.add_argument("--key", type=pathlib.Path)
    options = parser.parse_args()
    is_local = options.listen in ("localhost", "::1") or options.listen.startswith("127.")
    if not (is_local or options.users or options.no_auth):
        sys.exit("qbx serve: everybody knows the sample's passwords: give --users FILE to --listen")
    if not options.array.is_file():
        sys.exit(f"qbx serve: no such array file: {options.array}")

    if not array_is_good(options.build, options.array.resolve()):
        sys.exit("qbx serve: the array file cannot be served")

    options.state.mkdir(parents=True, exist_ok=True)
    try:
        users = options.users
        if not users and not options.no_auth:
            users = password_file(options.build, options.state)
    except StartError as error:
        sys.exit(f"qbx serve: {error}")
    further = ["--listen", options.listen]
    for name in ("cert", "key"):
        if value := getattr(options, name):
            further += [f"--{name}", value]
    server = subprocess.Popen(
        [*command(options.build, users, options.port), *further],
        start_new_session=True,  # signals of the terminal come here only
        stdout=subprocess.PIPE,
        text=True,
        env=environment(options.array.resolve(), options.state / "state.json"),
    )
    follow_signals(server)
    for line in server.stdout:
        if line.startswith("ready:"):
            known = f"   (users, each his own password: {', '.join(USERS)})"
            shown = known if users and not options.users else ""
            line = f"ready: {query(line.split()[1], options)}{shown}\n"
        with contextlib.suppress(BrokenPipeError):  # it serves, whoever reads this
            print(line, end="", flush=True)
    status = server.wait()
    sys.exit(0 if status in (0, -signal.SIGTERM) else status)


if __name__ == "__main__":
    main()
