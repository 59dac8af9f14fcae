// What the integer laws share: a buffered source of uniforms for the acceptance-rejection methods,
// the set-up chunks kept on the stream, and the tables of cumulative probabilities that the
// small-mean paths search.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "numeric/helpers.h"
#include "oxl/platform.h"
#include "vrs/distributions/frame.h"

namespace oxl::vrs::dist {

// Outputs of the integer laws per block: 4 KiB of int32 and at most 8 KiB of uniforms on the stack.
inline constexpr int32_t kIntBlock = 1024;

// Uniforms on [0, 1) for methods that take a varying number per output. Each refill asks the
// generator for what the outputs still to come are expected to need, at most a block, so that a
// short request does not throw away a block of draws. After a failed refill ok() is false and
// the buffer holds 0.5, which every caller's loop tests before it goes round again.
template <class T>
class UniformSource {
 public:
  // `expected` is the number of uniforms the whole request is expected to take.
  UniformSource(StreamRecord* s, int64_t expected) : s_(s), expected_(expected) {}

  T Next() {
    if (pos_ == size_) Refill();
    return buffer_[pos_++];
  }
  bool ok() const { return status_ >= 0; }
  int32_t status() const { return status_; }

 private:
  static constexpr int32_t kMinRefill = 16;
  void Refill() {
    size_ = static_cast<int32_t>(std::clamp<int64_t>(expected_, kMinRefill, kIntBlock));
    expected_ -= size_;
    pos_ = 0;
    const int32_t status = Uniform(s_, size_, buffer_, T(0), T(1));
    if (status < 0) {
      status_ = status;
      std::fill(buffer_, buffer_ + size_, T(0.5));
    }
  }

  StreamRecord* s_;
  int64_t expected_;
  int32_t pos_ = 0;
  int32_t size_ = 0;
  int32_t status_ = 0;
  alignas(64) T buffer_[kIntBlock];
};

// The set-up of a law, held in chunk `Setup::kChunkId` of the stream and made again only when the
// parameters change. `Setup` is trivially copyable (the chunk is copied with the stream as bytes)
// and has a `Key` (the parameters, compared bytewise, so without padding) and `Prepare(key)`.
// With `replace` a changed key deletes the old chunk and adds a new one; otherwise the chunk is
// rewritten in place. Returns the set-up, or null with *status set.
template <class Setup>
Setup* SetUp(StreamRecord* s, const typename Setup::Key& key, bool replace, int32_t* status) {
  static_assert(std::is_trivially_copyable_v<Setup>);
  auto* held = static_cast<Setup*>(__vrsSearchChunk(s, Setup::kChunkId));
  if (held && std::memcmp(&held->key, &key, sizeof key) == 0) return held;
  if (held && !replace) {
    held->Prepare(key);
    return held;
  }
  if (held) __vrsDeleteChunksById(s, Setup::kChunkId);
  held = static_cast<Setup*>(oxl_serv_allocate(sizeof(Setup), 128));
  if (!held) {
    *status = StatusNoMemory;
    return nullptr;
  }
  held->Prepare(key);
  const int32_t added = __vrsAddChunk(s, Setup::kChunkId, nullptr, held, sizeof(Setup));
  if (added != 0) {
    oxl_serv_deallocate(held);
    *status = added;
    return nullptr;
  }
  return held;
}

// Cumulative probabilities of a law of small mean from k = 0, searched by inversion. The table
// ends where the upper tail falls below the double's resolution (the means served stay below 30,
// so 128 entries leave a tail under 1e-30); its last entry is raised past 1 so that every uniform
// finds its place.
struct CdfTable {
  static constexpr int32_t kSize = 128;
  double cdf[kSize];
  int32_t last;   // index of the last entry
  int32_t start;  // where a search starts: the mode, so that the walk is short either way

  // `ratio(k)` is P(k + 1) / P(k) in long double; `p0` is P(0); `top` the largest value the law
  // can take.
  // The sums run in extended precision, so that each entry is the rounded exact value.
  template <class Ratio>
  void Fill(long double p0, int64_t top, const Ratio& ratio, double mean) {
    long double p = p0;
    long double sum = p0;
    int32_t k = 0;
    cdf[0] = static_cast<double>(sum);
    while (k + 1 < kSize && k < top && 1.0L - sum > 0x1p-60L) {
      p *= ratio(k);
      sum += p;
      cdf[++k] = static_cast<double>(sum);
    }
    last = k;
    cdf[last] = 2.0;
    start = std::min(static_cast<int32_t>(mean), last);
  }

  int32_t Search(double u) const {
    int32_t k = start;
    if (u < cdf[k]) {
      while (k > 0 && u < cdf[k - 1]) --k;
    } else {
      while (u >= cdf[k]) ++k;
    }
    return k;
  }
};

// Largest float below 2^31: a float output clamped to it converts to int32 without overflow.
inline constexpr float kIntCeilingS = 2147483520.0f;

// Draws uniforms on [0, 1) a block at a time and has transform(m, block, r) write m outputs.
template <class T, class Transform>
int32_t UniformBlocks(StreamRecord* s, int32_t n, int32_t* r, const Transform& transform) {
  alignas(64) T block[kIntBlock];
  int32_t status = 0;
  for (int32_t done = 0; done < n; done += kIntBlock) {
    const int32_t m = std::min(kIntBlock, n - done);
    status = Uniform(s, m, block, T(0), T(1));
    if (status < 0) return status;
    transform(m, block, r + done);
  }
  return status;
}

// The hat of the triangle-parallelogram-exponential methods of Kachitvichyanukul and Schmeiser
// (BTPE for the binomial, PTPE for the Poisson law), over the pmf scaled to 1 at its mode m: a
// triangle of half-width p1 centred on xm = m + 1/2 (regions up to p1, accepted at once), two
// parallelograms of height c on it (up to p2), and exponential tails of rates laml and lamr from
// xl = xm - p1 and xr = xm + p1 (up to p3 and p4).
struct TpeHat {
  double m, xm, xl, xr, c, laml, lamr, p1, p2, p3, p4;
  double top;  // largest value the law can take

  // fm is the real mode's place and q the complement of the success probability (1 for Poisson):
  // the tails' rates are the first two terms of the pmf's log-slope at xl and xr.
  void Set(double mode, double fm, double q, double half_width, double height) {
    m = mode;
    p1 = half_width;
    c = height;
    xm = m + 0.5;
    xl = xm - p1;
    xr = xm + p1;
    const double al = (fm - xl) / (fm - xl * (1.0 - q));
    laml = al * (1.0 + 0.5 * al);
    const double ar = (xr - fm) / (xr * q);
    lamr = ar * (1.0 + 0.5 * ar);
    p2 = p1 * (1.0 + 2.0 * c);
    p3 = p2 + c / laml;
    p4 = p3 + c / lamr;
  }

  // One draw; `log_ratio(y)` is ln(f(y) / f(m)). Returns -1 when the source failed.
  template <class LogRatio>
  double Draw(UniformSource<double>& src, const LogRatio& log_ratio) const {
    for (;;) {
      const double u = src.Next() * p4;
      double v = src.Next();
      if (!src.ok()) return -1;
      if (u <= p1) return std::floor(xm - p1 * v + u);
      double y;
      if (u <= p2) {
        const double x = xl + (u - p1) / c;
        v = v * c + 1.0 - std::fabs(xm - x) / p1;
        if (v > 1.0) continue;
        y = std::floor(x);
      } else if (u <= p3) {
        if (v == 0) continue;
        y = std::floor(xl + __vrsdLn(v) / laml);
        v *= (u - p2) * laml;
      } else {
        if (v == 0) continue;
        y = std::floor(xr - __vrsdLn(v) / lamr);
        v *= (u - p3) * lamr;
      }
      if (y < 0 || y > top) continue;
      if (__vrsdLn(v) <= log_ratio(y)) return y;
    }
  }
};

}  // namespace oxl::vrs::dist
