// The volume-gradient measure of one eight-node hexahedron (its corners
// possibly repeated): the volume, its padded form and guarded reciprocal, and
// the length term. The length term rests on the gradient of the volume by the
// 24 corner coordinates: L^2 = V^2 / (2 S), S the sum of the squared gradient
// components, which gives h^2/3 for a cube of side h. The element loops of the
// measure alone and of the measure fused with the face-area estimate share it.
#pragma once

#include "common/numerics.hpp"
#include "continuum/volume_gradient.hpp"

namespace sti::continuum::hexahedron_detail {

using namespace volume_gradient;

// The coordinates of the eight corners of element e, corner k at node nodes[k]
// of a K-node element-fastest coordinate array.
struct Corners {
  float x[8], y[8], z[8];
};
template <int K>
inline Corners corners_of(int n, const float* coords, const int (&nodes)[8], int e) {
  Corners c;
#pragma GCC unroll 8
  for (int k = 0; k < 8; ++k) {
    c.x[k] = coords[at(n, K, e, nodes[k], 0)];
    c.y[k] = coords[at(n, K, e, nodes[k], 1)];
    c.z[k] = coords[at(n, K, e, nodes[k], 2)];
  }
  return c;
}

struct Measure {
  float padded;      // the volume, or 1 for a collapsed element
  float reciprocal;  // 1 / padded, or 0 for a collapsed element
  float lsq;         // padded / (2 S)
  bool collapsed;    // the volume clamped to zero (inside out, or a NaN)
};

inline Measure measure(const Corners& c, const Differences& dx, const Differences& dy,
                       const Differences& dz) {
  float bx[8];
#pragma GCC unroll 8
  for (int i = 0; i < 8; ++i) bx[i] = gradient_component(dy, dz, kComponents[i]);

  // Volume from the x components, measured from corner 1.
  float sum = (c.x[0] - c.x[1]) * bx[1];
#pragma GCC unroll 8
  for (int i = 2; i < 8; ++i) sum = sum + (c.x[0] - c.x[i]) * bx[i];
  const float v = max_of(-sum, 0.0f);  // inside out, or a NaN, gives 0
  const float p = v == 0.0f ? 1.0f : 0.0f;
  const float padded = v + p;

  // The sum of the 24 squares first, then the pad: a pad added first would
  // absorb the small squares of a collapsed element. The y and z components
  // are formed as they are summed, which keeps fewer of them live.
  float s = bx[0] * bx[0];
#pragma GCC unroll 8
  for (int i = 1; i < 8; ++i) s = s + bx[i] * bx[i];
#pragma GCC unroll 8
  for (int i = 0; i < 8; ++i) {
    const float by = gradient_component(dz, dx, kComponents[i]);
    s = s + by * by;
  }
#pragma GCC unroll 8
  for (int i = 0; i < 8; ++i) {
    const float bz = gradient_component(dx, dy, kComponents[i]);
    s = s + bz * bz;
  }
  s = s + p;
  return {padded, (1.0f - p) / padded, padded * 0.5f / s, v == 0.0f};
}

}  // namespace sti::continuum::hexahedron_detail
