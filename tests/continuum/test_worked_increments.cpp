// Increments of unit shapes through the public entry, E = 200, nu = 0.3,
// unit density, no damping: x = sqrt(l * m / M) with the length term l the
// greater of the two estimates where the type has a second one. The expected
// values come from the exact rationals of each shape, so they hold to a few
// parts in a million (some shape terms are known to five digits only).
#include <gtest/gtest.h>

#include <cmath>

#include "support/call.hpp"

namespace {

using sti_test::Call;
using sti_test::run;
using sti_test::single_element;

// Dilatational modulus K + 4G/3 and plane-stress modulus E / (1 - nu^2).
constexpr double kWave = (500.0 + 2.0 * 200.0 / 1.3) / 3.0;
constexpr double kPlaneStress = 200.0 / 0.91;

TEST(WorkedIncrements, UnitShapesThroughThePublicEntry) {
  struct Row {
    const char* name;
    sti_test::Mesh mesh;
    double l, measure, modulus;
  };
  const double square_bound = 1.0 / (1.3 * 0.27173913 * 4.0);  // nu = 0.3, freq_b = 1/4
  const Row rows[] = {
      {"CPE4R", single_element({{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}}), 0.5, 1, kWave},
      {"CPS4R", single_element({{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}}), square_bound, 1,
       kPlaneStress},
      {"CPE3", single_element({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}), 2.0 / 3.0, 0.5, kWave},
      {"CAX4R", single_element({{1, 0, 0}, {2, 0, 0}, {2, 1, 0}, {1, 1, 0}}), 27.0 / 86.0, 1.5,
       kWave},
      {"C3D8R",
       single_element({{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}, {0, 0, 1}, {1, 0, 1},
                       {1, 1, 1}, {0, 1, 1}}),
       0.504, 1, kWave},
      // The tetrahedron's face estimate 56.5504 / 72 beats lsq = 1/2.
      {"C3D4", single_element({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}}), 56.5504 / 72.0,
       1.0 / 6.0, kWave},
      // The wedge's lsq = 9/23 beats its face estimate of about 0.24254.
      {"C3D6",
       single_element({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {1, 0, 1}, {0, 1, 1}}),
       9.0 / 23.0, 0.5, kWave},
      // Pieces of a sixth of the area; points 2 and 3 have the smaller lsq 12/29.
      {"CPS6M",
       single_element({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0.5f, 0, 0}, {0.5f, 0.5f, 0},
                       {0, 0.5f, 0}}),
       12.0 / 29.0, 1.0 / 6.0, kPlaneStress},
      // Pieces of a quarter of the volume; points 2 to 4 rest on face estimates 0.85333.
      {"C3D10M",
       single_element({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {0.5f, 0, 0},
                       {0.5f, 0.5f, 0}, {0, 0.5f, 0}, {0, 0, 0.5f}, {0.5f, 0, 0.5f},
                       {0, 0.5f, 0.5f}}),
       27.306667 / 24.0 / (4.0 / 3.0), 1.0 / 24.0, kWave},
  };
  for (const Row& r : rows) {
    Call c;
    c.name = r.name;
    c.mesh = r.mesh;
    const auto out = run(c);
    ASSERT_EQ(out.code, 0) << r.name;
    const double expected = std::sqrt(r.l * r.measure / r.modulus);
    EXPECT_NEAR(out.dt[0] / expected, 1.0, 2e-5) << r.name;
  }
}

}  // namespace
