// Scalar routines for the lanes of the hyperbolic kernels that the vector code leaves out: NaNs,
// infinities, the arguments whose results overflow or come near it, and the inverse functions'
// arguments outside their domains. Each computes one element, stores it, and returns the status to
// report (0, 1 domain, 2 singularity, 3 overflow).
#pragma once

#include <cstdint>

namespace oxl::vek {

enum class HypFunction { kSinh, kCosh, kTanh, kAsinh, kAcosh, kAtanh };

// For float and double, each function.
template <HypFunction kFunc, class T>
int32_t HypRare(const T* a, T* r);

}  // namespace oxl::vek
