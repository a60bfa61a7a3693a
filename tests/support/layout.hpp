// Element-fastest layout [element][node][component] of a batch, as the
// operators read their coordinates, for calling them directly.
#pragma once

#include <array>
#include <cstddef>
#include <vector>

namespace sti_test {

template <std::size_t K, std::size_t C>
std::vector<float> layout(const std::vector<std::array<std::array<float, C>, K>>& elements) {
  const std::size_t n = elements.size();
  std::vector<float> out(n * K * C);
  for (std::size_t e = 0; e < n; ++e)
    for (std::size_t k = 0; k < K; ++k)
      for (std::size_t c = 0; c < C; ++c) out[e + n * (k + K * c)] = elements[e][k][c];
  return out;
}

}  // namespace sti_test
