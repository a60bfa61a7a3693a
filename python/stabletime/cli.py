"""The stabletime command: stable time report of a mesh file."""
import argparse
import contextlib
import io
import json
import math
import os
import sys
import threading

import numpy as np

from . import catalogue, config, meshes
from ._version import VERSION
from .codes import meaning
from .config import UsageError
from .core import compute
from .materials import Elastic

EPILOG = """\
default element per cell type (override with --element TYPE=NAME or BLOCK=NAME):
  line T3D2, line3 B32, triangle CPS3 (flat in z) or S3R, quad CPS4R (flat) or S4R,
  triangle6 CPS6M (flat), tetra C3D4, tetra10 C3D10M, hexahedron C3D8R, wedge C3D6.
blocks: a cell block is named by the cell set (physical group) that holds it, else
  blockN. Where the mesh has named sets only their blocks are analysed, otherwise the
  blocks of the highest dimension; --all-blocks analyses every block.
element numbers count from 1 over all cells of the file in order.
config file (TOML): top-level keys density, thickness, section_area, alpha, beta,
  bulk_scale, cohesive = [flag, width], target_dt, material = {type = "elastic",
  E = ..., nu = ...}; [elements] maps cell types or block names to element names;
  [blocks.NAME] holds the same keys for one block. Command-line options override it.
material types: """ + ", ".join(config.MATERIAL_TYPES) + """ (fields as in the
  Python classes, e.g. lamina:E1=..,E2=..,nu12=..,G12=..,G13=..,G23=..; lists a/b/c;
  raw:code=100,values=210000/0.3).
exit status: 0 all elements fine, 1 some elements failed, 2 bad usage or input."""


class _Parser(argparse.ArgumentParser):
    def error(self, message):
        raise UsageError(message)


def build_parser():
    p = _Parser(prog="stabletime", formatter_class=argparse.RawDescriptionHelpFormatter,
                description="Stable time increments of every element of a mesh file "
                            "(any format meshio reads), with the critical elements, failures "
                            "and mass-scaling advice.", epilog=EPILOG)
    p.add_argument("--version", action="version", version=f"%(prog)s {VERSION}")
    p.add_argument("mesh", help="mesh file")
    p.add_argument("--config", metavar="FILE", help="TOML file with settings (see below)")
    p.add_argument("--element", action="append", default=[], metavar="KEY=NAME",
                   help="element name for a cell type or block, e.g. hexahedron=C3D8I")
    p.add_argument("--E", type=float, metavar="E", help="Young's modulus (elastic material)")
    p.add_argument("--nu", type=float, metavar="NU", help="Poisson's ratio (elastic material)")
    p.add_argument("--material", metavar="TYPE:FIELDS", help="material as TYPE:field=value,...")
    p.add_argument("--density", type=float, help="density")
    p.add_argument("--thickness", type=float, help="thickness of surface elements (default 1)")
    p.add_argument("--section-area", type=float, help="section area of trusses and beams")
    p.add_argument("--alpha", type=float, help="mass-proportional damping (default 0)")
    p.add_argument("--beta", type=float, help="stiffness-proportional damping (default 0)")
    p.add_argument("--bulk-scale", type=float, help="linear bulk viscosity scale (default 1)")
    p.add_argument("--cohesive", metavar="FLAG,WIDTH",
                   help="cohesive parameters: constitutive-thickness flag and width")
    p.add_argument("--set", action="append", default=[], metavar="BLOCK.KEY=VALUE",
                   help="one setting for one block, e.g. plate.thickness=2")
    p.add_argument("--all-blocks", action="store_true", help="analyse every cell block")
    p.add_argument("--target-dt", type=float, metavar="T", help="mass-scaling advice for T")
    p.add_argument("--top", type=int, metavar="N",
                   help="critical elements listed (default max(20, 2%% of elements))")
    p.add_argument("--output", metavar="FILE.vtu",
                   help="write the mesh with cell data stable_time and code")
    p.add_argument("--factors", action="store_true",
                   help="with --output and --target-dt, add cell data mass_factor")
    p.add_argument("--plot", metavar="FILE.png", help="histogram of increments")
    p.add_argument("--json", action="store_true", help="print the report as JSON")
    p.add_argument("--threads", type=int, help="worker threads (default all cores)")
    return p


def _block_names(mesh):
    """A name per cell block, and whether names come from named sets."""
    names = [None] * len(mesh.cells)
    for set_name, parts in (mesh.cell_sets or {}).items():
        if set_name.startswith("gmsh:"):
            continue
        for i, part in enumerate(parts):
            if i < len(names) and names[i] is None and part is not None and \
                    len(part) == len(mesh.cells[i].data) and len(part):
                names[i] = set_name
    in_set = [n is not None for n in names]
    return [n or f"block{i}" for i, n in enumerate(names)], in_set


def _settings(args):
    """defaults, per-block settings, element names by key, target dt."""
    defaults, per_block, elements, target = {}, {}, {}, None
    if args.config:
        defaults, per_block, elements, target = config.load_toml(args.config)
    if args.E is not None or args.nu is not None:
        if args.E is None or args.nu is None:
            raise UsageError("--E and --nu go together")
        if args.material:
            raise UsageError("give either --E/--nu or --material")
        defaults["material"] = Elastic(args.E, args.nu)
    elif args.material:
        defaults["material"] = config.material_from_text(args.material)
    for key in config.SCALARS:
        value = getattr(args, key)
        if value is not None:
            defaults[key] = value
    if args.cohesive:
        parts = args.cohesive.split(",")
        if len(parts) != 2:
            raise UsageError("--cohesive: expected FLAG,WIDTH")
        defaults["cohesive"] = [config._number(s) for s in parts]
    for item in args.element:
        key, eq, name = item.partition("=")
        if not eq or not key or not name:
            raise UsageError(f"--element: expected KEY=NAME, got {item!r}")
        elements[key] = name
    for item in args.set:
        lhs, eq, value = item.partition("=")
        block, dot, key = lhs.rpartition(".")
        if not eq or not dot or not block:
            raise UsageError(f"--set: expected BLOCK.KEY=VALUE, got {item!r}")
        table = {key: config.material_from_text(value) if key == "material" else
                 value if key == "element" else config.parse_value(value)}
        if key == "material":
            per_block.setdefault(block, {})["material"] = table[key]
        else:
            per_block.setdefault(block, {}).update(config._check_block(table, f"--set {item}"))
    if args.target_dt is not None:
        target = args.target_dt
    if target is not None and not (isinstance(target, (int, float)) and target > 0):
        raise UsageError(f"target dt must be a positive number, got {target!r}")
    return defaults, per_block, elements, target


def _read(path):
    import meshio
    if not os.path.isfile(path):
        raise UsageError(f"cannot read {path}: no such file")
    chatter = io.StringIO()
    try:
        # The readers chat on stdout and stderr, and some exit on a bad file.
        with contextlib.redirect_stdout(chatter), contextlib.redirect_stderr(chatter):
            return meshio.read(path)
    except (Exception, SystemExit) as err:
        text = " ".join(str(err).split()) if str(err) and not isinstance(err, SystemExit) \
            else " ".join(chatter.getvalue().split()) or type(err).__name__
        raise UsageError(f"cannot read {path}: {text}") from None


class _Progress:
    """A bar on stderr for long runs; silent when stderr is not a terminal."""

    def __init__(self, total):
        self.total, self.done = total, 0
        self.active = total >= 500_000 and sys.stderr.isatty()
        self.lock = threading.Lock()

    def __call__(self, count):
        if not self.active:
            return
        with self.lock:
            self._advance(count)

    def _advance(self, count):
        self.done += count
        filled = int(40 * self.done / self.total)
        sys.stderr.write(f"\r[{'#' * filled}{'.' * (40 - filled)}] {self.done}/{self.total}")
        if self.done >= self.total:
            sys.stderr.write("\n")
        sys.stderr.flush()


def analyse(args):
    """Run every block and build the report (a dict ready for JSON), the mesh
    and the per-block arrays for output."""
    defaults, per_block, elements, target = _settings(args)
    mesh = _read(args.mesh)
    points = np.asarray(mesh.points, dtype=np.float64)
    nodes = np.zeros((len(points), 3), dtype=np.float32)
    nodes[:, :points.shape[1]] = points[:, :3]
    names, in_set = _block_names(mesh)
    named = any(in_set)
    for key in list(per_block) + [k for k in elements if k not in meshes.DIMENSION]:
        if key not in names:
            raise UsageError(f"no block or cell type named {key!r} in {args.mesh} "
                             f"(blocks: {', '.join(sorted(set(names)))})")
    top_dim = max((meshes.DIMENSION.get(b.type, -1) for b in mesh.cells), default=-1)
    plan, offsets, offset = [], [], 0
    for i, block in enumerate(mesh.cells):
        offsets.append(offset)
        offset += len(block.data)
        chosen = per_block.get(names[i], {}).get("element") or elements.get(
            names[i], elements.get(block.type))
        wanted = chosen is not None or args.all_blocks or (
            named and in_set[i]) or (
            not named and meshes.DIMENSION.get(block.type, -1) == top_dim)
        if not wanted or block.type == "vertex" or len(block.data) == 0:
            continue
        if chosen is None:
            chosen = meshes.default_element(block.type, meshes.is_flat(points, block.data))
        if chosen is None:
            raise UsageError(f"block {names[i]} ({block.type}) has no default element; "
                             f"name one with --element {block.type}=NAME")
        if chosen not in catalogue.NODE_COUNT:
            raise UsageError(f"unknown element name {chosen!r} for block {names[i]}")
        if catalogue.NODE_COUNT[chosen] != block.data.shape[1]:
            raise UsageError(f"element {chosen} has {catalogue.NODE_COUNT[chosen]} nodes but "
                             f"block {names[i]} ({block.type}) has {block.data.shape[1]}")
        settings = dict(defaults)
        settings.update(per_block.get(names[i], {}))
        for key in ("material", "density"):
            if key not in settings:
                option = "--E/--nu or --material" if key == "material" else "--density"
                raise UsageError(f"no {key} for block {names[i]}: give {option} "
                                 "or set it in a config file")
        fam = catalogue.family(chosen)
        if fam in ("truss", "beam") and "section_area" not in settings:
            raise UsageError(f"block {names[i]} ({chosen}) needs a section area (--section-area)")
        plan.append((i, chosen, settings))
    if not plan:
        raise UsageError(f"{args.mesh}: no cell block to analyse")

    total = sum(len(mesh.cells[i].data) for i, _, _ in plan)
    progress = _Progress(total)
    results = {}
    for i, name, s in plan:
        try:
            r = compute(name, nodes, mesh.cells[i].data, s["material"], s["density"],
                        s.get("thickness"), bulk_scale=s.get("bulk_scale", 1.0),
                        section_area=s.get("section_area"), alpha=s.get("alpha", 0.0),
                        beta=s.get("beta", 0.0), cohesive=s.get("cohesive"),
                        threads=args.threads, progress=progress)
        except (TypeError, ValueError) as err:
            raise UsageError(f"block {names[i]} ({name}): {err}") from None
        results[i] = r
    report = _report(args, mesh, names, offsets, plan, results, total)
    arrays = {"stable_time": results, "mass_factor": {}}
    if target is not None:
        report["mass_scaling"] = _mass_scaling(mesh, names, nodes, plan, results, target,
                                               arrays["mass_factor"], args.threads)
    return report, mesh, arrays


def _report(args, mesh, names, offsets, plan, results, total):
    dt = np.concatenate([results[i].dt for i, _, _ in plan])
    code = np.concatenate([results[i].code for i, _, _ in plan])
    number = np.concatenate([offsets[i] + 1 + np.arange(len(results[i].dt)) for i, _, _ in plan])
    etype = np.concatenate([np.full(len(results[i].dt), n, dtype=object) for i, n, _ in plan])
    block = np.concatenate([np.full(len(results[i].dt), names[i], dtype=object)
                            for i, _, _ in plan])
    fine = code == 0
    report = {"mesh": args.mesh, "element_count": int(total), "failed_count": int((~fine).sum()),
              "types": [], "minimum": None, "critical": [], "failures": []}
    for name in dict.fromkeys(etype):
        sel = etype == name
        ok = sel & fine
        row = {"element": name, "count": int(sel.sum()), "failed": int((sel & ~fine).sum())}
        if ok.any():
            values = dt[ok].astype(np.float64)
            j = np.flatnonzero(ok)[int(np.argmin(dt[ok]))]
            row.update(min=float(dt[j]), p1=float(np.percentile(values, 1)),
                       median=float(np.median(values)), controlling_element=int(number[j]))
        report["types"].append(row)
    order = np.flatnonzero(fine)[np.argsort(dt[fine], kind="stable")]
    if len(order):
        j = order[0]
        report["minimum"] = {"dt": float(dt[j]), "element": int(number[j]),
                             "type": etype[j], "block": block[j]}
    n_top = args.top if args.top is not None else max(20, math.ceil(0.02 * total))
    report["critical"] = [{"element": int(number[j]), "type": etype[j], "block": block[j],
                           "dt": float(dt[j])} for j in order[:max(n_top, 0)]]
    for value in np.unique(code[~fine]):
        idx = np.flatnonzero(code == value)
        report["failures"].append({"code": int(value), "meaning": meaning(value),
                                   "count": len(idx),
                                   "elements": [int(number[j]) for j in idx[:50]]})
    return report


def _mass_scaling(mesh, names, nodes, plan, results, target, factor_out, threads):
    """Density factors bringing every element below the target up to it,
    checked by recomputing, and the added mass per block and in total."""
    per_block = {}
    for i, name, s in plan:
        r = results[i]
        cells = mesh.cells[i].data
        rho = np.broadcast_to(np.asarray(s["density"], dtype=np.float64), r.dt.shape)
        volume = meshes.measure(nodes.astype(np.float64), cells, mesh.cells[i].type, name,
                                s.get("thickness"), s.get("section_area"))
        mass = volume * rho
        factor = np.ones(len(cells))
        low = (r.code == 0) & (r.dt < target)
        # Factors are written as float32: check with exactly the values written.
        as_written = lambda f: f.astype(np.float32).astype(np.float64)  # noqa: E731
        factor[low] = as_written((target / r.dt[low].astype(np.float64)) ** 2)
        for _ in range(4):  # float32 rounding or damping can leave a few just short
            if not low.any():
                break
            check = compute(name, nodes, cells[low], s["material"],
                            (rho[low] * factor[low]).astype(np.float32),
                            None if s.get("thickness") is None else s["thickness"],
                            bulk_scale=s.get("bulk_scale", 1.0),
                            section_area=s.get("section_area"), alpha=s.get("alpha", 0.0),
                            beta=s.get("beta", 0.0), cohesive=s.get("cohesive"),
                            threads=threads)
            short = (check.code == 0) & (check.dt < target)
            if not short.any():
                break
            idx = np.flatnonzero(low)[short]
            factor[idx] = as_written(
                factor[idx] * (target / check.dt[short].astype(np.float64)) ** 2 * (1 + 2**-20))
        factor_out[i] = factor.astype(np.float32)
        entry = per_block.setdefault(names[i], {"block": names[i], "elements": 0, "scaled": 0,
                                                "masses": [], "added_masses": []})
        entry["elements"] += len(cells)
        entry["scaled"] += int(low.sum())
        entry["masses"].append(mass)
        entry["added_masses"].append((factor - 1.0) * mass)
        entry["max_factor"] = max(entry.get("max_factor", 1.0), float(factor.max()))
    rows = list(per_block.values())
    # Exactly rounded sums, so that totals do not depend on the order of the blocks.
    all_masses = [m for r in rows for m in r["masses"]]
    all_added = [m for r in rows for m in r["added_masses"]]
    for row in rows:
        row["mass"] = math.fsum(np.concatenate(row.pop("masses")))
        row["added_mass"] = math.fsum(np.concatenate(row.pop("added_masses")))
    total = {"block": "total", "elements": sum(r["elements"] for r in rows),
             "scaled": sum(r["scaled"] for r in rows),
             "mass": math.fsum(np.concatenate(all_masses)),
             "added_mass": math.fsum(np.concatenate(all_added)),
             "max_factor": max(r["max_factor"] for r in rows)}
    for row in rows + [total]:
        row["added_percent"] = 100.0 * row["added_mass"] / row["mass"] if row["mass"] > 0 else 0.0
    return {"target_dt": float(target), "blocks": rows, "total": total}


def format_report(report):
    lines = [f"Stable time increments of {report['mesh']}: {report['element_count']} elements, "
             f"{report['failed_count']} failed", ""]
    lines.append(f"{'type':<8} {'count':>9} {'failed':>7} {'minimum':>12} {'1st pct':>12} "
                 f"{'median':>12} {'controlling':>12}")
    for row in report["types"]:
        if "min" in row:
            lines.append(f"{row['element']:<8} {row['count']:>9} {row['failed']:>7} "
                         f"{row['min']:>12.5g} {row['p1']:>12.5g} {row['median']:>12.5g} "
                         f"{row['controlling_element']:>12}")
        else:
            lines.append(f"{row['element']:<8} {row['count']:>9} {row['failed']:>7} "
                         f"{'-':>12} {'-':>12} {'-':>12} {'-':>12}")
    lines.append("")
    m = report["minimum"]
    if m:
        lines.append(f"Model minimum: {m['dt']:.6g} at element {m['element']} "
                     f"({m['type']}, block {m['block']})")
    else:
        lines.append("Model minimum: none, no element gave an increment")
    if report["critical"]:
        lines += ["", f"{len(report['critical'])} most critical elements:",
                  f"{'element':>10} {'type':<8} {'block':<16} {'increment':>12}"]
        lines += [f"{c['element']:>10} {c['type']:<8} {c['block']:<16} {c['dt']:>12.6g}"
                  for c in report["critical"]]
    if report["failures"]:
        lines += ["", "Failed elements:"]
        for f in report["failures"]:
            shown = ", ".join(map(str, f["elements"]))
            more = " ..." if f["count"] > len(f["elements"]) else ""
            lines.append(f"  code {f['code']} ({f['meaning']}): {f['count']} elements: "
                         f"{shown}{more}")
    ms = report.get("mass_scaling")
    if ms:
        lines += ["", f"Mass scaling to a target increment of {ms['target_dt']:.6g}:",
                  f"{'block':<16} {'elements':>9} {'scaled':>8} {'max factor':>11} "
                  f"{'added mass':>12} {'added %':>9}"]
        for row in ms["blocks"] + [ms["total"]]:
            lines.append(f"{row['block']:<16} {row['elements']:>9} {row['scaled']:>8} "
                         f"{row['max_factor']:>11.4g} {row['added_mass']:>12.5g} "
                         f"{row['added_percent']:>9.4g}")
    return "\n".join(lines)


def write_vtu(path, mesh, arrays, with_factors):
    import meshio
    stable, code, factor = [], [], []
    for i, block in enumerate(mesh.cells):
        n = len(block.data)
        r = arrays["stable_time"].get(i)
        stable.append(r.dt if r is not None else np.full(n, np.nan, np.float32))
        code.append(r.code if r is not None else np.full(n, -1, np.int32))
        factor.append(arrays["mass_factor"].get(i, np.full(n, np.nan, np.float32)))
    cell_data = {"stable_time": stable, "code": code}
    if with_factors and arrays["mass_factor"]:
        cell_data["mass_factor"] = factor
    points = np.zeros((len(mesh.points), 3))
    points[:, :mesh.points.shape[1]] = mesh.points[:, :3]
    out = meshio.Mesh(points, [(b.type, b.data) for b in mesh.cells], cell_data=cell_data)
    try:
        meshio.write(path, out)
    except OSError as err:
        raise UsageError(f"cannot write {path}: {err.strerror}") from None


def plot_histogram(path, report, arrays):
    import matplotlib
    matplotlib.use("Agg")
    import matplotlib.pyplot as plt
    from matplotlib import ticker
    values = np.concatenate([r.dt[r.code == 0] for r in arrays["stable_time"].values()])
    fig, ax = plt.subplots(figsize=(7, 4))
    if len(values):
        lo, hi = float(values.min()), float(values.max())
        bins = np.geomspace(lo, hi * 1.0001 if hi > lo else lo * 1.1, 50)
        ax.hist(values, bins=bins, color="#4a7ab5")
        ax.set_xscale("log")
        ax.xaxis.set_major_locator(ticker.LogLocator(subs=(1.0, 2.0, 5.0)))
        ax.xaxis.set_major_formatter(ticker.FormatStrFormatter("%.3g"))
        ax.xaxis.set_minor_formatter(ticker.NullFormatter())
        ax.axvline(lo, color="#c0392b", label=f"minimum {lo:.4g}")
    ms = report.get("mass_scaling")
    if ms:
        ax.axvline(ms["target_dt"], color="#27ae60", linestyle="--",
                   label=f"target {ms['target_dt']:.4g}")
    ax.set_xlabel("stable time increment")
    ax.set_ylabel("elements")
    ax.set_title(os.path.basename(report["mesh"]))
    ax.legend()
    fig.tight_layout()
    try:
        fig.savefig(path, dpi=100)
    except OSError as err:
        raise UsageError(f"cannot write {path}: {err.strerror}") from None
    finally:
        plt.close(fig)


def main(argv=None):
    try:
        args = build_parser().parse_args(argv)
        if args.threads is not None and args.threads < 1:
            raise UsageError("--threads must be at least 1")
        if args.top is not None and args.top < 0:
            raise UsageError("--top must not be negative")
        if args.factors and not args.output:
            raise UsageError("--factors needs --output")
        report, mesh, arrays = analyse(args)
        if args.factors and "mass_scaling" not in report:
            raise UsageError("--factors needs a target dt (--target-dt or target_dt)")
        if args.output:
            write_vtu(args.output, mesh, arrays, args.factors)
        if args.plot:
            plot_histogram(args.plot, report, arrays)
    except UsageError as err:
        print(f"stabletime: error: {err}", file=sys.stderr)
        return 2
    except OSError as err:
        print(f"stabletime: error: {err}", file=sys.stderr)
        return 2
    except KeyboardInterrupt:
        print("stabletime: interrupted", file=sys.stderr)
        return 2
    if args.json:
        print(json.dumps(report, indent=1))
    else:
        print(format_report(report))
    return 1 if report["failed_count"] else 0
