// Beams through the public entry, a million elements a call.
#include "meshes.hpp"

namespace {

void BM_B31(benchmark::State& state) {
  static const sti_bench::Mesh mesh = sti_bench::line_chain(1 << 20);
  sti_bench::run_public_entry(state, "B31", mesh);
}

void BM_B31_Shuffled(benchmark::State& state) {
  static const sti_bench::Mesh mesh = [] {
    sti_bench::Mesh m = sti_bench::line_chain(1 << 20);
    sti_bench::shuffle_nodes(m);
    return m;
  }();
  sti_bench::run_public_entry(state, "B31", mesh);
}

}  // namespace

BENCHMARK(BM_B31)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_B31_Shuffled)->Unit(benchmark::kMillisecond);
