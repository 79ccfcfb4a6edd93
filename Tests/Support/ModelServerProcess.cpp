#include "Tests/Support/ModelServerProcess.h"

#include <fstream>
#include <nlohmann/json.hpp>

namespace pellora::support {

ModelServerProcess::ModelServerProcess(Transport transport, const QStringList& options) {
  const std::string where =
      transport == Transport::unixSocket ? "unix:" + (_folder / "m.sock").string() : "127.0.0.1:0";
  QStringList arguments{QStringLiteral("--exit-with-parent"),
                        QStringLiteral("--log-bodies"),
                        QStringLiteral("--log"),
                        QString::fromStdString((_folder / "log").string()),
                        QStringLiteral("--listen"),
                        QString::fromStdString(where)};
  _process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
  _process.start(QStringLiteral(PELLORA_TEST_MODEL_SERVER), arguments + options);
  while (!_process.canReadLine() && _process.waitForReadyRead(30000)) {
  }
  const std::string line = _process.readLine().trimmed().toStdString();
  constexpr std::string_view kReady = "listening on ";
  if (line.starts_with(kReady)) _url = line.substr(kReady.size());
}

ModelServerProcess::~ModelServerProcess() {
  stop();
}

void ModelServerProcess::stop() {
  if (_process.state() == QProcess::NotRunning) return;
  _process.kill();
  _process.waitForFinished();
}

std::vector<std::string> ModelServerProcess::bodies(const std::string& path) const {
  std::vector<std::string> found;
  std::ifstream log(_folder / "log");
  for (std::string line; std::getline(log, line);) {
    const auto entry = nlohmann::json::parse(line, nullptr, false);
    if (entry.is_object() && entry["event"] == "request" && entry["path"] == path) found.push_back(entry["body"]);
  }
  return found;
}

std::size_t ModelServerProcess::abandonedCount() const {
  std::size_t count = 0;
  std::ifstream log(_folder / "log");
  for (std::string line; std::getline(log, line);) count += line.find("\"abandoned\"") != std::string::npos ? 1 : 0;
  return count;
}

}  // namespace pellora::support
