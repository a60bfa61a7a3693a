// The element name catalogue: 62 names, each giving the type id, the number of
// nodes in a connectivity row and the point count of the type's full rule.
// Names compare as blank-padded fixed-length strings: trailing blanks of the
// caller's name never matter, leading blanks and letter case do.
#include <cstring>

#include "interface/interface.hpp"

namespace sti::interface {
namespace {

struct CatalogueRow {
  const char* name;
  int elem_type_id;
  int node_count;
  int point_count;
};

constexpr CatalogueRow kCatalogue[] = {
    {"AC2D3", 6040, 3, 3},   {"AC2D4R", 6012, 4, 1},  {"AC3D4", 6044, 4, 4},
    {"AC3D6", 6045, 6, 6},   {"AC3D8R", 6014, 8, 1},  {"ACAX3", 6042, 3, 3},
    {"ACAX4R", 6013, 4, 1},  {"B21", 1001, 2, 1},     {"B22", 1002, 3, 2},
    {"B31", 1101, 2, 1},     {"B32", 1102, 3, 2},     {"C3D10M", 374, 10, 4},
    {"C3D10MT", 444, 10, 4}, {"C3D4", 41, 4, 1},      {"C3D4T", 415, 4, 1},
    {"C3D6", 43, 6, 2},      {"C3D6T", 416, 6, 2},    {"C3D8", 6, 8, 8},
    {"C3D8I", 6, 8, 8},      {"C3D8R", 56, 8, 1},     {"C3D8RT", 411, 8, 1},
    {"C3D8T", 406, 8, 8},    {"CAX3", 8, 3, 1},       {"CAX3T", 417, 3, 1},
    {"CAX4R", 55, 4, 1},     {"CAX4RT", 412, 4, 1},   {"CAX6M", 372, 6, 3},
    {"CAX6MT", 442, 6, 3},   {"COH2D4", 3901, 4, 2},  {"COH3D6", 3904, 6, 3},
    {"COH3D8", 3903, 8, 4},  {"COHAX4", 3902, 4, 2},  {"CPE3", 7, 3, 1},
    {"CPE3T", 414, 3, 1},    {"CPE4R", 53, 4, 1},     {"CPE4RT", 410, 4, 1},
    {"CPE6M", 371, 6, 3},    {"CPE6MT", 441, 6, 3},   {"CPS3", 4, 3, 1},
    {"CPS3T", 413, 3, 1},    {"CPS4R", 52, 4, 1},     {"CPS4RT", 409, 4, 1},
    {"CPS6M", 370, 6, 3},    {"CPS6MT", 440, 6, 3},   {"M3D3", 151, 3, 1},
    {"M3D4", 152, 4, 4},     {"M3D4R", 161, 4, 1},    {"S3", 2074, 3, 1},
    {"S3R", 2074, 3, 1},     {"S3RS", 2072, 3, 1},    {"S3T", 2074, 3, 1},
    {"S3RT", 2074, 3, 1},    {"S4", 2022, 4, 4},      {"S4R", 2021, 4, 1},
    {"S4RS", 2071, 4, 1},    {"S4RSW", 2073, 4, 1},   {"S4RT", 2021, 4, 1},
    {"SAX1", 2101, 2, 1},    {"SC6R", 2076, 6, 1},    {"SC8R", 2031, 8, 1},
    {"T2D2", 32, 2, 1},      {"T3D2", 1, 2, 1},
};

// Blank-padded equality of two fixed-length strings: the shorter is extended
// with blanks to the length of the longer, then compared byte by byte.
bool blank_padded_equal(const char* a, int a_len, const char* b, int b_len) {
  const int len = a_len > b_len ? a_len : b_len;
  for (int i = 0; i < len; ++i) {
    const char ca = i < a_len ? a[i] : ' ';
    const char cb = i < b_len ? b[i] : ' ';
    if (ca != cb) return false;
  }
  return true;
}

}  // namespace

void type_from_name(int& elem_type_id, int& node_count, int& point_count, int& name_status,
                    const char* name, int name_length) {
  const int length = name_length > 0 ? name_length : 0;
  for (const CatalogueRow& row : kCatalogue) {
    if (blank_padded_equal(name, length, row.name, static_cast<int>(std::strlen(row.name)))) {
      elem_type_id = row.elem_type_id;
      node_count = row.node_count;
      point_count = row.point_count;
      name_status = 0;
      return;
    }
  }
  elem_type_id = 0;
  node_count = 0;
  point_count = 0;
  name_status = 1;
}

}  // namespace sti::interface
