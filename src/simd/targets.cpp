#include "simd/targets.h"

#include <hwy/targets.h>

#include <atomic>
#include <cstring>

#include "oxl/platform.h"

namespace oxl::simd {
namespace detail {
constinit hwy::ChosenTarget chosen;
}  // namespace detail

namespace {

// Highway's portable targets; whichever is compiled stands last in every dispatch table.
constexpr int64_t kFallback = HWY_SCALAR | HWY_EMU128;

struct Row {
  Target target;
  const char* name;
  int64_t hwy_bits;
};

// Best first; the order in which the default choice tries them.
constexpr Row kTargets[] = {
    {.target = Target::kAvx512, .name = "avx512", .hwy_bits = HWY_AVX3},
    {.target = Target::kAvx2, .name = "avx2", .hwy_bits = HWY_AVX2},
    {.target = Target::kScalar, .name = "scalar", .hwy_bits = kFallback},
};

const Row* Find(Target target) {
  for (const Row& row : kTargets) {
    if (row.target == target) return &row;
  }
  return nullptr;
}

// Compiled into the library and run by this processor. A build for the processor's own target
// alone (the sanitizer builds) has that one.
bool Runs(const Row& row) {
  const int64_t compiled = HWY_TARGETS & row.hwy_bits;
  return compiled != 0 && (row.hwy_bits == kFallback || (hwy::SupportedTargets() & compiled) != 0);
}

Target Best() {
  for (const Row& row : kTargets) {
    if (Runs(row)) return row.target;
  }
  return Target::kScalar;
}

// The environment's choice, read once. A name the processor cannot run, an unknown name, an empty
// or overlong value all give the best target.
Target FromEnvironment() {
  char value[32];
  const int length = oxl_serv_getenv("OXL_SIMD_TARGET", value, sizeof value);
  if (length <= 0 || length >= static_cast<int>(sizeof value) - 1) return Best();
  for (const Row& row : kTargets) {
    if (std::strcmp(value, row.name) == 0 && Runs(row)) return row.target;
  }
  return Best();
}

std::atomic<Target> environment_choice{Target::kDefault};
std::atomic<Target> active{Target::kDefault};

Target EnvironmentChoice() {
  Target choice = environment_choice.load(std::memory_order_acquire);
  if (choice == Target::kDefault) {
    choice = FromEnvironment();
    environment_choice.store(choice, std::memory_order_release);
  }
  return choice;
}

void Install(Target target) {
  active.store(target, std::memory_order_release);
  const int64_t bits = Find(target)->hwy_bits;
  // Highway's mask format carries the fallback always; a target bit above it takes precedence.
  detail::chosen.Update(bits == kFallback ? 0 : bits);
}

}  // namespace

namespace detail {
size_t ChooseOnFirstCall() {
  Install(EnvironmentChoice());
  return chosen.GetIndex();
}
}  // namespace detail

Target ActiveTarget() {
  DispatchIndex();
  return active.load(std::memory_order_acquire);
}

const char* TargetName(Target target) {
  const Row* row = Find(target);
  return row != nullptr ? row->name : "default";
}

bool Supports(Target target) {
  const Row* row = Find(target);
  return row != nullptr && Runs(*row);
}

Target Pin(Target target) {
  if (target == Target::kDefault) {
    target = EnvironmentChoice();
  } else if (!Supports(target)) {
    target = Best();
  }
  Install(target);
  return target;
}

std::vector<Target> AvailableTargets() {
  std::vector<Target> targets;
  for (const Row& row : kTargets) {
    if (Runs(row)) targets.push_back(row.target);
  }
  return targets;
}

}  // namespace oxl::simd

extern "C" {

OXL_API int oxl_dft_pvk_get_simd_target(void) {
  return static_cast<int>(oxl::simd::ActiveTarget());
}

OXL_API int oxl_dft_pvk_set_simd_target(int target) {
  if (target < OXL_SIMD_TARGET_DEFAULT || target > OXL_SIMD_TARGET_AVX512) return -1;
  return static_cast<int>(oxl::simd::Pin(static_cast<oxl::simd::Target>(target)));
}

OXL_API int oxl_dft_pvk_simd_target_supported(int target) {
  return oxl::simd::Supports(static_cast<oxl::simd::Target>(target)) ? 1 : 0;
}

OXL_API const char* oxl_dft_pvk_simd_target(void) {
  return oxl::simd::TargetName(oxl::simd::ActiveTarget());
}

}  // extern "C"
