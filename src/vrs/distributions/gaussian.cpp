// Gaussian numbers by three methods behind one entry: BoxMuller (one output per pair of
// uniforms), BoxMuller2 (both outputs of a pair, with the odd one carried on the stream), and
// the inverse of the distribution function through erfinv.
//
// The entry puts the vector frame in callback-only mode with _vdCallBack or _vsCallBack for the
// duration of the worker: the kernels meet ln(0) for a zero radius uniform and erfinv(-1 or 1)
// for an ICDF uniform at the end of its interval, and the callback makes both finite.
#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>

#include "oxl/platform.h"
#include "vrs/distributions/frame.h"

using namespace oxl::vrs::dist;

namespace {

// erfinv at the ends of (-1, 1), taken as the value of the nearest uniform inside: sqrt(2) times
// it is the largest normal deviate the double (float) ICDF can otherwise reach.
constexpr double kErfInvEndD = std::bit_cast<double>(uint64_t{0x4017744F8F74E94A});
constexpr float kErfInvEndS = std::bit_cast<float>(uint32_t{0x407547CB});

template <class T>
struct Constants;
template <>
struct Constants<double> {
  static constexpr double kSqrt2 = std::bit_cast<double>(uint64_t{0x3FF6A09E667F3BCD});
  static constexpr double kErfInvEnd = kErfInvEndD;
  // The chunk of the pending BoxMuller2 pair.
  static constexpr uint32_t kChunkId = 2;
};
template <>
struct Constants<float> {
  static constexpr float kSqrt2 = std::bit_cast<float>(uint32_t{0x3FB504F3});
  static constexpr float kErfInvEnd = kErfInvEndS;
  static constexpr uint32_t kChunkId = 1;
};

// The kernels run in place, and a kernel stores an element's result before it reports it, so the
// record's argument is then the result: -inf for both ln(0) and erfinv(-1). The logarithm is
// therefore told by the record's function name, and erfinv's side by the sign that the argument
// and its infinite result share.
bool IsLogarithm(const oxl_vek_error_record* record) {
  return record->func_name_len == 4 && record->func_name[0] == 'v' && record->func_name[2] == 'L' &&
         record->func_name[3] == 'n';
}

template <class T>
int32_t CallBack(oxl_vek_error_record* record) {
  constexpr double kEnd = Constants<T>::kErfInvEnd;
  const double arg = record->arg1;
  double value;
  if (record->code == vek_status_singularity) {
    if (arg == 0 || IsLogarithm(record)) {
      value = kLnMinDenorm<T>;
    } else {
      value = arg < 0 ? -kEnd : kEnd;
    }
  } else if (record->code == vek_status_domain) {
    value = arg < 0 ? -kEnd : kEnd;
  } else {
    return 0;
  }
  record->res1 = value;
  record->res2 = value;
  return 0;
}

// Pairs of uniforms per block: the uniforms, the radii and the kernels' results of a block stay
// in the first cache level beside the output they are written to.
constexpr int32_t kPairs = 256;

// One output per pair of uniforms, in blocks of kPairs; a source that fails leaves the blocks
// before it complete. Double: each block's uniforms go through one pass that takes the logarithm,
// the square root, the sine of the angle in turns and the product a vector at a time.
int32_t BoxMuller(StreamRecord* s, int32_t n, double* r, double a, double sigma) {
  alignas(64) double u[2 * kPairs];
  int32_t status = 0;
  for (int32_t done = 0; done < n; done += kPairs) {
    const int32_t m = std::min(kPairs, n - done);
    status = Uniform(s, 2 * m, u, 0.0, 1.0);
    if (status < 0) return status;
    BoxMullerPairs(r + done, u, m, sigma, a);
  }
  return status;
}

// Float: a block's uniforms are drawn, and taken apart into radius uniforms and angles (2 pi times
// the angle uniforms), while the block before it makes its outputs: that pass waits on its square
// roots, and the moves fill the wait. The sines replace the angles, and the last pass takes the
// radius from its uniform's logarithm.
int32_t BoxMuller(StreamRecord* s, int32_t n, float* r, float a, float sigma) {
  using T = float;
  if (n <= 0) return 0;
  alignas(64) T u[2 * kPairs];
  alignas(64) T radius[2][kPairs];
  alignas(64) T angle[2][kPairs];
  const Passes<T>& passes = PassesFor<T>();
  int32_t m = std::min(kPairs, n);
  int32_t status = Uniform(s, 2 * m, u, T(0), T(1));
  if (status < 0) return status;
  passes.split_pairs(u, m, radius[0], angle[0], kTwoPi<T>);
  for (int32_t done = 0, at = 0; done < n; at ^= 1) {
    Vm<T>::Sin(m, angle[at]);
    Vm<T>::Ln(m, radius[at]);
    int32_t next = std::min(kPairs, n - done - m);
    if (next > 0) {
      status = Uniform(s, 2 * next, u, T(0), T(1));
      if (status < 0) next = 0;
    }
    passes.radius_product(r + done, radius[at], angle[at], m, sigma, a,
                          {.u = u,
                           .pairs = next,
                           .radius = radius[at ^ 1],
                           .angle = angle[at ^ 1],
                           .factor = kTwoPi<T>});
    if (status < 0) return status;
    done += m;
    m = next;
  }
  return status;
}

// `pairs` pairs from 2 * pairs uniforms, both outputs of each pair, sine first, into out, scaled
// and displaced. At most kPairs pairs. The uniforms are drawn into out itself, whose slots they
// fill exactly: the generator's stores, which overlap its arithmetic, bring out's lines into the
// cache, where the last pass's stores then find them.
template <class T>
int32_t Pairs(StreamRecord* s, int32_t pairs, T* out, T a, T sigma) {
  alignas(64) T angle[kPairs];
  alignas(64) T log_u[kPairs];
  alignas(64) T sine[kPairs];
  alignas(64) T cosine[kPairs];
  const Passes<T>& passes = PassesFor<T>();
  const int32_t status = Uniform(s, 2 * pairs, out, T(0), T(1));
  if (status < 0) return status;
  passes.split_pairs(out, pairs, log_u, angle, kTwoPi<T>);
  Vm<T>::SinCos(pairs, angle, sine, cosine);
  Vm<T>::Ln(pairs, log_u);
  passes.pair_affine(out, log_u, sine, cosine, pairs, sigma, a);
  return status;
}

// The one output of a pair that a call gives alone: `Trig` of the angle uniform, times the radius
// of the radius uniform, scaled and displaced like the outputs of whole pairs.
template <class T, void (*Trig)(int, T*)>
T Single(T radius_uniform, T angle_uniform, T a, T sigma) {
  T angle = angle_uniform * kTwoPi<T>;
  Trig(1, &angle);
  Vm<T>::Ln(1, &radius_uniform);
  const T radius = std::sqrt(T(-2) * radius_uniform);
  return std::fma(sigma, radius * angle, a);
}

// The cosine of a pair alone, as SinCos gives it: the double cosines at EP are SinCos's own.
template <class T>
void PairCosine(int, T* x) {
  T sine, cosine;
  Vm<T>::SinCos(1, x, &sine, &cosine);
  *x = cosine;
}

// The chunk holds the pending pair {U1 radius uniform, U2 angle uniform}, or {-1, -1}.
template <class T>
int32_t BoxMuller2(StreamRecord* s, int32_t n, T* r, T a, T sigma) {
  constexpr uint32_t kId = Constants<T>::kChunkId;
  int32_t made = 0;
  T* held = HeldPair<T>(s, kId, &made);
  if (!held) return made;
  // No outputs: nothing is drawn and a pending pair stays pending.
  if (n <= 0) return 0;

  T* out = r;
  int32_t left = n;
  if (held[0] != T(-1)) {
    // The cosine partner of the last call's odd output, at this call's a and sigma.
    oxl::platform::StoreElement(out++, 0, Single<T, PairCosine<T>>(held[0], held[1], a, sigma));
    --left;
  }

  int32_t status = 0;
  for (int32_t pairs = left >> 1; pairs > 0;) {
    const int32_t m = std::min(kPairs, pairs);
    status = Pairs(s, m, out, a, sigma);
    if (status < 0) return status;
    out += 2 * m;
    pairs -= m;
  }

  if (left & 1) {
    T pair[2];
    status = Uniform(s, 2, pair, T(0), T(1));
    if (status < 0) {
      held[0] = held[1] = T(-1);
      return status;
    }
    held[0] = pair[0];
    held[1] = pair[1];
    oxl::platform::StoreElement(out, 0, Single<T, Vm<T>::Sin>(pair[0], pair[1], a, sigma));
  } else {
    held[0] = held[1] = T(-1);
  }
  return status;
}

// A block of uniforms on [-1, 1), erfinv and the affine map while the block is in the first cache
// level.
template <class T>
int32_t Icdf(StreamRecord* s, int32_t n, T* r, T a, T sigma) {
  const T scale = sigma * Constants<T>::kSqrt2;
  return Blocked(s, n, r, T(-1), T(1), [&](int32_t m, T* x) {
    Vm<T>::ErfInv(m, x);
    PassesFor<T>().affine(x, m, scale, a);
  });
}

template <class T>
using Worker = int32_t (*)(StreamRecord*, int32_t, T*, T, T);

template <class T>
int32_t Gaussian(const Worker<T>* dispatch, oxl_vek_error_callback callback, int32_t method,
                 StreamRecord* s, int32_t n, T* r, T a, T sigma) {
  // The method picks a row of the table as it is; an index past the table would call anything.
  if (method < 0 || method > 2) return StatusBadMethod;
  const CallbackScope scope(callback);
  return dispatch[method](s, n, r, a, sigma);
}

}  // namespace

extern "C" {

OXL_API int32_t _vdCallBack(oxl_vek_error_record* record) { return CallBack<double>(record); }
OXL_API int32_t _vsCallBack(oxl_vek_error_record* record) { return CallBack<float>(record); }

OXL_API int32_t _vdRngGaussianBoxMuller(StreamRecord* stream, int32_t n, double* r, double a,
                                        double sigma) {
  return BoxMuller(stream, n, r, a, sigma);
}
OXL_API int32_t _vdRngGaussianBoxMuller2(StreamRecord* stream, int32_t n, double* r, double a,
                                         double sigma) {
  return BoxMuller2(stream, n, r, a, sigma);
}
OXL_API int32_t _vdRngGaussianICDF(StreamRecord* stream, int32_t n, double* r, double a,
                                   double sigma) {
  return Icdf(stream, n, r, a, sigma);
}
OXL_API int32_t _vsRngGaussianBoxMuller(StreamRecord* stream, int32_t n, float* r, float a,
                                        float sigma) {
  return BoxMuller(stream, n, r, a, sigma);
}
OXL_API int32_t _vsRngGaussianBoxMuller2(StreamRecord* stream, int32_t n, float* r, float a,
                                         float sigma) {
  return BoxMuller2(stream, n, r, a, sigma);
}
OXL_API int32_t _vsRngGaussianICDF(StreamRecord* stream, int32_t n, float* r, float a,
                                   float sigma) {
  return Icdf(stream, n, r, a, sigma);
}

}  // extern "C"

namespace {

// Indexed by the method number.
constexpr Worker<double> kDispatchD[3] = {_vdRngGaussianBoxMuller, _vdRngGaussianBoxMuller2,
                                          _vdRngGaussianICDF};
constexpr Worker<float> kDispatchS[3] = {_vsRngGaussianBoxMuller, _vsRngGaussianBoxMuller2,
                                         _vsRngGaussianICDF};

}  // namespace

extern "C" {

OXL_API int32_t _vrsdRngGaussian(int32_t method, StreamRecord* stream, int32_t n, double* r,
                                 double a, double sigma) {
  return Gaussian(kDispatchD, _vdCallBack, method, stream, n, r, a, sigma);
}
OXL_API int32_t _vrssRngGaussian(int32_t method, StreamRecord* stream, int32_t n, float* r, float a,
                                 float sigma) {
  return Gaussian(kDispatchS, _vsCallBack, method, stream, n, r, a, sigma);
}

}  // extern "C"
