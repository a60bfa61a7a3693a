#!/usr/bin/python3
"""Compare the library's stable time increment with the exact critical increment
of single unconstrained elements.

For each element type and Poisson ratio the ratio dt_lib / dt_exact is taken on
the regular shape and on random shapes (see shapes.py), dt_exact = 2 / omega_max
from the reference elements of reference.py.  Results go to validation/results/:
summary.json (all statistics), table.md, worst_<case>.json (the shapes with the
largest ratios) and PNG plots.

    /usr/bin/python3 validation/validate.py            # 2000 shapes a case, about a minute
    /usr/bin/python3 validation/validate.py --quick    # 150 shapes a case
"""
import argparse
import json
import sys
import time
from pathlib import Path

import numpy as np

HERE = Path(__file__).resolve().parent
sys.path.insert(0, str(HERE))
sys.path.insert(0, str(HERE.parent / "python"))

import reference as ref  # noqa: E402
import shapes  # noqa: E402
import stabletime as st  # noqa: E402

E = 1000.0
NUS = (0.0, 0.1, 0.2, 0.3, 0.35, 0.4, 0.45, 0.49)
TABLE_NUS = (0.0, 0.3, 0.45, 0.49)   # columns of table.md
BEAM_AREA = 1.0
BINS = (0.0, 0.25, 0.5, 0.75, 1.0)


# ------------------------------------------------------------------ shape sets
# Each builder returns (library nodes (n, nodes, dim), reference coordinates,
# distortion levels); index 0 is the regular shape.

def solid_set(kind, rotate=True):
    def build(rng, count):
        base = shapes.REGULAR[kind]
        X, d = shapes.distort(rng, base, count, rotate)
        X = np.concatenate([base[None], X])
        d = np.concatenate([[0.0], d])
        return X, X, d
    return build


def tet10_set(rng, count):
    X, _, d = solid_set("tet")(rng, count)
    X10 = shapes.with_midside(X)
    return X10, X10, d


def axisymmetric_set(rng, count):
    """Quadrilaterals in the r-z plane, moved off the axis by 0 to 2 sizes;
    the regular shape spans r from 1 to 2."""
    X, _, d = solid_set("quad")(rng, count)
    X = X.copy()
    size = np.ptp(X[:, :, 0], axis=1)
    gap = np.concatenate([[1.0], rng.uniform(0, 2, count)]) * size
    X[:, :, 0] += gap[:, None] - X[:, :, 0].min(axis=1)[:, None]
    return X, X, d


def membrane_set(rng, count):
    """Flat quadrilaterals turned into space; the reference works in their plane."""
    X2, _, d = solid_set("quad")(rng, count)
    X3 = np.concatenate([X2, np.zeros(X2.shape[:2] + (1,))], axis=2)
    for s in range(1, len(X3)):
        X3[s] = X3[s] @ shapes.random_rotation(rng, 3).T
    return X3, X2, d


def beam_set(dim):
    """Beams of slenderness L / sqrt(A) 10 (regular) and log-uniform in [2, 50],
    in random directions; the level d is the position in that range."""
    def build(rng, count):
        u = rng.uniform(0, 1, count)
        slender = np.concatenate([[10.0], 2 * 25.0 ** u])
        L = slender * np.sqrt(BEAM_AREA)
        direction = rng.normal(size=(count + 1, dim))
        direction[0] = np.eye(dim)[0]
        direction /= np.linalg.norm(direction, axis=1, keepdims=True)
        X = np.stack([np.zeros((count + 1, dim)), L[:, None] * direction], axis=1)
        X += rng.uniform(-10, 10, (count + 1, 1, dim))
        return X, L, np.concatenate([[0.0], u])
    return build


# ------------------------------------------------------------------ cases

def beam_ref(dim, rotary):
    return lambda L, nu, rho: (ref.timoshenko_beam(L, E, nu, rho, BEAM_AREA, dim, rotary),
                               np.ones_like(L))


CASES = [
    # name, library type, reference label, shape set, reference(X, nu, rho) -> (omega, det)
    ("T3D2", "T3D2", "bar", solid_set("line"),
     lambda X, nu, rho: (ref.truss(X, E, rho), np.ones(len(X)))),
    ("B21", "B21", "axial and torsion modes", beam_set(2), beam_ref(2, False)),
    ("B21-rotary", "B21", "Timoshenko beam, physical rotary inertia", beam_set(2),
     beam_ref(2, True)),
    ("B31", "B31", "axial and torsion modes", beam_set(3), beam_ref(3, False)),
    ("B31-rotary", "B31", "Timoshenko beam, physical rotary inertia", beam_set(3),
     beam_ref(3, True)),
    ("CPS3", "CPS3", "linear triangle", solid_set("tri"),
     lambda X, nu, rho: ref.triangle(X, E, nu, rho)),
    ("CPS4R", "CPS4R", "one-point quad", solid_set("quad"),
     lambda X, nu, rho: ref.quad(X, E, nu, rho, "mean")),
    ("CPS4R-2x2", "CPS4R", "2x2 quad", solid_set("quad"),
     lambda X, nu, rho: ref.quad(X, E, nu, rho, "full")),
    ("CAX4R", "CAX4R", "one-point axisymmetric quad", axisymmetric_set,
     lambda X, nu, rho: ref.axisymmetric_quad(X, E, nu, rho, "centre")),
    ("CAX4R-2x2", "CAX4R", "2x2 axisymmetric quad", axisymmetric_set,
     lambda X, nu, rho: ref.axisymmetric_quad(X, E, nu, rho, "full")),
    ("S4R", "S4R", "membrane: one-point quad in its plane", membrane_set,
     lambda X, nu, rho: ref.quad(X, E, nu, rho, "mean")),
    ("C3D4", "C3D4", "linear tetrahedron", solid_set("tet"),
     lambda X, nu, rho: ref.tet4(X, E, nu, rho)),
    ("C3D8R", "C3D8R", "one-point hex", solid_set("hex"),
     lambda X, nu, rho: ref.hexa(X, E, nu, rho, "mean")),
    ("C3D8R-2x2x2", "C3D8R", "2x2x2 hex", solid_set("hex"),
     lambda X, nu, rho: ref.hexa(X, E, nu, rho, "full")),
    ("C3D8", "C3D8", "2x2x2 hex", solid_set("hex"),
     lambda X, nu, rho: ref.hexa(X, E, nu, rho, "full")),
    ("C3D10M", "C3D10M", "ten-node tetrahedron", tet10_set,
     lambda X, nu, rho: ref.tet10(X, E, nu, rho)),
    ("AC3D8R", "AC3D8R", "one-point acoustic hex", solid_set("hex"),
     lambda X, nu, rho: ref.acoustic_hexa(X, E, rho, "mean")),
    ("AC3D8R-2x2x2", "AC3D8R", "2x2x2 acoustic hex", solid_set("hex"),
     lambda X, nu, rho: ref.acoustic_hexa(X, E, rho, "full")),
]
NU_FREE = {"AC3D8R", "AC3D8R-2x2x2"}     # the fluid has no Poisson ratio


def library_dt(elem, X, nu, rho):
    n, nn, dim = X.shape
    nodes = X.reshape(-1, dim)
    if dim == 2:
        nodes = np.column_stack([nodes, np.zeros(len(nodes))])
    conn = np.arange(n * nn, dtype=np.int32).reshape(n, nn)
    fam = st.catalogue.family(elem)
    material = st.AcousticFluid(E, 0.0) if fam == "acoustic" else st.Elastic(E, nu)
    area = BEAM_AREA if fam in ("truss", "beam") else None
    r = st.compute(elem, nodes, conn, material, rho, bulk_scale=0.0, section_area=area,
                   threads=1)
    return r.dt.astype(float), r.code


def run_case(case, nu, count, seed):
    key, elem, label, build, reference = case
    rng = np.random.default_rng(seed)
    X_lib, X_ref, level = build(rng, count)
    n = len(level)
    rho = np.concatenate([[1.0], 10.0 ** rng.uniform(-1, 1, n - 1)])
    dt_lib, code = library_dt(elem, X_lib, nu, rho)
    omega, det = reference(X_ref, nu, rho)
    dt_exact = 2.0 / omega
    good = (code == 0) & (det > 0)
    ratio = dt_lib / dt_exact
    rr = ratio[1:][good[1:]]
    bins = []
    for lo, hi in zip(BINS[:-1], BINS[1:]):
        sel = good[1:] & (level[1:] >= lo) & (level[1:] < hi if hi < 1 else level[1:] <= hi)
        v = ratio[1:][sel]
        bins.append({"level": [lo, hi], "count": int(v.size),
                     "median": float(np.median(v)) if v.size else None,
                     "max": float(v.max()) if v.size else None})
    order = np.argsort(-np.where(good, ratio, -np.inf))[:3]
    worst = [{"ratio": float(ratio[i]), "level": float(level[i]), "density": float(rho[i]),
              "dt_lib": float(dt_lib[i]), "dt_exact": float(dt_exact[i]),
              "nodes": X_lib[i].tolist()} for i in order if good[i]]
    return {"case": key, "element": elem, "reference": label, "nu": nu,
            "regular": float(ratio[0]) if good[0] else None,
            "count": int(rr.size), "skipped": int(n - 1 - rr.size),
            "min": float(rr.min()), "median": float(np.median(rr)), "max": float(rr.max()),
            "bins": bins, "worst": worst, "ratios": rr.tolist()}


def fmt(r):
    return f"{r['regular']:.3f} \\| {r['min']:.3f}/{r['median']:.3f}/{r['max']:.3f}"


def write_table(results, path):
    lines = ["| type (reference) | " + " | ".join(f"ν = {nu}" for nu in TABLE_NUS) + " |",
             "|---|" + "---|" * len(TABLE_NUS)]
    for case in CASES:
        row = [r for r in results if r["case"] == case[0] and r["nu"] in TABLE_NUS]
        cells = [fmt(r) for r in row]
        if case[0] in NU_FREE:
            cells = [cells[0]] + ["same"] * (len(TABLE_NUS) - 1)
        lines.append(f"| {case[1]} ({case[2]}) | " + " | ".join(cells) + " |")
    lines += ["", "Largest ratio by distortion level d (0-0.25 / 0.25-0.5 / 0.5-0.75 / 0.75-1), "
              "ν = 0.45:", "",
              "| type (reference) | " + " | ".join(
                  f"d {lo}-{hi}" for lo, hi in zip(BINS[:-1], BINS[1:])) + " |",
              "|---|" + "---|" * (len(BINS) - 1)]
    for case in CASES:
        r = next(r for r in results if r["case"] == case[0]
                 and r["nu"] == (NUS[0] if case[0] in NU_FREE else 0.45))
        lines.append(f"| {case[1]} ({case[2]}) | " + " | ".join(
            "-" if b["max"] is None else f"{b['median']:.3f} / {b['max']:.3f}"
            for b in r["bins"]) + " |")
    path.write_text("\n".join(lines) + "\n")
    return "\n".join(lines)


def plot(results, out):
    import matplotlib
    matplotlib.use("Agg")
    import matplotlib.pyplot as plt

    shown = ["T3D2", "CPS3", "CPS4R", "CAX4R", "C3D4", "C3D8R", "C3D8", "C3D10M"]
    fig, axes = plt.subplots(1, 2, figsize=(9, 3.6), dpi=80, sharey=True)
    for key in shown:
        row = [r for r in results if r["case"] == key]
        nus = [r["nu"] for r in row]
        axes[0].plot(nus, [r["median"] for r in row], marker="o", ms=3, label=key)
        axes[1].plot(nus, [max(r["max"], r["regular"]) for r in row], marker="o", ms=3,
                     label=key)
    for ax, title in zip(axes, ("median over random shapes", "largest seen")):
        ax.axhline(1.0, color="k", lw=0.8, ls="--")
        ax.set_title(title, fontsize=9)
        ax.set_xlabel("Poisson ratio ν")
    axes[0].set_ylabel("dt_lib / dt_exact")
    axes[1].legend(fontsize=7, ncol=2)
    fig.tight_layout()
    fig.savefig(out / "ratio_vs_nu.png")
    plt.close(fig)

    hist = ["CPS3", "CPS4R", "CAX4R", "S4R", "C3D4", "C3D8R", "C3D8", "C3D10M"]
    fig, axes = plt.subplots(2, 4, figsize=(9, 4.2), dpi=80, sharex=True)
    for ax, key in zip(axes.ravel(), hist):
        for nu in (0.0, 0.3, 0.45):
            r = next(r for r in results if r["case"] == key and r["nu"] == nu)
            ax.hist(r["ratios"], bins=40, range=(0.4, 1.6), histtype="step", label=f"ν {nu}")
        ax.axvline(1.0, color="k", lw=0.8, ls="--")
        ax.set_title(key, fontsize=8)
        ax.tick_params(labelsize=6)
    axes[0, 0].legend(fontsize=6)
    fig.supxlabel("dt_lib / dt_exact over random shapes", fontsize=8)
    fig.tight_layout()
    fig.savefig(out / "ratio_histograms.png")
    plt.close(fig)


def main(argv=None):
    p = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    p.add_argument("--quick", action="store_true", help="150 shapes a case instead of 2000")
    p.add_argument("--count", type=int, help="random shapes a case")
    p.add_argument("--seed", type=int, default=20)
    p.add_argument("--out", type=Path, default=HERE / "results")
    p.add_argument("--no-plot", action="store_true")
    args = p.parse_args(argv)
    count = args.count or (150 if args.quick else 2000)
    args.out.mkdir(parents=True, exist_ok=True)
    results = []
    start = time.time()
    for case in CASES:
        for nu in NUS:
            if case[0] in NU_FREE and nu != NUS[0]:
                continue
            results.append(run_case(case, nu, count, args.seed))
            r = results[-1]
            print(f"{case[0]:14s} nu={nu:<5} {fmt(r).replace(chr(92), '')}  "
                  f"skipped {r['skipped']}  ({time.time() - start:.0f} s)", flush=True)
    for case in CASES:
        worst = {str(r["nu"]): r["worst"] for r in results if r["case"] == case[0]}
        (args.out / f"worst_{case[0]}.json").write_text(json.dumps(
            {"element": case[1], "reference": case[2], "E": E, "section_area": BEAM_AREA,
             "nodes": "in the element's node order; by_nu: the three largest ratios",
             "by_nu": worst}, indent=1))
    summary = [{k: v for k, v in r.items() if k not in ("ratios", "worst")} for r in results]
    (args.out / "summary.json").write_text(json.dumps(
        {"count": count, "seed": args.seed, "E": E, "results": summary}, indent=1))
    print(write_table(results, args.out / "table.md"))
    if not args.no_plot:
        plot(results, args.out)
    return results


if __name__ == "__main__":
    main()
