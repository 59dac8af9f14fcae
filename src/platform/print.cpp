// oxl_serv_print and its message catalogue. The vector error path names a message by number and
// passes the items; the texts live here and nowhere else.
#include <cstdarg>
#include <cstdio>

#include "oxl/platform.h"

namespace oxl::platform {
namespace {

// Item kinds: 's' a C string, 'i' an int, 'g' a double.
struct Message {
  int number;
  const char* text;
  const char* kinds;
  const char* labels[2];
};

constexpr Message kCatalogue[] = {
    {735, "size argument is not valid", "si", {"function", "index"}},
    {736, "array argument is not valid", "s", {"function", nullptr}},
    {737, "argument outside the domain of the function", "s", {"function", nullptr}},
    {738, "argument at a singularity of the function", "s", {"function", nullptr}},
    {739, "result overflows", "s", {"function", nullptr}},
    {740, "result underflows", "s", {"function", nullptr}},
    {741, "unknown error status", "s", {"function", nullptr}},
    {742, "argument", "ig", {"index", "value"}},
    {743, "result", "ig", {"index", "value"}},
    {744, "argument", "ig", {"index", "value"}},
    {745, "first result", "ig", {"index", "value"}},
    {746, "second result", "ig", {"index", "value"}},
    {747, "first argument", "ig", {"index", "value"}},
    {748, "second argument", "ig", {"index", "value"}},
    {749, "result", "ig", {"index", "value"}},
    {750, "first argument", "ig", {"index", "value"}},
    {751, "second argument", "ig", {"index", "value"}},
    {752, "first result", "ig", {"index", "value"}},
    {753, "second result", "ig", {"index", "value"}},
};

const Message* Find(int number) {
  for (const Message& m : kCatalogue) {
    if (m.number == number) return &m;
  }
  return nullptr;
}

}  // namespace
}  // namespace oxl::platform

extern "C" OXL_API int oxl_serv_print(int dest, int msg_number, int item_count, ...) {
  FILE* out = dest == 1 ? stderr : stdout;
  char line[512];
  int pos = 0;
  auto append = [&](int written) {
    if (written > 0) pos += written;
    if (pos > static_cast<int>(sizeof(line)) - 1) pos = sizeof(line) - 1;
  };

  const oxl::platform::Message* m = oxl::platform::Find(msg_number);
  if (m == nullptr) {
    append(std::snprintf(line, sizeof(line), "oxl: message %d", msg_number));
  } else {
    append(std::snprintf(line, sizeof(line), "oxl: %s", m->text));
    va_list args;
    va_start(args, item_count);
    for (int i = 0; i < item_count && m->kinds[i] != '\0'; ++i) {
      const char* sep = i == 0 ? ": " : ", ";
      char* at = line + pos;
      const std::size_t room = sizeof(line) - pos;
      switch (m->kinds[i]) {
        case 's': {
          const char* s = va_arg(args, const char*);
          append(std::snprintf(at, room, "%s%s %s", sep, m->labels[i], s ? s : "(null)"));
          break;
        }
        case 'i':
          append(std::snprintf(at, room, "%s%s %d", sep, m->labels[i], va_arg(args, int)));
          break;
        default:
          append(std::snprintf(at, room, "%s%s %.17g", sep, m->labels[i], va_arg(args, double)));
          break;
      }
    }
    va_end(args);
  }
  return std::fprintf(out, "%s\n", line) < 0 ? -1 : pos + 1;
}
