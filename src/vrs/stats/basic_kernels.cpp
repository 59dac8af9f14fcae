// The kernel sets of the moment and covariance entry, one per SIMD target, and the dispatch that
// picks the set of the best target this processor runs.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vrs/stats/basic_kernels.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include "vrs/stats/basic_kernels-inl.h"

HWY_BEFORE_NAMESPACE();
namespace oxl::stats::HWY_NAMESPACE {

// Constant tables of function pointers: nothing runs at load.
constexpr KernelSet<double> kKernelsD = MakeKernelSet<double>();
constexpr KernelSet<float> kKernelsS = MakeKernelSet<float>();

const KernelSet<double>* KernelsD() { return &kKernelsD; }
const KernelSet<float>* KernelsS() { return &kKernelsS; }

}  // namespace oxl::stats::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace oxl::stats {

HWY_EXPORT(KernelsD);
HWY_EXPORT(KernelsS);

const KernelSet<double>& Kernels(double) { return *HWY_DYNAMIC_DISPATCH(KernelsD)(); }
const KernelSet<float>& Kernels(float) { return *HWY_DYNAMIC_DISPATCH(KernelsS)(); }

}  // namespace oxl::stats
#endif
