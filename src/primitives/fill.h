// Fills of arrays with a repeated word or pair of words, per SIMD target (fill.cpp).
#pragma once

#include <cstddef>
#include <cstdint>

namespace oxl::primitives {

// Fills above this many bytes bypass the cache.
inline constexpr size_t kCachedFillBytes = 0x200000;

// Writes `words` words alternating a, b, a, ... (a == b for a plain fill).
void Fill(uint8_t* dst, size_t words, uint8_t a, uint8_t b);
void Fill(uint16_t* dst, size_t words, uint16_t a, uint16_t b);
void Fill(uint32_t* dst, size_t words, uint32_t a, uint32_t b);
void Fill(uint64_t* dst, size_t words, uint64_t a, uint64_t b);

// Copies `bytes` bytes in pieces of at most `piece` bytes, each by one copy of a 32-bit count.
void CopyInPieces(const void* src, void* dst, size_t bytes, size_t piece);

// The piece of a copy that takes a 32-bit byte count: the largest multiple of 32 bytes below 2^31.
inline constexpr size_t kCopyPieceBytes = 0x7FFFFFE0;

}  // namespace oxl::primitives
