// The mode variable's parser on any text: the entry reads the variable through the platform's
// bounded copy and parses it, and must answer -1 or a word made of the keywords' bits, whatever
// the bytes, their length or where they stop.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "oxl/vek.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  // The environment holds no NUL: the text ends at the first one, as a shell would cut it.
  std::string text(reinterpret_cast<const char*>(data), size);
  text.resize(text.find('\0') == std::string::npos ? text.size() : text.find('\0'));
  setenv("OXL_VEK_MODE", text.c_str(), 1);
  const int64_t mode = oxl_vek_kernel_ReadEnvVarMode();
  constexpr int64_t kKeywordBits =
      OXL_VEK_MODE_ACCURACY_MASK | OXL_VEK_MODE_PRECISION_MASK | OXL_VEK_MODE_ERRMODE_MASK;
  if (mode != -1 && (mode & ~kKeywordBits) != 0) __builtin_trap();
  return 0;
}
