// Accuracy runners: feed a kernel the inputs of a Sweep in one array (and in cut pieces, and on
// every SIMD target, if asked), evaluate the oracle on every case, and report the worst error.
//
//   const Report r = RunUnary(oxl_vek_kernel_sExp_B3HAynn, oracle::Exp, sweep);
//   EXPECT_TRUE(Meets(r, UlpBound<float>(Level::kHA)));
//
// The oracle runs on `sweep.threads` threads; each case's error lands in its own slot and the
// slots are merged in case order, so the report is the same for any number of threads.
#pragma once

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <functional>
#include <limits>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "support/edge_values.h"
#include "support/float_bits.h"
#include "support/mp.h"
#include "support/oracles.h"

namespace oxl::test {

// The inputs are made of real components: one per real argument, two (real, imaginary) per
// complex argument, in the order of the kernel's arguments. Every group of inputs below draws from
// its own stream of the seed, so adding thresholds or extra cases leaves the random ones alone.
template <class T>
struct Sweep {
  uint64_t seed = 1;
  // Special values: with one component, all of SpecialValues and PowersOfTwo; with two, all pairs
  // of SpecialValues; with more, all tuples of CoreSpecialValues.
  bool specials = true;
  // Cases with every component random: any bit pattern, or uniform over the representable values
  // of the component's range.
  int64_t random = 1 << 14;
  // Cases in each binade of the first component's range (the whole line without one), with a
  // uniform mantissa; the other components random.
  int64_t per_binade = 0;
  // Ranges of the components in order; components beyond the list take any bit pattern.
  std::vector<Range<T>> ranges;
  // Values where a kernel changes course, met with 4 neighbours on each side as the first
  // component; the other components random.
  std::vector<T> thresholds;
  // Further cases, their components one after the other.
  std::vector<T> extra;
  // Piece lengths, used in turn, for a second run of the kernel over the same array; its results
  // must equal those of the whole-array run bit for bit.
  std::vector<int> cuts;
  // Runs the kernel on every SIMD target available; the results must agree bit for bit.
  bool all_targets = false;
  int threads = 2;
};

// Accuracy levels, numbered as the slots of a function table.
enum class Level { kLA = 0, kHA = 1, kEP = 2 };

// The contract in ulp: HA 1, LA 4, EP 2^12 for float and 2^26 for double (11 and 26 correct bits).
template <class T>
double UlpBound(Level level) {
  if (level == Level::kEP) return std::is_same_v<T, float> ? 0x1p12 : 0x1p26;
  return level == Level::kLA ? 4.0 : 1.0;
}

struct Report {
  int64_t cases = 0;
  double max_ulp = 0;
  double min_bits = std::numeric_limits<double>::infinity();
  std::string worst_args;   // the arguments of the worst case, exactly
  std::string worst_got;    // the kernel's results there
  std::string worst_exact;  // the oracle's, to 20 digits
  int64_t cut_mismatches = 0;
  int64_t target_mismatches = 0;
  std::string first_mismatch;

  // Several lines for a failure message.
  std::string Describe() const;
  // A row of the generated docs/accuracy.md table.
  std::string TableRow(std::string_view function, Level level, double bound) const;
};

// Success if the worst error is within `ulp_bound` and every bitwise comparison agreed; the
// message otherwise is the report's description.
testing::AssertionResult Meets(const Report& report, double ulp_bound);

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

// Calls the oracle with a result of type R, copied into the components at `out`.
template <class R, class F>
void OracleResult(Scratch& s, const mpfr_ptr* out, F f) {
  if constexpr (kIsComplex<R>) {
    mpc_ptr r = s.Complex(kExactBits);
    f(r);
    mpfr_set(out[0], mpc_realref(r), MPFR_RNDN);
    mpfr_set(out[1], mpc_imagref(r), MPFR_RNDN);
  } else {
    f(out[0]);
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
        detail::OracleResult<R>(s, out, [&](auto r) { exact(r, detail::OracleArg<A>(s, in)); });
      },
      sweep);
}

// Binary kernels, (n, a, b, r).
template <class A, class R>
Report RunBinary(void (*kernel)(int, const A*, const A*, R*), const BinaryOracle<A>& exact,
                 const Sweep<PartOf<A>>& sweep = {}) {
  using T = PartOf<A>;
  return Measure<T>(
      detail::Shape<A, R>(2),
      [kernel](int n, const T* const* a, T* const* r) {
        kernel(n, detail::As<A>(a[0]), detail::As<A>(a[1]), detail::As<R>(r[0]));
      },
      [exact](const mpfr_srcptr* in, const mpfr_ptr* out) {
        Scratch s;
        detail::OracleResult<R>(s, out, [&](auto r) {
          exact(r, detail::OracleArg<A>(s, in),
                detail::OracleArg<A>(s, in + ElementTraits<A>::kWidth));
        });
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
        detail::OracleResult<R>(s, out, [&](auto r) {
          exact(r, detail::OracleArg<A>(s, in), detail::OracleArg<A>(s, b_in.data()));
        });
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

}  // namespace oxl::test
