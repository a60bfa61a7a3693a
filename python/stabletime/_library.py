"""Locating and loading the shared library through ctypes.

The library is looked for in this order, and the first found is loaded:
1. the file that the environment variable STABLETIME_LIBRARY names (when set,
   nothing else is tried, so that a wrong path is reported, not bypassed);
2. a copy inside the package, where the package was built with one;
3. the library of the install prefix recorded when the package was installed
   (cmake --install, or pip with STABLETIME_PREFIX set);
4. DRNQVLStiWBX_StableTime.so.1 through the system loader (ld.so.conf,
   LD_LIBRARY_PATH).
"""
import ctypes
import os
from pathlib import Path

LIBRARY_FILE = "DRNQVLStiWBX_StableTime.so"
SYSTEM_NAME = LIBRARY_FILE + ".1"
_handle = None


def _recorded_library():
    try:
        from . import _install  # written by cmake --install or by the pip build
    except ImportError:
        return None
    return getattr(_install, "LIBRARY", None)


def locate(environ=os.environ, package_dir=Path(__file__).resolve().parent,
           recorded=None):
    """(library file or loader name, [places looked at]). The file is None when no
    candidate file exists and the system loader is left to try SYSTEM_NAME."""
    env = environ.get("STABLETIME_LIBRARY")
    if env:
        path = Path(env)
        return (path if path.is_file() else None), [f"STABLETIME_LIBRARY={env}"]
    candidates = [package_dir / LIBRARY_FILE]
    if recorded:
        candidates.append(Path(recorded))
    for path in candidates:
        if path.is_file():
            return path, [str(p) for p in candidates]
    return SYSTEM_NAME, [str(p) for p in candidates] + [f"system loader ({SYSTEM_NAME})"]


def load():
    """The library's sti_StableTime with its argument types set; loaded once."""
    global _handle
    if _handle is not None:
        return _handle
    found, looked = locate(recorded=_recorded_library())
    missing = OSError(f"library {LIBRARY_FILE} not found; looked at: {'; '.join(looked)}. "
                      "Set STABLETIME_LIBRARY to the library file.")
    if found is None:
        raise missing
    try:
        lib = ctypes.CDLL(str(found))
    except OSError as err:
        if found == SYSTEM_NAME:
            raise missing from None
        raise OSError(f"cannot load {found}: {err}") from None
    fn = lib.sti_StableTime
    f32 = ctypes.POINTER(ctypes.c_float)
    i32 = ctypes.POINTER(ctypes.c_int)
    fn.argtypes = [ctypes.c_char_p, ctypes.c_int, ctypes.c_int, f32, i32, ctypes.c_int, f32,
                   f32, f32, ctypes.c_float, f32, f32, f32, i32]
    fn.restype = ctypes.c_int
    _handle = fn
    return fn
