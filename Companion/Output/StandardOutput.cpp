#include "Companion/Output/StandardOutput.h"

#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <string>
#include <system_error>

#include "Companion/Output/CompanionFailure.h"

namespace pellora::standard_output {

namespace {

// Libraries may have had the signal ignored; shells and scripts know this end.
[[noreturn]] void endAsClosedPipe() {
  constexpr int kStatusOfSignal = 128;
  std::signal(SIGPIPE, SIG_DFL);
  sigset_t pipe{};
  sigemptyset(&pipe);
  sigaddset(&pipe, SIGPIPE);
  sigprocmask(SIG_UNBLOCK, &pipe, nullptr);
  raise(SIGPIPE);
  _exit(kStatusOfSignal + SIGPIPE);
}

}  // namespace

void write(std::string_view text) {
  while (!text.empty()) {
    const ssize_t written = ::write(STDOUT_FILENO, text.data(), text.size());
    if (written >= 0) {
      text.remove_prefix(static_cast<std::size_t>(written));
      continue;
    }
    if (errno == EINTR) continue;
    if (errno == EPIPE) endAsClosedPipe();
    throw CompanionFailure("Cannot write the output: " + std::generic_category().message(errno) + ".");
  }
}

}  // namespace pellora::standard_output
