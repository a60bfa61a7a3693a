// Local frame of a surface element at one integration point: unit normal n
// from the cross product of the two surface tangents, then the in-plane axes
// t and s, so that all later geometry is the plane geometry of the element's
// own plane whatever its orientation in space. A degenerate surface (parallel
// or vanishing tangents) gives an all-zero frame here; the geometry that
// follows finds a zero area and reports it.
#include "common/numerics.hpp"
#include "stabletime/pipeline.h"
#include "shell/local_frame.hpp"
#include "shell/shell.hpp"

namespace sti::shell {

namespace {

// Frames of the batch. The nine rows of the frame are disjoint, and saying so
// lets the loop run on vectors.
template <class Tangents>
void frame_rows(int n, const float* STI_RESTRICT coords, const Tangents& tangents,
                float* STI_RESTRICT sx, float* STI_RESTRICT sy, float* STI_RESTRICT sz,
                float* STI_RESTRICT tx, float* STI_RESTRICT ty, float* STI_RESTRICT tz,
                float* STI_RESTRICT nx, float* STI_RESTRICT ny, float* STI_RESTRICT nz) {
  for (int e = 0; e < n; ++e) {
    const Frame f = element_frame(coords, n, e, tangents);
    sx[e] = f.s.x;
    sy[e] = f.s.y;
    sz[e] = f.s.z;
    tx[e] = f.t.x;
    ty[e] = f.t.y;
    tz[e] = f.t.z;
    nx[e] = f.n.x;
    ny[e] = f.n.y;
    nz[e] = f.n.z;
  }
}

// Frame row of component c of axis a (0 s, 1 t, 2 n).
inline float* row(float* frame, int n, int c, int a) { return frame + n * (c + 3 * a); }

template <class Tangents>
void frames(int n, const float* coords, const Tangents& tangents, float* frame) {
  frame_rows(n, coords, tangents, row(frame, n, 0, 0), row(frame, n, 1, 0), row(frame, n, 2, 0),
             row(frame, n, 0, 1), row(frame, n, 1, 1), row(frame, n, 2, 1), row(frame, n, 0, 2),
             row(frame, n, 1, 2), row(frame, n, 2, 2));
}

// In-plane coordinates of the batch, the frame kept in registers; with
// Pairs, also those of a second set of nodal vectors in the same frame. The
// per-element routines are inlined whatever their size, and the rows of one
// output, each element's own, never meet: both let the loop run on vectors.
template <bool Pairs, class Tangents>
[[gnu::flatten]] void plane_rows(int n, const float* STI_RESTRICT coords,
                                 const Tangents& tangents, float* STI_RESTRICT local,
                                 const float* STI_RESTRICT vectors_d,
                                 float* STI_RESTRICT local_d) {
#pragma GCC ivdep
  for (int e = 0; e < n; ++e) {
    Frame f;
    const Corners4 q = in_plane_corners(coords, n, e, tangents, f);
    for (int k = 0; k < 4; ++k) {
      local[at(n, 4, e, k, 0)] = q.x[k];
      local[at(n, 4, e, k, 1)] = q.y[k];
    }
    if constexpr (Pairs) {
      const Corners4 d = in_plane_corners(vectors_d, n, e, f);
      for (int k = 0; k < 4; ++k) {
        local_d[at(n, 4, e, k, 0)] = d.x[k];
        local_d[at(n, 4, e, k, 1)] = d.y[k];
      }
    }
  }
}

template <class Tangents>
void planes(int n, const float* coords, const Tangents& tangents, float* local,
            const float* vectors_d, float* local_d) {
  if (vectors_d == nullptr)
    plane_rows<false>(n, coords, tangents, local, vectors_d, local_d);
  else
    plane_rows<true>(n, coords, tangents, local, vectors_d, local_d);
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
                   float* STI_RESTRICT local, const float* STI_RESTRICT vectors_d,
                   float* STI_RESTRICT local_d) {
  if (n < 1) return;
  if (run_point_count == 1)
    planes(n, coords, CentreTangents{}, local, vectors_d, local_d);
  else
    planes(n, coords, PointTangents(point_index, rule_dn1, rule_dn2), local, vectors_d, local_d);
}

}  // namespace sti::shell
