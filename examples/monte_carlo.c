/* Monte Carlo estimate of pi from one random stream, split over threads two ways.
 *
 * A point is a pair (u[2i], u[2i+1]) of consecutive uniforms of one MCG59 stream; it hits when it
 * falls inside the quarter circle. The hits are counted
 *   - on one thread, drawing the stream from start to end;
 *   - by skip-ahead: worker k copies the stream, skips the 2 k chunk outputs before its share, and
 *     draws its contiguous share;
 *   - by leapfrog: point i goes to worker i mod P, whose x and y come from the two leapfrog
 *     streams of stride 2 P that start at outputs 2 k and 2 k + 1.
 * Every point is the same in all three runs and the counts are integers, so the estimates agree
 * to the last bit, whatever the number of threads.
 *
 * Build: cc monte_carlo.c -loxl -loxl_services */
#include <stdint.h>
#include <stdio.h>

#include "oxl/oxl.h"
#include "oxl/omp_services.h"

enum { kWorkers = 8, kBlock = 1024 };
static const int64_t kPoints = 4 << 20; /* a multiple of kWorkers * kBlock */

typedef struct {
  const StreamRecord* base;
  int64_t hits[kWorkers];
  int32_t status[kWorkers];
} Job;

/* Counts the hits of `points` points whose x come from sx and y from sy (the same stream for
 * consecutive pairs). */
static int32_t CountHits(StreamRecord* sx, StreamRecord* sy, int64_t points, int64_t* hits) {
  double x[kBlock], y[kBlock], xy[2 * kBlock];
  *hits = 0;
  for (int64_t done = 0; done < points; done += kBlock) {
    int32_t status;
    if (sx == sy) {
      status = _vrsdRngUniform(0, sx, 2 * kBlock, xy, 0.0, 1.0);
      for (int i = 0; i < kBlock; ++i) x[i] = xy[2 * i], y[i] = xy[2 * i + 1];
    } else {
      status = _vrsdRngUniform(0, sx, kBlock, x, 0.0, 1.0);
      if (status == 0) status = _vrsdRngUniform(0, sy, kBlock, y, 0.0, 1.0);
    }
    if (status != 0) return status;
    for (int i = 0; i < kBlock; ++i) *hits += x[i] * x[i] + y[i] * y[i] < 1.0;
  }
  return 0;
}

static void SkipAheadWorker(int32_t k, int32_t thread, int32_t thread_count, void* context) {
  Job* job = (Job*)context;
  StreamRecord* s = NULL;
  (void)thread, (void)thread_count;
  const int64_t share = kPoints / kWorkers;
  int32_t status = __vrsCopyStream(&s, job->base);
  if (status == 0) status = __vrsSkipAheadStream(s, 2 * share * k);
  if (status == 0) status = CountHits(s, s, share, &job->hits[k]);
  job->status[k] = status;
  if (s) __vrsDeleteStream(&s);
}

static void LeapfrogWorker(int32_t k, int32_t thread, int32_t thread_count, void* context) {
  Job* job = (Job*)context;
  StreamRecord* sx = NULL;
  (void)thread, (void)thread_count;
  StreamRecord* sy = NULL;
  int32_t status = __vrsCopyStream(&sx, job->base);
  if (status == 0) status = __vrsCopyStream(&sy, job->base);
  if (status == 0) status = __vrsLeapfrogStream(sx, 2 * k, 2 * kWorkers);
  if (status == 0) status = __vrsLeapfrogStream(sy, 2 * k + 1, 2 * kWorkers);
  if (status == 0) status = CountHits(sx, sy, kPoints / kWorkers, &job->hits[k]);
  job->status[k] = status;
  if (sx) __vrsDeleteStream(&sx);
  if (sy) __vrsDeleteStream(&sy);
}

static int64_t RunSplit(const StreamRecord* base, oxl_threader_body worker, int32_t* status) {
  Job job = {base, {0}, {0}};
  oxl_vrs_serv_threader_for(kWorkers, &job, worker);
  int64_t hits = 0;
  *status = 0;
  for (int k = 0; k < kWorkers; ++k) {
    hits += job.hits[k];
    if (job.status[k] != 0) *status = job.status[k];
  }
  return hits;
}

int oxl_example_monte_carlo(void) {
  const uint32_t seed[2] = {0x2026u, 0x1123u};
  StreamRecord* base = NULL;
  int32_t status = __vrsNewStreamEx(&base, OXL_BRNG_MCG59, 2, seed);
  if (status != 0) {
    fprintf(stderr, "stream: status %d\n", (int)status);
    return 1;
  }

  StreamRecord* one = NULL;
  int64_t single = 0;
  status = __vrsCopyStream(&one, base);
  if (status == 0) status = CountHits(one, one, kPoints, &single);
  if (one) __vrsDeleteStream(&one);
  int32_t skip_status = 0;
  int32_t leap_status = 0;
  const int64_t skipped = RunSplit(base, SkipAheadWorker, &skip_status);
  const int64_t leapt = RunSplit(base, LeapfrogWorker, &leap_status);
  __vrsDeleteStream(&base);
  if (status != 0 || skip_status != 0 || leap_status != 0) {
    fprintf(stderr, "generation failed: %d %d %d\n", (int)status, (int)skip_status,
            (int)leap_status);
    return 1;
  }

  printf("%lld points, %d workers on up to %d threads\n", (long long)kPoints, kWorkers,
         (int)oxl_vrs_serv_threader_get_num_threads_limit());
  printf("one thread:  %lld hits, pi ~ %.8f\n", (long long)single, 4.0 * single / kPoints);
  printf("skip-ahead:  %lld hits, pi ~ %.8f\n", (long long)skipped, 4.0 * skipped / kPoints);
  printf("leapfrog:    %lld hits, pi ~ %.8f\n", (long long)leapt, 4.0 * leapt / kPoints);
  const int same = single == skipped && single == leapt;
  printf("%s\n", same ? "all three agree" : "MISMATCH");
  return same ? 0 : 1;
}

/* The demo links every example into one tour; alone, each is its own program. */
#ifndef OXL_EXAMPLES_IN_DEMO
int main(void) { return oxl_example_monte_carlo(); }
#endif
