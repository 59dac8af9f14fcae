// Error callbacks for generators that take logarithms of values that may be 0: a pole result of
// -infinity would poison the transformation, so it becomes the logarithm of the smallest positive
// denormal, the value that the nearest representable input gives.
#include <bit>
#include <cstdint>

#include "oxl/vek.h"

namespace oxl::vek {
namespace {

// ln(2^-1074) and ln(2^-149), each rounded to its own type; the float one enters the record
// widened.
constexpr double kLnMinDenormD = std::bit_cast<double>(uint64_t{0xC0874385446D71C3});
constexpr double kLnMinDenormS = std::bit_cast<float>(uint32_t{0xC2CE8ED0});

int32_t ReplaceResults(oxl_vek_error_record* record, double value) {
  record->res1 = value;
  record->res2 = value;
  return 0;
}

}  // namespace
}  // namespace oxl::vek

extern "C" {

OXL_API int32_t _vsLnCallBack(oxl_vek_error_record* record) {
  if (record->code != vek_status_singularity) return 0;
  return oxl::vek::ReplaceResults(record, oxl::vek::kLnMinDenormS);
}

OXL_API int32_t _vdLnCallBack(oxl_vek_error_record* record) {
  if (record->code != vek_status_singularity) return 0;
  return oxl::vek::ReplaceResults(record, oxl::vek::kLnMinDenormD);
}

OXL_API int32_t _vsLnCallBackAnyStatus(oxl_vek_error_record* record) {
  return oxl::vek::ReplaceResults(record, oxl::vek::kLnMinDenormS);
}

}  // extern "C"
