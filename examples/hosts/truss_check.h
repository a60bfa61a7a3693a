/*
 * The call every example host makes: one steel truss member, 1000 mm long,
 * without damping or bulk viscosity, so that its stable time increment is the
 * time a bar wave takes to cross it, L / c with c = sqrt(E / rho). Prints the
 * library version and the increment; returns 0 when (dt c / L)^2, formed in
 * double precision, is 1 to within 2e-5 (a few float32 roundings), else 1.
 */
#ifndef STABLETIME_EXAMPLE_TRUSS_CHECK_H
#define STABLETIME_EXAMPLE_TRUSS_CHECK_H

#include <stdio.h>

#include "stabletime/stabletime.h"
#include "stabletime/version.h"

static int truss_check(const char* host) {
  const float nodes[] = {0, 0, 0, 1000, 0, 0};   /* three floats per node */
  const int conn[] = {0, 1};                      /* zero-based node numbers */
  const float steel[] = {210000.0f, 0.3f};        /* code 100: E (MPa), nu */
  const float rho[] = {7.85e-9f};                 /* tonne per cubic mm */
  const float section_damping[] = {400.0f, 0.0f, 0.0f}; /* area, alpha, beta */
  float dt[1] = {0.0f};
  int code[1] = {0};
  const int result = sti_StableTime("T3D2", 2, 1, nodes, conn, 100, steel, rho, NULL,
                                    0.0f /* no bulk viscosity */, section_damping, NULL, dt,
                                    code);
  const double ratio = (double)dt[0] * dt[0] * (210000.0 / 7.85e-9) / (1000.0 * 1000.0);
  const int ok = result == STI_OK && code[0] == STI_OK && ratio > 1.0 - 2e-5 &&
                 ratio < 1.0 + 2e-5;
  printf("%s: stabletime %s, T3D2 dt = %.6e s, (dt c / L)^2 = %.7f, codes %d %d: %s\n", host,
         STABLETIME_VERSION, (double)dt[0], ratio, result, code[0], ok ? "ok" : "WRONG");
  return ok ? 0 : 1;
}

#endif
