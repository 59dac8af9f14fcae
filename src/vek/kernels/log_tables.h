// The tables of the logarithm kernels, written by tools/log_tables.cpp.
#pragma once

namespace oxl::vek::log_tables {
#include "vek/kernels/log_tables.inc"
}  // namespace oxl::vek::log_tables
