// Thread services that run every work item (or every thread's worker) on the calling thread, the
// last first, so that a split and its merge are tested without real threads and in an order no
// real pool would favour. They report `threads` threads and count their calls.
#pragma once

#include <cstdint>

#include "oxl/threading.h"

namespace oxl::test {

struct FakeThreads {
  static inline int32_t threads = 8;
  static inline int64_t calls = 0;

  static int32_t Count() { return threads; }
  static int32_t RunItems(int64_t items, int32_t thread_count, void* context,
                          oxl_item_worker worker) {
    ++calls;
    int32_t status = 0;
    for (int64_t i = items - 1; i >= 0; --i) {
      const int32_t s = worker(i, static_cast<int32_t>(i % thread_count), nullptr, context);
      if (s != 0) status = s;
    }
    return status;
  }
  static int32_t RunThreads(int32_t count, void* context, oxl_thread_worker worker) {
    ++calls;
    int32_t status = 0;
    for (int32_t t = count - 1; t >= 0; --t) {
      const int32_t s = worker(t, nullptr, count, context);
      if (s != 0) status = s;
    }
    return status;
  }

  // The data fitting table.
  static const thread_services* Table() {
    static const thread_services table{&RunItems, nullptr, nullptr, nullptr, &Count};
    return &table;
  }
  // The statistics table, reporting `count` threads, its call count cleared.
  static const SSThreadServices* StatsTable(int32_t count) {
    static const SSThreadServices table{&RunItems, nullptr, &RunThreads, nullptr, &Count};
    threads = count;
    calls = 0;
    return &table;
  }
};

}  // namespace oxl::test
