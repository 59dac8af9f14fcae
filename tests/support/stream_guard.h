// A stream for the life of a test scope, created through __vrsNewStreamEx (or copied) and
// deleted at the end, with the words of its generator drawn through the registry row, checked not
// to run past the request.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "oxl/vrs.h"
#include "vrs/streams/stream_record.h"

namespace oxl::test {

struct StreamGuard {
  StreamRecord* s = nullptr;
  StreamGuard(int32_t id, const std::vector<uint32_t>& seed) {
    EXPECT_EQ(__vrsNewStreamEx(&s, id, static_cast<int32_t>(seed.size()), seed.data()), 0);
  }
  StreamGuard(const StreamGuard& other) { EXPECT_EQ(__vrsCopyStream(&s, other.s), 0); }
  StreamGuard& operator=(const StreamGuard&) = delete;
  ~StreamGuard() { __vrsDeleteStream(&s); }

  std::vector<uint32_t> Words(int32_t n) {
    std::vector<uint32_t> r(static_cast<size_t>(n) + 1, 0xDEADBEEF);
    EXPECT_EQ(vrs::RowOf(s).iBRng(s, n, r.data()), 0);
    EXPECT_EQ(r.back(), 0xDEADBEEF) << "wrote past the end";
    r.pop_back();
    return r;
  }
  // The words of one request made as several calls of the given lengths.
  std::vector<uint32_t> Split(const std::vector<int32_t>& parts) {
    std::vector<uint32_t> all;
    for (int32_t p : parts) {
      const auto w = Words(p);
      all.insert(all.end(), w.begin(), w.end());
    }
    return all;
  }
};

}  // namespace oxl::test
