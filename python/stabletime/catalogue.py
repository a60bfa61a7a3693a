"""Element names the library knows: node count and family of each."""

# name -> number of nodes in a connectivity row
NODE_COUNT = {
    "AC2D3": 3, "AC2D4R": 4, "AC3D4": 4, "AC3D6": 6, "AC3D8R": 8, "ACAX3": 3, "ACAX4R": 4,
    "B21": 2, "B22": 3, "B31": 2, "B32": 3,
    "C3D10M": 10, "C3D10MT": 10, "C3D4": 4, "C3D4T": 4, "C3D6": 6, "C3D6T": 6,
    "C3D8": 8, "C3D8I": 8, "C3D8R": 8, "C3D8RT": 8, "C3D8T": 8,
    "CAX3": 3, "CAX3T": 3, "CAX4R": 4, "CAX4RT": 4, "CAX6M": 6, "CAX6MT": 6,
    "COH2D4": 4, "COH3D6": 6, "COH3D8": 8, "COHAX4": 4,
    "CPE3": 3, "CPE3T": 3, "CPE4R": 4, "CPE4RT": 4, "CPE6M": 6, "CPE6MT": 6,
    "CPS3": 3, "CPS3T": 3, "CPS4R": 4, "CPS4RT": 4, "CPS6M": 6, "CPS6MT": 6,
    "M3D3": 3, "M3D4": 4, "M3D4R": 4,
    "S3": 3, "S3R": 3, "S3RS": 3, "S3T": 3, "S3RT": 3, "S4": 4, "S4R": 4, "S4RS": 4,
    "S4RSW": 4, "S4RT": 4, "SAX1": 2, "SC6R": 6, "SC8R": 8,
    "T2D2": 2, "T3D2": 2,
}


def family(name):
    """Family of a catalogue name: truss, beam, plane, axisymmetric, solid,
    membrane, shell, cohesive or acoustic."""
    if name.startswith("AC"):
        return "acoustic"
    if name.startswith("COH"):
        return "cohesive"
    if name.startswith("T") and name[1:3] in ("2D", "3D"):
        return "truss"
    if name.startswith("B"):
        return "beam"
    if name.startswith(("CPS", "CPE")):
        return "plane"
    if name.startswith("CAX"):
        return "axisymmetric"
    if name.startswith("C3D"):
        return "solid"
    if name.startswith("M3D"):
        return "membrane"
    return "shell"


def is_two_dimensional(name):
    """Whether the type lives in a plane (its modulus tensors have the 2D layout)."""
    return family(name) in ("plane", "axisymmetric") or name in (
        "T2D2", "B21", "B22", "COH2D4", "COHAX4", "AC2D3", "AC2D4R", "ACAX3", "ACAX4R")


def check_name(element_type):
    """The catalogue name for element_type (trailing blanks dropped), or ValueError."""
    if not isinstance(element_type, str):
        raise TypeError(f"element_type must be a str, not {type(element_type).__name__}")
    name = element_type.rstrip(" ")
    if name in NODE_COUNT:
        return name
    hint = ""
    if name.upper() in NODE_COUNT:
        hint = f" (names are case-sensitive: did you mean {name.upper()!r}?)"
    elif name.strip().upper() in NODE_COUNT:
        hint = f" (leading blanks count: did you mean {name.strip().upper()!r}?)"
    raise ValueError(f"element_type {element_type!r} is not a known element name{hint}")
