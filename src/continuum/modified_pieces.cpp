// Division of the modified second-order elements into first-order pieces, one
// per integration point: a six-node triangle into three quadrilaterals (corner,
// mid-side, centre, mid-side) and a ten-node tetrahedron into four hexahedra.
// The pieces then run through the quadrilateral and hexahedron operators, so
// the element takes the increment of its most critical piece.
#include "common/numerics.hpp"
#include "stabletime/pipeline.h"
#include "continuum/continuum.hpp"

namespace sti::continuum {

namespace {

inline constexpr float kCornerWeight = std::bit_cast<float>(0xBD888889u);  // -0.06666667
inline constexpr float kMidsideWeight = std::bit_cast<float>(0x3ECCCCCDu);  // 0.4
inline constexpr int kCentre = 6;  // the triangle's centre, computed, not stored

// Zero-based nodes of the six-node triangle at the corners of each piece.
constexpr int kTrianglePieces[3][4] = {{0, 3, kCentre, 5}, {1, 4, kCentre, 3}, {2, 5, kCentre, 4}};

}  // namespace

void six_node_triangle_piece(int n, int point_index, float* STI_RESTRICT quad_coords,
                             const float* STI_RESTRICT coords) {
  if (point_index < 1 || point_index > 3) return;
  const int* row = kTrianglePieces[point_index - 1];
  for (int k = 0; k < 4; ++k) {
    for (int c = 0; c < 2; ++c) {
      if (row[k] == kCentre) {
        for (int e = 0; e < n; ++e) {
          const float corners = coords[at(n, 6, e, 0, c)] + coords[at(n, 6, e, 1, c)] +
                                coords[at(n, 6, e, 2, c)];
          const float midsides = coords[at(n, 6, e, 3, c)] + coords[at(n, 6, e, 4, c)] +
                                 coords[at(n, 6, e, 5, c)];
          quad_coords[at(n, 4, e, k, c)] = kCornerWeight * corners + kMidsideWeight * midsides;
        }
      } else {
        for (int e = 0; e < n; ++e) quad_coords[at(n, 4, e, k, c)] = coords[at(n, 6, e, row[k], c)];
      }
    }
  }
}

void ten_node_tetrahedron_piece(int n, int point_index, float* STI_RESTRICT hex_coords,
                                const float* STI_RESTRICT coords) {
  if (point_index < 1 || point_index > 4) return;
  const int* row = kTetrahedronPieces[point_index - 1];
  for (int k = 0; k < 8; ++k)
    for (int c = 0; c < 3; ++c)
      for (int e = 0; e < n; ++e) hex_coords[at(n, 8, e, k, c)] = coords[at(n, 15, e, row[k], c)];
}

}  // namespace sti::continuum
