#include "Tests/Support/ModelServerProcess.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <utility>

#include "PelloraMessagesCore/Files/FileDescriptor.h"

namespace pellora::support {

namespace {

// Not a QProcess, whose way of starting the thread sanitizer does not understand.
pid_t spawn(std::vector<std::string> arguments, int standardOutput) {
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, standardOutput, STDOUT_FILENO);
  std::vector<char*> pointers;
  for (std::string& argument : arguments) pointers.push_back(argument.data());
  pointers.push_back(nullptr);
  pid_t process = -1;
  const int failure = posix_spawn(&process, pointers.front(), &actions, nullptr, pointers.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  return failure == 0 ? process : -1;
}

std::string firstLine(int descriptor) {
  std::string line;
  char c = 0;
  while (read(descriptor, &c, 1) == 1 && c != '\n') line += c;
  return line;
}

}  // namespace

ModelServerProcess::ModelServerProcess(Transport transport, const QStringList& options) {
  switch (transport) {
    case Transport::unixSocket:
      start("unix:" + (_folder / "m.sock").string(), options);
      break;
    case Transport::port:
      start("127.0.0.1:0", options);
      break;
    case Transport::portOfVersion6:
      start("[::1]:0", options);
      break;
  }
}

ModelServerProcess::ModelServerProcess(const std::string& place, const QStringList& options) {
  start(place, options);
}

void ModelServerProcess::restart(const QStringList& options) {
  constexpr std::string_view kHttp = "http://";
  const std::string where = _url.starts_with(kHttp) ? _url.substr(kHttp.size()) : _url;
  stop();
  start(where, options);
}

void ModelServerProcess::start(const std::string& where, const QStringList& options) {
  // Readable for a server that runs as another account.
  std::filesystem::permissions(_folder.path(), std::filesystem::perms(0777));
  std::vector<std::string> arguments{PELLORA_TEST_MODEL_SERVER,  "--exit-with-parent", "--log-bodies", "--log",
                                     (_folder / "log").string(), "--listen",           where};
  for (const QString& option : options) arguments.push_back(option.toStdString());
  int pipe[2];
  if (pipe2(pipe, O_CLOEXEC) != 0) return;
  _process = spawn(std::move(arguments), pipe[1]);
  close(pipe[1]);
  const std::string line = firstLine(pipe[0]);
  close(pipe[0]);
  constexpr std::string_view kReady = "listening on ";
  _url = line.starts_with(kReady) ? line.substr(kReady.size()) : std::string();
}

ModelServerProcess::~ModelServerProcess() {
  stop();
}

void ModelServerProcess::stop() {
  if (_process < 0) return;
  kill(_process, SIGKILL);
  const pid_t process = std::exchange(_process, -1);
  retried([&] { return waitpid(process, nullptr, 0); });
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
