// `--read-once`: one read without a display. Prints the status line on standard output and, when there is nothing
// to be glad of, one sentence on standard error. Needs a QCoreApplication.
#pragma once

#include <memory>

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

}  // namespace pellora
