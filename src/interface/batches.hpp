// Cutting a call's elements into batches of at most kBatchCapacity, in input
// order: full batches first, the last one takes what is left.
#pragma once

#include "common/numerics.hpp"

namespace sti::interface {

// Calls run(batch_first, batch_count) once per batch, in order. The index
// advances by the batch just run and so never passes element_count: counts up
// to the largest int are cut without overflow.
template <class Run>
void for_each_batch(int element_count, Run&& run) {
  for (int batch_first = 0; batch_first < element_count;) {
    const int remaining = element_count - batch_first;
    const int batch_count = remaining < kBatchCapacity ? remaining : kBatchCapacity;
    run(batch_first, batch_count);
    batch_first += batch_count;
  }
}

}  // namespace sti::interface
