// The double kernel set of the moment and covariance entry, one per SIMD target, and the dispatch
// that picks the set of the best target this processor runs. The float set is compiled by
// basic_kernels_s.cpp, so that the two, the largest units of the library, build in parallel.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "stats/basic_kernels_d.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include "simd/targets.h"
#include "stats/basic_kernels-inl.h"

HWY_BEFORE_NAMESPACE();
namespace oxl::stats::HWY_NAMESPACE {

// A constant table of function pointers: nothing runs at load.
constexpr KernelSet<double> kKernelsD = MakeKernelSet<double>();

const KernelSet<double>* KernelsD() { return &kKernelsD; }

}  // namespace oxl::stats::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace oxl::stats {

HWY_EXPORT(KernelsD);

const KernelSet<double>& Kernels(double) { return *OXL_DISPATCH(KernelsD)(); }

}  // namespace oxl::stats
#endif
