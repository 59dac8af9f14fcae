#include "support/ref_data.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <sstream>

namespace oxl::test {
namespace {

std::vector<std::string> SplitFields(std::string_view line) {
  std::vector<std::string> fields;
  size_t i = 0;
  auto separator = [](char c) { return c == ',' || c == ' ' || c == '\t' || c == '\r'; };
  while (i < line.size()) {
    while (i < line.size() && separator(line[i])) ++i;
    const size_t start = i;
    while (i < line.size() && !separator(line[i])) ++i;
    if (i > start) fields.emplace_back(line.substr(start, i - start));
  }
  return fields;
}

bool IsNumber(const std::string& field) {
  char* end = nullptr;
  std::strtod(field.c_str(), &end);
  return end != field.c_str() && *end == '\0';
}

}  // namespace

RefTable RefTable::Load(const std::string& path) {
  std::ifstream file(path);
  if (!file) {
    ADD_FAILURE() << "cannot read reference data " << path;
    return {};
  }
  std::stringstream text;
  text << file.rdbuf();
  return Parse(text.str(), path);
}

RefTable RefTable::Parse(std::string_view text, std::string_view origin) {
  RefTable table;
  table.origin_ = origin;
  int line_number = 0;
  while (!text.empty()) {
    const size_t end = std::min(text.find('\n'), text.size());
    std::string_view line = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    ++line_number;
    line = line.substr(0, line.find('#'));
    std::vector<std::string> fields = SplitFields(line);
    if (fields.empty()) continue;
    if (table.columns_ == 0) {
      table.columns_ = fields.size();
      if (table.names_.empty() && !std::all_of(fields.begin(), fields.end(), IsNumber)) {
        table.names_ = std::move(fields);
        continue;
      }
    }
    if (fields.size() != table.columns_) {
      ADD_FAILURE() << origin << ":" << line_number << ": " << fields.size() << " fields, "
                    << table.columns_ << " expected";
      return {};
    }
    for (auto& f : fields) table.fields_.push_back(std::move(f));
    table.lines_.push_back(line_number);
  }
  return table;
}

std::string RefTable::TestsPath(std::string_view relative) {
  std::string path = OXL_TESTS_DIR;
  path += '/';
  path += relative;
  return path;
}

size_t RefTable::Column(std::string_view name) const {
  for (size_t c = 0; c < names_.size(); ++c) {
    if (names_[c] == name) return c;
  }
  ADD_FAILURE() << origin_ << ": no column " << name;
  return 0;
}

const std::string& RefTable::Field(size_t row, size_t column) const {
  return fields_.at(row * columns_ + column);
}

void RefTable::Fail(size_t row, size_t column, const char* what) const {
  ADD_FAILURE() << origin_ << ":" << lines_.at(row) << ": field " << column + 1 << " \""
                << Field(row, column) << "\" is not " << what;
}

template <class T>
T RefTable::Real(size_t row, size_t column) const {
  const std::string& field = Field(row, column);
  char* end = nullptr;
  T value;
  if constexpr (std::is_same_v<T, float>) {
    value = std::strtof(field.c_str(), &end);
  } else {
    value = std::strtod(field.c_str(), &end);
  }
  if (end == field.c_str() || *end != '\0') {
    Fail(row, column, "a number");
    return 0;
  }
  return value;
}

// Integers are decimal, or hexadecimal with 0x; never octal, whatever zeros lead.
int64_t RefTable::Int(size_t row, size_t column) const {
  const char* text = Field(row, column).c_str();
  const char* digits = text + (*text == '-' || *text == '+');
  const bool hex = digits[0] == '0' && (digits[1] == 'x' || digits[1] == 'X');
  char* end = nullptr;
  errno = 0;
  const long long value = std::strtoll(text, &end, hex ? 16 : 10);
  if (end == text || *end != '\0' || errno != 0) {
    Fail(row, column, "a signed 64-bit integer");
    return 0;
  }
  return value;
}

template float RefTable::Real(size_t, size_t) const;
template double RefTable::Real(size_t, size_t) const;

}  // namespace oxl::test
