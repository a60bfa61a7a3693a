"""One rank's share of a binary Gmsh 4.1 file, read through memory maps: the
rank's rows of every element block, the coordinates of the nodes they use,
and the node tags (8 bytes a node) to find them; not the whole file."""
import struct

import numpy as np

from . import readers


def read_share(path, size, rank):
    """(Loaded, starts) as parallel.take_share gives them from the whole file:
    an even part of every element block, its element tags, and the nodes it
    uses. Raises readers._Unsupported for files of other kinds."""
    from .parallel import share
    names, entity_groups, node_blocks, element_blocks = {}, {}, [], []
    max_tag = 0
    with open(path, "rb") as f:
        for section in readers.msh41_sections(f, names, entity_groups):
            if section == b"$Nodes":
                blocks, _, _, max_tag = struct.unpack("<4Q", f.read(32))
                for _ in range(blocks):
                    _, _, parametric, n = struct.unpack("<3iQ", f.read(20))
                    if parametric:
                        raise readers._Unsupported()
                    node_blocks.append((f.tell(), n))
                    f.seek(32 * n, 1)  # tags, then x y z
            elif section == b"$Elements":
                blocks = struct.unpack("<4Q", f.read(32))[0]
                for _ in range(blocks):
                    dim, entity, kind, n = struct.unpack("<3iQ", f.read(20))
                    cell_type = readers._GMSH_TYPES.get(kind)
                    if cell_type is None:
                        raise readers.ReadError(f"Gmsh element type {kind} is not supported")
                    k = readers._NODES_PER_CELL[cell_type]
                    element_blocks.append((dim, entity, cell_type, k, f.tell(), n))
                    f.seek(8 * n * (k + 1), 1)
        if f.tell() > _size(f):
            raise readers.ReadError("the file ends inside a section")
    if not node_blocks or not element_blocks:
        raise readers.ReadError("the file holds no nodes or no cells")

    conns, element_ids, starts, offset = [], [], [], 0
    narrow = np.uint32 if max_tag < 2**32 else np.uint64
    with open(path, "rb") as f:
        for dim, entity, cell_type, k, at, n in element_blocks:
            lo, hi = share(n, size, rank)
            conn, etags = np.empty((hi - lo, k), narrow), np.empty(hi - lo, np.int64)
            f.seek(at + 8 * (k + 1) * lo)
            step = 1 << 18
            for s in range(0, hi - lo, step):  # block by block: the peak stays low
                m = min(step, hi - lo - s)
                raw = np.fromfile(f, dtype="<u8", count=m * (k + 1))
                if raw.size != m * (k + 1):
                    raise readers.ReadError("the file ends inside $Elements")
                raw = raw.reshape(m, k + 1)
                etags[s:s + m] = raw[:, 0]
                np.copyto(conn[s:s + m], raw[:, 1:], casting="unsafe")
            conns.append(conn)
            element_ids.append(etags)
            starts.append(offset + lo)
            offset += n
    used, local = _local_numbers(conns)
    points = _coordinates(path, node_blocks, used)
    cells, ids, cell_sets, physical, geometrical = [], [], {}, [], []
    for (dim, entity, cell_type, k, _, _), conn, etags in zip(element_blocks, local,
                                                             element_ids):
        if cell_type in readers._GMSH_ORDER:
            conn = conn[:, readers._GMSH_ORDER[cell_type]]
        groups = entity_groups.get((dim, entity), ())
        cells.append((cell_type, conn))
        ids.append(etags)
        physical.append(np.full(len(etags), groups[0] if groups else 0, np.int32))
        geometrical.append(np.full(len(etags), entity, np.int32))
        for g in groups:
            name = names.get((dim, g)) or f"physical{g}"
            cell_sets.setdefault(name, {})[len(cells) - 1] = len(etags)
    return readers._gmsh_loaded(points, cells, ids, cell_sets, physical, geometrical), starts


def _local_numbers(conns):
    """The sorted node tags the blocks use, and the blocks' connectivity as
    indices into them. Where the tags used span a range not much larger than
    the connectivity (a share of a mesh numbered in order), a mark per tag of
    the range replaces the sort."""
    entries = sum(c.size for c in conns)
    if entries == 0:
        return np.empty(0, np.uint64), [np.empty(c.shape, np.int32) for c in conns]
    low = min(int(c.min()) for c in conns if c.size)
    high = max(int(c.max()) for c in conns if c.size)
    if high - low + 1 <= 4 * entries:
        low = 0 if low <= entries else low  # no shift where the range starts low
        shift = (lambda c: c) if low == 0 else (lambda c: c - c.dtype.type(low))
        mark = np.zeros(high - low + 1, bool)
        for c in conns:
            mark[shift(c).ravel()] = True
        index_type = np.int32 if len(mark) < 2**31 else np.int64
        first = int(np.argmax(mark))
        if mark[first:].all():  # every tag from the first used on: an offset
            used = np.arange(low + first, high + 1, dtype=np.uint64)
            out = []
            for c in conns:
                c -= c.dtype.type(low + first)
                out.append(c.astype(index_type, copy=False) if c.dtype.itemsize !=
                           np.dtype(index_type).itemsize else c.view(index_type))
            return used, out
        used = np.flatnonzero(mark).astype(np.uint64) + np.uint64(low)
        index_type = np.int32 if len(used) < 2**31 else np.int64
        lookup = np.cumsum(mark, dtype=index_type)
        lookup -= 1
        del mark
        return used, [np.take(lookup, shift(c)) for c in conns]
    used = np.unique(np.concatenate([c.ravel() for c in conns])).astype(np.uint64)
    index_type = np.int32 if len(used) < 2**31 else np.int64
    return used, [np.searchsorted(used, c).astype(index_type) for c in conns]


def _size(f):
    here = f.tell()
    f.seek(0, 2)
    end = f.tell()
    f.seek(here)
    return end


def _coordinates(path, node_blocks, used):
    """x y z of the nodes with the given sorted tags; only their pages of the
    coordinate arrays are read."""
    tags = [np.memmap(path, dtype="<u8", mode="r", offset=at, shape=(n,)) if n else
            np.empty(0, "<u8") for at, n in node_blocks]
    coords = [np.memmap(path, dtype="<f8", mode="r", offset=at + 8 * n, shape=(n, 3)) if n
              else np.empty((0, 3)) for at, n in node_blocks]
    total = sum(n for _, n in node_blocks)
    first = np.cumsum([0] + [n for _, n in node_blocks])
    in_order = all(len(t) == 0 or (int(t[0]) == first[b] + 1 and int(t[-1]) == first[b + 1])
                   for b, t in enumerate(tags))
    # Tags 1..n in file order: a block from its first to its last tag holds
    # as many tags as nodes only when they rise by one (tags are distinct).
    if in_order and all(len(t) < 2 or bool(np.all(np.diff(t) == 1))
                        for t in tags):
        where = used.astype(np.int64) - 1  # tags 1..n in file order
        if len(where) and (where[0] < 0 or where[-1] >= total):
            raise readers.ReadError("elements use nodes the file does not define")
    else:
        every = np.concatenate([np.asarray(t) for t in tags])
        order = np.argsort(every, kind="stable")
        at = np.searchsorted(every[order], used)
        if np.any(at >= len(every)) or np.any(every[order][np.minimum(at, len(every) - 1)]
                                               != used):
            raise readers.ReadError("elements use nodes the file does not define")
        where = order[at]
    if len(where) and where[-1] - where[0] + 1 == len(where):  # one run of nodes
        b = int(np.searchsorted(first, where[0], side="right") - 1)
        if where[-1] < first[b + 1]:
            return np.array(coords[b][where[0] - first[b]:where[-1] + 1 - first[b]])
    points = np.empty((len(where), 3))
    block = np.searchsorted(first, where, side="right") - 1
    for b in np.unique(block):
        sel = block == b
        points[sel] = coords[b][where[sel] - first[b]]
    return points
