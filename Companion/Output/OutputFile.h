// Output that is written whole or not at all: files that the user names, standard output, and interruptions kept
// waiting.
#pragma once

#include <csignal>
#include <string>
#include <string_view>

namespace pellora::output_file {

// The file that a user names for output. Tested by Tests/Companion/OutputFileTests.cpp.

// Writes all of it. A regular file, also one behind a link, is replaced whole (mode 0600) or left as it was; a new one
// needs a folder that exists, since a mistyped folder is not to be created. A pipe or device is written into, as the
// shell does it. Throws CompanionFailure or FileError.
void write(const std::string& name, std::string_view text);

}  // namespace pellora::output_file

namespace pellora::standard_output {

// Writes all of it, so that nothing is lost unnoticed. When nobody reads any more the process ends the way a closed
// pipe ends it. Throws CompanionFailure on any other error.
void write(std::string_view text);

}  // namespace pellora::standard_output

namespace pellora {

// While it lives, Ctrl+C and a request to end wait, so that a file is either written or not begun. Afterwards what
// arrived in between takes its usual course.
class InterruptionGuard {
 public:
  InterruptionGuard();
  ~InterruptionGuard();
  // Whether such a request waits, for work that can be given up in the middle.
  static bool isRequested();

  InterruptionGuard(const InterruptionGuard&) = delete;
  InterruptionGuard& operator=(const InterruptionGuard&) = delete;

 private:
  struct sigaction _interrupt{};
  struct sigaction _terminate{};
};

}  // namespace pellora
