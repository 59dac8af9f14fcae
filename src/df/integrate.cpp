// Integration: the front, the frame that finds the cells of both limits block by block, and the
// integrators of the seven kinds, with and without callbacks.
//
// For a pair l <= r whose limits fall in polynomial pieces p <= q (a limit outside the partition
// belongs to the end piece), the integral is F_p(r - w_p) - F_p(l - w_p) when p = q, and
// otherwise (F_p(h_p) - F_p(l - w_p)) + sum of F_k(h_k) over the whole pieces between + F_q(r -
// w_q), where w is a piece's left wall, h its width and F_k(t) the integral of piece k from its
// left wall to t. A pair given the other way round is integrated in this order and negated, so that
// swapping the limits negates the result exactly and l = r gives 0.
#include <algorithm>
#include <atomic>
#include <cmath>

#include "df/cubic.h"
#include "df/evaluate.h"
#include "df/search.h"
#include "df/whole_cells.h"

namespace oxl::df {
namespace {

template <class T>
using IntegrCallback = int32_t (*)(int64_t*, const T*, const T*, T*, void*, void*);

// At this many limit pairs or more the frame works in blocks of kBlock (and with threads).
constexpr int64_t kBlockedPairs = 4096;
constexpr int64_t kBlock = 128;

template <class T>
struct IntegrArgs {
  int64_t partition_size;
  const T* partition;
  int64_t partition_hint;
  const T* internal_data;
  int64_t internal_type;
  int64_t nlim;
  const T* left;
  const int64_t* left_cells;
  const T* right;
  const int64_t* right_cells;
  T* const* value_rows;
  int64_t function_count;
  int64_t values_hint;
  int64_t spline_order;
  T* const* coefficient_rows;
  T* results;
  int64_t function_stride;
  int64_t limit_stride;
  T knot_step;
};

// Knots of a partition given in full or, when uniform, by its two ends and the step.
template <class T>
struct Walls {
  const T* x;
  int64_t n;
  T step;
  bool uniform;

  explicit Walls(const IntegrArgs<T>& a)
      : x(a.partition),
        n(a.partition_size),
        step(a.knot_step),
        uniform(a.partition_hint == PARTITION_UNIFORM) {}
  T Knot(int64_t i) const { return uniform ? std::fma(static_cast<T>(i), step, x[0]) : x[i]; }
  T Width(int64_t i) const { return uniform ? step : x[i + 1] - x[i]; }
};

// The integral from 0 to t of a polynomial in ascending coefficients, in the nested fused form
// with the constants of the cubic table: (((c3/4) t + c2/3) t + c1/2) t + c0) t and its lower
// orders; an arbitrary order divides coefficient j by j + 1.
template <int D, class T>
inline T Antiderivative(const T* c, T t, int64_t order) {
  if constexpr (D == 1) {
    return std::fma(c[1] * Cub<T>(kHalf), t, c[0]) * t;
  } else if constexpr (D == 2) {
    return std::fma(std::fma(c[2] * Cub<T>(kThird), t, c[1] * Cub<T>(kHalf)), t, c[0]) * t;
  } else if constexpr (D == 3) {
    return std::fma(std::fma(std::fma(c[3] * Cub<T>(kQuarter), t, c[2] * Cub<T>(kThird)), t,
                             c[1] * Cub<T>(kHalf)),
                    t, c[0]) *
           t;
  } else {
    T acc = c[order - 1] / static_cast<T>(order);
    for (int64_t j = order - 2; j >= 0; --j) acc = std::fma(acc, t, c[j] / static_cast<T>(j + 1));
    return acc * t;
  }
}

// Sum of f(k) over k in [begin, end) in four interleaved partial sums, a fixed order that does
// not depend on where a block or a thread starts.
template <class T, class F>
inline T SumPieces(int64_t begin, int64_t end, F f) {
  T acc0 = 0, acc1 = 0, acc2 = 0, acc3 = 0;
  int64_t k = begin;
  for (; k + 4 <= end; k += 4) {
    acc0 += f(k);
    acc1 += f(k + 1);
    acc2 += f(k + 2);
    acc3 += f(k + 3);
  }
  T tail = 0;
  for (; k < end; ++k) tail += f(k);
  return ((acc0 + acc1) + (acc2 + acc3)) + tail;
}

// Polynomial pieces on the knots: degree D (1 to 3), or D = 0 for an arbitrary order.
template <int D, class T>
struct KnotPieces {
  Walls<T> w;
  const T* c;
  int64_t order;

  KnotPieces(const IntegrArgs<T>& a, int64_t f)
      : w(a), c(a.coefficient_rows[f]), order(D > 0 ? D + 1 : a.spline_order) {}
  // The piece of a limit and its left wall.
  int64_t Locate(T /*s*/, int64_t cell, T* wall) const {
    const int64_t p = eval::PolynomialIndex(cell, w.n - 2);
    *wall = w.Knot(p);
    return p;
  }
  T Width(int64_t p) const { return w.Width(p); }
  T F(int64_t p, T t) const { return Antiderivative<D, T>(c + p * order, t, order); }
  // Whole pieces [begin, end): groups of four in the vector loop, then the rest.
  T Whole(int64_t begin, int64_t end) const {
    if constexpr (D == 0) {
      return SumPieces<T>(begin, end, [&](int64_t k) { return F(k, Width(k)); });
    } else {
      const int64_t groups = (end - begin) / 4;
      T sums[4] = {0, 0, 0, 0};
      if (groups > 0) WholeCellSums(D, w.uniform, c, w.x, w.step, begin, groups, sums);
      T tail = 0;
      for (int64_t k = begin + 4 * groups; k < end; ++k) tail += F(k, Width(k));
      return ((sums[0] + sums[1]) + (sums[2] + sums[3])) + tail;
    }
  }
};

// Subbotin's quadratic: n pieces whose walls are x[0], the subgrid points and x[n-1].
template <class T>
struct SubbotinPieces {
  Walls<T> w;
  const T* c;
  const T* sub;
  T sub_step;
  bool uniform_subgrid;

  SubbotinPieces(const IntegrArgs<T>& a, int64_t f)
      : w(a),
        c(a.coefficient_rows[f]),
        sub(a.internal_data),
        sub_step(0),
        uniform_subgrid((a.internal_type & IC_SUBGRID_UNIFORM) != 0) {
    if (uniform_subgrid && w.n > 2) sub_step = (sub[1] - sub[0]) / static_cast<T>(w.n - 2);
  }
  T Sub(int64_t j) const {
    return uniform_subgrid ? std::fma(static_cast<T>(j), sub_step, sub[0]) : sub[j];
  }
  T Wall(int64_t p) const {
    if (p <= 0) return w.Knot(0);
    if (p >= w.n) return w.Knot(w.n - 1);
    return Sub(p - 1);
  }
  // The knot interval of the cell holds two pieces, divided at its subgrid point.
  int64_t Locate(T s, int64_t cell, T* wall) const {
    const int64_t idx = eval::PolynomialIndex(cell, w.n - 2);
    const T divide = Sub(idx);
    if (s >= divide) {
      *wall = divide;
      return idx + 1;
    }
    *wall = Wall(idx);
    return idx;
  }
  T Width(int64_t p) const { return Wall(p + 1) - Wall(p); }
  T F(int64_t p, T t) const { return Antiderivative<2, T>(c + 3 * p, t, 3); }
  T Whole(int64_t begin, int64_t end) const {
    return SumPieces<T>(begin, end, [&](int64_t k) { return F(k, Width(k)); });
  }
};

template <class Pieces, class T>
T PiecewiseIntegral(const Pieces& pc, T l, int64_t cl, T r, int64_t cr) {
  T wl, wr;
  const int64_t p = pc.Locate(l, cl, &wl);
  const int64_t q = pc.Locate(r, cr, &wr);
  if (p >= q) return pc.F(p, r - wl) - pc.F(p, l - wl);
  const T first = pc.F(p, pc.Width(p)) - pc.F(p, l - wl);
  const T whole = pc.Whole(p + 1, q);
  return (first + whole) + pc.F(q, r - wr);
}

// Step functions: region k in [0, n-2] is the knot interval [x[k], x[k+1]]; region -1 lies left
// of the partition and n-1 right of it, both with the end value. The right-continuous form takes
// y[k] on region k, the left-continuous form y[k+1], as evaluation picks them.
template <class T, bool kLeftContinuous>
struct StepPieces {
  Walls<T> w;
  T* const* rows;
  int64_t function_count;
  int64_t f;
  bool columns;

  StepPieces(const IntegrArgs<T>& a, int64_t function)
      : w(a),
        rows(a.value_rows),
        function_count(a.function_count),
        f(function),
        columns(a.values_hint == VALUES_COLUMNS) {}
  T Y(int64_t i) const { return columns ? rows[0][i * function_count + f] : rows[f][i]; }
  int64_t Region(int64_t cell) const {
    if (cell <= 0) return -1;
    return cell >= w.n ? w.n - 1 : cell - 1;
  }
  T Value(int64_t k) const {
    if (k < 0) return Y(0);
    if (k >= w.n - 1) return Y(w.n - 1);
    return Y(kLeftContinuous ? k + 1 : k);
  }
};

template <class T, bool kLeftContinuous>
T PiecewiseIntegral(const StepPieces<T, kLeftContinuous>& pc, T l, int64_t cl, T r, int64_t cr) {
  const int64_t p = pc.Region(cl);
  const int64_t q = pc.Region(cr);
  if (p >= q) return pc.Value(p) * (r - l);
  const T first = pc.Value(p) * (pc.w.Knot(p + 1) - l);
  const T whole = SumPieces<T>(p + 1, q, [&](int64_t k) { return pc.Value(k) * pc.w.Width(k); });
  return (first + whole) + pc.Value(q) * (r - pc.w.Knot(q));
}

template <int32_t K, class T>
struct PiecesOf;
template <class T>
struct PiecesOf<kLinear, T> {
  using type = KnotPieces<1, T>;
};
template <class T>
struct PiecesOf<kQuadratic, T> {
  using type = KnotPieces<2, T>;
};
template <class T>
struct PiecesOf<kCubic, T> {
  using type = KnotPieces<3, T>;
};
template <class T>
struct PiecesOf<kQuadSubb, T> {
  using type = SubbotinPieces<T>;
};
template <class T>
struct PiecesOf<kArbitr, T> {
  using type = KnotPieces<0, T>;
};
template <class T>
struct PiecesOf<kStepLeft, T> {
  using type = StepPieces<T, true>;
};
template <class T>
struct PiecesOf<kStepRight, T> {
  using type = StepPieces<T, false>;
};

// The integrator without callbacks: every function over every pair of the block.
template <int32_t K, class T>
int32_t Integrate(const IntegrArgs<T>& a) {
  using Pieces = typename PiecesOf<K, T>::type;
  if (K == kArbitr && a.spline_order <= 0) return DF_STATUS_OK;
  for (int64_t f = 0; f < a.function_count; ++f) {
    const Pieces pc(a, f);
    T* out = a.results + f * a.function_stride;
    for (int64_t j = 0; j < a.nlim; ++j) {
      T l = a.left[j], r = a.right[j];
      int64_t cl = a.left_cells[j], cr = a.right_cells[j];
      const bool reversed = r < l;
      if (reversed) {
        std::swap(l, r);
        std::swap(cl, cr);
      }
      const T v = PiecewiseIntegral(pc, l, cl, r, cr);
      out[j * a.limit_stride] = reversed ? -v : v;
    }
  }
  return DF_STATUS_OK;
}

// The integrator with callbacks. Each ordered pair splits into up to three parts: left of the
// first knot, within the partition, right of the last knot. The parts of one kind go to their
// callback in one call for the block; a part whose callback is null is integrated from the
// pieces, its clamped limits taking the cells of the knots they stop at. The parts are added
// left, inner, right.
enum Part : int { kLeftPart = 0, kRightPart = 1, kInnerPart = 2 };

// The parts of a block's pairs: for part g and pair j, the limits lo[g * count + j] and
// hi[g * count + j] with their cells (a low cell of -1: the pair has no such part), and the
// part's integral of function f at values[(g * fc + f) * count + j].
template <class T>
struct PairParts {
  int64_t count, fc;
  T *lo, *hi, *values;
  int64_t *lo_cell, *hi_cell;
};

// Splits each ordered pair at the ends of the partition. A clamped limit takes the cell of the
// knot it stops at.
template <class T>
void SplitPairs(const IntegrArgs<T>& a, T first, T last, const PairParts<T>& pp) {
  const int64_t count = pp.count, n = a.partition_size;
  for (int64_t j = 0; j < count; ++j) {
    T l = a.left[j], r = a.right[j];
    int64_t cl = a.left_cells[j], cr = a.right_cells[j];
    if (r < l) {
      std::swap(l, r);
      std::swap(cl, cr);
    }
    for (int g = 0; g < 3; ++g) pp.lo_cell[g * count + j] = -1;
    auto set = [&](Part g, T part_lo, int64_t cell_lo, T part_hi, int64_t cell_hi) {
      pp.lo[g * count + j] = part_lo;
      pp.lo_cell[g * count + j] = cell_lo;
      pp.hi[g * count + j] = part_hi;
      pp.hi_cell[g * count + j] = cell_hi;
    };
    if (l < first) {
      const bool clamped = !(r < first);
      set(kLeftPart, l, cl, clamped ? first : r, clamped ? 1 : cr);
    }
    if (r > last) {
      const bool clamped = !(l > last);
      set(kRightPart, clamped ? last : l, clamped ? n - 1 : cl, r, cr);
    }
    const T inner_lo = l < first ? first : l;
    const T inner_hi = r > last ? last : r;
    if (inner_lo < inner_hi) {
      set(kInnerPart, inner_lo, l < first ? 1 : cl, inner_hi, r > last ? n - 1 : cr);
    }
  }
}

// Part g of every pair from the pieces.
template <class Pieces, class T>
void IntegratePartFromPieces(const IntegrArgs<T>& a, const PairParts<T>& pp, int g) {
  const int64_t count = pp.count;
  for (int64_t f = 0; f < pp.fc; ++f) {
    const Pieces pc(a, f);
    T* values = pp.values + (g * pp.fc + f) * count;
    for (int64_t j = 0; j < count; ++j) {
      const int64_t at = g * count + j;
      if (pp.lo_cell[at] < 0) continue;
      values[j] = PiecewiseIntegral(pc, pp.lo[at], pp.lo_cell[at], pp.hi[at], pp.hi_cell[at]);
    }
  }
}

// Part g of every pair that has it, through its callback in one call: the parts gathered into
// `gathered` (2 + fc values per pair) with their positions, the results spread back.
template <class T>
int32_t IntegratePartByCallback(const PairParts<T>& pp, int g, IntegrCallback<T> callback,
                                void* params, int64_t* positions, T* gathered) {
  const int64_t count = pp.count;
  T* cb_lo = gathered;
  T* cb_hi = cb_lo + count;
  T* cb_out = cb_hi + count;
  int64_t m = 0;
  for (int64_t j = 0; j < count; ++j) {
    const int64_t at = g * count + j;
    if (pp.lo_cell[at] < 0) continue;
    positions[m] = j;
    cb_lo[m] = pp.lo[at];
    cb_hi[m] = pp.hi[at];
    ++m;
  }
  if (m == 0) return DF_STATUS_OK;
  std::fill(cb_out, cb_out + pp.fc * m, T(0));
  int64_t called = m;
  const int32_t status = callback(&called, cb_lo, cb_hi, cb_out, params, nullptr);
  if (status < 0) return status;
  for (int64_t f = 0; f < pp.fc; ++f) {
    T* values = pp.values + (g * pp.fc + f) * count;
    for (int64_t i = 0; i < m; ++i) values[positions[i]] = cb_out[f * m + i];
  }
  return DF_STATUS_OK;
}

template <int32_t K, class T>
int32_t IntegrateWithCallbacks(const IntegrArgs<T>& a, const IntegrCallback<T> callbacks[3],
                               void* const params[3]) {
  if (callbacks[0] == nullptr && callbacks[1] == nullptr && callbacks[2] == nullptr) {
    return Integrate<K, T>(a);
  }
  const int64_t count = a.nlim;
  const int64_t fc = a.function_count;
  if (count <= 0) return DF_STATUS_OK;
  const Walls<T> walls(a);

  const platform::CheckedSize pairs = count;
  platform::Scratch<T, 6 * kBlock> limits(pairs * 6);
  platform::Scratch<int64_t, 6 * kBlock> cells(pairs * 6);
  platform::Scratch<int64_t, kBlock> positions(pairs);
  platform::Scratch<T> gathered(pairs * 2 + pairs * fc);
  platform::Scratch<T> part_values(pairs * fc * 3);
  if (limits.get() == nullptr || cells.get() == nullptr || positions.get() == nullptr ||
      gathered.get() == nullptr || part_values.get() == nullptr) {
    return DF_STATUS_NO_MEMORY;
  }
  const PairParts<T> pp{.count = count,
                        .fc = fc,
                        .lo = limits.get(),
                        .hi = limits.get() + 3 * count,
                        .values = part_values.get(),
                        .lo_cell = cells.get(),
                        .hi_cell = cells.get() + 3 * count};
  std::fill(pp.values, pp.values + 3 * fc * count, T(0));
  SplitPairs(a, walls.Knot(0), walls.Knot(a.partition_size - 1), pp);
  for (int g = 0; g < 3; ++g) {
    if (callbacks[g] == nullptr) {
      IntegratePartFromPieces<typename PiecesOf<K, T>::type>(a, pp, g);
      continue;
    }
    const int32_t status =
        IntegratePartByCallback(pp, g, callbacks[g], params[g], positions.get(), gathered.get());
    if (status < 0) return status;
  }
  // The parts added left, inner, right; a pair given the other way round negated.
  for (int64_t f = 0; f < fc; ++f) {
    T* out = a.results + f * a.function_stride;
    const T* vl = pp.values + (kLeftPart * fc + f) * count;
    const T* vr = pp.values + (kRightPart * fc + f) * count;
    const T* vi = pp.values + (kInnerPart * fc + f) * count;
    for (int64_t j = 0; j < count; ++j) {
      const T v = (vl[j] + vi[j]) + vr[j];
      out[j * a.limit_stride] = a.right[j] < a.left[j] ? -v : v;
    }
  }
  return DF_STATUS_OK;
}

template <class T>
using Integrator = int32_t (*)(const IntegrArgs<T>&);
template <class T>
using CallbackIntegrator = int32_t (*)(const IntegrArgs<T>&, const IntegrCallback<T>[3],
                                       void* const[3]);

#define OXL_DF_INTEGRATOR(kind, eval_stem, integr_stem) &Integrate<kind, T>,
#define OXL_DF_CALLBACK_INTEGRATOR(kind, eval_stem, integr_stem) &IntegrateWithCallbacks<kind, T>,
template <class T>
constexpr Integrator<T> kIntegrators[kIntegrableKindCount] = {
    OXL_DF_INTEGRABLE_KINDS(OXL_DF_INTEGRATOR)};
template <class T>
constexpr CallbackIntegrator<T> kCallbackIntegrators[kIntegrableKindCount] = {
    OXL_DF_INTEGRABLE_KINDS(OXL_DF_CALLBACK_INTEGRATOR)};
#undef OXL_DF_INTEGRATOR
#undef OXL_DF_CALLBACK_INTEGRATOR

// One side of the limits: where they are, how they are searched.
template <class T>
struct LimitSide {
  const T* limits;
  const T* data_hint;
  int32_t method;
  T scale;
};

template <class T>
struct IntegrFrame {
  const df_task* task;
  int32_t kind;
  int64_t nlim;
  LimitSide<T> side[2];  // left, right
  int32_t search_form;
  T* results;
  bool by_limit;  // result_hint 32
  IntegrCallback<T> callbacks[3];
  void* callback_params[3];
  bool with_callbacks;
  SearchCallback<T> search_callback;
  void* search_params;
  T knot_step;
  std::atomic<int32_t> status{0};
};

// One block of pairs: both searches, then the integrator. `cursors`: the sorted searches'
// running indices of the two sides.
template <class T>
int32_t RunBlock(const IntegrFrame<T>& fr, int64_t start, int64_t count, int64_t* cells,
                 int64_t cursors[2]) {
  const df_task* task = fr.task;
  // The library's word for a search callback, which tells it that integration calls.
  int32_t search_cb_library_params = 1;
  for (int s = 0; s < 2; ++s) {
    const LimitSide<T>& side = fr.side[s];
    const SearchSpan<T> span{task->partition_size,
                             Knots<T>(task),
                             count,
                             side.limits + start,
                             &cursors[s],
                             side.data_hint,
                             task->bin_count,
                             task->search_table,
                             cells + s * count,
                             fr.search_callback,
                             fr.search_params,
                             &search_cb_library_params,
                             nullptr,
                             side.scale};
    const int32_t status = SearchKernelFor<T>(side.method, fr.search_form)(span);
    if (status < 0) return status;
  }
  const int64_t fc = task->function_count;
  const IntegrArgs<T> a{task->partition_size,
                        Knots<T>(task),
                        task->partition_hint,
                        static_cast<const T*>(task->internal_data),
                        task->internal_type,
                        count,
                        fr.side[0].limits + start,
                        cells,
                        fr.side[1].limits + start,
                        cells + count,
                        ValueRows<T>(task),
                        fc,
                        task->values_hint,
                        task->spline_order,
                        CoefficientRows<T>(task),
                        fr.by_limit ? fr.results + start * fc : fr.results + start,
                        fr.by_limit ? 1 : fr.nlim,
                        fr.by_limit ? fc : 1,
                        fr.knot_step};
  if (fr.with_callbacks) {
    return kCallbackIntegrators<T>[fr.kind](a, fr.callbacks, fr.callback_params);
  }
  return kIntegrators<T>[fr.kind](a);
}

// The worker of the blocked path (with or without callbacks, which the frame has settled): one
// block of kBlock pairs per item. A sorted search starts each block at the cell of its first limit.
template <class T>
int32_t _v1DIntegrThreader(int64_t item, int32_t /*thread*/, void* /*reserved*/, void* context) {
  auto& fr = *static_cast<IntegrFrame<T>*>(context);
  int64_t cells[2 * kBlock];
  int64_t cursors[2];
  for (int s = 0; s < 2; ++s) {
    cursors[s] = StartCursor(fr.side[s].method, Knots<T>(fr.task), fr.task->partition_size,
                             fr.side[s].limits[item * kBlock]);
  }
  const int32_t status = RunBlock(fr, item * kBlock, kBlock, cells, cursors);
  if (status < 0) fr.status.store(status, std::memory_order_relaxed);
  return status < 0 ? status : DF_STATUS_OK;
}

template <class T>
int32_t IntegrateFrame(IntegrFrame<T>& fr, const int64_t hints[2],
                       const thread_services* services) {
  const df_task* task = fr.task;
  const int64_t n = task->partition_size;
  const int64_t fc = task->function_count;
  if (fr.kind == kStepLeft || fr.kind == kStepRight) {
    if (!ValueRowsPresent(task)) return DF_STATUS_NO_VALUES;
  } else if (task->spline_order > 0 && !CoefficientRowsPresent(task)) {
    return DF_STATUS_NO_COEFFICIENTS;
  }
  if (fr.kind == kQuadSubb && task->internal_data == nullptr) return DF_STATUS_NO_INTERNAL;
  if (fr.nlim <= 0 || fc <= 0) return DF_STATUS_OK;
  const T* x = Knots<T>(task);
  fr.knot_step = task->partition_hint == PARTITION_UNIFORM && n > 1
                     ? (x[1] - x[0]) / static_cast<T>(n - 1)
                     : T(0);
  platform::Scratch<T> expanded[2] = {
      platform::Scratch<T>((hints[0] & SITES_UNIFORM) != 0 ? fr.nlim : 0),
      platform::Scratch<T>((hints[1] & SITES_UNIFORM) != 0 ? fr.nlim : 0)};
  for (int s = 0; s < 2; ++s) {
    fr.side[s].scale = SearchScale<T>(task, fr.side[s].method, fr.side[s].data_hint);
    if ((hints[s] & SITES_UNIFORM) != 0) {
      if (expanded[s].get() == nullptr) return DF_STATUS_NO_MEMORY;
      ExpandUniformSites(fr.side[s].limits, fr.nlim, expanded[s].get());
      fr.side[s].limits = expanded[s].get();
    }
  }

  int64_t cursors[2] = {0, 0};
  if (fr.nlim < kBlockedPairs) {
    platform::Scratch<int64_t, 2 * kBlock> cells(platform::CheckedSize(fr.nlim) * 2);
    if (cells.get() == nullptr) return DF_STATUS_NO_MEMORY;
    return RunBlock(fr, 0, fr.nlim, cells.get(), cursors);
  }
  const int64_t blocks = fr.nlim / kBlock;
  int64_t start = 0;
  const int32_t threads = MaxThreads(services);
  if (threads > 1) {
    const int32_t used = static_cast<int32_t>(std::min<int64_t>(threads, blocks));
    const int32_t status = services->parallel_run(blocks, used, &fr, &_v1DIntegrThreader<T>);
    const int32_t stored = fr.status.load(std::memory_order_relaxed);
    if (stored < 0) return stored;
    if (status < 0) return status;
    start = blocks * kBlock;
    for (int s = 0; s < 2 && start < fr.nlim; ++s) {
      cursors[s] = StartCursor(fr.side[s].method, x, n, fr.side[s].limits[start]);
    }
  }
  int64_t cells[2 * kBlock];
  while (start < fr.nlim) {
    const int64_t count = std::min(kBlock, fr.nlim - start);
    const int32_t status = RunBlock(fr, start, count, cells, cursors);
    if (status < 0) return status;
    start += count;
  }
  return DF_STATUS_OK;
}

template <class T>
int32_t IntegrateFront(df_task* task, int64_t nlim, const T* left, int64_t left_hint,
                       const T* right, int64_t right_hint, const T* left_data_hint,
                       const T* right_data_hint, T* results, int64_t result_hint,
                       IntegrCallback<T> left_cb, void* left_params, IntegrCallback<T> right_cb,
                       void* right_params, IntegrCallback<T> inner_cb, void* inner_params,
                       SearchCallback<T> search_callback, void* search_params,
                       const thread_services* services) {
  if (task == nullptr) return DF_STATUS_NO_TASK;
  const int32_t kind = EvaluationKind(task->spline_order, task->spline_type);
  if (kind < 0 || kind == kLookUp) return DF_STATUS_BAD_TYPE;
  if (task->spline_order == 0 && kind == kArbitr &&
      (left_cb == nullptr || right_cb == nullptr || inner_cb == nullptr)) {
    return DF_STATUS_BAD_TYPE;
  }
  int32_t methods[2];
  const bool has_search_callback = search_callback != nullptr;
  int32_t status =
      ChooseSearchMethod(task, left_hint, left_data_hint, has_search_callback, &methods[0]);
  if (status != DF_STATUS_OK) return status;
  status = ChooseSearchMethod(task, right_hint, right_data_hint, has_search_callback, &methods[1]);
  if (status != DF_STATUS_OK) return status;
  if (result_hint != 0 && result_hint != INTEGR_RESULTS_BY_FUNCTION &&
      result_hint != INTEGR_RESULTS_BY_LIMIT && result_hint != 128) {
    return DF_STATUS_BAD_INTEGRATE_RESULT_HINT;
  }

  IntegrFrame<T> fr;
  fr.task = task;
  fr.kind = kind;
  fr.nlim = nlim;
  fr.side[0] = LimitSide<T>{left, left_data_hint, methods[0], T(0)};
  fr.side[1] = LimitSide<T>{right, right_data_hint, methods[1], T(0)};
  fr.search_form = SearchFormFromFlags(task->int_flag != 0 ? 1 : 0, task->partition_size);
  fr.results = results;
  fr.by_limit = result_hint == INTEGR_RESULTS_BY_LIMIT;
  fr.callbacks[kLeftPart] = left_cb;
  fr.callbacks[kRightPart] = right_cb;
  fr.callbacks[kInnerPart] = inner_cb;
  fr.callback_params[kLeftPart] = left_params;
  fr.callback_params[kRightPart] = right_params;
  fr.callback_params[kInnerPart] = inner_params;
  fr.with_callbacks = left_cb != nullptr || right_cb != nullptr || inner_cb != nullptr;
  fr.search_callback = search_callback;
  fr.search_params = search_params;
  fr.knot_step = 0;
  const int64_t hints[2] = {left_hint, right_hint};
  return IntegrateFrame(fr, hints, services);
}

}  // namespace
}  // namespace oxl::df

using namespace oxl::df;

#define OXL_DF_INTEGR_PARAMS(T)                                                               \
  int64_t partition_size, const T *partition, int64_t partition_hint, const T *internal_data, \
      int64_t internal_type, int64_t nlim, const T *left_limits, const int64_t *left_cells,   \
      const T *right_limits, const int64_t *right_cells, T *const *value_rows,                \
      int64_t function_count, int64_t values_hint, int64_t spline_order,                      \
      T *const *coefficient_rows, T *results, int64_t function_stride, int64_t limit_stride,  \
      T knot_step
#define OXL_DF_INTEGR_ARGS(T)                                                                   \
  IntegrArgs<T> {                                                                               \
    partition_size, partition, partition_hint, internal_data, internal_type, nlim, left_limits, \
        left_cells, right_limits, right_cells, value_rows, function_count, values_hint,         \
        spline_order, coefficient_rows, results, function_stride, limit_stride, knot_step       \
  }
#define OXL_DF_INTEGR(t, T, stem, kind)                                                      \
  OXL_API int32_t oxl_df_kernel_##t##_##stem(OXL_DF_INTEGR_PARAMS(T)) {                      \
    return Integrate<kind, T>(OXL_DF_INTEGR_ARGS(T));                                        \
  }                                                                                          \
  OXL_API int32_t oxl_df_kernel_##t##_##stem##CB(                                            \
      OXL_DF_INTEGR_PARAMS(T), oxl_df_##t##integr_callback left_callback, void* left_params, \
      oxl_df_##t##integr_callback right_callback, void* right_params,                        \
      oxl_df_##t##integr_callback inner_callback, void* inner_params) {                      \
    const IntegrCallback<T> callbacks[3] = {left_callback, right_callback, inner_callback};  \
    void* const params[3] = {left_params, right_params, inner_params};                       \
    return IntegrateWithCallbacks<kind, T>(OXL_DF_INTEGR_ARGS(T), callbacks, params);        \
  }

#define OXL_DF_INTEGR_BOTH(kind, eval_stem, integr_stem) \
  OXL_DF_INTEGR(d, double, integr_stem, kind) OXL_DF_INTEGR(s, float, integr_stem, kind)
extern "C" {

OXL_DF_INTEGRABLE_KINDS(OXL_DF_INTEGR_BOTH)
#undef OXL_DF_INTEGR_BOTH

OXL_API int32_t oxl_df_kernel_dDFIntegrate1D(
    df_task* task, int64_t /*method*/, int64_t nlim, const double* left_limits,
    int64_t left_limit_hint, const double* right_limits, int64_t right_limit_hint,
    const double* left_data_hint, const double* right_data_hint, double* results,
    int64_t result_hint, oxl_df_dintegr_callback left_callback, void* left_params,
    oxl_df_dintegr_callback right_callback, void* right_params,
    oxl_df_dintegr_callback inner_callback, void* inner_params,
    oxl_df_dsearch_callback search_callback, void* search_params, const thread_services* services) {
  return IntegrateFront<double>(
      task, nlim, left_limits, left_limit_hint, right_limits, right_limit_hint, left_data_hint,
      right_data_hint, results, result_hint, left_callback, left_params, right_callback,
      right_params, inner_callback, inner_params, search_callback, search_params, services);
}
OXL_API int32_t oxl_df_kernel_sDFIntegrate1D(
    df_task* task, int64_t /*method*/, int64_t nlim, const float* left_limits,
    int64_t left_limit_hint, const float* right_limits, int64_t right_limit_hint,
    const float* left_data_hint, const float* right_data_hint, float* results, int64_t result_hint,
    oxl_df_sintegr_callback left_callback, void* left_params,
    oxl_df_sintegr_callback right_callback, void* right_params,
    oxl_df_sintegr_callback inner_callback, void* inner_params,
    oxl_df_ssearch_callback search_callback, void* search_params, const thread_services* services) {
  return IntegrateFront<float>(
      task, nlim, left_limits, left_limit_hint, right_limits, right_limit_hint, left_data_hint,
      right_data_hint, results, result_hint, left_callback, left_params, right_callback,
      right_params, inner_callback, inner_params, search_callback, search_params, services);
}

}  // extern "C"
