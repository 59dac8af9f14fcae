// Floating-point control for the vector kernels. Kernels run under round-to-nearest with flush to
// zero and denormals-are-zero as the thread's mode asks; the caller's control word comes back on
// exit, and with it the caller's own sticky flags whenever a change was needed.
#pragma once

#include <cstdint>

namespace oxl::platform {

// MXCSR bits.
inline constexpr uint32_t kMxcsrFtz = 0x8000;
inline constexpr uint32_t kMxcsrDaz = 0x0040;
inline constexpr uint32_t kMxcsrRounding = 0x6000;
inline constexpr uint32_t kMxcsrFlags = 0x003F;

inline uint32_t ReadMxcsr() {
  uint32_t v;
  __asm__ volatile("stmxcsr %0" : "=m"(v) : : "memory");
  return v;
}

inline void WriteMxcsr(uint32_t v) { __asm__ volatile("ldmxcsr %0" : : "m"(v) : "memory"); }

// Sets round-to-nearest and the wanted FTZ/DAZ bits (0 or kMxcsrFtz | kMxcsrDaz) for its lifetime.
// Exception masks and sticky flags are not touched on entry. If nothing had to change, nothing is
// written back, so flags raised inside stay visible to the caller.
class MxcsrScope {
 public:
  explicit MxcsrScope(uint32_t wanted_ftz_daz) : saved_(ReadMxcsr()) {
    constexpr uint32_t kControl = kMxcsrFtz | kMxcsrRounding | kMxcsrDaz;
    changed_ = (saved_ & kControl) != wanted_ftz_daz;
    if (changed_) WriteMxcsr((saved_ & ~kControl) | wanted_ftz_daz);
  }
  ~MxcsrScope() {
    if (changed_) WriteMxcsr(saved_);
  }
  MxcsrScope(const MxcsrScope&) = delete;
  MxcsrScope& operator=(const MxcsrScope&) = delete;

  bool changed() const { return changed_; }

 private:
  uint32_t saved_;
  bool changed_;
};

}  // namespace oxl::platform
