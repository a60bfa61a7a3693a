// Classification: shape, class and flags of representative ids, the expanded
// connectivity of types stored with repeated nodes, and unknown ids.
#include <gtest/gtest.h>

#include <vector>

#include "stabletime/pipeline.h"

namespace {

struct Classified {
  int geom_nodes, ndim, run_points, unsupported, plane_stress, uniaxial, shape, elem_class, freq;
  float dt_scale, bulk_b1;
  std::vector<int> expanded;
  std::vector<float> tri_flag;
  std::vector<int> status;
};

// Classifies a batch of `n` elements whose connectivity entry at position k of
// element e is 100 * (k + 1) + e (eight positions at least, for lists that read
// past node_count), with the driver's presets; geom_preset 0 presets node_count.
Classified classify(int id, int node_count, int point_count, int n = 2, int geom_preset = 0) {
  Classified c{geom_preset != 0 ? geom_preset : node_count, 2, point_count, 0, 0, 0, 0, 1, 0,
               1.0f, 0.0f, {}, {}, {}};
  const int positions = node_count > 8 ? node_count : 8;
  std::vector<int> connectivity(static_cast<size_t>(n * positions));
  for (int k = 0; k < positions; ++k)
    for (int e = 0; e < n; ++e) connectivity[e + n * k] = 100 * (k + 1) + e;
  c.expanded.assign(static_cast<size_t>(n * 15), -1);
  c.tri_flag.assign(static_cast<size_t>(n), 0.0f);
  c.status.assign(static_cast<size_t>(n), 0);
  sti_ele_type(&n, &node_count, &c.geom_nodes, &c.ndim, &c.run_points, &id, &c.unsupported,
               &c.plane_stress, &c.uniaxial, &c.shape, &c.elem_class, connectivity.data(),
               c.expanded.data(), c.status.data(), &c.freq, &c.dt_scale, &c.bulk_b1,
               c.tri_flag.data());
  return c;
}

TEST(Classification, RepresentativeRows) {
  struct Row {
    const char* what;
    int id, nodes, points;
    int shape, elem_class, ndim, geom_nodes, run_points, p, u, f;
    float tri;
  };
  const Row rows[] = {
      {"CPS4R", 52, 4, 1, 0x2404, 1, 2, 4, 1, 1, 0, 1, 0.0f},
      {"CPE3", 7, 3, 1, 0x2404, 1, 2, 4, 1, 0, 0, 0, 1.0f},
      {"CAX6M", 372, 6, 3, 0x6307, 1, 2, 6, 3, 0, 0, 0, 0.0f},
      {"C3D8", 6, 8, 8, 0x3C08, 1, 3, 8, 1, 0, 0, 1, 0.0f},
      {"C3D6", 43, 6, 2, 0x3C08, 1, 3, 8, 2, 0, 0, 1, 0.0f},
      {"C3D4", 41, 4, 1, 0x3C08, 1, 3, 8, 1, 0, 0, 1, 0.0f},
      {"C3D10M", 374, 10, 4, 0x360B, 1, 3, 10, 4, 0, 0, 1, 0.0f},
      {"T3D2", 1, 2, 1, 0x3202, 1, 3, 2, 1, 0, 1, 0, 0.0f},
      {"M3D4", 152, 4, 4, 0x3404, 1, 3, 4, 4, 1, 0, 1, 0.0f},
      {"S4", 2022, 4, 4, 0x3404, 2, 3, 4, 1, 1, 0, 1, 0.0f},
      {"S3R", 2074, 3, 1, 0x3404, 2, 3, 4, 1, 1, 0, 1, 1.0f},
      {"SC6R", 2076, 6, 1, 0x3404, 2, 3, 8, 1, 1, 0, 0, 1.0f},
      {"SAX1", 2101, 2, 1, 0x6202, 2, 3, 2, 1, 1, 0, 0, 0.0f},
      {"B32", 1102, 3, 2, 0x3203, 3, 3, 3, 2, 0, 1, 0, 0.0f},
      {"AC3D6", 6045, 6, 6, 0x903C08, 4, 3, 8, 6, 0, 0, 0, 0.0f},
      {"ACAX3", 6042, 3, 3, 0x906404, 4, 2, 4, 3, 0, 0, 0, 1.0f},
      {"COH3D6", 3904, 6, 3, 0x1203C08, 1, 3, 8, 3, 0, 0, 0, 0.0f},
      {"COHAX4", 3902, 4, 2, 0x1202404, 1, 2, 4, 2, 0, 0, 0, 0.0f},
  };
  for (const Row& r : rows) {
    const Classified c = classify(r.id, r.nodes, r.points);
    EXPECT_EQ(c.unsupported, 0) << r.what;
    EXPECT_EQ(c.shape, r.shape) << r.what;
    EXPECT_EQ(c.elem_class, r.elem_class) << r.what;
    EXPECT_EQ(c.ndim, r.ndim) << r.what;
    EXPECT_EQ(c.geom_nodes, r.geom_nodes) << r.what;
    EXPECT_EQ(c.run_points, r.run_points) << r.what;
    EXPECT_EQ(c.plane_stress, r.p) << r.what;
    EXPECT_EQ(c.uniaxial, r.u) << r.what;
    EXPECT_EQ(c.freq, r.f) << r.what;
    EXPECT_EQ(c.tri_flag[0], r.tri) << r.what;
    EXPECT_EQ(c.tri_flag[1], r.tri) << r.what;
    EXPECT_EQ(std::bit_cast<std::uint32_t>(c.bulk_b1), 0x3D75C28Fu) << r.what;
  }
  EXPECT_EQ(std::bit_cast<std::uint32_t>(classify(1002, 3, 2).dt_scale), 0x3ED105EBu);
  EXPECT_EQ(classify(1001, 2, 1).dt_scale, 1.0f);
}

// Positions in the connectivity row of the first `count` expanded entries:
// entry k of element e holds 100 * (k + 1) + e, so the position is recoverable.
std::vector<int> expanded_positions(const Classified& c, int n, int count) {
  std::vector<int> p;
  for (int j = 0; j < count; ++j) {
    const int v0 = c.expanded[static_cast<size_t>(n * j)];
    const int v1 = c.expanded[static_cast<size_t>(1 + n * j)];
    EXPECT_EQ(v1, v0 + 1) << "element-fastest with stride " << n;
    p.push_back(v0 / 100);
  }
  return p;
}

TEST(Classification, ExpandedConnectivityOfRepeatedNodeTypes) {
  auto positions = [](const Classified& c, int n) { return expanded_positions(c, n, c.geom_nodes); };
  EXPECT_EQ(positions(classify(4, 3, 1), 2), (std::vector<int>{1, 2, 3, 1}));
  EXPECT_EQ(positions(classify(43, 6, 2), 2), (std::vector<int>{1, 2, 3, 1, 4, 5, 6, 4}));
  EXPECT_EQ(positions(classify(41, 4, 1), 2), (std::vector<int>{2, 3, 1, 2, 2, 4, 1, 2}));
  EXPECT_EQ(positions(classify(6044, 4, 4), 2), (std::vector<int>{2, 3, 1, 2, 2, 4, 1, 2}));
  EXPECT_EQ(positions(classify(6045, 6, 6), 2), (std::vector<int>{1, 2, 3, 1, 4, 5, 6, 4}));
  // Types stored with their own nodes leave the array alone.
  EXPECT_EQ(classify(56, 8, 1).expanded[0], -1);
}

TEST(Classification, PresetGeometryCountThatDiffersIsExpanded) {
  // CPS4R's row keeps the preset geometry node count; a preset that differs
  // from the node count expands every element by the list of the difference,
  // the whole list whatever the preset.
  const Classified tri = classify(52, 4, 1, 2, 5);
  EXPECT_EQ(tri.geom_nodes, 5);
  EXPECT_EQ(expanded_positions(tri, 2, 4), (std::vector<int>{1, 2, 3, 1}));
  EXPECT_EQ(tri.expanded[2 * 4], -1) << "a list of four entries writes four";
  const Classified wedge = classify(52, 4, 1, 2, 6);
  EXPECT_EQ(expanded_positions(wedge, 2, 8), (std::vector<int>{1, 2, 3, 1, 4, 5, 6, 4}));
  const Classified tet = classify(52, 4, 1, 3, 7);
  EXPECT_EQ(expanded_positions(tet, 3, 8), (std::vector<int>{2, 3, 1, 2, 2, 4, 1, 2}));
  EXPECT_EQ(tet.tri_flag[0], 0.0f);
}

TEST(Classification, UnknownIdFailsTheBatch) {
  for (int id : {0, 2, 5, 9999, -1}) {
    const Classified c = classify(id, 4, 1, 3);
    EXPECT_EQ(c.unsupported, 1);
    EXPECT_EQ(c.elem_class, 1);
    EXPECT_EQ(c.shape, 0);
    for (int s : c.status) EXPECT_EQ(s, 4);
  }
}

}  // namespace
