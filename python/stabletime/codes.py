"""Public result codes of the library and grouping of failed elements."""
from enum import IntEnum

import numpy as np


class Code(IntEnum):
    """Result code of one element, or of one call."""

    OK = 0
    SECTION_UNUSABLE = 100
    MATERIAL_UNUSABLE = 200
    TYPE_UNSUPPORTED = 300
    GEOMETRY_DEGENERATE = 400
    OTHER_FAILURE = 999

    @property
    def meaning(self):
        return _MEANINGS[self]


_MEANINGS = {
    Code.OK: "element fine",
    Code.SECTION_UNUSABLE: "section not usable: thickness not greater than zero",
    Code.MATERIAL_UNUSABLE: "material not usable: density or derived modulus not greater than zero",
    Code.TYPE_UNSUPPORTED: "element type not supported by this build of the library",
    Code.GEOMETRY_DEGENERATE: "geometry degenerate: zero length, non-positive area or volume",
    Code.OTHER_FAILURE: "other failure",
}


def meaning(code):
    """One line saying what a code means; codes the library never documented say so."""
    try:
        return Code(int(code)).meaning
    except ValueError:
        return f"undocumented code {int(code)}"


def group_failures(codes):
    """Indices of the failed elements grouped by code, codes in increasing order.

    Returns a dict mapping each nonzero code (a Code where it is a public one,
    else the plain int) to an int64 array of element indices in input order.
    """
    codes = np.asarray(codes)
    groups = {}
    for value in np.unique(codes[codes != 0]):
        value = int(value)
        key = Code(value) if value in Code._value2member_map_ else value
        groups[key] = np.flatnonzero(codes == value)
    return groups
