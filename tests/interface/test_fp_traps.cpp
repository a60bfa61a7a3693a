// Floating-point traps: with invalid operations and division by zero raising
// SIGFPE, well-shaped elements of every family must go through the whole
// pipeline without a trap and come out with a finite positive increment. A
// trap here means good input made a NaN or divided by zero on the way. Runs as
// a program of its own because it changes the floating-point environment.
#include <gtest/gtest.h>

#include <cfenv>
#include <cmath>
#include <string>

#include "support/call.hpp"
#include "well_shaped.hpp"

namespace {

class FpTraps : public ::testing::Test {
 protected:
  void SetUp() override {
    std::feclearexcept(FE_ALL_EXCEPT);
    feenableexcept(FE_INVALID | FE_DIVBYZERO);
  }
  void TearDown() override { fedisableexcept(FE_INVALID | FE_DIVBYZERO); }
};

TEST_F(FpTraps, WellShapedElementsOfEveryFamily) {
  for (const std::string& name : sti_test::catalogue_names()) {
    // 1 element, and 300 (two full batches and a partial one).
    for (int copies : {1, 300}) {
      const sti_test::Result r = sti_test::run(sti_test::well_shaped_call(name, copies));
      EXPECT_EQ(r.code, 0) << name << " x" << copies;
      bool all_good = true;
      for (std::size_t e = 0; e < r.dt.size(); ++e)
        all_good = all_good && r.element_code[e] != 999 && std::isfinite(r.dt[e]) && r.dt[e] > 0.0f;
      EXPECT_TRUE(all_good) << name << " x" << copies << " first dt " << r.dt[0];
    }
  }
}

TEST_F(FpTraps, TrapsAreArmed) {
  // The trap run proves something only if a division by zero would stop it.
  EXPECT_DEATH(
      {
        volatile float zero = 0.0f;
        volatile float q = 1.0f / zero;
        (void)q;
      },
      "");
}

}  // namespace
