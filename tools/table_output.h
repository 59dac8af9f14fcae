// The output file of a table tool, named by its one argument.
#pragma once

#include <cstdio>

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
