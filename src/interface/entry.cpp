// The public entry: resolves the element name, cuts the elements into batches
// of at most 128 in input order, builds each batch's one-based element-fastest
// connectivity (unless its type reads the caller's rows in place) and
// thickness, runs the batch driver and maps internal statuses to public
// codes. One batch's failure never stops the next.
#include <cstring>

#include "common/numerics.hpp"
#include "interface/batches.hpp"
#include "interface/interface.hpp"
#include "pipeline/pipeline.hpp"
#include "stabletime/stabletime.h"

namespace sti::interface {
namespace {

constexpr int kMaxNodeCount = 10;  // largest connectivity row the call accepts

// The thickness of every element of a batch when the caller gives none.
constexpr struct UnitThickness {
  float value[kBatchCapacity];
  constexpr UnitThickness() : value() {
    for (float& v : value) v = 1.0f;
  }
} kUnitThicknessRow;
constexpr const float* kUnitThickness = kUnitThicknessRow.value;

// Public code of an internal status; the same mapping serves elements and batches.
int public_code(int status) {
  switch (status) {
    case 0: return STI_OK;
    case 3: return STI_SECTION_UNUSABLE;
    case 6:
    case 7:
    case 8: return STI_MATERIAL_UNUSABLE;
    case 4: return STI_TYPE_UNSUPPORTED;
    case 1:
    case 2: return STI_GEOMETRY_DEGENERATE;
    default: return STI_OTHER_FAILURE;
  }
}

void fill_codes(int* element_code, int count, int code) {
  for (int e = 0; e < count; ++e) element_code[e] = code;
}

// One batch's rows turned element-fastest and one-based. With the row length
// known, each row is one contiguous group of loads that the vector unit
// spreads into N unit-stride output streams.
template <int N>
void transpose_rows(const int* STI_RESTRICT rows, int count, int* STI_RESTRICT out) {
  for (int e = 0; e < count; ++e)
#pragma GCC unroll 10
    for (int k = 0; k < N; ++k) out[e + count * k] = rows[e * N + k] + 1;
}

void transpose_rows(const int* STI_RESTRICT rows, int count, int node_count,
                    int* STI_RESTRICT out) {
  switch (node_count) {
    case 2: transpose_rows<2>(rows, count, out); return;
    case 3: transpose_rows<3>(rows, count, out); return;
    case 4: transpose_rows<4>(rows, count, out); return;
    case 6: transpose_rows<6>(rows, count, out); return;
    case 8: transpose_rows<8>(rows, count, out); return;
    case 10: transpose_rows<10>(rows, count, out); return;
    default:
      for (int k = 0; k < node_count; ++k)
        for (int e = 0; e < count; ++e) out[e + count * k] = rows[e * node_count + k] + 1;
  }
}

}  // namespace

int stable_time(const char* elem_name, int node_total, int element_count, const float* node_coords,
                const int* connectivity, int material_code, const float* material_props,
                const float* density, const float* thickness, float bulk_scale,
                const float* section_damping, const float* cohesive_params, float* stable_time,
                int* element_code) {
  (void)node_total;  // the extent of node_coords; node numbers are trusted
  if (element_count < 1) return STI_OTHER_FAILURE;

  const int name_length = static_cast<int>(std::strlen(elem_name));
  int elem_type_id = 0, node_count = 0, point_count = 0, name_status = 0;
  type_from_name(elem_type_id, node_count, point_count, name_status, elem_name, name_length);
  if (name_status != 0) {
    fill_codes(element_code, element_count, STI_TYPE_UNSUPPORTED);
    return STI_TYPE_UNSUPPORTED;
  }

  const float section_area = section_damping ? section_damping[0] : 0.0f;
  const float alpha_damping = section_damping ? section_damping[1] : 0.0f;
  const float beta_damping = section_damping ? section_damping[2] : 0.0f;
  const float no_cohesive_params[2] = {-1.0f, -1.0f};
  const float* cohesive = cohesive_params ? cohesive_params : no_cohesive_params;

  if (node_count > kMaxNodeCount) {
    fill_codes(element_code, element_count, STI_TYPE_UNSUPPORTED);
    return STI_TYPE_UNSUPPORTED;
  }

  int batch_connectivity[kBatchCapacity * kMaxNodeCount];
  int batch_status[kBatchCapacity];  // set by the driver before it reads it
  const int coord_stride = 3;
  const int section_count = 1;
  const int section_skip = 0;
  const float unit_scale = 1.0f;

  // Types that read the rows in place skip the transposed copy.
  const bool in_place = pipeline::reads_rows_in_place(elem_type_id, node_count);

  int overall_code = 0;
  for_each_batch(element_count, [&](int batch_first, int batch_count) {
    const int* rows = connectivity + static_cast<long long>(batch_first) * node_count;
    if (!in_place) transpose_rows(rows, batch_count, node_count, batch_connectivity);
    const float* batch_thickness = thickness ? thickness + batch_first : kUnitThickness;

    int call_status = 0;
    pipeline::run_batch(coord_stride, batch_count, call_status, batch_status,
                        point_count, section_count, node_count, &section_skip, &material_code,
                        elem_type_id, in_place ? nullptr : batch_connectivity, node_coords,
                        batch_thickness, unit_scale, section_area, alpha_damping, beta_damping,
                        bulk_scale, density + batch_first, cohesive, stable_time + batch_first,
                        material_props, in_place ? rows : nullptr);

    int* codes = element_code + batch_first;
    const int batch_code = public_code(call_status);
    if (call_status == 0) {
      fill_codes(codes, batch_count, STI_OK);
    } else {
      // Only failed elements are written; sound ones keep what the caller held.
      bool any_failed = false;
      for (int e = 0; e < batch_count; ++e) {
        if (batch_status[e] != 0) {
          codes[e] = public_code(batch_status[e]);
          any_failed = true;
        }
      }
      if (!any_failed) fill_codes(codes, batch_count, batch_code);
    }
    // Between batches the smallest nonzero code wins; a clean batch never resets it.
    if (batch_code != 0 && (overall_code == 0 || batch_code < overall_code))
      overall_code = batch_code;
  });
  return overall_code;
}

}  // namespace sti::interface
