"""compute(): stable time increments of one element type through the library,
with every argument checked first, and large inputs split over threads."""
import ctypes
import os
from concurrent.futures import ThreadPoolExecutor
from dataclasses import dataclass

import numpy as np

from . import _library
from .catalogue import NODE_COUNT, check_name, family, is_two_dimensional
from .codes import group_failures
from .materials import resolve

BATCH = 128
# Chunks of a threaded call: multiples of the batch so per-call codes agree.
MIN_CHUNK = 64 * BATCH
_INT32_MAX = 2**31 - 1


@dataclass
class Result:
    """Increments (float32), element codes (int32) and the call's code."""
    dt: np.ndarray
    code: np.ndarray
    call_code: int

    def failures(self):
        """Failed element indices grouped by code."""
        return group_failures(self.code)


def _f32(name, value):
    try:
        array = np.asarray(value, dtype=np.float32)
    except (TypeError, ValueError) as err:
        raise TypeError(f"{name} must be an array of numbers: {err}") from None
    return np.ascontiguousarray(array) if array.ndim else array


def _per_element(name, value, count, optional=False):
    """A float32 array of one value per element, or a float32 scalar."""
    if value is None:
        if optional:
            return None
        raise TypeError(f"{name} is required")
    array = _f32(name, value)
    if array.ndim == 0:
        return array
    if array.shape != (count,):
        raise ValueError(f"{name} must be a scalar or have one value per element "
                         f"({count}), got shape {array.shape}")
    return array


def _volume_type(name):
    """Types whose geometry spans three dimensions: planar nodes make them flat."""
    return name.startswith(("C3D", "AC3D", "SC"))


def _nodes(nodes, name):
    """The nodes as (n, 3); numeric arrays of other types than float32 are
    converted later, on the thread pool."""
    numeric = isinstance(nodes, np.ndarray) and nodes.dtype.kind in "biuf"
    array = nodes if numeric else _f32("nodes", nodes)
    if array.ndim != 2 or array.shape[1] not in (2, 3):
        raise ValueError(f"nodes must have shape (n, 3) or (n, 2), got {array.shape}")
    if array.shape[1] == 2 and _volume_type(name):
        raise ValueError(f"nodes of {name} need three coordinates, got shape {array.shape}")
    if array.shape[1] == 2:
        array = np.column_stack([array, np.zeros(len(array), np.float32)]).astype(np.float32)
    if len(array) > _INT32_MAX:
        raise ValueError(f"nodes: {len(array)} nodes exceed the library's int32 count")
    return array


def _connectivity(connectivity, name, node_total):
    conn = np.asarray(connectivity)
    if conn.dtype.kind not in "iu":
        if conn.dtype.kind == "f" and conn.size and np.all(np.mod(conn, 1) == 0):
            pass  # whole numbers stored as floats are accepted
        elif conn.size:
            raise TypeError(f"connectivity must hold integers, got {conn.dtype}")
    nodes_per = NODE_COUNT[name]
    if conn.ndim != 2 or conn.shape[1] != nodes_per:
        raise ValueError(f"connectivity for {name} must have shape (elements, {nodes_per}), "
                         f"got {conn.shape}")
    if conn.shape[0] < 1:
        raise ValueError("connectivity has no elements")
    if conn.shape[0] > _INT32_MAX:
        raise ValueError("connectivity: too many elements for the library's int32 count")
    return conn


def _check_rows(conn, out, start, stop, node_total):
    """Check the node numbers of rows start..stop and copy them into out (the
    int32 array handed to the library) unless out is conn itself. numpy
    releases the GIL in both, so chunks run in parallel on the thread pool."""
    part = conn[start:stop]
    if part.size and (part.min() < 0 or part.max() >= node_total):
        bad = (part < 0) | (part >= node_total)
        e = int(np.flatnonzero(bad.any(axis=1))[0])
        k = int(np.flatnonzero(bad[e])[0])
        return start + e, int(part[e, k])
    if out is not conn:
        out[start:stop] = part
    return None


def _ptr(array, kind):
    if array is None:
        return None
    return array.ctypes.data_as(ctypes.POINTER(kind))


def compute(element_type, nodes, connectivity, material, density, thickness=None, *,
            bulk_scale=1.0, section_area=None, alpha=0.0, beta=0.0, cohesive=None,
            threads=None, progress=None):
    """Stable time increment of every element of one type and one material.

    element_type  catalogue name such as "C3D8R" or "S4R".
    nodes         (n, 3) coordinates; (n, 2) for planar meshes gets z = 0.
    connectivity  (elements, nodes per element) zero-based node numbers.
    material      a material object (Elastic(E, nu), ...) or a (code, props) pair.
    density       scalar or one per element.
    thickness     None (1.0), scalar or one per element. Passed to the library
                  for every type: it multiplies every modulus, and only plane,
                  membrane, shell and cohesive geometry also multiply the mass
                  by it, so for other types it divides the increment by
                  sqrt(thickness): give None there.
    bulk_scale    linear bulk viscosity scale.
    section_area  area of trusses and beams (required for them).
    alpha, beta   mass- and stiffness-proportional damping.
    cohesive      None or (constitutive_flag, width) of cohesive types.
    threads       worker threads for large inputs (default: all cores).
    progress      optional callable receiving the number of elements done.

    Contiguous float32/int32 inputs are passed without copying.
    """
    name = check_name(element_type)
    node_array = _nodes(nodes, name)
    conn = _connectivity(connectivity, name, len(node_array))
    count = conn.shape[0]
    fam = family(name)
    code, props = resolve(material, acoustic=(fam == "acoustic"),
                          planar=is_two_dimensional(name))
    rho = _per_element("density", density, count)
    thick = _per_element("thickness", thickness, count, optional=True)
    for label, value in (("bulk_scale", bulk_scale), ("alpha", alpha), ("beta", beta)):
        if not isinstance(value, (int, float, np.number)) or isinstance(value, bool):
            raise TypeError(f"{label} must be a number, got {value!r}")
    if section_area is None:
        if fam in ("truss", "beam"):
            raise ValueError(f"section_area is required for {name}")
        section_area = 0.0
    elif not isinstance(section_area, (int, float, np.number)) or isinstance(section_area, bool):
        raise TypeError(f"section_area must be a number, got {section_area!r}")
    section = np.array([section_area, alpha, beta], dtype=np.float32)
    coh = None
    if cohesive is not None:
        coh = _f32("cohesive", cohesive)
        if coh.shape != (2,):
            raise ValueError(f"cohesive must be a pair (flag, width), got shape {coh.shape}")
    if threads is None:
        threads = os.cpu_count() or 1
    if not isinstance(threads, int) or threads < 1:
        raise ValueError(f"threads must be a positive int, got {threads!r}")

    chunk = max(MIN_CHUNK, -(-count // (4 * threads * BATCH)) * BATCH)
    starts = range(0, count, chunk)
    ready = conn.dtype == np.int32 and conn.flags.c_contiguous
    conn32 = conn if ready else np.empty(conn.shape, dtype=np.int32)
    pool = ThreadPoolExecutor(max_workers=threads) if threads > 1 and count > chunk else None
    whole = pool is None and (progress is None or count <= chunk)  # one library call
    # A scalar density or thickness: one call's worth of values, shared by every call.
    shared = [a is not None and a.ndim == 0 for a in (rho, thick)]
    rho, thick = (np.full(count if whole else min(chunk, count), a, np.float32) if one else a
                  for a, one in zip((rho, thick), shared))
    try:
        def each(work, at=starts):
            if pool is None:
                return [work(s) for s in at]
            return list(pool.map(work, at))

        if node_array.dtype != np.float32 or not node_array.flags.c_contiguous:
            source, node_array = node_array, np.empty(node_array.shape, np.float32)
            step = max(MIN_CHUNK, -(-len(source) // (4 * threads)))
            each(lambda s: np.copyto(node_array[s:s + step], source[s:s + step],
                                     casting="unsafe"), range(0, len(source), step))
        # Every node number is checked before the library sees any element.
        node_total = len(node_array)
        for bad in each(lambda s: _check_rows(conn, conn32, s, min(s + chunk, count),
                                               node_total)):
            if bad is not None:
                e, node = bad
                raise ValueError(f"connectivity: element {e} refers to node {node}, outside "
                                 f"the {node_total} nodes (valid 0..{node_total - 1})")

        fn = _library.load()
        # Zeroed chunk by chunk before each call (the library leaves the codes
        # of sound elements alone): np.zeros pages, filled by the library,
        # cost several times that.
        dt = np.empty(count, dtype=np.float32)
        codes = np.empty(count, dtype=np.int32)
        encoded = name.encode("ascii")

        def run(start, stop):
            dt[start:stop] = 0.0
            codes[start:stop] = 0
            rho_at, thick_at = (a if one or a is None else a[start:]
                                for a, one in zip((rho, thick), shared))
            result = fn(encoded, node_total, stop - start, _ptr(node_array, ctypes.c_float),
                        _ptr(conn32[start:], ctypes.c_int), code, _ptr(props, ctypes.c_float),
                        _ptr(rho_at, ctypes.c_float), _ptr(thick_at, ctypes.c_float),
                        float(bulk_scale),
                        _ptr(section, ctypes.c_float), _ptr(coh, ctypes.c_float),
                        _ptr(dt[start:], ctypes.c_float), _ptr(codes[start:], ctypes.c_int))
            if progress is not None:
                progress(stop - start)
            return result

        if pool is None and (progress is None or count <= chunk):
            call_codes = [run(0, count)]
        else:
            call_codes = each(lambda s: run(s, min(s + chunk, count)))
    finally:
        if pool is not None:
            pool.shutdown()
    nonzero = [c for c in call_codes if c != 0]
    return Result(dt, codes, min(nonzero) if nonzero else 0)
