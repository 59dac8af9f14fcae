// Shared by the table tools: the exact text of a value, and the output file named on the command
// line.
#pragma once

#include <cstdio>
#include <string>

namespace oxl::tools {

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

// The file named by the tool's one argument, opened for writing; null after a message when the
// argument is missing or the file cannot be opened.
inline FILE* OpenOutput(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: %s <output file>\n", argv[0]);
    return nullptr;
  }
  FILE* out = std::fopen(argv[1], "w");
  if (out == nullptr) std::fprintf(stderr, "%s: cannot write %s\n", argv[0], argv[1]);
  return out;
}

}  // namespace oxl::tools
