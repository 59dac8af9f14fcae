// Continuous distributions, the Gaussian family, Gamma and Beta: exact uniforms through the
// callbacks, the mode and callback framing, the carried BoxMuller2 pair and Gamma's spare normal,
// the branch each shape takes, cuts and targets, bad parameters, the multivariate form and its
// triangular multiplies. The laws themselves are tested in goodness_of_fit_test.cpp.
#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <functional>
#include <limits>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "oxl/platform.h"
#include "oxl/vek.h"
#include "oxl/vrs.h"
#include "support/failing_allocator.h"
#include "support/float_bits.h"
#include "support/stream_guard.h"
#include "support/targets.h"
#include "vrs/distributions/discrete.h"
#include "vrs/distributions/frame.h"
#include "vrs/distributions/laws.h"
#include "vrs/distributions/scripted_brng.h"

namespace {

using oxl::test::kLaws;
using oxl::test::Law;
using oxl::test::SameBits;
using oxl::test::Script;
using oxl::test::ScriptedBrng;
using oxl::test::ScriptedDraws;
using oxl::test::StreamGuard;

constexpr double kLnMin = -744.4400719213812;
constexpr double kErfInvEnd = std::bit_cast<double>(0x4017744F8F74E94Aull);  // 5.8635847487551676
constexpr float kErfInvEndS = std::bit_cast<float>(0x407547CBu);             // 3.8325068950653076

// The known answers below were pinned with this offset basis for FNV-1a.
constexpr uint64_t kKnownAnswerBasis = 1469598103934665603u;

// A refused call on a fresh stream: its status, and neither the n results (prefilled with -7), the
// stream's next words nor its chunks changed.
template <class E, class Call>
void ExpectRefused(Call call, int32_t status, size_t n = 8) {
  StreamGuard used(OXL_BRNG_MT19937, {29}), fresh(OXL_BRNG_MT19937, {29});
  std::vector<E> r(n, E(-7));
  EXPECT_EQ(call(used.s, r.data()), status);
  EXPECT_EQ(std::count(r.begin(), r.end(), E(-7)), static_cast<std::ptrdiff_t>(n));
  EXPECT_EQ(used.Words(4), fresh.Words(4));
  EXPECT_EQ(__vrsGetNumChunks(used.s), 0);
}

int g_caller_events = 0;
int32_t CallerCallBack(oxl_vek_error_record*) {
  ++g_caller_events;
  return 0;
}

// The caller's mode (all three fields set, so that a restore is visible in each), callback and
// vector status come back after every call, also when the generator fails; the caller's callback
// and status see none of the events of the zero uniforms' logarithms or of erfinv at 1.
TEST(Distributions, CallerModeAndCallbackSurvive) {
  // Exact ends among values that every rejection method accepts now and then (a script of prime
  // length, so that a candidate of two uniforms meets every pairing).
  Script() = {0.0, 1.0, 0.0, 0.5, 0.0, 0.999, 0.3, 0.7, 0.2, 0.6, 0.45};
  StreamGuard scripted(ScriptedBrng(), {7});
  StreamGuard failing(oxl::test::FailingBrng(), {7});
  const uint32_t caller_mode = OXL_VEK_MODE_FTZ_DAZ_ON | OXL_VEK_MODE_ERRMODE_STDERR |
                               OXL_VEK_MODE_ERRMODE_CALLBACK | OXL_VEK_MODE_EP;
  const uint32_t old_mode = oxl_vek_kernel_SetMode(caller_mode);
  const auto old_callback = oxl_vek_kernel_SetErrorCallBack(CallerCallBack);
  const uint64_t mode = oxl_vek_kernel_GetMode();
  const int32_t old_status = oxl_vek_kernel_SetErrStatus(vek_status_underflow);
  g_caller_events = 0;
  std::vector<double> rd(40);
  std::vector<float> rs(40);
  for (const Law& e : kLaws) {
    SCOPED_TRACE(e.name);
    EXPECT_EQ(e.d(scripted.s, 40, rd.data()), 0);
    EXPECT_EQ(e.s(scripted.s, 40, rs.data()), 0);
    for (int i = 0; i < 40; ++i) {
      EXPECT_TRUE(std::isfinite(rd[i]) && std::isfinite(rs[i])) << i;
    }
    EXPECT_EQ(e.d(failing.s, 40, rd.data()), oxl::test::kFailingStatus);
    EXPECT_EQ(e.s(failing.s, 40, rs.data()), oxl::test::kFailingStatus);
    EXPECT_EQ(oxl_vek_kernel_GetMode(), mode);
    EXPECT_EQ(oxl_vek_kernel_GetErrorCallBack(), &CallerCallBack);
    EXPECT_EQ(oxl_vek_kernel_GetErrStatus(), vek_status_underflow);
  }
  EXPECT_EQ(g_caller_events, 0);
  oxl_vek_kernel_SetErrStatus(old_status);
  oxl_vek_kernel_SetErrorCallBack(old_callback);
  oxl_vek_kernel_SetMode(old_mode);
}

// Exact uniforms at the ends: 0 through the logarithm's callback, 1.0 and -1.0 through erfinv's;
// scripted uniforms where a law takes a side or a bound.
TEST(Distributions, ExactUniformsThroughTheCallbacks) {
  StreamGuard s(ScriptedBrng(), {7});
  double d[4];
  float f[4];
  Script() = {0.0};
  ASSERT_EQ(_vrsdRngExponential(0, s.s, 2, d, 3.0, 0.5), 0);
  EXPECT_EQ(d[0], 3.0 + 744.4400719213812 * 0.5);
  ASSERT_EQ(_vrssRngExponential(0, s.s, 2, f, 3.0f, 0.5f), 0);
  EXPECT_EQ(f[0], std::fma(-0.5f, std::bit_cast<float>(0xC2CE8ED0u), 3.0f));
  // Both uniforms 0: Laplace's sign uniform is at most 0.5, the value lies above a.
  ASSERT_EQ(_vrsdRngLaplace(0, s.s, 1, d, 3.0, 0.5), 0);
  EXPECT_EQ(d[0], 3.0 + 744.4400719213812 * 0.5);
  ASSERT_EQ(_vrsdRngRayleigh(0, s.s, 1, d, 0.0, 1.0), 0);
  EXPECT_NEAR(d[0], std::sqrt(744.4400719213812), 1e-13 * d[0]);
  ASSERT_EQ(_vrsdRngWeibull(0, s.s, 1, d, 2.0, 0.0, 1.0), 0);
  EXPECT_NEAR(d[0], std::sqrt(744.4400719213812), 1e-6 * d[0]);
  // Radius uniform 0, angle uniform 0.25: the sine is 1.
  Script() = {0.0, 0.25};
  ASSERT_EQ(_vrsdRngGaussian(0, s.s, 1, d, 0.0, 1.0), 0);
  EXPECT_NEAR(d[0], std::sqrt(2 * 744.4400719213812), 1e-6);
  ASSERT_EQ(_vrssRngGaussian(0, s.s, 1, f, 0.0f, 1.0f), 0);
  EXPECT_NEAR(f[0], std::sqrt(2 * 103.27893f), 1e-3);
  // BoxMuller2: the pair's sine output first, then its cosine partner.
  ASSERT_EQ(_vrsdRngGaussian(1, s.s, 2, d, 1.0, 2.0), 0);
  EXPECT_NEAR(d[0], 1.0 + 2.0 * std::sqrt(2 * 744.4400719213812), 1e-6);
  EXPECT_NEAR(d[1], 1.0, 1e-6);
  // ICDF: uniform -1 (script 0) and exactly 1.0 (script 1) on [-1, 1].
  Script() = {0.0, 1.0};
  const double c = 2.0 * std::bit_cast<double>(uint64_t{0x3FF6A09E667F3BCD});
  ASSERT_EQ(_vrsdRngGaussian(2, s.s, 2, d, 1.0, 2.0), 0);
  EXPECT_EQ(d[0], std::fma(-kErfInvEnd, c, 1.0));
  EXPECT_EQ(d[1], std::fma(kErfInvEnd, c, 1.0));
  const float cs = 2.0f * std::bit_cast<float>(0x3FB504F3u);
  ASSERT_EQ(_vrssRngGaussian(2, s.s, 2, f, 1.0f, 2.0f), 0);
  EXPECT_EQ(f[1], std::fma(kErfInvEndS, cs, 1.0f));
  // A uniform of 1.0 gives Exponential the value a (ln 1 = 0): max(a, .) keeps a from -0.
  Script() = {1.0, 0.999999, 0.5};
  oxl::test::ScriptedInit(0, s.s, 0, nullptr);  // back to the script's start
  ASSERT_EQ(_vrsdRngExponential(0, s.s, 2, d, -2.0, 3.0), 0);
  EXPECT_EQ(d[0], -2.0);
  EXPECT_GT(d[1], -2.0);
  // Laplace: uniform 2i gives the magnitude, uniform 2i + 1 the side; a side uniform of at most
  // 0.5 puts the value above a.
  Script() = {0.25, 0.5, 0.25, 0.75};
  oxl::test::ScriptedInit(0, s.s, 0, nullptr);
  ASSERT_EQ(_vrsdRngLaplace(0, s.s, 2, d, 1.0, 2.0), 0);
  EXPECT_NEAR(d[0], 1.0 - 2.0 * std::log(0.25), 1e-12);
  EXPECT_NEAR(d[1], 1.0 + 2.0 * std::log(0.25), 1e-12);
}

// Double BoxMuller against long double on pairs at the folds of the angle (every eighth of a
// turn, either side of a quarter, the smallest angles) and radius uniforms from the smallest
// normal to just below 1, in a call long enough for whole vectors and a tail on every target:
// the sine and the logarithm within their 26 bits and more, relative to the radius (a sine near 0
// has no relative error to speak of).
TEST(Distributions, BoxMullerAgainstLongDouble) {
  const double below_quarter = std::nextafter(0.25, 0.0);
  const double angles[] = {0.0,   0x1p-53, 0x1p-20, 0.125, below_quarter, 0.25,
                           0.375, 0.5,     0.625,   0.75,  0.875,         1 - 0x1p-53};
  const double radii[] = {0x1p-1022, 0x1p-40, 0.01, 0.3, 0.7, 1 - 0x1p-53};
  Script().clear();
  for (const double u1 : radii) {
    for (const double u2 : angles) {
      Script().push_back(u1);
      Script().push_back(u2);
    }
  }
  const int32_t n = static_cast<int32_t>(Script().size() / 2);
  StreamGuard s(ScriptedBrng(), {7});
  std::vector<double> r(n);
  ASSERT_EQ(_vrsdRngGaussian(0, s.s, n, r.data(), 0.5, 3.0), 0);
  for (int32_t i = 0; i < n; ++i) {
    const long double u1 = Script()[2 * i], u2 = Script()[2 * i + 1];
    const long double radius = 3.0L * std::sqrt(-2.0L * std::log(u1));
    const long double turn = 2.0L * 3.14159265358979323846264338327950288L * u2;
    const long double exact = 0.5L + radius * std::sin(turn);
    EXPECT_LE(std::fabs(r[i] - exact), 0x1p-29L * radius + 0x1p-52L) << u1 << " " << u2;
  }
}

TEST(Distributions, GaussianCallbackTable) {
  struct Row {
    int32_t code;
    double arg;
    double d;
    float s;
    bool replaced;
  };
  const Row rows[] = {
      {2, 0.0, kLnMin, std::bit_cast<float>(0xC2CE8ED0u), true},
      {2, -0.0, kLnMin, std::bit_cast<float>(0xC2CE8ED0u), true},
      {2, -1.0, -kErfInvEnd, -kErfInvEndS, true},
      {2, 1.0, kErfInvEnd, kErfInvEndS, true},
      {1, -1.5, -kErfInvEnd, -kErfInvEndS, true},
      {1, 0.0, kErfInvEnd, kErfInvEndS, true},
      {1, 2.0, kErfInvEnd, kErfInvEndS, true},
      {3, 1.0, 0, 0, false},
      {4, 1.0, 0, 0, false},
  };
  // In-place kernels report with the result in the argument's place: ln(0) and erfinv(-1) both
  // show -inf, and the name tells them apart.
  for (const char* name : {"vdLn", "vsLn", "vdErfInv"}) {
    oxl_vek_error_record rec{};
    rec.code = 2;
    rec.arg1 = rec.arg2 = rec.res1 = rec.res2 = -INFINITY;
    rec.func_name_len = static_cast<int32_t>(std::strlen(name));
    std::memcpy(rec.func_name, name, rec.func_name_len);
    _vdCallBack(&rec);
    EXPECT_EQ(rec.res1, name[2] == 'L' ? kLnMin : -kErfInvEnd) << name;
  }
  for (const Row& row : rows) {
    for (int single = 0; single < 2; ++single) {
      oxl_vek_error_record rec{};
      rec.code = row.code;
      rec.arg1 = rec.arg2 = row.arg;
      rec.res1 = rec.res2 = 42.0;
      EXPECT_EQ(single ? _vsCallBack(&rec) : _vdCallBack(&rec), 0);
      const double want = !row.replaced ? 42.0 : single ? double{row.s} : row.d;
      EXPECT_EQ(rec.res1, want) << row.code << " " << row.arg << " single " << single;
      EXPECT_EQ(rec.res2, want);
    }
  }
}

// Weibull with alpha 1 skips Powx and is Exponential on the same uniforms, bit for bit.
TEST(Distributions, WeibullOfShapeOneIsExponential) {
  StreamGuard a(OXL_BRNG_MCG59, {11}), b(OXL_BRNG_MCG59, {11});
  std::vector<double> x(3000), y(3000);
  std::vector<float> xs(3000), ys(3000);
  ASSERT_EQ(_vrsdRngWeibull(0, a.s, 3000, x.data(), 1.0, 0.5, 2.0), 0);
  ASSERT_EQ(_vrsdRngExponential(0, b.s, 3000, y.data(), 0.5, 2.0), 0);
  ASSERT_EQ(_vrssRngWeibull(0, a.s, 3000, xs.data(), 1.0f, 0.5f, 2.0f), 0);
  ASSERT_EQ(_vrssRngExponential(0, b.s, 3000, ys.data(), 0.5f, 2.0f), 0);
  EXPECT_TRUE(SameBits(x, y));
  EXPECT_TRUE(SameBits(xs, ys));
}

// Lognormal's method 0 is Gaussian BoxMuller2 and any other ICDF; b + beta exp(g).
TEST(Distributions, LognormalMethods) {
  for (const int method : {0, 1, 7}) {
    StreamGuard a(OXL_BRNG_MT19937, {3}), b(OXL_BRNG_MT19937, {3});
    std::vector<double> x(501), g(501);
    ASSERT_EQ(_vrsdRngLognormal(method, a.s, 501, x.data(), 0.5, 0.25, 1.0, 2.0), 0);
    ASSERT_EQ(_vrsdRngGaussian(method == 0 ? 1 : 2, b.s, 501, g.data(), 0.5, 0.25), 0);
    for (int i = 0; i < 501; ++i) {
      EXPECT_NEAR(x[i], 1.0 + 2.0 * std::exp(g[i]), 1e-7 * x[i]) << method << " " << i;
    }
  }
}

// Every output depends only on the outputs before it: one call equals calls of any lengths.
// BoxMuller2 carries its odd pair across calls and through a stream copy; the blocks in which
// every law works do not show.
TEST(Distributions, CutsOfARequestGiveTheSameNumbers) {
  const int32_t cuts[] = {1, 1, 3, 1024, 1025, 2, 7, 2047, 1, 513, 600};
  int32_t total = 0;
  for (const int32_t c : cuts) total += c;
  for (const Law& e : kLaws) {
    SCOPED_TRACE(e.name);
    StreamGuard whole(OXL_BRNG_MRG32K3A, {9}), parts(OXL_BRNG_MRG32K3A, {9});
    std::vector<double> x(total), y(total);
    ASSERT_EQ(e.d(whole.s, total, x.data()), 0);
    int32_t done = 0;
    for (const int32_t c : cuts) {
      ASSERT_EQ(e.d(parts.s, c, y.data() + done), 0);
      done += c;
    }
    // A Gaussian of one element by Sin and then Cos, against SinCos for the others.
    EXPECT_TRUE(SameBits(x, y));
  }
}

// The pair's second number waits on the stream, in a copy too (that calls of any lengths give the
// numbers of one call is CutsOfARequestGiveTheSameNumbers').
TEST(Distributions, BoxMuller2CarriesAPairOnTheStream) {
  Script() = {0.3, 0.1, 0.6, 0.7};
  StreamGuard s(ScriptedBrng(), {7});
  double one[2];
  ScriptedDraws() = 0;
  ASSERT_EQ(_vrsdRngGaussian(1, s.s, 1, one, 0.5, 3.0), 0);
  EXPECT_EQ(ScriptedDraws(), 2);
  ASSERT_NE(__vrsSearchChunk(s.s, 2), nullptr);
  EXPECT_EQ(static_cast<double*>(__vrsSearchChunk(s.s, 2))[0], 0.3);
  // A copy of the stream holds the pending pair too.
  StreamGuard copy(s);
  double from_copy;
  ASSERT_EQ(_vrsdRngGaussian(1, copy.s, 1, &from_copy, 0.5, 3.0), 0);
  ASSERT_EQ(_vrsdRngGaussian(1, s.s, 1, one + 1, 0.5, 3.0), 0);
  EXPECT_EQ(ScriptedDraws(), 2);  // the second call draws nothing
  EXPECT_EQ(from_copy, one[1]);
  // Float keeps its own chunk, id 1.
  float f;
  ASSERT_EQ(_vrssRngGaussian(1, s.s, 1, &f, 0.0f, 1.0f), 0);
  EXPECT_NE(__vrsSearchChunk(s.s, 1), nullptr);
  // n of 0 draws nothing and keeps the pair pending.
  ScriptedDraws() = 0;
  EXPECT_EQ(_vrssRngGaussian(1, s.s, 0, &f, 0.0f, 1.0f), 0);
  EXPECT_EQ(ScriptedDraws(), 0);
  EXPECT_NE(static_cast<float*>(__vrsSearchChunk(s.s, 1))[0], -1.0f);
}

TEST(Distributions, BoxMuller2ChunkAllocationFails) {
  oxl::test::ForEachAllocationFailure(
      [] {
        StreamRecord* s = nullptr;
        const uint32_t seed = 1;
        int32_t status = __vrsNewStreamEx(&s, OXL_BRNG_MCG31, 1, &seed);
        double r[3];
        if (status == 0) status = _vrsdRngGaussian(1, s, 3, r, 0.0, 1.0);
        if (s) __vrsDeleteStream(&s);
        return status;
      },
      [](int32_t status, bool failed) { EXPECT_EQ(status, failed ? StatusNoMemory : 0); });
}

// The last passes give the same bits on every SIMD target, for every alignment of r (including a
// double array that is only 4-byte aligned, which the sanitizer builds run too: every store into
// the caller's array is alignment-safe) and every length around the vector and line sizes.
TEST(Distributions, TargetsAndAlignmentsAgree) {
  constexpr int32_t kMax = 83;
  // Every law on MCG59, and each generator's own doubles, vector paths and tails alike.
  std::vector<std::pair<Law, int32_t>> calls;
  for (const Law& e : kLaws) calls.emplace_back(e, OXL_BRNG_MCG59);
  for (const int32_t brng : {OXL_BRNG_MCG31, OXL_BRNG_MCG59, OXL_BRNG_MRG32K3A, OXL_BRNG_MT19937,
                             OXL_BRNG_SFMT19937, OXL_BRNG_MT2203}) {
    const auto uniform = [](StreamRecord* s, int32_t n, double* r) {
      return _vrsdRngUniform(0, s, n, r, -1.0, 3.0);
    };
    calls.emplace_back(Law{"Uniform", nullptr, uniform, nullptr}, brng);
  }
  std::vector<std::vector<double>> reference;
  oxl::test::ForEachTarget([&](const std::string&) {
    std::vector<std::vector<double>> got;
    for (const auto& [e, brng] : calls) {
      for (const int offset_bytes : {0, 4, 8, 24, 56}) {
        for (const int32_t n : {1, 5, 8, 16, 17, 33, 70, kMax}) {
          alignas(64) unsigned char storage[(kMax + 16) * sizeof(double)];
          auto* r = reinterpret_cast<double*>(storage + offset_bytes);
          StreamGuard s(brng, {21}), aligned(brng, {21});
          std::vector<double> base(n);
          EXPECT_EQ(e.d(s.s, n, r), 0);
          EXPECT_EQ(e.d(aligned.s, n, base.data()), 0);
          EXPECT_EQ(std::memcmp(base.data(), r, n * sizeof(double)), 0)
              << e.name << " on " << brng << " offset " << offset_bytes << " n " << n;
          got.push_back(base);
        }
      }
    }
    if (reference.empty()) {
      reference = got;
    } else {
      EXPECT_EQ(got, reference);
    }
  });
}

// Requests of no outputs write nothing (MT19937 writes nothing for n <= 0); bad methods, and
// more multivariate components than one 32-bit request holds, are refused before a number is
// drawn or stored. (65537 x 65536 wraps to 65536 in 32 bits; the array has room for that much and
// more, so that a wrapped request shows as changed memory rather than as a crash.)
TEST(Distributions, EmptyAndBadRequestsChangeNothing) {
  StreamGuard s(OXL_BRNG_MT19937, {7});
  for (const Law& e : kLaws) {
    for (const int32_t n : {0, -5}) {
      double d = 123.0;
      float f = 123.0f;
      EXPECT_EQ(e.d(s.s, n, &d), 0) << e.name;
      EXPECT_EQ(e.s(s.s, n, &f), 0) << e.name;
      EXPECT_EQ(d, 123.0) << e.name;
      EXPECT_EQ(f, 123.0f) << e.name;
    }
  }
  const std::vector<double> mean(64, 0.0), factor(64, 1.0);
  const struct {
    int32_t method, count, dim, status;
  } rows[] = {{3, 1, 0, StatusBadMethod},
              {-1, 1, 0, StatusBadMethod},
              {0, 65537, 65536, StatusBadArgs},
              {0, 2, 1 << 30, StatusBadArgs},
              {0, 1 << 30, 2, StatusBadArgs}};
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << row.method << " " << row.count << " x " << row.dim);
    ExpectRefused<double>(
        [&](StreamRecord* s, double* r) {
          return row.dim ? _vrsdRngGaussianMV(row.method, s, row.count, r, row.dim, MatrixDiagonal,
                                              mean.data(), factor.data())
                         : _vrsdRngGaussian(row.method, s, row.count, r, 0.0, 1.0);
        },
        row.status, 65536 + 64);
  }
}

// ---------------------------------------------------------------------------------------------
// Gamma and Beta: the branch each shape takes, the spare normal, extreme shapes, bad parameters.

// Gamma of shape 1 is Exponential on the same uniforms, one each, with no normal and no chunk; a
// shape of exactly 0.6 takes the Weibull envelope, two uniforms a candidate and no chunk, and
// below it the branch through the squeeze holds its spare normal in chunk 7 (double) or 8 (float).
// With u1 = 0.5 and u2 = 0.1 every Weibull candidate is kept: x = ln(2)^(1/0.6).
template <class T>
void ExpectGammaBranches(int32_t (*gamma)(int32_t, StreamRecord*, int32_t, T*, T, T, T),
                         int32_t (*exponential)(int32_t, StreamRecord*, int32_t, T*, T, T),
                         uint32_t chunk, double tolerance) {
  Script() = {0.3, 0.6, 0.9, 0.2, 0.5};
  StreamGuard s(ScriptedBrng(), {7}), e(ScriptedBrng(), {7});
  std::vector<T> x(7), y(7);
  ScriptedDraws() = 0;
  ASSERT_EQ(gamma(0, s.s, 7, x.data(), T(1), T(0.5), T(2)), 0);
  EXPECT_EQ(ScriptedDraws(), 7);
  ASSERT_EQ(exponential(0, e.s, 7, y.data(), T(0.5), T(2)), 0);
  EXPECT_TRUE(SameBits(x, y));

  Script() = {0.5, 0.1};
  StreamGuard w(ScriptedBrng(), {7});
  ScriptedDraws() = 0;
  ASSERT_EQ(gamma(0, w.s, 7, x.data(), T(0.6), T(0.5), T(2)), 0);
  EXPECT_EQ(ScriptedDraws(), 14);
  for (const T v : x) EXPECT_NEAR(v, 0.5 + 2 * std::pow(std::log(2.0), 1 / 0.6), tolerance);
  EXPECT_EQ(__vrsSearchChunk(s.s, chunk), nullptr);
  EXPECT_EQ(__vrsSearchChunk(w.s, chunk), nullptr);
  ASSERT_EQ(gamma(0, w.s, 7, x.data(), std::nextafter(T(0.6), T(0)), T(0.5), T(2)), 0);
  EXPECT_NE(__vrsSearchChunk(w.s, chunk), nullptr);
}

TEST(GammaBeta, GammaBranchesByShape) {
  ExpectGammaBranches<double>(_vrsdRngGamma, _vrsdRngExponential, 7, 1e-7);
  ExpectGammaBranches<float>(_vrssRngGamma, _vrssRngExponential, 8, 1e-5);
}

// The second normal of a Box-Muller pair waits on the stream for the next call, also in a copy of
// the stream, and the second call draws only its candidate's uniform. The script's candidates are
// all kept (radius uniform 0.3, angle 0.1, then the two squeeze uniforms 0.2 and 0.4).
TEST(GammaBeta, SpareNormalSurvivesBetweenCalls) {
  Script() = {0.3, 0.1, 0.2, 0.4};
  StreamGuard s(ScriptedBrng(), {7});
  double split[2], from_copy;
  ScriptedDraws() = 0;
  ASSERT_EQ(_vrsdRngGamma(0, s.s, 1, split, 2.5, 1.0, 2.0), 0);
  EXPECT_EQ(ScriptedDraws(), 3);
  const auto* held = static_cast<const double*>(__vrsSearchChunk(s.s, 7));
  ASSERT_NE(held, nullptr);
  EXPECT_NEAR(held[0], std::sqrt(-2 * std::log(0.3)), 1e-7);
  StreamGuard copy(s);
  ASSERT_EQ(_vrsdRngGamma(0, copy.s, 1, &from_copy, 2.5, 1.0, 2.0), 0);
  ASSERT_EQ(_vrsdRngGamma(0, s.s, 1, split + 1, 2.5, 1.0, 2.0), 0);
  EXPECT_EQ(ScriptedDraws(), 5);  // the copy's uniform and the stream's
  EXPECT_EQ(held[0], -1.0);
  EXPECT_EQ(from_copy, split[1]);
  // Float holds its own, in chunk 8; the shapes below 0.6 share the spare through shape + 1.
  float f;
  ASSERT_EQ(_vrssRngGamma(0, s.s, 1, &f, 0.3f, 0.0f, 1.0f), 0);
  ASSERT_NE(__vrsSearchChunk(s.s, 8), nullptr);
  EXPECT_GE(static_cast<const float*>(__vrsSearchChunk(s.s, 8))[0], 0.0f);
}

// Known answers on MT19937 (seed 3): an FNV-1a hash of 2049 double outputs, 2049 float outputs
// and the stream's next four words. Which candidate a round accepts decides how many uniforms it
// consumes, and a faster round must not change it: the laws whose inner loops are vector code of
// their own are pinned here. The failure prints the new hash.
TEST(Distributions, KnownAnswers) {
  const struct {
    const char* law;
    uint64_t hash;
  } rows[] = {
      {"Exponential", 0xf84b7090cee4cb43},         {"Gaussian/BoxMuller", 0x752a3f00564502bb},
      {"Gaussian/BoxMuller2", 0x936de9170eb9ae5d}, {"Gaussian/ICDF", 0x4c90766a4f58ca9b},
      {"Gamma(0.3)", 0x3e90fc987785c24a},          {"Gamma(1.5)", 0x9f5117788d4d9756},
      {"Gamma(2.5)", 0x17c7020d9c7c30ac},          {"Gamma(50)", 0x5ef43894ec1a680c},
  };
  for (const auto& row : rows) {
    const auto e = std::find_if(kLaws.begin(), kLaws.end(),
                                [&](const Law& l) { return std::string(l.name) == row.law; });
    ASSERT_NE(e, kLaws.end()) << row.law;
    StreamGuard g(OXL_BRNG_MT19937, {3});
    std::vector<double> x(2049);
    std::vector<float> y(2049);
    ASSERT_EQ(e->d(g.s, 2049, x.data()), 0);
    ASSERT_EQ(e->s(g.s, 2049, y.data()), 0);
    std::vector<uint32_t> words;
    for (const double v : x) {
      const auto bits = std::bit_cast<uint64_t>(v);
      words.push_back(static_cast<uint32_t>(bits));
      words.push_back(static_cast<uint32_t>(bits >> 32));
    }
    for (const float v : y) words.push_back(std::bit_cast<uint32_t>(v));
    for (const uint32_t w : g.Words(4)) words.push_back(w);
    oxl::test::Fnv1a fnv{kKnownAnswerBasis};
    fnv.Add(words.data(), words.size());
    const uint64_t hash = fnv.h;
    EXPECT_EQ(hash, row.hash) << row.law << std::hex << " 0x" << hash;
  }
}

// Shapes at the ends of the range: every result finite and inside the support, a + beta times
// [0, inf) for Gamma and [0, 1] for Beta, where tiny shapes put most of the mass on 0 (and 1).
TEST(GammaBeta, ExtremeShapesStayInTheSupport) {
  const struct {
    double p, q;  // q 0: Gamma of shape p
  } rows[] = {{1e-3, 0},     {1e-30, 0},       {1e-300, 0},    {5e-324, 0},
              {1e8, 0},      {1e-3, 1e-3},     {1e-30, 1e-30}, {1e-300, 1e-3},
              {5e-324, 0.5}, {1e-320, 1e-320}, {1e-3, 5},      {7, 1e-30},
              {1, 1e-30},    {1e-30, 1},       {1e6, 1e6},     {1.0000001, 1e8}};
  constexpr int32_t n = 2000;
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << row.p << " " << row.q);
    StreamGuard s(OXL_BRNG_MRG32K3A, {5});
    std::vector<double> d(n);
    std::vector<float> f(n);
    const bool gamma = row.q == 0;
    const auto fp = static_cast<float>(row.p), fq = static_cast<float>(row.q);
    ASSERT_EQ(gamma ? _vrsdRngGamma(0, s.s, n, d.data(), row.p, 0.0, 1.0)
                    : _vrsdRngBeta(0, s.s, n, d.data(), row.p, row.q, 0.0, 1.0),
              0);
    const bool float_shapes = fp > 0 && (gamma || fq > 0);
    if (float_shapes) {
      ASSERT_EQ(gamma ? _vrssRngGamma(0, s.s, n, f.data(), fp, 0.0f, 1.0f)
                      : _vrssRngBeta(0, s.s, n, f.data(), fp, fq, 0.0f, 1.0f),
                0);
    }
    const double top = gamma ? INFINITY : 1.0;
    for (int32_t i = 0; i < n; ++i) {
      ASSERT_TRUE(d[i] >= 0 && d[i] <= top && std::isfinite(d[i])) << i << " " << d[i];
      if (float_shapes) {
        ASSERT_TRUE(f[i] >= 0 && f[i] <= top && std::isfinite(f[i])) << f[i];
      }
    }
  }
}

// A shape or a scale that is not positive and finite: StatusBadArgs, nothing written, nothing
// drawn. _Atkinson2 takes only one shape below 1 with the other above, and gives then Beta's
// numbers.
TEST(GammaBeta, BadParametersChangeNothing) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const struct {
    double p, q, beta;  // q 0: Gamma of shape p
  } rows[] = {{0, 0, 1},  {-1, 0, 1},    {nan, 0, 1},   {INFINITY, 0, 1},
              {2, 0, 0},  {2, 0, -1},    {0.5, 0, nan}, {0, 2, 1},
              {2, -1, 1}, {nan, 0.5, 1}, {0.5, 0.5, 0}, {2, INFINITY, 1}};
  for (const auto& [p, q, beta] : rows) {
    SCOPED_TRACE(testing::Message() << p << " " << q << " " << beta);
    const auto fp = static_cast<float>(p), fq = static_cast<float>(q),
               fb = static_cast<float>(beta);
    ExpectRefused<double>(
        [&](StreamRecord* s, double* r) {
          return q == 0 ? _vrsdRngGamma(0, s, 8, r, p, 1.0, beta)
                        : _vrsdRngBeta(0, s, 8, r, p, q, 1.0, beta);
        },
        StatusBadArgs);
    ExpectRefused<float>(
        [&](StreamRecord* s, float* r) {
          return q == 0 ? _vrssRngGamma(0, s, 8, r, fp, 1.0f, fb)
                        : _vrssRngBeta(0, s, 8, r, fp, fq, 1.0f, fb);
        },
        StatusBadArgs);
  }
  StreamGuard a(OXL_BRNG_MCG59, {3}), b(OXL_BRNG_MCG59, {3});
  std::vector<double> x(600), y(600);
  EXPECT_EQ(_Atkinson2(a.s, 600, x.data(), 2.0, 3.0, 0.0, 1.0), StatusBadArgs);
  EXPECT_EQ(_Atkinson2(a.s, 600, x.data(), 0.5, 0.5, 0.0, 1.0), StatusBadArgs);
  ASSERT_EQ(_Atkinson2(a.s, 600, x.data(), 3.0, 0.4, 1.0, 2.0), 0);
  ASSERT_EQ(_vrsdRngBeta(0, b.s, 600, y.data(), 3.0, 0.4, 1.0, 2.0), 0);
  EXPECT_TRUE(SameBits(x, y));
}

// ---------------------------------------------------------------------------------------------
// GaussianMV.

// Each vector is mean + T z on the unit normals z of the same stream and method, T the lower
// factor as the storage gives it (the diagonal only for MatrixDiagonal; any other storage gives
// z); a dimension of 1 is the plain Gaussian with sigma t[0], whatever the storage says. Every
// target gives the same bits.
template <class T>
void ExpectMultivariate(int dim, int method, int32_t storage, int32_t brng, double tolerance,
                        int32_t n) {
  SCOPED_TRACE(testing::Message() << sizeof(T) << "-byte dim " << dim << " storage " << storage
                                  << " n " << n);
  std::vector<T> t(dim * dim, 0), packed, mean(dim);
  for (int i = 0; i < dim; ++i) {
    mean[i] = static_cast<T>(i - 1.5);
    for (int j = 0; j <= i; ++j)
      t[i * dim + j] = static_cast<T>(i == j ? 0.5 + 0.1 * i : 0.3 - 0.05 * (i - j));
  }
  for (int j = 0; j < dim; ++j) {
    for (int i = j; i < dim; ++i) packed.push_back(t[i * dim + j]);
  }
  std::vector<T> diag(dim), z(n * dim), r(n * dim);
  for (int j = 0; j < dim; ++j) diag[j] = t[j * dim + j];
  const T* factor = storage == MatrixPacked     ? packed.data()
                    : storage == MatrixDiagonal ? diag.data()
                                                : t.data();
  std::vector<T> first;
  oxl::test::ForEachTarget([&](const std::string& target) {
    StreamGuard ref(brng, {4}), s(brng, {4});
    const T a = dim == 1 ? mean[0] : 0, sigma = dim == 1 ? t[0] : 1;
    if constexpr (sizeof(T) == 8) {
      ASSERT_EQ(_vrsdRngGaussian(method, ref.s, n * dim, z.data(), a, sigma), 0);
      ASSERT_EQ(_vrsdRngGaussianMV(method, s.s, n, r.data(), dim, storage, mean.data(), factor), 0);
    } else {
      ASSERT_EQ(_vrssRngGaussian(method, ref.s, n * dim, z.data(), a, sigma), 0);
      ASSERT_EQ(_vrssRngGaussianMV(method, s.s, n, r.data(), dim, storage, mean.data(), factor), 0);
    }
    if (first.empty()) first = r;
    EXPECT_TRUE(SameBits(first, r)) << target;
  });
  if (dim == 1 || storage > MatrixDiagonal) {
    EXPECT_EQ(r, z);
    return;
  }
  for (int v = 0; v < n; ++v) {
    for (int i = 0; i < dim; ++i) {
      double want = mean[i];
      for (int j = storage == MatrixDiagonal ? i : 0; j <= i; ++j)
        want += double{t[i * dim + j]} * z[v * dim + j];
      ASSERT_NEAR(r[v * dim + i], want, tolerance * (1 + std::fabs(want)))
          << "vector " << v << " component " << i;
    }
  }
}

TEST(GaussianMV, StorageFormsDimensionsAndPrecisions) {
  for (const int32_t storage :
       {int32_t{MatrixFull}, int32_t{MatrixPacked}, int32_t{MatrixDiagonal}, 3}) {
    for (const int dim : {1, 2, 3, 10, 11, 17}) {
      // 700 vectors cross the blocks in which the small dimensions are drawn and multiplied.
      for (const int32_t n : {37, 700}) {
        ExpectMultivariate<double>(dim, 0, storage, OXL_BRNG_MCG59, 1e-12, n);
        ExpectMultivariate<float>(dim, 2, storage, OXL_BRNG_MRG32K3A, 1e-5, n);
      }
    }
    ExpectMultivariate<float>(1, 1, storage, OXL_BRNG_MCG31, 0, 37);
  }
}

// The triangular multiplies against a plain product in long double, over all letter
// combinations, both sides, a leading dimension above the rows and alpha other than 1; the
// full forms also against each other.
TEST(GaussianMV, TriangularMultiplies) {
  const int m = 5, n = 4, ldb = 7;
  std::mt19937 gen(3);
  std::uniform_real_distribution<double> u(-1.0, 1.0);
  for (int letters = 0; letters < 16; ++letters) {
    const char s[2] = {"LR"[letters & 1], 0}, up[2] = {"UL"[letters >> 1 & 1], 0},
               t[2] = {"NT"[letters >> 2 & 1], 0}, d[2] = {"NU"[letters >> 3], 0};
    SCOPED_TRACE(std::string(s) + up + t + d);
    const int k = s[0] == 'L' ? m : n;
    const int lda = k + 2;
    std::vector<double> a(lda * k), b(ldb * n), ap;
    for (double& v : a) v = u(gen);
    for (double& v : b) v = u(gen);
    for (int j = 0; j < k; ++j) {
      for (int i = 0; i < k; ++i) {
        if (up[0] == 'U' ? i <= j : i >= j) ap.push_back(a[i + j * lda]);
      }
    }
    auto op = [&](int i, int j) -> long double {
      const int r = t[0] == 'N' ? i : j, c = t[0] == 'N' ? j : i;
      if (r == c) return d[0] == 'U' ? 1.0L : a[r + c * lda];
      return (up[0] == 'U' ? r < c : r > c) ? a[r + c * lda] : 0.0L;
    };
    const double alpha = -1.5;
    std::vector<double> x = b, y = b, p = b;
    oxl_blas4vek_dtrmm(s, up, t, d, &m, &n, &alpha, a.data(), &lda, x.data(), &ldb);
    oxl_blas_xdtrmm_4vek(s, up, t, d, &m, &n, &alpha, a.data(), &lda, y.data(), &ldb);
    oxl_blas4vek_dptrmm(s, up, t, d, &m, &n, &alpha, ap.data(), p.data(), &ldb);
    for (int j = 0; j < n; ++j) {
      for (int i = 0; i < ldb; ++i) {
        long double sum = 0;
        for (int q = 0; q < k && i < m; ++q)
          sum += s[0] == 'L' ? op(i, q) * b[q + j * ldb] : b[i + q * ldb] * op(q, j);
        const int at = i + j * ldb;
        const double want = i < m ? static_cast<double>(alpha * sum) : b[at];
        for (int v = 0; v < 3; ++v)
          EXPECT_NEAR((v == 0 ? x : v == 1 ? y : p)[at], want, 1e-14) << v << " " << i << " " << j;
      }
    }
  }
  // Bad letters do nothing.
  std::vector<double> b(10, 1.0);
  const int two = 2, one = 1;
  const double alpha = 3.0, a[4] = {1, 2, 3, 4};
  oxl_blas_xdtrmm_4vek("X", "U", "N", "N", &two, &two, &alpha, a, &two, b.data(), &two);
  oxl_blas4vek_dptrmm("L", "Q", "N", "N", &two, &two, &alpha, a, b.data(), &two);
  oxl_blas4vek_dtrmm("L", "U", "N", "N", &two, &two, &alpha, a, &one, b.data(), &two);
  EXPECT_EQ(b, std::vector<double>(10, 1.0));
}

// ---- Integer laws ------------------------------------------------------------------------------

// One call of an integer law with fixed parameters.
using IntLaw = std::function<int32_t(StreamRecord*, int32_t, int32_t*)>;
#define OXL_INT_LAW(call) [&](StreamRecord* s, int32_t n, int32_t* r) { return call; }

// Parameters at the ends of their ranges give the one value the law then has.
TEST(IntegerLaws, DegenerateParameters) {
  const struct {
    const char* name;
    IntLaw law;
    int32_t value;
  } rows[] = {
      {"Bernoulli p 0", OXL_INT_LAW(_vrsiRngBernoulli(0, s, n, r, 0.0)), 0},
      {"Bernoulli p 1", OXL_INT_LAW(_vrsiRngBernoulli(0, s, n, r, 1.0)), 1},
      {"Binomial p 0", OXL_INT_LAW(_vrsiRngBinomial(0, s, n, r, 500, 0.0)), 0},
      {"Binomial p 1", OXL_INT_LAW(_vrsiRngBinomial(0, s, n, r, 500, 1.0)), 500},
      {"Binomial ntrial 0", OXL_INT_LAW(_vrsiRngBinomial(0, s, n, r, 0, 0.5)), 0},
      {"Poisson PTPE mean 0", OXL_INT_LAW(_vrsiRngPoisson(0, s, n, r, 0.0)), 0},
      {"Poisson PoisNorm mean 0", OXL_INT_LAW(_vrsiRngPoisson(1, s, n, r, 0.0)), 0},
      {"Geometric p 1", OXL_INT_LAW(_vrsiRngGeometric(0, s, n, r, 1.0)), 0},
      {"Hypergeometric s 0", OXL_INT_LAW(_vrsiRngHypergeometric(0, s, n, r, 10, 0, 5)), 0},
      {"Hypergeometric all marked", OXL_INT_LAW(_vrsiRngHypergeometric(0, s, n, r, 10, 4, 10)), 4},
      {"Negbinomial p 1", OXL_INT_LAW(_vrsiRngNegbinomial(0, s, n, r, 3.5, 1.0)), 0},
  };
  for (const auto& row : rows) {
    // MCG59's uniforms include 0, the smallest a law can meet.
    for (int32_t brng : {OXL_BRNG_MT19937, OXL_BRNG_MCG59}) {
      StreamGuard g(brng, {5});
      std::vector<int32_t> r(5000, -7);
      ASSERT_EQ(row.law(g.s, 5000, r.data()), 0) << row.name;
      EXPECT_EQ(std::count(r.begin(), r.end(), row.value), 5000) << row.name << " " << brng;
    }
  }
}

// Known answers of PoisNorm on MT19937 (seed 5): a hash (FNV-1a) of 20000 outputs and of the
// stream's next four words, at a mean whose PD draws take the small-k masses and at 500. Which
// uniform each test of PD takes is invisible to goodness of fit; a change shows here. The failure
// prints the new hash, for a deliberate change of the float Gaussian kernels' bits.
TEST(IntegerLaws, PoisNormKnownAnswers) {
  const struct {
    double mean;
    uint64_t hash;
  } rows[] = {{12.0, 0xa5a0e9ab21aef6e6}, {500.0, 0x16d153199e8ab762}};
  for (const auto& row : rows) {
    StreamGuard g(OXL_BRNG_MT19937, {5});
    std::vector<int32_t> r(20000);
    ASSERT_EQ(_vrsiRngPoisson(OXL_RNG_POISSON_POISNORM, g.s, 20000, r.data(), row.mean), 0);
    std::vector<uint32_t> words(r.begin(), r.end());
    for (const uint32_t w : g.Words(4)) words.push_back(w);
    oxl::test::Fnv1a fnv{kKnownAnswerBasis};
    fnv.Add(words.data(), words.size());
    const uint64_t hash = fnv.h;
    EXPECT_EQ(hash, row.hash) << row.mean << std::hex << " 0x" << hash;
  }
}

// A mean of 1e9 by both methods: every draw within 10 standard deviations, the sample mean within
// 5 standard errors.
TEST(IntegerLaws, PoissonOfHugeMean) {
  constexpr double kMean = 1e9;
  constexpr int32_t kN = 20000;
  for (int32_t method : {OXL_RNG_POISSON_PTPE, OXL_RNG_POISSON_POISNORM}) {
    StreamGuard g(OXL_BRNG_MT19937, {9});
    std::vector<int32_t> r(kN);
    ASSERT_EQ(_vrsiRngPoisson(method, g.s, kN, r.data(), kMean), 0);
    double sum = 0;
    for (int32_t k : r) {
      ASSERT_LT(std::fabs(k - kMean), 10 * std::sqrt(kMean)) << method;
      sum += k;
    }
    EXPECT_LT(std::fabs(sum / kN - kMean), 5 * std::sqrt(kMean / kN)) << method;
  }
}

// The bits entries against the generator's own words, drawn from a copy of the stream: 32-bit
// generators give their words, two to a 64-bit output (first low); MCG59 the top 32 of its 59
// bits; the raw UniformBits of MCG59 writes whole 64-bit words; other generators refuse and draw
// nothing.
TEST(IntegerLaws, UniformBitsByGenerator) {
  constexpr int32_t kN = 1500;  // past one internal block
  for (int32_t brng : {OXL_BRNG_MT19937, OXL_BRNG_SFMT19937, OXL_BRNG_PHILOX4X32X10}) {
    StreamGuard a(brng, {17});
    StreamGuard b(a);
    const std::vector<uint32_t> words = b.Words(3 * kN);
    std::vector<uint32_t> r32(kN);
    std::vector<uint64_t> r64(kN + 1, 0x5EED);
    ASSERT_EQ(_vrsiRngUniformBits32(0, a.s, kN, r32.data()), 0);
    ASSERT_EQ(_vrsiRngUniformBits64(0, a.s, kN, r64.data()), 0);
    EXPECT_TRUE(std::equal(r32.begin(), r32.end(), words.begin())) << brng;
    for (int32_t i = 0; i < kN; ++i) {
      ASSERT_EQ(r64[i], words[kN + 2 * i] | uint64_t{words[kN + 2 * i + 1]} << 32) << brng << i;
    }
    EXPECT_EQ(r64[kN], 0x5EEDu);
  }
  StreamGuard a(OXL_BRNG_MCG59, {17});
  StreamGuard b(a);
  std::vector<uint64_t> raw(3 * kN + 1, 0x5EED);
  ASSERT_EQ(_vrsiRngUniformBits(0, b.s, 3 * kN, reinterpret_cast<uint32_t*>(raw.data())), 0);
  EXPECT_EQ(raw[3 * kN], 0x5EEDu);
  EXPECT_GT(*std::max_element(raw.begin(), raw.end() - 1), uint64_t{1} << 58);
  std::vector<uint32_t> r32(kN);
  std::vector<uint64_t> r64(kN);
  ASSERT_EQ(_vrsiRngUniformBits32(0, a.s, kN, r32.data()), 0);
  ASSERT_EQ(_vrsiRngUniformBits64(0, a.s, kN, r64.data()), 0);
  for (int32_t i = 0; i < kN; ++i) {
    ASSERT_EQ(r32[i], raw[i] >> 27) << i;
    ASSERT_EQ(r64[i], raw[kN + 2 * i] >> 27 | (raw[kN + 2 * i + 1] >> 27) << 32) << i;
  }
  for (int32_t brng : {OXL_BRNG_MCG31, OXL_BRNG_R250, OXL_BRNG_MRG32K3A, ScriptedBrng()}) {
    StreamGuard g(brng, {17});
    StreamGuard copy(g);
    uint32_t r32s[4] = {1, 2, 3, 4};
    uint64_t r64s[4] = {1, 2, 3, 4};
    EXPECT_EQ(_vrsiRngUniformBits32(0, g.s, 4, r32s), StatusBitsUnsupported) << brng;
    EXPECT_EQ(_vrsiRngUniformBits64(0, g.s, 4, r64s), StatusBitsUnsupported) << brng;
    EXPECT_EQ(r32s[3], 4u);
    EXPECT_EQ(r64s[3], 4u);
    if (brng != ScriptedBrng()) {
      EXPECT_EQ(g.Words(8), copy.Words(8)) << brng;
    }
  }
}

// The laws with a set-up, each at two parameter sets that take different paths (or none).
struct SetUpRow {
  const char* name;
  uint32_t chunk;
  IntLaw first;
  IntLaw second;
};

std::vector<SetUpRow> SetUpRows() {
  return {
      {"Poisson", 3, OXL_INT_LAW(_vrsiRngPoisson(0, s, n, r, 3.5)),
       OXL_INT_LAW(_vrsiRngPoisson(0, s, n, r, 400.0))},
      {"Binomial", 5, OXL_INT_LAW(_vrsiRngBinomial(0, s, n, r, 40, 0.2)),
       OXL_INT_LAW(_vrsiRngBinomial(0, s, n, r, 400, 0.8))},
      {"Hypergeometric", 6, OXL_INT_LAW(_vrsiRngHypergeometric(0, s, n, r, 1000, 50, 100)),
       OXL_INT_LAW(_vrsiRngHypergeometric(0, s, n, r, 9000, 3000, 4000))},
      {"Negbinomial", 4, OXL_INT_LAW(_vrsiRngNegbinomial(0, s, n, r, 2.0, 0.4)),
       OXL_INT_LAW(_vrsiRngNegbinomial(0, s, n, r, 20.0, 0.05))},
  };
}

// The vectorised verdicts on TPE candidates are Attempt's, candidate by candidate and on every
// target, over runs of every length about the vector size and candidates in every region of the
// hat (Poisson hats, mean 27 at the method's switch and 500); and the thresholds that settle the
// acceptance test without a logarithm decide as LnAtMost does at their own edges.
TEST(IntegerLaws, TpeVerdictsAreAttempts) {
  using oxl::vrs::dist::LnAtMost;
  using oxl::vrs::dist::TpeHat;
  std::mt19937_64 bits(41);
  std::uniform_real_distribution<double> unit(0.0, 1.0);
  std::vector<double> uv;
  for (int32_t i = 0; i < 3000; ++i) {
    uv.push_back(i / 3000.0);
    uv.push_back(i % 7 == 0 ? 0.0 : unit(bits));
  }
  for (const double mu : {27.0, 500.0}) {
    auto hat = std::make_unique<TpeHat>();
    hat->Set(std::floor(mu), mu, 1.0, std::floor(2.195 * std::sqrt(mu) - 2.2) + 0.5,
             0.133 + 8.56 / (6.83 + mu));
    hat->top = 2147483647.0;
    const auto log_ratio = [&](double y) {
      return (y - hat->m) * std::log(mu) - std::lgamma(y + 1) + std::lgamma(hat->m + 1);
    };
    hat->Tabulate(log_ratio);
    for (int32_t j = 0; j < 2 * TpeHat::kNear + 1; ++j) {
      if (hat->below[j] > 0) {
        EXPECT_TRUE(LnAtMost(hat->below[j], hat->near[j])) << j;
      }
      if (hat->above[j] < INFINITY) {
        EXPECT_FALSE(LnAtMost(hat->above[j], hat->near[j])) << j;
      }
    }
    int32_t open = 0;
    oxl::test::ForEachTarget([&](const std::string&) {
      std::vector<double> y(uv.size() / 2), verdict(uv.size() / 2, -1.0);
      // Runs of 1 to 9 candidates, then the rest at once.
      size_t done = 0;
      for (int32_t len = 1; len <= 9; done += len++) {
        oxl::vrs::dist::TpeVerdicts(*hat, &uv[2 * done], len, &y[done], &verdict[done]);
      }
      oxl::vrs::dist::TpeVerdicts(*hat, &uv[2 * done], static_cast<int32_t>(y.size() - done),
                                  &y[done], &verdict[done]);
      open = 0;
      for (size_t j = 0; j < y.size(); ++j) {
        double expected = 0;
        const bool accepted =
            hat->Attempt(uv[2 * j] * hat->p4, uv[2 * j + 1], log_ratio, &expected);
        if (verdict[j] == 2.0) {
          ++open;
        } else {
          ASSERT_EQ(verdict[j], accepted ? 1.0 : 0.0) << mu << " " << j;
          ASSERT_EQ(y[j], accepted ? expected : 0.0) << mu << " " << j;
        }
      }
    });
    // The tails, an eighth of the hat at the switch and less above, are nearly all that is left
    // open.
    EXPECT_LT(open, 0.15 * uv.size() / 2) << mu;
  }
}

// PTPE at mean 500 gives what its hat gives drawn one candidate after another from a source of
// uniforms, and leaves the stream where that walk leaves it, for counts whose blocks of uniforms
// end in the middle of a candidate.
TEST(IntegerLaws, PtpeWalksTheCandidatesInOrder) {
  using oxl::vrs::dist::TpeHat;
  constexpr double kMu = 500.0;
  auto hat = std::make_unique<TpeHat>();
  hat->Set(kMu, kMu, 1.0, std::floor(2.195 * __vrsdSqrt(kMu) - 2.2) + 0.5,
           0.133 + 8.56 / (6.83 + kMu));
  hat->top = 2147483647.0;
  const double ln_mu = __vrsdLn(kMu);
  const double ln_mode = ln_factorial(500);
  const auto log_ratio = [&](double y) {
    return (y - hat->m) * ln_mu - ln_factorial(static_cast<int64_t>(y)) + ln_mode;
  };
  hat->Tabulate(log_ratio);
  for (const int32_t n : {1, 7, 1003, 4001}) {
    StreamGuard a(OXL_BRNG_MT19937, {3});
    StreamGuard b(a);
    std::vector<int32_t> got(n);
    ASSERT_EQ(_vrsiRngPoisson(OXL_RNG_POISSON_PTPE, a.s, n, got.data(), kMu), 0);
    {
      oxl::vrs::dist::UniformSource<double> src(b.s, 5 * static_cast<int64_t>(n) / 2);
      for (int32_t i = 0; i < n; ++i) {
        ASSERT_EQ(got[i], static_cast<int32_t>(hat->Draw(src, log_ratio))) << n << " " << i;
      }
    }
    EXPECT_EQ(a.Words(4), b.Words(4)) << n;
  }
}

// A kept set-up gives the numbers that a fresh one gives: a stream that goes first, second, first
// matches one whose chunks are dropped before each call. Unchanged parameters reuse the chunk; a
// change rewrites it in place, except Hypergeometric's, which is replaced; one chunk per law.
TEST(IntegerLaws, SetUpChunks) {
  for (const SetUpRow& row : SetUpRows()) {
    SCOPED_TRACE(row.name);
    StreamGuard kept(OXL_BRNG_MT19937, {23});
    StreamGuard fresh(OXL_BRNG_MT19937, {23});
    std::vector<int32_t> x(700), y(700);
    for (const IntLaw* law : {&row.first, &row.first, &row.second, &row.first}) {
      const void* before = __vrsSearchChunk(kept.s, row.chunk);
      ASSERT_EQ((*law)(kept.s, 700, x.data()), 0);
      __vrsDeleteChunks(fresh.s);
      ASSERT_EQ((*law)(fresh.s, 700, y.data()), 0);
      EXPECT_EQ(x, y);
      EXPECT_EQ(__vrsGetNumChunks(kept.s), 1);
      const void* after = __vrsSearchChunk(kept.s, row.chunk);
      ASSERT_NE(after, nullptr);
      if (before && row.chunk != 6) {
        EXPECT_EQ(after, before);
      }
    }
  }
  // The replacement is seen from outside as a new chunk: a copy taken before keeps the old one.
  StreamGuard s(OXL_BRNG_MT19937, {23});
  int32_t r[4];
  ASSERT_EQ(_vrsiRngHypergeometric(0, s.s, 4, r, 1000, 50, 100), 0);
  const void* old_chunk = __vrsSearchChunk(s.s, 6);
  ASSERT_EQ(_vrsiRngHypergeometric(0, s.s, 4, r, 1000, 50, 100), 0);
  EXPECT_EQ(__vrsSearchChunk(s.s, 6), old_chunk);
  ASSERT_EQ(_vrsiRngHypergeometric(0, s.s, 4, r, 1000, 60, 100), 0);
  EXPECT_EQ(__vrsGetNumChunks(s.s), 1);
}

// Bad parameters give StatusBadArgs (a bad Poisson method StatusBadMethod), draw nothing and
// write nothing; a failing generator's status ends every law.
TEST(IntegerLaws, BadParametersAndFailingSource) {
  const double bad_means[3] = {1.0, -1.0, 2.0};
  const double nan = std::nan("");
  const struct {
    IntLaw law;
    int32_t status;
  } bad[] = {
      {OXL_INT_LAW(_vrsiRngBernoulli(0, s, n, r, 1.5)), StatusBadArgs},
      {OXL_INT_LAW(_vrsiRngBernoulli(0, s, n, r, nan)), StatusBadArgs},
      {OXL_INT_LAW(_vrsiRngGeometric(0, s, n, r, 0.0)), StatusBadArgs},
      {OXL_INT_LAW(_vrsiRngGeometric(0, s, n, r, -0.5)), StatusBadArgs},
      {OXL_INT_LAW(_vrsiRngBinomial(0, s, n, r, -1, 0.5)), StatusBadArgs},
      {OXL_INT_LAW(_vrsiRngBinomial(0, s, n, r, 10, -0.1)), StatusBadArgs},
      {OXL_INT_LAW(_vrsiRngPoisson(0, s, n, r, -1.0)), StatusBadArgs},
      {OXL_INT_LAW(_vrsiRngPoisson(1, s, n, r, nan)), StatusBadArgs},
      {OXL_INT_LAW(_vrsiRngPoisson(0, s, n, r, 3e9)), StatusBadArgs},
      {OXL_INT_LAW(_vrsiRngPoisson(2, s, n, r, 1.0)), StatusBadMethod},
      {OXL_INT_LAW(_vrsiRngPoissonV(0, s, n, r, bad_means)), StatusBadArgs},
      {OXL_INT_LAW(_vrsiRngHypergeometric(0, s, n, r, 10, 11, 5)), StatusBadArgs},
      {OXL_INT_LAW(_vrsiRngHypergeometric(0, s, n, r, 10, 5, -1)), StatusBadArgs},
      {OXL_INT_LAW(_vrsiRngNegbinomial(0, s, n, r, 0.0, 0.5)), StatusBadArgs},
      {OXL_INT_LAW(_vrsiRngNegbinomial(0, s, n, r, 2.0, 0.0)), StatusBadArgs},
      {OXL_INT_LAW(_vrsiRngNegbinomial(0, s, n, r, 1e3, 1e-9)), StatusBadArgs},
  };
  for (size_t i = 0; i < std::size(bad); ++i) {
    SCOPED_TRACE(i);
    ExpectRefused<int32_t>([&](StreamRecord* s, int32_t* r) { return bad[i].law(s, 3, r); },
                           bad[i].status, 3);
  }
  const double means[4] = {0.5, 20.0, 3.0, 700.0};
  std::vector<IntLaw> laws = {
      OXL_INT_LAW(_vrsiRngBernoulli(0, s, n, r, 0.5)),
      OXL_INT_LAW(_vrsiRngGeometric(0, s, n, r, 0.5)),
      OXL_INT_LAW(_vrsiRngPoissonV(0, s, n, r, means)),
      OXL_INT_LAW(_vrsiRngPoisson(1, s, n, r, 50.0)),
  };
  for (const SetUpRow& row : SetUpRows()) {
    laws.push_back(row.first);
    laws.push_back(row.second);
  }
  StreamGuard failing(oxl::test::FailingBrng(), {7});
  for (size_t i = 0; i < laws.size(); ++i) {
    int32_t r[4];
    EXPECT_EQ(laws[i](failing.s, 4, r), oxl::test::kFailingStatus) << i;
  }
}

}  // namespace
