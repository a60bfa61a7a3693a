"""Mesh files into meshio meshes, with the file's own element numbers where it
has them. Gmsh files go through Gmsh's own reader when python3-gmsh is
installed (several times faster than meshio's on large binary files, and it
keeps the element tags); every other format, and Gmsh files without it,
through meshio."""
import contextlib
import io
import os
import struct
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


class ReadError(Exception):
    """A file that is not a mesh of its format; the message is one line."""


@dataclass
class Loaded:
    mesh: object  # meshio.Mesh
    ids: list  # per cell block an int array of element numbers, or None for all
    numbering: str


def read(path):
    """Binary Gmsh 4.1 files with numpy; other Gmsh files with Gmsh's own reader
    where installed; everything else, or STABLETIME_READER=meshio, with meshio."""
    choice = os.environ.get("STABLETIME_READER", "")
    if path.lower().endswith(".msh") and choice != "meshio":
        if choice != "gmsh":
            try:
                return _read_msh41_binary(path)
            except _Unsupported:
                pass
            except (OSError, ValueError, UnicodeDecodeError, struct.error):
                raise ReadError("not a valid Gmsh file") from None
        try:
            import gmsh  # noqa: F401
        except ImportError:
            pass
        else:
            return _read_gmsh(path)
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
    import meshio
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
            groups = gmsh.model.getPhysicalGroupsForEntity(dim, entity)
            types, elem_tags, node_tags = gmsh.model.mesh.getElements(dim, entity)
            for kind, etags, ntags in zip(types, elem_tags, node_tags):
                cell_type = _GMSH_TYPES.get(int(kind))
                if cell_type is None:
                    raise ReadError(f"Gmsh element type {int(kind)} is not supported")
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
    sets = {name: [np.arange(parts[i]) if i in parts else np.empty(0, np.int64)
                   for i in range(len(cells))] for name, parts in cell_sets.items()}
    mesh = meshio.Mesh(points, cells, cell_sets=sets,
                       cell_data={"gmsh:physical": physical, "gmsh:geometrical": geometrical})
    return Loaded(mesh, ids, "Gmsh element tags")


class _Unsupported(Exception):
    """A Gmsh file this reader leaves to another (ASCII, other versions)."""


def _read_msh41_binary(path):
    """Binary Gmsh 4.1 files with numpy, element block by element block, so
    that the peak stays near the size of the result."""
    import meshio
    with open(path, "rb") as f:
        if f.readline().strip() != b"$MeshFormat":
            raise _Unsupported()
        version, kind, size = f.readline().split()
        if version != b"4.1" or kind != b"1" or size != b"8":
            raise _Unsupported()
        if struct.unpack("<i", f.read(4))[0] != 1:
            raise _Unsupported()  # other byte order
        f.readline()
        names, entity_groups = {}, {}
        points = tags = None
        cells, ids, cell_sets, physical, geometrical = [], [], {}, [], []
        while True:
            line = f.readline()
            if not line:
                break
            section = line.strip()
            if section == b"$PhysicalNames":
                for _ in range(int(f.readline())):
                    dim, tag, name = f.readline().decode().split(maxsplit=2)
                    names[(int(dim), int(tag))] = name.strip().strip('"')
            elif section == b"$Entities":
                counts = struct.unpack("<4Q", f.read(32))
                for dim, n in enumerate(counts):
                    for _ in range(n):
                        tag = struct.unpack("<i", f.read(4))[0]
                        f.read(24 if dim == 0 else 48)
                        n_phys = struct.unpack("<Q", f.read(8))[0]
                        groups = struct.unpack(f"<{n_phys}i", f.read(4 * n_phys))
                        entity_groups[(dim, tag)] = groups
                        if dim > 0:
                            n_bound = struct.unpack("<Q", f.read(8))[0]
                            f.read(4 * n_bound)
            elif section == b"$Nodes":
                blocks, total, _, max_tag = struct.unpack("<4Q", f.read(32))
                tags = np.empty(total, dtype=np.int64)
                points = np.empty((total, 3), dtype=np.float64)
                at = 0
                for _ in range(blocks):
                    _, _, parametric, n = struct.unpack("<3iQ", f.read(20))
                    if parametric:
                        raise _Unsupported()
                    tags[at:at + n] = np.fromfile(f, dtype="<u8", count=n)
                    points[at:at + n] = np.fromfile(f, dtype="<f8", count=3 * n).reshape(n, 3)
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
                        raise ReadError(f"Gmsh element type {kind} is not supported")
                    k = _NODES_PER_CELL[cell_type]
                    conn = np.empty((n, k), dtype=np.int32)
                    etags = np.empty(n, dtype=np.int64)
                    step = 1 << 18
                    for s in range(0, n, step):
                        m = min(step, n - s)
                        raw = np.fromfile(f, dtype="<u8", count=m * (k + 1))
                        if raw.size != m * (k + 1):
                            raise ReadError("the file ends inside $Elements")
                        raw = raw.reshape(m, k + 1)
                        etags[s:s + m] = raw[:, 0]
                        nodes = raw[:, 1:].astype(np.int64)
                        conn[s:s + m] = nodes - 1 if lookup is None else lookup[nodes]
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
            elif section.startswith(b"$") and not section.startswith(b"$End"):
                if section in (b"$PartitionedEntities", b"$Periodic", b"$GhostElements"):
                    raise _Unsupported()
                end = b"$End" + section[1:]
                while True:  # skip sections the report does not use
                    line = f.readline()
                    if not line:
                        raise ReadError(f"the file ends inside {section.decode()}")
                    if line.strip() == end:
                        break
    if points is None or not cells:
        raise ReadError("the file holds no nodes or no cells")
    sets = {name: [np.arange(parts[i]) if i in parts else np.empty(0, np.int64)
                   for i in range(len(cells))] for name, parts in cell_sets.items()}
    mesh = meshio.Mesh(points, cells, cell_sets=sets,
                       cell_data={"gmsh:physical": physical, "gmsh:geometrical": geometrical})
    return Loaded(mesh, ids, "Gmsh element tags")


_NODES_PER_CELL = {"line": 2, "triangle": 3, "quad": 4, "tetra": 4, "hexahedron": 8, "wedge": 6,
                   "pyramid": 5, "line3": 3, "triangle6": 6, "tetra10": 10, "vertex": 1,
                   "quad8": 8}
