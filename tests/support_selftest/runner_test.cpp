#include "support/runner.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <string>

#include "simd/targets.h"
#include "support/float_bits.h"

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

// Its last n % 8 elements one ulp off, as if its tail differed from its blocks.
void SqrTailDiffers(int n, const float* a, float* r) {
  Sqr(n, a, r);
  for (int i = n - n % 8; i < n; ++i) r[i] = StepUlps(r[i], 1);
}

void SqrSkipsLast(int n, const float* a, float* r) { Sqr(n - 1, a, r); }

simd::Target best_target;

void SqrDiffersOffTheBestTarget(int n, const float* a, float* r) {
  Sqr(n, a, r);
  if (simd::ActiveTarget() == best_target) return;
  for (int i = 0; i < n; ++i) r[i] = StepUlps(r[i], 1);
}

void AddFaultAtOnePlusTiny(int n, const double* a, const double* b, double* r) {
  for (int i = 0; i < n; ++i) {
    r[i] = a[i] + b[i];
    if (a[i] == 1 && b[i] == 0x1p-60) r[i] = StepUlps(r[i], 2);
  }
}

void PowxDouble(int n, const float* a, float b, float* r) {
  for (int i = 0; i < n; ++i) r[i] = static_cast<float>(std::pow(double{a[i]}, double{b}));
}

void SinCosDoubleFaultAtAHalf(int n, const float* a, float* s, float* c) {
  for (int i = 0; i < n; ++i) {
    s[i] = static_cast<float>(std::sin(double{a[i]}));
    c[i] = static_cast<float>(std::cos(double{a[i]}));
    if (a[i] == 0.5f) c[i] = StepUlps(c[i], 2);
  }
}

void LinearFracDouble(int n, const float* a, const float* b, float sa, float ha, float sb, float hb,
                      float* r) {
  for (int i = 0; i < n; ++i) {
    const double num = sa == 0 ? ha : double{sa} * a[i] + ha;
    const double den = sb == 0 ? hb : double{sb} * b[i] + hb;
    r[i] = static_cast<float>(num / den);
  }
}

using Cf = std::complex<float>;

void CAddFaultAtOneAndAHalf(int n, const Cf* a, const Cf* b, Cf* r) {
  for (int i = 0; i < n; ++i) {
    r[i] = a[i] + b[i];
    if (a[i] == Cf(1.5f, -2) && b[i] == Cf(0, 0)) r[i].imag(StepUlps(r[i].imag(), 4));
  }
}

void CConj(int n, const Cf* a, Cf* r) {
  for (int i = 0; i < n; ++i) r[i] = std::conj(a[i]);
}

void CAbsDouble(int n, const Cf* a, float* r) {
  for (int i = 0; i < n; ++i) {
    r[i] = static_cast<float>(std::hypot(double{a[i].real()}, double{a[i].imag()}));
  }
}

void CisDouble(int n, const float* a, Cf* r) {
  for (int i = 0; i < n; ++i) {
    r[i] =
        Cf(static_cast<float>(std::cos(double{a[i]})), static_cast<float>(std::sin(double{a[i]})));
  }
}

constexpr double kDoubleRounding = 0x1p-28;

template <class T>
Sweep<T> Small() {
  Sweep<T> sweep;
  sweep.random = 4096;
  return sweep;
}

TEST(Runner, FindsAPlantedFaultAndNamesItsArgument) {
  Sweep<float> sweep = Small<float>();
  sweep.extra = {1.5f};
  const Report r = RunUnary(SqrFaultAtOneAndAHalf, oracle::Sqr, sweep);
  EXPECT_EQ(r.max_ulp, 3);
  EXPECT_EQ(r.worst_args, "0x1.8p+0");
  EXPECT_EQ(r.worst_source, "extra");
  EXPECT_EQ(r.worst_got, "0x1.200006p+1");
  EXPECT_EQ(r.worst_exact, "2.25");
  EXPECT_FALSE(Meets(r, 1));
  EXPECT_EQ(r.cases, static_cast<int64_t>(SpecialValues<float>().size() +
                                          PowersOfTwo<float>().size() + 1 + 4096));

  // The same kernel without the faulty argument, special values and all: correctly rounded.
  sweep.extra.clear();
  EXPECT_TRUE(Meets(RunUnary(SqrFaultAtOneAndAHalf, oracle::Sqr, sweep), 0.5));
}

TEST(Runner, CutRunsMustMatchTheWholeRun) {
  Sweep<float> sweep = Small<float>();
  sweep.cuts = {1, 3, 16, 33};
  const Report bad = RunUnary(SqrTailDiffers, oracle::Sqr, sweep);
  EXPECT_GT(bad.cut_mismatches, 100);
  EXPECT_NE(bad.first_mismatch.find("cut run"), std::string::npos) << bad.first_mismatch;
  EXPECT_FALSE(Meets(bad, 1));
  EXPECT_EQ(RunUnary(Sqr, oracle::Sqr, sweep).cut_mismatches, 0);
}

TEST(Runner, EveryTargetMustGiveTheSameBits) {
  const std::vector<simd::Target> targets = simd::AvailableTargets();
  if (targets.size() < 2) GTEST_SKIP() << "one SIMD target only";
  best_target = targets[0];
  Sweep<float> sweep = Small<float>();
  sweep.all_targets = true;
  const Report bad = RunUnary(SqrDiffersOffTheBestTarget, oracle::Sqr, sweep);
  // Every result but +inf (where the step saturates) differs on every other target.
  EXPECT_GT(bad.target_mismatches, bad.cases / 2 * static_cast<int64_t>(targets.size() - 1));
  EXPECT_NE(bad.first_mismatch.find("target "), std::string::npos);
  EXPECT_LE(bad.max_ulp, 0.5);  // measured on the best target
  EXPECT_EQ(RunUnary(Sqr, oracle::Sqr, sweep).target_mismatches, 0);
}

TEST(Runner, UnwrittenResultsAreErrors) {
  Sweep<float> sweep = Small<float>();
  sweep.random = 0;
  sweep.extra = {2.0f};
  const Report r = RunUnary(SqrSkipsLast, oracle::Sqr, sweep);
  EXPECT_EQ(r.max_ulp, std::numeric_limits<double>::infinity());
  EXPECT_EQ(r.worst_args, "0x1p+1");
}

TEST(Runner, BinaryPowxAndTwoResultForms) {
  Sweep<double> d = Small<double>();
  d.extra = {1, 0x1p-60};
  const Report add = RunBinary(AddFaultAtOnePlusTiny, oracle::Add, d);
  EXPECT_EQ(add.max_ulp, 2 - 0x1p-8);
  EXPECT_EQ(add.worst_args, "0x1p+0, 0x1p-60");

  Sweep<float> f = Small<float>();
  const RealFn2 pow = [](mpfr_ptr r, mpfr_srcptr a, mpfr_srcptr b) {
    mpfr_pow(r, a, b, MPFR_RNDN);
  };
  EXPECT_TRUE(Meets(RunPowx(PowxDouble, 2.0f, pow, f), 0.5));
  EXPECT_TRUE(Meets(RunPowx(PowxDouble, -0.75f, pow, f), 0.5 + kDoubleRounding));

  f.extra = {0.5f};
  const Report sincos = RunTwoResults(
      SinCosDoubleFaultAtAHalf,
      [](mpfr_ptr s, mpfr_ptr c, mpfr_srcptr a) { mpfr_sin_cos(s, c, a, MPFR_RNDN); }, f);
  EXPECT_NEAR(sincos.max_ulp, 2, 0.5);
  EXPECT_EQ(sincos.worst_args, "0x1p-1");

  f.extra.clear();
  f.ranges = {{-1e3f, 1e3f}, {-1e3f, 1e3f}};
  EXPECT_TRUE(
      Meets(RunLinearFrac(LinearFracDouble, {2.0f, 1.0f, 3.0f, -1.0f}, f), 0.5 + kDoubleRounding));
  EXPECT_TRUE(Meets(RunLinearFrac(LinearFracDouble, {0.0f, 1.0f, 0.0f, 0.0f}, f), 0));
}

TEST(Runner, ComplexForms) {
  Sweep<float> sweep = Small<float>();
  sweep.extra = {1.5f, -2, 0, 0};
  const Report add = RunBinary(CAddFaultAtOneAndAHalf, oracle::CAdd, sweep);
  EXPECT_EQ(add.max_ulp, 2);
  EXPECT_EQ(add.worst_args, "(0x1.8p+0, -0x1p+1), (0x0p+0, 0x0p+0)");
  EXPECT_EQ(add.worst_exact, "1.5 + i*-2");

  sweep.extra.clear();
  EXPECT_TRUE(Meets(RunUnary(CConj, oracle::CConj, sweep), 0));
  EXPECT_TRUE(Meets(RunUnary(CAbsDouble, oracle::CAbs, sweep), 0.5 + kDoubleRounding));
  const RealToComplexFn cis = [](mpc_ptr r, mpfr_srcptr a) {
    mpfr_sin_cos(mpc_imagref(r), mpc_realref(r), a, MPFR_RNDN);
  };
  // Parts correctly rounded on the unit circle: up to sqrt(1/2) ulp of a norm just below 1.
  EXPECT_TRUE(Meets(RunUnary(CisDouble, cis, sweep), std::sqrt(0.5) + kDoubleRounding));
}

}  // namespace
}  // namespace oxl::test
