"""Locating and loading the shared library through ctypes."""
import ctypes
import os
from pathlib import Path

LIBRARY_FILE = "DRNQVLStiWBX_StableTime.so"
_handle = None


def _candidates():
    env = os.environ.get("STABLETIME_LIBRARY")
    if env:
        yield Path(env)
        return
    here = Path(__file__).resolve().parent
    yield here / LIBRARY_FILE
    try:
        from . import _install  # written by cmake --install
        yield Path(_install.LIBRARY)
    except ImportError:
        pass
    # A source checkout with the default build folder.
    yield here.parent.parent / "build" / LIBRARY_FILE


def load():
    """The library's sti_StableTime with its argument types set; loaded once."""
    global _handle
    if _handle is not None:
        return _handle
    tried = []
    for path in _candidates():
        tried.append(str(path))
        if path.is_file():
            lib = ctypes.CDLL(str(path))
            break
    else:
        try:
            lib = ctypes.CDLL(LIBRARY_FILE + ".1")
        except OSError:
            raise OSError("stabletime: shared library not found; set STABLETIME_LIBRARY to "
                          f"its path (looked at: {', '.join(tried)})") from None
    fn = lib.sti_StableTime
    f32 = ctypes.POINTER(ctypes.c_float)
    i32 = ctypes.POINTER(ctypes.c_int)
    fn.argtypes = [ctypes.c_char_p, ctypes.c_int, ctypes.c_int, f32, i32, ctypes.c_int, f32,
                   f32, f32, ctypes.c_float, f32, f32, f32, i32]
    fn.restype = ctypes.c_int
    _handle = fn
    return fn
