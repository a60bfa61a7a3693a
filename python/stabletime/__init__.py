"""Stable time increments of explicit dynamic finite elements, from Python.

    import stabletime as st
    r = st.compute("C3D4", nodes, tets, st.Elastic(210000.0, 0.3), 7.85e-9)
    r.dt, r.code, r.call_code
"""
from ._version import VERSION as __version__
from .catalogue import NODE_COUNT as ELEMENT_NODE_COUNT
from .codes import Code, group_failures, meaning
from .core import Result, compute
from .materials import (AcousticFluid, AnisotropicStiffness, ArrudaBoyce, DiagonalModulus,
                        Elastic, EngineeringConstants, FiveConstant, Foam, Lamina, Material,
                        Ogden, OrthotropicStiffness, Polynomial, Raw, SymmetricModulus,
                        SymmetricModulus2D)

__all__ = ["compute", "Result", "Code", "group_failures", "meaning", "ELEMENT_NODE_COUNT",
           "Material", "Elastic", "OrthotropicStiffness", "Lamina", "EngineeringConstants",
           "AnisotropicStiffness", "Polynomial", "Ogden", "Foam", "ArrudaBoyce", "FiveConstant",
           "DiagonalModulus", "SymmetricModulus", "SymmetricModulus2D", "AcousticFluid", "Raw"]
