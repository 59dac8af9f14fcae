#include "support/ulp_meter.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace oxl::test {
namespace {

constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr Error kExact{0.0, kInf};
constexpr Error kWrong{kInf, 0.0};

Error Verdict(bool right) { return right ? kExact : kWrong; }

template <class T>
struct Format {
  static constexpr long kPrecision = std::numeric_limits<T>::digits;
  // Finite values lie below 2^kTop; an infinity stands in at 2^kTop, one ulp above the largest.
  static constexpr long kTop = std::numeric_limits<T>::max_exponent;
  // The smallest normal number is 2^kMinNormal; below it the unit stays the smallest subnormal.
  static constexpr long kMinNormal = std::numeric_limits<T>::min_exponent - 1;
};

// log2 |x| of a regular number, whatever its exponent.
double Log2Abs(mpfr_srcptr x) {
  long e;
  const double m = mpfr_get_d_2exp(&e, x, MPFR_RNDN);
  return static_cast<double>(e) + std::log2(std::fabs(m));
}

template <class T>
bool WrongZeroSign(T got, mpfr_srcptr exact_part) {
  return got == 0 && mpfr_zero_p(exact_part) &&
         std::signbit(got) != static_cast<bool>(mpfr_signbit(exact_part));
}

UlpMeter& ThreadMeter() {
  thread_local UlpMeter meter;
  return meter;
}

}  // namespace

UlpMeter::UlpMeter() : got_(64), target_(64), diff_(64), diff_im_(64), magnitude_(kExactBits) {}

template <class T>
bool UlpMeter::RoundsToInfinity(mpfr_srcptr exact) {
  if (!mpfr_regular_p(exact)) return false;
  const mpfr_exp_t e = mpfr_get_exp(exact);  // 2^(e-1) <= |exact| < 2^e
  if (e != Format<T>::kTop) return e > Format<T>::kTop;
  // In the top binade only the rounding itself tells; a tie goes up, since the largest finite
  // number has an odd significand.
  mpfr_set_prec(rounded_.get(), Format<T>::kPrecision);
  mpfr_set(rounded_.get(), exact, MPFR_RNDN);
  return mpfr_get_exp(rounded_.get()) > Format<T>::kTop;
}

template <class T>
Error UlpMeter::Scaled(mpfr_srcptr reference) {
  using F = Format<T>;
  mpfr_ptr diff = diff_.get();
  if (mpfr_zero_p(diff)) return kExact;
  const bool tiny = mpfr_zero_p(reference) || mpfr_get_exp(reference) - 1 < F::kMinNormal;
  const long binade =
      tiny ? F::kMinNormal : std::min<long>(mpfr_get_exp(reference) - 1, F::kTop - 1);
  const double log2_reference = tiny ? F::kMinNormal : Log2Abs(reference);
  const double bits = std::max(0.0, log2_reference - Log2Abs(diff));
  mpfr_mul_2si(diff, diff, -(binade - (F::kPrecision - 1)), MPFR_RNDN);
  return {std::fabs(mpfr_get_d(diff, MPFR_RNDN)), bits};
}

template <class T>
Error UlpMeter::Real(T got, mpfr_srcptr exact) {
  using F = Format<T>;
  if (std::isnan(got) || mpfr_nan_p(exact)) return Verdict(std::isnan(got) && mpfr_nan_p(exact));
  const bool negative = mpfr_signbit(exact);
  if (mpfr_inf_p(exact)) return Verdict(std::isinf(got) && std::signbit(got) == negative);
  if ((got == 0 || std::isinf(got)) && std::signbit(got) != negative) return kWrong;

  const bool overflow = RoundsToInfinity<T>(exact);
  if (overflow && std::isinf(got)) return kExact;
  mpfr_srcptr reference = exact;
  if (overflow) {
    mpfr_set_si_2exp(target_.get(), negative ? -1 : 1, F::kTop, MPFR_RNDN);
    reference = target_.get();
  }
  if (std::isinf(got)) {
    mpfr_set_si_2exp(got_.get(), negative ? -1 : 1, F::kTop, MPFR_RNDN);
  } else {
    SetExact(got_.get(), got);
  }
  mpfr_sub(diff_.get(), got_.get(), reference, MPFR_RNDN);
  return Scaled<T>(reference);
}

template <class T>
Error UlpMeter::Complex(std::complex<T> got, mpfr_srcptr exact_re, mpfr_srcptr exact_im) {
  const bool finite = std::isfinite(got.real()) && std::isfinite(got.imag()) &&
                      mpfr_number_p(exact_re) && mpfr_number_p(exact_im);
  if (!finite || RoundsToInfinity<T>(exact_re) || RoundsToInfinity<T>(exact_im)) {
    const Error re = Real(got.real(), exact_re);
    const Error im = Real(got.imag(), exact_im);
    return {std::max(re.ulp, im.ulp), std::min(re.bits, im.bits)};
  }
  if (WrongZeroSign(got.real(), exact_re) || WrongZeroSign(got.imag(), exact_im)) return kWrong;
  SetExact(got_.get(), got.real());
  mpfr_sub(diff_.get(), got_.get(), exact_re, MPFR_RNDN);
  SetExact(got_.get(), got.imag());
  mpfr_sub(diff_im_.get(), got_.get(), exact_im, MPFR_RNDN);
  mpfr_hypot(diff_.get(), diff_.get(), diff_im_.get(), MPFR_RNDN);
  mpfr_hypot(magnitude_.get(), exact_re, exact_im, MPFR_RNDN);
  return Scaled<T>(magnitude_.get());
}

template <class T>
double UlpError(T got, mpfr_srcptr exact) {
  return ThreadMeter().Real(got, exact).ulp;
}

template <class T>
double UlpError(std::complex<T> got, mpc_srcptr exact) {
  return ThreadMeter().Complex(got, mpc_realref(exact), mpc_imagref(exact)).ulp;
}

template <class T>
double CorrectBits(T got, mpfr_srcptr exact) {
  return ThreadMeter().Real(got, exact).bits;
}

template Error UlpMeter::Real(float, mpfr_srcptr);
template Error UlpMeter::Real(double, mpfr_srcptr);
template Error UlpMeter::Complex(std::complex<float>, mpfr_srcptr, mpfr_srcptr);
template Error UlpMeter::Complex(std::complex<double>, mpfr_srcptr, mpfr_srcptr);
template double UlpError(float, mpfr_srcptr);
template double UlpError(double, mpfr_srcptr);
template double UlpError(std::complex<float>, mpc_srcptr);
template double UlpError(std::complex<double>, mpc_srcptr);
template double CorrectBits(float, mpfr_srcptr);
template double CorrectBits(double, mpfr_srcptr);

}  // namespace oxl::test
