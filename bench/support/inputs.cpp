#include "support/inputs.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <new>
#include <random>

namespace oxl::bench {

AlignedBuffer::AlignedBuffer(size_t bytes, size_t page_offset) : offset_(page_offset) {
  constexpr size_t kPage = 4096;
  const size_t rounded = (bytes + page_offset + kPage) / kPage * kPage;
  void* p = std::aligned_alloc(kPage, rounded);
  if (p == nullptr) throw std::bad_alloc();
  std::memset(p, 0, rounded);
  base_.reset(static_cast<std::byte*>(p));
}

void AlignedBuffer::Free::operator()(void* p) const { std::free(p); }

uint64_t InputSeed(std::string_view name, int operand) {
  // FNV-1a over the name, then the operand number.
  uint64_t h = 0xcbf29ce484222325ull;
  for (const char c : name) h = (h ^ static_cast<unsigned char>(c)) * 0x100000001b3ull;
  return (h ^ static_cast<uint64_t>(operand)) * 0x100000001b3ull;
}

template <class T>
void FillInputs(const Range& range, uint64_t seed, T* out, int64_t n) {
  // mt19937_64 is defined bit for bit by the C++ standard, so the inputs do not depend on the
  // standard library in use; the top 53 bits make a double in [0, 1).
  std::mt19937_64 gen(seed);
  const bool log = range.log_spaced;
  const double lo = log ? std::log(range.lo) : range.lo;
  const double hi = log ? std::log(range.hi) : range.hi;
  for (int64_t i = 0; i < n; ++i) {
    const double u = static_cast<double>(gen() >> 11) * 0x1p-53;
    const double t = lo + u * (hi - lo);
    out[i] = static_cast<T>(std::clamp(log ? std::exp(t) : t, range.lo, range.hi));
  }
}

template void FillInputs<float>(const Range&, uint64_t, float*, int64_t);
template void FillInputs<double>(const Range&, uint64_t, double*, int64_t);

}  // namespace oxl::bench
