#include "platform/memory.h"

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>

#include <sys/mman.h>

#include "oxl/platform.h"

namespace oxl::platform {
namespace {

std::atomic<const AllocatorHooks*> g_hooks{nullptr};

std::size_t NormalizedAlignment(int alignment) {
  std::size_t a = sizeof(void*);
  while (alignment > 0 && a < static_cast<std::size_t>(alignment)) a <<= 1;
  return a;
}

}  // namespace

const AllocatorHooks* SetAllocatorHooks(const AllocatorHooks* hooks) {
  return g_hooks.exchange(hooks);
}

// Blocks from this size on are workspaces of large problems (a spline of 10^6 knots asks for
// 80 MB). Fresh from the system, such a block costs a page fault per 4 KiB page on first touch,
// which can take as long as the work done in it; on 2 MiB pages the faults all but vanish.
constexpr std::size_t kHugeBlock = std::size_t{8} << 20;
constexpr std::size_t kHugePage = std::size_t{2} << 20;

void* SystemAllocate(std::size_t size, std::size_t alignment) {
  void* p = nullptr;
  if (size >= kHugeBlock && alignment <= kHugePage) {
    if (posix_memalign(&p, kHugePage, size) != 0) return nullptr;
    // Only advice: where the system has no huge pages to give, the block stays as it is.
    (void)madvise(p, size & ~(kHugePage - 1), MADV_HUGEPAGE);
    return p;
  }
  // A zero size still yields a distinct block, so that callers can treat every success alike.
  if (posix_memalign(&p, alignment, size == 0 ? 1 : size) != 0) return nullptr;
  return p;
}

void SystemDeallocate(void* ptr) { std::free(ptr); }

}  // namespace oxl::platform

using oxl::platform::g_hooks;

extern "C" {

OXL_API void* oxl_serv_allocate(size_t size, int alignment) {
  const std::size_t a = oxl::platform::NormalizedAlignment(alignment);
  if (const auto* h = g_hooks.load(std::memory_order_acquire)) return h->allocate(size, a, h->state);
  return oxl::platform::SystemAllocate(size, a);
}

OXL_API void oxl_serv_deallocate(void* ptr) {
  if (ptr == nullptr) return;
  if (const auto* h = g_hooks.load(std::memory_order_acquire)) {
    h->deallocate(ptr, h->state);
    return;
  }
  oxl::platform::SystemDeallocate(ptr);
}

OXL_API int oxl_serv_memcpy_s(void* dest, size_t dest_size, const void* src, size_t count) {
  if (dest == nullptr) return EINVAL;
  if (src == nullptr) {
    std::memset(dest, 0, dest_size);
    return EINVAL;
  }
  if (count > dest_size) {
    std::memset(dest, 0, dest_size);
    return ERANGE;
  }
  std::memmove(dest, src, count);
  return 0;
}

}  // extern "C"
