"""End-to-end time and peak memory of the stabletime command on a generated
block of hexahedra, written as binary Gmsh (.msh) and VTU files.

    /usr/bin/python3 python/bench/bench_tool.py [--cells 2000000] [--dir DIR] [--repeat 3]
                                                [--before CHECKOUT]

Each file is analysed with the default reader and with meshio's
(STABLETIME_READER=meshio), each run in a fresh process, the four cases in
turn --repeat times so that they share the machine's load; medians are
printed, with the load average before and after. The peak is the process's
own high-water resident set (VmHWM: the rusage maximum would include this
process's size at the fork), and cpu the user plus system time of the whole
process (imports included), which a loaded machine disturbs less than the
wall time. The package's bytecode is cached as an installed package's is
(PYTHONDONTWRITEBYTECODE is dropped) and compiled before the first timing.
--before times the command of another checkout of the project as well (its
python/ package, with its default reader), e.g. one made with
`git archive COMMIT python CMakeLists.txt | tar -x -C /tmp/before`."""
import argparse
import os
import subprocess
import sys
import time
from pathlib import Path

import numpy as np

ROOT = Path(__file__).resolve().parents[2]


def block(cells):
    """An n x n x n block of unit hexahedra with n^3 close to cells, the nodes
    slightly moved so that increments differ."""
    n = max(1, round(cells ** (1 / 3)))
    g = np.arange(n + 1, dtype=np.float64)
    x, y, z = np.meshgrid(g, g, g, indexing="ij")
    points = np.column_stack([x.ravel(), y.ravel(), z.ravel()])
    points += np.random.default_rng(1).uniform(-0.1, 0.1, points.shape)
    idx = np.arange((n + 1) ** 3).reshape(n + 1, n + 1, n + 1)
    c = idx[:-1, :-1, :-1].ravel()
    dx, dy, dz = (n + 1) ** 2, n + 1, 1
    hexes = np.column_stack([c, c + dx, c + dx + dy, c + dy,
                             c + dz, c + dx + dz, c + dx + dy + dz, c + dy + dz])
    return points, hexes


def environment(reader="", root=ROOT):
    env = dict(os.environ, PYTHONPATH=str(Path(root) / "python"))
    env.pop("PYTHONDONTWRITEBYTECODE", None)
    env.setdefault("STABLETIME_LIBRARY", str(ROOT / "build" / "DRNQVLStiWBX_StableTime.so"))
    if reader:
        env["STABLETIME_READER"] = reader
    return env


def run(path, reader, root=ROOT):
    env = environment(reader, root)
    code = ("import resource, sys, time\n"
            "from stabletime.cli import main\n"
            "t = time.perf_counter()\n"
            f"status = main([{str(path)!r}, '--E', '210000', '--nu', '0.3', '--density',"
            " '7.85e-9'])\n"
            "u = resource.getrusage(resource.RUSAGE_SELF)\n"
            "peak = open('/proc/self/status').read().split('VmHWM:')[1].split()[0]\n"
            "sys.stderr.write(f'BENCH {time.perf_counter() - t:.3f} '"
            " f'{int(peak) / 1024:.0f} {u.ru_utime + u.ru_stime:.3f}\\n')\n")
    t = time.perf_counter()
    done = subprocess.run([sys.executable, "-c", code], env=env, capture_output=True, text=True)
    wall = time.perf_counter() - t
    line = [x for x in done.stderr.splitlines() if x.startswith("BENCH")]
    if done.returncode not in (0, 1) or not line:
        raise SystemExit(f"run failed: {done.stderr[-2000:]}")
    _, inside, peak, cpu = line[0].split()
    return wall, float(inside), float(peak), float(cpu)


def main():
    p = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    p.add_argument("--cells", type=int, default=2_000_000)
    p.add_argument("--dir", default=str(ROOT / "build" / "bench-tool"))
    p.add_argument("--repeat", type=int, default=3, help="runs of each case (medians shown)")
    p.add_argument("--before", metavar="CHECKOUT", help="also time this checkout's command")
    args = p.parse_args()
    import meshio
    out = Path(args.dir)
    out.mkdir(parents=True, exist_ok=True)
    points, hexes = block(args.cells)
    mesh = meshio.Mesh(points, [("hexahedron", hexes)])
    files = [out / f"block{len(hexes)}.msh", out / f"block{len(hexes)}.vtu"]
    for f in files:
        if not f.exists():
            if f.suffix == ".msh":
                meshio.write(f, mesh, file_format="gmsh", binary=True)
            else:
                meshio.write(f, mesh, binary=True)
    del mesh, points, hexes
    roots = [ROOT] + ([Path(args.before)] if args.before else [])
    for root in roots:
        subprocess.run([sys.executable, "-c", "import stabletime.cli, meshio"],
                       env=environment(root=root), check=True)
    print(f"{'file':<28} {'reader':<8} {'wall s':>8} {'in main s':>10} {'cpu s':>8} "
          f"{'peak MB':>8}")
    cases = [(f, reader, root) for f in files for reader, root in
             [("", ROOT), ("meshio", ROOT)] + [("before", r) for r in roots[1:]]]
    load = os.getloadavg()[0]
    runs = [[run(f, reader if root == ROOT else "", root) for f, reader, root in cases]
            for _ in range(max(args.repeat, 1))]
    for (f, reader, _), results in zip(cases, zip(*runs)):
        wall, inside, peak, cpu = np.median(results, axis=0)
        print(f"{f.name:<28} {reader or 'default':<8} {wall:>8.2f} {inside:>10.2f} "
              f"{cpu:>8.2f} {peak:>8.0f}")
    print(f"medians of {len(runs)} runs; load average {load:.1f} before, "
          f"{os.getloadavg()[0]:.1f} after, on {os.cpu_count()} cores")


if __name__ == "__main__":
    main()
