"""Time and memory of the stabletime command under MPI, by phase, on a block
of hexahedra generated in partitions (binary Gmsh 4.1 files, one per
partition, element numbers global).

    /usr/bin/python3 python/bench/bench_mpi.py [--cells 2000000] [--parts 4]
        [--runs 1x1,1x2,2x1] [--dir DIR]

A run RxT is R ranks of T threads each (mpirun --oversubscribe --bind-to
none). Each rank times its phases: reading its files (read), the library
calls (compute, cli.compute), and the report from the ranks' tables, their
collectives included, timed from a barrier so that it leaves out the wait for
the slowest rank (reduce); the table gives the slowest rank's figure of each
phase and the largest peak resident set size of a rank."""
import argparse
import os
import shutil
import subprocess
import sys
import time
from pathlib import Path

import numpy as np

ROOT = Path(__file__).resolve().parents[2]


def write_msh(path, points, hexes, first_tag):
    """A binary Gmsh 4.1 file of one hexahedron block, node tags 1..n, element
    tags from first_tag."""
    n, m = len(points), len(hexes)
    with open(path, "wb") as f:
        f.write(b"$MeshFormat\n4.1 1 8\n" + np.int32(1).tobytes() + b"\n$EndMeshFormat\n")
        f.write(b"$Nodes\n" + np.array([1, n, 1, n], "<u8").tobytes())
        f.write(np.array([3, 1, 0], "<i4").tobytes() + np.uint64(n).tobytes())
        f.write(np.arange(1, n + 1, dtype="<u8").tobytes())
        f.write(np.ascontiguousarray(points, "<f8").tobytes() + b"\n$EndNodes\n")
        f.write(b"$Elements\n" + np.array([1, m, first_tag, first_tag + m - 1],
                                           "<u8").tobytes())
        f.write(np.array([3, 1, 5], "<i4").tobytes() + np.uint64(m).tobytes())
        rows = np.empty((m, 9), "<u8")
        rows[:, 0] = np.arange(first_tag, first_tag + m)
        rows[:, 1:] = hexes + 1
        f.write(rows.tobytes() + b"\n$EndElements\n")


def slab(nx, n, x0, rng):
    """nx x n x n unit hexahedra from x = x0, nodes moved a little."""
    gx, g = np.arange(nx + 1, dtype=np.float64) + x0, np.arange(n + 1, dtype=np.float64)
    x, y, z = np.meshgrid(gx, g, g, indexing="ij")
    points = np.column_stack([x.ravel(), y.ravel(), z.ravel()])
    points += rng.uniform(-0.1, 0.1, points.shape)
    idx = np.arange(len(points)).reshape(nx + 1, n + 1, n + 1)
    c = idx[:-1, :-1, :-1].ravel()
    dx, dy, dz = (n + 1) ** 2, n + 1, 1
    return points, np.column_stack([c, c + dx, c + dx + dy, c + dy,
                                    c + dz, c + dx + dz, c + dx + dy + dz, c + dy + dz])


def generate(folder, cells, parts):
    n = max(2, round((cells / parts) ** (1 / 3)))
    folder.mkdir(parents=True, exist_ok=True)
    name = f"block{parts * n ** 3}"
    files = [folder / f"{name}_{k + 1}.msh" for k in range(parts)]
    if not all(f.exists() for f in files):
        rng = np.random.default_rng(1)
        for k, f in enumerate(files):
            points, hexes = slab(n, n, k * n, rng)
            write_msh(f, points, hexes, 1 + k * n ** 3)
    return str(folder / f"{name}_*.msh"), parts * n ** 3


# Runs inside every rank: times the phases around the command's own code.
DRIVER = r"""
import resource, sys, time
from stabletime import cli, core, parallel
times = {"read": 0.0, "compute": 0.0}
def timed(fn, key):
    def wrapper(*a, **k):
        t = time.perf_counter()
        try:
            return fn(*a, **k)
        finally:
            times[key] += time.perf_counter() - t
    return wrapper
parallel.Run.read = timed(parallel.Run.read, "read")
cli.compute = timed(cli.compute, "compute")
summarise = parallel.Run.summarise
def summarise_timed(self, *a, **k):
    self.comm.Barrier()  # the reduction alone, not the wait for the slowest rank
    t = time.perf_counter()
    report = summarise(self, *a, **k)
    times["reduce"] = time.perf_counter() - t
    return report
parallel.Run.summarise = summarise_timed
comm = parallel.world()
t = time.perf_counter()
status = parallel.main(sys.argv[1:], comm)
times["total"] = time.perf_counter() - t
peak = resource.getrusage(resource.RUSAGE_SELF).ru_maxrss / 1024
rows = comm.gather((times, peak), root=0)
if comm.Get_rank() == 0:
    worst = {k: max(r[0][k] for r in rows) for k in times}
    sys.stderr.write("BENCH " + " ".join(f"{k}={v:.3f}" for k, v in worst.items()) +
                     f" peak={max(r[1] for r in rows):.0f}\n")
"""


def run(pattern, ranks, threads):
    env = dict(os.environ, PYTHONPATH=str(ROOT / "python"), OMPI_ALLOW_RUN_AS_ROOT="1",
               OMPI_ALLOW_RUN_AS_ROOT_CONFIRM="1")
    env.setdefault("STABLETIME_LIBRARY", str(ROOT / "build" / "DRNQVLStiWBX_StableTime.so"))
    command = [shutil.which("mpirun"), "--oversubscribe", "--bind-to", "none", "-n", str(ranks),
               sys.executable, "-c", DRIVER, pattern, "--E", "210000", "--nu", "0.3",
               "--density", "7.85e-9", "--threads", str(threads)]
    t = time.perf_counter()
    done = subprocess.run(command, env=env, capture_output=True, text=True)
    wall = time.perf_counter() - t
    line = [x for x in done.stderr.splitlines() if x.startswith("BENCH")]
    if done.returncode not in (0, 1) or not line:
        raise SystemExit(f"run failed: {done.stderr[-2000:]}")
    figures = dict(item.split("=") for item in line[0].split()[1:])
    return wall, {k: float(v) for k, v in figures.items()}


def main():
    p = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    p.add_argument("--cells", type=int, default=2_000_000)
    p.add_argument("--parts", type=int, default=4)
    p.add_argument("--runs", default="1x1,1x2,2x1", help="RANKSxTHREADS,...")
    p.add_argument("--dir", default=str(ROOT / "build" / "bench-mpi"))
    args = p.parse_args()
    pattern, cells = generate(Path(args.dir), args.cells, args.parts)
    print(f"{cells} C3D8R elements in {args.parts} files ({pattern})")
    print(f"{'ranks x threads':<16} {'mpirun s':>9} {'total s':>8} {'read s':>7} "
          f"{'compute s':>9} {'reduce s':>8} {'peak MB/rank':>13}")
    for item in args.runs.split(","):
        ranks, threads = (int(v) for v in item.split("x"))
        wall, f = run(pattern, ranks, threads)
        print(f"{item:<16} {wall:>9.2f} {f['total']:>8.2f} {f['read']:>7.2f} "
              f"{f['compute']:>9.2f} {f['reduce']:>8.2f} {f['peak']:>13.0f}")


if __name__ == "__main__":
    main()
