// Pack and Unpack: every form and element type, on every target, for lengths around the vector
// widths, against the plain loops: the same bits (signalling NaNs included), repeated indices
// keeping the last element, and nothing read or written outside the elements the form names
// (arrays are allocated to the exact size, and the sanitizers watch them).
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <type_traits>
#include <random>
#include <string>
#include <vector>

#include "oxl/vek_kernels.h"
#include "support/float_bits.h"
#include "support/targets.h"
#include "vek/frame/pack.h"

namespace {

using oxl::test::SameBits;
namespace ref = oxl::vek::pack;

template <class E>
struct Kernels {
  void (*pack_i)(int64_t, const E*, int64_t, E*, int);
  void (*pack_v)(int64_t, const E*, const int64_t*, E*, int);
  void (*pack_m)(int64_t, const E*, const int64_t*, E*, int);
  void (*unpack_i)(int64_t, const E*, E*, int64_t, int);
  void (*unpack_v)(int64_t, const E*, E*, const int64_t*, int);
  void (*unpack_m)(int64_t, const E*, E*, const int64_t*, int);
};

template <class E>
std::vector<E> Random(size_t n, std::mt19937_64& rng) {
  std::vector<E> v(n);
  for (auto& e : v) {
    unsigned char bytes[sizeof(E)];
    for (auto& b : bytes) b = static_cast<unsigned char>(rng());
    std::memcpy(&e, bytes, sizeof(E));
  }
  if (n > 2) {  // a signalling NaN as the first part of one element
    constexpr bool kFloatParts = std::is_same_v<E, float> || std::is_same_v<E, oxl_complex8>;
    const uint64_t snan = kFloatParts ? 0x7FA00000u : 0x7FF4000000000000u;
    std::memcpy(&v[n / 2], &snan, kFloatParts ? 4 : 8);
  }
  return v;
}

template <class E>
void CheckType(const Kernels<E>& k) {
  std::mt19937_64 rng(sizeof(E));
  const int64_t lengths[] = {0, 1, 3, 4, 7, 8, 9, 15, 16, 17, 31, 33, 64, 101};
  oxl::test::ForEachTarget([&](const std::string&) {
    for (const int64_t n : lengths) {
      SCOPED_TRACE("n = " + std::to_string(n));
      const std::vector<E> dense = Random<E>(static_cast<size_t>(n), rng);
      for (const int64_t inc : {1, 3, -2, 0}) {
        SCOPED_TRACE("increment " + std::to_string(inc));
        // The strided array holds exactly the elements the increment reaches.
        const int64_t span = n == 0 ? 0 : (n - 1) * (inc < 0 ? -inc : inc) + 1;
        const std::vector<E> strided = Random<E>(static_cast<size_t>(span), rng);
        const int64_t first = inc < 0 && span > 0 ? span - 1 : 0;  // where element 0 stands
        std::vector<E> got(n), want(n);
        k.pack_i(n, strided.data() + first, inc, got.data(), 1);
        ref::PackI(n, strided.data() + first, inc, want.data());
        EXPECT_TRUE(SameBits(got, want)) << "PackI";
        if (inc == 0) continue;  // Unpack with increment 0: covered by the repeated indices
        std::vector<E> out = strided, out_ref = strided;
        k.unpack_i(n, dense.data(), out.data() + first, inc, 1);
        ref::UnpackI(n, dense.data(), out_ref.data() + first, inc);
        EXPECT_TRUE(SameBits(out, out_ref)) << "UnpackI";
      }
      // Indices into an array of m elements, repeats among them.
      const int64_t m = n + 5;
      const std::vector<E> source = Random<E>(static_cast<size_t>(m), rng);
      std::vector<int64_t> index(static_cast<size_t>(n));
      for (auto& i : index)
        i = static_cast<int64_t>(rng() % static_cast<uint64_t>(rng() % 2 ? m : 3));
      std::vector<E> got(n), want(n);
      k.pack_v(n, source.data(), index.data(), got.data(), 1);
      ref::PackV(n, source.data(), index.data(), want.data());
      EXPECT_TRUE(SameBits(got, want)) << "PackV";
      std::vector<E> scattered = source, scattered_ref = source;
      k.unpack_v(n, dense.data(), scattered.data(), index.data(), 1);
      ref::UnpackV(n, dense.data(), scattered_ref.data(), index.data());
      EXPECT_TRUE(SameBits(scattered, scattered_ref)) << "UnpackV";
      // Masks: none, all, and random values with any non-zero meaning set.
      for (int kind = 0; kind < 3; ++kind) {
        std::vector<int64_t> mask(static_cast<size_t>(n));
        for (auto& v : mask) {
          v = kind == 0 ? 0 : kind == 1 ? 1 : (rng() % 3 == 0 ? 0 : static_cast<int64_t>(rng()));
          if (kind == 2 && v == 0 && rng() % 2) v = INT64_MIN;
        }
        size_t count = 0;
        for (int64_t v : mask) count += v != 0;
        std::vector<E> packed(count), packed_ref(count);
        k.pack_m(n, dense.data(), mask.data(), packed.data(), 1);
        ref::PackM(n, dense.data(), mask.data(), packed_ref.data());
        EXPECT_TRUE(SameBits(packed, packed_ref)) << "PackM kind " << kind;
        const std::vector<E> values = Random<E>(count, rng);
        std::vector<E> expanded = dense, expanded_ref = dense;
        k.unpack_m(n, values.data(), expanded.data(), mask.data(), 1);
        ref::UnpackM(n, values.data(), expanded_ref.data(), mask.data());
        EXPECT_TRUE(SameBits(expanded, expanded_ref)) << "UnpackM kind " << kind;
      }
    }
  });
}

#define OXL_KERNELS(t)                                                           \
  {                                                                              \
    oxl_vek_kernel_##t##PackI_B3HAynn, oxl_vek_kernel_##t##PackV_B3HAynn,        \
        oxl_vek_kernel_##t##PackM_B3HAynn, oxl_vek_kernel_##t##UnpackI_B3HAynn,  \
        oxl_vek_kernel_##t##UnpackV_B3HAynn, oxl_vek_kernel_##t##UnpackM_B3HAynn \
  }

TEST(Pack, EveryFormAndType) {
  CheckType<float>(OXL_KERNELS(s));
  CheckType<double>(OXL_KERNELS(d));
  CheckType<oxl_complex8>(OXL_KERNELS(c));
  CheckType<oxl_complex16>(OXL_KERNELS(z));
}

}  // namespace
