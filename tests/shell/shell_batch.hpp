// Batches of surface elements for calling the shell operators directly:
// element-fastest layout, the four-point surface rule, and the frame and local
// coordinates that the geometry dispatcher hands on to the measures.
#pragma once

#include <array>
#include <vector>

#include "stabletime/pipeline.h"

namespace shell_test {

using P3 = std::array<float, 3>;
using Quad = std::array<P3, 4>;

// Element-fastest layout [element][node][component] of a batch.
template <size_t K, size_t C>
std::vector<float> layout(const std::vector<std::array<std::array<float, C>, K>>& elements) {
  const size_t n = elements.size();
  std::vector<float> out(n * K * C);
  for (size_t e = 0; e < n; ++e)
    for (size_t k = 0; k < K; ++k)
      for (size_t c = 0; c < C; ++c) out[e + n * (k + K * c)] = elements[e][k][c];
  return out;
}

inline float get(const std::vector<float>& a, size_t n, size_t K, size_t e, size_t k, size_t c) {
  return a[e + n * (k + K * c)];
}

// The bilinear quadrilateral at its 2 x 2 Gauss points, as the driver asks for M3D4 and S4.
struct Rule {
  float n[88], dn1[88], dn2[88], w[8];
};
inline Rule gauss_rule() {
  Rule r{};
  const int kind = 2, family = 2, nodes = 4, points = 4;
  sti_ope_fullintegrule(&kind, &family, &nodes, &points, r.n, r.dn1, r.dn2, r.w);
  return r;
}

// Frame axis a (0 s, 1 t, 2 n) of element e, as a vector.
inline P3 axis(const std::vector<float>& frame, size_t n, size_t e, size_t a) {
  return {frame[e + n * (0 + 3 * a)], frame[e + n * (1 + 3 * a)], frame[e + n * (2 + 3 * a)]};
}

struct Local {
  std::vector<float> frame, local_g;
};

// Frame at one point and the nodes turned into it, as the dispatcher does.
inline Local surface_local(const std::vector<Quad>& quads, int point_index, int run_point_count,
                           const Rule& rule) {
  const int n = static_cast<int>(quads.size());
  const auto coords = layout<4, 3>(quads);
  Local l{std::vector<float>(quads.size() * 9, -7.0f), std::vector<float>(quads.size() * 12)};
  sti_ope_m3dq4normal(&n, &point_index, &run_point_count, rule.dn1, rule.dn2, coords.data(),
                      l.frame.data());
  sti_ope_m3dq4rot(&n, coords.data(), l.local_g.data(), l.frame.data());
  return l;
}

}  // namespace shell_test
