// The harness: element counts per size, the inputs, and the names and order in which cases reach
// Google Benchmark, which bench/report.py reads.
#include <benchmark/benchmark.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include "oxl/platform.h"
#include "support/array_bench.h"
#include "support/inputs.h"

namespace oxl::bench {
namespace {

TEST(ElementCount, FillsHalfOfEachCacheInWholeBlocks) {
  for (const int bytes : {8, 12, 16, 24}) {
    SCOPED_TRACE(bytes);
    int64_t previous = 0;
    for (const int level : {1, 2}) {
      const Size size = level == 1 ? Size::kL1 : Size::kL2;
      const int64_t cache = oxl_dft_pvk_cache_size(level);
      const int64_t n = ElementCount(size, bytes);
      EXPECT_EQ(n % 64, 0);
      EXPECT_GT(n, previous);
      if (cache > 0) {
        EXPECT_LE(n * bytes, cache / 2);
        EXPECT_GT((n + 64) * bytes, cache / 2);
      }
      previous = n;
    }
    EXPECT_EQ(ElementCount(Size::kMem, bytes), 10'000'000);
  }
}

TEST(Inputs, AreReproducibleAndInsideTheirRange) {
  constexpr int kN = 4096;
  const Range range{-3.5, 700.0};
  std::vector<double> x(kN), y(kN), z(kN);
  FillInputs(range, InputSeed("dExp", 0), x.data(), kN);
  FillInputs(range, InputSeed("dExp", 0), y.data(), kN);
  FillInputs(range, InputSeed("dExp", 1), z.data(), kN);
  EXPECT_EQ(x, y);
  EXPECT_NE(x, z);
  EXPECT_NE(InputSeed("dExp", 0), InputSeed("sExp", 0));
  for (const double v : x) ASSERT_TRUE(v >= range.lo && v <= range.hi) << v;
  // Uniform: both halves of the range are visited about equally.
  const auto low = std::count_if(x.begin(), x.end(), [&](double v) { return v < 348.25; });
  EXPECT_NEAR(static_cast<double>(low) / kN, 0.5, 0.05);
}

TEST(Inputs, LogSpacingVisitsEveryDecadeAlike) {
  constexpr int kN = 100'000;
  std::vector<float> x(kN);
  FillInputs(Range{1e-20, 1e20, true}, 42, x.data(), kN);
  std::vector<int> per_decade(40);
  for (const float v : x) {
    ASSERT_TRUE(v >= 1e-20f && v <= 1e20f) << v;
    ++per_decade[std::clamp(static_cast<int>(std::floor(std::log10(v))) + 20, 0, 39)];
  }
  constexpr double kExpected = kN / 40.0;
  for (int d = 0; d < 40; ++d) EXPECT_NEAR(per_decade[d], kExpected, 0.1 * kExpected) << d;
}

TEST(AlignedBuffer, StartsAtItsPageOffsetZeroed) {
  for (const size_t offset : {0, 1024, 2048}) {
    const AlignedBuffer buffer(1000, offset);
    const auto* p = buffer.As<unsigned char>();
    EXPECT_EQ(reinterpret_cast<uintptr_t>(p) % 4096, offset);
    EXPECT_TRUE(std::all_of(p, p + 1000, [](unsigned char c) { return c == 0; }));
  }
}

// A contestant that records the counts it is called with and checks that it is handed the inputs
// of its function.
std::set<int> seen_counts;
bool inputs_in_range = true;

void Probe(int n, const double* a, double* r) {
  seen_counts.insert(n);
  for (int i = 0; i < n; ++i) {
    inputs_in_range &= a[i] >= -2.0 && a[i] <= 3.0;
    r[i] = a[i];
  }
}

constexpr UnaryFunction<double> kProbe{"probe", {-2.0, 3.0}};
OXL_BENCH(kProbe, "first", Probe);
OXL_BENCH(kProbe, "second", Probe);
OXL_BENCH(kProbe, "absent", Probe, uint64_t{1} << 63);  // a feature bit no processor has

// The library's own contestants run once per SIMD target, pinned to it.
std::set<int> seen_targets;
void TargetProbe(int n, const double* a, double* r) {
  seen_targets.insert(oxl_dft_pvk_get_simd_target());
  Probe(n, a, r);
}
constexpr UnaryFunction<double> kTargetProbe{"probe_targets", {-2.0, 3.0}};
OXL_BENCH(kTargetProbe, "oxl_HA", TargetProbe);

class Collector : public benchmark::BenchmarkReporter {
 public:
  bool ReportContext(const Context&) override { return true; }
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      names.push_back(run.benchmark_name());
      const auto rate = run.counters.find("items_per_second");
      rates_present &= rate != run.counters.end() && rate->second.value > 0;
    }
  }
  std::vector<std::string> names;
  bool rates_present = true;
};

// Registers everything afresh and runs what `filter` selects.
Collector RunMatching(const std::string& filter) {
  const std::string filter_flag = "--benchmark_filter=" + filter;
  const char* argv[] = {"test", "--benchmark_min_time=0.001", filter_flag.c_str()};
  int argc = 3;
  benchmark::Initialize(&argc, const_cast<char**>(argv));
  benchmark::ClearRegisteredBenchmarks();
  RegisterAll();
  Collector collector;
  benchmark::RunSpecifiedBenchmarks(&collector);
  return collector;
}

TEST(Registration, GroupsBySizeWithTheBoundOfTheShape) {
  const Collector collector = RunMatching("^(probe/|copy_d/copy/L1)");
  const std::vector<std::string> expected = {
      "probe/first/L1", "probe/second/L1", "probe/copy/L1",    "probe/first/L2", "probe/second/L2",
      "probe/copy/L2",  "probe/first/MEM", "probe/second/MEM", "probe/copy/MEM", "copy_d/copy/L1"};
  EXPECT_EQ(collector.names, expected);
  EXPECT_TRUE(collector.rates_present);
  EXPECT_EQ(seen_counts, (std::set<int>{static_cast<int>(ElementCount(Size::kL1, 16)),
                                        static_cast<int>(ElementCount(Size::kL2, 16)),
                                        static_cast<int>(kMemElements)}));
  EXPECT_TRUE(inputs_in_range);
}

TEST(Registration, LibraryKernelsRunOnEveryTarget) {
  const Collector collector = RunMatching("^probe_targets/.*/L1");
  std::vector<std::string> expected;
  std::set<int> targets;
  for (const auto& [target, name] :
       {std::pair{OXL_SIMD_TARGET_AVX512, "avx512"}, std::pair{OXL_SIMD_TARGET_AVX2, "avx2"}}) {
    if (!oxl_dft_pvk_simd_target_supported(target)) continue;
    expected.push_back(std::string("probe_targets/oxl_HA_") + name + "/L1");
    targets.insert(target);
  }
  expected.push_back("probe_targets/copy/L1");
  EXPECT_EQ(collector.names, expected);
  EXPECT_EQ(seen_targets, targets);
}

}  // namespace
}  // namespace oxl::bench
