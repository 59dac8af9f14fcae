// Copy, zero and set over typed arrays. An element is handled as the word of its width (a pair of
// 8-byte words for the 16-byte complex types), so each operation is one routine for all types.
#include <cstring>
#include <type_traits>

#include "oxl/primitives.h"
#include "primitives/fill.h"

namespace oxl::primitives {
namespace {

// The word a fill repeats for an element of type T, and how many words make one element.
template <class T>
using WordOf =
    std::conditional_t<sizeof(T) == 1, uint8_t,
                       std::conditional_t<sizeof(T) == 2, uint16_t,
                                          std::conditional_t<sizeof(T) == 4, uint32_t, uint64_t>>>;
template <class T>
constexpr size_t kWordsPerElement = sizeof(T) / sizeof(WordOf<T>);

int32_t CopyBytes(const void* src, void* dst, int32_t bytes) {
  if (src == nullptr || dst == nullptr) return OXL_PRIM_STATUS_NULL_POINTER;
  if (bytes < 1) return OXL_PRIM_STATUS_BAD_LENGTH;
  std::memcpy(dst, src, static_cast<size_t>(bytes));
  return OXL_PRIM_STATUS_OK;
}

template <class T>
int32_t CopyEntry(const T* src, T* dst, int32_t len) {
  if (src == nullptr || dst == nullptr) return OXL_PRIM_STATUS_NULL_POINTER;
  if (len < 1) return OXL_PRIM_STATUS_BAD_LENGTH;
  CopyInPieces(src, dst, static_cast<size_t>(len) * sizeof(T), kCopyPieceBytes);
  return OXL_PRIM_STATUS_OK;
}

template <class T>
int32_t SetEntry(const T& value, T* dst, int32_t len) {
  if (dst == nullptr) return OXL_PRIM_STATUS_NULL_POINTER;
  if (len < 1) return OXL_PRIM_STATUS_BAD_LENGTH;
  using W = WordOf<T>;
  W words[kWordsPerElement<T>];
  std::memcpy(words, &value, sizeof(T));
  Fill(reinterpret_cast<W*>(dst), static_cast<size_t>(len) * kWordsPerElement<T>, words[0],
       words[kWordsPerElement<T> - 1]);
  return OXL_PRIM_STATUS_OK;
}

template <class T>
int32_t ZeroEntry(T* dst, int32_t len) {
  if (dst == nullptr) return OXL_PRIM_STATUS_NULL_POINTER;
  if (len < 1) return OXL_PRIM_STATUS_BAD_LENGTH;
  Fill(reinterpret_cast<uint8_t*>(dst), static_cast<size_t>(len) * sizeof(T), 0, 0);
  return OXL_PRIM_STATUS_OK;
}

}  // namespace

void CopyInPieces(const void* src, void* dst, size_t bytes, size_t piece) {
  const auto* from = static_cast<const unsigned char*>(src);
  auto* to = static_cast<unsigned char*>(dst);
  for (; bytes > piece; bytes -= piece, from += piece, to += piece) {
    CopyBytes(from, to, static_cast<int32_t>(piece));
  }
  CopyBytes(from, to, static_cast<int32_t>(bytes));
}

}  // namespace oxl::primitives

using oxl::primitives::CopyEntry;
using oxl::primitives::SetEntry;
using oxl::primitives::ZeroEntry;

#define OXL_PRIM_DEFINE_BLOCK(tag, T)                                                      \
  int32_t oxl_dft_avx2_pvksCopy_##tag(const T* src, T* dst, int32_t len) {                 \
    return CopyEntry(src, dst, len);                                                       \
  }                                                                                        \
  int32_t oxl_dft_avx2_pvksZero_##tag(T* dst, int32_t len) { return ZeroEntry(dst, len); } \
  int32_t oxl_dft_avx2_pvksSet_##tag(T value, T* dst, int32_t len) {                       \
    return SetEntry(value, dst, len);                                                      \
  }

extern "C" {
OXL_PRIM_DEFINE_BLOCK(8u, uint8_t)
OXL_PRIM_DEFINE_BLOCK(16s, int16_t)
OXL_PRIM_DEFINE_BLOCK(16sc, oxl_16sc)
OXL_PRIM_DEFINE_BLOCK(32f, float)
OXL_PRIM_DEFINE_BLOCK(32fc, oxl_32fc)
OXL_PRIM_DEFINE_BLOCK(32s, int32_t)
OXL_PRIM_DEFINE_BLOCK(32sc, oxl_32sc)
OXL_PRIM_DEFINE_BLOCK(64f, double)
OXL_PRIM_DEFINE_BLOCK(64fc, oxl_64fc)
OXL_PRIM_DEFINE_BLOCK(64s, int64_t)
OXL_PRIM_DEFINE_BLOCK(64sc, oxl_64sc)
}
