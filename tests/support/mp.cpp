#include "support/mp.h"

#include <memory>
#include <vector>

namespace oxl::test {
namespace {

template <class Value>
struct Pool {
  std::vector<std::unique_ptr<Value>> values;
  size_t used = 0;

  Value& Take() {
    if (used == values.size()) values.push_back(std::make_unique<Value>());
    return *values[used++];
  }
};

thread_local Pool<MpReal> real_pool;
thread_local Pool<MpComplex> complex_pool;

}  // namespace

Scratch::Scratch() : real_mark_(real_pool.used), complex_mark_(complex_pool.used) {}

Scratch::~Scratch() {
  real_pool.used = real_mark_;
  complex_pool.used = complex_mark_;
}

mpfr_ptr Scratch::Real(mpfr_prec_t bits) {
  mpfr_ptr v = real_pool.Take().get();
  // MPFR reuses the limbs when they suffice, so switching precisions does not reallocate.
  mpfr_set_prec(v, bits);
  return v;
}

mpc_ptr Scratch::Complex(mpfr_prec_t bits) {
  mpc_ptr v = complex_pool.Take().get();
  mpc_set_prec(v, bits);
  return v;
}

OracleThreadScope::OracleThreadScope()
    : saved_emin_(mpfr_get_emin()), saved_emax_(mpfr_get_emax()) {
  mpfr_set_emin(mpfr_get_emin_min());
  mpfr_set_emax(mpfr_get_emax_max());
}

OracleThreadScope::~OracleThreadScope() {
  mpfr_set_emin(saved_emin_);
  mpfr_set_emax(saved_emax_);
  mpfr_free_cache();
}

}  // namespace oxl::test
