#include "support/runner.h"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <limits>
#include <string>

#include "support/float_bits.h"
#include "support/input_gen.h"

namespace oxl::test {
namespace {

// Fake kernels of known error. Each IEEE operation is correctly rounded, special values included,
// so a kernel of one operation is within half an ulp everywhere except where a fault is planted.
// Those that compute in double and round to float add at most 2^-28 ulp to that.

void Sqr(int n, const float* a, float* r) {
  for (int i = 0; i < n; ++i) r[i] = a[i] * a[i];
}

void SqrFaultAtOneAndAHalf(int n, const float* a, float* r) {
  Sqr(n, a, r);
  for (int i = 0; i < n; ++i) {
    if (a[i] == 1.5f) r[i] = StepUlps(r[i], 3);
  }
}

void AddFaultAtOnePlusTiny(int n, const double* a, const double* b, double* r) {
  for (int i = 0; i < n; ++i) {
    r[i] = a[i] + b[i];
    if (a[i] == 1 && b[i] == 0x1p-60) r[i] = StepUlps(r[i], 2);
  }
}

// a^b in double is exact for b = 2.
void PowxFaultAtOneAndAHalf(int n, const float* a, float b, float* r) {
  for (int i = 0; i < n; ++i) {
    r[i] = static_cast<float>(std::pow(double{a[i]}, double{b}));
    if (a[i] == 1.5f) r[i] = StepUlps(r[i], 3);
  }
}

void SinCosFaultAtAHalf(int n, const float* a, float* s, float* c) {
  for (int i = 0; i < n; ++i) {
    s[i] = static_cast<float>(std::sin(double{a[i]}));
    c[i] = static_cast<float>(std::cos(double{a[i]}));
    if (a[i] == 0.5f) c[i] = StepUlps(c[i], 2);
  }
}

using Cf = std::complex<float>;

void CAddFaultAtOneAndAHalf(int n, const Cf* a, const Cf* b, Cf* r) {
  for (int i = 0; i < n; ++i) {
    r[i] = a[i] + b[i];
    if (a[i] == Cf(1.5f, -2) && b[i] == Cf(0, 0)) r[i].imag(StepUlps(r[i].imag(), 4));
  }
}

void CAbsFaultAtThreeFour(int n, const Cf* a, float* r) {
  for (int i = 0; i < n; ++i) {
    r[i] = static_cast<float>(std::hypot(double{a[i].real()}, double{a[i].imag()}));
    if (a[i] == Cf(3, 4)) r[i] = StepUlps(r[i], 2);
  }
}

template <class T>
Sweep<T> Small(std::vector<T> extra) {
  Sweep<T> sweep;
  sweep.random = 4096;
  sweep.extra = std::move(extra);
  return sweep;
}

// Every form of kernel, with a fault planted at one case among the special and random ones: the
// runner must find it, measure it, and name its arguments.
TEST(Runner, FindsAPlantedFaultInEveryForm) {
  const RealFn2 pow = [](mpfr_ptr r, mpfr_srcptr a, mpfr_srcptr b) {
    mpfr_pow(r, a, b, MPFR_RNDN);
  };
  const RealPairFn sincos = [](mpfr_ptr s, mpfr_ptr c, mpfr_srcptr a) {
    mpfr_sin_cos(s, c, a, MPFR_RNDN);
  };
  const struct {
    const char* form;
    Report report;
    double min_ulp, max_ulp;  // the planted error, within the other part's rounding
    std::string args;
  } rows[] = {
      {"unary", RunUnary(SqrFaultAtOneAndAHalf, oracle::Sqr, Small<float>({1.5f})), 3, 3,
       "0x1.8p+0"},
      {"binary", RunBinary(AddFaultAtOnePlusTiny, oracle::Add, Small<double>({1, 0x1p-60})),
       2 - 0x1p-8, 2 - 0x1p-8, "0x1p+0, 0x1p-60"},
      {"powx", RunPowx(PowxFaultAtOneAndAHalf, 2.0f, pow, Small<float>({1.5f})), 3, 3, "0x1.8p+0"},
      {"two results", RunTwoResults(SinCosFaultAtAHalf, sincos, Small<float>({0.5f})), 1.5, 2.5,
       "0x1p-1"},
      {"complex binary",
       RunBinary(CAddFaultAtOneAndAHalf, oracle::CAdd, Small<float>({1.5f, -2, 0, 0})), 2, 2,
       "(0x1.8p+0, -0x1p+1), (0x0p+0, 0x0p+0)"},
      {"complex to real", RunUnary(CAbsFaultAtThreeFour, oracle::CAbs, Small<float>({3, 4})), 2, 2,
       "(0x1.8p+1, 0x1p+2)"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.form);
    EXPECT_GE(row.report.max_ulp, row.min_ulp) << row.report.Describe();
    EXPECT_LE(row.report.max_ulp, row.max_ulp) << row.report.Describe();
    EXPECT_EQ(row.report.worst_args, row.args);
  }
  const Report& sqr = rows[0].report;
  EXPECT_FALSE(Meets(sqr, 1));
  EXPECT_EQ(sqr.cases, static_cast<int64_t>(SpecialValues<float>().size() +
                                            PowersOfTwo<float>().size() + 1 + 4096));
  // The same kernel without the faulty argument, special values and all: correctly rounded.
  EXPECT_TRUE(Meets(RunUnary(SqrFaultAtOneAndAHalf, oracle::Sqr, Small<float>({})), 0.5));
}

}  // namespace
}  // namespace oxl::test
