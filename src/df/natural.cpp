// Natural cubic splines: a twice continuously differentiable cubic through the data of every
// function, under one of seven boundary pairs. The unknowns are the slopes d at the knots; the
// continuity of the second derivative at each inner knot i gives the row
//   h[i] d[i-1] + 2 (x[i+1] - x[i-1]) d[i] + h[i-1] d[i+1] = 3 (h[i] s[i-1] + h[i-1] s[i]),
// with h the cell widths and s the divided differences, and the two end rows carry the boundary
// pair. The matrix depends on the knots alone: it is factorised once and serves every function.
// On a uniform grid the inner rows are divided by the step, which leaves 1 4 1 and 3 (s + s).
// A periodic spline joins the ends into one inner knot, which makes the matrix cyclic; the two
// corner entries are taken out as a rank-one term and brought back by the Sherman-Morrison
// formula, so that the tridiagonal factors still serve.
#include <algorithm>
#include <array>

#include "df/cubic.h"
#include "df/tridiagonal.h"

extern "C" {
OXL_API vDFNaturalCubSplineThreadingRecord vDFNaturalCubSplineThreadingStruct;
}

namespace oxl::df {
namespace {

template <class T>
using Constructor = int32_t (*)(df_task*, const thread_services*);

// The parallel rule: enough knots per function to pay for a thread.
struct ParallelRule {
  int64_t min_knots = 600;
  int64_t min_knots_many_threads = 300;
  int32_t many_threads = 8;
};

ParallelRule CurrentRule() {
  ParallelRule rule;
  const auto& r = vDFNaturalCubSplineThreadingStruct;
  if (r.min_knots > 0) rule.min_knots = r.min_knots;
  if (r.min_knots_many_threads > 0) rule.min_knots_many_threads = r.min_knots_many_threads;
  if (r.many_threads > 0) rule.many_threads = r.many_threads;
  return rule;
}

// Everything a solve of one function needs; shared read-only by the workers.
template <class T, bool kRows, bool kUniform>
struct Natural {
  df_task* task;
  int64_t n;
  int64_t m;  // unknowns: n, or n - 1 when periodic
  Grid<T, kUniform> x;
  Values<T, kRows> y;
  const T* bc = nullptr;  // boundary data
  T step = 0, inv_step = 0;
  T* dl = nullptr;
  T* d = nullptr;
  T* du = nullptr;
  T* z = nullptr;       // periodic: the factors' solution for the rank-one term
  T corner_ratio = 0;   // periodic: alpha / gamma of the rank-one term
  T z_denominator = 1;  // periodic: 1 + v . z
  T* rhs = nullptr;     // u right-hand sides of n reals, one after another
  int64_t slices = 0;
  int64_t function_count = 0;
};

// Width of cell i, worked out where it is needed rather than stored: one stream of memory less.
template <class T, bool kRows, bool kUniform>
T Width(const Natural<T, kRows, kUniform>& job, int64_t i) {
  if constexpr (kUniform) {
    return job.step;
  } else {
    return job.x[i + 1] - job.x[i];
  }
}

// The width as the rows of the matrix take it: the uniform rows are divided by the step.
template <class T, bool kRows, bool kUniform>
T RowWidth(const Natural<T, kRows, kUniform>& job, int64_t i) {
  if constexpr (kUniform) {
    return T(1);
  } else {
    return Width(job, i);
  }
}

// The rows of the matrix; the end rows by the boundary slot B.
template <class T, bool kRows, bool kUniform, int B>
void BuildMatrix(Natural<T, kRows, kUniform>& job) {
  const int64_t n = job.n;
  T* dl = job.dl;
  T* d = job.d;
  T* du = job.du;
  auto w = [&](int64_t i) { return RowWidth(job, i); };
  for (int64_t i = 1; i + 1 < n; ++i) {
    dl[i - 1] = w(i);
    d[i] = kUniform ? Cub<T>(kFour) : Cub<T>(kTwo) * (job.x[i + 1] - job.x[i - 1]);
    du[i] = w(i - 1);
  }
  if constexpr (B == kSlotPeriodic) {
    // Knot 0 is knot n-1: its row couples d[m-1] (the corner alpha) and d[1]; row m-1 couples
    // d[0] (the corner beta). The rank-one term u v^T carries gamma at (0, 0), alpha, beta and
    // alpha beta / gamma at (m-1, m-1); gamma = -d[0] keeps the pivots away from zero.
    const int64_t m = job.m;
    d[0] = kUniform ? Cub<T>(kFour) : Cub<T>(kTwo) * (w(n - 2) + w(0));
    du[0] = w(n - 2);
    const T alpha = w(0);
    const T beta = w(m - 2 >= 0 ? m - 2 : 0);
    const T gamma = -d[0];
    d[0] -= gamma;
    d[m - 1] -= alpha * beta / gamma;
    job.corner_ratio = alpha / gamma;
    std::fill(job.z, job.z + m, T(0));
    job.z[0] = gamma;
    job.z[m - 1] += beta;
  } else {
    if constexpr (B == kSlot1st1st || B == kSlot1st2nd) {
      d[0] = Cub<T>(kOne);
      du[0] = Cub<T>(kZero);
    } else if constexpr (B == kSlotNotAKnot) {
      if (n == 3) {
        // One inner knot: not-a-knot leaves the parabola through the three points.
        d[0] = Cub<T>(kOne);
        du[0] = Cub<T>(kOne);
      } else {
        d[0] = w(1);
        du[0] = w(0) + w(1);
      }
    } else {
      d[0] = Cub<T>(kTwo);
      du[0] = Cub<T>(kOne);
    }
    if constexpr (B == kSlot1st1st || B == kSlot2nd1st) {
      dl[n - 2] = Cub<T>(kZero);
      d[n - 1] = Cub<T>(kOne);
    } else if constexpr (B == kSlotNotAKnot) {
      if (n == 3) {
        dl[1] = Cub<T>(kOne);
        d[2] = Cub<T>(kOne);
      } else {
        dl[n - 2] = w(n - 2) + w(n - 3);
        d[n - 1] = w(n - 3);
      }
    } else {
      dl[n - 2] = Cub<T>(kOne);
      d[n - 1] = Cub<T>(kTwo);
    }
  }
}

// Reciprocal width of cell i, and the divided difference of function f over it, formed where
// they are needed, the same way each time, rather than stored: one stream of memory less.
template <class T, bool kRows, bool kUniform>
T InverseWidth(const Natural<T, kRows, kUniform>& job, int64_t i) {
  if constexpr (kUniform) {
    return job.inv_step;
  } else {
    return Cub<T>(kOne) / Width(job, i);
  }
}
template <class T, bool kRows, bool kUniform>
T Slope(const Natural<T, kRows, kUniform>& job, int64_t f, int64_t i, T inv_width) {
  return (job.y(f, i + 1) - job.y(f, i)) * inv_width;
}

// The right-hand side of function f into b.
template <class T, bool kRows, bool kUniform, int B>
void BuildRhs(const Natural<T, kRows, kUniform>& job, int64_t f, T* b) {
  const int64_t n = job.n;
  auto s = [&](int64_t i) { return Slope(job, f, i, InverseWidth(job, i)); };
  T before = s(0);
  for (int64_t i = 1; i + 1 < n; ++i) {
    const T after = s(i);
    if constexpr (kUniform) {
      b[i] = Cub<T>(kThree) * (before + after);
    } else {
      b[i] = Cub<T>(kThree) * (Width(job, i) * before + Width(job, i - 1) * after);
    }
    before = after;
  }
  auto w = [&](int64_t i) { return RowWidth(job, i); };
  if constexpr (B == kSlotPeriodic) {
    if constexpr (kUniform) {
      b[0] = Cub<T>(kThree) * (s(n - 2) + s(0));
    } else {
      b[0] = Cub<T>(kThree) * (Width(job, 0) * s(n - 2) + Width(job, n - 2) * s(0));
    }
  } else {
    const T* bd = job.bc;
    if constexpr (B == kSlot1st1st || B == kSlot1st2nd) {
      b[0] = bd[0];
    } else if constexpr (B == kSlotNotAKnot) {
      if (n == 3) {
        b[0] = Cub<T>(kTwo) * s(0);
      } else {
        const T h0 = w(0), h1 = w(1);
        b[0] = ((h0 + Cub<T>(kTwo) * (h0 + h1)) * h1 * s(0) + h0 * h0 * s(1)) / (h0 + h1);
      }
    } else {
      const T second = B == kSlotFreeEnd ? Cub<T>(kZero) : bd[0];
      b[0] = Cub<T>(kThree) * s(0) - Cub<T>(kHalf) * Width(job, 0) * second;
    }
    if constexpr (B == kSlot1st1st || B == kSlot2nd1st) {
      b[n - 1] = bd[1];
    } else if constexpr (B == kSlotNotAKnot) {
      if (n == 3) {
        b[2] = Cub<T>(kTwo) * s(1);
      } else {
        const T he = w(n - 2), hp = w(n - 3);
        b[n - 1] =
            ((he + Cub<T>(kTwo) * (he + hp)) * hp * s(n - 2) + he * he * s(n - 3)) / (he + hp);
      }
    } else {
      const T second = B == kSlotFreeEnd ? Cub<T>(kZero) : bd[1];
      b[n - 1] = Cub<T>(kThree) * s(n - 2) + Cub<T>(kHalf) * Width(job, n - 2) * second;
    }
  }
}

// From the solved slopes: the periodic correction, then the coefficients of every cell.
template <class T, bool kRows, bool kUniform, int B>
void WriteCells(const Natural<T, kRows, kUniform>& job, int64_t f, T* slope) {
  const int64_t n = job.n;
  if constexpr (B == kSlotPeriodic) {
    const int64_t m = job.m;
    const T scale = (slope[0] + job.corner_ratio * slope[m - 1]) / job.z_denominator;
    for (int64_t i = 0; i < m; ++i) slope[i] -= scale * job.z[i];
    slope[n - 1] = slope[0];
  }
  T* c = CoefficientRows<T>(job.task)[f];
  for (int64_t i = 0; i + 1 < n; ++i) {
    const T inv_width = InverseWidth(job, i);
    HermiteCell<T>(c + 4 * i, job.y(f, i), slope[i], slope[i + 1], Slope(job, f, i, inv_width),
                   inv_width);
  }
}

// A worker solves the functions of its share, one at a time, in its own slice of the workspace.
template <class T, bool kRows, bool kUniform, int B>
int32_t _v1DCSNaturalThreader(int64_t item, int32_t /*thread*/, void* /*reserved*/, void* context) {
  const auto& job = *static_cast<const Natural<T, kRows, kUniform>*>(context);
  const int64_t f_begin = item * job.function_count / job.slices;
  const int64_t f_end = (item + 1) * job.function_count / job.slices;
  T* b = job.rhs + item * job.n;
  const int64_t one = 1;
  int64_t info = 0;
  for (int64_t f = f_begin; f < f_end; ++f) {
    BuildRhs<T, kRows, kUniform, B>(job, f, b);
    SolveBothEnds(&job.m, &one, job.dl, job.d, job.du, b, &job.n, &info);
    WriteCells<T, kRows, kUniform, B>(job, f, b);
  }
  return DF_STATUS_OK;
}

template <class T, bool kRows, bool kUniform, int B>
int32_t _v1DCSNatural(df_task* task, const thread_services* services) {
  const int64_t n = task->partition_size;
  const int64_t fc = task->function_count;
  const Values<T, kRows> y{ValueRows<T>(task), fc};
  if constexpr (B == kSlotPeriodic) {
    for (int64_t f = 0; f < fc; ++f) {
      if (y(f, 0) != y(f, n - 1)) return DF_STATUS_PERIODIC_MISMATCH;
    }
  }
  const ParallelRule rule = CurrentRule();
  const int32_t t = static_cast<int32_t>(std::min<int64_t>(MaxThreads(services), fc));
  const bool parallel =
      services != nullptr && fc != 1 && t != 1 &&
      (n >= rule.min_knots || (n >= rule.min_knots_many_threads && t >= rule.many_threads));
  const int64_t u = parallel ? t : fc;
  // (2u + 3)(n - 1) + 2n + (u + 2)n - 2 elements, gathered so that no step subtracts.
  const platform::CheckedSize size =
      (platform::CheckedSize(u) * 3 + 5) * (n - 1) + platform::CheckedSize(n) * 2 + u;
  const platform::Scratch<T> scratch(size);
  T* work = scratch.get();
  if (work == nullptr) return DF_STATUS_NO_MEMORY;

  const T* knots = Knots<T>(task);
  Natural<T, kRows, kUniform> job{task,
                                  n,
                                  B == kSlotPeriodic ? n - 1 : n,
                                  Grid<T, kUniform>(knots, n),
                                  y,
                                  static_cast<const T*>(task->boundary_data)};
  if constexpr (kUniform) {
    job.step = job.x.step;
    job.inv_step = static_cast<T>(n - 1) / (knots[1] - knots[0]);
  }
  job.dl = work + (n - 1);  // the first n - 1 reals are spare: widths are not stored
  job.du = job.dl + (n - 1);
  job.d = job.du + (n - 1);
  job.z = job.d + n;
  job.rhs = job.z + n;  // right after z, so that z and the first right-hand side share ldb = n
  job.slices = u;
  job.function_count = fc;

  if (B == kSlotPeriodic && n == 2) {
    // One cell whose ends are the same point: the constant.
    for (int64_t f = 0; f < fc; ++f) {
      T* c = CoefficientRows<T>(task)[f];
      c[0] = y(f, 0);
      c[1] = c[2] = c[3] = T(0);
    }
    return DF_STATUS_OK;
  }

  BuildMatrix<T, kRows, kUniform, B>(job);
  const int64_t m = job.m;
  int64_t info = 0;
  FactorBothEnds(&m, job.dl, job.d, job.du, &info);
  if (info != 0) {
    // The direct path: elimination without exchanges met a zero pivot (coincident knots can
    // cause it), so the matrix is built again and solved with row exchanges, every right-hand
    // side at once (the rank-one column first when periodic).
    BuildMatrix<T, kRows, kUniform, B>(job);
    for (int64_t f = 0; f < fc; ++f) {
      BuildRhs<T, kRows, kUniform, B>(job, f, job.rhs + f * n);
    }
    const bool periodic = B == kSlotPeriodic;
    const int64_t columns = fc + (periodic ? 1 : 0);
    SolveTridiagonal(&m, &columns, job.dl, job.d, job.du, periodic ? job.z : job.rhs, &n, &info);
    if constexpr (B == kSlotPeriodic) {
      job.z_denominator = T(1) + job.z[0] + job.corner_ratio * job.z[m - 1];
    }
    for (int64_t f = 0; f < fc; ++f) {
      WriteCells<T, kRows, kUniform, B>(job, f, job.rhs + f * n);
    }
    return DF_STATUS_OK;
  }
  if constexpr (B == kSlotPeriodic) {
    const int64_t one = 1;
    SolveBothEnds(&m, &one, job.dl, job.d, job.du, job.z, &n, &info);
    job.z_denominator = T(1) + job.z[0] + job.corner_ratio * job.z[m - 1];
  }
  int32_t status = DF_STATUS_OK;
  if (parallel) {
    status = services->parallel_run(u, t, &job, &_v1DCSNaturalThreader<T, kRows, kUniform, B>);
  } else {
    // Every right-hand side first, then one solve for the whole block.
    for (int64_t f = 0; f < fc; ++f) {
      BuildRhs<T, kRows, kUniform, B>(job, f, job.rhs + f * n);
    }
    SolveBothEnds(&m, &fc, job.dl, job.d, job.du, job.rhs, &n, &info);
    for (int64_t f = 0; f < fc; ++f) {
      WriteCells<T, kRows, kUniform, B>(job, f, job.rhs + f * n);
    }
  }
  return status;
}

// The seven boundary slots of one storage form and grid.
template <class T, bool kRows, bool kUniform>
struct NaturalGroup {
  static constexpr Constructor<T> slots[7] = {
      &_v1DCSNatural<T, kRows, kUniform, kSlotNotAKnot>,
      &_v1DCSNatural<T, kRows, kUniform, kSlotFreeEnd>,
      &_v1DCSNatural<T, kRows, kUniform, kSlot1st1st>,
      &_v1DCSNatural<T, kRows, kUniform, kSlot1st2nd>,
      &_v1DCSNatural<T, kRows, kUniform, kSlot2nd1st>,
      &_v1DCSNatural<T, kRows, kUniform, kSlot2nd2nd>,
      &_v1DCSNatural<T, kRows, kUniform, kSlotPeriodic>,
  };
};

// 28 slots: 14 x rows form + 7 x uniform grid + boundary slot.
template <class T>
constexpr std::array<Constructor<T>, 28> MakeDispatchNatural() {
  const Constructor<T>* const groups[4] = {
      NaturalGroup<T, false, false>::slots, NaturalGroup<T, false, true>::slots,
      NaturalGroup<T, true, false>::slots, NaturalGroup<T, true, true>::slots};
  std::array<Constructor<T>, 28> table{};
  for (int g = 0; g < 4; ++g) {
    for (int b = 0; b < 7; ++b) table[7 * g + b] = groups[g][b];
  }
  return table;
}

template <class T>
constexpr std::array<Constructor<T>, 28> _DispatchNatural = MakeDispatchNatural<T>();

template <class T>
int32_t NaturalCubicSpline(df_task* task, int64_t method, const thread_services* services) {
  if (task == nullptr) return DF_STATUS_NO_TASK;
  if (method != 0) return DF_STATUS_BAD_METHOD;
  const int64_t n = task->partition_size;
  if (n < 2) return DF_STATUS_BAD_PARTITION_SIZE;
  if (n == 2 && task->boundary_type == BC_NOT_A_KNOT) return DF_STATUS_BAD_PARTITION_SIZE;
  if (!IsValuesHint(task->values_hint)) return DF_STATUS_BAD_VALUES_HINT;
  const int slot = BoundarySlotOf(task->boundary_type);
  if (slot >= kSlot1st1st && slot <= kSlot2nd2nd && task->boundary_data == nullptr) {
    return DF_STATUS_NO_BOUNDARY;
  }
  if (slot == kSlotPeriodic && (task->spline_type == 0 || task->spline_type == 3) &&
      task->boundary_data == nullptr) {
    return DF_STATUS_NO_BOUNDARY;
  }
  if (slot < 0) return DF_STATUS_BAD_BOUNDARY_TYPE;
  const int32_t rows_status = CheckRows<T>(task);
  if (rows_status != DF_STATUS_OK) return rows_status;
  const int index = 14 * (RowsForm(task) ? 1 : 0) + 7 * (UniformGrid(task) ? 1 : 0) + slot;
  return _DispatchNatural<T>[index](task, services);
}

}  // namespace
}  // namespace oxl::df

extern "C" {

OXL_API int32_t oxl_df_kernel_dDFNaturalCubicSpline1D(df_task* task, int64_t /*unused*/,
                                                      int64_t method,
                                                      const thread_services* services) {
  return oxl::df::NaturalCubicSpline<double>(task, method, services);
}
OXL_API int32_t oxl_df_kernel_sDFNaturalCubicSpline1D(df_task* task, int64_t /*unused*/,
                                                      int64_t method,
                                                      const thread_services* services) {
  return oxl::df::NaturalCubicSpline<float>(task, method, services);
}

}  // extern "C"
