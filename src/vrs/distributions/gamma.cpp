// Gamma(alpha) with displacement a and scale beta, by the shape:
//   alpha > 1        Marsaglia and Tsang's squeeze (ACM TOMS 26, 2000) on Box-Muller normals;
//   alpha = 1        the Exponential law;
//   0.6 <= alpha < 1 rejection from a Weibull(alpha) envelope;
//   alpha < 0.6      Gamma(alpha + 1) U^(1/alpha) (Stuart's theorem), formed in the log domain so
//                    that a tiny alpha goes to 0 only where the value itself is below the range.
// Each rejection method draws its candidates in rounds (rejection.h); a candidate takes its
// uniforms in a fixed pattern, and a Box-Muller pair's second normal, when a round ends between
// the two, is held on the stream (chunk 7 for double, 8 for float), so a request split into calls
// gives the numbers of one call. A round packs its survivors in its own block and scales and
// displaces them on the way to the result, while they are in the first cache level.
#include <bit>
#include <cmath>
#include <cstdint>

#include "numeric/helpers.h"
#include "vrs/distributions/rejection.h"

using namespace oxl::vrs::dist;

namespace {

template <class T>
constexpr uint32_t kSpareChunk = sizeof(T) == 8 ? 7 : 8;

template <class T>
constexpr T kTwoPi = T(6.283185307179586);

// 0.0331 of the squeeze 1 - 0.0331 x^4, below the exact acceptance bound for every shape.
constexpr double kSqueeze = std::bit_cast<double>(uint64_t{0x3FA0F27BB2FEC56D});

// The constants of the method for a shape above 1: d = alpha - 1/3 and c = 1 / sqrt(9 d).
template <class T>
struct Squeeze {
  T d;
  T c;
  explicit Squeeze(T alpha)
      : d(alpha - T(1) / T(3)), c(T(1) / static_cast<T>(__vrsdSqrt(T(9) * alpha - T(3)))) {}
};

// A round's candidates: a normal each and kWidth uniforms.
template <class T, int kWidth>
struct Candidates {
  alignas(64) T normal[kRound];
  alignas(64) T uniform[kWidth][kRound];
};

// Draws m candidates. The uniforms of a Box-Muller pair come as its radius and angle uniforms,
// then the kWidth uniforms of the candidate on its sine, then those of the candidate on its
// cosine. When the candidates run out between the two, the round stops after the sine candidate's
// uniforms and holds {radius, cosine} in `held`; the held normal makes the first candidate of the
// next round, of this call or a later one, whose uniforms then come first.
template <class T, int kWidth>
int32_t DrawCandidates(StreamRecord* s, int32_t m, T* held, Candidates<T, kWidth>& c) {
  constexpr int32_t kStride = 2 + 2 * kWidth;
  const int32_t from_held = held[0] >= T(0) ? 1 : 0;
  const int32_t pairs = (m - from_held + 1) / 2;
  alignas(64) T u[kRound * (kWidth + 1)];
  const int32_t status = Uniform(s, m * kWidth + 2 * pairs, u, T(0), T(1));
  if (status < 0) return status;

  alignas(64) T radius[kRound / 2];
  alignas(64) T angle[kRound / 2];
  alignas(64) T sine[kRound / 2];
  alignas(64) T cosine[kRound / 2];
  const T* first_pair = u + from_held * kWidth;
  for (int32_t i = 0; i < pairs; ++i) {
    radius[i] = first_pair[i * kStride];
    angle[i] = first_pair[i * kStride + 1] * kTwoPi<T>;
  }
  Vm<T>::SinCos(pairs, angle, sine, cosine);
  // sqrt(-2 ln u): the doubling an addition, the negation a flip of the sign bit.
  Vm<T>::Ln(pairs, radius);
  for (int32_t i = 0; i < pairs; ++i) radius[i] = -(radius[i] + radius[i]);
  Vm<T>::Sqrt(pairs, radius);

  int32_t j = 0;
  const auto take = [&](T normal, const T* its) {
    c.normal[j] = normal;
    for (int w = 0; w < kWidth; ++w) c.uniform[w][j] = its[w];
    ++j;
  };
  if (from_held) {
    take(held[0] * held[1], u);
    held[0] = T(-1);
  }
  for (int32_t i = 0; i < pairs; ++i) {
    const T* its = first_pair + i * kStride + 2;
    take(radius[i] * sine[i], its);
    if (j < m) {
      take(radius[i] * cosine[i], its + kWidth);
    } else {
      held[0] = radius[i];
      held[1] = cosine[i];
    }
  }
  return status;
}

// The cubes v of m candidates (normal x[j], uniform u[j]), whose Gamma value is d v, and whether
// each is kept: when
// t = 1 + c x is positive, v = t^3, and u < 1 - 0.0331 x^4 (the squeeze) or
// ln u < x^2 / 2 + d - d v + d ln v (the exact test). The squeeze settles all but a few in a
// hundred; those few are packed, and their logarithms run as one kernel call: cheaper than a
// scalar logarithm and a mispredicted branch each.
template <class T>
void Verdicts(const Squeeze<T>& k, int32_t m, const T* x, const T* u, T* cube, bool* kept) {
  alignas(64) int32_t exact[kRound];
  int32_t f = 0;
  for (int32_t j = 0; j < m; ++j) {
    const T t = T(1) + k.c * x[j];
    const T x2 = x[j] * x[j];
    const bool squeezed = u[j] < T(1) - T(kSqueeze) * (x2 * x2);
    cube[j] = t * t * t;
    kept[j] = (t > T(0)) & squeezed;
    exact[f] = j;
    f += (t > T(0)) & !squeezed ? 1 : 0;
  }
  // Rows of f: u, then v.
  alignas(64) T logs[2 * kRound];
  for (int32_t i = 0; i < f; ++i) {
    logs[i] = u[exact[i]];
    logs[f + i] = cube[exact[i]];
  }
  Vm<T>::Ln(2 * f, logs);
  for (int32_t i = 0; i < f; ++i) {
    const int32_t j = exact[i];
    const T x2 = x[j] * x[j];
    kept[j] = logs[i] < T(0.5) * x2 + k.d - k.d * cube[j] + k.d * logs[f + i];
  }
}

// Shape above 1.
template <class T>
int32_t Squeezed(StreamRecord* s, int32_t n, T* r, T alpha, T a, T beta, T* held) {
  const Squeeze<T> k(alpha);
  return Accepted(n, r, [&](int32_t m, T* out, int32_t& status) {
    Candidates<T, 1> c;
    status = DrawCandidates(s, m, held, c);
    if (status < 0) return 0;
    alignas(64) T g[kRound];
    bool verdict[kRound];
    Verdicts(k, m, c.normal, c.uniform[0], g, verdict);
    int32_t kept = 0;
    for (int32_t j = 0; j < m; ++j) Keep(g, kept, k.d * g[j], verdict[j]);
    PassesFor<T>().affine_copy(out, g, kept, beta, a);
    return kept;
  });
}

// Shape below 0.6: exp(ln G + ln(U) / alpha), G of shape alpha + 1 by the squeeze, U the
// candidate's second uniform (drawn also for the rejected ones, to keep the pattern fixed).
template <class T>
int32_t Boosted(StreamRecord* s, int32_t n, T* r, T alpha, T a, T beta, T* held) {
  const Squeeze<T> k(alpha + T(1));
  return Accepted(n, r, [&](int32_t m, T* out, int32_t& status) {
    Candidates<T, 2> c;
    status = DrawCandidates(s, m, held, c);
    if (status < 0) return 0;
    alignas(64) T g[kRound];
    alignas(64) T u[kRound];
    bool verdict[kRound];
    Verdicts(k, m, c.normal, c.uniform[0], g, verdict);
    int32_t kept = 0;
    for (int32_t j = 0; j < m; ++j) {
      g[kept] = k.d * g[j];
      u[kept] = c.uniform[1][j];
      kept += verdict[j] ? 1 : 0;
    }
    Vm<T>::Ln(kept, g);
    Vm<T>::Ln(kept, u);
    // A division, not a product by 1/alpha, which overflows for a denormal alpha.
    for (int32_t i = 0; i < kept; ++i) g[i] += u[i] / alpha;
    Vm<T>::Exp(kept, g);
    PassesFor<T>().affine_copy(out, g, kept, beta, a);
    return kept;
  });
}

// Shape from 0.6 up to 1. A Weibull(alpha) candidate x = y^(1/alpha), y = -ln u1, has
// the Gamma density over its own exp(y - x) / (alpha Gamma(alpha)); y - x is at most
// c = e - alpha e with e = alpha^(alpha / (1 - alpha)), taken at x = alpha^(1 / (1 - alpha)). So x
// is kept when the exponential -ln u2 is at least x - y + c. Each candidate draws u1 then u2.
template <class T>
int32_t WeibullEnvelope(StreamRecord* s, int32_t n, T* r, T alpha, T a, T beta) {
  const T inverse = T(1) / alpha;
  const T e = OnceExp(alpha * OnceLn(alpha) / (T(1) - alpha));
  const T c = e - alpha * e;
  return Accepted(n, r, [&](int32_t m, T* out, int32_t& status) {
    alignas(64) T u[2 * kRound];
    status = Uniform(s, 2 * m, u, T(0), T(1));
    if (status < 0) return 0;
    Vm<T>::Ln(2 * m, u);
    alignas(64) T x[kRound];
    for (int32_t j = 0; j < m; ++j) x[j] = -u[2 * j];
    Vm<T>::Ln(m, x);
    for (int32_t j = 0; j < m; ++j) x[j] *= inverse;
    Vm<T>::Exp(m, x);
    int32_t kept = 0;
    for (int32_t j = 0; j < m; ++j) Keep(x, kept, x[j], -u[2 * j + 1] >= x[j] + u[2 * j] + c);
    PassesFor<T>().affine_copy(out, x, kept, beta, a);
    return kept;
  });
}

inline int32_t Exponential(StreamRecord* s, int32_t n, double* r, double a, double beta) {
  return _vrsdRngExponential(0, s, n, r, a, beta);
}
inline int32_t Exponential(StreamRecord* s, int32_t n, float* r, float a, float beta) {
  return _vrssRngExponential(0, s, n, r, a, beta);
}

template <class T>
int32_t Gamma(StreamRecord* s, int32_t n, T* r, T alpha, T a, T beta) {
  if (!Positive(alpha) || !Positive(beta)) return StatusBadArgs;
  if (alpha == T(1)) return Exponential(s, n, r, a, beta);
  if (n <= 0) return 0;
  const CallbackScope scope(&LnCallBackPole<T>);
  int32_t status = 0;
  if (alpha >= T(0.6) && alpha < T(1)) {
    status = WeibullEnvelope(s, n, r, alpha, a, beta);
  } else {
    // The squeeze serves the branch below 0.6 too, at alpha + 1, and holds its spare normal for
    // both: a normal is a normal whatever the shape.
    T* held = HeldPair<T>(s, kSpareChunk<T>, &status);
    if (!held) return status;
    status = alpha > T(1) ? Squeezed(s, n, r, alpha, a, beta, held)
                          : Boosted(s, n, r, alpha, a, beta, held);
  }
  return status;
}

}  // namespace

extern "C" {

OXL_API int32_t _vrsdRngGamma(int32_t, StreamRecord* stream, int32_t n, double* r, double alpha,
                              double a, double beta) {
  return Gamma(stream, n, r, alpha, a, beta);
}
OXL_API int32_t _vrssRngGamma(int32_t, StreamRecord* stream, int32_t n, float* r, float alpha,
                              float a, float beta) {
  return Gamma(stream, n, r, alpha, a, beta);
}

}  // extern "C"
