// Continuum operators called directly on small batches: worked values of the
// measure, mass and length term, the statuses of degenerate elements, the
// largest-face estimates and the pieces of the modified elements. Results that
// the arithmetic fixes exactly are compared by bits, rational values by ulp distance.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>
#include <vector>

#include "stabletime/pipeline.h"
#include "support/call.hpp"
#include "support/layout.hpp"

namespace {

using sti_test::bits;
using sti_test::layout;
using sti_test::ulp_distance;
using Point2 = std::array<float, 2>;
using Point3 = std::array<float, 3>;

struct PlaneOut {
  std::vector<int> status;
  std::vector<float> work_a, work_b, mass, lsq;
};

PlaneOut plane(const std::vector<std::array<Point2, 4>>& quads, const std::vector<float>& tri,
               const std::vector<float>& thickness) {
  const int n = static_cast<int>(quads.size());
  const auto coords = layout<4, 2>(quads);
  const std::vector<float> density(quads.size(), 1.0f);
  PlaneOut o{std::vector<int>(quads.size(), 0), std::vector<float>(quads.size()),
             std::vector<float>(quads.size()), std::vector<float>(quads.size()),
             std::vector<float>(quads.size())};
  sti_ope_c2dq4geom(&n, o.status.data(), tri.data(), coords.data(), o.work_a.data(),
                    o.work_b.data(), o.mass.data(), thickness.data(), density.data(),
                    o.lsq.data());
  return o;
}

PlaneOut axisymmetric(const std::vector<std::array<Point2, 4>>& quads,
                      const std::vector<float>& tri) {
  const int n = static_cast<int>(quads.size());
  const auto coords = layout<4, 2>(quads);
  const std::vector<float> density(quads.size(), 1.0f);
  PlaneOut o{std::vector<int>(quads.size(), 0), {}, {}, std::vector<float>(quads.size()),
             std::vector<float>(quads.size())};
  sti_ope_caxq4geom(&n, o.status.data(), tri.data(), coords.data(), o.mass.data(),
                    density.data(), o.lsq.data());
  return o;
}

using Hex = std::array<Point3, 8>;

struct HexOut {
  std::vector<int> status;
  std::vector<float> work_a, work_b, mass, lsq, freq;
};

HexOut hexahedra(const std::vector<Hex>& hexes, int elem_type_id) {
  const int n = static_cast<int>(hexes.size());
  const auto coords = layout<8, 3>(hexes);
  const std::vector<float> density(hexes.size(), 1.0f);
  const size_t s = hexes.size();
  HexOut o{std::vector<int>(s, 0), std::vector<float>(s), std::vector<float>(s),
           std::vector<float>(s), std::vector<float>(s), std::vector<float>(2 * s, -1.0f)};
  sti_ope_c3dh8geom(&n, o.status.data(), coords.data(), o.work_a.data(), o.work_b.data(),
                    o.mass.data(), density.data(), o.lsq.data());
  sti_ope_c3d8facearea(&n, &elem_type_id, coords.data(), o.freq.data(), o.work_a.data(),
                       o.work_b.data());
  return o;
}

const Hex kUnitCube = {{{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0},
                        {0, 0, 1}, {1, 0, 1}, {1, 1, 1}, {0, 1, 1}}};

Hex box(float a, float b, float c) {
  Hex h = kUnitCube;
  for (auto& p : h) p = {p[0] * a, p[1] * b, p[2] * c};
  return h;
}

// The storage of a tetrahedron and of a wedge as hexahedra with repeated corners.
Hex as_tetrahedron(const std::array<Point3, 4>& t) {
  return {t[1], t[2], t[0], t[1], t[1], t[3], t[0], t[1]};
}
Hex as_wedge(const std::array<Point3, 6>& w) {
  return {w[0], w[1], w[2], w[0], w[3], w[4], w[5], w[3]};
}
const std::array<Point3, 4> kRightTet = {{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}}};
const std::array<Point3, 6> kRightWedge = {
    {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {1, 0, 1}, {0, 1, 1}}};

TEST(PlaneQuadrilateral, WorkedValues) {
  struct Row {
    const char* what;
    std::array<Point2, 4> q;
    float tri, thickness;
    int status;
    float work_a, work_b, mass, lsq;
  };
  const Row rows[] = {
      {"unit square", {{{0, 0}, {1, 0}, {1, 1}, {0, 1}}}, 0, 1, 0, 1, 1, 1, 0.5f},
      {"right triangle", {{{0, 0}, {1, 0}, {0, 1}, {0, 0}}}, 1, 1, 0, 0.5f, 2, 0.5f, 2.0f / 3.0f},
      {"clockwise square", {{{0, 0}, {0, 1}, {1, 1}, {1, 0}}}, 0, 1, 2, 1, 0, 1, 0.25f},
      {"thin square", {{{0, 0}, {1, 0}, {1, 1}, {0, 1}}}, 0, 0, 3, 1, 1, 0, 0.5f},
      {"collapsed, thin", {{{2, 2}, {2, 2}, {2, 2}, {2, 2}}}, 0, -1, 3, 1, 0, -1, 0.5f},
      {"square of side 2", {{{0, 0}, {2, 0}, {2, 2}, {0, 2}}}, 0, 1, 0, 4, 0.25f, 4, 0.5f},
  };
  std::vector<std::array<Point2, 4>> quads;
  std::vector<float> tri, thick;
  for (const Row& r : rows) {
    quads.push_back(r.q);
    tri.push_back(r.tri);
    thick.push_back(r.thickness);
  }
  const PlaneOut o = plane(quads, tri, thick);
  for (size_t i = 0; i < std::size(rows); ++i) {
    const Row& r = rows[i];
    EXPECT_EQ(o.status[i], r.status) << r.what;
    EXPECT_EQ(bits(o.work_a[i]), bits(r.work_a)) << r.what;
    EXPECT_EQ(bits(o.work_b[i]), bits(r.work_b)) << r.what;
    EXPECT_EQ(bits(o.mass[i]), bits(r.mass)) << r.what;
    EXPECT_LE(ulp_distance(o.lsq[i], r.lsq), 2) << r.what;
  }
}

TEST(PlaneQuadrilateral, NotANumberCountsAsCollapsed) {
  const float nan = std::numeric_limits<float>::quiet_NaN();
  const PlaneOut o = plane({{{{0, 0}, {1, 0}, {nan, 1}, {0, 1}}}, {{{0, 0}, {1, 0}, {1, 1}, {0, 1}}}},
                           {0, 0}, {1, 1});
  EXPECT_EQ(o.status[0], 2);
  EXPECT_EQ(bits(o.work_a[0]), bits(1.0f));
  EXPECT_EQ(bits(o.work_b[0]), bits(0.0f));
  EXPECT_EQ(o.status[1], 0);  // the neighbour is untouched by the bad element
  EXPECT_EQ(bits(o.lsq[1]), bits(0.5f));
}

TEST(AxisymmetricQuadrilateral, WorkedValues) {
  struct Row {
    const char* what;
    std::array<Point2, 4> q;
    float tri;
    int status;
    float mass, lsq;
  };
  const Row rows[] = {
      {"square off the axis", {{{1, 0}, {2, 0}, {2, 1}, {1, 1}}}, 0, 0, 1.5f, 27.0f / 86.0f},
      {"triangle off the axis", {{{1, 0}, {2, 0}, {2, 1}, {1, 0}}}, 1, 0, 5.0f / 6.0f,
       30.0f / 103.0f},
      {"on the axis", {{{0, 0}, {0, 0}, {0, 1}, {0, 1}}}, 0, 1, 1, 1},
      {"clockwise square", {{{1, 0}, {1, 1}, {2, 1}, {2, 0}}}, 0, 1, 1, std::nanf("")},
  };
  std::vector<std::array<Point2, 4>> quads;
  std::vector<float> tri;
  for (const Row& r : rows) {
    quads.push_back(r.q);
    tri.push_back(r.tri);
  }
  const PlaneOut o = axisymmetric(quads, tri);
  for (size_t i = 0; i < std::size(rows); ++i) {
    const Row& r = rows[i];
    EXPECT_EQ(o.status[i], r.status) << r.what;
    EXPECT_LE(ulp_distance(o.mass[i], r.mass), 2) << r.what;
    if (!std::isnan(r.lsq)) {
      EXPECT_LE(ulp_distance(o.lsq[i], r.lsq), 4) << r.what;
    }
    EXPECT_TRUE(std::isfinite(o.lsq[i])) << r.what;
  }
}

TEST(AxisymmetricQuadrilateral, NegativeSignedAreaFailsWithPositiveVolume) {
  // A bow-tie whose signed area D is negative while the volume stays positive:
  // the test on max(D, 0) * V fails it, and the volume is padded by 1, not set to 1.
  const PlaneOut o = axisymmetric({{{{10, 0}, {11, 0}, {10, 1}, {11, 1}}}}, {0});
  EXPECT_EQ(o.status[0], 1);
  EXPECT_TRUE(std::isfinite(o.lsq[0]));
  EXPECT_GE(o.mass[0], 1.0f);
}

TEST(AxisymmetricQuadrilateral, NotANumberPassesTheClampAndSetsNoStatus) {
  // Unlike the plane operator, which counts a NaN as a collapsed element, the
  // axisymmetric one carries it through: no status, NaN mass and length term.
  const float nan = std::numeric_limits<float>::quiet_NaN();
  const PlaneOut o = axisymmetric(
      {{{{1, 0}, {2, 0}, {nan, 1}, {1, 1}}}, {{{1, 0}, {2, 0}, {2, 1}, {1, 1}}}}, {0, 0});
  EXPECT_EQ(o.status[0], 0);
  EXPECT_TRUE(std::isnan(o.mass[0]));
  EXPECT_TRUE(std::isnan(o.lsq[0]));
  EXPECT_EQ(o.status[1], 0);  // the neighbour is untouched
  EXPECT_LE(ulp_distance(o.lsq[1], 27.0f / 86.0f), 4);
}

TEST(Hexahedron, WorkedValues) {
  struct Row {
    const char* what;
    Hex h;
    int status;
    float work_a, work_b, lsq;
  };
  Hex inverted = kUnitCube;
  std::swap_ranges(inverted.begin(), inverted.begin() + 4, inverted.begin() + 4);
  Hex point;
  point.fill({0.3f, -2.0f, 5.0f});
  const Row rows[] = {
      {"unit cube", kUnitCube, 0, 1, 1, 1.0f / 3.0f},
      {"inverted cube", inverted, 1, 1, 0, std::nanf("")},
      {"right tetrahedron", as_tetrahedron(kRightTet), 0, 1.0f / 6.0f, 6, 0.5f},
      {"right wedge", as_wedge(kRightWedge), 0, 0.5f, 2, 9.0f / 23.0f},
      {"collapsed", point, 1, 1, 0, 0.5f},
  };
  std::vector<Hex> hexes;
  for (const Row& r : rows) hexes.push_back(r.h);
  const HexOut o = hexahedra(hexes, 406);
  for (size_t i = 0; i < std::size(rows); ++i) {
    const Row& r = rows[i];
    EXPECT_EQ(o.status[i], r.status) << r.what;
    EXPECT_LE(ulp_distance(o.work_a[i], r.work_a), 4) << r.what;
    EXPECT_LE(ulp_distance(o.work_b[i], r.work_b), 4) << r.what;
    EXPECT_EQ(bits(o.mass[i]), bits(o.work_a[i])) << r.what;  // unit density
    if (!std::isnan(r.lsq)) {
      EXPECT_LE(ulp_distance(o.lsq[i], r.lsq), 4) << r.what;
    }
    EXPECT_TRUE(std::isfinite(o.lsq[i])) << r.what;
  }
}

TEST(Hexahedron, PadJoinsTheSumOfSquaresLast) {
  // A flat square of side 1/32 with corners 5 to 8 on corners 1 to 4: volume 0,
  // status 1, pad 1. Only the z gradient survives, (1/32)^2 / 4 = 2^-12 in size
  // at every corner, so the 24 squares sum to 8 * 2^-24 = 2^-21 exactly, and
  // S = 2^-21 + 1. Added to the pad one at a time, each 2^-24 would be lost.
  const float s = 1.0f / 32.0f;
  const Hex flat = {{{0, 0, 0}, {s, 0, 0}, {s, s, 0}, {0, s, 0},
                     {0, 0, 0}, {s, 0, 0}, {s, s, 0}, {0, s, 0}}};
  const HexOut o = hexahedra({flat}, 406);
  EXPECT_EQ(o.status[0], 1);
  EXPECT_EQ(bits(o.work_a[0]), bits(1.0f));
  EXPECT_EQ(bits(o.lsq[0]), bits(0.5f / (1.0f + 0x1p-21f)));
}

TEST(Hexahedron, VolumeIsLinearInEachCoordinate) {
  // The volume is linear in x1 with slope b_x1 = -1/4 on a unit cube: corner 1
  // pulled out by 0.5 adds 1/8, pushed in by 5 leaves -1/4, an inverted element.
  Hex pulled = kUnitCube;
  pulled[0] = {-0.5f, 0, 0};
  Hex pushed = kUnitCube;
  pushed[0] = {5.0f, 0, 0};
  const HexOut o = hexahedra({pulled, pushed, kUnitCube}, 406);
  EXPECT_EQ(o.status[0], 0);
  EXPECT_LE(ulp_distance(o.work_a[0], 1.125f), 4);
  EXPECT_EQ(o.status[1], 1);
  EXPECT_EQ(bits(o.work_a[1]), bits(1.0f));
  EXPECT_EQ(o.status[2], 0);  // the neighbour of a failed element is untouched
  EXPECT_LE(ulp_distance(o.lsq[2], 1.0f / 3.0f), 4);
}

TEST(HexahedronFaceArea, WorkedValues) {
  struct Row {
    const char* what;
    Hex h;
    int type;
    float freq_a;
    int ulps;
  };
  Hex point;
  point.fill({1, 1, 1});
  const float blend = 0.504f + std::bit_cast<float>(0x3E29FBE8u) *
                                   (1.0f - std::exp(-2.5f * (std::sqrt(2.0f) - 1.0f)));
  const Row rows[] = {
      {"unit cube, lower plateau", kUnitCube, 406, 0.504f, 1},
      {"box 2x1x1, blend", box(2, 1, 1), 406, 2.0f * blend / 4.0f, 8},
      {"box 1x1x0.1, upper plateau", box(1, 1, 0.1f), 406, 0.067f, 8},
      {"right tetrahedron", as_tetrahedron(kRightTet), 41, 56.5504f / 72.0f, 8},
      {"right wedge", as_wedge(kRightWedge), 43, 0.24254f, 400},
      {"collapsed", point, 406, 0.0f, 0},
  };
  std::vector<Hex> hexes;
  for (const Row& r : rows) hexes.push_back(r.h);
  for (size_t i = 0; i < std::size(rows); ++i) {
    const HexOut o = hexahedra({rows[i].h}, rows[i].type);
    EXPECT_LE(ulp_distance(o.freq[0], rows[i].freq_a), rows[i].ulps) << rows[i].what;
    EXPECT_EQ(bits(o.freq[1]), bits(-1.0f)) << "freq_b touched: " << rows[i].what;
  }
}

TEST(HexahedronFaceArea, FamilyDecidesWhichFacesCount) {
  // The right wedge has measures 4, 4, 16, 32, 16 on faces A to E. Read as a
  // tetrahedron it takes the multiplier alone, as a hexahedron the hexahedral
  // factor: three different results from one shape.
  const Hex w = as_wedge(kRightWedge);
  const float as_tet = hexahedra({w}, 41).freq[0];
  const float as_wedge_family = hexahedra({w}, 43).freq[0];
  const float as_hex = hexahedra({w}, 406).freq[0];
  EXPECT_LE(ulp_distance(as_tet, 0.5f * 56.5504f / 32.0f), 4);  // largest of A to D: 32
  EXPECT_NE(bits(as_wedge_family), bits(as_hex));
  EXPECT_LT(as_wedge_family, as_tet);
}

TEST(HexahedronFaceArea, AspectFiveStillBlends) {
  // Box 5 x 5 x 1: V = 25, largest face 25, r = 25^(3/2) / 25 = 5 exactly, the
  // last aspect of the blend: c = freq_a * 25, just below the upper plateau.
  const HexOut o = hexahedra({box(5, 5, 1)}, 406);
  const float c = o.freq[0] * 25.0f;
  EXPECT_LT(c, 0.67f);
  EXPECT_GT(c, 0.6699f);
}

TEST(ContinuumOperators, EmptyBatchTouchesNothing) {
  const int n = 0, type = 406;
  float freq[2] = {-7.0f, -7.0f};
  const float dummy[24] = {};
  sti_ope_c3d8facearea(&n, &type, dummy, freq, dummy, dummy);
  int status = -3;
  float out[4] = {-7, -7, -7, -7};
  sti_ope_c3dh8geom(&n, &status, dummy, out, out + 1, out + 2, dummy, out + 3);
  const float dummy_quad[8] = {};
  sti_ope_c2dq4geom(&n, &status, dummy, dummy_quad, out, out + 1, out + 2, dummy, dummy, out + 3);
  sti_ope_caxq4geom(&n, &status, dummy, dummy_quad, out, dummy, out + 1);
  for (int point = 1; point <= 4; ++point) {
    const int two = 2, three = 3;
    sti_ope_solidt6mgeom(&n, &point, &two, out, dummy);
    sti_ope_c3d10mgeom(&n, &point, &three, out, dummy);
    sti_ope_c3d10mfacearea(&n, &point, dummy, freq, dummy);
  }
  EXPECT_EQ(bits(freq[0]), bits(-7.0f));
  EXPECT_EQ(bits(freq[1]), bits(-7.0f));
  EXPECT_EQ(status, -3);
  for (float v : out) EXPECT_EQ(bits(v), bits(-7.0f));
}

// Six-node triangle pieces, then the quadrilateral operator on each piece.
TEST(SixNodeTrianglePieces, RightTriangle) {
  const std::array<Point2, 6> t = {{{0, 0}, {1, 0}, {0, 1}, {0.5f, 0}, {0.5f, 0.5f}, {0, 0.5f}}};
  const int n = 1, two = 2;
  const auto coords = layout<6, 2>(std::vector<std::array<Point2, 6>>{t});
  const float expected_lsq[3] = {6.0f / 13.0f, 12.0f / 29.0f, 12.0f / 29.0f};
  for (int point = 1; point <= 3; ++point) {
    float quad[8];
    sti_ope_solidt6mgeom(&n, &point, &two, quad, coords.data());
    // Corner 3 is the centre (1/3, 1/3).
    EXPECT_LE(ulp_distance(quad[2], 1.0f / 3.0f), 2);
    EXPECT_LE(ulp_distance(quad[6], 1.0f / 3.0f), 2);
    const float tri = 0, one = 1;
    int status = 0;
    float wa, wb, mass, lsq;
    sti_ope_c2dq4geom(&n, &status, &tri, quad, &wa, &wb, &mass, &one, &one, &lsq);
    EXPECT_EQ(status, 0);
    EXPECT_LE(ulp_distance(wa, 1.0f / 6.0f), 4) << point;
    EXPECT_LE(ulp_distance(lsq, expected_lsq[point - 1]), 8) << point;
  }
}

// The fifteen points of a straight ten-node tetrahedron: corners, mid-sides,
// centre and face centres.
std::array<Point3, 15> ten_node(const std::array<Point3, 4>& c) {
  auto mix = [](std::initializer_list<Point3> ps) {
    Point3 s{0, 0, 0};
    for (const auto& p : ps)
      for (int k = 0; k < 3; ++k) s[k] += p[k] / static_cast<float>(ps.size());
    return s;
  };
  return {c[0], c[1], c[2], c[3],
          mix({c[0], c[1]}), mix({c[1], c[2]}), mix({c[2], c[0]}),
          mix({c[0], c[3]}), mix({c[1], c[3]}), mix({c[2], c[3]}),
          mix({c[0], c[1], c[2], c[3]}),
          mix({c[0], c[1], c[2]}), mix({c[0], c[1], c[3]}), mix({c[1], c[2], c[3]}),
          mix({c[0], c[2], c[3]})};
}

struct TenNodeRun {
  float lsq[4], freq_a[4];
  int status;
};

TenNodeRun run_ten_node(const std::array<Point3, 15>& nodes) {
  const int n = 1, three = 3;
  const auto coords = layout<15, 3>(std::vector<std::array<Point3, 15>>{nodes});
  float freq[5] = {};
  TenNodeRun r{};
  for (int point = 1; point <= 4; ++point) {
    float hex[24], wa, wb, mass;
    const float one = 1;
    sti_ope_c3d10mgeom(&n, &point, &three, hex, coords.data());
    sti_ope_c3dh8geom(&n, &r.status, hex, &wa, &wb, &mass, &one, &r.lsq[point - 1]);
    sti_ope_c3d10mfacearea(&n, &point, hex, freq, &wa);
    r.freq_a[point - 1] = freq[0];
  }
  return r;
}

TEST(TenNodeTetrahedronPieces, RightTetrahedron) {
  const TenNodeRun r = run_ten_node(ten_node(kRightTet));
  EXPECT_EQ(r.status, 0);
  const float lsq[4] = {0.84402f, 0.75167f, 0.75167f, 0.75167f};
  const float freq_a[4] = {2.56f, 0.85333f, 0.85333f, 0.85333f};
  for (int p = 0; p < 4; ++p) {
    EXPECT_NEAR(r.lsq[p], lsq[p], 2e-5f) << p + 1;
    EXPECT_NEAR(r.freq_a[p], freq_a[p], 2e-5f) << p + 1;
  }
}

TEST(TenNodeTetrahedronPieces, SavedColumnsCarryInnerFaces) {
  // Unit cubes at every point, except at point 3 a frustum whose face B (the
  // top, 10 x 10) dwarfs all others. Point 3 leaves its own face B out; point 4
  // gets it through the saved column and rests on exactly its measure 160000.
  const Hex frustum = {{{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0},
                        {-4.5f, -4.5f, 1}, {5.5f, -4.5f, 1}, {5.5f, 5.5f, 1}, {-4.5f, 5.5f, 1}}};
  const int n = 1;
  const float volume = 1.0f;  // work_a is read as given
  const float multiplier = std::bit_cast<float>(0x41DA740Eu);
  float freq[5] = {};
  float result[4];
  for (int point = 1; point <= 4; ++point) {
    const auto coords = layout<8, 3>(std::vector<Hex>{point == 3 ? frustum : kUnitCube});
    sti_ope_c3d10mfacearea(&n, &point, coords.data(), freq, &volume);
    result[point - 1] = freq[0];
  }
  EXPECT_EQ(bits(result[0]), bits(multiplier / 16.0f));
  EXPECT_EQ(bits(result[1]), bits(multiplier / 16.0f));
  EXPECT_GT(result[2], 4.0f * multiplier / 160000.0f);  // face B is not in its m
  EXPECT_EQ(bits(result[3]), bits(volume * multiplier * 1.0f / 160000.0f));
  EXPECT_EQ(bits(freq[3]), bits(160000.0f));  // column 3 holds point 3's face B
}

TEST(TenNodeTetrahedronPieces, CollapsedGivesZeroEstimates) {
  std::array<Point3, 15> nodes;
  nodes.fill({2, 2, 2});
  const TenNodeRun r = run_ten_node(nodes);
  EXPECT_EQ(r.status, 1);
  for (int p = 0; p < 4; ++p) {
    EXPECT_EQ(bits(r.freq_a[p]), bits(0.0f)) << p + 1;
    EXPECT_TRUE(std::isfinite(r.lsq[p]));
  }
}

}  // namespace
