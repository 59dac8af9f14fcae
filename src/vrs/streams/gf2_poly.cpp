// GF(2) polynomial arithmetic of the polynomial skip-ahead.
//
// Multiplication by size: unrolled Karatsuba up to 19 words (poly_mul_kar_n<k>, schoolbook on
// a carry-less multiply at 4 words and below), recursive Karatsuba below 39 words, Toom-Cook 3
// above (Bodrato's points 0, 1, x, x + 1 and infinity, whose interpolation needs only exact
// divisions by x and x + 1). x^n mod P squares by spreading bits, which costs no
// multiplication, and reduces by Barrett's method with a reciprocal from Newton iteration.
#include "vrs/streams/gf2_poly.h"

#include <algorithm>
#include <cstring>

#include "oxl/platform.h"
#include "oxl/vrs.h"

#if defined(__x86_64__) || defined(__i386__)
#include <immintrin.h>
#define OXL_HAVE_CLMUL_PATH 1
#endif

namespace oxl::vrs {
namespace {

using u64 = uint64_t;

#if OXL_HAVE_CLMUL_PATH
__attribute__((target("pclmul,sse4.1"))) void SchoolbookClmul(const u64* a, const u64* b, int n,
                                                               u64* r) {
  for (int i = 0; i < 2 * n; ++i) r[i] = 0;
  for (int i = 0; i < n; ++i) {
    const __m128i va = _mm_cvtsi64_si128(static_cast<long long>(a[i]));
    for (int j = 0; j < n; ++j) {
      const __m128i p = _mm_clmulepi64_si128(va, _mm_cvtsi64_si128(static_cast<long long>(b[j])), 0);
      r[i + j] ^= static_cast<u64>(_mm_cvtsi128_si64(p));
      r[i + j + 1] ^= static_cast<u64>(_mm_extract_epi64(p, 1));
    }
  }
}

bool DetectClmul() { return __builtin_cpu_supports("pclmul"); }
#else
void SchoolbookClmul(const u64*, const u64*, int, u64*) {}
bool DetectClmul() { return false; }
#endif

bool g_use_clmul = DetectClmul();

void SchoolbookPortable(const u64* a, const u64* b, int n, u64* r) {
  for (int i = 0; i < 2 * n; ++i) r[i] = 0;
  for (int i = 0; i < n; ++i) {
    for (int j = 0; j < n; ++j) {
      u64 lo, hi;
      ClMulPortable(a[i], b[j], &lo, &hi);
      r[i + j] ^= lo;
      r[i + j + 1] ^= hi;
    }
  }
}

inline void Schoolbook(const u64* a, const u64* b, int n, u64* r) {
  if (g_use_clmul)
    SchoolbookClmul(a, b, n, r);
  else
    SchoolbookPortable(a, b, n, r);
}

inline void XorInto(u64* r, const u64* a, size_t n) {
  for (size_t i = 0; i < n; ++i) r[i] ^= a[i];
}

// r = a / x, exactly (bit 0 of a is clear).
void DivX(u64* a, size_t n) {
  for (size_t i = 0; i < n; ++i) a[i] = (a[i] >> 1) | (i + 1 < n ? a[i + 1] << 63 : 0);
}

// a = a / (x + 1), exactly: q_i = p_i + q_(i-1), a prefix XOR from the bottom.
void DivXPlus1(u64* a, size_t n) {
  u64 carry = 0;
  for (size_t i = 0; i < n; ++i) {
    u64 w = a[i];
    w ^= w << 1;
    w ^= w << 2;
    w ^= w << 4;
    w ^= w << 8;
    w ^= w << 16;
    w ^= w << 32;
    w ^= carry;
    a[i] = w;
    carry = (w >> 63) != 0 ? ~u64{0} : 0;
  }
}

// r[0 .. n+1) = u0 + x^s u1 + x^(2s) u2 for s of 1, as a (k + 1)-word value; u2 has l2 words.
void EvalAtX(const u64* u0, const u64* u1, const u64* u2, size_t k, size_t l2, u64* r) {
  for (size_t i = 0; i <= k; ++i) {
    const u64 w0 = i < k ? u0[i] : 0;
    const u64 w1 = i < k ? u1[i] : 0;
    const u64 w1p = i > 0 ? u1[i - 1] : 0;
    const u64 w2 = i < l2 ? u2[i] : 0;
    const u64 w2p = (i > 0 && i - 1 < l2) ? u2[i - 1] : 0;
    r[i] = w0 ^ (w1 << 1) ^ (w1p >> 63) ^ (w2 << 2) ^ (w2p >> 62);
  }
}

using MulFn = void (*)(const u64*, const u64*, u64*);

template <int K>
MulFn KarTable() {
  return &poly_mul_kar_n<K>;
}

void KarSmall(const u64* a, const u64* b, size_t n, u64* r) {
  static const MulFn kTable[20] = {nullptr,       KarTable<1>(),  KarTable<2>(),  KarTable<3>(),
                                   KarTable<4>(), KarTable<5>(),  KarTable<6>(),  KarTable<7>(),
                                   KarTable<8>(), KarTable<9>(),  KarTable<10>(), KarTable<11>(),
                                   KarTable<12>(), KarTable<13>(), KarTable<14>(), KarTable<15>(),
                                   KarTable<16>(), KarTable<17>(), KarTable<18>(), KarTable<19>()};
  kTable[n](a, b, r);
}

size_t KarScratch(size_t n) {
  if (n <= 19) return 0;
  const size_t h = (n + 1) / 2;
  return 4 * h + KarScratch(h);
}

size_t Tc3Scratch(size_t n) {
  if (n < 39) return KarScratch(n);
  const size_t k = (n + 2) / 3;
  return 12 * k + 12 + Tc3Scratch(k + 1);
}

// dst = src >> shift bits, dst of n words.
void ShiftRightBits(const u64* src, size_t src_words, int shift, u64* dst, size_t n) {
  const size_t ws = static_cast<size_t>(shift) >> 6;
  const int bs = shift & 63;
  for (size_t i = 0; i < n; ++i) {
    const u64 lo = ws + i < src_words ? src[ws + i] : 0;
    const u64 hi = ws + i + 1 < src_words ? src[ws + i + 1] : 0;
    dst[i] = bs == 0 ? lo : (lo >> bs) | (hi << (64 - bs));
  }
}

// Clears the bits from `bits` on in a of n words.
void Truncate(u64* a, size_t n, size_t bits) {
  for (size_t i = 0; i < n; ++i) {
    if (i * 64 >= bits)
      a[i] = 0;
    else if (bits - i * 64 < 64)
      a[i] &= (u64{1} << (bits - i * 64)) - 1;
  }
}

inline u64 Spread32(uint32_t v) {
  u64 x = v;
  x = (x | (x << 16)) & 0x0000FFFF0000FFFFull;
  x = (x | (x << 8)) & 0x00FF00FF00FF00FFull;
  x = (x | (x << 4)) & 0x0F0F0F0F0F0F0F0Full;
  x = (x | (x << 2)) & 0x3333333333333333ull;
  x = (x | (x << 1)) & 0x5555555555555555ull;
  return x;
}

// r[0 .. 2n) = a^2: each coefficient moves to twice its place.
void Square(const u64* a, size_t n, u64* r) {
  for (size_t i = 0; i < n; ++i) {
    r[2 * i] = Spread32(static_cast<uint32_t>(a[i]));
    r[2 * i + 1] = Spread32(static_cast<uint32_t>(a[i] >> 32));
  }
}

}  // namespace

void ClMulPortable(uint64_t a, uint64_t b, uint64_t* lo, uint64_t* hi) {
  // Products of a with the 16 four-bit values, as 67-bit numbers in two words.
  u64 tl[16], th[16];
  for (int i = 0; i < 16; ++i) {
    tl[i] = ((i & 1) ? a : 0) ^ ((i & 2) ? a << 1 : 0) ^ ((i & 4) ? a << 2 : 0) ^ ((i & 8) ? a << 3 : 0);
    th[i] = ((i & 2) ? a >> 63 : 0) ^ ((i & 4) ? a >> 62 : 0) ^ ((i & 8) ? a >> 61 : 0);
  }
  u64 l = 0, h = 0;
  for (int j = 15; j >= 0; --j) {
    h = (h << 4) | (l >> 60);
    l <<= 4;
    const int nib = static_cast<int>((b >> (4 * j)) & 15);
    l ^= tl[nib];
    h ^= th[nib];
  }
  *lo = l;
  *hi = h;
}

bool SetUseClmulInstruction(bool use) {
  const bool previous = g_use_clmul;
  g_use_clmul = use && DetectClmul();
  return previous;
}

bool HasClmulInstruction() { return DetectClmul(); }

template <int K>
void poly_mul_kar_n(const uint64_t* a, const uint64_t* b, uint64_t* r) {
  if constexpr (K <= 4) {
    Schoolbook(a, b, K, r);
  } else {
    // Halves of H and L words; an odd size has a one-word longer low half.
    constexpr int H = (K + 1) / 2, L = K - H;
    poly_mul_kar_n<H>(a, b, r);
    poly_mul_kar_n<L>(a + H, b + H, r + 2 * H);
    u64 sa[H], sb[H], m[2 * H];
    for (int i = 0; i < H; ++i) {
      sa[i] = a[i] ^ (i < L ? a[H + i] : 0);
      sb[i] = b[i] ^ (i < L ? b[H + i] : 0);
    }
    poly_mul_kar_n<H>(sa, sb, m);
    for (int i = 0; i < 2 * H; ++i) m[i] ^= r[i] ^ (i < 2 * L ? r[2 * H + i] : 0);
    for (int i = 0; i < 2 * H; ++i) r[H + i] ^= m[i];
  }
}

template void poly_mul_kar_n<1>(const uint64_t*, const uint64_t*, uint64_t*);
template void poly_mul_kar_n<2>(const uint64_t*, const uint64_t*, uint64_t*);
template void poly_mul_kar_n<3>(const uint64_t*, const uint64_t*, uint64_t*);
template void poly_mul_kar_n<4>(const uint64_t*, const uint64_t*, uint64_t*);
template void poly_mul_kar_n<5>(const uint64_t*, const uint64_t*, uint64_t*);
template void poly_mul_kar_n<8>(const uint64_t*, const uint64_t*, uint64_t*);
template void poly_mul_kar_n<10>(const uint64_t*, const uint64_t*, uint64_t*);
template void poly_mul_kar_n<16>(const uint64_t*, const uint64_t*, uint64_t*);
template void poly_mul_kar_n<19>(const uint64_t*, const uint64_t*, uint64_t*);

size_t PolyMulScratchWords(size_t n) { return Tc3Scratch(n) + 2 * n + 8; }

void poly_mul_kar(const uint64_t* a, const uint64_t* b, size_t n, uint64_t* r, uint64_t* scratch) {
  if (n == 0) return;
  if (n <= 19) {
    KarSmall(a, b, n, r);
    return;
  }
  const size_t h = (n + 1) / 2, l = n - h;
  poly_mul_kar(a, b, h, r, scratch);
  std::memset(r + 2 * h, 0, 2 * l * sizeof(u64));
  poly_mul_kar(a + h, b + h, l, r + 2 * h, scratch);
  u64* sa = scratch;
  u64* sb = sa + h;
  u64* m = sb + h;
  for (size_t i = 0; i < h; ++i) {
    sa[i] = a[i] ^ (i < l ? a[h + i] : 0);
    sb[i] = b[i] ^ (i < l ? b[h + i] : 0);
  }
  poly_mul_kar(sa, sb, h, m, m + 2 * h);
  for (size_t i = 0; i < 2 * h; ++i) m[i] ^= r[i] ^ (i < 2 * l ? r[2 * h + i] : 0);
  XorInto(r + h, m, 2 * h);
}

void poly_mul_tc3(const uint64_t* a, const uint64_t* b, size_t n, uint64_t* r, uint64_t* scratch) {
  if (n < 39) {
    poly_mul_kar(a, b, n, r, scratch);
    return;
  }
  const size_t k = (n + 2) / 3, l2 = n - 2 * k;
  const u64 *u0 = a, *u1 = a + k, *u2 = a + 2 * k;
  const u64 *v0 = b, *v1 = b + k, *v2 = b + 2 * k;
  const size_t k1 = k + 1, w = 2 * k1;  // evaluation and product sizes
  u64* s1 = scratch;
  u64* t1 = s1 + k1;
  u64* sx = t1 + k1;
  u64* tx = sx + k1;
  u64* sy = tx + k1;
  u64* ty = sy + k1;
  u64* w1 = ty + k1;
  u64* w2 = w1 + w;
  u64* w3 = w2 + w;
  u64* rest = w3 + w;
  // Evaluations at 1, x and x + 1 (as k + 1 words each).
  for (size_t i = 0; i < k1; ++i) {
    s1[i] = i < k ? (u0[i] ^ u1[i] ^ (i < l2 ? u2[i] : 0)) : 0;
    t1[i] = i < k ? (v0[i] ^ v1[i] ^ (i < l2 ? v2[i] : 0)) : 0;
  }
  EvalAtX(u0, u1, u2, k, l2, sx);
  EvalAtX(v0, v1, v2, k, l2, tx);
  // U(x + 1) = U(1) + x U1 + x^2 U2.
  {
    for (size_t i = 0; i < k1; ++i) {
      const u64 a1 = i < k ? u1[i] : 0, a1p = i > 0 ? u1[i - 1] : 0;
      const u64 a2 = i < l2 ? u2[i] : 0, a2p = (i > 0 && i - 1 < l2) ? u2[i - 1] : 0;
      const u64 b1 = i < k ? v1[i] : 0, b1p = i > 0 ? v1[i - 1] : 0;
      const u64 b2 = i < l2 ? v2[i] : 0, b2p = (i > 0 && i - 1 < l2) ? v2[i - 1] : 0;
      sy[i] = s1[i] ^ (a1 << 1) ^ (a1p >> 63) ^ (a2 << 2) ^ (a2p >> 62);
      ty[i] = t1[i] ^ (b1 << 1) ^ (b1p >> 63) ^ (b2 << 2) ^ (b2p >> 62);
    }
  }
  // Products: W0 and W4 straight into r, the others in scratch.
  std::memset(r, 0, 2 * n * sizeof(u64));
  poly_mul_tc3(u0, v0, k, r, rest);
  if (l2 > 0) poly_mul_tc3(u2, v2, l2, r + 4 * k, rest);
  std::memset(w1, 0, 3 * w * sizeof(u64));
  poly_mul_tc3(s1, t1, k, w1, rest);  // s1, t1 have zero top words
  poly_mul_tc3(sx, tx, k1, w2, rest);
  poly_mul_tc3(sy, ty, k1, w3, rest);
  const u64* r0 = r;             // w0, 2k words
  const u64* r4 = r + 4 * k;     // w4, 2 l2 words
  const size_t n4 = 2 * l2;
  // A = W1 + w0 + w4
  XorInto(w1, r0, 2 * k);
  XorInto(w1, r4, n4);
  // B = (W2 + w0 + x^4 w4) / x
  XorInto(w2, r0, 2 * k);
  for (size_t i = 0; i < n4 + 1 && i < w; ++i) {
    const u64 cur = i < n4 ? r4[i] : 0, prev = i > 0 ? r4[i - 1] : 0;
    w2[i] ^= (cur << 4) ^ (prev >> 60);
  }
  DivX(w2, w);
  // C = (W3 + w0 + (x^4 + 1) w4) / (x + 1)
  XorInto(w3, r0, 2 * k);
  XorInto(w3, r4, n4);
  for (size_t i = 0; i < n4 + 1 && i < w; ++i) {
    const u64 cur = i < n4 ? r4[i] : 0, prev = i > 0 ? r4[i - 1] : 0;
    w3[i] ^= (cur << 4) ^ (prev >> 60);
  }
  DivXPlus1(w3, w);
  // E = B + C = w2 + w3 (into w3); D = (A + B) / (x + 1) = w2 + w3 + x w3 (into w1).
  XorInto(w3, w2, w);
  XorInto(w1, w2, w);
  DivXPlus1(w1, w);
  // w3 = (D + E) / x (into w1); w2 = E + w3 (into w3).
  XorInto(w1, w3, w);
  DivX(w1, w);  // w1 now holds the coefficient w3
  XorInto(w3, w1, w);  // w3 now holds the coefficient w2
  // The coefficient w1 is A + w2 + w3; A was consumed, so rebuild it from B: A = w1 + w2 + w3
  // and B = w1 + x w2 + x^2 w3, hence w1 = B + x w2 + x^2 w3.
  u64* c1 = w2;  // B
  for (size_t i = w; i-- > 0;) {
    const u64 c2 = w3[i], c2p = i > 0 ? w3[i - 1] : 0;
    const u64 c3 = w1[i], c3p = i > 0 ? w1[i - 1] : 0;
    c1[i] ^= (c2 << 1) ^ (c2p >> 63) ^ (c3 << 2) ^ (c3p >> 62);
  }
  // Add w1 y, w2 y^2, w3 y^3 (y = x^(64k)); their words beyond 2n are zero.
  auto add_at = [&](const u64* c, size_t off) {
    for (size_t i = 0; i < w && off + i < 2 * n; ++i) r[off + i] ^= c[i];
  };
  add_at(c1, k);
  add_at(w3, 2 * k);
  add_at(w1, 3 * k);
}

void poly_mul(const uint64_t* a, size_t na, const uint64_t* b, size_t nb, uint64_t* r,
              uint64_t* scratch) {
  if (na < nb) {
    std::swap(a, b);
    std::swap(na, nb);
  }
  std::memset(r, 0, (na + nb) * sizeof(u64));
  if (nb == 0) return;
  // Pieces of the longer operand, each as long as the shorter one.
  u64* piece = scratch;
  u64* prod = piece + nb;
  u64* rest = prod + 2 * nb;
  for (size_t off = 0; off < na; off += nb) {
    const size_t len = std::min(nb, na - off);
    std::memset(piece, 0, nb * sizeof(u64));
    std::memcpy(piece, a + off, len * sizeof(u64));
    poly_mul_tc3(piece, b, nb, prod, rest);
    const size_t keep = std::min(2 * nb, na + nb - off);
    XorInto(r + off, prod, keep);
  }
}

size_t PolyModScratchWords(int degree) {
  const size_t w = PolyWords(degree);
  return 6 * w + PolyMulScratchWords(w);
}

void poly_mod_p(uint64_t* a, const uint64_t* p, const uint64_t* mu, int degree, uint64_t* r,
                uint64_t* scratch) {
  const size_t w = PolyWords(degree);
  u64* q1 = scratch;
  u64* t = q1 + w;
  u64* q = t + 2 * w;
  u64* u = q + w;
  u64* rest = u + 2 * w;
  ShiftRightBits(a, 2 * w, degree, q1, w);
  poly_mul_tc3(q1, mu, w, t, rest);
  ShiftRightBits(t, 2 * w, degree, q, w);
  poly_mul_tc3(q, p, w, u, rest);
  for (size_t i = 0; i < w; ++i) r[i] = a[i] ^ u[i];
  Truncate(r, w, static_cast<size_t>(degree));
}

int32_t __vrsPolyRem(uint64_t nskip, int degree, int count, const uint32_t* exponents,
                     uint64_t* result) {
  const size_t w = PolyWords(degree);
  if (nskip < static_cast<uint64_t>(degree)) {
    std::memset(result, 0, w * sizeof(u64));
    result[nskip >> 6] = u64{1} << (nskip & 63);
    return 0;
  }
  const size_t need = 9 * w + 8 + PolyModScratchWords(degree);
  const size_t words = std::max(need, 25 * w);  // 200 bytes for each word of P
  auto* block = static_cast<u64*>(oxl_serv_allocate(words * sizeof(u64), 128));
  if (block == nullptr) return StatusNoMemory;
  std::memset(block, 0, words * sizeof(u64));
  u64* p = block;
  u64* mu = p + w;
  u64* g = mu + w;
  u64* f = g + w;
  u64* sq = f + w;        // 2w + 2
  u64* prod = sq + 2 * w + 2;  // 2w + 2
  u64* rest = prod + 2 * w + 2;
  for (int i = 0; i < count; ++i) {
    const uint32_t e = exponents[i];
    p[e >> 6] |= u64{1} << (e & 63);
    const uint32_t re = static_cast<uint32_t>(degree) - e;
    f[re >> 6] |= u64{1} << (re & 63);
  }
  // Newton: g = 1 / f mod x^(d+1), f the reverse of P; each round g = f g^2 doubles precision.
  const size_t full = static_cast<size_t>(degree) + 1;
  g[0] = 1;
  for (size_t prec = 1; prec < full;) {
    const size_t prec2 = std::min(2 * prec, full);
    const size_t n2 = (prec2 + 63) / 64;
    std::memset(sq, 0, (2 * w + 2) * sizeof(u64));
    Square(g, (prec + 63) / 64, sq);
    Truncate(sq, n2, prec2);
    std::memcpy(prod, f, n2 * sizeof(u64));
    Truncate(prod, n2, prec2);
    u64* out = rest;
    poly_mul_tc3(sq, prod, n2, out, out + 2 * n2);
    std::memcpy(g, out, n2 * sizeof(u64));
    Truncate(g, n2, prec2);
    prec = prec2;
  }
  // mu = floor(x^(2d) / P) is the reverse of g over d + 1 coefficients.
  for (size_t i = 0; i < full; ++i) {
    const size_t j = static_cast<size_t>(degree) - i;
    if ((g[j >> 6] >> (j & 63)) & 1u) mu[i >> 6] |= u64{1} << (i & 63);
  }
  // Left to right over nskip, from x.
  u64* cur = result;
  std::memset(cur, 0, w * sizeof(u64));
  cur[0] = 2;
  const int top = 63 - __builtin_clzll(nskip);
  for (int bit = top - 1; bit >= 0; --bit) {
    std::memset(sq, 0, (2 * w + 2) * sizeof(u64));
    Square(cur, w, sq);
    poly_mod_p(sq, p, mu, degree, cur, rest);
    if ((nskip >> bit) & 1u) {
      u64 carry = 0;
      for (size_t i = 0; i < w; ++i) {
        const u64 next = cur[i] >> 63;
        cur[i] = (cur[i] << 1) | carry;
        carry = next;
      }
      const size_t d = static_cast<size_t>(degree);
      if ((cur[d >> 6] >> (d & 63)) & 1u) XorInto(cur, p, w);
    }
  }
  oxl_serv_deallocate(block);
  return 0;
}

}  // namespace oxl::vrs
