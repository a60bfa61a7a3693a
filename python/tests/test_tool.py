import json
import subprocess
import sys

import meshio
import numpy as np
import pytest

import stabletime as st
from conftest import MESHES, ROOT, library_path

STEEL = ["--E", "210000", "--nu", "0.3", "--density", "7.85e-9"]
# Bundled mesh, extra options, element name of its cells.
BUNDLED = [
    ("bracket.msh", [], "C3D4"),
    ("plate_hole.msh", ["--thickness", "2"], "S4R"),
    ("block.msh", [], "C3D8R"),
    ("truss.msh", ["--section-area", "400", "--set", "braces.section_area=100"], "T3D2"),
]


def _report(run_tool, *args):
    status, out, err = run_tool(*args, "--json")
    assert status in (0, 1), err
    return json.loads(out)


def _needs_live(report):
    if report["minimum"] is None:
        pytest.skip(f"{report['types'][0]['element']} not yet computed by this library build")


@pytest.mark.parametrize("mesh,options,element", BUNDLED, ids=[b[0] for b in BUNDLED])
def test_report_minimum_matches_the_written_vtu(run_tool, tmp_path, mesh, options, element):
    vtu = tmp_path / "out.vtu"
    report = _report(run_tool, MESHES / mesh, *STEEL, *options, "--output", vtu)
    assert [row["element"] for row in report["types"]] == [element]
    back = meshio.read(vtu)
    dt = np.concatenate(back.cell_data["stable_time"])
    code = np.concatenate(back.cell_data["code"])
    assert report["failed_count"] == int((code != 0).sum())
    _needs_live(report)
    fine = np.flatnonzero(code == 0)
    assert report["minimum"]["dt"] == float(dt[fine].min())
    assert report["minimum"]["element"] == fine[np.argmin(dt[fine])] + 1
    critical = [c["dt"] for c in report["critical"]]
    assert len(critical) == min(len(fine), max(20, int(np.ceil(0.02 * len(dt)))))
    assert critical == sorted(critical)


def test_distorted_hexahedron_is_critical(run_tool):
    sys.path.insert(0, str(MESHES))
    from make_meshes import DISTORTED_TO
    report = _report(run_tool, MESHES / "block.msh", *STEEL)
    _needs_live(report)
    mesh = meshio.read(MESHES / "block.msh")
    moved = int(np.argmin(np.linalg.norm(mesh.points - DISTORTED_TO, axis=1)))
    around = set(np.flatnonzero((mesh.cells[0].data == moved).any(axis=1)) + 1)
    assert report["minimum"]["element"] in around
    assert {c["element"] for c in report["critical"][:3]} <= around


@pytest.mark.parametrize("mesh,options,element", BUNDLED, ids=[b[0] for b in BUNDLED])
def test_mass_factors_reach_the_target(run_tool, tmp_path, mesh, options, element):
    first = _report(run_tool, MESHES / mesh, *STEEL, *options)
    _needs_live(first)
    target = 3.0 * first["minimum"]["dt"]
    vtu = tmp_path / "factors.vtu"
    report = _report(run_tool, MESHES / mesh, *STEEL, *options, "--target-dt", target,
                     "--output", vtu, "--factors")
    back = meshio.read(vtu)
    data = {key: np.concatenate(back.cell_data[key]) for key in ("stable_time", "code",
                                                                   "mass_factor")}
    scaled = (data["mass_factor"] > 1) & (data["code"] == 0)
    assert scaled.sum() == report["mass_scaling"]["total"]["scaled"] > 0
    assert np.all(data["stable_time"][scaled] < target)
    # Recompute every block with its density scaled by the advised factors.
    source = meshio.read(MESHES / mesh)
    cells = np.concatenate([b.data for b in source.cells])
    rho = 7.85e-9 * data["mass_factor"].astype(np.float64)
    # A truss increment does not depend on its section area (mass and stiffness
    # both scale with it), so one area serves both truss blocks.
    area = 400.0
    thickness = 2.0 if element == "S4R" else None
    r = st.compute(element, source.points, cells[scaled], st.Elastic(210000.0, 0.3),
                   rho[scaled].astype(np.float32), thickness, section_area=area)
    assert np.all(r.dt >= np.float32(target))


def test_added_mass_of_two_elements(run_tool, tmp_path):
    # Two bars of length 1 and 2, the target the increment of the longer one:
    # only the short bar is scaled, by (dt2/dt1)^2, about 4.
    path = tmp_path / "two.vtu"
    points = np.array([[0, 0, 0], [1, 0, 0], [3, 0, 0]], float)
    meshio.write(path, meshio.Mesh(points, [("line", np.array([[0, 1], [1, 2]]))]))
    bars = st.compute("T3D2", points, [[0, 1], [1, 2]], st.Elastic(200.0, 0.3), 2.0,
                      section_area=0.5)
    dt1, dt2 = map(float, bars.dt)
    report = _report(run_tool, path, "--E", "200", "--nu", "0.3", "--density", "2",
                     "--section-area", "0.5", "--target-dt", repr(dt2))
    total = report["mass_scaling"]["total"]
    factor = (dt2 / dt1) ** 2
    mass1, mass2 = 1.0 * 0.5 * 2.0, 2.0 * 0.5 * 2.0
    assert total["scaled"] == 1
    assert total["mass"] == pytest.approx(mass1 + mass2)
    assert total["added_percent"] == pytest.approx(100 * (factor - 1) * mass1 / (mass1 + mass2),
                                                   rel=1e-5)


try:
    import gmsh
except ImportError:  # only the round-trip tests need it
    gmsh = None


def _gmsh_frame():
    p = [gmsh.model.geo.addPoint(x, y, z) for x, y, z in
         [(0, 0, 0), (900, 0, 0), (900, 700, 0), (0, 700, 300)]]
    lines = [gmsh.model.geo.addLine(p[i], p[(i + 1) % 4]) for i in range(4)]
    gmsh.model.geo.synchronize()
    for line in lines:
        gmsh.model.mesh.setTransfiniteCurve(line, 6)
    gmsh.model.mesh.generate(1)


def _gmsh_flat_plate():
    gmsh.model.occ.addDisk(0, 0, 0, 50, 30)
    gmsh.model.occ.synchronize()
    gmsh.option.setNumber("Mesh.MeshSizeMax", 8.0)
    gmsh.option.setNumber("Mesh.RecombineAll", 1)
    gmsh.model.mesh.generate(2)


GMSH_CASES = [  # builder, second format, element of the analysed cells, options
    (_gmsh_frame, "vtu", "T3D2", ["--section-area", "40"]),
    (_gmsh_flat_plate, "vtk", "CPS4R", ["--thickness", "3"]),
]


@pytest.mark.parametrize("build,second,element,options", GMSH_CASES, ids=["frame", "plate"])
@pytest.mark.skipif(gmsh is None, reason="python3-gmsh not installed")
def test_gmsh_mesh_gives_the_same_report_in_two_formats(run_tool, tmp_path, build, second,
                                                        element, options):
    gmsh.initialize(["-noenv"])
    try:
        gmsh.option.setNumber("General.Terminal", 0)
        gmsh.model.add("case")
        build()
        gmsh.write(str(tmp_path / "case.msh"))
    finally:
        gmsh.finalize()
    meshio.write(tmp_path / f"case.{second}", meshio.read(tmp_path / "case.msh"))
    options = [*STEEL, *options, "--target-dt", "1e-4"]
    reports = [_report(run_tool, tmp_path / name, *options)
               for name in ("case.msh", f"case.{second}")]
    for r in reports:
        r.pop("mesh")
        if r["minimum"]:
            r["minimum"].pop("block")
        r.pop("blocks")
        r.pop("numbering")  # Gmsh tags against positions: the same numbers here
        for row in r["critical"] + r["mass_scaling"]["blocks"] + \
                r["mass_scaling"]["most_scaled"]:
            row.pop("block")  # blocks are numbered differently once vertices are merged
        r["mass_scaling"].pop("blocks")
    assert [row["element"] for row in reports[0]["types"]] == [element]
    assert reports[0]["element_count"] > 10 and reports[0]["failed_count"] == 0
    assert reports[0] == reports[1]


def test_text_report_and_outputs(run_tool, tmp_path):
    status, out, err = run_tool(MESHES / "truss.msh", *STEEL, "--section-area", "400",
                                "--top", "3", "--target-dt", "2e-4", "--plot",
                                tmp_path / "h.png")
    assert status == 0 and err == ""
    assert "Model minimum:" in out and "3 most critical elements" in out
    assert "Mass scaling to a target increment of 0.0002" in out
    assert (tmp_path / "h.png").read_bytes()[:4] == b"\x89PNG"


def test_failed_elements_give_status_1(run_tool, tmp_path):
    path = tmp_path / "bad.vtu"
    points = np.array([[0, 0, 0], [1, 0, 0], [1, 0, 0]], float)
    meshio.write(path, meshio.Mesh(points, [("line", np.array([[0, 1], [1, 2]]))]))
    status, out, _ = run_tool(path, *STEEL, "--section-area", "1")
    assert status == 1
    assert "code 400 (geometry degenerate" in out and "1 elements: 2" in out


BAD_USAGE = [
    (["missing.msh"], "no such file"),
    (["{garbage}"], "cannot read"),
    (["{truss}", "--density", "1", "--section-area", "1"], "no material"),
    (["{truss}", "--E", "1", "--section-area", "1"], "--E and --nu go together"),
    (["{truss}", "--E", "1", "--nu", "0.3", "--section-area", "1"], "no density"),
    (["{truss}", *STEEL], "needs a section area"),
    (["{truss}", *STEEL, "--section-area", "1", "--element", "line=C3D4"], "has 4 nodes"),
    (["{truss}", *STEEL, "--section-area", "1", "--element", "line=T9"], "unknown element"),
    (["{truss}", *STEEL, "--section-area", "1", "--set", "tower.density=1"], "no block"),
    (["{truss}", *STEEL, "--section-area", "1", "--set", "braces.colour=1"], "unknown setting"),
    (["{truss}", *STEEL, "--section-area", "1", "--target-dt", "-1"], "target dt"),
    (["{truss}", "--material", "rubber:mu=1", "--density", "1"], "unknown material type"),
    (["{truss}", "--material", "ogden:mu=1/2,alpha=3", "--density", "1"], "needs 2 values"),
    (["{truss}", *STEEL, "--density", "x"], "invalid float"),
    (["{truss}", *STEEL, "--section-area", "1", "--top", "-3"], "--top"),
    (["{truss}", *STEEL, "--section-area", "1", "--factors"], "--factors needs --output"),
    (["{truss}", *STEEL, "--section-area", "1", "--factors", "--output", "x.vtu"],
     "--factors needs a target"),
    (["{truss}", *STEEL, "--config", "{toml}"], "config"),
    (["{truss}", *STEEL, "--section-area", "1", "--sweep", "1e-4,-2"], "--sweep"),
    (["{truss}", *STEEL, "--section-area", "1", "--max-added-mass", "-1"],
     "--max-added-mass"),
]


@pytest.mark.parametrize("args,message", BAD_USAGE)
def test_bad_usage_ends_with_status_2(run_tool, tmp_path, args, message):
    (tmp_path / "garbage.msh").write_text("not a mesh\n")
    (tmp_path / "bad.toml").write_text("density = [\n")
    paths = {"truss": MESHES / "truss.msh", "garbage": tmp_path / "garbage.msh",
             "toml": tmp_path / "bad.toml"}
    status, out, err = run_tool(*[a.format(**paths) for a in args])
    assert status == 2 and out == ""
    assert err.count("\n") == 1 and err.startswith("stabletime: error:") and message in err


def test_config_file_sets_blocks(run_tool, tmp_path):
    toml = tmp_path / "truss.toml"
    toml.write_text('density = 7.85e-9\nsection_area = 400.0\n'
                    'material = { type = "elastic", E = 210000.0, nu = 0.3 }\n'
                    '[blocks.braces]\nsection_area = 100.0\ndensity = 2.7e-9\n'
                    'material = { type = "elastic", E = 70000.0, nu = 0.33 }\n')
    from_file = _report(run_tool, MESHES / "truss.msh", "--config", toml)
    from_line = _report(run_tool, MESHES / "truss.msh", *STEEL, "--section-area", "400",
                        "--set", "braces.section_area=100", "--set", "braces.density=2.7e-9",
                        "--set", "braces.material=elastic:E=70000,nu=0.33")
    assert from_file == from_line
    plain = _report(run_tool, MESHES / "truss.msh", *STEEL, "--section-area", "400")
    assert from_file["minimum"] != plain["minimum"]
    renamed = _report(run_tool, MESHES / "truss.msh", "--config", toml, "--set",
                      "chords.element=T2D2")
    assert [(row["element"], row["count"]) for row in renamed["types"]] == [
        ("T2D2", 32), ("T3D2", 64)]


def test_module_entry_runs_without_traceback(tmp_path):
    env = {"STABLETIME_LIBRARY": library_path(), "PYTHONPATH": str(ROOT / "python")}
    ok = subprocess.run([sys.executable, "-m", "stabletime", str(MESHES / "truss.msh"), *STEEL,
                         "--section-area", "400"], capture_output=True, text=True, env=env)
    bad = subprocess.run([sys.executable, "-m", "stabletime", str(MESHES / "truss.msh"),
                          "--bogus"], capture_output=True, text=True, env=env)
    assert ok.returncode == 0 and "Model minimum" in ok.stdout
    assert bad.returncode == 2 and "Traceback" not in bad.stderr and "--bogus" in bad.stderr


UNIT_HEX = np.array([[0, 0, 0], [1, 0, 0], [1, 1, 0], [0, 1, 0],
                     [0, 0, 1], [1, 0, 1], [1, 1, 1], [0, 1, 1]], float) * [2, 3, 4]
MEASURES = [  # cell type, element, nodes, thickness, section area, volume
    ("hexahedron", "C3D8R", UNIT_HEX, None, None, 24.0),
    ("hexahedron", "C3D8R", UNIT_HEX[[4, 5, 6, 7, 0, 1, 2, 3]], None, None, 24.0),
    ("tetra", "C3D4", UNIT_HEX[[0, 1, 3, 4]], None, None, 4.0),
    ("wedge", "C3D6", UNIT_HEX[[0, 1, 3, 4, 5, 7]], None, None, 12.0),
    ("quad", "S4R", UNIT_HEX[[0, 1, 5, 4]], 0.5, None, 4.0),
    ("triangle", "CPS3", UNIT_HEX[[0, 1, 2]], 2.0, None, 6.0),
    ("triangle", "CAX3", UNIT_HEX[[0, 1, 2]] + [1, 0, 0], None, None, 3.0 * (1 + 4.0 / 3)),
    ("line", "T3D2", UNIT_HEX[[0, 6]], None, 2.0, 2.0 * np.sqrt(29.0)),
]


@pytest.mark.parametrize("cell_type,element,nodes,thickness,area,volume", MEASURES)
def test_element_measures(cell_type, element, nodes, thickness, area, volume):
    from stabletime import meshes
    got = meshes.measure(nodes, np.arange(len(nodes))[None], cell_type, element, thickness, area)
    assert got == pytest.approx([volume])


def test_progress_bar_only_on_a_terminal(monkeypatch, capsys):
    from stabletime.cli import _Progress
    monkeypatch.setattr(sys.stderr, "isatty", lambda: False, raising=False)
    quiet = _Progress(10**6)
    quiet(10**6)
    monkeypatch.setattr(sys.stderr, "isatty", lambda: True, raising=False)
    bar = _Progress(10**6)
    bar(5 * 10**5)
    bar(5 * 10**5)
    err = capsys.readouterr().err
    assert err.count("\r") == 2 and err.endswith(f"] {10**6}/{10**6}\n")
    assert "#" * 20 + "." * 20 in err
