// Plain loops over the C++ standard library. This file is compiled for the baseline x86-64 target:
// what a user gets from an ordinary loop without any vector-math library.
#include <cmath>

#include "support/peers.h"

namespace oxl::bench::peers {
namespace {

template <class T, class F>
void Loop(int n, const T* a, T* r, F f) {
  for (int i = 0; i < n; ++i) r[i] = f(a[i]);
}

template <class T, class F>
void Loop(int n, const T* a, const T* b, T* r, F f) {
  for (int i = 0; i < n; ++i) r[i] = f(a[i], b[i]);
}

}  // namespace

void StdExp(int n, const double* a, double* r) {
  Loop(n, a, r, [](double x) { return std::exp(x); });
}
void StdExp(int n, const float* a, float* r) {
  Loop(n, a, r, [](float x) { return std::exp(x); });
}
void StdExpm1(int n, const double* a, double* r) {
  Loop(n, a, r, [](double x) { return std::expm1(x); });
}
void StdExpm1(int n, const float* a, float* r) {
  Loop(n, a, r, [](float x) { return std::expm1(x); });
}
void StdLog(int n, const double* a, double* r) {
  Loop(n, a, r, [](double x) { return std::log(x); });
}
void StdLog(int n, const float* a, float* r) {
  Loop(n, a, r, [](float x) { return std::log(x); });
}
void StdLog10(int n, const double* a, double* r) {
  Loop(n, a, r, [](double x) { return std::log10(x); });
}
void StdLog10(int n, const float* a, float* r) {
  Loop(n, a, r, [](float x) { return std::log10(x); });
}
void StdLog1p(int n, const double* a, double* r) {
  Loop(n, a, r, [](double x) { return std::log1p(x); });
}
void StdLog1p(int n, const float* a, float* r) {
  Loop(n, a, r, [](float x) { return std::log1p(x); });
}
void StdSin(int n, const double* a, double* r) {
  Loop(n, a, r, [](double x) { return std::sin(x); });
}
void StdSin(int n, const float* a, float* r) {
  Loop(n, a, r, [](float x) { return std::sin(x); });
}
void StdCos(int n, const double* a, double* r) {
  Loop(n, a, r, [](double x) { return std::cos(x); });
}
void StdCos(int n, const float* a, float* r) {
  Loop(n, a, r, [](float x) { return std::cos(x); });
}
void StdPow(int n, const double* a, const double* b, double* r) {
  Loop(n, a, b, r, [](double x, double y) { return std::pow(x, y); });
}
void StdPow(int n, const float* a, const float* b, float* r) {
  Loop(n, a, b, r, [](float x, float y) { return std::pow(x, y); });
}
void StdAdd(int n, const double* a, const double* b, double* r) {
  Loop(n, a, b, r, [](double x, double y) { return x + y; });
}
void StdAdd(int n, const float* a, const float* b, float* r) {
  Loop(n, a, b, r, [](float x, float y) { return x + y; });
}
void StdMul(int n, const double* a, const double* b, double* r) {
  Loop(n, a, b, r, [](double x, double y) { return x * y; });
}
void StdMul(int n, const float* a, const float* b, float* r) {
  Loop(n, a, b, r, [](float x, float y) { return x * y; });
}
// Gamma family.
void StdLGamma(int n, const double* a, double* r) {
  Loop(n, a, r, [](double x) { return std::lgamma(x); });
}
void StdLGamma(int n, const float* a, float* r) {
  Loop(n, a, r, [](float x) { return std::lgamma(x); });
}
void StdTGamma(int n, const double* a, double* r) {
  Loop(n, a, r, [](double x) { return std::tgamma(x); });
}
void StdTGamma(int n, const float* a, float* r) {
  Loop(n, a, r, [](float x) { return std::tgamma(x); });
}

}  // namespace oxl::bench::peers
