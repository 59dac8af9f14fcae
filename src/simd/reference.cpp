#include "simd/reference.h"

#include <bit>
#include <cmath>
#include <cstdint>

#include "platform/fp_control.h"
#include "simd/approx_constants.h"
#include "simd/float_bits.h"

namespace oxl::simd::ref {
namespace {

// Comparisons and arithmetic on float and double obey MXCSR (a compare reads a denormal as zero
// under DAZ), so the instruction-like definitions below test bits and compute in x87 long double,
// which MXCSR does not touch and which holds every product x * 2^n of the formats exactly.
using Wide = long double;

template <typename T>
using Bits = BitsOf<T>;
template <typename T>
using Traits = FloatBits<T>;

bool DenormalsAreZero() { return (platform::ReadMxcsr() & platform::kMxcsrDaz) != 0; }
bool FlushToZero() { return (platform::ReadMxcsr() & platform::kMxcsrFtz) != 0; }

template <typename T>
Bits<T> Magnitude(T x) {
  return ToBits(x) & ~kSignMask<T>;
}

template <typename T>
bool IsNegative(T x) {
  return (ToBits(x) & kSignMask<T>) != 0;
}

template <typename T>
bool IsNaN(T x) {
  return Magnitude(x) > kExponentMask<T>;
}

template <typename T>
bool IsInf(T x) {
  return Magnitude(x) == kExponentMask<T>;
}

template <typename T>
bool IsZero(T x) {
  return Magnitude(x) == 0;
}

template <typename T>
T Quiet(T x) {
  return FromBits<T>(ToBits(x) | kQuietBit<T>);
}

template <typename T>
T WithSignOf(T magnitude, T x) {
  return FromBits<T>(Magnitude(magnitude) | (ToBits(x) & kSignMask<T>));
}

template <typename T>
T Infinity() {
  return FromBits<T>(kExponentMask<T>);
}

template <typename T>
T DefaultNaN() {
  return FromBits<T>(kDefaultNaN<T>);
}

// The input as the instructions read it: a denormal is a zero of its sign under DAZ.
template <typename T>
T ReadInput(T x) {
  const bool denormal =
      Magnitude(x) != 0 && Magnitude(x) < (Bits<T>{1} << Traits<T>::kMantissaBits);
  return denormal && DenormalsAreZero() ? FromBits<T>(ToBits(x) & kSignMask<T>) : x;
}

// A finite nonzero |x| = significand * 2^exponent with the significand in [1, 2).
template <typename T>
struct Decomposed {
  Bits<T> significand;  // with the leading one at bit kMantissaBits
  int exponent;
};

template <typename T>
Decomposed<T> Decompose(T x) {
  constexpr int kM = Traits<T>::kMantissaBits;
  const Bits<T> magnitude = Magnitude(x);
  const int field = static_cast<int>(magnitude >> kM);
  const Bits<T> mantissa = magnitude & kMantissaMask<T>;
  if (field != 0) return {mantissa | (Bits<T>{1} << kM), field - Traits<T>::kBias};
  const int shift = kM + 1 - std::bit_width(mantissa);
  return {mantissa << shift, 1 - Traits<T>::kBias - shift};
}

template <typename T>
Wide SignificandValue(const Decomposed<T>& parts) {
  return std::ldexp(static_cast<Wide>(parts.significand), -Traits<T>::kMantissaBits);
}

template <typename T>
T FirstNaN(T a, T b, T c) {
  return Quiet(IsNaN(a) ? a : IsNaN(b) ? b : c);
}

template <int kSignProduct, int kSignAddend, typename T>
T Fused(T a, T b, T c) {
  if (IsNaN(a) || IsNaN(b) || IsNaN(c)) return FirstNaN(a, b, c);
  return std::fma(kSignProduct < 0 ? -a : a, b, kSignAddend < 0 ? -c : c);
}

template <typename T>
T GetExpOf(T x) {
  x = ReadInput(x);
  if (IsNaN(x)) return Quiet(x);
  if (IsInf(x)) return Infinity<T>();
  if (IsZero(x)) return -Infinity<T>();
  return static_cast<T>(Decompose(x).exponent);
}

template <typename T>
T GetMantOf(T x, MantissaInterval interval, MantissaSign sign) {
  x = ReadInput(x);
  if (IsNaN(x)) return Quiet(x);
  if (sign == MantissaSign::kNaNIfNegative && IsNegative(x) && !IsZero(x)) return DefaultNaN<T>();
  Wide m = 1;
  if (!IsZero(x) && !IsInf(x)) {
    const Decomposed<T> parts = Decompose(x);
    m = SignificandValue(parts);
    switch (interval) {
      case MantissaInterval::kOneToTwo:
        break;
      case MantissaInterval::kHalfToTwo:
        if (parts.exponent % 2 != 0) m /= 2;
        break;
      case MantissaInterval::kHalfToOne:
        m /= 2;
        break;
      case MantissaInterval::kThreeQuartersToThreeHalves:
        if (m >= 1.5L) m /= 2;
        break;
    }
  }
  const T magnitude = static_cast<T>(m);
  return sign == MantissaSign::kClear ? magnitude : WithSignOf(magnitude, x);
}

template <typename T>
T ScalefOf(T x, T y) {
  x = ReadInput(x);
  y = ReadInput(y);
  const bool y_plus_inf = ToBits(y) == kExponentMask<T>;
  const bool y_minus_inf = ToBits(y) == (kExponentMask<T> | kSignMask<T>);
  if (IsNaN(x)) {
    if ((ToBits(x) & kQuietBit<T>) == 0) return Quiet(x);
    if (y_plus_inf) return Infinity<T>();
    if (y_minus_inf) return T(0);
    return x;
  }
  if (IsNaN(y)) return Quiet(y);
  if (IsInf(x)) return y_minus_inf ? DefaultNaN<T>() : x;
  if (IsZero(x)) return y_plus_inf ? DefaultNaN<T>() : x;
  if (y_plus_inf) return WithSignOf(Infinity<T>(), x);
  if (y_minus_inf) return WithSignOf(T(0), x);
  // Beyond 2^13 in magnitude every scaling saturates; the clamp keeps the exact product inside
  // the range of long double.
  const Wide n = std::fmin(std::fmax(std::floor(static_cast<Wide>(y)), -8192.0L), 8192.0L);
  const Wide exact = std::ldexp(static_cast<Wide>(x), static_cast<int>(n));
  // FTZ flushes results whose rounding to the format's precision, with unbounded exponent, lies
  // below the normal range; x * 2^n is that rounding already.
  if (FlushToZero() && std::fabs(exact) < std::ldexp(1.0L, 1 - Traits<T>::kBias)) {
    return WithSignOf(T(0), x);
  }
  return static_cast<T>(exact);
}

template <typename T>
T RoundScaleOf(T x, int imm) {
  x = ReadInput(x);
  if (IsNaN(x)) return Quiet(x);
  if (IsInf(x)) return x;
  const int places = imm >> 4;
  const Wide v = std::ldexp(static_cast<Wide>(x), places);
  Wide r = 0;
  switch (static_cast<Rounding>(imm & 3)) {
    case Rounding::kNearestEven: {
      const Wide below = std::floor(v);
      const Wide fraction = v - below;
      const bool odd = std::fmod(below, 2.0L) != 0;
      r = (fraction > 0.5L || (fraction == 0.5L && odd)) ? below + 1 : below;
      break;
    }
    case Rounding::kDown:
      r = std::floor(v);
      break;
    case Rounding::kUp:
      r = std::ceil(v);
      break;
    case Rounding::kTowardZero:
      r = std::trunc(v);
      break;
  }
  if (r == 0) return WithSignOf(T(0), x);
  return static_cast<T>(std::ldexp(r, -places));
}

template <typename T>
T RcpSeedOf(T x, int k) {
  constexpr int kM = Traits<T>::kMantissaBits;
  if (IsNaN(x)) return Quiet(x);
  const Bits<T> magnitude = Magnitude(x);
  if (magnitude < (Bits<T>{1} << kM)) return WithSignOf(Infinity<T>(), x);
  if (magnitude > ToBits(Pow2<T>(Traits<T>::kBias - 1))) return WithSignOf(T(0), x);
  const Decomposed<T> parts = Decompose(x);
  // 1/x = 2^-exponent / significand; with the significand as an integer S of kM + 1 bits,
  // 1/S in (2^-(kM+1), 2^-kM] is wanted to k + 1 bits, that is round(2^(kM+1+k) / S).
  using Wide128 = unsigned __int128;
  const Wide128 numerator = Wide128{1} << (kM + 1 + k);
  Wide128 q = numerator / parts.significand;
  if (2 * (numerator % parts.significand) > parts.significand) ++q;
  const Wide c =
      std::ldexp(static_cast<Wide>(static_cast<uint64_t>(q)), kM - (kM + 1 + k) - parts.exponent);
  return WithSignOf(static_cast<T>(c), x);
}

// The approximations, step by step as the vector code takes them (simd/reciprocal-inl.h).

template <bool kPrecise, typename T>
T RcpCore(T x) {
  const T y0 = FromBits<T>(approx::kRcpMagic<T> - ToBits(x));
  const T e = Fused<-1, 1>(x, y0, T(1));
  const T y = Fused<1, 1>(y0, Fused<1, 1>(Fused<1, 1>(e, e, e), e, e), y0);
  if constexpr (!kPrecise) return y;
  return Fused<1, 1>(y, Fused<-1, 1>(x, y, T(1)), y);
}

template <bool kPrecise, typename T>
T RcpApprox(T x) {
  const Bits<T> magnitude = Magnitude(x);
  const bool ordinary = magnitude >= (Bits<T>{1} << Traits<T>::kMantissaBits) &&
                        magnitude <= ToBits(Pow2<T>(Traits<T>::kBias - 2));
  if (ordinary) return RcpCore<kPrecise>(x);
  if (IsNaN(x)) return Quiet(x);
  const T scale = magnitude < ToBits(T(1)) ? Pow2<T>(64) : Pow2<T>(-64);
  const T xs = x * scale;
  if (IsZero(xs)) return WithSignOf(Infinity<T>(), x);
  if (IsInf(x)) return WithSignOf(T(0), x);
  const T y = RcpCore<kPrecise>(xs) * scale;
  const bool normal_reciprocal = magnitude <= ToBits(Pow2<T>(Traits<T>::kBias - 1));
  if (normal_reciprocal && Magnitude(y) < (Bits<T>{1} << Traits<T>::kMantissaBits)) {
    return WithSignOf(Pow2<T>(1 - Traits<T>::kBias), x);
  }
  return y;
}

template <bool kPrecise, typename T>
T RsqrtCore(T x) {
  const T y0 = FromBits<T>(approx::kRsqrtMagic<T> - (ToBits(x) >> 1));
  const T e0 = Fused<-1, 1>(x * y0, y0, T(1));
  const T p = Fused<1, 1>(Fused<1, 1>(e0, T(5.0 / 16), T(3.0 / 8)), e0, T(0.5)) * e0;
  const T y = Fused<1, 1>(y0, p, y0);
  if constexpr (!kPrecise) return y;
  const T h = x * y;
  T e = Fused<-1, 1>(h, y, T(1));
  if constexpr (sizeof(T) == 4) {
    e = Fused<-1, 1>(Fused<1, -1>(x, y, h), y, e);
    const T c = Fused<1, 1>(e, T(0.375), T(0.5)) * e;
    return Fused<1, 1>(y, c, y);
  } else {
    return Fused<1, 1>(y * T(0.5), e, y);
  }
}

template <bool kPrecise, typename T>
T RsqrtApprox(T x) {
  const Bits<T> bits = ToBits(x);
  if (bits >= (Bits<T>{1} << Traits<T>::kMantissaBits) && bits < kExponentMask<T>) {
    return RsqrtCore<kPrecise>(x);
  }
  if (IsNaN(x)) return Quiet(x);
  const T read = ReadInput(x);
  if (IsNegative(read) && !IsZero(read)) return DefaultNaN<T>();
  const T xs = x * Pow2<T>(64);
  if (IsZero(xs)) return WithSignOf(Infinity<T>(), x);
  if (IsInf(x)) return T(0);
  return RsqrtCore<kPrecise>(xs) * Pow2<T>(32);
}

}  // namespace

float Fma(float a, float b, float c) { return Fused<1, 1>(a, b, c); }
double Fma(double a, double b, double c) { return Fused<1, 1>(a, b, c); }
float Fms(float a, float b, float c) { return Fused<1, -1>(a, b, c); }
double Fms(double a, double b, double c) { return Fused<1, -1>(a, b, c); }
float Fnma(float a, float b, float c) { return Fused<-1, 1>(a, b, c); }
double Fnma(double a, double b, double c) { return Fused<-1, 1>(a, b, c); }
float Fnms(float a, float b, float c) { return Fused<-1, -1>(a, b, c); }
double Fnms(double a, double b, double c) { return Fused<-1, -1>(a, b, c); }

float GetExp(float x) { return GetExpOf(x); }
double GetExp(double x) { return GetExpOf(x); }

float GetMant(float x, MantissaInterval interval, MantissaSign sign) {
  return GetMantOf(x, interval, sign);
}
double GetMant(double x, MantissaInterval interval, MantissaSign sign) {
  return GetMantOf(x, interval, sign);
}

float Scalef(float x, float y) { return ScalefOf(x, y); }
double Scalef(double x, double y) { return ScalefOf(x, y); }

float RoundScale(float x, int imm) { return RoundScaleOf(x, imm); }
double RoundScale(double x, int imm) { return RoundScaleOf(x, imm); }

float RcpSeed(float x, int fraction_bits) { return RcpSeedOf(x, fraction_bits); }
double RcpSeed(double x, int fraction_bits) { return RcpSeedOf(x, fraction_bits); }

float Rcp14(float x) { return RcpApprox<false>(x); }
double Rcp14(double x) { return RcpApprox<false>(x); }
float Rcp28(float x) { return 1.0f / x; }
double Rcp28(double x) { return RcpApprox<true>(x); }
float Rsqrt14(float x) { return RsqrtApprox<false>(x); }
double Rsqrt14(double x) { return RsqrtApprox<false>(x); }
float Rsqrt28(float x) { return RsqrtApprox<true>(x); }
double Rsqrt28(double x) { return RsqrtApprox<true>(x); }

float Exp2Fast(float x) {
  if (IsNaN(x)) return Quiet(x);
  if (x >= 128.0f) return Infinity<float>();
  if (x < -126.0f) return 0.0f;
  constexpr float kShifter = 0x1.8p23f;
  const float z = x + kShifter;
  const float f = x - (z - kShifter);
  float p = Fused<1, 1>(f, approx::kExp2C4, approx::kExp2C3);
  p = Fused<1, 1>(p, f, approx::kExp2C2);
  p = Fused<1, 1>(p, f, approx::kExp2C1);
  p = Fused<1, 1>(p, f, 1.0f);
  return FromBits<float>(ToBits(p) + (ToBits(z) << 23));
}

}  // namespace oxl::simd::ref
