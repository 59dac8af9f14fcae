// What the integer laws share: a buffered source of uniforms for the acceptance-rejection methods,
// the set-up chunks kept on the stream, and the tables of cumulative probabilities that the
// small-mean paths search.
#pragma once

#include <algorithm>
#include <array>
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

// Numbers for methods that take a varying count per output, drawn by `Fill(stream, count, out)`
// a block at a time. Each refill asks for what the outputs still to come are expected to need, at
// most a block, so that a short request does not throw away a block of draws. After a failed
// refill ok() is false and the buffer holds 0.5, and every caller's loop tests ok() before it
// goes round again.
template <class T, int32_t (*Fill)(StreamRecord*, int32_t, T*)>
class BlockSource {
 public:
  // `expected` is the count the whole request is expected to take.
  BlockSource(StreamRecord* s, int64_t expected) : s_(s), expected_(expected) {}

  T Next() {
    if (pos_ == size_) Refill();
    return buffer_[pos_++];
  }
  bool ok() const { return status_ >= 0; }
  int32_t status() const { return status_; }

  // For callers that take numbers a run at a time: what is left of the current block, refilled
  // first when nothing is (as Next would), and its count in *left; Skip(k) then takes k of them.
  const T* Window(int32_t* left) {
    if (pos_ == size_) Refill();
    *left = size_ - pos_;
    return buffer_ + pos_;
  }
  void Skip(int32_t k) { pos_ += k; }
  // The next number without taking it, where the current block still holds one: a refill would
  // draw from the stream before a caller that may not want the number knows it.
  bool Peek(T* value) const {
    if (pos_ == size_) return false;
    *value = buffer_[pos_];
    return true;
  }

 private:
  static constexpr int32_t kMinRefill = 16;
  void Refill() {
    size_ = static_cast<int32_t>(std::clamp<int64_t>(expected_, kMinRefill, kIntBlock));
    expected_ -= size_;
    pos_ = 0;
    const int32_t status = Fill(s_, size_, buffer_);
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

template <class T>
inline int32_t UnitUniforms(StreamRecord* s, int32_t n, T* r) {
  return Uniform(s, n, r, T(0), T(1));
}
// Uniforms on [0, 1).
template <class T>
using UniformSource = BlockSource<T, UnitUniforms<T>>;

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
  // A replacement goes through __vrsDeleteChunksById, which leaves the list at the last chunk it
  // keeps and so drops, unfreed, every chunk kept in front of that one: it is safe only where the
  // set-up is the stream's one chunk. Beside other chunks the set-up is made again in place.
  if (held && (!replace || __vrsGetNumChunks(s) > 1)) {
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
// finds its place. A guide of 256 starting points, the first k whose entry passes j / 256, puts
// the search one step or none from its end, so that its branch is nearly always predicted.
struct CdfTable {
  static constexpr int32_t kSize = 128;
  static constexpr int32_t kGuide = 256;
  double cdf[kSize];
  uint8_t guide[kGuide];
  int32_t last;   // index of the last entry
  bool complete;  // false when the law's tail does not fit: the table must not serve it

  // `ratio(k)` is P(k + 1) / P(k) in long double; `p0` is P(0); `top` the largest value the law
  // can take. The sums run in extended precision, so that each entry is the rounded exact value.
  template <class Ratio>
  void Fill(long double p0, int64_t top, const Ratio& ratio) {
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
    complete = k == top || 1.0L - sum <= 0x1p-60L;
    cdf[last] = 2.0;
    int32_t first = 0;
    for (int32_t j = 0; j < kGuide; ++j) {
      while (cdf[first] <= static_cast<double>(j) / kGuide) ++first;
      guide[j] = static_cast<uint8_t>(first);
    }
  }

  // u in [0, 1]; a generator whose largest output is 1 itself (MRG32K3A) lands in the last bucket.
  int32_t Search(double u) const {
    int32_t k = guide[std::min(static_cast<int32_t>(u * kGuide), kGuide - 1)];
    while (u >= cdf[k]) ++k;
    return k;
  }
};

// 1/k for the first steps of the walk below, so that its chain of dependent operations holds a
// multiplication where a division would take four times as long.
inline constexpr int32_t kInverses = 64;
inline constexpr auto kInverse = [] {
  std::array<double, kInverses> t{};
  for (int32_t k = 1; k < kInverses; ++k) t[k] = 1.0 / k;
  return t;
}();

// Poisson numbers of small mean by inversion from 0: the mass at 0 given, each next one by the
// ratio mu / (k + 1).
inline int32_t PoissonInversion(double mu, double p0, double u) {
  double p = p0;
  double sum = p0;
  int32_t k = 0;
  // The sum can stop short of 1 by rounding; the walk then ends where the mass has run out.
  while (u >= sum && p > 0) {
    ++k;
    p *= k < kInverses ? mu * kInverse[k] : mu / k;
    sum += p;
  }
  return k;
}

// The largest output, as a double.
inline constexpr double kIntTop = 2147483647.0;

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

// ln v <= bound, for v > 0: 1 - 1/v <= ln v <= v - 1 settle most cases without the logarithm.
inline bool LnAtMost(double v, double bound) {
  if (v - 1.0 <= bound) return true;
  if (1.0 - 1.0 / v > bound) return false;
  return __vrsdLn(v) <= bound;
}

// The hat of the triangle-parallelogram-exponential methods of Kachitvichyanukul and Schmeiser
// (BTPE for the binomial, PTPE for the Poisson law), over the pmf scaled to 1 at its mode m: a
// triangle of half-width p1 centred on xm = m + 1/2 (regions up to p1, accepted at once), two
// parallelograms of height c on it (up to p2), and exponential tails of rates laml and lamr from
// xl = xm - p1 and xr = xm + p1 (up to p3 and p4).
struct TpeHat {
  double m, xm, xl, xr, c, laml, lamr, p1, p2, p3, p4;
  double top;  // largest value the law can take
  // ln(f(y) / f(m)) for |y - m| <= kNear, where nearly all candidates that reach the test fall:
  // a lookup instead of two ln-factorials.
  static constexpr int32_t kNear = 256;
  double near[2 * kNear + 1];
  // Where the test ln v <= near[j] is settled without a logarithm: v <= below[j] passes it and
  // v >= above[j] fails it. They are e^near[j] less and more 2^-36 of itself, a margin far wider
  // than the errors of the logarithm and of LnAtMost's bounds, so that they decide as LnAtMost
  // would; between them LnAtMost decides. Bounds out of e's range leave the test to LnAtMost.
  double below[2 * kNear + 1];
  double above[2 * kNear + 1];

  template <class LogRatio>
  void Tabulate(const LogRatio& log_ratio) {
    for (int32_t j = -kNear; j <= kNear; ++j) {
      const double y = m + j;
      const double bound = y < 0 || y > top ? -INFINITY : log_ratio(y);
      near[j + kNear] = bound;
      below[j + kNear] = 0;
      above[j + kNear] = INFINITY;
      if (std::fabs(bound) < 700) {
        const long double e = std::exp(static_cast<long double>(bound));
        below[j + kNear] = static_cast<double>(e * (1 - 0x1p-36L));
        above[j + kNear] = static_cast<double>(e * (1 + 0x1p-36L));
      }
    }
  }

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

  // One candidate from u (the first uniform times p4) and v (the second): true with its value in
  // *y when it is accepted. `log_ratio(y)` is ln(f(y) / f(m)).
  template <class LogRatio>
  bool Attempt(double u, double v, const LogRatio& log_ratio, double* y_out) const {
    if (u <= p1) {
      *y_out = std::floor(xm - p1 * v + u);
      return true;
    }
    double y;
    if (u <= p2) {
      const double x = xl + (u - p1) / c;
      v = v * c + 1.0 - std::fabs(xm - x) / p1;
      if (v > 1.0) return false;
      y = std::floor(x);
    } else if (u <= p3) {
      if (v == 0) return false;
      y = std::floor(xl + __vrsdLn(v) / laml);
      v *= (u - p2) * laml;
    } else {
      if (v == 0) return false;
      y = std::floor(xr - __vrsdLn(v) / lamr);
      v *= (u - p3) * lamr;
    }
    if (y < 0 || y > top) return false;
    *y_out = y;
    const double offset = y - m;
    if (std::fabs(offset) > kNear) return LnAtMost(v, log_ratio(y));
    const int32_t j = static_cast<int32_t>(offset) + kNear;
    if (v <= below[j]) return true;
    if (v >= above[j]) return false;
    return LnAtMost(v, near[j]);
  }

  // One draw; -1 when the source failed.
  template <class LogRatio>
  double Draw(UniformSource<double>& src, const LogRatio& log_ratio) const {
    for (;;) {
      const double u = src.Next() * p4;
      const double v = src.Next();
      if (!src.ok()) return -1;
      double y;
      if (Attempt(u, v, log_ratio, &y)) return y;
    }
  }
};

// Attempt's verdicts on `pairs` candidates at once, vectorised, from the uniforms uv (u0, v0, u1,
// v1, ...): verdict[j] is 1 where candidate j is accepted, with its value in y[j]; 0 where it is
// rejected; 2 where only Attempt can tell (the exponential tails, the values off the table, and
// the tests that its bounds leave open). y[j] is 0 wherever verdict[j] is not 1. The arithmetic is
// Attempt's, so the values are its to the bit.
void TpeVerdicts(const TpeHat& hat, const double* uv, int32_t pairs, double* y, double* verdict);

// n draws from the hat into r, each accepted candidate y stored as value(y), from uniforms of s
// drawn a block at a time (`expected` is the count the request is expected to take). The
// candidates of a run of the source's block get their verdicts at once, a few more than the
// outputs still wanted; the walk over them takes the candidates in order up to the n-th
// acceptance, so the uniforms are used as Draw, one candidate after another, would use them.
template <class LogRatio, class Value>
int32_t DrawTpe(StreamRecord* s, int64_t expected, const TpeHat& hat, const LogRatio& log_ratio,
                int32_t n, int32_t* r, const Value& value) {
  constexpr int32_t kRun = 256;
  alignas(64) double y[kRun];
  alignas(64) double verdict[kRun];
  UniformSource<double> src(s, expected);
  int32_t filled = 0;
  while (filled < n) {
    int32_t left = 0;
    const double* uv = src.Window(&left);
    if (!src.ok()) return src.status();
    const int32_t pairs = std::min({left / 2, kRun, n - filled + 8});
    if (pairs == 0) {
      // A candidate across two blocks.
      const double across = hat.Draw(src, log_ratio);
      if (!src.ok()) return src.status();
      r[filled++] = value(across);
      continue;
    }
    TpeVerdicts(hat, uv, pairs, y, verdict);
    int32_t used = 0;
    while (used < pairs && filled < n) {
      const int32_t j = used++;
      if (verdict[j] == 2.0) {
        double open;
        if (hat.Attempt(uv[2 * j] * hat.p4, uv[2 * j + 1], log_ratio, &open)) {
          r[filled++] = value(open);
        }
      } else {
        // Written whatever the verdict (a rejection's y is 0), kept when accepted.
        r[filled] = value(y[j]);
        filled += static_cast<int32_t>(verdict[j]);
      }
    }
    src.Skip(2 * used);
  }
  return 0;
}

}  // namespace oxl::vrs::dist

namespace oxl::vrs::dist {

// exp in x87 extended precision, rounded once: set-ups take it from the one libm routine that no
// processor feature selects, so that tables are the same on every machine.
inline double ExpL(double x) { return static_cast<double>(std::exp(static_cast<long double>(x))); }

// A hat over a log-concave pmf scaled to 1 at its mode: a rectangle of height 1 over the values
// jl to jr, and beyond them exponential tails through the pmf at jl - 1 (jr + 1) whose rates are
// the pmf's log-slope there. Log-concavity makes the slopes grow in magnitude outwards, so the
// tails stay above the pmf. Where a tail would start within two values of the support's end, the
// rectangle runs to the end instead and that tail is empty.
struct RectHat {
  double lo, hi;  // the support
  double jl, jr;
  double lam_l, lam_r;
  double p1, p2, p3;

  // `log_ratio(y)` is ln(f(y) / f(mode)).
  template <class LogRatio>
  void Set(double mode, double half_width, double low, double high, const LogRatio& log_ratio) {
    lo = low;
    hi = high;
    jl = std::max(lo, std::floor(mode - half_width));
    jr = std::min(hi, std::ceil(mode + half_width));
    double area_l = 0;
    double area_r = 0;
    lam_l = jl - 2 >= lo ? log_ratio(jl - 1) - log_ratio(jl - 2) : 0;
    if (lam_l > 0) {
      area_l = ExpL(log_ratio(jl - 1) + lam_l) / lam_l;
    } else {
      jl = lo;
    }
    lam_r = jr + 2 <= hi ? log_ratio(jr + 1) - log_ratio(jr + 2) : 0;
    if (lam_r > 0) {
      area_r = ExpL(log_ratio(jr + 1) + lam_r) / lam_r;
    } else {
      jr = hi;
    }
    p1 = jr - jl + 1;
    p2 = p1 + area_l;
    p3 = p2 + area_r;
  }

  // One draw; -1 when the source failed.
  template <class LogRatio>
  double Draw(UniformSource<double>& src, const LogRatio& log_ratio) const {
    for (;;) {
      const double u = src.Next() * p3;
      const double v = src.Next();
      if (!src.ok()) return -1;
      double y;
      double ordinate;
      if (u < p1) {
        y = std::floor(jl + u);
        ordinate = v;
      } else {
        if (v == 0) continue;
        // The tail's abscissa from v, where the hat is v times its height at the start, and the
        // ordinate under it from u's place in the tail's share.
        if (u < p2) {
          y = std::floor(jl + __vrsdLn(v) / lam_l);
          ordinate = v * (u - p1) * lam_l;
        } else {
          y = std::floor(jr + 1 - __vrsdLn(v) / lam_r);
          ordinate = v * (u - p2) * lam_r;
        }
        if (y < lo || y > hi) continue;
      }
      if (LnAtMost(ordinate, log_ratio(y))) return y;
    }
  }
};

}  // namespace oxl::vrs::dist
