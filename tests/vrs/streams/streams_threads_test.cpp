// Streams sharing one read-only block, copied and deleted from many threads at once: the table's
// lock must keep the reference counts exact, and the block must be freed exactly once, by the
// last holder.
#include <gtest/gtest.h>

#include <cstring>
#include <thread>
#include <vector>

#include "oxl/platform.h"
#include "oxl/vrs.h"
#include "vrs/streams/ro_table.h"

namespace oxl::vrs {
namespace {

TEST(StreamThreads, ConcurrentCopyAndDeleteOfSharedChunks) {
  uint64_t key[2];
  __vrsGenerateNewGlobalRODataTableEntryId(key, 9);
  const uint32_t seed = 42;
  StreamRecord* origin = nullptr;
  ASSERT_EQ(__vrsNewStreamEx(&origin, OXL_BRNG_MCG59, 1, &seed), 0);
  void* block = oxl_serv_allocate(4096, 128);
  std::memset(block, 0x5A, 4096);
  ASSERT_EQ(__vrsAddChunk(origin, 9, key, block, 4096), 0);
  ASSERT_EQ(__vrsAddChunk(origin, 5, nullptr, oxl_serv_allocate(64, 128), 64), 0);

  constexpr int kThreads = 4;
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
  EXPECT_EQ(_GlobRODataTableCount.load(), 0);
}

}  // namespace
}  // namespace oxl::vrs
