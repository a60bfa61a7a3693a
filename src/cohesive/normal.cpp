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
  auto x = [&](int e, int k, int c) { return coords_g[at(n, kPoints, e, k, c)]; };
  for (int e = 0; e < n; ++e) {
    float a[3], b[3];
    for (int c = 0; c < 3; ++c) {
      a[c] = d1[0] * x(e, 0, c) + d1[1] * x(e, 1, c) + d1[2] * x(e, 2, c) + d1[3] * x(e, 3, c);
      b[c] = d2[0] * x(e, 0, c) + d2[1] * x(e, 1, c) + d2[2] * x(e, 2, c) + d2[3] * x(e, 3, c);
      work_b[e + n * c] = a[c];
      work_b[e + n * (c + 3)] = b[c];
    }
    const Vec3 m = cross({a[0], a[1], a[2]}, {b[0], b[1], b[2]});
    const float f = guarded_reciprocal_nonstrict(length(m));
    work_a[e] = f;
    const Vec3 normal{m.x * f, m.y * f, m.z * f};
    Vec3 s, t;
    in_plane_axes<Guard::kNonStrict>(normal, s, t);
    const Vec3 axes[3] = {s, t, normal};
    for (int axis = 0; axis < 3; ++axis) {
      frame[e + n * (0 + 3 * axis)] = axes[axis].x;
      frame[e + n * (1 + 3 * axis)] = axes[axis].y;
      frame[e + n * (2 + 3 * axis)] = axes[axis].z;
    }
  }
}

}  // namespace sti::cohesive
