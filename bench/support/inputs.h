// Aligned arrays and the deterministic inputs that fill them.
#ifndef OXL_BENCH_SUPPORT_INPUTS_H
#define OXL_BENCH_SUPPORT_INPUTS_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>

#include "support/array_bench.h"

namespace oxl::bench {

// Bytes that start `page_offset` bytes past a 4 KiB boundary. Arrays of one benchmark get offsets a
// quarter or half page apart: when an input and the output sit at the same offset within their
// pages, a load issued shortly after a store to the other array looks like a reload of that store
// to the processor (4K aliasing) and waits for it, which would slow every contestant in cache.
// A multiple of 64 as offset keeps vectors whole within cache lines. Fresh buffers are zeroed,
// which also maps their pages before timing.
class AlignedBuffer {
 public:
  AlignedBuffer() = default;
  AlignedBuffer(size_t bytes, size_t page_offset);

  template <class T>
  T* As() const {
    return reinterpret_cast<T*>(base_.get() + offset_);
  }

 private:
  struct Free {
    void operator()(void* p) const;
  };
  std::unique_ptr<std::byte, Free> base_;
  size_t offset_ = 0;
};

// Seed of the inputs of operand `operand` of function `name`: a hash of both, so that a function
// gets the same inputs in every run and whichever contestant asks.
uint64_t InputSeed(std::string_view name, int operand);

// Writes n values drawn from `range` (see Range) by a 64-bit generator started at `seed`. Values
// are computed in double and rounded to T.
template <class T>
void FillInputs(const Range& range, uint64_t seed, T* out, int64_t n);

}  // namespace oxl::bench

#endif  // OXL_BENCH_SUPPORT_INPUTS_H
