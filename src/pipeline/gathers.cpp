// Gathers of node coordinates into element-fastest batch arrays: the plain
// copy, from the element-fastest connectivity or from the caller's rows, the
// chords of two-node elements, the mid-surface points and half differences of
// cohesive elements and continuum shells, and the fifteen points of the
// modified ten-node tetrahedron. Node numbers are one-based in the
// element-fastest connectivity, zero-based in the rows, and trusted.
#if defined(__SSE2__)
#include <immintrin.h>
#endif

#include "common/numerics.hpp"
#include "stabletime/pipeline.h"
#include "pipeline/pipeline.hpp"

namespace sti::pipeline {
namespace {

// Pairing tables: the two faces of a quadrilateral or hexahedron across a local
// direction, one-based node positions, rows by direction from -2.
constexpr int kPlanarPairs[5][4] = {
    {3, 4, 1, 2}, {2, 3, 4, 1}, {1, 2, 3, 4}, {4, 1, 2, 3}, {1, 2, 3, 4}};
constexpr int kSolidPairs[6][8] = {
    {4, 3, 7, 8, 1, 2, 6, 5}, {2, 6, 7, 3, 1, 5, 8, 4}, {1, 2, 3, 4, 5, 6, 7, 8},
    {1, 4, 8, 5, 2, 3, 7, 6}, {1, 5, 6, 2, 4, 8, 7, 3}, {1, 2, 3, 4, 5, 6, 7, 8}};

}  // namespace

namespace {

// The first D floats of each listed node, in one pass over the list: each
// node's floats are read together, and the loop vectorises into gathers where
// the vector unit has them.
template <int D>
void gather_components(int value_count, int coord_stride, const int* STI_RESTRICT node_list,
                       float* STI_RESTRICT values_out, const float* STI_RESTRICT node_coords) {
  for (int i = 0; i < value_count; ++i) {
    const float* node = node_coords + static_cast<long long>(node_list[i] - 1) * coord_stride;
#pragma GCC unroll 3
    for (int c = 0; c < D; ++c) values_out[i + value_count * c] = node[c];
  }
}

// Scalar copies beat the vector unit's element-by-element emulation of
// indexed loads that GCC would otherwise choose for the loop below.
#if defined(__GNUC__) && !defined(__clang__)
#define STI_SCALAR_LOOP __attribute__((optimize("no-tree-vectorize")))
#else
#define STI_SCALAR_LOOP
#endif

// The same with three floats per node, the public entry's layout: with the
// stride known the node's offset is one address computation, and the three
// floats are read at fixed displacements from it.
template <int D>
STI_SCALAR_LOOP void gather_of_three(int value_count, const int* STI_RESTRICT node_list,
                                     float* STI_RESTRICT values_out,
                                     const float* STI_RESTRICT node_coords) {
#pragma GCC unroll 2
  for (int i = 0; i < value_count; ++i) {
    const float* node = node_coords + (3 * static_cast<long long>(node_list[i]) - 3);
    for (int c = 0; c < D; ++c) values_out[i + value_count * c] = node[c];
  }
}

}  // namespace

void gather(int value_count, int ndim, int coord_stride, const int* STI_RESTRICT node_list,
            float* STI_RESTRICT values_out, const float* STI_RESTRICT node_coords) {
  if (coord_stride == 3 && ndim == 3) {
    gather_of_three<3>(value_count, node_list, values_out, node_coords);
    return;
  }
  if (coord_stride == 3 && ndim == 2) {
    gather_of_three<2>(value_count, node_list, values_out, node_coords);
    return;
  }
  if (ndim == 3) {
    gather_components<3>(value_count, coord_stride, node_list, values_out, node_coords);
  } else if (ndim == 2) {
    gather_components<2>(value_count, coord_stride, node_list, values_out, node_coords);
  } else {
    for (int i = 0; i < value_count; ++i)
      values_out[i] =
          node_coords[static_cast<long long>(node_list[i] - 1) * coord_stride + coord_stride - 1];
  }
}

namespace {

// The plain gather's layout from zero-based connectivity rows read in place,
// elements first to n - 1: D floats of each of the node_count nodes of a row.
template <int D>
STI_SCALAR_LOOP void rows_gather(int first, int n, int node_count, int coord_stride,
                                 const int* STI_RESTRICT rows, float* STI_RESTRICT values_out,
                                 const float* STI_RESTRICT node_coords) {
  const long long stride = coord_stride;
  for (int e = first; e < n; ++e) {
#pragma GCC unroll 4
    for (int k = 0; k < node_count; ++k) {
      const float* node = node_coords + rows[e * node_count + k] * stride;
      for (int c = 0; c < D; ++c) values_out[at(n, node_count, e, k, c)] = node[c];
    }
  }
}

// Rows of four nodes with x and y of each, three floats per node. With a
// vector unit, four elements at a time: each node's x and y are read as one
// pair, and two shuffles turn the pairs of the four elements into the four x
// and the four y of that node position, stored as they stand. The rest of the
// batch one by one.
void quad_rows_gather(int n, const int* STI_RESTRICT rows, float* STI_RESTRICT values_out,
                      const float* STI_RESTRICT node_coords) {
  int first = 0;
#if defined(__SSE2__)
  for (; first + 4 <= n; first += 4) {
#pragma GCC unroll 4
    for (int k = 0; k < 4; ++k) {
      const int* r = rows + 4 * first + k;
      const auto pair = [&](int i) {
        return reinterpret_cast<const __m64*>(node_coords + 3LL * r[4 * i]);
      };
      const __m128 p01 = _mm_loadh_pi(_mm_loadl_pi(_mm_setzero_ps(), pair(0)), pair(1));
      const __m128 p23 = _mm_loadh_pi(_mm_loadl_pi(_mm_setzero_ps(), pair(2)), pair(3));
      _mm_storeu_ps(values_out + at(n, 4, first, k, 0),
                    _mm_shuffle_ps(p01, p23, _MM_SHUFFLE(2, 0, 2, 0)));
      _mm_storeu_ps(values_out + at(n, 4, first, k, 1),
                    _mm_shuffle_ps(p01, p23, _MM_SHUFFLE(3, 1, 3, 1)));
    }
  }
#endif
  rows_gather<2>(first, n, 4, 3, rows, values_out, node_coords);
}

}  // namespace

void gather_rows(int n, int node_count, int ndim, int coord_stride, const int* STI_RESTRICT rows,
                 float* STI_RESTRICT values_out, const float* STI_RESTRICT node_coords) {
  if (coord_stride == 3 && ndim == 2 && node_count == 4)
    quad_rows_gather(n, rows, values_out, node_coords);
  else if (ndim == 3)
    rows_gather<3>(0, n, node_count, coord_stride, rows, values_out, node_coords);
  else
    rows_gather<2>(0, n, node_count, coord_stride, rows, values_out, node_coords);
}

namespace {

// The chord of each two-node element, node 2 minus node 1, D floats per node
// (Stride 0: coord_stride floats apart, else Stride): both nodes are read and
// subtracted in registers, so that only the difference is stored. The nodes
// come from the one-based element-fastest connectivity or, with Rows, from
// the zero-based rows read in place. With Ahead, the second node of the
// element Ahead places on is fetched into the cache while this one is formed.
template <int D, int Stride, bool Rows, int Ahead>
STI_SCALAR_LOOP void chords(int first, int n, int coord_stride,
                            const int* STI_RESTRICT connectivity, float* STI_RESTRICT chord,
                            const float* STI_RESTRICT node_coords) {
  const long long stride = Stride != 0 ? Stride : coord_stride;
  const auto node = [&](int e, int k) {
    return node_coords + (Rows ? connectivity[2 * e + k] * stride
                               : connectivity[e + n * k] * stride - stride);
  };
  const auto form = [&](int e) {
    const float* a = node(e, 0);
    const float* b = node(e, 1);
    for (int c = 0; c < D; ++c) chord[e + n * c] = b[c] - a[c];
  };
  int e = first;
  if constexpr (Ahead > 0) {
    for (; e + Ahead < n; ++e) {
      __builtin_prefetch(node(e + Ahead, 1));
      form(e);
    }
  }
#pragma GCC unroll 2
  for (; e < n; ++e) form(e);
}

// The same from rows, three floats per node. With a vector unit, four
// elements at a time: the x and y of each node are read as one pair, the
// pairs of two elements subtracted as one vector (lane by lane the
// differences above), and two shuffles turn those of four elements into their
// four x and four y; z one by one. The rest of the batch one by one.
template <int D, int Ahead>
void row_chords(int n, const int* STI_RESTRICT rows, float* STI_RESTRICT chord,
                const float* STI_RESTRICT node_coords) {
  int first = 0;
#if defined(__SSE2__)
  for (; first + 4 <= n; first += 4) {
    const int* r = rows + 2 * first;
    if (Ahead > 0 && first + Ahead + 4 <= n) {
      for (int i = 0; i < 4; ++i) __builtin_prefetch(node_coords + 3LL * r[2 * (Ahead + i) + 1]);
    }
    const auto pair = [&](int i, int k) {
      return reinterpret_cast<const __m64*>(node_coords + 3LL * r[2 * i + k]);
    };
    const auto pairs = [&](int i, int k) {
      return _mm_loadh_pi(_mm_loadl_pi(_mm_setzero_ps(), pair(i, k)), pair(i + 1, k));
    };
    const __m128 d01 = _mm_sub_ps(pairs(0, 1), pairs(0, 0));
    const __m128 d23 = _mm_sub_ps(pairs(2, 1), pairs(2, 0));
    _mm_storeu_ps(chord + first, _mm_shuffle_ps(d01, d23, _MM_SHUFFLE(2, 0, 2, 0)));
    _mm_storeu_ps(chord + first + n, _mm_shuffle_ps(d01, d23, _MM_SHUFFLE(3, 1, 3, 1)));
    if constexpr (D == 3) {
      for (int i = 0; i < 4; ++i)
        chord[first + i + 2 * n] =
            node_coords[3LL * r[2 * i + 1] + 2] - node_coords[3LL * r[2 * i] + 2];
    }
  }
#endif
  chords<D, 3, true, Ahead>(first, n, 3, rows, chord, node_coords);
}

template <bool Rows, int Ahead>
void chords_of(int n, int ndim, int coord_stride, const int* STI_RESTRICT connectivity,
               float* STI_RESTRICT chord, const float* STI_RESTRICT node_coords) {
  if (Rows && coord_stride == 3 && ndim == 3)
    row_chords<3, Ahead>(n, connectivity, chord, node_coords);
  else if (Rows && coord_stride == 3)
    row_chords<2, Ahead>(n, connectivity, chord, node_coords);
  else if (coord_stride == 3 && ndim == 3)
    chords<3, 3, Rows, Ahead>(0, n, coord_stride, connectivity, chord, node_coords);
  else if (coord_stride == 3)
    chords<2, 3, Rows, Ahead>(0, n, coord_stride, connectivity, chord, node_coords);
  else if (ndim == 3)
    chords<3, 0, Rows, Ahead>(0, n, coord_stride, connectivity, chord, node_coords);
  else
    chords<2, 0, Rows, Ahead>(0, n, coord_stride, connectivity, chord, node_coords);
}

}  // namespace

void gather_chords(int n, int ndim, int coord_stride, const int* STI_RESTRICT connectivity,
                   const int* STI_RESTRICT rows, float* STI_RESTRICT chord,
                   const float* STI_RESTRICT node_coords) {
  if (rows == nullptr) {
    chords_of<false, 0>(n, ndim, coord_stride, connectivity, chord, node_coords);
    return;
  }
  // Rows whose node numbers spread far beyond the batch's own count are not
  // read in node order, so the cache cannot stream them: their nodes are
  // fetched ahead. Only the time depends on the choice.
  const long long first = rows[0], last = rows[2 * n - 1];
  const long long span = last > first ? last - first : first - last;
  if (span > 4LL * n)
    chords_of<true, 16>(n, ndim, coord_stride, rows, chord, node_coords);
  else
    chords_of<true, 0>(n, ndim, coord_stride, rows, chord, node_coords);
}

namespace {

// Node at one-based position `position` of element e, at its float `offset`.
inline const float* node_at(const float* node_coords, int coord_stride, const int* connectivity,
                            int n, int e, int position, int offset) {
  const int node = connectivity[e + n * (position - 1)];
  return node_coords + static_cast<long long>(node - 1) * coord_stride + offset;
}

// The pairs of a quadrilateral, D floats of each node read together (D = 0:
// `dims` of them, the count known only at run time).
template <int D>
void planar_pairs(int n, int dims, int coord_stride, const int* t,
                  const int* STI_RESTRICT connectivity, float* STI_RESTRICT coords_g,
                  float* STI_RESTRICT coords_d, const float* STI_RESTRICT node_coords) {
  const int components = D > 0 ? D : dims;
  for (int e = 0; e < n; ++e) {
    const float* p0 = node_at(node_coords, coord_stride, connectivity, n, e, t[0], 0);
    const float* p1 = node_at(node_coords, coord_stride, connectivity, n, e, t[1], 0);
    const float* p2 = node_at(node_coords, coord_stride, connectivity, n, e, t[2], 0);
    const float* p3 = node_at(node_coords, coord_stride, connectivity, n, e, t[3], 0);
#pragma GCC unroll 3
    for (int c = 0; c < components; ++c) {
      const int i0 = e + 2 * n * c;
      const int i1 = e + n + 2 * n * c;
      coords_g[i0] = (p3[c] + p0[c]) * 0.5f;
      coords_d[i0] = (p3[c] - p0[c]) * 0.5f;
      coords_g[i1] = (p2[c] + p1[c]) * 0.5f;
      coords_d[i1] = (p2[c] - p1[c]) * 0.5f;
    }
  }
}

// The four pairs of a hexahedron, D floats of each node read together from
// float `offset` on.
template <int D>
void solid_pairs(int n, int coord_stride, int offset, const int* t,
                 const int* STI_RESTRICT connectivity, float* STI_RESTRICT coords_g,
                 float* STI_RESTRICT coords_d, const float* STI_RESTRICT node_coords) {
  for (int k = 0; k < 4; ++k) {
    for (int e = 0; e < n; ++e) {
      const float* pa = node_at(node_coords, coord_stride, connectivity, n, e, t[k], offset);
      const float* pb = node_at(node_coords, coord_stride, connectivity, n, e, t[k + 4], offset);
#pragma GCC unroll 3
      for (int c = 0; c < D; ++c) {
        const float a = pa[c];
        const float mean = (pb[c] + a) * 0.5f;
        const int i = e + n * k + 4 * n * c;
        coords_g[i] = mean;
        coords_d[i] = mean - a;
      }
    }
  }
}

}  // namespace

// Mid-points and half differences of the pairs (t0, t3) and (t1, t2): the half
// difference is formed as half the difference of the two ends.
void gather_planar_pairs(int n, int ndim, int coord_stride, int direction,
                         const int* STI_RESTRICT connectivity, float* STI_RESTRICT coords_g,
                         float* STI_RESTRICT coords_d, const float* STI_RESTRICT node_coords) {
  if (direction < -2 || direction > 2) return;
  const int* t = kPlanarPairs[direction + 2];
  if (ndim == 2)
    planar_pairs<2>(n, ndim, coord_stride, t, connectivity, coords_g, coords_d, node_coords);
  else
    planar_pairs<0>(n, ndim, coord_stride, t, connectivity, coords_g, coords_d, node_coords);
}

// Mid-surface points of the four pairs (t(k), t(k + 4)) and the half-thickness
// vectors, formed as the mean minus the first end. A dimension other than 2 or
// 3 takes the last float of each node only.
void gather_solid_pairs(int n, int ndim, int coord_stride, int direction,
                        const int* STI_RESTRICT connectivity, float* STI_RESTRICT coords_g,
                        float* STI_RESTRICT coords_d, const float* STI_RESTRICT node_coords) {
  if (direction < -2 || direction > 3) return;
  const int* t = kSolidPairs[direction + 2];
  if (ndim == 3)
    solid_pairs<3>(n, coord_stride, 0, t, connectivity, coords_g, coords_d, node_coords);
  else if (ndim == 2)
    solid_pairs<2>(n, coord_stride, 0, t, connectivity, coords_g, coords_d, node_coords);
  else
    solid_pairs<1>(n, coord_stride, coord_stride - 1, t, connectivity, coords_g, coords_d,
                   node_coords);
}

namespace {

// The centroid (row 10) and the four face points (rows 11 to 14) of one
// component, from the ten gathered nodes (rows 0 to 9) of that component.
void ten_node_derived_points(int n, const float* STI_RESTRICT x,
                             float* STI_RESTRICT derived) {
  constexpr float kCornerWeight = 0.006803281f;
  constexpr float kMidsideWeight = 0.16213115f;
  constexpr float f = std::bit_cast<float>(0xBD888889u);  // -1/15
  constexpr float m = std::bit_cast<float>(0x3ECCCCCDu);  // 0.4
  for (int e = 0; e < n; ++e) {
    const float x1 = x[e], x2 = x[e + n], x3 = x[e + 2 * n], x4 = x[e + 3 * n];
    const float x5 = x[e + 4 * n], x6 = x[e + 5 * n], x7 = x[e + 6 * n];
    const float x8 = x[e + 7 * n], x9 = x[e + 8 * n], x10 = x[e + 9 * n];
    derived[e] = kCornerWeight * (x1 + x2 + x3 + x4) +
                 kMidsideWeight * (x5 + x6 + x7 + x8 + x9 + x10);
    derived[e + n] = f * (x1 + x2 + x3) + m * (x5 + x6 + x7);
    derived[e + 2 * n] = f * (x1 + x2 + x4) + m * (x5 + x8 + x9);
    derived[e + 3 * n] = f * (x2 + x3 + x4) + m * (x6 + x9 + x10);
    derived[e + 4 * n] = f * (x3 + x1 + x4) + m * (x7 + x8 + x10);
  }
}

}  // namespace

// The ten nodes of the tetrahedron, then its centroid (node 11) and the four
// face points (nodes 12 to 15), by fixed weights.
void gather_tet10(int n, int coord_stride, const int* STI_RESTRICT connectivity,
                  float* STI_RESTRICT coords_g, const float* STI_RESTRICT node_coords) {
  constexpr int K = 15;
  for (int k = 0; k < 10; ++k)
    for (int e = 0; e < n; ++e) {
      const float* node =
          node_coords + static_cast<long long>(connectivity[e + n * k] - 1) * coord_stride;
#pragma GCC unroll 3
      for (int c = 0; c < 3; ++c) coords_g[at(n, K, e, k, c)] = node[c];
    }
  for (int c = 0; c < 3; ++c)
    ten_node_derived_points(n, coords_g + at(n, K, 0, 0, c), coords_g + at(n, K, 0, 10, c));
}

}  // namespace sti::pipeline
