// The inverse trigonometric kernels' rare lanes are few and varied (the C99 Annex F pairs of
// Atan2, results below the normal range, arguments outside Asin's and Acos's domain): the
// extended-precision element loop settles each, with its statuses.
#include "vek/kernels/atrig_rare.h"

#include "vek/frame/element_loop.h"
#include "vek/frame/scalar_layer.h"

namespace oxl::vek {

int32_t vdasin_cout_rare(const double* a, double* r) {
  return loop::ElementRare<scalar::Asin>(a, r);
}
int32_t vsasin_cout_rare(const float* a, float* r) { return loop::ElementRare<scalar::Asin>(a, r); }
int32_t vdacos_cout_rare(const double* a, double* r) {
  return loop::ElementRare<scalar::Acos>(a, r);
}
int32_t vsacos_cout_rare(const float* a, float* r) { return loop::ElementRare<scalar::Acos>(a, r); }
int32_t vdatan2_cout_rare(const double* a, const double* b, double* r) {
  return loop::ElementRare<scalar::Atan2>(a, b, r);
}
int32_t vsatan2_cout_rare(const float* a, const float* b, float* r) {
  return loop::ElementRare<scalar::Atan2>(a, b, r);
}

}  // namespace oxl::vek
