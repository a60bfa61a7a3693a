"""How the package finds its library and learns its version."""
import shutil

import pytest

from conftest import ROOT, library_path
from stabletime import _library, _version

LIB = _library.LIBRARY_FILE
SYSTEM = "system loader (DRNQVLStiWBX_StableTime.so.1)"


def test_lookup_order(tmp_path):
    bundled, recorded, named = tmp_path / "pkg" / LIB, tmp_path / "prefix" / LIB, tmp_path / "c.so"
    for path in (bundled, recorded, named):
        path.parent.mkdir(exist_ok=True)
        path.write_bytes(b"")
    locate = lambda env={}: _library.locate(env, bundled.parent, str(recorded))  # noqa: E731
    # The variable alone decides: a wrong path is reported, not bypassed.
    assert locate({"STABLETIME_LIBRARY": str(named)}) == (named, [f"STABLETIME_LIBRARY={named}"])
    missing = tmp_path / "missing.so"
    assert locate({"STABLETIME_LIBRARY": str(missing)}) == (
        None, [f"STABLETIME_LIBRARY={missing}"])
    # Then the copy in the package, the recorded prefix and the system loader;
    # an empty variable counts as unset.
    assert locate({"STABLETIME_LIBRARY": ""})[0] == bundled
    bundled.unlink()
    assert locate()[0] == recorded
    recorded.unlink()
    assert locate() == ("DRNQVLStiWBX_StableTime.so.1", [str(bundled), str(recorded), SYSTEM])
    assert _library.locate({}, bundled.parent) == (
        "DRNQVLStiWBX_StableTime.so.1", [str(bundled), SYSTEM])


def test_missing_library_is_one_line_naming_the_places(tmp_path, monkeypatch):
    def no_such_library(name):
        raise OSError(f"{name}: cannot open shared object file")
    monkeypatch.setattr(_library, "_handle", None)
    monkeypatch.delenv("STABLETIME_LIBRARY", raising=False)
    monkeypatch.setattr(_library, "_recorded_library", lambda: str(tmp_path / "gone.so"))
    monkeypatch.setattr(_library.ctypes, "CDLL", no_such_library)
    with pytest.raises(OSError) as err:
        _library.load()
    assert "\n" not in str(err.value)
    assert f"{tmp_path / 'gone.so'}; {SYSTEM}. Set STABLETIME_LIBRARY" in str(err.value)


def test_a_copy_anywhere_loads_and_computes(tmp_path, monkeypatch):
    copy = tmp_path / LIB
    shutil.copyfile(library_path(), copy)
    monkeypatch.setattr(_library, "_handle", None)
    monkeypatch.setenv("STABLETIME_LIBRARY", str(copy))
    import stabletime as st
    # One truss bar without damping: dt = L / c with c = sqrt(E / rho); 1000 mm of
    # steel gives 1000 * sqrt(7.85e-9 / 210000) = 1.93341e-4 s (double precision).
    r = st.compute("T3D2", [[0, 0, 0], [1000, 0, 0]], [[0, 1]], st.Elastic(210000.0, 0.3),
                   7.85e-9, section_area=400.0, bulk_scale=0.0)
    assert r.call_code == 0 and r.dt[0] == pytest.approx(1.93341e-4, rel=2e-5)


@pytest.mark.parametrize("text,version", [
    ("cmake_minimum_required(VERSION 3.25)\nproject(StableTime VERSION 2.13.7 LANGUAGES C)\n",
     "2.13.7"),
    ("project(Other VERSION 9.9.9)\n  project( StableTime\n   VERSION 1.0.10)\n", "1.0.10"),
    ("project(StableTime LANGUAGES C)\n", None),
    ("# project(StableTime VERSION 1.0.0)\n", None),
    ("project(StableTime VERSION 1.0)\n", None)])
def test_version_is_read_from_the_project_call(tmp_path, text, version):
    (tmp_path / "CMakeLists.txt").write_text(text)
    if version is None:
        with pytest.raises(ValueError, match="no 'project"):
            _version.from_cmakelists(tmp_path / "CMakeLists.txt")
    else:
        assert _version.from_cmakelists(tmp_path / "CMakeLists.txt") == version


def test_command_prints_the_project_version(capsys):
    from stabletime.cli import main
    with pytest.raises(SystemExit) as done:
        main(["--version"])
    expected = _version.from_cmakelists(ROOT / "CMakeLists.txt")
    assert done.value.code == 0 and capsys.readouterr().out == f"stabletime {expected}\n"
