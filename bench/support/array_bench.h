// Array benchmarks: a kernel of the library's C shape, (n, a, r) or (n, a, b, r), timed beside its
// peers on the same inputs at three sizes, with the time per element reported.
//
//   const oxl::bench::UnaryFunction<double> kExp{"dExp", {-700.0, 700.0}};
//   OXL_BENCH(kExp, "libmvec_avx2", oxl::bench::peers::LibmvecExpAvx2, oxl::bench::peers::kAvx2);
//
// Benchmarks are named "<function>/<contestant>/<size>". Every function also brings the copy loop
// of its shape ("copy_d": one double in, one out; "copy2_s": two floats in, one out) as the
// memory-bandwidth bound, registered once per shape as function "copy_<t>"/"copy2_<t>", contestant
// "copy", and timed again as contestant "copy" of every function, last at each size, on that
// function's arrays. The binary's main (bench_main.cpp) registers everything grouped by function and size, so
// that the contestants of one table run one after another on the same cached inputs.
#ifndef OXL_BENCH_SUPPORT_ARRAY_BENCH_H
#define OXL_BENCH_SUPPORT_ARRAY_BENCH_H

#include <cstdint>
#include <type_traits>

namespace oxl::bench {

// L1 and L2: inputs and outputs together fill half of that cache of one core, so that the arrays
// stay resident beside the stack and the tables of the kernels. MEM: 10^7 elements.
enum class Size { kL1, kL2, kMem };
inline constexpr Size kSizes[] = {Size::kL1, Size::kL2, Size::kMem};
inline constexpr int64_t kMemElements = 10'000'000;

const char* SizeName(Size size);

// Element count at `size` for a kernel that moves `bytes_per_element` bytes of inputs and outputs
// per element: a multiple of 64, so that every vector width divides it and no contestant times a
// tail. Unknown cache sizes count as 32 KiB (L1) and 1 MiB (L2).
int64_t ElementCount(Size size, int bytes_per_element);

// Inputs are drawn uniformly from [lo, hi]; with `log_spaced`, lo and hi must be positive and the
// logarithm of the input is uniform instead, so that every binade in between is visited.
struct Range {
  double lo;
  double hi;
  bool log_spaced = false;
};

template <class T>
using UnaryKernel = void (*)(int n, const T* a, T* r);
template <class T>
using BinaryKernel = void (*)(int n, const T* a, const T* b, T* r);

// A function under test: its name in the tables ("dExp", "sAdd") and where its inputs come from.
// Every contestant of one function sees the same inputs.
template <class T>
struct UnaryFunction {
  const char* name;
  Range a;
};
template <class T>
struct BinaryFunction {
  const char* name;
  Range a;
  Range b;
};

// Registers `kernel` as `contestant` of `fn` at every size. Nothing is registered when the CPU
// lacks one of `features` (OXL_CPU_* bits), so that a table simply has no such row there.
// Registering one function name with two different shapes or ranges is a programming error and
// aborts at start-up. Returns true, for the static that OXL_BENCH keeps.
template <class T>
bool Add(const UnaryFunction<T>& fn, const char* contestant,
         std::type_identity_t<UnaryKernel<T>> kernel, uint64_t features = 0);
template <class T>
bool Add(const BinaryFunction<T>& fn, const char* contestant,
         std::type_identity_t<BinaryKernel<T>> kernel, uint64_t features = 0);

// Hands every registered case to Google Benchmark (grouped by function, then size, then contestant
// in the order of registration) and records the machine and the functions in the output's context.
void RegisterAll();

}  // namespace oxl::bench

#define OXL_BENCH_JOIN_(a, b) a##b
#define OXL_BENCH_JOIN(a, b) OXL_BENCH_JOIN_(a, b)
// OXL_BENCH(function, "contestant", kernel [, features]): one line per contestant.
#define OXL_BENCH(...)                                                         \
  [[maybe_unused]] static const bool OXL_BENCH_JOIN(oxl_bench_, __COUNTER__) = \
      ::oxl::bench::Add(__VA_ARGS__)

#endif  // OXL_BENCH_SUPPORT_ARRAY_BENCH_H
