// The tridiagonal solvers of the spline constructions. The library's own code calls them here;
// the exported `*_4dfl` services are the same routines for callers outside.
#pragma once

#include <cstdint>

namespace oxl::df {

// Solves the n x n tridiagonal system with sub-diagonal dl, diagonal d, super-diagonal du for
// nrhs right-hand sides of leading dimension ldb, by elimination with partial pivoting; the
// arguments by pointer, in the services' form. info: 0, or -1, -2, -7 for a bad n, nrhs, ldb.
template <class T>
void SolveTridiagonal(const int64_t* n, const int64_t* nrhs, T* dl, T* d, T* du, T* b,
                      const int64_t* ldb, int64_t* info);

// Factors the system from both ends toward the middle row, for SolveBothEnds to reuse.
template <class T>
void FactorBothEnds(const int64_t* n, T* dl, T* d, T* du, int64_t* info);

// Solves with the factors of FactorBothEnds.
template <class T>
void SolveBothEnds(const int64_t* n, const int64_t* nrhs, const T* dl, const T* d, const T* du,
                   T* b, const int64_t* ldb, int64_t* info);

}  // namespace oxl::df
