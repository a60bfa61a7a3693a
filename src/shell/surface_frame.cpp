// Local frame of a surface element at one integration point: unit normal n
// from the cross product of the two surface tangents, then the in-plane axes
// t and s, so that all later geometry is the plane geometry of the element's
// own plane whatever its orientation in space. A degenerate surface (parallel
// or vanishing tangents) gives an all-zero frame here; the geometry that
// follows finds a zero area and reports it.
//
// Each axis waits on a square root and a division of the one before it, so
// the batch is taken one step at a time (normals, then in-plane axes, then
// the rotation into them): short loops whose iterations overlap, rather than
// one long chain per element.
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

// Unscaled tangents of the element centre.
struct CentreTangents {
  void operator()(Vec3 x1, Vec3 x2, Vec3 x3, Vec3 x4, Vec3& a, Vec3& b) const {
    a = {((x2.x - x1.x) + x3.x) - x4.x, ((x2.y - x1.y) + x3.y) - x4.y,
         ((x2.z - x1.z) + x3.z) - x4.z};
    b = {((x3.x - x1.x) + x4.x) - x2.x, ((x3.y - x1.y) + x4.y) - x2.y,
         ((x3.z - x1.z) + x4.z) - x2.z};
  }
};

// Tangents at an integration point; bilinear derivatives pair up, so two
// entries of each table give the full sum.
struct PointTangents {
  float a1, a4, b1, b3;
  PointTangents(int point_index, const float* rule_dn1, const float* rule_dn2) {
    const int first = kRuleNodes * (point_index - 1);
    a1 = rule_dn1[first + 0];
    a4 = rule_dn1[first + 3];
    b1 = rule_dn2[first + 0];
    b3 = rule_dn2[first + 2];
  }
  void operator()(Vec3 x1, Vec3 x2, Vec3 x3, Vec3 x4, Vec3& a, Vec3& b) const {
    a = {(x1.x - x2.x) * a1 + (x4.x - x3.x) * a4, (x1.y - x2.y) * a1 + (x4.y - x3.y) * a4,
         (x1.z - x2.z) * a1 + (x4.z - x3.z) * a4};
    b = {(x1.x - x4.x) * b1 + (x3.x - x2.x) * b3, (x1.y - x4.y) * b1 + (x3.y - x2.y) * b3,
         (x1.z - x4.z) * b1 + (x3.z - x2.z) * b3};
  }
};

// Unit normal of element e from its tangents.
template <class Tangents>
inline Vec3 element_normal(const float* coords, int n, int e, const Tangents& tangents) {
  Vec3 a, b;
  tangents(node_of(coords, n, e, 0), node_of(coords, n, e, 1), node_of(coords, n, e, 2),
           node_of(coords, n, e, 3), a, b);
  return normalised<Guard::kStrict>(cross(a, b));
}

// Component of a nodal vector q along a frame axis.
inline float along(float qx, float qy, float qz, Vec3 axis) {
  return qx * axis.x + qy * axis.y + qz * axis.z;
}

// Unit normals of the batch. The rows of the frame are disjoint, and saying
// so lets the loops run on vectors.
template <class Tangents>
void normal_rows(int n, const float* STI_RESTRICT coords, const Tangents& tangents,
                 float* STI_RESTRICT nx, float* STI_RESTRICT ny, float* STI_RESTRICT nz) {
  for (int e = 0; e < n; ++e) {
    const Vec3 nrm = element_normal(coords, n, e, tangents);
    nx[e] = nrm.x;
    ny[e] = nrm.y;
    nz[e] = nrm.z;
  }
}

// In-plane axes of the batch from its normals.
void axis_rows(int n, const float* STI_RESTRICT nx, const float* STI_RESTRICT ny,
               const float* STI_RESTRICT nz, float* STI_RESTRICT sx, float* STI_RESTRICT sy,
               float* STI_RESTRICT sz, float* STI_RESTRICT tx, float* STI_RESTRICT ty,
               float* STI_RESTRICT tz) {
  for (int e = 0; e < n; ++e) {
    Vec3 s, t;
    in_plane_axes<Guard::kStrict>({nx[e], ny[e], nz[e]}, s, t);
    sx[e] = s.x;
    sy[e] = s.y;
    sz[e] = s.z;
    tx[e] = t.x;
    ty[e] = t.y;
    tz[e] = t.z;
  }
}

// In-plane coordinates (components 0 and 1) of the batch's nodal vectors in
// the frame's axes s and t. Each element writes its own entries of `local`
// only, so the loop carries no dependence.
void plane_rows(int n, const float* STI_RESTRICT vectors, const float* STI_RESTRICT sx,
                const float* STI_RESTRICT sy, const float* STI_RESTRICT sz,
                const float* STI_RESTRICT tx, const float* STI_RESTRICT ty,
                const float* STI_RESTRICT tz, float* STI_RESTRICT local) {
#pragma GCC ivdep
  for (int e = 0; e < n; ++e) {
    const Vec3 s{sx[e], sy[e], sz[e]}, t{tx[e], ty[e], tz[e]};
    for (int k = 0; k < 4; ++k) {
      const Vec3 q = node_of(vectors, n, e, k);
      local[at(n, 4, e, k, 0)] = along(q.x, q.y, q.z, s);
      local[at(n, 4, e, k, 1)] = along(q.x, q.y, q.z, t);
    }
  }
}

// Frame row of component c of axis a (0 s, 1 t, 2 n).
inline float* row(float* frame, int n, int c, int a) { return frame + n * (c + 3 * a); }

template <class Tangents>
void frames(int n, const float* coords, const Tangents& tangents, float* frame) {
  normal_rows(n, coords, tangents, row(frame, n, 0, 2), row(frame, n, 1, 2), row(frame, n, 2, 2));
  axis_rows(n, row(frame, n, 0, 2), row(frame, n, 1, 2), row(frame, n, 2, 2), row(frame, n, 0, 0),
            row(frame, n, 1, 0), row(frame, n, 2, 0), row(frame, n, 0, 1), row(frame, n, 1, 1),
            row(frame, n, 2, 1));
}

void planes(int n, const float* vectors, float* frame, float* local) {
  plane_rows(n, vectors, row(frame, n, 0, 0), row(frame, n, 1, 0), row(frame, n, 2, 0),
             row(frame, n, 0, 1), row(frame, n, 1, 1), row(frame, n, 2, 1), local);
}

}  // namespace

void surface_frame(int n, int point_index, int run_point_count, const float* STI_RESTRICT rule_dn1,
                   const float* STI_RESTRICT rule_dn2, const float* STI_RESTRICT coords,
                   float* STI_RESTRICT frame) {
  if (n < 1) return;
  if (run_point_count == 1)
    frames(n, coords, CentreTangents{}, frame);
  else
    frames(n, coords, PointTangents(point_index, rule_dn1, rule_dn2), frame);
}

void surface_plane(int n, int point_index, int run_point_count, const float* STI_RESTRICT rule_dn1,
                   const float* STI_RESTRICT rule_dn2, const float* STI_RESTRICT coords,
                   float* STI_RESTRICT frame, float* STI_RESTRICT local,
                   const float* STI_RESTRICT vectors_d, float* STI_RESTRICT local_d) {
  if (n < 1) return;
  surface_frame(n, point_index, run_point_count, rule_dn1, rule_dn2, coords, frame);
  planes(n, coords, frame, local);
  if (vectors_d != nullptr) planes(n, vectors_d, frame, local_d);
}

}  // namespace sti::shell
