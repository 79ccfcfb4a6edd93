#include "ChildProcess.h"

#include <signal.h>
#include <sys/prctl.h>

#include <QStandardPaths>
#include <QStringList>

namespace pellora::support {

namespace {

constexpr int kPatience = 60'000;  // milliseconds

}  // namespace

ChildProcess::ChildProcess(const std::string& program, const std::vector<std::string>& arguments,
                           const std::string& input) {
  QStringList list;
  for (const std::string& argument : arguments) list += QString::fromStdString(argument);
  _process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
  _process.setChildProcessModifier([] { prctl(PR_SET_PDEATHSIG, SIGKILL); });
  _process.start(QString::fromStdString(program), list);
  _started = _process.waitForStarted(kPatience);
  _process.write(QByteArray::fromStdString(input));
  _process.closeWriteChannel();
}

ChildProcess::~ChildProcess() {
  if (_process.state() == QProcess::NotRunning) return;
  _process.kill();
  _process.waitForFinished(kPatience);
}

std::string ChildProcess::readLine() {
  while (!_process.canReadLine())
    if (!_process.waitForReadyRead(kPatience)) return {};
  return _process.readLine().trimmed().toStdString();
}

std::string ChildProcess::finish() {
  if (_process.state() != QProcess::NotRunning && !_process.waitForFinished(kPatience)) return "no end";
  const std::string output = _process.readAllStandardOutput().trimmed().toStdString();
  if (_process.exitStatus() == QProcess::NormalExit && _process.exitCode() == 0) return output;
  return "exit " + std::to_string(_process.exitCode()) + ": " + output;
}

bool isInstalled(const std::string& program) {
  return !QStandardPaths::findExecutable(QString::fromStdString(program)).isEmpty();
}

}  // namespace pellora::support
