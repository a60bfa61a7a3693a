// Integration tables and the section rule generator.
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "stabletime/pipeline.h"

namespace {

struct Tables {
  std::vector<float> n = std::vector<float>(88, -9.0f);
  std::vector<float> dn1 = std::vector<float>(88, -9.0f);
  std::vector<float> dn2 = std::vector<float>(88, -9.0f);
  std::vector<float> w = std::vector<float>(8, -9.0f);
};

Tables full_rule(int kind, int family, int nodes, int points) {
  Tables t;
  sti_ope_fullintegrule(&kind, &family, &nodes, &points, t.n.data(), t.dn1.data(), t.dn2.data(),
                        t.w.data());
  return t;
}

TEST(FullIntegrationRule, OtherFamiliesWriteNothing) {
  const Tables t = full_rule(2, 1, 4, 4);
  for (float v : t.n) EXPECT_EQ(v, -9.0f);
  for (float v : t.w) EXPECT_EQ(v, -9.0f);
}

TEST(FullIntegrationRule, GaussPointsOfTheFullIntegrationQuadrilateral) {
  const Tables t = full_rule(2, 2, 4, 4);
  const float g = std::bit_cast<float>(0x3F13CD3Au);
  EXPECT_EQ(t.n[0], (1.0f + g) * (1.0f + g) / 4.0f);  // N1 at (-g, -g)
  EXPECT_EQ(t.dn1[4 * 1 + 1], (1.0f + g) / 4.0f);     // dN2/dxi at (g, -g)
  for (int i = 0; i < 4; ++i) {
    float sum = 0.0f;
    for (int k = 0; k < 4; ++k) sum += t.n[static_cast<size_t>(4 * i + k)];
    EXPECT_FLOAT_EQ(sum, 1.0f) << "partition of unity at point " << i;
    EXPECT_EQ(t.w[static_cast<size_t>(i)], 1.0f);
  }
}

TEST(FullIntegrationRule, CohesiveCornerRules) {
  // Line ends (COH2D4): N is 1 at its own end; dN2 untouched.
  const Tables line = full_rule(0, 2, 2, 2);
  EXPECT_EQ(line.n[0], 1.0f);
  EXPECT_EQ(line.n[1], 0.0f);
  EXPECT_EQ(line.n[3], 1.0f);
  EXPECT_EQ(line.dn1[2], -0.5f);
  EXPECT_EQ(line.dn2[0], -9.0f);

  // Triangle corners (COH3D6): weights 2/3 summing to the reference area 2.
  const Tables tri = full_rule(0, 2, 4, 3);
  float sum = 0.0f;
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(std::bit_cast<std::uint32_t>(tri.w[static_cast<size_t>(i)]), 0x3F2AAAABu);
    sum += tri.w[static_cast<size_t>(i)];
  }
  EXPECT_FLOAT_EQ(sum, 2.0f);
  EXPECT_EQ(tri.n[0], 0.5f);  // the shared corner split between nodes 1 and 4
  EXPECT_EQ(tri.n[3], 0.5f);
  EXPECT_EQ(tri.n[4 * 1 + 1], 1.0f);
  EXPECT_EQ(tri.dn2[2], 0.5f);

  // Quadrilateral corners (COH3D8): N is the identity.
  const Tables quad = full_rule(0, 2, 4, 4);
  for (int i = 0; i < 4; ++i)
    for (int k = 0; k < 4; ++k) EXPECT_EQ(quad.n[static_cast<size_t>(4 * i + k)], i == k ? 1.0f : 0.0f);

  // A longer row keeps only nodes 1 to 4 of each row.
  const Tables wide = full_rule(0, 2, 8, 8);
  EXPECT_EQ(wide.n[4], -9.0f);
  EXPECT_EQ(wide.n[8], 0.0f);
}

struct SectionRule {
  int count, kind;
  std::vector<float> points, weights;
  std::vector<int> order;
};

SectionRule section_rule(int count, float center, float width, int kind) {
  SectionRule r{count, kind, std::vector<float>(8, -9.0f), std::vector<float>(8, -9.0f),
                std::vector<int>(8, -9)};
  sti_ope_integrule(&r.count, &center, &width, r.points.data(), r.weights.data(), r.order.data(),
                    &r.kind);
  return r;
}

TEST(SectionRule, Simpson) {
  const SectionRule three = section_rule(3, 1.0f, 2.0f, 0);
  EXPECT_EQ(three.kind, 1) << "kind 0 is rewritten to 1";
  EXPECT_EQ(three.points[0], 0.0f);
  EXPECT_EQ(three.points[1], 1.0f);
  EXPECT_EQ(three.points[2], 2.0f);
  EXPECT_EQ(three.weights[0], 1.0f / 3.0f);
  EXPECT_EQ(three.weights[1], 4.0f / 3.0f);
  EXPECT_EQ(three.weights[2], 1.0f / 3.0f);
  EXPECT_EQ(three.order, (std::vector<int>{1, 3, 2, -9, -9, -9, -9, -9}));

  // Even count: the last interval is left out of the sum (weights s/3, 4s/3,
  // s/3, 0), and the final mirror step then averages the outer pair.
  const SectionRule four = section_rule(4, 0.0f, 3.0f, 1);
  EXPECT_EQ(four.weights[0], (1.0f / 3.0f + 0.0f) / 2.0f);
  EXPECT_EQ(four.weights[3], four.weights[0]);
  EXPECT_EQ(four.weights[1], (4.0f / 3.0f + 1.0f / 3.0f) / 2.0f);
  const SectionRule two = section_rule(2, 0.0f, 1.0f, 1);
  EXPECT_EQ(two.weights[0], 0.0f);
  EXPECT_EQ(two.weights[1], 0.0f);

  const SectionRule one = section_rule(1, 0.5f, 3.0f, 1);
  EXPECT_EQ(one.points[0], 0.5f);
  EXPECT_EQ(one.weights[0], 3.0f);
  EXPECT_EQ(one.order[0], 1);
}

TEST(SectionRule, GaussIsMirrorSymmetricAndExactForPolynomials) {
  for (int count = 1; count <= 7; ++count) {
    const SectionRule r = section_rule(count, 0.25f, 2.0f, 2);
    double integral = 0.0;  // of x^(2 count - 2) over [-0.75, 1.25]
    for (int i = 0; i < count; ++i)
      integral += r.weights[static_cast<size_t>(i)] *
                  std::pow(static_cast<double>(r.points[static_cast<size_t>(i)]), 2 * count - 2);
    const double exact =
        (std::pow(1.25, 2 * count - 1) - std::pow(-0.75, 2 * count - 1)) / (2 * count - 1);
    EXPECT_NEAR(integral, exact, 1e-5 * std::fabs(exact) + 1e-6) << count;
    for (int i = 0; i < count / 2; ++i) {
      const size_t j = static_cast<size_t>(count - 1 - i);
      EXPECT_EQ(0.25f - r.points[static_cast<size_t>(i)], r.points[j] - 0.25f);
      EXPECT_EQ(r.weights[static_cast<size_t>(i)], r.weights[j]);
    }
  }
  EXPECT_EQ(section_rule(3, 0.3f, 1.0f, 2).points[1], 0.3f) << "middle point exactly the centre";
  EXPECT_EQ(section_rule(5, 0.0f, 1.0f, 2).order, (std::vector<int>{1, 5, 2, 4, 3, -9, -9, -9}));
  // Counts past six fill seven entries.
  const SectionRule big = section_rule(7, 0.0f, 2.0f, 2);
  EXPECT_NEAR(big.points[0], -0.94910791f, 1e-6f);
}

TEST(SectionRule, Trapezoid) {
  const SectionRule one = section_rule(1, 0.0f, 2.0f, 3);
  EXPECT_EQ(one.count, 2) << "count 1 becomes 2";
  EXPECT_EQ(one.points[0], -1.0f);
  EXPECT_EQ(one.points[1], 1.0f);
  EXPECT_EQ(one.weights[0], 1.0f);
  EXPECT_EQ(one.weights[1], 1.0f);

  const SectionRule four = section_rule(4, 0.0f, 6.0f, 3);  // h = 3, s = 1
  EXPECT_EQ(four.points, (std::vector<float>{-3, -1, 1, 3, -9, -9, -9, -9}));
  EXPECT_EQ(four.weights[1], 2.0f);
  EXPECT_EQ(four.weights[0], 1.0f);
}

TEST(SectionRule, EmptyOrUnknownRulesWriteNoPoints) {
  const SectionRule unknown = section_rule(3, 0.0f, 1.0f, 7);
  // No points are generated; the final step still mirrors what the arrays held.
  EXPECT_EQ(unknown.points[0], -9.0f);
  EXPECT_EQ(unknown.points[2], 9.0f);
  EXPECT_EQ(unknown.points[1], 0.0f);
  EXPECT_EQ(unknown.order, (std::vector<int>{1, 3, 2, -9, -9, -9, -9, -9}));
}

TEST(SectionRule, CountsBelowOne) {
  const std::vector<float> untouched(8, -9.0f);
  const std::vector<int> untouched_order(8, -9);
  for (int count : {0, -3}) {
    // Simpson: the first point c - h and nothing else, no test of count.
    const SectionRule simpson = section_rule(count, 1.0f, 4.0f, 1);
    EXPECT_EQ(simpson.points[0], -1.0f) << count;
    EXPECT_EQ(std::vector<float>(simpson.points.begin() + 1, simpson.points.end()),
              std::vector<float>(7, -9.0f));
    EXPECT_EQ(simpson.weights, untouched);
    EXPECT_EQ(simpson.order, untouched_order);
    EXPECT_EQ(simpson.count, count);

    // Gauss: the seven-point rule on [c - h, c + h] in the first seven entries,
    // not mirrored and with no order; its weights sum to the width.
    const SectionRule gauss = section_rule(count, 0.25f, 2.0f, 2);
    EXPECT_NEAR(gauss.points[0], 0.25f - 0.94910791f, 1e-6f) << count;
    EXPECT_EQ(gauss.points[3], 0.25f);
    EXPECT_NEAR(gauss.points[6], 0.25f + 0.94910791f, 1e-6f);
    float sum = 0.0f;
    for (int i = 0; i < 7; ++i) sum += gauss.weights[static_cast<size_t>(i)];
    EXPECT_NEAR(sum, 2.0f, 1e-6f);
    EXPECT_EQ(gauss.points[7], -9.0f);
    EXPECT_EQ(gauss.weights[7], -9.0f);
    EXPECT_EQ(gauss.order, untouched_order);

    // Trapezoid: its last point would lie before the array; nothing is written.
    const SectionRule trapezoid = section_rule(count, 0.0f, 1.0f, 3);
    EXPECT_EQ(trapezoid.points, untouched);
    EXPECT_EQ(trapezoid.weights, untouched);
    EXPECT_EQ(trapezoid.count, count);
  }
}

}  // namespace
