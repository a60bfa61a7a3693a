"""The stabletime command as an analyst uses it: bad input, what reaches the
library, the report's tables and files, and the mesh readers."""
import base64
import csv
import importlib.util
import json
import re
import subprocess
import sys
import textwrap
import zlib

import meshio
import numpy as np
import pytest

import stabletime as st
from conftest import MESHES, ROOT, library_path, shuffled_tags

STEEL = ["--E", "210000", "--nu", "0.3", "--density", "7.85e-9"]
BAR = ["--E", "200", "--nu", "0.3", "--density", "2", "--section-area", "0.5"]
TRUSS = [MESHES / "truss.msh", *STEEL, "--section-area", "400"]
UNIT_HEX = np.float64([[x, y, z] for z in (0, 1) for x, y in ((0, 0), (1, 0), (1, 1), (0, 1))])
BUNDLED = [("bracket.msh", [], "C3D4"), ("plate_hole.msh", ["--thickness", "2"], "S4R"),
           ("block.msh", [], "C3D8R"),
           ("truss.msh", ["--section-area", "400", "--set", "braces.section_area=100"], "T3D2")]


def _json(run_tool, *args):
    status, out, err = run_tool(*args, "--json")
    assert status in (0, 1), err
    return json.loads(out, parse_constant=pytest.fail), err  # NaN or Infinity is not JSON


def _bars(path, lengths, points=None):
    """Bars along x of the given lengths, end to end (or lines between given points)."""
    if points is None:
        x = np.concatenate([[0.0], np.cumsum(lengths)])
        points = np.column_stack([x, 0 * x, 0 * x])
    lines = np.column_stack([np.arange(len(points) - 1), np.arange(1, len(points))])
    meshio.write(path, meshio.Mesh(np.asarray(points, float), [("line", lines)]))
    return path


def _hexes_and_quads(path, sizes=((10, 10, 10), (4, 4, 4)), cell_data=None):
    """Boxes of the given edges side by side along x (block0), then one quad on
    the top face of the first (block1)."""
    points, hexes, x = [], [], 0.0
    for size in sizes:
        hexes.append(list(range(len(points), len(points) + 8)))
        points += [[x + a, b, c] for a, b, c in UNIT_HEX * size]
        x += size[0] + 1.0
    meshio.write(path, meshio.Mesh(np.array(points), [("hexahedron", np.array(hexes)),
                                                      ("quad", np.array([hexes[0][4:]]))],
                                   cell_data=cell_data or {}))
    return path


@pytest.fixture(scope="module")
def files(tmp_path_factory):
    d = tmp_path_factory.mktemp("files")
    (d / "empty.msh").write_bytes(b"")
    (d / "text.msh").write_text("solid text\nnot a mesh\n")
    (d / "cut.msh").write_bytes((MESHES / "truss.msh").read_bytes()[:2000])
    (d / "bad.toml").write_text("density = [\n")
    # Node 3 is one past the last of the 3 nodes.
    meshio.write(d / "past.vtu", meshio.Mesh(np.eye(3), [("line", np.array([[0, 1], [1, 3]]))]))
    return {"dir": d, "truss": MESHES / "truss.msh", "bars": _bars(d / "bars.vtu", [1, 2])}


# --- bad usage and bad input: status 2, one line on stderr, nothing on stdout -----------------

T = ["{truss}", *STEEL, "--section-area", "1"]
BAD_USAGE = [
    (["missing.msh"], "no such file"),
    (["{dir}/empty.msh", *STEEL], "cannot read {dir}/empty.msh: the file is empty\n"),
    (["{dir}/text.msh", *STEEL], "cannot read {dir}/text.msh: not a valid Gmsh file\n"),
    (["{dir}/cut.msh", *STEEL], "cannot read {dir}/cut.msh: not a valid Gmsh file\n"),
    (["{dir}/past.vtu", *BAR], "block block0: cell 2 of the block (element 2) uses node 3,"),
    (["{truss}", "--density", "1", "--section-area", "1"], "no material"),
    (["{truss}", "--E", "1", "--section-area", "1"], "--E and --nu go together"),
    (["{truss}", "--E", "1", "--nu", "0.3", "--section-area", "1"], "no density"),
    (["{bars}", "--E", "200", "--nu", "-1", "--density", "2"], "nu must lie in (-1, 0.5]"),
    (["{truss}", *STEEL], "needs a section area"),
    ([*T, "--element", "line=C3D4"], "has 4 nodes"),
    ([*T, "--element", "line=T9"], "unknown element"),
    ([*T, "--set", "tower.density=1"], "no block"),
    ([*T, "--set", "braces.colour=1"], "unknown setting"),
    ([*T, "--target-dt", "-1"], "target dt"),
    ([*T, "--bulk-scale", "-1"], "bulk-scale must not be negative"),
    ([*T, "--scale-factor", "1.5"], "--scale-factor must lie in (0, 1]"),
    (["{truss}", "--material", "rubber:mu=1", "--density", "1"], "unknown material type"),
    (["{truss}", "--material", "ogden:mu=1/2,alpha=3", "--density", "1"], "needs 2 values"),
    (["{truss}", *STEEL, "--density", "x"], "invalid float"),
    ([*T, "--top", "-3"], "--top"),
    ([*T, "--factors"], "--factors needs --output"),
    ([*T, "--factors", "--output", "x.vtu"], "--factors needs a target"),
    (["{truss}", *STEEL, "--config", "{dir}/bad.toml"], "config"),
    ([*T, "--sweep", "1e-4,-2"], "--sweep"),
    ([*T, "--max-added-mass", "-1"], "--max-added-mass"),
]


@pytest.mark.parametrize("args,message", BAD_USAGE)
def test_bad_usage_ends_with_status_2(run_tool, files, args, message):
    status, out, err = run_tool(*[a.format(**files) for a in args])
    assert status == 2 and out == "" and err.count("\n") == 1
    assert err.startswith("stabletime: error: ") and message.format(**files) in err


def test_module_entry_runs_without_traceback():
    env = {"STABLETIME_LIBRARY": library_path(), "PYTHONPATH": str(ROOT / "python")}
    run = lambda *a: subprocess.run([sys.executable, "-m", "stabletime", *map(str, a)],  # noqa
                                    capture_output=True, text=True, env=env)
    ok, bad = run(*TRUSS), run(TRUSS[0], "--bogus")
    assert ok.returncode == 0 and "Model minimum" in ok.stdout
    assert bad.returncode == 2 and "Traceback" not in bad.stderr and "--bogus" in bad.stderr
    # A reader that closes the pipe first (as `| head` does) ends the run quietly.
    closed = subprocess.Popen([sys.executable, "-m", "stabletime", *map(str, TRUSS)], env=env,
                              stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
    closed.stdout.close()
    err = closed.stderr.read()
    assert closed.wait() == 0 and "Traceback" not in err and "Broken pipe" not in err


# --- failures: status 1 ---------------------------------------------------------------------

@pytest.mark.filterwarnings("ignore:invalid value encountered")
@pytest.mark.parametrize("mesh,options,failures,text", [
    ("bad", [*STEEL, "--section-area", "1"], [(400, [2])], "code 400 (geometry degenerate"),
    # A negative density in exponent form parses; the library fails it as a material.
    ("bars", [*BAR[:4], "--density", "-7.85e-9", "--section-area", "1"], [(200, [1, 2])],
     "code 200 (material"),
    # nu = -1 passed raw: 2G = E/(1 + nu) is infinite, the increment 0/0.
    ("hexes", ["--material", "raw:code=100,values=200/-1", "--density", "2"], [(None, [1, 2])],
     "non-finite increment"),
    # An infinite density: NaN increments, and infinite masses in mass scaling.
    ("hexes", [*BAR[:4], "--density", "inf", "--target-dt", "1", "--sweep", "1"],
     [(None, [1, 2])], "non-finite increment")])
def test_failed_elements_give_status_1_valid_json_and_nan_cells(run_tool, tmp_path, files, mesh,
                                                                 options, failures, text):
    path = {"bad": _bars(tmp_path / "bad.vtu", None, [[0, 0, 0], [1, 0, 0], [1, 0, 0]]),
            "bars": files["bars"], "hexes": _hexes_and_quads(tmp_path / "m.vtu")}[mesh]
    report, _ = _json(run_tool, path, *options, "--output", tmp_path / "o.vtu")
    assert [(f["code"], f["elements"]) for f in report["failures"]] == failures
    failed = sorted(sum((elements for _, elements in failures), []))
    assert report["failed_count"] == len(failed)
    assert (report["minimum"] is None) == (failed == [1, 2])
    dt = meshio.read(tmp_path / "o.vtu").cell_data["stable_time"][0]
    assert (np.flatnonzero(np.isnan(dt)) + 1).tolist() == failed
    status, out, _ = run_tool(path, *options)
    assert status == 1 and text in out and f"{len(failed)} failed" in out


@pytest.mark.parametrize("cells,element,nu,message", [
    ("quad", "S4R", "0.495", "block block1 (S4R): nu = 0.495 is used as 0.49"),
    ("quad", "S4R", "0.48", None),
    ("hexahedron", "C3D8R", "0.5", "block block0 (C3D8R): nu = 0.5 is not taken as "
                                   "incompressible: the bulk modulus is set to 2G/3 (3K = 2G)"),
    ("hexahedron", "C3D8R", "0.45", None),
])
def test_warnings_where_the_library_limits_nu(run_tool, tmp_path, cells, element, nu, message):
    status, _, err = run_tool(_hexes_and_quads(tmp_path / "m.vtu"), *STEEL[:2], "--nu", nu,
                              *STEEL[4:], "--all-blocks", "--element", f"{cells}={element}")
    assert status in (0, 1)
    assert (f"stabletime: warning: {message}" in err) if message else "warning" not in err


def test_thickness_reaches_only_surface_types(run_tool, tmp_path):
    path = _hexes_and_quads(tmp_path / "mixed.vtu")
    rows, masses = {}, {}
    for t in ("1", "4"):
        report, _ = _json(run_tool, path, *STEEL, "--all-blocks", "--element", "quad=S4R",
                          "--csv", tmp_path / f"{t}.csv", "--thickness", t, "--target-dt", "1")
        rows[t] = {r["number"]: r["increment"]
                   for r in csv.DictReader(open(tmp_path / f"{t}.csv"))}
        masses[t] = {r["block"]: r["mass"] for r in report["mass_scaling"]["blocks"]}
    # The hexahedra 1, 2 keep their increments; so does the S4R shell 3, whose
    # mass and stiffness are both proportional to the thickness.
    assert rows["1"] == rows["4"] and len(rows["1"]) == 3
    # Solid mass: density times 10^3 + 4^3; shell mass: density times 100 t.
    assert masses["1"]["block0"] == masses["4"]["block0"] == pytest.approx(7.85e-9 * 1064)
    assert masses["4"]["block1"] == pytest.approx(4 * 7.85e-9 * 100)
    # The library given thickness 4 for the hexahedron halves its increment.
    cells, points = meshio.read(path).cells[0].data, meshio.read(path).points
    plain = st.compute("C3D8R", points, cells, st.Elastic(210000.0, 0.3), 7.85e-9)
    thick = st.compute("C3D8R", points, cells, st.Elastic(210000.0, 0.3), 7.85e-9, 4.0)
    assert float(rows["4"]["1"]) == pytest.approx(float(plain.dt[0]), rel=1e-6)
    assert thick.dt[0] == pytest.approx(plain.dt[0] / 2, rel=1e-6)
    # A zero thickness fails the elastic shell as a material and the modulus
    # tensor as a section, as the README's table of codes says.
    quad = [[0, 0, 0], [10, 0, 0], [10, 8, 0], [0, 8, 0]]
    elastic = st.compute("S4R", quad, [[0, 1, 2, 3]], st.Elastic(210000.0, 0.3), 1.0, 0.0)
    tensor = st.compute("S4R", quad, [[0, 1, 2, 3]], st.DiagonalModulus(3e5, 3e5, 3e5), 1.0, 0.0)
    assert (elastic.code[0], tensor.code[0]) == (200, 100)
    codes = {line.split("|")[1].strip(): line for line in
             (ROOT / "README.md").read_text().splitlines() if line.startswith("| ")}
    assert "thickness" in codes["100"] and "125" in codes["100"] and "thickness" in codes["200"]


# --- the report and its files ------------------------------------------------------------

@pytest.mark.parametrize("mesh,options,element", BUNDLED, ids=[b[0] for b in BUNDLED])
def test_bundled_mesh_report_vtu_and_mass_factors(run_tool, tmp_path, mesh, options, element):
    first, _ = _json(run_tool, MESHES / mesh, *STEEL, *options, "--output", tmp_path / "a.vtu")
    assert [row["element"] for row in first["types"]] == [element]
    assert first["minimum"] is not None, "every element failed"
    back = meshio.read(tmp_path / "a.vtu")
    dt, code = (np.concatenate(back.cell_data[k]) for k in ("stable_time", "code"))
    fine = np.flatnonzero(code == 0)
    assert first["failed_count"] == len(dt) - len(fine)
    assert (first["minimum"]["dt"], first["minimum"]["element"]) == (
        float(dt[fine].min()), fine[np.argmin(dt[fine])] + 1)
    critical = [c["dt"] for c in first["critical"]]
    assert len(critical) == min(len(fine), max(20, int(np.ceil(0.02 * len(dt)))))
    assert critical == sorted(critical)
    # Mass factors for three times the minimum, checked by recomputing every
    # scaled element with its density times its factor.
    target = 3.0 * first["minimum"]["dt"]
    report, _ = _json(run_tool, MESHES / mesh, *STEEL, *options, "--target-dt", target,
                      "--output", tmp_path / "f.vtu", "--factors")
    back = meshio.read(tmp_path / "f.vtu")
    factor = np.concatenate(back.cell_data["mass_factor"])
    scaled = (factor > 1) & (code == 0)
    assert scaled.sum() == report["mass_scaling"]["total"]["scaled"] > 0
    assert np.all(dt[scaled] < target)
    source = meshio.read(MESHES / mesh)
    cells = np.concatenate([b.data for b in source.cells])[scaled]
    # A truss increment does not depend on its area: one area serves both blocks.
    r = st.compute(element, source.points, cells, st.Elastic(210000.0, 0.3),
                   (7.85e-9 * factor[scaled].astype(float)).astype(np.float32),
                   2.0 if element == "S4R" else None, section_area=400.0)
    assert np.all(r.dt >= np.float32(target))


def test_critical_element_details_and_vtu_cell_data(run_tool, tmp_path):
    # Boxes 10x10x10 and 4x5x6 with own ids 101 and 205: the small one controls.
    path = _hexes_and_quads(tmp_path / "ids.vtu", ((10, 10, 10), (4, 5, 6)), cell_data={
        "element_id": [np.array([101, 205]), np.array([300])],
        "material_id": [np.array([7, 8]), np.array([9])]})
    report, _ = _json(run_tool, path, *STEEL, "--top", "1", "--output", tmp_path / "o.vtu")
    c = report["critical"][0]
    assert (c["element"], c["position"], c["type"]) == (205, 2, "C3D8R")
    assert c["centroid"] == pytest.approx([11 + 2, 2.5, 3]) and c["min_edge"] == pytest.approx(4)
    assert report["numbering"] == "the file's cell data element_id"
    back = meshio.read(tmp_path / "o.vtu")
    assert back.cell_data["material_id"][0].tolist() == [7, 8]
    assert back.cell_data["block"][0].tolist() == [0, 0]
    assert back.cell_data["element_type"][1].tolist() == [-1]  # quad block not analysed


def test_default_critical_list_is_capped(run_tool, tmp_path):
    # 6000 bars: 2 % would be 120 lines; the default stops at 100.
    bars = _bars(tmp_path / "many.vtu", np.linspace(1.0, 2.0, 6000))
    assert len(_json(run_tool, bars, *BAR)[0]["critical"]) == 100
    assert len(_json(run_tool, bars, *BAR, "--top", "150")[0]["critical"]) == 150


def test_added_mass_cap_sweep_and_safety_factor(run_tool, files):
    # Bars of length 1 and 2 (mass 1 and 2, bulk viscosity proportional to the
    # wave speed): dt1 = dt2 / 2. At target dt2 only the short bar is scaled,
    # by 4, adding 3 to a mass of 3: 100 %. Half of dt1 scales nothing.
    dt1, dt2 = (c["dt"] for c in _json(run_tool, files["bars"], *BAR)[0]["critical"])
    assert dt2 == pytest.approx(2 * dt1, rel=1e-6)
    report, err = _json(run_tool, files["bars"], *BAR, "--target-dt", repr(dt2), "--sweep",
                        f"{dt1 / 2!r},{dt2!r}", "--max-added-mass", "50")
    total = report["mass_scaling"]["total"]
    assert (total["scaled"], total["mass"]) == (1, pytest.approx(3.0))
    assert total["added_percent"] == pytest.approx(100.0, rel=1e-5)
    low, high = report["sweep"]
    assert (low["scaled"], low["added_mass"], low["over_cap"]) == (0, 0.0, False)
    assert high["scaled"] == 1 and high["added_percent"] == pytest.approx(100.0, rel=1e-5)
    assert high["over_cap"] and "adds 100 % of the mass of the model, above the cap" in err
    most = report["mass_scaling"]["most_scaled"]
    assert [m["element"] for m in most] == [1] and most[0]["factor"] == pytest.approx(4, rel=1e-5)
    # At safety factor 0.5 the increments halve (exactly, in float32), and a
    # target of dt2 / 2 asks the same mass scaling as dt2 without it.
    half, _ = _json(run_tool, files["bars"], *BAR, "--target-dt", repr(dt2 / 2),
                    "--scale-factor", "0.5")
    assert [c["dt"] for c in half["critical"]] == [dt1 / 2, dt2 / 2]
    assert half["mass_scaling"]["total"] == total and half["scale_factor"] == 0.5


def test_text_and_json_reports_blocks_and_csv(run_tool, tmp_path):
    csv_path, png = tmp_path / "a.csv", tmp_path / "h.png"
    status, out, err = run_tool(*TRUSS, "--top", "3", "--target-dt", "2e-4",
                                "--plot", png, "--csv", csv_path)
    assert status == 0 and err == ""
    lines = out.splitlines()
    for expected in ("Element numbers: Gmsh element tags.", "3 most critical elements:",
                     "Mass scaling to a target increment of 0.0002:"):
        assert expected in lines
    assert any(line.startswith("chords ") for line in lines) and "Model minimum:" in out
    assert "Note:" not in out  # trusses match their exact increment
    assert [line for line in lines if line.startswith("wrote ")] == [
        f"wrote {csv_path}: 96 elements", f"wrote {png}: histogram of 96 elements"]
    assert png.read_bytes()[:4] == b"\x89PNG"
    report, err = _json(run_tool, *TRUSS, "--csv", csv_path, "--top", "3")
    assert f"wrote {csv_path}: 96 elements" in err and report["numbering"] == "Gmsh element tags"
    rows = list(csv.DictReader(csv_path.open()))
    assert len(rows) == report["element_count"] == 96
    assert {(r["type"], r["code"], r["factor"]) for r in rows} == {("T3D2", "0", "1")}
    assert {b["block"] for b in report["blocks"]} == {"chords", "braces"}
    for block in report["blocks"]:
        mine = [r for r in rows if r["block"] == block["block"]]
        best = min(mine, key=lambda r: float(r["increment"]))
        assert block["count"] == len(mine) and block["controlling_element"] == int(best["number"])
        assert block["min"] == pytest.approx(float(best["increment"]), rel=1e-7)


def test_histogram_axes(monkeypatch, tmp_path):
    import matplotlib.pyplot as plt
    from stabletime import cli
    figures = []
    # Selecting the backend may call close("all"): keep only the closed figures.
    monkeypatch.setattr(plt, "close", lambda f=None: figures.append(f) if f != "all" else None)
    table = {"dt": np.float32([1e-6, 2e-6, 2e-6, 5e-6]), "code": np.zeros(4, np.int32),
             "type": np.int32([0, 0, 1, 1]), "type_names": ["C3D8R", "S4R"]}
    cli.plot_histogram(tmp_path / "h.png", {"mesh": "m.vtu", "scale_factor": 1.0}, table)
    (ax,) = figures[0].axes
    assert (ax.get_yscale(), ax.get_xscale()) == ("log", "log")
    assert ax.get_xlabel() == "time increment, model time units"
    assert {"C3D8R", "S4R"} <= set(ax.get_legend_handles_labels()[1])  # one bar per type


def test_config_file_sets_blocks(run_tool, tmp_path):
    toml = tmp_path / "truss.toml"
    toml.write_text('density = 7.85e-9\nsection_area = 400.0\n'
                    'material = { type = "elastic", E = 210000.0, nu = 0.3 }\n'
                    '[blocks.braces]\nsection_area = 100.0\ndensity = 2.7e-9\n'
                    'material = { type = "elastic", E = 70000.0, nu = 0.33 }\n')
    from_file, _ = _json(run_tool, TRUSS[0], "--config", toml)
    from_line, _ = _json(run_tool, *TRUSS, "--set", "braces.section_area=100",
                         "--set", "braces.density=2.7e-9",
                         "--set", "braces.material=elastic:E=70000,nu=0.33")
    assert from_file == from_line and from_file["minimum"] != _json(run_tool, *TRUSS)[0]["minimum"]
    renamed, _ = _json(run_tool, TRUSS[0], "--config", toml, "--set", "chords.element=T2D2")
    assert [(r["element"], r["count"]) for r in renamed["types"]] == [("T2D2", 32), ("T3D2", 64)]


def test_progress_bar(monkeypatch, capsys):
    from stabletime.cli import _Progress
    monkeypatch.setattr(sys.stderr, "isatty", lambda: False, raising=False)
    _Progress(10**6)(10**6)
    assert capsys.readouterr().err == ""  # silent off a terminal
    monkeypatch.setattr(sys.stderr, "isatty", lambda: True, raising=False)
    bar = _Progress(0, active=True)
    bar.stage("reading"), bar.stage("read"), bar.start_counting(10), bar(5), bar(5)
    err = capsys.readouterr().err
    assert "\r[" + "." * 40 + "] reading\r[" + "#" * 20 + "." * 20 + "] read\r" in err
    assert err.endswith("\r[" + "#" * 30 + "." * 10 + "] increments 5/10\r[" + "#" * 40 +
                        "] increments 10/10\n")


UNIT_BOX = UNIT_HEX * [2, 3, 4]
MEASURES = [  # cell type, element, nodes, thickness, section area, volume
    ("hexahedron", "C3D8R", UNIT_BOX, None, None, 24.0),
    ("hexahedron", "C3D8R", UNIT_BOX[[4, 5, 6, 7, 0, 1, 2, 3]], None, None, 24.0),
    ("tetra", "C3D4", UNIT_BOX[[0, 1, 3, 4]], None, None, 4.0),
    ("wedge", "C3D6", UNIT_BOX[[0, 1, 3, 4, 5, 7]], None, None, 12.0),
    ("quad", "S4R", UNIT_BOX[[0, 1, 5, 4]], 0.5, None, 4.0),
    ("triangle", "CPS3", UNIT_BOX[[0, 1, 2]], 2.0, None, 6.0),
    # Area 3 times the centroid radius 1 + 4/3 (per radian).
    ("triangle", "CAX3", UNIT_BOX[[0, 1, 2]] + [1, 0, 0], None, None, 3.0 * (1 + 4.0 / 3)),
    ("line", "T3D2", UNIT_BOX[[0, 6]], None, 2.0, 2.0 * np.sqrt(29.0)),
]


@pytest.mark.parametrize("cell_type,element,nodes,thickness,area,volume", MEASURES)
def test_element_measures(cell_type, element, nodes, thickness, area, volume):
    from stabletime import meshes
    got = meshes.measure(nodes, np.arange(len(nodes))[None], cell_type, element, thickness, area)
    assert got == pytest.approx([volume])


# --- readers ---------------------------------------------------------------------------

@pytest.mark.skipif(not importlib.util.find_spec("gmsh"), reason="python3-gmsh not installed")
def test_binary_msh_reader_maps_sparse_tags(tmp_path, monkeypatch):
    # Node tags 7, 14, ..., 84 shuffled, in two blocks; element tags 101, 102.
    from stabletime import readers
    path = shuffled_tags(tmp_path / "sparse.msh")
    ours = readers._read_msh41_binary(str(path))
    monkeypatch.setenv("STABLETIME_READER", "gmsh")
    theirs = readers.read(str(path))
    assert ours.ids[0].tolist() == theirs.ids[0].tolist() == [101, 102]
    rows = [ours.mesh.points[c].tolist() for c in ours.mesh.cells[0].data]
    assert rows == [theirs.mesh.points[c].tolist() for c in theirs.mesh.cells[0].data]
    assert rows[1][6] == [2, 1, 1]


def _mixed_mesh():
    """Two hexahedra, a wedge, a hexahedron again (three runs of cell types),
    cell data of two kinds, nodes not all used."""
    hexes = np.arange(24).reshape(3, 8)
    return meshio.Mesh(np.vstack([UNIT_HEX + [2.0 * i, 0, 0] for i in range(4)]),
                       [("hexahedron", hexes[:2]), ("wedge", np.array([[24, 25, 26, 28, 29, 30]])),
                        ("hexahedron", hexes[2:])],
                       cell_data={"material_id": [np.array(v) for v in ([3, 4], [5], [6])],
                                  "weight": [np.array(v) for v in ([0.5, 1.5], [2.5], [3.5])]})


@pytest.mark.parametrize("layout", [dict(binary=True, compression=None),
                                    dict(binary=True, compression="zlib"), dict(binary=False)])
@pytest.mark.parametrize("codecs", [True, False, "wrapped"])
def test_vtu_reader_agrees_with_meshio(tmp_path, monkeypatch, layout, codecs):
    from concurrent.futures import ThreadPoolExecutor
    from stabletime import readers
    if not codecs:  # binascii and zlib, as without libcrypto or libdeflate
        monkeypatch.setattr(readers, "_CODECS", [(None, None)])
    path = tmp_path / "mixed.vtu"
    meshio.write(path, _mixed_mesh(), **layout)
    if codecs == "wrapped":  # base64 in lines, which libcrypto's decoder refuses
        path.write_text(re.sub("[A-Za-z0-9+/=]{60,}", lambda m: "\n".join(
            textwrap.wrap(m[0], 40)), path.read_text()))
    if not layout["binary"]:  # ASCII is left to meshio
        with pytest.raises(readers._Unsupported):
            readers._read_vtu(str(path))
    ours = (readers._read_vtu if layout["binary"] else readers.read)(str(path)).mesh
    theirs = meshio.read(path)
    assert np.array_equal(ours.points, theirs.points)
    assert [(b.type, b.data.tolist()) for b in ours.cells] == \
        [(b.type, b.data.tolist()) for b in theirs.cells] and len(ours.cells) == 3
    for key in ("material_id", "weight"):
        assert [a.tolist() for a in ours.cell_data[key]] == \
            [a.tolist() for a in theirs.cell_data[key]]
    # VTK writes 0 as the size of the last block where the data fill it.
    values = np.arange(8192, dtype="<i8").tobytes()  # two blocks of 32 KiB
    blocks = [zlib.compress(values[k:k + 32768]) for k in (0, 32768)]
    head = np.array([2, 32768, 0] + [len(b) for b in blocks], "<u4").tobytes()
    text = b"\n" + base64.b64encode(head) + base64.b64encode(b"".join(blocks)) + b"\n"
    with ThreadPoolExecutor(2) as pool:
        got = readers._decode(readers._Text(text), 0, len(text), np.dtype("<i8"),
                              np.dtype("<u4"), True, pool, np.dtype(np.int32))
    assert got.dtype == np.int32 and got.tolist() == list(range(8192))
