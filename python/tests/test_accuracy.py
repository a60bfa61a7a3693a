"""The validation table in the package: lookup by type and Poisson ratio, the
suggested scale factor, and the notes the report prints."""
import math

import pytest

from conftest import MESHES
from stabletime import accuracy
from stabletime.materials import Elastic, Polynomial, Raw

# A made-up row that falls after its peak: between tabulated ratios the next
# higher column counts, and the figure is the largest up to that column.
#          nu =  0.0  0.1  0.2  0.3  0.35 0.4  0.45 0.49
SAMPLE_ROW = (1.0, 1.3, 1.1, 1.2, 1.0, 1.0, 1.4, 1.5)


@pytest.mark.parametrize("nu,ratio,table_nu,beyond", [
    (-0.3, 1.0, 0.0, False), (0.0, 1.0, 0.0, False), (0.05, 1.3, 0.1, False),
    (0.3, 1.3, 0.3, False), (0.42, 1.4, 0.45, False), (0.49, 1.5, 0.49, False),
    (0.495, 1.5, 0.49, True)])
def test_lookup_takes_the_largest_up_to_the_next_higher_column(monkeypatch, nu, ratio,
                                                                table_nu, beyond):
    monkeypatch.setitem(accuracy.LARGEST_RATIO, "C3D4", SAMPLE_ROW)
    for name in ("C3D4", "C3D4T"):  # thermal forms share the mechanical row
        e = accuracy.largest_ratio(name, nu)
        assert (e.ratio, e.table_nu, e.beyond) == (ratio, table_nu, beyond)


def test_table_findings():
    assert accuracy.largest_ratio("COH3D8", 0.3) is None  # not validated
    assert accuracy.largest_ratio("C3D4", None) is accuracy.largest_ratio("C3D4", math.nan) is None
    # Solids lose margin at high nu, trusses and beams never do.
    for name in ("C3D4", "C3D8R", "C3D8", "C3D10M"):
        assert accuracy.largest_ratio(name, 0.45).ratio > 1.1, name
    for name in ("T3D2", "B21", "B31", "CPS3"):
        assert accuracy.largest_ratio(name, 0.49).ratio <= 1.0, name
    # The suggested factor covers every ratio of the table.
    for row in accuracy.LARGEST_RATIO.values():
        assert all(accuracy.suggested_scale_factor(r) * r <= 1.0 for r in row)


@pytest.mark.parametrize("ratio,factor", [
    (1.25, 0.80),  # 1/1.25 = 0.8 exactly
    (1.175, 0.85),  # 0.8510...
    (1.237, 0.80),  # 0.8084...: rounded down, not to nearest
    (1.01, 0.99),  # 0.990099...
    (1.0, 1.0), (0.9, 1.0)])  # nothing to cover
def test_scale_factor_is_one_over_ratio_rounded_down(ratio, factor):
    assert accuracy.suggested_scale_factor(ratio) == factor


def test_notes():
    steel, rubberish = Elastic(210000.0, 0.3), Elastic(10.0, 0.47)
    out = accuracy.notes([("C3D4", steel), ("C3D4", steel), ("C3D4", rubberish),
                          ("T3D2", steel), ("CPS3", rubberish), ("CPS4R", steel),
                          ("C3D4", Polynomial([1.0, 0.0], 0.01))])
    # One per type and ratio where above; not for small excesses (CPS4R) nor
    # for materials without a single Poisson ratio.
    assert [(n["element"], n["nu"]) for n in out] == [("C3D4", 0.3), ("C3D4", 0.47)]
    first = out[0]
    assert first["ratio"] == accuracy.largest_ratio("C3D4", 0.3).ratio
    assert f"up to {first['ratio']:.3f} times" in first["text"] and "\n" not in first["text"]
    assert f"--scale-factor {first['scale_factor']:.2f} covers it." in first["text"]
    (beyond,) = accuracy.notes([("C3D8R", Elastic(1.0, 0.4999))])
    assert beyond["beyond"] and "table ends at nu = 0.49" in beyond["text"]
    assert accuracy.effective_nu(Raw(100, [1.0, 0.45])) == 0.45
    assert accuracy.effective_nu((100, [1.0, 0.45])) == 0.45
    assert accuracy.effective_nu((101, [1.0] * 9)) is None


def test_report_prints_the_note(run_tool):
    status, out, _ = run_tool(MESHES / "bracket.msh", "--E", 70000, "--nu", 0.33,
                              "--density", 2.7e-9, "--top", 1)
    expected = accuracy.notes([("C3D4", Elastic(70000.0, 0.33))])[0]["text"]
    assert status == 0
    assert [line for line in out.splitlines() if line.startswith("Note:")] == [expected]
