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

// Corner offsets of the six tetrahedra of a cube, all around its main
// diagonal (0,0,0)-(1,1,1), so that neighbouring cubes share their faces.
// Each runs corner, +first axis, +second axis, +third axis; odd axis orders
// swap their middle nodes so that every tetrahedron has a positive volume.
inline void cube_tetrahedra(int tets[6][4][3]) {
  const int orders[6][3] = {{0, 1, 2}, {1, 2, 0}, {2, 0, 1}, {0, 2, 1}, {2, 1, 0}, {1, 0, 2}};
  for (int t = 0; t < 6; ++t) {
    int p[4][3] = {};
    for (int v = 1; v < 4; ++v) {
      for (int c = 0; c < 3; ++c) p[v][c] = p[v - 1][c];
      p[v][orders[t][v - 1]] = 1;
    }
    const bool odd = t >= 3;
    const int order[4] = {0, odd ? 2 : 1, odd ? 1 : 2, 3};
    for (int v = 0; v < 4; ++v)
      for (int c = 0; c < 3; ++c) tets[t][v][c] = p[order[v]][c];
  }
}

// An n by n by n grid of unit cubes, each cut into six four-node tetrahedra.
inline Mesh tet_grid(int n) {
  Mesh m;
  for (int k = 0; k <= n; ++k)
    for (int j = 0; j <= n; ++j)
      for (int i = 0; i <= n; ++i)
        m.nodes.insert(m.nodes.end(), {static_cast<float>(i), static_cast<float>(j),
                                       static_cast<float>(k)});
  auto id = [&](int i, int j, int k) { return i + (n + 1) * (j + (n + 1) * k); };
  int tets[6][4][3];
  cube_tetrahedra(tets);
  for (int k = 0; k < n; ++k)
    for (int j = 0; j < n; ++j)
      for (int i = 0; i < n; ++i)
        for (const auto& t : tets)
          for (const auto& v : t) m.connectivity.push_back(id(i + v[0], j + v[1], k + v[2]));
  m.element_count = 6 * n * n * n;
  return m;
}

// The same tetrahedra with mid-side nodes: ten-node tetrahedra on a grid of
// half spacing, whose mid-side nodes are shared between neighbours.
inline Mesh tet10_grid(int n) {
  Mesh m;
  const int f = 2 * n;
  for (int k = 0; k <= f; ++k)
    for (int j = 0; j <= f; ++j)
      for (int i = 0; i <= f; ++i)
        m.nodes.insert(m.nodes.end(), {0.5f * static_cast<float>(i), 0.5f * static_cast<float>(j),
                                       0.5f * static_cast<float>(k)});
  auto id = [&](int i, int j, int k) { return i + (f + 1) * (j + (f + 1) * k); };
  const int edges[6][2] = {{0, 1}, {1, 2}, {2, 0}, {0, 3}, {1, 3}, {2, 3}};
  int tets[6][4][3];
  cube_tetrahedra(tets);
  for (int k = 0; k < n; ++k)
    for (int j = 0; j < n; ++j)
      for (int i = 0; i < n; ++i)
        for (const auto& t : tets) {
          int fine[4][3];
          for (int v = 0; v < 4; ++v) {
            fine[v][0] = 2 * (i + t[v][0]);
            fine[v][1] = 2 * (j + t[v][1]);
            fine[v][2] = 2 * (k + t[v][2]);
            m.connectivity.push_back(id(fine[v][0], fine[v][1], fine[v][2]));
          }
          for (const auto& e : edges)
            m.connectivity.push_back(id((fine[e[0]][0] + fine[e[1]][0]) / 2,
                                        (fine[e[0]][1] + fine[e[1]][1]) / 2,
                                        (fine[e[0]][2] + fine[e[1]][2]) / 2));
        }
  m.element_count = 6 * n * n * n;
  return m;
}

// Moves the whole mesh along x, e.g. off the axis for axisymmetric elements.
inline Mesh shifted_x(Mesh m, float dx) {
  for (size_t i = 0; i < m.nodes.size(); i += 3) m.nodes[i] += dx;
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
