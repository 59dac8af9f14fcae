#include <gtest/gtest.h>
#include <omp.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <thread>
#include <vector>

#include "oxl/omp_services.h"
#include "oxl/platform.h"
#include "platform/fp_control.h"

namespace {

constexpr int32_t kLimit = 4;  // above the core count of small machines: oversubscription is fine

// Sets the process-wide limit for one test and restores the default afterwards.
struct LimitScope {
  explicit LimitScope(int32_t limit) { oxl_services_set_num_threads(limit); }
  ~LimitScope() { oxl_services_set_num_threads(0); }
};

using ItemService = int32_t (*)(int64_t, int32_t, void*, oxl_item_worker);

struct ItemForm {
  const char* name;
  ItemService run;
  bool contiguous, parallel;
};

std::vector<ItemForm> ItemForms() {
  const SSThreadServices* omp = oxl_services_omp_ss();
  const SSThreadServices* serial = oxl_services_serial_ss();
  return {
      {"omp for_each_item", omp->for_each_item, true, true},
      {"omp for_each_item_dynamic", omp->for_each_item_dynamic, false, true},
      {"omp parallel_run", oxl_services_omp_df()->parallel_run, true, true},
      {"serial for_each_item", serial->for_each_item, true, false},
      {"serial for_each_item_dynamic", serial->for_each_item_dynamic, false, false},
      {"serial parallel_run", oxl_services_serial_df()->parallel_run, true, false},
  };
}

// Per item or thread: how often it ran, plus 256 times what it was told (the thread, the team).
using Runs = std::vector<std::atomic<int32_t>>;

int32_t RecordVisit(int64_t item, int32_t thread, void*, void* context) {
  (*static_cast<Runs*>(context))[item].fetch_add(1 + 256 * thread);
  return 0;
}

// Every item once, on a thread of the team; in the contiguous forms thread t holds the t-th range:
// ids start at 0 and step by one at each range boundary, and every thread of the team gets a range
// of about count / team items.
TEST(ItemServices, EveryItemOnceOnThreadsInRange) {
  LimitScope limit(kLimit);
  for (const ItemForm& form : ItemForms()) {
    for (int64_t count : {-5, 0, 1, kLimit - 1, kLimit, kLimit + 1, 1000, 100003}) {
      for (int32_t requested : {-3, 0, 1, 3, kLimit, 9}) {
        SCOPED_TRACE(testing::Message()
                     << form.name << " count " << count << " threads " << requested);
        Runs visits(std::max<int64_t>(count, 0));
        ASSERT_EQ(form.run(count, requested, &visits, &RecordVisit), 0);
        if (count <= 0) continue;
        const int64_t team =
            form.parallel ? std::min<int64_t>(std::clamp(requested, 1, kLimit), count) : 1;
        std::vector<int64_t> per_thread(team, 0);
        for (int64_t i = 0; i < count; ++i) {
          const int32_t thread = visits[i] / 256;
          ASSERT_EQ(visits[i] % 256, 1) << "item " << i;
          ASSERT_LT(thread, team) << "item " << i;
          ++per_thread[thread];
          ASSERT_TRUE(!form.contiguous || i == 0 || thread - visits[i - 1] / 256 == 0 ||
                      thread - visits[i - 1] / 256 == 1)
              << "item " << i;
        }
        if (!form.contiguous) continue;
        EXPECT_EQ(visits[0] / 256, 0);
        const auto [fewest, most] = std::minmax_element(per_thread.begin(), per_thread.end());
        EXPECT_GE(*fewest, 1);
        EXPECT_LE(*most - *fewest, 1);
      }
    }
  }
}

// Items 7, 40 and 63 fail. Item 7 is the slowest to do so, so the others fail first in time; item
// 63 fails with a positive status, which counts as failure as well.
int32_t FailLate(int64_t item, int32_t, void*, void* context) {
  static_cast<std::atomic<int32_t>*>(context)->fetch_add(1);
  if (item == 7) {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    return -7;
  }
  if (item == 40) return -40;
  if (item == 63) return 63;
  return 0;
}

int32_t FailOnlyLast(int64_t item, int32_t, void*, void*) { return item == 63 ? 63 : 0; }

TEST(ItemServices, StatusOfLowestFailingItemAndNoItemSkipped) {
  LimitScope limit(kLimit);
  for (const ItemForm& form : ItemForms()) {
    SCOPED_TRACE(form.name);
    for (int repeat = 0; repeat < 3; ++repeat) {
      std::atomic<int32_t> ran{0};
      EXPECT_EQ(form.run(64, kLimit, &ran, &FailLate), -7);
      EXPECT_EQ(ran.load(), 64);
    }
    EXPECT_EQ(form.run(64, kLimit, nullptr, &FailOnlyLast), 63);
    EXPECT_EQ(form.run(64, kLimit, nullptr, nullptr), 0);
  }
}

int32_t RecordThread(int32_t thread, void*, int32_t thread_count, void* context) {
  (*static_cast<Runs*>(context))[thread].fetch_add(1 + 256 * thread_count);
  // Thread 1 fails late, thread 3 early: thread 1's status must win.
  if (thread == 1) {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    return -11;
  }
  return thread == 3 ? -13 : 0;
}

// Under a limit of kLimit or 3 threads, every report of the limit agrees, and each thread of the
// team runs once; the default limit comes back after, and a negative one is ignored.
TEST(RunOnEachThread, EachThreadOnceUnderTheLimitAndLowestFailingThread) {
  for (int32_t limit : {kLimit, 3}) {
    LimitScope scope(limit);
    EXPECT_EQ(oxl_services_get_num_threads(), limit);
    EXPECT_EQ(oxl_services_omp_ss()->thread_count(), limit);
    EXPECT_EQ(oxl_services_omp_df()->max_threads(), limit);
    EXPECT_EQ(oxl_vrs_serv_threader_get_num_threads_limit(), limit);
    for (const SSThreadServices* table : {oxl_services_omp_ss(), oxl_services_serial_ss()}) {
      const bool parallel = table == oxl_services_omp_ss();
      for (int32_t requested : {-1, 0, 1, 2, kLimit, 9, 16}) {
        SCOPED_TRACE(testing::Message() << (parallel ? "omp" : "serial") << " limit " << limit
                                        << " threads " << requested);
        Runs runs(16);
        const int32_t status = table->run_on_each_thread(requested, &runs, &RecordThread);
        const int32_t team = parallel ? std::clamp(requested, 1, limit) : 1;
        for (int32_t t = 0; t < 16; ++t) EXPECT_EQ(runs[t], t < team ? 1 + 256 * team : 0) << t;
        EXPECT_EQ(status, team > 1 ? -11 : 0);
      }
      EXPECT_EQ(table->run_on_each_thread(2, nullptr, nullptr), 0);
    }
  }
  const int32_t default_limit = std::max(omp_get_max_threads(), 1);
  EXPECT_EQ(oxl_services_get_num_threads(), default_limit);
  oxl_services_set_num_threads(-2);
  EXPECT_EQ(oxl_services_get_num_threads(), default_limit);
  EXPECT_EQ(oxl_services_omp_ss()->thread_count(), default_limit);
  EXPECT_EQ(oxl_services_serial_ss()->thread_count(), 1);
  EXPECT_EQ(oxl_services_serial_df()->max_threads(), 1);
}

// A worker that calls the services again: each outer item adds [0, 100) through the inner form,
// whose item 50 fails, and runs a nested run_on_each_thread.
struct NestedRun {
  ItemService inner;
  std::atomic<int64_t> sum{0};
  std::atomic<int32_t> threads_seen{0};     // OR of (1 << thread) over nested workers
  std::atomic<int32_t> counts_reported{0};  // OR of the thread counts seen inside outer workers

  static int32_t Inner(int64_t i, int32_t thread, void*, void* context) {
    auto* run = static_cast<NestedRun*>(context);
    run->sum.fetch_add(i);
    run->threads_seen.fetch_or(1 << thread);
    return i == 50 ? -5 : 0;
  }

  static int32_t Team(int32_t thread, void*, int32_t thread_count, void* context) {
    auto* run = static_cast<NestedRun*>(context);
    run->threads_seen.fetch_or(1 << thread);
    run->counts_reported.fetch_or(thread_count);
    return 0;
  }

  static int32_t Outer(int64_t, int32_t, void*, void* context) {
    auto* run = static_cast<NestedRun*>(context);
    const SSThreadServices* ss = oxl_services_omp_ss();
    run->counts_reported.fetch_or(ss->thread_count() | oxl_services_omp_df()->max_threads() |
                                  oxl_vrs_serv_threader_get_num_threads_limit());
    const int32_t status = run->inner(100, kLimit, run, &Inner);
    return status != 0 ? status : ss->run_on_each_thread(kLimit, run, &Team);
  }
};

TEST(NestedCalls, WorkerCallingTheServicesRunsSeriallyOnItsThread) {
  LimitScope limit(kLimit);
  for (const ItemForm& outer : ItemForms()) {
    for (const ItemForm& inner : ItemForms()) {
      SCOPED_TRACE(testing::Message() << outer.name << " around " << inner.name);
      NestedRun run;
      run.inner = inner.run;
      EXPECT_EQ(outer.run(8, kLimit, &run, &NestedRun::Outer), -5);
      EXPECT_EQ(run.sum.load(), 8 * 4950);
      if (outer.parallel) {
        EXPECT_EQ(run.threads_seen.load(), 1) << "nested work left the worker's thread";
        EXPECT_EQ(run.counts_reported.load(), 1) << "nested call offered more than one thread";
      }
    }
  }
}

// With two threads, item 0 waits until items 1 to 31 have run. A static split would give those
// items to the waiting thread itself; handing items out one by one lets the free thread run them.
TEST(ItemServices, DynamicFormKeepsFreeThreadsBusy) {
  LimitScope limit(kLimit);
  std::atomic<int32_t> done{0};
  const int32_t status = oxl_services_omp_ss()->for_each_item_dynamic(
      64, 2, &done, [](int64_t item, int32_t, void*, void* context) -> int32_t {
        auto* done = static_cast<std::atomic<int32_t>*>(context);
        if (item != 0) {
          if (item < 32) done->fetch_add(1);
          return 0;
        }
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (done->load() < 31) {
          if (std::chrono::steady_clock::now() > deadline) return -1;
          std::this_thread::yield();
        }
        return 0;
      });
  EXPECT_EQ(status, 0);
}

// The limit changes on one thread while services run on others and their workers read it.
TEST(ThreadLimit, ChangesWhileServicesRun) {
  LimitScope limit(kLimit);
  std::atomic<bool> stop{false};
  std::thread changer([&] {
    for (int32_t i = 0; !stop.load(); ++i) oxl_services_set_num_threads(1 + i % kLimit);
  });
  std::atomic<uint32_t> seen{0};  // bit k: a worker saw a limit or team size of k
  for (int repeat = 0; repeat < 200; ++repeat) {
    oxl_services_omp_ss()->run_on_each_thread(
        8, &seen, [](int32_t, void*, int32_t thread_count, void* context) -> int32_t {
          auto* s = static_cast<std::atomic<uint32_t>*>(context);
          s->fetch_or((1u << oxl_services_get_num_threads()) | (1u << thread_count));
          return 0;
        });
  }
  stop.store(true);
  changer.join();
  constexpr uint32_t kAllowed = ((1u << (kLimit + 1)) - 1) & ~1u;
  EXPECT_NE(seen.load(), 0u);
  EXPECT_EQ(seen.load() & ~kAllowed, 0u);
}

constexpr uint32_t kMxcsrControl = ~oxl::platform::kMxcsrFlags & 0xFFFF;
std::atomic<uint32_t> g_pool_control[kLimit];

// The control word of each pooled OpenMP thread as the application's own regions find it. The
// region names globals only, so that no data goes through libgomp unseen by the thread sanitizer.
void ReadPoolControl() {
#pragma omp parallel num_threads(kLimit)
  g_pool_control[omp_get_thread_num()].store(oxl_dft_ps_get_mxcsr() & kMxcsrControl);
}

// Workers run under the caller's rounding and flush-to-zero control, whatever their own was; flags
// they raise come back to the caller; and the pooled threads get their own control word back.
TEST(FloatingPointControl, WorkersFollowTheCaller) {
  using oxl::platform::kMxcsrFlags;
  using oxl::platform::kMxcsrFtz;
  using oxl::platform::kMxcsrRounding;
  LimitScope limit(kLimit);
  const uint32_t saved = oxl_dft_ps_get_mxcsr() & ~kMxcsrFlags;
  ReadPoolControl();
  uint32_t pool_before[kLimit];
  for (int32_t t = 0; t < kLimit; ++t) pool_before[t] = g_pool_control[t].load();

  for (uint32_t mode :
       {saved | kMxcsrRounding | kMxcsrFtz, saved & ~(kMxcsrRounding | kMxcsrFtz)}) {
    oxl_dft_ps_set_mxcsr(mode);
    uint32_t seen[kLimit] = {};
    const int32_t status = oxl_services_omp_ss()->run_on_each_thread(
        kLimit, seen, [](int32_t thread, void*, int32_t, void* context) -> int32_t {
          static_cast<uint32_t*>(context)[thread] = oxl_dft_ps_get_mxcsr() & kMxcsrControl;
          if (thread == kLimit - 1) {
            volatile double zero = 0.0;
            volatile double inf = 1.0 / zero;
            (void)inf;
          }
          return 0;
        });
    const uint32_t after = oxl_dft_ps_get_mxcsr();
    oxl_dft_ps_set_mxcsr(saved);
    EXPECT_EQ(status, 0);
    for (uint32_t control : seen) EXPECT_EQ(control, mode & kMxcsrControl);
    EXPECT_EQ(after & 0x4, 0x4u) << "divide-by-zero flag raised by a worker";
    ReadPoolControl();
    for (int32_t t = 0; t < kLimit; ++t) EXPECT_EQ(g_pool_control[t].load(), pool_before[t]);
  }
}

}  // namespace
