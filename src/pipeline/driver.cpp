// The batch driver: initialises the per-element state, classifies the type,
// tabulates the integration rules, gathers the coordinates and runs the stages
// (geometry, effective moduli, time increment) point by point, keeping each
// element's minimum. All working memory is private to the call.
#include "common/numerics.hpp"
#include "acoustic/acoustic.hpp"
#include "beam/beam.hpp"
#include "material/material.hpp"
#include "pipeline/element_table.hpp"
#include "pipeline/pipeline.hpp"

namespace sti::pipeline {
namespace {

constexpr int kTenNodePoints = 15;    // ten-node tetrahedron with its five derived points
constexpr int kMaxGatheredNodes = 8;  // any other type, repeated nodes included
constexpr int kPairPoints = 4;        // mid-surface points of a directional gather
constexpr int kMaxExpandedNodes = 8;  // wedge or tetrahedron stored as a hexahedron
constexpr int kFreqColumns = 5;
constexpr int kRuleEntries = 88;
constexpr int kRuleWeights = 8;

// Gathered coordinates of every type but the ten-node tetrahedron: at most
// eight nodes, or four mid-surface points followed by their four half
// differences; then the shape's own geometry arrays. The expanded connectivity
// is read only by the gather, before the point loop needs those arrays, so the
// two share their storage.
struct GatheredWork {
  float coords[kBatchCapacity * kMaxGatheredNodes * 3];
  union {
    int expanded_connectivity[kBatchCapacity * kMaxExpandedNodes];
    ShapeWork shape;
  };
};
static_assert(2 * kPairPoints * 3 <= kMaxGatheredNodes * 3);

// Driver working arrays, sized for a full batch; element-fastest, stride
// batch_count. The ten-node tetrahedron's fifteen points need no shape arrays
// (its pieces are read in place), so they share their storage with the
// other types' coordinates and shape arrays.
struct BatchWork {
  union {
    float ten_node_coords[kBatchCapacity * kTenNodePoints * 3];
    GatheredWork gathered;
  };
  float work_a[kBatchCapacity];
  float work_b[kBatchCapacity];
  float tri_flag[kBatchCapacity];
  float element_mass[kBatchCapacity];
  float lsq[kBatchCapacity];
  float freq[kBatchCapacity * kFreqColumns];
  float two_g[kBatchCapacity];
  float three_k[kBatchCapacity];
  float wave_modulus[kBatchCapacity];
  float point_dt[kBatchCapacity];
  int modulus_status[kBatchCapacity];  // what the moduli stage set: 0 (kept), 7 or 8
  float rule_n[kRuleEntries];
  float rule_dn1[kRuleEntries];
  float rule_dn2[kRuleEntries];
  float rule_w[kRuleWeights];
};

// stable_time[e] = min(stable_time[e], point_dt[e] * dt_scale), read in the
// written order: a NaN on either side gives way to the scaled point value.
void keep_scaled_minimum(int n, const float* point_dt, float dt_scale, float* stable_time) {
  for (int e = 0; e < n; ++e) stable_time[e] = min_of(stable_time[e], point_dt[e] * dt_scale);
}

// The status of the batch's last failed element, 0 where none failed: a
// quick test whether any failed, then a scan back from the end.
int last_failure(int n, const int* elem_status) {
  int any_failed = 0;
  for (int e = 0; e < n; ++e) any_failed |= elem_status[e];
  if (any_failed == 0) return 0;
  for (int e = n - 1; e >= 0; --e) {
    if (elem_status[e] != 0) return elem_status[e];
  }
  return 0;
}

}  // namespace

bool reads_rows_in_place(int elem_type_id, int node_count) {
  const ElementType* type = find_type(elem_type_id);
  if (type == nullptr || type->node_count != node_count) return false;
  // Solids gathered from their catalogue nodes: classification expands no list.
  if (type->gather == Gather::kCorners) return true;
  if (type->gather == Gather::kSolid || type->gather == Gather::kTenNode)
    return type->geom_node_count == 0;
  if (type->gather != Gather::kPlain || type->geom_node_count != 0) return false;
  const int shape = type->shape_code;
  return shape == 0x2404 || shape == 0x6404 || shape == 0x3202 || shape == 0x2202;
}

void run_batch(int coord_stride, int n, int& call_status, int* STI_RESTRICT elem_status,
               int point_count, int section_count, int node_count,
               const int* STI_RESTRICT section_skip, const int* STI_RESTRICT material_code,
               int elem_type_id, const int* STI_RESTRICT connectivity,
               const float* STI_RESTRICT node_coords, const float* STI_RESTRICT thickness,
               float unit_scale, float section_area, float alpha_damping, float beta_damping,
               float bulk_scale, const float* STI_RESTRICT density,
               const float* STI_RESTRICT cohesive_params, float* STI_RESTRICT stable_time,
               const float* STI_RESTRICT material_props, const int* STI_RESTRICT rows) {
  BatchWork w;

  // The type's row; classification below fails the batch of an id that has
  // none.
  const ElementType* type = find_type(elem_type_id);

  // 1. Initial state; a density that does not compare above zero is status 6,
  //    a NaN density passes. A line element (section-scaled moduli, the bar
  //    wave, no frequency data, no triangles) reads neither the frequency
  //    columns, the triangle flags nor 2G and 3K, so those stay unset there.
  const bool line_element =
      type != nullptr && (type->flags & kU) != 0 && (type->flags & (kP | kF | kT)) == 0;
  const bool beam = type != nullptr && type->elem_class == 3;
  // Solids whose geometry writes the mass, the length term and (continuum
  // ones) the first frequency column for every element before anything reads
  // them, and whose later stages read neither the second column, the triangle
  // flags nor 2G and 3K: the acoustic hexahedron, and continuum solids of the
  // wave increment with the fused face-area measure of their face family
  // (hexahedra gathered whole, tetrahedra and wedges from their corners)
  // whose first section is not skipped.
  const bool solid_writes_all =
      type != nullptr &&
      ((type->elem_class == 4 && type->shape_code == 0x903C08) ||
       (type->elem_class == 1 && type->shape_code == 0x3C08 && (type->flags & kF) != 0 &&
        (type->flags & kP) == 0 && section_count >= 1 && section_skip[0] == 0 &&
        ((type->face == Face::kHexahedron && type->gather == Gather::kSolid) ||
         (type->face == Face::kTetrahedron && type->gather == Gather::kCorners &&
          node_count == 4) ||
         (type->face == Face::kWedge && type->gather == Gather::kCorners && node_count == 6))));
  for (int e = 0; e < n; ++e) {
    stable_time[e] = kLargestFloat;
    w.point_dt[e] = kUnsetPointDt;
    w.wave_modulus[e] = 0.0f;
    elem_status[e] = 0.0f >= density[e] ? 6 : 0;
  }
  if (!line_element && !solid_writes_all) {
    for (int e = 0; e < n; ++e) {
      w.freq[e] = 0.0f;
      w.freq[n + e] = 0.0f;
      w.tri_flag[e] = 0.0f;
      // The moduli stage leaves 2G and 3K unwritten for an unknown material
      // code (and for a modulus tensor); the increment stage may still read
      // them for failed elements before discarding what it computed.
      w.two_g[e] = 0.0f;
      w.three_k[e] = 0.0f;
    }
  }

  // 2. Cohesive switches.
  const int coh_flag = cohesive_params[0] > 0.0f ? 1 : 0;
  const float coh_value = cohesive_params[1];

  // 3. Integration table request, from the type's row.
  const int rule_family = 2;
  const int rule_kind = type ? type->rule_kind : 0;
  const int rule_nodes = type && type->rule_nodes != 0 ? type->rule_nodes : node_count;

  // 4. Classification.
  int geom_node_count = node_count, ndim = 2, run_point_count = point_count;
  int unsupported = 0, plane_stress_flag = 0, uniaxial_flag = 0, shape_code = 0, freq_flag = 0;
  int elem_class = 1;
  float dt_scale = 1.0f, bulk_b1 = 0.0f;
  call_status = 0;
  //    A type gathered without its repeated corners needs no expanded list.
  const bool corners = type != nullptr && type->gather == Gather::kCorners;
  classify(n, node_count, geom_node_count, ndim, run_point_count, elem_type_id, unsupported,
           plane_stress_flag, uniaxial_flag, shape_code, elem_class, connectivity,
           corners ? nullptr : w.gathered.expanded_connectivity, elem_status, freq_flag, dt_scale,
           bulk_b1, w.tri_flag);

  // 5. A type without a classification fails the whole batch.
  if (unsupported != 0) {
    call_status = elem_status[0];
    return;
  }

  // 6. Bulk viscosity fraction.
  bulk_b1 = bulk_b1 * bulk_scale;

  // Moduli scale of the point loop of continuum, truss, membrane, cohesive and
  // shell elements; beams scale by the section area.
  const float modulus_scale = elem_class == 1 && uniaxial_flag != 0 ? section_area : unit_scale;

  // Straight two-node elements at their one point (trusses of one section,
  // two-node beams) gather and measure their chords only.
  const bool straight_line =
      line_element && node_count == 2 && geom_node_count == 2 && run_point_count == 1 &&
      plane_stress_flag == 0 && ndim == (shape_code == 0x3202 ? 3 : 2) &&
      (shape_code == 0x3202 || shape_code == 0x2202) &&
      (elem_class == 3 || (elem_class == 1 && section_count == 1 && section_skip[0] == 0));
  if (straight_line) {
    const LineWork line{w.gathered.coords, w.element_mass, w.lsq,         w.freq,
                        w.two_g,           w.three_k,      w.wave_modulus};
    const bool truss = elem_class == 1;
    two_node_line_batch(n, ndim, coord_stride, material_code[0], connectivity, rows, node_coords,
                        thickness, section_area, truss ? modulus_scale : section_area,
                        alpha_damping, beta_damping, bulk_b1, density, material_props, line,
                        elem_status, truss ? stable_time : w.point_dt);
    if (!truss) keep_scaled_minimum(n, w.point_dt, dt_scale, stable_time);
    call_status = last_failure(n, elem_status);
    return;
  }
  // The mass and length term start at zero; a beam's measure writes both for
  // every element.
  if (!beam && !solid_writes_all) {
    for (int e = 0; e < n; ++e) {
      w.element_mass[e] = 0.0f;
      w.lsq[e] = 0.0f;
    }
  }

  // 7. Rule tables, from the catalogue's point count.
  full_integration_rule(rule_kind, rule_family, rule_nodes, point_count, w.rule_n, w.rule_dn1,
                        w.rule_dn2, w.rule_w);

  // 8. Gather, into the place of this type's coordinates. A directional
  //    gather's half differences follow its four points.
  float* coords_g = type->gather == Gather::kTenNode ? w.ten_node_coords : w.gathered.coords;
  float* coords_d = w.gathered.coords + kBatchCapacity * kPairPoints * 3;
  const GeometryWork geometry{w.work_a, w.work_b, &w.gathered.shape, corners ? node_count : 0,
                              true};
  const int* geometry_connectivity =
      geom_node_count == node_count ? connectivity : w.gathered.expanded_connectivity;
  if (type->gather == Gather::kSolidPairs) {
    const int direction = 3;
    gather_solid_pairs(n, ndim, coord_stride, direction, geometry_connectivity, coords_g, coords_d,
                       node_coords);
  } else if (type->gather == Gather::kPlanarPairs) {
    const int direction = 2;
    gather_planar_pairs(n, ndim, coord_stride, direction, connectivity, coords_g, coords_d,
                        node_coords);
  } else if (type->gather == Gather::kTenNode) {
    gather_tet10(n, coord_stride, connectivity, coords_g, node_coords, rows);
  } else if ((corners || type->gather == Gather::kSolid) && rows != nullptr) {
    gather_solid_rows(n, node_count, ndim, coord_stride, rows, coords_g, node_coords);
  } else if (corners) {
    gather_solid(n * node_count, ndim, coord_stride, connectivity, coords_g, node_coords);
  } else if (type->gather == Gather::kSolid) {
    gather_solid(n * geom_node_count, ndim, coord_stride, geometry_connectivity, coords_g,
                 node_coords);
  } else if (rows != nullptr) {
    gather_rows(n, node_count, ndim, coord_stride, rows, coords_g, node_coords);
  } else {
    const int value_count = n * geom_node_count;
    gather(value_count, ndim, coord_stride, geometry_connectivity, coords_g, node_coords);
  }

  // 9. The loop of the driver class.
  const float* thick = thickness;
  // The moduli depend on the material, the section and the thickness, not on
  // the point: with several points they are computed at a section's first
  // point only, and at every point the statuses they set (7 or 8, whatever
  // the element held) are set again over what the geometry left.
  auto moduli_of_point = [&](int point_index, int code, float scale) {
    if (run_point_count == 1) {
      material::effective_moduli(n, ndim, elem_status, code, plane_stress_flag, uniaxial_flag,
                                 scale, thickness, w.two_g, w.three_k, w.wave_modulus,
                                 material_props);
      return;
    }
    if (point_index == 1) {
      for (int e = 0; e < n; ++e) w.modulus_status[e] = 0;
      material::effective_moduli(n, ndim, w.modulus_status, code, plane_stress_flag,
                                 uniaxial_flag, scale, thickness, w.two_g, w.three_k,
                                 w.wave_modulus, material_props);
    }
    for (int e = 0; e < n; ++e)
      elem_status[e] = w.modulus_status[e] != 0 ? w.modulus_status[e] : elem_status[e];
  };

  if (elem_class == 1 || elem_class == 2) {
    // Continuum, truss, membrane, cohesive (1) and shells (2). The very first
    // point writes the result directly, unscaled; later ones through point_dt.
    const int sections = elem_class == 1 ? section_count : 1;
    for (int section_index = 1; section_index <= sections; ++section_index) {
      for (int point_index = 1; point_index <= run_point_count; ++point_index) {
        element_geometry(n, point_index, run_point_count, section_index, elem_type_id, elem_status,
                         shape_code, section_skip[section_index - 1], coh_flag, freq_flag,
                         w.tri_flag, coords_g, coords_d, w.element_mass, thick, &coh_value,
                         &section_area, density, w.lsq, w.freq, w.rule_n, w.rule_dn1, w.rule_dn2,
                         w.rule_w, geometry);
        moduli_of_point(point_index, material_code[section_index - 1], modulus_scale);
        const bool first = section_index == 1 && point_index == 1;
        material::element_dt(n, plane_stress_flag, elem_status, freq_flag, alpha_damping,
                             beta_damping, bulk_b1, w.lsq, w.freq, w.two_g, w.three_k,
                             w.wave_modulus, w.element_mass, first ? stable_time : w.point_dt);
        if (!first) keep_scaled_minimum(n, w.point_dt, dt_scale, stable_time);
      }
    }
  } else if (elem_class == 3) {
    // Beams: every point, the first too, through point_dt and dt_scale.
    for (int point_index = 1; point_index <= run_point_count; ++point_index) {
      beam::beam_geometry(n, point_index, elem_status, shape_code, coords_g, w.element_mass,
                          section_area, density, w.lsq);
      moduli_of_point(point_index, material_code[0], section_area);
      material::element_dt(n, plane_stress_flag, elem_status, freq_flag, alpha_damping,
                           beta_damping, bulk_b1, w.lsq, w.freq, w.two_g, w.three_k,
                           w.wave_modulus, w.element_mass, w.point_dt);
      keep_scaled_minimum(n, w.point_dt, dt_scale, stable_time);
    }
  } else if (elem_class == 4) {
    // Acoustic: no point loop and no moduli.
    acoustic::element_length(n, elem_status, shape_code, w.tri_flag, coords_g, w.element_mass,
                             w.lsq);
    acoustic::increment(n, elem_status, density, w.lsq, stable_time, material_props);
  }

  // 10. The batch reports the status of its last failed element.
  call_status = last_failure(n, elem_status);
}

}  // namespace sti::pipeline
