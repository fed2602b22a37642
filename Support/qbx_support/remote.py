"""Runs the wire tests at a server that is running already: what `./qbx test --server` calls."""

import argparse
import os
import pathlib
import re
import shutil
import sys
import unittest

from qbx_support import odd_array
from qbx_support.server import ROOT

FOLDER = ROOT / "Tests" / "Wire"


def url(text):
    if not re.fullmatch(r"http://[^/]+/?", text):
        raise argparse.ArgumentTypeError(f"'{text}' is not http://HOST:PORT")
    return text.rstrip("/")


def writable_file(text):
    if not os.access(text, os.W_OK):
        raise argparse.ArgumentTypeError(f"cannot write the array file {text}")
    return str(pathlib.Path(text).resolve())


def command(text):
    if not shutil.which(text.split()[0] if text.split() else text):
        raise argparse.ArgumentTypeError(f"no such command: {text}")
    return text


def parse_arguments():
    parser = argparse.ArgumentParser(
        prog="qbx test",
        description="Runs the wire tests at a server that is running. It must serve a fresh file of --write-array "
        "(Docs/Equivalence.md) and know the users of the tests, each with its own name as password: admin, operator, "
        "viewer, guest, blocked, stranger. What the server cannot do is skipped by name, with the reason.",
    )
    action = parser.add_mutually_exclusive_group(required=True)
    action.add_argument("--server", metavar="URL", type=url, help="http://HOST:PORT")
    action.add_argument(
        "--write-array", metavar="FILE", type=pathlib.Path, help="only writes the array file that the server must serve"
    )
    parser.add_argument(
        "--array", metavar="FILE", type=writable_file, help="its array file; without it that file is not changed"
    )
    parser.add_argument(
        "--interop", metavar="NAMESPACE", default="root/PG_InterOp", help="its interop namespace (root/PG_InterOp)"
    )
    parser.add_argument(
        "--control",
        metavar="COMMAND",
        type=command,
        help="run with restart, disable, enable, replace or kill-agent to do that to the server; exit status 77: "
        "it cannot",
    )
    parser.add_argument("tests", metavar="TEST", nargs="*", help="names of tests (default: all)")
    return parser.parse_args()


def main():
    options = parse_arguments()
    if options.write_array:
        odd_array.write(options.write_array)
        return
    os.environ["QBX_WIRE_URL"] = options.server
    os.environ["QBX_WIRE_INTEROP"] = options.interop
    for name in ("array", "control"):
        if value := getattr(options, name):
            os.environ[f"QBX_WIRE_{name.upper()}"] = value
    os.chdir(FOLDER)
    sys.path.insert(0, str(FOLDER))  # as unittest does: the tests' own modules
    arguments = ["-v", *options.tests] if options.tests else ["discover", "-v", "-s", str(FOLDER)]
    unittest.main(module=None, argv=["qbx test", *arguments])


if __name__ == "__main__":
    main()
