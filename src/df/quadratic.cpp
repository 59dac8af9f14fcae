// Quadratic spline construction: the standard continuously differentiable quadratic with knots
// at the data points, and Subbotin's quadratic with its walls on a subgrid between them.
#include "df/spline_data.h"
#include "df/tridiagonal.h"

namespace oxl::df {
namespace {

template <class T>
using Constructor = int32_t (*)(df_task*, const thread_services*);

// ---- Standard quadratic ----

// Midpoint values stay in the routine's storage below this partition size.
constexpr int64_t kInlineMidpoints = 4094;

template <class T, bool kRows, bool kUniform>
int32_t StandardConstruct(df_task* task, const thread_services* /*services*/) {
  const int64_t n = task->partition_size;
  const int64_t cells = n - 1;
  const Grid<T, kUniform> x(Knots<T>(task), n);
  const Values<T, kRows> y{ValueRows<T>(task), task->function_count};
  const T m0 = static_cast<const T*>(task->boundary_data)[0];
  platform::Scratch<T, kInlineMidpoints> midpoints(n);
  T* m = midpoints.get();
  if (m == nullptr) return DF_STATUS_NO_MEMORY;
  for (int64_t f = 0; f < task->function_count; ++f) {
    // m[i] is the spline's value at the midpoint of cell i; equal derivatives at each inner knot
    // carry it from cell to cell.
    m[0] = m0;
    for (int64_t i = 0; i + 1 < cells; ++i) {
      const T h0 = x[i + 1] - x[i];
      const T h1 = x[i + 2] - x[i + 1];
      m[i + 1] = (h1 / T(4)) * ((y(f, i) + T(3) * y(f, i + 1)) / h0 +
                                (T(3) * y(f, i + 1) + y(f, i + 2)) / h1) -
                 (h1 / h0) * m[i];
    }
    T* c = CoefficientRows<T>(task)[f];
    for (int64_t i = 0; i < cells; ++i) {
      const T u = (x[i + 1] - x[i]) / T(2);
      const T y0 = y(f, i);
      const T c2 = (y0 + y(f, i + 1) - T(2) * m[i]) / (T(2) * u * u);
      c[3 * i] = y0;
      c[3 * i + 1] = (m[i] - y0) / u - c2 * u;
      c[3 * i + 2] = c2;
    }
  }
  return DF_STATUS_OK;
}

template <class T>
constexpr Constructor<T> kDispatchStd[4] = {
    &StandardConstruct<T, false, false>,
    &StandardConstruct<T, false, true>,
    &StandardConstruct<T, true, false>,
    &StandardConstruct<T, true, true>,
};

// ---- Subbotin quadratic ----
//
// Data points x[0..n-1], one subgrid point xi[j] inside each interval (x[j], x[j+1]). The walls
// are w[0] = x[0], w[j] = xi[j-1] (1 <= j <= n-1), w[n] = x[n-1]; cell c = [w[c], w[c+1]] holds
// x[c]. On a cell of width h write p(w + t h) = A (1 - t) + B t + K t (1 - t), A and B being the
// values at the walls. Interpolation of y[c] at the inner point fixes K on inner cells; the end
// cells take K from their boundary condition. Equal derivatives at the n - 1 inner walls give a
// tridiagonal system in the wall values v[1..n-1].

enum EndCondition { kFirst = 1, kSecond = 2 };

// Subgrid point j: loaded, or on a uniform subgrid computed from the first and the last.
template <class T, bool kUniformSubgrid>
struct Subgrid {
  const T* data;
  T step;
  Subgrid(const T* d, int64_t n)
      : data(d), step(kUniformSubgrid && n > 2 ? (d[1] - d[0]) / static_cast<T>(n - 2) : T(0)) {}
  T operator[](int64_t j) const {
    if constexpr (kUniformSubgrid) {
      return std::fma(static_cast<T>(j), step, data[0]);
    } else {
      return data[j];
    }
  }
};

template <class T, bool kUniformSubgrid, bool kRows, bool kUniform, int kLeft, int kRight>
int32_t SubbotinConstruct(df_task* task, const thread_services* /*services*/) {
  if (task->internal_data == nullptr) return DF_STATUS_NO_INTERNAL;
  const int64_t n = task->partition_size;
  const int64_t m = n - 1;  // unknown wall values
  const Grid<T, kUniform> x(Knots<T>(task), n);
  const Subgrid<T, kUniformSubgrid> xi(static_cast<const T*>(task->internal_data), n);
  const Values<T, kRows> y{ValueRows<T>(task), task->function_count};
  const T* bc = static_cast<const T*>(task->boundary_data);
  const T left = bc[0];
  const T right = bc[1];

  const platform::CheckedSize size = (platform::CheckedSize(n) + 1) * 8;
  const platform::Scratch<T> scratch(size);
  T* work = scratch.get();
  if (work == nullptr) return DF_STATUS_NO_MEMORY;
  T* h = work;          // n cell widths
  T* theta = h + n;     // n relative positions of the data points
  T* dl = theta + n;    // m - 1 used
  T* d = dl + (n + 1);  // m
  T* du = d + (n + 1);  // m - 1
  T* b = du + (n + 1);  // m
  T* v = b + (n + 1);   // n + 1 wall values
  for (int64_t c = 0; c < n; ++c) {
    const T lo = c == 0 ? x[0] : xi[c - 1];
    const T hi = c == n - 1 ? x[n - 1] : xi[c];
    h[c] = hi - lo;
    theta[c] = (x[c] - lo) / h[c];
  }

  int32_t status = DF_STATUS_OK;
  for (int64_t f = 0; f < task->function_count && status == DF_STATUS_OK; ++f) {
    const T y_first = y(f, 0);
    const T y_last = y(f, n - 1);
    // Equation at wall j (row j - 1): R[j-1](v[j-1], v[j]) = L[j](v[j], v[j+1]), with R and L
    // the right and left end derivatives of a cell.
    for (int64_t j = 1; j <= m; ++j) {
      const int64_t a = j - 1;  // the cell on the left of the wall
      T diag = 0;
      T rhs = 0;
      if (a == 0) {
        const T w = h[0];
        if constexpr (kLeft == kFirst) {
          diag += T(2) / w;
          rhs -= -T(2) * y_first / w - left;
        } else {
          diag += T(1) / w;
          rhs -= -y_first / w + left * w / T(2);
        }
      } else {
        const T t = theta[a];
        const T w = h[a];
        const T yc = y(f, a);
        dl[j - 2] = (T(1) - t) / (t * w);
        diag += (T(2) - t) / ((T(1) - t) * w);
        rhs -= -yc / (t * (T(1) - t) * w);
      }
      const int64_t c = j;  // the cell on the right of the wall
      if (c == n - 1) {
        const T w = h[c];
        if constexpr (kRight == kFirst) {
          diag -= -T(2) / w;
          rhs += T(2) * y_last / w - right;
        } else {
          diag -= -T(1) / w;
          rhs += y_last / w - right * w / T(2);
        }
      } else {
        const T t = theta[c];
        const T w = h[c];
        const T yc = y(f, c);
        diag -= -(T(1) + t) / (t * w);
        du[j - 1] = t / ((T(1) - t) * w);
        rhs += yc / (t * (T(1) - t) * w);
      }
      d[j - 1] = diag;
      b[j - 1] = rhs;
    }
    int64_t one = 1;
    int64_t info = 0;
    SolveTridiagonal(&m, &one, dl, d, du, b, &m, &info);
    v[0] = y_first;
    for (int64_t j = 1; j <= m; ++j) v[j] = b[j - 1];
    v[n] = y_last;
    T* coeff = CoefficientRows<T>(task)[f];
    for (int64_t c = 0; c < n; ++c) {
      const T A = v[c];
      const T B = v[c + 1];
      const T w = h[c];
      T K;
      if (c == 0) {
        K = kLeft == kFirst ? left * w - (B - A) : -left * w * w / T(2);
      } else if (c == n - 1) {
        K = kRight == kFirst ? B - A - right * w : -right * w * w / T(2);
      } else {
        const T t = theta[c];
        K = (y(f, c) - A * (T(1) - t) - B * t) / (t * (T(1) - t));
      }
      coeff[3 * c] = A;
      coeff[3 * c + 1] = (B - A + K) / w;
      coeff[3 * c + 2] = -K / (w * w);
    }
  }
  return status;
}

// 56 slots: 28 x uniform subgrid + 14 x rows + 7 x uniform grid + boundary slot; boundary
// slots 0, 1 and 6 (not-a-knot, free end, periodic) have no construction.
template <class T, bool kUS, bool kRows, bool kUniform>
struct SubbotinGroup {
  static constexpr Constructor<T> slots[7] = {
      nullptr,
      nullptr,
      &SubbotinConstruct<T, kUS, kRows, kUniform, kFirst, kFirst>,
      &SubbotinConstruct<T, kUS, kRows, kUniform, kFirst, kSecond>,
      &SubbotinConstruct<T, kUS, kRows, kUniform, kSecond, kFirst>,
      &SubbotinConstruct<T, kUS, kRows, kUniform, kSecond, kSecond>,
      nullptr,
  };
};

template <class T>
constexpr const Constructor<T>* kDispatchSubb[8] = {
    SubbotinGroup<T, false, false, false>::slots, SubbotinGroup<T, false, false, true>::slots,
    SubbotinGroup<T, false, true, false>::slots,  SubbotinGroup<T, false, true, true>::slots,
    SubbotinGroup<T, true, false, false>::slots,  SubbotinGroup<T, true, false, true>::slots,
    SubbotinGroup<T, true, true, false>::slots,   SubbotinGroup<T, true, true, true>::slots,
};

int BoundarySlot(int64_t boundary_type) {
  switch (boundary_type) {
    case BC_NOT_A_KNOT:
      return 0;
    case BC_FREE_END:
      return 1;
    case BC_LEFT_FIRST | BC_RIGHT_FIRST:
      return 2;
    case BC_LEFT_FIRST | BC_RIGHT_SECOND:
      return 3;
    case BC_LEFT_SECOND | BC_RIGHT_FIRST:
      return 4;
    case BC_LEFT_SECOND | BC_RIGHT_SECOND:
      return 5;
    case BC_PERIODIC:
      return 6;
    default:
      return -1;
  }
}

template <class T>
int32_t QuadraticSpline(df_task* task, const thread_services* services) {
  if (task == nullptr) return DF_STATUS_NO_TASK;
  if (!IsValuesHint(task->values_hint)) return DF_STATUS_BAD_VALUES_HINT;
  const int rows = RowsForm(task) ? 1 : 0;
  const int uniform = UniformGrid(task) ? 1 : 0;
  Constructor<T> construct = nullptr;
  if (task->spline_type == SPLINE_TYPE_DEFAULT) {
    if (task->boundary_type != BC_QUADRATIC_VALUE) return DF_STATUS_BAD_BOUNDARY_TYPE;
    if (task->boundary_data == nullptr) return DF_STATUS_NO_BOUNDARY;
    construct = kDispatchStd<T>[2 * rows + uniform];
  } else {
    if (task->spline_type != SPLINE_TYPE_SUBBOTIN) return DF_STATUS_BAD_METHOD;
    if ((task->internal_type & IC_SUBGRID) == 0) return DF_STATUS_BAD_INTERNAL_TYPE;
    const int slot = BoundarySlot(task->boundary_type);
    if (slot >= 2 && slot <= 5 && task->boundary_data == nullptr) return DF_STATUS_NO_BOUNDARY;
    if (slot < 0) return DF_STATUS_BAD_BOUNDARY_TYPE;
    const int group =
        4 * ((task->internal_type & IC_SUBGRID_UNIFORM) != 0 ? 1 : 0) + 2 * rows + uniform;
    construct = kDispatchSubb<T>[group][slot];
    if (construct == nullptr) return DF_STATUS_BAD_BOUNDARY_TYPE;
  }
  if (task->partition_size < 2) return DF_STATUS_BAD_PARTITION_SIZE;
  const int32_t rows_status = CheckRows<T>(task);
  if (rows_status != DF_STATUS_OK) return rows_status;
  return construct(task, services);
}

}  // namespace
}  // namespace oxl::df

extern "C" {

OXL_API int32_t oxl_df_kernel_dDFQuadraticSpline1D(df_task* task, int64_t /*unused*/,
                                                   int64_t /*method*/,
                                                   const thread_services* services) {
  return oxl::df::QuadraticSpline<double>(task, services);
}
OXL_API int32_t oxl_df_kernel_sDFQuadraticSpline1D(df_task* task, int64_t /*unused*/,
                                                   int64_t /*method*/,
                                                   const thread_services* services) {
  return oxl::df::QuadraticSpline<float>(task, services);
}

}  // extern "C"
