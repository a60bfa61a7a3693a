"""The stabletime command: stable time report of a mesh file."""
import argparse
import json
import math
import os
import sys
import threading

import numpy as np

from . import accuracy, catalogue, config, meshes, parallel, readers
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


TOP_CAP = 100  # the default list stops here; --csv has every element
MOST_SCALED = 10


class _Parser(argparse.ArgumentParser):
    def error(self, message):
        raise UsageError(message)


def _join_negative_values(argv):
    """'--density -7.85e-9' as '--density=-7.85e-9': the argument parser takes
    a value in exponent form that starts with '-' for an option."""
    out = []
    for item in argv:
        if out and out[-1].startswith("--") and "=" not in out[-1] and item.startswith("-"):
            try:
                float(item)
            except ValueError:
                pass
            else:
                out[-1] = f"{out[-1]}={item}"
                continue
        out.append(item)
    return out


def build_parser(several=False):
    """The command's options; several=True (runs under MPI) takes one or more
    mesh files."""
    p = _Parser(prog="stabletime", formatter_class=argparse.RawDescriptionHelpFormatter,
                description="Stable time increments of every element of a mesh file "
                            "(any format meshio reads), with the critical elements, failures "
                            "and mass-scaling advice.", epilog=EPILOG)
    p.add_argument("--version", action="version", version=f"%(prog)s {VERSION}")
    if several:
        p.add_argument("mesh", nargs="+", help="mesh file, or partition files (one file per "
                       "partition, or a pattern such as 'mesh_*.msh')")
    else:
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
                   help=f"critical elements listed (default max(20, 2%% of elements), "
                        f"at most {TOP_CAP}; every element goes to --csv)")
    p.add_argument("--scale-factor", type=float, metavar="F",
                   help="safety factor 0 < F <= 1: every reported increment is F times the "
                        "element's stable increment, and mass scaling brings F*dt up to the "
                        "target (default 1)")
    p.add_argument("--max-added-mass", type=float, metavar="PCT",
                   help="warn when mass scaling adds more than PCT %% of a block's or the "
                        "model's mass")
    p.add_argument("--sweep", metavar="T1,T2,...",
                   help="table of added mass against these target increments")
    p.add_argument("--csv", metavar="FILE.csv",
                   help="every analysed element: number, block, type, increment, code, factor")
    p.add_argument("--output", metavar="FILE.vtu",
                   help="write the mesh with its cell data and stable_time, code, block "
                        "and element_type")
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
        try:
            defaults["material"] = Elastic(args.E, args.nu)
        except (TypeError, ValueError) as err:
            raise UsageError(f"--E/--nu: {err}") from None
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
    for where, table in [("", defaults)] + [(f"block {b}: ", t) for b, t in per_block.items()]:
        for key in ("bulk_scale", "alpha", "beta"):
            if table.get(key, 0.0) < 0:
                raise UsageError(f"{where}{key.replace('_', '-')} must not be negative, "
                                 f"got {table[key]}")
    return defaults, per_block, elements, target


def _read(path, progress):
    """The mesh, and per cell block the file's own element numbers (or None)
    with a word on where numbers come from."""
    if not os.path.isfile(path):
        raise UsageError(f"cannot read {path}: no such file")
    if os.path.getsize(path) == 0:
        raise UsageError(f"cannot read {path}: the file is empty")
    progress.stage("reading")
    try:
        loaded = readers.read(path)
    except readers.ReadError as err:
        raise UsageError(f"cannot read {path}: {err}") from None
    progress.stage("read")
    return loaded


class _Progress:
    """A bar on stderr for long runs (reading is the first half, the increments
    the second); silent when stderr is not a terminal."""

    def __init__(self, total, active=None):
        self.total, self.done = max(int(total), 1), 0
        self.active = (total >= 500_000 if active is None else active) and sys.stderr.isatty()
        self.lock = threading.Lock()
        self.label = ""
        self.base = 0.0  # fraction of the bar before the counted part

    def stage(self, label):
        """Start a stage of the run: 'reading' fills nothing, 'read' half the bar."""
        if label == "read":
            self.base = 0.5
        self.label = label
        if self.active:
            with self.lock:
                self._draw()

    def start_counting(self, total):
        self.total, self.done = max(int(total), 1), 0
        self.label = "increments"

    def __call__(self, count):
        if not self.active:
            return
        with self.lock:
            self._advance(count)

    def _draw(self):
        fraction = self.base + (1.0 - self.base) * min(self.done / self.total, 1.0)
        filled = int(40 * fraction)
        label = f" {self.label}" if self.label else ""
        counts = "" if self.label in ("reading", "read") else f" {self.done}/{self.total}"
        sys.stderr.write(f"\r[{'#' * filled}{'.' * (40 - filled)}]{label}{counts}")
        sys.stderr.flush()

    def _advance(self, count):
        self.done += count
        self._draw()
        if self.done >= self.total:
            sys.stderr.write("\n")
            sys.stderr.flush()


# Types whose geometry reads the section thickness (it multiplies their mass or
# is their cohesive constitutive thickness). Every other type is given none:
# the library multiplies every modulus by the thickness, which would change the
# increment of a solid, a truss or a beam by 1/sqrt(thickness).
THICKNESS_FAMILIES = ("plane", "membrane", "shell", "cohesive")
# Plane-stress types and the Poisson ratio at which the increment stops following
# nu: 0.49 where the element has the frequency bound, 0.4 where it has not.
_PLANE_STRESS_NU_LIMIT = {name: 0.4 if name.startswith(("CPS6M", "SAX1", "SC")) else 0.49
                          for name in catalogue.NODE_COUNT
                          if name.startswith(("CPS", "M3D", "S"))}


def uses_thickness(element):
    return catalogue.family(element) in THICKNESS_FAMILIES


def _material_warnings(block, element, material):
    """What the library does with an elastic material at the edge of its range."""
    if not isinstance(material, Elastic) or catalogue.family(element) in ("truss", "beam"):
        return []
    out = []
    limit = _PLANE_STRESS_NU_LIMIT.get(element)
    if limit is not None and material.nu > limit:
        out.append(f"block {block} ({element}): nu = {material.nu:g} is used as {limit:g} in "
                   "the plane-stress increment")
    if material.nu == 0.5 and limit is None:
        out.append(f"block {block} ({element}): nu = 0.5 is not taken as incompressible: "
                   "the bulk modulus is set to 2G/3 (3K = 2G)")
    return out


def _check_node_numbers(block, cells, node_total, first_number):
    if cells.size == 0 or (cells.min() >= 0 and cells.max() < node_total):
        return
    bad = (cells < 0) | (cells >= node_total)
    if bad.any():
        e = int(np.flatnonzero(bad.any(axis=1))[0])
        node = int(cells[e][np.flatnonzero(bad[e])[0]])
        raise UsageError(f"block {block}: cell {e + 1} of the block (element "
                         f"{first_number + e}) uses node {node}, outside the {node_total} "
                         "nodes of the file")


def analyse(args, run=None):
    """Read the mesh, run every block, and return (report, mesh, table), the
    table holding one row per analysed element. Under MPI, run (a
    parallel.Run) reads this rank's share and makes the decisions that need
    the whole mesh and the report collectively."""
    defaults, per_block, elements, target = _settings(args)
    sweep = _sweep_targets(args.sweep)
    if run is not None:
        progress = _Progress(0, active=False)
        loaded = run.read(args.mesh, progress)
    else:
        progress = _Progress(0, active=os.path.isfile(args.mesh) and
                             os.path.getsize(args.mesh) > 20_000_000)
        loaded = _read(args.mesh, progress)
    mesh = loaded.mesh
    points = np.asarray(mesh.points)
    # Not np.zeros: its pages, filled here, cost several times the copy.
    nodes = np.empty((len(points), 3), dtype=np.float32)
    dim = min(points.shape[1], 3)
    nodes[:, :dim] = points[:, :dim]
    nodes[:, dim:] = 0.0
    names, in_set = _block_names(mesh)
    known, named = set(names), any(in_set)
    top_dim = max((meshes.DIMENSION.get(b.type, -1) for b in mesh.cells), default=-1)
    flat = None
    if run is not None:
        known, named, top_dim = run.agree_blocks(known, named, top_dim)
        flat = run.flatness(mesh, names)
    for key in list(per_block) + [k for k in elements if k not in meshes.DIMENSION]:
        if key not in known:
            raise UsageError(f"no block or cell type named {key!r} in "
                             f"{args.mesh if run is None else run.name} "
                             f"(blocks: {', '.join(sorted(known))})")
    plan, offsets, offset, warnings = [], [], 0, []
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
        _check_node_numbers(names[i], block.data, len(points), offsets[i] + 1)
        if chosen is None:
            surface = isinstance(meshes.DEFAULT_ELEMENT.get(block.type), tuple)
            chosen = meshes.default_element(block.type, surface and (
                meshes.is_flat(points, block.data) if flat is None else
                flat[(names[i], block.type)]))
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
        if not uses_thickness(chosen):
            settings.pop("thickness", None)
        for line in _material_warnings(names[i], chosen, settings["material"]):
            if line not in warnings:
                warnings.append(line)
        plan.append((i, chosen, settings))
    if run is not None:
        run.agree_plan(plan)  # a rank may have nothing to analyse, the run may not
    elif not plan:
        raise UsageError(f"{args.mesh}: no cell block to analyse")

    total = sum(len(mesh.cells[i].data) for i, _, _ in plan)
    progress.start_counting(total)
    if progress.active is False and total >= 500_000:
        progress.active = sys.stderr.isatty()
    results = {}
    for i, name, s in plan:
        try:
            results[i] = compute(name, nodes, mesh.cells[i].data, s["material"], s["density"],
                                 s.get("thickness"), bulk_scale=s.get("bulk_scale", 1.0),
                                 section_area=s.get("section_area"), alpha=s.get("alpha", 0.0),
                                 beta=s.get("beta", 0.0), cohesive=s.get("cohesive"),
                                 threads=args.threads, progress=progress)
        except (TypeError, ValueError) as err:
            raise UsageError(f"block {names[i]} ({name}): {err}") from None
    scale = 1.0 if args.scale_factor is None else args.scale_factor
    table = _element_table(loaded, names, offsets, plan, results, scale) if plan else \
        run.empty_table(target is not None or bool(sweep), target is not None)
    if plan and (target is not None or sweep):
        table["mass"] = np.concatenate([_masses(mesh, nodes, i, name, s, results[i])
                                        for i, name, s in plan])
    if plan and target is not None:
        table["factor"] = np.concatenate([
            _mass_factors(nodes, mesh.cells[i].data, name, s, results[i], target, scale,
                          args.threads) for i, name, s in plan])
    if run is not None:
        report = run.summarise(table, mesh, nodes, warnings, scale=scale, top=args.top,
                               target=target, sweep=sweep, max_added=args.max_added_mass,
                               numbering=loaded.numbering)
        # Every rank's (block, element, material), in the global block order a
        # single run meets them in, for the same validation notes.
        used = run.reduce([(names[i], name, s["material"]) for i, name, s in plan],
                          lambda a, b: a + [u for u in b if u not in a])
        order = {name: k for k, name in enumerate(table["block_names"])}
        used.sort(key=lambda u: order.get(u[0], len(order)))
        report["accuracy_notes"] = accuracy.notes((name, m) for _, name, m in used)
        return report, mesh, table
    report = summarise(table, mesh=args.mesh, scale=scale, top=args.top, target=target,
                       sweep=sweep, max_added=args.max_added_mass,
                       numbering=loaded.numbering)
    _add_details(report, table, mesh, nodes)
    report["warnings"] = warnings + report.pop("summary_warnings")
    # Types and Poisson ratios whose increments were seen above the exact element increment.
    report["accuracy_notes"] = accuracy.notes((name, s["material"]) for _, name, s in plan)
    return report, mesh, table


def _element_table(loaded, names, offsets, plan, results, scale):
    """One row per analysed element, in file order of the blocks: own number,
    position (from 1; None where the numbers are the positions), block index
    and name, type, increment times the safety factor (float32), code, and the
    cell's block index and row in the mesh."""
    def cat(parts):
        return parts[0] if len(parts) == 1 else np.concatenate(parts)
    position = [np.arange(offsets[i] + 1, offsets[i] + 1 + len(results[i].dt), dtype=np.int64)
                for i, _, _ in plan]
    number = position if loaded.ids is None else [
        np.asarray(loaded.ids[i], dtype=np.int64) for i, _, _ in plan]
    block_names = list(dict.fromkeys(names[i] for i, _, _ in plan))
    type_names = list(dict.fromkeys(n for _, n, _ in plan))
    dt = cat([results[i].dt for i, _, _ in plan])
    if scale != 1.0:
        dt = (dt.astype(np.float64) * scale).astype(np.float32)
    def full(count, value):  # zeros come from the system untouched, not written
        return np.zeros(count, np.int32) if value == 0 else np.full(count, value, np.int32)
    return {
        "number": cat(number), "position": cat(position) if number is not position else None,
        "block": cat([full(len(results[i].dt), block_names.index(names[i]))
                      for i, _, _ in plan]),
        "type": cat([full(len(results[i].dt), type_names.index(n)) for i, n, _ in plan]),
        "dt": dt, "code": cat([results[i].code for i, _, _ in plan]),
        "cell_block": cat([full(len(results[i].dt), i) for i, _, _ in plan]),
        "row": cat([np.arange(len(results[i].dt), dtype=np.int32) for i, _, _ in plan]),
        "block_names": block_names, "type_names": type_names,
    }


def _masses(mesh, nodes, i, name, s, result):
    volume = meshes.measure(nodes.astype(np.float64), mesh.cells[i].data, mesh.cells[i].type,
                            name, s.get("thickness"), s.get("section_area"))
    return volume * np.broadcast_to(np.asarray(s["density"], dtype=np.float64),
                                    result.dt.shape)


def _mass_factors(nodes, cells, name, s, r, target, scale, threads):
    """Density factors bringing every element whose increment times the safety
    factor is below the target up to it, checked by recomputing."""
    rho = np.broadcast_to(np.asarray(s["density"], dtype=np.float64), r.dt.shape)
    factor = np.ones(len(cells))
    dt = r.dt.astype(np.float64) * scale
    low = (r.code == 0) & (dt < target)
    # Factors are written as float32: check with exactly the values written.
    as_written = lambda f: f.astype(np.float32).astype(np.float64)  # noqa: E731
    factor[low] = as_written((target / dt[low]) ** 2)
    for _ in range(4):  # float32 rounding or damping can leave a few just short
        if not low.any():
            break
        check = compute(name, nodes, cells[low], s["material"],
                        (rho[low] * factor[low]).astype(np.float32), s.get("thickness"),
                        bulk_scale=s.get("bulk_scale", 1.0),
                        section_area=s.get("section_area"), alpha=s.get("alpha", 0.0),
                        beta=s.get("beta", 0.0), cohesive=s.get("cohesive"), threads=threads)
        checked = check.dt.astype(np.float64) * scale
        short = (check.code == 0) & (checked < target)
        if not short.any():
            break
        idx = np.flatnonzero(low)[short]
        factor[idx] = as_written(factor[idx] * (target / checked[short]) ** 2 * (1 + 2**-20))
    return factor


def _sweep_targets(text):
    if not text:
        return []
    targets = [config._number(t) for t in text.split(",") if t.strip()]
    if not targets or any(not t > 0 for t in targets):
        raise UsageError(f"--sweep: expected positive increments T1,T2,..., got {text!r}")
    return sorted(targets)


def summarise(table, *, mesh, scale, top, target, sweep, max_added, numbering):
    """The report from the per-element table alone (no geometry): counts,
    per type and per block minimum and controlling element, failures, the
    critical list and mass scaling. Tables of several parts of a mesh
    concatenated give the report of the whole."""
    dt, code, number = table["dt"], table["code"], table["number"]
    finite = np.isfinite(dt)
    fine = (code == 0) & finite
    total = len(dt)
    fine_count = int(fine.sum())
    report = {"mesh": mesh, "element_count": int(total), "failed_count": total - fine_count,
              "scale_factor": scale, "numbering": numbering, "types": [], "blocks": [],
              "minimum": None, "critical": [], "failures": [], "summary_warnings": []}

    def group_row(sel):
        """The row of the elements in sel (a mask), or of every element (None)."""
        ok = fine if sel is None else sel & fine
        count = total if sel is None else int(sel.sum())
        ok_count = fine_count if sel is None else int(ok.sum())
        row = {"count": count, "failed": count - ok_count}
        if ok_count:
            values = dt if ok_count == total else dt[ok]
            j = int(np.argmin(values)) if ok_count == total else \
                np.flatnonzero(ok)[int(np.argmin(values))]
            p1, median = _percentiles(values)
            row.update(min=float(dt[j]), p1=float(p1), median=float(median),
                       controlling_element=int(number[j]))
        return row

    whole = {}  # a type or block of every element: the same row for both tables

    def rows(key, names):
        for k in range(len(names)):
            sel = None if len(names) == 1 else table[key] == k
            if sel is None or (len(sel) and sel.all()):
                if "row" not in whole:
                    whole["row"] = group_row(None)
                yield dict(whole["row"])
            else:
                yield group_row(sel)

    for name, row in zip(table["type_names"], rows("type", table["type_names"])):
        report["types"].append({"element": name, **row})
    for name, row in zip(table["block_names"], rows("block", table["block_names"])):
        report["blocks"].append({"block": name, **row})
    n_top = top if top is not None else min(TOP_CAP, max(20, math.ceil(0.02 * total)))
    n_top = max(n_top, 0)
    order = _smallest(dt, None if fine_count == total else np.flatnonzero(fine), max(n_top, 1))
    position = table["position"] if table.get("position") is not None else number
    describe = lambda j: {"element": int(number[j]), "position": int(position[j]),  # noqa: E731
                          "type": table["type_names"][table["type"][j]],
                          "block": table["block_names"][table["block"][j]],
                          "dt": float(dt[j])}
    if len(order):
        report["minimum"] = describe(order[0])
    report["critical"] = [describe(j) for j in order[:n_top]]
    report["_critical_rows"] = order[:n_top]
    for value in np.unique(code[code != 0]) if fine_count < total else ():
        idx = np.flatnonzero(code == value)
        report["failures"].append({"code": int(value), "meaning": meaning(value),
                                   "count": len(idx),
                                   "elements": [int(number[j]) for j in idx[:50]]})
    odd = np.flatnonzero((code == 0) & ~finite) if fine_count < total else ()
    if len(odd):
        report["failures"].append({"code": None, "meaning": "non-finite increment (the "
                                   "library gave code 0; check the material constants)",
                                   "count": len(odd),
                                   "elements": [int(number[j]) for j in odd[:50]]})
    if target is not None:
        report["mass_scaling"] = _mass_summary(table, target, max_added, report)
    if sweep:
        report["sweep"] = _sweep(table, sweep, scale, max_added)
    return report


def _percentiles(values):
    """np.percentile(values.astype(np.float64), [1, 50]) from one partition of
    the float32 values (half the memory) at the ranks it interpolates between."""
    lo, hi, gamma = parallel.percentile_points(len(values), [1, 50])
    part = np.partition(values, np.unique(np.concatenate([lo, hi])))
    return [float(parallel.lerp(part[a], part[b], g)) for a, b, g in zip(lo, hi, gamma)]


def _smallest(values, candidates, n):
    """The n candidates (None: every index) with the smallest values,
    ascending, ties in index order (a partial sort: the full one costs more
    than the rest of the report)."""
    v = values if candidates is None else values[candidates]
    if len(v) > 4 * n:
        keep = v <= np.partition(v, n - 1)[n - 1]  # all ties of the n-th value stay
        candidates = np.flatnonzero(keep) if candidates is None else candidates[keep]
    elif candidates is None:
        candidates = np.arange(len(values))
    v = values[candidates]
    return candidates[np.lexsort((candidates, v))][:n]


def _mass_summary(table, target, max_added, report):
    factor, mass = table["factor"], table["mass"]
    added = (factor - 1.0) * mass
    rows = []
    for k, name in enumerate(table["block_names"]):
        sel = table["block"] == k
        rows.append({"block": name, "elements": int(sel.sum()),
                     "scaled": int((factor[sel] > 1).sum()),
                     "max_factor": float(factor[sel].max()) if sel.any() else 1.0,
                     # Exactly rounded sums: totals do not depend on the order of rows.
                     "mass": math.fsum(mass[sel]), "added_mass": math.fsum(added[sel])})
    total = {"block": "total", "elements": len(factor), "scaled": int((factor > 1).sum()),
             "max_factor": float(factor.max()), "mass": math.fsum(mass),
             "added_mass": math.fsum(added)}
    for row in rows + [total]:
        row["added_percent"] = 100.0 * row["added_mass"] / row["mass"] if row["mass"] > 0 else 0.0
        if max_added is not None and row["added_percent"] > max_added:
            report["summary_warnings"].append(
                f"mass scaling to {target:g} adds {row['added_percent']:.4g} % of the mass of "
                f"{'the model' if row is total else 'block ' + row['block']}, above the "
                f"cap of {max_added:g} %")
    order = np.argsort(-factor, kind="stable")[:MOST_SCALED]
    most = [{"element": int(table["number"][j]), "type": table["type_names"][table["type"][j]],
             "block": table["block_names"][table["block"][j]], "dt": float(table["dt"][j]),
             "factor": float(factor[j])} for j in order if factor[j] > 1]
    return {"target_dt": float(target), "max_added_percent": max_added, "blocks": rows,
            "total": total, "most_scaled": most}


def _sweep(table, targets, scale, max_added):
    """Added mass for each target by the factor (T/dt)^2 alone (not rechecked
    by recomputing, so it can differ from --target-dt in the last digits)."""
    dt, mass = table["dt"].astype(np.float64), table["mass"]
    ok = (table["code"] == 0) & np.isfinite(dt)
    whole = math.fsum(mass)
    rows = []
    for t in targets:
        low = ok & (dt < t)
        added = math.fsum(((t / dt[low]) ** 2 - 1.0) * mass[low])
        percent = 100.0 * added / whole if whole > 0 else 0.0
        rows.append({"target_dt": t, "scaled": int(low.sum()), "added_mass": added,
                     "added_percent": percent,
                     "over_cap": bool(max_added is not None and percent > max_added)})
    return rows


# Edges of the corner nodes of each cell type, for the smallest edge length.
_EDGES = {
    "line": [(0, 1)], "line3": [(0, 1)],
    "triangle": [(0, 1), (1, 2), (2, 0)], "triangle6": [(0, 1), (1, 2), (2, 0)],
    "quad": [(0, 1), (1, 2), (2, 3), (3, 0)], "quad8": [(0, 1), (1, 2), (2, 3), (3, 0)],
    "tetra": [(0, 1), (1, 2), (2, 0), (0, 3), (1, 3), (2, 3)],
    "tetra10": [(0, 1), (1, 2), (2, 0), (0, 3), (1, 3), (2, 3)],
    "hexahedron": [(0, 1), (1, 2), (2, 3), (3, 0), (4, 5), (5, 6), (6, 7), (7, 4),
                   (0, 4), (1, 5), (2, 6), (3, 7)],
    "wedge": [(0, 1), (1, 2), (2, 0), (3, 4), (4, 5), (5, 3), (0, 3), (1, 4), (2, 5)],
}


def _add_details(report, table, mesh, nodes):
    """Centroid (mean of the element's nodes) and smallest corner-edge length of
    each critical element."""
    rows = report.pop("_critical_rows")
    for entry, j in zip(report["critical"], rows):
        block = mesh.cells[int(table["cell_block"][j])]
        cell = block.data[int(table["row"][j])]
        xyz = np.asarray(mesh.points, dtype=np.float64)[cell]
        if xyz.shape[1] < 3:
            xyz = np.column_stack([xyz, np.zeros((len(xyz), 3 - xyz.shape[1]))])
        entry["centroid"] = [float(v) for v in xyz[:, :3].mean(axis=0)]
        edges = _EDGES.get(block.type)
        entry["min_edge"] = None if edges is None else float(
            min(np.linalg.norm(xyz[a, :3] - xyz[b, :3]) for a, b in edges))
    if report["minimum"] and report["critical"]:
        report["minimum"].update(centroid=report["critical"][0]["centroid"],
                                 min_edge=report["critical"][0]["min_edge"])


def _g(value, width, digits=5):
    return f"{'-':>{width}}" if value is None else f"{value:>{width}.{digits}g}"


def format_report(report):
    lines = [f"Stable time increments of {report['mesh']}: {report['element_count']} elements, "
             f"{report['failed_count']} failed", ""]
    if report["scale_factor"] != 1.0:
        lines += [f"Increments include the safety factor {report['scale_factor']:g}.", ""]
    for key, title in (("types", "type"), ("blocks", "block")):
        lines.append(f"{title:<16} {'count':>9} {'failed':>7} {'minimum':>12} {'1st pct':>12} "
                     f"{'median':>12} {'controlling':>12}")
        for row in report[key]:
            label = row["element"] if key == "types" else row["block"]
            lines.append(f"{label:<16} {row['count']:>9} {row['failed']:>7} "
                         f"{_g(row.get('min'), 12)} {_g(row.get('p1'), 12)} "
                         f"{_g(row.get('median'), 12)} "
                         f"{row.get('controlling_element', '-'):>12}")
        lines.append("")
    lines.append(f"Element numbers: {report['numbering']}.")
    m = report["minimum"]
    if m:
        lines.append(f"Model minimum: {m['dt']:.6g} at element {m['element']} "
                     f"({m['type']}, block {m['block']})")
    else:
        lines.append("Model minimum: none, no element gave an increment")
    lines += [note["text"] for note in report.get("accuracy_notes", [])]
    if report["critical"]:
        lines += ["", f"{len(report['critical'])} most critical elements:",
                  f"{'element':>10} {'type':<8} {'block':<16} {'increment':>12} "
                  f"{'min edge':>11}  centroid"]
        for c in report["critical"]:
            centroid = ", ".join(f"{v:.5g}" for v in c["centroid"])
            lines.append(f"{c['element']:>10} {c['type']:<8} {c['block']:<16} "
                         f"{c['dt']:>12.6g} {_g(c['min_edge'], 11)}  ({centroid})")
    if report["failures"]:
        lines += ["", "Failed elements:"]
        for f in report["failures"]:
            shown = ", ".join(map(str, f["elements"]))
            more = " ..." if f["count"] > len(f["elements"]) else ""
            label = f"code {f['code']} ({f['meaning']})" if f["code"] is not None else \
                f["meaning"]
            lines.append(f"  {label}: {f['count']} elements: {shown}{more}")
    ms = report.get("mass_scaling")
    if ms:
        lines += ["", f"Mass scaling to a target increment of {ms['target_dt']:.6g}:",
                  f"{'block':<16} {'elements':>9} {'scaled':>8} {'max factor':>11} "
                  f"{'added mass':>12} {'added %':>9}"]
        for row in ms["blocks"] + [ms["total"]]:
            lines.append(f"{row['block']:<16} {row['elements']:>9} {row['scaled']:>8} "
                         f"{row['max_factor']:>11.4g} {row['added_mass']:>12.5g} "
                         f"{row['added_percent']:>9.4g}")
        if ms["most_scaled"]:
            lines += ["", f"{len(ms['most_scaled'])} most scaled elements:",
                      f"{'element':>10} {'type':<8} {'block':<16} {'increment':>12} "
                      f"{'factor':>10}"]
            lines += [f"{e['element']:>10} {e['type']:<8} {e['block']:<16} {e['dt']:>12.6g} "
                      f"{e['factor']:>10.4g}" for e in ms["most_scaled"]]
    if report.get("sweep"):
        lines += ["", "Added mass against the target increment:",
                  f"{'target':>12} {'scaled':>9} {'added mass':>12} {'added %':>9}"]
        for row in report["sweep"]:
            flag = "  over the cap" if row["over_cap"] else ""
            lines.append(f"{row['target_dt']:>12.6g} {row['scaled']:>9} "
                         f"{row['added_mass']:>12.5g} {row['added_percent']:>9.4g}{flag}")
    return "\n".join(lines)


def _json_safe(value):
    """Non-finite floats as null, so that the output is valid JSON."""
    if isinstance(value, float):
        return value if math.isfinite(value) else None
    if isinstance(value, dict):
        return {k: _json_safe(v) for k, v in value.items()}
    if isinstance(value, (list, tuple)):
        return [_json_safe(v) for v in value]
    return value


def _per_cell(mesh, table, values, fill, dtype):
    """A list of per-block arrays over every cell of the mesh from per-element
    values of the table; cells not analysed get fill."""
    out = [np.full(len(b.data), fill, dtype=dtype) for b in mesh.cells]
    for i in np.unique(table["cell_block"]):
        sel = table["cell_block"] == i
        out[i][table["row"][sel]] = values[sel]
    return out


def write_vtu(path, mesh, table, with_factors):
    """The mesh with the input's cell data, and stable_time (NaN where not
    analysed or failed), code (-1 where not analysed), block and element_type
    (indices into the report's lists, -1 where not analysed)."""
    import meshio
    dt = np.where(table["code"] == 0, table["dt"], np.float32(np.nan)).astype(np.float32)
    cell_data = {}
    for key, arrays in (mesh.cell_data or {}).items():
        if len(arrays) == len(mesh.cells) and all(
                len(a) == len(b.data) for a, b in zip(arrays, mesh.cells)):
            cell_data[key] = [np.asarray(a) for a in arrays]
    cell_data.update({
        "stable_time": _per_cell(mesh, table, dt, np.nan, np.float32),
        "code": _per_cell(mesh, table, table["code"], -1, np.int32),
        "block": _per_cell(mesh, table, table["block"], -1, np.int32),
        "element_type": _per_cell(mesh, table, table["type"], -1, np.int32)})
    if with_factors and "factor" in table:
        cell_data["mass_factor"] = _per_cell(mesh, table, table["factor"].astype(np.float32),
                                             np.nan, np.float32)
    points = np.zeros((len(mesh.points), 3))
    points[:, :mesh.points.shape[1]] = mesh.points[:, :3]
    out = meshio.Mesh(points, [(b.type, b.data) for b in mesh.cells], cell_data=cell_data)
    try:
        meshio.write(path, out)
    except OSError as err:
        raise UsageError(f"cannot write {path}: {err.strerror}") from None


def write_csv(path, table):
    """One line per analysed element: number,block,type,increment,code,factor
    (factor 1 without a target; increment empty where not finite)."""
    blocks = np.asarray(table["block_names"], dtype=object)[table["block"]]
    types = np.asarray(table["type_names"], dtype=object)[table["type"]]
    factor = table.get("factor")
    try:
        with open(path, "w", encoding="utf-8", newline="") as handle:
            handle.write("number,block,type,increment,code,factor\n")
            step = 200_000
            for start in range(0, len(blocks), step):
                stop = start + step
                f = factor[start:stop] if factor is not None else [1.0] * len(blocks[start:stop])
                handle.write("".join(
                    f"{n},{b},{t},{'' if not math.isfinite(d) else format(d, '.9g')},{c},{g:.9g}\n"
                    for n, b, t, d, c, g in zip(
                        table["number"][start:stop].tolist(), blocks[start:stop],
                        types[start:stop], table["dt"][start:stop].tolist(),
                        table["code"][start:stop].tolist(),
                        np.asarray(f, dtype=np.float64).tolist())))
    except OSError as err:
        raise UsageError(f"cannot write {path}: {err.strerror}") from None


def histogram_counts(table, span=None):
    """Smallest increment, log-spaced bin edges and counts per element type of
    the sound elements, binned over span (lo, hi), by default their own range:
    (None, None, empty counts) when there is nothing to bin."""
    fine = (table["code"] == 0) & np.isfinite(table["dt"])
    groups = len(table["type_names"])
    values = table["dt"][fine]
    if span is None and len(values):
        span = float(values.min()), float(values.max())
    if span is None:
        return None, None, np.zeros((groups, 0), np.int64)
    lo, hi = span
    bins = np.geomspace(lo, hi * 1.0001 if hi > lo else lo * 1.1, 50)
    counts = np.array([np.histogram(values[table["type"][fine] == k], bins)[0]
                       for k in range(groups)]).reshape(groups, len(bins) - 1)
    return lo, bins, counts


def plot_histogram(path, report, table):
    draw_histogram(path, report, table["type_names"], *histogram_counts(table))


def draw_histogram(path, report, type_names, lo, bins, counts):
    """The histogram from counts per type over shared bins, stacked by type on
    log axes, with the minimum and the target marked."""
    import matplotlib
    matplotlib.use("Agg")
    import matplotlib.pyplot as plt
    from matplotlib import ticker
    fig, ax = plt.subplots(figsize=(7, 4))
    if bins is not None:
        shown = [(name, c) for name, c in zip(type_names, counts) if c.sum()]
        ax.hist([bins[:-1]] * len(shown), bins=bins, weights=[c for _, c in shown],
                stacked=True, label=[name for name, _ in shown])
        ax.set_xscale("log")
        ax.set_yscale("log")  # single outliers stay visible next to full bins
        ax.xaxis.set_major_locator(ticker.LogLocator(subs=(1.0, 2.0, 5.0)))
        ax.xaxis.set_major_formatter(ticker.FormatStrFormatter("%.3g"))
        ax.xaxis.set_minor_formatter(ticker.NullFormatter())
        ax.axvline(lo, color="#c0392b", label=f"minimum {lo:.4g}")
    ms = report.get("mass_scaling")
    if ms:
        ax.axvline(ms["target_dt"], color="#27ae60", linestyle="--",
                   label=f"target {ms['target_dt']:.4g}")
    factor = report["scale_factor"]
    ax.set_xlabel("time increment, model time units" +
                  (f" (safety factor {factor:g} applied)" if factor != 1.0 else ""))
    ax.set_ylabel("elements per bin (log scale)")
    ax.set_title(os.path.basename(report["mesh"]))
    ax.legend()
    fig.tight_layout()
    try:
        fig.savefig(path, dpi=100)
    except OSError as err:
        raise UsageError(f"cannot write {path}: {err.strerror}") from None
    finally:
        plt.close(fig)


def check_args(args):
    """Checks of option values that the parser does not make."""
    if args.threads is not None and args.threads < 1:
        raise UsageError("--threads must be at least 1")
    if args.top is not None and args.top < 0:
        raise UsageError("--top must not be negative")
    if args.scale_factor is not None and not 0 < args.scale_factor <= 1:
        raise UsageError(f"--scale-factor must lie in (0, 1], got {args.scale_factor}")
    if args.max_added_mass is not None and not args.max_added_mass >= 0:
        raise UsageError(f"--max-added-mass must not be negative, got {args.max_added_mass}")
    if args.factors and not args.output:
        raise UsageError("--factors needs --output")


def main(argv=None):
    argv = sys.argv[1:] if argv is None else list(argv)
    comm = parallel.world()  # None unless started by an MPI launcher
    if comm is not None:
        return parallel.main(argv, comm)
    written = []
    try:
        args = build_parser().parse_args(_join_negative_values(argv))
        check_args(args)
        report, mesh, table = analyse(args)
        if args.factors and "mass_scaling" not in report:
            raise UsageError("--factors needs a target dt (--target-dt or target_dt)")
        if args.output:
            write_vtu(args.output, mesh, table, args.factors)
            written.append(f"wrote {args.output}: {sum(len(b.data) for b in mesh.cells)} cells "
                           "with stable_time, code, block, element_type")
        if args.csv:
            write_csv(args.csv, table)
            written.append(f"wrote {args.csv}: {len(table['dt'])} elements")
        if args.plot:
            plot_histogram(args.plot, report, table)
            written.append(f"wrote {args.plot}: histogram of {len(table['dt'])} elements")
    except UsageError as err:
        print(f"stabletime: error: {err}", file=sys.stderr)
        return 2
    except OSError as err:
        print(f"stabletime: error: {err}", file=sys.stderr)
        return 2
    except KeyboardInterrupt:
        print("stabletime: interrupted", file=sys.stderr)
        return 2
    for line in report["warnings"]:
        print(f"stabletime: warning: {line}", file=sys.stderr)
    try:
        if args.json:
            print(json.dumps(_json_safe(report), indent=1, allow_nan=False))
            for line in written:
                print(line, file=sys.stderr)
        else:
            print(format_report(report))
            if written:
                print("\n" + "\n".join(written))
        sys.stdout.flush()
    except BrokenPipeError:
        # The reader (head, less) closed the pipe: stop quietly, and keep the
        # interpreter's final flush from raising again.
        os.dup2(os.open(os.devnull, os.O_WRONLY), sys.stdout.fileno())
    return 1 if report["failed_count"] else 0
