"""The version, and where the files of the drive cage module are. Only the source tree has this file: the build
installs one from cmake/package.py.in in its place."""

from __future__ import annotations

import pathlib
import re

_PROJECT = pathlib.Path(__file__).resolve().parents[2] / "CMakeLists.txt"
VERSION = re.findall(r"^project\(\w+ VERSION ([\d.]+)", _PROJECT.read_text(), re.MULTILINE)[0]
LIBRARIES: pathlib.Path | None = None  # the builds have them: --library
MANIFEST: pathlib.Path | None = None  # the builds have it
