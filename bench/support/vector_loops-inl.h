// Loops that apply a vector function to whole arrays, for the peers built on vector registers.
//
// Included once per instruction set, inside that set's `#pragma GCC target` region and inside a
// namespace of its own, so that each copy is compiled for the registers it passes: a function that
// takes __m256d must itself be compiled with AVX enabled, or the two sides disagree on where the
// argument lives. No include guard, and nothing included here.

template <class V>
V ResultOf(V (*)(V));
template <class V>
V ResultOf(V (*)(V, V));

template <class V, class T>
inline V LoadVector(const T* p) {
  V v;
  __builtin_memcpy(&v, p, sizeof(V));
  return v;
}

// The first `bytes` of a vector from p, the other lanes zero.
template <class V, class T>
inline V LoadPartial(const T* p, unsigned long bytes) {
  V v = {};
  __builtin_memcpy(&v, p, bytes);
  return v;
}

// r[i] = F(in[i]...) for i < n: whole vectors in the loop, then the last partial vector from
// zero-padded copies, of which only the valid lanes are stored.
template <auto F, class T, class... In>
void Apply(int n, T* r, const In*... in) {
  using V = decltype(ResultOf(F));
  constexpr int kLanes = sizeof(V) / sizeof(T);
  const int full = n > 0 ? n - n % kLanes : 0;
  for (int i = 0; i < full; i += kLanes) {
    const V v = F(LoadVector<V>(in + i)...);
    __builtin_memcpy(r + i, &v, sizeof(V));
  }
  if (full < n) {
    const unsigned long bytes = static_cast<unsigned long>(n - full) * sizeof(T);
    const V v = F(LoadPartial<V>(in + full, bytes)...);
    __builtin_memcpy(r + full, &v, bytes);
  }
}

template <auto F, class T>
void Map(int n, const T* a, T* r) {
  Apply<F>(n, r, a);
}

template <auto F, class T>
void Map(int n, const T* a, const T* b, T* r) {
  Apply<F>(n, r, a, b);
}
