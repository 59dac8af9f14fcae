/* Distributed Monte Carlo over MPI: every rank draws its own correlated Gaussian sample, keeps
 * running estimates of its mean and covariance block by block, and rank 0 merges the ranks'
 * estimates into those of all the data.
 *
 * Independence: rank r draws from member r of the MT2203 family (6024 generators with their own
 * parameters, all seeded alike), or with "philox" on the command line from Philox4x32-10 under
 * its own key (r, seed). Nothing but the rank chooses the numbers, so a run is reproducible
 * whatever the machine layout.
 *
 * Merging: a rank's estimates are its count n, its mean m and its covariance C (divided by
 * n - 1). Two parts merge as Chan, Golub and LeVeque's pairwise update does: with d = m_b - m_a,
 *   n = n_a + n_b,  m = m_a + d n_b / n,
 *   (n - 1) C = (n_a - 1) C_a + (n_b - 1) C_b + d d^T n_a n_b / n.
 * Rank 0 then regenerates every rank's sample on its own and runs the same blocked estimate over
 * all of it, which is what one process would compute, and checks that the merge agrees to 1e-12
 * relative. The distributed time, from the start to the merged estimate, run with 1 and with more
 * ranks, shows the scaling (the check's own time is not a fair single-process time: the other
 * ranks spin in MPI meanwhile).
 *
 * Run:      mpirun -np 2 ./oxl_mpi_monte_carlo [philox]
 * Cluster:  mpirun -np 256 --hostfile hosts ./oxl_mpi_monte_carlo  (members up to 6023; with
 *           philox, any number of ranks). Build: mpicc mpi_monte_carlo.c -loxl -loxl_services */
#include <math.h>
#include <mpi.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "oxl/oxl.h"
#include "oxl/omp_services.h"

/* kTotalBlocks blocks of kBlock observations in all, shared out among the ranks, so that runs
 * on 1 and on more ranks do the same work (strong scaling). */
enum { P = 3, kBlock = 8192, kTotalBlocks = 320 };
static const uint32_t kSeed = 20261126u;

/* The law of every observation: mean kMu and covariance kFactor kFactor^T. */
static const double kMu[P] = {1.0, -2.0, 0.5};
static const double kFactor[P * P] = {1.0, 0.0, 0.0, 0.6, 0.8, 0.0, -0.3, 0.2, 0.5};

typedef struct {
  double count[2]; /* accumulated weight, and of squared weights (read by the library) */
  double mean[P];
  double cov[P * P];
} Estimate;

static int NewRankStream(StreamRecord** stream, int rank, int philox) {
  if (philox) {
    const uint32_t key[2] = {(uint32_t)rank, kSeed};
    return __vrsNewStreamEx(stream, OXL_BRNG_PHILOX4X32X10, 2, key);
  }
  return __vrsNewStreamEx(stream, OXL_BRNG_MT2203 + rank, 1, &kSeed);
}

/* Draws the rank's sample block by block and continues the estimate `e` over it. */
static int AccumulateRank(int rank, int ranks, int philox, Estimate* e, double* block) {
  const int blocks = kTotalBlocks / ranks + (rank < kTotalBlocks % ranks);
  StreamRecord* stream = NULL;
  int status = NewRankStream(&stream, rank, philox);
  const int64_t p = P, n = kBlock, storage = STORAGE_COLS, full = MATRIX_FULL;
  for (int b = 0; b < blocks && status == 0; ++b) {
    status = _vrsdRngGaussianMV(OXL_RNG_GAUSSIAN_BOXMULLER2, stream, kBlock, block, P, MatrixFull,
                                kMu, kFactor);
    SSTask* task = NULL;
    if (status == 0) status = __vrsdSSNewTask(&task, &p, &n, &storage, block, NULL, NULL, 1);
    if (status == 0) {
      __vrsdSSEditCovCor(task, e->mean, e->cov, &full, NULL, NULL);
      __vrsdSSEditTask(task, SS_ED_ACCUM_WEIGHT, e->count);
      status = _vrsdSSBasic(task, EST_MEAN | EST_COV, METHOD_ONE_PASS, oxl_services_omp_ss());
    }
    if (task != NULL) __vrsSSDeleteTask(&task);
  }
  if (stream != NULL) __vrsDeleteStream(&stream);
  return status;
}

/* a <- the estimate of the union of a's and b's data. */
static void Merge(Estimate* a, const Estimate* b) {
  const double na = a->count[0], nb = b->count[0], n = na + nb;
  double d[P];
  for (int i = 0; i < P; ++i) d[i] = b->mean[i] - a->mean[i];
  for (int i = 0; i < P; ++i) {
    for (int j = 0; j < P; ++j) {
      const double comoment = (na - 1.0) * a->cov[i * P + j] + (nb - 1.0) * b->cov[i * P + j] +
                              d[i] * d[j] * na * nb / n;
      a->cov[i * P + j] = comoment / (n - 1.0);
    }
  }
  for (int i = 0; i < P; ++i) a->mean[i] += d[i] * nb / n;
  a->count[0] = n;
  a->count[1] += b->count[1];
}

static double MaxRelative(const double* got, const double* want, int count) {
  double worst = 0.0;
  for (int i = 0; i < count; ++i) {
    const double scale = fabs(want[i]) > 0.0 ? fabs(want[i]) : 1.0;
    worst = fmax(worst, fabs(got[i] - want[i]) / scale);
  }
  return worst;
}

int main(int argc, char** argv) {
  MPI_Init(&argc, &argv);
  int rank = 0, ranks = 1;
  MPI_Comm_rank(MPI_COMM_WORLD, &rank);
  MPI_Comm_size(MPI_COMM_WORLD, &ranks);
  const int philox = argc > 1 && strcmp(argv[1], "philox") == 0;
  if (!philox && ranks > 6024) {
    if (rank == 0) fprintf(stderr, "MT2203 has 6024 members; run philox for more ranks\n");
    MPI_Finalize();
    return 1;
  }
  double* block = malloc(sizeof(double) * P * kBlock);
  Estimate mine;
  memset(&mine, 0, sizeof mine);

  MPI_Barrier(MPI_COMM_WORLD);
  const double start = MPI_Wtime();
  int status = block == NULL ? -1 : AccumulateRank(rank, ranks, philox, &mine, block);
  Estimate* all = rank == 0 ? malloc(sizeof(Estimate) * ranks) : NULL;
  MPI_Gather(&mine, sizeof mine, MPI_BYTE, all, sizeof mine, MPI_BYTE, 0, MPI_COMM_WORLD);
  int failed = 0;
  MPI_Reduce(&status, &failed, 1, MPI_INT, MPI_MIN, 0, MPI_COMM_WORLD);
  int exit_code = 0;
  if (rank == 0) {
    Estimate merged = all[0];
    for (int r = 1; r < ranks; ++r) Merge(&merged, &all[r]);
    const double distributed = MPI_Wtime() - start;

    /* One process with all the data: every rank's sample in turn, one running estimate. */
    Estimate single;
    memset(&single, 0, sizeof single);
    for (int r = 0; r < ranks && status == 0; ++r) {
      status = AccumulateRank(r, ranks, philox, &single, block);
    }
    const double mean_error = MaxRelative(merged.mean, single.mean, P);
    const double cov_error = MaxRelative(merged.cov, single.cov, P * P);
    exit_code = failed != 0 || status != 0 || mean_error > 1e-12 || cov_error > 1e-12;

    printf("%d ranks, %s, %.0f observations of %d dimensions\n", ranks,
           philox ? "Philox4x32-10 keyed by rank" : "MT2203 member = rank", merged.count[0], P);
    printf("merged mean:       ");
    for (int i = 0; i < P; ++i) printf(" %12.8f", merged.mean[i]);
    printf("\nmerged covariance (law: 1, 0.6, -0.3 / 1, -0.02 / 0.38 on and above the diagonal)\n");
    for (int i = 0; i < P; ++i) {
      printf("                   ");
      for (int j = 0; j < P; ++j) printf(" %12.8f", merged.cov[i * P + j]);
      printf("\n");
    }
    printf("against one process with all the data: mean %.2e, covariance %.2e relative\n",
           mean_error, cov_error);
    printf("time to the merged estimate on %d ranks: %.3f s\n", ranks, distributed);
    printf("%s\n", exit_code == 0 ? "merged estimates agree" : "MISMATCH or failure");
    free(all);
  }
  free(block);
  MPI_Bcast(&exit_code, 1, MPI_INT, 0, MPI_COMM_WORLD);
  MPI_Finalize();
  return exit_code;
}
