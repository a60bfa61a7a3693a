"""How far the library's increment was seen above the exact critical increment
of a single element, by element type and Poisson ratio.

The ratios come from validation/validate.py: the library's increment over
2 / omega_max of the same unconstrained element (double-precision linear
elements, row-sum lumped mass), largest over the regular shape and 2000
random shapes (stretched up to 10x, skewed up to 45 degrees, perturbed,
rotated, scaled), rounded up to three digits.  A mesh's highest frequency is at
most its elements' highest, so a ratio above 1 is a loss of margin, not a
certain instability.
"""
import math
from dataclasses import dataclass

# Poisson ratios of the columns below.
NUS = (0.0, 0.1, 0.2, 0.3, 0.35, 0.4, 0.45, 0.49)

# Largest dt_lib / dt_exact seen, per type, at each ratio of NUS.  References:
# CPS4R, S4R (membrane) and C3D8R the one-point (uniform-strain) element,
# CAX4R the centre-point element, C3D8 the 2x2x2 element, C3D10M the quadratic
# tetrahedron, B21 and B31 their axial and twisting modes, AC3D8R the
# one-point acoustic element (no Poisson ratio).
LARGEST_RATIO = {
    "T3D2": (1.000, 1.000, 1.000, 1.000, 1.000, 1.000, 1.000, 1.000),
    "B21": (1.000, 1.000, 1.000, 1.000, 1.000, 1.000, 1.000, 1.000),
    "B31": (1.000, 1.000, 1.000, 1.000, 1.000, 1.000, 1.000, 1.000),
    "CPS3": (0.997, 0.997, 0.997, 0.997, 0.997, 0.997, 0.998, 0.998),
    "CPS4R": (1.004, 1.004, 1.004, 1.004, 1.004, 1.004, 1.004, 1.005),
    "CAX4R": (1.026, 1.026, 1.027, 1.028, 1.029, 1.031, 1.034, 1.037),
    "S4R": (1.004, 1.004, 1.004, 1.004, 1.004, 1.004, 1.004, 1.005),
    "C3D4": (1.104, 1.104, 1.106, 1.110, 1.116, 1.129, 1.175, 1.237),
    "C3D8R": (1.003, 1.006, 1.019, 1.048, 1.070, 1.100, 1.153, 1.214),
    "C3D8": (1.022, 1.022, 1.025, 1.053, 1.075, 1.104, 1.153, 1.214),
    "C3D10M": (1.136, 1.137, 1.139, 1.144, 1.150, 1.158, 1.168, 1.188),
    "AC3D8R": (0.886, 0.886, 0.886, 0.886, 0.886, 0.886, 0.886, 0.886),
}
# Thermal forms share the mechanical element's geometry and increment.
ALIASES = {"C3D4T": "C3D4", "C3D8RT": "C3D8R", "C3D8T": "C3D8", "C3D10MT": "C3D10M",
           "CPS3T": "CPS3", "CPS4RT": "CPS4R", "CAX4RT": "CAX4R", "S4RT": "S4R"}
# Excesses up to this are within the spread of the random sample's extremes
# and get no note.
NOTE_ABOVE = 1.01


@dataclass(frozen=True)
class Excess:
    element: str
    nu: float
    ratio: float          # largest dt_lib / dt_exact seen
    table_nu: float       # the tabulated Poisson ratio the value stands for
    beyond: bool          # nu above the table: the ratio there is larger still

    @property
    def scale_factor(self):
        return suggested_scale_factor(self.ratio)


def largest_ratio(element, nu):
    """The largest ratio seen for the element type at Poisson ratio nu, or None
    for a type that was not validated.  Between tabulated ratios the next
    higher one counts (the largest over the columns up to it); below 0 the
    first; above the last, the last, marked beyond."""
    row = LARGEST_RATIO.get(ALIASES.get(element, element))
    if row is None or nu is None or math.isnan(nu):
        return None
    k = next((i for i, t in enumerate(NUS) if nu <= t), len(NUS) - 1)
    return Excess(element, float(nu), max(row[:k + 1]), NUS[k], nu > NUS[-1])


def suggested_scale_factor(ratio):
    """A factor on the increment that brings the largest ratio to at most 1:
    1/ratio rounded down to two digits; 1.0 when nothing needs covering."""
    if ratio <= 1.0:
        return 1.0
    return math.floor(100.0 / ratio) / 100.0


def effective_nu(material):
    """Poisson ratio of an isotropic elastic material (an object or a
    (code, props) pair of code 100), else None."""
    if isinstance(material, tuple) and len(material) == 2:
        code, props = material
    else:
        code = getattr(material, "code", None)
        props = material.props() if code == 100 else ()
    props = list(props) if code == 100 else []
    return float(props[1]) if len(props) > 1 else None


def notes(blocks):
    """One line per (element type, Poisson ratio) of the model where the table
    shows increments above the exact single-element increment.
    blocks: (element name, material) pairs."""
    out, seen = [], set()
    for element, material in blocks:
        nu = effective_nu(material)
        if (element, nu) in seen:
            continue
        seen.add((element, nu))
        e = largest_ratio(element, nu)
        if e is None or e.ratio <= NOTE_ABOVE:
            continue
        seen_as = (f"over {e.ratio:.3f} times (table ends at nu = {e.table_nu:g})"
                   if e.beyond else f"up to {e.ratio:.3f} times")
        out.append({"element": element, "nu": nu, "ratio": e.ratio,
                    "table_nu": e.table_nu, "beyond": e.beyond,
                    "scale_factor": e.scale_factor,
                    "text": f"Note: {element} at nu = {nu:g}: validation saw increments "
                            f"{seen_as} the exact single-element increment; "
                            f"--scale-factor {e.scale_factor:.2f} covers "
                            + ("that ratio." if e.beyond else "it.")})
    return out
