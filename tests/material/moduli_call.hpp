// Direct calls of the effective moduli stage on a small batch, with sentinel
// values in every output so that entries the stage must not write show up.
#pragma once

#include <bit>
#include <cstdint>
#include <vector>

#include "stabletime/pipeline.h"

namespace sti_test {

inline constexpr float kUnwritten = -777.0f;
inline constexpr int kPriorStatus = 6;  // a status an earlier stage might have set
inline constexpr float kOneThird = std::bit_cast<float>(0x3EAAAAABu);
inline constexpr float kSmallestNormal = std::bit_cast<float>(0x00800000u);

struct ModuliBatch {
  int ndim = 3;
  int uniaxial = 0;
  int plane_stress = 1;
  float scale = 1.0f;
  std::vector<float> thickness = {1.0f};
  std::vector<int> status;  // empty: 0 for every element
};

struct ModuliOut {
  std::vector<float> two_g, three_k, wave;
  std::vector<int> status;
  int plane_stress = 0;
};

inline ModuliOut effmodulus(int code, std::vector<float> props, const ModuliBatch& in = {}) {
  const int n = static_cast<int>(in.thickness.size());
  ModuliOut out;
  out.two_g.assign(n, kUnwritten);
  out.three_k.assign(n, kUnwritten);
  out.wave.assign(n, kUnwritten);
  out.status = in.status.empty() ? std::vector<int>(n, 0) : in.status;
  out.plane_stress = in.plane_stress;
  props.resize(props.size() + 8, kUnwritten);  // reads past the layout meet a sentinel
  sti_ele_effmodulus(&n, &in.ndim, out.status.data(), &code, &out.plane_stress, &in.uniaxial,
                     &in.scale, in.thickness.data(), out.two_g.data(), out.three_k.data(),
                     out.wave.data(), props.data());
  return out;
}

}  // namespace sti_test
