// Reference data for tests, written by Python scripts (numpy, scipy) and checked in beside them:
// a text table with one row per line, fields separated by commas or blanks, '#' starting a
// comment, and an optional first line of column names. Exact values travel as hexadecimal floats
// (Python's float.hex()) or as integers, decimal or hexadecimal with 0x, so that nothing is lost
// to decimal conversion. tests/support/refdata.py writes such files.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace oxl::test {

class RefTable {
 public:
  // Reads a file. A file that cannot be read, or a row whose number of fields differs from the
  // first row's, fails the calling test and leaves the table empty.
  static RefTable Load(const std::string& path);
  static RefTable Parse(std::string_view text, std::string_view origin);

  // Path of a file under tests/ in the source tree.
  static std::string TestsPath(std::string_view relative);

  size_t rows() const { return columns_ == 0 ? 0 : fields_.size() / columns_; }

  // Index of the named column; a name not in the header fails the test and gives 0.
  size_t Column(std::string_view name) const;

  const std::string& Field(size_t row, size_t column) const;

  // A field as T: a hexadecimal or decimal float, inf or nan, rounded once to T. A field that is
  // not such a number fails the test and gives 0; so does an integer field that is not one.
  template <class T>
  T Real(size_t row, size_t column) const;
  int64_t Int(size_t row, size_t column) const;

 private:
  void Fail(size_t row, size_t column, const char* what) const;

  std::string origin_;
  std::vector<std::string> names_;
  std::vector<std::string> fields_;  // row after row
  std::vector<int> lines_;           // the line of each row in the text
  size_t columns_ = 0;
};

}  // namespace oxl::test
