"""From a meshio mesh to calls of the library: default element names per cell
type, blocks, and element measures (volume, area times thickness, length times
section area) for mass figures."""
import numpy as np

# meshio cell type -> element name; for surface types (flat in z, elsewhere).
DEFAULT_ELEMENT = {
    "line": "T3D2",
    "line3": "B32",
    "triangle": ("CPS3", "S3R"),
    "quad": ("CPS4R", "S4R"),
    "triangle6": ("CPS6M", None),
    "tetra": "C3D4",
    "tetra10": "C3D10M",
    "hexahedron": "C3D8R",
    "wedge": "C3D6",
}
DIMENSION = {"vertex": 0, "line": 1, "line3": 1, "triangle": 2, "triangle6": 2, "quad": 2,
             "quad8": 2, "quad9": 2, "tetra": 3, "tetra10": 3, "hexahedron": 3,
             "hexahedron20": 3, "hexahedron27": 3, "wedge": 3, "wedge15": 3, "pyramid": 3,
             "pyramid13": 3}
# Corner nodes of the measure of each shape (mid-side nodes are left out).
_CORNERS = {"line": 2, "line3": 2, "triangle": 3, "triangle6": 3, "quad": 4, "tetra": 4,
            "tetra10": 4, "hexahedron": 8, "wedge": 6}
_HEX_TETS = [(0, 1, 2, 6), (0, 2, 3, 6), (0, 3, 7, 6), (0, 7, 4, 6), (0, 4, 5, 6), (0, 5, 1, 6)]
_WEDGE_TETS = [(0, 1, 2, 3), (1, 2, 3, 4), (2, 3, 4, 5)]


def is_flat(points, cells):
    """Whether the nodes of a block all lie in one plane z = const."""
    used = points[np.unique(cells)]
    if used.shape[1] < 3:
        return True
    z = used[:, 2]
    extent = float(np.ptp(used, axis=0).max()) if len(used) else 0.0
    return float(np.ptp(z)) <= 1e-9 * max(extent, 1e-300)


def default_element(cell_type, flat):
    choice = DEFAULT_ELEMENT.get(cell_type)
    if isinstance(choice, tuple):
        choice = choice[0] if flat else choice[1]
    return choice


def _tet_volumes(p, cells, tets):
    total = np.zeros(len(cells))
    for a, b, c, d in tets:
        pa = p[cells[:, a]]
        total += np.einsum("ij,ij->i", np.cross(p[cells[:, b]] - pa, p[cells[:, c]] - pa),
                           p[cells[:, d]] - pa) / 6.0
    return np.abs(total)


def _area(p, cells, tris):
    total = np.zeros(len(cells))
    for a, b, c in tris:
        pa = p[cells[:, a]]
        total += np.linalg.norm(np.cross(p[cells[:, b]] - pa, p[cells[:, c]] - pa), axis=1) / 2
    return total


def measure(points, cells, cell_type, element, thickness, section_area):
    """Volume of each element in double precision: solids directly, surfaces as
    area times thickness (axisymmetric types per radian: times the centroid
    radius), lines as length times section area."""
    p = np.zeros((len(points), 3))
    p[:, :points.shape[1]] = points
    cells = np.asarray(cells)
    if cell_type not in _CORNERS:
        raise ValueError(f"no measure for cell type {cell_type}")
    if cell_type in ("line", "line3"):
        length = np.linalg.norm(p[cells[:, 1]] - p[cells[:, 0]], axis=1)
        return length * (section_area or 0.0)
    if cell_type in ("triangle", "triangle6", "quad"):
        tris = [(0, 1, 2)] if cell_type != "quad" else [(0, 1, 2), (0, 2, 3)]
        area = _area(p, cells, tris)
        if element.startswith(("CAX", "ACAX", "COHAX")):
            area = area * p[cells[:, :_CORNERS[cell_type]], 0].mean(axis=1)
        return area * (1.0 if thickness is None else np.asarray(thickness, dtype=np.float64))
    if cell_type in ("tetra", "tetra10"):
        return _tet_volumes(p, cells, [(0, 1, 2, 3)])
    if cell_type == "hexahedron":
        return _tet_volumes(p, cells, _HEX_TETS)
    return _tet_volumes(p, cells, _WEDGE_TETS)
