import ctypes
import os
import sys
from pathlib import Path

import numpy as np
import pytest

ROOT = Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "python"))
MESHES = ROOT / "examples" / "meshes"


def library_path():
    """The library named by STABLETIME_LIBRARY (as ctest sets it), which must
    exist; unset, the build folder's, and the tests that need it skip when it
    has not been built."""
    named = os.environ.get("STABLETIME_LIBRARY")
    path = named or str(ROOT / "build" / "DRNQVLStiWBX_StableTime.so")
    if not Path(path).is_file():
        (pytest.fail if named else pytest.skip)(f"no library at {path}")
    return path


@pytest.fixture(scope="session")
def direct():
    """sti_StableTime called straight through ctypes, independent of the package."""
    fn = ctypes.CDLL(library_path()).sti_StableTime
    fn.restype = ctypes.c_int

    def call(name, nodes, conn, code, props, density, thickness, bulk, section, cohesive):
        f = lambda a: None if a is None else np.ascontiguousarray(a, np.float32)  # noqa: E731
        nodes, props, density, thickness, section, cohesive = map(
            f, (nodes, props, density, thickness, section, cohesive))
        conn = np.ascontiguousarray(conn, np.int32)
        dt, codes = np.zeros(len(conn), np.float32), np.zeros(len(conn), np.int32)
        p = lambda a: None if a is None else a.ctypes.data_as(ctypes.c_void_p)  # noqa: E731
        result = fn(name.encode(), ctypes.c_int(len(nodes)), ctypes.c_int(len(conn)), p(nodes),
                    p(conn), ctypes.c_int(code), p(props), p(density), p(thickness),
                    ctypes.c_float(bulk), p(section), p(cohesive), p(dt), p(codes))
        return dt, codes, result

    return call


@pytest.fixture
def run_tool(capsys):
    """The command in-process: (exit status, stdout, stderr)."""
    from stabletime.cli import main

    def run(*args):
        status = main([str(a) for a in args])
        out, err = capsys.readouterr()
        return status, out, err

    return run
