// Per-element terms of the four-node surface elements: the tangents of the
// frame, the in-plane corner coordinates, the fully integrated membrane's
// measure at one point and the minimum-height frequency term. Inline, so that
// one element loop can run several of them in turn with every value in
// registers, and the staged routines compute exactly the same values.
#pragma once

#include <cmath>

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
  float a1 = 0.0f, a4 = 0.0f, b1 = 0.0f, b3 = 0.0f;
  PointTangents() = default;
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

// The four nodes of element e.
struct Nodes4 {
  Vec3 p[4];
};
inline Nodes4 four_nodes(const float* coords, int n, int e) {
  return {{node_of(coords, n, e, 0), node_of(coords, n, e, 1), node_of(coords, n, e, 2),
           node_of(coords, n, e, 3)}};
}

// Component of a nodal vector q along a frame axis.
inline float along(Vec3 q, Vec3 axis) { return q.x * axis.x + q.y * axis.y + q.z * axis.z; }

// In-plane coordinates of four nodal vectors in the axes s and t.
inline Corners4 plane_corners(const Nodes4& q, Vec3 s, Vec3 t) {
  Corners4 c;
  for (int k = 0; k < 4; ++k) {
    c.x[k] = along(q.p[k], s);
    c.y[k] = along(q.p[k], t);
  }
  return c;
}

// Axis rows of a frame: the x, y and z components of an axis over the batch,
// one row of n values each.
inline Vec3 axis_of(const float* rows, int n, int e) {
  return {rows[e], rows[e + n], rows[e + 2 * n]};
}

// Shape function derivative tables of one integration point of the bilinear
// quadrilateral.
struct MembraneRule {
  float a1, a2, a3, a4, b1, b2, b3, b4;
  MembraneRule(int point_index, const float* rule_dn1, const float* rule_dn2) {
    const int row = kRuleNodes * (point_index - 1);
    a1 = rule_dn1[row + 0], a2 = rule_dn1[row + 1], a3 = rule_dn1[row + 2], a4 = rule_dn1[row + 3];
    b1 = rule_dn2[row + 0], b2 = rule_dn2[row + 1], b3 = rule_dn2[row + 2], b4 = rule_dn2[row + 3];
  }
};

// Fully integrated membrane at one point, from the corners in the point's
// own plane: the Jacobian clamped at zero (`jac`), that Jacobian padded to 1
// where it vanishes (`padded`, the pad in `g`) and the length term. The
// length term is chosen so that lsq * mass = thickness * density /
// sum |grad N_i|^2, the square of the element's wave transit length.
struct MembranePoint {
  float jac, g, padded, lsq;
};
inline MembranePoint membrane_point(const MembraneRule& r, const Corners4& c, float tri) {
  const float x1 = c.x[0], y1 = c.y[0], x2 = c.x[1], y2 = c.y[1];
  const float x3 = c.x[2], y3 = c.y[2], x4 = c.x[3], y4 = c.y[3];

  const float j11 = r.a1 * x1 + r.a2 * x2 + r.a3 * x3 + r.a4 * x4;
  const float j12 = r.a1 * y1 + r.a2 * y2 + r.a3 * y3 + r.a4 * y4;
  const float j21 = r.b1 * x1 + r.b2 * x2 + r.b3 * x3 + r.b4 * x4;
  const float j22 = r.b1 * y1 + r.b2 * y2 + r.b3 * y3 + r.b4 * y4;

  // In the point's own frame J is the length of the tangents' cross
  // product; the clamp only catches rounding (and a NaN).
  MembranePoint m;
  m.jac = max_of(j11 * j22 - j21 * j12, 0.0f);
  m.g = m.jac == 0.0f ? 1.0f : 0.0f;
  m.padded = m.jac + m.g;

  // Shape function gradients times J; the pairs of the bilinear derivative
  // tables let the first and third of one and the first two of the other do.
  const float p1 = r.a1 * j22 - r.b1 * j12;
  const float p2 = -(r.a1 * j22 + r.b2 * j12);
  const float p3 = r.b2 * j12 + r.a3 * j22;
  const float p4 = r.b1 * j12 - r.a3 * j22;
  const float q1 = r.b1 * j11 - r.a1 * j21;
  const float q2 = r.a1 * j21 + r.b2 * j11;
  const float q3 = -(r.b2 * j11 + r.a3 * j21);
  const float q4 = r.a3 * j21 - r.b1 * j11;
  // A stored triangle merges the gradients of nodes 1 and 4.
  const float w = p1 * p1 + p2 * p2 + p3 * p3 + p4 * p4 + q1 * q1 + q2 * q2 + q3 * q3 + q4 * q4 +
                  2.0f * tri * (p1 * p4 + q1 * q4) + m.g;
  m.lsq = m.padded / w;
  return m;
}

// Fully integrated quadrilateral: the first frequency term, from a minimum
// height, for the padded area `padded` at the point. A collapsed last edge
// must not count as the shortest side.
inline float height_frequency(const Corners4& q, float padded) {
  constexpr float kHeightFactor = std::bit_cast<float>(0x3F855555u);  // 1.0416666
  const float x1 = q.x[0], y1 = q.y[0], x2 = q.x[1], y2 = q.y[1];
  const float x3 = q.x[2], y3 = q.y[2], x4 = q.x[3], y4 = q.y[3];
  const float l12 = squared_distance(x1, y1, x2, y2);
  const float l23 = squared_distance(x2, y2, x3, y3);
  const float l34 = squared_distance(x3, y3, x4, y4);
  float l41 = squared_distance(x4, y4, x1, y1);
  const float d13 = squared_distance(x1, y1, x3, y3);
  const float d24 = squared_distance(x2, y2, x4, y4);

  l41 = l41 <= kSmallestNormal ? kLargestFloat : l41;
  const float area = (0.0f - (y3 - y1) * (x4 - x2) + (y4 - y2) * (x3 - x1)) * 0.5f;
  const float dm = min_of(d13, d24);
  const float f1 = dm <= kSmallestNormal ? 1.0f : 0.0f;
  const float opposite = max_of(l12 + l34 + 2.0f * std::sqrt(l12 * l34),
                                l23 + l41 + 2.0f * std::sqrt(l23 * l41));
  const float lm = l41 > kSmallestNormal ? opposite : max_of(l12, l23, l34);
  const float f2 = lm < kSmallestNormal ? 1.0f : 0.0f;
  const float em = min_of(min_of(min_of(l12, l23), l34), l41);
  const float a2 = area * area;
  const float h =
      min_of(max_of(em, a2 * (1.0f - f1) / (dm + f1)), 4.0f * a2 * (1.0f - f2) / (lm + f2));
  const float f3 = h <= kSmallestNormal ? 1.0f : 0.0f;
  return padded * kHeightFactor * (1.0f - f3) / (h + f3);
}

}  // namespace sti::shell
