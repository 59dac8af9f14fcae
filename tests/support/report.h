// The result of an accuracy run: the worst error and where it lies, the mismatches between runs
// that must agree bit for bit, and the lines that go into the generated accuracy tables.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

namespace oxl::test {

// Accuracy levels, numbered as the slots of a function table.
enum class Level { kLA = 0, kHA = 1, kEP = 2 };

const char* LevelName(Level level);

// The contract in ulp: HA 1, LA 4, EP 2^12 for float and 2^26 for double (11 and 26 correct bits).
template <class T>
double UlpBound(Level level);

struct BinadeStats {
  std::string binade;  // "+2^3", "-0 and subnormals", "+inf", "nan"
  int64_t cases = 0;
  double max_ulp = 0;
  std::string worst_args;
};

struct Report {
  int64_t cases = 0;
  double max_ulp = 0;
  double min_bits = std::numeric_limits<double>::infinity();
  std::string worst_args;    // the arguments of the worst case, exactly
  std::string worst_source;  // its group: "special", "random", "binade", "extra", a threshold
  std::string worst_got;     // the kernel's results there
  std::string worst_exact;   // the oracle's, to 20 digits
  int64_t cut_mismatches = 0;
  int64_t target_mismatches = 0;
  std::string first_mismatch;
  std::vector<BinadeStats> binades;  // in increasing order of the values, when asked for

  // Several lines for a failure message.
  std::string Describe() const;
  std::string BinadeTable() const;
  // A row of the generated docs/accuracy.md table, under TableHeader().
  std::string TableRow(std::string_view function, Level level, double bound) const;
  static std::string TableHeader();
};

// Success if the worst error is within `ulp_bound` and every bitwise comparison agreed; the
// message otherwise is the report's description.
testing::AssertionResult Meets(const Report& report, double ulp_bound);

}  // namespace oxl::test
