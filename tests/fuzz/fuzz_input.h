// The fuzzers' input read as a stream of choices; past its end every choice is 0.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>

namespace oxl::fuzz {

class Input {
 public:
  Input(const uint8_t* data, size_t size) : data_(data), size_(size) {}
  bool empty() const { return at_ >= size_; }
  uint8_t Byte() { return at_ < size_ ? data_[at_++] : 0; }
  int64_t Wide() {
    uint64_t v = 0;
    for (int k = 0; k < 8; ++k) v = (v << 8) | Byte();
    return static_cast<int64_t>(v);
  }
  // An integer as an attacker would pick it: small (a choice below `small`), one of the target's
  // `edges` (below `edge`), or any 64 bits.
  int64_t Value(std::span<const int64_t> edges, uint8_t small = 128, uint8_t edge = 224) {
    const uint8_t kind = Byte();
    if (kind < small) return static_cast<int8_t>(Byte());
    if (kind < edge) return edges[Byte() % edges.size()];
    return Wide();
  }
  // A real: a small multiple of `step` (a choice below `plain`), or a special value.
  double Real(uint8_t plain, double step) {
    static constexpr double kSpecial[] = {0.0,
                                          -0.0,
                                          1e300,
                                          -1e300,
                                          4.9e-324,
                                          std::numeric_limits<double>::infinity(),
                                          -std::numeric_limits<double>::infinity(),
                                          std::numeric_limits<double>::quiet_NaN()};
    const uint8_t kind = Byte();
    if (kind < plain) return static_cast<int8_t>(Byte()) * step;
    return kSpecial[Byte() % 8];
  }

 private:
  const uint8_t* data_;
  size_t size_;
  size_t at_ = 0;
};

}  // namespace oxl::fuzz
