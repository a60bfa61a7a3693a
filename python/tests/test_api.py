import numpy as np
import pytest

import stabletime as st
from stabletime import core

RNG = np.random.default_rng(7)
STEEL = st.Elastic(210000.0, 0.3)
TET = [[0, 0, 0], [10, 0, 0], [0, 10, 0], [0, 0, 10]]
HEX = [[x, y, z] for z in (0, 10) for x, y in ((0, 0), (10, 0), (10, 10), (0, 10))]
QUAD = [[0, 0, 0], [10, 0, 0], [10, 8, 0], [0, 8, 0]]
TRI = [[0, 0, 0], [10, 0, 0], [0, 8, 0]]
WEDGE = TRI + [[x, y, 10] for x, y, _ in TRI]

# One name of every family: nodes of one element, then options.
FAMILIES = [
    ("T3D2", [[0, 0, 0], [1000, 200, 0]], {"section_area": 400.0}),
    ("T2D2", [[0, 0, 0], [700, 300, 0]], {"section_area": 25.0, "alpha": 0.1, "beta": 1e-7}),
    ("B31", [[0, 0, 0], [100, 0, 0]], {"section_area": 50.0}),
    ("C3D4", TET, {}),
    ("C3D8R", HEX, {"bulk_scale": 2.0}),
    ("C3D6", WEDGE, {}),
    ("CPS4R", QUAD, {"thickness": 2.0}),
    ("CAX3", TRI, {}),
    ("M3D4R", QUAD, {"thickness": 0.5}),
    ("S4R", QUAD, {"thickness": 1.5}),
    ("COH3D8", HEX, {"cohesive": (1.0, -1.0), "thickness": 0.1}),
    ("AC3D8R", HEX, {}),
]


def _mesh(nodes, copies):
    """copies of one element, moved apart and perturbed, as (nodes, connectivity)."""
    base = np.asarray(nodes, np.float64)
    all_nodes = np.concatenate([base * RNG.uniform(0.8, 1.2, base.shape) + 50.0 * i
                                for i in range(copies)]).astype(np.float32)
    conn = np.arange(copies * len(base), dtype=np.int32).reshape(copies, len(base))
    return all_nodes, conn


@pytest.mark.parametrize("name,nodes,options", FAMILIES, ids=[f[0] for f in FAMILIES])
def test_compute_is_bit_identical_to_the_c_entry(direct, name, nodes, options):
    xyz, conn = _mesh(nodes, 300)
    density = RNG.uniform(1e-9, 8e-9, len(conn)).astype(np.float32)
    density[5] = 0.0  # one failing element
    material = st.AcousticFluid(2200.0, 0.0) if name.startswith("AC") else STEEL
    o = dict(dict(thickness=None, bulk_scale=1.0, section_area=None, alpha=0.0, beta=0.0,
                  cohesive=None), **options)
    got = st.compute(name, xyz, conn, material, density, **o)
    code, props = st.materials.resolve(material, acoustic=name.startswith("AC"))
    thickness = None if o["thickness"] is None else np.full(len(conn), o["thickness"])
    dt, codes, result = direct(name, xyz, conn, code, props, density, thickness, o["bulk_scale"],
                               [o["section_area"] or 0.0, o["alpha"], o["beta"]], o["cohesive"])
    assert got.dt.tobytes() == dt.tobytes() and np.array_equal(got.code, codes)
    assert got.call_code == result and got.code[5] != 0


# Upper triangle by columns of a stiffness with diagonal 100..600 and small,
# distinct off-diagonal entries: diagonally dominant, so positive definite.
ANISO = [100, 1, 200, 2, 3, 300, 4, 5, 6, 400, 7, 8, 9, 10, 500, 11, 12, 13, 14, 15, 600]
# Property arrays against the layouts of the public header.
MATERIALS = [
    (st.Elastic(1.0, 0.25), 100, [1.0, 0.25]),
    (st.OrthotropicStiffness(9, 2, 8, 3, 1, 7, 4, 5, 6), 101, [9, 2, 8, 3, 1, 7, 4, 5, 6]),
    (st.Lamina(1, 2, 0.3, 4, 5, 6), 102, [1, 2, 0.3, 4, 5, 6]),
    (st.EngineeringConstants(1, 2, 3, 0.1, 0.2, 0.3, 7, 8, 9), 9001,
     [1, 2, 3, 0.1, 0.2, 0.3, 7, 8, 9]),
    (st.AnisotropicStiffness(ANISO), 103, ANISO),
    (st.AnisotropicStiffness(np.diag([10, 20, 30, 40, 50, 60]) +
                             3 * (np.eye(6, k=1) + np.eye(6, k=-1))),
     103, [10, 3, 20, 0, 3, 30, 0, 0, 3, 40, 0, 0, 0, 3, 50, 0, 0, 0, 0, 3, 60]),
    (st.Polynomial([1.5, 0.5, 7, 8], 0.01), 105, [2, 1.5, 0.5, 7, 8, 0.01]),
    (st.Ogden([1, 2], [3, 4], 0.5), 107, [2, 1, 3, 2, 4, 0.5]),
    (st.Foam([1, 2], [3, 4], [0.1, 0.2]), 109, [2, 1, 3, 2, 4, 0.1, 0.2]),
    (st.ArrudaBoyce(1.0, 7.0, 0.2), 118, [0, 1.0, 7.0, 0.2]),
    (st.FiveConstant(3.0, 0.4), 119, [0, 3.0, 0, 0, 0, 0.4]),
    (st.DiagonalModulus(1, 2, 3), 125, [1, 2, 3]),
    (st.SymmetricModulus2D(3e5, 1e5, 2e4), 126, [3e5, 1e5, 2e4]),
    (st.SymmetricModulus(10, 20, 30, 4, 5, 6), 126, [10, 20, 30, 4, 5, 6]),
    (st.Raw(100, [5.0, 0.1]), 100, [5.0, 0.1]),
    # The edges of the valid ranges: incompressible, auxetic near -1, no
    # locking, no compressibility; raw constants go through unchecked.
    (st.Elastic(1.0, 0.5), 100, [1.0, 0.5]), (st.Elastic(1.0, -0.999), 100, [1.0, -0.999]),
    (st.ArrudaBoyce(1.0, 0.0), 118, [0, 1.0, 0.0]), (st.Raw(100, [-1.0, 0.3]), 100, [-1.0, 0.3]),
    (st.Polynomial([0.5, 0.0], 0.0), 105, [1, 0.5, 0.0, 0.0]),
    ((9001, list(range(9))), 9001, list(range(9))),
]


@pytest.mark.parametrize("material,code,props", MATERIALS)
def test_material_code_and_layout(material, code, props):
    got_code, got_props = st.materials.resolve(material, planar=code in (125, 126))
    assert got_code == code and got_props.dtype == np.float32
    assert np.array_equal(got_props[:len(props)], np.float32(props))
    assert not got_props[len(props):].any()


def test_threaded_equals_single_threaded():
    count = 100_000
    nodes = RNG.uniform(0, 1000, (count + 1, 3)).astype(np.float32)
    conn = np.column_stack([np.arange(count), np.arange(1, count + 1)]).astype(np.int32)
    conn[[17, 40_000, 99_999], 1] = conn[[17, 40_000, 99_999], 0]  # zero length
    density = RNG.uniform(1e-9, 1e-8, count).astype(np.float32)
    density[[5, 70_001]] = -1.0
    one, many, wide = (st.compute("T3D2", nodes, c, STEEL, density, section_area=10.0, threads=t)
                       for c, t in ((conn, 1), (conn, 4), (conn.astype(np.int64), 3)))
    assert one.dt.tobytes() == many.dt.tobytes() == wide.dt.tobytes()
    assert np.array_equal(one.code, many.code) and np.array_equal(one.code, wide.code)
    assert one.call_code == many.call_code == 200
    groups = many.failures()
    assert list(groups) == [st.Code.MATERIAL_UNUSABLE, st.Code.GEOMETRY_DEGENERATE]
    assert groups[st.Code.GEOMETRY_DEGENERATE].tolist() == [17, 40_000, 99_999]


def test_chunks_share_the_inputs_and_start_on_batch_boundaries(monkeypatch):
    calls = []
    monkeypatch.setattr(st.core._library, "load", lambda: lambda *a: calls.append(a) or 0)
    count = 3 * core.MIN_CHUNK + 5
    nodes, conn = np.zeros((2, 3), np.float32), np.zeros((count, 2), np.int32)
    density, thickness = np.ones(count, np.float32), np.ones(count, np.float32)
    st.compute("T3D2", nodes, conn, STEEL, density, thickness, section_area=1.0, threads=3)
    address = lambda p: st.core.ctypes.cast(p, st.core.ctypes.c_void_p).value  # noqa: E731
    starts = sorted((address(a[4]) - conn.ctypes.data) // 8 for a in calls)
    assert len(starts) > 1 and sum(a[2] for a in calls) == count
    assert all(start % core.BATCH == 0 for start in starts)
    # Contiguous float32 and int32 inputs reach the library without copies.
    (first,) = [a for a in calls if address(a[4]) == conn.ctypes.data]
    assert [address(first[k]) for k in (3, 7, 8)] == [
        nodes.ctypes.data, density.ctypes.data, thickness.ctypes.data]
    # A bad node in a late chunk stops every chunk before the library.
    bad, made = conn.astype(np.int64), len(calls)
    bad[count - 2, 1], bad[count - 1, 0] = 2, -1  # only nodes 0 and 1 exist
    for threads in (1, 3):
        with pytest.raises(ValueError, match=f"element {count - 2} refers to node 2"):
            st.compute("T3D2", nodes, bad, STEEL, 1.0, section_area=1.0, threads=threads)
    assert len(calls) == made


@pytest.fixture
def no_library(monkeypatch):
    def forbidden():
        raise AssertionError("the library was reached")
    monkeypatch.setattr(st.core._library, "load", forbidden)


NODES = np.zeros((4, 3), np.float32)
GOOD = dict(element_type="T3D2", nodes=NODES, connectivity=[[0, 1], [2, 3]], material=STEEL,
            density=1.0, section_area=1.0)
BAD_INPUTS = [
    ({"element_type": "t3d2"}, ValueError, "did you mean 'T3D2'"),
    ({"element_type": "XYZ9"}, ValueError, "element_type 'XYZ9'"),
    ({"element_type": 5}, TypeError, "element_type"),
    ({"nodes": np.zeros((4, 4))}, ValueError, "nodes must have shape"),
    ({"nodes": np.zeros(12)}, ValueError, "nodes must have shape"),
    ({"connectivity": [[0, 1, 2]]}, ValueError, "shape (elements, 2)"),
    ({"connectivity": np.zeros((0, 2), int)}, ValueError, "no elements"),
    ({"element_type": "C3D4", "nodes": np.zeros((4, 2)), "connectivity": [[0, 1, 2, 3]]},
     ValueError, "need three coordinates"),
    ({"connectivity": [[0, 1], [2, 4]]}, ValueError, "element 1 refers to node 4"),
    ({"connectivity": [[0, 1], [-1, 3]]}, ValueError, "element 1 refers to node -1"),
    ({"connectivity": [[0, 1], [2.5, 3]]}, TypeError, "integers"),
    ({"density": [1.0, 2.0, 3.0]}, ValueError, "density must be a scalar"),
    ({"density": None}, TypeError, "density is required"),
    ({"density": "heavy"}, TypeError, "density"),
    ({"thickness": np.ones((2, 2))}, ValueError, "thickness"),
    ({"section_area": None}, ValueError, "section_area is required for T3D2"),
    ({"cohesive": [1.0]}, ValueError, "cohesive"),
    ({"threads": 0}, ValueError, "threads"),
    ({"bulk_scale": "1"}, TypeError, "bulk_scale"),
    ({"material": (104, [1.0, 2.0])}, ValueError, "104 is not a known material"),
    ({"material": (100, [1.0])}, ValueError, "needs 2 properties"),
    ({"material": (105, [-1.0, 1.0, 1.0])}, ValueError, "negative term count"),
    ({"material": (107, [3.0, 1.0, 1.0])}, ValueError, "needs 8 properties"),
    ({"material": (109, [np.nan])}, ValueError, "finite"),
    ({"material": "steel"}, TypeError, "material must be"),
    ({"material": (100, ["a", "b"])}, TypeError, "material props"),
    ({"material": st.AcousticFluid(1.0)}, TypeError, "acoustic"),
    ({"material": st.SymmetricModulus2D(3, 2, 1)}, TypeError, "planar element types"),
    ({"material": (126, [1.0, 2.0, 3.0])}, ValueError, "needs 6 properties"),
]


@pytest.mark.parametrize("change,error,message", BAD_INPUTS)
def test_bad_input_is_refused_before_the_library(no_library, change, error, message):
    with pytest.raises(error) as info:
        st.compute(**dict(GOOD, **change))
    assert message in str(info.value)


# Constants no material can have, each refused when the material is made.
# A string is a TypeError even where it would convert to a number.
IMPOSSIBLE = [
    (lambda: st.Elastic("210000", 0.3), TypeError, "Elastic.E"),
    (lambda: st.Elastic(210000.0, True), TypeError, "Elastic.nu"),
    (lambda: st.Ogden([1.0, "2"], [2.0, 3.0]), TypeError, "Ogden.mu"),
    (lambda: st.Elastic(0.0, 0.3), ValueError, "E must be greater than zero"),
    (lambda: st.Elastic(210000.0, -1.0), ValueError, "nu must lie in (-1, 0.5]"),
    (lambda: st.Elastic(210000.0, 0.5000001), ValueError, "nu must lie"),
    (lambda: st.Elastic(np.nan, 0.3), ValueError, "finite"),
    # Orthotropic stiffness with D1122^2 > D1111 D2222: a strain (1, -1, 0) gives
    # negative energy 1 - 2*2 + 1 < 0.
    (lambda: st.OrthotropicStiffness(1, 2, 1, 0, 0, 1, 1, 1, 1), ValueError, "positive definite"),
    (lambda: st.Lamina(1.0, 4.0, 0.5, 1, 1, 1), ValueError, "nu12^2 must be below E1/E2"),
    (lambda: st.Lamina(1.0, 1.0, 0.2, 1, 0, 1), ValueError, "G13"),
    # nu12 = nu13 = nu23 = 0.6 with equal moduli: the compliance has eigenvalue
    # (1 - 2*0.6)/E < 0 for the strain (1, 1, 1).
    (lambda: st.EngineeringConstants(1, 1, 1, 0.6, 0.6, 0.6, 1, 1, 1), ValueError,
     "compliance matrix"),
    (lambda: st.AnisotropicStiffness(-np.eye(6)), ValueError, "positive definite"),
    (lambda: st.AnisotropicStiffness(np.arange(20)), ValueError, "21 entries"),
    (lambda: st.Polynomial([0.5, -0.5], 0.1), ValueError, "2(C10 + C01)"),
    (lambda: st.Polynomial([0.5, 0.1], -0.1), ValueError, "D1 must not be negative"),
    (lambda: st.Ogden([1.0], [2.0, 3.0]), ValueError, "needs 1 values"),
    (lambda: st.Ogden([1.0, 1.0], [2.0, -3.0]), ValueError, "mu_k * alpha_k"),
    (lambda: st.Foam([1.0], [2.0], [-1.0]), ValueError, "nu must lie"),
    (lambda: st.ArrudaBoyce(1.0, 0.5), ValueError, "locking stretch"),
    (lambda: st.ArrudaBoyce(-1.0, 7.0), ValueError, "mu must be greater than zero"),
    (lambda: st.FiveConstant(1.0, -2.0), ValueError, "D must not be negative"),
    (lambda: st.DiagonalModulus(1.0, 0.0), ValueError, "A22"),
    # Principal values of [[1, 2], [2, 1]] are 3 and -1.
    (lambda: st.SymmetricModulus2D(1, 1, 2), ValueError, "positive definite"),
    (lambda: st.SymmetricModulus(1, 1, 1, 0, 0, 2), ValueError, "positive definite"),
    (lambda: st.AcousticFluid(-5.0), ValueError, "bulk_modulus"),
]


@pytest.mark.parametrize("make,error,message", IMPOSSIBLE)
def test_impossible_material_constants_are_refused(make, error, message):
    with pytest.raises(error) as info:
        make()
    assert message in str(info.value)

