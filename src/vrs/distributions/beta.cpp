// Beta(p, q) with displacement a and scale beta, by the shapes:
//   both below 1            Johnk's method, in the log domain (Devroye, Non-Uniform Random Variate
//                           Generation, IX.3.5), so that tiny shapes do not make 0 / 0;
//   one below 1, one above  _Atkinson2, Atkinson and Whittaker's switching method (Appl. Statist.
//                           25, 1976; Atkinson, Biometrika 66, 1979);
//   both above 1            Cheng's BB (Comm. ACM 21, 1978);
//   one exactly 1           inversion: U^(1/p), or 1 - U^(1/q) as -expm1(ln U / q).
// Each candidate draws its two uniforms one after the other and rounds never hold more candidates
// than outputs are wanted (rejection.h), so a request split into calls gives the numbers of one
// call. The result is a + beta x, last.
#include <cmath>
#include <cstdint>

#include "vrs/distributions/rejection.h"

using namespace oxl::vrs::dist;

namespace {

// Both shapes below 1, unscaled. X = U^(1/p), Y = V^(1/q), kept when X + Y <= 1, gives X / (X + Y).
// With lx = ln(U) / p, ly = ln(V) / q and m their larger one, X + Y = e^m (e^(lx - m) + e^(ly - m))
// and the value is e^(lx - m) / (e^(lx - m) + e^(ly - m)), whose parts are at most 1 and at least
// one of them is exactly 1: nothing underflows to 0 / 0 however small the shapes are.
template <class T>
int32_t Johnk(StreamRecord* s, int32_t n, T* r, T p, T q) {
  return Accepted(n, r, [&](int32_t m, T* out, int32_t& status) {
    alignas(64) T u[2 * kRound];
    status = Uniform(s, 2 * m, u, T(0), T(1));
    if (status < 0) return 0;
    Vm<T>::Ln(2 * m, u);
    // Three rows of m: e^(lx - m), e^(ly - m), e^m.
    alignas(64) T e[3 * kRound];
    for (int32_t j = 0; j < m; ++j) {
      const T ln_u = u[2 * j];
      const T ln_v = u[2 * j + 1];
      const T lx = ln_u / p;
      const T ly = ln_v / q;
      const T top = std::max(lx, ly);
      if (top == -std::numeric_limits<T>::infinity()) {
        // Shapes so small that both quotients overflow: the value is 0 or 1 by the side of the
        // larger one, which the products tell without overflowing.
        const bool x_side = ln_u * q >= ln_v * p;
        e[j] = x_side ? T(0) : -std::numeric_limits<T>::infinity();
        e[m + j] = x_side ? -std::numeric_limits<T>::infinity() : T(0);
      } else {
        e[j] = lx - top;
        e[m + j] = ly - top;
      }
      e[2 * m + j] = top;
    }
    Vm<T>::Exp(3 * m, e);
    int32_t kept = 0;
    for (int32_t j = 0; j < m; ++j) {
      const T sum = e[j] + e[m + j];
      Keep(out, kept, e[j] / sum, e[2 * m + j] * sum <= T(1));
    }
    return kept;
  });
}

// Both shapes above 1, unscaled: Cheng's BB with a = min(p, q), b = max(p, q). A candidate
// v = beta ln(u1 / (1 - u1)), w = a e^v is kept when s + 1 + ln 5 >= 5 z, or s > ln z, or
// r + alpha ln(alpha / (b + w)) >= ln z, where z = u1^2 u2, r = gamma v - ln 4 and s = a + r - w
// (the first two are squeezes of the third); it gives w / (b + w), or b / (b + w) when p is the
// larger. The logarithms of the last two tests run as kernels over the whole round: cheaper than
// a scalar logarithm and a mispredicted branch for the third of the candidates that needs them.
template <class T>
int32_t ChengBB(StreamRecord* s, int32_t n, T* r, T p, T q) {
  const T a = std::min(p, q);
  const T b = std::max(p, q);
  const T alpha = a + b;
  const T beta = OnceSqrt((alpha - T(2)) / (T(2) * a * b - alpha));
  const T gamma = a + T(1) / beta;
  const bool p_smaller = p <= q;
  constexpr T kLn4 = T(1.3862943611198906);
  constexpr T kOnePlusLn5 = T(2.6094379124341003);
  return Accepted(n, r, [&](int32_t m, T* out, int32_t& status) {
    alignas(64) T u[2 * kRound];
    status = Uniform(s, 2 * m, u, T(0), T(1));
    if (status < 0) return 0;
    alignas(64) T v[kRound];
    alignas(64) T w[kRound];
    for (int32_t j = 0; j < m; ++j) v[j] = u[2 * j] / (T(1) - u[2 * j]);
    Vm<T>::Ln(m, v);
    for (int32_t j = 0; j < m; ++j) w[j] = v[j] = beta * v[j];
    Vm<T>::Exp(m, w);
    // Rows of m: z, then alpha / (b + w), and their logarithms in place.
    alignas(64) T logs[2 * kRound];
    for (int32_t j = 0; j < m; ++j) {
      const T u1 = u[2 * j];
      w[j] *= a;
      logs[j] = u1 * u1 * u[2 * j + 1];
      logs[m + j] = alpha / (b + w[j]);
    }
    Vm<T>::Ln(2 * m, logs);
    int32_t kept = 0;
    for (int32_t j = 0; j < m; ++j) {
      const T u1 = u[2 * j];
      const T z = u1 * u1 * u[2 * j + 1];
      const T rj = gamma * v[j] - kLn4;
      const T sj = a + rj - w[j];
      const T t = logs[j];
      // u1 of exactly 1 (a generator whose largest output rounds up) has no finite candidate.
      // Bitwise, not short-circuit: the verdicts come in no order a branch predictor could learn.
      const bool accepted = (u1 < T(1)) & ((sj + kOnePlusLn5 >= T(5) * z) | (sj > t) |
                                           (rj + alpha * logs[m + j] >= t));
      Keep(out, kept, (p_smaller ? w[j] : b) / (b + w[j]), accepted);
    }
    return kept;
  });
}

// One shape below 1 and one above, unscaled. With a the shape below 1 and b the other, the density
// x^(a-1) (1-x)^(b-1) lies under x^(a-1) on [0, t] and under t^(a-1) (1-x)^(b-1) on [t, 1]; the
// candidate takes the left piece with probability pi = b t / (b t + a (1-t)^b), by inversion of
// either piece, and is kept when an exponential is at least (1-b) ln(1-x) on the left or
// (1-a) ln(x/t) on the right. t = (1-a) / (b+1-a) is Atkinson's near-optimal switch. Each piece
// gives directly the side of the value that is near 0 (x on the left, 1 - x on the right), so that
// the swap for p > q loses no relative precision there.
template <class T>
int32_t Atkinson(StreamRecord* s, int32_t n, T* r, T p, T q) {
  const bool swapped = p > q;
  const T a = swapped ? q : p;
  const T b = swapped ? p : q;
  const T t = (T(1) - a) / (b + T(1) - a);
  const T tail = OnceExp(b * OnceLn(T(1) - t));
  const T pi = b * t / (b * t + a * tail);
  return Accepted(n, r, [&](int32_t m, T* out, int32_t& status) {
    alignas(64) T u[2 * kRound];
    status = Uniform(s, 2 * m, u, T(0), T(1));
    if (status < 0) return 0;
    // Rows of m: the uniform of the piece's inversion, then the exponential's uniform.
    alignas(64) T w[2 * kRound];
    for (int32_t j = 0; j < m; ++j) {
      const T uj = u[2 * j];
      w[j] = uj <= pi ? uj / pi : (T(1) - uj) / (T(1) - pi);
      w[m + j] = u[2 * j + 1];
    }
    Vm<T>::Ln(2 * m, w);
    alignas(64) T g[kRound];
    for (int32_t j = 0; j < m; ++j) g[j] = w[j] / (u[2 * j] <= pi ? a : b);
    Vm<T>::Exp(m, g);
    alignas(64) T x[kRound];
    alignas(64) T y[kRound];
    alignas(64) T test[kRound];
    for (int32_t j = 0; j < m; ++j) {
      const bool left = u[2 * j] <= pi;
      x[j] = left ? t * g[j] : T(1) - (T(1) - t) * g[j];
      y[j] = left ? T(1) - t * g[j] : (T(1) - t) * g[j];
      test[j] = left ? y[j] : x[j] / t;
    }
    Vm<T>::Ln(m, test);
    int32_t kept = 0;
    for (int32_t j = 0; j < m; ++j) {
      const T factor = u[2 * j] <= pi ? T(1) - b : T(1) - a;
      Keep(out, kept, swapped ? y[j] : x[j], -w[m + j] >= factor * test[j]);
    }
    return kept;
  });
}

// One shape exactly 1: U^(1/p) for q = 1, 1 - U^(1/q) = -expm1(ln(U) / q) for p = 1.
template <class T>
int32_t Inversion(StreamRecord* s, int32_t n, T* r, T p, T q, T a, T beta) {
  const bool p_is_one = p == T(1);
  const T shape = p_is_one ? q : p;
  return Blocked(s, n, r, T(0), T(1), [&](int32_t m, T* x) {
    Vm<T>::Ln(m, x);
    for (int32_t i = 0; i < m; ++i)
      oxl::platform::StoreElement<T>(x, i, oxl::platform::LoadElement(x, i) / shape);
    if (p_is_one) {
      Vm<T>::Expm1(m, x);
      PassesFor<T>().affine(x, m, -beta, a);
    } else {
      Vm<T>::Exp(m, x);
      PassesFor<T>().affine(x, m, beta, a);
    }
  });
}

// The shapes are valid: one below 1 and the other above. Installs its own callback.
template <class T>
int32_t Atkinson2(StreamRecord* s, int32_t n, T* r, T p, T q, T a, T beta) {
  const CallbackScope scope(&LnCallBackPole<T>);
  const int32_t status = Atkinson(s, n, r, p, q);
  if (status < 0) return status;
  PassesFor<T>().affine(r, n, beta, a);
  return status;
}

template <class T>
int32_t Beta(StreamRecord* s, int32_t n, T* r, T p, T q, T a, T beta) {
  if (!Positive(p) || !Positive(q) || !Positive(beta)) return StatusBadArgs;
  if (n <= 0) return 0;
  if ((p < T(1) && q > T(1)) || (p > T(1) && q < T(1))) return Atkinson2(s, n, r, p, q, a, beta);
  const CallbackScope scope(&LnCallBackPole<T>);
  if (p == T(1) || q == T(1)) return Inversion(s, n, r, p, q, a, beta);
  const int32_t status = p < T(1) ? Johnk(s, n, r, p, q) : ChengBB(s, n, r, p, q);
  if (status < 0) return status;
  PassesFor<T>().affine(r, n, beta, a);
  return status;
}

}  // namespace

extern "C" {

OXL_API int32_t _vrsdRngBeta(int32_t, StreamRecord* stream, int32_t n, double* r, double p,
                             double q, double a, double beta) {
  return Beta(stream, n, r, p, q, a, beta);
}
OXL_API int32_t _vrssRngBeta(int32_t, StreamRecord* stream, int32_t n, float* r, float p, float q,
                             float a, float beta) {
  return Beta(stream, n, r, p, q, a, beta);
}

OXL_API int32_t _Atkinson2(StreamRecord* stream, int32_t n, double* r, double p, double q, double a,
                           double beta) {
  const bool switching = (p < 1 && q > 1) || (p > 1 && q < 1);
  if (!switching || !Positive(p) || !Positive(q) || !Positive(beta)) return StatusBadArgs;
  if (n <= 0) return 0;
  return Atkinson2(stream, n, r, p, q, a, beta);
}

}  // extern "C"
