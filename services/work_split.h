// How a team divides items: contiguous ranges, and the clamping of requested thread counts.
#pragma once

#include <algorithm>
#include <cstdint>

namespace oxl::services {

struct ItemRange {
  int64_t begin;
  int64_t end;
};

// The part-th of `parts` contiguous ranges that cover [0, count) in order. The first count % parts
// ranges hold one item more than the others, so sizes differ by at most one and, with more parts
// than items, the parts past the last item are empty.
constexpr ItemRange ContiguousRange(int64_t count, int32_t parts, int32_t part) {
  const int64_t base = count / parts;
  const int64_t extra = count % parts;
  const int64_t begin = part * base + std::min<int64_t>(part, extra);
  return {begin, begin + base + (part < extra ? 1 : 0)};
}

// A requested thread count brought into [1, available].
constexpr int32_t ClampThreads(int32_t requested, int32_t available) {
  return std::clamp(requested, int32_t{1}, std::max(available, int32_t{1}));
}

// Threads worth starting for `count` items: a thread beyond the item count would get nothing.
constexpr int32_t ThreadsForItems(int32_t requested, int32_t available, int64_t count) {
  return static_cast<int32_t>(std::min<int64_t>(ClampThreads(requested, available), count));
}

}  // namespace oxl::services
