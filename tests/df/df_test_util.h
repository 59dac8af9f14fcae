// Helpers of the data fitting tests: a task that deletes itself, the entries of either precision
// with the arguments a test does not vary defaulted, and the brute-force cell of a site; the fake
// thread services come with them.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <map>
#include <random>
#include <type_traits>
#include <vector>

#include "df/task.h"
#include "oxl/df.h"
#include "support/fake_threads.h"
#include "support/ref_data.h"

namespace oxl::test {

struct TaskHolder {
  df_task* task = nullptr;
  ~TaskHolder() {
    if (task != nullptr) oxl_df_kernel_DeleteTask(&task);
  }
  df_task* operator->() const { return task; }
};

template <class T>
using Same = std::type_identity_t<T>;  // an argument that takes its type from the others

// The entries of one precision.
template <class T>
struct Entries;
#define OXL_DF_TEST_ENTRIES(T, p)                                                \
  template <>                                                                    \
  struct Entries<T> {                                                            \
    static constexpr auto kNew = &oxl_df_kernel_##p##NewTask1D;                  \
    static constexpr auto kEdit = &oxl_df_kernel_##p##EditPPSpline1D;            \
    static constexpr auto kLinear = &oxl_df_kernel_##p##DFLinearSpline1D;        \
    static constexpr auto kQuadratic = &oxl_df_kernel_##p##DFQuadraticSpline1D;  \
    static constexpr auto kNatural = &oxl_df_kernel_##p##DFNaturalCubicSpline1D; \
    static constexpr auto kSearch = &oxl_df_kernel_##p##DFSearch1D;              \
    static constexpr auto kInterpolate = &oxl_df_kernel_##p##DFInterpolate1D;    \
    static constexpr auto kIntegrate = &oxl_df_kernel_##p##DFIntegrate1D;        \
  };
OXL_DF_TEST_ENTRIES(double, d)
OXL_DF_TEST_ENTRIES(float, s)
#undef OXL_DF_TEST_ENTRIES

template <class T>
int32_t NewTask(TaskHolder& t, int64_t n, const T* x, int64_t hint = 0, int64_t fc = 0,
                Same<const T*> y = nullptr, int64_t values_hint = 0, int32_t int_flag = 0) {
  return Entries<T>::kNew(&t.task, n, x, hint, fc, y, values_hint, int_flag);
}

template <class T>
int32_t EditSpline(df_task* task, T* coeff, int64_t order, int64_t type, int64_t bc = 0,
                   Same<const T*> bd = nullptr, int64_t ic = 0, Same<const T*> id = nullptr,
                   int64_t coeff_hint = 0) {
  return Entries<T>::kEdit(task, order, type, bc, bd, ic, id, coeff, coeff_hint);
}

// The constructor of the task's order: linear, quadratic (both types) or natural cubic.
template <class T>
int32_t Construct(df_task* task, const thread_services* services = nullptr) {
  const int64_t order = task->spline_order;
  const auto entry = order == 2   ? Entries<T>::kLinear
                     : order == 3 ? Entries<T>::kQuadratic
                                  : Entries<T>::kNatural;
  return entry(task, 0, 0, services);
}

template <class T>
int32_t Search(df_task* task, int64_t ns, const T* sites, void* cells, int64_t site_hint = 0,
               const thread_services* services = nullptr, Same<const T*> data_hint = nullptr) {
  return Entries<T>::kSearch(task, 0, ns, sites, site_hint, data_hint, cells, nullptr, nullptr,
                             services);
}

// Without callbacks; `type` INTERP_CELLS_WANTED or INTERP_CELLS_GIVEN with `cells`.
template <class T>
int32_t Interpolate(df_task* task, int64_t ns, const T* sites, int64_t nd, const void* dorder,
                    Same<T*> out, int64_t result_hint = 0,
                    const thread_services* services = nullptr, int64_t site_hint = 0,
                    int64_t type = 0, void* cells = nullptr) {
  return Entries<T>::kInterpolate(task, type, 0, ns, sites, site_hint, nd, dorder, nullptr, out,
                                  result_hint, cells, nullptr, nullptr, nullptr, nullptr, nullptr,
                                  nullptr, nullptr, nullptr, services);
}

// Without callbacks or data hints.
template <class T>
int32_t Integrate(df_task* task, int64_t nlim, const T* left, Same<const T*> right, Same<T*> out,
                  int64_t result_hint = 0, const thread_services* services = nullptr,
                  int64_t left_hint = 0, int64_t right_hint = 0) {
  return Entries<T>::kIntegrate(task, 0, nlim, left, left_hint, right, right_hint, nullptr, nullptr,
                                out, result_hint, nullptr, nullptr, nullptr, nullptr, nullptr,
                                nullptr, nullptr, nullptr, services);
}

// n knots from -1 on, spaced at random between 0.1 and 1.
inline std::vector<double> Knots(int64_t n, uint64_t seed) {
  std::mt19937_64 rng(seed);
  std::uniform_real_distribution<double> gap(0.1, 1.0);
  std::vector<double> x(n);
  double v = -1.0;
  for (double& k : x) {
    k = v;
    v += gap(rng);
  }
  return x;
}

// The spline kinds by order and type.
struct Kind {
  const char* name;
  int64_t order, type;
};
inline constexpr Kind kKinds[] = {{"linear", 2, 0},    {"quadratic", 3, 0}, {"cubic", 4, 2},
                                  {"subbotin", 3, 1},  {"order 6", 6, 0},   {"step left", 0, 8},
                                  {"step right", 0, 7}};
inline constexpr Kind kCubic = kKinds[2];

// A spline of one kind on random coefficients (the step kinds: on random values), `fc` functions
// on `n` knots spaced unevenly or evenly (given by the two ends), and its pieces for the oracles.
struct RandomSpline {
  Kind kind;
  int64_t n, fc;
  bool uniform;
  std::vector<double> x, ends, y, coeff, subgrid;
  std::vector<long double> walls;  // of the pieces: the knots, or the ends and the subgrid
  TaskHolder t;

  RandomSpline(const Kind& spline_kind, bool uniform_grid, uint64_t seed, int64_t knots = 11,
               int64_t functions = 2)
      : kind(spline_kind), n(knots), fc(functions), uniform(uniform_grid), x(n), y(n * fc) {
    std::mt19937_64 rng(seed);
    std::uniform_real_distribution<double> u(-1, 1);
    for (int64_t i = 0; i < n; ++i) {
      x[i] = uniform ? -1.0 + 0.375 * i : (i == 0 ? -1.0 : x[i - 1] + 0.1 + 0.5 * (u(rng) + 1));
    }
    ends = {x[0], x[n - 1]};
    for (double& v : y) v = u(rng);
    coeff.resize(std::max<int64_t>(kind.order, 1) * (kind.type == 1 ? n : n - 1) * fc);
    for (double& v : coeff) v = u(rng);
    for (int64_t i = 0; i + 1 < n; ++i) {
      subgrid.push_back(x[i] + (0.3 + 0.2 * (u(rng) + 1)) * (x[i + 1] - x[i]));
    }
    for (int64_t i = 0; i < n; ++i) walls.push_back(Knot(i));
    if (kind.type == 1) {
      walls = {Knot(0)};
      walls.insert(walls.end(), subgrid.begin(), subgrid.end());
      walls.push_back(Knot(n - 1));
    }
    EXPECT_EQ(NewTask(t, n, uniform ? ends.data() : x.data(),
                      uniform ? PARTITION_UNIFORM : PARTITION_NONUNIFORM, fc, y.data(), 0, 1),
              0);
    const bool sub = kind.type == 1;
    EXPECT_EQ(EditSpline(t.task, coeff.data(), kind.order, kind.type, 0, nullptr,
                         sub ? IC_SUBGRID : 0, sub ? subgrid.data() : nullptr),
              0);
  }

  // Knots as the library forms them on a uniform grid.
  long double Knot(int64_t i) const {
    return uniform ? std::fma(static_cast<double>(i), (ends[1] - ends[0]) / (n - 1), ends[0])
                   : x[i];
  }

  // The piece that holds s, the end pieces going on outside.
  int64_t PieceAt(long double s) const {
    const int64_t p = std::upper_bound(walls.begin(), walls.end(), s) - walls.begin() - 1;
    return std::clamp<int64_t>(p, 0, std::ssize(walls) - 2);
  }

  // Derivative d at s of function f, by its pieces.
  double At(int64_t f, double s, int d) const {
    return static_cast<double>(Piece(f, PieceAt(s), s, d));
  }

  // Derivative d at s of the polynomial of function f on piece p, continued past its walls.
  long double Piece(int64_t f, int64_t p, long double s, int d) const {
    const double* c = coeff.data() + (f * (std::ssize(walls) - 1) + p) * kind.order;
    long double acc = 0;
    for (int64_t j = kind.order - 1; j >= d; --j) {
      long double term = c[j];
      for (int m = 0; m < d; ++m) term *= j - m;
      acc = acc * (s - walls[p]) + term;
    }
    return acc;
  }
};

// A reference file of tests/df/data, rows (case, role, index, value): case -> role -> values.
using Roles = std::map<int, std::vector<double>>;
inline std::map<int, Roles> LoadCases(const char* name) {
  const RefTable table = RefTable::Load(RefTable::TestsPath(std::string("df/data/") + name));
  std::map<int, Roles> out;
  for (size_t r = 0; r < table.rows(); ++r) {
    out[static_cast<int>(table.Int(r, 0))][static_cast<int>(table.Int(r, 1))].push_back(
        table.Real<double>(r, 3));
  }
  return out;
}

// Cell by definition: the number of knots <= s, except that the last knot belongs to cell n-1.
template <class T>
int64_t BruteCell(const std::vector<T>& x, T s) {
  const int64_t n = static_cast<int64_t>(x.size());
  if (s == x[n - 1]) return n - 1;
  int64_t c = 0;
  while (c < n && x[c] <= s) ++c;
  return c;
}

}  // namespace oxl::test
