// Local frame of a surface element at one integration point: unit normal n
// from the cross product of the two surface tangents, then the in-plane axes
// t and s, so that all later geometry is the plane geometry of the element's
// own plane whatever its orientation in space. A degenerate surface (parallel
// or vanishing tangents) gives an all-zero frame here; the geometry that
// follows finds a zero area and reports it.
#include "common/numerics.hpp"
#include "stabletime/pipeline.h"
#include "shell/shell.hpp"

namespace sti::shell {

namespace {

// Rows of the surface rule tables: four nodes per point.
constexpr int kRuleNodes = 4;

inline Vec3 node_of(const float* coords, int n, int e, int k) {
  return {coords[at(n, 4, e, k, 0)], coords[at(n, 4, e, k, 1)], coords[at(n, 4, e, k, 2)]};
}

// Frames of the batch from the tangents that `tangents` forms of each
// element's four nodes. The nine rows of the frame are disjoint, and saying so
// lets the loop run on vectors.
template <class Tangents>
void frame_rows(int n, const float* STI_RESTRICT coords, Tangents tangents, float* STI_RESTRICT sx,
                float* STI_RESTRICT sy, float* STI_RESTRICT sz, float* STI_RESTRICT tx,
                float* STI_RESTRICT ty, float* STI_RESTRICT tz, float* STI_RESTRICT nx,
                float* STI_RESTRICT ny, float* STI_RESTRICT nz) {
  for (int e = 0; e < n; ++e) {
    Vec3 a, b;
    tangents(node_of(coords, n, e, 0), node_of(coords, n, e, 1), node_of(coords, n, e, 2),
             node_of(coords, n, e, 3), a, b);
    // Axes in the order n, t, s.
    const Vec3 nrm = normalised<Guard::kStrict>(cross(a, b));
    Vec3 s, t;
    in_plane_axes<Guard::kStrict>(nrm, s, t);
    sx[e] = s.x;
    sy[e] = s.y;
    sz[e] = s.z;
    tx[e] = t.x;
    ty[e] = t.y;
    tz[e] = t.z;
    nx[e] = nrm.x;
    ny[e] = nrm.y;
    nz[e] = nrm.z;
  }
}

// Frame row of component c of axis a (0 s, 1 t, 2 n).
inline float* row(float* frame, int n, int c, int a) { return frame + n * (c + 3 * a); }

template <class Tangents>
void frames(int n, const float* coords, Tangents tangents, float* frame) {
  frame_rows(n, coords, tangents, row(frame, n, 0, 0), row(frame, n, 1, 0), row(frame, n, 2, 0),
             row(frame, n, 0, 1), row(frame, n, 1, 1), row(frame, n, 2, 1), row(frame, n, 0, 2),
             row(frame, n, 1, 2), row(frame, n, 2, 2));
}

}  // namespace

void surface_frame(int n, int point_index, int run_point_count, const float* STI_RESTRICT rule_dn1,
                   const float* STI_RESTRICT rule_dn2, const float* STI_RESTRICT coords,
                   float* STI_RESTRICT frame) {
  if (n < 1) return;
  if (run_point_count == 1) {
    // Unscaled tangents of the element centre.
    frames(
        n, coords,
        [](Vec3 x1, Vec3 x2, Vec3 x3, Vec3 x4, Vec3& a, Vec3& b) {
          a = {((x2.x - x1.x) + x3.x) - x4.x, ((x2.y - x1.y) + x3.y) - x4.y,
               ((x2.z - x1.z) + x3.z) - x4.z};
          b = {((x3.x - x1.x) + x4.x) - x2.x, ((x3.y - x1.y) + x4.y) - x2.y,
               ((x3.z - x1.z) + x4.z) - x2.z};
        },
        frame);
    return;
  }

  // Tangents at the point; bilinear derivatives pair up, so two entries of
  // each table give the full sum.
  const int first = kRuleNodes * (point_index - 1);
  const float a1 = rule_dn1[first + 0], a4 = rule_dn1[first + 3];
  const float b1 = rule_dn2[first + 0], b3 = rule_dn2[first + 2];
  frames(
      n, coords,
      [=](Vec3 x1, Vec3 x2, Vec3 x3, Vec3 x4, Vec3& a, Vec3& b) {
        a = {(x1.x - x2.x) * a1 + (x4.x - x3.x) * a4, (x1.y - x2.y) * a1 + (x4.y - x3.y) * a4,
             (x1.z - x2.z) * a1 + (x4.z - x3.z) * a4};
        b = {(x1.x - x4.x) * b1 + (x3.x - x2.x) * b3, (x1.y - x4.y) * b1 + (x3.y - x2.y) * b3,
             (x1.z - x4.z) * b1 + (x3.z - x2.z) * b3};
      },
      frame);
}

}  // namespace sti::shell
