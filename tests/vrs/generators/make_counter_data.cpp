// Known answers of ARS5 and PHILOX4X32X10 from Random123 (librandom123-dev), the generators'
// published implementation, one block a row:
//
//   make_counter_data > data/counter_kat.txt
//
// Lines of kat_format.py: the seed is the key (Philox's two words, ARS5's four) and the counter
// (4 words, low first). Random123's own known-answer inputs (zero, all ones, the digits of pi) one
// block each, then runs of consecutive counters under one key: one starting below a carry out of
// the counter's low 64 bits.
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

// One known-answer line (kat_format.py): the seed is the key's `key_words` words and the first
// counter; the outputs are `blocks` blocks of consecutive counters.
template <class Block>
void Line(const char* name, const char* case_name, int key_words, Input in, int blocks,
          Block block) {
  std::printf("%s %s %d", name, case_name, key_words + 4);
  for (int i = 0; i < key_words; ++i) std::printf(" 0x%x", in.key[i]);
  for (int i = 0; i < 4; ++i) std::printf(" 0x%x", in.ctr[i]);
  std::printf(" : i 0x0.0p+0 0x0.0p+0 :");
  for (int b = 0; b < blocks; ++b) {
    const auto out = block(in);
    for (int i = 0; i < 4; ++i) std::printf(" 0x%x", out.v[i]);
    // The counter plus one, with carry through its words.
    for (int i = 0; i < 4 && ++in.ctr[i] == 0; ++i) {
    }
  }
  std::printf("\n");
}

void Both(const char* case_name, const Input& in, int blocks) {
  Line("PHILOX4X32X10", case_name, 2, in, blocks, [](const Input& i) {
    const philox4x32_ctr_t c = {{i.ctr[0], i.ctr[1], i.ctr[2], i.ctr[3]}};
    return philox4x32_R(10, c, philox4x32_key_t{{i.key[0], i.key[1]}});
  });
  Line("ARS5", case_name, 4, in, blocks, [](const Input& i) {
    const ars4x32_ctr_t c = {{i.ctr[0], i.ctr[1], i.ctr[2], i.ctr[3]}};
    return ars4x32_R(5, c, ars4x32_key_t{{i.key[0], i.key[1], i.key[2], i.key[3]}});
  });
}

}  // namespace

int main() {
  std::printf("# made by make_counter_data.cpp from Random123 %s\n", "1.14");
  for (const Input& in : kSingles) Both("random123", in, 1);
  for (const Run& run : kRuns) Both("run", run.start, run.blocks);
  return 0;
}
