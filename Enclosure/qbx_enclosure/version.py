"""The version: that of the source tree, or of the wheel that this was installed from. In a package
another file is in the place of this one, made of cmake/version.py.in."""

import importlib.metadata
import pathlib
import re

_PROJECT = pathlib.Path(__file__).resolve().parents[2] / "CMakeLists.txt"
if _PROJECT.exists():
    VERSION = re.findall(r"^project\(\w+ VERSION ([\d.]+)", _PROJECT.read_text(), re.MULTILINE)[0]
else:
    VERSION = importlib.metadata.version("qbx-enclosure")
