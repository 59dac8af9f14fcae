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

#include "stats/numeric_helpers.h"

namespace oxl::stats {
namespace {

constexpr int64_t kInsertionBelow = 7;
constexpr int kStackPairs = 128;

// Elements a[0], a[stride], ...; a stride of std::integral_constant 1 costs nothing.
template <class T, class Stride>
struct Strided {
  T* a;
  Stride stride;
  T& operator[](int64_t i) const { return a[i * stride]; }
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
  const auto pivot = a[l + 1];
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
    const auto v = a[j];
    int64_t i = j - 1;
    for (; i >= l && a[i] > v; --i) a[i + 1] = a[i];
    a[i + 1] = v;
  }
}

template <class T, class Stride>
void QuickSort(int64_t n, T* data, Stride stride) {
  const Strided<T, Stride> a{data, stride};
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

using oxl::stats::QuickSelect;
using oxl::stats::QuickSort;
using oxl::stats::Unit;

extern "C" {

void __vrsdQSort(int64_t n, double* a) { QuickSort(n, a, Unit{}); }
void __vrssQSort(int64_t n, float* a) { QuickSort(n, a, Unit{}); }
void __vrsdQSortStep(int64_t n, double* a, int64_t stride) { QuickSort(n, a, stride); }
void __vrssQSortStep(int64_t n, float* a, int64_t stride) { QuickSort(n, a, stride); }
double __vrsdQSortSelect(int64_t n, double* a, int64_t k) { return QuickSelect(n, a, k); }
float __vrssQSortSelect(int64_t n, float* a, int64_t k) { return QuickSelect(n, a, k); }

}  // extern "C"
