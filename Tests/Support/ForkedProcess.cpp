#include "Tests/Support/ForkedProcess.h"

#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <stdexcept>

namespace pellora::support {

namespace {

constexpr int kThrew = 99;

int runSafely(const std::function<int()>& run) {
  try {
    return run();
  } catch (...) {
    return kThrew;
  }
}

}  // namespace

ForkedProcess::ForkedProcess(const std::function<int()>& run) : _process(fork()) {
  if (_process < 0) throw std::runtime_error("fork failed");
  if (_process == 0) _exit(runSafely(run));
}

ForkedProcess::~ForkedProcess() {
  if (_hasEnded) return;
  kill();
  wait();
}

void ForkedProcess::kill() {
  ::kill(_process, SIGKILL);
}

int ForkedProcess::wait() {
  int status = 0;
  if (waitpid(_process, &status, 0) != _process) throw std::runtime_error("waitpid failed");
  _hasEnded = true;
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

}  // namespace pellora::support
