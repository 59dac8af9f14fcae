// In-place quick sort and quick selection of a vector, double and single, after Numerical Recipes'
// sort and select: the median of three (the middle element moved next to the left end) as pivot,
// which also leaves sentinels at both ends of a stretch so the partition scans need no bound
// checks; stretches under 7 by straight insertion.
//
// The sort keeps no recursion: the larger part of each partition goes on a stack of the element
// type (its two bounds as values of T, room for 128 pairs while the depth is at most log2 n),
// the smaller part is sorted next. Bounds as floats are exact up to 2^24 elements, which is the
// single twin's limit; beyond it a bound that rounds up is held to the array.
#include <algorithm>
#include <cstdint>
#include <type_traits>
#include <utility>

#include "numeric/helpers.h"

namespace oxl::stats {
namespace {

constexpr int64_t kInsertionBelow = 7;
constexpr int kStackPairs = 128;

// Elements a[0], a[stride], ...; a stride of std::integral_constant 1 costs nothing.
template <class T, class Stride>
struct Strided {
  using Value = T;
  using Key = T;
  T* a;
  Stride stride;
  T& operator[](int64_t i) const { return a[i * stride]; }
};

// Keys with a second array that every move of a key repeats: an element is the pair (key, mapped),
// ordered by its key. A reference to one is a pair of references, so that the sort's swaps and
// assignments move both.
template <class T>
struct Pair {
  T key, mapped;
};
template <class T>
struct PairRef {
  T& key;
  T& mapped;
  operator Pair<T>() const { return {key, mapped}; }  // NOLINT(google-explicit-constructor)
  const PairRef& operator=(const Pair<T>& v) const {
    key = v.key;
    mapped = v.mapped;
    return *this;
  }
  const PairRef& operator=(const PairRef& o) const { return *this = Pair<T>(o); }
  friend void swap(PairRef a, PairRef b) {
    std::swap(a.key, b.key);
    std::swap(a.mapped, b.mapped);
  }
  friend bool operator<(const PairRef& a, const PairRef& b) { return a.key < b.key; }
  friend bool operator>(const PairRef& a, const PairRef& b) { return a.key > b.key; }
  friend bool operator<(const PairRef& a, const Pair<T>& b) { return a.key < b.key; }
  friend bool operator>(const PairRef& a, const Pair<T>& b) { return a.key > b.key; }
};
template <class T>
struct Mapped {
  using Value = Pair<T>;
  using Key = T;
  T* keys;
  T* map;
  PairRef<T> operator[](int64_t i) const { return {keys[i], map[i]}; }
};

// Orders a[l], a[l + 1], a[r] with the middle element moved to l + 1, partitions [l, r] about the
// pivot a[l + 1] and returns its final place j: left of j nothing greater, right of it nothing
// less. i is where the scan from the left stopped (the first element of the right part).
template <class V>
int64_t Partition(V a, int64_t l, int64_t r, int64_t& i) {
  using std::swap;
  swap(a[(l + r) / 2], a[l + 1]);
  if (a[l] > a[r]) swap(a[l], a[r]);
  if (a[l + 1] > a[r]) swap(a[l + 1], a[r]);
  if (a[l] > a[l + 1]) swap(a[l], a[l + 1]);
  const typename V::Value pivot = a[l + 1];
  i = l + 1;
  int64_t j = r;
  for (;;) {
    while (a[++i] < pivot) {
    }
    while (a[--j] > pivot) {
    }
    if (j < i) break;
    swap(a[i], a[j]);
  }
  a[l + 1] = a[j];
  a[j] = pivot;
  return j;
}

template <class V>
void Insertion(V a, int64_t l, int64_t r) {
  for (int64_t j = l + 1; j <= r; ++j) {
    const typename V::Value v = a[j];
    int64_t i = j - 1;
    for (; i >= l && a[i] > v; --i) a[i + 1] = a[i];
    a[i + 1] = v;
  }
}

// The bounds on the stack are values of the key type.
template <class V>
void QuickSort(int64_t n, V a) {
  using T = typename V::Key;
  T stack[2 * kStackPairs];
  int top = 0;
  int64_t l = 0, r = n - 1;
  for (;;) {
    if (r - l + 1 < kInsertionBelow) {
      Insertion(a, l, r);
      if (top == 0) return;
      r = std::min(static_cast<int64_t>(stack[--top]), n - 1);
      l = static_cast<int64_t>(stack[--top]);
      continue;
    }
    int64_t i;
    const int64_t j = Partition(a, l, r, i);
    if (r - i + 1 >= j - l) {
      stack[top++] = static_cast<T>(i);
      stack[top++] = static_cast<T>(r);
      r = j - 1;
    } else {
      stack[top++] = static_cast<T>(l);
      stack[top++] = static_cast<T>(j - 1);
      l = i;
    }
  }
}

template <class T>
T QuickSelect(int64_t n, T* data, int64_t k) {
  const Strided<T, std::integral_constant<int64_t, 1>> a{data, {}};
  int64_t l = 0, r = n - 1;
  for (;;) {
    if (r <= l + 1) {
      if (r == l + 1 && a[r] < a[l]) std::swap(a[l], a[r]);
      return a[k];
    }
    int64_t i;
    const int64_t j = Partition(a, l, r, i);
    if (j >= k) r = j - 1;
    if (j <= k) l = i;
  }
}

using Unit = std::integral_constant<int64_t, 1>;

}  // namespace
}  // namespace oxl::stats

using oxl::stats::Mapped;
using oxl::stats::QuickSelect;
using oxl::stats::QuickSort;
using oxl::stats::Strided;
using oxl::stats::Unit;

extern "C" {

void __vrsdQSort(int64_t n, double* a) { QuickSort(n, Strided<double, Unit>{a, {}}); }
void __vrssQSort(int64_t n, float* a) { QuickSort(n, Strided<float, Unit>{a, {}}); }
void __vrsdQSortStep(int64_t n, double* a, int64_t stride) {
  QuickSort(n, Strided<double, int64_t>{a, stride});
}
void __vrssQSortStep(int64_t n, float* a, int64_t stride) {
  QuickSort(n, Strided<float, int64_t>{a, stride});
}
void _vdSSQuickMapSort(int64_t n, double* keys, double* map) {
  QuickSort(n, Mapped<double>{keys, map});
}
void _vsSSQuickMapSort(int64_t n, float* keys, float* map) {
  QuickSort(n, Mapped<float>{keys, map});
}
double __vrsdQSortSelect(int64_t n, double* a, int64_t k) { return QuickSelect(n, a, k); }
float __vrssQSortSelect(int64_t n, float* a, int64_t k) { return QuickSelect(n, a, k); }

}  // extern "C"
