#include "support/ulp_meter.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "support/float_bits.h"
#include "support/input_gen.h"
#include "support/edge_values.h"

namespace oxl::test {
namespace {

constexpr double kInf = std::numeric_limits<double>::infinity();

template <class T>
class UlpMeterTest : public testing::Test {
 protected:
  using L = std::numeric_limits<T>;
  // The unit of the top binade, 2^(emax - p).
  static constexpr T kTopUlp = L::max() - StepUlps(L::max(), -1);

  // x moved k representable values away from zero (towards it for negative k).
  static T Away(T x, int64_t k) { return StepUlps(x, std::signbit(x) ? -k : k); }

  // Error of `got` against the exact value x moved away from zero by `fraction` of the spacing
  // of T above |x|.
  double Err(T got, T x, double fraction = 0) {
    SetExact(exact_.get(), x);
    if (fraction != 0) {
      const T above = StepUlps(std::abs(x), 1);
      const T step = std::isinf(above) ? kTopUlp : above - std::abs(x);
      SetExact(offset_.get(), std::copysign(step, x));
      mpfr_mul_d(offset_.get(), offset_.get(), fraction, MPFR_RNDN);
      mpfr_add(exact_.get(), exact_.get(), offset_.get(), MPFR_RNDN);
    }
    return UlpError(got, exact_.get());
  }

  double ErrC(std::complex<T> got, T re, T im) {
    SetExact(exact_.get(), re);
    SetExact(offset_.get(), im);
    return meter_.Complex(got, exact_.get(), offset_.get()).ulp;
  }

  MpReal exact_;
  MpReal offset_;
  UlpMeter meter_;
};

using Formats = testing::Types<float, double>;
TYPED_TEST_SUITE(UlpMeterTest, Formats);

TYPED_TEST(UlpMeterTest, NeighbourIsOneUlpInEveryBinade) {
  using L = std::numeric_limits<TypeParam>;
  SplitMix64 gen(5);
  for (const Range<TypeParam>& b : Binades<TypeParam>({0, L::max()})) {
    // Away from the binade's ends, so that the steps below stay inside it.
    const TypeParam x = RandomIn<TypeParam>(gen, {StepUlps(b.lo, 1), StepUlps(b.hi, -7)});
    for (const TypeParam v : {x, -x}) {
      SCOPED_TRACE(FormatValue(v));
      EXPECT_EQ(this->Err(this->Away(v, 1), v), 1);
      EXPECT_EQ(this->Err(this->Away(v, -1), v), 1);
      EXPECT_EQ(this->Err(this->Away(v, 7), v), 7);
      EXPECT_EQ(this->Err(v, v, 0.25), 0.25);
      EXPECT_EQ(this->Err(this->Away(v, 1), v, 0.25), 0.75);
    }
  }
}

TYPED_TEST(UlpMeterTest, UnitHalvesBelowAPowerOfTwoButNotBelowTheNormalRange) {
  using L = std::numeric_limits<TypeParam>;
  for (TypeParam p = 2 * L::min(); p <= L::max() / 2; p *= 64) {
    SCOPED_TRACE(FormatValue(p));
    EXPECT_EQ(this->Err(StepUlps(p, -1), p), 0.5);  // exact 2^k: the unit of the binade above
    EXPECT_EQ(this->Err(p, StepUlps(p, -1)), 1.0);  // exact just below: the unit is half
    EXPECT_EQ(this->Err(-p, -StepUlps(p, -1)), 1.0);
    EXPECT_EQ(this->Err(StepUlps(p, 1), p), 1.0);
  }
  // The subnormals are spaced like the smallest binade of normals.
  EXPECT_EQ(this->Err(StepUlps(L::min(), -1), L::min()), 1.0);
  EXPECT_EQ(this->Err(L::min(), StepUlps(L::min(), -1)), 1.0);
}

TYPED_TEST(UlpMeterTest, SubnormalResultsCountSmallestSubnormals) {
  using L = std::numeric_limits<TypeParam>;
  const TypeParam d = L::denorm_min();
  EXPECT_EQ(this->Err(5 * d, 5 * d, 0.25), 0.25);
  EXPECT_EQ(this->Err(0, 5 * d, 0.25), 5.25);
  EXPECT_EQ(this->Err(3 * d, 0), 3);
  EXPECT_EQ(this->Err(-d, 0), 1);
  // A positive exact value far below the smallest subnormal: +0 is nearly exact, -0 is wrong.
  mpfr_set_si_2exp(this->exact_.get(), 1, L::min_exponent - L::digits - 30, MPFR_RNDN);
  EXPECT_LT(UlpError(TypeParam{0}, this->exact_.get()), 1e-9);
  EXPECT_EQ(UlpError(-TypeParam{0}, this->exact_.get()), kInf);
}

TYPED_TEST(UlpMeterTest, NanZeroAndInfinityRules) {
  using L = std::numeric_limits<TypeParam>;
  const TypeParam nan = L::quiet_NaN(), inf = L::infinity();
  struct Case {
    TypeParam got, exact;
    double want;
  } cases[] = {
      {nan, nan, 0},    {-nan, nan, 0},    {SpecialValues<TypeParam>().back(), nan, 0},
      {nan, 1, kInf},   {1, nan, kInf},    {inf, nan, kInf},
      {0, 0, 0},        {-0.0f, -0.0f, 0}, {-0.0f, 0, kInf},
      {0, -0.0f, kInf}, {-0.0f, 1, kInf},  {inf, inf, 0},
      {-inf, -inf, 0},  {-inf, inf, kInf}, {L::max(), inf, kInf},
      {nan, inf, kInf}, {-inf, 1, kInf},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(this->Err(c.got, c.exact), c.want)
        << "got " << FormatValue(c.got) << ", exact " << FormatValue(c.exact);
  }
}

TYPED_TEST(UlpMeterTest, OverflowIsMeasuredAgainstTheInfinity) {
  using L = std::numeric_limits<TypeParam>;
  const TypeParam max = L::max(), inf = L::infinity();
  EXPECT_EQ(this->Err(inf, max, 0.5), 0);  // the tie rounds to the infinity
  EXPECT_EQ(this->Err(max, max, 0.5), 1);
  EXPECT_EQ(this->Err(-inf, -max, 0.5), 0);
  EXPECT_EQ(this->Err(-max, -max, 0.5), 1);
  EXPECT_EQ(this->Err(inf, -max, 0.5), kInf);
  EXPECT_EQ(this->Err(max, max, 0.25), 0.25);  // below the tie the largest value is right
  EXPECT_EQ(this->Err(inf, max, 0.25), 0.75);
  EXPECT_EQ(this->Err(inf, max), 1);
  // Far beyond the format.
  mpfr_set_si_2exp(this->exact_.get(), 3, L::max_exponent + 40, MPFR_RNDN);
  EXPECT_EQ(UlpError(inf, this->exact_.get()), 0);
  EXPECT_EQ(UlpError(max, this->exact_.get()), 1);
  EXPECT_EQ(UlpError(StepUlps(max, -2), this->exact_.get()), 3);
}

TYPED_TEST(UlpMeterTest, ComplexErrorIsNormwise) {
  using L = std::numeric_limits<TypeParam>;
  using C = std::complex<TypeParam>;
  // |3 + 4i| = 5 has the unit u = 2^(3-p); parts off by 3u/2 and 4u/2 are 5u/2 off in norm.
  const TypeParam u = StepUlps(TypeParam{5}, 1) - 5;
  MpComplex exact;
  mpc_set_d_d(exact.get(), 3, 4, MPC_RNDNN);
  EXPECT_EQ(UlpError(C(3 + 3 * u / 2, 4 + 2 * u), exact.get()), 2.5);
  EXPECT_EQ(this->ErrC(C(3, 4), 3, 4), 0);
  // A part far smaller than the norm may lose all its bits.
  const TypeParam tiny = std::ldexp(TypeParam{1}, -L::digits - 10);
  EXPECT_DOUBLE_EQ(this->ErrC(C(1, 0), 1, tiny), std::ldexp(1.0, -11));
  EXPECT_EQ(this->ErrC(C(1, -TypeParam{0}), 1, 0), kInf);
  // Parts both at the largest value: the norm is beyond the format, the unit stays the top one.
  EXPECT_EQ(this->ErrC(C(L::max(), StepUlps(L::max(), -1)), L::max(), L::max()), 1);
  // Non-finite and overflowing parts go part by part.
  const TypeParam inf = L::infinity(), nan = L::quiet_NaN();
  EXPECT_EQ(this->ErrC(C(inf, 0), inf, 0), 0);
  EXPECT_EQ(this->ErrC(C(inf, nan), inf, 0), kInf);
  EXPECT_EQ(this->ErrC(C(nan, nan), nan, nan), 0);
  EXPECT_EQ(this->ErrC(C(nan, 1), nan, nan), kInf);
  EXPECT_EQ(this->ErrC(C(L::max(), StepUlps(TypeParam{1}, 3)), inf, 1), kInf);
}

TYPED_TEST(UlpMeterTest, CorrectBitsAreMinusLog2OfTheRelativeError) {
  using L = std::numeric_limits<TypeParam>;
  MpReal exact;
  auto bits = [&](TypeParam got, TypeParam x) {
    SetExact(exact.get(), x);
    return CorrectBits(got, exact.get());
  };
  EXPECT_EQ(bits(1 + std::ldexp(TypeParam{1}, -11), 1), 11);
  EXPECT_EQ(bits(3, 3), kInf);
  EXPECT_EQ(bits(4, 1), 0);
  EXPECT_EQ(bits(L::quiet_NaN(), 1), 0);
  // Below the normal range the error counts against the smallest normal number.
  const TypeParam sub = std::ldexp(L::min(), -10);
  EXPECT_EQ(bits(sub + L::denorm_min(), sub), L::digits - 1);
}

}  // namespace
}  // namespace oxl::test
