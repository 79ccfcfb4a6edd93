#include "Tests/Support/ProgramRun.h"

#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <stdexcept>

#include "PelloraMessagesCore/Files/FileDescriptor.h"

namespace pellora::support {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds kPatience{60};
constexpr unsigned short kColumns = 100;

struct Ends {
  int read = -1;
  int write = -1;
};

Ends makePipe() {
  std::array<int, 2> ends{};
  if (pipe2(ends.data(), O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
  return {ends[0], ends[1]};
}

Ends makeTerminal() {
  Ends ends;
  winsize size{};
  size.ws_col = kColumns;
  size.ws_row = 24;
  if (openpty(&ends.read, &ends.write, nullptr, nullptr, &size) != 0) throw std::runtime_error("no terminal");
  fcntl(ends.read, F_SETFD, FD_CLOEXEC);
  fcntl(ends.write, F_SETFD, FD_CLOEXEC);
  return ends;
}

Ends makeOutput(ProgramRun::Output kind) {
  switch (kind) {
    case ProgramRun::Output::pipe:
      return makePipe();
    case ProgramRun::Output::terminal:
      return makeTerminal();
    case ProgramRun::Output::closedPipe: {
      Ends ends = makePipe();
      close(ends.read);
      ends.read = -1;
      return ends;
    }
    case ProgramRun::Output::fullDevice:
      return {-1, open("/dev/full", O_WRONLY | O_CLOEXEC)};
  }
  return {};
}

// False at the end of what can be read.
bool readSome(int descriptor, std::string& text) {
  std::array<char, 4096> buffer{};
  const ssize_t count = read(descriptor, buffer.data(), buffer.size());
  if (count > 0) text.append(buffer.data(), static_cast<std::size_t>(count));
  return count > 0 || (count < 0 && errno == EINTR);
}

void closeOnce(int& descriptor) {
  if (descriptor >= 0) close(descriptor);
  descriptor = -1;
}

}  // namespace

ProgramRun::ProgramRun(const Setup& setup) {
  signal(SIGPIPE, SIG_IGN);  // a program may end without reading its input; the test goes on
  start(setup);
  std::size_t written = 0;
  while (written < setup.input.size()) {
    const ssize_t count = write(_input, setup.input.data() + written, setup.input.size() - written);
    if (count <= 0) break;
    written += static_cast<std::size_t>(count);
  }
  if (!setup.keepsInputOpen) closeOnce(_input);
}

void ProgramRun::start(const Setup& setup) {
  Ends input = makePipe();
  Ends output = makeOutput(setup.output);
  const bool isTerminal = setup.output == Output::terminal;
  Ends errors = isTerminal ? Ends{-1, dup(output.write)} : makePipe();
  std::vector<char*> arguments{const_cast<char*>(setup.program.c_str())};
  for (const std::string& argument : setup.arguments) arguments.push_back(const_cast<char*>(argument.c_str()));
  arguments.push_back(nullptr);
  _process = fork();
  if (_process < 0) throw std::runtime_error("no process");
  if (_process == 0) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    signal(SIGPIPE, setup.ignoresPipeSignal ? SIG_IGN : SIG_DFL);
    dup2(input.read, STDIN_FILENO);
    dup2(output.write, STDOUT_FILENO);
    dup2(errors.write, STDERR_FILENO);
    execv(arguments[0], arguments.data());
    _exit(127);
  }
  closeOnce(input.read);
  closeOnce(output.write);
  closeOnce(errors.write);
  _input = input.write;
  _outputEnd = output.read;
  _errorEnd = errors.read;
}

ProgramRun::~ProgramRun() {
  if (!_hasEnded) {
    kill(_process, SIGKILL);
    retried([&] { return waitpid(_process, nullptr, 0); });
  }
  closeOnce(_input);
  closeOnce(_outputEnd);
  closeOnce(_errorEnd);
}

void ProgramRun::interrupt(int signal) {
  const auto end = Clock::now() + kPatience;
  int waiting = 1;
  while (waiting > 0 && Clock::now() < end) {
    if (ioctl(_input, FIONREAD, &waiting) != 0) break;
    poll(nullptr, 0, 1);
  }
  kill(_process, signal);
}

void ProgramRun::readAll() {
  const auto end = Clock::now() + kPatience;
  while ((_outputEnd >= 0 || _errorEnd >= 0) && Clock::now() < end) {
    std::array<pollfd, 2> ends{{{_outputEnd, POLLIN, 0}, {_errorEnd, POLLIN, 0}}};
    if (poll(ends.data(), ends.size(), 1000) <= 0) continue;
    if (ends[0].revents != 0 && !readSome(_outputEnd, _output)) closeOnce(_outputEnd);
    if (ends[1].revents != 0 && !readSome(_errorEnd, _errors)) closeOnce(_errorEnd);
  }
  if (Clock::now() >= end) kill(_process, SIGKILL);
}

int ProgramRun::wait() {
  if (_hasEnded) return _status;
  readAll();
  int status = 0;
  retried([&] { return waitpid(_process, &status, 0); });
  _hasEnded = true;
  constexpr int kSignalBase = 128;
  if (WIFEXITED(status)) _status = WEXITSTATUS(status);
  if (WIFSIGNALED(status)) _status = WTERMSIG(status) == SIGKILL ? -1 : kSignalBase + WTERMSIG(status);
  return _status;
}

}  // namespace pellora::support
