"""The stabletime command as an analyst uses it: input faults, what reaches the
library, and the report's tables and files."""
import csv
import json

import meshio
import numpy as np
import pytest

import stabletime as st
from conftest import MESHES, ROOT

try:
    import gmsh
except ImportError:  # only the sparse-tag reader test needs it
    gmsh = None

STEEL = ["--E", "210000", "--nu", "0.3", "--density", "7.85e-9"]
UNIT_HEX = np.array([[0, 0, 0], [1, 0, 0], [1, 1, 0], [0, 1, 0],
                     [0, 0, 1], [1, 0, 1], [1, 1, 1], [0, 1, 1]], float)


def _json(run_tool, *args, status=(0, 1)):
    code, out, err = run_tool(*args, "--json")
    assert code in status, err

    def refuse(name):
        raise AssertionError(f"invalid JSON constant {name}")
    return json.loads(out, parse_constant=refuse), err


def _hexes_and_quads(path, sizes=(10.0, 4.0), cell_data=None):
    """Hexahedra of the given edge lengths side by side along x, then one quad
    on the top face of the first: a solid block and a shell block."""
    points, hexes, x = [], [], 0.0
    for h in sizes:
        base = len(points)
        points += [[x + h * a, h * b, h * c] for a, b, c in UNIT_HEX]
        hexes.append(list(range(base, base + 8)))
        x += h + 1.0
    quads = [hexes[0][4:8]]
    mesh = meshio.Mesh(np.array(points), [("hexahedron", np.array(hexes)),
                                          ("quad", np.array(quads))], cell_data=cell_data or {})
    meshio.write(path, mesh)
    return path


def _bars(path, lengths, **extra):
    """Bars along x with the given lengths, end to end."""
    x = np.concatenate([[0.0], np.cumsum(lengths)])
    points = np.column_stack([x, np.zeros_like(x), np.zeros_like(x)])
    lines = np.column_stack([np.arange(len(lengths)), np.arange(1, len(lengths) + 1)])
    meshio.write(path, meshio.Mesh(points, [("line", lines)], **extra))
    return path


BAR = ["--E", "200", "--nu", "0.3", "--density", "2", "--section-area", "0.5"]


# --- input faults -----------------------------------------------------------

def test_node_numbers_past_the_node_array_give_one_line(run_tool, tmp_path):
    path = tmp_path / "past.vtu"
    points = np.array([[0, 0, 0], [1, 0, 0], [2, 0, 0]], float)
    meshio.write(path, meshio.Mesh(points, [("line", np.array([[0, 1], [1, 2], [2, 7]]))]))
    status, out, err = run_tool(path, *BAR)
    assert status == 2 and out == "" and err.count("\n") == 1
    assert "block block0" in err and "cell 3 of the block" in err and "node 7" in err


@pytest.mark.parametrize("content,message", [(b"", "the file is empty"),
                                             (b"solid text\nnot a mesh\n",
                                              "not a valid Gmsh file")])
def test_unreadable_gmsh_file_gives_our_own_line(run_tool, tmp_path, content, message):
    path = tmp_path / "broken.msh"
    path.write_bytes(content)
    status, out, err = run_tool(path, *STEEL)
    assert status == 2 and out == ""
    assert err == f"stabletime: error: cannot read {path}: {message}\n"


def test_impossible_and_negative_options(run_tool, tmp_path):
    bars = _bars(tmp_path / "bars.vtu", [1.0, 2.0])
    status, _, err = run_tool(bars, "--E", "200", "--nu", "-1", "--density", "2",
                              "--section-area", "1")
    assert status == 2 and "nu must lie in (-1, 0.5]" in err
    status, _, err = run_tool(bars, *BAR, "--bulk-scale", "-1")
    assert status == 2 and "bulk-scale must not be negative" in err
    # A negative density in exponent form parses; the library then fails every
    # element (material not usable), which is status 1, not a usage error.
    report, _ = _json(run_tool, bars, "--E", "200", "--nu", "0.3", "--density", "-7.85e-9",
                      "--section-area", "1")
    assert report["failed_count"] == 2 and report["failures"][0]["code"] == 200


def test_non_finite_increments_are_failures_and_json_stays_valid(run_tool, tmp_path):
    # nu = -1 passed raw: 2G = E/(1 + nu) is infinite, so the wave modulus is,
    # the undamped increment is 0 and 0/0 in the damping term makes it NaN.
    hexes = _hexes_and_quads(tmp_path / "m.vtu")
    status, out, err = run_tool(hexes, "--material", "raw:code=100,values=200/-1",
                                "--density", "2", "--json")
    assert status == 1, err
    report = json.loads(out, parse_constant=lambda name: pytest.fail(name))
    assert report["minimum"] is None and report["failed_count"] == 2
    assert [f["code"] for f in report["failures"]] == [None]
    assert report["failures"][0]["elements"] == [1, 2]
    status, out, _ = run_tool(hexes, "--material", "raw:code=100,values=200/-1",
                              "--density", "2")
    assert status == 1 and "non-finite increment" in out and "2 failed" in out


@pytest.mark.parametrize("mesh_cells,element,nu,message", [
    ("quad", "S4R", "0.495", "nu = 0.495 is used as 0.49"),
    ("quad", "S4R", "0.48", None),
    ("hexahedron", "C3D8R", "0.5", "3K = 2G"),
    ("hexahedron", "C3D8R", "0.45", None),
])
def test_warnings_where_the_library_limits_nu(run_tool, tmp_path, mesh_cells, element, nu,
                                              message):
    path = _hexes_and_quads(tmp_path / "m.vtu")
    status, _, err = run_tool(path, "--E", "210000", "--nu", nu, "--density", "7.85e-9",
                              "--all-blocks", "--element", f"{mesh_cells}={element}")
    assert status in (0, 1)
    if message:
        assert f"stabletime: warning: block block{0 if mesh_cells == 'hexahedron' else 1}" in err
        assert message in err
    else:
        assert "warning" not in err


def test_thickness_reaches_only_surface_types(run_tool, tmp_path):
    path = _hexes_and_quads(tmp_path / "mixed.vtu")
    common = [*STEEL, "--all-blocks", "--element", "quad=S4R", "--csv"]
    rows = {}
    for t in ("1", "4"):
        out = tmp_path / f"t{t}.csv"
        status, _, err = run_tool(path, *common, out, "--thickness", t)
        assert status == 0, err
        rows[t] = {r["number"]: r for r in csv.DictReader(out.open())}
    # Hexahedra 1 and 2 do not move; the S4R shell does. Its increment
    # sqrt(m L^2 / (M t)) has m and M both proportional to the thickness, so
    # it keeps the same value: the library multiplies mass and modulus alike.
    for number in ("1", "2"):
        assert rows["1"][number]["increment"] == rows["4"][number]["increment"]
    assert rows["1"]["3"]["type"] == "S4R"
    assert rows["1"]["3"]["increment"] == rows["4"]["3"]["increment"]
    # The same hexahedron from the API with thickness 4 is half as fast: the
    # 1/sqrt(thickness) the tool must not apply.
    cells = meshio.read(path).cells[0].data
    plain = st.compute("C3D8R", meshio.read(path).points, cells, st.Elastic(210000.0, 0.3),
                       7.85e-9)
    thick = st.compute("C3D8R", meshio.read(path).points, cells, st.Elastic(210000.0, 0.3),
                       7.85e-9, 4.0)
    assert float(rows["4"]["1"]["increment"]) == pytest.approx(float(plain.dt[0]), rel=1e-6)
    assert thick.dt[0] == pytest.approx(plain.dt[0] / 2, rel=1e-6)


def test_mass_scaling_ignores_thickness_of_solids(run_tool, tmp_path):
    path = _hexes_and_quads(tmp_path / "mixed.vtu")
    options = [*STEEL, "--element", "quad=S4R", "--all-blocks", "--target-dt", "1"]
    one, _ = _json(run_tool, path, *options)
    two, _ = _json(run_tool, path, *options, "--thickness", "2")
    blocks = {r["block"]: r for r in one["mass_scaling"]["blocks"]}
    blocks2 = {r["block"]: r for r in two["mass_scaling"]["blocks"]}
    # Solid mass: density times 10^3 + 4^3; shell mass: density times 100 times t.
    assert blocks["block0"]["mass"] == pytest.approx(7.85e-9 * (1000 + 64))
    assert blocks2["block0"]["mass"] == blocks["block0"]["mass"]
    assert blocks2["block0"]["added_mass"] == blocks["block0"]["added_mass"]
    assert blocks2["block1"]["mass"] == pytest.approx(2 * 7.85e-9 * 100)


def test_failed_cells_hold_nan_in_the_vtu(run_tool, tmp_path):
    path = tmp_path / "bad.vtu"
    points = np.array([[0, 0, 0], [1, 0, 0], [1, 0, 0]], float)
    meshio.write(path, meshio.Mesh(points, [("line", np.array([[0, 1], [1, 2]]))]))
    status, _, _ = run_tool(path, *STEEL, "--section-area", "1", "--output", tmp_path / "o.vtu")
    assert status == 1
    back = meshio.read(tmp_path / "o.vtu")
    dt, code = back.cell_data["stable_time"][0], back.cell_data["code"][0]
    assert code.tolist() == [0, 400]
    assert np.isfinite(dt[0]) and np.isnan(dt[1])


def test_default_critical_list_is_capped(run_tool, tmp_path):
    # 6000 bars: 2 % would be 120 lines; the default stops at 100.
    bars = _bars(tmp_path / "many.vtu", np.linspace(1.0, 2.0, 6000))
    report, _ = _json(run_tool, bars, *BAR)
    assert len(report["critical"]) == 100
    report, _ = _json(run_tool, bars, *BAR, "--top", "150")
    assert len(report["critical"]) == 150


def test_readme_code_table_says_what_a_bad_thickness_gives():
    quad = [[0, 0, 0], [10, 0, 0], [10, 8, 0], [0, 8, 0]]
    elastic = st.compute("S4R", quad, [[0, 1, 2, 3]], st.Elastic(210000.0, 0.3), 1.0, 0.0)
    tensor = st.compute("S4R", quad, [[0, 1, 2, 3]], st.DiagonalModulus(3e5, 3e5, 3e5), 1.0, 0.0)
    assert (elastic.code[0], tensor.code[0]) == (200, 100)
    rows = {line.split("|")[1].strip(): line for line in
            (ROOT / "README.md").read_text().splitlines() if line.startswith("| ")}
    assert "thickness" in rows["100"] and "125" in rows["100"]
    assert "thickness" in rows["200"]


# --- the report ---------------------------------------------------------------

def test_blocks_critical_details_and_csv(run_tool, tmp_path):
    out = tmp_path / "all.csv"
    report, err = _json(run_tool, MESHES / "truss.msh", *STEEL, "--section-area", "400",
                        "--csv", out, "--top", "3")
    assert f"wrote {out}: 96 elements" in err
    rows = list(csv.DictReader(out.open()))
    assert len(rows) == report["element_count"] == 96
    assert {r["type"] for r in rows} == {"T3D2"} and {r["code"] for r in rows} == {"0"}
    assert report["numbering"] == "Gmsh element tags"
    for block in report["blocks"]:
        mine = [r for r in rows if r["block"] == block["block"]]
        best = min(mine, key=lambda r: float(r["increment"]))
        assert block["count"] == len(mine)
        assert block["min"] == pytest.approx(float(best["increment"]), rel=1e-7)
        assert block["controlling_element"] == int(best["number"])
    assert {b["block"] for b in report["blocks"]} == {"chords", "braces"}
    mesh = meshio.read(MESHES / "truss.msh")
    cells = np.concatenate([b.data for b in mesh.cells if b.type == "line"])
    for c in report["critical"]:
        a, b = mesh.points[cells[c["position"] - 1]]
        assert c["centroid"] == pytest.approx(list((a + b) / 2))
        assert c["min_edge"] == pytest.approx(np.linalg.norm(a - b))


def test_critical_element_of_two_hexahedra(run_tool, tmp_path):
    # Cubes of edge 10 and 4 with own ids 101 and 205: the small one controls.
    path = _hexes_and_quads(tmp_path / "ids.vtu", cell_data={
        "element_id": [np.array([101, 205]), np.array([300])],
        "material_id": [np.array([7, 8]), np.array([9])]})
    out = tmp_path / "o.vtu"
    report, _ = _json(run_tool, path, *STEEL, "--top", "1", "--output", out)
    c = report["critical"][0]
    assert (c["element"], c["position"], c["type"]) == (205, 2, "C3D8R")
    assert c["centroid"] == pytest.approx([11 + 2, 2, 2]) and c["min_edge"] == pytest.approx(4)
    assert report["numbering"] == "the file's cell data element_id"
    back = meshio.read(out)
    assert back.cell_data["material_id"][0].tolist() == [7, 8]
    assert back.cell_data["block"][0].tolist() == [0, 0]
    assert back.cell_data["element_type"][1].tolist() == [-1]  # quad block not analysed


def test_safety_factor_scales_increments_and_mass_scaling(run_tool, tmp_path):
    bars = _bars(tmp_path / "bars.vtu", [1.0, 2.0, 4.0])
    plain, _ = _json(run_tool, bars, *BAR, "--target-dt", "0.3")
    half, _ = _json(run_tool, bars, *BAR, "--target-dt", "0.15", "--scale-factor", "0.5")
    # Halving float32 increments is exact, so the values agree bit for bit.
    assert [c["dt"] for c in half["critical"]] == [c["dt"] / 2 for c in plain["critical"]]
    # A target of 0.15 at factor 0.5 asks every element for 0.3 unscaled.
    assert half["mass_scaling"]["total"] == plain["mass_scaling"]["total"]
    assert half["scale_factor"] == 0.5
    status, _, err = run_tool(bars, *BAR, "--scale-factor", "1.5")
    assert status == 2 and "--scale-factor" in err


def test_cap_sweep_and_most_scaled(run_tool, tmp_path):
    # Bars of length 1 and 2, increments dt1 < dt2: at target dt2 only the
    # short bar is scaled, by (dt2/dt1)^2, about 4; its mass is a third.
    bars = _bars(tmp_path / "two.vtu", [1.0, 2.0])
    dt = st.compute("T3D2", [[0, 0, 0], [1, 0, 0], [3, 0, 0]], [[0, 1], [1, 2]],
                    st.Elastic(200.0, 0.3), 2.0, section_area=0.5).dt.astype(float)
    target = repr(float(dt[1]))
    report, err = _json(run_tool, bars, *BAR, "--target-dt", target, "--sweep",
                        f"{dt[0] / 2!r},{target}", "--max-added-mass", "50")
    expected = 100 * ((dt[1] / dt[0]) ** 2 - 1) / 3
    low, high = report["sweep"]
    assert (low["scaled"], low["added_mass"]) == (0, 0.0)
    assert high["scaled"] == 1 and high["added_percent"] == pytest.approx(expected, rel=1e-5)
    assert high["over_cap"] == bool(expected > 50) and "above the cap" in err
    most = report["mass_scaling"]["most_scaled"]
    assert [m["element"] for m in most] == [1]
    assert most[0]["factor"] == pytest.approx((dt[1] / dt[0]) ** 2, rel=1e-5)


def test_text_report_lists_blocks_and_confirms_files(run_tool, tmp_path):
    status, out, _ = run_tool(MESHES / "truss.msh", *STEEL, "--section-area", "400",
                              "--top", "2", "--plot", tmp_path / "h.png", "--csv",
                              tmp_path / "a.csv")
    assert status == 0
    lines = out.splitlines()
    assert any(line.startswith("chords ") for line in lines)
    assert sum(line.startswith("wrote ") for line in lines) == 2
    assert "Element numbers: Gmsh element tags." in lines


def test_histogram_axes(monkeypatch, tmp_path):
    import matplotlib.pyplot as plt
    from stabletime import cli
    seen = {}
    monkeypatch.setattr(plt, "close", lambda fig: seen.setdefault("fig", fig))
    table = {"dt": np.float32([1e-6, 2e-6, 2e-6, 5e-6]), "code": np.zeros(4, np.int32),
             "type": np.int32([0, 0, 1, 1]), "type_names": ["C3D8R", "S4R"]}
    cli.plot_histogram(tmp_path / "h.png", {"mesh": "m.vtu", "scale_factor": 1.0}, table)
    ax = seen["fig"].axes[0]
    assert ax.get_yscale() == "log" and ax.get_xscale() == "log"
    assert ax.get_xlabel() == "time increment, model time units"
    labels = ax.get_legend_handles_labels()[1]
    assert "C3D8R" in labels and "S4R" in labels


def test_progress_counts_reading_as_half(monkeypatch, capsys):
    from stabletime.cli import _Progress
    import sys
    monkeypatch.setattr(sys.stderr, "isatty", lambda: True, raising=False)
    bar = _Progress(0, active=True)
    bar.stage("reading")
    bar.stage("read")
    bar.start_counting(10)
    bar(10)
    err = capsys.readouterr().err
    assert "\r[" + "." * 40 + "] reading\r" in err
    assert "#" * 20 + "." * 20 + "] read\r" in err
    assert err.endswith("#" * 40 + "] increments 10/10\n")


# --- readers ------------------------------------------------------------------

def _mixed_mesh():
    """Two hexahedra, then a wedge, then a hexahedron again (three runs of cell
    types), with cell data of two kinds and nodes not all used."""
    points = np.vstack([UNIT_HEX + [2.0 * i, 0, 0] for i in range(4)])
    hexes = np.arange(24).reshape(3, 8)
    wedge = np.array([[24, 25, 26, 28, 29, 30]])
    cells = [("hexahedron", hexes[:2]), ("wedge", wedge), ("hexahedron", hexes[2:])]
    data = {"material_id": [np.array([3, 4]), np.array([5]), np.array([6])],
            "weight": [np.array([0.5, 1.5]), np.array([2.5]), np.array([3.5])]}
    return meshio.Mesh(points, cells, cell_data=data)


@pytest.mark.parametrize("compression", [None, "zlib"])
def test_vtu_reader_agrees_with_meshio(tmp_path, compression):
    from stabletime import readers
    path = tmp_path / "mixed.vtu"
    meshio.write(path, _mixed_mesh(), binary=True, compression=compression)
    ours, theirs = readers._read_vtu(str(path)).mesh, meshio.read(path)
    assert np.array_equal(ours.points, theirs.points)
    assert [(b.type, b.data.tolist()) for b in ours.cells] == \
        [(b.type, b.data.tolist()) for b in theirs.cells]
    for key in ("material_id", "weight"):
        assert [a.tolist() for a in ours.cell_data[key]] == \
            [a.tolist() for a in theirs.cell_data[key]]


def test_vtu_reader_leaves_other_layouts_to_meshio(tmp_path):
    from stabletime import readers
    path = tmp_path / "ascii.vtu"
    meshio.write(path, _mixed_mesh(), binary=False)
    with pytest.raises(readers._Unsupported):
        readers._read_vtu(str(path))
    assert [b.type for b in readers.read(str(path)).mesh.cells] == [
        "hexahedron", "wedge", "hexahedron"]


@pytest.mark.skipif(gmsh is None, reason="python3-gmsh not installed")
def test_binary_msh_reader_maps_sparse_tags(tmp_path, monkeypatch):
    # Node tags 10, 20, ... and element tags 7 and 9: the numpy reader must map
    # node tags to rows and keep the element tags, as Gmsh's own reader does.
    import gmsh
    from stabletime import readers
    path = tmp_path / "sparse.msh"
    gmsh.initialize(["-noenv"])
    try:
        gmsh.option.setNumber("General.Terminal", 0)
        gmsh.model.add("sparse")
        volume = gmsh.model.addDiscreteEntity(3)
        gmsh.model.setPhysicalName(3, gmsh.model.addPhysicalGroup(3, [volume]), "part")
        coords = [0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 1, 1, 1, 1]
        gmsh.model.mesh.addNodes(3, volume, [10, 20, 30, 40, 50], coords)
        gmsh.model.mesh.addElementsByType(volume, 4, [7, 9], [10, 20, 30, 40, 20, 30, 40, 50])
        gmsh.option.setNumber("Mesh.Binary", 1)
        gmsh.write(str(path))
    finally:
        gmsh.finalize()
    ours = readers._read_msh41_binary(str(path))
    monkeypatch.setenv("STABLETIME_READER", "gmsh")
    theirs = readers.read(str(path))
    assert ours.ids[0].tolist() == theirs.ids[0].tolist() == [7, 9]
    rows = [ours.mesh.points[c].tolist() for c in ours.mesh.cells[0].data]
    assert rows == [theirs.mesh.points[c].tolist() for c in theirs.mesh.cells[0].data]
    assert rows[1][3] == [1, 1, 1]
    assert list(ours.mesh.cell_sets) == ["part"]
