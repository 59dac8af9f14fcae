// Known answers of ARS5 and PHILOX4X32X10 from Random123 (librandom123-dev), the generators'
// published implementation, one block a row:
//
//   make_counter_data > data/counter_kat.txt
//
// Columns: generator, key (4 words; Philox uses the first two), counter (4 words, low first),
// the block's 4 words. Rows are Random123's own known-answer inputs (zero, all ones, the digits
// of pi), then runs of consecutive counters under one key, which the tests read as whole streams:
// one starting below a carry out of the counter's low 64 bits.
#include <Random123/ars.h>
#include <Random123/philox.h>

#include <cstdint>
#include <cstdio>

namespace {

struct Input {
  uint32_t key[4];
  uint32_t ctr[4];
};

// Random123's known-answer inputs.
constexpr Input kSingles[] = {
    {{0, 0, 0, 0}, {0, 0, 0, 0}},
    {{0xffffffff, 0xffffffff, 0xffffffff, 0xffffffff},
     {0xffffffff, 0xffffffff, 0xffffffff, 0xffffffff}},
    {{0xa4093822, 0x299f31d0, 0x082efa98, 0xec4e6c89},
     {0x243f6a88, 0x85a308d3, 0x13198a2e, 0x03707344}},
};

// Runs of consecutive counters: key, first counter, blocks.
struct Run {
  Input start;
  int blocks;
};
constexpr Run kRuns[] = {
    {{{0x12345678, 0x9abcdef0, 0x0badf00d, 0xcafebabe}, {7, 0, 0, 0}}, 300},
    {{{0xdeadbeef, 0x01234567, 0x89abcdef, 0x55aa55aa}, {0xfffffff0, 0xffffffff, 0xffffffff, 3}},
     40},
};

void Row(const char* name, const uint32_t* key, const uint32_t* ctr, const uint32_t* out) {
  std::printf("%s", name);
  for (int i = 0; i < 4; ++i) std::printf(" 0x%08x", key[i]);
  for (int i = 0; i < 4; ++i) std::printf(" 0x%08x", ctr[i]);
  for (int i = 0; i < 4; ++i) std::printf(" 0x%08x", out[i]);
  std::printf("\n");
}

void Both(const Input& in) {
  const philox4x32_ctr_t pc = {{in.ctr[0], in.ctr[1], in.ctr[2], in.ctr[3]}};
  const philox4x32_key_t pk = {{in.key[0], in.key[1]}};
  const philox4x32_ctr_t p = philox4x32_R(10, pc, pk);
  const uint32_t philox_key[4] = {in.key[0], in.key[1], 0, 0};
  Row("philox4x32x10", philox_key, in.ctr, p.v);
  const ars4x32_ctr_t ac = {{in.ctr[0], in.ctr[1], in.ctr[2], in.ctr[3]}};
  const ars4x32_key_t ak = {{in.key[0], in.key[1], in.key[2], in.key[3]}};
  const ars4x32_ctr_t a = ars4x32_R(5, ac, ak);
  Row("ars5", in.key, in.ctr, a.v);
}

}  // namespace

int main() {
  std::printf("# made by make_counter_data.cpp from Random123 %s\n", "1.14");
  std::printf("name k0 k1 k2 k3 c0 c1 c2 c3 w0 w1 w2 w3\n");
  for (const Input& in : kSingles) Both(in);
  for (const Run& run : kRuns) {
    Input in = run.start;
    for (int b = 0; b < run.blocks; ++b) {
      Both(in);
      // The counter plus one, with carry through its words.
      for (int i = 0; i < 4 && ++in.ctr[i] == 0; ++i) {
      }
    }
  }
  return 0;
}
