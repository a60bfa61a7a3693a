// Gathers of node coordinates into element-fastest batch arrays: the plain
// copy, from the element-fastest connectivity or from the caller's rows, the
// solids' four-nodes-at-a-time copy, the chords of two-node elements, the
// mid-surface points and half differences of cohesive elements and continuum
// shells, and the fifteen points of the modified ten-node tetrahedron. Node
// numbers are one-based in the element-fastest connectivity, zero-based in the
// rows, and trusted.
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

// Solids: three floats per node in the public entry's layout, four nodes at
// a time. Each node is read as one 16-byte row from the float before its own
// three (the previous node's last), and the four rows are transposed into the
// three component streams: one load per node and three stores per four nodes
// in place of three of each per node. A group that holds node 1, whose row
// would start before the array, is copied float by float.
namespace {

#if defined(__SSE2__)
// Four nodes' rows, each the float before a node's three and the three, per
// group of four lanes, transposed into the x, y and z streams.
inline void store_components(__m128 ra, __m128 rb, __m128 rc, __m128 rd, float* x, float* y,
                             float* z) {
  const __m128 ab_low = _mm_unpacklo_ps(ra, rb), ab_high = _mm_unpackhi_ps(ra, rb);
  const __m128 cd_low = _mm_unpacklo_ps(rc, rd), cd_high = _mm_unpackhi_ps(rc, rd);
  _mm_storeu_ps(x, _mm_movehl_ps(cd_low, ab_low));
  _mm_storeu_ps(y, _mm_movelh_ps(ab_high, cd_high));
  _mm_storeu_ps(z, _mm_movehl_ps(cd_high, ab_high));
}
#endif
#if defined(__AVX2__)
inline void store_components(__m256 ra, __m256 rb, __m256 rc, __m256 rd, float* x, float* y,
                             float* z) {
  const __m256 ab_low = _mm256_unpacklo_ps(ra, rb), ab_high = _mm256_unpackhi_ps(ra, rb);
  const __m256 cd_low = _mm256_unpacklo_ps(rc, rd), cd_high = _mm256_unpackhi_ps(rc, rd);
  _mm256_storeu_ps(x, _mm256_shuffle_ps(ab_low, cd_low, 0xEE));
  _mm256_storeu_ps(y, _mm256_shuffle_ps(ab_high, cd_high, 0x44));
  _mm256_storeu_ps(z, _mm256_shuffle_ps(ab_high, cd_high, 0xEE));
}
#endif
#if defined(__AVX512F__)
inline void store_components(__m512 ra, __m512 rb, __m512 rc, __m512 rd, float* x, float* y,
                             float* z) {
  // The masked forms with every lane taken: the plain ones start from an
  // undefined vector that GCC 12 warns of.
  const __mmask16 all = 0xFFFF;
  const __m512 ab_low = _mm512_mask_unpacklo_ps(ra, all, ra, rb);
  const __m512 ab_high = _mm512_mask_unpackhi_ps(ra, all, ra, rb);
  const __m512 cd_low = _mm512_mask_unpacklo_ps(rc, all, rc, rd);
  const __m512 cd_high = _mm512_mask_unpackhi_ps(rc, all, rc, rd);
  _mm512_storeu_ps(x, _mm512_shuffle_ps(ab_low, cd_low, 0xEE));
  _mm512_storeu_ps(y, _mm512_shuffle_ps(ab_high, cd_high, 0x44));
  _mm512_storeu_ps(z, _mm512_shuffle_ps(ab_high, cd_high, 0xEE));
}
#endif

}  // namespace

void gather_solid(int value_count, int ndim, int coord_stride, const int* STI_RESTRICT node_list,
                  float* STI_RESTRICT values_out, const float* STI_RESTRICT node_coords) {
#if defined(__SSE2__)
  if (coord_stride == 3 && ndim == 3) {
    float* x = values_out;
    float* y = values_out + value_count;
    float* z = values_out + 2 * value_count;
    auto row = [&](int node) {
      return _mm_loadu_ps(node_coords + (3 * static_cast<long long>(node) - 4));
    };
    auto copy = [&](int j) {
      const float* node = node_coords + (3 * static_cast<long long>(node_list[j]) - 3);
      x[j] = node[0];
      y[j] = node[1];
      z[j] = node[2];
    };
    const __m128i first = _mm_set1_epi32(1);
    int i = 0;
#if defined(__AVX512F__)
    // Sixteen at a time: the same transposes in the four quarters of the vector.
    auto rows16 = [&](const int* g) {
      const __m512 r = _mm512_castps128_ps512(row(g[0]));
      return _mm512_insertf32x4(_mm512_insertf32x4(_mm512_insertf32x4(r, row(g[4]), 1), row(g[8]), 2),
                                row(g[12]), 3);
    };
    const __m512i first16 = _mm512_set1_epi32(1);
    for (; i + 16 <= value_count; i += 16) {
      const int* g = node_list + i;
      if (_mm512_cmpeq_epi32_mask(_mm512_loadu_si512(g), first16) != 0) {
        for (int j = i; j < i + 16; ++j) copy(j);
        continue;
      }
      store_components(rows16(g), rows16(g + 1), rows16(g + 2), rows16(g + 3), x + i, y + i,
                       z + i);
    }
#endif
#if defined(__AVX2__)
    // Eight at a time: the same transposes in the two halves of the vector.
    auto rows = [&](int low, int high) {
      return _mm256_insertf128_ps(_mm256_castps128_ps256(row(low)), row(high), 1);
    };
    const __m256i first8 = _mm256_set1_epi32(1);
    for (; i + 8 <= value_count; i += 8) {
      const int* g = node_list + i;
      const __m256i group = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(g));
      if (_mm256_movemask_epi8(_mm256_cmpeq_epi32(group, first8)) != 0) {
        for (int j = i; j < i + 8; ++j) copy(j);
        continue;
      }
      store_components(rows(g[0], g[4]), rows(g[1], g[5]), rows(g[2], g[6]), rows(g[3], g[7]),
                       x + i, y + i, z + i);
    }
#endif
    for (; i + 4 <= value_count; i += 4) {
      const __m128i group = _mm_loadu_si128(reinterpret_cast<const __m128i*>(node_list + i));
      if (_mm_movemask_epi8(_mm_cmpeq_epi32(group, first)) != 0) {
        for (int j = i; j < i + 4; ++j) copy(j);
        continue;
      }
      store_components(row(node_list[i]), row(node_list[i + 1]), row(node_list[i + 2]),
                       row(node_list[i + 3]), x + i, y + i, z + i);
    }
    for (; i < value_count; ++i) copy(i);
    return;
  }
#endif
  gather(value_count, ndim, coord_stride, node_list, values_out, node_coords);
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

// Solid rows of K nodes, three floats per node: gather_solid's transposes
// with the sixteen, eight or four node numbers of one node position read K
// apart in the rows. A batch that holds node 0, whose row would start before
// the array, is copied float by float, as is the rest after the last group.
template <int K>
void solid_rows_gather(int n, const int* STI_RESTRICT rows, float* STI_RESTRICT values_out,
                       const float* STI_RESTRICT node_coords) {
  int first = 0;
#if defined(__SSE2__)
  int has_node_0 = 0;
  for (int i = 0; i < n * K; ++i) has_node_0 |= rows[i] == 0 ? 1 : 0;
  if (has_node_0 == 0) {
    const auto row = [&](int node) {
      return _mm_loadu_ps(node_coords + (3 * static_cast<long long>(node) - 1));
    };
    const auto out = [&](int k, int c) { return values_out + at(n, K, 0, k, c); };
#if defined(__AVX512F__)
    const auto rows16 = [&](const int* g) {
      const __m512 r = _mm512_castps128_ps512(row(g[0]));
      return _mm512_insertf32x4(
          _mm512_insertf32x4(_mm512_insertf32x4(r, row(g[4 * K]), 1), row(g[8 * K]), 2),
          row(g[12 * K]), 3);
    };
    for (; first + 16 <= n; first += 16) {
      for (int k = 0; k < K; ++k) {
        const int* g = rows + first * K + k;
        store_components(rows16(g), rows16(g + K), rows16(g + 2 * K), rows16(g + 3 * K),
                         out(k, 0) + first, out(k, 1) + first, out(k, 2) + first);
      }
    }
#endif
#if defined(__AVX2__)
    const auto rows8 = [&](const int* g) {
      return _mm256_insertf128_ps(_mm256_castps128_ps256(row(g[0])), row(g[4 * K]), 1);
    };
    for (; first + 8 <= n; first += 8) {
      for (int k = 0; k < K; ++k) {
        const int* g = rows + first * K + k;
        store_components(rows8(g), rows8(g + K), rows8(g + 2 * K), rows8(g + 3 * K),
                         out(k, 0) + first, out(k, 1) + first, out(k, 2) + first);
      }
    }
#endif
    for (; first + 4 <= n; first += 4) {
      for (int k = 0; k < K; ++k) {
        const int* g = rows + first * K + k;
        store_components(row(g[0]), row(g[K]), row(g[2 * K]), row(g[3 * K]), out(k, 0) + first,
                         out(k, 1) + first, out(k, 2) + first);
      }
    }
  }
#endif
  rows_gather<3>(first, n, K, 3, rows, values_out, node_coords);
}

}  // namespace

void gather_solid_rows(int n, int node_count, int ndim, int coord_stride,
                       const int* STI_RESTRICT rows, float* STI_RESTRICT values_out,
                       const float* STI_RESTRICT node_coords) {
  if (coord_stride == 3 && ndim == 3 && node_count == 8)
    solid_rows_gather<8>(n, rows, values_out, node_coords);
  else if (coord_stride == 3 && ndim == 3 && node_count == 4)
    solid_rows_gather<4>(n, rows, values_out, node_coords);
  else if (coord_stride == 3 && ndim == 3 && node_count == 6)
    solid_rows_gather<6>(n, rows, values_out, node_coords);
  else
    gather_rows(n, node_count, ndim, coord_stride, rows, values_out, node_coords);
}

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

// One node position of the ten-node tetrahedron over the batch, into its
// three component rows x, y, z; with three floats per node (Stride 3) the
// node's offset is one address computation. The node numbers are one-based
// and consecutive in node_list or, with Rows, zero-based and ten apart.
template <int Stride, bool Rows>
STI_SCALAR_LOOP void ten_node_position(int n, int coord_stride, const int* STI_RESTRICT node_list,
                                       float* STI_RESTRICT x, float* STI_RESTRICT y,
                                       float* STI_RESTRICT z,
                                       const float* STI_RESTRICT node_coords) {
  const long long stride = Stride > 0 ? Stride : coord_stride;
#pragma GCC unroll 4
  for (int e = 0; e < n; ++e) {
    const float* node = node_coords + (Rows ? stride * node_list[10 * e]
                                            : stride * node_list[e] - stride);
    x[e] = node[0];
    y[e] = node[1];
    z[e] = node[2];
  }
}

}  // namespace

// The ten nodes of the tetrahedron, from the connectivity or, where rows is
// not null, from the zero-based rows, then its centroid (node 11) and the four
// face points (nodes 12 to 15), by fixed weights.
void gather_tet10(int n, int coord_stride, const int* STI_RESTRICT connectivity,
                  float* STI_RESTRICT coords_g, const float* STI_RESTRICT node_coords,
                  const int* STI_RESTRICT rows) {
  constexpr int K = 15;
  for (int k = 0; k < 10; ++k) {
    float* x = coords_g + at(n, K, 0, k, 0);
    float* y = coords_g + at(n, K, 0, k, 1);
    float* z = coords_g + at(n, K, 0, k, 2);
    if (rows != nullptr && coord_stride == 3)
      ten_node_position<3, true>(n, coord_stride, rows + k, x, y, z, node_coords);
    else if (rows != nullptr)
      ten_node_position<0, true>(n, coord_stride, rows + k, x, y, z, node_coords);
    else if (coord_stride == 3)
      ten_node_position<3, false>(n, coord_stride, connectivity + n * k, x, y, z, node_coords);
    else
      ten_node_position<0, false>(n, coord_stride, connectivity + n * k, x, y, z, node_coords);
  }
  for (int c = 0; c < 3; ++c)
    ten_node_derived_points(n, coords_g + at(n, K, 0, 0, c), coords_g + at(n, K, 0, 10, c));
}

}  // namespace sti::pipeline
