// Local frame of a surface element and its nodes' coordinates in that frame,
// one element at a time, for the stage routines and the fused point
// routines alike.
#pragma once

#include "common/numerics.hpp"

namespace sti::shell {

// Rows of the surface rule tables: four nodes per point.
inline constexpr int kRuleNodes = 4;

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

// Axes s, t and normal n of one element's frame.
struct Frame {
  Vec3 s, t, n;
};

// Frame of the element whose four nodes are x1 to x4.
template <class Tangents>
inline Frame frame_of(Vec3 x1, Vec3 x2, Vec3 x3, Vec3 x4, const Tangents& tangents) {
  Vec3 a, b;
  tangents(x1, x2, x3, x4, a, b);
  // Axes in the order n, t, s.
  Frame f;
  f.n = normalised<Guard::kStrict>(cross(a, b));
  in_plane_axes<Guard::kStrict>(f.n, f.s, f.t);
  return f;
}

template <class Tangents>
inline Frame element_frame(const float* coords, int n, int e, const Tangents& tangents) {
  return frame_of(node_of(coords, n, e, 0), node_of(coords, n, e, 1), node_of(coords, n, e, 2),
                  node_of(coords, n, e, 3), tangents);
}

// Component of a nodal vector q along a frame axis.
inline float along(float qx, float qy, float qz, Vec3 axis) {
  return qx * axis.x + qy * axis.y + qz * axis.z;
}

// In-plane coordinates of a nodal vector in frame f.
inline float in_plane_x(Vec3 q, const Frame& f) { return along(q.x, q.y, q.z, f.s); }
inline float in_plane_y(Vec3 q, const Frame& f) { return along(q.x, q.y, q.z, f.t); }

// The four nodes of element e and their in-plane coordinates in the
// element's frame at a point: the frame and the rotation into it in one go.
template <class Tangents>
inline Corners4 in_plane_corners(const float* coords, int n, int e, const Tangents& tangents,
                                 Frame& f) {
  const Vec3 x1 = node_of(coords, n, e, 0), x2 = node_of(coords, n, e, 1);
  const Vec3 x3 = node_of(coords, n, e, 2), x4 = node_of(coords, n, e, 3);
  f = frame_of(x1, x2, x3, x4, tangents);
  return {{in_plane_x(x1, f), in_plane_x(x2, f), in_plane_x(x3, f), in_plane_x(x4, f)},
          {in_plane_y(x1, f), in_plane_y(x2, f), in_plane_y(x3, f), in_plane_y(x4, f)}};
}

// In-plane coordinates of element e's four nodal vectors in the frame f.
inline Corners4 in_plane_corners(const float* vectors, int n, int e, const Frame& f) {
  const Vec3 x1 = node_of(vectors, n, e, 0), x2 = node_of(vectors, n, e, 1);
  const Vec3 x3 = node_of(vectors, n, e, 2), x4 = node_of(vectors, n, e, 3);
  return {{in_plane_x(x1, f), in_plane_x(x2, f), in_plane_x(x3, f), in_plane_x(x4, f)},
          {in_plane_y(x1, f), in_plane_y(x2, f), in_plane_y(x3, f), in_plane_y(x4, f)}};
}

}  // namespace sti::shell
