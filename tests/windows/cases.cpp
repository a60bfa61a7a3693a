// The element cases of the Windows check. Every case copies one reference
// element several times: the first copy as drawn, the others scaled, moved,
// turned (three-dimensional families) and distorted by a seeded integer
// sequence. Inputs are made with integer arithmetic and exactly rounded float
// operations only, never with a library function, so that both platforms
// build the very same bits and any difference in the results comes from the
// library.
#include "cases.hpp"

#include <array>
#include <bit>
#include <cstdint>
#include <vector>

namespace sti_windows {
namespace {

using Point = std::array<float, 3>;

struct Case {
  const char* label;
  const char* element;
  int material_code;
  std::vector<float> props;
  std::vector<Point> shape;  // the reference element's nodes
  int copies = 4;
  float jitter = 0.0f;  // largest node displacement, as a fraction of the shape's size
  float size = 10.0f;
  bool turn = false;  // turn every odd copy by kTurn (three-dimensional families)
  std::vector<float> section_damping = {};  // empty: null
  std::vector<float> cohesive_params = {};  // empty: null
  bool with_thickness = false;
  float bulk_scale = 1.0f;
  int collapsed_copy = -1;  // copy whose nodes all sit on its first node
  int massless_copy = -1;   // copy with density 0
};

// An exact rational rotation (rows are orthonormal in real arithmetic).
constexpr float kTurn[3][3] = {{0.36f, 0.48f, -0.8f}, {-0.8f, 0.6f, 0.0f}, {0.48f, 0.64f, 0.6f}};

// Seeded linear congruential sequence of integers in [-1000, 1000].
struct Sequence {
  std::uint32_t state;
  int next() {
    state = state * 1664525u + 1013904223u;
    return static_cast<int>((state >> 8) % 2001u) - 1000;
  }
};

// Reference elements.
const std::vector<Point> kLine = {{0, 0, 0}, {1000, 0, 0}};
const std::vector<Point> kQuad = {{0, 0, 0}, {10, 0, 0}, {10, 8, 0}, {0, 8, 0}};
const std::vector<Point> kRing = {{5, 0, 0}, {15, 0, 0}, {15, 10, 0}, {5, 10, 0}};
const std::vector<Point> kHex = {{0, 0, 0},  {10, 0, 0},  {10, 10, 0},  {0, 10, 0},
                                 {0, 0, 10}, {10, 0, 10}, {10, 10, 10}, {0, 10, 10}};
const std::vector<Point> kThinHex = {{0, 0, 0}, {10, 0, 0}, {10, 10, 0}, {0, 10, 0},
                                     {0, 0, 1}, {10, 0, 1}, {10, 10, 1}, {0, 10, 1}};
const std::vector<Point> kWedge = {{0, 0, 0},  {10, 0, 0},  {0, 10, 0},
                                   {0, 0, 10}, {10, 0, 10}, {0, 10, 10}};
const std::vector<Point> kTet = {{0, 0, 0}, {10, 0, 0}, {0, 10, 0}, {0, 0, 10}};
// Corners, then the midpoints of 1-2, 2-3, 3-1, 1-4, 2-4, 3-4.
const std::vector<Point> kTet10 = {{0, 0, 0}, {10, 0, 0}, {0, 10, 0}, {0, 0, 10}, {5, 0, 0},
                                   {5, 5, 0}, {0, 5, 0},  {0, 0, 5},  {5, 0, 5},  {0, 5, 5}};
// Corners, then the midpoints of 1-2, 2-3, 3-1.
const std::vector<Point> kTri6 = {{0, 0, 0}, {10, 0, 0}, {0, 10, 0},
                                  {5, 0, 0}, {5, 5, 0},  {0, 5, 0}};
const std::vector<Point> kShellLine = {{10, 0, 0}, {12, 8, 0}};
const std::vector<Point> kBeam = {{0, 0, 0}, {100, 20, 10}};
const std::vector<Point> kBeam3 = {{0, 0, 0}, {50, 5, 0}, {100, 0, 0}};
const std::vector<Point> kOpening = {{0, 0, 0},   {10, 0, 0},   {10, 10, 0},   {0, 10, 0},
                                     {0, 0, 0.1f}, {10, 0, 0.1f}, {10, 10, 0.1f}, {0, 10, 0.1f}};
const std::vector<Point> kPlaneOpening = {{0, 0, 0}, {10, 0, 0}, {10, 0.1f, 0}, {0, 0.1f, 0}};

// Material constants by code.
const std::vector<float> kSteel = {210000.0f, 0.3f};  // 100: E, nu
const std::vector<float> kOrthotropic = {250000.0f, 100000.0f, 180000.0f, 90000.0f, 80000.0f,
                                         160000.0f, 60000.0f,  55000.0f,  50000.0f};  // 101
// 109: two terms; mu at 1 and 3 (exponents at 2 and 4 unread), nu at 5 and 6.
const std::vector<float> kFoam = {2.0f, 0.16f, 8.0f, 0.02f, -2.0f, 0.1f, 0.05f};
// 126 in three dimensions: A11, A22, A33, A12, A13, A23.
const std::vector<float> kTensorA = {200000.0f, 150000.0f, 120000.0f, 30000.0f, -20000.0f, 15000.0f};
const std::vector<float> kTensorB = {100000.0f, 90000.0f, 110000.0f, 50000.0f, 45000.0f, 52000.0f};
const std::vector<float> kTensorC = {80000.0f, 80000.0f, 80000.0f, -1000.0f, 250.0f, 3.0f};
const std::vector<float> kPlaneTensor = {200000.0f, 150000.0f, 30000.0f};  // 126: A11, A22, A12
const std::vector<float> kWater = {2200.0f, 0.05f};  // acoustic: bulk modulus, damping

std::vector<Case> cases() {
  return {
      {.label = "truss", .element = "T3D2", .material_code = 100, .props = kSteel,
       .shape = kLine, .jitter = 0.05f, .size = 1000.0f, .turn = true,
       .section_damping = {400.0f, 0.0f, 0.0f}},
      {.label = "truss-rayleigh", .element = "T3D2", .material_code = 100, .props = kSteel,
       .shape = kLine, .copies = 3, .jitter = 0.1f, .size = 1000.0f, .turn = true,
       .section_damping = {400.0f, 0.5f, 1.0e-6f}, .bulk_scale = 0.0f},
      {.label = "plane-stress", .element = "CPS4R", .material_code = 100, .props = kSteel,
       .shape = kQuad, .copies = 6, .jitter = 0.15f, .with_thickness = true,
       .collapsed_copy = 5},
      {.label = "plane-stress-orthotropic", .element = "CPS4R", .material_code = 101,
       .props = kOrthotropic, .shape = kQuad, .jitter = 0.1f, .with_thickness = true},
      {.label = "plane-stress-tensor", .element = "CPS4R", .material_code = 126,
       .props = kPlaneTensor, .shape = kQuad, .copies = 3, .jitter = 0.1f},
      {.label = "axisymmetric", .element = "CAX4R", .material_code = 100, .props = kSteel,
       .shape = kRing, .jitter = 0.1f},
      {.label = "axisymmetric-foam", .element = "CAX4R", .material_code = 109, .props = kFoam,
       .shape = kRing, .copies = 3, .jitter = 0.1f, .bulk_scale = 2.5f},
      {.label = "hexahedra", .element = "C3D8R", .material_code = 100, .props = kSteel,
       .shape = kHex, .copies = 150, .jitter = 0.2f, .turn = true,
       .section_damping = {0.0f, 2.0f, 1.0e-6f}, .collapsed_copy = 140, .massless_copy = 7},
      {.label = "hexahedra-orthotropic", .element = "C3D8R", .material_code = 101,
       .props = kOrthotropic, .shape = kHex, .jitter = 0.15f, .turn = true},
      {.label = "hexahedra-tensor-a", .element = "C3D8R", .material_code = 126,
       .props = kTensorA, .shape = kHex, .copies = 3, .jitter = 0.15f},
      {.label = "hexahedra-tensor-b", .element = "C3D8R", .material_code = 126,
       .props = kTensorB, .shape = kHex, .copies = 2, .jitter = 0.15f},
      {.label = "hexahedra-tensor-c", .element = "C3D8R", .material_code = 126,
       .props = kTensorC, .shape = kHex, .copies = 2, .jitter = 0.15f},
      {.label = "wedges", .element = "C3D6", .material_code = 100, .props = kSteel,
       .shape = kWedge, .jitter = 0.15f, .turn = true},
      {.label = "tetrahedra", .element = "C3D4", .material_code = 100, .props = kSteel,
       .shape = kTet, .jitter = 0.2f, .turn = true},
      {.label = "tetrahedra-foam", .element = "C3D4", .material_code = 109, .props = kFoam,
       .shape = kTet, .jitter = 0.2f},
      {.label = "modified-tetrahedra", .element = "C3D10M", .material_code = 100,
       .props = kSteel, .shape = kTet10, .copies = 6, .jitter = 0.08f, .turn = true},
      {.label = "modified-tetrahedra-tensor", .element = "C3D10M", .material_code = 126,
       .props = kTensorA, .shape = kTet10, .copies = 3, .jitter = 0.08f},
      {.label = "modified-triangles", .element = "CPS6M", .material_code = 100, .props = kSteel,
       .shape = kTri6, .copies = 6, .jitter = 0.08f, .with_thickness = true},
      {.label = "membranes", .element = "M3D4", .material_code = 100, .props = kSteel,
       .shape = kQuad, .jitter = 0.1f, .turn = true, .with_thickness = true},
      {.label = "shells", .element = "S4R", .material_code = 100, .props = kSteel,
       .shape = kQuad, .jitter = 0.1f, .turn = true, .section_damping = {0.0f, 0.0f, 2.0e-6f},
       .with_thickness = true},
      {.label = "continuum-shells", .element = "SC8R", .material_code = 100, .props = kSteel,
       .shape = kThinHex, .jitter = 0.02f, .turn = true},
      {.label = "axisymmetric-shells", .element = "SAX1", .material_code = 100,
       .props = kSteel, .shape = kShellLine, .copies = 3, .jitter = 0.05f,
       .with_thickness = true},
      {.label = "beams", .element = "B31", .material_code = 100, .props = kSteel,
       .shape = kBeam, .jitter = 0.05f, .size = 100.0f, .turn = true,
       .section_damping = {300.0f, 0.0f, 0.0f}},
      {.label = "planar-beams", .element = "B22", .material_code = 100, .props = kSteel,
       .shape = kBeam3, .copies = 3, .jitter = 0.02f, .size = 100.0f,
       .section_damping = {200.0f, 0.1f, 0.0f}},
      {.label = "cohesive", .element = "COH3D8", .material_code = 100, .props = kSteel,
       .shape = kOpening, .copies = 3, .jitter = 0.002f, .turn = true},
      {.label = "cohesive-constitutive", .element = "COH3D8", .material_code = 100,
       .props = kSteel, .shape = kOpening, .copies = 3, .jitter = 0.002f,
       .cohesive_params = {1.0f, -1.0f}, .with_thickness = true},
      {.label = "planar-cohesive", .element = "COH2D4", .material_code = 100, .props = kSteel,
       .shape = kPlaneOpening, .copies = 3, .jitter = 0.002f,
       .cohesive_params = {-1.0f, 2.0f}},
      {.label = "acoustic", .element = "AC3D8R", .material_code = 100, .props = kWater,
       .shape = kHex, .jitter = 0.15f, .turn = true},
  };
}

// Node coordinates of copy `c` of the case's reference element.
void place_copy(const Case& k, int c, Sequence& sequence, std::vector<float>& nodes) {
  const float scale = 1.0f + 0.25f * static_cast<float>(c % 5);
  const Point shift = {3.0f * k.size * static_cast<float>(c), k.size * static_cast<float>(c % 3),
                       0.5f * k.size * static_cast<float>(c % 2)};
  const bool turned = k.turn && c % 2 == 1;
  std::vector<Point> placed;
  for (const Point& p : k.shape) {
    Point q = p;
    if (turned) {
      for (int i = 0; i < 3; ++i) {
        q[i] = kTurn[i][0] * p[0] + kTurn[i][1] * p[1] + kTurn[i][2] * p[2];
      }
    }
    for (int i = 0; i < 3; ++i) {
      const int step = c == 0 ? 0 : sequence.next();
      q[i] = q[i] * scale + shift[i] + static_cast<float>(step) / 1000.0f * k.jitter * k.size;
    }
    placed.push_back(c == k.collapsed_copy && !placed.empty() ? placed.front() : q);
  }
  for (const Point& q : placed) nodes.insert(nodes.end(), q.begin(), q.end());
}

void run_case(const Case& k, int index, StableTimeEntry entry, std::FILE* out) {
  const int node_count = static_cast<int>(k.shape.size());
  Sequence sequence{static_cast<std::uint32_t>(2654435761u * static_cast<std::uint32_t>(index + 1))};
  std::vector<float> nodes;
  std::vector<int> connectivity;
  std::vector<float> density;
  std::vector<float> thickness;
  for (int c = 0; c < k.copies; ++c) {
    place_copy(k, c, sequence, nodes);
    for (int j = 0; j < node_count; ++j) connectivity.push_back(c * node_count + j);
    density.push_back(c == k.massless_copy ? 0.0f : 7.85e-9f * (1.0f + 0.125f * static_cast<float>(c % 4)));
    thickness.push_back(1.0f + 0.25f * static_cast<float>(c % 3));
  }

  // Prefilled so that entries the call leaves alone show as such.
  std::vector<float> stable_time(k.copies, std::bit_cast<float>(0x7FC0DEADu));
  std::vector<int> element_code(k.copies, -12345);
  const auto data_or_null = [](const std::vector<float>& v) { return v.empty() ? nullptr : v.data(); };
  const int code = entry(k.element, static_cast<int>(nodes.size() / 3), k.copies, nodes.data(),
                         connectivity.data(), k.material_code, k.props.data(), density.data(),
                         k.with_thickness ? thickness.data() : nullptr, k.bulk_scale,
                         data_or_null(k.section_damping), data_or_null(k.cohesive_params),
                         stable_time.data(), element_code.data());

  std::fprintf(out, "case %s %s material %d elements %d call %d\n", k.label, k.element,
               k.material_code, k.copies, code);
  for (int e = 0; e < k.copies; ++e) {
    std::fprintf(out, "  %3d %08x %d\n", e,
                 static_cast<unsigned>(std::bit_cast<std::uint32_t>(stable_time[e])),
                 element_code[e]);
  }
}

}  // namespace

int write_case_results(StableTimeEntry entry, std::FILE* out) {
  const std::vector<Case> all = cases();
  for (int i = 0; i < static_cast<int>(all.size()); ++i) run_case(all[i], i, entry, out);
  return static_cast<int>(all.size());
}

}  // namespace sti_windows
