// `--read-once`: one read without a display. Prints the status line on standard output and, unless the read succeeded,
// one sentence on standard error. Needs a QCoreApplication.
#pragma once

#include <memory>
#include <string_view>

namespace pellora {

class HelperConfinement;

namespace ReadOnce {

inline constexpr int kRead = 0;
inline constexpr int kNeedsFullDiskAccess = 3;
inline constexpr int kWaitingForPellora = 4;
inline constexpr int kFailed = 5;
inline constexpr int kAlreadyRunning = 6;

// The exit code of the process.
int run(std::shared_ptr<HelperConfinement> confinement);

}  // namespace ReadOnce

// Writes all of it to standard output, for a helper without a window. When that fails it says so in one sentence on
// standard error; the result is false.
bool printText(std::string_view text);

}  // namespace pellora
