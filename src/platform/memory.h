// Allocation behind oxl_serv_allocate, with a hook so that tests can make any allocation fail.
#pragma once

#include <cstddef>

namespace oxl::platform {

struct AllocatorHooks {
  void* (*allocate)(std::size_t size, std::size_t alignment, void* state);
  void (*deallocate)(void* ptr, void* state);
  void* state;
};

// Routes every allocation of the library through `hooks` (nullptr restores the system allocator)
// and returns the hooks in place before. Memory must go back through the hooks that gave it.
const AllocatorHooks* SetAllocatorHooks(const AllocatorHooks* hooks);

// The system allocator, for hooks that wrap it.
void* SystemAllocate(std::size_t size, std::size_t alignment);
void SystemDeallocate(void* ptr);

}  // namespace oxl::platform
