"""Runs the embedded server in the foreground: what `./qbx serve` runs."""

import argparse
import contextlib
import ctypes
import os
import pathlib
import signal
import subprocess
import sys

from qbx_support.server import ROOT, SAMPLE_ARRAY, USERS, StartError, command, environment, password_file


def array_is_good(build, array):
    """Whether the simulated array can serve the file; if not, its log on standard error tells why."""
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
    """Passes on the signals that this program gets: to end, or to read the files again."""
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
    """A command that lists the cages of the server at this URL."""
    login = "" if options.no_auth else "USER:PASSWORD@" if options.users else "admin:admin@"
    trust = f"-cacert {options.cert} " if options.cert else ""
    return f"wbemcli {trust}ein '{url.replace('://', f'://{login}')}:QBX_DriveCage'"


def parse_arguments():
    parser = argparse.ArgumentParser(
        prog="./qbx serve",
        description="Runs the embedded server in the foreground on the sample array, on 127.0.0.1. Prints one "
        "line with a query to paste when it is ready; Ctrl-C stops it. Changes that clients make to the array (a "
        "cage's location, firmware versions) last until ./qbx clean.",
    )
    add = parser.add_argument
    add("--listen", metavar="ADDRESS", default="127.0.0.1",
        help="address to listen on (default 127.0.0.1; 0.0.0.0: all of this machine)")
    add("--port", metavar="N", type=int, default=5988, help="port to listen on (default 5988; 0: any free one)")
    add("--array", metavar="FILE", type=pathlib.Path, default=SAMPLE_ARRAY,
        help="array file to serve (default StorageApi/simulator/sample-array.json)")
    who = parser.add_mutually_exclusive_group()
    who.add_argument("--users", metavar="FILE", type=pathlib.Path,
                     help="password file, lines user:hash (default: the sample array's users, each with its own name "
                     "as password); read again when it changes")
    who.add_argument("--no-auth", action="store_true", help="no authentication")
    add("--cert", metavar="FILE", type=pathlib.Path,
        help="PEM certificate: serve HTTPS; read again, with its key, at a SIGHUP")
    add("--key", metavar="FILE", type=pathlib.Path, help="PEM key of the certificate")
    add("--build", default=ROOT / "build" / "release", help=argparse.SUPPRESS)
    add("--state", default=ROOT / "build" / "serve", type=pathlib.Path, help=argparse.SUPPRESS)
    return parser.parse_args()


def main():
    options = parse_arguments()
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
    assert server.stdout
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
