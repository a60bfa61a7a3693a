"""Settings of a tool run: defaults, per-block overrides and materials, from
the command line and a TOML file."""
from . import materials as m

MATERIAL_TYPES = {
    "elastic": m.Elastic, "orthotropic-stiffness": m.OrthotropicStiffness, "lamina": m.Lamina,
    "engineering-constants": m.EngineeringConstants, "anisotropic": m.AnisotropicStiffness,
    "polynomial": m.Polynomial, "ogden": m.Ogden, "foam": m.Foam,
    "arruda-boyce": m.ArrudaBoyce, "five-constant": m.FiveConstant,
    "diagonal-modulus": m.DiagonalModulus, "symmetric-modulus": m.SymmetricModulus,
    "symmetric-modulus-2d": m.SymmetricModulus2D, "acoustic": m.AcousticFluid, "raw": m.Raw,
}
# Settings a block can have, and their converters.
SCALARS = ("density", "thickness", "section_area", "alpha", "beta", "bulk_scale")
KEYS = SCALARS + ("material", "element", "cohesive")


class UsageError(Exception):
    """Bad usage or input: reported in one line, exit status 2."""


def material_from_table(table, where):
    """A material from {"type": ..., field: value, ...}."""
    if not isinstance(table, dict):
        raise UsageError(f"{where}: material must be a table with a 'type'")
    fields = dict(table)
    kind = fields.pop("type", None)
    cls = MATERIAL_TYPES.get(kind)
    if cls is None:
        raise UsageError(f"{where}: unknown material type {kind!r} "
                         f"(one of {', '.join(MATERIAL_TYPES)})")
    try:
        material = cls(**fields)
        m.resolve(material, acoustic=(kind == "acoustic"))
    except (TypeError, ValueError) as err:
        raise UsageError(f"{where}: material {kind}: {err}") from None
    return material


def _number(text):
    try:
        return float(text)
    except ValueError:
        raise UsageError(f"not a number: {text!r}") from None


def parse_value(text):
    """A number, or a list of numbers separated by '/'."""
    if "/" in text:
        return [_number(t) for t in text.split("/") if t]
    return _number(text)


def material_from_text(text):
    """A material from 'type:field=value,field=value' (lists as a/b/c)."""
    kind, _, rest = text.partition(":")
    table = {"type": kind.strip()}
    for item in filter(None, (s.strip() for s in rest.split(","))):
        key, eq, value = item.partition("=")
        if not eq:
            raise UsageError(f"--material: expected field=value, got {item!r}")
        value = parse_value(value)
        if key.strip() == "code":
            value = int(value)
        table[key.strip()] = value
    return material_from_table(table, "--material")


def _check_block(table, where):
    out = {}
    for key, value in table.items():
        if key not in KEYS:
            raise UsageError(f"{where}: unknown setting {key!r} (one of {', '.join(KEYS)})")
        if key == "material":
            value = material_from_table(value, where)
        elif key == "element":
            if not isinstance(value, str):
                raise UsageError(f"{where}: element must be a name")
        elif key == "cohesive":
            if not (isinstance(value, list) and len(value) == 2):
                raise UsageError(f"{where}: cohesive must be [flag, width]")
            value = [float(v) for v in value]
        elif isinstance(value, bool) or not isinstance(value, (int, float)):
            raise UsageError(f"{where}: {key} must be a number")
        else:
            value = float(value)
        out[key] = value
    return out


def load_toml(path):
    """(defaults, per-block settings, element names by key, target_dt) of a file."""
    import tomllib  # imported here: most runs have no settings file
    try:
        with open(path, "rb") as handle:
            data = tomllib.load(handle)
    except OSError as err:
        raise UsageError(f"cannot read config {path}: {err.strerror}") from None
    except tomllib.TOMLDecodeError as err:
        raise UsageError(f"config {path}: {err}") from None
    blocks = data.pop("blocks", {})
    elements = data.pop("elements", {})
    target = data.pop("target_dt", None)
    if "element" in data:
        raise UsageError(f"config {path}: give element names in an [elements] table or per block")
    defaults = _check_block(data, f"config {path}")
    per_block = {name: _check_block(table, f"config {path} [blocks.{name}]")
                 for name, table in blocks.items()}
    if not all(isinstance(v, str) for v in elements.values()):
        raise UsageError(f"config {path} [elements]: values must be element names")
    return defaults, per_block, dict(elements), target
