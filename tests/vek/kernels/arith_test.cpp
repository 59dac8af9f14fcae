// Arithmetic kernels: exact element-wise results on every target, for every length and every cut
// of the arrays, and the overflow rule of complex addition.
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

#include "oxl/vek.h"
#include "oxl/vek_kernels.h"
#include "support/targets.h"

namespace {

template <class T>
bool SameBits(T x, T y) {
  return std::memcmp(&x, &y, sizeof(T)) == 0;
}

// Random values of every class: finite of all magnitudes, denormals, zeros, infinities, NaNs.
template <class T>
std::vector<T> Mixed(size_t n, uint64_t seed) {
  using U = std::conditional_t<sizeof(T) == 4, uint32_t, uint64_t>;
  std::mt19937_64 rng(seed);
  std::vector<T> v(n);
  for (auto& x : v) {
    U bits = static_cast<U>(rng());
    // One in eight a denormal or zero: the exponent field cleared.
    const U exponent = sizeof(T) == 4 ? U(0x7F800000u) : U(0x7FF0000000000000ull);
    if (rng() % 8 == 0) bits &= ~exponent;
    x = std::bit_cast<T>(bits);
  }
  return v;
}

template <class T>
using Binary = void (*)(int, const T*, const T*, T*);
template <class T>
using Unary = void (*)(int, const T*, T*);

// Calls a kernel on [0, n) cut at the given points and returns the results.
template <class T, class Kernel, class... Arrays>
std::vector<T> RunCut(Kernel k, const std::vector<int>& cuts, int n, const Arrays&... in) {
  std::vector<T> r(n);
  int from = 0;
  for (int to : cuts) {
    k(to - from, (in.data() + from)..., r.data() + from);
    from = to;
  }
  k(n - from, (in.data() + from)..., r.data() + from);
  return r;
}

std::vector<std::vector<int>> Cuts(int n, uint64_t seed) {
  std::vector<std::vector<int>> all = {{}};
  std::mt19937 rng(static_cast<unsigned>(seed));
  for (int trial = 0; trial < 6 && n > 1; ++trial) {
    std::vector<int> c;
    for (int at = 0;;) {
      at += 1 + static_cast<int>(rng() % 40);
      if (at >= n) break;
      c.push_back(at);
    }
    all.push_back(c);
  }
  return all;
}

template <class T, class Op>
void CheckBinary(Binary<T> kernel, Op op) {
  for (int n : {0, 1, 7, 31, 32, 33, 63, 64, 65, 200, 1031}) {
    const auto a = Mixed<T>(n, 1 + n), b = Mixed<T>(n, 1000 + n);
    for (const auto& cut : Cuts(n, n)) {
      oxl::test::ForEachTarget([&](const std::string&) {
        const auto r = RunCut<T>(kernel, cut, n, a, b);
        for (int i = 0; i < n; ++i) {
          const T want = op(a[i], b[i]);
          if (std::isnan(want)) {
            ASSERT_TRUE(std::isnan(r[i])) << i;
          } else {
            ASSERT_TRUE(SameBits(r[i], want)) << "n " << n << " i " << i << ": " << a[i] << ", " << b[i];
          }
        }
      });
    }
  }
}

TEST(Arithmetic, RealBinaryKernelsAreExactEverywhere) {
  CheckBinary<float>(oxl_vek_kernel_sAdd_B3HAynn, [](float x, float y) { return x + y; });
  CheckBinary<float>(oxl_vek_kernel_sSub_B3HAynn, [](float x, float y) { return x - y; });
  CheckBinary<float>(oxl_vek_kernel_sMul_B3HAynn, [](float x, float y) { return x * y; });
  for (auto k : {oxl_vek_kernel_dAdd_B3HAynn, oxl_vek_kernel_dAdd_B3EPnnn}) {
    CheckBinary<double>(k, [](double x, double y) { return x + y; });
  }
  for (auto k : {oxl_vek_kernel_dSub_B3HAynn, oxl_vek_kernel_dSub_B3LAynn}) {
    CheckBinary<double>(k, [](double x, double y) { return x - y; });
  }
  CheckBinary<double>(oxl_vek_kernel_dMul_B3HAynn, [](double x, double y) { return x * y; });
}

template <class T, class Op>
void CheckUnary(Unary<T> kernel, Op op, bool bitwise_nan) {
  for (int n : {0, 1, 31, 32, 33, 100, 517}) {
    const auto a = Mixed<T>(n, 7 + n);
    for (const auto& cut : Cuts(n, n)) {
      oxl::test::ForEachTarget([&](const std::string&) {
        const auto r = RunCut<T>(kernel, cut, n, a);
        for (int i = 0; i < n; ++i) {
          const T want = op(a[i]);
          if (std::isnan(want) && !bitwise_nan) {
            ASSERT_TRUE(std::isnan(r[i]));
          } else {
            ASSERT_TRUE(SameBits(r[i], want)) << i << ": " << a[i];
          }
        }
      });
    }
  }
}

template <class T>
T ClearSign(T x) {
  using U = std::conditional_t<sizeof(T) == 4, uint32_t, uint64_t>;
  return std::bit_cast<T>(std::bit_cast<U>(x) & (~U{0} >> 1));
}

TEST(Arithmetic, SquareAndMagnitude) {
  for (auto k : {oxl_vek_kernel_sSqr_B3HAynn, oxl_vek_kernel_sSqr_B3LAynn}) {
    CheckUnary<float>(k, [](float x) { return x * x; }, false);
  }
  CheckUnary<double>(oxl_vek_kernel_dSqr_B3HAynn, [](double x) { return x * x; }, false);
  // Magnitude is a bit operation: NaN payloads, signalling ones included, come through intact.
  for (auto k : {oxl_vek_kernel_sAbs_B3HAynn, oxl_vek_kernel_sAbs_B3LAynn}) {
    CheckUnary<float>(k, ClearSign<float>, true);
  }
  CheckUnary<double>(oxl_vek_kernel_dAbs_B3HAynn, ClearSign<double>, true);
  const float snan = std::bit_cast<float>(0xFF800001u), zero = -0.0f;
  float r[2];
  const float in[2] = {snan, zero};
  oxl_vek_kernel_sAbs_B3HAynn(2, in, r);
  EXPECT_EQ(std::bit_cast<uint32_t>(r[0]), 0x7F800001u);
  EXPECT_EQ(std::bit_cast<uint32_t>(r[1]), 0u);
}

TEST(Arithmetic, ResultMayBeTheInput) {
  std::vector<float> a = Mixed<float>(100, 3), b = Mixed<float>(100, 4), want(100);
  for (int i = 0; i < 100; ++i) want[i] = a[i] + b[i];
  oxl_vek_kernel_sAdd_B3HAynn(100, a.data(), b.data(), a.data());
  for (int i = 0; i < 100; ++i) {
    EXPECT_TRUE(SameBits(a[i], want[i]) || (std::isnan(a[i]) && std::isnan(want[i]))) << i;
  }
}

template <class C>
void CheckConjugate(void (*kernel)(int, const C*, C*)) {
  using T = decltype(C{}.re);
  for (int n : {0, 1, 7, 8, 9, 15, 16, 17, 33, 100}) {
    std::vector<C> a(n), r(n);
    const auto parts = Mixed<T>(2 * n, 11 + n);
    for (int i = 0; i < n; ++i) a[i] = C{parts[2 * i], parts[2 * i + 1]};
    oxl::test::ForEachTarget([&](const std::string&) {
      kernel(n, a.data(), r.data());
      for (int i = 0; i < n; ++i) {
        ASSERT_TRUE(SameBits(r[i].re, a[i].re)) << i;
        ASSERT_TRUE(SameBits(r[i].im, -a[i].im)) << i;  // negation flips the sign bit only
      }
    });
  }
}

TEST(Arithmetic, ComplexConjugate) {
  CheckConjugate(oxl_vek_kernel_cConj_B3HAynn);
  CheckConjugate(oxl_vek_kernel_zConj_B3HAynn);
}

struct Event {
  int code, index;
  double res1;
};
std::vector<Event> g_events;
int32_t Record(oxl_vek_error_record* rec) {
  g_events.push_back({rec->code, rec->index, rec->res1});
  return 0;
}

template <class C, class Kernel>
void CheckComplexAddSub(Kernel kernel, bool is_add, bool checked) {
  using T = decltype(C{}.re);
  const T big = std::numeric_limits<T>::max(), inf = std::numeric_limits<T>::infinity();
  const T nan = std::numeric_limits<T>::quiet_NaN();
  // Element 3 overflows in its real part, 20 in its imaginary part, 40 has an infinite input and
  // 41 a NaN input: only 3 and 20 are events.
  const int n = 45;
  std::vector<C> a(n), b(n);
  for (int i = 0; i < n; ++i) a[i] = b[i] = C{T(i), T(-i)};
  a[3] = C{big, 1};
  b[3] = C{is_add ? big : -big, 1};
  a[20] = C{1, -big};
  b[20] = C{1, is_add ? -big : big};
  a[40] = C{inf, 0};
  a[41] = C{nan, big};
  oxl::test::ForEachTarget([&](const std::string&) {
    std::vector<C> r(n);
    g_events.clear();
    oxl_vek_kernel_ClearErrStatus();
    const auto old_cb = oxl_vek_kernel_SetErrorCallBack(Record);
    kernel(n, a.data(), b.data(), r.data());
    oxl_vek_kernel_SetErrorCallBack(old_cb);
    for (int i = 0; i < n; ++i) {
      const T re = is_add ? a[i].re + b[i].re : a[i].re - b[i].re;
      const T im = is_add ? a[i].im + b[i].im : a[i].im - b[i].im;
      EXPECT_TRUE(SameBits(r[i].re, re) || (std::isnan(re) && std::isnan(r[i].re))) << i;
      EXPECT_TRUE(SameBits(r[i].im, im)) << i;
    }
    if (checked) {
      ASSERT_EQ(g_events.size(), 2u);
      EXPECT_EQ(g_events[0].code, 3);
      EXPECT_EQ(g_events[0].index, 3);
      EXPECT_EQ(g_events[1].index, 20);
      EXPECT_EQ(oxl_vek_kernel_GetErrStatus(), 3);
    } else {
      EXPECT_TRUE(g_events.empty());
      EXPECT_EQ(oxl_vek_kernel_GetErrStatus(), 0);
    }
  });
}

TEST(Arithmetic, ComplexAddAndSubReportOverflowAtHighAccuracyOnly) {
  CheckComplexAddSub<oxl_complex8>(oxl_vek_kernel_cAdd_B3HAynn, true, true);
  CheckComplexAddSub<oxl_complex8>(oxl_vek_kernel_cAdd_B3EPnnn, true, false);
  CheckComplexAddSub<oxl_complex8>(oxl_vek_kernel_cSub_B3HAynn, false, true);
  CheckComplexAddSub<oxl_complex8>(oxl_vek_kernel_cSub_B3EPnnn, false, false);
  CheckComplexAddSub<oxl_complex16>(oxl_vek_kernel_zAdd_B3HAynn, true, true);
  CheckComplexAddSub<oxl_complex16>(oxl_vek_kernel_zAdd_B3LAynn, true, true);
  CheckComplexAddSub<oxl_complex16>(oxl_vek_kernel_zAdd_B3EPnnn, true, false);
  CheckComplexAddSub<oxl_complex16>(oxl_vek_kernel_zSub_B3HAynn, false, true);
  CheckComplexAddSub<oxl_complex16>(oxl_vek_kernel_zSub_B3EPnnn, false, false);
}

TEST(Arithmetic, RealOverflowIsSilent) {
  const double big[2] = {1e300, -1e300};
  double r[2];
  oxl_vek_kernel_ClearErrStatus();
  oxl_vek_kernel_dMul_B3HAynn(2, big, big, r);
  EXPECT_EQ(r[0], std::numeric_limits<double>::infinity());
  EXPECT_EQ(r[1], std::numeric_limits<double>::infinity());
  EXPECT_EQ(oxl_vek_kernel_GetErrStatus(), 0);
}

}  // namespace
