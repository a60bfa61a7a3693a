"""Build of the stabletime package (metadata in pyproject.toml).

The version is the project version of ../CMakeLists.txt. The build writes the
package's _install module with that version and with the library to load:
  STABLETIME_PREFIX=DIR          records the library of a CMake install prefix
                                 (DIR/lib, DIR/lib64 or DIR/lib/<multiarch>);
  STABLETIME_BUNDLE_LIBRARY=FILE builds a copy of that library into the package.
"""
import importlib.util
import os
import shutil
import sys
import sysconfig
from pathlib import Path

from setuptools import setup
from setuptools.command.build_py import build_py

HERE = Path(__file__).resolve().parent
LIBRARY_FILE = "DRNQVLStiWBX_StableTime.so"


def _version_module():
    found = importlib.util.spec_from_file_location("_stabletime_version",
                                                   HERE / "stabletime" / "_version.py")
    module = importlib.util.module_from_spec(found)
    found.loader.exec_module(module)
    return module


def _prefix_library(prefix):
    multiarch = sysconfig.get_config_var("MULTIARCH") or ""
    folders = ["lib", "lib64"] + ([f"lib/{multiarch}"] if multiarch else [])
    for folder in folders:
        path = Path(prefix).resolve() / folder / LIBRARY_FILE
        if path.is_file():
            return path
    sys.exit(f"STABLETIME_PREFIX={prefix}: no {LIBRARY_FILE} in {', '.join(folders)}")


class BuildPy(build_py):
    """Adds the _install module and, when asked, a copy of the library."""

    def run(self):
        super().run()
        package = Path(self.build_lib) / "stabletime"
        bundled = package / LIBRARY_FILE
        bundled.unlink(missing_ok=True)  # left by an earlier build of this folder
        if os.environ.get("STABLETIME_BUNDLE_LIBRARY"):
            shutil.copyfile(os.environ["STABLETIME_BUNDLE_LIBRARY"], bundled)
        prefix = os.environ.get("STABLETIME_PREFIX")
        library = str(_prefix_library(prefix)) if prefix else None
        (package / "_install.py").write_text(
            f"VERSION = {VERSION!r}\nLIBRARY = {library!r}\n", encoding="utf-8")


VERSION = _version_module().VERSION
setup(version=VERSION, cmdclass={"build_py": BuildPy})
