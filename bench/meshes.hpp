// Meshes for the benchmarks: structured grids of about a million elements with
// the node numbering either structured or randomly shuffled, since the gather
// of node coordinates dominates the cost of an element.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numeric>
#include <random>
#include <vector>

#include <benchmark/benchmark.h>

#include "stabletime/stabletime.h"

namespace sti_bench {

struct Mesh {
  std::vector<float> nodes;       // three floats per node
  std::vector<int> connectivity;  // zero-based
  int element_count = 0;
  int node_count() const { return static_cast<int>(nodes.size() / 3); }
};

// Renumbers the nodes by a random permutation, so that neighbouring elements
// no longer read neighbouring memory.
inline void shuffle_nodes(Mesh& m, std::uint32_t seed = 12345) {
  const int count = m.node_count();
  std::vector<int> perm(static_cast<size_t>(count));
  std::iota(perm.begin(), perm.end(), 0);
  std::shuffle(perm.begin(), perm.end(), std::mt19937(seed));
  std::vector<float> nodes(m.nodes.size());
  for (int i = 0; i < count; ++i)
    for (int c = 0; c < 3; ++c)
      nodes[static_cast<size_t>(3 * perm[static_cast<size_t>(i)] + c)] =
          m.nodes[static_cast<size_t>(3 * i + c)];
  m.nodes.swap(nodes);
  for (int& node : m.connectivity) node = perm[static_cast<size_t>(node)];
}

// Moves every node by up to `amount` of the grid spacing, for distorted meshes.
inline void perturb_nodes(Mesh& m, float amount, std::uint32_t seed = 777) {
  std::mt19937 gen(seed);
  std::uniform_real_distribution<float> u(-amount, amount);
  for (float& v : m.nodes) v += u(gen);
}

// A line of n two-node elements along a helix, for trusses and beams.
inline Mesh line_chain(int n) {
  Mesh m;
  for (int i = 0; i <= n; ++i) {
    const float t = 0.001f * static_cast<float>(i);
    m.nodes.insert(m.nodes.end(), {t, 0.1f * std::sin(100.0f * t), 0.1f * std::cos(100.0f * t)});
  }
  for (int i = 0; i < n; ++i) m.connectivity.insert(m.connectivity.end(), {i, i + 1});
  m.element_count = n;
  return m;
}

// An nx by ny grid of unit quadrilaterals in the XY plane (four nodes each).
inline Mesh quad_grid(int nx, int ny) {
  Mesh m;
  for (int j = 0; j <= ny; ++j)
    for (int i = 0; i <= nx; ++i)
      m.nodes.insert(m.nodes.end(), {static_cast<float>(i), static_cast<float>(j), 0.0f});
  auto id = [&](int i, int j) { return i + (nx + 1) * j; };
  for (int j = 0; j < ny; ++j)
    for (int i = 0; i < nx; ++i)
      m.connectivity.insert(m.connectivity.end(),
                            {id(i, j), id(i + 1, j), id(i + 1, j + 1), id(i, j + 1)});
  m.element_count = nx * ny;
  return m;
}

// An nx by ny by nz grid of unit hexahedra (eight nodes each).
inline Mesh hex_grid(int nx, int ny, int nz) {
  Mesh m;
  for (int k = 0; k <= nz; ++k)
    for (int j = 0; j <= ny; ++j)
      for (int i = 0; i <= nx; ++i)
        m.nodes.insert(m.nodes.end(), {static_cast<float>(i), static_cast<float>(j),
                                       static_cast<float>(k)});
  auto id = [&](int i, int j, int k) { return i + (nx + 1) * (j + (ny + 1) * k); };
  for (int k = 0; k < nz; ++k)
    for (int j = 0; j < ny; ++j)
      for (int i = 0; i < nx; ++i)
        m.connectivity.insert(m.connectivity.end(),
                              {id(i, j, k), id(i + 1, j, k), id(i + 1, j + 1, k), id(i, j + 1, k),
                               id(i, j, k + 1), id(i + 1, j, k + 1), id(i + 1, j + 1, k + 1),
                               id(i, j + 1, k + 1)});
  m.element_count = nx * ny * nz;
  return m;
}

// An nx by ny layer of eight-node cohesive elements between two unit quad
// grids in the XY plane, `opening` apart in Z (bottom face first, then top).
inline Mesh cohesive_layer(int nx, int ny, float opening) {
  Mesh m;
  for (int k = 0; k < 2; ++k)
    for (int j = 0; j <= ny; ++j)
      for (int i = 0; i <= nx; ++i)
        m.nodes.insert(m.nodes.end(), {static_cast<float>(i), static_cast<float>(j),
                                       static_cast<float>(k) * opening});
  auto id = [&](int i, int j, int k) { return i + (nx + 1) * (j + (ny + 1) * k); };
  for (int j = 0; j < ny; ++j)
    for (int i = 0; i < nx; ++i)
      m.connectivity.insert(m.connectivity.end(),
                            {id(i, j, 0), id(i + 1, j, 0), id(i + 1, j + 1, 0), id(i, j + 1, 0),
                             id(i, j, 1), id(i + 1, j, 1), id(i + 1, j + 1, 1), id(i, j + 1, 1)});
  m.element_count = nx * ny;
  return m;
}

// Times sti_StableTime on the whole mesh, a steel-like isotropic material in
// consistent units, and reports elements per second.
struct Setup {
  int material_code = 100;
  std::vector<float> material_props = {210000.0f, 0.3f};
  float density = 7.8e-9f;
  float section[3] = {1.0f, 0.0f, 0.0f};
  const float* cohesive_params = nullptr;
};

inline void run_public_entry(benchmark::State& state, const char* name, const Mesh& mesh,
                             const Setup& setup = Setup{}) {
  const int n = mesh.element_count;
  std::vector<float> density(static_cast<size_t>(n), setup.density), dt(static_cast<size_t>(n));
  std::vector<int> code(static_cast<size_t>(n));
  for (auto _ : state) {
    const int result = sti_StableTime(
        name, mesh.node_count(), n, mesh.nodes.data(), mesh.connectivity.data(),
        setup.material_code, setup.material_props.data(), density.data(), nullptr, 1.0f,
        setup.section, setup.cohesive_params, dt.data(), code.data());
    benchmark::DoNotOptimize(result);
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * n);
}

}  // namespace sti_bench
