// Streams and distributions on several threads at once. Streams sharing one read-only block,
// copied and deleted from many threads at once: the table's lock must keep the reference counts
// exact, and the block must be freed exactly once, by the last holder. Generators each with its own
// stream, mode word and callback: the numbers are those of a serial run, and each thread finds its
// own mode and callback afterwards.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstring>
#include <thread>
#include <vector>

#include "oxl/platform.h"
#include "oxl/vek.h"
#include "oxl/vrs.h"
#include "support/stream_guard.h"
#include "vrs/distributions/laws.h"
#include "vrs/streams/ro_table.h"

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
  oxl::test::StreamGuard guard(OXL_BRNG_MCG59, {seed});
  StreamRecord* s = guard.s;
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

TEST(StreamThreads, ConcurrentCopyAndDeleteOfSharedChunks) {
  uint64_t key[2];
  __vrsGenerateNewGlobalRODataTableEntryId(key, 9);
  oxl::test::StreamGuard guard(OXL_BRNG_MCG59, {42});
  StreamRecord*& origin = guard.s;
  void* block = oxl_serv_allocate(4096, 128);
  std::memset(block, 0x5A, 4096);
  ASSERT_EQ(__vrsAddChunk(origin, 9, key, block, 4096), 0);
  ASSERT_EQ(__vrsAddChunk(origin, 5, nullptr, oxl_serv_allocate(64, 128), 64), 0);

  constexpr int kRounds = 300;
  std::vector<std::thread> threads;
  std::vector<int> bad(kThreads, 0);
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      std::vector<StreamRecord*> held;
      for (int r = 0; r < kRounds; ++r) {
        StreamRecord* copy = nullptr;
        if (__vrsCopyStream(&copy, origin) != 0) ++bad[t];
        const auto* data = static_cast<const unsigned char*>(__vrsSearchChunk(copy, 9));
        if (data != block || data[4095] != 0x5A) ++bad[t];
        uint64_t words[8];
        __vrsiBRngMCG59(copy, 8, reinterpret_cast<uint32_t*>(words));
        held.push_back(copy);
        // Keep a few copies alive so that counts rise and fall in every order.
        if (held.size() > 3) {
          __vrsDeleteStream(&held.front());
          held.erase(held.begin());
        }
      }
      for (StreamRecord*& s : held) __vrsDeleteStream(&s);
    });
  }
  for (auto& th : threads) th.join();
  for (int t = 0; t < kThreads; ++t) EXPECT_EQ(bad[t], 0) << "thread " << t;

  GlobRODataEntry* e = nullptr;
  ASSERT_EQ(__vrsFindGlobRODataTableEntry(&e, key), 0);
  EXPECT_EQ(e->RefCount, 1);
  __vrsDeleteStream(&origin);
  EXPECT_EQ(__vrsFindGlobRODataTableEntry(&e, key), StatusRONotFound);
  EXPECT_EQ(oxl::vrs::_GlobRODataTableCount.load(), 0);
}

}  // namespace
