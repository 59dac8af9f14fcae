// Least-significant-digit radix sorts, in place and by index, ascending and descending.
//
// One read turns every element into its key and counts the digits of all passes at once
// (radix_count.cpp); each pass then is one read and one scattered write, stable, so that after the
// last pass the keys are in order and equal keys in input order. The in-place sorts skip the passes
// whose digit is the same in every key and send spread digits through cache-line buffers. The
// counters and the line buffers live on the stack: a sort allocates nothing.
//
// Elements are handled as unsigned words of their width; the words of a float array are read as
// integers only between the entry and its return, where the caller's code cannot look.
#include <algorithm>
#include <cstring>
#if defined(__SSE2__)
#include <emmintrin.h>
#endif
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

// How a pass scatters, read from its histogram. A pass whose digit is the same in every key leaves
// the order as it is (the top digits of doubles often repeat). A digit that puts many keys in one
// bucket (the exponent bits of most data) writes to few places at a time, which the caches take
// well; the line buffers would only add a reload of lines whose stores have not yet left the core.
// Spread digits go through the line buffers, except for arrays too short to fill them.
enum class Scatter { kNone, kDirect, kLines };

template <class U>
Scatter ChooseScatter(const uint32_t* counts, int pass, size_t n) {
  const uint32_t* histogram = counts + kDigits<U>.base[pass];
  const int buckets = 1 << kDigits<U>.width[pass];
  uint32_t most = 0;
  for (int b = 0; b < buckets; ++b) most = std::max(most, histogram[b]);
  if (most == n) return Scatter::kNone;
  return most > n / 16 || n < static_cast<size_t>(buckets) ? Scatter::kDirect : Scatter::kLines;
}

constexpr size_t kLineBytes = 64;

// Writes one whole aligned line around the caches: the line is not read first, and the scatter's
// destination, read again only by the next pass, does not push the buffers out of L1 and L2.
inline void StoreLine(void* dst, const void* line) {
#if defined(__SSE2__)
  auto* to = static_cast<__m128i*>(dst);
  const auto* from = static_cast<const __m128i*>(line);
  for (int j = 0; j < 4; ++j) _mm_stream_si128(to + j, _mm_load_si128(from + j));
#else
  std::memcpy(dst, line, kLineBytes);
#endif
}

// Software write combining: a scatter collects the elements of each bucket in a buffer of one
// cache line and writes it out whole once it fills, so that the destination sees full-line stores
// in a few streams instead of one store per element spread over 2048 lines (each a likely cache and
// TLB miss). Slots follow the destination's line boundaries, so a full buffer is exactly one
// aligned line of the destination; only the first line of a bucket (shared with the bucket below)
// and the last (flushed after the loop) are written in part.
template <class V, int kBuckets>
struct LineBuffers {
  static constexpr size_t kSlots = kLineBytes / sizeof(V);
  alignas(kLineBytes) V slots[kBuckets][kSlots];
  uint32_t first[kBuckets];  // first destination position of each bucket
};

// The buffers of a sort of words U: as many as the widest digit has buckets.
template <class U>
using KeyLineBuffers = LineBuffers<U, 1 << (sizeof(U) == 1 || sizeof(U) == 2 ? 8 : 11)>;

// Scatters n elements, element i going to bucket and value given by at(i) -> {bucket, value}, to
// dst at the running sums of `next` (pre-increment, stable). dst must be aligned to the element.
template <class V, int kBuckets, class At>
void ScatterLines(V* __restrict dst, size_t n, int buckets, uint32_t* __restrict next,
                  LineBuffers<V, kBuckets>& buffers, At at) {
  constexpr size_t kSlots = LineBuffers<V, kBuckets>::kSlots;
  const size_t phase = (reinterpret_cast<uintptr_t>(dst) / sizeof(V)) % kSlots;
  for (int b = 0; b < buckets; ++b) buffers.first[b] = next[b] + 1;
  for (size_t i = 0; i < n; ++i) {
    const auto [b, v] = at(i);
    const size_t pos = ++next[b];
    const size_t slot = (pos + phase) % kSlots;
    buffers.slots[b][slot] = v;
    if (slot == kSlots - 1) {
      // Signed: the first line of the array starts before it when dst is not line-aligned.
      const ptrdiff_t line = static_cast<ptrdiff_t>(pos - slot);
      if (line >= static_cast<ptrdiff_t>(buffers.first[b])) {
        StoreLine(dst + line, buffers.slots[b]);
      } else {
        const size_t from = buffers.first[b] - line;
        std::memcpy(dst + line + from, buffers.slots[b] + from, (kSlots - from) * sizeof(V));
      }
    }
  }
  for (int b = 0; b < buckets; ++b) {
    const size_t last = static_cast<uint32_t>(next[b] + 1);  // one past the bucket's last element
    const size_t fill = (last + phase) % kSlots;
    if (last == buffers.first[b] || fill == 0) continue;  // empty, or its last line went out whole
    const ptrdiff_t line = static_cast<ptrdiff_t>(last - fill);
    const size_t from =
        line >= static_cast<ptrdiff_t>(buffers.first[b]) ? 0 : buffers.first[b] - line;
    std::memcpy(dst + line + from, buffers.slots[b] + from, (fill - from) * sizeof(V));
  }
#if defined(__SSE2__)
  _mm_sfence();  // the streamed lines before the next pass reads them
#endif
}

// The element at i with its bucket, for ScatterLines.
template <class V>
struct Placed {
  size_t bucket;
  V value;
};

// One pass over keys. The last pass stores the elements themselves (the key map undone).
template <class U, bool kLast>
void ScatterKeys(const U* __restrict src, U* __restrict dst, size_t n, int pass, Scatter how,
                 KeyMap<U> map, uint32_t* __restrict counts, KeyLineBuffers<U>& buffers) {
  const Digit<U> digit(pass);
  uint32_t* histogram = counts + kDigits<U>.base[pass];
  const auto at = [&](size_t i) {
    return Placed<U>{digit(src[i]), kLast ? FromKey(src[i], map) : src[i]};
  };
  if (how == Scatter::kLines && reinterpret_cast<uintptr_t>(dst) % sizeof(U) == 0) {
    ScatterLines(dst, n, 1 << kDigits<U>.width[pass], histogram, buffers, at);
  } else {
    // Positions first, stores after, a chunk at a time. In one loop, where keys of one bucket come
    // close together, each counter load waits for the scattered stores before it (whose addresses
    // come late) and the pass runs at one element per store latency.
    constexpr size_t kChunk = 256;
    uint32_t pos[kChunk];
    for (size_t i = 0; i < n; i += kChunk) {
      const size_t m = std::min(kChunk, n - i);
      for (size_t j = 0; j < m; ++j) pos[j] = ++histogram[digit(src[i + j])];
      for (size_t j = 0; j < m; ++j) dst[pos[j]] = kLast ? FromKey(src[i + j], map) : src[i + j];
    }
  }
}

// The keys start in the scratch when the full number of passes is odd, so that the passes end in
// the data without a copy; only a skipped pass can then leave them in the scratch.
template <class U>
void SortInPlace(U* data, U* scratch, size_t n, KeyMap<U> map) {
  constexpr Digits digits = kDigits<U>;
  uint32_t counts[digits.counters] = {};
  U* from = digits.passes % 2 == 1 ? scratch : data;
  U* to = from == data ? scratch : data;
  KeyAndCount(data, from, n, map, counts);
  int moving[digits.passes];
  Scatter how[digits.passes];
  int passes = 0;
  for (int p = 0; p < digits.passes; ++p) {
    how[passes] = ChooseScatter<U>(counts, p, n);
    if (how[passes] != Scatter::kNone) moving[passes++] = p;
  }
  if (passes == 0) {
    for (size_t i = 0; i < n; ++i) data[i] = FromKey(from[i], map);
    return;
  }
  RunningSums<U>(counts);
  KeyLineBuffers<U> buffers;
  for (int q = 0; q + 1 < passes; ++q) {
    ScatterKeys<U, false>(from, to, n, moving[q], how[q], map, counts, buffers);
    std::swap(from, to);
  }
  ScatterKeys<U, true>(from, to, n, moving[passes - 1], how[passes - 1], map, counts, buffers);
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
