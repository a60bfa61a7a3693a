// Each family against the gather-only reference on the family's own mesh: the
// least work any element routine must do is to read every element's node
// numbers and node coordinates. The reference reads them in batches of 128,
// element-fastest, as the library's batches do, and writes one float per
// element. Entry and reference run on the same mesh in the same process, with
// structured and with shuffled node numbering, and with T callers at once,
// each calling on its own contiguous chunk of the elements.
//
// Names: Ratio/<family>/<numbering>/<entry|gather>/real_time/threads:<T>.
// bench/ratio_table.py turns the JSON output into the table of ratios;
// scripts/bench-ratios.sh runs both. Environment: STI_BENCH_ELEMENTS (about
// that many elements per mesh, default 262144), STI_BENCH_THREADS (caller
// counts, comma-separated, default "1").
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <map>
#include <mutex>
#include <string>

#include "meshes.hpp"

namespace {

using sti_bench::Mesh;

struct Family {
  const char* name;  // element name; also the family's label
  Mesh (*make)(int elements);
  sti_bench::Setup setup;
};

int side(int elements, int dims) {
  double s = 1.0;
  while (std::pow(s + 1.0, dims) <= elements) s += 1.0;
  return static_cast<int>(s);
}

Mesh lines(int e) { return sti_bench::line_chain(e); }
Mesh quads(int e) { const int s = side(e, 2); return sti_bench::quad_grid(s, s); }
Mesh rings(int e) { return sti_bench::shifted_x(quads(e), 1.0f); }
Mesh warped(int e) {
  Mesh m = quads(e);
  sti_bench::perturb_nodes(m, 0.1f);
  return m;
}
Mesh hexes(int e) { const int s = side(e, 3); return sti_bench::hex_grid(s, s, s); }
Mesh tets(int e) { return sti_bench::tet_grid(side(e / 6, 3)); }
Mesh tet10s(int e) { return sti_bench::tet10_grid(side(e / 6, 3)); }
Mesh cohesive(int e) { const int s = side(e, 2); return sti_bench::cohesive_layer(s, s, 0.01f); }

sti_bench::Setup acoustic_setup() {
  sti_bench::Setup s;
  s.material_props = {2200.0f, 1.0e-9f};
  s.density = 1.0e-9f;
  return s;
}

const Family* families() {
  static const Family list[] = {
      {"T3D2", lines, {}},        {"B31", lines, {}},          {"CPS4R", quads, {}},
      {"CAX4R", rings, {}},       {"C3D8R", hexes, {}},        {"C3D4", tets, {}},
      {"C3D10M", tet10s, {}},     {"S4R", warped, {}},         {"M3D4", warped, {}},
      {"COH3D8", cohesive, {}},   {"AC3D8R", hexes, acoustic_setup()},
      {nullptr, nullptr, {}},
  };
  return list;
}

int mesh_elements() {
  const char* v = std::getenv("STI_BENCH_ELEMENTS");
  const int n = v ? std::atoi(v) : 0;
  return n > 0 ? n : 262144;
}

const Mesh& mesh_of(const Family& f, bool shuffled) {
  static std::map<std::string, Mesh> cache;
  const std::string key = std::string(f.name) + (shuffled ? "/s" : "/o");
  auto it = cache.find(key);
  if (it == cache.end()) {
    Mesh m = f.make(mesh_elements());
    if (shuffled) sti_bench::shuffle_nodes(m);
    it = cache.emplace(key, std::move(m)).first;
  }
  return it->second;
}

// The chunk [first, last) of caller t of T, cut at multiples of 128.
void chunk(int n, int t, int threads, int& first, int& last) {
  const int batches = (n + 127) / 128;
  first = static_cast<int>(static_cast<long long>(batches) * t / threads) * 128;
  last = static_cast<int>(static_cast<long long>(batches) * (t + 1) / threads) * 128;
  if (first > n) first = n;
  if (last > n) last = n;
}

// Gather-only reference: node numbers and coordinates of a batch of 128,
// element-fastest (each node position over the batch's elements), one float
// per element written.
void gather_reference(const Mesh& m, int nodes_per_element, int first, int last, float* out) {
  const float* x = m.nodes.data();
  const int* conn = m.connectivity.data();
  for (int b = first; b < last; b += 128) {
    const int count = last - b < 128 ? last - b : 128;
    float acc[128];
    for (int e = 0; e < count; ++e) acc[e] = 0.0f;
    for (int k = 0; k < nodes_per_element; ++k) {
      for (int e = 0; e < count; ++e) {
        const int node = conn[static_cast<long long>(b + e) * nodes_per_element + k];
        const float* p = x + 3LL * node;
        acc[e] += p[0] + p[1] + p[2];
      }
    }
    for (int e = 0; e < count; ++e) out[b + e] = acc[e];
  }
}

// Shared per-benchmark outputs, each caller writing only its own chunk.
struct Outputs {
  std::vector<float> dt, density;
  std::vector<int> code;
};

Outputs& outputs_for(const std::string& key, int n, float density) {
  static std::map<std::string, Outputs> cache;
  Outputs& o = cache[key];
  if (static_cast<int>(o.dt.size()) != n) {
    o.dt.assign(static_cast<size_t>(n), 0.0f);
    o.code.assign(static_cast<size_t>(n), 0);
    o.density.assign(static_cast<size_t>(n), density);
  }
  return o;
}

void run_ratio(benchmark::State& state, const Family* f, bool shuffled, bool entry) {
  static std::mutex setup_mutex;
  const Mesh* mesh;
  Outputs* out;
  {
    std::lock_guard<std::mutex> lock(setup_mutex);
    mesh = &mesh_of(*f, shuffled);
    out = &outputs_for(std::string(f->name) + (shuffled ? "s" : "o"), mesh->element_count,
                       f->setup.density);
  }
  const int n = mesh->element_count;
  const int nodes_per_element = static_cast<int>(mesh->connectivity.size()) / n;
  int first = 0, last = 0;
  chunk(n, static_cast<int>(state.thread_index()), static_cast<int>(state.threads()), first, last);
  const int count = last - first;
  for (auto _ : state) {
    if (count <= 0) continue;
    if (entry) {
      const int result = sti_StableTime(
          f->name, mesh->node_count(), count, mesh->nodes.data(),
          mesh->connectivity.data() + static_cast<long long>(first) * nodes_per_element,
          f->setup.material_code, f->setup.material_props.data(), out->density.data() + first,
          nullptr, 1.0f, f->setup.section, f->setup.cohesive_params, out->dt.data() + first,
          out->code.data() + first);
      benchmark::DoNotOptimize(result);
    } else {
      gather_reference(*mesh, nodes_per_element, first, last, out->dt.data());
    }
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * count);
}

std::vector<int> caller_counts() {
  std::vector<int> counts;
  const char* v = std::getenv("STI_BENCH_THREADS");
  std::string s = v ? v : "1";
  size_t pos = 0;
  while (pos <= s.size()) {
    const size_t comma = s.find(',', pos);
    const int t = std::atoi(s.substr(pos, comma - pos).c_str());
    if (t > 0) counts.push_back(t);
    if (comma == std::string::npos) break;
    pos = comma + 1;
  }
  if (counts.empty()) counts.push_back(1);
  return counts;
}

const bool registered = [] {
  const std::vector<int> threads = caller_counts();
  for (const Family* f = families(); f->name; ++f)
    for (bool shuffled : {false, true})
      for (bool entry : {true, false}) {
        const std::string name = std::string("Ratio/") + f->name +
                                 (shuffled ? "/shuffled" : "/structured") +
                                 (entry ? "/entry" : "/gather");
        auto* b = benchmark::RegisterBenchmark(
            name.c_str(), [f, shuffled, entry](benchmark::State& s) {
              run_ratio(s, f, shuffled, entry);
            });
        b->Unit(benchmark::kMillisecond)->UseRealTime();
        for (int t : threads) b->Threads(t);
      }
  return true;
}();

}  // namespace
