"""Materials as small typed objects, each giving the library's material code
and property array. Raw(code, props) passes any known code through."""
import math
from dataclasses import dataclass, field
from typing import Sequence

import numpy as np

# Known codes and the number of leading entries the library reads for each
# (hyperelastic forms with a term count need more, checked separately).
_FIXED_LENGTH = {100: 2, 101: 9, 102: 6, 103: 21, 9001: 9, 105: 3, 107: 2, 109: 1,
                 118: 4, 119: 6, 125: 3, 126: 6}
ACOUSTIC_CODE = 0  # acoustic types do not read the code; 0 marks the fluid
# Every property array handed to the library is padded with zeros to this length.
_PADDED_LENGTH = 32


class Material:
    """Base of all materials: code and props (float32).

    Each class checks its constants when made: they must be real numbers
    (TypeError otherwise, strings included) and physically possible
    (ValueError naming the rule otherwise). Raw is passed through unchecked."""

    code: int

    def __post_init__(self):
        for name, value in vars(self).items():
            _check_real(f"{type(self).__name__}.{name}", value)
        self._check()

    def _check(self):
        """Raise ValueError for constants no material can have."""

    def props(self):
        raise NotImplementedError

    def as_code_and_props(self):
        return self.code, np.asarray(self.props(), dtype=np.float64)


def _check_real(name, value):
    """TypeError unless value is a real number or a sequence of them."""
    if isinstance(value, (bool, np.bool_)) or isinstance(value, (str, bytes)):
        raise TypeError(f"{name} must be a number, got {value!r}")
    if isinstance(value, (int, float, np.integer, np.floating)):
        return
    try:
        array = np.asarray(value)
    except (TypeError, ValueError):
        array = None
    if array is None or array.dtype.kind not in "iuf" or array.ndim == 0:
        raise TypeError(f"{name} must be a number or a list of numbers, got {value!r}")


def _require(condition, message):
    if not condition:
        raise ValueError(message)


def _finite(name, *values):
    _require(all(math.isfinite(float(v)) for v in values), f"{name}: constants must be finite")


def _positive(cls, **values):
    for key, value in values.items():
        _require(value > 0, f"{cls}: {key} must be greater than zero, got {value}")


def _positive_definite(cls, matrix, what):
    """Strain energy is positive for every strain only if the matrix is."""
    matrix = np.asarray(matrix, dtype=np.float64)
    _require(np.all(np.isfinite(matrix)), f"{cls}: constants must be finite")
    _require(float(np.linalg.eigvalsh(matrix).min()) > 0,
             f"{cls}: the {what} is not positive definite")


def _floats(name, values, count=None):
    values = [float(v) for v in np.atleast_1d(np.asarray(values, dtype=np.float64))]
    if count is not None and len(values) != count:
        raise ValueError(f"{name} needs {count} values, got {len(values)}")
    return values


@dataclass(frozen=True)
class Elastic(Material):
    """Isotropic elastic: Young's modulus E and Poisson's ratio nu (code 100)."""
    E: float
    nu: float
    code = 100

    def _check(self):
        _finite("Elastic", self.E, self.nu)
        _require(self.E > 0, f"Elastic: E must be greater than zero, got {self.E}")
        _require(-1 < self.nu <= 0.5, f"Elastic: nu must lie in (-1, 0.5], got {self.nu}")

    def props(self):
        return [self.E, self.nu]


@dataclass(frozen=True)
class OrthotropicStiffness(Material):
    """Orthotropic stiffness entries (code 101)."""
    D1111: float
    D1122: float
    D2222: float
    D1133: float
    D2233: float
    D3333: float
    D1212: float
    D1313: float
    D2323: float
    code = 101

    def _check(self):
        d = self.props()
        _positive_definite("OrthotropicStiffness", [
            [d[0], d[1], d[3], 0, 0, 0], [d[1], d[2], d[4], 0, 0, 0],
            [d[3], d[4], d[5], 0, 0, 0], [0, 0, 0, d[6], 0, 0], [0, 0, 0, 0, d[7], 0],
            [0, 0, 0, 0, 0, d[8]]], "stiffness matrix")

    def props(self):
        return [self.D1111, self.D1122, self.D2222, self.D1133, self.D2233, self.D3333,
                self.D1212, self.D1313, self.D2323]


@dataclass(frozen=True)
class Lamina(Material):
    """Orthotropic lamina in plane stress (code 102)."""
    E1: float
    E2: float
    nu12: float
    G12: float
    G13: float
    G23: float
    code = 102

    def _check(self):
        _finite("Lamina", *self.props())
        _positive("Lamina", E1=self.E1, E2=self.E2, G12=self.G12, G13=self.G13, G23=self.G23)
        # In-plane compliance positive definite: nu12 * nu21 < 1, nu21 = nu12 E2 / E1.
        _require(self.nu12 * self.nu12 * self.E2 < self.E1,
                 f"Lamina: nu12^2 must be below E1/E2, got nu12 = {self.nu12}")

    def props(self):
        return [self.E1, self.E2, self.nu12, self.G12, self.G13, self.G23]


@dataclass(frozen=True)
class EngineeringConstants(Material):
    """Orthotropic engineering constants (code 9001)."""
    E1: float
    E2: float
    E3: float
    nu12: float
    nu13: float
    nu23: float
    G12: float
    G13: float
    G23: float
    code = 9001

    def _check(self):
        _finite("EngineeringConstants", *self.props())
        _positive("EngineeringConstants", E1=self.E1, E2=self.E2, E3=self.E3, G12=self.G12,
                  G13=self.G13, G23=self.G23)
        e = (self.E1, self.E2, self.E3)
        nu = {(0, 1): self.nu12, (0, 2): self.nu13, (1, 2): self.nu23}
        compliance = np.diag([1 / e[0], 1 / e[1], 1 / e[2]])
        for (i, j), v in nu.items():
            compliance[i, j] = compliance[j, i] = -v / e[i]
        _positive_definite("EngineeringConstants", compliance, "compliance matrix")

    def props(self):
        return [self.E1, self.E2, self.E3, self.nu12, self.nu13, self.nu23,
                self.G12, self.G13, self.G23]


@dataclass(frozen=True)
class AnisotropicStiffness(Material):
    """Fully anisotropic stiffness (code 103), Voigt order 11, 22, 33, 12, 13, 23.

    D is either the 21 entries of the upper triangle taken by columns
    (D1111, D1122, D2222, D1133, D2233, D3333, ...) or a symmetric 6x6 matrix.
    """
    D: Sequence
    code = 103

    def _check(self):
        d = np.asarray(self.props(), dtype=np.float64)
        full = np.zeros((6, 6))
        k = 0
        for j in range(6):
            for i in range(j + 1):
                full[i, j] = full[j, i] = d[k]
                k += 1
        _positive_definite("AnisotropicStiffness", full, "stiffness matrix")

    def props(self):
        d = np.asarray(self.D, dtype=np.float64)
        if d.shape == (6, 6):
            if not np.array_equal(d, d.T):
                raise ValueError("AnisotropicStiffness: the 6x6 matrix D is not symmetric")
            return [d[i, j] for j in range(6) for i in range(j + 1)]
        if d.shape == (21,):
            return list(d)
        raise ValueError("AnisotropicStiffness: D must have 21 entries or be 6x6, "
                         f"got shape {d.shape}")


def _term_count(name, values, allow_empty=False):
    if len(values) == 0 and not allow_empty:
        raise ValueError(f"{name}: at least one term is needed")
    return len(values)


@dataclass(frozen=True)
class Polynomial(Material):
    """Polynomial hyperelastic form (code 105): coefficients C10, C01, C20, C11,
    C02, ... (two per order, N orders) and compressibility D1. Mooney-Rivlin is
    Polynomial([C10, C01], D1); neo-Hookean Polynomial([C10, 0], D1)."""
    coefficients: Sequence
    D1: float = 0.0
    code = 105

    def _check(self):
        c = self.props()
        _finite("Polynomial", *c)
        _require(c[1] + c[2] > 0, "Polynomial: the initial shear modulus 2(C10 + C01) must be "
                 f"greater than zero, got C10 = {c[1]}, C01 = {c[2]}")
        _require(self.D1 >= 0, f"Polynomial: D1 must not be negative, got {self.D1}")

    def props(self):
        c = _floats("Polynomial coefficients", self.coefficients)
        if len(c) < 2 or len(c) % 2:
            raise ValueError(f"Polynomial: coefficients must come in pairs, got {len(c)} values")
        n = len(c) // 2
        return [n] + c + [self.D1]


@dataclass(frozen=True)
class Ogden(Material):
    """Ogden form (code 107): shear moduli mu_k, exponents alpha_k, D1."""
    mu: Sequence
    alpha: Sequence
    D1: float = 0.0
    code = 107

    def _check(self):
        p = self.props()
        _finite("Ogden", *p)
        _hyperelastic_terms("Ogden", self.mu, self.alpha)
        _require(self.D1 >= 0, f"Ogden: D1 must not be negative, got {self.D1}")

    def props(self):
        mu = _floats("Ogden mu", self.mu)
        alpha = _floats("Ogden alpha", self.alpha, len(mu))
        n = _term_count("Ogden", mu)
        return [n] + [x for pair in zip(mu, alpha) for x in pair] + [self.D1]


@dataclass(frozen=True)
class Foam(Material):
    """Hyperelastic foam (code 109): mu_k, alpha_k and nu_k per term."""
    mu: Sequence
    alpha: Sequence
    nu: Sequence
    code = 109

    def _check(self):
        p = self.props()
        _finite("Foam", *p)
        _hyperelastic_terms("Foam", self.mu, self.alpha)
        for v in _floats("Foam nu", self.nu):
            _require(-1 < v <= 0.5, f"Foam: each nu must lie in (-1, 0.5], got {v}")

    def props(self):
        mu = _floats("Foam mu", self.mu)
        alpha = _floats("Foam alpha", self.alpha, len(mu))
        nu = _floats("Foam nu", self.nu, len(mu))
        n = _term_count("Foam", mu)
        return [n] + [x for pair in zip(mu, alpha) for x in pair] + nu


@dataclass(frozen=True)
class ArrudaBoyce(Material):
    """Arruda-Boyce form (code 118): mu, locking stretch lambda_m, D."""
    mu: float
    lambda_m: float
    D: float = 0.0
    code = 118

    def _check(self):
        _finite("ArrudaBoyce", self.mu, self.lambda_m, self.D)
        _positive("ArrudaBoyce", mu=self.mu)
        _require(self.lambda_m == 0 or self.lambda_m > 1, "ArrudaBoyce: the locking stretch "
                 f"lambda_m must exceed 1 (or be 0 for none), got {self.lambda_m}")
        _require(self.D >= 0, f"ArrudaBoyce: D must not be negative, got {self.D}")

    def props(self):
        return [0.0, self.mu, self.lambda_m, self.D]


@dataclass(frozen=True)
class FiveConstant(Material):
    """Five-constant hyperelastic form (code 119): only mu and D enter the
    increment; C2 to C4 are kept for completeness."""
    mu: float
    D: float = 0.0
    C2: float = 0.0
    C3: float = 0.0
    C4: float = 0.0
    code = 119

    def _check(self):
        _finite("FiveConstant", self.mu, self.D, self.C2, self.C3, self.C4)
        _positive("FiveConstant", mu=self.mu)
        _require(self.D >= 0, f"FiveConstant: D must not be negative, got {self.D}")

    def props(self):
        return [0.0, self.mu, self.C2, self.C3, self.C4, self.D]


@dataclass(frozen=True)
class DiagonalModulus(Material):
    """Diagonal modulus tensor (code 125); A33 is unused by planar types."""
    A11: float
    A22: float
    A33: float = 0.0
    code = 125

    def _check(self):
        _finite("DiagonalModulus", self.A11, self.A22, self.A33)
        _positive("DiagonalModulus", A11=self.A11, A22=self.A22)
        _require(self.A33 >= 0, "DiagonalModulus: A33 must be greater than zero "
                 f"(or 0 where unused), got {self.A33}")

    def props(self):
        return [self.A11, self.A22, self.A33]


@dataclass(frozen=True)
class SymmetricModulus(Material):
    """Symmetric modulus tensor (code 126) in three dimensions."""
    A11: float
    A22: float
    A33: float
    A12: float
    A13: float
    A23: float
    code = 126

    def _check(self):
        a = self
        _positive_definite("SymmetricModulus", [[a.A11, a.A12, a.A13], [a.A12, a.A22, a.A23],
                                                [a.A13, a.A23, a.A33]], "modulus tensor")

    def props(self):
        return [self.A11, self.A22, self.A33, self.A12, self.A13, self.A23]


@dataclass(frozen=True)
class SymmetricModulus2D(Material):
    """Symmetric modulus tensor (code 126) of planar types: A11, A22, A12."""
    A11: float
    A22: float
    A12: float
    code = 126

    def _check(self):
        a = self
        _positive_definite("SymmetricModulus2D", [[a.A11, a.A12], [a.A12, a.A22]],
                           "modulus tensor")

    def props(self):
        return [self.A11, self.A22, self.A12]


@dataclass(frozen=True)
class AcousticFluid(Material):
    """Fluid of acoustic elements: bulk modulus and damping constant."""
    bulk_modulus: float
    damping: float = 0.0
    code = ACOUSTIC_CODE

    def _check(self):
        _finite("AcousticFluid", self.bulk_modulus, self.damping)
        _positive("AcousticFluid", bulk_modulus=self.bulk_modulus)
        _require(self.damping >= 0,
                 f"AcousticFluid: damping must not be negative, got {self.damping}")

    def props(self):
        return [self.bulk_modulus, self.damping]


def _hyperelastic_terms(cls, mu, alpha):
    """A positive initial shear modulus (sum of mu), and each term stable
    (mu_k alpha_k > 0)."""
    mu = _floats(f"{cls} mu", mu)
    alpha = _floats(f"{cls} alpha", alpha, len(mu))
    _require(sum(mu) > 0, f"{cls}: the sum of mu must be greater than zero, got {sum(mu)}")
    for m, a in zip(mu, alpha):
        _require(m * a > 0, f"{cls}: each mu_k * alpha_k must be greater than zero, "
                            f"got mu = {m}, alpha = {a}")


@dataclass(frozen=True)
class Raw(Material):
    """A material code and its property array passed through as given."""
    code: int
    values: Sequence = field(default_factory=list)

    def __post_init__(self):
        pass  # passed through as given

    def props(self):
        return list(self.values)


def _hyperelastic_length(code, props):
    """Entries read by the forms with a term count; raises on a bad count."""
    n_value = props[0] if len(props) else math.nan
    if not math.isfinite(n_value):
        raise ValueError(f"material code {code}: term count (entry 0) must be finite, "
                         f"got {n_value}")
    n = int(n_value)  # truncation, as the library does
    if n < 0:
        raise ValueError(f"material code {code}: negative term count {n} in entry 0")
    if code == 105:
        return max(3, 2 * n + 2)
    if code == 107:
        return 2 * n + 2
    return 3 * n + 1 if n >= 1 else 1


def resolve(material, acoustic=False, planar=False):
    """(code, props) of a material as handed to the library: props is float32,
    zero-padded. planar selects the two-dimensional layouts of codes 125/126.
    Raises TypeError/ValueError for anything the library must not see."""
    if isinstance(material, Material):
        try:
            code, props = material.as_code_and_props()
        except (TypeError, ValueError) as err:
            raise type(err)(f"material {type(material).__name__}: {err}") from None
    elif isinstance(material, tuple) and len(material) == 2:
        code, props = material
        if isinstance(code, bool) or not isinstance(code, (int, np.integer)):
            raise TypeError(f"material code must be an int, got {code!r}")
        try:
            props = np.asarray(props, dtype=np.float64)
        except (TypeError, ValueError) as err:
            raise TypeError(f"material props must be numbers: {err}") from None
    else:
        raise TypeError("material must be a stabletime material object or a (code, props) "
                        f"pair, not {type(material).__name__}")
    code = int(code)
    props = np.atleast_1d(props)
    if props.ndim != 1:
        raise ValueError(f"material props must be one-dimensional, got shape {props.shape}")
    if isinstance(material, AcousticFluid) and not acoustic:
        raise TypeError("material AcousticFluid only applies to acoustic element types")
    if acoustic:
        needed = 2
    elif code not in _FIXED_LENGTH:
        raise ValueError(f"material code {code} is not a known material code "
                         f"(known: {sorted(_FIXED_LENGTH)})")
    elif code in (105, 107, 109):
        needed = _hyperelastic_length(code, props)
    else:
        needed = _FIXED_LENGTH[code]
    if isinstance(material, SymmetricModulus2D) and not planar:
        raise TypeError("material SymmetricModulus2D only applies to planar element types")
    if code in (125, 126) and planar:
        needed = 2 if code == 125 else 3  # two-dimensional layouts
    if len(props) < needed:
        raise ValueError(f"material code {code} needs {needed} properties, got {len(props)}")
    padded = np.zeros(max(_PADDED_LENGTH, len(props)), dtype=np.float32)
    padded[:len(props)] = props
    return code, padded
