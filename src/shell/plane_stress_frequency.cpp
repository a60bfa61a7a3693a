// Shape terms of the plane-stress frequency bound of triangles and
// quadrilaterals, lambda_max = freq_a (1 + sqrt(1 - 4 freq_b (1 - nu^2))).
// The shape is known here and the material only in the increment stage, so
// this writes the two columns freq_a and freq_b and the increment stage
// evaluates the bound. Degenerate shapes give zero or finite terms through
// pads; their status was set by the area geometry before.
#include <cmath>

#include "common/numerics.hpp"
#include "stabletime/pipeline.h"
#include "shell/shell.hpp"
#include "shell/surface_terms.hpp"

namespace sti::shell {

namespace {
inline constexpr float kTriangleFactor = std::bit_cast<float>(0x3DC5F02Au);  // 0.09664948
}  // namespace

void triangle_frequency(int n, const float* STI_RESTRICT coords, const float* STI_RESTRICT work_b,
                        float* STI_RESTRICT freq) {
  float* freq_a = freq;
  float* freq_b = freq + n;
  for (int e = 0; e < n; ++e) {
    const float x1 = coords[at(n, 4, e, 0, 0)], y1 = coords[at(n, 4, e, 0, 1)];
    const float x2 = coords[at(n, 4, e, 1, 0)], y2 = coords[at(n, 4, e, 1, 1)];
    const float x3 = coords[at(n, 4, e, 2, 0)], y3 = coords[at(n, 4, e, 2, 1)];
    const float dx1 = x1 - x3, dx2 = x3 - x2, dx3 = x2 - x1;
    const float dy1 = y1 - y3, dy2 = y3 - y2, dy3 = y2 - y1;
    const float sx = dx1 * dx1 + dx2 * dx2 + dx3 * dx3;
    const float sy = dy1 * dy1 + dy2 * dy2 + dy3 * dy3;
    const float sxy = dx1 * dy1 + dx2 * dy2 + dx3 * dy3;
    const float s = sx + sy;
    freq_a[e] = kTriangleFactor * work_b[e] * s;
    const float r = std::sqrt(max_of(0.0f, sx * sy - sxy * sxy)) / s;
    freq_b[e] = r * r;
  }
}

void quadrilateral_frequency(int full_integration, int n, const float* STI_RESTRICT coords,
                             const float* STI_RESTRICT work_a, const float* STI_RESTRICT work_b,
                             float* STI_RESTRICT freq) {
  float* STI_RESTRICT freq_a = freq;
  float* STI_RESTRICT freq_b = freq + n;
  // A loop of its own for each integration: one loop over both would
  // compute both bounds for every element.
  if (full_integration == 1) {
    for (int e = 0; e < n; ++e) {
      freq_a[e] = height_frequency(four_corners(coords, n, e), work_a[e]);
      freq_b[e] = 0.0f;
    }
    return;
  }
  // One-point integration: the bound from the edges and diagonals.
  for (int e = 0; e < n; ++e)
    one_point_frequency(four_corners(coords, n, e), work_a[e], work_b[e], freq_a[e], freq_b[e]);
}

}  // namespace sti::shell
