// The hybrid cell search, one instance per SIMD target. The result of every site is an index, so
// the targets agree exactly; what the vectors buy is the count over the final window.
//
// Per site: the bin of the site gives a window of knots in two loads; halving steps, which select
// without a branch, narrow a wide window to at most kCountWindow knots; then the knots <= s are
// counted over a window of fixed length from its start. Knots past the window's end exceed s, so
// a fixed length counts the same as the window itself wherever it stays inside the partition, and
// a fixed trip count leaves nothing to mispredict: which half, or how far into the window, a
// random site falls is as good as random to the predictor.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "df/hybrid_search.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include "df/search.h"
#include "simd/targets.h"

HWY_BEFORE_NAMESPACE();
namespace oxl::df::HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

// The count over the window: the same fixed length on every target, so that even knots that do
// not ascend (which give wrong cells by contract) give the same wrong cells everywhere.
static_assert(search::kCountWindow % 8 == 0, "whole vectors of up to eight lanes");

template <class T>
HWY_INLINE int64_t CountAtMost(const T* HWY_RESTRICT w, T s) {
  const hn::CappedTag<T, 8> d;
  const hn::RebindToSigned<decltype(d)> di;
  const size_t lanes = hn::Lanes(d);
  const auto vs = hn::Set(d, s);
  // Two sums, so that the additions of one window do not wait on each other.
  auto acc0 = hn::Zero(di);
  auto acc1 = hn::Zero(di);
  size_t k = 0;
  for (; k + 2 * lanes <= search::kCountWindow; k += 2 * lanes) {
    // A true lane is all ones, minus one as an integer.
    acc0 = hn::Sub(acc0, hn::BitCast(di, hn::VecFromMask(d, hn::Le(hn::LoadU(d, w + k), vs))));
    acc1 =
        hn::Sub(acc1, hn::BitCast(di, hn::VecFromMask(d, hn::Le(hn::LoadU(d, w + k + lanes), vs))));
  }
  for (; k < search::kCountWindow; k += lanes) {
    acc0 = hn::Sub(acc0, hn::BitCast(di, hn::VecFromMask(d, hn::Le(hn::LoadU(d, w + k), vs))));
  }
  return static_cast<int64_t>(hn::GetLane(hn::SumOfLanes(di, hn::Add(acc0, acc1))));
}

// Sites go in groups that take each halving step together: the knot loads of one step are
// independent across the group, so a large partition's cache misses overlap instead of queueing
// behind one another, and the next step's knots are asked for as soon as they are known.
constexpr int64_t kGroup = 32;

template <class T, class Cell, class Idx>
HWY_INLINE void Group(const T* HWY_RESTRICT x, Idx n, const T* HWY_RESTRICT site, int64_t m,
                      T scale, int64_t bins, const int64_t* HWY_RESTRICT table,
                      Cell* HWY_RESTRICT cells) {
  const T x0 = x[0];
  const T last = x[n - 1];
  Idx lo[kGroup], hi[kGroup];
  // The cell of a site outside the knots, or -1 for a site that needs its window searched.
  Idx fixed[kGroup];
  Idx wide = 0;
  for (int64_t k = 0; k < m; ++k) {
    const T s = site[k];
    fixed[k] = s < x0 ? 0 : s > last ? n : s == last ? n - 1 : -1;
    const int64_t b = search::TruncAtMost<int64_t>(scale * (s - x0), bins);
    // The clamps keep the window inside for a site outside the knots (whose bin is meaningless)
    // and for a table built for other knots.
    const int64_t l = std::clamp<int64_t>(table[2 * b], 0, n - 1);
    const int64_t h = std::clamp<int64_t>(table[2 * b + 1], l, n - 1);
    lo[k] = static_cast<Idx>(l);
    hi[k] = static_cast<Idx>(fixed[k] < 0 ? h : l);
    __builtin_prefetch(x + ((l + h) >> 1));
    wide |= hi[k] - lo[k] > search::kCountWindow ? 1 : 0;
  }
  while (wide != 0) {
    wide = 0;
    for (int64_t k = 0; k < m; ++k) {
      // Steps select without a branch: which half holds s is as good as random. A site whose
      // window is already narrow reads a knot and keeps its window.
      const Idx l = lo[k], h = hi[k];
      const Idx active = -static_cast<Idx>(h - l > search::kCountWindow);
      const Idx mid = static_cast<Idx>((static_cast<int64_t>(h) + l) >> 1);
      const Idx above = -static_cast<Idx>(x[mid] > site[k]);
      const Idx nh = h ^ ((h ^ mid) & active & above);
      const Idx nl = l ^ ((l ^ mid) & active & ~above);
      hi[k] = nh;
      lo[k] = nl;
      __builtin_prefetch(x + ((static_cast<int64_t>(nh) + nl) >> 1));
      wide |= nh - nl > search::kCountWindow ? 1 : 0;
    }
  }
  for (int64_t k = 0; k < m; ++k) {
    const Idx l = lo[k];
    const Idx width = hi[k] - l;
    Idx cell;
    if (fixed[k] >= 0) {
      cell = fixed[k];
    } else if (width < 2) {
      cell = l + width;
    } else if (l + search::kCountWindow <= n) {
      cell = l + static_cast<Idx>(CountAtMost(x + l, site[k]));
    } else {
      // The window at the end of the partition: a fixed length would run past the last knot.
      cell = l;
      for (Idx j = 0; j < width; ++j) cell += x[l + j] <= site[k] ? 1 : 0;
    }
    cells[k] = static_cast<Cell>(cell);
  }
}

template <class T, class Cell, class Idx>
int32_t Span(const SearchSpan<T>& a) {
  const Idx n = static_cast<Idx>(a.partition_size);
  Cell* cells = static_cast<Cell*>(a.cells);
  for (int64_t start = 0; start < a.nsite; start += kGroup) {
    Group<T, Cell, Idx>(a.partition, n, a.site + start, std::min(kGroup, a.nsite - start), a.scale,
                        a.bin_count, a.search_table, cells + start);
  }
  return DF_STATUS_OK;
}

int32_t HybridD32(const SearchSpan<double>& a) { return Span<double, int32_t, int32_t>(a); }
int32_t HybridD64(const SearchSpan<double>& a) { return Span<double, int64_t, int64_t>(a); }
int32_t HybridD64Pack(const SearchSpan<double>& a) { return Span<double, int64_t, int32_t>(a); }
int32_t HybridS32(const SearchSpan<float>& a) { return Span<float, int32_t, int32_t>(a); }
int32_t HybridS64(const SearchSpan<float>& a) { return Span<float, int64_t, int64_t>(a); }
int32_t HybridS64Pack(const SearchSpan<float>& a) { return Span<float, int64_t, int32_t>(a); }

}  // namespace oxl::df::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace oxl::df {

HWY_EXPORT(HybridD32);
HWY_EXPORT(HybridD64);
HWY_EXPORT(HybridD64Pack);
HWY_EXPORT(HybridS32);
HWY_EXPORT(HybridS64);
HWY_EXPORT(HybridS64Pack);

template <>
int32_t HybridSearchSpan<double, kForm32>(const SearchSpan<double>& a) {
  return OXL_DISPATCH(HybridD32)(a);
}
template <>
int32_t HybridSearchSpan<double, kForm64>(const SearchSpan<double>& a) {
  return OXL_DISPATCH(HybridD64)(a);
}
template <>
int32_t HybridSearchSpan<double, kForm64Pack>(const SearchSpan<double>& a) {
  return OXL_DISPATCH(HybridD64Pack)(a);
}
template <>
int32_t HybridSearchSpan<float, kForm32>(const SearchSpan<float>& a) {
  return OXL_DISPATCH(HybridS32)(a);
}
template <>
int32_t HybridSearchSpan<float, kForm64>(const SearchSpan<float>& a) {
  return OXL_DISPATCH(HybridS64)(a);
}
template <>
int32_t HybridSearchSpan<float, kForm64Pack>(const SearchSpan<float>& a) {
  return OXL_DISPATCH(HybridS64Pack)(a);
}

}  // namespace oxl::df
#endif
