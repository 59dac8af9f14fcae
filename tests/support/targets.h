// Runs a piece of a test once per SIMD target that the library was built for and this processor
// runs, with dispatch forced to that target.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

namespace oxl::test {

// Calls body(target_name) for each available target, best first, and restores normal dispatch
// afterwards. Failures inside are reported with the target's name in the trace.
void ForEachTarget(const std::function<void(const std::string& target)>& body);

}  // namespace oxl::test
