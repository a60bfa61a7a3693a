// Membranes, shells and continuum shells end to end through the public entry:
// a flat shell is the plane-stress element of its plane, worked increments,
// and failures that stay with their own elements across batch boundaries.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <string>

#include "support/call.hpp"

namespace {

using sti_test::bits;
using sti_test::Call;
using sti_test::Mesh;
using sti_test::run;
using sti_test::ulp_distance;
using P3 = std::array<float, 3>;

constexpr std::uint32_t kLargestBits = 0x7F7FFFFFu;
constexpr std::uint32_t kUnsetPointBits = 0x7DCCCCCCu;

// Distorted counter-clockwise quadrilaterals (or their first three nodes) in
// the plane z = z0, of span about 1, well away from collapse.
Mesh flat_elements(int nodes, int count, float z0, unsigned seed) {
  std::mt19937 gen(seed);
  std::uniform_real_distribution<float> u(-0.2f, 0.2f);
  std::vector<Mesh> parts;
  for (int e = 0; e < count; ++e) {
    const float ox = static_cast<float>(e % 5), oy = static_cast<float>(e / 5);
    std::vector<P3> q = {P3{ox, oy, z0}, P3{ox + 1.3f, oy, z0}, P3{ox + 1.1f, oy + 0.9f, z0},
                         P3{ox, oy + 1.0f, z0}};
    for (auto& p : q) {
      p[0] += u(gen);
      p[1] += u(gen);
    }
    q.resize(static_cast<size_t>(nodes));
    parts.push_back(sti_test::single_element(q));
  }
  return sti_test::joined(parts);
}

// Warped quadrilaterals in space (or their first three nodes), normals near +Z.
Mesh warped_elements(int nodes, int count, unsigned seed) {
  std::mt19937 gen(seed);
  std::uniform_real_distribution<float> u(-0.2f, 0.2f);
  std::vector<Mesh> parts;
  for (int e = 0; e < count; ++e) {
    std::vector<P3> q = {P3{0, 0, 0}, P3{1.2f, 0, 0.1f}, P3{1, 1, -0.1f}, P3{0, 0.9f, 0.05f}};
    for (auto& p : q)
      for (auto& c : p) c += u(gen);
    q.resize(static_cast<size_t>(nodes));
    parts.push_back(sti_test::single_element(q));
  }
  return sti_test::joined(parts);
}

// Continuum shell stacks: a lower face, and an upper face moved by `rise` and
// sheared by `shear`; SC6R takes the first three nodes of each face.
Mesh stacks(int nodes, int count, P3 rise, unsigned seed) {
  std::mt19937 gen(seed);
  std::uniform_real_distribution<float> u(-0.15f, 0.15f);
  const int per_face = nodes / 2;
  std::vector<Mesh> parts;
  for (int e = 0; e < count; ++e) {
    std::vector<P3> lower = {P3{0, 0, 0}, P3{1, 0, 0.1f}, P3{1, 1, 0}, P3{0, 1, 0.1f}};
    for (auto& p : lower)
      for (auto& c : p) c += u(gen);
    lower.resize(static_cast<size_t>(per_face));
    std::vector<P3> all = lower;
    for (const P3& p : lower) all.push_back({p[0] + rise[0], p[1] + rise[1], p[2] + rise[2]});
    parts.push_back(sti_test::single_element(all));
  }
  return sti_test::joined(parts);
}

Mesh sample_mesh(const std::string& name, int nodes, int count, unsigned seed) {
  if (name == "SC8R" || name == "SC6R") return stacks(nodes, count, {0.05f, -0.03f, 0.2f}, seed);
  if (name == "SAX1") {
    std::vector<Mesh> parts;
    for (int e = 0; e < count; ++e)
      parts.push_back(sti_test::single_element(
          {P3{1.0f + 0.3f * e, 0.5f * e, 0}, P3{1.4f + 0.2f * e, 0.5f * e + 0.7f, 0}}));
    return sti_test::joined(parts);
  }
  return warped_elements(nodes, count, seed);
}

Call shell_call(const std::string& name, const Mesh& mesh) {
  Call c;
  c.name = name;
  c.mesh = mesh;
  c.thickness = std::vector<float>(static_cast<size_t>(mesh.element_count()), 0.7f);
  c.density = std::vector<float>(static_cast<size_t>(mesh.element_count()), 2.5f);
  return c;
}

TEST(ShellIncrement, FlatShellIsThePlaneStressElement) {
  // In the XY plane the frame is the global one (up to the rounding of the
  // normalised normal), so every one-point surface type with the frequency
  // bound of plane stress gives the increment of the matching plane element.
  struct Row {
    const char* shell;
    const char* plane;
    int nodes;
  };
  // S4, S3RT and S3RS are pinned bit for bit to S4R and S3 below.
  const Row rows[] = {{"S4R", "CPS4R", 4}, {"S4RT", "CPS4R", 4}, {"M3D4R", "CPS4R", 4},
                      {"M3D3", "CPS3", 3}, {"S3", "CPS3", 3},    {"S3R", "CPS3", 3},
                      {"S3T", "CPS3", 3}};
  for (const Row& row : rows) {
    const Mesh mesh = flat_elements(row.nodes, 40, 0.0f, 11);
    const auto shell = run(shell_call(row.shell, mesh));
    const auto plane = run(shell_call(row.plane, mesh));
    ASSERT_EQ(shell.code, 0) << row.shell;
    ASSERT_EQ(plane.code, 0) << row.plane;
    for (size_t e = 0; e < shell.dt.size(); ++e)
      EXPECT_LE(ulp_distance(shell.dt[e], plane.dt[e]), 4) << row.shell << " element " << e;
    // On the unit square the frame is exact and so is the match.
    std::vector<P3> corners = {P3{0, 0, 0}, P3{1, 0, 0}, P3{1, 1, 0}, P3{0, 1, 0}};
    corners.resize(static_cast<size_t>(row.nodes));
    const Mesh square = sti_test::single_element(corners);
    EXPECT_EQ(bits(run(shell_call(row.shell, square)).dt[0]),
              bits(run(shell_call(row.plane, square)).dt[0]))
        << row.shell;
  }
}

TEST(ShellIncrement, WorkedElements) {
  // E = 200, nu = 0.3, unit density and thickness, no damping: the plane-stress
  // modulus is E / (1 - nu^2) and dt = sqrt(l * m / P), with l the larger of
  // the length term and the inverse of the frequency bound (1 + sqrt(1 - 4 b
  // (1 - nu^2))) a. Worked in double from the shapes; the library rounds each
  // step in single precision, hence the relative tolerance.
  const double nu = 0.3, modulus = 200.0 / (1.0 - nu * nu);
  auto bound = [&](double a, double b) {
    return 1.0 / ((1.0 + std::sqrt(1.0 - 4.0 * b * (1.0 - nu * nu))) * a);
  };
  const std::vector<P3> square = {P3{0, 0, 0}, P3{1, 0, 0}, P3{1, 1, 0}, P3{0, 1, 0}};
  const std::vector<P3> triangle = {P3{0, 0, 0}, P3{1, 0, 0}, P3{0, 1, 0}};
  const std::vector<P3> cube = {P3{0, 0, -0.5f}, P3{1, 0, -0.5f}, P3{1, 1, -0.5f}, P3{0, 1, -0.5f},
                                P3{0, 0, 0.5f},  P3{1, 0, 0.5f},  P3{1, 1, 0.5f},  P3{0, 1, 0.5f}};
  const std::vector<P3> wedge = {P3{0, 0, -0.5f}, P3{1, 0, -0.5f}, P3{0, 1, -0.5f},
                                 P3{0, 0, 0.5f},  P3{1, 0, 0.5f},  P3{0, 1, 0.5f}};
  struct Row {
    const char* name;
    std::vector<P3> nodes;
    double l, m;
  };
  const Row rows[] = {
      // Each Gauss point of the unit square: J = 0.25 is the mass, lsq = 1.5, and the
      // full-integration bound 2 * 1.0416666 * J over a minimum height of 1.
      {"M3D4", square, std::max(1.5, bound(0.25 * 1.0416666, 0.0)), 0.25},
      // The small-strain shells: lsq = 1 / max(2 Bq, Lq) = 1/2, factor 0.25773194 on S = 4.
      {"S4RS", square, std::max(0.5, bound(0.25773194 * 4.0, 0.25)), 1.0},
      {"S4RSW", square, std::max(0.5, bound(0.25773194 * 4.0, 0.25)), 1.0},
      // Triangle: lsq = 2/3, a = 0.09664948 * S / A with S = 4, b = 3/16.
      {"M3D3", triangle, std::max(2.0 / 3.0, bound(0.09664948 * 4.0 / 0.5, 3.0 / 16.0)), 0.5},
      // No frequency bound: the length term alone.
      {"SC8R", cube, 0.5, 1.0},
      {"SC6R", wedge, 2.0 / 3.0, 0.5},
      {"SAX1", {P3{1, 0, 0}, P3{1, 1, 0}}, 0.8, 1.0},
  };
  for (const Row& row : rows) {
    Call c;
    c.name = row.name;
    c.mesh = sti_test::single_element(row.nodes);
    const auto out = run(c);
    ASSERT_EQ(out.code, 0) << row.name;
    const double expected = std::sqrt(row.l * row.m / modulus);
    EXPECT_NEAR(out.dt[0], expected, 2e-6 * expected) << row.name;
  }
}

TEST(ShellIncrement, RunsOneQuadratureOfTheirOwn) {
  // S4 runs one point like S4R; S4RSW is S4RS; S3RS takes the triangle's
  // plane-stress bound like S3, not the small-strain length of S4RS.
  const struct {
    const char* a;
    const char* b;
    int nodes;
  } pairs[] = {{"S4", "S4R", 4}, {"S4RSW", "S4RS", 4}, {"S3RS", "S3", 3}, {"S3RT", "S3", 3}};
  for (const auto& p : pairs) {
    const Mesh mesh = warped_elements(p.nodes, 30, 5);
    const auto a = run(shell_call(p.a, mesh)), b = run(shell_call(p.b, mesh));
    for (size_t e = 0; e < a.dt.size(); ++e) EXPECT_EQ(bits(a.dt[e]), bits(b.dt[e])) << p.a;
  }
}

TEST(ShellIncrement, FailuresStayWithTheirElements) {
  struct Row {
    const char* what;
    const char* name;
    Mesh bad;
    float thickness;
    int code;
    std::uint32_t dt_bits;  // what a failed element keeps
  };
  const Mesh line4 = sti_test::single_element({P3{0, 0, 0}, P3{1, 1, 1}, P3{2, 2, 2}, P3{3, 3, 3}});
  const Mesh line3 = sti_test::single_element({P3{0, 0, 0}, P3{1, 1, 1}, P3{2, 2, 2}});
  const Mesh thin = stacks(8, 1, {0, 0, 1e-5f}, 1);
  const Mesh folded =
      sti_test::single_element({P3{0, 0, 0}, P3{1, 0, 0}, P3{1, 1, 0}, P3{0, 1, 0}, P3{0, 0, 1},
                                P3{1, 0, 1}, P3{-0.2f, -0.2f, 1}, P3{0, 1, 1}});
  const Mesh on_axis = sti_test::single_element({P3{0, 0, 0}, P3{0, 1, 0}});
  const Row rows[] = {
      // One-point types write straight to the output, so it keeps the largest float.
      {"collapsed S4R", "S4R", line4, 0.7f, 400, kLargestBits},
      {"collapsed M3D3", "M3D3", line3, 0.7f, 400, kLargestBits},
      {"collapsed S4RS", "S4RS", line4, 0.7f, 400, kLargestBits},
      // M3D4 runs four points: the unset point value wins over the largest float.
      {"collapsed M3D4", "M3D4", line4, 0.7f, 400, kUnsetPointBits},
      // A thickness not above zero also scales the moduli to zero or below, and the
      // modulus status (public 200) overwrites the geometry's status 3 or 2.
      {"M3D4 of zero thickness", "M3D4", warped_elements(4, 1, 2), 0.0f, 200, kUnsetPointBits},
      {"S4R of zero thickness", "S4R", warped_elements(4, 1, 2), 0.0f, 200, kLargestBits},
      {"thin SC8R", "SC8R", thin, 0.7f, 400, kLargestBits},
      {"thin SC8R, negative thickness", "SC8R", thin, -1.0f, 200, kLargestBits},
      {"folded SC8R", "SC8R", folded, 0.7f, 400, kLargestBits},
      {"SC8R of negative thickness", "SC8R", stacks(8, 1, {0, 0, 0.2f}, 1), -1.0f, 200,
       kLargestBits},
      {"SAX1 on the axis", "SAX1", on_axis, 0.7f, 400, kLargestBits},
  };
  for (const Row& row : rows) {
    const std::string name = row.name;
    const int nodes = row.bad.nodes_per_element;
    // The failed element at positions 0, 127, 128 and 300 of a 301-element call.
    std::vector<Mesh> parts;
    for (int e = 0; e < 301; ++e) parts.push_back(sample_mesh(name, nodes, 1, 100u + e));
    const auto reference = run(shell_call(name, sti_test::joined(parts)));
    ASSERT_EQ(reference.code, 0) << row.what;
    const int failed[] = {0, 127, 128, 300};
    for (int e : failed) parts[static_cast<size_t>(e)] = row.bad;
    Call call = shell_call(name, sti_test::joined(parts));
    for (int e : failed) (*call.thickness)[static_cast<size_t>(e)] = row.thickness;
    const auto out = run(call);
    EXPECT_EQ(out.code, row.code) << row.what;
    for (size_t e = 0; e < out.dt.size(); ++e) {
      const bool bad = e == 0 || e == 127 || e == 128 || e == 300;
      if (bad) {
        EXPECT_EQ(out.element_code[e], row.code) << row.what << " element " << e;
        EXPECT_EQ(bits(out.dt[e]), row.dt_bits) << row.what << " element " << e;
      } else {
        // Every batch has a failure, so good entries keep what the caller had.
        EXPECT_EQ(out.element_code[e], sti_test::kUntouchedCode) << row.what << " element " << e;
        EXPECT_EQ(bits(out.dt[e]), bits(reference.dt[e])) << row.what << " element " << e;
      }
    }
  }
}

}  // namespace
