// Runs a function in a forked process and brings its text back: what a test found out in a process that is not to
// be the test's own (confined, out of file descriptors, ...). The process never comes back into the test.
#pragma once

#include <functional>
#include <string>

namespace pellora::support {

// The text, and "threw: ..." or "ended with a signal" behind it where that happened.
std::string reportOfProcess(const std::function<std::string()>& run);

}  // namespace pellora::support
