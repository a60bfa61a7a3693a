/*
 * Stable time increment of explicit dynamic finite element analysis.
 *
 * One call takes one element type, a set of elements of that type and one
 * material, and returns for every element an estimate of the stable time
 * increment of explicit central-difference integration: the characteristic
 * length over the wave speed, shortened for damping. It is no guaranteed
 * bound; for solids at higher Poisson ratios it can exceed the element's own
 * exact critical increment (see the README's validation). All
 * numerics are single precision and unit-free: any consistent set of units
 * goes in, and the increment comes out in that system's time unit. The call
 * keeps no state, allocates nothing and may run from several threads at once
 * provided the output arrays do not overlap.
 */
#ifndef STABLETIME_STABLETIME_H
#define STABLETIME_STABLETIME_H

#include "stabletime/export.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Public result codes, per element and per call. */
enum {
  STI_OK = 0,                  /* element (or call) fine */
  STI_SECTION_UNUSABLE = 100,  /* thickness not greater than zero */
  STI_MATERIAL_UNUSABLE = 200, /* density or derived modulus not greater than zero, unknown code */
  STI_TYPE_UNSUPPORTED = 300,  /* element name not in the catalogue */
  STI_GEOMETRY_DEGENERATE = 400, /* zero length, non-positive area or volume */
  STI_OTHER_FAILURE = 999      /* anything else, element_count below 1 among it */
};

/*
 * sti_StableTime: stable time increment of every element of one call.
 *
 *  elem_name        zero-terminated element type name ("C3D8R", "S4R", ...).
 *                   Trailing blanks are ignored, leading blanks and case are
 *                   not. Must not be null.
 *  node_total       number of nodes in node_coords; states its extent only.
 *  element_count    number of elements; below 1 returns 999 and writes nothing.
 *  node_coords      three floats per node, node after node, always three even
 *                   for planar types (the third is then ignored). Not null.
 *  connectivity     element_count rows of the type's node count, zero-based
 *                   indices into node_coords. Trusted, not checked. Not null.
 *  material_code    material family (100 isotropic elastic, ... see below).
 *  material_props   the family's constants, shared by all elements. Not null.
 *  density          one per element; a value not greater than zero fails the
 *                   element with code 200. Not null.
 *  thickness        one per element, or null for 1.0 everywhere. Multiplies
 *                   every modulus; plane, membrane and shell geometry also
 *                   multiply their mass by it.
 *  bulk_scale       linear bulk viscosity scale; the damping fraction is
 *                   0.06 * bulk_scale.
 *  section_damping  three floats: section area of trusses and beams, mass-
 *                   proportional and stiffness-proportional Rayleigh factors.
 *                   Null gives 0.0 for all three (so trusses and beams fail).
 *  cohesive_params  two floats, read by cohesive types only: [0] > 0 takes the
 *                   thickness array as constitutive thickness, else the
 *                   geometric opening is used; [1] is the out-of-plane width of
 *                   COH2D4 or the radial multiplier of COHAX4. Null counts as
 *                   (-1, -1).
 *  stable_time      out, element_count increments. Failed elements keep what
 *                   the computation left (3.4028235e38 when nothing was
 *                   computed). Not null.
 *  element_code     out, element_count public codes. In a batch of 128
 *                   elements that has failures, entries of the sound elements
 *                   are left as the caller had them. Not null.
 *
 * The two outputs must not overlap each other or any input array.
 *
 * Returns the call's public code: within a batch of 128 elements the code of
 * its last failed element, between batches the smallest nonzero batch code.
 *
 * Not-a-number: no input is tested for NaN, and code 0 does not by itself
 * promise a finite increment. A NaN density passes the density test; NaN
 * coordinates of trusses and beams pass their length test; NaN coordinates of
 * axisymmetric continuum and acoustic elements (CAX3, CAX4R, CAX6M, ACAX3,
 * ACAX4R and the T forms), or finite ones so large that their products
 * overflow, pass the volume test. Each gives code 0 with a NaN increment.
 * Hosts whose inputs may hold NaN or such values test every increment with
 * isfinite.
 *
 * material_props by material_code, indices from 0:
 *   100  isotropic elastic: E, nu.
 *   101  orthotropic stiffness: D1111, D1122, D2222, D1133, D2233, D3333,
 *        D1212, D1313, D2323.
 *   102  lamina: E1, E2, nu12, G12, G13, G23.
 *   103  anisotropic stiffness: upper triangle of the 6x6 stiffness by
 *        columns, 21 entries (0..5 as for 101).
 *   9001 orthotropic engineering constants: E1, E2, E3, nu12, nu13, nu23,
 *        G12, G13, G23.
 *   105  polynomial hyperelastic: N (term count, truncated toward zero),
 *        C10, C01, ..., D1 at 2N+1 (N = 0: D1 at 1).
 *   107  Ogden form: N, then mu_k at 2k+1 (exponents at 2k+2, not read),
 *        D1 at 2N+1.
 *   109  foam: N, mu_k at 2k+1 (exponents at 2k+2, not read), nu_k at
 *        2N+1+k.
 *        For 105 and 107 a count below zero fails every element with 200
 *        (internal status 8): the layout would place D1 before the first
 *        entry, and the library refuses the set rather than read there.
 *   118  Arruda-Boyce form: [1] mu, [2] locking stretch, [3] D.
 *   119  five-constant form: [1] mu, [5] D.
 *   125  diagonal modulus tensor: A11, A22, A33 (two dimensions: A11, A22).
 *   126  symmetric modulus tensor: A11, A22, A33, A12, A13, A23 (two
 *        dimensions: A11, A22, A12).
 *        125 and 126 take the largest principal value as the modulus; it is
 *        multiplied by the thickness but not by the section area.
 *   Acoustic types: [0] bulk modulus of the fluid, [1] fluid damping.
 */
STI_EXPORT int sti_StableTime(const char* elem_name, int node_total, int element_count,
                              const float* node_coords, const int* connectivity,
                              int material_code, const float* material_props,
                              const float* density, const float* thickness, float bulk_scale,
                              const float* section_damping, const float* cohesive_params,
                              float* stable_time, int* element_code);

#ifdef __cplusplus
}
#endif

#endif
