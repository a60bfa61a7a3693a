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
#include "continuum/plane_measure.hpp"
#include "stabletime/pipeline.h"
#include "shell/shell.hpp"
#include "shell/surface_terms.hpp"

namespace sti::shell {

namespace {

// Where the frame rows of point p lie, three rows (x, y, z over the batch)
// per axis. In the frame layout (one point) s, t and the normal follow each
// other; in the axes layout each point has six rows, s then t, and its normal
// lies in the rows of s until s is written over it.
template <bool Frame>
struct AxisRows {
  float* base;
  int n;
  float* s(int p) const { return base + 6 * n * p; }
  float* t(int p) const { return s(p) + 3 * n; }
  float* nrm(int p) const { return Frame ? base + 6 * n : s(p); }
};

inline void store_axis(float* rows, int n, int e, Vec3 v) {
  rows[e] = v.x;
  rows[e + n] = v.y;
  rows[e + 2 * n] = v.z;
}

// The stages take the batch size as N, a constant for a full batch (0: the
// run-time `count`), so that every row is a fixed offset from one base.
template <int N>
inline int batch_size(int count) {
  return N > 0 ? N : count;
}

// Unit normals of P points. The loops over the points are unrolled, so the
// node differences that the points' tangents share are formed once.
template <int N, int P, bool Frame, class Tangents>
void normal_rows(int count, const float* STI_RESTRICT coords, const Tangents* tangents,
                 float* base) {
  const int n = batch_size<N>(count);
  const AxisRows<Frame> rows{base, n};
#pragma GCC ivdep
  for (int e = 0; e < n; ++e) {
    const Nodes4 x = four_nodes(coords, n, e);
#pragma GCC unroll 4
    for (int p = 0; p < P; ++p) {
      Vec3 a, b;
      tangents[p](x.p[0], x.p[1], x.p[2], x.p[3], a, b);
      store_axis(rows.nrm(p), n, e, normalised<Guard::kStrict>(cross(a, b)));
    }
  }
}

// The first in-plane axis t of P points from their normals.
template <int N, int P, bool Frame>
void t_rows(int count, float* base) {
  const int n = batch_size<N>(count);
  const AxisRows<Frame> rows{base, n};
#pragma GCC ivdep
  for (int e = 0; e < n; ++e) {
#pragma GCC unroll 4
    for (int p = 0; p < P; ++p) {
      const Vec3 nrm = axis_of(rows.nrm(p), n, e);
      const bool away_from_x = kTieBreakNx > std::fabs(nrm.x);
      const Vec3 w = away_from_x ? Vec3{0.0f, nrm.z, -nrm.y} : Vec3{nrm.y, -nrm.x, 0.0f};
      store_axis(rows.t(p), n, e, normalised<Guard::kStrict>(w));
    }
  }
}

// The second in-plane axis s = |t x n| of P points.
template <int N, int P, bool Frame>
void s_rows(int count, float* base) {
  const int n = batch_size<N>(count);
  const AxisRows<Frame> rows{base, n};
#pragma GCC ivdep
  for (int e = 0; e < n; ++e) {
#pragma GCC unroll 4
    for (int p = 0; p < P; ++p) {
      const Vec3 nrm = axis_of(rows.nrm(p), n, e), t = axis_of(rows.t(p), n, e);
      store_axis(rows.s(p), n, e, normalised<Guard::kStrict>(cross(t, nrm)));
    }
  }
}

template <int N, int P, bool Frame, class Tangents>
void frame_rows(int count, const float* coords, const Tangents* tangents, float* base) {
  normal_rows<N, P, Frame>(count, coords, tangents, base);
  t_rows<N, P, Frame>(count, base);
  s_rows<N, P, Frame>(count, base);
}

template <int P, bool Frame, class Tangents>
void batch_frame_rows(int n, const float* coords, const Tangents* tangents, float* base) {
  if (n == kBatchCapacity)
    frame_rows<kBatchCapacity, P, Frame>(n, coords, tangents, base);
  else
    frame_rows<0, P, Frame>(n, coords, tangents, base);
}

template <class Tangents>
void frame_of_point(int n, const float* coords, const Tangents& tangents, float* frame) {
  batch_frame_rows<1, true>(n, coords, &tangents, frame);
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

// The one-point quadrilateral after its frame (s and t rows of `axes`), in
// one pass: in-plane corners, plane measure and one-point frequency terms.
template <int N>
void one_point_rows(int count, const float* STI_RESTRICT coords, const float* STI_RESTRICT axes,
                    int* STI_RESTRICT elem_status, const float* STI_RESTRICT tri_flag,
                    float* STI_RESTRICT element_mass, const float* STI_RESTRICT thickness,
                    const float* STI_RESTRICT density, float* STI_RESTRICT lsq,
                    float* STI_RESTRICT freq_a, float* STI_RESTRICT freq_b) {
  const int n = batch_size<N>(count);
  for (int e = 0; e < n; ++e) {
    const Corners4 q =
        plane_corners(four_nodes(coords, n, e), axis_of(axes, n, e), axis_of(axes + 3 * n, n, e));
    // The plane measure: a collapsed element gets a padded area of 1 and
    // status 2; the thickness test comes after and overwrites it.
    const continuum::PlaneMeasure m = continuum::plane_measure(
        q.x[0], q.y[0], q.x[1], q.y[1], q.x[2], q.y[2], q.x[3], q.y[3], tri_flag[e]);
    int status = m.area == 0.0f ? 2 : elem_status[e];
    status = thickness[e] <= 0.0f ? 3 : status;
    elem_status[e] = status;
    element_mass[e] = thickness[e] * m.padded * density[e];
    lsq[e] = m.lsq;
    one_point_frequency(q, m.padded, m.inverse, freq_a[e], freq_b[e]);
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

void membrane_axes(int n, const float* STI_RESTRICT rule_dn1, const float* STI_RESTRICT rule_dn2,
                   const float* STI_RESTRICT coords, float* STI_RESTRICT axes) {
  if (n < 1) return;
  constexpr int kPoints = 4;
  PointTangents tangents[kPoints];
  for (int p = 0; p < kPoints; ++p) tangents[p] = PointTangents(p + 1, rule_dn1, rule_dn2);
  batch_frame_rows<kPoints, false>(n, coords, tangents, axes);
}

void one_point_surface(int n, const float* STI_RESTRICT coords, float* STI_RESTRICT axes,
                       int* STI_RESTRICT elem_status, const float* STI_RESTRICT tri_flag,
                       float* STI_RESTRICT element_mass, const float* STI_RESTRICT thickness,
                       const float* STI_RESTRICT density, float* STI_RESTRICT lsq,
                       float* STI_RESTRICT freq_a, float* STI_RESTRICT freq_b) {
  if (n < 1) return;
  const CentreTangents tangents;
  batch_frame_rows<1, false>(n, coords, &tangents, axes);
  if (n == kBatchCapacity)
    one_point_rows<kBatchCapacity>(n, coords, axes, elem_status, tri_flag, element_mass,
                                   thickness, density, lsq, freq_a, freq_b);
  else
    one_point_rows<0>(n, coords, axes, elem_status, tri_flag, element_mass, thickness, density,
                      lsq, freq_a, freq_b);
}

}  // namespace sti::shell
