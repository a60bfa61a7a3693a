// The fully integrated membrane on a triangle stored as a quadrilateral, its
// fourth node on its first, which no element name hands it.
#include <gtest/gtest.h>

#include "stabletime/pipeline.h"

namespace {

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

}  // namespace
