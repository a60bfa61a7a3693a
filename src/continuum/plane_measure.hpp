// One-point measure of a plane quadrilateral, or of a triangle stored with
// node 4 on node 1 (f = 1), from its four in-plane corners. Shared by the
// plane and axisymmetric continua and by the one-point shells, which form
// their in-plane corners first.
#pragma once

#include "common/numerics.hpp"

namespace sti::continuum {

struct PlaneMeasure {
  float area;     // clamped at zero; a NaN clamps to zero too
  float padded;   // the area, or 1 for a collapsed element
  float inverse;  // 1 / padded, or 0 for a collapsed element
  float lsq;      // padded over the squared gradient of the area
};

inline PlaneMeasure plane_measure(float x1, float y1, float x2, float y2, float x3, float y3,
                                  float x4, float y4, float f) {
  const float a = x1 - x3, b = x2 - x4, c = y2 - y4, d = y3 - y1;
  const float area = max_of(0.5f * (a * c + b * d), 0.0f);
  const float p = area == 0.0f ? 1.0f : 0.0f;
  const float padded = area + p;
  const float inverse = (1.0f - p) / padded;

  // Gradient of the area by x1, y1, x2, y2; nodes 3 and 4 carry the negatives.
  const float u1 = c * 0.5f, u2 = b * -0.5f, u3 = d * 0.5f, u4 = a * 0.5f;
  const float s = p + u1 * u1 + u2 * u2 + u3 * u3 + u4 * u4 - f * (u1 * u3 + u2 * u4);
  return {area, padded, inverse, (kOneSixth * f + 0.5f) * padded / s};
}

}  // namespace sti::continuum
