"""Starts and stops the embedded server, with the module, on a copy of an array file."""

import functools
import json
import os
import pathlib
import re
import shutil
import subprocess
import tempfile
import threading

ROOT = pathlib.Path(__file__).resolve().parents[2]
SAMPLE_ARRAY = ROOT / "StorageApi" / "simulator" / "sample-array.json"
SAMPLE_FIRMWARE = SAMPLE_ARRAY.with_name("sample-firmware.json")
NAMESPACE = "root/qbx"
START_SECONDS = STOP_SECONDS = 300  # generous: a sanitized server on a busy machine

# User names, each his own password. What each may do is in the array file: all, all locators and
# cards, nothing, nothing (unknown to the array's privileges), not even open, unknown.
USERS = {user: user for user in ("admin", "operator", "viewer", "guest", "blocked", "stranger")}


class StartError(Exception):
    """The server could not be started; the text says why."""


def program(build):
    """The path of the server program in a build folder; raises StartError when it is not there."""
    path = pathlib.Path(build).resolve() / "bin" / "qbx-cimserver"
    if not path.exists():
        raise StartError(f"{path} is missing: build the project first")
    return path


def schema_folder(build):
    """The folder of MOF files with the version in them, of a build or an installation."""
    own = pathlib.Path(build).resolve() / "Schema"
    return own if own.exists() else own.parent / "share" / "qbx-cimserver" / "schema"


@functools.cache
def hashed(path, password):
    """The hash of a password, made by the server program of that path."""
    done = subprocess.run([path, "--hash-password"], input=password + "\n", text=True, capture_output=True, check=False)
    if done.returncode != 0:
        raise StartError(f"--hash-password: {done.stderr.strip()}")
    return done.stdout.strip()


def password_lines(path):
    """The content of a password file for USERS, made by the server program of that path."""
    return "".join(f"{user}:{hashed(path, password)}\n" for user, password in USERS.items())


def password_file(build, folder):
    """Writes a password file for USERS and returns its path."""
    path = folder / "users"
    path.touch(mode=0o600)
    path.write_text(password_lines(program(build).resolve()))
    return path


def command(build, users, port, schema=None):
    """The server's command line. `users`: its password file, None for no authentication; `schema`:
    another one than the project's own, as root/qbx=FILE, and the folders of what that includes."""
    own = schema_folder(build)
    given, *folders = schema or [f"{NAMESPACE}={own / 'qbx.mof'}"]
    namespace, _, file = given.partition("=")
    return [
        program(build),
        "--schema",
        f"{namespace}={pathlib.Path(file).resolve()}",
        *(word for each in folders for word in ("--include", pathlib.Path(each).resolve())),
        "--schema",
        f"root/interop={own / 'registration.mof'}",
        "--provider-dir",
        pathlib.Path(build).resolve() / "lib",
        "--port",
        str(port),
    ] + (["--users", users] if users else ["--no-auth"])


def environment(array, state, log=None):
    """The variables that the simulated array and the module of a server read."""
    variables = dict(os.environ, QBX_ARRAY_FILE=str(array), QBX_ARRAY_STATE=str(state))
    if log:
        variables.update(QBX_LOG_FILE=str(log), QBX_LOG_LEVEL="4")
    return variables


class Server:
    """A running server in a folder of its own; `with` closes it.

    url: http://127.0.0.1:PORT; array: the array file it serves, which is a copy of the given one, or
    has the given contents; folder: its files.
    """

    interop = "root/interop"
    port = 0  # any free one; kept through restarts

    def __init__(self, build, *options, array=SAMPLE_ARRAY, schema=None):
        self.build = build
        self.schema = schema  # see command()
        self.options = options  # further options of the server program
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="qbx-wire-"))
        self.array = self.folder / "array.json"
        if isinstance(array, dict):
            self.array.write_text(json.dumps(array), encoding="utf-8")
        else:
            shutil.copy(array, self.array)
        self.log: pathlib.Path | None = self.folder / "module.log"
        self.output = self.folder / "server.log"
        self.process: subprocess.Popen | None = None
        try:
            self.users = password_file(build, self.folder)
            self.start()
        except BaseException:
            self.stop()
            shutil.rmtree(self.folder, ignore_errors=True)
            raise

    def start(self):
        """Starts the server (again: with the state that it left)."""
        with open(self.output, "ab") as log:
            self.process = subprocess.Popen(
                [*command(self.build, self.users, self.port, self.schema), *self.options],
                stdin=subprocess.DEVNULL,
                stdout=subprocess.PIPE,
                stderr=log,
                text=True,
                cwd=self.folder,
                env=environment(self.array, self.folder / "state.json", self.log),
            )
        output = self.process.stdout
        assert output
        # A thread reads, so that a server that prints nothing can be given up on.
        ready, lines = threading.Event(), []

        def read():
            for line in output:
                lines.append(line)
                if line.startswith("ready:"):
                    ready.set()
            ready.set()

        self.reader = threading.Thread(target=read, daemon=True)
        self.reader.start()
        ready.wait(START_SECONDS)
        match = re.search(r"^ready: (http://[^/]+)/", "".join(lines), re.MULTILINE)
        if not match:
            self.stop()
            raise StartError(
                "the server did not get ready: " + "".join(lines) + self.output.read_text()
            )
        self.url = match.group(1)
        self.port = int(self.url.rpartition(":")[2])

    def is_running(self):
        return self.process is not None and self.process.poll() is None

    def stop(self):
        """Stops the server and returns its exit status, None when it does not run."""
        if self.process is None:
            return None
        process, self.process = self.process, None
        process.terminate()
        try:
            process.wait(STOP_SECONDS)
        except subprocess.TimeoutExpired:
            process.kill()
            process.wait()
        self.reader.join()
        if process.stdout:
            process.stdout.close()
        return process.returncode

    def end(self):
        """Stops the server; raises AssertionError unless its exit status is 0 (which a sanitizer's
        findings prevent)."""
        if status := self.stop():
            output = self.output.read_text(errors="replace")[-4000:]
            raise AssertionError(f"the server ended with status {status}: {output}")

    def restart(self):
        """Stops and starts the server, which keeps its port and its state."""
        self.end()
        self.start()

    def close(self):
        """Stops the server as end() does, and removes its folder."""
        try:
            self.end()
        finally:
            shutil.rmtree(self.folder, ignore_errors=True)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()
