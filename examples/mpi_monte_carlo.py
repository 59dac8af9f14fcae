"""Distributed Monte Carlo with mpi4py: the Python twin of mpi_monte_carlo.c.

Every rank draws its own correlated Gaussian sample from member `rank` of the MT2203 family,
keeps running estimates of mean and covariance block by block (oxl.stats.Accumulator), and rank 0
merges the ranks' estimates by the pairwise update of Chan, Golub and LeVeque into those of all
the data, then checks them against one process that regenerates every rank's sample.

    mpirun -np 2 /usr/bin/python3 mpi_monte_carlo.py     (PYTHONPATH=<build>/python)
"""
import sys
import time

import numpy as np
from mpi4py import MPI

import oxl

P, BLOCK, TOTAL_BLOCKS, SEED = 3, 8192, 320, 20261126
MU = np.array([1.0, -2.0, 0.5])
FACTOR = np.array([[1.0, 0.0, 0.0], [0.6, 0.8, 0.0], [-0.3, 0.2, 0.5]])


def accumulate_rank(rank, ranks, acc):
    """Continues `acc` over the sample of `rank` (its share of the blocks)."""
    stream = oxl.random.Stream("mt2203", SEED, member=rank)
    blocks = TOTAL_BLOCKS // ranks + (rank < TOTAL_BLOCKS % ranks)
    for _ in range(blocks):
        acc.update(stream.gaussian_mv(MU, FACTOR, size=BLOCK))
    return acc


def merge(a, b):
    """The (count, mean, covariance) of the union of two parts' data."""
    (na, ma, ca), (nb, mb, cb) = a, b
    n, d = na + nb, mb - ma
    comoment = (na - 1) * ca + (nb - 1) * cb + np.outer(d, d) * na * nb / n
    return n, ma + d * nb / n, comoment / (n - 1)


def main():
    comm = MPI.COMM_WORLD
    rank, ranks = comm.Get_rank(), comm.Get_size()
    comm.Barrier()
    start = time.perf_counter()
    acc = accumulate_rank(rank, ranks, oxl.stats.Accumulator(P))
    parts = comm.gather((acc.count, acc.moments()["mean"], acc.cov()), root=0)
    if rank != 0:
        return 0
    merged = parts[0]
    for part in parts[1:]:
        merged = merge(merged, part)
    elapsed = time.perf_counter() - start
    single = oxl.stats.Accumulator(P)
    for r in range(ranks):
        accumulate_rank(r, ranks, single)
    mean_error = np.max(np.abs(merged[1] - single.moments()["mean"]) / np.abs(merged[1]))
    cov_error = np.max(np.abs(merged[2] - single.cov()) / np.abs(single.cov()))
    print(f"{ranks} ranks, {merged[0]:.0f} observations; merged mean {merged[1]}")
    print(f"against one process with all the data: mean {mean_error:.2e}, "
          f"covariance {cov_error:.2e} relative; {elapsed:.3f} s to the merged estimate")
    ok = mean_error <= 1e-12 and cov_error <= 1e-12
    print("merged estimates agree" if ok else "MISMATCH")
    return 0 if ok else 1


if __name__ == "__main__":
    status = main()
    sys.exit(MPI.COMM_WORLD.bcast(status, root=0))
