// The tables of the error-function kernels, written by tools/erf_tables.cpp.
#pragma once

namespace oxl::vek::erf_tables {
#include "vek/kernels/erf_tables.inc"
}  // namespace oxl::vek::erf_tables
