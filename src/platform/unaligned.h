// Elements of a caller's array that may be aligned to less than their size: a double array on a
// 4-byte boundary is still a valid request of a generator, but a store through a plain double
// pointer there is undefined (the undefined-behaviour sanitizer rejects it). Through memcpy the
// compiler emits the same moves, and they are defined at any address.
#pragma once

#include <cstddef>
#include <cstring>

namespace oxl::platform {

template <class T>
inline void StoreElement(T* array, std::size_t i, T value) {
  std::memcpy(reinterpret_cast<unsigned char*>(array) + i * sizeof(T), &value, sizeof(T));
}

template <class T>
inline T LoadElement(const T* array, std::size_t i) {
  T value;
  std::memcpy(&value, reinterpret_cast<const unsigned char*>(array) + i * sizeof(T), sizeof(T));
  return value;
}

}  // namespace oxl::platform
