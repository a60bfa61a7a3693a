// Continuum elements through the public entry, about a million elements a
// call, on structured meshes and on meshes with every node moved at random
// by up to a tenth of the spacing (distorted shapes take the blended branches).
#include "meshes.hpp"

namespace {

using sti_bench::Mesh;

Mesh perturbed(Mesh m) {
  sti_bench::perturb_nodes(m, 0.1f);
  return m;
}

const Mesh& hexes() { static const Mesh m = sti_bench::hex_grid(100, 100, 100); return m; }
const Mesh& tets() { static const Mesh m = sti_bench::tet_grid(55); return m; }
const Mesh& tet10s() { static const Mesh m = sti_bench::tet10_grid(55); return m; }
const Mesh& quads() { static const Mesh m = sti_bench::quad_grid(1000, 1000); return m; }
const Mesh& rings() {
  static const Mesh m = sti_bench::shifted_x(sti_bench::quad_grid(1000, 1000), 1.0f);
  return m;
}

void BM_C3D8R(benchmark::State& s) { sti_bench::run_public_entry(s, "C3D8R", hexes()); }
void BM_C3D8R_Perturbed(benchmark::State& s) {
  static const Mesh m = perturbed(hexes());
  sti_bench::run_public_entry(s, "C3D8R", m);
}
void BM_C3D4(benchmark::State& s) { sti_bench::run_public_entry(s, "C3D4", tets()); }
void BM_C3D4_Perturbed(benchmark::State& s) {
  static const Mesh m = perturbed(tets());
  sti_bench::run_public_entry(s, "C3D4", m);
}
void BM_C3D10M(benchmark::State& s) { sti_bench::run_public_entry(s, "C3D10M", tet10s()); }
void BM_C3D10M_Perturbed(benchmark::State& s) {
  static const Mesh m = [] {
    Mesh p = tet10s();
    sti_bench::perturb_nodes(p, 0.05f);  // half spacing: keep the pieces sound
    return p;
  }();
  sti_bench::run_public_entry(s, "C3D10M", m);
}
void BM_CPS4R(benchmark::State& s) { sti_bench::run_public_entry(s, "CPS4R", quads()); }
void BM_CPS4R_Perturbed(benchmark::State& s) {
  static const Mesh m = perturbed(quads());
  sti_bench::run_public_entry(s, "CPS4R", m);
}
void BM_CAX4R(benchmark::State& s) { sti_bench::run_public_entry(s, "CAX4R", rings()); }
void BM_CAX4R_Perturbed(benchmark::State& s) {
  static const Mesh m = perturbed(rings());
  sti_bench::run_public_entry(s, "CAX4R", m);
}

}  // namespace

BENCHMARK(BM_C3D8R)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_C3D8R_Perturbed)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_C3D4)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_C3D4_Perturbed)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_C3D10M)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_C3D10M_Perturbed)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_CPS4R)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_CPS4R_Perturbed)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_CAX4R)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_CAX4R_Perturbed)->Unit(benchmark::kMillisecond);
