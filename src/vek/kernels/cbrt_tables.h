// The tables of the cube-root kernels, written by tools/cbrt_tables.cpp.
#pragma once

namespace oxl::vek::cbrt_tables {
#include "vek/kernels/cbrt_tables.inc"
}  // namespace oxl::vek::cbrt_tables
