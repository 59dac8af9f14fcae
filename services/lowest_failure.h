// The status a service returns: that of the lowest-numbered item (or thread) whose worker failed,
// so that the answer does not depend on which thread got there first.
#pragma once

#include <atomic>
#include <cstdint>
#include <limits>
#include <thread>

namespace oxl::services {

class LowestFailure {
 public:
  // Safe to call from any worker of the team. Failures are rare, so a short spin lock serves; it
  // is held for two stores and, unlike std::mutex, cannot throw.
  void Record(int64_t number, int32_t status) noexcept {
    while (busy_.test_and_set(std::memory_order_acquire)) std::this_thread::yield();
    if (number < number_) {
      number_ = number;
      status_ = status;
    }
    busy_.clear(std::memory_order_release);
  }

  // Read after the team has joined; 0 when nothing failed.
  int32_t status() const noexcept { return status_; }

 private:
  std::atomic_flag busy_;
  int64_t number_ = std::numeric_limits<int64_t>::max();
  int32_t status_ = 0;
};

}  // namespace oxl::services
