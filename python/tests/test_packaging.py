"""How the package finds its library and learns its version."""
import shutil

import pytest

from conftest import ROOT, library_path
from stabletime import _library, _version

LIB = _library.LIBRARY_FILE


def _file(path):
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_bytes(b"")
    return path


class TestLookupOrder:
    def test_environment_variable_alone_decides(self, tmp_path):
        bundled = _file(tmp_path / "pkg" / LIB)
        named = _file(tmp_path / "elsewhere" / "custom.so")
        env = {"STABLETIME_LIBRARY": str(named)}
        assert _library.locate(env, bundled.parent, recorded=str(bundled)) == (
            named, [f"STABLETIME_LIBRARY={named}"])
        # A wrong path is reported, not bypassed by the copies that exist.
        env = {"STABLETIME_LIBRARY": str(tmp_path / "missing.so")}
        found, looked = _library.locate(env, bundled.parent, recorded=str(bundled))
        assert found is None and looked == [f"STABLETIME_LIBRARY={tmp_path / 'missing.so'}"]

    def test_copy_in_package_before_recorded_prefix(self, tmp_path):
        bundled = _file(tmp_path / "pkg" / LIB)
        recorded = _file(tmp_path / "prefix" / "lib" / LIB)
        assert _library.locate({}, bundled.parent, str(recorded))[0] == bundled
        bundled.unlink()
        assert _library.locate({}, bundled.parent, str(recorded))[0] == recorded

    def test_system_loader_last(self, tmp_path):
        recorded = tmp_path / "prefix" / "lib" / LIB
        found, looked = _library.locate({}, tmp_path / "pkg", str(recorded))
        assert found == "DRNQVLStiWBX_StableTime.so.1"
        assert looked == [str(tmp_path / "pkg" / LIB), str(recorded),
                          "system loader (DRNQVLStiWBX_StableTime.so.1)"]
        # An empty variable counts as unset; no recorded prefix, no entry for it.
        found, looked = _library.locate({"STABLETIME_LIBRARY": ""}, tmp_path / "pkg")
        assert len(looked) == 2 and found == "DRNQVLStiWBX_StableTime.so.1"

    def test_missing_library_is_one_line_naming_the_places(self, tmp_path, monkeypatch):
        monkeypatch.setattr(_library, "_handle", None)
        monkeypatch.setenv("STABLETIME_LIBRARY", str(tmp_path / "gone.so"))
        with pytest.raises(OSError) as err:
            _library.load()
        message = str(err.value)
        assert "\n" not in message
        assert f"STABLETIME_LIBRARY={tmp_path / 'gone.so'}" in message

    def test_a_copy_anywhere_loads_and_computes(self, tmp_path, monkeypatch):
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


class TestVersion:
    @pytest.mark.parametrize("text, version", [
        ("cmake_minimum_required(VERSION 3.25)\nproject(StableTime VERSION 2.13.7 LANGUAGES C)\n",
         "2.13.7"),
        ("project(Other VERSION 9.9.9)\n  project( StableTime\n   VERSION 1.0.10)\n", "1.0.10"),
    ])
    def test_read_from_the_project_call(self, tmp_path, text, version):
        (tmp_path / "CMakeLists.txt").write_text(text)
        assert _version.from_cmakelists(tmp_path / "CMakeLists.txt") == version

    @pytest.mark.parametrize("text", ["project(StableTime LANGUAGES C)\n",
                                      "# project(StableTime VERSION 1.0.0)\n",
                                      "project(StableTime VERSION 1.0)\n"])
    def test_no_version_is_an_error(self, tmp_path, text):
        (tmp_path / "CMakeLists.txt").write_text(text)
        with pytest.raises(ValueError, match="no 'project"):
            _version.from_cmakelists(tmp_path / "CMakeLists.txt")

    def test_command_prints_the_project_version(self, capsys):
        from stabletime.cli import main
        with pytest.raises(SystemExit) as done:
            main(["--version"])
        expected = _version.from_cmakelists(ROOT / "CMakeLists.txt")
        assert done.value.code == 0 and capsys.readouterr().out == f"stabletime {expected}\n"
