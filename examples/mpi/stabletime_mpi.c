/*
 * How a distributed explicit solver embeds the library: every MPI rank owns a
 * partition of the mesh, calls sti_StableTime on its own elements, and one
 * reduction gives the global stable increment and the element that controls it.
 *
 * The model is a steel block of nx x ny x nz C3D8R hexahedra (millimetres,
 * tonnes, seconds) whose cells shrink towards x = 2/3 of its length, so that
 * one column of cells controls the increment. Rank r owns the slab of cell
 * columns [r*nx/size, (r+1)*nx/size) and builds only its own nodes. Element
 * numbers are global and count from 1, x fastest, so the printed answer does
 * not depend on the number of ranks.
 *
 *   mpirun -n 4 ./stabletime_mpi [nx ny nz]
 */
#include <limits.h>
#include <math.h>
#include <mpi.h>
#include <stdio.h>
#include <stdlib.h>

#include "stabletime/stabletime.h"

/* x coordinate of node column i: cell widths 1 mm far from x0, 0.5 mm at it. */
static float node_x(int i, int nx) {
  const double x0 = 2.0 * nx / 3.0;
  double x = 0.0;
  for (int k = 0; k < i; ++k) {
    const double d = (k + 0.5 - x0) / (0.1 * nx + 1.0);
    x += 1.0 - 0.5 * exp(-d * d);
  }
  return (float)x;
}

int main(int argc, char** argv) {
  MPI_Init(&argc, &argv);
  int rank = 0, size = 1;
  MPI_Comm_rank(MPI_COMM_WORLD, &rank);
  MPI_Comm_size(MPI_COMM_WORLD, &size);

  const int nx = argc > 1 ? atoi(argv[1]) : 96;
  const int ny = argc > 2 ? atoi(argv[2]) : 24;
  const int nz = argc > 3 ? atoi(argv[3]) : 12;
  if (nx < size || ny < 1 || nz < 1) {
    if (rank == 0) fprintf(stderr, "stabletime_mpi: need nx >= ranks and ny, nz >= 1\n");
    MPI_Finalize();
    return 2;
  }

  /* This rank's slab of cell columns and the node columns that bound it. */
  const int i0 = (int)((long long)rank * nx / size);
  const int i1 = (int)((long long)(rank + 1) * nx / size);
  const int cols = i1 - i0 + 1, cells = i1 - i0;
  const int node_total = cols * (ny + 1) * (nz + 1);
  const int element_count = cells * ny * nz;

  float* nodes = malloc(sizeof(float) * 3 * (size_t)node_total);
  int* conn = malloc(sizeof(int) * 8 * (size_t)element_count);
  int* global_number = malloc(sizeof(int) * (size_t)element_count);
  float* density = malloc(sizeof(float) * (size_t)element_count);
  float* dt = malloc(sizeof(float) * (size_t)element_count);
  int* code = calloc((size_t)element_count, sizeof(int)); /* sound elements keep 0 */
  if (!nodes || !conn || !global_number || !density || !dt || !code) MPI_Abort(MPI_COMM_WORLD, 3);

#define NODE(i, j, k) (((k) * (ny + 1) + (j)) * cols + ((i) - i0))
  for (int k = 0; k <= nz; ++k)
    for (int j = 0; j <= ny; ++j)
      for (int i = i0; i <= i1; ++i) {
        float* p = nodes + 3 * NODE(i, j, k);
        p[0] = node_x(i, nx);
        p[1] = (float)j;
        p[2] = (float)k;
      }
  int e = 0;
  for (int k = 0; k < nz; ++k)
    for (int j = 0; j < ny; ++j)
      for (int i = i0; i < i1; ++i, ++e) {
        const int c[8] = {NODE(i, j, k),         NODE(i + 1, j, k),
                          NODE(i + 1, j + 1, k), NODE(i, j + 1, k),
                          NODE(i, j, k + 1),     NODE(i + 1, j, k + 1),
                          NODE(i + 1, j + 1, k + 1), NODE(i, j + 1, k + 1)};
        for (int n = 0; n < 8; ++n) conn[8 * e + n] = c[n];
        global_number[e] = 1 + i + nx * (j + ny * k);
        density[e] = 7.85e-9f;
      }
#undef NODE

  const float steel[2] = {210000.0f, 0.3f};
  const float section_damping[3] = {0.0f, 0.0f, 0.0f};
  const int result = sti_StableTime("C3D8R", node_total, element_count, nodes, conn, 100, steel,
                                    density, NULL, 1.0f, section_damping, NULL, dt, code);

  /* The rank's smallest increment of a sound element, with its global number;
   * MPI_MINLOC keeps the smallest number among equal increments. */
  struct {
    float dt;
    int element;
  } local = {INFINITY, 0}, global;
  int failed = 0;
  for (int n = 0; n < element_count; ++n) {
    if (code[n] != STI_OK || !isfinite(dt[n])) {
      ++failed;
      continue;
    }
    if (dt[n] < local.dt || (dt[n] == local.dt && global_number[n] < local.element)) {
      local.dt = dt[n];
      local.element = global_number[n];
    }
  }
  MPI_Allreduce(&local, &global, 1, MPI_FLOAT_INT, MPI_MINLOC, MPI_COMM_WORLD);
  /* The call's code over all ranks: the smallest nonzero code, as between batches. */
  int failed_total = 0, code_key = result == STI_OK ? INT_MAX : result, code_min = 0;
  MPI_Allreduce(&failed, &failed_total, 1, MPI_INT, MPI_SUM, MPI_COMM_WORLD);
  MPI_Allreduce(&code_key, &code_min, 1, MPI_INT, MPI_MIN, MPI_COMM_WORLD);
  const int call_code = code_min == INT_MAX ? STI_OK : code_min;
  long long elements = element_count, elements_total = 0;
  MPI_Allreduce(&elements, &elements_total, 1, MPI_LONG_LONG, MPI_SUM, MPI_COMM_WORLD);

  /* Every rank now holds the same step; a solver would go on with it. */
  if (rank == 0) {
    printf("ranks %d\n", size);
    printf("elements %lld\n", elements_total);
    printf("stable increment %.9g s (element %d)\n", global.dt, global.element);
    printf("failed elements %d, call code %d\n", failed_total, call_code);
  }

  free(nodes);
  free(conn);
  free(global_number);
  free(density);
  free(dt);
  free(code);
  MPI_Finalize();
  return failed_total == 0 ? 0 : 1;
}
