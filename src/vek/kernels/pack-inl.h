// Bodies of the Pack and Unpack kernels: moves between a dense array and a strided, indexed or
// masked one. Re-included once per SIMD target.
//
// Elements are moved as bit patterns in integer lanes, so no floating-point operation touches them
// (a signalling NaN arrives as it left) and the floating-point control is neither read nor set.
// The 64-bit index, increment and mask arrays are read in vectors of 64-bit lanes; an element type
// is a unit of those lanes' count:
//   4-byte elements (s): the same number of 32-bit lanes, gathered and scattered with 32-bit
//     indices when every index of the vector fits, element by element when not;
//   8-byte elements (d, c): one 64-bit lane each;
//   16-byte elements (z): two 64-bit lanes each, held as a vector of first halves and one of
//     second halves.
// What each form does with the vectors, and why:
//   - increment 1: vector copies; Pack with increment 2: two loads and the even lanes. Other
//     increments run the plain loop: its sequential loads keep the hardware prefetcher busy, and
//     strided gathers measured two to three times slower than it, in cache and in memory;
//   - index arrays: gathers and scatters (on a par with the plain loop where gathers are
//     microcoded, ahead of it where they are not);
//   - masks: a compress of the lanes in registers and a full store (Pack), or a full load and an
//     expansion by a table of lane permutations with a masked store (Unpack), wherever a look
//     ahead over the mask shows that the full vector stays inside the packed array; the last ones
//     take the masked forms. A compressing store to memory is microcoded on many processors.
// The one-lane target runs the plain loops, which is what its vectors would do.
// Scatters store in ascending lane order, so a repeated index keeps the last element, as the plain
// loop does. The last n mod N elements go through the plain loop of vek/frame/pack.h: moves are
// exact, so the cut of an array never shows in a result.

#if defined(OXL_VEK_KERNELS_PACK_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef OXL_VEK_KERNELS_PACK_INL_H_
#undef OXL_VEK_KERNELS_PACK_INL_H_
#else
#define OXL_VEK_KERNELS_PACK_INL_H_
#endif

#include <cstdint>
#include <cstring>

#include <hwy/highway.h>

#include "simd/table-inl.h"
#include "vek/frame/pack.h"

HWY_BEFORE_NAMESPACE();
namespace oxl::HWY_NAMESPACE {
namespace pack {

#if HWY_TARGET == HWY_SCALAR
using vek::pack::PackI;
using vek::pack::PackM;
using vek::pack::PackV;
using vek::pack::UnpackI;
using vek::pack::UnpackM;
using vek::pack::UnpackV;
#else
namespace hn = hwy::HWY_NAMESPACE;

using D64 = hn::ScalableTag<int64_t>;
using U64 = hn::RebindToUnsigned<D64>;
using Index = hn::Vec<D64>;
using Mask64 = hn::Mask<D64>;
inline constexpr size_t kLanes = hn::MaxLanes(D64());

// Lane permutations for each mask of kLanes bits, as indices of 32-bit and 64-bit lanes. Expand:
// the lane of a packed vector that each lane takes, the number of set bits below it. Compress: the
// lane that each packed lane comes from, the set lanes in order (the rest from lane 0). A table
// lookup of lanes is one permute on every target, where the processors' compress instructions,
// or Highway's 64-bit Compress with its table built on the stack, cost several times more.
struct LaneTables {
  int32_t expand32[1 << kLanes][kLanes];
  int64_t expand64[1 << kLanes][kLanes];
  int32_t compress32[1 << kLanes][kLanes];
  int64_t compress64[1 << kLanes][kLanes];
};
inline constexpr LaneTables kLaneTables = [] {
  LaneTables t{};
  for (unsigned bits = 0; bits < (1u << kLanes); ++bits) {
    int below = 0;
    for (size_t k = 0; k < kLanes; ++k) {
      t.expand32[bits][k] = below;
      t.expand64[bits][k] = below;
      if ((bits >> k) & 1) {
        t.compress32[bits][below] = static_cast<int32_t>(k);
        t.compress64[bits][below] = static_cast<int64_t>(k);
        ++below;
      }
    }
  }
  return t;
}();

template <class D>
HWY_INLINE hn::Vec<D> Permute(D d, hn::Vec<D> v, const int32_t* lanes32, const int64_t* lanes64) {
  if constexpr (sizeof(hn::TFromD<D>) == 4) {
    return hn::TableLookupLanes(v, hn::SetTableIndices(d, lanes32));
  } else {
    return hn::TableLookupLanes(v, hn::SetTableIndices(d, lanes64));
  }
}

// The packed lanes 0, 1, ... moved to the set lanes of `bits`, in order.
template <class D>
HWY_INLINE hn::Vec<D> ExpandLanes(D d, hn::Vec<D> packed, unsigned bits) {
  return Permute(d, packed, kLaneTables.expand32[bits], kLaneTables.expand64[bits]);
}

// The set lanes of `bits` moved to lanes 0, 1, ..., in order.
template <class D>
HWY_INLINE hn::Vec<D> CompressLanes(D d, hn::Vec<D> v, unsigned bits) {
  return Permute(d, v, kLaneTables.compress32[bits], kLaneTables.compress64[bits]);
}

inline unsigned MaskBits(Mask64 m) {
  alignas(8) uint8_t bits[8] = {};
  hn::StoreMaskBits(D64(), m, bits);
  return bits[0];
}

// Element types as units of lanes: loads, stores, gathers, scatters, compresses and expansions of
// one vector of kLanes elements. Gather and Scatter return false, having done nothing, where
// the unit cannot take the indices in vector form.
template <size_t kBytes>
struct Unit;

template <>
struct Unit<4> {
  using T = uint32_t;
  using D = hn::Rebind<uint32_t, D64>;
  using V = hn::Vec<D>;
  static V Load(const T* p) { return hn::LoadU(D(), p); }
  static void Store(V v, T* p) { hn::StoreU(v, D(), p); }
  // The indices as 32-bit lanes, if each of them is one.
  static bool Narrow(Index idx, hn::Vec<hn::Rebind<int32_t, D64> >& narrow) {
    const hn::Rebind<int32_t, D64> d32;
    narrow = hn::BitCast(d32, hn::TruncateTo(D(), hn::BitCast(U64(), idx)));
    return hn::AllTrue(D64(), hn::Eq(hn::PromoteTo(D64(), narrow), idx));
  }
  static bool Gather(const T* base, Index idx, V& v) {
    hn::Vec<hn::Rebind<int32_t, D64> > narrow;
    if (!Narrow(idx, narrow)) return false;
    v = GatherLanes(D(), base, narrow);
    return true;
  }
  static bool Scatter(V v, T* base, Index idx) {
    hn::Vec<hn::Rebind<int32_t, D64> > narrow;
    if (!Narrow(idx, narrow)) return false;
    hn::ScatterIndex(v, D(), base, narrow);
    return true;
  }
  static hn::Mask<D> Lanes(Mask64 m) {
    return hn::MaskFromVec(hn::TruncateTo(D(), hn::BitCast(U64(), hn::VecFromMask(D64(), m))));
  }
  static void BlendedStore(V v, Mask64 m, T* p) { hn::BlendedStore(v, Lanes(m), D(), p); }
  static size_t CompressStore(V v, Mask64 m, T* p) {
    return hn::CompressBlendedStore(v, Lanes(m), D(), p);
  }
  static void CompressFull(V v, unsigned bits, T* p) { Store(CompressLanes(D(), v, bits), p); }
  static V Expand(V v, unsigned bits) { return ExpandLanes(D(), v, bits); }
  static V Even(const T* p) {
    const hn::Twice<D> d2;
    const auto v = hn::LoadU(d2, p);
    return hn::LowerHalf(D(), hn::ConcatEven(d2, v, v));
  }
};

template <>
struct Unit<8> {
  using T = uint64_t;
  using V = hn::Vec<U64>;
  static V Load(const T* p) { return hn::LoadU(U64(), p); }
  static void Store(V v, T* p) { hn::StoreU(v, U64(), p); }
  static bool Gather(const T* base, Index idx, V& v) {
    v = GatherLanes(U64(), base, idx);
    return true;
  }
  static bool Scatter(V v, T* base, Index idx) {
    hn::ScatterIndex(v, U64(), base, idx);
    return true;
  }
  static void BlendedStore(V v, Mask64 m, T* p) {
    hn::BlendedStore(v, hn::RebindMask(U64(), m), U64(), p);
  }
  static size_t CompressStore(V v, Mask64 m, T* p) {
    return hn::CompressBlendedStore(v, hn::RebindMask(U64(), m), U64(), p);
  }
  static void CompressFull(V v, unsigned bits, T* p) { Store(CompressLanes(U64(), v, bits), p); }
  static V Expand(V v, unsigned bits) { return ExpandLanes(U64(), v, bits); }
  static V Even(const T* p) {
    return hn::ConcatEven(U64(), hn::LoadU(U64(), p + kLanes), hn::LoadU(U64(), p));
  }
};

template <>
struct Unit<16> {
  struct T {
    uint64_t half[2];
  };
  struct V {
    hn::Vec<U64> first, second;
  };
  static V Load(const T* p) {
    V v;
    hn::LoadInterleaved2(U64(), p->half, v.first, v.second);
    return v;
  }
  static void Store(V v, T* p) { hn::StoreInterleaved2(v.first, v.second, U64(), p->half); }
  static bool Gather(const T* base, Index idx, V& v) {
    hn::Vec<U64> halves[2];
    GatherColumns<2>(U64(), base->half, hn::Add(idx, idx), halves);
    v.first = halves[0];
    v.second = halves[1];
    return true;
  }
  static bool Scatter(V v, T* base, Index idx) {
    // Each element whole before the next, so that a repeated index keeps the last element.
    alignas(64) int64_t at[kLanes];
    alignas(64) uint64_t first[kLanes], second[kLanes];
    hn::Store(idx, D64(), at);
    hn::Store(v.first, U64(), first);
    hn::Store(v.second, U64(), second);
    for (size_t k = 0; k < kLanes; ++k) base[at[k]] = T{{first[k], second[k]}};
    return true;
  }
  static void BlendedStore(V v, Mask64 m, T* p) {
    alignas(64) T buf[kLanes];
    Store(v, buf);
    alignas(8) uint8_t bits[8] = {};
    hn::StoreMaskBits(D64(), m, bits);
    for (size_t k = 0; k < kLanes; ++k) {
      if ((bits[k / 8] >> (k % 8)) & 1) p[k] = buf[k];
    }
  }
  static size_t CompressStore(V v, Mask64 m, T* p) {
    const auto mu = hn::RebindMask(U64(), m);
    const size_t count = hn::CountTrue(U64(), mu);
    alignas(64) T buf[kLanes];
    Store(V{hn::Compress(v.first, mu), hn::Compress(v.second, mu)}, buf);
    if (count != 0) std::memcpy(p, buf, count * sizeof(T));
    return count;
  }
  static void CompressFull(V v, unsigned bits, T* p) {
    Store(V{CompressLanes(U64(), v.first, bits), CompressLanes(U64(), v.second, bits)}, p);
  }
  static V Expand(V v, unsigned bits) {
    return V{ExpandLanes(U64(), v.first, bits), ExpandLanes(U64(), v.second, bits)};
  }
};

template <class E>
using UnitOf = Unit<sizeof(E)>;
template <class E>
using Raw = typename UnitOf<E>::T;

template <class E>
const Raw<E>* AsRaw(const E* p) {
  return reinterpret_cast<const Raw<E>*>(p);
}
template <class E>
Raw<E>* AsRaw(E* p) {
  return reinterpret_cast<Raw<E>*>(p);
}

inline Mask64 NonZero(const int64_t* m) { return hn::Ne(hn::LoadU(D64(), m), hn::Zero(D64())); }

// y[i] = a[i * incra].
template <class E>
void PackI(int64_t n, const E* a, int64_t incra, E* y) {
  using U = UnitOf<E>;
  const auto* src = AsRaw(a);
  auto* dst = AsRaw(y);
  const int64_t body = n - n % static_cast<int64_t>(kLanes);
  int64_t i = 0;
  if (incra == 1) {
    for (; i < body; i += kLanes) U::Store(U::Load(src + i), dst + i);
  }
  if constexpr (sizeof(E) <= 8) {
    // The two loads reach a[2 (i + N) - 1], one past the last element read: stop a vector early.
    if (incra == 2) {
      for (; i + static_cast<int64_t>(kLanes) < n; i += kLanes) {
        U::Store(U::Even(src + 2 * i), dst + i);
      }
    }
  }
  if (i < n) vek::pack::PackI(n - i, a + i * incra, incra, y + i);
}

// y[i] = a[ia[i]].
template <class E>
void PackV(int64_t n, const E* a, const int64_t* ia, E* y) {
  using U = UnitOf<E>;
  const auto* src = AsRaw(a);
  auto* dst = AsRaw(y);
  const int64_t body = n - n % static_cast<int64_t>(kLanes);
  for (int64_t i = 0; i < body; i += kLanes) {
    typename U::V v;
    if (U::Gather(src, hn::LoadU(D64(), ia + i), v)) {
      U::Store(v, dst + i);
    } else {
      vek::pack::PackV(static_cast<int64_t>(kLanes), a, ia + i, y + i);
    }
  }
  vek::pack::PackV(n - body, a, ia + body, y + body);
}

// Counts the set masks of whole vectors ahead of the one being moved, so that a full vector store
// (Pack) or load (Unpack) at the packed position j is known to stay inside the packed array.
class Lookahead {
 public:
  Lookahead(const int64_t* m, int64_t body) : m_(m), body_(body) {}
  // Whether at least `need` masks of the whole vectors are set.
  bool Reaches(int64_t need) {
    while (seen_ < need && scan_ < body_) {
      seen_ += static_cast<int64_t>(hn::CountTrue(D64(), NonZero(m_ + scan_)));
      scan_ += static_cast<int64_t>(kLanes);
    }
    return seen_ >= need;
  }

 private:
  const int64_t* m_;
  int64_t body_;
  int64_t seen_ = 0;
  int64_t scan_ = 0;
};

// The elements of a whose mask is non-zero, in order, to y[0], y[1], ...
template <class E>
void PackM(int64_t n, const E* a, const int64_t* ma, E* y) {
  using U = UnitOf<E>;
  const auto* src = AsRaw(a);
  auto* dst = AsRaw(y);
  const int64_t body = n - n % static_cast<int64_t>(kLanes);
  Lookahead ahead(ma, body);
  int64_t j = 0;
  for (int64_t i = 0; i < body; i += kLanes) {
    const Mask64 m = NonZero(ma + i);
    if (ahead.Reaches(j + static_cast<int64_t>(kLanes))) {
      const unsigned bits = MaskBits(m);
      U::CompressFull(U::Load(src + i), bits, dst + j);
      j += __builtin_popcount(bits);
    } else {
      j += static_cast<int64_t>(U::CompressStore(U::Load(src + i), m, dst + j));
    }
  }
  vek::pack::PackM(n - body, a + body, ma + body, y + j);
}

// y[i * incry] = a[i].
template <class E>
void UnpackI(int64_t n, const E* a, E* y, int64_t incry) {
  using U = UnitOf<E>;
  const auto* src = AsRaw(a);
  auto* dst = AsRaw(y);
  const int64_t body = n - n % static_cast<int64_t>(kLanes);
  int64_t i = 0;
  if (incry == 1) {
    for (; i < body; i += kLanes) U::Store(U::Load(src + i), dst + i);
  }
  if (i < n) vek::pack::UnpackI(n - i, a + i, y + i * incry, incry);
}

// y[iy[i]] = a[i].
template <class E>
void UnpackV(int64_t n, const E* a, E* y, const int64_t* iy) {
  using U = UnitOf<E>;
  const auto* src = AsRaw(a);
  auto* dst = AsRaw(y);
  const int64_t body = n - n % static_cast<int64_t>(kLanes);
  for (int64_t i = 0; i < body; i += kLanes) {
    if (!U::Scatter(U::Load(src + i), dst, hn::LoadU(D64(), iy + i))) {
      vek::pack::UnpackV(static_cast<int64_t>(kLanes), a + i, y, iy + i);
    }
  }
  vek::pack::UnpackV(n - body, a + body, y, iy + body);
}

// a[0], a[1], ... in order to the elements of y whose mask is non-zero.
template <class E>
void UnpackM(int64_t n, const E* a, E* y, const int64_t* my) {
  using U = UnitOf<E>;
  const auto* src = AsRaw(a);
  auto* dst = AsRaw(y);
  const int64_t body = n - n % static_cast<int64_t>(kLanes);
  Lookahead ahead(my, body);
  int64_t j = 0;
  for (int64_t i = 0; i < body; i += kLanes) {
    const Mask64 m = NonZero(my + i);
    const int64_t count = static_cast<int64_t>(hn::CountTrue(D64(), m));
    if (count == 0) continue;
    if (ahead.Reaches(j + static_cast<int64_t>(kLanes))) {
      U::BlendedStore(U::Expand(U::Load(src + j), MaskBits(m)), m, dst + i);
    } else {
      vek::pack::UnpackM(static_cast<int64_t>(kLanes), a + j, y + i, my + i);
    }
    j += count;
  }
  vek::pack::UnpackM(n - body, a + j, y + body, my + body);
}

#endif  // HWY_TARGET == HWY_SCALAR
}  // namespace pack
}  // namespace oxl::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // OXL_VEK_KERNELS_PACK_INL_H_
