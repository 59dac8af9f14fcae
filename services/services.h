// The thread services, written once over a team (team.h). Every item or thread runs whatever the
// others return; the status is that of the lowest-numbered failure.
#pragma once

#include <atomic>
#include <cstdint>

#include "lowest_failure.h"
#include "oxl/threading.h"
#include "team.h"
#include "work_split.h"

namespace oxl::services {

// visit(item, thread, team_size) for every item in [0, count), thread t of the team taking the t-th
// contiguous range in ascending order.
template <class Team, class Visit>
void VisitContiguous(int64_t count, int32_t threads, Visit visit) {
  if (count <= 0) return;
  auto share = [&](int32_t thread, int32_t team_size) {
    const ItemRange range = ContiguousRange(count, team_size, thread);
    for (int64_t item = range.begin; item < range.end; ++item) visit(item, thread, team_size);
  };
  Team::Run(ThreadsForItems(threads, Team::Available(), count), share);
}

template <class Team>
int32_t ForEachItem(int64_t count, int32_t threads, void* context, oxl_item_worker worker) {
  if (worker == nullptr) return 0;
  LowestFailure failure;
  VisitContiguous<Team>(count, threads, [&](int64_t item, int32_t thread, int32_t) {
    if (const int32_t status = worker(item, thread, nullptr, context)) failure.Record(item, status);
  });
  return failure.status();
}

// Items go out one at a time from a shared counter to whichever thread asks next.
template <class Team>
int32_t ForEachItemDynamic(int64_t count, int32_t threads, void* context, oxl_item_worker worker) {
  if (count <= 0 || worker == nullptr) return 0;
  LowestFailure failure;
  std::atomic<int64_t> next_item{0};
  auto share = [&](int32_t thread, int32_t) {
    for (int64_t item = next_item.fetch_add(1, std::memory_order_relaxed); item < count;
         item = next_item.fetch_add(1, std::memory_order_relaxed)) {
      if (const int32_t status = worker(item, thread, nullptr, context)) {
        failure.Record(item, status);
      }
    }
  };
  Team::Run(ThreadsForItems(threads, Team::Available(), count), share);
  return failure.status();
}

template <class Team>
int32_t RunOnEachThread(int32_t threads, void* context, oxl_thread_worker worker) {
  if (worker == nullptr) return 0;
  LowestFailure failure;
  auto share = [&](int32_t thread, int32_t team_size) {
    if (const int32_t status = worker(thread, nullptr, team_size, context)) {
      failure.Record(thread, status);
    }
  };
  Team::Run(ClampThreads(threads, Team::Available()), share);
  return failure.status();
}

template <class Team>
int32_t ThreadCount() {
  return Team::Available();
}

}  // namespace oxl::services
