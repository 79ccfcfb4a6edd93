// A program that a test runs beside itself. It is killed when the object goes, and by the kernel when the test dies.
#pragma once

#include <QProcess>
#include <string>
#include <vector>

namespace pellora::support {

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

}  // namespace pellora::support
