// The MT2203 member table: twist word and tempering masks per member, written by
// tools/mt2203_search from its progress file. Rows 0 and 1 are the family's first two members;
// the others were found by the dynamic-creation search of that tool.
#include "oxl/vrs.h"
#include "vrs/generators/twister.h"

extern "C" {

const uint32_t _vrs_mt2203_table[6024 * 3] = {
#include "vrs/generators/mt2203_table.inc"
};

}  // extern "C"

namespace oxl::vrs {

const int32_t kMt2203TableRows = kMt2203Members;

}  // namespace oxl::vrs
