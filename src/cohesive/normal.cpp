// Local frame of a solid cohesive element at one corner point: the surface
// tangents of the mid-surface, the unit normal of their cross product, and the
// in-plane axes built as for membranes. The tangents and the reciprocal length
// of their cross product are kept, since the opening's derivative needs the
// turning of the normal. Every guard here is non-strict.
#include "common/numerics.hpp"
#include "stabletime/pipeline.h"
#include "cohesive/cohesive.hpp"

namespace sti::cohesive {
namespace {

constexpr int kPoints = 4;  // mid-surface points of the element

}  // namespace

void cohesive_frame(int n, int point_index, const float* STI_RESTRICT rule_dn1,
                    const float* STI_RESTRICT rule_dn2, const float* STI_RESTRICT coords_g,
                    float* STI_RESTRICT frame, float* STI_RESTRICT work_a,
                    float* STI_RESTRICT work_b) {
  const float* d1 = rule_dn1 + kPoints * (point_index - 1);
  const float* d2 = rule_dn2 + kPoints * (point_index - 1);
  for (int e = 0; e < n; ++e) {
    Vec3 x[kPoints];
    for (int k = 0; k < kPoints; ++k)
      x[k] = {coords_g[at(n, kPoints, e, k, 0)], coords_g[at(n, kPoints, e, k, 1)],
              coords_g[at(n, kPoints, e, k, 2)]};
    const CornerFrame f = corner_frame(d1, d2, x);
    const Vec3 rows[5] = {f.ta, f.tb, f.s, f.t, f.nrm};
    for (int c = 0; c < 2; ++c) {
      work_b[e + n * (3 * c)] = rows[c].x;
      work_b[e + n * (3 * c + 1)] = rows[c].y;
      work_b[e + n * (3 * c + 2)] = rows[c].z;
    }
    work_a[e] = f.rn;
    for (int axis = 0; axis < 3; ++axis) {
      frame[e + n * (0 + 3 * axis)] = rows[2 + axis].x;
      frame[e + n * (1 + 3 * axis)] = rows[2 + axis].y;
      frame[e + n * (2 + 3 * axis)] = rows[2 + axis].z;
    }
  }
}

}  // namespace sti::cohesive
