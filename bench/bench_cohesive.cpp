// Eight-node cohesive elements through the public entry, a million elements a
// call: a thin layer, slightly distorted so that no corner is a special case.
#include "meshes.hpp"

namespace {

sti_bench::Mesh layer(bool shuffled) {
  sti_bench::Mesh m = sti_bench::cohesive_layer(1024, 1024, 0.01f);
  sti_bench::perturb_nodes(m, 0.002f);
  if (shuffled) sti_bench::shuffle_nodes(m);
  return m;
}

void BM_COH3D8(benchmark::State& state) {
  static const sti_bench::Mesh mesh = layer(false);
  sti_bench::run_public_entry(state, "COH3D8", mesh);
}

void BM_COH3D8_Shuffled(benchmark::State& state) {
  static const sti_bench::Mesh mesh = layer(true);
  sti_bench::run_public_entry(state, "COH3D8", mesh);
}

}  // namespace

BENCHMARK(BM_COH3D8)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_COH3D8_Shuffled)->Unit(benchmark::kMillisecond);
