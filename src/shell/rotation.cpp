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
  // Each element writes its own entries of `local` only: the loop carries
  // no dependence.
#pragma GCC ivdep
  for (int e = 0; e < n; ++e) {
#pragma GCC unroll 4
    for (int k = 0; k < K; ++k) {
      const float qx = vectors[at(n, K, e, k, 0)];
      const float qy = vectors[at(n, K, e, k, 1)];
      const float qz = vectors[at(n, K, e, k, 2)];
      local[at(n, K, e, k, 0)] = qx * axis(e, 0, 0) + qy * axis(e, 1, 0) + qz * axis(e, 2, 0);
      local[at(n, K, e, k, 1)] = qx * axis(e, 0, 1) + qy * axis(e, 1, 1) + qz * axis(e, 2, 1);
      local[at(n, K, e, k, 2)] = qx * axis(e, 0, 2) + qy * axis(e, 1, 2) + qz * axis(e, 2, 2);
    }
  }
}

}  // namespace sti::shell
