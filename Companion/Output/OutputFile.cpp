#include "Companion/Output/OutputFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <string>
#include <system_error>

#include "Companion/Output/CompanionFailure.h"
#include "Companion/Output/DisplayText.h"
#include "PelloraMessagesCore/Files/AtomicFile.h"
#include "PelloraMessagesCore/Files/FileDescriptor.h"

namespace pellora::output_file {

namespace {

namespace fs = std::filesystem;

constexpr int kMostLinks = 40;  // as many as the system follows

[[noreturn]] void fail(const std::string& name, const std::string& reason) {
  throw CompanionFailure("Cannot write " + display::printable(name) + ": " + reason + ".");
}

// Where the links lead, also to a file that does not exist yet.
fs::path behindLinks(const std::string& name) {
  fs::path file = fs::absolute(name);
  std::error_code error;
  for (int links = 0; fs::is_symlink(file, error); ++links) {
    if (links == kMostLinks) fail(name, std::generic_category().message(ELOOP));
    file = file.parent_path() / fs::read_symlink(file, error);
    if (error) fail(name, error.message());
  }
  return file;
}

void writeInto(const std::string& name, std::string_view text) {
  FileDescriptor descriptor = FileDescriptor::open(name, O_WRONLY | O_NOCTTY);
  if (!descriptor.isOpen()) fail(name, std::generic_category().message(errno));
  while (!text.empty()) {
    const ssize_t written = ::write(descriptor.number(), text.data(), text.size());
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) fail(name, std::generic_category().message(errno));
    text.remove_prefix(static_cast<std::size_t>(written));
  }
  if (!descriptor.close()) fail(name, std::generic_category().message(errno));
}

}  // namespace

void write(const std::string& name, std::string_view text) {
  std::error_code error;
  const fs::file_type type = fs::status(name, error).type();
  if (type == fs::file_type::directory) fail(name, "it is a folder");
  if (type != fs::file_type::regular && type != fs::file_type::not_found && type != fs::file_type::none)
    return writeInto(name, text);
  // Only now: the link of an open pipe, as of /dev/stdout, leads to no name.
  const fs::path file = behindLinks(name);
  const bool hasFolder = fs::is_directory(file.parent_path(), error);
  if (!hasFolder)
    fail(name, error ? error.message() : display::printable(file.parent_path().string()) + " is not a folder");
  const InterruptionGuard guard;
  AtomicFile::removeLeftovers(file.parent_path());
  AtomicFile::write(file, text);
}

}  // namespace pellora::output_file

namespace pellora::standard_output {

namespace {

// Libraries may have had the signal ignored; shells and scripts know this end.
[[noreturn]] void endAsClosedPipe() {
  constexpr int kStatusOfSignal = 128;
  std::signal(SIGPIPE, SIG_DFL);
  sigset_t pipe{};
  sigemptyset(&pipe);
  sigaddset(&pipe, SIGPIPE);
  sigprocmask(SIG_UNBLOCK, &pipe, nullptr);
  raise(SIGPIPE);
  _exit(kStatusOfSignal + SIGPIPE);
}

}  // namespace

void write(std::string_view text) {
  while (!text.empty()) {
    const ssize_t written = ::write(STDOUT_FILENO, text.data(), text.size());
    if (written >= 0) {
      text.remove_prefix(static_cast<std::size_t>(written));
      continue;
    }
    if (errno == EINTR) continue;
    if (errno == EPIPE) endAsClosedPipe();
    throw CompanionFailure("Cannot write the output: " + std::generic_category().message(errno) + ".");
  }
}

}  // namespace pellora::standard_output

namespace pellora {

namespace {

// A signal handler can reach nothing else.
volatile std::sig_atomic_t arrivedSignal = 0;

extern "C" void rememberSignal(int number) {
  arrivedSignal = number;
}

}  // namespace

InterruptionGuard::InterruptionGuard() {
  arrivedSignal = 0;
  struct sigaction remember{};
  remember.sa_handler = rememberSignal;
  remember.sa_flags = SA_RESTART;
  sigemptyset(&remember.sa_mask);
  sigaction(SIGINT, &remember, &_interrupt);
  sigaction(SIGTERM, &remember, &_terminate);
}

bool InterruptionGuard::isRequested() {
  return arrivedSignal != 0;
}

InterruptionGuard::~InterruptionGuard() {
  sigaction(SIGINT, &_interrupt, nullptr);
  sigaction(SIGTERM, &_terminate, nullptr);
  if (arrivedSignal != 0) raise(arrivedSignal);
}

}  // namespace pellora
