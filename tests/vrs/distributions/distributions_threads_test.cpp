// Generators on several threads at once, each with its own stream, mode word and callback: the
// numbers are those of a serial run, and each thread finds its own mode and callback afterwards.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <thread>
#include <vector>

#include "oxl/vek.h"
#include "oxl/vrs.h"
#include "vrs/distributions/laws.h"

namespace {

constexpr int kThreads = 4;
constexpr int32_t kCount = 5000;

std::atomic<int> g_foreign_events{0};
int32_t Foreign(oxl_vek_error_record*) {
  g_foreign_events.fetch_add(1, std::memory_order_relaxed);
  return 0;
}

// Every law once, and BoxMuller2 again in pieces of odd lengths, so that it carries pairs between
// calls.
std::vector<double> Draw(uint32_t seed) {
  StreamRecord* s = nullptr;
  EXPECT_EQ(__vrsNewStreamEx(&s, OXL_BRNG_MCG59, 1, &seed), 0);
  std::vector<double> r((oxl::test::kLaws.size() + 2) * kCount);
  double* out = r.data();
  for (int32_t done = 0; done < kCount; done += 1001) {
    EXPECT_EQ(_vrsdRngGaussian(1, s, std::min(1001, kCount - done), out + done, 0.0, 1.0), 0);
  }
  for (const oxl::test::Law& law : oxl::test::kLaws) {
    out += kCount;
    EXPECT_EQ(law.d(s, kCount, out), 0) << law.name;
  }
  out += kCount;
  const double mean[2] = {1.0, 2.0}, t[3] = {1.0, 0.5, 2.0};
  EXPECT_EQ(_vrsdRngGaussianMV(2, s, kCount / 2, out, 2, MatrixPacked, mean, t), 0);
  __vrsDeleteStream(&s);
  return r;
}

TEST(DistributionsThreads, ConcurrentStreamsAndModes) {
  std::vector<std::vector<double>> serial;
  for (int i = 0; i < kThreads; ++i) serial.push_back(Draw(100 + i));
  std::vector<std::vector<double>> parallel(kThreads);
  std::vector<int> mode_kept(kThreads, 0);
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([i, &parallel, &mode_kept] {
      // A different accuracy and error mode on each thread. The floating-point field is set: a
      // restore gives back only the fields that are set in the saved word, and the generators
      // leave their 0x140000 in a field that was empty.
      oxl_vek_kernel_SetMode(static_cast<uint32_t>((i % 3) + 1) | OXL_VEK_MODE_ERRMODE_CALLBACK |
                             (i % 2 ? OXL_VEK_MODE_ERRMODE_ERRNO : 0u) | OXL_VEK_MODE_FTZ_DAZ_ON);
      oxl_vek_kernel_SetErrorCallBack(Foreign);
      const uint64_t mode = oxl_vek_kernel_GetMode();
      parallel[i] = Draw(100 + i);
      mode_kept[i] =
          oxl_vek_kernel_GetMode() == mode && oxl_vek_kernel_GetErrorCallBack() == Foreign;
    });
  }
  for (std::thread& t : threads) t.join();
  for (int i = 0; i < kThreads; ++i) {
    EXPECT_EQ(parallel[i], serial[i]) << "thread " << i;
    EXPECT_TRUE(mode_kept[i]) << "thread " << i;
  }
  EXPECT_EQ(g_foreign_events.load(), 0);
}

}  // namespace
