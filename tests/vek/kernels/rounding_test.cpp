// Rounding kernels: bit for bit the C library's functions on every class of value, on every target,
// in every cut of the array, in both floating-point modes of the thread; and the flags they leave.
#include <gtest/gtest.h>

#include <bit>
#include <cfenv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "oxl/vek.h"
#include "oxl/vek_kernels.h"
#include "platform/fp_control.h"
#include "support/targets.h"

namespace {

template <class T>
using Bits = std::conditional_t<sizeof(T) == 4, uint32_t, uint64_t>;

template <class T>
T QuietNaN(T x) {
  return std::isnan(x) ? std::bit_cast<T>(static_cast<Bits<T>>(
                             std::bit_cast<Bits<T>>(x) |
                             (Bits<T>{1} << (std::numeric_limits<T>::digits - 2))))
                       : x;
}

// Every element class: the edges of each rounding (halves, integers, 2^p and its neighbours),
// zeros and denormals of both signs, infinities, quiet and signalling NaNs, and random bit patterns
// with one in four of the exponent range where fractions exist.
template <class T>
std::vector<T> Inputs() {
  constexpr T kBound = T(1) / std::numeric_limits<T>::epsilon();  // 2^p
  const T inf = std::numeric_limits<T>::infinity();
  std::vector<T> v = {T(0),
                      T(0.5),
                      T(1.5),
                      T(2.5),
                      T(0.49999997),
                      T(0.5000001),
                      T(1),
                      T(2),
                      T(3),
                      T(1e-30),
                      std::numeric_limits<T>::denorm_min(),
                      std::numeric_limits<T>::min(),
                      std::numeric_limits<T>::max(),
                      kBound,
                      std::nextafter(kBound, T(0)),
                      kBound / 2 + T(0.5),
                      kBound / 2 - T(0.5),
                      kBound + 2,
                      inf,
                      std::numeric_limits<T>::quiet_NaN(),
                      std::numeric_limits<T>::signaling_NaN(),
                      T(8388607.5),
                      T(4503599627370495.5)};
  const size_t base = v.size();
  for (size_t k = 0; k < base; ++k) v.push_back(-v[k]);
  std::mt19937_64 rng(42);
  for (int k = 0; k < 3000; ++k) {
    Bits<T> b = static_cast<Bits<T>>(rng());
    T x = std::bit_cast<T>(b);
    if (k % 4 == 0) x = std::ldexp(std::fmod(x, T(1)) + T(k % 7), static_cast<int>(rng() % 60) - 8);
    v.push_back(x);
  }
  return v;
}

enum class Fn { kCeil, kFloor, kTrunc, kRound, kNearbyInt, kRint, kFrac };

// The C library under round to nearest, a NaN quieted as arithmetic quiets it; `flush` reads a
// denormal as a zero of its sign, as DAZ makes the kernels read it.
template <class T>
T Reference(Fn f, T x, bool flush) {
  if (flush && std::fpclassify(x) == FP_SUBNORMAL) x = std::copysign(T(0), x);
  if (std::isnan(x)) return QuietNaN(x);
  switch (f) {
    case Fn::kCeil:
      return std::ceil(x);
    case Fn::kFloor:
      return std::floor(x);
    case Fn::kTrunc:
      return std::trunc(x);
    case Fn::kRound:
      return std::round(x);
    case Fn::kNearbyInt:
      return std::nearbyint(x);
    case Fn::kRint:
      return std::nearbyint(x);
    case Fn::kFrac: {
      T integral;
      return std::modf(x, &integral);
    }
  }
  return x;
}

template <class T>
struct Case {
  const char* name;
  Fn fn;
  void (*kernel)(int, const T*, T*);
};

template <class T>
void CheckAll(const std::vector<Case<T>>& cases, void (*modf)(int, const T*, T*, T*)) {
  const std::vector<T> in = Inputs<T>();
  const int n = static_cast<int>(in.size());
  for (uint32_t mode : {OXL_VEK_MODE_FTZ_DAZ_OFF, OXL_VEK_MODE_FTZ_DAZ_ON}) {
    const uint32_t old = oxl_vek_kernel_SetMode(mode);
    const bool flush = mode == OXL_VEK_MODE_FTZ_DAZ_ON;
    oxl::test::ForEachTarget([&](const std::string&) {
      for (const Case<T>& c : cases) {
        SCOPED_TRACE(std::string(c.name) + (flush ? " FTZ/DAZ" : ""));
        std::vector<T> whole(in.size()), pieces(in.size());
        c.kernel(n, in.data(), whole.data());
        for (int from = 0, len = 1; from < n; from += len, len = len % 37 + 1) {
          c.kernel(std::min(len, n - from), in.data() + from, pieces.data() + from);
        }
        for (int i = 0; i < n; ++i) {
          const T want = Reference(c.fn, in[i], flush);
          ASSERT_EQ(std::bit_cast<Bits<T>>(whole[i]), std::bit_cast<Bits<T>>(want))
              << "x = " << std::hexfloat << in[i] << " got " << whole[i] << " want " << want;
          ASSERT_EQ(std::bit_cast<Bits<T>>(pieces[i]), std::bit_cast<Bits<T>>(want)) << i;
        }
      }
      std::vector<T> ip(in.size()), fp(in.size());
      modf(n, in.data(), ip.data(), fp.data());
      for (int i = 0; i < n; ++i) {
        const T want_i = Reference(Fn::kTrunc, in[i], flush);
        const T want_f = Reference(Fn::kFrac, in[i], flush);
        ASSERT_EQ(std::bit_cast<Bits<T>>(ip[i]), std::bit_cast<Bits<T>>(want_i)) << in[i];
        ASSERT_EQ(std::bit_cast<Bits<T>>(fp[i]), std::bit_cast<Bits<T>>(want_f)) << in[i];
      }
    });
    oxl_vek_kernel_SetMode(old);
  }
}

#define OXL_CASES(t)                                                          \
  {                                                                           \
    {"Ceil", Fn::kCeil, oxl_vek_kernel_##t##Ceil_B3HAynn},                    \
        {"Floor", Fn::kFloor, oxl_vek_kernel_##t##Floor_B3HAynn},             \
        {"Trunc", Fn::kTrunc, oxl_vek_kernel_##t##Trunc_B3HAynn},             \
        {"Round", Fn::kRound, oxl_vek_kernel_##t##Round_B3HAynn},             \
        {"NearbyInt", Fn::kNearbyInt, oxl_vek_kernel_##t##NearbyInt_B3HAynn}, \
        {"Rint", Fn::kRint, oxl_vek_kernel_##t##Rint_B3HAynn}, {              \
      "Frac", Fn::kFrac, oxl_vek_kernel_##t##Frac_B3HAynn                     \
    }                                                                         \
  }

TEST(Rounding, FloatAsTheCLibraryOnEveryTargetAndCut) {
  CheckAll<float>(OXL_CASES(s), oxl_vek_kernel_sModf_B3HAynn);
}

TEST(Rounding, DoubleAsTheCLibraryOnEveryTargetAndCut) {
  CheckAll<double>(OXL_CASES(d), oxl_vek_kernel_dModf_B3HAynn);
}

// Rint raises inexact for a value that is not an integer, as rint does; NearbyInt and the others
// raise nothing. Under a caller's round-down mode the kernels still round to nearest, and the
// caller's mode and flags come back.
TEST(Rounding, InexactOnlyFromRintAndCallersModeIgnored) {
  const double x[3] = {2.5, -0.5, 7};
  double r[3];
  std::feclearexcept(FE_ALL_EXCEPT);
  oxl_vek_kernel_dNearbyInt_B3HAynn(3, x, r);
  oxl_vek_kernel_dFloor_B3HAynn(3, x, r);
  oxl_vek_kernel_dRound_B3HAynn(3, x, r);
  oxl_vek_kernel_dFrac_B3HAynn(3, x, r);
  EXPECT_FALSE(std::fetestexcept(FE_INEXACT));
  oxl_vek_kernel_dRint_B3HAynn(1, x + 2, r);
  EXPECT_FALSE(std::fetestexcept(FE_INEXACT));
  oxl_vek_kernel_dRint_B3HAynn(3, x, r);
  EXPECT_TRUE(std::fetestexcept(FE_INEXACT));
  EXPECT_EQ(r[0], 2);
  EXPECT_EQ(r[1], 0);
  EXPECT_TRUE(std::signbit(r[1]));

  std::feclearexcept(FE_ALL_EXCEPT);
  const uint32_t mxcsr = oxl::platform::ReadMxcsr();
  oxl::platform::WriteMxcsr((mxcsr & ~oxl::platform::kMxcsrRounding) | 0x2000u);  // round down
  float f[2] = {2.5f, -1.5f}, g[2];
  oxl_vek_kernel_sNearbyInt_B3HAynn(2, f, g);
  const uint32_t after = oxl::platform::ReadMxcsr();
  oxl::platform::WriteMxcsr(mxcsr);
  EXPECT_EQ(g[0], 2);
  EXPECT_EQ(g[1], -2);
  EXPECT_EQ(after & 0xFFC0u, ((mxcsr & ~oxl::platform::kMxcsrRounding) | 0x2000u) & 0xFFC0u);
}

}  // namespace
