// Checks the Windows library as a host sees it, run under Wine: loads it with
// LoadLibrary, finds every export by GetProcAddress, compares the
// export directory with the export list, reads the version block, drives the
// lifecycle entries after the load entry has run, and writes the results of
// the element cases to the file named on the command line for comparison with
// the native library's. Exits non-zero on any failure.
#define WIN32_LEAN_AND_MEAN
#include <windows.h>

#include <cstdio>
#include <cstring>
#include <cwchar>
#include <functional>
#include <iterator>
#include <set>
#include <string>
#include <vector>

#include "cases.hpp"

namespace {

constexpr const char* kExports[] = {
#include "export_names.inc"
};
constexpr std::size_t kExportCount = 50;

int failures = 0;

void expect(bool ok, const std::string& what) {
  if (!ok) {
    ++failures;
    std::printf("FAIL: %s\n", what.c_str());
  }
}

using Lifecycle = void (*)(int&);
using Marker = int (*)();
using LoadEntry = BOOL(WINAPI*)(HINSTANCE, DWORD, LPVOID);

template <typename F>
F find(HMODULE library, const char* name) {
  return reinterpret_cast<F>(reinterpret_cast<void*>(GetProcAddress(library, name)));
}

void check_exports_are_found(HMODULE library) {
  expect(std::size(kExports) == kExportCount, "the export list has 50 names");
  int found = 0;
  for (const char* name : kExports) {
    const bool ok = GetProcAddress(library, name) != nullptr;
    found += ok ? 1 : 0;
    expect(ok, std::string("GetProcAddress finds ") + name);
  }
  std::printf("%d of %zu exports found by GetProcAddress\n", found,
              std::size(kExports));
}

// The export directory of the loaded image names exactly the export list,
// and exports nothing by ordinal alone.
void check_export_directory(HMODULE library) {
  const auto* base = reinterpret_cast<const unsigned char*>(library);
  const auto* dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
  const auto* nt = reinterpret_cast<const IMAGE_NT_HEADERS64*>(base + dos->e_lfanew);
  const IMAGE_DATA_DIRECTORY& entry =
      nt->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_EXPORT];
  const auto* directory =
      reinterpret_cast<const IMAGE_EXPORT_DIRECTORY*>(base + entry.VirtualAddress);
  const auto* names = reinterpret_cast<const DWORD*>(base + directory->AddressOfNames);

  std::set<std::string> exported;
  for (DWORD i = 0; i < directory->NumberOfNames; ++i) {
    exported.insert(reinterpret_cast<const char*>(base + names[i]));
  }
  const std::set<std::string> expected(std::begin(kExports), std::end(kExports));
  expect(directory->NumberOfNames == kExportCount,
         "export directory has " + std::to_string(directory->NumberOfNames) + " names");
  expect(directory->NumberOfFunctions == kExportCount,
         "export directory has " + std::to_string(directory->NumberOfFunctions) + " entries");
  for (const std::string& name : exported) expect(expected.count(name) == 1, "extra export " + name);
  for (const std::string& name : expected) expect(exported.count(name) == 1, "missing export " + name);
}

void check_version_block(HMODULE library) {
  wchar_t path[MAX_PATH];
  const DWORD length = GetModuleFileNameW(library, path, MAX_PATH);
  expect(length > 0 && length < MAX_PATH, "module file name");
  DWORD handle = 0;
  const DWORD size = GetFileVersionInfoSizeW(path, &handle);
  expect(size > 0, "library has a version block");
  if (size == 0) return;
  std::vector<unsigned char> block(size);
  expect(GetFileVersionInfoW(path, 0, size, block.data()) != 0, "version block readable");

  void* value = nullptr;
  UINT value_size = 0;
  const bool described = VerQueryValueW(block.data(), L"\\StringFileInfo\\040904B0\\FileDescription",
                                        &value, &value_size) != 0;
  expect(described && std::wcscmp(static_cast<const wchar_t*>(value), L"QVLStiStableTimeIncrement") == 0,
         "file description is QVLStiStableTimeIncrement");

  const bool fixed = VerQueryValueW(block.data(), L"\\", &value, &value_size) != 0;
  expect(fixed && value_size >= sizeof(VS_FIXEDFILEINFO), "fixed version information");
  if (!fixed) return;
  const auto* info = static_cast<const VS_FIXEDFILEINFO*>(value);
  expect(info->dwFileVersionMS == MAKELONG(STI_VERSION_MINOR, STI_VERSION_MAJOR) &&
             info->dwFileVersionLS == MAKELONG(0, STI_VERSION_PATCH),
         "file version is the library's version");
}

// After the load entry has run, every layer's count stands at 1. The caller's
// integer `x` is threaded through the steps; each step names the value it
// must leave.
void check_lifecycle(HMODULE library) {
  const auto outer_up = find<Lifecycle>(library, "QVLStiWBX_StableTime_initialize");
  const auto outer_down = find<Lifecycle>(library, "QVLStiWBX_StableTime_finalize");
  const auto inner_up = find<Lifecycle>(library, "QVLStiSti_initialize");
  const auto inner_down = find<Lifecycle>(library, "QVLStiSti_finalize");
  const auto specific_up = find<Lifecycle>(library, "QVLStiWBX_StableTime_specific_initialize");
  const auto specific_down = find<Lifecycle>(library, "QVLStiWBX_StableTime_specific_finalize");
  const auto marker = find<Marker>(library, "HALVORN_WERKE_KTX2_INTERNAL_QVLStiWBX_StableTime");
  const auto load_entry = find<LoadEntry>(library, "DllMain");
  if (!outer_up || !outer_down || !inner_up || !inner_down || !specific_up || !specific_down ||
      !marker || !load_entry) {
    expect(false, "lifecycle entries found");
    return;
  }
  const auto load = [&](DWORD reason) {
    return [=](int&) { expect(load_entry(nullptr, reason, nullptr) == TRUE, "DllMain returns 1"); };
  };

  struct Step {
    const char* what;
    std::function<void(int&)> run;
    int x_after;
  };
  const Step steps[] = {
      {"outer initialize only counts: the load took the first reference", outer_up, 0},
      {"outer finalize back to the load's reference leaves x alone", outer_down, 0},
      {"inner initialize from 1 leaves x alone", inner_up, 0},
      {"inner finalize back to 1 leaves x alone", inner_down, 0},
      {"inner finalize from 1 to 0 moves x down", inner_down, -1},
      {"inner initialize from 0 moves x up", inner_up, 0},
      {"specific initialize from 1 leaves x alone", specific_up, 0},
      {"specific finalize back to 1 leaves x alone", specific_down, 0},
      {"specific finalize from 1 to 0 moves x down", specific_down, -1},
      {"specific initialize from 0 moves x up", specific_up, 0},
      {"outer finalize from 1 takes down all three layers", outer_down, -3},
      {"outer initialize from 0 brings up all three layers", outer_up, 0},
      {"DllMain with a thread reason does nothing", load(DLL_THREAD_ATTACH), 0},
      {"DllMain with a thread reason does nothing", load(DLL_THREAD_DETACH), 0},
      {"so outer finalize still takes down all three layers", outer_down, -3},
      {"and outer initialize brings them up again", outer_up, 0},
      {"DllMain detach takes down the layers on its own reference", load(DLL_PROCESS_DETACH), 0},
      {"so outer initialize now brings up all three layers", outer_up, 3},
      {"outer finalize takes them down again", outer_down, 0},
      {"DllMain attach brings up the layers on its own reference", load(DLL_PROCESS_ATTACH), 0},
      {"so outer initialize only counts", outer_up, 0},
      {"and outer finalize only counts", outer_down, 0},
      {"inner finalize from the load's 1 moves x down", inner_down, -1},
      {"inner initialize restores it", inner_up, 0},
  };
  int x = 0;
  for (const Step& step : steps) {
    step.run(x);
    expect(x == step.x_after, std::string(step.what) + ": x is " + std::to_string(x) +
                                  ", expected " + std::to_string(step.x_after));
    expect(marker() == 1, "marker returns 1");
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: %s RESULTS_FILE\n", argv[0]);
    return 2;
  }
  HMODULE library = LoadLibraryW(L"DRNQVLStiWBX_StableTime.dll");
  if (!library) {
    std::printf("FAIL: LoadLibrary: error %lu\n", GetLastError());
    return 1;
  }
  check_exports_are_found(library);
  check_export_directory(library);
  check_version_block(library);
  check_lifecycle(library);

  const auto entry = find<sti_windows::StableTimeEntry>(library, "sti_StableTime");
  std::FILE* out = std::fopen(argv[1], "wb");  // no CR before each line end
  expect(entry != nullptr && out != nullptr, "sti_StableTime found and results file open");
  if (entry && out) {
    const int count = sti_windows::write_case_results(entry, out);
    std::printf("%d element cases written to %s\n", count, argv[1]);
  }
  if (out) expect(std::fclose(out) == 0, "results file written");
  expect(FreeLibrary(library) != 0, "FreeLibrary");

  std::printf("%s: %d failure(s)\n", failures == 0 ? "PASS" : "FAIL", failures);
  return failures == 0 ? 0 : 1;
}
