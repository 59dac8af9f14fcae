// Continuous distributions by one transformation of uniforms: Exponential, Laplace, Weibull,
// Cauchy, Rayleigh, Lognormal and Gumbel, in double and single forms of the same template.
//
// Each works in place: uniforms into r, a vector kernel over r, a last pass of scale and
// displacement. Uniforms can be exactly 0 (generators whose interval includes zero), and the
// logarithm of 0 is a pole; the module's callback replaces it with ln of the smallest denormal, so
// that the output is finite and the law's tail is cut where the uniform's resolution ends.
#include <algorithm>
#include <cmath>
#include <cstdint>

#include "vrs/distributions/frame.h"

using namespace oxl::vrs::dist;

namespace {

// Exponential, Gumbel and Laplace: any event of their logarithm takes the replacement.
template <class T>
int32_t LnCallBackAny(oxl_vek_error_record* record) {
  record->res1 = kLnMinDenorm<T>;
  record->res2 = kLnMinDenorm<T>;
  return 0;
}

template <class T>
int32_t Exponential(StreamRecord* s, int32_t n, T* r, T a, T beta) {
  const CallbackScope scope(&LnCallBackAny<T>);
  return Blocked(s, n, r, T(0), T(1), [&](int32_t m, T* x) {
    Vm<T>::Ln(m, x);
    PassesFor<T>().affine_floor(x, m, -beta, a);
  });
}

// ln of a unit exponential, which is -ln(u) at least 0.
template <class T>
int32_t Gumbel(StreamRecord* s, int32_t n, T* r, T a, T beta) {
  const CallbackScope scope(&LnCallBackAny<T>);
  return Blocked(s, n, r, T(0), T(1), [&](int32_t m, T* x) {
    Vm<T>::Ln(m, x);
    PassesFor<T>().affine_floor(x, m, T(-1), T(0));
    Vm<T>::Ln(m, x);
    PassesFor<T>().affine(x, m, beta, a);
  });
}

template <class T>
int32_t Rayleigh(StreamRecord* s, int32_t n, T* r, T a, T beta) {
  const CallbackScope scope(&LnCallBackPole<T>);
  return Blocked(s, n, r, T(0), T(1), [&](int32_t m, T* x) {
    Vm<T>::Ln(m, x);
    PassesFor<T>().root_affine_floor(x, m, beta, a);
  });
}

template <class T>
int32_t Weibull(StreamRecord* s, int32_t n, T* r, T alpha, T a, T beta) {
  const CallbackScope scope(&LnCallBackPole<T>);
  return Blocked(s, n, r, T(0), T(1), [&](int32_t m, T* x) {
    Vm<T>::Ln(m, x);
    PassesFor<T>().scale(x, m, T(-1));
    if (alpha != T(1)) Vm<T>::Powx(m, x, T(1) / alpha);
    PassesFor<T>().affine_floor(x, m, beta, a);
  });
}

// Tan of the ends of (-pi/2, pi/2) is large but finite, so no callback is needed.
template <class T>
int32_t Cauchy(StreamRecord* s, int32_t n, T* r, T a, T beta) {
  constexpr T kHalfPi = T(1.5707963267948966);
  return Blocked(s, n, r, -kHalfPi, kHalfPi, [&](int32_t m, T* x) {
    Vm<T>::Tan(m, x);
    PassesFor<T>().affine(x, m, beta, a);
  });
}

// The Gaussian methods, too, give the same sequence however a request is split (BoxMuller2 carries
// an odd output's partner on the stream), so blocks of the Gaussian keep the exponential's pass in
// the cache.
template <class T>
int32_t Lognormal(int32_t method, StreamRecord* s, int32_t n, T* r, T a, T sigma, T b, T beta) {
  const int32_t gaussian_method = method == 0 ? OXL_RNG_GAUSSIAN_BOXMULLER2 : OXL_RNG_GAUSSIAN_ICDF;
  if (n <= 0) return Gaussian(gaussian_method, s, n, r, a, sigma);
  int32_t status = 0;
  for (int32_t done = 0; done < n; done += kBlock) {
    const int32_t m = std::min(kBlock, n - done);
    status = Gaussian(gaussian_method, s, m, r + done, a, sigma);
    if (status < 0) return status;
    Vm<T>::Exp(m, r + done);
    PassesFor<T>().affine_floor(r + done, m, beta, b);
  }
  return status;
}

// Blocks of 1024 outputs from 2048 uniforms each: the even ones give the magnitudes, written
// straight to r, the odd ones the signs, compacted at the front of the buffer. The buffer stays
// in the first cache level.
template <class T>
int32_t Laplace(StreamRecord* s, int32_t n, T* r, T a, T beta) {
  const CallbackScope scope(&LnCallBackAny<T>);
  alignas(64) T buffer[2 * kBlock];
  // No outputs: the generator still sees the count, and does for it what it does.
  if (n <= 0) return Uniform(s, n, buffer, T(0), T(1));
  int32_t status = 0;
  for (int32_t done = 0; done < n; done += kBlock) {
    const int32_t m = std::min(kBlock, n - done);
    status = Uniform(s, 2 * m, buffer, T(0), T(1));
    if (status < 0) return status;
    T* out = r + done;
    for (int32_t i = 0; i < m; ++i) {
      oxl::platform::StoreElement(out, i, buffer[2 * i]);
      buffer[i] = buffer[2 * i + 1];
    }
    Vm<T>::Ln(m, out);
    PassesFor<T>().signed_affine(out, buffer, m, beta, a);
  }
  return status;
}

}  // namespace

extern "C" {

OXL_API int32_t _vrsdRngExponential(int32_t, StreamRecord* stream, int32_t n, double* r, double a,
                                    double beta) {
  return Exponential(stream, n, r, a, beta);
}
OXL_API int32_t _vrssRngExponential(int32_t, StreamRecord* stream, int32_t n, float* r, float a,
                                    float beta) {
  return Exponential(stream, n, r, a, beta);
}

OXL_API int32_t _vrsdRngLaplace(int32_t, StreamRecord* stream, int32_t n, double* r, double a,
                                double beta) {
  return Laplace(stream, n, r, a, beta);
}
OXL_API int32_t _vrssRngLaplace(int32_t, StreamRecord* stream, int32_t n, float* r, float a,
                                float beta) {
  return Laplace(stream, n, r, a, beta);
}

OXL_API int32_t _vrsdRngWeibull(int32_t, StreamRecord* stream, int32_t n, double* r, double alpha,
                                double a, double beta) {
  return Weibull(stream, n, r, alpha, a, beta);
}
OXL_API int32_t _vrssRngWeibull(int32_t, StreamRecord* stream, int32_t n, float* r, float alpha,
                                float a, float beta) {
  return Weibull(stream, n, r, alpha, a, beta);
}

OXL_API int32_t _vrsdRngCauchy(int32_t, StreamRecord* stream, int32_t n, double* r, double a,
                               double beta) {
  return Cauchy(stream, n, r, a, beta);
}
OXL_API int32_t _vrssRngCauchy(int32_t, StreamRecord* stream, int32_t n, float* r, float a,
                               float beta) {
  return Cauchy(stream, n, r, a, beta);
}

OXL_API int32_t _vrsdRngRayleigh(int32_t, StreamRecord* stream, int32_t n, double* r, double a,
                                 double beta) {
  return Rayleigh(stream, n, r, a, beta);
}
OXL_API int32_t _vrssRngRayleigh(int32_t, StreamRecord* stream, int32_t n, float* r, float a,
                                 float beta) {
  return Rayleigh(stream, n, r, a, beta);
}

OXL_API int32_t _vrsdRngLognormal(int32_t method, StreamRecord* stream, int32_t n, double* r,
                                  double a, double sigma, double b, double beta) {
  return Lognormal(method, stream, n, r, a, sigma, b, beta);
}
OXL_API int32_t _vrssRngLognormal(int32_t method, StreamRecord* stream, int32_t n, float* r,
                                  float a, float sigma, float b, float beta) {
  return Lognormal(method, stream, n, r, a, sigma, b, beta);
}

OXL_API int32_t _vrsdRngGumbel(int32_t, StreamRecord* stream, int32_t n, double* r, double a,
                               double beta) {
  return Gumbel(stream, n, r, a, beta);
}
OXL_API int32_t _vrssRngGumbel(int32_t, StreamRecord* stream, int32_t n, float* r, float a,
                               float beta) {
  return Gumbel(stream, n, r, a, beta);
}

}  // extern "C"
