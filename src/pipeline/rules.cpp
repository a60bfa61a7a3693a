// Integration tables of the surface elements evaluated point by point
// (membrane M3D4, shell S4, cohesive elements), and the one-dimensional rule
// generator of section integration (Simpson, Gauss-Legendre, trapezoid).
#include <cmath>

#include "common/numerics.hpp"
#include "stabletime/pipeline.h"
#include "pipeline/pipeline.hpp"

namespace sti::pipeline {
namespace {

struct SurfacePoint {
  float xi, eta;
};

constexpr SurfacePoint kGauss2x2[4] = {
    {-kInvSqrt3, -kInvSqrt3}, {kInvSqrt3, -kInvSqrt3}, {kInvSqrt3, kInvSqrt3},
    {-kInvSqrt3, kInvSqrt3}};
constexpr SurfacePoint kQuadCorners[4] = {{-1.0f, -1.0f}, {1.0f, -1.0f}, {1.0f, 1.0f},
                                          {-1.0f, 1.0f}};
constexpr SurfacePoint kTriangleCorners[3] = {{-1.0f, -1.0f}, {1.0f, -1.0f}, {-1.0f, 1.0f}};
constexpr float kLineEnds[2] = {-1.0f, 1.0f};

// Bilinear quadrilateral forms of nodes 1 to 4 in row i.
void bilinear_row(SurfacePoint p, int i, int rule_nodes, float* rule_n, float* rule_dn1,
                  float* rule_dn2) {
  const float xi = p.xi, eta = p.eta;
  float* n = rule_n + rule_nodes * i;
  float* d1 = rule_dn1 + rule_nodes * i;
  float* d2 = rule_dn2 + rule_nodes * i;
  n[0] = (1.0f - xi) * (1.0f - eta) / 4.0f;
  n[1] = (1.0f + xi) * (1.0f - eta) / 4.0f;
  n[2] = (1.0f + xi) * (1.0f + eta) / 4.0f;
  n[3] = (1.0f - xi) * (1.0f + eta) / 4.0f;
  d1[0] = -(1.0f - eta) / 4.0f;
  d1[1] = (1.0f - eta) / 4.0f;
  d1[2] = (1.0f + eta) / 4.0f;
  d1[3] = -(1.0f + eta) / 4.0f;
  d2[0] = -(1.0f - xi) / 4.0f;
  d2[1] = -(1.0f + xi) / 4.0f;
  d2[2] = (1.0f + xi) / 4.0f;
  d2[3] = (1.0f - xi) / 4.0f;
}

// Triangle on a quadrilateral whose nodes 1 and 4 coincide: the shared corner's
// value is split in halves between the two repeated nodes.
void triangle_row(SurfacePoint p, int i, int rule_nodes, float* rule_n, float* rule_dn1,
                  float* rule_dn2) {
  float* n = rule_n + rule_nodes * i;
  float* d1 = rule_dn1 + rule_nodes * i;
  float* d2 = rule_dn2 + rule_nodes * i;
  n[0] = -(p.xi + p.eta) / 4.0f;
  n[1] = (1.0f + p.xi) / 2.0f;
  n[2] = (1.0f + p.eta) / 2.0f;
  n[3] = n[0];
  d1[0] = -0.25f, d1[1] = 0.5f, d1[2] = 0.0f, d1[3] = -0.25f;
  d2[0] = -0.25f, d2[1] = 0.0f, d2[2] = 0.5f, d2[3] = -0.25f;
}

}  // namespace

void full_integration_rule(int rule_kind, int rule_family, int rule_nodes, int point_count,
                           float* STI_RESTRICT rule_n, float* STI_RESTRICT rule_dn1,
                           float* STI_RESTRICT rule_dn2, float* STI_RESTRICT rule_w) {
  if (rule_family != 2) return;
  // Rows past the fourth (types catalogued with more points) are never read.
  const int rows = point_count < 4 ? point_count : 4;
  if (rule_kind == 2) {
    for (int i = 0; i < rows; ++i) {
      bilinear_row(kGauss2x2[i], i, rule_nodes, rule_n, rule_dn1, rule_dn2);
      rule_w[i] = 1.0f;
    }
  } else if (rule_nodes < 3) {
    for (int i = 0; i < rows && i < 2; ++i) {
      const float t = kLineEnds[i];
      rule_n[rule_nodes * i] = (1.0f - t) / 2.0f;
      rule_n[rule_nodes * i + 1] = (1.0f + t) / 2.0f;
      rule_dn1[rule_nodes * i] = -0.5f;
      rule_dn1[rule_nodes * i + 1] = 0.5f;
      rule_w[i] = 1.0f;
    }
  } else if (point_count == 3) {
    for (int i = 0; i < 3; ++i) {
      triangle_row(kTriangleCorners[i], i, rule_nodes, rule_n, rule_dn1, rule_dn2);
      rule_w[i] = kTwoThirds;
    }
  } else {
    for (int i = 0; i < rows; ++i) {
      bilinear_row(kQuadCorners[i], i, rule_nodes, rule_n, rule_dn1, rule_dn2);
      rule_w[i] = 1.0f;
    }
  }
}

namespace {

// Gauss-Legendre abscissae (ascending) and weights on [-1, 1], orders 2 to 7.
struct GaussRule {
  float x[7];
  float w[7];
};
constexpr GaussRule kGauss[8] = {
    {}, {},
    {{-0.57735026919f, 0.57735026919f}, {1.0f, 1.0f}},
    {{-0.77459666924f, 0.0f, 0.77459666924f}, {0.55555555556f, 0.88888888889f, 0.55555555556f}},
    {{-0.86113631159f, -0.33998104358f, 0.33998104358f, 0.86113631159f},
     {0.34785484514f, 0.65214515486f, 0.65214515486f, 0.34785484514f}},
    {{-0.90617984594f, -0.53846931011f, 0.0f, 0.53846931011f, 0.90617984594f},
     {0.23692688506f, 0.47862867050f, 0.56888888889f, 0.47862867050f, 0.23692688506f}},
    {{-0.93246951420f, -0.66120938647f, -0.23861918608f, 0.23861918608f, 0.66120938647f,
      0.93246951420f},
     {0.17132449238f, 0.36076157305f, 0.46791393457f, 0.46791393457f, 0.36076157305f,
      0.17132449238f}},
    {{-0.94910791234f, -0.74153118560f, -0.40584515138f, 0.0f, 0.40584515138f, 0.74153118560f,
      0.94910791234f},
     {0.12948496617f, 0.27970539149f, 0.38183005051f, 0.41795918367f, 0.38183005051f,
      0.27970539149f, 0.12948496617f}},
};

// Mirror symmetrisation: points exactly symmetric about the centre, weights
// equal and non-negative in pairs, order listing mirror pairs outside in.
void symmetrise(int count, float c, float* points, float* weights, int* order) {
  if (count < 2) return;
  for (int i = 0; i < count / 2; ++i) {
    const int j = count - 1 - i;
    order[2 * i] = i + 1;
    order[2 * i + 1] = count - i;
    const float d = (std::fabs(points[i] - c) + std::fabs(points[j] - c)) / 2.0f;
    const float wbar = (std::fabs(weights[i]) + std::fabs(weights[j])) / 2.0f;
    points[i] = c - d;
    points[j] = c + d;
    weights[i] = wbar;
    weights[j] = wbar;
  }
  if (count % 2 != 0) {
    points[count / 2] = c;
    order[count - 1] = count / 2 + 1;
  }
}

}  // namespace

void section_rule(int& count, float center, float width, float* STI_RESTRICT points,
                  float* STI_RESTRICT weights, int* STI_RESTRICT order, int& kind) {
  const float h = width / 2.0f;
  const float c = center;
  // count - 1 in 64 bits, so that no count overflows; the same float otherwise.
  const long long intervals = static_cast<long long>(count) - 1;
  if (kind == 0) kind = 1;
  if (kind == 1) {
    if (count == 1) {
      points[0] = c;
      weights[0] = width;
      order[0] = 1;
      return;
    }
    // Neither width nor count is tested: a count below 1 writes the first
    // point and nothing else.
    const float s = width / static_cast<float>(intervals);
    points[0] = c - h;
    for (int i = 1; i < count; ++i) points[i] = points[i - 1] + s;
    for (int i = 0; i < count; ++i) weights[i] = 0.0f;
    const float end_weight = s / 3.0f;
    const float middle_weight = 4.0f * s / 3.0f;
    for (long long pair = 0; pair < intervals / 2; ++pair) {
      weights[2 * pair] += end_weight;
      weights[2 * pair + 1] += middle_weight;
      weights[2 * pair + 2] += end_weight;
    }
  } else if (kind == 2) {
    if (count == 1) {
      points[0] = c;
      weights[0] = 2.0f * h;
      order[0] = 1;
    } else {
      // Orders 2 to 6 as asked; any other count, below 1 too, gets the
      // seven-point rule in its first seven entries.
      const int rule_order = count >= 2 && count <= 6 ? count : 7;
      for (int i = 0; i < rule_order; ++i) {
        points[i] = c + h * kGauss[rule_order].x[i];
        weights[i] = kGauss[rule_order].w[i] * h;
      }
    }
  } else if (kind == 3) {
    // A count below 1 would place the last point before the first entry:
    // the rule writes nothing then.
    if (count < 1) return;
    if (count == 1) count = 2;
    const float s = h / static_cast<float>(count - 1);
    points[0] = c - h;
    points[count - 1] = c + h;
    weights[0] = s;
    weights[count - 1] = s;
    for (int k = 2; k < count; ++k) {
      points[k - 1] = c + static_cast<float>(2LL * k - 1 - count) * s;
      weights[k - 1] = 2.0f * s;
    }
  }
  symmetrise(count, c, points, weights, order);
}

}  // namespace sti::pipeline
