// Radix sorts, in place and by index, ascending and descending.
//
// Least-significant-digit sorts for words of up to 32 bits: one read turns every element into its
// key and counts the digits of all passes at once (radix_count.cpp); each pass then is one read and
// one scattered write, stable, so that after the last pass the keys are in order and equal keys in
// input order. The in-place sorts skip the passes whose digit is the same in every key and send
// spread digits through cache-line buffers. 64-bit words, whose six passes would each cross memory,
// are split by their top bits instead (SortBuckets below). The counters and the line buffers live
// on the stack or, while it is free, in the scratch: a sort allocates nothing.
//
// Elements are handled as unsigned words of their width; the words of a float array are read as
// integers only between the entry and its return, where the caller's code cannot look.
#include <algorithm>
#include <bit>
#include <cstring>
#if defined(__SSE2__)
#include <emmintrin.h>
#endif
#include <utility>

#include "oxl/primitives.h"
#include "primitives/radix_keys.h"

namespace oxl::primitives {
namespace {

// Turns counts[0, buckets) into running sums that start at `first`, and returns the largest count.
// A scatter that pre-increments the counter of its digit and stores there starts them at -1, one
// that stores and then increments at 0; either way equal digits land in ascending positions
// (stability).
template <class C>
C RunningSumsFrom(C* counts, int buckets, C first) {
  C sum = first, most = 0;
  for (int b = 0; b < buckets; ++b) {
    const C count = counts[b];
    most = std::max(most, count);
    counts[b] = sum;
    sum = static_cast<C>(sum + count);
  }
  return most;
}

// The 16-bit counters of the splits in the caches, of which there are one or two per key: eight at
// a time, the sums within a vector by three shifted adds and the carry from the vector before. The
// scalar loop's chain of dependent adds cost about as much as the count of the keys.
#if defined(__SSE2__)
inline uint16_t RunningSumsFrom(uint16_t* counts, int buckets, uint16_t first) {
  if (buckets % 8 != 0) return RunningSumsFrom<uint16_t>(counts, buckets, first);
  const __m128i bias = _mm_set1_epi16(static_cast<int16_t>(-0x8000));  // unsigned max by signed
  __m128i carry = _mm_set1_epi16(static_cast<int16_t>(first)), most = bias;
  for (int b = 0; b < buckets; b += 8) {
    auto* at = reinterpret_cast<__m128i*>(counts + b);
    const __m128i c = _mm_loadu_si128(at);
    most = _mm_max_epi16(most, _mm_xor_si128(c, bias));
    __m128i sums = _mm_add_epi16(c, _mm_slli_si128(c, 2));
    sums = _mm_add_epi16(sums, _mm_slli_si128(sums, 4));
    sums = _mm_add_epi16(sums, _mm_slli_si128(sums, 8));
    _mm_storeu_si128(at, _mm_add_epi16(carry, _mm_sub_epi16(sums, c)));
    const __m128i last = _mm_shufflehi_epi16(sums, 0xFF);
    carry = _mm_add_epi16(carry, _mm_unpackhi_epi64(last, last));
  }
  most = _mm_max_epi16(most, _mm_srli_si128(most, 8));
  most = _mm_max_epi16(most, _mm_srli_si128(most, 4));
  most = _mm_max_epi16(most, _mm_srli_si128(most, 2));
  return static_cast<uint16_t>(_mm_cvtsi128_si32(most) ^ 0x8000);
}
#endif

// Every pass's histogram as running sums from -1.
template <class U>
void RunningSums(uint32_t* counts) {
  constexpr Digits digits = kDigits<U>;
  for (int p = 0; p < digits.passes; ++p) {
    RunningSumsFrom(counts + digits.base[p], 1 << digits.width[p], ~uint32_t{0});
  }
}

// The digit of one pass: where it stands in the key and how wide it is, read once per pass.
template <class U>
struct Digit {
  int shift;
  U mask;
  Digit(int shift_bits, int width) : shift(shift_bits), mask(static_cast<U>((U{1} << width) - 1)) {}
  explicit Digit(int pass) : Digit(kDigits<U>.shift[pass], kDigits<U>.width[pass]) {}
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
template <class V, int kBuckets, class C, class At>
void ScatterLines(V* __restrict dst, size_t n, int buckets, C* __restrict next,
                  LineBuffers<V, kBuckets>& buffers, At at) {
  constexpr size_t kSlots = LineBuffers<V, kBuckets>::kSlots;
  const size_t phase = (reinterpret_cast<uintptr_t>(dst) / sizeof(V)) % kSlots;
  for (int b = 0; b < buckets; ++b) buffers.first[b] = static_cast<C>(next[b] + 1);
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
    const size_t last = static_cast<C>(next[b] + 1);  // one past the bucket's last element
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

// What a scatter does to the words it moves: nothing, map elements to keys as it reads them (the
// first split of a 64-bit sort), or keys back to elements as it stores them (the last pass).
enum class Mapping { kKeys, kToKeys, kFromKeys };

// The key of src[i] as a scatter reads it, and the word it stores for that key.
template <class U, Mapping kMapping>
U ReadKey(const U* src, size_t i, KeyMap<U> map) {
  return kMapping == Mapping::kToKeys ? ToKey(src[i], map) : src[i];
}
template <class U, Mapping kMapping>
U StoredWord(U k, KeyMap<U> map) {
  return kMapping == Mapping::kFromKeys ? FromKey(k, map) : k;
}

// One scatter by a digit of the keys (or any monotone map of keys to buckets) to the running sums
// of its histogram, storing straight to the destination: positions first, stores after, a chunk at
// a time. In one loop, where keys of one bucket come close together, each counter load waits for
// the scattered stores before it (whose addresses come late) and the pass runs at one element per
// store latency. Each store asks for the line two ahead in its bucket: with more than a few dozen
// buckets the hardware prefetchers lose track of the write streams, and every new line would wait
// for its read for ownership with the store queue full behind it (on Cascade Lake a first split of
// 2048 buckets ran at about 9 ns a key, and half that with the prefetch). Not inlined: its
// positions would stay on the stack through the recursion of the 64-bit sort.
template <class U, Mapping kMapping, class C, class D>
[[gnu::noinline]] void ScatterDirect(const U* __restrict src, U* __restrict dst, size_t n, D digit,
                                     KeyMap<U> map, C* __restrict histogram) {
  constexpr size_t kChunk = 256;
  uint32_t pos[kChunk];
  for (size_t i = 0; i < n; i += kChunk) {
    const size_t m = std::min(kChunk, n - i);
    for (size_t j = 0; j < m; ++j)
      pos[j] = ++histogram[digit(ReadKey<U, kMapping>(src, i + j, map))];
    for (size_t j = 0; j < m; ++j) {
      dst[pos[j]] = StoredWord<U, kMapping>(ReadKey<U, kMapping>(src, i + j, map), map);
      const uintptr_t ahead = reinterpret_cast<uintptr_t>(dst + pos[j]) + 2 * kLineBytes;
      __builtin_prefetch(reinterpret_cast<const void*>(ahead), 1, 3);
    }
  }
}

// One pass of the least-significant-digit sorts, through the line buffers if `how` says so.
template <class U, Mapping kMapping>
void ScatterDigit(const U* __restrict src, U* __restrict dst, size_t n, Digit<U> digit, int buckets,
                  Scatter how, KeyMap<U> map, uint32_t* __restrict histogram,
                  KeyLineBuffers<U>& buffers) {
  if (how == Scatter::kLines && reinterpret_cast<uintptr_t>(dst) % sizeof(U) == 0) {
    ScatterLines(dst, n, buckets, histogram, buffers, [&](size_t i) {
      const U k = ReadKey<U, kMapping>(src, i, map);
      return Placed<U>{digit(k), StoredWord<U, kMapping>(k, map)};
    });
  } else {
    ScatterDirect<U, kMapping>(src, dst, n, digit, map, histogram);
  }
}

template <class U, bool kLast>
void ScatterKeys(const U* __restrict src, U* __restrict dst, size_t n, int pass, Scatter how,
                 KeyMap<U> map, uint32_t* __restrict counts, KeyLineBuffers<U>& buffers) {
  ScatterDigit<U, kLast ? Mapping::kFromKeys : Mapping::kKeys>(
      src, dst, n, Digit<U>(pass), 1 << kDigits<U>.width[pass], how, map,
      counts + kDigits<U>.base[pass], buffers);
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

// The sort of 64-bit words need not be stable (equal keys are equal words), so it splits the keys
// by their top bits first (into buckets of about equal counts, SortBuckets) and then each bucket by
// its next digits while it sits in the caches, until the buckets hold about one key each, which an
// insertion into the bucket puts in order (no key crosses into another bucket). Large arrays then
// cross memory twice instead of six times. A digit shared by every key of a range costs a count and
// no scatter, so that skewed data (one exponent) loses no pass; a split that leaves long buckets
// (many equal keys) splits them again.

// Buckets of up to this many keys are left to the insertion sort.
constexpr size_t kSmallRange = 16;

// Ranges of up to this many keys whose last split would leave long buckets are split into buckets
// of about two keys at once; longer ones into buckets of about half as many keys first.
constexpr size_t kCachedKeys = size_t{1} << 11;
static_assert(kCachedKeys <= 0xFFFF, "the counters of a cached split are 16 bits wide");

// Splits below the top digit take at most 10 bits when the range is cached (2 KiB of 16-bit
// counters, enough for its length; 128 bytes up to 6 bits) and from 4 to 8 bits otherwise (1 KiB).
// Each level of the recursion takes at least 4 bits of the key, and one of more than 1 KiB at least
// 7, so that the recursion takes less than 20 KiB of stack on any data.
constexpr int kCachedSplit = 10, kNarrowSplit = 6, kMinSplit = 4, kMaxSplit = 8;

// The widest split: 2048 buckets, whose scattered stores still find their lines in the caches.
constexpr int kWideSplit = 11;

// Ranges of fewer than 2^16 keys are sorted by one split into buckets of about half a key each
// (16-bit counters), unless the split leaves a bucket of more than kSmallRange keys.
constexpr int kInsertSplit = 16;
constexpr size_t kInsertKeys = (size_t{1} << kInsertSplit) - 1;

template <class U>
struct Buckets {
  KeyMap<U> map;
  // The counters of one split of up to 11 bits below the top one, for a range so long that 8 bits
  // would leave buckets to split again beyond L2; one at a time, so that the stack holds them once.
  uint32_t wide[1 << kWideSplit];
  bool wide_free = true;
  // The counters of the last split of a range, which leaves no bucket to split again; before them,
  // the bucket of each prefix in the first split.
  uint16_t last[1 << kInsertSplit];
};

// Sorts keys[from, to), whose buckets are in order and small, and stores the elements to out.
template <class U>
void InsertionSort(U* keys, U* out, size_t from, size_t to, KeyMap<U> map) {
  for (size_t i = from + 1; i < to; ++i) {
    const U k = keys[i];
    size_t j = i;
    for (; j > from && keys[j - 1] > k; --j) keys[j] = keys[j - 1];
    keys[j] = k;
  }
  for (size_t i = from; i < to; ++i) out[i] = FromKey(keys[i], map);
}

template <class U>
void SortRange(U* keys, U* other, U* out, size_t n, int top, Buckets<U>& state);

template <class U>
void MapKeys(const U* elements, U* keys, size_t n, KeyMap<U> map) {
  for (size_t i = 0; i < n; ++i) keys[i] = ToKey(elements[i], map);
}

// Splits keys[0, n) by the digit of `width` bits at `shift` (histogram in counts) into other[0, n)
// and sorts each bucket by the bits below, the elements going to out (keys or other). The first
// split reads elements, not keys (kToKeys).
template <class U, Mapping kMapping = Mapping::kKeys, class C>
void Split(U* keys, U* other, U* out, size_t n, int shift, int width, C* counts,
           Buckets<U>& state) {
  const int buckets = 1 << width;
  if (RunningSumsFrom(counts, buckets, static_cast<C>(~C{0})) == n) {
    if constexpr (kMapping == Mapping::kToKeys) {
      MapKeys(keys, other, n, state.map);
      SortRange(other, keys, out, n, shift, state);
    } else {
      SortRange(keys, other, out, n, shift, state);
    }
    return;
  }
  ScatterDirect<U, kMapping>(keys, other, n, Digit<U>(shift, width), state.map, counts);
  // Each counter now holds the last position of its bucket. Runs of small buckets wait for one
  // insertion sort.
  size_t start = 0, run = 0;
  for (int b = 0; b < buckets; ++b) {
    const size_t end = static_cast<C>(counts[b] + 1);
    if (end - start > kSmallRange) {
      InsertionSort(other, out, run, start, state.map);
      SortRange(other + start, keys + start, out + start, end - start, shift, state);
      run = end;
    }
    start = end;
  }
  InsertionSort(other, out, run, n, state.map);
}

template <class U, class C>
void Count(const U* keys, size_t n, int top, int width, C* counts) {
  const Digit<U> digit(top - width, width);
  for (size_t i = 0; i < n; ++i) ++counts[digit(keys[i])];
}

// The last split of a range: each key goes into its bucket of the scratch as an insertion sort
// would put it there, behind the keys of the bucket that are not above it. The scratch starts out
// zero, so that below the keys already placed in a bucket there is always a key not above the one
// coming in: a key of a lower bucket, or a zero. Returns false, having moved nothing, when a bucket
// would take more than kSmallRange keys (skewed keys, which split again instead). Twice as many
// buckets as keys: a key that meets a larger one in its bucket costs a mispredicted branch, and
// with one bucket a key about a quarter of them did (5% of the sort of 10^6 doubles).
template <class U>
bool InsertIntoBuckets(U* keys, U* other, U* out, size_t n, int top, Buckets<U>& state) {
  const int width = std::min({top, kInsertSplit, static_cast<int>(std::bit_width(n)) + 1});
  const Digit<U> digit(top - width, width);
  uint16_t* next = state.last;
  const int buckets = 1 << width;
  std::fill_n(next, buckets, 0);
  Count(keys, n, top, width, next);
  const uint16_t most = RunningSumsFrom(next, buckets, uint16_t{0});
  if (most == n) {
    SortRange(keys, other, out, n, top - width, state);
    return true;
  }
  if (most > kSmallRange) return false;
  std::fill_n(other, n, U{0});
  for (size_t i = 0; i < n; ++i) {
    const U k = keys[i];
    size_t j = next[digit(k)]++;
    for (; j > 0 && other[j - 1] > k; --j) other[j] = other[j - 1];
    other[j] = k;
  }
  for (size_t i = 0; i < n; ++i) out[i] = FromKey(other[i], state.map);
  return true;
}

template <class U, class C, int kWidth>
void CountAndSplit(U* keys, U* other, U* out, size_t n, int top, int width, Buckets<U>& state) {
  C counts[1 << kWidth] = {};
  Count(keys, n, top, width, counts);
  Split(keys, other, out, n, top - width, width, counts, state);
}

// Sorts keys[0, n), equal in their bits from `top` up, by the bits below; other is scratch of the
// same length, and out (keys or other) receives the elements with the key map undone.
template <class U>
void SortRange(U* keys, U* other, U* out, size_t n, int top, Buckets<U>& state) {
  if (n <= kSmallRange || top == 0) {
    InsertionSort(keys, out, 0, n, state.map);  // equal keys (top 0) take one comparison each
    return;
  }
  if (n <= kInsertKeys && InsertIntoBuckets(keys, other, out, n, top, state)) return;
  if (n <= kCachedKeys) {
    const int width = std::min({top, kCachedSplit, static_cast<int>(std::bit_width(n)) - 1});
    if (width > kNarrowSplit) {
      CountAndSplit<U, uint16_t, kCachedSplit>(keys, other, out, n, top, width, state);
    } else {
      CountAndSplit<U, uint16_t, kNarrowSplit>(keys, other, out, n, top, width, state);
    }
  } else {
    const int ranges = static_cast<int>(std::bit_width(n / (kCachedKeys / 2)));
    if (ranges > kMaxSplit && top > kMaxSplit && state.wide_free) {
      const int width = std::min({top, ranges, kWideSplit});
      state.wide_free = false;
      std::fill_n(state.wide, 1 << width, 0);
      Count(keys, n, top, width, state.wide);
      Split(keys, other, out, n, top - width, width, state.wide, state);
      state.wide_free = true;
    } else {
      const int width = std::min(top, std::clamp(ranges, kMinSplit, kMaxSplit));
      CountAndSplit<U, uint32_t, kMaxSplit>(keys, other, out, n, top, width, state);
    }
  }
}

// The first split of a long array. Keys of real data crowd into a few values of any fixed digit
// (the sign and exponent bits of normal data put half of them in two buckets of the top 11 bits),
// so the first split goes instead by a monotone map of the keys' prefixes to buckets of about equal
// counts, read from a histogram of the prefixes and of up to 4 bits below them. Runs of light
// prefixes share a bucket; a heavy prefix gets 2^s buckets of its own, by the s bits below it, so
// that no bucket holds many more than the target count unless one value of those bits does.
constexpr int kMaxSubBits = 4;

template <class U>
struct PrefixBuckets {
  static constexpr int kBuckets = 1 << kWideSplit;
  static constexpr int kSubShift = 12;  // a route is base | s << 12 (base below 2^11, s up to 4)
  int shift;                            // the bits of a key below its prefix
  const uint16_t* routes;               // of each prefix
  size_t operator()(U k) const {
    const uint32_t route = routes[k >> shift];
    const int sub = static_cast<int>(route >> kSubShift);
    return (route & ((1u << kSubShift) - 1)) +
           static_cast<size_t>((k >> (shift - sub)) & ((U{1} << sub) - 1));
  }
};

// The first read counts the prefixes of the keys and the bits below them, in the scratch, which is
// free until the split writes to it; the split maps the elements to keys on its way there. Short
// arrays go to the scratch as keys and are split in the caches.
template <class U>
void SortBuckets(U* data, U* scratch, size_t n, KeyMap<U> map) {
  constexpr int kKeyBits = sizeof(U) * 8;
  constexpr int kBuckets = PrefixBuckets<U>::kBuckets;
  static_assert(kMaxPrefixBits <= kInsertSplit, "the routes of the prefixes share the counters");
  Buckets<U> state;  // left uninitialised: every bucket writes its part before it reads it
  state.map = map;
  if (n <= kCachedKeys) {
    MapKeys(data, scratch, n, map);
    SortRange(scratch, data, data, n, kKeyBits, state);
    return;
  }
  // At most n / 2 counters with the bits below (and at least 64 keys per prefix): the histogram
  // costs little beside the keys and fits the scratch.
  const int width = static_cast<int>(std::bit_width(n)) - 2;
  const int bits = std::clamp(width - kMaxSubBits, kWideSplit, kMaxPrefixBits);
  const int sub_bits = std::clamp(width - bits, 0, kMaxSubBits);
  const uint32_t prefixes = uint32_t{1} << bits, fine = uint32_t{1} << sub_bits;
  auto* counts = reinterpret_cast<ScratchCount*>(scratch);
  std::fill_n(counts, prefixes << sub_bits, 0);
  CountPrefixes(data, n, map, bits + sub_bits, counts);
  // Each bucket closed by a light prefix holds with it more than the target, each heavy prefix of
  // c keys takes fewer than 2c / target buckets and closes at most one: 3n / target + 1 buckets,
  // at most B for this target.
  const uint64_t target = 4 * n / kBuckets + 1;
  uint16_t* routes = state.last;
  uint32_t next[kBuckets] = {};
  uint8_t tops[kBuckets];
  uint32_t bucket = 0, fill = 0, low = 0;
  for (uint32_t p = 0; p < prefixes; ++p) {
    const ScratchCount* sub = counts + (p << sub_bits);
    uint32_t count = 0;
    for (uint32_t j = 0; j < fine; ++j) count += sub[j];
    if (count > target) {
      bucket += fill != 0;
      fill = 0;
      const int s = std::min(sub_bits, static_cast<int>(std::bit_width(count / target)));
      const uint32_t group = fine >> s;
      routes[p] = static_cast<uint16_t>(bucket | s << PrefixBuckets<U>::kSubShift);
      for (uint32_t j = 0; j < fine; ++j) next[bucket + j / group] += sub[j];
      for (uint32_t b = bucket; b < bucket + (1u << s); ++b) tops[b] = kKeyBits - bits - s;
      bucket += 1u << s;
      continue;
    }
    if (count != 0) {
      if (fill != 0 && fill + count > target) ++bucket, fill = 0;
      if (fill == 0) low = p;
      fill += count;
      next[bucket] += count;
      tops[bucket] = static_cast<uint8_t>(kKeyBits - bits + std::bit_width(low ^ p));
    }
    routes[p] = static_cast<uint16_t>(bucket);
  }
  RunningSumsFrom(next, kBuckets, ~uint32_t{0});
  ScatterDirect<U, Mapping::kToKeys>(data, scratch, n, PrefixBuckets<U>{kKeyBits - bits, routes},
                                     map, next);
  // Each counter now holds the last position of its bucket.
  size_t start = 0;
  for (int b = 0; b < kBuckets; ++b) {
    const size_t end = static_cast<uint32_t>(next[b] + 1);
    if (end == start) continue;
    SortRange(scratch + start, data + start, data + start, end - start, tops[b], state);
    start = end;
  }
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
  if constexpr (sizeof(U) == 8) {
    SortBuckets(reinterpret_cast<U*>(data), reinterpret_cast<U*>(scratch), static_cast<size_t>(len),
                MakeKeyMap<U>(kKind, kDescend));
  } else {
    SortInPlace(reinterpret_cast<U*>(data), reinterpret_cast<U*>(scratch), static_cast<size_t>(len),
                MakeKeyMap<U>(kKind, kDescend));
  }
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
