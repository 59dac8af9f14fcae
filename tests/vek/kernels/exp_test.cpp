// Exp and Expm1: accuracy of every kernel against MPFR (whole range, per binade, around every
// threshold of the fast path and the rare routines, on every target and every cut of the array),
// and the values and statuses at the ends of the range.
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <limits>
#include <string>
#include <vector>

#include "oxl/vek.h"
#include "oxl/vek_kernels.h"
#include "support/runner.h"
#include "support/targets.h"

namespace {

using oxl::test::Level;
using oxl::test::Meets;
using oxl::test::Range;
using oxl::test::Sweep;
using oxl::test::Threshold;
using oxl::test::UlpBound;

template <class T>
using Kernel = void (*)(int, const T*, T*);

template <class T>
struct Case {
  const char* name;
  Kernel<T> kernel;
  Level level;
  bool expm1;
};

// Thresholds of the fast paths and of the rare routines' branches.
template <class T>
std::vector<Threshold<T>> Thresholds(bool expm1) {
  if constexpr (sizeof(T) == 4) {
    std::vector<Threshold<T>> t = {{"fast bound", 87.33654f},
                                   {"overflow", 88.72283172607422f},
                                   {"ln 2 / 64", 0.0108304247f},
                                   {"zero", 0.0f}};
    if (expm1) {
      t.push_back({"expm1 bound", 86.64339447021484f});
      t.push_back({"-1 in float", -17.328679f});
    } else {
      t.push_back({"-fast bound", -87.33654f});
      t.push_back({"denormal", -87.33654022216797f});
      t.push_back({"underflow", -103.97207641601562f});
    }
    return t;
  } else {
    std::vector<Threshold<T>> t = {{"fast bound", 707.7032713517042},
                                   {"overflow", 709.782712893384},
                                   {"ln 2 / 32", 0.021660849392498291},
                                   {"zero", 0.0}};
    if (expm1) {
      t.push_back({"-1 in double", -37.42994775023705});
    } else {
      t.push_back({"-fast bound", -707.7032713517042});
      t.push_back({"denormal", -708.3964185322641});
      t.push_back({"underflow", -745.1332191019411});
      t.push_back({"tiny", 0x1p-54});
    }
    return t;
  }
}

template <class T>
void CheckAccuracy(const Case<T>& c) {
  SCOPED_TRACE(c.name);
  Sweep<T> sweep;
  const T top = sizeof(T) == 4 ? T(89) : T(710);
  const T bottom = c.expm1 ? T(-60) : (sizeof(T) == 4 ? T(-104) : T(-746));
  sweep.ranges = {{bottom, top}};
  sweep.random = 1 << 15;
  sweep.per_binade = 64;
  sweep.thresholds = Thresholds<T>(c.expm1);
  sweep.cuts = {1, 7, 16, 33};
  sweep.all_targets = true;
  // The fast 2^x of the float EP kernel flushes results below the normal range, as the
  // instruction it stands for does; only the normal range holds its accuracy.
  const bool flushes = sizeof(T) == 4 && c.level == Level::kEP && !c.expm1;
  if (flushes) {
    sweep.specials = false;
    sweep.ranges = {{T(-87.3), T(88.7)}};
    sweep.per_binade = 0;
    sweep.thresholds = {};
  }
  const auto exact = c.expm1 ? oxl::test::oracle::Expm1 : oxl::test::oracle::Exp;
  const auto report = oxl::test::RunUnary(c.kernel, exact, sweep);
  EXPECT_TRUE(Meets(report, UlpBound<T>(c.level)));
  std::printf("%s\n", report.TableRow(c.name, c.level, UlpBound<T>(c.level)).c_str());
}

TEST(Exp, EveryKernelWithinItsLevelOnEveryTarget) {
  const Case<float> floats[] = {
      {"vsExp", oxl_vek_kernel_sExp_B3HAynn, Level::kHA, false},
      {"vsExp", oxl_vek_kernel_sExp_B3LAynn, Level::kLA, false},
      {"vsExp", oxl_vek_kernel_sExp_B3EPnnn, Level::kEP, false},
      {"vsExpm1", oxl_vek_kernel_sExpm1_B3HAynn, Level::kHA, true},
      {"vsExpm1", oxl_vek_kernel_sExpm1_B3LAynn, Level::kLA, true},
      {"vsExpm1", oxl_vek_kernel_sExpm1_B3EPnnn, Level::kEP, true},
  };
  const Case<double> doubles[] = {
      {"vdExp", oxl_vek_kernel_dExp_B3HAynn, Level::kHA, false},
      {"vdExp", oxl_vek_kernel_dExp_B3LAynn, Level::kLA, false},
      {"vdExp", oxl_vek_kernel_dExp_B3EPnnn, Level::kEP, false},
      {"vdExpm1", oxl_vek_kernel_dExpm1_B3HAynn, Level::kHA, true},
      {"vdExpm1", oxl_vek_kernel_dExpm1_B3LAynn, Level::kLA, true},
      {"vdExpm1", oxl_vek_kernel_dExpm1_B3EPnnn, Level::kEP, true},
  };
  for (const auto& c : floats) CheckAccuracy(c);
  for (const auto& c : doubles) CheckAccuracy(c);
}

struct Event {
  int code, index;
  double res;
};
std::vector<Event> g_events;
int32_t Record(oxl_vek_error_record* rec) {
  g_events.push_back({rec->code, rec->index, rec->res1});
  return 0;
}

template <class T>
struct Expect {
  T x;
  T value;     // the result, or NaN for "any NaN"
  int status;  // reported through the error path, 0 for none
};

// Exact where the value is exact (zeros, infinities, 1); within one ulp of the C library's
// value elsewhere.
template <class T>
bool Matches(T got, T want) {
  if (std::isnan(want)) return std::isnan(got);
  if (std::memcmp(&got, &want, sizeof got) == 0) return true;
  const T inf = std::numeric_limits<T>::infinity();
  return std::isfinite(want) && want != 0 && want != 1 &&
         (got == std::nextafter(want, inf) || got == std::nextafter(want, -inf));
}

// Each value alone, and all of them in one array (in a block and in the tail), on every target:
// the results, the events in ascending order and the status left at the end.
template <class T>
void CheckEnds(Kernel<T> kernel, const std::vector<Expect<T>>& cases) {
  const int n = static_cast<int>(cases.size());
  std::vector<T> a(n + 40, T(0.5));
  for (int i = 0; i < n; ++i) a[i + 40] = a[i] = cases[i].x;
  const int total = static_cast<int>(a.size());
  oxl::test::ForEachTarget([&](const std::string& target) {
    std::vector<T> r(total);
    g_events.clear();
    oxl_vek_kernel_ClearErrStatus();
    const auto old_cb = oxl_vek_kernel_SetErrorCallBack(Record);
    kernel(total, a.data(), r.data());
    oxl_vek_kernel_SetErrorCallBack(old_cb);
    std::vector<Event> want;
    int last = 0;
    for (int i = 0; i < total; ++i) {
      const auto& c = cases[i < 40 ? i % n : i - 40];
      if (i >= n && i < 40) continue;
      EXPECT_TRUE(Matches(r[i], c.value)) << target << " x " << a[i] << " got " << r[i];
      if (c.status != 0) {
        want.push_back({c.status, i, 0});
        last = c.status;
      }
    }
    ASSERT_EQ(g_events.size(), want.size()) << target;
    for (size_t k = 0; k < want.size(); ++k) {
      EXPECT_EQ(g_events[k].code, want[k].code) << target << " event " << k;
      EXPECT_EQ(g_events[k].index, want[k].index) << target << " event " << k;
    }
    EXPECT_EQ(oxl_vek_kernel_GetErrStatus(), last) << target;
  });
}

TEST(Exp, FloatEnds) {
  const float inf = std::numeric_limits<float>::infinity();
  const float nan = std::numeric_limits<float>::quiet_NaN();
  const std::vector<Expect<float>> ends = {
      {87.33654f, std::exp(87.33654f), 0},  // rare route, finite, no status
      {88.72283172607422f, std::exp(88.72283172607422f), 0},
      {88.7228394f, inf, 3},
      {1000.0f, inf, 3},
      {-88.0f, std::exp(-88.0f), 4},  // denormal result
      {-103.98f, 0.0f, 4},
      {-0x1.9fe368p+6f, 0x1p-149f, 4},  // rounds up to the smallest denormal
      {-200.0f, 0.0f, 4},
      {-inf, 0.0f, 0},
      {inf, inf, 0},
      {nan, nan, 0},
      {0.0f, 1.0f, 0},
      {-0.0f, 1.0f, 0},
  };
  CheckEnds(oxl_vek_kernel_sExp_B3HAynn, ends);
  CheckEnds(oxl_vek_kernel_sExp_B3LAynn, ends);
  // The EP kernel reports nothing: infinity above the range, zero below it, NaN for NaN.
  CheckEnds<float>(oxl_vek_kernel_sExp_B3EPnnn,
                   {{100.0f, inf, 0}, {-100.0f, 0.0f, 0}, {nan, nan, 0}, {-inf, 0.0f, 0}});
}

TEST(Exp, DoubleEnds) {
  const double inf = std::numeric_limits<double>::infinity();
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const std::vector<Expect<double>> ends = {
      {-745.14, 0.0, 4},
      {-740.0, std::exp(-740.0), 4},
      {-708.0, std::exp(-708.0), 0},
      {709.78, std::exp(709.78), 0},
      {709.79, inf, 3},
      {-inf, 0.0, 0},
      {inf, inf, 0},
      {nan, nan, 0},
      {1e-300, 1.0, 0},
      {0x1p-60, 1.0, 0},
  };
  CheckEnds(oxl_vek_kernel_dExp_B3HAynn, ends);
  CheckEnds(oxl_vek_kernel_dExp_B3LAynn, ends);
  CheckEnds(oxl_vek_kernel_dExp_B3EPnnn, ends);
}

TEST(Expm1, Ends) {
  const float finf = std::numeric_limits<float>::infinity();
  const double dinf = std::numeric_limits<double>::infinity();
  const std::vector<Expect<float>> floats = {
      {-200.0f, -1.0f, 0},  // fast path, no status
      {-finf, -1.0f, 0},
      {87.0f, std::expm1(87.0f), 0},
      {89.0f, finf, 3},
      {finf, finf, 0},
      {1e-10f, 1e-10f, 0},
      {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::quiet_NaN(), 0},
  };
  for (auto k : {oxl_vek_kernel_sExpm1_B3HAynn, oxl_vek_kernel_sExpm1_B3LAynn,
                 oxl_vek_kernel_sExpm1_B3EPnnn}) {
    CheckEnds(k, floats);
  }
  const std::vector<Expect<double>> doubles = {
      {-1000.0, -1.0, 0},
      {-dinf, -1.0, 0},
      {709.0, std::expm1(709.0), 0},
      {710.0, dinf, 3},
      {1e-300, 1e-300, 0},
      {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::quiet_NaN(), 0},
  };
  for (auto k : {oxl_vek_kernel_dExpm1_B3HAynn, oxl_vek_kernel_dExpm1_B3LAynn,
                 oxl_vek_kernel_dExpm1_B3EPnnn}) {
    CheckEnds(k, doubles);
  }
}

// A NaN comes out quieted with its payload, on every target, in block and tail, whatever bits the
// payload has (low payload bits must not reach the table index or the exponent).
template <class T, class U>
void ExpectPayloadsTravel(Kernel<T> kernel, const char* name, std::initializer_list<U> payloads) {
  constexpr U kQuiet = U{1} << (std::numeric_limits<T>::digits - 2);
  oxl::test::ForEachTarget([&](const std::string& target) {
    for (U bits : payloads) {
      SCOPED_TRACE(std::string(name) + " " + target + " bits " + std::to_string(bits));
      std::vector<T> a(37, T(0.5)), r(37);
      a[3] = std::bit_cast<T>(bits);
      a[35] = std::bit_cast<T>(bits);
      kernel(37, a.data(), r.data());
      EXPECT_EQ(std::bit_cast<U>(r[3]), bits | kQuiet);
      EXPECT_EQ(std::bit_cast<U>(r[35]), bits | kQuiet);
    }
  });
}

TEST(Exp, NaNPayloadTravels) {
  const std::initializer_list<uint64_t> d = {0x7FF8000000012345u, 0x7FF0000000000001u,
                                             0xFFFFFFFFFFFFFFFFu, 0x7FF800000000FFF3u};
  const std::initializer_list<uint32_t> s = {0x7FC12345u, 0x7F800001u, 0xFFFFFFFFu, 0x7FC0001Fu};
  ExpectPayloadsTravel<double>(oxl_vek_kernel_dExp_B3HAynn, "dExp HA", d);
  ExpectPayloadsTravel<double>(oxl_vek_kernel_dExp_B3LAynn, "dExp LA", d);
  ExpectPayloadsTravel<double>(oxl_vek_kernel_dExp_B3EPnnn, "dExp EP", d);
  ExpectPayloadsTravel<double>(oxl_vek_kernel_dExpm1_B3HAynn, "dExpm1 HA", d);
  ExpectPayloadsTravel<double>(oxl_vek_kernel_dExpm1_B3LAynn, "dExpm1 LA", d);
  ExpectPayloadsTravel<double>(oxl_vek_kernel_dExpm1_B3EPnnn, "dExpm1 EP", d);
  ExpectPayloadsTravel<float>(oxl_vek_kernel_sExp_B3HAynn, "sExp HA", s);
  ExpectPayloadsTravel<float>(oxl_vek_kernel_sExp_B3LAynn, "sExp LA", s);
  ExpectPayloadsTravel<float>(oxl_vek_kernel_sExpm1_B3HAynn, "sExpm1 HA", s);
  ExpectPayloadsTravel<float>(oxl_vek_kernel_sExpm1_B3LAynn, "sExpm1 LA", s);
  ExpectPayloadsTravel<float>(oxl_vek_kernel_sExpm1_B3EPnnn, "sExpm1 EP", s);
}

}  // namespace
