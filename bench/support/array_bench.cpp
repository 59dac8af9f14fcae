#include "support/array_bench.h"

#include <benchmark/benchmark.h>
#include <cpuid.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "oxl/platform.h"
#include "support/inputs.h"
#include "support/peers.h"

namespace oxl::bench {
namespace {

// Element type and number of inputs of a kernel: together they fix the element counts and the copy
// loop that bounds the kernel.
struct Shape {
  int element_bytes;
  int inputs;

  bool operator==(const Shape&) const = default;
  int BytesPerElement() const { return (inputs + 1) * element_bytes; }
  const char* TypeName() const { return element_bytes == 4 ? "float" : "double"; }
  std::string BoundName() const {
    return std::string(inputs == 1 ? "copy_" : "copy2_") + (element_bytes == 4 ? "s" : "d");
  }
};

struct FunctionInfo {
  std::string name;
  Shape shape;
  std::vector<Range> ranges;
  bool is_bound;
};

// Times one contestant on `n` elements of its function.
using Runner = std::function<void(benchmark::State&, const FunctionInfo&, int64_t)>;

struct Case {
  std::string function;
  std::string contestant;
  Runner run;
};

struct Registry {
  std::vector<FunctionInfo> functions;
  std::vector<Case> cases;
};

Registry& TheRegistry() {
  static Registry registry;
  return registry;
}

[[noreturn]] void Fail(const std::string& message) {
  std::fprintf(stderr, "oxl bench: %s\n", message.c_str());
  std::abort();
}

bool SameRanges(const std::vector<Range>& x, const std::vector<Range>& y) {
  return std::equal(x.begin(), x.end(), y.begin(), y.end(), [](const Range& p, const Range& q) {
    return p.lo == q.lo && p.hi == q.hi && p.log_spaced == q.log_spaced;
  });
}

// The arrays of the function and size that ran last. Contestants of one table run one after
// another, so each table generates its inputs once; a new table frees the old arrays first.
struct ArrayCache {
  std::string key;
  std::vector<AlignedBuffer> inputs;
  AlignedBuffer result;
};

ArrayCache& Arrays(const FunctionInfo& f, int64_t n) {
  static ArrayCache cache;
  const std::string key = f.name + "/" + std::to_string(n);
  if (cache.key != key) {
    cache = ArrayCache{};
    const size_t bytes = static_cast<size_t>(n) * f.shape.element_bytes;
    // Inputs a quarter page apart, the result half a page from the first input.
    for (int k = 0; k < f.shape.inputs; ++k) {
      AlignedBuffer& buffer = cache.inputs.emplace_back(bytes, 1024 * k);
      const uint64_t seed = InputSeed(f.name, k);
      if (f.shape.element_bytes == 4) {
        FillInputs(f.ranges[k], seed, buffer.As<float>(), n);
      } else {
        FillInputs(f.ranges[k], seed, buffer.As<double>(), n);
      }
    }
    cache.result = AlignedBuffer(bytes, 2048);
    cache.key = key;
  }
  return cache;
}

// The library's SIMD targets that its kernels are timed on, each beside the peers of its width.
struct TargetRow {
  int target;
  const char* suffix;
};
constexpr TargetRow kTargets[] = {{OXL_SIMD_TARGET_AVX512, "_avx512"},
                                  {OXL_SIMD_TARGET_AVX2, "_avx2"}};

// Pins `target` (0: leave the choice alone) for the life of one benchmark.
class PinnedTarget {
 public:
  explicit PinnedTarget(int target) : target_(target) {
    if (target_ != 0) oxl_dft_pvk_set_simd_target(target_);
  }
  ~PinnedTarget() {
    if (target_ != 0) oxl_dft_pvk_set_simd_target(OXL_SIMD_TARGET_DEFAULT);
  }
  PinnedTarget(const PinnedTarget&) = delete;
  PinnedTarget& operator=(const PinnedTarget&) = delete;

 private:
  int target_;
};

template <class T, class Kernel>
void Run(benchmark::State& state, const FunctionInfo& f, int64_t n, Kernel kernel, int target) {
  const PinnedTarget pinned(target);
  const ArrayCache& arrays = Arrays(f, n);
  const T* a = arrays.inputs.front().As<T>();
  const T* b = arrays.inputs.back().As<T>();
  T* r = arrays.result.As<T>();
  const int count = static_cast<int>(n);
  for (auto _ : state) {
    if constexpr (std::is_same_v<Kernel, UnaryKernel<T>>) {
      kernel(count, a, r);
    } else {
      kernel(count, a, b, r);
    }
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * n);
}

void AddFunction(const FunctionInfo& info) {
  Registry& reg = TheRegistry();
  for (const FunctionInfo& f : reg.functions) {
    if (f.name != info.name) continue;
    if (f.shape != info.shape || !SameRanges(f.ranges, info.ranges)) {
      Fail("function " + info.name + " registered with two shapes or input ranges");
    }
    return;
  }
  reg.functions.push_back(info);
}

template <class T, class Kernel>
void AddOneCase(const FunctionInfo& info, const std::string& contestant, Kernel kernel,
                int target) {
  for (const Case& c : TheRegistry().cases) {
    if (c.function == info.name && c.contestant == contestant) {
      Fail("contestant " + info.name + "/" + contestant + " registered twice");
    }
  }
  TheRegistry().cases.push_back(
      {info.name, contestant,
       [kernel, target](benchmark::State& state, const FunctionInfo& f, int64_t n) {
         Run<T>(state, f, n, kernel, target);
       }});
}

// The library's own kernels ("oxl_..." contestants) run once per SIMD target this processor has,
// named with the target ("oxl_HA_avx2"); peers run as they are.
template <class T, class Kernel>
void AddCase(const FunctionInfo& info, const char* contestant, Kernel kernel, uint64_t features) {
  AddFunction(info);
  if (features != 0 && !oxl_dft_pvk_has_features(features)) return;
  if (std::strncmp(contestant, "oxl_", 4) != 0) {
    AddOneCase<T>(info, contestant, kernel, 0);
    return;
  }
  for (const TargetRow& row : kTargets) {
    if (oxl_dft_pvk_simd_target_supported(row.target)) {
      AddOneCase<T>(info, contestant + std::string(row.suffix), kernel, row.target);
    }
  }
}

// Every shape brings its copy loop, registered once as a function of its own.
template <class T>
void AddBound(const Shape& shape) {
  const FunctionInfo info{shape.BoundName(), shape, std::vector<Range>(shape.inputs, {0.0, 1.0}),
                          true};
  for (const FunctionInfo& f : TheRegistry().functions) {
    if (f.name == info.name) return;
  }
  if (shape.inputs == 1) {
    AddCase<T>(info, "copy", static_cast<UnaryKernel<T>>(peers::CopyLoop), peers::kAvx2);
  } else {
    AddCase<T>(info, "copy", static_cast<BinaryKernel<T>>(peers::CopyLoop2), peers::kAvx2);
  }
}

std::string FormatRange(const Range& range) {
  char text[96];
  std::snprintf(text, sizeof text, "%s in [%.6g, %.6g]",
                range.log_spaced ? "log-uniform" : "uniform", range.lo, range.hi);
  return text;
}

std::string Quoted(const std::string& s) { return "\"" + s + "\""; }

// One function's description for the report: element type, inputs, bound, element counts.
std::string Describe(const FunctionInfo& f) {
  std::string inputs;
  for (size_t k = 0; k < f.ranges.size(); ++k) {
    if (k > 0) inputs += "; ";
    inputs += std::string(1, static_cast<char>('a' + k)) + " " + FormatRange(f.ranges[k]);
  }
  std::string elements;
  for (const Size size : kSizes) {
    if (!elements.empty()) elements += ", ";
    elements += Quoted(SizeName(size)) + ": " +
                std::to_string(ElementCount(size, f.shape.BytesPerElement()));
  }
  return "{\"type\": " + Quoted(f.shape.TypeName()) + ", \"inputs\": " + Quoted(inputs) +
         ", \"bound\": " + Quoted(f.is_bound ? "" : f.shape.BoundName()) + ", \"elements\": {" +
         elements + "}}";
}

// The brand string of CPUID leaves 0x80000002 to 0x80000004, 16 bytes each.
std::string CpuModel() {
  if (__get_cpuid_max(0x80000000u, nullptr) < 0x80000004u) return "unknown";
  unsigned regs[3][4] = {};
  for (unsigned i = 0; i < 3; ++i) {
    __get_cpuid(0x80000002u + i, &regs[i][0], &regs[i][1], &regs[i][2], &regs[i][3]);
  }
  char text[sizeof regs + 1] = {};
  std::memcpy(text, regs, sizeof regs);
  std::string model(text);
  model.erase(0, model.find_first_not_of(' '));
  return model;
}

void AddContext() {
  benchmark::AddCustomContext("oxl.cpu_model", CpuModel());
#if defined(__clang__)
  benchmark::AddCustomContext("oxl.compiler", "Clang " __clang_version__);
#else
  benchmark::AddCustomContext("oxl.compiler", "GCC " __VERSION__);
#endif
  benchmark::AddCustomContext("oxl.build_type", OXL_BENCH_BUILD_TYPE);
  benchmark::AddCustomContext("oxl.simd_target", oxl_dft_pvk_simd_target());
  benchmark::AddCustomContext("oxl.libmvec", peers::LibmvecVersion());
  benchmark::AddCustomContext("oxl.sleef", peers::SleefVersion());
  benchmark::AddCustomContext("oxl.cache_l1", std::to_string(oxl_dft_pvk_cache_size(1)));
  benchmark::AddCustomContext("oxl.cache_l2", std::to_string(oxl_dft_pvk_cache_size(2)));
  for (const FunctionInfo& f : TheRegistry().functions) {
    benchmark::AddCustomContext("oxl.function." + f.name, Describe(f));
  }
}

}  // namespace

const char* SizeName(Size size) {
  switch (size) {
    case Size::kL1:
      return "L1";
    case Size::kL2:
      return "L2";
    case Size::kMem:
      return "MEM";
  }
  return "?";
}

int64_t ElementCount(Size size, int bytes_per_element) {
  if (size == Size::kMem) return kMemElements;
  const int level = size == Size::kL1 ? 1 : 2;
  int64_t cache = oxl_dft_pvk_cache_size(level);
  if (cache <= 0) cache = level == 1 ? 32 * 1024 : 1024 * 1024;
  return std::max<int64_t>(cache / 2 / bytes_per_element / 64 * 64, 64);
}

template <class T>
bool Add(const UnaryFunction<T>& fn, const char* contestant,
         std::type_identity_t<UnaryKernel<T>> kernel, uint64_t features) {
  const Shape shape{sizeof(T), 1};
  AddCase<T>(FunctionInfo{fn.name, shape, {fn.a}, false}, contestant, kernel, features);
  AddBound<T>(shape);
  return true;
}

template <class T>
bool Add(const BinaryFunction<T>& fn, const char* contestant,
         std::type_identity_t<BinaryKernel<T>> kernel, uint64_t features) {
  const Shape shape{sizeof(T), 2};
  AddCase<T>(FunctionInfo{fn.name, shape, {fn.a, fn.b}, false}, contestant, kernel, features);
  AddBound<T>(shape);
  return true;
}

template bool Add<float>(const UnaryFunction<float>&, const char*, UnaryKernel<float>, uint64_t);
template bool Add<double>(const UnaryFunction<double>&, const char*, UnaryKernel<double>, uint64_t);
template bool Add<float>(const BinaryFunction<float>&, const char*, BinaryKernel<float>, uint64_t);
template bool Add<double>(const BinaryFunction<double>&, const char*, BinaryKernel<double>,
                          uint64_t);

void RegisterAll() {
  const Registry& reg = TheRegistry();
  // Functions under test first, then the bounds, each in the order of first registration.
  std::vector<const FunctionInfo*> order;
  for (const bool bounds : {false, true}) {
    for (const FunctionInfo& f : reg.functions) {
      if (f.is_bound == bounds) order.push_back(&f);
    }
  }
  for (const FunctionInfo* f : order) {
    // The bound runs again last in each of the function's tables, on its arrays: memory bandwidth
    // drifts with what the other cores do, so a bound timed in another run can flip a verdict.
    const Case* bound = nullptr;
    for (const Case& c : reg.cases) {
      if (f->is_bound || c.contestant != "copy") continue;
      if (c.function == f->name) Fail(f->name + " has a contestant named copy");
      if (c.function == f->shape.BoundName()) bound = &c;
    }
    for (const Size size : kSizes) {
      const int64_t n = ElementCount(size, f->shape.BytesPerElement());
      for (const Case& c : reg.cases) {
        if (c.function != f->name) continue;
        const std::string name = f->name + "/" + c.contestant + "/" + SizeName(size);
        benchmark::RegisterBenchmark(
            name.c_str(), [&c, info = *f, n](benchmark::State& state) { c.run(state, info, n); });
      }
      if (bound == nullptr) continue;
      const std::string name = f->name + "/copy/" + SizeName(size);
      benchmark::RegisterBenchmark(name.c_str(), [bound, info = *f, n](benchmark::State& state) {
        bound->run(state, info, n);
      });
    }
  }
  AddContext();
}

}  // namespace oxl::bench
