// Cell search: the method choice and the span kernels that search, interpolation and integration
// share. A kernel is a template over the real type, the cell width and the index arithmetic; the
// exported forms 32, 64 and 64Pack are its three instantiations.
#pragma once

#include <algorithm>
#include <cstdint>
#include <limits>

#include "df/task.h"

namespace oxl::df {

enum SearchMethod : int32_t {
  kUniform = 0,
  kQuasiUniform = 1,
  kSorted = 2,
  kPeak = 3,
  kHybrid = 4,
  kUserDef = 5,
  kUniUserDef = 6,
  kCellsGiven = 7,
};
inline constexpr int32_t kMethodCount = 7;

// Sites per call of a search callback.
inline constexpr int64_t kCallbackBlock = 128;
// Below this many sites the search entry works on the calling thread without a frame.
inline constexpr int64_t kFrameThreshold = 32;
// The uniform-site buffer kept in a frame's own storage.
inline constexpr int64_t kInlineSites = 4096;
// The largest partition whose index arithmetic fits 32 bits.
inline constexpr int64_t kIndex32Limit = 2147483647;

template <class T>
using SearchCallback = int32_t (*)(int64_t*, const T*, void*, int32_t*, void*, void*);

// The arguments of a span kernel, in one record.
template <class T>
struct SearchSpan {
  int64_t partition_size;
  const T* partition;
  int64_t nsite;
  const T* site;
  void* cursor;
  const T* data_hint;
  int64_t bin_count;
  const int64_t* search_table;
  void* cells;
  SearchCallback<T> callback;
  void* params;
  void* library_params;
  int32_t* flag_array;
  T scale;
};

// The method from the task's and the caller's hints, never from the data. -1026 for a data hint
// that declares something other than nothing or a peak inside the cells.
template <class T>
int32_t ChooseSearchMethod(const df_task* task, int64_t site_hint, const T* data_hint,
                           bool has_callback, int32_t* method) {
  const int64_t hint = task->partition_hint;
  if (has_callback) {
    *method = hint == PARTITION_UNIFORM ? kUniUserDef : kUserDef;
  } else if (hint == PARTITION_UNIFORM) {
    *method = kUniform;
  } else if (hint == PARTITION_QUASIUNIFORM) {
    *method = kQuasiUniform;
  } else if (site_hint == SITES_SORTED) {
    *method = kSorted;
  } else if (data_hint == nullptr || data_hint[1] == T(0)) {
    *method = kHybrid;
  } else if (data_hint[1] == T(1) && data_hint[4] >= T(0) &&
             data_hint[4] <= static_cast<T>(task->partition_size)) {
    *method = kPeak;
  } else {
    return DF_STATUS_BAD_DATA_HINT;
  }
  return DF_STATUS_OK;
}

namespace search {

// Truncation of a non-negative position, with anything at or past `limit` (a NaN included)
// read as `limit`, so that no site can index outside the knots.
template <class Idx, class T>
inline Idx TruncAtMost(T v, Idx limit) {
  if (!(v < static_cast<T>(limit))) return limit;
  if (!(v > T(0))) return 0;
  return static_cast<Idx>(v);
}

// Cell of s from cell `cell`, looking at knots j = from, from-1, ...: each knot above s moves
// the cell down to j.
template <class T, class Idx>
inline Idx WalkDown(const T* x, T s, Idx cell, Idx from) {
  for (Idx j = from; j >= 0 && x[j] > s; --j) cell = j;
  return cell;
}

// Cell of s from cell `from`, looking at knots j = from, from+1, ... below n.
template <class T, class Idx>
inline Idx WalkUp(const T* x, Idx n, T s, Idx from) {
  Idx cell = from;
  for (Idx j = from; j < n && !(x[j] > s); ++j) cell = j + 1;
  return cell;
}

template <class T, class Idx>
inline Idx UniformCell(T s, T x0, T x1, Idx n, T scale) {
  if (s < x0) return 0;
  if (s == x1) return n - 1;
  const Idx t = TruncAtMost<Idx>(scale * (s - x0), n);
  // t may be n itself, the largest index of the form: compared before it is raised.
  return t < n - 1 ? t + 1 : n;
}

// The longest window the hybrid search counts through after bisection.
inline constexpr int kCountWindow = 40;

// One bin over the whole partition (its upper bound clamps to the last knot) and the spare pair
// behind it: the windows of an unfilled table, a uniform task's, one whose partition was edited
// since it was built, or one whose creation failed before the table came.
inline constexpr int64_t kWholePartition[4] = {0, INT64_MAX, 0, INT64_MAX};

// The walks of the user-defined search from a guess g in [0, n].
template <class T, class Idx>
inline Idx FinishFromGuess(const T* x, Idx n, T s, Idx g) {
  const T last = x[n - 1];
  if (g >= n) {
    if (s == last) return n - 1;
    return WalkDown<T, Idx>(x, s, n, n - 1);
  }
  if (s >= x[g]) {
    if (s == last) return n - 1;
    return WalkUp<T, Idx>(x, n, s, g);
  }
  if (g != 0 && x[g - 1] > s) {
    if (s == last) return n - 1;
    return WalkDown<T, Idx>(x, s, g, g - 1);
  }
  return g;
}

// The searches of one span of sites, one routine per method. Cell: the stored width; Idx: the
// arithmetic.

// A uniform partition is given by its two ends; the scale follows from them.
template <class T, class Cell, class Idx>
int32_t UniformCells(const SearchSpan<T>& a) {
  const T x0 = a.partition[0], x1 = a.partition[1];
  const Idx n = static_cast<Idx>(a.partition_size);
  const T scale = static_cast<T>(n - 1) / (x1 - x0);
  Cell* cells = static_cast<Cell*>(a.cells);
  for (int64_t i = 0; i < a.nsite; ++i) {
    cells[i] = static_cast<Cell>(UniformCell<T, Idx>(a.site[i], x0, x1, n, scale));
  }
  return DF_STATUS_OK;
}

// Quasi-uniform knots: the guess from the scale, then a walk to the cell.
template <class T, class Cell, class Idx>
int32_t QuasiUniformCells(const SearchSpan<T>& a) {
  const T* x = a.partition;
  const Idx n = static_cast<Idx>(a.partition_size);
  const T x0 = x[0], last = x[n - 1];
  Cell* cells = static_cast<Cell*>(a.cells);
  for (int64_t i = 0; i < a.nsite; ++i) {
    const T s = a.site[i];
    Idx cell;
    if (s < x0) {
      cell = 0;
    } else if (s == last) {
      cell = n - 1;
    } else {
      const Idx g = TruncAtMost<Idx>(a.scale * (s - x0), n - 1) + 1;
      if (g >= n) {
        cell = WalkDown<T, Idx>(x, s, n, n - 1);
      } else if (s >= x[g]) {
        cell = WalkUp<T, Idx>(x, n, s, g);
      } else {
        cell = WalkDown<T, Idx>(x, s, g, g - 1);
      }
    }
    cells[i] = static_cast<Cell>(cell);
  }
  return DF_STATUS_OK;
}

// Sorted sites: a cursor walks up from where the last site left it; the first site of a span
// first takes one or two halving steps toward its cell (the bound stays n/2 by design).
template <class T, class Cell, class Idx>
int32_t SortedCells(const SearchSpan<T>& a) {
  const T* x = a.partition;
  const Idx n = static_cast<Idx>(a.partition_size);
  const T last = x[n - 1];
  Cell* cells = static_cast<Cell*>(a.cells);
  Cell* cursor_ref = static_cast<Cell*>(a.cursor);
  Idx cursor = static_cast<Idx>(std::clamp<int64_t>(*cursor_ref, 0, n));
  for (int64_t i = 0; i < a.nsite; ++i) {
    const T s = a.site[i];
    if (s == last) {
      cells[i] = static_cast<Cell>(n - 1);
      continue;
    }
    if (i == 0) {
      Idx hi = n;
      while (cursor < hi - n / 2) {
        const Idx mid = static_cast<Idx>((static_cast<int64_t>(cursor) + hi) >> 1);
        if (x[mid] > s) {
          hi = mid;
        } else {
          cursor = mid;
        }
      }
    }
    while (cursor < n && x[cursor] <= s) ++cursor;
    cells[i] = static_cast<Cell>(cursor);
  }
  *cursor_ref = static_cast<Cell>(cursor);
  return DF_STATUS_OK;
}

// Sites gathered around the peak knot p: walks from p.
template <class T, class Cell, class Idx>
int32_t PeakCells(const SearchSpan<T>& a) {
  const T* x = a.partition;
  const Idx n = static_cast<Idx>(a.partition_size);
  const T last = x[n - 1];
  const Idx p = TruncAtMost<Idx>(a.scale, n);
  Cell* cells = static_cast<Cell*>(a.cells);
  for (int64_t i = 0; i < a.nsite; ++i) {
    const T s = a.site[i];
    Idx cell;
    if (s == last) {
      cell = n - 1;
    } else if (p >= n) {
      cell = s > last ? n : WalkDown<T, Idx>(x, s, n - 1, n - 2);
    } else if (s >= x[p]) {
      cell = WalkUp<T, Idx>(x, n, s, p);
    } else if (p != 0 && x[p - 1] > s) {
      cell = WalkDown<T, Idx>(x, s, p, p - 1);
    } else {
      cell = p;
    }
    cells[i] = static_cast<Cell>(cell);
  }
  return DF_STATUS_OK;
}

// The caller's search in blocks: sites its flags leave open are finished by the library, from
// the cell it guessed (or, for a uniform partition, from the two ends); a result of 1000 says
// the callback has found every cell.
template <bool kUniformEnds, class T, class Cell, class Idx>
int32_t CallbackCells(const SearchSpan<T>& a) {
  const T* x = a.partition;
  const Idx n = static_cast<Idx>(a.partition_size);
  Cell* cells = static_cast<Cell*>(a.cells);
  int32_t local_flags[kCallbackBlock];
  int32_t* flags = a.flag_array != nullptr ? a.flag_array : local_flags;
  const T uni_scale = static_cast<T>(n - 1) / (x[1] - x[0]);
  int32_t result = 0;
  for (int64_t start = 0; start < a.nsite; start += kCallbackBlock) {
    int64_t count = std::min(kCallbackBlock, a.nsite - start);
    Cell* block_cells = cells + start;
    const T* block_sites = a.site + start;
    std::fill(flags, flags + count, 0);
    result = a.callback(&count, block_sites, block_cells, flags, a.params, a.library_params);
    if (result < 0) return result;
    if (result == 1000) continue;
    for (int64_t i = 0; i < count; ++i) {
      if (flags[i] != 0) continue;
      const T s = block_sites[i];
      if constexpr (kUniformEnds) {
        block_cells[i] = static_cast<Cell>(UniformCell<T, Idx>(s, x[0], x[1], n, uni_scale));
      } else {
        const int64_t guess = static_cast<int64_t>(block_cells[i]);
        const Idx g = guess < 1 ? 0 : static_cast<Idx>(std::min<int64_t>(guess, n));
        block_cells[i] = static_cast<Cell>(FinishFromGuess<T, Idx>(x, n, s, g));
      }
    }
  }
  return result == 1000 ? DF_STATUS_OK : result;
}

// One span of sites by method M.
template <int32_t M, class T, class Cell, class Idx>
int32_t Kernel(const SearchSpan<T>& a) {
  if constexpr (M == kUniform) {
    return UniformCells<T, Cell, Idx>(a);
  } else if constexpr (M == kQuasiUniform) {
    return QuasiUniformCells<T, Cell, Idx>(a);
  } else if constexpr (M == kSorted) {
    return SortedCells<T, Cell, Idx>(a);
  } else if constexpr (M == kPeak) {
    return PeakCells<T, Cell, Idx>(a);
  } else {
    static_assert(M == kUserDef || M == kUniUserDef);
    return CallbackCells<M == kUniUserDef, T, Cell, Idx>(a);
  }
}

}  // namespace search

// The running index a sorted search starts a block from, so that a block cut from the middle of
// the sites (a thread's share) costs what it costs in a serial run: the first knot above the
// block's first site, by bisection over the whole partition, rather than a walk from knot 0.
// Other methods keep no index: 0.
template <class T>
int64_t StartCursor(int32_t method, const T* x, int64_t n, T first_site) {
  if (method != kSorted) return 0;
  return std::partition_point(x, x + n, [first_site](T knot) { return !(knot > first_site); }) - x;
}

// The kernel of a method in a form: 0 for 32, 1 for 64, 2 for 64Pack.
enum SearchForm : int32_t { kForm32 = 0, kForm64 = 1, kForm64Pack = 2 };

template <class T>
using SpanKernel = int32_t (*)(const SearchSpan<T>&);

// The hybrid search of a span in form `kForm`, on the processor's best SIMD target.
template <class T, int32_t kForm>
int32_t HybridSearchSpan(const SearchSpan<T>& a);

template <class T>
SpanKernel<T> SearchKernelFor(int32_t method, int32_t form);

// The form of the unsuffixed kernels: flags bit 0 int_flag, bit 1 cells in the caller's array.
inline int32_t SearchFormFromFlags(int32_t flags, int64_t partition_size) {
  if ((flags & 2) != 0 && (flags & 1) == 0) return kForm32;
  return partition_size >= kIndex32Limit ? kForm64 : kForm64Pack;
}

// Whether the cells of a partition fit the form: 32-bit cells and arithmetic hold partitions
// below kIndex32Limit knots; past that a cell would wrap, so searches in that form refuse.
inline bool CellsFit(int32_t form, int64_t partition_size) {
  return form != kForm32 || partition_size < kIndex32Limit;
}

// The scale that interpolation and integration hand to a search kernel of `method`: the knot
// step for the uniform searches (whose kernels work out their own scale), the mean knot step for
// the quasi-uniform one, the peak cell, or the bin scale.
template <class T>
T SearchScale(const df_task* task, int32_t method, const T* data_hint) {
  const int64_t n = task->partition_size;
  const T* x = Knots<T>(task);
  switch (method) {
    case kUniform:
    case kUniUserDef:
      return n > 1 ? (x[1] - x[0]) / static_cast<T>(n - 1) : T(0);
    case kQuasiUniform:
      return (x[n - 1] - x[0]) / static_cast<T>(n - 1);
    case kPeak:
      return data_hint[4];
    case kSorted:
    case kHybrid:
      return BinScale<T>(task);
    default:
      return T(0);
  }
}

// The whole search of `nsite` sites by the settled method, with the frame's threading; the
// serial path alone when `allow_threads` is false.
template <class T>
int32_t SearchFrame(const df_task* task, int32_t method, int64_t nsite, const T* site,
                    int64_t site_hint, const T* data_hint, void* cells, SearchCallback<T> callback,
                    void* params, const thread_services* services, bool allow_threads);

// Writes nsite evenly spaced sites from the two given ends into `out`.
template <class T>
void ExpandUniformSites(const T* ends, int64_t nsite, T* out);

}  // namespace oxl::df
