#include "vek/print_recorder.h"

#include <cstdarg>

namespace oxl::test {

std::vector<PrintedLine>& PrintedLines() {
  thread_local std::vector<PrintedLine> lines;
  return lines;
}

std::vector<int> PrintedNumbers() {
  std::vector<int> numbers;
  for (const PrintedLine& line : PrintedLines()) numbers.push_back(line.number);
  return numbers;
}

}  // namespace oxl::test

// The items of each message as the catalogue's contract in oxl/platform.h gives them.
extern "C" int oxl_serv_print(int dest, int number, int count, ...) {
  oxl::test::PrintedLine line{dest, number, count, {}, -1, 0.0};
  va_list items;
  va_start(items, count);
  if (number >= 735 && number <= 741 && count >= 1) {
    line.name = va_arg(items, const char*);
    if (number == 735 && count >= 2) line.index = va_arg(items, int);
  } else if (number >= 742 && number <= 753 && count == 2) {
    line.index = va_arg(items, int);
    line.value = va_arg(items, double);
  }
  va_end(items);
  oxl::test::PrintedLines().push_back(line);
  return 0;
}
