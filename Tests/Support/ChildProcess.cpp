#include "Tests/Support/ChildProcess.h"

#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <QStandardPaths>
#include <QStringList>
#include <csignal>
#include <stdexcept>

#include "ChildProcess.h"
#include "PelloraMessagesCore/Files/FileDescriptor.h"

namespace pellora::support {

namespace {

constexpr int kPatienceMilliseconds = 60'000;

}  // namespace

ChildProcess::ChildProcess(const std::string& program, const std::vector<std::string>& arguments,
                           const std::string& input) {
  QStringList list;
  for (const std::string& argument : arguments) list += QString::fromStdString(argument);
  _process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
  _process.setChildProcessModifier([] { prctl(PR_SET_PDEATHSIG, SIGKILL); });
  _process.start(QString::fromStdString(program), list);
  _started = _process.waitForStarted(kPatienceMilliseconds);
  _process.write(QByteArray::fromStdString(input));
  _process.closeWriteChannel();
}

ChildProcess::~ChildProcess() {
  if (_process.state() == QProcess::NotRunning) return;
  _process.kill();
  _process.waitForFinished(kPatienceMilliseconds);
}

std::string ChildProcess::readLine() {
  while (!_process.canReadLine())
    if (!_process.waitForReadyRead(kPatienceMilliseconds)) return {};
  return _process.readLine().trimmed().toStdString();
}

std::string ChildProcess::finish() {
  if (_process.state() != QProcess::NotRunning && !_process.waitForFinished(kPatienceMilliseconds)) return "no end";
  const std::string output = _process.readAllStandardOutput().trimmed().toStdString();
  if (_process.exitStatus() == QProcess::NormalExit && _process.exitCode() == 0) return output;
  return "exit " + std::to_string(_process.exitCode()) + ": " + output;
}

bool isInstalled(const std::string& program) {
  return !QStandardPaths::findExecutable(QString::fromStdString(program)).isEmpty();
}

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
  if (retried([&] { return waitpid(_process, &status, 0); }) != _process) throw std::runtime_error("waitpid failed");
  _hasEnded = true;
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

namespace {

std::string runSafely(const std::function<std::string()>& run) {
  try {
    return run();
  } catch (const std::exception& error) {
    return std::string("threw: ") + error.what();
  }
}

void sendAll(int descriptor, const std::string& text) {
  std::size_t sent = 0;
  while (sent < text.size()) {
    const ssize_t count = ::write(descriptor, text.data() + sent, text.size() - sent);
    if (count <= 0) return;
    sent += static_cast<std::size_t>(count);
  }
}

}  // namespace

std::string reportOfProcess(const std::function<std::string()>& run) {
  int ends[2];
  if (pipe(ends) != 0) throw std::runtime_error("no pipe");
  const pid_t process = fork();
  if (process < 0) throw std::runtime_error("fork failed");
  if (process == 0) {
    close(ends[0]);
    sendAll(ends[1], runSafely(run));
    _exit(0);
  }
  close(ends[1]);
  std::string text;
  char block[4096];
  for (ssize_t count = 0; (count = retried([&] { return ::read(ends[0], block, sizeof block); })) > 0;)
    text.append(block, static_cast<std::size_t>(count));
  close(ends[0]);
  int status = 0;
  retried([&] { return waitpid(process, &status, 0); });
  if (!WIFEXITED(status)) text += " ended with a signal";
  return text;
}

}  // namespace pellora::support
