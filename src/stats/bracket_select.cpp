// Order statistics by brackets (see bracket_select.h). The values are handled as signed integer
// keys whose order is the radix sort's order of the floats, so every comparison is an integer one
// and the result cannot depend on the SIMD target. The two passes over the data are vector code,
// one instance per target and per bracket count, so that the bracket bounds and the counters stay
// in registers.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "stats/bracket_select.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <type_traits>
#include <utility>

#include "oxl/primitives.h"
#include "primitives/radix_keys.h"
#include "simd/targets.h"
#include "stats/bracket_select.h"

#ifndef OXL_STATS_BRACKET_SELECT_ONCE
#define OXL_STATS_BRACKET_SELECT_ONCE
namespace oxl::stats::bracket {
// Brackets after merging: the two ranks of a quantile always share one.
inline constexpr int kMaxBrackets = kMaxRanks / 2;

// The radix sort's float key map without its flip of the sign bit: a negative value has every bit
// but the sign inverted, so the keys' signed order is the sort's order of the values, and the map
// is its own inverse.
template <class U>
constexpr primitives::KeyMap<U> kSignedFloatMap{0, static_cast<U>(~primitives::kTopBit<U>)};

template <class K>
K Flip(K bits) {
  using U = std::make_unsigned_t<K>;
  return std::bit_cast<K>(primitives::ToKey(std::bit_cast<U>(bits), kSignedFloatMap<U>));
}
}  // namespace oxl::stats::bracket
#endif

HWY_BEFORE_NAMESPACE();
namespace oxl::stats::HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;
using bracket::Flip;
using bracket::kMaxBrackets;

// The kB brackets' ends, each broadcast to a vector.
template <int kB, class D>
struct Bounds {
  hn::Vec<D> lo[kB], hi[kB];
  Bounds(D d, const hn::TFromD<D>* lo_keys, const hn::TFromD<D>* hi_keys) {
    for (int b = 0; b < kB; ++b) {
      lo[b] = hn::Set(d, lo_keys[b]);
      hi[b] = hn::Set(d, hi_keys[b]);
    }
  }
};

// The key of each of the n values at src (stride) into keys, and for each of kB brackets
// [lo[b], hi[b]] the keys below lo[b] and above hi[b]. A negative value's key has every bit but
// the sign inverted, which reverses the order of the negatives and keeps them below the
// positives: signed order of keys is the radix sort's order of the values, and the map is its own
// inverse. Lane counters of 32-bit keys would wrap after 2^31 rounds, so the data go in pieces.
// With kKeyed the keys are in place already and only counted (src is not read).
template <int kB, bool kKeyed, class T, class K = hwy::MakeSigned<T>>
void KeysAndCountT(const T* HWY_RESTRICT src, int64_t stride, int64_t n, K* HWY_RESTRICT keys,
                   const K* lo, const K* hi, int64_t* below, int64_t* above) {
  const hn::ScalableTag<K> d;
  const hn::RebindToUnsigned<decltype(d)> du;
  const hn::Rebind<T, decltype(d)> dt;
  using V = hn::Vec<decltype(d)>;
  const int64_t lanes = static_cast<int64_t>(hn::Lanes(d));
  const Bounds<kB, decltype(d)> bounds(d, lo, hi);
  std::fill(below, below + kB, 0);
  std::fill(above, above + kB, 0);
  HWY_ALIGN T strided[64 / sizeof(T)];
  constexpr int64_t kPiece = int64_t{1} << 28;
  int64_t i = 0;
  while (n - i >= lanes) {
    const int64_t stop = i + std::min(kPiece, (n - i) / lanes * lanes);
    V cb[kB], ca[kB];
    for (int b = 0; b < kB; ++b) cb[b] = ca[b] = hn::Zero(d);
    for (; i < stop; i += lanes) {
      V x;
      if constexpr (kKeyed) {
        x = hn::LoadU(d, keys + i);
      } else {
        const T* from = src + i;
        if (stride != 1) {
          for (int64_t j = 0; j < lanes; ++j) strided[j] = src[(i + j) * stride];
          from = strided;
        }
        const V bits = hn::BitCast(d, hn::LoadU(dt, from));
        // Flip, with the mask made by a shift: a mask register would crowd out the bounds.
        x = hn::Xor(bits,
                    hn::BitCast(d, hn::ShiftRight<1>(hn::BitCast(du, hn::BroadcastSignBit(bits)))));
        hn::StoreU(x, d, keys + i);
      }
      for (int b = 0; b < kB; ++b) {  // a true mask is -1: subtracting it counts one
        cb[b] = hn::Sub(cb[b], hn::VecFromMask(d, hn::Lt(x, bounds.lo[b])));
        ca[b] = hn::Sub(ca[b], hn::VecFromMask(d, hn::Gt(x, bounds.hi[b])));
      }
    }
    for (int b = 0; b < kB; ++b) {
      below[b] += static_cast<int64_t>(hn::GetLane(hn::SumOfLanes(d, cb[b])));
      above[b] += static_cast<int64_t>(hn::GetLane(hn::SumOfLanes(d, ca[b])));
    }
  }
  for (; i < n; ++i) {
    if constexpr (!kKeyed) keys[i] = Flip(std::bit_cast<K>(src[i * stride]));
    for (int b = 0; b < kB; ++b) {
      below[b] += keys[i] < lo[b];
      above[b] += keys[i] > hi[b];
    }
  }
}

#if HWY_TARGET == HWY_AVX2
// Lane permutations that pack the lanes of each mask to the front, as 32-bit lane indices (a
// 64-bit lane is two). The library's own compress copies its local table to the stack on every
// call, which cost more than all the comparisons.
template <size_t kLaneBytes>
constexpr auto PackIndices() {
  constexpr size_t kLanes = 32 / kLaneBytes, kWords = kLaneBytes / 4;
  std::array<uint32_t, (size_t{1} << kLanes) * 8> table{};
  for (size_t mask = 0; mask < (size_t{1} << kLanes); ++mask) {
    size_t to = 0;
    for (size_t lane = 0; lane < kLanes; ++lane) {
      if ((mask >> lane) & 1) {
        for (size_t w = 0; w < kWords; ++w) table[mask * 8 + to++] = uint32_t(lane * kWords + w);
      }
    }
  }
  return table;
}
template <size_t kLaneBytes>
inline constexpr auto kPackIndices = PackIndices<kLaneBytes>();
#endif

// Stores the lanes of x that `keep` selects at to, in their order, and returns their count. The
// whole vector may be stored when `room` lanes are free at to.
template <class D, class M>
HWY_INLINE size_t Pack(D d, hn::Vec<D> x, M keep, hn::TFromD<D>* HWY_RESTRICT to, bool room) {
#if HWY_TARGET == HWY_AVX2
  if (room) {
    using K = hn::TFromD<D>;
    const hn::Repartition<uint32_t, D> d32;
    uint8_t bits[8] = {};
    hn::StoreMaskBits(d, keep, bits);
    const auto idx =
        hn::IndicesFromVec(d32, hn::Load(d32, kPackIndices<sizeof(K)>.data() + 8 * bits[0]));
    hn::StoreU(hn::BitCast(d, hn::TableLookupLanes(hn::BitCast(d32, x), idx)), d, to);
    return hn::CountTrue(d, keep);
  }
#endif
  (void)room;
  return hn::CompressBlendedStore(x, keep, d, to);
}

// Packs the keys that fall inside a bracket at out (room for n), in their order, and returns their
// count. No branch depends on the data.
template <int kB, class K>
int64_t GatherT(const K* HWY_RESTRICT a, int64_t n, const K* lo, const K* hi, K* HWY_RESTRICT out) {
  const hn::ScalableTag<K> d;
  using V = hn::Vec<decltype(d)>;
  const int64_t lanes = static_cast<int64_t>(hn::Lanes(d));
  const Bounds<kB, decltype(d)> bounds(d, lo, hi);
  K* to = out;
  int64_t i = 0;
  for (; i + lanes <= n; i += lanes) {
    const V x = hn::LoadU(d, a + i);
    auto outside = hn::Or(hn::Lt(x, bounds.lo[0]), hn::Gt(x, bounds.hi[0]));
    for (int b = 1; b < kB; ++b) {
      outside = hn::And(outside, hn::Or(hn::Lt(x, bounds.lo[b]), hn::Gt(x, bounds.hi[b])));
    }
    to += Pack(d, x, hn::Not(outside), to, (to - out) + lanes <= n);
  }
  for (; i < n; ++i) {
    bool inside = false;
    for (int b = 0; b < kB; ++b) inside |= a[i] >= lo[b] && a[i] <= hi[b];
    if (inside) *to++ = a[i];
  }
  return to - out;
}

template <bool kKeyed, class T, size_t... kB>
constexpr auto CountTable(std::index_sequence<kB...>) {
  return std::array{&KeysAndCountT<int(kB) + 1, kKeyed, T>...};
}
template <class K, size_t... kB>
constexpr auto GatherTable(std::index_sequence<kB...>) {
  return std::array{&GatherT<int(kB) + 1, K>...};
}

template <class T, class K>
void CountAny(const T* src, int64_t stride, int64_t n, K* keys, const K* lo, const K* hi,
              int brackets, int64_t* below, int64_t* above) {
  static constexpr auto kMake = CountTable<false, T>(std::make_index_sequence<kMaxBrackets>());
  static constexpr auto kCount = CountTable<true, T>(std::make_index_sequence<kMaxBrackets>());
  (src == nullptr ? kCount : kMake)[brackets - 1](src, stride, n, keys, lo, hi, below, above);
}
template <class K>
int64_t GatherAny(const K* a, int64_t n, const K* lo, const K* hi, int brackets, K* out) {
  static constexpr auto kTable = GatherTable<K>(std::make_index_sequence<kMaxBrackets>());
  return kTable[brackets - 1](a, n, lo, hi, out);
}

void KeysAndCount32(const float* src, int64_t stride, int64_t n, int32_t* keys, const int32_t* lo,
                    const int32_t* hi, int brackets, int64_t* below, int64_t* above) {
  CountAny(src, stride, n, keys, lo, hi, brackets, below, above);
}
void KeysAndCount64(const double* src, int64_t stride, int64_t n, int64_t* keys, const int64_t* lo,
                    const int64_t* hi, int brackets, int64_t* below, int64_t* above) {
  CountAny(src, stride, n, keys, lo, hi, brackets, below, above);
}
int64_t Gather32(const int32_t* a, int64_t n, const int32_t* lo, const int32_t* hi, int brackets,
                 int32_t* out) {
  return GatherAny(a, n, lo, hi, brackets, out);
}
int64_t Gather64(const int64_t* a, int64_t n, const int64_t* lo, const int64_t* hi, int brackets,
                 int64_t* out) {
  return GatherAny(a, n, lo, hi, brackets, out);
}

}  // namespace oxl::stats::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace oxl::stats {

HWY_EXPORT(KeysAndCount32);
HWY_EXPORT(KeysAndCount64);
HWY_EXPORT(Gather32);
HWY_EXPORT(Gather64);

namespace {

using bracket::Flip;
using bracket::kMaxBrackets;

void KeysAndCount(const float* src, int64_t stride, int64_t n, int32_t* keys, const int32_t* lo,
                  const int32_t* hi, int brackets, int64_t* below, int64_t* above) {
  OXL_DISPATCH(KeysAndCount32)(src, stride, n, keys, lo, hi, brackets, below, above);
}
void KeysAndCount(const double* src, int64_t stride, int64_t n, int64_t* keys, const int64_t* lo,
                  const int64_t* hi, int brackets, int64_t* below, int64_t* above) {
  OXL_DISPATCH(KeysAndCount64)(src, stride, n, keys, lo, hi, brackets, below, above);
}
int64_t Gather(const int32_t* a, int64_t n, const int32_t* lo, const int32_t* hi, int brackets,
               int32_t* out) {
  return OXL_DISPATCH(Gather32)(a, n, lo, hi, brackets, out);
}
int64_t Gather(const int64_t* a, int64_t n, const int64_t* lo, const int64_t* hi, int brackets,
               int64_t* out) {
  return OXL_DISPATCH(Gather64)(a, n, lo, hi, brackets, out);
}

// Sample size, and the half-width of a bracket in sample places: 2.5 sqrt(m) is five standard
// deviations of the sampled rank, so a bracket misses its rank about once in 10^6.
constexpr int64_t kMaxSample = int64_t{1} << 15;
void SortSample(double* a, double* scratch, int32_t m) {
  oxl_dft_avx2_pvksSortRadixAscend_64f_I(a, scratch, m);
}
void SortSample(float* a, float* scratch, int32_t m) {
  oxl_dft_avx2_pvksSortRadixAscend_32f_I(a, scratch, m);
}
int64_t HalfWidth(int64_t m) { return static_cast<int64_t>(std::ceil(2.5 * std::sqrt(double(m)))); }

// The selection over n keys, made from the values at src (stride) or, when src is null, there
// already; spare (n keys) takes the sample, then the packed insides.
template <class T, class K>
bool SelectRanksT(const T* src, int64_t stride, K* keys, int64_t n, const int64_t* ranks, int count,
                  K* spare, T* out) {
  if (count < 1 || count > kMaxRanks || n < kBracketMinCount) return false;

  // Evenly spaced places, so that sorted or periodic data sample as well as random data do. The
  // sample is sorted by radix as values (the order of the keys), the spare half giving room.
  const int64_t m = std::min(n / 16, kMaxSample);
  T* sample = reinterpret_cast<T*>(spare);
  for (int64_t s = 0; s < m; ++s) {
    const int64_t at = s * (n / m);
    sample[s] = src != nullptr ? src[at * stride] : std::bit_cast<T>(Flip(keys[at]));
  }
  SortSample(sample, sample + m, static_cast<int32_t>(m));
  for (int64_t s = 0; s < m; ++s) spare[s] = Flip(std::bit_cast<K>(sample[s]));
  const int64_t half = HalfWidth(m);
  K lo[kMaxRanks], hi[kMaxRanks];
  int owner[kMaxRanks];
  int brackets = 0;
  for (int q = 0; q < count; ++q) {
    const auto e = static_cast<int64_t>(static_cast<double>(ranks[q]) * double(m) / double(n));
    const K l = e - half < 0 ? std::numeric_limits<K>::min() : spare[e - half];
    const K h = e + half + 1 >= m ? std::numeric_limits<K>::max() : spare[e + half + 1];
    // Ranks ascend, so lower ends do too: a bracket can only overlap the one before it.
    if (brackets > 0 && l <= hi[brackets - 1]) {
      hi[brackets - 1] = std::max(hi[brackets - 1], h);
    } else {
      lo[brackets] = l;
      hi[brackets] = h;
      ++brackets;
    }
    owner[q] = brackets - 1;
  }
  if (brackets > kMaxBrackets) return false;

  int64_t below[kMaxBrackets], above[kMaxBrackets];
  KeysAndCount(src, stride, n, keys, lo, hi, brackets, below, above);
  for (int q = 0; q < count; ++q) {
    const int b = owner[q];
    if (ranks[q] < below[b] || ranks[q] >= n - above[b]) return false;
  }
  // The inside keys are packed into the spare half, then dealt to their brackets' regions in the
  // first half, whose keys are no longer needed. The brackets are disjoint and ascend, so a key's
  // bracket is the count of brackets wholly below it, and the regions fill at most n places.
  const int64_t inside = Gather(keys, n, lo, hi, brackets, spare);
  int64_t base[kMaxBrackets], end[kMaxBrackets];
  K* at[kMaxBrackets];
  int64_t total = 0;
  for (int b = 0; b < brackets; ++b) {
    base[b] = total;
    total += n - below[b] - above[b];
    end[b] = total;
    at[b] = keys + base[b];
  }
  for (int64_t t = 0; t < inside; ++t) {
    const K key = spare[t];
    int b = 0;
    for (int c = 0; c + 1 < brackets; ++c) b += key > hi[c];
    *at[b]++ = key;
  }

  // Within a bracket the ranks ascend: each selection runs right of the one before, which left
  // nothing smaller there, so that the rank right after it is the least key there. A repeated rank
  // finds its value already in place.
  int64_t from[kMaxBrackets];
  std::copy(base, base + brackets, from);
  for (int q = 0; q < count; ++q) {
    const int b = owner[q];
    const int64_t r = base[b] + ranks[q] - below[b];
    if (r == from[b]) {  // the least key right of the last selection (quantiles ask for i, i + 1)
      std::iter_swap(keys + r, std::min_element(keys + r, keys + end[b]));
      from[b] = r + 1;
    } else if (r > from[b]) {
      std::nth_element(keys + from[b], keys + r, keys + end[b]);
      from[b] = r + 1;
    }
    out[q] = std::bit_cast<T>(Flip(keys[r]));
  }
  return true;
}

template <class T, class K>
void ColumnKeysT(const T* x, int64_t p, int64_t n, const int64_t* dims, int64_t count, K* keys) {
  constexpr int64_t kBlock = 256;
  for (int64_t k0 = 0; k0 < n; k0 += kBlock) {
    const int64_t k1 = std::min(n, k0 + kBlock);
    for (int64_t g = 0; g < count; ++g) {
      const T* from = x + dims[g];
      K* to = keys + g * n;
      for (int64_t k = k0; k < k1; ++k) to[k] = Flip(std::bit_cast<K>(from[k * p]));
    }
  }
}

template <class T, class K>
bool SelectRanksT(const T* src, int64_t stride, int64_t n, const int64_t* ranks, int count, T* work,
                  T* out) {
  K* keys = reinterpret_cast<K*>(work);
  return SelectRanksT(src, stride, keys, n, ranks, count, keys + n, out);
}

}  // namespace

bool SelectRanks(const double* src, int64_t stride, int64_t n, const int64_t* ranks, int count,
                 double* work, double* out) {
  return SelectRanksT<double, int64_t>(src, stride, n, ranks, count, work, out);
}
bool SelectRanks(const float* src, int64_t stride, int64_t n, const int64_t* ranks, int count,
                 float* work, float* out) {
  return SelectRanksT<float, int32_t>(src, stride, n, ranks, count, work, out);
}
void ColumnKeys(const double* x, int64_t p, int64_t n, const int64_t* dims, int64_t count,
                int64_t* keys) {
  ColumnKeysT(x, p, n, dims, count, keys);
}
void ColumnKeys(const float* x, int64_t p, int64_t n, const int64_t* dims, int64_t count,
                int32_t* keys) {
  ColumnKeysT(x, p, n, dims, count, keys);
}
bool SelectKeyRanks(int64_t* keys, int64_t n, const int64_t* ranks, int count, int64_t* spare,
                    double* out) {
  return SelectRanksT<double, int64_t>(nullptr, 1, keys, n, ranks, count, spare, out);
}
bool SelectKeyRanks(int32_t* keys, int64_t n, const int64_t* ranks, int count, int32_t* spare,
                    float* out) {
  return SelectRanksT<float, int32_t>(nullptr, 1, keys, n, ranks, count, spare, out);
}
void ValuesOfKeys(int64_t* keys, int64_t n) {
  for (int64_t k = 0; k < n; ++k) keys[k] = Flip(keys[k]);
}
void ValuesOfKeys(int32_t* keys, int64_t n) {
  for (int64_t k = 0; k < n; ++k) keys[k] = Flip(keys[k]);
}

}  // namespace oxl::stats
#endif
