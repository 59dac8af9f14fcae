// The scalar definitions of the instruction-like helpers against the AVX-512 instructions
// themselves, on this processor, in both floating-point modes the kernels run under (IEEE, and FTZ
// with DAZ). Skipped where the processor lacks AVX-512F and DQ.

#include <gtest/gtest.h>
#include <immintrin.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "platform/fp_control.h"
#include "simd/controls.h"
#include "simd/float_bits.h"
#include "simd/inputs.h"
#include "simd/reference.h"

namespace oxl::test::simd {
namespace {

using oxl::simd::MantissaInterval;
using oxl::simd::MantissaSign;
using oxl::simd::ToBits;
namespace ref = oxl::simd::ref;

#pragma GCC push_options
#pragma GCC target("avx512f,avx512dq")
// GCC 12's AVX-512 headers start the immediate forms from a self-initialised "undefined" register.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"

enum Instruction { kGetExp, kGetMant, kScalef, kRoundScale };

// The instruction over whole registers, the inputs padded to a multiple of the register. kImm is
// the immediate: interval | sign << 2 for getmant, the whole byte for roundscale.
template <typename T, Instruction kOp, int kImm = 0>
std::vector<T> RunNative(const std::vector<T>& x, const std::vector<T>& y) {
  constexpr size_t kLanes = 64 / sizeof(T);
  const size_t padded = (x.size() + kLanes - 1) / kLanes * kLanes;
  std::vector<T> a(x), b(y), out(padded);
  a.resize(padded);
  b.resize(padded);
  constexpr auto kInterval = _MM_MANTISSA_NORM_ENUM(kImm & 3);
  constexpr auto kSign = _MM_MANTISSA_SIGN_ENUM(kImm >> 2);
  for (size_t i = 0; i < padded; i += kLanes) {
    if constexpr (sizeof(T) == 4) {
      const __m512 u = _mm512_loadu_ps(&a[i]), v = _mm512_loadu_ps(&b[i]);
      if constexpr (kOp == kGetExp) _mm512_storeu_ps(&out[i], _mm512_getexp_ps(u));
      if constexpr (kOp == kGetMant)
        _mm512_storeu_ps(&out[i], _mm512_getmant_ps(u, kInterval, kSign));
      if constexpr (kOp == kScalef) _mm512_storeu_ps(&out[i], _mm512_scalef_ps(u, v));
      if constexpr (kOp == kRoundScale) _mm512_storeu_ps(&out[i], _mm512_roundscale_ps(u, kImm));
    } else {
      const __m512d u = _mm512_loadu_pd(&a[i]), v = _mm512_loadu_pd(&b[i]);
      if constexpr (kOp == kGetExp) _mm512_storeu_pd(&out[i], _mm512_getexp_pd(u));
      if constexpr (kOp == kGetMant)
        _mm512_storeu_pd(&out[i], _mm512_getmant_pd(u, kInterval, kSign));
      if constexpr (kOp == kScalef) _mm512_storeu_pd(&out[i], _mm512_scalef_pd(u, v));
      if constexpr (kOp == kRoundScale) _mm512_storeu_pd(&out[i], _mm512_roundscale_pd(u, kImm));
    }
  }
  out.resize(x.size());
  return out;
}

#pragma GCC diagnostic pop
#pragma GCC pop_options

template <typename T, class Ref>
void ExpectMatches(const std::string& what, const std::vector<T>& x, const std::vector<T>& y,
                   const std::vector<T>& native, Ref ref) {
  size_t mismatches = 0;
  for (size_t i = 0; i < x.size(); ++i) {
    const T want = ref(x[i], y[i]);
    if (ToBits(native[i]) == ToBits(want)) continue;
    if (++mismatches <= 5) {
      ADD_FAILURE() << what << " x=" << std::hexfloat << x[i] << " y=" << y[i] << ": instruction "
                    << native[i] << " [" << std::hex << ToBits(native[i]) << "], definition "
                    << want << " [" << ToBits(want) << "]";
    }
  }
  EXPECT_EQ(mismatches, 0u) << what;
}

template <typename T>
class NativeInstructions : public ::testing::Test {};
using Types = ::testing::Types<float, double>;
TYPED_TEST_SUITE(NativeInstructions, Types);

// Every instruction and immediate on the special values and random ones; scalef also on every
// special value against every scale exponent, and roundscale on values with fractions.
TYPED_TEST(NativeInstructions, MatchTheDefinitions) {
  using T = TypeParam;
  if (!__builtin_cpu_supports("avx512f") || !__builtin_cpu_supports("avx512dq")) {
    GTEST_SKIP() << "no AVX-512F/DQ on this processor";
  }
  std::vector<T> x =
      Join<T>({SpecialValues<T>(), RandomBits<T>(1 << 14, 21), RandomPerBinade<T>(1 << 14, 22),
               RandomUniform<T>(1 << 12, T(-70000), T(70000), 25),
               RandomUniform<T>(1 << 12, T(-2), T(2), 26)});
  const T range = T(oxl::simd::FloatBits<T>::kMaxBiased + 200);
  std::vector<T> y = Join<T>({RandomUniform<T>(x.size() / 2, -range, range, 23),
                              RandomBits<T>(x.size() - x.size() / 2, 24)});
  for (const T a : SpecialValues<T>()) {
    for (const T b : ScaleExponents<T>()) {
      x.push_back(a);
      y.push_back(b);
    }
  }
  for (const uint32_t mode : {0u, platform::kMxcsrFtz | platform::kMxcsrDaz}) {
    platform::MxcsrScope scope(mode);
    const std::string m = " MXCSR " + std::to_string(mode);
    ExpectMatches("getexp" + m, x, x, RunNative<T, kGetExp>(x, x),
                  [](T a, T) { return ref::GetExp(a); });
    ExpectMatches("scalef" + m, x, y, RunNative<T, kScalef>(x, y),
                  [](T a, T b) { return ref::Scalef(a, b); });
    [&]<int... kCombo>(std::integer_sequence<int, kCombo...>) {
      (ExpectMatches(
           "getmant " + std::to_string(kCombo) + m, x, x, RunNative<T, kGetMant, kCombo>(x, x),
           [](T a, T) {
             return ref::GetMant(a, MantissaInterval(kCombo & 3), MantissaSign(kCombo >> 2));
           }),
       ...);
    }
    (std::make_integer_sequence<int, 12>());
    [&]<int... kImm>(std::integer_sequence<int, kImm...>) {
      (
          [&] {
            if constexpr (oxl::simd::IsRoundScaleImm(kImm)) {
              ExpectMatches("roundscale " + std::to_string(kImm) + m, x, x,
                            RunNative<T, kRoundScale, kImm>(x, x),
                            [](T a, T) { return ref::RoundScale(a, kImm); });
            }
          }(),
          ...);
    }
    (std::make_integer_sequence<int, 256>());
  }
}

}  // namespace
}  // namespace oxl::test::simd
