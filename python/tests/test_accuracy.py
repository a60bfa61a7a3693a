"""The validation table in the package: lookup by type and Poisson ratio, the
suggested scale factor, and the notes the report prints."""
import math

import pytest

from stabletime import accuracy
from stabletime.materials import Elastic, Polynomial, Raw


class TestLookup:
    def test_between_tabulated_ratios_the_next_higher_counts(self):
        row = accuracy.LARGEST_RATIO["C3D4"]
        k = accuracy.NUS.index(0.45)
        # 0.42 lies between 0.4 and 0.45: the next higher column decides
        e = accuracy.largest_ratio("C3D4", 0.42)
        assert e.table_nu == 0.45
        assert e.ratio == max(row[:k + 1])
        assert not e.beyond

    def test_a_tabulated_ratio_takes_its_own_column(self):
        e = accuracy.largest_ratio("C3D8R", 0.3)
        assert e.table_nu == 0.3
        assert e.ratio == max(accuracy.LARGEST_RATIO["C3D8R"][:accuracy.NUS.index(0.3) + 1])

    def test_never_below_a_smaller_ratio(self):
        # conservative: a larger nu never gives a smaller figure
        for name in accuracy.LARGEST_RATIO:
            figures = [accuracy.largest_ratio(name, nu).ratio
                       for nu in (-0.2, 0.0, 0.05, 0.3, 0.31, 0.44, 0.45, 0.49, 0.499)]
            assert figures == sorted(figures), name

    def test_ends_of_the_table(self):
        low = accuracy.largest_ratio("C3D4", -0.3)
        assert low.table_nu == 0.0 and low.ratio == accuracy.LARGEST_RATIO["C3D4"][0]
        high = accuracy.largest_ratio("C3D4", 0.495)
        assert high.beyond and high.table_nu == accuracy.NUS[-1]
        assert high.ratio == max(accuracy.LARGEST_RATIO["C3D4"])

    def test_thermal_forms_share_the_mechanical_row(self):
        assert accuracy.largest_ratio("C3D8RT", 0.45).ratio == \
            accuracy.largest_ratio("C3D8R", 0.45).ratio

    def test_unknown_types_and_ratios_give_nothing(self):
        assert accuracy.largest_ratio("COH3D8", 0.3) is None
        assert accuracy.largest_ratio("C3D4", None) is None
        assert accuracy.largest_ratio("C3D4", math.nan) is None

    def test_solids_are_above_one_at_high_nu_and_trusses_never(self):
        # the finding the table exists for
        for name in ("C3D4", "C3D8R", "C3D8", "C3D10M"):
            assert accuracy.largest_ratio(name, 0.45).ratio > 1.1, name
        for name in ("T3D2", "B21", "B31", "CPS3"):
            assert accuracy.largest_ratio(name, 0.49).ratio <= 1.0, name


class TestScaleFactor:
    @pytest.mark.parametrize("ratio, factor", [
        (1.25, 0.80),      # 1/1.25 = 0.8 exactly
        (1.175, 0.85),     # 0.8510...
        (1.237, 0.80),     # 0.8084...
        (1.01, 0.99),      # 0.990099...
        (2.0, 0.50),
        (1.0, 1.0),        # nothing to cover
        (0.9, 1.0),
    ])
    def test_one_over_ratio_rounded_down_to_two_digits(self, ratio, factor):
        assert accuracy.suggested_scale_factor(ratio) == factor

    def test_the_factor_covers_the_ratio(self):
        for row in accuracy.LARGEST_RATIO.values():
            for ratio in row:
                assert accuracy.suggested_scale_factor(ratio) * ratio <= 1.0


class TestNotes:
    def test_one_line_per_type_and_ratio_where_above(self):
        steel, rubberish = Elastic(210000.0, 0.3), Elastic(10.0, 0.47)
        out = accuracy.notes([("C3D4", steel), ("C3D4", steel), ("C3D4", rubberish),
                              ("T3D2", steel), ("CPS3", rubberish)])
        assert [(n["element"], n["nu"]) for n in out] == [("C3D4", 0.3), ("C3D4", 0.47)]
        first = out[0]
        assert first["ratio"] == accuracy.largest_ratio("C3D4", 0.3).ratio
        assert f"{first['ratio']:.3f}" in first["text"]
        assert f"--scale-factor {first['scale_factor']:.2f}" in first["text"]
        assert "\n" not in first["text"]

    def test_beyond_the_table_says_so(self):
        (note,) = accuracy.notes([("C3D8R", Elastic(1.0, 0.4999))])
        assert note["beyond"] and "table ends at nu = 0.49" in note["text"]

    def test_materials_without_a_single_poisson_ratio_give_no_note(self):
        assert accuracy.notes([("C3D4", Polynomial([1.0, 0.0], 0.01))]) == []

    def test_raw_isotropic_material_reads_its_ratio(self):
        assert accuracy.effective_nu(Raw(100, [1.0, 0.45])) == 0.45
        assert accuracy.effective_nu((100, [1.0, 0.45])) == 0.45
        assert accuracy.effective_nu((101, [1.0] * 9)) is None

    def test_small_excesses_give_no_note(self):
        # the quadrilaterals stay within the threshold
        assert accuracy.notes([("CPS4R", Elastic(1.0, 0.3))]) == []


def test_report_prints_the_note(run_tool):
    from conftest import MESHES
    status, out, _ = run_tool(MESHES / "bracket.msh", "--E", 70000, "--nu", 0.33,
                              "--density", 2.7e-9, "--top", 1)
    expected = accuracy.notes([("C3D4", Elastic(70000.0, 0.33))])[0]["text"]
    assert status == 0
    assert [line for line in out.splitlines() if line.startswith("Note:")] == [expected]
    # trusses match their exact increment: no note
    status, out, _ = run_tool(MESHES / "truss.msh", "--E", 210000, "--nu", 0.3,
                              "--density", 7.85e-9, "--section-area", 400, "--top", 1)
    assert status == 0 and "Note:" not in out
