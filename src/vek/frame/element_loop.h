// Element-loop kernels: a function of the scalar extended-precision layer run over arrays through
// the same kernel template as a SIMD kernel. The body marks every lane rare, so each element goes
// through the template's rare path: in ascending order, computed by the scalar layer, reported
// through the type's error function when its status is not 0, and read back afterwards, so that
// statuses, errno, messages and callbacks behave exactly as for a SIMD kernel.
//
// Two frames, chosen by the kernel's build tag:
// - B3: the mode's floating-point control (round to nearest, FTZ and DAZ as the mode says, which
//   the loop applies itself to its extended-precision arithmetic), and every status of the
//   function;
// - EX, L9, E9: no mode read, MXCSR left as found; a complex result with an infinite part from an
//   argument whose parts are all finite and non-zero is an overflow, and nothing else is reported.
// Both run the x87 unit at extended precision and round to nearest, and give the caller's control
// word back.
#pragma once

#include <bit>
#include <cerrno>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <type_traits>

#include <hwy/highway.h>

#include "platform/fp_control.h"
#include "vek/frame/frame.h"
#include "vek/frame/kernel-inl.h"
#include "vek/frame/scalar_layer.h"

namespace oxl::vek::loop {

namespace hn = hwy::HWY_NAMESPACE;
using scalar::CLD;
using scalar::LD;

enum class Build { kB3, kExtended };

// The build tag is the first two letters of a kernel's suffix: B3, EX, L9, E9.
constexpr Build BuildOf(const char* suffix) {
  return suffix[0] == 'B' && suffix[1] == '3' ? Build::kB3 : Build::kExtended;
}

// x87 control word: round to nearest (RC 00) at extended precision (PC 11) for the lifetime.
class X87Scope {
 public:
  X87Scope() {
    __asm__ volatile("fnstcw %0" : "=m"(saved_));
    const uint16_t wanted = static_cast<uint16_t>((saved_ & ~kControl) | kExtendedNearest);
    changed_ = wanted != saved_;
    if (changed_) __asm__ volatile("fldcw %0" : : "m"(wanted));
  }
  ~X87Scope() {
    if (changed_) __asm__ volatile("fldcw %0" : : "m"(saved_));
  }
  X87Scope(const X87Scope&) = delete;
  X87Scope& operator=(const X87Scope&) = delete;

 private:
  static constexpr uint16_t kControl = 0x0F00;          // rounding and precision control
  static constexpr uint16_t kExtendedNearest = 0x0300;  // precision 64 bits, round to nearest
  uint16_t saved_;
  bool changed_;
};

// Element parts and their conversions; `flush` applies DAZ on the way in and FTZ on the way out.
// By the bits: under DAZ the processor's own compares see a subnormal as zero.
template <class T>
bool IsSubnormal(T x) {
  using U = std::conditional_t<sizeof(T) == 4, uint32_t, uint64_t>;
  constexpr int kFraction = std::numeric_limits<T>::digits - 1;
  const U bits = std::bit_cast<U>(x) & ~(U{1} << (sizeof(T) * 8 - 1));
  return bits != 0 && (bits >> kFraction) == 0;
}

template <class T>
LD Widen(T x, bool flush) {
  if (flush && IsSubnormal(x)) return std::signbit(x) ? -LD{0} : LD{0};
  return static_cast<LD>(x);
}

template <class T>
T Narrow(LD v, bool flush) {
  const T r = static_cast<T>(v);
  if (flush && IsSubnormal(r)) return std::signbit(r) ? -T{0} : T{0};
  return r;
}

// Overflow and underflow of a rounded real result, as the function's flags ask.
template <unsigned kFlags, class T>
int32_t Judge(LD exact, T rounded, bool args_finite, bool args_subnormal) {
  if ((kFlags & scalar::kOverflow) && std::isinf(rounded) && args_finite) {
    return vek_status_overflow;
  }
  constexpr unsigned kUnder = scalar::kUnderflow | scalar::kUnderflowFresh;
  if ((kFlags & kUnder) && exact != 0 && std::isfinite(exact) &&
      std::fabs(rounded) < std::numeric_limits<T>::min()) {
    if ((kFlags & scalar::kUnderflow) || !args_subnormal) return vek_status_underflow;
  }
  return vek_status_ok;
}

template <class F>
constexpr unsigned ComplexFlags() {
  if constexpr (requires { F::kComplexFlags; }) {
    return F::kComplexFlags;
  } else {
    return F::kFlags;
  }
}

// The C library's functions may set errno; the kernels leave errno to the error functions. The
// saved value is volatile: built with -fno-math-errno, the compiler takes the math functions for
// pure and would drop the restoring store as redundant.
class ErrnoKeeper {
 public:
  ErrnoKeeper() : saved_(errno) {}
  ~ErrnoKeeper() { errno = saved_; }
  ErrnoKeeper(const ErrnoKeeper&) = delete;
  ErrnoKeeper& operator=(const ErrnoKeeper&) = delete;

 private:
  volatile int saved_;
};

template <class E>
struct Parts {
  using T = ScalarOf<E>;
  static CLD Widen(const E& x, bool flush) {
    CLD z;
    __real__ z = loop::Widen(x.re, flush);
    __imag__ z = loop::Widen(x.im, flush);
    return z;
  }
  static E Narrow(CLD v, bool flush) {
    return E{loop::Narrow<T>(__real__ v, flush), loop::Narrow<T>(__imag__ v, flush)};
  }
  static bool AllFiniteNonzero(const E& x) {
    return std::isfinite(x.re) && std::isfinite(x.im) && x.re != 0 && x.im != 0;
  }
  static bool Finite(const E& x) { return std::isfinite(x.re) && std::isfinite(x.im); }
  static bool HasInf(const E& x) { return std::isinf(x.re) || std::isinf(x.im); }
};

// The extended-precision frame's one status: a finite, non-zero argument with an infinite part
// of the result. The narrowed result below the normal range raises the underflow flag by a real
// multiplication, as the hardware would have for the result itself.
template <class E>
int32_t ExtendedStatus(bool args_finite_nonzero, const E& r) {
  using T = ScalarOf<E>;
  const T tiny = std::numeric_limits<T>::min();
  if (IsSubnormal(r.re) || IsSubnormal(r.im)) {
    volatile T product = tiny;
    product = product * tiny;
  }
  return args_finite_nonzero && Parts<E>::HasInf(r) ? vek_status_overflow : vek_status_ok;
}

// The body of every element loop: In and Out element types, inputs and outputs, the function F of
// the scalar layer, the build. Powx carries its scalar here.
template <class F, Build kBuild, class InT, class OutT, size_t kIns, size_t kOuts>
struct LoopBody {
  using In = InT;
  using Out = OutT;
  static constexpr size_t kInputs = kIns;
  static constexpr size_t kOutputs = kOuts;
  static constexpr size_t kBlock = 16;
  static constexpr Layout kLayout = Layout::kSplit;
  static constexpr bool kRare = true;
  const char* name;
  bool flush = false;
  In scalar{};  // b of Powx

  template <class D>
  HWY_INLINE void operator()(D d, const hn::Vec<D>*, hn::Vec<D>* out, hn::Mask<D>* rare) const {
    for (size_t k = 0; k < kOutputs * Element<Out>::kParts; ++k) out[k] = hn::Zero(d);
    rare[0] = hn::Eq(hn::Zero(d), hn::Zero(d));
  }

  // Unary: real, complex, complex to real, real to complex; with a scalar for Powx.
  int32_t Rare(const In* a, Out* r) const
    requires(kInputs == 1 && kOutputs == 1)
  {
    const ErrnoKeeper keep_errno;
    int32_t st = 0;
    if constexpr (!kIsComplex<In> && !kIsComplex<Out>) {
      const LD x = Widen(*a, flush);
      LD v;
      bool finite = std::isfinite(x), sub = IsSubnormal(*a);
      if constexpr (std::is_same_v<F, scalar::Powx>) {
        const LD y = Widen(scalar, flush);
        v = F::Eval(x, y, st);
        finite = finite && std::isfinite(y);
        sub = sub || IsSubnormal(scalar);
      } else {
        v = F::Eval(x, st);
      }
      *r = Narrow<Out>(v, flush);
      return st != 0 ? st : Judge<F::kFlags>(v, *r, finite, sub);
    } else if constexpr (kIsComplex<In> && kIsComplex<Out>) {
      const CLD z = Parts<In>::Widen(*a, flush);
      CLD v;
      bool nonzero = Parts<In>::AllFiniteNonzero(*a), finite = Parts<In>::Finite(*a);
      if constexpr (std::is_same_v<F, scalar::Powx>) {
        v = F::Eval(z, Parts<In>::Widen(scalar, flush), st);
        nonzero = nonzero && Parts<In>::AllFiniteNonzero(scalar);
        finite = finite && Parts<In>::Finite(scalar);
      } else {
        v = F::Eval(z, st);
      }
      *r = Parts<Out>::Narrow(v, flush);
      if constexpr (kBuild == Build::kExtended) {
        return ExtendedStatus(nonzero, *r);
      } else {
        return st != 0 ? st : ComplexJudge<ComplexFlags<F>()>(finite, *r);
      }
    } else if constexpr (kIsComplex<In>) {
      const LD v = F::Eval(Parts<In>::Widen(*a, flush), st);
      *r = Narrow<Out>(v, flush);
      return st != 0 ? st : Judge<ComplexFlags<F>()>(v, *r, Parts<In>::Finite(*a), false);
    } else {
      const CLD v = F::Eval(Widen(*a, flush), st);
      *r = Parts<Out>::Narrow(v, flush);
      return st != 0 ? st : ComplexJudge<ComplexFlags<F>()>(std::isfinite(*a), *r);
    }
  }

  // Binary, real or complex.
  int32_t Rare(const In* a, const In* b, Out* r) const
    requires(kInputs == 2)
  {
    const ErrnoKeeper keep_errno;
    int32_t st = 0;
    if constexpr (!kIsComplex<In>) {
      const LD x = Widen(*a, flush), y = Widen(*b, flush);
      const LD v = F::Eval(x, y, st);
      *r = Narrow<Out>(v, flush);
      const bool finite = std::isfinite(x) && std::isfinite(y);
      return st != 0 ? st : Judge<F::kFlags>(v, *r, finite, IsSubnormal(*a) || IsSubnormal(*b));
    } else {
      const CLD v = F::Eval(Parts<In>::Widen(*a, flush), Parts<In>::Widen(*b, flush), st);
      *r = Parts<Out>::Narrow(v, flush);
      if constexpr (kBuild == Build::kExtended) {
        return ExtendedStatus(Parts<In>::AllFiniteNonzero(*a) && Parts<In>::AllFiniteNonzero(*b),
                              *r);
      } else {
        const bool finite = Parts<In>::Finite(*a) && Parts<In>::Finite(*b);
        return st != 0 ? st : ComplexJudge<ComplexFlags<F>()>(finite, *r);
      }
    }
  }

  // Two real results.
  int32_t Rare(const In* a, Out* r1, Out* r2) const
    requires(kOutputs == 2)
  {
    const ErrnoKeeper keep_errno;
    int32_t st = 0;
    LD v1, v2;
    F::Eval(Widen(*a, flush), v1, v2, st);
    *r1 = Narrow<Out>(v1, flush);
    *r2 = Narrow<Out>(v2, flush);
    return st;
  }

 private:
  template <unsigned kFlags>
  static int32_t ComplexJudge(bool args_finite, const Out& r) {
    if ((kFlags & scalar::kOverflow) && args_finite && Parts<Out>::HasInf(r)) {
      return vek_status_overflow;
    }
    return vek_status_ok;
  }
};

// One element as the B3 element loop computes and judges it, denormals read and written as
// MXCSR's DAZ and FTZ say: the rare routine of a vector kernel reads no mode, but its kernel's
// frame has set MXCSR from it. So a vector kernel's rare lanes give the element loop's results and
// statuses, lane for lane. Unary: real, complex, complex to real and real to complex.
template <class F, class In, class Out>
int32_t ElementRare(const In* a, Out* r) {
  const X87Scope x87;
  LoopBody<F, Build::kB3, In, Out, 1, 1> body{nullptr};
  body.flush = (platform::ReadMxcsr() & platform::kMxcsrDaz) != 0;
  return body.Rare(a, r);
}
template <class F, class E>
int32_t ElementRare(const E* a, const E* b, E* r) {
  const X87Scope x87;
  LoopBody<F, Build::kB3, E, E, 2, 1> body{nullptr};
  body.flush = (platform::ReadMxcsr() & platform::kMxcsrDaz) != 0;
  return body.Rare(a, b, r);
}

// Runs a body under its build's frame.
template <Build kBuild, class Body, class Run>
inline void Framed(Body body, Run run) {
  const X87Scope x87;
  if constexpr (kBuild == Build::kB3) {
    const uint32_t control = FtzDazControl(Mode());
    const platform::MxcsrScope mxcsr(control);
    body.flush = control != 0;
    run(body);
  } else {
    run(body);
  }
}

template <class F, Build kBuild, class In, class Out>
void Unary(const char* name, int n, const In* a, Out* r) {
  Framed<kBuild>(LoopBody<F, kBuild, In, Out, 1, 1>{name},
                 [&](const auto& body) { HWY_NAMESPACE::RunUnary(body, n, a, r); });
}

template <class F, Build kBuild, class E>
void Binary(const char* name, int n, const E* a, const E* b, E* r) {
  Framed<kBuild>(LoopBody<F, kBuild, E, E, 2, 1>{name},
                 [&](const auto& body) { HWY_NAMESPACE::RunBinary(body, n, a, b, r); });
}

template <class F, Build kBuild, class E>
void Powx(const char* name, int n, const E* a, E b, E* r) {
  LoopBody<F, kBuild, E, E, 1, 1> body{name};
  body.scalar = b;
  Framed<kBuild>(body, [&](const auto& framed) { HWY_NAMESPACE::RunUnary(framed, n, a, r); });
}

template <class F, Build kBuild, class E>
void TwoResults(const char* name, int n, const E* a, E* r1, E* r2) {
  Framed<kBuild>(LoopBody<F, kBuild, E, E, 1, 2>{name},
                 [&](const auto& body) { HWY_NAMESPACE::RunTwoResults(body, n, a, r1, r2); });
}

}  // namespace oxl::vek::loop
