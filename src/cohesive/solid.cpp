// Solid cohesive elements (eight-node stack and six-node wedge stack) at one
// corner point. The characteristic length is the element's thickness over the
// square norm S of the rows that map the motion of every node of both faces to
// the three components of the opening: the exact derivative of the normal
// opening, the turning of the normal included, and for the two sliding
// components an edge-based transverse shear in the manner of an assumed-strain
// shell. The two shapes share this algorithm and differ in their edges, the
// coefficients of the edges, the stiffness ramp and the corner weight.
#include <cmath>
#include <type_traits>

#include "common/numerics.hpp"
#include "stabletime/pipeline.h"
#include "cohesive/cohesive.hpp"

namespace sti::cohesive {
namespace {

constexpr int kPoints = 4;  // mid-surface points; the wedge repeats its first

struct Edge {
  int i, k;  // from point i to point k, from 0
};

// Which derivative table scales an edge's contribution, at which node, and
// which dual component it takes.
enum class Table { kA, kB, kHalf };
struct Contribution {
  int edge;
  Table table;
  int node;
  int dual;  // 0: c1, 1: c2
};

struct Hexahedral {
  static constexpr int kFaceNodes = 4;
  static constexpr int kEdgeCount = 4;
  static constexpr Edge kEdges[kEdgeCount] = {{0, 1}, {1, 2}, {3, 2}, {0, 3}};
  // The two edges meeting at each corner point, e1 then e2.
  static constexpr int kBasis[4][2] = {{0, 3}, {0, 1}, {2, 1}, {2, 3}};
  static constexpr bool kRamp = true;
  static constexpr bool kWeighted = false;
  // Edges (1->2), (4->3), (1->4), (2->3) with a_2 c1, a_3 c1, b_4 c2, b_3 c2.
  static constexpr int kContributionCount = 4;
  static constexpr Contribution contribution(int j, int) {
    constexpr Contribution c[4] = {
        {0, Table::kA, 1, 0}, {2, Table::kA, 2, 0}, {3, Table::kB, 3, 1}, {1, Table::kB, 2, 1}};
    return c[j];
  }
  // The driver's rule: the bilinear forms at the corners (-1, -1), (1, -1),
  // (1, 1), (-1, 1), zeros signed as that rule forms them.
  static constexpr int kCorners = 4;
  static constexpr float kRuleN[16] = {1.0f, 0.0f, 0.0f, 0.0f, 0.0f, 1.0f, 0.0f, 0.0f,
                                       0.0f, 0.0f, 1.0f, 0.0f, 0.0f, 0.0f, 0.0f, 1.0f};
  static constexpr float kRuleA[16] = {-0.5f, 0.5f, 0.0f, -0.0f, -0.5f, 0.5f, 0.0f, -0.0f,
                                       -0.0f, 0.0f, 0.5f, -0.5f, -0.0f, 0.0f, 0.5f, -0.5f};
  static constexpr float kRuleB[16] = {-0.5f, -0.0f, 0.0f, 0.5f, -0.0f, -0.5f, 0.5f, 0.0f,
                                       -0.0f, -0.5f, 0.5f, 0.0f, -0.5f, -0.0f, 0.0f, 0.5f};
  static constexpr float kRuleW[4] = {};  // not read
};

struct Wedge {
  static constexpr int kFaceNodes = 3;
  static constexpr int kEdgeCount = 3;
  static constexpr Edge kEdges[kEdgeCount] = {{0, 1}, {1, 2}, {0, 2}};
  static constexpr int kBasis[4][2] = {{0, 2}, {0, 1}, {2, 1}, {2, 1}};
  static constexpr bool kRamp = false;
  static constexpr bool kWeighted = true;
  // e1 with 0.5 c1 and e2 with 0.5 c2; the third edge takes no part.
  static constexpr int kContributionCount = 2;
  static constexpr Contribution contribution(int j, int p) {
    return {kBasis[p][j], Table::kHalf, 0, j};
  }
  // The driver's rule: the triangle's forms at its three corners, the first
  // node repeated as the fourth, and their weight.
  static constexpr int kCorners = 3;
  static constexpr float kRuleN[12] = {0.5f,  0.0f, 0.0f, 0.5f, -0.0f, 1.0f,
                                       0.0f,  -0.0f, -0.0f, 0.0f, 1.0f, -0.0f};
  static constexpr float kRuleA[12] = {-0.25f, 0.5f, 0.0f, -0.25f, -0.25f, 0.5f,
                                       0.0f, -0.25f, -0.25f, 0.5f, 0.0f, -0.25f};
  static constexpr float kRuleB[12] = {-0.25f, 0.0f, 0.5f, -0.25f, -0.25f, 0.0f,
                                       0.5f, -0.25f, -0.25f, 0.0f, 0.5f, -0.25f};
  static constexpr float kRuleW[3] = {kTwoThirds, kTwoThirds, kTwoThirds};
};

// Edges of an element: length, vector, and the two transverse directions
// u + v and u - v, for the unit direction u and the mean half-thickness across
// the edge over its length v. They are the same at every corner. Each is an
// array of its own, small enough for the compiler to keep in registers.
template <class Shape>
using EdgeFloats = float[Shape::kEdgeCount];
template <class Shape>
using EdgeVectors = float[Shape::kEdgeCount][3];

template <class Shape>
[[gnu::always_inline]] inline void edges_of(const Vec3 (&X)[kPoints], const Vec3 (&D)[kPoints],
                                            EdgeFloats<Shape>& len, EdgeVectors<Shape>& vec,
                                            EdgeVectors<Shape>& w_plus,
                                            EdgeVectors<Shape>& w_minus) {
  for (int ed = 0; ed < Shape::kEdgeCount; ++ed) {
    const Edge E = Shape::kEdges[ed];
    const Vec3 dv{X[E.k].x - X[E.i].x, X[E.k].y - X[E.i].y, X[E.k].z - X[E.i].z};
    const float l = length(dv);
    const float rho = guarded_reciprocal_nonstrict(l);
    const float u[3] = {dv.x * rho, dv.y * rho, dv.z * rho};
    const float m[3] = {D[E.i].x + D[E.k].x, D[E.i].y + D[E.k].y, D[E.i].z + D[E.k].z};
    const float mu = m[0] * u[0] + m[1] * u[1] + m[2] * u[2];
    len[ed] = l;
    vec[ed][0] = dv.x, vec[ed][1] = dv.y, vec[ed][2] = dv.z;
    for (int c = 0; c < 3; ++c) {
      const float v = (m[c] - mu * u[c]) * rho;
      w_plus[ed][c] = u[c] + v;
      w_minus[ed][c] = u[c] - v;
    }
  }
}

// What one corner gives an element: mass, length term, and the status it
// sets (1 or 3), 0 where it keeps the element's own.
struct CornerResult {
  float mass, lsq;
  int status;
};

// The measure of one element at corner point p (from 0), fixed at compile
// time so that every edge and row index is; N, a and b are the point's rows of
// the rule. From the element's mid-surface points X, half-thickness vectors D,
// edges, frame f and the in-plane coordinates x, y of its points in that frame.
template <class Shape, int p>
[[gnu::always_inline]] inline CornerResult corner_measure(
    int coh_flag, const float* N, const float* a, const float* b, float weight,
    const Vec3 (&D)[kPoints], const EdgeFloats<Shape>& len, const EdgeVectors<Shape>& vec,
    const EdgeVectors<Shape>& w_plus, const EdgeVectors<Shape>& w_minus, const CornerFrame& f,
    const float (&x)[kPoints], const float (&y)[kPoints], float thick, float density) {
  constexpr int KF = Shape::kFaceNodes;
  auto sq = [](float v) { return v * v; };
  auto comp = [](const Vec3& v, int c) { return c == 0 ? v.x : (c == 1 ? v.y : v.z); };

  // Normal part: the geometric thickness and the derivatives of the normal
  // opening by the lower and the upper node of each point.
  float d[3];
  for (int c = 0; c < 3; ++c)
    d[c] = 2.0f * (N[0] * comp(D[0], c) + N[1] * comp(D[1], c) + N[2] * comp(D[2], c) +
                   N[3] * comp(D[3], c));
  const float nv[3] = {f.nrm.x, f.nrm.y, f.nrm.z};
  const float h_g = d[0] * nv[0] + d[1] * nv[1] + d[2] * nv[2];
  const Vec3 ev{d[0] - h_g * nv[0], d[1] - h_g * nv[1], d[2] - h_g * nv[2]};
  const float half_rn = f.rn / 2.0f;
  const Vec3 pb = cross(f.tb, ev), qa = cross(f.ta, ev);
  const float P[3] = {pb.x * half_rn, pb.y * half_rn, pb.z * half_rn};
  const float Q[3] = {-qa.x * half_rn, -qa.y * half_rn, -qa.z * half_rn};
  // Summed point by point, component by component, the lower node's square
  // before the upper node's.
  float s_n = 0.0f;
  for (int i = 0; i < kPoints; ++i)
    for (int c = 0; c < 3; ++c) {
      const float w = a[i] * P[c] + b[i] * Q[c];
      s_n += sq(w - N[i] * nv[c]);
      s_n += sq(w + N[i] * nv[c]);
    }

  // Area of the point in the local frame; a degenerate one is status 1.
  const float j11 = a[0] * x[0] + a[1] * x[1] + a[2] * x[2] + a[3] * x[3];
  const float j12 = a[0] * y[0] + a[1] * y[1] + a[2] * y[2] + a[3] * y[3];
  const float j21 = b[0] * x[0] + b[1] * x[1] + b[2] * x[2] + b[3] * x[3];
  const float j22 = b[0] * y[0] + b[1] * y[1] + b[2] * y[2] + b[3] * y[3];
  float J = max_of(j11 * j22 - j21 * j12, 0.0f);
  const bool flat = kSmallestNormal >= J;
  J = flat ? J + 1.0f : J;
  const float area = Shape::kWeighted ? J * weight : J;

  // Edge basis of the corner: dual vectors of the two half-edges meeting
  // there, projected on s and t and scaled by the half edge lengths.
  constexpr int e1 = Shape::kBasis[p][0], e2 = Shape::kBasis[p][1];
  const float g1[3] = {vec[e1][0] / 2.0f, vec[e1][1] / 2.0f, vec[e1][2] / 2.0f};
  const float g2[3] = {vec[e2][0] / 2.0f, vec[e2][1] / 2.0f, vec[e2][2] / 2.0f};
  const float G11 = g1[0] * g1[0] + g1[1] * g1[1] + g1[2] * g1[2];
  const float G22 = g2[0] * g2[0] + g2[1] * g2[1] + g2[2] * g2[2];
  const float G12 = g1[0] * g2[0] + g1[1] * g2[1] + g1[2] * g2[2];
  const float rho_d = guarded_reciprocal_nonstrict(G11 * G22 - G12 * G12);
  float f1[3], f2[3];
  for (int c = 0; c < 3; ++c) {
    f1[c] = (g1[c] * G22 - g2[c] * G12) * rho_d;
    f2[c] = (g2[c] * G11 - g1[c] * G12) * rho_d;
  }
  float dual[2][2];  // [axis s/t][c1/c2]
  const Vec3 axes[2] = {f.s, f.t};
  for (int ax = 0; ax < 2; ++ax) {
    const Vec3 A = axes[ax];
    const float af1 = A.x * f1[0] + A.y * f1[1] + A.z * f1[2];
    const float af2 = A.x * f2[0] + A.y * f2[1] + A.z * f2[2];
    dual[ax][0] = af1 * len[e1] / 2.0f;
    dual[ax][1] = af2 * len[e2] / 2.0f;
  }

  // Sliding part: per axis, the rows of both faces' nodes from the contributing
  // edges, then the sum of their squares. A row starts at -0, which adds
  // nothing, and its sign does not reach its square. Every loop here unrolls,
  // so that the rows stay in registers.
  float s_s = 0.0f;
#pragma GCC unroll 2
  for (int ax = 0; ax < 2; ++ax) {
    float row[2][KF][3];  // [lower/upper][node][component]
#pragma GCC unroll 2
    for (int face = 0; face < 2; ++face)
#pragma GCC unroll 4
      for (int k = 0; k < KF; ++k)
#pragma GCC unroll 3
        for (int c = 0; c < 3; ++c) row[face][k][c] = -0.0f;
#pragma GCC unroll 4
    for (int j = 0; j < Shape::kContributionCount; ++j) {
      const Contribution con = Shape::contribution(j, p);
      const float table = con.table == Table::kA   ? a[con.node]
                          : con.table == Table::kB ? b[con.node]
                                                   : 0.5f;
      const Edge E = Shape::kEdges[con.edge];
      const float scale = table * dual[ax][con.dual];
#pragma GCC unroll 3
      for (int c = 0; c < 3; ++c) {
        const float wp = w_plus[con.edge][c], wm = w_minus[con.edge][c];
        row[0][E.i][c] += -1.0f * scale * wp;
        row[0][E.k][c] += -1.0f * scale * wm;
        row[1][E.i][c] += 1.0f * scale * wm;
        row[1][E.k][c] += 1.0f * scale * wp;
      }
    }
    // Summed component by component; within one, the lower nodes in turn,
    // then the upper ones.
#pragma GCC unroll 3
    for (int c = 0; c < 3; ++c)
#pragma GCC unroll 2
      for (int face = 0; face < 2; ++face)
#pragma GCC unroll 4
        for (int k = 0; k < KF; ++k) s_s += sq(row[face][k][c]);
  }

  // Results: the ramp on S, the thickness in force, mass and length term;
  // a thickness not above zero is status 3, last.
  const float S = s_s + s_n;
  const bool degenerate = kSmallestNormal >= S;
  const float g_s = degenerate ? 1.0f : 0.0f;
  const float inside = 8.0f - S;
  const float ramp = 4.0f >= S ? 4.0f : (S < 7.0f ? inside : 1.0f);
  const float factor = Shape::kRamp && !degenerate ? ramp : 1.0f;
  const float h = coh_flag != 0 ? thick : h_g;
  CornerResult r;
  r.mass = std::fabs(h) * area * density;
  r.lsq = std::fabs(thick * h) * factor / (area * (S + g_s));
  const int flat_status = flat ? 1 : 0;
  const int set = degenerate ? 1 : flat_status;
  r.status = 0.0f >= h ? 3 : set;
  return r;
}

inline Vec3 point_of(const float* a, int n, int e, int k) {
  return {a[at(n, kPoints, e, k, 0)], a[at(n, kPoints, e, k, 1)], a[at(n, kPoints, e, k, 2)]};
}

// The mid-surface points X and half-thickness vectors D of element e.
[[gnu::always_inline]] inline void points_of(const float* coords_g, const float* coords_d, int n,
                                             int e, Vec3 (&X)[kPoints], Vec3 (&D)[kPoints]) {
  for (int k = 0; k < kPoints; ++k) {
    X[k] = point_of(coords_g, n, e, k);
    D[k] = point_of(coords_d, n, e, k);
  }
}

// The element's status after a corner.
inline int status_after(const CornerResult& r, int status) {
  return r.status != 0 ? r.status : status;
}

// The routine over a batch at corner p, frame and local coordinates given.
template <class Shape, int p>
void solid_cohesive(int coh_flag, int n, int* elem_status, const float* rule_n,
                    const float* rule_dn1, const float* rule_dn2, const float* rule_w,
                    const float* frame, const float* work_a, const float* work_b,
                    const float* coords_g, const float* local_g, const float* coords_d,
                    float* element_mass, const float* thickness, const float* density, float* lsq) {
  const float* N = rule_n + kPoints * p;
  const float* a = rule_dn1 + kPoints * p;
  const float* b = rule_dn2 + kPoints * p;
  const float weight = Shape::kWeighted ? rule_w[p] : 0.0f;
  for (int e = 0; e < n; ++e) {
    Vec3 X[kPoints], D[kPoints];
    float x[kPoints], y[kPoints];
    for (int k = 0; k < kPoints; ++k) {
      X[k] = point_of(coords_g, n, e, k);
      D[k] = point_of(coords_d, n, e, k);
      x[k] = local_g[at(n, kPoints, e, k, 0)];
      y[k] = local_g[at(n, kPoints, e, k, 1)];
    }
    auto axis = [&](int ax) {
      return Vec3{frame[e + n * (0 + 3 * ax)], frame[e + n * (1 + 3 * ax)],
                  frame[e + n * (2 + 3 * ax)]};
    };
    CornerFrame f;
    f.ta = {work_b[e], work_b[e + n], work_b[e + 2 * n]};
    f.tb = {work_b[e + 3 * n], work_b[e + 4 * n], work_b[e + 5 * n]};
    f.rn = work_a[e];
    f.s = axis(0), f.t = axis(1), f.nrm = axis(2);
    EdgeFloats<Shape> len;
    EdgeVectors<Shape> vec, w_plus, w_minus;
    edges_of<Shape>(X, D, len, vec, w_plus, w_minus);
    const CornerResult r = corner_measure<Shape, p>(coh_flag, N, a, b, weight, D, len, vec, w_plus,
                                                    w_minus, f, x, y, thickness[e], density[e]);
    element_mass[e] = r.mass;
    lsq[e] = r.lsq;
    elem_status[e] = status_after(r, elem_status[e]);
  }
}

// The measure at corner p with the frame formed in place from the points X.
template <class Shape, int p>
[[gnu::always_inline]] inline CornerResult framed_corner(
    int coh_flag, const float* rule_n, const float* rule_dn1, const float* rule_dn2,
    const float* rule_w, const Vec3 (&X)[kPoints], const Vec3 (&D)[kPoints],
    const EdgeFloats<Shape>& len, const EdgeVectors<Shape>& vec, const EdgeVectors<Shape>& w_plus,
    const EdgeVectors<Shape>& w_minus, float thick, float density) {
  const float* N = rule_n + kPoints * p;
  const float* a = rule_dn1 + kPoints * p;
  const float* b = rule_dn2 + kPoints * p;
  const float weight = Shape::kWeighted ? rule_w[p] : 0.0f;
  const CornerFrame f = corner_frame(a, b, X);
  float x[kPoints], y[kPoints];
  for (int k = 0; k < kPoints; ++k) {
    x[k] = X[k].x * f.s.x + X[k].y * f.s.y + X[k].z * f.s.z;
    y[k] = X[k].x * f.t.x + X[k].y * f.t.y + X[k].z * f.t.z;
  }
  return corner_measure<Shape, p>(coh_flag, N, a, b, weight, D, len, vec, w_plus, w_minus, f, x, y,
                                  thick, density);
}

// The corner loop is long and holds more values than there are registers:
// scheduling it before register allocation, minding register pressure, lets
// the compiler interleave independent work and spill less.
#if defined(__GNUC__) && !defined(__clang__)
#define STI_PRESSURE_SCHEDULED __attribute__((optimize("schedule-insns", "sched-pressure")))
#else
#define STI_PRESSURE_SCHEDULED
#endif

// Corners p0 to p3 of the batch (those from the first negative one on left
// out) in one element loop, the points and edges of an element formed once for
// all of them: corner p0 into the batch arrays, the others into `later`. With
// kDriverRule the rule is the shape's own, known here, so that what two
// corners share (a tangent, the whole frame of the wedge) is formed once and
// no rule value is held in a register across the loop.
template <class Shape, bool kDriverRule, int p0, int p1, int p2, int p3>
[[gnu::noinline]] STI_PRESSURE_SCHEDULED void corner_run(
    int coh_flag, int n, int* STI_RESTRICT elem_status, const float* STI_RESTRICT rule_n,
    const float* STI_RESTRICT rule_dn1, const float* STI_RESTRICT rule_dn2,
    const float* STI_RESTRICT rule_w, const float* STI_RESTRICT coords_g,
    const float* STI_RESTRICT coords_d, float* STI_RESTRICT element_mass,
    const float* STI_RESTRICT thickness, const float* STI_RESTRICT density, float* STI_RESTRICT lsq,
    LaterCorners* STI_RESTRICT later) {
  const float* rn = kDriverRule ? Shape::kRuleN : rule_n;
  const float* ra = kDriverRule ? Shape::kRuleA : rule_dn1;
  const float* rb = kDriverRule ? Shape::kRuleB : rule_dn2;
  const float* rw = kDriverRule ? Shape::kRuleW : rule_w;
#pragma GCC ivdep
  for (int e = 0; e < n; ++e) {
    Vec3 X[kPoints], D[kPoints];
    points_of(coords_g, coords_d, n, e, X, D);
    EdgeFloats<Shape> len;
    EdgeVectors<Shape> vec, w_plus, w_minus;
    edges_of<Shape>(X, D, len, vec, w_plus, w_minus);
    const float thick = thickness[e], rho = density[e];
    auto keep = [&](auto p) __attribute__((always_inline)) {
      const CornerResult r = framed_corner<Shape, p>(coh_flag, rn, ra, rb, rw, X, D, len, vec,
                                                     w_plus, w_minus, thick, rho);
      if constexpr (p == p0) {
        element_mass[e] = r.mass;
        lsq[e] = r.lsq;
        elem_status[e] = status_after(r, elem_status[e]);
      } else {
        later->element_mass[p - 1][e] = r.mass;
        later->lsq[p - 1][e] = r.lsq;
        later->status[p - 1][e] = r.status;
      }
    };
    keep(std::integral_constant<int, p0>{});
    if constexpr (p1 >= 0) keep(std::integral_constant<int, p1>{});
    if constexpr (p1 >= 0 && p2 >= 0) keep(std::integral_constant<int, p2>{});
    if constexpr (p1 >= 0 && p2 >= 0 && p3 >= 0) keep(std::integral_constant<int, p3>{});
  }
}

// Whether the rule tables hold the shape's own rule, bit for bit, in the rows
// of its corners.
template <class Shape>
bool is_driver_rule(const float* rule_n, const float* rule_dn1, const float* rule_dn2,
                    const float* rule_w) {
  unsigned differ = 0;
  for (int i = 0; i < kPoints * Shape::kCorners; ++i)
    differ |= (bits_of(rule_n[i]) ^ bits_of(Shape::kRuleN[i])) |
              (bits_of(rule_dn1[i]) ^ bits_of(Shape::kRuleA[i])) |
              (bits_of(rule_dn2[i]) ^ bits_of(Shape::kRuleB[i]));
  if (Shape::kWeighted)
    for (int p = 0; p < Shape::kCorners; ++p)
      differ |= bits_of(rule_w[p]) ^ bits_of(Shape::kRuleW[p]);
  return differ == 0;
}

// Corner point_index (from 1) of the four, as the compile-time p of `run`;
// there is no other corner.
template <class Run>
void at_corner(int point_index, Run run) {
  switch (point_index) {
    case 1:
      run(std::integral_constant<int, 0>{});
      break;
    case 2:
      run(std::integral_constant<int, 1>{});
      break;
    case 3:
      run(std::integral_constant<int, 2>{});
      break;
    case 4:
      run(std::integral_constant<int, 3>{});
      break;
    default:
      break;
  }
}

}  // namespace
}  // namespace sti::cohesive

namespace sti::cohesive {

void eight_node_cohesive(int coh_flag, int n, int point_index, int* STI_RESTRICT elem_status,
                         const float* STI_RESTRICT rule_n, const float* STI_RESTRICT rule_dn1,
                         const float* STI_RESTRICT rule_dn2, const float* STI_RESTRICT frame,
                         const float* STI_RESTRICT work_a, const float* STI_RESTRICT work_b,
                         const float* STI_RESTRICT coords_g, const float* STI_RESTRICT local_g,
                         const float* STI_RESTRICT coords_d, float* STI_RESTRICT element_mass,
                         const float* STI_RESTRICT thickness, const float* STI_RESTRICT density,
                         float* STI_RESTRICT lsq) {
  at_corner(point_index, [&](auto p) {
    solid_cohesive<Hexahedral, p>(coh_flag, n, elem_status, rule_n, rule_dn1, rule_dn2, nullptr,
                                  frame, work_a, work_b, coords_g, local_g, coords_d, element_mass,
                                  thickness, density, lsq);
  });
}

void six_node_cohesive(int coh_flag, int n, int point_index, int* STI_RESTRICT elem_status,
                       const float* STI_RESTRICT rule_n, const float* STI_RESTRICT rule_dn1,
                       const float* STI_RESTRICT rule_dn2, const float* STI_RESTRICT rule_w,
                       const float* STI_RESTRICT frame, const float* STI_RESTRICT work_a,
                       const float* STI_RESTRICT work_b, const float* STI_RESTRICT coords_g,
                       const float* STI_RESTRICT local_g, const float* STI_RESTRICT coords_d,
                       float* STI_RESTRICT element_mass, const float* STI_RESTRICT thickness,
                       const float* STI_RESTRICT density, float* STI_RESTRICT lsq) {
  at_corner(point_index, [&](auto p) {
    solid_cohesive<Wedge, p>(coh_flag, n, elem_status, rule_n, rule_dn1, rule_dn2, rule_w, frame,
                             work_a, work_b, coords_g, local_g, coords_d, element_mass, thickness,
                             density, lsq);
  });
}

void solid_cohesive_corner(bool eight_node, int coh_flag, int n, int point_index,
                           int run_point_count, int* STI_RESTRICT elem_status,
                           const float* STI_RESTRICT rule_n, const float* STI_RESTRICT rule_dn1,
                           const float* STI_RESTRICT rule_dn2, const float* STI_RESTRICT rule_w,
                           const float* STI_RESTRICT coords_g, const float* STI_RESTRICT coords_d,
                           float* STI_RESTRICT element_mass, const float* STI_RESTRICT thickness,
                           const float* STI_RESTRICT density, float* STI_RESTRICT lsq,
                           LaterCorners* STI_RESTRICT later) {
  // A batch whose points the caller runs in turn, with the shape's corner
  // count and rule, forms them all at point 1.
  const bool together =
      later != nullptr &&
      (eight_node ? run_point_count == Hexahedral::kCorners &&
                        is_driver_rule<Hexahedral>(rule_n, rule_dn1, rule_dn2, rule_w)
                  : run_point_count == Wedge::kCorners &&
                        is_driver_rule<Wedge>(rule_n, rule_dn1, rule_dn2, rule_w));
  if (together && point_index == 1) {
    if (eight_node)
      corner_run<Hexahedral, true, 0, 1, 2, 3>(coh_flag, n, elem_status, rule_n, rule_dn1,
                                               rule_dn2, rule_w, coords_g, coords_d, element_mass,
                                               thickness, density, lsq, later);
    else
      corner_run<Wedge, true, 0, 1, 2, -1>(coh_flag, n, elem_status, rule_n, rule_dn1, rule_dn2,
                                           rule_w, coords_g, coords_d, element_mass, thickness,
                                           density, lsq, later);
    return;
  }
  if (together && point_index >= 2 && point_index <= run_point_count) {
    const int q = point_index - 2;
    for (int e = 0; e < n; ++e) {
      element_mass[e] = later->element_mass[q][e];
      lsq[e] = later->lsq[q][e];
      const int set = later->status[q][e];
      elem_status[e] = set != 0 ? set : elem_status[e];
    }
    return;
  }
  at_corner(point_index, [&](auto p) {
    if (eight_node)
      corner_run<Hexahedral, false, p, -1, -1, -1>(coh_flag, n, elem_status, rule_n, rule_dn1,
                                                   rule_dn2, rule_w, coords_g, coords_d,
                                                   element_mass, thickness, density, lsq, nullptr);
    else
      corner_run<Wedge, false, p, -1, -1, -1>(coh_flag, n, elem_status, rule_n, rule_dn1,
                                              rule_dn2, rule_w, coords_g, coords_d, element_mass,
                                              thickness, density, lsq, nullptr);
  });
}

}  // namespace sti::cohesive
