// The statistics' numeric helpers: ln|gamma| and ln against MPFR; the chi-square functions, Q(a, x)
// and covariance inverses against scipy and numpy (data/*.txt by make_helpers_data.py); rank repair
// by rows; quick sorts and selections against std::sort.
#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cfloat>
#include <cmath>
#include <limits>
#include <random>
#include <tuple>
#include <vector>

#include "oxl/platform.h"
#include "numeric/helpers.h"
#include "support/failing_allocator.h"
#include "support/mp.h"
#include "support/ref_data.h"

namespace {

using oxl::test::RefTable;
constexpr double kInf = std::numeric_limits<double>::infinity();

// Error bound of a value from a series or continued fraction: `rel` of the reference, or `abs`.
void ExpectNear(double got, double want, double rel, double abs, const char* what) {
  EXPECT_LE(std::fabs(got - want), std::max(rel * std::fabs(want), abs))
      << what << ": got " << got << ", want " << want;
}

// Both are rounded once from extended precision: within 0.51 ulp (0.5002 measured) of MPFR's
// value, `floor` standing in for the ulp where it is larger. `exact_fn` gives the sign of the
// function's argument as well (gamma's for ln|gamma|), which `fn` checks. Returns the worst error.
template <class Fn, class Exact>
double WorstUlps(const std::vector<double>& xs, Fn fn, Exact exact_fn, double floor) {
  oxl::test::MpReal exact, arg;
  double worst = 0;
  for (double x : xs) {
    mpfr_set_d(arg.get(), x, MPFR_RNDN);
    const int sign = exact_fn(exact.get(), arg.get());
    const double want = mpfr_get_d(exact.get(), MPFR_RNDN), got = fn(x, sign);
    if (std::isinf(want) || want == 0) {  // a pole, or an exact zero
      EXPECT_EQ(got, want) << "x = " << x;
      continue;
    }
    mpfr_sub_d(exact.get(), exact.get(), got, MPFR_RNDN);
    const double error = std::fabs(mpfr_get_d(exact.get(), MPFR_RNDN)) /
                         std::max(std::ldexp(1.0, std::max(std::ilogb(want), -1022) - 52), floor);
    worst = std::max(worst, error);
    EXPECT_LE(error, 0.51) << "x = " << x << ", got " << got << ", want " << want;
  }
  return worst;
}

// Near the zeros of ln|gamma| (x near 1, 2 and between the negative poles) the reflection loses
// relative accuracy: there an absolute 2^-60 stands in for the ulp.
TEST(LGamma, AgainstMpfr) {
  std::mt19937_64 rng(5);
  std::vector<double> xs = {
      1.0, 2.0,   0.5,  1e-300, -1e-300, 3.0,    1e-8,        170.5,
      1e6, 1e300, -0.5, -2.5,   -1e-8,   -170.5, -1e15 - 0.5, 4503599627370495.5};
  for (int i = 0; i < 3000; ++i) {
    const double magnitude = std::ldexp(1.0, static_cast<int>(rng() % 80) - 30);
    const double x = magnitude * std::uniform_real_distribution<double>(0.5, 1.0)(rng);
    xs.push_back(i % 3 == 0 ? -x : x);
  }
  const double worst = WorstUlps(
      xs,
      [](double x, int exact_sign) {
        int32_t sign;
        const double value = _vrs_px_lgamma(&sign, x);
        EXPECT_EQ(sign, exact_sign) << "x = " << x;
        return value;
      },
      [](mpfr_ptr r, mpfr_srcptr a) {
        int sign;
        mpfr_lgamma(r, &sign, a, MPFR_RNDN);
        return sign;
      },
      std::ldexp(1.0, -60));
  RecordProperty("worst_ulp", std::to_string(worst));
  const std::tuple<double, double, int32_t> specials[] = {
      {0.0, kInf, 1}, {-0.0, kInf, -1}, {-3.0, kInf, 1}, {kInf, kInf, 1}, {-kInf, kInf, 1}};
  for (const auto& [x, value, want_sign] : specials) {
    int32_t sign;
    EXPECT_EQ(_vrs_px_lgamma(&sign, x), value) << x;
    EXPECT_EQ(sign, want_sign) << x;
  }
  EXPECT_TRUE(std::isnan(__vrsdLGamma(std::nan(""))));
}

// ln k! of the integer laws: the table below 128 (correctly rounded) and Stirling's series above
// it, whose truncation and the rounding of its terms stay within a few ulps, against MPFR.
TEST(ScalarHelpers, LnFactorialAgainstMpfr) {
  std::mt19937_64 rng(31);
  std::vector<int64_t> ks;
  for (int64_t k = 0; k < 400; ++k) ks.push_back(k);
  for (int i = 0; i < 2000; ++i) ks.push_back(static_cast<int64_t>(rng() % (uint64_t{1} << 31)));
  oxl::test::MpReal exact, arg;
  double worst = 0;
  for (int64_t k : ks) {
    mpfr_set_d(arg.get(), static_cast<double>(k + 1), MPFR_RNDN);
    int sign;
    mpfr_lgamma(exact.get(), &sign, arg.get(), MPFR_RNDN);
    const double want = mpfr_get_d(exact.get(), MPFR_RNDN);
    const double ulp = want == 0 ? DBL_TRUE_MIN : std::nextafter(want, kInf) - want;
    const double error = std::fabs(ln_factorial(k) - want) / ulp;
    if (k < 128) {
      EXPECT_EQ(error, 0) << k;
    }
    worst = std::max(worst, error);
  }
  RecordProperty("worst_ulp", std::to_string(worst));
  EXPECT_LE(worst, 4.0);
}

// Random positive doubles of every binade (subnormals included) and the neighbourhood of 1.
TEST(ScalarHelpers, LnAgainstMpfr) {
  std::mt19937_64 rng(23);
  std::vector<double> xs = {1.0, 2.0, 0.5, 0.75, 1.5, DBL_MAX, DBL_TRUE_MIN, DBL_MIN};
  while (xs.size() < 400000) {
    const double x = std::bit_cast<double>(rng() >> 1);
    if (x > 0 && x < kInf) xs.push_back(x);
    xs.push_back(1.0 + std::ldexp(std::uniform_real_distribution<double>(-1, 1)(rng),
                                  -static_cast<int>(rng() % 60)));
  }
  const double worst = WorstUlps(
      xs, [](double x, int) { return __vrsdLn(x); },
      [](mpfr_ptr r, mpfr_srcptr a) {
        mpfr_log(r, a, MPFR_RNDN);
        return 1;
      },
      0.0);
  RecordProperty("worst_ulp", std::to_string(worst));
  EXPECT_EQ(__vrsdLn(0.0), -kInf);
  EXPECT_EQ(__vrsdLn(-0.0), -kInf);
  EXPECT_EQ(__vrsdLn(kInf), kInf);
  for (double x : {-1.0, -kInf, std::nan("")}) EXPECT_TRUE(std::isnan(__vrsdLn(x))) << x;
}

// Floor bit for bit as the C library's, on edges of the 2^52 trick and random values.
TEST(ScalarHelpers, Floor) {
  std::mt19937_64 rng(29);
  std::vector<double> xs;
  for (double e : {0.0, 0.5, 1.0, 0.99999999999999989, 0x1p52, 4503599627370495.5,
                   9007199254740991.0, 2.5, 1e300, 1e-300, 4.9e-324, kInf}) {
    xs.insert(xs.end(), {e, -e});
  }
  for (int i = 0; i < 10000; ++i) {
    xs.push_back(std::ldexp(std::uniform_real_distribution<double>(-1, 1)(rng),
                            static_cast<int>(rng() % 60)));
  }
  for (double x : xs) {
    EXPECT_EQ(std::bit_cast<uint64_t>(__vrsdFloor(x)), std::bit_cast<uint64_t>(std::floor(x))) << x;
  }
  EXPECT_TRUE(std::isnan(__vrsdFloor(std::nan(""))));
}

// The chi-square functions and Q(a, x) against scipy, then their edges: no mass at or below 0, the
// quantile's ends and bad arguments. The density carries the ten-digit ln 2 of its table: its
// relative error is exp(-a * 4.0e-11) - 1 beside the true density, which the check takes out
// before it compares.
TEST(ChiSquare, AgainstScipy) {
  const RefTable t = RefTable::Load(RefTable::TestsPath("stats/data/chi_square.txt"));
  const double ln2_table_error = 0.6931471805999999 - 0.693147180559945309417;
  for (size_t r = 0; r < t.rows(); ++r) {
    const double dof = t.Real<double>(r, 0), x = t.Real<double>(r, 1);
    const double pdf = t.Real<double>(r, 2), cdf = t.Real<double>(r, 3);
    const double p = t.Real<double>(r, 4), icdf = t.Real<double>(r, 5);
    SCOPED_TRACE("dof " + std::to_string(dof) + ", x " + std::to_string(x));
    ExpectNear(__vrsdChi2PDF(dof, x), pdf * std::exp(-0.5 * dof * ln2_table_error), 1e-12, 0,
               "pdf");
    ExpectNear(__vrsdChi2CDF(dof, x), cdf, 1e-12, 1e-15, "cdf");
    // The quantile solves Q(a, x/2) = 1 - p until Q is within 5 eps of 1 - p: in the lower tail an
    // error of 1e-14 in the probability, which moves x by that over the density.
    ExpectNear(__vrsdChi2ICDF(dof, p), icdf, 1e-12, 1e-14 / pdf, "icdf");
  }
  const RefTable q = RefTable::Load(RefTable::TestsPath("stats/data/gamma_q.txt"));
  for (size_t r = 0; r < q.rows(); ++r) {
    const double a = q.Real<double>(r, 0), x = q.Real<double>(r, 1);
    SCOPED_TRACE("a " + std::to_string(a) + ", x " + std::to_string(x));
    ExpectNear(_vdSSQ(a, x), q.Real<double>(r, 2), 1e-12, 1e-15, "Q");
  }
  for (double x : {0.0, -1.0, -0.0}) {
    EXPECT_EQ(__vrsdChi2CDF(3.0, x), 0.0);
    EXPECT_EQ(__vrsdChi2PDF(3.0, x), 0.0);
    EXPECT_EQ(_vdSSQ(1.5, x), 1.0);
  }
  EXPECT_EQ(_vdSSQ(0.0, 1.0), 1.0);
  // The median of two degrees of freedom is 2 ln 2: Newton from erfinv(0.5).
  EXPECT_NEAR(__vrsdChi2ICDF(2.0, 0.5), 2.0 * std::log(2.0), 1e-14);
  EXPECT_EQ(__vrsdChi2ICDF(4.0, 0.0), 0.0);
  EXPECT_EQ(__vrsdChi2ICDF(4.0, 1.0), kInf);
  EXPECT_TRUE(std::isnan(__vrsdChi2ICDF(4.0, 1.5)));
  EXPECT_TRUE(std::isnan(__vrsdChi2ICDF(-1.0, 0.5)));
}

// The covariance and sorting helpers of one precision.
template <class T>
struct Helpers {
  int32_t (*inv)(int32_t, T*);
  int32_t (*rank)(int32_t, T*);
  void (*sort)(int64_t, T*);
  void (*step)(int64_t, T*, int64_t);
  T (*select)(int64_t, T*, int64_t);
  double eps;
};

// Each element of the written triangle (j <= i) within 8 cond eps of the largest element of the
// inverse; the other triangle as it was. A matrix that is not positive definite gives the Cholesky
// status, and the block (which the callers allocate for the call alone) is freed.
template <class T>
void CheckInverses(const Helpers<T>& cov) {
  const RefTable t = RefTable::Load(RefTable::TestsPath("stats/data/inv_cov.txt"));
  for (size_t r = 0; r < t.rows();) {
    const int p = static_cast<int>(t.Int(r, 1));
    const double cond = t.Real<double>(r, 6);
    std::vector<T> a(p * p);
    std::vector<double> want(p * p);
    double largest = 0;
    for (int k = 0; k < p * p; ++k, ++r) {
      a[k] = t.Real<T>(r, 4);
      want[k] = t.Real<double>(r, 5);
      largest = std::max(largest, std::fabs(want[k]));
    }
    SCOPED_TRACE("p " + std::to_string(p) + ", cond " + std::to_string(cond));
    const std::vector<T> before = a;
    ASSERT_EQ(cov.inv(p, a.data()), 0);
    for (int i = 0; i < p; ++i) {
      for (int j = 0; j < p; ++j) {
        EXPECT_NEAR(a[i * p + j], j > i ? before[i * p + j] : want[i * p + j],
                    j > i ? 0 : 8 * cond * cov.eps * largest)
            << i << "," << j;
      }
    }
  }
  oxl::test::AllocationScope scope;
  T* a = static_cast<T*>(oxl_serv_allocate(16 * sizeof(T), 128));
  for (int k = 0; k < 16; ++k) a[k] = k % 5 == 0 ? T(1) : T(0);
  a[10] = T(-1);
  EXPECT_EQ(cov.inv(4, a), -5041);
  EXPECT_EQ(scope.live(), 0);
}

// Rows: p, the matrix's diagonal (off-diagonal elements 0), the status and the diagonal after. The
// threshold is the denormal with the bit pattern 1000.
template <class T>
void CheckRankRepair(const Helpers<T>& cov) {
  const T threshold = sizeof(T) == 8 ? T(std::bit_cast<double>(uint64_t{1000}))
                                     : T(std::bit_cast<float>(uint32_t{1000}));
  // p, the diagonal, the status and the diagonal after.
  const std::tuple<int, std::vector<T>, int32_t, std::vector<T>> rows[] = {
      {1, {2}, 0, {2}},
      {1, {0}, 0, {threshold}},
      {1, {-threshold}, 0, {threshold}},
      {1, {-1}, -4033, {-1}},
      {3, {0, 1, 2}, 0, {T(0.01), T(1) + T(0.01), T(2) + T(0.01)}},
      {3, {-1, 0, 4}, 0, {T(-1) + T(0.04), T(0.04), T(4) + T(0.04)}},  // 0 is below the threshold
      {3, {0, 0, 0}, -4033, {0, 0, 0}},
      {3, {1, 2, 3}, 0, {1, 2, 3}},
  };
  for (const auto& [p, diagonal, status, diagonal_after] : rows) {
    SCOPED_TRACE("p " + std::to_string(p) + ", a00 " + std::to_string(diagonal[0]));
    std::vector<T> a(p * p, T(0)), after(p * p, T(0));
    for (int i = 0; i < p; ++i) {
      a[i * p + i] = diagonal[i];
      after[i * p + i] = diagonal_after[i];
    }
    oxl::test::AllocationScope scope;
    EXPECT_EQ(cov.rank(p, a.data()), status);
    EXPECT_EQ(scope.live(), 0);
    EXPECT_EQ(a, after);
  }
  // A full positive definite matrix comes back bit for bit; without work memory, untouched.
  std::vector<T> a = {4, 1, 2, 1, 5, T(0.5), 2, T(0.5), 6};
  const std::vector<T> before = a;
  EXPECT_EQ(cov.rank(3, a.data()), 0);
  EXPECT_EQ(a, before);
  oxl::test::ForEachAllocationFailure([&] { return cov.rank(3, a.data()); },
                                      [&](int32_t status, bool failed) {
                                        EXPECT_EQ(status, failed ? -4000 : 0);
                                        EXPECT_EQ(a, before);
                                      });
}

// Sorts, strided sorts (the elements between untouched) and selections of the first, middle and
// last rank against std::sort, on random data with and without repeats, sorted and reversed. NaNs
// leave the order unspecified, but every element stays in the array.
template <class T>
void CheckQuickSorts(const Helpers<T>& q) {
  std::mt19937_64 rng(17);
  for (int64_t n : {1, 2, 3, 6, 7, 8, 31, 1000, 100000}) {
    for (int pattern = 0; pattern < 4; ++pattern) {
      SCOPED_TRACE("n " + std::to_string(n) + ", pattern " + std::to_string(pattern));
      std::vector<T> data(n);
      for (T& x : data) {
        x = pattern == 1 ? T(rng() % 5) : std::uniform_real_distribution<T>(-1, 1)(rng);
      }
      if (pattern >= 2) std::sort(data.begin(), data.end());
      if (pattern == 3) std::reverse(data.begin(), data.end());
      std::vector<T> expected = data, sorted = data, strided(3 * n, T(9));
      std::sort(expected.begin(), expected.end());
      q.sort(n, sorted.data());
      EXPECT_EQ(sorted, expected);
      for (int64_t i = 0; i < n; ++i) strided[3 * i] = data[i];
      q.step(n, strided.data(), 3);
      for (int64_t i = 0; i < n; ++i) {
        ASSERT_EQ(strided[3 * i], expected[i]) << i;
        ASSERT_EQ(strided[3 * i + 1], T(9));
      }
      for (int64_t k : {int64_t{0}, n / 2, n - 1}) {
        std::vector<T> work = data;
        EXPECT_EQ(q.select(n, work.data(), k), expected[k]) << "k " << k;
        EXPECT_EQ(work[k], expected[k]);
        EXPECT_TRUE(std::all_of(work.begin(), work.begin() + k, [&](T x) { return x <= work[k]; }));
        EXPECT_TRUE(std::all_of(work.begin() + k, work.end(), [&](T x) { return x >= work[k]; }));
      }
    }
  }
  std::vector<T> with_nan(1000);
  for (size_t i = 0; i < with_nan.size(); ++i) with_nan[i] = i % 3 ? T(rng() % 100) : T(NAN);
  q.sort(1000, with_nan.data());
  EXPECT_EQ(std::count_if(with_nan.begin(), with_nan.end(), [](T x) { return std::isnan(x); }),
            334);
}

template <class T>
void CheckHelpers(const Helpers<T>& h) {
  CheckInverses(h);
  CheckRankRepair(h);
  CheckQuickSorts(h);
}

TEST(CovarianceAndSortHelpers, BothPrecisions) {
  CheckHelpers<double>(
      {__vrsdInvCov, __vrsdTestCovRank, __vrsdQSort, __vrsdQSortStep, __vrsdQSortSelect, 0x1p-53});
  CheckHelpers<float>(
      {__vrssInvCov, __vrssTestCovRank, __vrssQSort, __vrssQSortStep, __vrssQSortSelect, 0x1p-24});
}

}  // namespace
