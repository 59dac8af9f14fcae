// GF(2) polynomial helpers shared by the twister parameter tools and their tests.
//
// Plain code (carry-less products by PCLMULQDQ where the processor has it): these
// routines run in offline tools and in checks of checked-in tables, never on a hot
// path of the library.  Polynomials are bit
// vectors of 64-bit words, bit i being the coefficient of x^i.
#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

#if defined(__x86_64__)
#include <immintrin.h>
#endif

namespace oxl::tools {

using Poly = std::vector<std::uint64_t>;

inline int Degree(const Poly& a) {
  for (std::size_t w = a.size(); w-- > 0;) {
    if (a[w] != 0) return static_cast<int>(w * 64 + 63 - __builtin_clzll(a[w]));
  }
  return -1;
}

inline bool Bit(const Poly& a, int i) {
  const std::size_t w = static_cast<std::size_t>(i) >> 6;
  return w < a.size() && ((a[w] >> (i & 63)) & 1u) != 0;
}

inline void SetBit(Poly& a, int i) {
  const std::size_t w = static_cast<std::size_t>(i) >> 6;
  if (w >= a.size()) a.resize(w + 1, 0);
  a[w] |= std::uint64_t{1} << (i & 63);
}

inline void Trim(Poly& a) {
  while (!a.empty() && a.back() == 0) a.pop_back();
}

// a ^= b * x^shift
inline void AddShifted(Poly& a, const Poly& b, int shift) {
  if (b.empty()) return;
  const std::size_t ws = static_cast<std::size_t>(shift) >> 6;
  const int bs = shift & 63;
  const std::size_t need = ws + b.size() + 1;
  if (a.size() < need) a.resize(need, 0);
  // a and b are distinct vectors (a row never adds itself): plain loops over
  // unaliased words, which the compiler vectorises.
  std::uint64_t* __restrict dst = a.data() + ws;
  const std::uint64_t* __restrict src = b.data();
  const std::size_t nb = b.size();
  if (bs == 0) {
    for (std::size_t i = 0; i < nb; ++i) dst[i] ^= src[i];
  } else {
    dst[0] ^= src[0] << bs;
    for (std::size_t i = 1; i < nb; ++i) dst[i] ^= (src[i] << bs) | (src[i - 1] >> (64 - bs));
    dst[nb] ^= src[nb - 1] >> (64 - bs);
  }
}

inline void ModInPlace(Poly& a, const Poly& b) {
  const int db = Degree(b);
  for (int da = Degree(a); da >= db; da = Degree(a)) AddShifted(a, b, da - db);
  Trim(a);
}

inline Poly Gcd(Poly a, Poly b) {
  Trim(a);
  Trim(b);
  while (!b.empty()) {
    ModInPlace(a, b);
    std::swap(a, b);
  }
  return a;
}

// Carry-less product of word arrays: r (na + nb words, zeroed by the caller) ^= a * b.
namespace detail {
#if defined(__x86_64__)
__attribute__((target("pclmul,sse4.1"))) inline void MulWordsClmul(const std::uint64_t* a,
                                                                  std::size_t na,
                                                                  const std::uint64_t* b,
                                                                  std::size_t nb,
                                                                  std::uint64_t* r) {
  for (std::size_t i = 0; i < na; ++i) {
    if (a[i] == 0) continue;
    const __m128i ai = _mm_cvtsi64_si128(static_cast<long long>(a[i]));
    for (std::size_t j = 0; j < nb; ++j) {
      const __m128i prod =
          _mm_clmulepi64_si128(ai, _mm_cvtsi64_si128(static_cast<long long>(b[j])), 0x00);
      r[i + j] ^= static_cast<std::uint64_t>(_mm_cvtsi128_si64(prod));
      r[i + j + 1] ^= static_cast<std::uint64_t>(_mm_extract_epi64(prod, 1));
    }
  }
}
#endif
inline void MulWordsPortable(const std::uint64_t* a, std::size_t na, const std::uint64_t* b,
                             std::size_t nb, std::uint64_t* r) {
  for (std::size_t i = 0; i < na; ++i) {
    for (int bit = 0; bit < 64; ++bit) {
      if (((a[i] >> bit) & 1u) == 0) continue;
      for (std::size_t j = 0; j < nb; ++j) {
        r[i + j] ^= b[j] << bit;
        if (bit != 0) r[i + j + 1] ^= b[j] >> (64 - bit);
      }
    }
  }
}
}  // namespace detail

inline Poly Mul(const Poly& a, const Poly& b) {
  if (a.empty() || b.empty()) return {};
  Poly r(a.size() + b.size(), 0);
#if defined(__x86_64__)
  if (__builtin_cpu_supports("pclmul")) {
    detail::MulWordsClmul(a.data(), a.size(), b.data(), b.size(), r.data());
    Trim(r);
    return r;
  }
#endif
  detail::MulWordsPortable(a.data(), a.size(), b.data(), b.size(), r.data());
  Trim(r);
  return r;
}

// floor(a / x^n).
inline Poly ShiftDown(const Poly& a, int n) {
  const std::size_t ws = static_cast<std::size_t>(n) >> 6;
  const int bs = n & 63;
  if (a.size() <= ws) return {};
  Poly r(a.size() - ws, 0);
  for (std::size_t i = 0; i < r.size(); ++i) {
    r[i] = a[ws + i] >> bs;
    if (bs != 0 && ws + i + 1 < a.size()) r[i] |= a[ws + i + 1] << (64 - bs);
  }
  Trim(r);
  return r;
}

// Squaring and reduction modulo a fixed polynomial P of degree p, by Barrett's
// method: with mu = floor(x^(2p) / P), the quotient of any A of degree below 2p
// is exactly floor(floor(A / x^p) mu / x^p) (over GF(2) the rest has negative
// degree), so a reduction is two carry-less products.
class ModRing {
 public:
  explicit ModRing(const Poly& p) : p_(p), deg_(Degree(p)) {
    Trim(p_);
    words_ = static_cast<std::size_t>(deg_) / 64 + 1;
    Poly t;
    SetBit(t, 2 * deg_);
    for (int top = 2 * deg_; top >= deg_; --top) {
      if (!Bit(t, top)) continue;
      AddShifted(t, p_, top - deg_);
      SetBit(mu_, top - deg_);
    }
  }
  int degree() const { return deg_; }

  void Square(Poly& r) const {
    Poly t(2 * r.size(), 0);
    for (std::size_t i = 0; i < r.size(); ++i) {
      t[2 * i] = Spread(static_cast<std::uint32_t>(r[i]));
      t[2 * i + 1] = Spread(static_cast<std::uint32_t>(r[i] >> 32));
    }
    Trim(t);
    Reduce(t);
    r.swap(t);
  }

  Poly MulMod(const Poly& a, const Poly& b) const {
    Poly t = Mul(a, b);
    Reduce(t);
    return t;
  }

  // t mod P for t of degree below 2p.
  void Reduce(Poly& t) const {
    if (Degree(t) >= deg_) {
      const Poly q = ShiftDown(Mul(ShiftDown(t, deg_), mu_), deg_);
      const Poly qp = Mul(q, p_);
      if (t.size() < qp.size()) t.resize(qp.size(), 0);
      for (std::size_t i = 0; i < qp.size(); ++i) t[i] ^= qp[i];
    }
    if (t.size() > words_) t.resize(words_);
    Trim(t);
  }

 private:
  static std::uint64_t Spread(std::uint32_t v) {
    std::uint64_t x = v;
    x = (x | (x << 16)) & 0x0000FFFF0000FFFFull;
    x = (x | (x << 8)) & 0x00FF00FF00FF00FFull;
    x = (x | (x << 4)) & 0x0F0F0F0F0F0F0F0Full;
    x = (x | (x << 2)) & 0x3333333333333333ull;
    x = (x | (x << 1)) & 0x5555555555555555ull;
    return x;
  }
  Poly p_;
  int deg_;
  std::size_t words_;
  Poly mu_;
};

inline bool IrreduciblePrimeDegree(const Poly& p, int sieve_k) {
  const ModRing ring(p);
  const int deg = ring.degree();
  Poly x{2};
  Poly r = x;
  Poly acc{1};
  for (int k = 1; k <= deg; ++k) {
    ring.Square(r);
    if (k <= sieve_k) {
      Poly t = r;
      t.resize(std::max<std::size_t>(t.size(), 1), 0);
      t[0] ^= 2;
      Trim(t);
      if (t.empty()) return k == deg;  // x^(2^k) = x: a factor of degree dividing k
      // The gcds are taken of products of several x^(2^k) - x (mod P), at k = 1, 2, 4, ...:
      // a product shares a factor with P exactly when one of its terms does, and a gcd costs
      // far more than a product.
      acc = ring.MulMod(acc, t);
      if ((k & (k - 1)) == 0 || k == sieve_k) {
        if (Degree(Gcd(p, acc)) > 0) return false;
        acc = Poly{1};
      }
    }
  }
  Poly t = r;
  t.resize(std::max<std::size_t>(t.size(), 1), 0);
  t[0] ^= 2;
  Trim(t);
  return t.empty();
}

// Berlekamp-Massey over GF(2): the connection polynomial C (C[0] = 1) of
// least length L with s_n + sum c_i s_(n-i) = 0 for all n in the sequence.
// Returns L; the characteristic polynomial is the reciprocal x^L C(1/x).
inline int BerlekampMassey(const std::vector<std::uint8_t>& s, Poly& c_out) {
  const int n = static_cast<int>(s.size());
  // Reversed packing: r bit k is s[n-1-k], so the window s[m-L..m] read
  // backwards is a contiguous run of r.
  Poly r(static_cast<std::size_t>(n) / 64 + 2, 0);
  for (int k = 0; k < n; ++k)
    if (s[static_cast<std::size_t>(n - 1 - k)]) r[static_cast<std::size_t>(k) >> 6] |= std::uint64_t{1} << (k & 63);
  Poly c{1}, b{1};
  int len = 0, m = 1;
  for (int i = 0; i < n; ++i) {
    // discrepancy = sum_{j=0..len} c_j s_(i-j) ; s_(i-j) = r bit (n-1-i+j)
    const int base = n - 1 - i;
    std::uint64_t acc = 0;
    const std::size_t cw = std::min<std::size_t>(c.size(), static_cast<std::size_t>(len) / 64 + 1);
    const std::size_t wb = static_cast<std::size_t>(base) >> 6;
    const int sb = base & 63;
    for (std::size_t w = 0; w < cw; ++w) {
      std::uint64_t window = r[wb + w] >> sb;
      if (sb != 0 && wb + w + 1 < r.size()) window |= r[wb + w + 1] << (64 - sb);
      acc ^= c[w] & window;
    }
    if ((__builtin_popcountll(acc) & 1) == 0) {
      ++m;
      continue;
    }
    if (2 * len <= i) {
      Poly t = c;
      AddShifted(c, b, m);
      len = i + 1 - len;
      b = t;
      m = 1;
    } else {
      AddShifted(c, b, m);
      ++m;
    }
  }
  Trim(c);
  c_out = c;
  return len;
}

inline Poly Reciprocal(const Poly& c, int len) {
  Poly p;
  for (int i = 0; i <= len; ++i)
    if (Bit(c, i)) SetBit(p, len - i);
  Trim(p);
  return p;
}

// MT2203 shape: w = 32, n = 69, m = 34, r = 5.
struct Mt2203Shape {
  static constexpr int kN = 69, kM = 34, kP = 2203;
  static constexpr std::uint32_t kUpper = 0xFFFFFFE0u, kLower = 0x1Fu;
};

// Untempered words of the MT2203 recurrence with twist word a.
class Mt2203Raw {
 public:
  Mt2203Raw(std::uint32_t a, const std::uint32_t* init) : a_(a) {
    std::copy(init, init + Mt2203Shape::kN, x_);
  }
  std::uint32_t Next() {
    constexpr int n = Mt2203Shape::kN, m = Mt2203Shape::kM;
    const int i1 = (i_ + 1) % n, im = (i_ + m) % n;
    const std::uint32_t y = (x_[i_] & Mt2203Shape::kUpper) | (x_[i1] & Mt2203Shape::kLower);
    x_[i_] = x_[im] ^ (y >> 1) ^ ((y & 1u) ? a_ : 0u);
    const std::uint32_t out = x_[i_];
    i_ = i1;
    return out;
  }

 private:
  std::uint32_t a_;
  std::uint32_t x_[Mt2203Shape::kN];
  int i_ = 0;
};

inline std::uint32_t TemperMt2203(std::uint32_t y, std::uint32_t b, std::uint32_t c) {
  y ^= y >> 12;
  y ^= (y << 7) & b;
  y ^= (y << 15) & c;
  y ^= y >> 18;
  return y;
}

// Characteristic polynomial of the MT2203 recurrence with twist word a, from
// 2p bits of the top bit of its output.  Degree below p means the twist word
// cannot give full period.
inline Poly Mt2203CharPoly(std::uint32_t a, const std::uint32_t* init, int* degree) {
  Mt2203Raw g(a, init);
  std::vector<std::uint8_t> bits(2 * Mt2203Shape::kP);
  for (auto& b : bits) b = static_cast<std::uint8_t>(g.Next() >> 31);
  Poly c;
  const int len = BerlekampMassey(bits, c);
  *degree = len;
  return Reciprocal(c, len);
}

}  // namespace oxl::tools
