#!/usr/bin/env bash
# Installs the Debian packages that building, testing, benchmarking and the demo need.
# Idempotent: packages already present are left alone, and nothing is fetched when all are there.
set -euo pipefail

packages=(
  build-essential cmake pkg-config ccache
  libhwy-dev                      # SIMD layer with runtime dispatch
  libopenblas-dev liblapack-dev   # BLAS and LAPACK
  libomp-dev                      # OpenMP for the thread-service companion library
  libgtest-dev libgmock-dev googletest
  libbenchmark-dev
  libmpfr-dev libmpc-dev libgmp-dev   # accuracy oracles
  libsleef-dev                    # vector-math peer in benchmarks
  libgsl-dev librandom123-dev     # peers for data fitting and counter-based generators
  python3 python3-numpy python3-scipy # reference data and Python peers
  libboost-dev                    # Boost.Math's inverse error functions, a benchmark peer
  clang-14 libclang-rt-14-dev     # libFuzzer and its sanitizer runtimes for tests/fuzz
  # Python package (pybind11 over the system python3) and its tests
  pybind11-dev python3-pybind11 python3-dev python3-pytest python3-numpy
  # distributed Monte Carlo example (C and mpi4py)
  libopenmpi-dev openmpi-bin python3-mpi4py
)

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed'; then
    missing+=("$p")
  fi
done

if [ ${#missing[@]} -eq 0 ]; then
  echo "install-deps: all packages present"
  exit 0
fi

SUDO=""
if [ "$(id -u)" -ne 0 ]; then SUDO="sudo"; fi
echo "install-deps: installing ${missing[*]}"
export DEBIAN_FRONTEND=noninteractive
$SUDO apt-get update -qq
$SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}"
