#include "support/oracles.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <limits>
#include <utility>
#include <vector>

#include "support/float_bits.h"
#include "support/ref_data.h"
#include "support/ulp_meter.h"

namespace oxl::test {
namespace {

constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

class OracleTest : public testing::Test {
 protected:
  double Eval(const RealFn& f, double x) {
    SetExact(arg_.get(), x);
    f(result_.get(), arg_.get());
    return mpfr_get_d(result_.get(), MPFR_RNDN);
  }

  OracleThreadScope scope_;
  MpReal arg_;
  MpReal result_;
};

// The same value, signs of zeros included, or both NaN.
testing::AssertionResult Same(double got, double want) {
  if (ToBits(got) == ToBits(want) || (std::isnan(got) && std::isnan(want))) {
    return testing::AssertionSuccess();
  }
  return testing::AssertionFailure() << FormatValue(got) << " instead of " << FormatValue(want);
}

TEST_F(OracleTest, CompositionsKeepTheFunctionsSpecialValues) {
  struct Function {
    const char* name;
    RealFn f;
    std::vector<std::pair<double, double>> points;  // argument, value
  } functions[] = {
      {"InvCbrt", oracle::InvCbrt, {{-8, -0.5}, {0, kInf}, {-0.0, -kInf}, {kInf, 0}}},
      {"Pow2o3", oracle::Pow2o3, {{-8, 4}, {-0.0, 0}, {-kInf, kInf}}},
      {"Pow3o2", oracle::Pow3o2, {{4, 8}, {-0.0, 0}, {-1, kNan}, {-kInf, kNan}, {kInf, kInf}}},
      {"CdfNorm", oracle::CdfNorm, {{0, 0.5}, {-kInf, 0}, {kInf, 1}, {kNan, kNan}}},
      {"Erfc",
       oracle::Erfc,
       {{-kInf, 2}, {6, 0x1.8cf81557d20b6p-56}, {20, 0x1.b54f244df93dfp-583}}},
      {"ErfInv",
       oracle::ErfInv,
       {{1, kInf}, {-1, -kInf}, {-0.0, -0.0}, {0, 0}, {1.5, kNan}, {-kInf, kNan}, {kNan, kNan}}},
      {"ErfcInv", oracle::ErfcInv, {{0, kInf}, {2, -kInf}, {1, 0}, {-0.25, kNan}, {2.5, kNan}}},
      {"CdfNormInv", oracle::CdfNormInv, {{0, -kInf}, {1, kInf}, {0.5, 0}, {1.5, kNan}}},
  };
  for (const Function& f : functions) {
    for (const auto& [x, want] : f.points) {
      EXPECT_TRUE(Same(Eval(f.f, x), want)) << f.name << "(" << x << ")";
    }
  }
}

// Relative difference of two values, as a power of two.
long Log2RelativeDifference(mpfr_srcptr a, mpfr_srcptr b) {
  MpReal d(64);
  mpfr_sub(d.get(), a, b, MPFR_RNDN);
  if (mpfr_zero_p(d.get())) return LONG_MIN;
  mpfr_div(d.get(), d.get(), b, MPFR_RNDN);
  return mpfr_get_exp(d.get());
}

// The continued fraction that serves large arguments against MPFR's own erfc.
TEST_F(OracleTest, ErfcTailAgreesWithMpfr) {
  MpReal want;
  for (const double y : {5.0, 7.5, 12.0, 20.0, 26.5}) {
    SetExact(arg_.get(), y);
    oracle::Erfc(result_.get(), arg_.get());
    mpfr_erfc(want.get(), arg_.get(), MPFR_RNDN);
    EXPECT_LT(Log2RelativeDifference(result_.get(), want.get()), -250) << y;
  }
}

// erf(y) = t, or erfc(y) = 1 - t where that is the better-conditioned equation, holds to far
// more bits than any format has.
TEST_F(OracleTest, InversesSolveTheirEquations) {
  MpReal check(kWorkBits), want(kWorkBits);
  for (const double t : {0x1p-1074, 1e-300, 0x1p-30, 0.1, 0.5, 0.75, 1 - 0x1p-20, 1 - 0x1p-53}) {
    SCOPED_TRACE(t);
    SetExact(arg_.get(), t);
    oracle::ErfInv(result_.get(), arg_.get());
    if (t <= 0.5) {
      mpfr_erf(check.get(), result_.get(), MPFR_RNDN);
      mpfr_set_d(want.get(), t, MPFR_RNDN);
    } else {
      mpfr_erfc(check.get(), result_.get(), MPFR_RNDN);
      mpfr_set_d(want.get(), 1 - t, MPFR_RNDN);
    }
    EXPECT_LT(Log2RelativeDifference(check.get(), want.get()), -220);

    oracle::ErfcInv(result_.get(), arg_.get());
    mpfr_erfc(check.get(), result_.get(), MPFR_RNDN);
    EXPECT_LT(Log2RelativeDifference(check.get(), arg_.get()), -220);
  }
}

// scipy's implementations are independent of the oracles and within a few ulps of the truth.
TEST_F(OracleTest, AgreesWithScipy) {
  const RefTable table =
      RefTable::Load(RefTable::TestsPath("support_selftest/data/erf_reference.txt"));
  ASSERT_GT(table.rows(), 250u);
  const RealFn oracles[] = {oracle::ErfInv, oracle::ErfcInv, oracle::CdfNormInv, oracle::CdfNorm};
  const double tolerance[] = {2, 2, 2, 3};  // ndtr cancels a bit in 1/2 - erf(|x|/sqrt 2)/2
  const size_t kind = table.Column("kind"), x = table.Column("x"), y = table.Column("y");
  for (size_t row = 0; row < table.rows(); ++row) {
    const int64_t k = table.Int(row, kind);
    ASSERT_TRUE(k >= 0 && k < 4);
    const double arg = table.Real<double>(row, x);
    SetExact(arg_.get(), arg);
    oracles[k](result_.get(), arg_.get());
    EXPECT_LE(UlpError(table.Real<double>(row, y), result_.get()), tolerance[k])
        << "kind " << k << " at " << FormatValue(arg);
  }
}

}  // namespace
}  // namespace oxl::test
