// Complex Mul, MulByConj and Div: each part within 1 ulp at HA against MPFR (the list-driven sweep
// measures normwise), for ordinary values, for products that cancel down to the last bits, and
// across the whole exponent range (the rare lanes); and, for infinities, NaNs, zero divisors and
// overflow, the results and statuses of the scalar layer the element loops ran.
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "oxl/vek.h"
#include "oxl/vek_kernels.h"
#include "support/mp.h"
#include "support/targets.h"
#include "support/ulp_meter.h"
#include "vek/frame/scalar_layer.h"

namespace {

using oxl::test::MpReal;

enum class Op { kMul, kMulByConj, kDiv };

template <class E>
using Part = decltype(E::re);
template <class E>
using Kernel = void (*)(int, const E*, const E*, E*);

// Each part of a op b, exactly (Mul, MulByConj) or to 600 bits (Div), then its error in ulps.
template <class E>
void PartErrors(Op op, const E& a, const E& b, const E& got, double& err_re, double& err_im) {
  constexpr mpfr_prec_t kBits = 2400;  // sums of two products of doubles, whatever the exponents
  MpReal ar(kBits), ai(kBits), br(kBits), bi(kBits), t(kBits), u(kBits), re(kBits), im(kBits);
  oxl::test::SetExact(ar.get(), a.re);
  oxl::test::SetExact(ai.get(), a.im);
  oxl::test::SetExact(br.get(), b.re);
  oxl::test::SetExact(bi.get(), op == Op::kMul ? b.im : -b.im);
  mpfr_mul(t.get(), ar.get(), br.get(), MPFR_RNDN);
  mpfr_mul(u.get(), ai.get(), bi.get(), MPFR_RNDN);
  mpfr_sub(re.get(), t.get(), u.get(), MPFR_RNDN);
  mpfr_mul(t.get(), ar.get(), bi.get(), MPFR_RNDN);
  mpfr_mul(u.get(), ai.get(), br.get(), MPFR_RNDN);
  mpfr_add(im.get(), t.get(), u.get(), MPFR_RNDN);
  if (op == Op::kDiv) {
    mpfr_sqr(t.get(), br.get(), MPFR_RNDN);
    mpfr_sqr(u.get(), bi.get(), MPFR_RNDN);
    mpfr_add(t.get(), t.get(), u.get(), MPFR_RNDN);
    mpfr_div(re.get(), re.get(), t.get(), MPFR_RNDN);
    mpfr_div(im.get(), im.get(), t.get(), MPFR_RNDN);
  }
  err_re = oxl::test::UlpError(got.re, re.get());
  err_im = oxl::test::UlpError(got.im, im.get());
}

template <class T>
T RandomFinite(std::mt19937_64& rng, int min_exp, int max_exp) {
  std::uniform_real_distribution<T> mant(T(1), T(2));
  const int e = min_exp + static_cast<int>(rng() % static_cast<uint64_t>(max_exp - min_exp + 1));
  const T v = std::ldexp(mant(rng), e);
  return rng() & 1 ? -v : v;
}

// Ordinary values; pairs whose two products cancel in the real or the imaginary part (the second
// factor solved for it, then rounded); and finite bit patterns of every exponent.
template <class E>
std::vector<E> Inputs(Op op, uint64_t seed, size_t count) {
  using T = Part<E>;
  std::mt19937_64 rng(seed);
  const int emax = std::numeric_limits<T>::max_exponent;
  std::vector<E> v;  // a, b, a, b, ...
  for (size_t k = 0; k < count; ++k) {
    E a{RandomFinite<T>(rng, -30, 30), RandomFinite<T>(rng, -30, 30)};
    E b{RandomFinite<T>(rng, -30, 30), RandomFinite<T>(rng, -30, 30)};
    const T sign = op == Op::kMul ? T(1) : T(-1);  // b.im as it enters the product
    switch (k % 4) {
      case 1:  // ar br - ai bi' ~ 0
        b.im = sign * a.re * b.re / a.im;
        break;
      case 2:  // ar bi' + ai br ~ 0
        b.re = -a.re * (sign * b.im) / a.im;
        break;
      case 3: {
        using U = std::conditional_t<sizeof(T) == 4, uint32_t, uint64_t>;
        T* parts[4] = {&a.re, &a.im, &b.re, &b.im};
        for (T* p : parts) {
          do {
            *p = std::bit_cast<T>(static_cast<U>(rng()));
          } while (!std::isfinite(*p));
          if (rng() % 4 == 0) *p = std::ldexp(*p, -emax);  // toward the subnormals
        }
        break;
      }
      default:
        break;
    }
    if (op == Op::kDiv && b.re == 0 && b.im == 0) b.re = T(1);  // zero divisors: see below
    v.push_back(a);
    v.push_back(b);
  }
  return v;
}

template <class E>
void CheckAccuracy(const char* name, Op op, Kernel<E> kernel, uint64_t seed) {
  SCOPED_TRACE(name);
  const std::vector<E> pairs = Inputs<E>(op, seed, 6000);
  const int n = static_cast<int>(pairs.size() / 2);
  std::vector<E> a(n), b(n);
  for (int i = 0; i < n; ++i) {
    a[i] = pairs[2 * i];
    b[i] = pairs[2 * i + 1];
  }
  const uint32_t old_mode = oxl_vek_kernel_SetMode(OXL_VEK_MODE_ERRMODE_IGNORE);
  std::vector<E> r(n);
  kernel(n, a.data(), b.data(), r.data());
  double worst = 0;
  int worst_at = 0;
  for (int i = 0; i < n; ++i) {
    double re, im;
    PartErrors(op, a[i], b[i], r[i], re, im);
    if (std::max(re, im) > worst) {
      worst = std::max(re, im);
      worst_at = i;
    }
  }
  EXPECT_LE(worst, 1.0) << std::hexfloat << "(" << a[worst_at].re << ", " << a[worst_at].im << ") ("
                        << b[worst_at].re << ", " << b[worst_at].im << ") gives (" << r[worst_at].re
                        << ", " << r[worst_at].im << ")";
  oxl_vek_kernel_SetMode(old_mode);
}

TEST(ComplexArith, HighAccuracyPartsWithinOneUlp) {
  CheckAccuracy<oxl_complex16>("zMul", Op::kMul, oxl_vek_kernel_zMul_B3HAynn, 1);
  CheckAccuracy<oxl_complex16>("zMulByConj", Op::kMulByConj, oxl_vek_kernel_zMulByConj_B3HAynn, 2);
  CheckAccuracy<oxl_complex16>("zDiv", Op::kDiv, oxl_vek_kernel_zDiv_B3HAynn, 3);
  CheckAccuracy<oxl_complex8>("cMul", Op::kMul, oxl_vek_kernel_cMul_B3HAynn, 4);
  CheckAccuracy<oxl_complex8>("cMulByConj", Op::kMulByConj, oxl_vek_kernel_cMulByConj_B3HAynn, 5);
  CheckAccuracy<oxl_complex8>("cDiv", Op::kDiv, oxl_vek_kernel_cDiv_B3HAynn, 6);
}

// --- Special values and statuses: what the scalar layer of the element loops gives. ---

struct Event {
  int32_t code, index;
  std::string name;
};
std::vector<Event> events;
int32_t Record(oxl_vek_error_record* r) {
  events.push_back({r->code, r->index, std::string(r->func_name, r->func_name_len)});
  return 0;
}

template <class E>
E Expected(Op op, const E& a, const E& b, int32_t& status) {
  using oxl::vek::scalar::CLD;
  using T = Part<E>;
  CLD x, y, r;
  __real__ x = a.re;
  __imag__ x = a.im;
  __real__ y = b.re;
  __imag__ y = b.im;
  status = 0;
  r = op == Op::kMul         ? oxl::vek::scalar::Mul::Eval(x, y, status)
      : op == Op::kMulByConj ? oxl::vek::scalar::MulByConj::Eval(x, y, status)
                             : oxl::vek::scalar::Div::Eval(x, y, status);
  const E out{static_cast<T>(__real__ r), static_cast<T>(__imag__ r)};
  const bool finite =
      std::isfinite(a.re) && std::isfinite(a.im) && std::isfinite(b.re) && std::isfinite(b.im);
  if (status == 0 && finite && (std::isinf(out.re) || std::isinf(out.im))) status = 3;
  return out;
}

template <class T>
bool SameValue(T got, T want) {
  if (std::isnan(want)) return std::isnan(got);
  return std::bit_cast<std::conditional_t<sizeof(T) == 4, uint32_t, uint64_t>>(got) ==
         std::bit_cast<std::conditional_t<sizeof(T) == 4, uint32_t, uint64_t>>(want);
}

template <class E>
void CheckSpecials(const char* name, Op op, Kernel<E> kernel) {
  using T = Part<E>;
  SCOPED_TRACE(name);
  const T inf = std::numeric_limits<T>::infinity(), nan = std::numeric_limits<T>::quiet_NaN();
  const T big = std::numeric_limits<T>::max() / 4;
  const std::vector<T> values = {T(0), -T(0), T(1), T(-2.5), inf, -inf, nan, big, -big};
  std::vector<E> a, b;
  for (T p : values) {
    for (T q : values) {
      for (T s : {T(0), T(1), -inf, big}) {
        for (T t : {-T(0), T(3), nan, inf, big}) {
          a.push_back({p, q});
          b.push_back({s, t});
        }
      }
    }
  }
  const int n = static_cast<int>(a.size());
  const uint32_t old_mode = oxl_vek_kernel_SetMode(OXL_VEK_MODE_ERRMODE_DEFAULT);
  const oxl_vek_error_callback old_callback = oxl_vek_kernel_SetErrorCallBack(Record);
  oxl::test::ForEachTarget([&](const std::string&) {
    std::vector<E> r(n);
    events.clear();
    kernel(n, a.data(), b.data(), r.data());
    size_t next_event = 0;
    for (int i = 0; i < n; ++i) {
      int32_t status;
      const E want = Expected(op, a[i], b[i], status);
      // Finite values are the accuracy test's; the extended layer rounds them twice.
      const bool finite = std::isfinite(want.re) && std::isfinite(want.im) &&
                          std::isfinite(a[i].re) && std::isfinite(a[i].im) &&
                          std::isfinite(b[i].re) && std::isfinite(b[i].im);
      ASSERT_TRUE(finite || (SameValue(r[i].re, want.re) && SameValue(r[i].im, want.im)))
          << std::hexfloat << i << ": (" << a[i].re << ", " << a[i].im << ") (" << b[i].re << ", "
          << b[i].im << ") gives (" << r[i].re << ", " << r[i].im << ") want (" << want.re << ", "
          << want.im << ")";
      if (status != 0) {
        ASSERT_LT(next_event, events.size()) << i;
        EXPECT_EQ(events[next_event].index, i);
        EXPECT_EQ(events[next_event].code, status);
        EXPECT_EQ(events[next_event].name, std::string("v") + name);
        ++next_event;
      }
    }
    EXPECT_EQ(next_event, events.size());
  });
  oxl_vek_kernel_SetErrorCallBack(old_callback);
  oxl_vek_kernel_SetMode(old_mode);
}

TEST(ComplexArith, SpecialValuesAndStatusesAsTheScalarLayer) {
  CheckSpecials<oxl_complex16>("zMul", Op::kMul, oxl_vek_kernel_zMul_B3HAynn);
  CheckSpecials<oxl_complex16>("zMul", Op::kMul, oxl_vek_kernel_zMul_B3EPnnn);
  CheckSpecials<oxl_complex16>("zMulByConj", Op::kMulByConj, oxl_vek_kernel_zMulByConj_B3HAynn);
  CheckSpecials<oxl_complex16>("zMulByConj", Op::kMulByConj, oxl_vek_kernel_zMulByConj_B3EPnnn);
  CheckSpecials<oxl_complex16>("zDiv", Op::kDiv, oxl_vek_kernel_zDiv_B3HAynn);
  CheckSpecials<oxl_complex16>("zDiv", Op::kDiv, oxl_vek_kernel_zDiv_B3EPnnn);
  CheckSpecials<oxl_complex8>("cMul", Op::kMul, oxl_vek_kernel_cMul_B3HAynn);
  CheckSpecials<oxl_complex8>("cMulByConj", Op::kMulByConj, oxl_vek_kernel_cMulByConj_B3LAynn);
  CheckSpecials<oxl_complex8>("cDiv", Op::kDiv, oxl_vek_kernel_cDiv_B3HAynn);
}

// Under FTZ and DAZ a denormal part reads as zero, in the vector lanes and the rare ones alike,
// and a denormal result is flushed.
TEST(ComplexArith, FlushToZeroMode) {
  const double dm = std::numeric_limits<double>::denorm_min();
  const oxl_complex16 a[3] = {{dm, 1}, {1e-300, 0}, {3, 4}};
  const oxl_complex16 b[3] = {{1, 0}, {1e-10, 0}, {dm, 0}};
  oxl_complex16 r[3];
  const uint32_t old =
      oxl_vek_kernel_SetMode(OXL_VEK_MODE_FTZ_DAZ_ON | OXL_VEK_MODE_ERRMODE_IGNORE);
  oxl_vek_kernel_ClearErrStatus();
  oxl_vek_kernel_zMul_B3HAynn(2, a, b, r);
  EXPECT_TRUE(r[0].re == 0 && r[0].im == 1);
  EXPECT_TRUE(r[1].re == 0 && !std::signbit(r[1].re));  // 1e-310 flushed
  oxl_vek_kernel_zDiv_B3HAynn(3, a, b, r);
  EXPECT_EQ(oxl_vek_kernel_GetErrStatus(), 2);  // 3 + 4i over a zero
  oxl_vek_kernel_SetMode(OXL_VEK_MODE_FTZ_DAZ_OFF);
  oxl_vek_kernel_zMul_B3HAynn(2, a, b, r);
  EXPECT_EQ(r[0].re, dm);
  EXPECT_EQ(r[1].re, 1e-300 * 1e-10);
  oxl_vek_kernel_SetMode(old);
  oxl_vek_kernel_ClearErrStatus();
}

}  // namespace
