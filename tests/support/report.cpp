#include "support/report.h"

#include <cmath>
#include <cstdio>

namespace oxl::test {
namespace {

std::string Number(const char* format, double x) {
  char text[32];
  std::snprintf(text, sizeof text, format, x);
  return text;
}

std::string Bits(double bits) { return std::isinf(bits) ? "exact" : Number("%.1f", bits); }

}  // namespace

const char* LevelName(Level level) {
  switch (level) {
    case Level::kLA:
      return "LA";
    case Level::kHA:
      return "HA";
    case Level::kEP:
      return "EP";
  }
  return "?";
}

template <class T>
double UlpBound(Level level) {
  switch (level) {
    case Level::kHA:
      return 1.0;
    case Level::kLA:
      return 4.0;
    case Level::kEP:
      return std::is_same_v<T, float> ? 0x1p12 : 0x1p26;
  }
  return 0.0;
}

template double UlpBound<float>(Level);
template double UlpBound<double>(Level);

std::string Report::Describe() const {
  std::string text = std::to_string(cases) + " cases; max error " + Number("%.4g", max_ulp) +
                     " ulp; fewest correct bits " + Bits(min_bits);
  if (!worst_args.empty()) {
    text += "\n  worst at " + worst_args + " [" + worst_source + "]: got " + worst_got +
            ", exact " + worst_exact;
  }
  if (cut_mismatches > 0 || target_mismatches > 0) {
    text += "\n  mismatches: " + std::to_string(cut_mismatches) + " between whole and cut runs, " +
            std::to_string(target_mismatches) + " between SIMD targets; first " + first_mismatch;
  }
  return text;
}

std::string Report::BinadeTable() const {
  std::string text;
  for (const BinadeStats& b : binades) {
    text += b.binade + ": " + std::to_string(b.cases) + " cases, max " + Number("%.4g", b.max_ulp) +
            " ulp at " + b.worst_args + "\n";
  }
  return text;
}

std::string Report::TableHeader() {
  return "| Function | Level | Max error (ulp) | Bound (ulp) | Fewest correct bits | "
         "Worst argument | Cases |\n|---|---|---|---|---|---|---|";
}

std::string Report::TableRow(std::string_view function, Level level, double bound) const {
  return "| " + std::string(function) + " | " + LevelName(level) + " | " + Number("%.3g", max_ulp) +
         " | " + Number("%.0f", bound) + " | " + Bits(min_bits) + " | " + worst_args + " | " +
         std::to_string(cases) + " |";
}

testing::AssertionResult Meets(const Report& report, double ulp_bound) {
  if (report.max_ulp <= ulp_bound && report.cut_mismatches == 0 && report.target_mismatches == 0) {
    return testing::AssertionSuccess();
  }
  return testing::AssertionFailure() << "bound " << ulp_bound << " ulp; " << report.Describe();
}

}  // namespace oxl::test
