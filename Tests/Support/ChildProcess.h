// Other processes that a test runs: other programs, and functions in processes of their own.
#pragma once

#include <sys/types.h>

#include <QProcess>
#include <functional>
#include <string>
#include <vector>

namespace pellora::support {

// A program that a test runs. It is killed when the object goes, and by the kernel when the test dies.
class ChildProcess {
 public:
  // Runs in the environment that the test has at this moment. Standard error goes to the test's.
  ChildProcess(const std::string& program, const std::vector<std::string>& arguments, const std::string& input = {});
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;
  ~ChildProcess();

  bool hasStarted() const { return _started; }
  qint64 id() const { return _process.processId(); }

  // One line of standard output without its end; empty when none comes in time.
  std::string readLine();
  // All of standard output once the program has ended with 0; "exit N: ..." or "no end" otherwise.
  std::string finish();

 private:
  QProcess _process;
  bool _started = false;
};

// Whether a program of this name can be run.
bool isInstalled(const std::string& program);

// Runs a function in a forked process, which never comes back into the test: its result is the exit status.
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

// Runs a function in a forked process and brings its text back: what a test found out in a process that is not to
// be the test's own (confined, out of file descriptors, ...). The process never comes back into the test.

// The text, and "threw: ..." or "ended with a signal" behind it where that happened.
std::string reportOfProcess(const std::function<std::string()>& run);

}  // namespace pellora::support
