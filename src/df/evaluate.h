// Evaluators of interpolation: one function over one span of sites with known cells. A template
// over the kind, the real type and the cell width; the exported forms are its instances.
#pragma once

#include <cmath>
#include <cstdint>

#include "df/spline_data.h"

namespace oxl::df {

// The spline kinds, one row each in the order of their index: the kind, the stem of its exported
// evaluators, the stem of its exported integrators. The look-up table is evaluated only. The kind
// enumeration, the tables of evaluators and integrators and the exported entries are all made
// from these rows.
#define OXL_DF_INTEGRABLE_KINDS(X)                        \
  X(kLinear, LinearSplineEval, IntegrateLinearSpline)     \
  X(kQuadratic, QuadraticSplineEval, IntegrateQuadSpline) \
  X(kCubic, CubicSplineEval, IntegrateCubSpline)          \
  X(kQuadSubb, QuadSubbSplineEval, IntegrateSubbSpline)   \
  X(kArbitr, ArbitrSplineEval, IntegrateArbSpline)        \
  X(kStepLeft, StepLeftSplineEval, IntegratePwLSpline)    \
  X(kStepRight, StepRightSplineEval, IntegratePwRSpline)
#define OXL_DF_SPLINE_KINDS(X) OXL_DF_INTEGRABLE_KINDS(X) X(kLookUp, LookUpSplineEval, )

#define OXL_DF_KIND_ENUMERATOR(kind, eval_stem, integr_stem) kind,
enum EvalKind : int32_t { OXL_DF_SPLINE_KINDS(OXL_DF_KIND_ENUMERATOR) kKindEnd };
#undef OXL_DF_KIND_ENUMERATOR
inline constexpr int32_t kKindCount = kKindEnd;
inline constexpr int32_t kIntegrableKindCount = kLookUp;
inline constexpr int32_t kMaxBuiltinDerivative = 3;

// The evaluation kind from order and type; -1 when no kind serves them.
inline int32_t EvaluationKind(int64_t order, int64_t type) {
  if (order == 0) {
    if (type == SPLINE_TYPE_STEP_LEFT) return kStepLeft;
    if (type == SPLINE_TYPE_STEP_RIGHT) return kStepRight;
    if (type == SPLINE_TYPE_LOOKUP) return kLookUp;
    return kArbitr;
  }
  if (order == 2) return kLinear;
  if (order == 3) {
    if (type == SPLINE_TYPE_DEFAULT) return kQuadratic;
    if (type == SPLINE_TYPE_SUBBOTIN) return kQuadSubb;
    return -1;
  }
  if (order == 4) {
    constexpr uint64_t kCubicTypes = 573;  // types 0, 2, 3, 4, 5 and 9
    if (type < 0 || type >= 64 || ((kCubicTypes >> type) & 1) == 0) return -1;
    return kCubic;
  }
  return order > 4 ? kArbitr : -1;
}

template <class T>
using InterpCallback = int32_t (*)(int64_t*, int64_t*, T*, T*, void*, void*);

template <class T>
struct EvalArgs {
  int64_t partition_size;
  const T* partition;
  int64_t partition_hint;
  const T* internal_data;
  int64_t internal_type;
  int64_t function_stride;  // reals between the result rows of consecutive functions
  int64_t nsite;
  const T* site;
  T* const* value_rows;
  int64_t function_count;
  int64_t function_index;
  int64_t values_hint;
  int64_t spline_order;
  T* const* coefficient_rows;
  const void* cell;
  int32_t form_word;  // bit 0: int_flag (the width of dorder)
  const int64_t* site_map;
  T* results;
  int64_t ndorder;
  const void* dorder;
  int64_t nresults;
  T knot_step;
};

inline int64_t DorderEntry(const void* dorder, int64_t j, bool wide) {
  return wide ? static_cast<const int64_t*>(dorder)[j] : static_cast<const int32_t*>(dorder)[j];
}

// Result slot of each derivative order below `limit` (-1: not requested), and their count. No
// request at all means the value alone.
inline int64_t DerivativeSlots(int64_t ndorder, const void* dorder, bool wide, int64_t* slot,
                               int64_t limit) {
  int64_t k = 0;
  for (int64_t j = 0; j < limit; ++j) slot[j] = -1;
  for (int64_t j = 0; j < ndorder; ++j) {
    if (DorderEntry(dorder, j, wide) == 0) continue;
    if (j < limit) slot[j] = k;
    ++k;
  }
  if (k == 0) {
    slot[0] = 0;
    k = 1;
  }
  return k;
}

namespace eval {

template <class T>
inline T KnotAt(const EvalArgs<T>& a, int64_t i) {
  if (a.partition_hint == PARTITION_UNIFORM) {
    return std::fma(static_cast<T>(i), a.knot_step, a.partition[0]);
  }
  return a.partition[i];
}

template <class Cell>
inline int64_t CellOf(const void* cells, int64_t j) {
  return static_cast<int64_t>(static_cast<const Cell*>(cells)[j]);
}

// The polynomial of cell idx serves the cell's sites; sites outside use the end polynomials.
inline int64_t PolynomialIndex(int64_t cell, int64_t last_index) {
  const int64_t idx = cell - 1;
  return idx < 0 ? 0 : (idx > last_index ? last_index : idx);
}

template <class T>
inline T ValueAt(const EvalArgs<T>& a, int64_t idx) {
  if (a.values_hint == VALUES_COLUMNS) {
    return a.value_rows[0][idx * a.function_count + a.function_index];
  }
  return a.value_rows[a.function_index][idx];
}

// Polynomial kinds of degree D = 1, 2, 3 in the nested fused form.
template <int D, class T, class Cell>
int32_t Polynomial(const EvalArgs<T>& a, int64_t last_index, bool subbotin) {
  int64_t slot[4];
  DerivativeSlots(a.ndorder, a.dorder, (a.form_word & 1) != 0, slot, 4);
  const T* coeff = a.coefficient_rows[a.function_index];
  const int64_t n = a.partition_size;
  const bool uniform_subgrid = (a.internal_type & IC_SUBGRID_UNIFORM) != 0;
  const T sub_step = subbotin && uniform_subgrid && n > 2
                         ? (a.internal_data[1] - a.internal_data[0]) / static_cast<T>(n - 2)
                         : T(0);
  auto subgrid = [&](int64_t j) -> T {
    return uniform_subgrid ? std::fma(static_cast<T>(j), sub_step, a.internal_data[0])
                           : a.internal_data[j];
  };
  // Random sites in a large spline miss the cache on their coefficients: ask for those of the
  // site kAhead places on while this one is evaluated.
  constexpr int64_t kAhead = 8;
  for (int64_t j = 0; j < a.nsite; ++j) {
    if (j + kAhead < a.nsite) {
      __builtin_prefetch(coeff +
                         PolynomialIndex(CellOf<Cell>(a.cell, j + kAhead), last_index) * (D + 1));
    }
    const T s = a.site[j];
    int64_t idx = PolynomialIndex(CellOf<Cell>(a.cell, j), last_index);
    T left;
    if (subbotin) {
      // The walls are the subgrid points: the data interval idx holds Subbotin cells idx and
      // idx + 1, divided at subgrid point idx.
      const T wall = subgrid(idx);
      if (s >= wall) {
        left = wall;
        idx += 1;
      } else {
        left = idx == 0 ? KnotAt(a, 0) : subgrid(idx - 1);
      }
    } else {
      left = KnotAt(a, idx);
    }
    const T t = s - left;
    const T* c = coeff + idx * (D + 1);
    T* r = a.results + (a.site_map != nullptr ? a.site_map[j] : j) * a.nresults;
    if constexpr (D == 1) {
      if (slot[0] >= 0) r[slot[0]] = std::fma(c[1], t, c[0]);
      if (slot[1] >= 0) r[slot[1]] = c[1];
    } else if constexpr (D == 2) {
      if (slot[0] >= 0) r[slot[0]] = std::fma(std::fma(c[2], t, c[1]), t, c[0]);
      if (slot[1] >= 0) r[slot[1]] = std::fma(T(2) * c[2], t, c[1]);
      if (slot[2] >= 0) r[slot[2]] = T(2) * c[2];
    } else {
      if (slot[0] >= 0) r[slot[0]] = std::fma(std::fma(std::fma(c[3], t, c[2]), t, c[1]), t, c[0]);
      if (slot[1] >= 0) r[slot[1]] = std::fma(std::fma(T(3) * c[3], t, T(2) * c[2]), t, c[1]);
      if (slot[2] >= 0) r[slot[2]] = std::fma(T(6) * c[3], t, T(2) * c[2]);
      if (slot[3] >= 0) r[slot[3]] = T(6) * c[3];
    }
  }
  return DF_STATUS_OK;
}

// Arbitrary order k: derivative d of sum c[i] t^i is sum over i >= d of c[i] i!/(i-d)! t^(i-d),
// by Horner; every requested order gets its slot.
template <class T, class Cell>
int32_t Arbitrary(const EvalArgs<T>& a) {
  const int64_t order = a.spline_order;
  if (order <= 0) return DF_STATUS_OK;
  const bool wide = (a.form_word & 1) != 0;
  const T* coeff = a.coefficient_rows[a.function_index];
  const int64_t last_index = a.partition_size - 2;
  for (int64_t j = 0; j < a.nsite; ++j) {
    const int64_t idx = PolynomialIndex(CellOf<Cell>(a.cell, j), last_index);
    const T t = a.site[j] - KnotAt(a, idx);
    const T* c = coeff + idx * order;
    T* r = a.results + (a.site_map != nullptr ? a.site_map[j] : j) * a.nresults;
    auto derivative = [&](int64_t d) {
      T acc = 0;
      for (int64_t i = order - 1; i >= d; --i) {
        T factor = 1;
        for (int64_t m = i; m > i - d; --m) factor *= static_cast<T>(m);
        acc = std::fma(acc, t, c[i] * factor);
      }
      return acc;
    };
    int64_t k = 0;
    for (int64_t d = 0; d < a.ndorder; ++d) {
      if (DorderEntry(a.dorder, d, wide) != 0) r[k++] = derivative(d);
    }
    if (k == 0) r[0] = derivative(0);
  }
  return DF_STATUS_OK;
}

template <class T, class Cell, bool kLeft>
int32_t Step(const EvalArgs<T>& a) {
  int64_t slot[1];
  DerivativeSlots(a.ndorder, a.dorder, (a.form_word & 1) != 0, slot, 1);
  if (slot[0] < 0) return DF_STATUS_OK;
  const int64_t n = a.partition_size;
  const T last = KnotAt(a, n - 1);
  for (int64_t j = 0; j < a.nsite; ++j) {
    const T s = a.site[j];
    const int64_t cell = CellOf<Cell>(a.cell, j);
    int64_t idx = cell <= 0 ? 0 : cell - 1;
    if (idx > n - 1) idx = n - 1;
    if constexpr (kLeft) {
      // (x[i], x[i+1]] takes y[i+1]; below the partition y[0], above it y[n-1].
      if (cell > 0 && s != KnotAt(a, idx) && idx + 1 < n) idx += 1;
    } else {
      if (s == last) idx = n - 1;
    }
    a.results[(a.site_map != nullptr ? a.site_map[j] : j) * a.nresults + slot[0]] =
        ValueAt<T>(a, idx);
  }
  return DF_STATUS_OK;
}

template <class T>
inline bool SameKnot(const EvalArgs<T>& a, T s, int64_t i) {
  if (a.partition_hint == PARTITION_UNIFORM) {
    // 2^-40: a site computed as a knot of a uniform grid is taken as that knot.
    return std::fabs(s - static_cast<T>(i) * a.knot_step - a.partition[0]) <
           static_cast<T>(9.094947017729282e-13);
  }
  return s == a.partition[i];
}

template <class T, class Cell>
int32_t LookUp(const EvalArgs<T>& a) {
  const int64_t n = a.partition_size;
  const bool wide = (a.form_word & 1) != 0;
  // Indices are settled first, so that a bad site leaves this function's results untouched.
  for (int64_t j = 0; j < a.nsite; ++j) {
    const int64_t cell = CellOf<Cell>(a.cell, j);
    if (cell <= 0) return DF_STATUS_LOOKUP_SITE;
    const T s = a.site[j];
    int64_t idx = cell - 1;
    if (idx > n - 1) idx = n - 1;
    if (SameKnot(a, s, n - 1)) continue;
    if (SameKnot(a, s, idx)) continue;
    if (idx + 1 < n && SameKnot(a, s, idx + 1)) continue;
    return DF_STATUS_LOOKUP_SITE;
  }
  int64_t requested = 0;
  for (int64_t j = 0; j < a.ndorder; ++j) requested += DorderEntry(a.dorder, j, wide) != 0 ? 1 : 0;
  if (a.nresults != 1) return DF_STATUS_LOOKUP_ORDER;
  if (requested != 0 && DorderEntry(a.dorder, 0, wide) == 0) return DF_STATUS_LOOKUP_DERIVATIVE;
  for (int64_t j = 0; j < a.nsite; ++j) {
    const T s = a.site[j];
    int64_t idx = CellOf<Cell>(a.cell, j) - 1;
    if (idx > n - 1) idx = n - 1;
    if (SameKnot(a, s, n - 1)) {
      idx = n - 1;
    } else if (!SameKnot(a, s, idx)) {
      idx += 1;
    }
    a.results[a.site_map != nullptr ? a.site_map[j] : j] = ValueAt<T>(a, idx);
  }
  return DF_STATUS_OK;
}

}  // namespace eval

template <int32_t K, class T, class Cell>
int32_t Evaluate(const EvalArgs<T>& a) {
  const int64_t n = a.partition_size;
  if constexpr (K == kLinear) {
    return eval::Polynomial<1, T, Cell>(a, n - 2, false);
  } else if constexpr (K == kQuadratic) {
    return eval::Polynomial<2, T, Cell>(a, n - 2, false);
  } else if constexpr (K == kCubic) {
    return eval::Polynomial<3, T, Cell>(a, n - 2, false);
  } else if constexpr (K == kQuadSubb) {
    return eval::Polynomial<2, T, Cell>(a, n - 2, true);
  } else if constexpr (K == kArbitr) {
    return eval::Arbitrary<T, Cell>(a);
  } else if constexpr (K == kStepLeft) {
    return eval::Step<T, Cell, true>(a);
  } else if constexpr (K == kStepRight) {
    return eval::Step<T, Cell, false>(a);
  } else {
    return eval::LookUp<T, Cell>(a);
  }
}

// The callback form: with a callback, one call fills every function of the span (the
// callback's layout is [function][site][result]) and the results are scattered to the rows;
// without one, the polynomial path of the plain form.
template <int32_t K, class T, class Cell>
int32_t EvaluateWithCallback(const EvalArgs<T>& a, InterpCallback<T> callback, void* params);

template <class T>
using Evaluator = int32_t (*)(const EvalArgs<T>&);
template <class T>
using CallbackEvaluator = int32_t (*)(const EvalArgs<T>&, InterpCallback<T>, void*);

// Tables by kind: 32-bit cells, 64-bit cells, and their callback forms.
template <class T>
Evaluator<T> EvaluatorFor(int32_t kind, bool wide_cells);
template <class T>
CallbackEvaluator<T> CallbackEvaluatorFor(int32_t kind, bool wide_cells);

}  // namespace oxl::df
