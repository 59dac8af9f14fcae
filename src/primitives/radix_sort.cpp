// Least-significant-digit radix sorts, in place and by index, ascending and descending.
//
// One read turns every element into its key and counts the digits of all passes at once
// (radix_count.cpp); each pass then is one read and one scattered write, stable, so that after the
// last pass the keys are in order and equal keys in input order. The counters are 32-bit words on
// the stack: a sort allocates nothing.
//
// Elements are handled as unsigned words of their width; the words of a float array are read as
// integers only between the entry and its return, where the caller's code cannot look.
#include <cstring>
#include <utility>

#include "oxl/primitives.h"
#include "primitives/radix_keys.h"

namespace oxl::primitives {
namespace {

// Turns each histogram into running sums that start at -1: a scatter pre-increments the counter of
// its digit and stores there, so equal digits land in ascending positions (stability).
template <class U>
void RunningSums(uint32_t* counts) {
  constexpr Digits digits = kDigits<U>;
  for (int p = 0; p < digits.passes; ++p) {
    uint32_t* histogram = counts + digits.base[p];
    uint32_t sum = ~uint32_t{0};
    for (int b = 0; b < (1 << digits.width[p]); ++b) {
      const uint32_t count = histogram[b];
      histogram[b] = sum;
      sum += count;
    }
  }
}

// The digit of one pass: where it stands in the key and how wide it is, read once per pass.
template <class U>
struct Digit {
  int shift;
  U mask;
  Digit(int pass)
      : shift(kDigits<U>.shift[pass]), mask(static_cast<U>((U{1} << kDigits<U>.width[pass]) - 1)) {}
  U operator()(U k) const { return static_cast<U>((k >> shift) & mask); }
};

// One pass over keys. The last pass stores the elements themselves (the key map undone).
template <class U, bool kLast>
void ScatterKeys(const U* __restrict src, U* __restrict dst, size_t n, int pass, KeyMap<U> map,
                 uint32_t* __restrict counts) {
  uint32_t* histogram = counts + kDigits<U>.base[pass];
  const Digit<U> digit(pass);
  for (size_t i = 0; i < n; ++i) {
    const U k = src[i];
    dst[++histogram[digit(k)]] = kLast ? FromKey(k, map) : k;
  }
}

template <class U>
void SortInPlace(U* data, U* scratch, size_t n, KeyMap<U> map) {
  constexpr Digits digits = kDigits<U>;
  uint32_t counts[digits.counters] = {};
  KeyAndCount(data, n, map, counts);
  RunningSums<U>(counts);
  U* from = data;
  U* to = scratch;
  for (int p = 0; p + 1 < digits.passes; ++p) {
    ScatterKeys<U, false>(from, to, n, p, map, counts);
    std::swap(from, to);
  }
  ScatterKeys<U, true>(from, to, n, digits.passes - 1, map, counts);
  // An odd number of passes ends in the scratch.
  if (to != data) std::memcpy(data, to, n * sizeof(U));
}

// The key of element i of a strided key array.
template <class U>
inline U StridedKey(const unsigned char* keys, size_t stride, size_t i, KeyMap<U> map) {
  U u;
  std::memcpy(&u, keys + i * stride, sizeof(U));
  return ToKey(u, map);
}

// Index sort: the keys stay where they are and are mapped again at every pass, which is cheaper
// than a copy of the keys when the stride spreads them over more cache lines than the indices.
// The first pass writes the buffer that makes the last one end in the index array.
template <class U>
void SortIndex(const unsigned char* keys, size_t stride, int32_t* index, int32_t* scratch, size_t n,
               KeyMap<U> map) {
  constexpr Digits digits = kDigits<U>;
  uint32_t counts[digits.counters] = {};
  for (size_t i = 0; i < n; ++i) CountKey(StridedKey(keys, stride, i, map), counts);
  RunningSums<U>(counts);
  int32_t* to = digits.passes % 2 == 1 ? index : scratch;
  int32_t* other = to == index ? scratch : index;
  const Digit<U> first(0);
  for (size_t i = 0; i < n; ++i) {
    to[++counts[first(StridedKey(keys, stride, i, map))]] = static_cast<int32_t>(i);
  }
  for (int p = 1; p < digits.passes; ++p) {
    std::swap(to, other);
    uint32_t* histogram = counts + digits.base[p];
    const Digit<U> digit(p);
    for (size_t j = 0; j < n; ++j) {
      const int32_t i = other[j];
      to[++histogram[digit(StridedKey(keys, stride, static_cast<size_t>(i), map))]] = i;
    }
  }
}

template <class T, class U, KeyKind kKind, bool kDescend>
int32_t SortEntry(T* data, T* scratch, int32_t len) {
  if (data == nullptr || scratch == nullptr) return OXL_PRIM_STATUS_NULL_POINTER;
  if (len < 1) return OXL_PRIM_STATUS_BAD_LENGTH;
  SortInPlace(reinterpret_cast<U*>(data), reinterpret_cast<U*>(scratch), static_cast<size_t>(len),
              MakeKeyMap<U>(kKind, kDescend));
  return OXL_PRIM_STATUS_OK;
}

template <class T, class U, KeyKind kKind, bool kDescend>
int32_t IndexSortEntry(const T* keys, int32_t stride, int32_t* index, int32_t* scratch,
                       int32_t len) {
  if (keys == nullptr || index == nullptr || scratch == nullptr) {
    return OXL_PRIM_STATUS_NULL_POINTER;
  }
  if (len < 1 || stride < static_cast<int32_t>(sizeof(T))) return OXL_PRIM_STATUS_BAD_LENGTH;
  SortIndex(reinterpret_cast<const unsigned char*>(keys), static_cast<size_t>(stride), index,
            scratch, static_cast<size_t>(len), MakeKeyMap<U>(kKind, kDescend));
  return OXL_PRIM_STATUS_OK;
}

}  // namespace
}  // namespace oxl::primitives

using oxl::primitives::IndexSortEntry;
using oxl::primitives::KeyKind;
using oxl::primitives::SortEntry;

#define OXL_PRIM_DEFINE_SORT(tag, T, U, kind)                                             \
  int32_t oxl_dft_avx2_pvksSortRadixAscend_##tag##_I(T* data, T* scratch, int32_t len) {  \
    return SortEntry<T, U, KeyKind::kind, false>(data, scratch, len);                     \
  }                                                                                       \
  int32_t oxl_dft_avx2_pvksSortRadixDescend_##tag##_I(T* data, T* scratch, int32_t len) { \
    return SortEntry<T, U, KeyKind::kind, true>(data, scratch, len);                      \
  }
#define OXL_PRIM_DEFINE_INDEX_SORT(tag, T, U, kind)                                       \
  int32_t oxl_dft_avx2_pvksSortRadixIndexAscend_##tag(                                    \
      const T* keys, int32_t stride, int32_t* index, int32_t* scratch, int32_t len) {     \
    return IndexSortEntry<T, U, KeyKind::kind, false>(keys, stride, index, scratch, len); \
  }                                                                                       \
  int32_t oxl_dft_avx2_pvksSortRadixIndexDescend_##tag(                                   \
      const T* keys, int32_t stride, int32_t* index, int32_t* scratch, int32_t len) {     \
    return IndexSortEntry<T, U, KeyKind::kind, true>(keys, stride, index, scratch, len);  \
  }

// Every type has both sorts, but for 64f, which the index sorts leave out.
#define OXL_PRIM_DEFINE_SORTS(tag, T, U, kind) \
  OXL_PRIM_DEFINE_SORT(tag, T, U, kind)        \
  OXL_PRIM_DEFINE_INDEX_SORT(tag, T, U, kind)

extern "C" {
OXL_PRIM_DEFINE_SORTS(8u, uint8_t, uint8_t, kUnsigned)
OXL_PRIM_DEFINE_SORTS(16s, int16_t, uint16_t, kSigned)
OXL_PRIM_DEFINE_SORTS(16u, uint16_t, uint16_t, kUnsigned)
OXL_PRIM_DEFINE_SORTS(32s, int32_t, uint32_t, kSigned)
OXL_PRIM_DEFINE_SORTS(32u, uint32_t, uint32_t, kUnsigned)
OXL_PRIM_DEFINE_SORTS(32f, float, uint32_t, kFloat)
OXL_PRIM_DEFINE_SORT(64f, double, uint64_t, kFloat)
}
