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
    fn = ctypes.CDLL(library_path()).sti_StableTime  # returns an int, ctypes' default

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


def write_msh(path, points, tags, hexes):
    """A binary Gmsh 4.1 file: the nodes in two blocks with the given tags,
    one block of hexahedra numbered from 101 whose rows hold node tags."""
    u8, i4 = (lambda *v: np.array(v, "<u8").tobytes()), (lambda *v: np.array(v, "<i4").tobytes())
    nodes = b"".join(i4(3, 1, 0) + u8(len(tags[p])) + tags[p].astype("<u8").tobytes() +
                     points[p].astype("<f8").tobytes()
                     for p in (slice(0, len(points) // 2), slice(len(points) // 2, None)))
    rows = np.column_stack([np.arange(101, 101 + len(hexes)), hexes]).astype("<u8").tobytes()
    path.write_bytes(b"$MeshFormat\n4.1 1 8\n" + i4(1) + b"\n$EndMeshFormat\n$Nodes\n" +
                     u8(2, len(points), tags.min(), tags.max()) + nodes +
                     b"\n$EndNodes\n$Elements\n" + u8(1, len(hexes), 101, 100 + len(hexes)) +
                     i4(3, 1, 5) + u8(len(hexes)) + rows + b"\n$EndElements\n")


def shuffled_tags(path):
    # A 2 x 1 x 1 block of hexahedra whose nodes carry shuffled, sparse tags.
    g = np.array([[x, y, z] for x in range(3) for y in range(2) for z in range(2)], float)
    hexes = np.array([[4 * x + 2 * y + z for x, y, z in
                       ((i, 0, 0), (i + 1, 0, 0), (i + 1, 1, 0), (i, 1, 0),
                        (i, 0, 1), (i + 1, 0, 1), (i + 1, 1, 1), (i, 1, 1))] for i in range(2)])
    tags = np.random.default_rng(5).permutation(np.arange(1, 13) * 7)
    write_msh(path, g, tags, tags[hexes])
    return path
