// The SIMD helpers applied to arrays, as compiled for the target that dispatch selects now, each
// beside its scalar definition. Tests walk these tables under oxl::test::ForEachTarget.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "simd/float_bits.h"

namespace oxl::test::simd {

template <typename T>
struct Unary {
  std::string name;
  void (*vec)(const T* x, T* out, size_t n);
  T (*ref)(T x);
};

template <typename T>
struct Binary {
  std::string name;
  void (*vec)(const T* x, const T* y, T* out, size_t n);
  T (*ref)(T x, T y);
};

template <typename T>
struct Ternary {
  std::string name;
  void (*vec)(const T* a, const T* b, const T* c, T* out, size_t n);
  T (*ref)(T a, T b, T c);
};

template <typename T>
struct Lookup {
  size_t entries;
  // out[i] = table[index[i] mod entries]; `table` is 64-byte aligned.
  void (*vec)(const T* table, const oxl::simd::BitsOf<T>* index, T* out, size_t n);
};

template <typename T>
struct HelperTable {
  size_t lanes;  // lanes of a full vector
  std::vector<Unary<T>> unary;
  std::vector<Binary<T>> binary;
  std::vector<Ternary<T>> ternary;
  std::vector<Lookup<T>> lookups;
  // out[i] = table[index[i] mod 16] widened to T, through FloatTable.
  void (*float_lookup)(const float* table, const oxl::simd::BitsOf<T>* index, T* out, size_t n);
  // Stores LoadPartial(src, count) whole into lanes_out, then StorePartial of it to dst.
  void (*partial)(const T* src, T* dst, T* lanes_out, size_t count);
};

const HelperTable<float>& FloatHelpers();
const HelperTable<double>& DoubleHelpers();

template <typename T>
const HelperTable<T>& Helpers() {
  if constexpr (sizeof(T) == 4) {
    return FloatHelpers();
  } else {
    return DoubleHelpers();
  }
}

}  // namespace oxl::test::simd
