// Local frame of a surface element at one integration point: unit normal n
// from the cross product of the two surface tangents, then the in-plane axes
// t and s, so that all later geometry is the plane geometry of the element's
// own plane whatever its orientation in space. A degenerate surface (parallel
// or vanishing tangents) gives an all-zero frame here; the geometry that
// follows finds a zero area and reports it.
//
// Each axis waits on a square root and a division of the one before it, so
// the batch is taken one step at a time (normals, then t, then s, then what
// uses them): short loops whose iterations overlap, rather than one long
// chain per element.
#include "common/numerics.hpp"
#include "stabletime/pipeline.h"
#include "shell/shell.hpp"
#include "shell/surface_terms.hpp"

namespace sti::shell {

namespace {

// Where one point's frame lies: three rows each (x, y, z over the batch) for
// s, t and the normal. The normal may share the rows of s: the last step
// then writes s over it.
struct AxisRows {
  float* s;
  float* t;
  float* nrm;
};

inline void store_axis(float* rows, int n, int e, Vec3 v) {
  rows[e] = v.x;
  rows[e + n] = v.y;
  rows[e + 2 * n] = v.z;
}

// Unit normals of P points. The loops over the points are unrolled, so the
// node differences that the points' tangents share are formed once.
template <int P, class Tangents>
void normal_rows(int n, const float* STI_RESTRICT coords, const Tangents* tangents,
                 const AxisRows* rows) {
#pragma GCC ivdep
  for (int e = 0; e < n; ++e) {
    const Nodes4 x = four_nodes(coords, n, e);
#pragma GCC unroll 4
    for (int p = 0; p < P; ++p) {
      Vec3 a, b;
      tangents[p](x.p[0], x.p[1], x.p[2], x.p[3], a, b);
      store_axis(rows[p].nrm, n, e, normalised<Guard::kStrict>(cross(a, b)));
    }
  }
}

// The first in-plane axis t of P points from their normals.
template <int P>
void t_rows(int n, const AxisRows* rows) {
#pragma GCC ivdep
  for (int e = 0; e < n; ++e) {
#pragma GCC unroll 4
    for (int p = 0; p < P; ++p) {
      const Vec3 nrm = axis_of(rows[p].nrm, n, e);
      const bool away_from_x = kTieBreakNx > std::fabs(nrm.x);
      const Vec3 w = away_from_x ? Vec3{0.0f, nrm.z, -nrm.y} : Vec3{nrm.y, -nrm.x, 0.0f};
      store_axis(rows[p].t, n, e, normalised<Guard::kStrict>(w));
    }
  }
}

// The second in-plane axis s = |t x n| of P points.
template <int P>
void s_rows(int n, const AxisRows* rows) {
#pragma GCC ivdep
  for (int e = 0; e < n; ++e) {
#pragma GCC unroll 4
    for (int p = 0; p < P; ++p) {
      const Vec3 nrm = axis_of(rows[p].nrm, n, e), t = axis_of(rows[p].t, n, e);
      store_axis(rows[p].s, n, e, normalised<Guard::kStrict>(cross(t, nrm)));
    }
  }
}

template <int P, class Tangents>
void frame_rows(int n, const float* coords, const Tangents* tangents, const AxisRows* rows) {
  normal_rows<P>(n, coords, tangents, rows);
  t_rows<P>(n, rows);
  s_rows<P>(n, rows);
}

// Rows of the frame layout: component c of axis a (0 s, 1 t, 2 n) in row
// c + 3 a.
AxisRows frame_layout(float* frame, int n) { return {frame, frame + 3 * n, frame + 6 * n}; }

// Six rows per point from `axes`: s, with the normal before it, then t.
AxisRows axes_layout(float* axes, int n, int p) {
  float* s = axes + 6 * n * p;
  return {s, s + 3 * n, s};
}

template <class Tangents>
void frame_of_point(int n, const float* coords, const Tangents& tangents, float* frame) {
  const AxisRows rows = frame_layout(frame, n);
  frame_rows<1>(n, coords, &tangents, &rows);
}

void frame_of_point(int n, int point_index, int run_point_count, const float* rule_dn1,
                    const float* rule_dn2, const float* coords, float* frame) {
  if (run_point_count == 1)
    frame_of_point(n, coords, CentreTangents{}, frame);
  else
    frame_of_point(n, coords, PointTangents(point_index, rule_dn1, rule_dn2), frame);
}

// In-plane coordinates (components 0 and 1) of the batch's nodal vectors in
// the frame's axes s and t. Each element writes its own entries of `local`
// only, so the loop carries no dependence.
void plane_rows(int n, const float* STI_RESTRICT vectors, const float* STI_RESTRICT frame,
                float* STI_RESTRICT local) {
#pragma GCC ivdep
  for (int e = 0; e < n; ++e) {
    const Vec3 s = axis_of(frame, n, e), t = axis_of(frame + 3 * n, n, e);
    const Corners4 c = plane_corners(four_nodes(vectors, n, e), s, t);
    for (int k = 0; k < 4; ++k) {
      local[at(n, 4, e, k, 0)] = c.x[k];
      local[at(n, 4, e, k, 1)] = c.y[k];
    }
  }
}

}  // namespace

void surface_frame(int n, int point_index, int run_point_count, const float* STI_RESTRICT rule_dn1,
                   const float* STI_RESTRICT rule_dn2, const float* STI_RESTRICT coords,
                   float* STI_RESTRICT frame) {
  if (n < 1) return;
  frame_of_point(n, point_index, run_point_count, rule_dn1, rule_dn2, coords, frame);
}

void surface_plane(int n, int point_index, int run_point_count, const float* STI_RESTRICT rule_dn1,
                   const float* STI_RESTRICT rule_dn2, const float* STI_RESTRICT coords,
                   float* STI_RESTRICT frame, float* STI_RESTRICT local,
                   const float* STI_RESTRICT vectors_d, float* STI_RESTRICT local_d) {
  if (n < 1) return;
  frame_of_point(n, point_index, run_point_count, rule_dn1, rule_dn2, coords, frame);
  plane_rows(n, coords, frame, local);
  if (vectors_d != nullptr) plane_rows(n, vectors_d, frame, local_d);
}

void membrane_axes(int n, int first_point, int count, const float* STI_RESTRICT rule_dn1,
                   const float* STI_RESTRICT rule_dn2, const float* STI_RESTRICT coords,
                   float* STI_RESTRICT axes) {
  if (n < 1) return;
  constexpr int kAll = 4;
  if (count == kAll) {
    PointTangents tangents[kAll];
    AxisRows rows[kAll];
    for (int p = 0; p < kAll; ++p) {
      tangents[p] = PointTangents(first_point + p, rule_dn1, rule_dn2);
      rows[p] = axes_layout(axes, n, p);
    }
    frame_rows<kAll>(n, coords, tangents, rows);
    return;
  }
  for (int p = 0; p < count; ++p) {
    const PointTangents tangents(first_point + p, rule_dn1, rule_dn2);
    const AxisRows rows = axes_layout(axes, n, p);
    frame_rows<1>(n, coords, &tangents, &rows);
  }
}

void one_point_surface(int n, const float* STI_RESTRICT coords, float* STI_RESTRICT axes,
                       int* STI_RESTRICT elem_status, const float* STI_RESTRICT tri_flag,
                       float* STI_RESTRICT element_mass, const float* STI_RESTRICT thickness,
                       const float* STI_RESTRICT density, float* STI_RESTRICT lsq,
                       float* STI_RESTRICT freq_a, float* STI_RESTRICT freq_b) {
  if (n < 1) return;
  const CentreTangents tangents;
  const AxisRows rows = axes_layout(axes, n, 0);
  frame_rows<1>(n, coords, &tangents, &rows);
  const float* STI_RESTRICT s_axis = rows.s;
  const float* STI_RESTRICT t_axis = rows.t;
  for (int e = 0; e < n; ++e) {
    const Corners4 q =
        plane_corners(four_nodes(coords, n, e), axis_of(s_axis, n, e), axis_of(t_axis, n, e));
    const float x1 = q.x[0], y1 = q.y[0], x2 = q.x[1], y2 = q.y[1];
    const float x3 = q.x[2], y3 = q.y[2], x4 = q.x[3], y4 = q.y[3];
    const float f = tri_flag[e];

    // The plane measure: a collapsed element gets a padded area of 1 and
    // status 2; the thickness test comes after and overwrites it.
    const float a = x1 - x3, b = x2 - x4, c = y2 - y4, d = y3 - y1;
    const float area = max_of(0.5f * (a * c + b * d), 0.0f);  // a NaN clamps to 0
    const float p = area == 0.0f ? 1.0f : 0.0f;
    const float padded = area + p;
    const float inverse = (1.0f - p) / padded;
    int status = area == 0.0f ? 2 : elem_status[e];
    status = thickness[e] <= 0.0f ? 3 : status;
    elem_status[e] = status;
    element_mass[e] = thickness[e] * padded * density[e];

    // Gradient of the area by x1, y1, x2, y2; nodes 3 and 4 carry the negatives.
    const float u1 = c * 0.5f, u2 = b * -0.5f, u3 = d * 0.5f, u4 = a * 0.5f;
    const float s = p + u1 * u1 + u2 * u2 + u3 * u3 + u4 * u4 - f * (u1 * u3 + u2 * u4);
    lsq[e] = (kOneSixth * f + 0.5f) * padded / s;
    one_point_frequency(q, padded, inverse, freq_a[e], freq_b[e]);
  }
}

}  // namespace sti::shell
