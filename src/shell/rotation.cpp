// Turns the nodal vectors of surface elements into their local frame s, t, n.
// The origin is not moved: later formulas use differences only.
#include "common/numerics.hpp"
#include "stabletime/pipeline.h"
#include "shell/shell.hpp"

namespace sti::shell {
void rotate_into_frame(int n, const float* STI_RESTRICT vectors, float* STI_RESTRICT local,
                       const float* STI_RESTRICT frame) {
  constexpr int K = 4;
  auto axis = [&](int e, int c, int a) { return frame[e + n * (c + 3 * a)]; };
  for (int k = 0; k < K; ++k) {
    for (int e = 0; e < n; ++e) {
      const float qx = vectors[at(n, K, e, k, 0)];
      const float qy = vectors[at(n, K, e, k, 1)];
      const float qz = vectors[at(n, K, e, k, 2)];
      for (int a = 0; a < 3; ++a)
        local[at(n, K, e, k, a)] = qx * axis(e, 0, a) + qy * axis(e, 1, a) + qz * axis(e, 2, a);
    }
  }
}

}  // namespace sti::shell
