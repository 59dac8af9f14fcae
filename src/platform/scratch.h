// Work memory of a call: a block of `count` elements from the library allocator, or from a fixed
// buffer in the caller's frame when it fits, given back on every way out. Sizes come from callers'
// counts, so they are checked: a count whose size overflows gets no block (get() is null, as
// after a failed allocation), and nothing is asked of the allocator for it.
#pragma once

#include <cstddef>

#include "oxl/platform.h"
#include "platform/checked_size.h"

namespace oxl::platform {

// Blocks start on 128-byte boundaries: a line pair of their own, so that parts handed to
// different threads share no cache line at the start.
inline constexpr std::size_t kScratchAlignment = 128;

template <class E, std::size_t kInline = 0>
class Scratch {
 public:
  Scratch() = default;
  explicit Scratch(CheckedSize count) { Reset(count); }
  ~Scratch() { Release(); }
  Scratch(const Scratch&) = delete;
  Scratch& operator=(const Scratch&) = delete;

  // A new block of `count` elements in place of the old one; false when there is none.
  bool Reset(CheckedSize count) {
    Release();
    if (count.ok() && count.value() <= kInline) {
      data_ = inline_;
    } else {
      heap_ =
          static_cast<E*>(AllocateChecked(BytesOf<E>(count), static_cast<int>(kScratchAlignment)));
      data_ = heap_;
    }
    return data_ != nullptr;
  }
  E* get() const { return data_; }
  bool allocated() const { return heap_ != nullptr; }

 private:
  void Release() {
    if (heap_ != nullptr) oxl_serv_deallocate(heap_);
    heap_ = data_ = nullptr;
  }

  alignas(64) E inline_[kInline == 0 ? 1 : kInline];
  E* heap_ = nullptr;
  E* data_ = nullptr;
};

}  // namespace oxl::platform
