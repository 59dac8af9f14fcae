// Gamma(alpha) with displacement a and scale beta, by the shape:
//   alpha > 1        Marsaglia and Tsang's squeeze (ACM TOMS 26, 2000) on Box-Muller normals;
//   alpha = 1        the Exponential law;
//   0.6 <= alpha < 1 rejection from a Weibull(alpha) envelope;
//   alpha < 0.6      Gamma(alpha + 1) U^(1/alpha) (Stuart's theorem), formed in the log domain so
//                    that a tiny alpha goes to 0 only where the value itself is below the range.
// Each rejection method draws its candidates in rounds (rejection.h); a candidate takes its
// uniforms in a fixed pattern, and a Box-Muller pair's second normal, when a round ends between
// the two, is held on the stream (chunk 7 for double, 8 for float), so a request split into calls
// gives the numbers of one call. The squeeze's rounds are vector code of their own (squeeze.cpp),
// which scales and displaces the kept values on their way to the result.
#include <cmath>
#include <cstdint>

#include "numeric/helpers.h"
#include "vrs/distributions/rejection.h"
#include "vrs/distributions/squeeze.h"

using namespace oxl::vrs::dist;

namespace {

template <class T>
constexpr uint32_t kSpareChunk = sizeof(T) == 8 ? 7 : 8;

// The method's constants for a shape above 1: d = alpha - 1/3 and c = 1 / sqrt(9 d). Kept
// values go out as fma(beta, d v, a); with `second`, as d v beside their second uniforms.
template <class T>
SqueezeRound<T> SqueezeOf(T alpha, T* held, T beta, T a, T* second) {
  return {.d = alpha - T(1) / T(3),
          .c = T(1) / static_cast<T>(__vrsdSqrt(T(9) * alpha - T(3))),
          .held = held,
          .beta = beta,
          .a = a,
          .second = second};
}

// Shape above 1.
template <class T>
int32_t Squeezed(StreamRecord* s, int32_t n, T* r, T alpha, T a, T beta, T* held) {
  const SqueezeRound<T> k = SqueezeOf<T>(alpha, held, beta, a, nullptr);
  return Accepted(
      n, r, [&](int32_t m, T* out, int32_t& status) { return SqueezeKept(k, s, m, out, &status); });
}

// Shape below 0.6: exp(ln G + ln(U) / alpha), G of shape alpha + 1 by the squeeze, U the
// candidate's second uniform (drawn also for the rejected ones, to keep the pattern fixed).
template <class T>
int32_t Boosted(StreamRecord* s, int32_t n, T* r, T alpha, T a, T beta, T* held) {
  alignas(64) T g[kRound];
  alignas(64) T u[kRound];
  const SqueezeRound<T> k = SqueezeOf<T>(alpha + T(1), held, T(1), T(0), u);
  return Accepted(n, r, [&](int32_t m, T* out, int32_t& status) {
    const int32_t kept = SqueezeKept(k, s, m, g, &status);
    if (status < 0) return 0;
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
