// Records what the library prints instead of printing it: this test binary defines
// oxl_serv_print itself, so the archive's definition is never linked in.
#pragma once

#include <string>
#include <vector>

namespace oxl::test {

struct PrintedLine {
  int dest;
  int number;
  int count;
  std::string name;  // messages 735 to 741
  int index;         // messages 735 and 742 to 753
  double value;      // messages 742 to 753
};

// Lines printed on the calling thread since the last clear.
std::vector<PrintedLine>& PrintedLines();
std::vector<int> PrintedNumbers();

}  // namespace oxl::test
