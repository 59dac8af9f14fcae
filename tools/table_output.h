// Shared by the table tools: the output file named by the tool's one argument, a value rounded to
// the table's type, and the exact text of a value.
#pragma once

#include <mpfr.h>

#include <cstdio>
#include <string>
#include <vector>

// The file open for writing, or null after a message (wrong usage, or a file that cannot be made).
inline FILE* OpenTableOutput(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: %s <output file>\n", argv[0]);
    return nullptr;
  }
  FILE* out = std::fopen(argv[1], "w");
  if (out == nullptr) std::perror(argv[1]);
  return out;
}

// v rounded to nearest float or double.
template <class T>
T Round(mpfr_srcptr v) {
  if constexpr (sizeof(T) == 4) {
    return mpfr_get_flt(v, MPFR_RNDN);
  } else {
    return mpfr_get_d(v, MPFR_RNDN);
  }
}

// C hexadecimal literals, which a compiler reads back to the same bits.
inline std::string Literal(float v) {
  char buf[64];
  std::snprintf(buf, sizeof buf, "%af", static_cast<double>(v));
  return buf;
}
inline std::string Literal(double v) {
  char buf[64];
  std::snprintf(buf, sizeof buf, "%a", v);
  return buf;
}

// A 64-byte aligned array of doubles (or of floats), four literals a line.
template <class T>
inline void PrintArray(FILE* out, const std::string& name, const std::vector<T>& values) {
  std::fprintf(out, "alignas(64) inline constexpr %s %s[%zu] = {",
               sizeof(T) == 4 ? "float" : "double", name.c_str(), values.size());
  for (size_t i = 0; i < values.size(); ++i) {
    std::fprintf(out, "%s%s%s", i % 4 == 0 ? "\n    " : " ", Literal(values[i]).c_str(),
                 i + 1 < values.size() ? "," : "");
  }
  std::fprintf(out, "\n};\n");
}
inline void PrintDoubleArray(FILE* out, const char* name, const std::vector<double>& values) {
  PrintArray(out, name, values);
}
