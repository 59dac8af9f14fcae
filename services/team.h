// A team runs one body on each of its threads and returns when all have finished. The services are
// written once over a team; the OpenMP and the serial tables differ only in the team they use.
#pragma once

#include <cstdint>

#include "thread_limit.h"

namespace oxl::services {

using ShareFn = void (*)(void* arg, int32_t thread, int32_t team_size);

// Runs share(arg, t, team_size) for t in [0, team_size) on an OpenMP team of at most `threads`
// threads (OpenMP may grant fewer), the calling thread being thread 0. Workers run under the
// caller's floating-point control word, and exception flags they raise come back to the caller, so
// that a threaded call behaves as a serial one would.
void RunOmpTeam(int32_t threads, ShareFn share, void* arg);

struct OmpTeam {
  static int32_t Available() { return AvailableThreads(); }

  template <class Body>
  static void Run(int32_t threads, Body& body) {
    if (threads <= 1) {
      body(0, 1);
      return;
    }
    RunOmpTeam(
        threads,
        [](void* arg, int32_t thread, int32_t team_size) {
          (*static_cast<Body*>(arg))(thread, team_size);
        },
        &body);
  }
};

struct SerialTeam {
  static int32_t Available() { return 1; }

  template <class Body>
  static void Run(int32_t, Body& body) {
    body(0, 1);
  }
};

}  // namespace oxl::services
