// The element name catalogue: the names of the element table, each giving the
// type id, the number of nodes in a connectivity row and the point count of
// the type's full rule.
// Names compare as blank-padded fixed-length strings: trailing blanks of the
// caller's name never matter, leading blanks and letter case do.
#include <cstring>

#include "interface/interface.hpp"
#include "pipeline/element_table.hpp"

namespace sti::interface {
namespace {

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
  for (const pipeline::ElementType& row : pipeline::kElementTypes) {
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
