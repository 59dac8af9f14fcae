// The reduction by pi/4 against MPFR: arguments of every binade of extended precision up to the
// largest, the worst cases near multiples of pi/4 on both paths, both parities, both signs.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <random>

#include "oxl/vek_kernels.h"
#include "support/mp.h"

namespace {

using oxl::test::MpReal;
using LD = long double;

// x - j pi/4 with j the count of |x|'s octants of the selector's parity, signed as x, in MPFR at
// enough bits to hold every integer count; the count mod 8 as the kernel returns it.
struct Exact {
  MpReal reduced{17000};
  int octant = 0;
};

void Reduce(LD x, int selector, Exact& e) {
  constexpr mpfr_prec_t kBits = 17000;
  MpReal pi02(kBits), pi04(kBits), ax(kBits);
  mpfr_const_pi(pi02.get(), MPFR_RNDN);
  mpfr_div_2ui(pi02.get(), pi02.get(), 1, MPFR_RNDN);
  mpfr_div_2ui(pi04.get(), pi02.get(), 1, MPFR_RNDN);
  // A count of the selector's parity: |x| (less pi/4 for an odd count) less the nearest multiple
  // of pi/2, a tie (only at x = 0) going to the even multiple.
  mpfr_set_ld(ax.get(), std::fabs(x), MPFR_RNDN);
  if (selector & 1) mpfr_sub(ax.get(), ax.get(), pi04.get(), MPFR_RNDN);
  long n = 0;
  mpfr_remquo(e.reduced.get(), &n, ax.get(), pi02.get(), MPFR_RNDN);
  // The quotient's low bits, which is all the count mod 8 needs, in unsigned arithmetic.
  e.octant = static_cast<int>((2 * static_cast<unsigned long>(n) + (selector & 1)) & 7);
  if (std::signbit(x)) {
    mpfr_neg(e.reduced.get(), e.reduced.get(), MPFR_RNDN);
    e.octant = (8 - e.octant) & 7;
  }
}

// |hi + lo - exact| in units of 2^-110 |exact|, with an absolute floor of 2^-139.
double Error(const LD reduced[2], const Exact& e) {
  MpReal diff(17000), part(64), bound(64);
  mpfr_set_ld(diff.get(), reduced[0], MPFR_RNDN);
  mpfr_set_ld(part.get(), reduced[1], MPFR_RNDN);
  mpfr_add(diff.get(), diff.get(), part.get(), MPFR_RNDN);
  mpfr_sub(diff.get(), diff.get(), e.reduced.get(), MPFR_RNDN);
  mpfr_abs(diff.get(), diff.get(), MPFR_RNDN);
  mpfr_abs(bound.get(), e.reduced.get(), MPFR_RNDN);
  mpfr_mul_2si(bound.get(), bound.get(), -110, MPFR_RNDN);
  mpfr_set_ui_2exp(part.get(), 1, -139, MPFR_RNDN);
  mpfr_max(bound.get(), bound.get(), part.get(), MPFR_RNDN);
  mpfr_div(diff.get(), diff.get(), bound.get(), MPFR_RNDN);
  return mpfr_get_d(diff.get(), MPFR_RNDU);
}

void Check(LD x, int selector) {
  Exact e;
  Reduce(x, selector, e);
  LD r[2] = {-7, -7};
  const int octant = oxl_vek_kernel_reduce_pi04l(selector, x, r);
  ASSERT_EQ(octant, e.octant) << std::hexfloat << x << " selector " << selector;
  ASSERT_LE(Error(r, e), 1.0) << std::hexfloat << x << " selector " << selector << " gives " << r[0]
                              << " + " << r[1];
  ASSERT_LE(std::fabs(r[0]), 0.7853981633974483096L * (1 + 0x1p-60L)) << std::hexfloat << x;
}

TEST(ReducePi04l, EveryBinadeBothParitiesAndSigns) {
  std::mt19937_64 rng(7);
  for (int e = -70; e <= 16383; e += (e < 80 ? 1 : 37)) {
    for (int k = 0; k < 3; ++k) {
      const LD m = 1 + static_cast<LD>(rng() >> 1) * 0x1p-63L;
      const LD x = std::ldexp(m, e);
      const int selector = static_cast<int>(rng() % 2);
      Check(x, selector);
      Check(-x, 1 - selector);
    }
  }
  Check(std::numeric_limits<LD>::max(), 0);
  Check(std::numeric_limits<LD>::denorm_min(), 1);
  Check(-0.0L, 0);
  Check(0.0L, 1);
}

// Arguments nearest to multiples of pi/4, where the reduced value cancels to its smallest, on the
// three-piece, five-piece and table paths; and the path thresholds themselves.
TEST(ReducePi04l, NearMultiplesAndThresholds) {
  MpReal pi04(300), t(300);
  mpfr_const_pi(pi04.get(), MPFR_RNDN);
  mpfr_div_2ui(pi04.get(), pi04.get(), 2, MPFR_RNDN);
  std::mt19937_64 rng(11);
  for (int bits : {2, 10, 17, 18, 25, 31, 40, 64, 200, 1000}) {
    for (int k = 0; k < 40; ++k) {
      const uint64_t j = (rng() >> (64 - std::min(bits, 62))) | 1;
      mpfr_mul_ui(t.get(), pi04.get(), j, MPFR_RNDN);
      if (bits > 62)
        mpfr_mul_2ui(t.get(), t.get(), static_cast<unsigned long>(bits - 62), MPFR_RNDN);
      const LD x = mpfr_get_ld(t.get(), MPFR_RNDN);
      for (int selector : {0, 1}) {
        Check(x, selector);
        Check(std::nextafter(x, LD{0}), selector);
      }
    }
  }
  for (LD x : {0x1p17L, 0x1p30L, std::nextafter(0x1p30L, LD{0}), std::nextafter(0x1p17L, LD{0})}) {
    Check(x, 0);
    Check(-x, 1);
  }
}

TEST(ReducePi04l, InfinitiesAndNaNs) {
  LD r[2];
  EXPECT_EQ(oxl_vek_kernel_reduce_pi04l(0, std::numeric_limits<LD>::infinity(), r), 0);
  EXPECT_TRUE(std::isnan(r[0]));
  EXPECT_EQ(oxl_vek_kernel_reduce_pi04l(1, std::numeric_limits<LD>::quiet_NaN(), r), 0);
  EXPECT_TRUE(std::isnan(r[0]));
}

}  // namespace
