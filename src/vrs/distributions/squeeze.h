// Marsaglia and Tsang's method for Gamma of a shape above 1 (ACM TOMS 26, 2000), one round of
// candidates at a time, in vector code for the best SIMD target of the processor: the normals by
// Box-Muller, the squeeze, the exact test on the few candidates the squeeze leaves open, and the
// kept values packed in order.
//
// A candidate is a normal x and kWidth uniforms (one, or two for the shapes below 0.6, whose
// second uniform raises the value to the power 1/alpha). It is kept when t = 1 + c x is positive
// and u < 1 - 0.0331 x^4 (the squeeze) or ln u < x^2 / 2 + d - d v + d ln v with v = t^3; its value
// is d v. The uniforms of a Box-Muller pair come as its radius and angle uniforms, then the kWidth
// uniforms of the candidate on its sine, then those of the candidate on its cosine. When a round's
// candidates run out between the two, the round stops after the sine candidate's uniforms and
// holds {radius, cosine} on the stream; the held normal makes the first candidate of the next
// round, whose uniforms then come first. So the outputs depend only on the stream, not on how a
// request is cut into rounds or calls.
#pragma once

#include <cstdint>

#include "oxl/vrs.h"

namespace oxl::vrs::dist {

template <class T>
struct SqueezeRound {
  T d;  // alpha - 1/3
  T c;  // 1 / sqrt(9 d)
  // The stream's spare normal {radius, cosine}, or {-1, -1}.
  T* held;
  // Kept values go to out as fma(beta, d v, a); with `second`, as d v, their candidates' second
  // uniforms to second at the same places.
  T beta;
  T a;
  T* second;
};

// Draws the uniforms of m candidates (m at most kRound), judges them and packs the kept ones from
// out[0] on, returning their count; the uniform source's status goes to *status, and a failing
// source leaves out and the held normal as they were. Slots of out past the count, up to m, may
// be written.
int32_t SqueezeKept(const SqueezeRound<double>& round, StreamRecord* s, int32_t m, double* out,
                    int32_t* status);
int32_t SqueezeKept(const SqueezeRound<float>& round, StreamRecord* s, int32_t m, float* out,
                    int32_t* status);

}  // namespace oxl::vrs::dist
