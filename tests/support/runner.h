// Accuracy runners: feed a kernel the inputs of a Sweep in one array (and in cut pieces, and on
// every SIMD target, if asked), evaluate the oracle on every case, and report the worst error.
//
//   const Report r = RunUnary(oxl_vek_kernel_sExp_B3HAynn, oracle::Exp, sweep);
//   EXPECT_TRUE(Meets(r, UlpBound<float>(Level::kHA)));
//
// The oracle runs on `sweep.threads` threads; each case's error lands in its own slot and the
// slots are merged in case order, so the report is the same for any number of threads.
#pragma once

#include <array>
#include <cstring>
#include <functional>
#include <type_traits>
#include <vector>

#include "support/mp.h"
#include "support/oracles.h"
#include "support/report.h"
#include "support/sweep.h"

namespace oxl::test {

// The engine beneath the runners, for any form of kernel: the arrays of each argument hold
// elements of `arg_widths[j]` components (1 real, 2 complex, interleaved), the results `results`
// arrays of `result_width` components. The call gets the arrays at the start of the piece to
// compute; the oracle gets the exact components of one case and sets those of its results.
struct KernelShape {
  std::vector<int> arg_widths;
  int results = 1;
  int result_width = 1;
};

template <class T>
using KernelCall = std::function<void(int n, const T* const* args, T* const* results)>;
using ExactCall = std::function<void(const mpfr_srcptr* args, const mpfr_ptr* results)>;

template <class T>
Report Measure(const KernelShape& shape, const KernelCall<T>& call, const ExactCall& exact,
               const Sweep<T>& sweep);

// Kernel element types: float and double, and complex elements as pairs of them, real part first
// (std::complex, or the struct of the C interface).
template <class E>
struct ElementTraits {
  static_assert(std::is_floating_point_v<E>);
  using Part = E;
  static constexpr int kWidth = 1;
};

template <class E>
requires std::is_class_v<E>
struct ElementTraits<E> {
  static_assert(std::is_trivially_copyable_v<E> && (sizeof(E) == 8 || sizeof(E) == 16));
  using Part = std::conditional_t<sizeof(E) == 8, float, double>;
  static constexpr int kWidth = 2;
};

template <class E>
using PartOf = typename ElementTraits<E>::Part;

template <class E>
inline constexpr bool kIsComplex = ElementTraits<E>::kWidth == 2;

// The oracle form that belongs to a kernel's argument and result types.
template <class A, class R>
using UnaryOracle =
    std::conditional_t<kIsComplex<A>, std::conditional_t<kIsComplex<R>, ComplexFn, ComplexToRealFn>,
                       std::conditional_t<kIsComplex<R>, RealToComplexFn, RealFn>>;
template <class A>
using BinaryOracle = std::conditional_t<kIsComplex<A>, ComplexFn2, RealFn2>;

namespace detail {

template <class E>
const E* As(const PartOf<E>* p) {
  return reinterpret_cast<const E*>(p);
}
template <class E>
E* As(PartOf<E>* p) {
  return reinterpret_cast<E*>(p);
}

// An argument of type E as the oracle takes it, from its components at `in`.
template <class E>
auto OracleArg(Scratch& s, const mpfr_srcptr* in) {
  if constexpr (kIsComplex<E>) {
    mpc_ptr z = s.Complex(kExactBits);
    mpc_set_fr_fr(z, in[0], in[1], MPC_RNDNN);
    return static_cast<mpc_srcptr>(z);
  } else {
    return in[0];
  }
}

// Where the oracle writes a result of type E, and the copy into the components at `out`.
template <class E>
auto OracleResult(Scratch& s, const mpfr_ptr* out) {
  if constexpr (kIsComplex<E>) {
    return s.Complex(kExactBits);
  } else {
    return out[0];
  }
}
template <class E, class V>
void StoreResult(V r, const mpfr_ptr* out) {
  if constexpr (kIsComplex<E>) {
    mpfr_set(out[0], mpc_realref(r), MPFR_RNDN);
    mpfr_set(out[1], mpc_imagref(r), MPFR_RNDN);
  }
}

template <class A, class R>
KernelShape Shape(int args, int results = 1) {
  static_assert(std::is_same_v<PartOf<A>, PartOf<R>>, "arguments and results of one width");
  return {std::vector<int>(args, ElementTraits<A>::kWidth), results, ElementTraits<R>::kWidth};
}

}  // namespace detail

// Unary kernels, (n, a, r): real, complex, real from complex, complex from real.
template <class A, class R>
Report RunUnary(void (*kernel)(int, const A*, R*), const UnaryOracle<A, R>& exact,
                const Sweep<PartOf<A>>& sweep = {}) {
  using T = PartOf<A>;
  return Measure<T>(
      detail::Shape<A, R>(1),
      [kernel](int n, const T* const* a, T* const* r) {
        kernel(n, detail::As<A>(a[0]), detail::As<R>(r[0]));
      },
      [exact](const mpfr_srcptr* in, const mpfr_ptr* out) {
        Scratch s;
        auto r = detail::OracleResult<R>(s, out);
        exact(r, detail::OracleArg<A>(s, in));
        detail::StoreResult<R>(r, out);
      },
      sweep);
}

// Binary kernels, (n, a, b, r).
template <class A, class R>
Report RunBinary(void (*kernel)(int, const A*, const A*, R*), const BinaryOracle<A>& exact,
                 const Sweep<PartOf<A>>& sweep = {}) {
  using T = PartOf<A>;
  constexpr int kWidth = ElementTraits<A>::kWidth;
  return Measure<T>(
      detail::Shape<A, R>(2),
      [kernel](int n, const T* const* a, T* const* r) {
        kernel(n, detail::As<A>(a[0]), detail::As<A>(a[1]), detail::As<R>(r[0]));
      },
      [exact](const mpfr_srcptr* in, const mpfr_ptr* out) {
        Scratch s;
        auto r = detail::OracleResult<R>(s, out);
        exact(r, detail::OracleArg<A>(s, in), detail::OracleArg<A>(s, in + kWidth));
        detail::StoreResult<R>(r, out);
      },
      sweep);
}

// Powx kernels, (n, a, b, r) with the scalar b by value; the oracle is the binary one.
template <class A, class R>
Report RunPowx(void (*kernel)(int, const A*, A, R*), A b, const BinaryOracle<A>& exact,
               const Sweep<PartOf<A>>& sweep = {}) {
  using T = PartOf<A>;
  constexpr int kWidth = ElementTraits<A>::kWidth;
  std::array<T, kWidth> b_parts;
  std::memcpy(b_parts.data(), &b, sizeof b);
  return Measure<T>(
      detail::Shape<A, R>(1),
      [kernel, b](int n, const T* const* a, T* const* r) {
        kernel(n, detail::As<A>(a[0]), b, detail::As<R>(r[0]));
      },
      [exact, b_parts](const mpfr_srcptr* in, const mpfr_ptr* out) {
        Scratch s;
        std::array<mpfr_srcptr, kWidth> b_in;
        for (int k = 0; k < kWidth; ++k) {
          mpfr_ptr part = s.Real(kExactBits);
          SetExact(part, b_parts[k]);
          b_in[k] = part;
        }
        auto r = detail::OracleResult<R>(s, out);
        exact(r, detail::OracleArg<A>(s, in), detail::OracleArg<A>(s, b_in.data()));
        detail::StoreResult<R>(r, out);
      },
      sweep);
}

// Kernels with two real results, (n, a, r1, r2); the error of a case is the larger of the two.
template <class T>
Report RunTwoResults(void (*kernel)(int, const T*, T*, T*), const RealPairFn& exact,
                     const Sweep<T>& sweep = {}) {
  return Measure<T>(
      detail::Shape<T, T>(1, 2),
      [kernel](int n, const T* const* a, T* const* r) { kernel(n, a[0], r[0], r[1]); },
      [exact](const mpfr_srcptr* in, const mpfr_ptr* out) { exact(out[0], out[1], in[0]); }, sweep);
}

template <class T>
struct LinearFracScalars {
  T scalea;
  T shifta;
  T scaleb;
  T shiftb;
};

// LinearFrac kernels, (n, a, b, scalea, shifta, scaleb, shiftb, r).
template <class T>
Report RunLinearFrac(void (*kernel)(int, const T*, const T*, T, T, T, T, T*),
                     LinearFracScalars<T> c, const Sweep<T>& sweep = {}) {
  return Measure<T>(
      detail::Shape<T, T>(2),
      [kernel, c](int n, const T* const* a, T* const* r) {
        kernel(n, a[0], a[1], c.scalea, c.shifta, c.scaleb, c.shiftb, r[0]);
      },
      [exact = oracle::LinearFrac(c.scalea, c.shifta, c.scaleb, c.shiftb)](
          const mpfr_srcptr* in, const mpfr_ptr* out) { exact(out[0], in[0], in[1]); },
      sweep);
}

}  // namespace oxl::test
