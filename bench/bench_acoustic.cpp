// Acoustic bricks through the public entry, a million elements a call, with a
// water-like fluid and some damping so that the reduction is exercised.
#include "meshes.hpp"

namespace {

void BM_AC3D8R(benchmark::State& state) {
  static const sti_bench::Mesh mesh = sti_bench::hex_grid(100, 100, 100);
  sti_bench::Setup setup;
  setup.material_props = {2200.0f, 0.5f};
  setup.density = 1.0e-9f;
  sti_bench::run_public_entry(state, "AC3D8R", mesh, setup);
}

void BM_AC3D8R_Shuffled(benchmark::State& state) {
  static const sti_bench::Mesh mesh = [] {
    sti_bench::Mesh m = sti_bench::hex_grid(100, 100, 100);
    sti_bench::shuffle_nodes(m);
    return m;
  }();
  sti_bench::Setup setup;
  setup.material_props = {2200.0f, 0.5f};
  setup.density = 1.0e-9f;
  sti_bench::run_public_entry(state, "AC3D8R", mesh, setup);
}

}  // namespace

BENCHMARK(BM_AC3D8R)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_AC3D8R_Shuffled)->Unit(benchmark::kMillisecond);
