// Solid cohesive elements (eight-node stack and six-node wedge stack) at one
// corner point. The characteristic length is the element's thickness over the
// square norm S of the rows that map the motion of every node of both faces to
// the three components of the opening: the exact derivative of the normal
// opening, the turning of the normal included, and for the two sliding
// components an edge-based transverse shear in the manner of an assumed-strain
// shell. The two shapes share this algorithm and differ in their edges, the
// coefficients of the edges, the stiffness ramp and the corner weight.
#include <cmath>

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
};

// Elements of one block: the routine's columns hold this many, so that its
// stack stays small while each loop still runs over a vector's worth.
constexpr int kBlock = 16;
using Column = float[kBlock];

// One block of `count` elements. Every batch array is given at the block's
// first element and keeps the batch's stride n.
template <class Shape>
void solid_cohesive_block(int coh_flag, int n, int count, int point_index, int* elem_status,
                          const float* rule_n, const float* rule_dn1, const float* rule_dn2,
                          const float* rule_w, const float* frame, const float* work_a,
                          const float* work_b, const float* coords_g, const float* local_g,
                          const float* coords_d, float* element_mass, const float* thickness,
                          const float* density, float* lsq) {
  constexpr int KF = Shape::kFaceNodes;
  const int p = point_index - 1;
  const float* N = rule_n + kPoints * p;
  const float* a = rule_dn1 + kPoints * p;
  const float* b = rule_dn2 + kPoints * p;
  auto axis = [&](int e, int c, int ax) { return frame[e + n * (c + 3 * ax)]; };
  auto M = [&](int e, int k, int c) { return coords_g[at(n, kPoints, e, k, c)]; };
  auto Dv = [&](int e, int k, int c) { return coords_d[at(n, kPoints, e, k, c)]; };
  auto sq = [](float v) { return v * v; };

  // Normal part: the geometric thickness and the derivatives of the normal
  // opening by the lower and the upper node of each point.
  Column h_g, s_n;
  for (int e = 0; e < count; ++e) {
    float d[3], nv[3];
    for (int c = 0; c < 3; ++c) {
      d[c] = 2.0f * (N[0] * Dv(e, 0, c) + N[1] * Dv(e, 1, c) + N[2] * Dv(e, 2, c) +
                     N[3] * Dv(e, 3, c));
      nv[c] = axis(e, c, 2);
    }
    const float h = d[0] * nv[0] + d[1] * nv[1] + d[2] * nv[2];
    const Vec3 ev{d[0] - h * nv[0], d[1] - h * nv[1], d[2] - h * nv[2]};
    const Vec3 ta{work_b[e], work_b[e + n], work_b[e + 2 * n]};
    const Vec3 tb{work_b[e + 3 * n], work_b[e + 4 * n], work_b[e + 5 * n]};
    const float half_rn = work_a[e] / 2.0f;
    const Vec3 pb = cross(tb, ev), qa = cross(ta, ev);
    const float P[3] = {pb.x * half_rn, pb.y * half_rn, pb.z * half_rn};
    const float Q[3] = {-qa.x * half_rn, -qa.y * half_rn, -qa.z * half_rn};
    // Summed point by point, component by component, the lower node's square
    // before the upper node's.
    float sum = 0.0f;
    for (int i = 0; i < kPoints; ++i)
      for (int c = 0; c < 3; ++c) {
        const float w = a[i] * P[c] + b[i] * Q[c];
        sum += sq(w - N[i] * nv[c]);
        sum += sq(w + N[i] * nv[c]);
      }
    h_g[e] = h;
    s_n[e] = sum;
  }

  // Area of the point in the local frame; a degenerate one is status 1.
  Column area;
  for (int e = 0; e < count; ++e) {
    float x[kPoints], y[kPoints];
    for (int k = 0; k < kPoints; ++k) {
      x[k] = local_g[at(n, kPoints, e, k, 0)];
      y[k] = local_g[at(n, kPoints, e, k, 1)];
    }
    const float j11 = a[0] * x[0] + a[1] * x[1] + a[2] * x[2] + a[3] * x[3];
    const float j12 = a[0] * y[0] + a[1] * y[1] + a[2] * y[2] + a[3] * y[3];
    const float j21 = b[0] * x[0] + b[1] * x[1] + b[2] * x[2] + b[3] * x[3];
    const float j22 = b[0] * y[0] + b[1] * y[1] + b[2] * y[2] + b[3] * y[3];
    float J = max_of(j11 * j22 - j21 * j12, 0.0f);
    const bool degenerate = kSmallestNormal >= J;
    elem_status[e] = degenerate ? 1 : elem_status[e];
    J = degenerate ? J + 1.0f : J;
    if constexpr (Shape::kWeighted)
      area[e] = J * rule_w[p];
    else
      area[e] = J;
  }

  // Edges: unit direction u, the mean half-thickness across the edge over the
  // edge's length v, and the two transverse directions u + v and u - v.
  float edge_len[Shape::kEdgeCount][kBlock];
  float edge_vec[Shape::kEdgeCount][3][kBlock];
  float w_plus[Shape::kEdgeCount][3][kBlock];
  float w_minus[Shape::kEdgeCount][3][kBlock];
  for (int ed = 0; ed < Shape::kEdgeCount; ++ed) {
    const Edge E = Shape::kEdges[ed];
    for (int e = 0; e < count; ++e) {
      const Vec3 dv{M(e, E.k, 0) - M(e, E.i, 0), M(e, E.k, 1) - M(e, E.i, 1),
                    M(e, E.k, 2) - M(e, E.i, 2)};
      const float l = length(dv);
      const float rho = guarded_reciprocal_nonstrict(l);
      const float u[3] = {dv.x * rho, dv.y * rho, dv.z * rho};
      float m[3];
      for (int c = 0; c < 3; ++c) m[c] = Dv(e, E.i, c) + Dv(e, E.k, c);
      const float mu = m[0] * u[0] + m[1] * u[1] + m[2] * u[2];
      edge_len[ed][e] = l;
      edge_vec[ed][0][e] = dv.x, edge_vec[ed][1][e] = dv.y, edge_vec[ed][2][e] = dv.z;
      for (int c = 0; c < 3; ++c) {
        const float v = (m[c] - mu * u[c]) * rho;
        w_plus[ed][c][e] = u[c] + v;
        w_minus[ed][c][e] = u[c] - v;
      }
    }
  }

  // Edge basis of the corner: dual vectors of the two half-edges meeting
  // there, projected on s and t and scaled by the half edge lengths.
  const int e1 = Shape::kBasis[p][0], e2 = Shape::kBasis[p][1];
  float dual[2][2][kBlock];  // [axis s/t][c1/c2]
  for (int e = 0; e < count; ++e) {
    float g1[3], g2[3];
    for (int c = 0; c < 3; ++c) {
      g1[c] = edge_vec[e1][c][e] / 2.0f;
      g2[c] = edge_vec[e2][c][e] / 2.0f;
    }
    const float G11 = g1[0] * g1[0] + g1[1] * g1[1] + g1[2] * g1[2];
    const float G22 = g2[0] * g2[0] + g2[1] * g2[1] + g2[2] * g2[2];
    const float G12 = g1[0] * g2[0] + g1[1] * g2[1] + g1[2] * g2[2];
    const float rho_d = guarded_reciprocal_nonstrict(G11 * G22 - G12 * G12);
    float f1[3], f2[3];
    for (int c = 0; c < 3; ++c) {
      f1[c] = (g1[c] * G22 - g2[c] * G12) * rho_d;
      f2[c] = (g2[c] * G11 - g1[c] * G12) * rho_d;
    }
    for (int ax = 0; ax < 2; ++ax) {
      const float af1 = axis(e, 0, ax) * f1[0] + axis(e, 1, ax) * f1[1] + axis(e, 2, ax) * f1[2];
      const float af2 = axis(e, 0, ax) * f2[0] + axis(e, 1, ax) * f2[1] + axis(e, 2, ax) * f2[2];
      dual[ax][0][e] = af1 * edge_len[e1][e] / 2.0f;
      dual[ax][1][e] = af2 * edge_len[e2][e] / 2.0f;
    }
  }

  // Sliding part: per axis, the rows of both faces' nodes from the contributing
  // edges, then the sum of their squares.
  Column s_s;
  for (int e = 0; e < count; ++e) s_s[e] = 0.0f;
  float row[2][KF][3][kBlock];  // [lower/upper][node][component][element]
  for (int ax = 0; ax < 2; ++ax) {
    for (int face = 0; face < 2; ++face)
      for (int k = 0; k < KF; ++k)
        for (int c = 0; c < 3; ++c)
          for (int e = 0; e < count; ++e) row[face][k][c][e] = 0.0f;
    for (int j = 0; j < Shape::kContributionCount; ++j) {
      const Contribution con = Shape::contribution(j, p);
      const float table = con.table == Table::kA   ? a[con.node]
                          : con.table == Table::kB ? b[con.node]
                                                   : 0.5f;
      const Edge E = Shape::kEdges[con.edge];
      const float* dual_j = dual[ax][con.dual];
      for (int c = 0; c < 3; ++c) {
        const float* wp = w_plus[con.edge][c];
        const float* wm = w_minus[con.edge][c];
        // One row per loop, so that each loop stores to a single array.
        auto add = [&](float* target, float sign, const float* w) {
          for (int e = 0; e < count; ++e) target[e] += sign * (table * dual_j[e]) * w[e];
        };
        add(row[0][E.i][c], -1.0f, wp);
        add(row[0][E.k][c], -1.0f, wm);
        add(row[1][E.i][c], 1.0f, wm);
        add(row[1][E.k][c], 1.0f, wp);
      }
    }
    // Summed component by component; within one, the lower nodes in turn,
    // then the upper ones.
    for (int c = 0; c < 3; ++c)
      for (int face = 0; face < 2; ++face)
        for (int k = 0; k < KF; ++k)
          for (int e = 0; e < count; ++e) s_s[e] += sq(row[face][k][c][e]);
  }

  // Results: the ramp on S, the thickness in force, mass and length term;
  // a thickness not above zero is status 3, last.
  for (int e = 0; e < count; ++e) {
    const float S = s_s[e] + s_n[e];
    const bool degenerate = kSmallestNormal >= S;
    const float g_s = degenerate ? 1.0f : 0.0f;
    const float inside = 8.0f - S;
    const float ramp = 4.0f >= S ? 4.0f : (S < 7.0f ? inside : 1.0f);
    const float f = Shape::kRamp && !degenerate ? ramp : 1.0f;
    const float thick = thickness[e], measured = h_g[e];
    const float h = coh_flag != 0 ? thick : measured;
    element_mass[e] = std::fabs(h) * area[e] * density[e];
    lsq[e] = std::fabs(thick * h) * f / (area[e] * (S + g_s));
    const int status = degenerate ? 1 : elem_status[e];
    elem_status[e] = 0.0f >= h ? 3 : status;
  }
}

template <class Shape>
void solid_cohesive(int coh_flag, int n, int point_index, int* elem_status, const float* rule_n,
                    const float* rule_dn1, const float* rule_dn2, const float* rule_w,
                    const float* frame, const float* work_a, const float* work_b,
                    const float* coords_g, const float* local_g, const float* coords_d,
                    float* element_mass, const float* thickness, const float* density,
                    float* lsq) {
  for (int first = 0; first < n; first += kBlock) {
    const int count = n - first < kBlock ? n - first : kBlock;
    solid_cohesive_block<Shape>(coh_flag, n, count, point_index, elem_status + first, rule_n,
                                rule_dn1, rule_dn2, rule_w, frame + first, work_a + first,
                                work_b + first, coords_g + first, local_g + first,
                                coords_d + first, element_mass + first, thickness + first,
                                density + first, lsq + first);
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
  solid_cohesive<Hexahedral>(coh_flag, n, point_index, elem_status, rule_n, rule_dn1, rule_dn2,
                             nullptr, frame, work_a, work_b, coords_g, local_g, coords_d,
                             element_mass, thickness, density, lsq);
}

void six_node_cohesive(int coh_flag, int n, int point_index, int* STI_RESTRICT elem_status,
                       const float* STI_RESTRICT rule_n, const float* STI_RESTRICT rule_dn1,
                       const float* STI_RESTRICT rule_dn2, const float* STI_RESTRICT rule_w,
                       const float* STI_RESTRICT frame, const float* STI_RESTRICT work_a,
                       const float* STI_RESTRICT work_b, const float* STI_RESTRICT coords_g,
                       const float* STI_RESTRICT local_g, const float* STI_RESTRICT coords_d,
                       float* STI_RESTRICT element_mass, const float* STI_RESTRICT thickness,
                       const float* STI_RESTRICT density, float* STI_RESTRICT lsq) {
  solid_cohesive<Wedge>(coh_flag, n, point_index, elem_status, rule_n, rule_dn1, rule_dn2,
                        rule_w, frame, work_a, work_b, coords_g, local_g, coords_d, element_mass,
                        thickness, density, lsq);
}

}  // namespace sti::cohesive
