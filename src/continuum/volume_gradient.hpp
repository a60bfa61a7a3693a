// Gradient of the trilinear volume of a hexahedron by its corner
// coordinates: the signed products of corner coordinate differences that make
// each component, shared by the hexahedron's measure and the hexahedral pieces
// of the modified ten-node tetrahedron.
#pragma once

#include "common/numerics.hpp"

namespace sti::continuum::volume_gradient {

inline constexpr float kTwelfth = std::bit_cast<float>(0x3DAAAAABu);  // 0.083333336

// Corner renumbering that carries the gradient of corner 1 to corner I.
constexpr int kRenumber[8][8] = {
    {0, 1, 2, 3, 4, 5, 6, 7}, {1, 2, 3, 0, 5, 6, 7, 4}, {2, 3, 0, 1, 6, 7, 4, 5},
    {3, 0, 1, 2, 7, 4, 5, 6}, {4, 7, 6, 5, 0, 3, 2, 1}, {5, 4, 7, 6, 1, 0, 3, 2},
    {6, 5, 4, 7, 2, 1, 0, 3}, {7, 6, 5, 4, 3, 2, 1, 0}};

// Derivative of the trilinear volume by the first coordinate of corner p[0]:
// twelfth * sum of five signed products (u[a] - u[b]) (v[c] - v[d]) of
// coordinate differences of the other two, in this order (p = kRenumber[i]).
struct Term {
  int a, b, c, d;
  bool negative;
};
constexpr Term kTerms[5] = {
    {1, 7, 3, 4, true}, {2, 4, 3, 1, true}, {3, 5, 1, 4, false},
    {3, 1, 2, 5, false}, {3, 4, 7, 5, true}};

// The same products over the differences w[a] - w[b] with a < b only, each
// read in both orders by the components: a product whose pairs run the other
// way changes sign, and the signs are carried into the sum and then into the
// factor of a twelfth. Rounding is symmetric, so this is the same number but
// for the sign of a zero, which both the squares and the clamp of the volume
// at zero discard.
struct SignedTerm {
  int a, b, c, d;  // a < b and c < d
  bool flip;       // added with the opposite sign to the first term
};
struct Component {
  SignedTerm terms[5];
  bool negative;  // of the first term, carried into the twelfth
};
constexpr Component component_of(const int* p) {
  Component r{};
  bool first_negative = false;
  for (int k = 0; k < 5; ++k) {
    const Term& t = kTerms[k];
    const int a = p[t.a], b = p[t.b], c = p[t.c], d = p[t.d];
    const bool negative = (t.negative != (a > b)) != (c > d);
    if (k == 0) first_negative = negative;
    r.terms[k] = {a < b ? a : b, a < b ? b : a, c < d ? c : d, c < d ? d : c,
                  negative != first_negative};
  }
  r.negative = first_negative;
  return r;
}
constexpr Component kComponents[8] = {
    component_of(kRenumber[0]), component_of(kRenumber[1]), component_of(kRenumber[2]),
    component_of(kRenumber[3]), component_of(kRenumber[4]), component_of(kRenumber[5]),
    component_of(kRenumber[6]), component_of(kRenumber[7])};

// Differences w[a] - w[b] of one coordinate over the corner pairs a < b.
struct Differences {
  float d[8][8];
};
inline Differences differences(const float* w) {
  Differences r;
#pragma GCC unroll 8
  for (int a = 0; a < 8; ++a)
#pragma GCC unroll 8
    for (int b = a + 1; b < 8; ++b) r.d[a][b] = w[a] - w[b];
  return r;
}

inline float gradient_component(const Differences& u, const Differences& v, const Component& g) {
  const SignedTerm* t = g.terms;
  float sum = u.d[t[0].a][t[0].b] * v.d[t[0].c][t[0].d];
#pragma GCC unroll 4
  for (int k = 1; k < 5; ++k) {
    const float product = u.d[t[k].a][t[k].b] * v.d[t[k].c][t[k].d];
    sum = t[k].flip ? sum - product : sum + product;
  }
  return (g.negative ? -kTwelfth : kTwelfth) * sum;
}

}  // namespace sti::continuum::volume_gradient
