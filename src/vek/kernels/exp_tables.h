// The tables of 2^(j/N) of the exponential kernels, written by tools/exp_tables.cpp.
#pragma once

namespace oxl::vek::exp_tables {
#include "vek/kernels/exp_tables.inc"
}  // namespace oxl::vek::exp_tables
