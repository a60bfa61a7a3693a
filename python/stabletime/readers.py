"""Mesh files into meshio meshes, with the file's own element numbers where it
has them. Gmsh files go through Gmsh's own reader when python3-gmsh is
installed (several times faster than meshio's on large binary files, and it
keeps the element tags); every other format, and Gmsh files without it,
through meshio."""
import contextlib
import io
import os
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
    if path.lower().endswith(".msh") and os.environ.get("STABLETIME_READER") != "meshio":
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
