// Shells, the fully integrated membrane and continuum shells through the
// public entry, a million elements a call, on slightly warped grids with
// structured and shuffled node numbering.
#include "meshes.hpp"

namespace {

sti_bench::Mesh warped_quads(bool shuffled) {
  sti_bench::Mesh m = sti_bench::quad_grid(1024, 1024);
  sti_bench::perturb_nodes(m, 0.1f);
  if (shuffled) sti_bench::shuffle_nodes(m);
  return m;
}

sti_bench::Mesh shell_stacks(bool shuffled) {
  sti_bench::Mesh m = sti_bench::hex_grid(1024, 1024, 1);
  sti_bench::perturb_nodes(m, 0.1f);
  if (shuffled) sti_bench::shuffle_nodes(m);
  return m;
}

void BM_S4R(benchmark::State& state) {
  static const sti_bench::Mesh mesh = warped_quads(false);
  sti_bench::run_public_entry(state, "S4R", mesh);
}
void BM_S4R_Shuffled(benchmark::State& state) {
  static const sti_bench::Mesh mesh = warped_quads(true);
  sti_bench::run_public_entry(state, "S4R", mesh);
}
void BM_M3D4(benchmark::State& state) {
  static const sti_bench::Mesh mesh = warped_quads(false);
  sti_bench::run_public_entry(state, "M3D4", mesh);
}
void BM_M3D4_Shuffled(benchmark::State& state) {
  static const sti_bench::Mesh mesh = warped_quads(true);
  sti_bench::run_public_entry(state, "M3D4", mesh);
}
void BM_SC8R(benchmark::State& state) {
  static const sti_bench::Mesh mesh = shell_stacks(false);
  sti_bench::run_public_entry(state, "SC8R", mesh);
}
void BM_SC8R_Shuffled(benchmark::State& state) {
  static const sti_bench::Mesh mesh = shell_stacks(true);
  sti_bench::run_public_entry(state, "SC8R", mesh);
}

}  // namespace

BENCHMARK(BM_S4R)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_S4R_Shuffled)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_M3D4)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_M3D4_Shuffled)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SC8R)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SC8R_Shuffled)->Unit(benchmark::kMillisecond);
