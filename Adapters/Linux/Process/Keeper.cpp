#include "Adapters/Linux/Process/Keeper.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <utility>

namespace pellora {

namespace {

constexpr int kPatience = 5000;  // milliseconds
constexpr char kName[] = "pellora-keeper";

// Readers of the program's output must not wait for this process to end.
void closeStandardStreams() {
  const int nothing = open("/dev/null", O_RDWR | O_CLOEXEC);
  for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) dup2(nothing, descriptor);
  if (nothing > STDERR_FILENO) close(nothing);
}

[[noreturn]] void serve(const FileDescriptor& channel, const std::vector<Keeper::Duty>& duties,
                        const std::function<void()>& finish) {
  std::uint8_t duty = 0;
  while (retried([&] { return recv(channel.number(), &duty, sizeof duty, 0); }) == sizeof duty) {
    const std::uint8_t answer = duty < duties.size() && duties[duty]() ? 1 : 0;
    if (retried([&] { return send(channel.number(), &answer, sizeof answer, MSG_NOSIGNAL); }) < 0) break;
  }
  finish();
  _exit(0);
}

}  // namespace

std::unique_ptr<Keeper> Keeper::start(const std::vector<Duty>& duties, const std::function<void()>& confine,
                                      const std::function<void()>& finish) {
  std::array<int, 2> ends{};
  if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()) != 0) return nullptr;
  FileDescriptor asking(ends[0]);
  FileDescriptor answering(ends[1]);
  const pid_t process = fork();
  if (process < 0) return nullptr;
  if (process > 0) return std::unique_ptr<Keeper>(new Keeper(std::move(asking)));
  asking = FileDescriptor();
  // It ends with the other process, not with the signals that are meant for both.
  for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) ::signal(signal, SIG_IGN);
  prctl(PR_SET_NAME, kName);
  closeStandardStreams();
  confine();
  serve(answering, duties, finish);
}

Keeper::~Keeper() {
  shutdown(_channel.number(), SHUT_WR);
  pollfd waiting{_channel.number(), POLLIN, 0};
  retried([&] { return poll(&waiting, 1, kPatience); });
}

bool Keeper::ask(std::size_t duty) {
  const std::lock_guard lock(_mutex);
  const auto number = static_cast<std::uint8_t>(duty);
  std::uint8_t answer = 0;
  // An answer that came too late for an earlier question is not the answer to this one.
  while (recv(_channel.number(), &answer, sizeof answer, MSG_DONTWAIT) == sizeof answer) continue;
  answer = 0;
  if (retried([&] { return send(_channel.number(), &number, sizeof number, MSG_NOSIGNAL); }) != sizeof number)
    return false;
  pollfd waiting{_channel.number(), POLLIN, 0};
  if (retried([&] { return poll(&waiting, 1, kPatience); }) != 1) return false;
  return recv(_channel.number(), &answer, sizeof answer, MSG_DONTWAIT) == sizeof answer && answer == 1;
}

}  // namespace pellora
