"""The stabletime command under MPI: each rank reads its partition files (or
its share of the elements of one file), computes them with the library on its
own threads, and the report is reduced so that it is the report of the whole
mesh: minima, percentiles, the critical list, failures and mass totals come
out as a single process gives them on the unpartitioned mesh.

Every collective here starts with an exchange of the ranks' error messages
(Run.check), so that a rank that fails between two collectives ends the run on
every rank instead of leaving the others waiting."""
import contextlib
import io
import math
import os
import re
import sys

import numpy as np

from .config import UsageError

# Variables MPI launchers set in every process they start: OpenMPI, PMIx, and
# the PMI of MPICH and its derivatives.
_LAUNCHER_VARIABLES = ("OMPI_COMM_WORLD_SIZE", "PMIX_RANK", "PMI_RANK", "PMI_SIZE")
FAILURES_SHOWN = 50


def launched():
    """Whether an MPI launcher started this process (no MPI import needed)."""
    return any(name in os.environ for name in _LAUNCHER_VARIABLES)


def world():
    """MPI's world communicator under an MPI launcher, else None. mpi4py is
    imported only then: initialising MPI in a plain run is slow and noisy."""
    if not launched():
        return None
    try:
        from mpi4py import MPI
    except ImportError:
        print("stabletime: warning: started by an MPI launcher but mpi4py is not installed "
              "(Debian: python3-mpi4py); every process runs alone", file=sys.stderr)
        return None
    return MPI.COMM_WORLD


class Agreed(Exception):
    """Errors every rank knows about: [(rank, message), ...]."""

    def __init__(self, errors):
        super().__init__(errors)
        self.errors = errors


def _natural(path):
    return [int(t) if t.isdigit() else t for t in re.split(r"(\d+)", path)]


def expand(patterns):
    """Mesh file names from names and patterns ('mesh_*.msh'), each pattern's
    matches in natural order (mesh_2 before mesh_10)."""
    import glob  # imported here: only runs under MPI take file patterns
    files = []
    for item in patterns:
        if glob.has_magic(item):
            found = sorted(glob.glob(item), key=_natural)
            if not found:
                raise UsageError(f"no file matches {item}")
            files += found
        else:
            files.append(item)
    if len(set(files)) != len(files):
        raise UsageError("a mesh file is named twice")
    return files


def share(count, size, rank):
    """The range of count items rank r of size takes: contiguous, sizes differ by one."""
    return count * rank // size, count * (rank + 1) // size


def merge_loaded(parts):
    """Several meshes (partition files of one rank) as one: nodes appended, cell
    blocks in file order, cell sets and cell data kept per block."""
    from .readers import CellBlock, Loaded, Mesh
    if len(parts) == 1:
        return parts[0]
    points, cells, node_base = [], [], 0
    for p in parts:
        pts = np.asarray(p.mesh.points, dtype=np.float64)
        if pts.shape[1] < 3:
            pts = np.column_stack([pts, np.zeros((len(pts), 3 - pts.shape[1]))])
        points.append(pts[:, :3])
        for b in p.mesh.cells:
            data = np.asarray(b.data)
            if node_base + len(pts) >= 2**31:
                data = data.astype(np.int64)
            cells.append(CellBlock(b.type, data + data.dtype.type(node_base)))
        node_base += len(pts)
    sets, cell_data, first = {}, {}, 0
    for p in parts:
        n = len(p.mesh.cells)
        for name, lists in (p.mesh.cell_sets or {}).items():
            target = sets.setdefault(name, [None] * len(cells))
            for k in range(n):
                target[first + k] = lists[k] if k < len(lists) else None
        first += n
    empty = np.empty(0, np.int64)
    sets = {name: [empty if v is None else v for v in lists] for name, lists in sets.items()}
    keys = set.intersection(*(set(p.mesh.cell_data or {}) for p in parts))
    for key in sorted(keys):
        cell_data[key] = [a for p in parts for a in p.mesh.cell_data[key]]
    ids = [a for p in parts for a in p.ids]
    return Loaded(Mesh(np.concatenate(points), cells, sets, cell_data), ids, parts[0].numbering)


def take_share(loaded, size, rank):
    """This rank's share of one mesh: an even part of every cell block, the
    nodes it uses, and element numbers that stay those of the whole file."""
    from .readers import CellBlock, Loaded, Mesh
    mesh = loaded.mesh
    cells, ids, sets, starts, offset = [], [], {}, [], 0
    cut = [share(len(b.data), size, rank) for b in mesh.cells]
    for i, (b, (lo, hi)) in enumerate(zip(mesh.cells, cut)):
        cells.append(CellBlock(b.type, np.asarray(b.data)[lo:hi]))
        own = loaded.ids[i] if loaded.ids is not None else None
        ids.append(np.asarray(own[lo:hi], dtype=np.int64) if own is not None else
                   offset + lo + 1 + np.arange(hi - lo, dtype=np.int64))
        starts.append(offset + lo)
        offset += len(b.data)
    for name, lists in (mesh.cell_sets or {}).items():
        sets[name] = [np.arange(len(cells[i].data)) if lists[i] is not None and
                      len(lists[i]) == len(b.data) and len(lists[i]) else np.empty(0, np.int64)
                      for i, b in enumerate(mesh.cells)]
    cell_data = {}
    for key, arrays in (mesh.cell_data or {}).items():
        if len(arrays) == len(mesh.cells) and all(
                len(a) == len(b.data) for a, b in zip(arrays, mesh.cells)):
            cell_data[key] = [np.asarray(a)[lo:hi] for a, (lo, hi) in zip(arrays, cut)]
    points = np.asarray(mesh.points)
    conn = [c.data for c in cells if c.data.size]
    if conn and all(c.min() >= 0 and c.max() < len(points) for c in conn):
        used = np.unique(np.concatenate([c.ravel() for c in conn]))
        points = points[used]
        for c in cells:
            c.data = np.searchsorted(used, c.data).astype(c.data.dtype)
    return Loaded(Mesh(points, cells, sets, cell_data), ids, loaded.numbering), starts


def _sortable(dt):
    """float32 values as uint32 keys in the same order: the sign bit set on
    positive values, every bit flipped on negative ones."""
    u = np.ascontiguousarray(dt, dtype=np.float32).view(np.uint32)
    return u ^ ((np.uint32(0) - (u >> np.uint32(31))) | np.uint32(0x80000000))


def _unsortable(keys):
    keys = np.asarray(keys, dtype=np.uint32)
    u = np.where(keys >> 31 != 0, keys & np.uint32(0x7FFFFFFF), ~keys).astype(np.uint32)
    return u.view(np.float32)


def percentile_points(n, q):
    """The ranks (0-based) of the two sorted values np.percentile's linear
    method interpolates between for n values, and the weight it uses."""
    qs = np.true_divide(np.asarray(q, dtype=np.float64), 100)
    virtual = (n - 1) * qs
    previous = np.floor(virtual)
    above = virtual >= n - 1
    gamma = virtual - np.where(above, -1.0, previous)
    lo = np.where(above, n - 1, previous).astype(np.int64)
    hi = np.where(above, n - 1, previous + 1).astype(np.int64)
    return lo, hi, gamma


def lerp(a, b, t):
    """np.percentile's interpolation between two float64 values, operation for operation."""
    a, b, t = np.float64(a), np.float64(b), np.float64(t)
    diff = b - a
    return b - diff * (1 - t) if t >= 0.5 else a + diff * t


def exact_terms(values):
    """A few doubles whose exact sum is the exact sum of values: math.fsum of
    the terms of several parts is then math.fsum of all values together."""
    values = np.asarray(values, dtype=np.float64)
    if not np.isfinite(values).all():
        return [float(np.sum(values))]
    terms = []
    while True:
        rest = math.fsum(np.concatenate([values, -np.asarray(terms, dtype=np.float64)]))
        if rest == 0.0:
            return terms
        terms.append(rest)


class Run:
    """One rank's side of a run: reading its share and the collectives."""

    def __init__(self, comm):
        self.comm = comm
        self.rank, self.size = comm.Get_rank(), comm.Get_size()
        self.files, self.starts = [], None
        self.name = ""
        self.partitioned = False

    # -- agreement ---------------------------------------------------------
    def check(self, error=None):
        """Every rank says whether it failed; all raise Agreed when one did."""
        bad = self.comm.allreduce([(self.rank, error)] if error else [],
                                  op=lambda a, b: sorted(a + b))
        if bad:
            raise Agreed(bad)

    def reduce(self, value, merge):
        """merge applied over the ranks' values in a tree, the result on every
        rank; merge must be associative and commutative, and keep its result
        small, so that no rank holds every rank's value."""
        self.check()
        return self.comm.allreduce(value, op=merge)

    def sum(self, array):
        self.check()
        return self.comm.allreduce(np.asarray(array, dtype=np.int64))

    # -- reading -----------------------------------------------------------
    def read(self, patterns, progress):
        """This rank's mesh: its partition files merged, or its share of one file."""
        from . import cli
        self.files = expand(patterns)
        files = self.files
        self.partitioned = len(files) > 1
        self.name = files[0] if len(files) == 1 else \
            f"{files[0]} ... {files[-1]} ({len(files)} partition files)"
        error, loaded = None, None
        try:
            if self.partitioned:
                lo, hi = share(len(files), self.size, self.rank)
                parts = [cli._read(path, progress) for path in files[lo:hi]]
                for path, part in zip(files[lo:hi], parts):
                    if part.ids is None:
                        raise UsageError(f"{path}: partition files need the elements' own "
                                         "numbers (Gmsh tags or cell data element_id)")
                loaded = merge_loaded(parts) if parts else _nothing()
            else:
                loaded, self.starts = self._read_share(files[0], progress)
        except (UsageError, OSError) as err:
            error = _message(err)
        self.check(error)
        return loaded

    def _read_share(self, path, progress):
        """This rank's share of one file: binary Gmsh 4.1 files through memory
        maps (the rank's elements and their nodes only), others read whole."""
        import struct
        from . import cli, readers, shareread
        if path.lower().endswith(".msh") and not os.environ.get("STABLETIME_READER") and \
                os.path.isfile(path) and os.path.getsize(path) > 0:
            try:
                return shareread.read_share(path, self.size, self.rank)
            except readers._Unsupported:
                pass
            except readers.ReadError as err:
                raise UsageError(f"cannot read {path}: {err}") from None
            except (ValueError, UnicodeDecodeError, struct.error):
                raise UsageError(f"cannot read {path}: not a valid Gmsh file") from None
        return take_share(cli._read(path, progress), self.size, self.rank)

    def agree_blocks(self, known, named, top_dim):
        return self.reduce((frozenset(known), named, top_dim),
                           lambda a, b: (a[0] | b[0], a[1] or b[1], max(a[2], b[2])))

    def flatness(self, mesh, names):
        """Whether each surface block (by name and cell type) lies in one plane
        z = const over every rank: the test of a single run on all its nodes."""
        from . import meshes
        points = np.asarray(mesh.points)
        local = {}
        for name, block in zip(names, mesh.cells):
            if not isinstance(meshes.DEFAULT_ELEMENT.get(block.type), tuple) or \
                    not len(block.data):
                continue
            data = np.asarray(block.data)
            if data.min() < 0 or data.max() >= len(points):
                continue  # the node check reports it
            used = points[np.unique(data)]
            lo, hi = used.min(axis=0), used.max(axis=0)
            local = _merge_ranges(local, {(name, block.type): (lo, hi)})
        merged = self.reduce(local, _merge_ranges)
        flat = {}
        for key, (lo, hi) in merged.items():
            if len(lo) < 3:
                flat[key] = True
                continue
            extent = float((hi - lo).max())
            flat[key] = float(hi[2] - lo[2]) <= 1e-9 * max(extent, 1e-300)
        return _Flat(flat)

    def agree_plan(self, plan):
        if int(self.sum(len(plan))) == 0:
            raise UsageError(f"{self.name}: no cell block to analyse")

    def empty_table(self, with_mass, with_factor):
        table = {"number": np.empty(0, np.int64), "position": np.empty(0, np.int64),
                 "block": np.empty(0, np.int32), "type": np.empty(0, np.int32),
                 "dt": np.empty(0, np.float32), "code": np.empty(0, np.int32),
                 "cell_block": np.empty(0, np.int32), "row": np.empty(0, np.int64),
                 "block_names": [], "type_names": []}
        if with_mass:
            table["mass"] = np.empty(0)
        if with_factor:
            table["factor"] = np.empty(0)
        return table

    # -- the report ----------------------------------------------------------
    def _order_key(self, table):
        """The key ties are broken by: the position in the file where there is
        one file, else the element's own number (Gmsh numbers elements in file
        order)."""
        if self.starts is not None and len(table["row"]):
            table["position"] = np.asarray(self.starts, np.int64)[table["cell_block"]] + \
                table["row"] + 1
            return table["position"]
        return table["number"]

    def _global_names(self, table, field, key):
        """The global list of block or type names, ordered by their first
        element, and the local indices turned into global ones."""
        local, names = {}, table[f"{field}_names"]
        if len(names) == 1 and len(key):
            local[names[0]] = int(key.min())
        elif len(names) > 1:
            for k, name in enumerate(names):
                sel = table[field] == k
                if sel.any():
                    local[name] = int(key[sel].min())
        first = self.reduce(local, _merge_least)
        names = sorted(first, key=lambda n: (first[n], n))
        remap = np.array([names.index(n) for n in table[f"{field}_names"]] or [0], np.int32)
        table[field] = remap[table[field]] if len(table[field]) else table[field]
        table[f"{field}_names"] = names
        return names

    def _group_rows(self, table, field, fine, key):
        """Count, failures, minimum with its element, 1st percentile and median
        of each group, over every rank."""
        dt, number = table["dt"], table["number"]
        groups = len(table[f"{field}_names"])
        g = table[field]
        count = np.bincount(g, minlength=groups)
        failed = np.bincount(g[~fine], minlength=groups)
        where = np.flatnonzero(fine)
        if groups > 1:  # the fine elements of each group, one after the other
            where = where[np.argsort(g[where], kind="stable")]
        fine_count = np.bincount(g[where], minlength=groups)
        edges = np.concatenate([[0], np.cumsum(fine_count)])
        keys = _sortable(dt[where])
        smallest = []
        for k in range(groups):
            if fine_count[k] == 0:
                smallest.append(None)
                continue
            part = where[edges[k]:edges[k + 1]]
            low = dt[part].min()
            at = part[dt[part] == low]
            j = at[np.argmin(key[at])]
            smallest.append((float(dt[j]), int(key[j]), int(number[j])))
        count, failed, fine_count = self.sum(np.stack([count, failed, fine_count]))
        minima = self.reduce(smallest, lambda a, b: [
            x if y is None or (x is not None and x[:2] < y[:2]) else y for x, y in zip(a, b)])
        # The sorted values at the ranks np.percentile interpolates between.
        points = [percentile_points(int(n), [1, 50]) if n else None for n in fine_count]
        want = [(k, int(r)) for k, pts in enumerate(points) if pts is not None
                for r in np.concatenate(pts[:2])]
        values = self._ranked([keys[edges[k]:edges[k + 1]] for k in range(groups)], want)
        rows = []
        for k in range(groups):
            row = {"count": int(count[k]), "failed": int(failed[k])}
            if points[k] is not None:
                lo, hi, gamma = points[k]
                v = [values[(k, int(r))] for r in (*lo, *hi)]
                row.update(min=minima[k][0], p1=float(lerp(v[0], v[2], gamma[0])),
                           median=float(lerp(v[1], v[3], gamma[1])),
                           controlling_element=minima[k][2])
            rows.append(row)
        return rows

    def _ranked(self, keys, want):
        """The value of each wanted rank (0-based) in a group's values sorted
        over every rank, from the groups' local sortable keys: eight bits of
        the key a round, each round one reduction of 256 counts a query."""
        self.check()
        found = {}
        want = list(dict.fromkeys(want))
        if not want:
            return found
        prefix = [0] * len(want)
        below = np.zeros(len(want), np.int64)  # values under the prefix's range
        # Queries of one group with the same prefix share their candidates.
        candidates = {(k, 0): keys[k] for k, _ in want}
        for shift in (24, 16, 8, 0):
            buckets = {at: (c >> np.uint32(shift)).astype(np.uint8)
                       for at, c in candidates.items()}
            hist = {at: np.bincount(b, minlength=256) for at, b in buckets.items()}
            local = np.array([hist[(k, prefix[q])] for q, (k, _) in enumerate(want)], np.int64)
            counts = self.comm.allreduce(local.reshape(len(want), 256))
            narrowed = {}
            for q, (k, r) in enumerate(want):
                total = below[q] + np.cumsum(counts[q])
                b = int(np.searchsorted(total, r + 1))  # first bucket reaching rank r
                below[q] = total[b - 1] if b else below[q]
                at, prefix[q] = (k, prefix[q]), prefix[q] | (b << shift)
                if (k, prefix[q]) not in narrowed:
                    narrowed[(k, prefix[q])] = candidates[at][buckets[at] == b]
            candidates = narrowed
        prefix = np.array(prefix, np.uint32)
        values = _unsortable(prefix).astype(np.float64)
        return {w: float(values[q]) for q, w in enumerate(want)}

    def summarise(self, table, mesh, nodes, warnings, *, scale, top, target, sweep, max_added,
                  numbering):
        """The report of the whole mesh, the same on every rank, from each
        rank's table (whose block and type indices become global ones)."""
        from . import cli
        from .codes import meaning
        key = self._order_key(table)
        self._global_names(table, "type", key)
        self._global_names(table, "block", key)
        dt, code = table["dt"], table["code"]
        fine = (code == 0) & np.isfinite(dt)
        total, failed = (int(v) for v in self.sum([len(dt), int((~fine).sum())]))
        numbering = self.reduce(numbering if len(dt) else None,
                                lambda a, b: b if a is None else a) or numbering
        report = {"mesh": self.name, "element_count": total, "failed_count": failed,
                  "scale_factor": scale, "numbering": numbering, "types": [], "blocks": [],
                  "minimum": None, "critical": [], "failures": [], "summary_warnings": []}
        for field, title in (("type", "element"), ("block", "block")):
            rows = self._group_rows(table, field, fine, key)
            report[field + "s"] = [{title: name, **row}
                                   for name, row in zip(table[f"{field}_names"], rows)]
        n_top = top if top is not None else min(cli.TOP_CAP, max(20, math.ceil(0.02 * total)))
        n_top = max(n_top, 0)
        report["minimum"], report["critical"] = self._critical(table, mesh, nodes, fine, key,
                                                               n_top)
        report["failures"] = self._failures(table, fine, key, meaning)
        if target is not None:
            report["mass_scaling"] = self._mass_summary(table, target, max_added, report, key)
        if sweep:
            report["sweep"] = self._sweep(table, sweep, max_added)
        seen = self.reduce(list(warnings), lambda a, b: a + [w for w in b if w not in a])
        # In block order, as a single run finds them: "block NAME (ELEMENT): ..."
        order = {name: k for k, name in enumerate(table["block_names"])}
        seen.sort(key=lambda w: next((k for name, k in order.items()
                                      if w.startswith(f"block {name} (")), len(order)))
        report["warnings"] = seen + report.pop("summary_warnings")
        return report

    def _critical(self, table, mesh, nodes, fine, key, n_top):
        from . import cli
        dt = table["dt"]
        want = max(n_top, 1)
        candidates = np.flatnonzero(fine)
        if len(candidates) > 4 * want:
            v = dt[candidates]
            cut = np.partition(v, want - 1)[want - 1]
            candidates = candidates[v <= cut]
        rows = candidates[np.lexsort((key[candidates], dt[candidates]))][:want]
        local = {"critical": [self._describe(table, j) for j in rows], "minimum": None,
                 "_critical_rows": rows}
        cli._add_details(local, table, mesh, nodes)
        entries = [((e["dt"], int(key[j])), e) for e, j in zip(local["critical"], rows)]
        merged = self.reduce(entries, _merge_smallest(want))
        if not merged:
            return None, []
        critical = [e for _, e in merged[:n_top]]
        minimum = dict(merged[0][1])
        if not critical:
            minimum.pop("centroid", None)
            minimum.pop("min_edge", None)
        return minimum, critical

    def _describe(self, table, j):
        return {"element": int(table["number"][j]),
                "position": int(table["position"][j]) if not self.partitioned else None,
                "type": table["type_names"][table["type"][j]],
                "block": table["block_names"][table["block"][j]],
                "dt": float(table["dt"][j])}

    def _failures(self, table, fine, key, meaning):
        code, number, dt = table["code"], table["number"], table["dt"]
        local = {}
        groups = [(int(c), code == c) for c in np.unique(code[code != 0])]
        groups.append((None, (code == 0) & ~np.isfinite(dt)))
        for value, sel in groups:
            idx = np.flatnonzero(sel)
            if not len(idx):
                continue
            first = idx[np.argsort(key[idx], kind="stable")[:FAILURES_SHOWN]]
            local[value] = (len(idx), [(int(key[j]), int(number[j])) for j in first])
        def merge(a, b):
            out = dict(a)
            for value, (count, shown) in b.items():
                n, s = out.get(value, (0, []))
                out[value] = (n + count, sorted(s + shown)[:FAILURES_SHOWN])
            return out

        merged = self.reduce(local, merge)
        out = []
        for value in sorted(v for v in merged if v is not None) + \
                ([None] if None in merged else []):
            count, shown = merged[value]
            elements = [n for _, n in sorted(shown)[:FAILURES_SHOWN]]
            out.append({"code": value, "meaning": meaning(value) if value is not None else
                        "non-finite increment (the library gave code 0; check the material "
                        "constants)", "count": count, "elements": elements})
        return out

    def _fsum(self, parts):
        """math.fsum over every rank of each list of values in parts."""
        terms = self.reduce([exact_terms(p) for p in parts], lambda a, b: [
            exact_terms(x + y) for x, y in zip(a, b)])
        return [math.fsum(t) for t in terms]

    def _mass_summary(self, table, target, max_added, report, key):
        factor, mass = table["factor"], table["mass"]
        added = (factor - 1.0) * mass
        names = table["block_names"]
        sels = [table["block"] == k for k in range(len(names))]
        counts = self.sum([[int(s.sum()), int((factor[s] > 1).sum())] for s in sels] +
                          [[len(factor), int((factor > 1).sum())]])
        peaks = [float(factor[s].max()) if s.any() else -math.inf for s in sels] + \
            [float(factor.max()) if len(factor) else -math.inf]
        peaks = self.reduce(peaks, lambda a, b: [max(x, y) for x, y in zip(a, b)])
        sums = self._fsum([mass[s] for s in sels] + [added[s] for s in sels] + [mass, added])
        rows = []
        for k, name in enumerate(names):
            rows.append({"block": name, "elements": int(counts[k][0]),
                         "scaled": int(counts[k][1]),
                         "max_factor": float(peaks[k]) if counts[k][0] else 1.0,
                         "mass": sums[k], "added_mass": sums[len(names) + k]})
        total = {"block": "total", "elements": int(counts[-1][0]), "scaled": int(counts[-1][1]),
                 "max_factor": float(peaks[-1]), "mass": sums[-2], "added_mass": sums[-1]}
        for row in rows + [total]:
            row["added_percent"] = 100.0 * row["added_mass"] / row["mass"] \
                if row["mass"] > 0 else 0.0
            if max_added is not None and row["added_percent"] > max_added:
                report["summary_warnings"].append(
                    f"mass scaling to {target:g} adds {row['added_percent']:.4g} % of the mass "
                    f"of {'the model' if row is total else 'block ' + row['block']}, above the "
                    f"cap of {max_added:g} %")
        from .cli import MOST_SCALED
        scaled = np.flatnonzero(factor > 1)
        rows_local = scaled[np.lexsort((key[scaled], -factor[scaled]))][:MOST_SCALED]
        entries = [((-float(factor[j]), int(key[j])),
                    {"element": int(table["number"][j]),
                     "type": table["type_names"][table["type"][j]],
                     "block": names[table["block"][j]], "dt": float(table["dt"][j]),
                     "factor": float(factor[j])}) for j in rows_local]
        most = self.reduce(entries, _merge_smallest(MOST_SCALED))
        return {"target_dt": float(target), "max_added_percent": max_added, "blocks": rows,
                "total": total, "most_scaled": [e for _, e in most]}

    def _sweep(self, table, targets, max_added):
        dt, mass = table["dt"].astype(np.float64), table["mass"]
        ok = (table["code"] == 0) & np.isfinite(dt)
        lows = [ok & (dt < t) for t in targets]
        counts = self.sum([int(low.sum()) for low in lows])
        sums = self._fsum([mass] + [((t / dt[low]) ** 2 - 1.0) * mass[low]
                                    for t, low in zip(targets, lows)])
        whole = sums[0]
        rows = []
        for t, n, added in zip(targets, counts, sums[1:]):
            percent = 100.0 * added / whole if whole > 0 else 0.0
            rows.append({"target_dt": t, "scaled": int(n), "added_mass": added,
                         "added_percent": percent,
                         "over_cap": bool(max_added is not None and percent > max_added)})
        return rows

    # -- outputs -------------------------------------------------------------
    def write_vtu(self, path, mesh, table, with_factors):
        """One piece per rank (PATH_RANK.vtu, ranks without cells write none)
        and PATH.pvtu naming them; returns the .pvtu's name and the cell count."""
        from . import cli
        stem = path[:-5] if path.lower().endswith((".pvtu")) else \
            path[:-4] if path.lower().endswith(".vtu") else path
        piece = f"{stem}_{self.rank}.vtu"
        cells = sum(len(b.data) for b in mesh.cells)
        error, arrays = None, None
        try:
            if cells:
                cli.write_vtu(piece, mesh, table, with_factors)
                arrays = _piece_arrays(piece)
        except (UsageError, OSError) as err:
            error = _message(err)
        self.check(error)
        self.check()
        pieces = self.comm.gather(arrays, root=0)
        total = int(self.sum(cells))
        error, count = None, None
        if self.rank == 0:
            try:
                _write_pvtu(f"{stem}.pvtu", [(f"{os.path.basename(stem)}_{r}.vtu", a)
                                             for r, a in enumerate(pieces) if a is not None])
                count = sum(a is not None for a in pieces)
            except OSError as err:
                error = f"cannot write {stem}.pvtu: {err.strerror}"
        self.check(error)
        return f"{stem}.pvtu", total, count

    def write_csv(self, path, table):
        """Every rank writes its rows to PATH.RANK.part; rank 0 joins them in
        rank order into PATH; each rank removes its part, also on failure."""
        from . import cli
        part = f"{path}.{self.rank}.part"
        try:
            error = None
            try:
                cli.write_csv(part, table)
            except (UsageError, OSError) as err:
                error = _message(err)
            self.check(error)
            if self.rank == 0:
                import shutil
                try:
                    with open(path, "wb") as out:
                        for r in range(self.size):
                            with open(f"{path}.{r}.part", "rb") as f:
                                if r:
                                    f.readline()  # the header, written once
                                shutil.copyfileobj(f, out, 1 << 20)
                except OSError as err:
                    error = f"cannot write {path}: {err.strerror}"
            self.check(error)
        finally:
            with contextlib.suppress(OSError):
                os.remove(part)
        return int(self.sum(len(table["dt"])))

    def plot(self, path, report, table):
        """The histogram of a single run, binned over every rank."""
        from . import cli
        fine = (table["code"] == 0) & np.isfinite(table["dt"])
        values = table["dt"][fine]
        bounds = self.reduce([(float(values.min()), float(values.max()))] if len(values)
                             else [], lambda a, b: [(min(x[0] for x in a + b),
                                                     max(x[1] for x in a + b))] if a + b else [])
        span = (min(b[0] for b in bounds), max(b[1] for b in bounds)) if bounds else None
        lo, bins, counts = cli.histogram_counts(table, span)
        counts = self.sum(counts)
        error = None
        if self.rank == 0:
            try:
                cli.draw_histogram(path, report, table["type_names"], lo, bins, counts)
            except UsageError as err:
                error = str(err)
        self.check(error)
        return int(self.sum(len(table["dt"])))


def _merge_ranges(a, b):
    """Coordinate ranges by key, widened to cover both."""
    out = dict(a)
    for key, (lo, hi) in b.items():
        if key in out and len(out[key][0]) == len(lo):
            lo, hi = np.minimum(lo, out[key][0]), np.maximum(hi, out[key][1])
        out[key] = (lo, hi)
    return out


def _merge_least(a, b):
    """Per key the smaller value."""
    out = dict(a)
    for key, value in b.items():
        out[key] = min(value, out.get(key, value))
    return out


def _merge_smallest(count):
    """Two sorted lists of (sort key, item) as one, the first count kept."""
    return lambda a, b: sorted(a + b, key=lambda item: item[0])[:count]


class _Flat(dict):
    """Flatness by (block, cell type); blocks absent on every rank are flat."""

    def __missing__(self, key):
        return True


def _nothing():
    from .readers import Loaded, Mesh
    return Loaded(Mesh(np.zeros((0, 3)), [], {}, {}), [], "Gmsh element tags")


def _message(err):
    if isinstance(err, UsageError):
        return str(err)
    return str(err) if not getattr(err, "strerror", None) else \
        f"{err.filename + ': ' if err.filename else ''}{err.strerror}"


def _piece_arrays(path):
    """Type, name and components of the point and cell arrays of a VTU piece."""
    from .readers import _attributes
    with open(path, "rb") as f:
        text = f.read()
    out = {"points": [], "cells": []}
    for section, tag in (("points", b"<Points>"), ("cells", b"<CellData>")):
        start = text.find(tag)
        if start < 0:
            continue
        stop = text.find(b"</" + tag[1:], start)
        for m in re.finditer(rb"<DataArray\b([^>]*)>", text[start:stop]):
            a = _attributes(m.group(1))
            out[section].append((a.get("type"), a.get("Name", ""),
                                 a.get("NumberOfComponents", "1")))
    return out


def _write_pvtu(path, pieces):
    """A parallel VTU file over the pieces, with the cell arrays every piece has."""
    first = pieces[0][1] if pieces else {"points": [("Float64", "", "3")], "cells": []}
    common = [a for a in first["cells"] if all(a in p["cells"] for _, p in pieces)]
    kind, _, comps = first["points"][0] if first["points"] else ("Float64", "", "3")
    lines = ['<?xml version="1.0"?>',
             '<VTKFile type="PUnstructuredGrid" version="1.0" byte_order="LittleEndian">',
             '  <PUnstructuredGrid GhostLevel="0">',
             '    <PPoints>',
             f'      <PDataArray type="{kind}" NumberOfComponents="{comps}"/>',
             '    </PPoints>',
             '    <PCellData>']
    lines += [f'      <PDataArray type="{t}" Name="{n}" NumberOfComponents="{c}"/>'
              for t, n, c in common]
    lines += ['    </PCellData>']
    lines += [f'    <Piece Source="{name}"/>' for name, _ in pieces]
    lines += ['  </PUnstructuredGrid>', '</VTKFile>', '']
    with open(path, "w", encoding="utf-8") as f:
        f.write("\n".join(lines))


def default_threads():
    """Threads per rank when --threads is not given: the cores this rank is
    bound to, or the node's cores shared among the ranks the launcher says
    run on it."""
    try:
        bound = len(os.sched_getaffinity(0))
    except AttributeError:
        bound = os.cpu_count() or 1
    cores = os.cpu_count() or 1
    if bound < cores:
        return max(1, bound)
    local = os.environ.get("OMPI_COMM_WORLD_LOCAL_SIZE") or os.environ.get("MPI_LOCALNRANKS")
    return max(1, cores // int(local)) if local and local.isdigit() and int(local) else cores


def main(argv, comm):
    """The command on one rank; rank 0 prints the report. The exit status is
    the same on every rank."""
    from . import cli
    run = Run(comm)
    written = []
    try:
        try:
            parser = cli.build_parser(several=True)
            if run.rank == 0:
                args = parser.parse_args(cli._join_negative_values(argv))
            else:  # --help once
                with contextlib.redirect_stdout(io.StringIO()):
                    args = parser.parse_args(cli._join_negative_values(argv))
            cli.check_args(args)
            if args.threads is None:
                args.threads = default_threads()
            report, mesh, table = cli.analyse(args, run=run)
            if args.factors and "mass_scaling" not in report:
                raise UsageError("--factors needs a target dt (--target-dt or target_dt)")
            if args.output:
                name, cells, count = run.write_vtu(args.output, mesh, table, args.factors)
                written.append(f"wrote {name}: {cells} cells in {count} pieces with "
                               "stable_time, code, block, element_type")
            if args.csv:
                count = run.write_csv(args.csv, table)
                written.append(f"wrote {args.csv}: {count} elements")
            if args.plot:
                count = run.plot(args.plot, report, table)
                written.append(f"wrote {args.plot}: histogram of {count} elements")
        except Agreed:
            raise
        except (UsageError, OSError) as err:
            run.check(_message(err))
        run.check()
    except Agreed as agreed:
        if run.rank == 0:
            messages = list(dict.fromkeys(m for _, m in agreed.errors))
            if len(messages) == 1 and len(agreed.errors) == run.size:
                print(f"stabletime: error: {messages[0]}", file=sys.stderr)
            else:
                for r, m in agreed.errors:
                    print(f"stabletime: error: rank {r}: {m}", file=sys.stderr)
        return 2
    except SystemExit:
        raise
    except BaseException:  # a fault, not bad input: stop every rank now
        import traceback
        traceback.print_exc()
        sys.stderr.flush()
        comm.Abort(2)
    if run.rank == 0:
        import json
        for line in report["warnings"]:
            print(f"stabletime: warning: {line}", file=sys.stderr)
        if args.json:
            print(json.dumps(cli._json_safe(report), indent=1, allow_nan=False))
            for line in written:
                print(line, file=sys.stderr)
        else:
            print(cli.format_report(report))
            if written:
                print("\n" + "\n".join(written))
        sys.stdout.flush()
    return 1 if report["failed_count"] else 0
