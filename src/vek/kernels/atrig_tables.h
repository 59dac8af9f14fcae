// The tables of the inverse trigonometric kernels, written by tools/atrig_tables.cpp.
#pragma once

namespace oxl::vek::atrig_tables {
#include "vek/kernels/atrig_tables.inc"
}  // namespace oxl::vek::atrig_tables
