// Per-element terms of surface elements measured in their own plane, shared
// by the stage routines and by the fused point routine of the fully
// integrated membrane. Each takes one element's values and returns its
// terms, so that a caller's loop keeps them in registers.
#pragma once

#include <cmath>

#include "common/numerics.hpp"

namespace sti::shell {

inline constexpr float kHeightFactor = std::bit_cast<float>(0x3F855555u);  // 1.0416666

// Fully integrated quadrilateral: the first frequency term, from a minimum
// height, for the padded area `padded` at the point. A collapsed last edge
// must not count as the shortest side.
inline float height_frequency(const Corners4& q, float padded) {
  const float x1 = q.x[0], y1 = q.y[0], x2 = q.x[1], y2 = q.y[1];
  const float x3 = q.x[2], y3 = q.y[2], x4 = q.x[3], y4 = q.y[3];
  const float l12 = squared_distance(x1, y1, x2, y2);
  const float l23 = squared_distance(x2, y2, x3, y3);
  const float l34 = squared_distance(x3, y3, x4, y4);
  float l41 = squared_distance(x4, y4, x1, y1);
  const float d13 = squared_distance(x1, y1, x3, y3);
  const float d24 = squared_distance(x2, y2, x4, y4);

  l41 = l41 <= kSmallestNormal ? kLargestFloat : l41;
  const float area = (0.0f - (y3 - y1) * (x4 - x2) + (y4 - y2) * (x3 - x1)) * 0.5f;
  const float dm = min_of(d13, d24);
  const float f1 = dm <= kSmallestNormal ? 1.0f : 0.0f;
  const float opposite = max_of(l12 + l34 + 2.0f * std::sqrt(l12 * l34),
                                l23 + l41 + 2.0f * std::sqrt(l23 * l41));
  const float lm = l41 > kSmallestNormal ? opposite : max_of(l12, l23, l34);
  const float f2 = lm < kSmallestNormal ? 1.0f : 0.0f;
  const float em = min_of(min_of(min_of(l12, l23), l34), l41);
  const float a2 = area * area;
  const float h =
      min_of(max_of(em, a2 * (1.0f - f1) / (dm + f1)), 4.0f * a2 * (1.0f - f2) / (lm + f2));
  const float f3 = h <= kSmallestNormal ? 1.0f : 0.0f;
  return padded * kHeightFactor * (1.0f - f3) / (h + f3);
}

}  // namespace sti::shell
