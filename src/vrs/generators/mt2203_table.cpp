// The MT2203 member table: twist word and tempering masks per member, written by
// tools/mt2203_search from its progress file. Rows 0 and 1 are the family's first two members;
// the others were found by the dynamic-creation search of that tool.
#include "vrs/generators/twister.h"

namespace oxl::vrs {

const uint32_t _vrs_mt2203_table[] = {
#include "vrs/generators/mt2203_table.inc"
};

const int32_t kMt2203TableRows = static_cast<int32_t>(sizeof(_vrs_mt2203_table) / (3 * sizeof(uint32_t)));

static_assert(sizeof(_vrs_mt2203_table) / (3 * sizeof(uint32_t)) <= kMt2203Members);

}  // namespace oxl::vrs
