// Shared by the table tools: the output file named by the tool's one argument, and the exact text
// of a value.
#pragma once

#include <cstdio>
#include <string>

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
