"""The package version, which is the project version of the library's CMake build.

An installed package reads it from the _install module that its installer wrote
(cmake --install or pip); a source checkout reads the project() line of the
top-level CMakeLists.txt. setup.py loads this file on its own to learn the
version it builds, so it imports nothing from the package.
"""
import re
from pathlib import Path

CMAKELISTS = Path(__file__).resolve().parents[2] / "CMakeLists.txt"


def from_cmakelists(path=CMAKELISTS):
    """The VERSION of the StableTime project() call in the CMakeLists.txt at path."""
    text = Path(path).read_text(encoding="utf-8")
    found = re.search(r"^\s*project\(\s*StableTime\s+VERSION\s+([0-9]+\.[0-9]+\.[0-9]+)\b",
                      text, re.MULTILINE)
    if found is None:
        raise ValueError(f"{path}: no 'project(StableTime VERSION x.y.z' line")
    return found.group(1)


try:
    from ._install import VERSION
except ImportError:
    VERSION = from_cmakelists()
