// Local frame of a surface element at one integration point: unit normal n
// from the cross product of the two surface tangents, then the in-plane axes
// t and s, so that all later geometry is the plane geometry of the element's
// own plane whatever its orientation in space. A degenerate surface (parallel
// or vanishing tangents) gives an all-zero frame here; the geometry that
// follows finds a zero area and reports it.
#include "common/numerics.hpp"
#include "stabletime/pipeline.h"

namespace sti::shell {

namespace {

// Rows of the surface rule tables: four nodes per point.
constexpr int kRuleNodes = 4;

inline Vec3 node_of(const float* coords, int n, int e, int k) {
  return {coords[at(n, 4, e, k, 0)], coords[at(n, 4, e, k, 1)], coords[at(n, 4, e, k, 2)]};
}

inline void store_frame(float* frame, int n, int e, Vec3 s, Vec3 t, Vec3 nrm) {
  const Vec3 axes[3] = {s, t, nrm};
  for (int a = 0; a < 3; ++a) {
    frame[e + n * (0 + 3 * a)] = axes[a].x;
    frame[e + n * (1 + 3 * a)] = axes[a].y;
    frame[e + n * (2 + 3 * a)] = axes[a].z;
  }
}

// Axes in the order n, t, s from the two tangents.
inline void frame_from_tangents(float* frame, int n, int e, Vec3 a, Vec3 b) {
  const Vec3 nrm = normalised<Guard::kStrict>(cross(a, b));
  Vec3 s, t;
  in_plane_axes<Guard::kStrict>(nrm, s, t);
  store_frame(frame, n, e, s, t, nrm);
}

}  // namespace

void surface_frame(int n, int point_index, int run_point_count, const float* rule_dn1,
                   const float* rule_dn2, const float* coords, float* frame) {
  if (n < 1) return;
  if (run_point_count == 1) {
    // Unscaled tangents of the element centre.
    for (int e = 0; e < n; ++e) {
      const Vec3 x1 = node_of(coords, n, e, 0), x2 = node_of(coords, n, e, 1);
      const Vec3 x3 = node_of(coords, n, e, 2), x4 = node_of(coords, n, e, 3);
      const Vec3 a = {((x2.x - x1.x) + x3.x) - x4.x, ((x2.y - x1.y) + x3.y) - x4.y,
                      ((x2.z - x1.z) + x3.z) - x4.z};
      const Vec3 b = {((x3.x - x1.x) + x4.x) - x2.x, ((x3.y - x1.y) + x4.y) - x2.y,
                      ((x3.z - x1.z) + x4.z) - x2.z};
      frame_from_tangents(frame, n, e, a, b);
    }
    return;
  }

  // Tangents at the point; bilinear derivatives pair up, so two entries of
  // each table give the full sum.
  const int row = kRuleNodes * (point_index - 1);
  const float a1 = rule_dn1[row + 0], a4 = rule_dn1[row + 3];
  const float b1 = rule_dn2[row + 0], b3 = rule_dn2[row + 2];
  for (int e = 0; e < n; ++e) {
    const Vec3 x1 = node_of(coords, n, e, 0), x2 = node_of(coords, n, e, 1);
    const Vec3 x3 = node_of(coords, n, e, 2), x4 = node_of(coords, n, e, 3);
    const Vec3 a = {(x1.x - x2.x) * a1 + (x4.x - x3.x) * a4, (x1.y - x2.y) * a1 + (x4.y - x3.y) * a4,
                    (x1.z - x2.z) * a1 + (x4.z - x3.z) * a4};
    const Vec3 b = {(x1.x - x4.x) * b1 + (x3.x - x2.x) * b3, (x1.y - x4.y) * b1 + (x3.y - x2.y) * b3,
                    (x1.z - x4.z) * b1 + (x3.z - x2.z) * b3};
    frame_from_tangents(frame, n, e, a, b);
  }
}

}  // namespace sti::shell

extern "C" STI_EXPORT void sti_ope_m3dq4normal(const int* batch_count, const int* point_index,
                                               const int* run_point_count, const float* rule_dn1,
                                               const float* rule_dn2, const float* coords_g,
                                               float* frame) {
  sti::shell::surface_frame(*batch_count, *point_index, *run_point_count, rule_dn1, rule_dn2,
                            coords_g, frame);
}
