# Compiler settings shared by the library, the tests and the benchmarks.

# Floating point: no contraction of a*b+c into a fused multiply-add behind our back. Every fused
# operation in the kernels is written out, so that results are the same on every SIMD target.
add_compile_options(-ffp-contract=off -fno-math-errno -Wall -Wextra -Wno-unused-parameter)

# SIMD targets compiled for runtime dispatch: AVX-512 (Highway's AVX3), AVX2 with FMA, and the
# portable one-lane SCALAR target as fallback (GCC 12.2 is too old for Highway's EMU128). SSSE3
# and SSE4 would only lengthen the build.
add_compile_definitions("HWY_DISABLED_TARGETS=(HWY_SSSE3|HWY_SSE4|HWY_AVX3_DL)")

# The processor's own target alone: a third of the compile work of the kernels, for builds that
# look for faults of memory and threads rather than for differences between targets (the
# sanitizer builds of scripts/test-all.sh). The result runs only on processors like this one.
option(OXL_NATIVE_TARGET_ONLY "Compile the SIMD kernels for this processor's target only" OFF)
if(OXL_NATIVE_TARGET_ONLY)
  add_compile_options(-march=native)
  add_compile_definitions(HWY_COMPILE_ONLY_STATIC)
endif()

# Checks left out wherever the address sanitizer runs (here and in the fuzzers). Use-after-scope
# checks poison every local at the end of its scope, which in the unrolled SIMD kernels is nearly
# every statement: they made the address-sanitized build five to ten times slower to compile (one
# statistics kernel unit took over 20 minutes); out-of-bounds accesses to the stack are still
# caught. The undefined-behaviour checks of object sizes and pointer overflow repeat what the
# address sanitizer catches at the access itself, and they tripled the undefined-behaviour
# sanitizer's compile time of the statistics kernel units (163 s against 52 without them and 47
# with no sanitizer, per unit and target).
set(OXL_ADDRESS_SANITIZER_TRIMS -fno-sanitize-address-use-after-scope
  -fno-sanitize=object-size,pointer-overflow)

if(OXL_SANITIZE)
  string(REPLACE "," ";" _oxl_sanitizers "${OXL_SANITIZE}")
  foreach(_s IN LISTS _oxl_sanitizers)
    add_compile_options(-fsanitize=${_s})
    add_link_options(-fsanitize=${_s})
  endforeach()
  add_compile_options(-fno-omit-frame-pointer -fno-sanitize-recover=all)
  add_link_options(-fno-sanitize-recover=all)
  if("address" IN_LIST _oxl_sanitizers)
    add_compile_options(${OXL_ADDRESS_SANITIZER_TRIMS})
  endif()
endif()
