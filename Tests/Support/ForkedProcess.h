// Runs a function in a forked process, which never comes back into the test: its result is the exit status.
#pragma once

#include <sys/types.h>

#include <functional>

namespace pellora::support {

class ForkedProcess {
 public:
  explicit ForkedProcess(const std::function<int()>& run);
  // Kills it when it still runs.
  ~ForkedProcess();
  ForkedProcess(const ForkedProcess&) = delete;
  ForkedProcess& operator=(const ForkedProcess&) = delete;

  void kill();

  // The exit status; -1 when it did not exit by itself.
  int wait();

 private:
  pid_t _process;
  bool _hasEnded = false;
};

}  // namespace pellora::support
