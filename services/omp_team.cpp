#include <omp.h>

#include <atomic>
#include <cstdint>

#include "platform/fp_control.h"
#include "team.h"

namespace oxl::services {
namespace {

using platform::kMxcsrFlags;
using platform::ReadMxcsr;
using platform::WriteMxcsr;

// One parallel run, on the caller's stack.
//
// libgomp hands work to its pooled threads through futexes that the thread sanitizer cannot see.
// The orderings that matter are therefore also stated with atomics in instrumented code: `opened`
// (caller's writes before the run, workers' reads after), `finished` (workers' writes before it,
// the caller's reads after the join). They cost two atomic operations per thread per run.
struct Job {
  ShareFn share;
  void* arg;
  uint32_t caller_mxcsr;
  std::atomic<uint32_t> raised_flags{0};
  std::atomic<int32_t> opened{0};
  std::atomic<int32_t> finished{0};
};

// Everything a thread of the team does. Kept out of line so that it stays instrumented when Fork,
// below, is not.
[[gnu::noinline]] void RunShare(Job& job, int32_t thread, int32_t team_size) {
  (void)job.opened.load(std::memory_order_acquire);
  const uint32_t own_mxcsr = ReadMxcsr();
  WriteMxcsr(job.caller_mxcsr & ~kMxcsrFlags);
  job.share(job.arg, thread, team_size);
  job.raised_flags.fetch_or(ReadMxcsr() & kMxcsrFlags, std::memory_order_relaxed);
  WriteMxcsr(own_mxcsr);
  job.finished.fetch_add(1, std::memory_order_release);
}

// The parallel region alone. GCC passes `job` to the outlined region through a block that libgomp
// hands over unseen by the sanitizer; leaving this function uninstrumented keeps that hand-over out
// of its reports, while RunShare and everything it calls are still checked.
__attribute__((no_sanitize("thread"))) void Fork(Job& job, int32_t threads) {
#pragma omp parallel num_threads(threads)
  RunShare(job, omp_get_thread_num(), omp_get_num_threads());
}

}  // namespace

void RunOmpTeam(int32_t threads, ShareFn share, void* arg) {
  Job job{share, arg, ReadMxcsr()};
  job.opened.store(1, std::memory_order_release);
  Fork(job, threads);
  (void)job.finished.load(std::memory_order_acquire);
  WriteMxcsr(ReadMxcsr() | job.raised_flags.load(std::memory_order_relaxed));
}

}  // namespace oxl::services
