"""The command under MPI: the reductions against the single-process report,
and runs with mpirun on the bundled partitioned mesh."""
import contextlib
import copy
import importlib.util
import io
import json
import math
import os
import random
import shutil
import subprocess
import sys

import meshio
import numpy as np
import pytest

from conftest import MESHES, ROOT, library_path, shuffled_tags, write_msh
from stabletime import parallel, readers, shareread
from stabletime.cli import _Progress, main

MATERIAL = ["--E", "210000", "--nu", "0.3", "--density", "7.85e-9"]
# Every reduction at work: mass scaling and a sweep, a critical list of every
# fine element, so that hexahedra with equal increments must come out in the
# same order, and nu = 0.5, which gives a warning for each block.
OPTIONS = ["--E", "210000", "--nu", "0.5", "--density", "7.85e-9", "--target-dt", "2e-7",
           "--sweep", "1e-7,2e-7,3e-7", "--top", "600", "--json"]
PARTS = str(MESHES / "assembly_*.msh")


def comparable(report, positions):
    """The report less the mesh's name, and less the positions in the file
    where partition files have none."""
    report = copy.deepcopy(report)
    report.pop("mesh")
    for entry in [] if positions else report["critical"] + [report["minimum"]]:
        entry.pop("position")
    return report


def test_percentile_points_reproduce_numpy():
    # np.percentile is what a single run reports; the ranks only know the two
    # order statistics around each percentile.
    rng = np.random.default_rng(7)
    for n in (1, 2, 3, 7, 100, 101, 1000, 4097):
        values = np.sort(rng.lognormal(-16, 1.0, n).astype(np.float32)).astype(np.float64)
        lo, hi, gamma = parallel.percentile_points(n, [1, 50])
        ours = [parallel.lerp(values[a], values[b], g) for a, b, g in zip(lo, hi, gamma)]
        assert [float(v) for v in ours] == [float(v) for v in np.percentile(values, [1, 50])], n


def test_exact_terms_make_split_sums_exact():
    # 1 + 2**-53 rounds to 1 (a tie, to even), so partial sums of [1, 2**-53]
    # and [2**-53] add up to 1, while the three values sum exactly to
    # 1 + 2**-52, a double.
    parts = [np.array([1.0, 2.0**-53]), np.array([2.0**-53])]
    assert sum(math.fsum(p) for p in parts) == 1.0
    assert math.fsum(t for p in parts for t in parallel.exact_terms(p)) == 1.0 + 2.0**-52
    # Values over forty orders of magnitude with cancellation, in seven parts.
    rnd = random.Random(3)
    values = np.array([rnd.choice((-1, 1)) * rnd.random() * 10.0 ** rnd.randint(-20, 20)
                       for _ in range(3000)])
    terms = [t for p in np.array_split(values, 7) for t in parallel.exact_terms(p)]
    assert math.fsum(terms) == math.fsum(values)


def test_sortable_keys_natural_file_order_and_shares(tmp_path):
    values = np.array([-np.inf, -3.4e38, -1.0, -1e-45, 0.0, 1e-45, 1.17e-38, 2.0e-7,
                       2.0000002e-7, 3.4e38, np.inf], dtype=np.float32)
    keys = parallel._sortable(values)
    assert np.all(np.diff(keys.astype(np.int64)) > 0)
    assert np.array_equal(parallel._unsortable(keys), values)
    for k in (1, 2, 10, 11):
        (tmp_path / f"m_{k}.msh").write_text("")
    found = [os.path.basename(f) for f in parallel.expand([str(tmp_path / "m_*.msh")])]
    assert found == ["m_1.msh", "m_2.msh", "m_10.msh", "m_11.msh"]
    with pytest.raises(parallel.UsageError, match="no file matches"):
        parallel.expand([str(tmp_path / "x_*.msh")])
    for count, size in ((4, 3), (2, 3), (10, 4)):
        ranges = [parallel.share(count, size, r) for r in range(size)]
        assert ranges[0][0] == 0 and ranges[-1][1] == count
        assert all(a[1] == b[0] for a, b in zip(ranges, ranges[1:]))
        assert max(b - a for a, b in ranges) - min(b - a for a, b in ranges) <= 1


@pytest.mark.parametrize("name", ["assembly.msh", "bracket.msh", "truss.msh", "shuffled"])
def test_share_read_through_memory_maps_equals_share_of_whole_file(tmp_path, name):
    path = shuffled_tags(tmp_path / "s.msh") if name == "shuffled" else MESHES / name
    whole = readers.read(str(path))
    for size in (1, 2, 3):
        for rank in range(size):
            a, starts_a = parallel.take_share(whole, size, rank)
            b, starts_b = shareread.read_share(str(path), size, rank)
            assert starts_a == starts_b
            assert [c.type for c in a.mesh.cells] == [c.type for c in b.mesh.cells]
            for ca, cb, ia, ib in zip(a.mesh.cells, b.mesh.cells, a.ids, b.ids):
                # The same numbers and corners, whatever order the nodes are stored in.
                assert np.array_equal(ia, ib)
                assert np.array_equal(a.mesh.points[ca.data], b.mesh.points[cb.data])
            assert {n: [len(x) for x in v] for n, v in a.mesh.cell_sets.items()} == \
                {n: [len(x) for x in v] for n, v in b.mesh.cell_sets.items()}


def test_share_read_refuses_nodes_missing_from_the_file(tmp_path):
    path = tmp_path / "missing.msh"
    write_msh(path, np.zeros((8, 3)), np.arange(1, 9), np.array([[1, 2, 3, 4, 5, 6, 7, 99]]))
    with pytest.raises(readers.ReadError, match="nodes the file does not define"):
        shareread.read_share(str(path), 1, 0)


class OneRank:
    """The collectives of a world of one rank, so that a rank's side runs in
    this process."""
    Get_rank, Get_size = (lambda self: 0), (lambda self: 1)
    allreduce = lambda self, value, op=None: value  # noqa: E731
    gather = lambda self, value, root=0: [value]  # noqa: E731


def test_partition_files_merged_on_one_rank(tmp_path):
    run = parallel.Run(OneRank())
    merged = run.read([PARTS], _Progress(0, active=False))
    parts = [readers.read(str(f)) for f in sorted(MESHES.glob("assembly_*.msh"))]
    blocks = [(block, ids, p) for p in parts for block, ids in zip(p.mesh.cells, p.ids)]
    assert run.partitioned and len(merged.mesh.cells) == len(blocks)
    # Every cell keeps its number and the coordinates of its corners.
    for got, ids, (block, own_ids, p) in zip(merged.mesh.cells, merged.ids, blocks):
        assert got.type == block.type and np.array_equal(ids, own_ids)
        assert np.array_equal(merged.mesh.points[got.data], p.mesh.points[block.data])
    names = {n: [len(x) for x in v] for n, v in merged.mesh.cell_sets.items()}
    assert sum(map(sum, names.values())) == 598 and set(names) == {"base", "cap"}
    # Partition files without the elements' own numbers cannot be merged.
    for k in (1, 2):
        meshio.write(tmp_path / f"p_{k}.vtu", meshio.Mesh(
            np.eye(4, 3), [("tetra", np.array([[0, 1, 2, 3]]))]))
    with pytest.raises(parallel.Agreed) as caught:
        parallel.Run(OneRank()).read([str(tmp_path / "p_*.vtu")], _Progress(0, active=False))
    assert caught.value.errors == [(0, f"{tmp_path}/p_1.vtu: partition files need the "
                                    "elements' own numbers (Gmsh tags or cell data element_id)")]


def test_report_of_one_rank_is_the_single_report(run_tool, capsys, tmp_path):
    single = json.loads(run_tool(MESHES / "assembly.msh", *OPTIONS)[1])
    assert parallel.main([PARTS, *OPTIONS], OneRank()) == 1
    assert comparable(json.loads(capsys.readouterr().out), False) == comparable(single, False)
    assert parallel.main([str(MESHES / "assembly.msh"), *OPTIONS], OneRank()) == 1
    assert comparable(json.loads(capsys.readouterr().out), True) == comparable(single, True)
    bad = tmp_path / "cut.msh"
    bad.write_bytes((MESHES / "assembly.msh").read_bytes()[:5000])
    assert parallel.main([str(bad), *MATERIAL], OneRank()) == 2
    assert capsys.readouterr().err.strip().splitlines() == [
        f"stabletime: error: cannot read {bad}: not a valid Gmsh file"]


def test_plain_run_leaves_mpi_alone():
    """Without an MPI launcher the command does not import mpi4py."""
    env = {k: v for k, v in os.environ.items() if k not in parallel._LAUNCHER_VARIABLES}
    env.update(STABLETIME_LIBRARY=library_path(), PYTHONPATH=str(ROOT / "python"))
    code = ("import sys; from stabletime.cli import main; status = main(sys.argv[1:]); "
            "print('mpi4py' in sys.modules, status)")
    out = subprocess.run([sys.executable, "-c", code, str(MESHES / "assembly.msh"), *MATERIAL],
                         capture_output=True, text=True, env=env, timeout=120)
    assert out.stdout.strip().splitlines()[-1] == "False 1"


def mpirun(ranks, *args):
    env = dict(os.environ, STABLETIME_LIBRARY=library_path(), PYTHONPATH=str(ROOT / "python"),
               OMPI_ALLOW_RUN_AS_ROOT="1", OMPI_ALLOW_RUN_AS_ROOT_CONFIRM="1",
               OMPI_MCA_rmaps_base_oversubscribe="1")
    command = [shutil.which("mpirun"), "--oversubscribe", "-n", str(ranks), sys.executable,
               "-m", "stabletime", *map(str, args)]
    return subprocess.run(command, capture_output=True, text=True, env=env, timeout=180)


@pytest.mark.skipif(shutil.which("mpirun") is None or not importlib.util.find_spec("mpi4py"),
                    reason="needs mpirun and mpi4py (Debian: openmpi-bin python3-mpi4py)")
class TestUnderMpirun:
    @pytest.fixture(scope="class")
    def single(self, tmp_path_factory):
        out, text = tmp_path_factory.mktemp("single"), io.StringIO()
        with contextlib.redirect_stdout(text):
            status = main([str(MESHES / "assembly.msh"), *OPTIONS, "--csv", str(out / "s.csv"),
                           "--output", str(out / "s.vtu")])
        assert status == 1  # the mesh holds degenerate tetrahedra on purpose
        return json.loads(text.getvalue()), out

    def test_partition_files_on_three_ranks_and_their_outputs(self, single, tmp_path):
        run = mpirun(3, PARTS, *OPTIONS, "--csv", tmp_path / "p.csv",
                     "--output", tmp_path / "p.vtu", "--plot", tmp_path / "p.png")
        assert run.returncode == 1, run.stderr
        report = json.loads(run.stdout)
        assert comparable(report, False) == comparable(single[0], False)
        assert report["failures"][0]["code"] == 400 and report["failed_count"] == 6
        assert [w.split(" (")[0] for w in report["warnings"]] == ["block base", "block cap"]
        # The CSV holds the same rows, in rank order.
        ours = (tmp_path / "p.csv").read_text().splitlines()
        theirs = (single[1] / "s.csv").read_text().splitlines()
        assert ours[0] == theirs[0] and sorted(ours[1:]) == sorted(theirs[1:])
        assert not list(tmp_path.glob("*.part"))
        # One piece a rank, named by the .pvtu, with every cell's increment.
        pvtu = (tmp_path / "p.pvtu").read_text()
        sources = [line.split('"')[1] for line in pvtu.splitlines() if "<Piece" in line]
        assert sources == ["p_0.vtu", "p_1.vtu", "p_2.vtu"]
        dt = lambda meshes: np.sort(np.concatenate(  # noqa: E731
            [np.concatenate(m.cell_data["stable_time"]) for m in meshes]))
        assert np.array_equal(dt(meshio.read(tmp_path / s) for s in sources),
                              dt([meshio.read(single[1] / "s.vtu")]), equal_nan=True)
        for name in ("stable_time", "code", "block", "element_type"):
            assert f'Name="{name}"' in pvtu
        assert (tmp_path / "p.png").read_bytes()[:4] == b"\x89PNG"

    def test_one_file_shared_by_ranks(self, single):
        run = mpirun(2, MESHES / "assembly.msh", *OPTIONS)
        assert run.returncode == 1, run.stderr
        # One file: positions in it are known and agree too.
        assert comparable(json.loads(run.stdout), True) == comparable(single[0], True)

    def test_error_of_one_rank_ends_every_rank(self, tmp_path):
        for path in MESHES.glob("assembly_*.msh"):
            shutil.copy(path, tmp_path / path.name)
        data = (tmp_path / "assembly_3.msh").read_bytes()
        (tmp_path / "assembly_3.msh").write_bytes(data[:len(data) // 3])
        run = mpirun(3, tmp_path / "assembly_*.msh", *MATERIAL)
        # Ranks take 1, 1 and 2 of the four files: the third reads assembly_3.msh.
        assert run.returncode == 2 and run.stdout == ""
        assert f"stabletime: error: rank 2: cannot read {tmp_path}/assembly_3.msh" in run.stderr
        # After reading, only the rank holding the hexahedra finds the element
        # name wrong, while the others are already at the next collective.
        run = mpirun(3, PARTS, *MATERIAL, "--element", "base=C3D4")
        assert run.returncode == 2 and "rank 0" not in run.stderr and "rank 1" not in run.stderr
        assert "stabletime: error: rank 2: element C3D4 has 4 nodes but block base " \
            "(hexahedron) has 8" in run.stderr
