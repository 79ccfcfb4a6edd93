#include "Tests/Faults/ForkServer.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <tuple>

namespace pellora::support {

namespace {

[[noreturn]] void become(const std::string& program, const std::vector<std::string>& arguments,
                         const std::string& preloaded, int channel) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  setenv("LD_PRELOAD", preloaded.c_str(), 1);
  setenv("PELLORA_FAULT_SERVER", std::to_string(channel).c_str(), 1);
  const int nowhere = open("/dev/null", O_RDWR);
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) dup2(nowhere, stream);
  if (nowhere > STDERR_FILENO) close(nowhere);
  std::vector<char*> words{const_cast<char*>(program.c_str())};
  for (const std::string& each : arguments) words.push_back(const_cast<char*>(each.c_str()));
  words.push_back(nullptr);
  execv(program.c_str(), words.data());
  _exit(127);
}

}  // namespace

ForkServer& ForkServer::of(const std::string& program, const std::vector<std::string>& arguments) {
  // A forked process must not talk to its parent's.
  using Key = std::tuple<pid_t, std::string, std::vector<std::string>>;
  static std::map<Key, std::unique_ptr<ForkServer>> kept;
  std::unique_ptr<ForkServer>& server = kept[{getpid(), program, arguments}];
  if (!server) server = std::make_unique<ForkServer>(program, arguments);
  return *server;
}

ForkServer::ForkServer(const std::string& program, const std::vector<std::string>& arguments)
    : _program(program), _injector(PELLORA_FAULT_INJECTOR) {
  int ends[2];
  if (socketpair(AF_UNIX, SOCK_SEQPACKET, 0, ends) != 0) throw std::runtime_error("no socket pair");
  _channel = FileDescriptor(ends[0]);
  const FileDescriptor theirs(ends[1]);
  fcntl(_channel.number(), F_SETFD, FD_CLOEXEC);
  _process = fork();
  if (_process < 0) throw std::runtime_error("fork failed");
  if (_process == 0) become(program, arguments, _injector.name(), theirs.number());
}

ForkServer::~ForkServer() {
  _channel = FileDescriptor();  // it ends when nobody can ask any more
  retried([&] { return waitpid(_process, nullptr, 0); });
}

pid_t ForkServer::start(const std::map<std::string, std::string>& environment) {
  std::string request;
  for (const auto& [name, value] : environment) request += name + "=" + value + '\0';
  request += '\0';
  if (send(_channel.number(), request.data(), request.size(), MSG_NOSIGNAL) < 0)
    throw std::runtime_error("cannot run " + _program);
  return receive();
}

int ForkServer::wait() {
  if (send(_channel.number(), "", 1, MSG_NOSIGNAL) < 0) throw std::runtime_error("the fork server is gone");
  return receive();
}

int ForkServer::receive() {
  int answer = 0;
  if (retried([&] { return recv(_channel.number(), &answer, sizeof answer, 0); }) != sizeof answer)
    throw std::runtime_error("cannot run " + _program);
  return answer;
}

}  // namespace pellora::support
