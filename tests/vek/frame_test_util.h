// Fresh threads (each starts with a zero block) and control of the mode variable for the frame's
// tests.
#pragma once

#include <cstdlib>
#include <optional>
#include <string>
#include <thread>

namespace oxl::test {

inline constexpr const char* kModeVariable = "OXL_VEK_MODE";

// Runs `body` on a new thread and waits for it, so that the body sees a thread block that no call
// has touched.
template <class Body>
void OnFreshThread(Body body) {
  std::thread thread(body);
  thread.join();
}

// Sets (or, for nullptr, removes) the mode variable and puts the old state back on exit. Only for
// moments when no other thread of the test reads the environment.
class ScopedModeVariable {
 public:
  explicit ScopedModeVariable(const char* value) {
    if (const char* old = std::getenv(kModeVariable)) saved_ = old;
    Put(value);
  }
  ~ScopedModeVariable() { Put(saved_ ? saved_->c_str() : nullptr); }
  ScopedModeVariable(const ScopedModeVariable&) = delete;
  ScopedModeVariable& operator=(const ScopedModeVariable&) = delete;

  static void Put(const char* value) {
    if (value != nullptr) {
      setenv(kModeVariable, value, 1);
    } else {
      unsetenv(kModeVariable);
    }
  }

 private:
  std::optional<std::string> saved_;
};

}  // namespace oxl::test
