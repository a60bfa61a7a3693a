// Frequency terms and length term of the small-strain shells S4RS and S4RSW.
// The two frequency columns bound the element's highest frequency the same
// way as for other plane-stress quadrilaterals, with their own factor; the
// length term replaces the one of the area geometry by the area over the
// larger of a diagonal measure and the longest edge, so that a distorted or
// triangular shell is measured by its shortest wave path. These shells take
// this route whatever their frequency flag says.
#include "common/numerics.hpp"
#include "stabletime/pipeline.h"
#include "shell/shell.hpp"

namespace sti::shell {

namespace {
inline constexpr float kShellFrequencyFactor = std::bit_cast<float>(0x3E83F571u);  // 0.25773194
}  // namespace

void small_strain_shell_frequency(int n, const float* STI_RESTRICT coords,
                                  const float* STI_RESTRICT work_a,
                                  const float* STI_RESTRICT work_b, float* STI_RESTRICT lsq,
                                  const float* STI_RESTRICT tri_flag, float* STI_RESTRICT freq) {
  float* STI_RESTRICT freq_a = freq;
  float* STI_RESTRICT freq_b = freq + n;
  for (int e = 0; e < n; ++e) {
    const Corners4 c = four_corners(coords, n, e);
    const float x1 = c.x[0], y1 = c.y[0], x2 = c.x[1], y2 = c.y[1];
    const float x3 = c.x[2], y3 = c.y[2], x4 = c.x[3], y4 = c.y[3];
    const float t = tri_flag[e];
    const float l12 = squared_distance(x1, y1, x2, y2);
    const float l23 = squared_distance(x2, y2, x3, y3);
    const float l34 = squared_distance(x3, y3, x4, y4);
    const float l41 = squared_distance(x4, y4, x1, y1);
    const float d13 = squared_distance(x1, y1, x3, y3);
    const float d24 = squared_distance(x2, y2, x4, y4);

    const float s = d24 + d13, p = l12 - l34, q = l23 - l41;
    freq_a[e] = work_b[e] * kShellFrequencyFactor * (s + 0.5f * (p * p + q * q) * work_b[e]);
    // No guard: an element with zero diagonals has failed its area already.
    const float r = 2.0f * work_a[e] / s;
    freq_b[e] = r * r;

    const float w = work_b[e] != 0.0f ? 0.5f : 0.0f;
    const float c1 = w * (y2 - y4), c2 = 0.0f - w * (x2 - x4);
    const float c3 = w * (y3 - y1), c4 = 0.0f - w * (x3 - x1);
    const float bq = c1 * c1 + c2 * c2 + c3 * c3 + c4 * c4;
    // A stored triangle's closing edge runs from node 3 back to node 1.
    const float lq = max_of(max_of(l12, l23, l34), l41 + l12 * t);
    const float v = max_of((2.0f - 1.5f * t) * bq, (1.0f - 0.625f * t) * lq);
    const float f = v <= 0.0f ? 1.0f : 0.0f;
    lsq[e] = (1.0f - f) * work_a[e] / (v + f);
  }
}

}  // namespace sti::shell
