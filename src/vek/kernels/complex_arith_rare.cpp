#include "vek/kernels/complex_arith_rare.h"

#include <cmath>

#include "platform/fp_control.h"
#include "vek/frame/element_loop.h"
#include "vek/frame/scalar_layer.h"

namespace oxl::vek {
namespace {

using Quad = __float128;

enum class Op { kMul, kMulByConj, kDiv };

template <Op kOp>
using ScalarFunction =
    std::conditional_t<kOp == Op::kMul, scalar::Mul,
                       std::conditional_t<kOp == Op::kMulByConj, scalar::MulByConj, scalar::Div>>;

double Narrow(Quad v, bool flush) {
  const double r = static_cast<double>(v);
  return flush && loop::IsSubnormal(r) ? std::copysign(0.0, r) : r;
}

// A double element with finite parts, in binary128: every product of two parts is exact, so a
// sum of two products is rounded once, and a quotient of two such sums three times, all far below
// the ulp of double.
template <Op kOp>
int32_t ExactRare(const oxl_complex16* a, const oxl_complex16* b, oxl_complex16* r) {
  const bool flush = (platform::ReadMxcsr() & platform::kMxcsrDaz) != 0;
  const Quad ar = loop::Widen(a->re, flush), ai = loop::Widen(a->im, flush);
  const Quad br = loop::Widen(b->re, flush), bi = loop::Widen(b->im, flush);
  const bool finite =
      std::isfinite(a->re) && std::isfinite(a->im) && std::isfinite(b->re) && std::isfinite(b->im);
  if (!finite || (kOp == Op::kDiv && br == 0 && bi == 0)) {
    return loop::ElementRare<ScalarFunction<kOp>>(a, b, r);
  }
  Quad re, im;
  if constexpr (kOp == Op::kMul) {
    re = ar * br - ai * bi;
    im = ar * bi + ai * br;
  } else {
    re = ar * br + ai * bi;
    im = ai * br - ar * bi;
    if constexpr (kOp == Op::kDiv) {
      const Quad den = br * br + bi * bi;
      re /= den;
      im /= den;
    }
  }
  r->re = Narrow(re, flush);
  r->im = Narrow(im, flush);
  return std::isinf(r->re) || std::isinf(r->im) ? vek_status_overflow : vek_status_ok;
}

// Float elements: the element loop's extended precision is ample for every finite case.
template <Op kOp>
int32_t FloatRare(const oxl_complex8* a, const oxl_complex8* b, oxl_complex8* r) {
  return loop::ElementRare<ScalarFunction<kOp>>(a, b, r);
}

}  // namespace

int32_t vcmul_cout_rare(const oxl_complex8* a, const oxl_complex8* b, oxl_complex8* r) {
  return FloatRare<Op::kMul>(a, b, r);
}
int32_t vzmul_cout_rare(const oxl_complex16* a, const oxl_complex16* b, oxl_complex16* r) {
  return ExactRare<Op::kMul>(a, b, r);
}
int32_t vcmulbyconj_cout_rare(const oxl_complex8* a, const oxl_complex8* b, oxl_complex8* r) {
  return FloatRare<Op::kMulByConj>(a, b, r);
}
int32_t vzmulbyconj_cout_rare(const oxl_complex16* a, const oxl_complex16* b, oxl_complex16* r) {
  return ExactRare<Op::kMulByConj>(a, b, r);
}
int32_t vcdiv_cout_rare(const oxl_complex8* a, const oxl_complex8* b, oxl_complex8* r) {
  return FloatRare<Op::kDiv>(a, b, r);
}
int32_t vzdiv_cout_rare(const oxl_complex16* a, const oxl_complex16* b, oxl_complex16* r) {
  return ExactRare<Op::kDiv>(a, b, r);
}

}  // namespace oxl::vek
