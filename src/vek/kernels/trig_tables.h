// The tables of the double sine and cosine kernels, written by tools/trig_tables.cpp.
#pragma once

#include <cstdint>

namespace oxl::vek::trig_tables {
#include "vek/kernels/trig_tables.inc"
}  // namespace oxl::vek::trig_tables
