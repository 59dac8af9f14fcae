#include "support/failing_allocator.h"

#include <atomic>
#include <cstddef>

#include "platform/memory.h"

namespace oxl::test {
namespace {

struct State {
  std::atomic<int64_t> count{0};
  std::atomic<int64_t> live{0};
  int64_t fail_at = 0;
};

State g_state;

void* Allocate(std::size_t size, std::size_t alignment, void* s) {
  auto* state = static_cast<State*>(s);
  const int64_t n = ++state->count;
  if (n == state->fail_at) return nullptr;
  void* p = platform::SystemAllocate(size, alignment);
  if (p != nullptr) ++state->live;
  return p;
}

void Deallocate(void* p, void* s) {
  --static_cast<State*>(s)->live;
  platform::SystemDeallocate(p);
}

const platform::AllocatorHooks kHooks{&Allocate, &Deallocate, &g_state};

}  // namespace

AllocationScope::AllocationScope(int64_t fail_at) {
  g_state.count = 0;
  g_state.live = 0;
  g_state.fail_at = fail_at;
  platform::SetAllocatorHooks(&kHooks);
}

AllocationScope::~AllocationScope() { platform::SetAllocatorHooks(nullptr); }

int64_t AllocationScope::allocations() const { return g_state.count.load(); }
int64_t AllocationScope::live() const { return g_state.live.load(); }

}  // namespace oxl::test
