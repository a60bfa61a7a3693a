/*
 * A host program: the stable time increments of a small truss bridge in
 * steel (millimetres, tonnes, seconds), with one member whose two nodes fell
 * on top of each other in a bad mesh. Prints one line per element and the
 * call's result code.
 */
#include <stdio.h>

#include "stabletime/stabletime.h"

int main(void) {
  /* Nodes of two parallel chords and the posts and diagonals between them. */
  const float nodes[] = {
      0.0f,    0.0f,   0.0f, /* 0 */
      1000.0f, 0.0f,   0.0f, /* 1 */
      2000.0f, 0.0f,   0.0f, /* 2 */
      0.0f,    800.0f, 0.0f, /* 3 */
      1000.0f, 800.0f, 0.0f, /* 4 */
      2000.0f, 800.0f, 0.0f, /* 5 */
      2000.0f, 800.0f, 0.0f, /* 6: same place as node 5 */
  };
  const int connectivity[] = {
      0, 1, 1, 2,       /* bottom chord */
      3, 4, 4, 5,       /* top chord */
      0, 3, 1, 4, 2, 5, /* posts */
      0, 4, 4, 2,       /* diagonals */
      5, 6,             /* a member of zero length */
  };
  enum { kElements = 10 };
  const float steel[2] = {210000.0f, 0.3f}; /* Young's modulus (MPa), Poisson ratio */
  float density[kElements];
  for (int e = 0; e < kElements; ++e) density[e] = 7.85e-9f; /* tonne per cubic mm */
  const float section_damping[3] = {400.0f, 0.0f, 0.0f};     /* area (mm^2), no damping */

  float stable_time[kElements];
  /* Sound elements of a batch that has failures keep what the array held: start from 0. */
  int element_code[kElements] = {0};
  const int result = sti_StableTime("T3D2", 7, kElements, nodes, connectivity, 100, steel,
                                    density, NULL, 1.0f, section_damping, NULL, stable_time,
                                    element_code);

  printf("element  nodes   stable time (s)  code\n");
  for (int e = 0; e < kElements; ++e) {
    if (element_code[e] == STI_OK)
      printf("%7d  %2d-%-2d  %15.6e  %4d\n", e + 1, connectivity[2 * e], connectivity[2 * e + 1],
             stable_time[e], element_code[e]);
    else
      printf("%7d  %2d-%-2d  %15s  %4d\n", e + 1, connectivity[2 * e], connectivity[2 * e + 1],
             "-", element_code[e]);
  }
  printf("call result: %d\n", result);
  return 0;
}
