// Polynomials over GF(2) for the polynomial skip-ahead: bit vectors of 64-bit words, bit i the
// coefficient of x^i, with the multiplication ladder (schoolbook on a carry-less multiply,
// Karatsuba, Toom-Cook 3) and x^n mod P by squaring and Barrett reduction.
#pragma once

#include <cstddef>
#include <cstdint>

namespace oxl::vrs {

// Words of a polynomial of degree d in multiplication: (d + 64) >> 6.
inline constexpr size_t PolyWords(int degree) { return static_cast<size_t>(degree + 64) >> 6; }

// The 128-bit carry-less product of two words, from shifts and XOR.
void ClMulPortable(uint64_t a, uint64_t b, uint64_t* lo, uint64_t* hi);

// Whether the carry-less multiply instruction serves the schoolbook products (when the CPU has
// it); tests turn it off to check the portable form against it. Returns the previous setting.
bool SetUseClmulInstruction(bool use);
bool HasClmulInstruction();

// r[0 .. 2k) = a[0 .. k) b[0 .. k), unrolled; k from 1 to 19.
template <int K>
void poly_mul_kar_n(const uint64_t* a, const uint64_t* b, uint64_t* r);

// Scratch words that poly_mul_kar / poly_mul_tc3 / poly_mul need for n-word operands.
size_t PolyMulScratchWords(size_t n);

// r[0 .. 2n) = a[0 .. n) b[0 .. n).
void poly_mul_kar(const uint64_t* a, const uint64_t* b, size_t n, uint64_t* r, uint64_t* scratch);
void poly_mul_tc3(const uint64_t* a, const uint64_t* b, size_t n, uint64_t* r, uint64_t* scratch);
// r[0 .. na + nb) = a[0 .. na) b[0 .. nb); scratch of PolyMulScratchWords(min) + 2 min words.
void poly_mul(const uint64_t* a, size_t na, const uint64_t* b, size_t nb, uint64_t* r,
              uint64_t* scratch);

// Barrett reduction modulo P of degree d: `mu` is floor(x^(2d) / P) (degree d). a holds up to
// 2d - 1 coefficients (2 PolyWords(d) words) and is consumed; r gets the PolyWords(d) words of
// a mod P. scratch: PolyModScratchWords(d) words.
size_t PolyModScratchWords(int degree);
void poly_mod_p(uint64_t* a, const uint64_t* p, const uint64_t* mu, int degree, uint64_t* r,
                uint64_t* scratch);

// x^nskip mod P, P given by `count` rising exponents ending with `degree`; result has
// PolyWords(degree) words. Returns 0 or StatusNoMemory.
int32_t __vrsPolyRem(uint64_t nskip, int degree, int count, const uint32_t* exponents,
                     uint64_t* result);

}  // namespace oxl::vrs
