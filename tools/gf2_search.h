// GF(2) polynomial helpers shared by the twister parameter tools and their tests.
//
// Plain, portable code: these routines run in offline tools and in checks of
// checked-in tables, never on a hot path of the library.  Polynomials are bit
// vectors of 64-bit words, bit i being the coefficient of x^i.
#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

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
  if (bs == 0) {
    for (std::size_t i = 0; i < b.size(); ++i) a[ws + i] ^= b[i];
  } else {
    std::uint64_t carry = 0;
    for (std::size_t i = 0; i < b.size(); ++i) {
      a[ws + i] ^= (b[i] << bs) | carry;
      carry = b[i] >> (64 - bs);
    }
    a[ws + b.size()] ^= carry;
  }
}

// Remainder of a by b (b nonzero), in place.
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

// Squaring and reduction modulo a fixed polynomial of degree p, with the
// modulus kept in 64 shifted copies so that each reduction step is a run of
// word XORs.
class ModRing {
 public:
  explicit ModRing(const Poly& p) : p_(p), deg_(Degree(p)) {
    words_ = static_cast<std::size_t>(deg_ + 64) / 64 + 1;
    shifted_.resize(64);
    for (int s = 0; s < 64; ++s) {
      Poly q(words_ + 1, 0);
      AddShifted(q, p_, s);
      q.resize(words_ + 1);
      shifted_[static_cast<std::size_t>(s)] = q;
    }
  }
  int degree() const { return deg_; }

  // r = r^2 mod P; r has fewer than deg_ bits.
  void Square(Poly& r) const {
    Poly t(2 * words_ + 2, 0);
    for (std::size_t i = 0; i < r.size(); ++i) {
      t[2 * i] = Spread(static_cast<std::uint32_t>(r[i]));
      t[2 * i + 1] = Spread(static_cast<std::uint32_t>(r[i] >> 32));
    }
    Reduce(t);
    r.swap(t);
  }

  void Reduce(Poly& t) const {
    for (int top = Degree(t); top >= deg_; --top) {
      if (!Bit(t, top)) continue;
      const int shift = top - deg_;
      const Poly& q = shifted_[static_cast<std::size_t>(shift & 63)];
      const std::size_t off = static_cast<std::size_t>(shift) >> 6;
      for (std::size_t i = 0; i < q.size() && off + i < t.size(); ++i) t[off + i] ^= q[i];
    }
    t.resize(words_);
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
  std::vector<Poly> shifted_;
};

// Irreducibility of P of prime degree p: x^(2^p) = x mod P and gcd(x^2 + x, P) = 1
// (Rabin's test with the single prime divisor of p).  Before the full run, the
// gcds with x^(2^k) + x for k up to sieve_k reject most reducible candidates
// after a few squarings, as most of them have a factor of small degree.
inline bool IrreduciblePrimeDegree(const Poly& p, int sieve_k) {
  const ModRing ring(p);
  const int deg = ring.degree();
  Poly x{2};
  Poly r = x;
  for (int k = 1; k <= deg; ++k) {
    ring.Square(r);
    if (k <= sieve_k) {
      Poly t = r;
      t.resize(std::max<std::size_t>(t.size(), 1), 0);
      t[0] ^= 2;
      Trim(t);
      if (t.empty()) return k == deg;  // x^(2^k) = x: a factor of degree dividing k
      if (Degree(Gcd(p, t)) > 0) return false;
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
