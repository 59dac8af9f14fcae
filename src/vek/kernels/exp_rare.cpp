// Scalar routines of Exp and Expm1 for the lanes outside the vector code's range. The results at
// the ends come from real multiplications (FLT_MAX * FLT_MAX, the smallest denormal squared), so
// that the overflow and underflow flags are raised as the operations say.
#include "vek/kernels/exp_rare.h"

#include "vek/kernels/exp_tables.h"
#include "vek/kernels/force.h"

#include <cfloat>
#include <cmath>
#include <cstring>

namespace oxl::vek {

namespace {

template <class T, class U>
T FromBits(U u) {
  static_assert(sizeof(T) == sizeof(U));
  T v;
  std::memcpy(&v, &u, sizeof v);
  return v;
}
template <class U, class T>
U ToBits(T v) {
  static_assert(sizeof(T) == sizeof(U));
  U u;
  std::memcpy(&u, &v, sizeof u);
  return u;
}

// e^x for double x in [-745.13, 709.78] with the 64-entry table, status 4 for denormal results.
int32_t ExpDoubleInRange(double x, double* r) {
  const double shifter = 6755399441055744.0;         // 1.5 * 2^52
  const double z = x * 92.33248261689366 + shifter;  // 64 log2(e)
  const int64_t n = static_cast<int64_t>(ToBits<uint64_t>(z) << 32) >> 32;
  const double nf = z - shifter;
  const int j = static_cast<int>(n & 63);
  const int64_t m = n >> 6;
  double t = x - nf * FromBits<double>(uint64_t{0x3F862E42FEFA0000});
  t = t - nf * FromBits<double>(uint64_t{0x3D1CF79ABC9E3B3A});
  double q = 0.0013888870459233254;
  q = q * t + 0.008333341995140497;
  q = q * t + 0.04166666666677052;
  q = q * t + 0.1666666666665788;
  q = q * t + 0.5;
  const double p = (q * (t * t) + t) + exp_tables::kExp2J64DLo[j];
  const double hi = exp_tables::kExp2J64DHi[j];
  const double lo = hi * p;  // e^x = 2^m (hi + hi p)
  if (x >= -708.3964185322641) {
    const int64_t biased = m + 1023;
    if (biased >= 1 && biased <= 2046) {
      const double scale = FromBits<double>(static_cast<uint64_t>(biased) << 52);
      *r = (hi + lo) * scale;
    } else {
      const double scale = FromBits<double>(static_cast<uint64_t>(biased - 1) << 52);
      *r = ((hi + lo) * scale) * 2.0;
    }
    return 0;
  }
  // Denormal result: both parts scaled 2^60 too high and summed there, one rounding into the
  // denormals by the final scaling.
  const double scale = FromBits<double>(static_cast<uint64_t>(m + 1023 + 60) << 52);
  const double sum = hi * scale + lo * scale;
  *r = sum * 0x1p-60;
  return 4;
}

// e^x for float x in [-103.97, 88.72]: the double routine, rounded once to float. Float
// arithmetic with a degree-5 polynomial over [-ln 2 / 2, ln 2 / 2] would leave 2 ulp near the
// ends of the range. Status 4 where the result is denormal.
int32_t ExpFloatInRange(float x, float* r) {
  double e;
  ExpDoubleInRange(static_cast<double>(x), &e);
  *r = static_cast<float>(e);
  return x < -0x1.5d589ep+6f ? 4 : 0;  // -87.33654: below the normal range
}

}  // namespace

int32_t vsexp_cout_rare(const float* a, float* r) {
  const float x = *a;
  const uint32_t bits = ToBits<uint32_t>(x);
  if ((bits & 0x7F800000u) == 0x7F800000u) {
    *r = (bits == 0xFF800000u) ? 0.0f : Force(x * x);
    return 0;
  }
  if (x > 0x1.62e42ep+6f) {  // 88.72283172607422
    *r = Force(Force(FLT_MAX) * FLT_MAX);
    return 3;
  }
  if (x < -0x1.9fe368p+6f) {  // -103.97207641601562
    const float tiny = Force(FLT_TRUE_MIN);
    *r = Force(tiny * tiny);
    return 4;
  }
  return ExpFloatInRange(x, r);
}

int32_t vdexp_cout_rare(const double* a, double* r) {
  const double x = *a;
  const uint64_t bits = ToBits<uint64_t>(x);
  const uint64_t exponent = (bits >> 52) & 0x7FF;
  if (exponent == 0x7FF) {
    *r = (bits == 0xFFF0000000000000u) ? 0.0 : Force(x * x);
    return 0;
  }
  if (exponent <= 0x3CA) {  // |x| < 2^-53: e^x rounds to 1 + x
    *r = Force(1.0 + x);
    return 0;
  }
  if (x > 709.782712893384) {
    *r = Force(Force(DBL_MAX) * DBL_MAX);
    return 3;
  }
  if (x < -745.1332191019411) {
    const double tiny = Force(DBL_TRUE_MIN);
    *r = Force(tiny * tiny);
    return 4;
  }
  return ExpDoubleInRange(x, r);
}

// Expm1 sends only x >= its bound here; the other branches keep the routine whole for any x.
int32_t vsexpm1_cout_rare(const float* a, float* r) {
  const float x = *a;
  const uint32_t bits = ToBits<uint32_t>(x);
  if ((bits & 0x7F800000u) == 0x7F800000u) {
    *r = (bits == 0xFF800000u) ? -1.0f : Force(x * x);
    return 0;
  }
  if (x > 0x1.62e42ep+6f) {
    *r = Force(Force(FLT_MAX) * FLT_MAX);
    return 3;
  }
  if (x >= 0x1.0p+5f) {  // e^x - 1 rounds to e^x
    return ExpFloatInRange(x, r);
  }
  *r = static_cast<float>(std::expm1(static_cast<double>(x)));
  return 0;
}

int32_t vdexpm1_cout_rare(const double* a, double* r) {
  const double x = *a;
  const uint64_t bits = ToBits<uint64_t>(x);
  if (((bits >> 52) & 0x7FF) == 0x7FF) {
    *r = (bits == 0xFFF0000000000000u) ? -1.0 : Force(x * x);
    return 0;
  }
  if (x > 709.782712893384) {
    *r = Force(Force(DBL_MAX) * DBL_MAX);
    return 3;
  }
  if (x >= 64.0) {  // e^x - 1 rounds to e^x
    return ExpDoubleInRange(x, r);
  }
  *r = static_cast<double>(std::expm1(static_cast<long double>(x)));
  return 0;
}

}  // namespace oxl::vek
