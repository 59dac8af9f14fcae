// Sizes of memory blocks worked out from callers' counts. A count comes from outside and may be
// anything; a product that wraps makes a small block that the work then overruns. Every block
// sized from a caller's count is sized through CheckedSize, and a size that does not fit is never
// handed to the allocator: AllocateChecked answers null for it, so that the caller reports it as
// the failed allocation it would be.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>

#include "oxl/platform.h"

namespace oxl::platform {

class CheckedSize {
 public:
  // A negative count is no size at all.
  constexpr CheckedSize(int64_t count)  // NOLINT(google-explicit-constructor): counts convert
      : value_(count < 0 ? 0 : static_cast<std::size_t>(count)), ok_(count >= 0) {}

  friend constexpr CheckedSize operator*(CheckedSize a, CheckedSize b) {
    CheckedSize r = a;
    r.ok_ = a.ok_ && b.ok_ && !__builtin_mul_overflow(a.value_, b.value_, &r.value_);
    return r;
  }
  friend constexpr CheckedSize operator+(CheckedSize a, CheckedSize b) {
    CheckedSize r = a;
    r.ok_ = a.ok_ && b.ok_ && !__builtin_add_overflow(a.value_, b.value_, &r.value_);
    return r;
  }

  // A whole count of `unit`s: a byte size divided by an element size, an element count by a
  // group.
  friend constexpr CheckedSize operator/(CheckedSize a, std::size_t unit) {
    CheckedSize r = a;
    r.value_ = a.value_ / unit;
    return r;
  }
  // The next multiple of `unit`, a power of two.
  constexpr CheckedSize RoundedUp(std::size_t unit) const {
    CheckedSize r = *this + static_cast<int64_t>(unit - 1);
    r.value_ &= ~(unit - 1);
    return r;
  }

  // Whether no step overflowed and the size stays within what one object may span (pointer
  // differences inside a block must be representable).
  constexpr bool ok() const {
    return ok_ && value_ <= static_cast<std::size_t>(std::numeric_limits<std::ptrdiff_t>::max());
  }
  constexpr std::size_t value() const { return value_; }

 private:
  std::size_t value_;
  bool ok_;
};

// Bytes of `count` elements of E.
template <class E>
constexpr CheckedSize BytesOf(CheckedSize count) {
  return count * static_cast<int64_t>(sizeof(E));
}

// A block of `bytes` from the library allocator, or null without asking it when the size
// overflowed.
inline void* AllocateChecked(CheckedSize bytes, int alignment) {
  return bytes.ok() ? oxl_serv_allocate(bytes.value(), alignment) : nullptr;
}

}  // namespace oxl::platform
