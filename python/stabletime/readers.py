"""Mesh files into meshes with meshio's layout, with the file's own element
numbers where it has them. Binary Gmsh 4.1 and inline-binary VTU files are
read here with numpy (several times faster than meshio, and at a lower peak);
other Gmsh files go through Gmsh's own reader when python3-gmsh is installed;
everything else through meshio."""
import binascii
import contextlib
import importlib.util
import io
import mmap
import os
import re
import struct
import zlib
from concurrent.futures import ThreadPoolExecutor
from dataclasses import dataclass

import numpy as np

# Gmsh element type number -> meshio cell type, and the permutation from
# Gmsh's node order to meshio's where they differ.
_GMSH_TYPES = {1: "line", 2: "triangle", 3: "quad", 4: "tetra", 5: "hexahedron", 6: "wedge",
               7: "pyramid", 8: "line3", 9: "triangle6", 11: "tetra10", 15: "vertex",
               16: "quad8"}
_GMSH_ORDER = {"tetra10": [0, 1, 2, 3, 4, 5, 6, 7, 9, 8]}
# Integer cell data that other formats use for element numbers.
_ID_KEYS = ("element_id", "GlobalIds", "ids")


@dataclass
class CellBlock:
    type: str
    data: np.ndarray


@dataclass
class Mesh:
    """The parts of a meshio mesh the command uses, without importing meshio
    (its import alone takes about a second)."""
    points: np.ndarray
    cells: list
    cell_sets: dict
    cell_data: dict


class ReadError(Exception):
    """A file that is not a mesh of its format; the message is one line."""


@dataclass
class Loaded:
    mesh: object  # meshio.Mesh
    ids: list  # per cell block an int array of element numbers, or None for all
    numbering: str


def read(path):
    """Binary Gmsh 4.1 and inline-binary VTU files with numpy; other Gmsh files
    with Gmsh's own reader where installed; everything else, or any file with
    STABLETIME_READER=meshio, with meshio."""
    choice = os.environ.get("STABLETIME_READER", "")
    if path.lower().endswith(".msh") and choice != "meshio":
        if choice != "gmsh":
            try:
                return _read_msh41_binary(path)
            except _Unsupported:
                pass
            except (OSError, ValueError, UnicodeDecodeError, struct.error):
                raise ReadError("not a valid Gmsh file") from None
        if importlib.util.find_spec("gmsh") is not None:
            try:
                return _read_gmsh(path)
            except _Unsupported:
                pass
    if path.lower().endswith(".vtu") and choice != "meshio":
        try:
            return _read_vtu(path)
        except _Unsupported:
            pass
        except (ValueError, KeyError, zlib.error, binascii.Error):
            raise ReadError("not a valid VTU file") from None
    return _read_meshio(path)


def _read_meshio(path):
    import meshio
    chatter = io.StringIO()
    try:
        # The readers chat on stdout and stderr, and some exit on a bad file.
        with contextlib.redirect_stdout(chatter), contextlib.redirect_stderr(chatter):
            mesh = meshio.read(path)
    except meshio.ReadError as err:
        if "Unknown file format" in str(err) or "Could not deduce" in str(err):
            raise ReadError("unknown mesh format (by its extension)") from None
        raise ReadError(f"not a valid {_format(path)} file") from None
    except (Exception, SystemExit):
        raise ReadError(f"not a valid {_format(path)} file") from None
    if len(mesh.points) == 0 or not mesh.cells:
        raise ReadError("the file holds no nodes or no cells")
    return _with_ids(mesh)


def _with_ids(mesh):
    """The mesh with element numbers from integer cell data where it has them."""
    ids, numbering = None, "position in the file, counting every cell from 1"
    for key in _ID_KEYS:
        arrays = (mesh.cell_data or {}).get(key)
        if arrays and all(np.asarray(a).dtype.kind in "iu" and len(a) == len(b.data)
                          for a, b in zip(arrays, mesh.cells)):
            ids = [np.asarray(a, dtype=np.int64).reshape(-1) for a in arrays]
            numbering = f"the file's cell data {key}"
            break
    return Loaded(mesh, ids, numbering)


def _format(path):
    ext = os.path.splitext(path)[1].lstrip(".").lower()
    return {"msh": "Gmsh", "vtu": "VTU", "vtk": "VTK", "inp": "input deck"}.get(
        ext, ext.upper() or "mesh")


def _read_gmsh(path):
    import gmsh
    gmsh.initialize(["-noenv"], readConfigFiles=False)
    try:
        gmsh.option.setNumber("General.Terminal", 0)
        gmsh.option.setNumber("General.Verbosity", 0)
        try:
            gmsh.open(path)
        except Exception:
            raise ReadError("not a valid Gmsh file") from None
        tags, coords, _ = gmsh.model.mesh.getNodes(returnParametricCoord=False)
        if len(tags) == 0:
            raise ReadError("the file holds no nodes or no cells")
        tags = np.asarray(tags, dtype=np.int64)
        points = np.asarray(coords, dtype=np.float64).reshape(-1, 3)
        order = np.argsort(tags, kind="stable")
        tags, points = tags[order], points[order]
        del order
        lookup = np.full(int(tags[-1]) + 1, -1, dtype=np.int64)
        lookup[tags] = np.arange(len(tags))
        cells, ids, cell_sets, physical, geometrical = [], [], {}, [], []
        names = {(d, t): gmsh.model.getPhysicalName(d, t)
                 for d, t in gmsh.model.getPhysicalGroups()}
        for dim, entity in gmsh.model.getEntities():
            if gmsh.model.getParent(dim, entity)[0] > dim:
                # An interface between partitions, made by Gmsh in partitioned files:
                # its elements are faces of the partition's own elements.
                continue
            groups = gmsh.model.getPhysicalGroupsForEntity(dim, entity)
            types, elem_tags, node_tags = gmsh.model.mesh.getElements(dim, entity)
            for kind, etags, ntags in zip(types, elem_tags, node_tags):
                cell_type = _GMSH_TYPES.get(int(kind))
                if cell_type is None:
                    raise _Unsupported()
                count = len(etags)
                conn = lookup[np.asarray(ntags, dtype=np.int64)].reshape(count, -1)
                if cell_type in _GMSH_ORDER:
                    conn = conn[:, _GMSH_ORDER[cell_type]]
                cells.append((cell_type, conn.astype(np.int32 if len(tags) < 2**31 else
                                                     np.int64)))
                ids.append(np.asarray(etags, dtype=np.int64))
                physical.append(np.full(count, groups[0] if len(groups) else 0, np.int32))
                geometrical.append(np.full(count, entity, np.int32))
                for g in groups:
                    name = names.get((dim, int(g))) or f"physical{int(g)}"
                    cell_sets.setdefault(name, {})[len(cells) - 1] = count
    finally:
        gmsh.finalize()
    if not cells:
        raise ReadError("the file holds no nodes or no cells")
    return _gmsh_loaded(points, cells, ids, cell_sets, physical, geometrical)


class _Unsupported(Exception):
    """A Gmsh file this reader leaves to another (ASCII, other versions)."""


def msh41_binary_header(f):
    """Reads the $MeshFormat section of a binary little-endian Gmsh 4.1 file
    with 8-byte sizes, up to its line end; raises _Unsupported otherwise."""
    if f.readline().strip() != b"$MeshFormat":
        raise _Unsupported()
    version, kind, size = f.readline().split()
    if version != b"4.1" or kind != b"1" or size != b"8":
        raise _Unsupported()
    if struct.unpack("<i", f.read(4))[0] != 1:
        raise _Unsupported()  # other byte order
    f.readline()


def msh41_physical_names(f, names):
    """Adds the $PhysicalNames entries to names, keyed by (dim, tag)."""
    for _ in range(int(f.readline())):
        dim, tag, name = f.readline().decode().split(maxsplit=2)
        names[(int(dim), int(tag))] = name.strip().strip('"')


def msh41_binary_entities(f, entity_groups):
    """Adds each entity's physical groups from a binary $Entities section to
    entity_groups, keyed by (dim, tag), skipping bounding boxes and boundaries."""
    counts = struct.unpack("<4Q", f.read(32))
    for dim, n in enumerate(counts):
        for _ in range(n):
            tag = struct.unpack("<i", f.read(4))[0]
            f.read(24 if dim == 0 else 48)
            n_phys = struct.unpack("<Q", f.read(8))[0]
            entity_groups[(dim, tag)] = struct.unpack(f"<{n_phys}i", f.read(4 * n_phys))
            if dim > 0:
                f.read(4 * struct.unpack("<Q", f.read(8))[0])


def msh41_sections(f, names, entity_groups):
    """Walks a binary Gmsh 4.1 file from its header on: reads $PhysicalNames
    into names and $Entities into entity_groups, refuses partitioned and
    periodic files, skips the sections no reader here uses, and yields
    b"$Nodes" and b"$Elements" with f at their first line for the caller."""
    msh41_binary_header(f)
    for line in iter(f.readline, b""):
        section = line.strip()
        if section == b"$PhysicalNames":
            msh41_physical_names(f, names)
        elif section == b"$Entities":
            msh41_binary_entities(f, entity_groups)
        elif section in (b"$Nodes", b"$Elements"):
            yield section
        elif section in (b"$PartitionedEntities", b"$Periodic", b"$GhostElements"):
            raise _Unsupported()
        elif section.startswith(b"$") and not section.startswith(b"$End"):
            end = b"$End" + section[1:]
            for line in iter(f.readline, b""):
                if line.strip() == end:
                    break
            else:
                raise ReadError(f"the file ends inside {section.decode()}")


def _read_msh41_binary(path):
    """Binary Gmsh 4.1 files with numpy, element block by element block, so
    that the peak stays near the size of the result."""
    with open(path, "rb") as f:
        names, entity_groups = {}, {}
        points = tags = None
        cells, ids, cell_sets, physical, geometrical = [], [], {}, [], []
        for section in msh41_sections(f, names, entity_groups):
            if section == b"$Nodes":
                blocks, total, _, max_tag = struct.unpack("<4Q", f.read(32))
                # Read in place (no temporary): the file's little-endian tags
                # and coordinates are these arrays' own bytes.
                tags = np.empty(total, dtype="<i8")
                points = np.empty((total, 3), dtype="<f8")
                at = 0
                for _ in range(blocks):
                    _, _, parametric, n = struct.unpack("<3iQ", f.read(20))
                    if parametric:
                        raise _Unsupported()
                    for part in (tags[at:at + n], points[at:at + n]):
                        if f.readinto(part) != part.nbytes:
                            raise ValueError("the file ends inside $Nodes")
                    at += n
                if np.array_equal(tags, np.arange(1, total + 1)):
                    lookup = None  # tags 1..n in order: index is tag - 1
                else:
                    lookup = np.full(int(max_tag) + 1, -1, dtype=np.int64)
                    lookup[tags] = np.arange(total)
            elif section == b"$Elements":
                if tags is None:
                    raise _Unsupported()
                blocks = struct.unpack("<4Q", f.read(32))[0]
                for _ in range(blocks):
                    dim, entity, kind, n = struct.unpack("<3iQ", f.read(20))
                    cell_type = _GMSH_TYPES.get(kind)
                    if cell_type is None:
                        raise _Unsupported()  # meshio or Gmsh knows more types
                    k = _NODES_PER_CELL[cell_type]
                    conn = np.empty((n, k), dtype=np.int32)
                    etags = np.empty(n, dtype=np.int64)
                    step = 1 << 18
                    # One buffer for every chunk: fresh memory for each costs more
                    # than reading into it.
                    chunk = np.empty(min(step, n) * (k + 1), dtype="<u8")
                    for s in range(0, n, step):
                        m = min(step, n - s)
                        raw = chunk[:m * (k + 1)]
                        if f.readinto(raw) != raw.nbytes:
                            raise ReadError("the file ends inside $Elements")
                        raw = raw.reshape(m, k + 1)
                        etags[s:s + m] = raw[:, 0]
                        if lookup is None:
                            part = conn[s:s + m]
                            np.copyto(part, raw[:, 1:], casting="unsafe")
                            part -= 1
                        else:
                            conn[s:s + m] = lookup[raw[:, 1:].astype(np.int64)]
                    if cell_type in _GMSH_ORDER:
                        conn = conn[:, _GMSH_ORDER[cell_type]]
                    if conn.size and (conn.min() < 0 or conn.max() >= len(tags)):
                        raise ReadError(f"elements of entity {entity} use nodes the file "
                                        "does not define")
                    groups = entity_groups.get((dim, entity), ())
                    cells.append((cell_type, conn))
                    ids.append(etags)
                    physical.append(np.full(n, groups[0] if groups else 0, np.int32))
                    geometrical.append(np.full(n, entity, np.int32))
                    for g in groups:
                        name = names.get((dim, g)) or f"physical{g}"
                        cell_sets.setdefault(name, {})[len(cells) - 1] = n
    if points is None or not cells:
        raise ReadError("the file holds no nodes or no cells")
    return _gmsh_loaded(points, cells, ids, cell_sets, physical, geometrical)


def _gmsh_loaded(points, cells, ids, cell_sets, physical, geometrical):
    sets = {name: [np.arange(parts[i]) if i in parts else np.empty(0, np.int64)
                   for i in range(len(cells))] for name, parts in cell_sets.items()}
    mesh = Mesh(points, [CellBlock(t, d) for t, d in cells], sets,
                {"gmsh:physical": physical, "gmsh:geometrical": geometrical})
    return Loaded(mesh, ids, "Gmsh element tags")


_NODES_PER_CELL = {"line": 2, "triangle": 3, "quad": 4, "tetra": 4, "hexahedron": 8, "wedge": 6,
                   "pyramid": 5, "line3": 3, "triangle6": 6, "tetra10": 10, "vertex": 1,
                   "quad8": 8}


# VTK cell type -> meshio cell type and node count (the node orders agree).
_VTK_TYPES = {1: ("vertex", 1), 3: ("line", 2), 5: ("triangle", 3), 9: ("quad", 4),
              10: ("tetra", 4), 12: ("hexahedron", 8), 13: ("wedge", 6), 14: ("pyramid", 5),
              21: ("line3", 3), 22: ("triangle6", 6), 23: ("quad8", 8), 24: ("tetra10", 10),
              25: ("hexahedron20", 20)}
_VTK_DTYPES = {"Int8": "i1", "UInt8": "u1", "Int16": "i2", "UInt16": "u2", "Int32": "i4",
               "UInt32": "u4", "Int64": "i8", "UInt64": "u8", "Float32": "f4",
               "Float64": "f8"}


def _attributes(text):
    return {k.decode(): v.decode() for k, v in re.findall(rb'(\w+)\s*=\s*"([^"]*)"', text)}


def _read_vtu(path):
    """VTU files with inline base64 data, plain or zlib-compressed: the file is
    mapped, not copied, and its arrays decoded and inflated on a thread pool."""
    with open(path, "rb") as f:
        data = mmap.mmap(f.fileno(), 0, access=mmap.ACCESS_READ)
    head = re.search(rb"<VTKFile\b([^>]*)>", data[:4096])
    if head is None:
        raise ReadError("not a valid VTU file")
    file_attrs = _attributes(head.group(1))
    compressor = file_attrs.get("compressor", "")
    if file_attrs.get("type") != "UnstructuredGrid" or \
            compressor not in ("", "vtkZLibDataCompressor"):
        raise _Unsupported()
    order = "<" if file_attrs.get("byte_order", "LittleEndian") == "LittleEndian" else ">"
    header = np.dtype(order + _VTK_DTYPES[file_attrs.get("header_type", "UInt32")])
    piece = re.search(rb"<Piece\b([^>]*)>", data[:8192])
    small = piece is not None and \
        int(_attributes(piece.group(1)).get("NumberOfPoints", 2**31)) < 2**31
    tags = ((b"<Points", "points"), (b"<Cells", "cells"), (b"<CellData", "cell"),
            (b"<PointData", "point"), (b"<FieldData", "field"))
    arrays = {"points": {}, "cells": {}, "cell": {}}
    text = _Text(data)
    section, pos, pieces = None, 0, 0
    with ThreadPoolExecutor(max_workers=os.cpu_count() or 1) as pool:
        while True:
            begin = data.find(b"<DataArray", pos)
            # The markup between two arrays (short) holds every other tag.
            gap = data[pos:len(data) if begin < 0 else begin]
            pieces += gap.count(b"<Piece")
            if pieces > 1 or b"<AppendedData" in gap:
                raise _Unsupported()
            if begin < 0:
                break
            last = max(((gap.rfind(tag), name) for tag, name in tags), default=(-1, None))
            if last[0] >= 0:
                section = last[1]
            open_end = data.find(b">", begin)
            stop = data.find(b"</DataArray>", open_end)
            if open_end < 0 or stop < 0:
                raise ReadError("not a valid VTU file")
            pos = stop + len(b"</DataArray>")
            if section not in arrays:
                continue
            attrs = _attributes(data[begin:open_end])
            if attrs.get("format", "ascii") != "binary":
                raise _Unsupported()
            dtype = np.dtype(order + _VTK_DTYPES[attrs["type"]])
            # Node numbers go straight to int32, block by block, where they fit.
            into = np.dtype(np.int32) if section == "cells" and dtype.kind in "iu" and \
                attrs.get("Name") == "connectivity" and small else None
            values = _decode(text, open_end + 1, stop, dtype, header, bool(compressor), pool,
                             into)
            components = int(attrs.get("NumberOfComponents", "1"))
            if components > 1:
                values = values.reshape(-1, components)
            arrays[section][attrs.get("Name", "")] = values
    if pieces != 1:
        raise _Unsupported()
    points = next(iter(arrays["points"].values()), None)
    cells = arrays["cells"]
    if points is None or not {"connectivity", "offsets", "types"} <= set(cells):
        raise ReadError("the file holds no nodes or no cells")
    return _vtu_blocks(np.asarray(points, dtype=np.float64), cells["connectivity"],
                       cells["offsets"], cells["types"], arrays["cell"])


_CODECS = []  # [(EVP_DecodeBlock, libdeflate)] once looked for; (None, None) without


def _codecs():
    """Base64 decoding by libcrypto's EVP_DecodeBlock and zlib inflation by
    libdeflate, through ctypes, where the system has both libraries: several
    times faster than binascii and zlib, and without the GIL (ctypes releases
    it), so that the pool's threads share the work. (None, None) otherwise."""
    if not _CODECS:
        import ctypes
        try:
            decode = ctypes.CDLL("libcrypto.so.3").EVP_DecodeBlock
            deflate = ctypes.CDLL("libdeflate.so.0")
        except (OSError, AttributeError):
            _CODECS.append((None, None))
            return _CODECS[0]
        decode.argtypes = [ctypes.c_void_p, ctypes.c_void_p, ctypes.c_int]
        decode.restype = ctypes.c_int
        deflate.libdeflate_alloc_decompressor.restype = ctypes.c_void_p
        deflate.libdeflate_free_decompressor.argtypes = [ctypes.c_void_p]
        deflate.libdeflate_zlib_decompress.argtypes = [ctypes.c_void_p] + [
            ctypes.c_void_p, ctypes.c_size_t] * 2 + [ctypes.c_void_p]
        deflate.libdeflate_zlib_decompress.restype = ctypes.c_int
        _CODECS.append((decode, deflate))
    return _CODECS[0]


class _Text:
    """The mapped file, as bytes for the markup and by address for the codecs."""

    def __init__(self, data):
        self.data, self.view = data, memoryview(data)
        self.address = np.frombuffer(data, np.uint8).ctypes.data


def _chars(n):
    return -(-n // 3) * 4  # base64 characters of n bytes


def _base64(text, start, stop, pool):
    """The bytes of the base64 characters start..stop of the file, as uint8."""
    decode, _ = _codecs()
    n = stop - start
    if decode is not None and n % 4 == 0 and n:
        out = np.empty(n // 4 * 3, np.uint8)
        step = 1 << 22  # characters a task, a multiple of 4
        # Whitespace anywhere in a piece makes it refuse the piece or give
        # fewer bytes than its characters hold.
        done = pool.map(lambda a: decode(out.ctypes.data + a // 4 * 3, text.address + start + a,
                                         min(step, n - a)) == min(step, n - a) // 4 * 3,
                        range(0, n, step))
        if all(done):
            pads = (text.data[stop - 1] == 61) + (text.data[stop - 2] == 61)
            return out[:len(out) - pads]
    # Whitespace inside the text, or no libraries: binascii skips it.
    return np.frombuffer(binascii.a2b_base64(text.view[start:stop]), np.uint8)


def _decode(text, start, stop, dtype, header, compressed, pool, into=None):
    """The values of the DataArray whose base64 text lies between start and
    stop, as into (cast) where given."""
    data = text.data
    while start < stop and data[start] in b" \t\r\n":
        start += 1
    while stop > start and data[stop - 1] in b" \t\r\n":
        stop -= 1
    first = binascii.a2b_base64(text.view[start:start + _chars(header.itemsize)])
    if not compressed:
        total = int(np.frombuffer(first[:header.itemsize], header)[0])
        if data[start + _chars(header.itemsize) - 1] == 61:  # header encoded on its own
            raw = _base64(text, start + _chars(header.itemsize), stop, pool)[:total]
        else:
            raw = _base64(text, start, stop, pool)[header.itemsize:header.itemsize + total]
        if len(raw) != total or total % dtype.itemsize:
            raise ValueError("the array is shorter than its header says")
        values = raw.view(dtype)
        return values if into is None or into == dtype else values.astype(into)
    blocks = int(np.frombuffer(first[:header.itemsize], header)[0])
    head_chars = _chars(header.itemsize * (3 + blocks))
    head = np.frombuffer(binascii.a2b_base64(text.view[start:start + head_chars]),
                         header)[:3 + blocks]
    block_size, last_size = int(head[1]), int(head[2])
    last_size = last_size or block_size  # VTK writes 0 where the last block is full
    if block_size % dtype.itemsize:
        raise _Unsupported()
    sizes = head[3:].astype(np.int64)
    raw = _base64(text, start + head_chars, stop, pool)
    ends = np.cumsum(sizes)
    if blocks and int(ends[-1]) > len(raw):
        raise ValueError("the compressed array is shorter than its header says")
    total = block_size * (blocks - 1) + last_size if blocks else 0
    out = np.empty(total // dtype.itemsize, dtype=into or dtype)
    per_block = block_size // dtype.itemsize
    _, deflate = _codecs()

    def inflate(first):
        if deflate is None:
            scratch, decompressor = None, None
        else:
            scratch = None if into is None or into == dtype else np.empty(block_size, np.uint8)
            decompressor = deflate.libdeflate_alloc_decompressor()
        try:
            for k in range(first, min(first + step, blocks)):
                size = block_size if k < blocks - 1 else last_size
                a, b = int(ends[k] - sizes[k]), int(ends[k])
                if decompressor is None:
                    piece = zlib.decompress(raw[a:b], bufsize=size)
                    if len(piece) != size:
                        raise ValueError("a block inflates to another size than the header's")
                    out[k * per_block:k * per_block + size // dtype.itemsize] = \
                        np.frombuffer(piece, dtype)
                    continue
                into_out = scratch is None
                target = out.ctypes.data + k * block_size if into_out else scratch.ctypes.data
                if deflate.libdeflate_zlib_decompress(decompressor, raw.ctypes.data + a, b - a,
                                                      target, size, None):
                    raise ValueError("a block does not inflate to the header's size")
                if not into_out:
                    out[k * per_block:k * per_block + size // dtype.itemsize] = \
                        scratch[:size].view(dtype)
        finally:
            if decompressor is not None:
                deflate.libdeflate_free_decompressor(decompressor)

    step = max(1, -(-blocks // (4 * (os.cpu_count() or 1))))
    list(pool.map(inflate, range(0, blocks, step)))
    return out


def _vtu_blocks(points, connectivity, offsets, types, cell_arrays):
    """Runs of one cell type in file order become cell blocks."""
    offsets = np.asarray(offsets, dtype=np.int64)
    types = np.asarray(types)  # compared as stored: no wider copy
    starts = np.concatenate([[0], np.flatnonzero(types[1:] != types[:-1]) + 1])
    if len(starts) > 10_000:
        raise _Unsupported()  # finely mixed types: meshio's grouping
    ends = np.concatenate([starts[1:], [len(types)]])
    cells, cell_data = [], {name: [] for name in cell_arrays}
    for a, b in zip(starts.tolist(), ends.tolist()):
        kind = _VTK_TYPES.get(int(types[a]))
        if kind is None:
            raise _Unsupported()
        cell_type, k = kind
        first = int(offsets[a - 1]) if a else 0
        if int(offsets[b - 1]) - first != (b - a) * k:
            raise ReadError("cell offsets do not match the cell types")
        conn = connectivity[first:int(offsets[b - 1])].reshape(b - a, k)
        if cell_type == "wedge":  # VTK turns the wedge the other way round
            conn = conn[:, [0, 2, 1, 3, 5, 4]]
        cells.append(CellBlock(cell_type, conn if conn.dtype.itemsize <= 4 or
                               len(points) >= 2**31 else conn.astype(np.int32)))
        for name, values in cell_arrays.items():
            cell_data[name].append(values[a:b])
    mesh = Mesh(points, cells, {}, cell_data)
    return _with_ids(mesh)
