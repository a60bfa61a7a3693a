// Element operators called directly on what no element name hands them: the
// hexahedron's pad on a collapsed element, joined after its sum of squares;
// the fully integrated membrane on a triangle stored as a quadrilateral, its
// fourth node on its first; and the solid cohesive sums of squares at a corner
// of a sheared unit-square stack, added in the order their terms are enumerated;
// the four-node rotation, which only its exported operator reaches.
#include <gtest/gtest.h>

#include <initializer_list>
#include <numeric>

#include "stabletime/pipeline.h"
#include "support/call.hpp"

namespace {

using sti_test::bits;

TEST(Hexahedron, PadJoinsTheSumOfSquaresLast) {
  // A flat square of side 1/32, corners 5 to 8 on corners 1 to 4: volume 0,
  // status 1, pad 1. Only the z gradient survives, (1/32)^2 / 4 = 2^-12 in
  // size at every corner, so the 24 squares sum to 8 * 2^-24 = 2^-21 exactly
  // and S = 1 + 2^-21. Added to the pad one at a time, each 2^-24 is lost.
  const float s = 1.0f / 32.0f;
  const float sq[4][3] = {{0, 0, 0}, {s, 0, 0}, {s, s, 0}, {0, s, 0}};
  float coords[24];  // node k component c at k + 8 c
  for (int k = 0; k < 8; ++k)
    for (int c = 0; c < 3; ++c) coords[k + 8 * c] = sq[k % 4][c];
  const int n = 1;
  int status = 0;
  float work_a = -1.0f, work_b = -1.0f, mass = -1.0f, lsq = -1.0f;
  const float density = 1.0f;
  sti_ope_c3dh8geom(&n, &status, coords, &work_a, &work_b, &mass, &density, &lsq);
  EXPECT_EQ(status, 1);
  EXPECT_EQ(bits(work_a), bits(1.0f));
  EXPECT_EQ(bits(lsq), bits(0.5f / (1.0f + 0x1p-21f)));
}

TEST(FullMembrane, StoredTriangleMergesTheGradientsOfItsFirstAndLastNodes) {
  // The merged shape functions N1 + N4, N2, N3 reproduce linear fields, so at
  // every Gauss point they have the constant gradients of the linear triangle:
  // (-1, -1), (1, 0), (0, 1) for the right triangle (0, 0), (1, 0), (0, 1).
  // Their squares sum to 4, so lsq * mass = thickness * density / 4.
  const int n = 1, kind = 2, family = 2, nodes = 4, points = 4;
  float rule_n[16] = {}, dn1[16] = {}, dn2[16] = {}, w[4] = {};
  sti_ope_fullintegrule(&kind, &family, &nodes, &points, rule_n, dn1, dn2, w);
  const float local[8] = {0, 1, 0, 0, 0, 0, 1, 0};  // node k component c at k + 4 c
  const float stored_triangle = 1.0f, thickness = 1.0f, density = 1.0f;
  for (int point = 1; point <= points; ++point) {
    int status = 0;
    float work_a = 0.0f, work_b = 0.0f, mass = -1.0f, lsq = -1.0f;
    sti_ope_m3d4geom(&n, &status, &point, &points, &stored_triangle, dn1, dn2, local, &work_a,
                     &work_b, &mass, &thickness, &density, &lsq);
    EXPECT_EQ(status, 0) << point;
    EXPECT_NEAR(lsq * mass, 0.25f, 1e-6f) << point;
  }
}

// Left to right, in float.
float sum(std::initializer_list<float> terms) { return std::accumulate(terms.begin(), terms.end(), 0.0f); }

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

TEST(FourNodeRotation, PermutingFrameGivesPermutedComponentsPerElement) {
  // Element 0 has the axes s = Y, t = Z, n = X, so its local components are
  // (y, z, x); element 1 the global axes. Integer components keep every
  // product exact. Layout: node k component c of element e at e + n (k + 4 c);
  // frame component c of axis a at e + n (c + 3 a).
  const int n = 2;
  float vectors[2 * 4 * 3], local[2 * 4 * 3], frame[2 * 9] = {};
  for (int e = 0; e < n; ++e)
    for (int k = 0; k < 4; ++k)
      for (int c = 0; c < 3; ++c) vectors[e + n * (k + 4 * c)] = 100.0f * e + 10.0f * k + c + 1;
  const int axes0[3] = {1, 2, 0};  // global component of axis a of element 0
  for (int a = 0; a < 3; ++a) {
    frame[0 + n * (axes0[a] + 3 * a)] = 1.0f;
    frame[1 + n * (a + 3 * a)] = 1.0f;
  }
  sti_ope_m3dq4rot(&n, vectors, local, frame);
  for (int k = 0; k < 4; ++k)
    for (int a = 0; a < 3; ++a) {
      EXPECT_EQ(local[0 + n * (k + 4 * a)], 10.0f * k + axes0[a] + 1) << k << a;
      EXPECT_EQ(local[1 + n * (k + 4 * a)], 100.0f + 10.0f * k + a + 1) << k << a;
    }
}

}  // namespace
