#include <cstdlib>
#include <cstring>

#include "oxl/platform.h"

extern "C" OXL_API int oxl_serv_getenv(const char* name, char* buffer, int buffer_size) {
  if (name == nullptr || buffer == nullptr || buffer_size <= 0) return -1;
  const char* value = std::getenv(name);
  if (value == nullptr) {
    buffer[0] = '\0';
    return 0;
  }
  const std::size_t length = std::strlen(value);
  const std::size_t room = static_cast<std::size_t>(buffer_size) - 1;
  const std::size_t copied = length < room ? length : room;
  std::memcpy(buffer, value, copied);
  buffer[copied] = '\0';
  return static_cast<int>(copied);
}
