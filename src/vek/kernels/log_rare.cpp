// Scalar routines of Ln, Log10 and Log1p for the lanes the vector code marks. The results of the
// domain and pole cases come from real divisions (0 / 0, -1 / 0), so that the invalid and
// divide-by-zero flags are raised as the operations say. Comparisons with zero are floating-point
// compares: under DAZ a denormal reads as zero, as it does in the vector code.
#include "vek/kernels/log_rare.h"

#include <cmath>
#include <cstring>
#include <type_traits>

#include "vek/kernels/force.h"

namespace oxl::vek {

namespace {

template <class T>
bool ExponentAllOnes(T x) {
  if constexpr (sizeof(T) == 4) {
    uint32_t bits;
    std::memcpy(&bits, &x, sizeof bits);
    return (bits & 0x7F800000u) == 0x7F800000u;
  } else {
    uint64_t bits;
    std::memcpy(&bits, &x, sizeof bits);
    return (bits & 0x7FF0000000000000u) == 0x7FF0000000000000u;
  }
}

// The decisions shared by the six routines; the pole sits at 0 (Ln, Log10) or at -1 (Log1p).
// Positive values that reach the last step (the vector code marks them only when its signal is
// conservative) are computed in the next wider format, float in double and double in the x87
// extended format, where a denormal of the type is a normal number, and rounded once more.
template <LogFunction kFunc, class T>
int32_t Rare(const T* a, T* r) {
  using Wide = std::conditional_t<sizeof(T) == 4, double, long double>;
  const T x = *a;
  if (ExponentAllOnes(x)) {
    if (x < 0) {  // -inf
      *r = Force(Force(T(0)) / T(0));
      return 1;
    }
    *r = Force(x * x);  // +inf, or the NaN quieted
    return 0;
  }
  const T pole = kFunc == LogFunction::kLog1p ? T(-1) : T(0);
  if (x == pole) {
    *r = Force(Force(T(-1)) / T(0));
    return 2;
  }
  if (x < pole) {
    *r = Force(Force(T(0)) / T(0));
    return 1;
  }
  const Wide w = x;
  Wide value;
  if constexpr (kFunc == LogFunction::kLn) {
    value = std::log(w);
  } else if constexpr (kFunc == LogFunction::kLog10) {
    value = std::log10(w);
  } else {
    value = std::log1p(w);
  }
  *r = static_cast<T>(value);
  return 0;
}

}  // namespace

int32_t vsln_cout_rare(const float* a, float* r) { return Rare<LogFunction::kLn>(a, r); }
int32_t vdln_cout_rare(const double* a, double* r) { return Rare<LogFunction::kLn>(a, r); }
int32_t vslog10_cout_rare(const float* a, float* r) { return Rare<LogFunction::kLog10>(a, r); }
int32_t vdlog10_cout_rare(const double* a, double* r) { return Rare<LogFunction::kLog10>(a, r); }
int32_t vslog1p_cout_rare(const float* a, float* r) { return Rare<LogFunction::kLog1p>(a, r); }
int32_t vdlog1p_cout_rare(const double* a, double* r) { return Rare<LogFunction::kLog1p>(a, r); }

}  // namespace oxl::vek
