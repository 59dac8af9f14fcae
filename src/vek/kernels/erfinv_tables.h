// The polynomials of the inverse error-function kernels, written by tools/erfinv_tables.cpp.
#pragma once

namespace oxl::vek::erfinv_tables {
#include "vek/kernels/erfinv_tables.inc"
}  // namespace oxl::vek::erfinv_tables
