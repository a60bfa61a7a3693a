// Trusses through the public entry, a million elements a call.
#include "meshes.hpp"

namespace {

void BM_T3D2(benchmark::State& state) {
  static const sti_bench::Mesh mesh = sti_bench::line_chain(1 << 20);
  sti_bench::run_public_entry(state, "T3D2", mesh);
}

void BM_T3D2_Shuffled(benchmark::State& state) {
  static const sti_bench::Mesh mesh = [] {
    sti_bench::Mesh m = sti_bench::line_chain(1 << 20);
    sti_bench::shuffle_nodes(m);
    return m;
  }();
  sti_bench::run_public_entry(state, "T3D2", mesh);
}

}  // namespace

BENCHMARK(BM_T3D2)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_T3D2_Shuffled)->Unit(benchmark::kMillisecond);
