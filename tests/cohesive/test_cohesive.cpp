// The solid cohesive operator at a corner of a sheared unit-square stack: its
// sums of squares are added in the order their terms are enumerated.
#include <gtest/gtest.h>

#include <initializer_list>

#include "stabletime/pipeline.h"
#include "support/call.hpp"

namespace {

using sti_test::bits;

float sum(std::initializer_list<float> terms) {
  float s = 0.0f;
  for (float t : terms) s += t;
  return s;
}

TEST(SolidCohesive, SumsOfSquaresFollowTheirEnumeration) {
  // Half-thickness D = (dx, 0, dz) at every point of the unit square, corner
  // 1, by hand: h_g = 2 dz, e = (2 dx, 0, 0), P = (0, 0, -2 dx), Q = 0. The
  // normal rows vanish but for component z of point 1 (dx - 1 lower, dx + 1
  // upper) and of point 2 (-dx, -dx). Sliding: axis s takes the edge (1 -> 2)
  // with kappa 1/2, rows of size 1/2 in x and dz in z at nodes 1 and 2 of both
  // faces; axis t the edge (1 -> 4), rows of size dx in x, 1/2 in y and dz in
  // z at nodes 1 and 4. These dx and dz make the float sums order-dependent.
  const float dx = 0.62f, dz = 0.97f;
  const float a = (dx - 1.0f) * (dx - 1.0f), b = (dx + 1.0f) * (dx + 1.0f), c = dx * dx;
  const float q = 0.25f, z = dz * dz;
  // Point by point, component by component, lower node then upper node.
  const float s_n = sum({a, b, c, c});
  // Axis s then t; component x, y, z; lower nodes, then upper nodes.
  const float s_s = sum({q, q, q, q, z, z, z, z, c, c, c, c, q, q, q, q, z, z, z, z});
  // Lower face first, components fastest or slowest: other floats.
  const float s_n_by_face = sum({a, c, b, c});
  const float s_s_by_face = sum({q, z, q, z, q, z, q, z, c, q, z, c, q, z, c, q, z, c, q, z});
  const float s_s_faces_out = sum({q, q, z, z, q, q, z, z, c, c, q, q, z, z, c, c, q, q, z, z});
  const auto lsq_of = [&](float s) { return 2.0f * dz / (0.25f * s); };  // S above 7: f = 1

  // Corner rules, the frame and local coordinates of the mid-surface, then the
  // operator; point k component c stands at k + 4 c.
  const int n = 1, kind = 0, family = 2, rule_nodes = 4, points = 4, corner = 1, coh_flag = 0;
  float rule_n[88] = {}, dn1[88] = {}, dn2[88] = {}, w[8] = {};
  sti_ope_fullintegrule(&kind, &family, &rule_nodes, &points, rule_n, dn1, dn2, w);
  const float g[12] = {0, 1, 1, 0, 0, 0, 1, 1, 0, 0, 0, 0};
  const float d[12] = {dx, dx, dx, dx, 0, 0, 0, 0, dz, dz, dz, dz};
  float frame[9] = {}, work_a = 0.0f, work_b[6] = {}, local[12] = {};
  sti_ope_coh3d8normal(&n, &corner, &points, dn1, dn2, g, frame, &work_a, work_b);
  sti_ope_m3dq4rot(&n, g, local, frame);
  int status = 0;
  float mass = -1.0f, lsq = -1.0f;
  const float thickness = 1.0f, density = 1.0f;
  sti_ope_coh3d8geom(&coh_flag, &n, &corner, &points, &status, rule_n, dn1, dn2, frame, &work_a,
                     work_b, g, local, d, &mass, &thickness, &density, &lsq);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(bits(mass), bits(2.0f * dz * 0.25f));  // h_g J
  EXPECT_EQ(bits(lsq), bits(lsq_of(s_s + s_n)));
  EXPECT_NE(bits(lsq), bits(lsq_of(s_s + s_n_by_face)));
  EXPECT_NE(bits(lsq), bits(lsq_of(s_s_by_face + s_n)));
  EXPECT_NE(bits(lsq), bits(lsq_of(s_s_faces_out + s_n)));
}

}  // namespace
