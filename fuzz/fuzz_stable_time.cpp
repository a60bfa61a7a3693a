// Fuzz target of the public entry. The input bytes are decoded into a call
// that keeps the caller's side of the contract (arrays long enough, node
// numbers inside the node array, non-null required pointers) while everything
// the library must cope with is left to the fuzzer: the name, the element
// count, every float bit pattern, which optional pointers are null, the
// material code and its term counts. Checked on every input: codes are public
// codes or untouched, no write lands outside the output arrays, and a repeated
// call gives the same bits.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "stabletime/pipeline.h"
#include "stabletime/stabletime.h"

namespace {

const char* const kNames[] = {
    "AC2D3",  "AC2D4R", "AC3D4",  "AC3D6",   "AC3D8R", "ACAX3",  "ACAX4R", "B21",    "B22",
    "B31",    "B32",    "C3D10M", "C3D10MT", "C3D4",   "C3D4T",  "C3D6",   "C3D6T",  "C3D8",
    "C3D8I",  "C3D8R",  "C3D8RT", "C3D8T",   "CAX3",   "CAX3T",  "CAX4R",  "CAX4RT", "CAX6M",
    "CAX6MT", "COH2D4", "COH3D6", "COH3D8",  "COHAX4", "CPE3",   "CPE3T",  "CPE4R",  "CPE4RT",
    "CPE6M",  "CPE6MT", "CPS3",   "CPS3T",   "CPS4R",  "CPS4RT", "CPS6M",  "CPS6MT", "M3D3",
    "M3D4",   "M3D4R",  "S3",     "S3R",     "S3RS",   "S3T",    "S3RT",   "S4",     "S4R",
    "S4RS",   "S4RSW",  "S4RT",   "SAX1",    "SC6R",   "SC8R",   "T2D2",   "T3D2"};
constexpr int kNameCount = static_cast<int>(sizeof(kNames) / sizeof(kNames[0]));
const int kMaterialCodes[] = {100, 101, 102, 103, 9001, 105, 107, 109, 118, 119, 125, 126};

constexpr int kMaxElements = 300;
constexpr int kMaxRowNodes = 10;
constexpr int kCanary = 8;               // guard entries on each side of an output
constexpr int kCodeCanary = 0x5A5A5A5A;
constexpr std::uint32_t kDtCanary = 0x7FC0BEEFu;  // a NaN with a payload
constexpr int kUntouched = -777;

// Reads the input as a stream; past its end it starts over, so that every
// input, even an empty one, decodes to a complete call.
class Reader {
 public:
  Reader(const std::uint8_t* data, std::size_t size) : data_(data), size_(size) {}
  std::uint8_t byte() {
    if (size_ == 0) return 0;
    const std::uint8_t b = data_[pos_ % size_];
    ++pos_;
    return b;
  }
  std::uint32_t u32() {
    std::uint32_t v = 0;
    for (int i = 0; i < 4; ++i) v = (v << 8) | byte();
    return v;
  }
  float f32() {
    const std::uint32_t u = u32();
    float f;
    std::memcpy(&f, &u, sizeof f);
    return f;
  }

 private:
  const std::uint8_t* data_;
  std::size_t size_;
  std::size_t pos_ = 0;
};

// A name: mostly a catalogue name, otherwise a malformed one (blank tail,
// lower case, junk characters, a catalogue name with a suffix, empty).
std::string decode_name(Reader& in) {
  const std::uint8_t pick = in.byte();
  std::string name = kNames[pick % kNameCount];
  switch (pick >> 5) {
    case 5: name.append(in.byte() % 40, ' '); break;
    case 6: {
      const int n = in.byte() % 24;
      name.clear();
      for (int i = 0; i < n; ++i) {
        char c = static_cast<char>(in.byte());
        name.push_back(c == 0 ? ' ' : c);
      }
      break;
    }
    case 7:
      if (in.byte() & 1) name[0] = static_cast<char>(name[0] | 0x20);
      else name += static_cast<char>('A' + in.byte() % 26);
      break;
    default: break;
  }
  return name;
}

int node_count_of(const std::string& name) {
  int id = 0, nodes = 0, points = 0, status = 0;
  const int length = static_cast<int>(name.size());
  sti_ele_typefromname(&id, &nodes, &points, &status, name.data(), &length);
  return status == 0 ? nodes : kMaxRowNodes;
}

bool public_code(int c) {
  return c == 0 || c == 100 || c == 200 || c == 300 || c == 400 || c == 999;
}

[[noreturn]] void fail(const char* what) {
  std::fprintf(stderr, "fuzz_stable_time: %s\n", what);
  std::abort();
}

struct Outputs {
  std::vector<float> dt;
  std::vector<int> code;
  explicit Outputs(int count)
      : dt(static_cast<std::size_t>(count + 2 * kCanary)),
        code(static_cast<std::size_t>(count + 2 * kCanary), kUntouched) {
    float canary;
    std::memcpy(&canary, &kDtCanary, sizeof canary);
    for (float& v : dt) v = canary;
    for (int i = 0; i < kCanary; ++i) {
      code[static_cast<std::size_t>(i)] = kCodeCanary;
      code[code.size() - 1 - static_cast<std::size_t>(i)] = kCodeCanary;
    }
  }
  float* dt_out() { return dt.data() + kCanary; }
  int* code_out() { return code.data() + kCanary; }
  void check(int count) const {
    for (int i = 0; i < kCanary; ++i) {
      const std::size_t lo = static_cast<std::size_t>(i);
      const std::size_t hi = dt.size() - 1 - lo;
      std::uint32_t a, b;
      std::memcpy(&a, &dt[lo], sizeof a);
      std::memcpy(&b, &dt[hi], sizeof b);
      if (a != kDtCanary || b != kDtCanary) fail("stable_time written outside its entries");
      if (code[lo] != kCodeCanary || code[hi] != kCodeCanary)
        fail("element_code written outside its entries");
    }
    for (int e = 0; e < count; ++e) {
      const int c = code[static_cast<std::size_t>(e + kCanary)];
      if (!public_code(c) && c != kUntouched) fail("element code outside the public codes");
    }
  }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Reader in(data, size);
  const std::string name = decode_name(in);
  const int row_nodes = node_count_of(name);
  int count = static_cast<int>((in.byte() << 8 | in.byte()) % (kMaxElements + 1));
  const std::uint8_t flags = in.byte();
  if ((flags & 0x80) && (flags & 0x40)) count = -count - (flags & 0x3F);

  const int rows = count > 0 ? count : 0;
  const int node_total = 1 + in.byte() % 64;
  std::vector<float> nodes(static_cast<std::size_t>(3 * node_total));
  for (float& v : nodes) v = (flags & 0x20) ? in.f32() : static_cast<float>(in.byte() % 5);
  std::vector<int> connectivity(static_cast<std::size_t>(rows * row_nodes) + 1);
  for (int& n : connectivity) n = in.byte() % node_total;

  const std::uint8_t mat = in.byte();
  const int material_code = mat < 240 ? kMaterialCodes[mat % 12] : static_cast<int>(in.u32());
  std::vector<float> props(32);
  for (float& v : props) v = in.f32();
  if (material_code == 105 || material_code == 107 || material_code == 109) {
    // Term count N in entry 0: the caller provides entries up to 2N+1+N.
    const int terms = static_cast<int>(in.byte() % 12) - 3;
    const float fraction = (in.byte() & 1) ? 0.75f : 0.0f;
    props[0] = static_cast<float>(terms) + (terms < 0 ? -fraction : fraction);
    if (terms > 0) props.resize(static_cast<std::size_t>(3 * terms + 2) + 32, 1.0f);
  }

  std::vector<float> density(static_cast<std::size_t>(rows) + 1);
  std::vector<float> thickness(static_cast<std::size_t>(rows) + 1);
  for (int e = 0; e < rows; ++e) {
    density[static_cast<std::size_t>(e)] = (flags & 0x10) ? in.f32() : 1.0f + in.byte();
    thickness[static_cast<std::size_t>(e)] = (flags & 0x08) ? in.f32() : 0.5f;
  }
  const float bulk_scale = in.f32();
  const float section_damping[3] = {in.f32(), in.f32(), in.f32()};
  const float cohesive_params[2] = {in.f32(), in.f32()};
  const std::uint8_t nulls = in.byte();
  const float* thickness_arg = (nulls & 1) ? nullptr : thickness.data();
  const float* section_arg = (nulls & 2) ? nullptr : section_damping;
  const float* cohesive_arg = (nulls & 4) ? nullptr : cohesive_params;

  Outputs first(rows), second(rows);
  const int code1 = sti_StableTime(name.c_str(), node_total, count, nodes.data(),
                                   connectivity.data(), material_code, props.data(),
                                   density.data(), thickness_arg, bulk_scale, section_arg,
                                   cohesive_arg, first.dt_out(), first.code_out());
  first.check(rows);
  if (!public_code(code1)) fail("call code outside the public codes");
  const int code2 = sti_StableTime(name.c_str(), node_total, count, nodes.data(),
                                   connectivity.data(), material_code, props.data(),
                                   density.data(), thickness_arg, bulk_scale, section_arg,
                                   cohesive_arg, second.dt_out(), second.code_out());
  second.check(rows);
  if (code1 != code2 || first.code != second.code ||
      std::memcmp(first.dt.data(), second.dt.data(), first.dt.size() * sizeof(float)) != 0)
    fail("a repeated call gave different bits");
  return 0;
}
