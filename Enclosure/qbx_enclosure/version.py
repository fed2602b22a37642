"""The version. Only the source tree has this file: the build installs one from cmake/version.py.in
in its place."""

import pathlib
import re

_PROJECT = pathlib.Path(__file__).resolve().parents[2] / "CMakeLists.txt"
VERSION = re.findall(r"^project\(\w+ VERSION ([\d.]+)", _PROJECT.read_text(), re.MULTILINE)[0]
