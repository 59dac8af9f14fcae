// The constants of the gamma kernels, written by tools/gamma_tables.cpp.
#pragma once

namespace oxl::vek::gamma_tables {
#include "vek/kernels/gamma_tables.inc"
}  // namespace oxl::vek::gamma_tables
