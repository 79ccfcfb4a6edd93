#include "Adapters/Linux/Process/SignalQuitRequests.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <csignal>

namespace pellora {

namespace {

constexpr std::array kSignals = {SIGTERM, SIGINT, SIGHUP};

// Where the handler writes; a handler can reach nothing else.
volatile std::sig_atomic_t writingEnd = -1;

void tellEventLoop(int) {
  const char byte = 1;
  // A full pipe means that the event loop has been told already.
  [[maybe_unused]] const auto written = write(writingEnd, &byte, 1);
}

void drain(int descriptor) {
  std::array<char, 64> bytes;
  while (read(descriptor, bytes.data(), bytes.size()) > 0) continue;
}

}  // namespace

SignalQuitRequests::~SignalQuitRequests() {
  if (!_notifier) return;
  for (const int signal : kSignals) std::signal(signal, SIG_DFL);
  writingEnd = -1;
}

void SignalQuitRequests::observe(std::function<void()> quit) {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0) return;
  _reading = FileDescriptor(ends[0]);
  _writing = FileDescriptor(ends[1]);
  writingEnd = _writing.number();
  _notifier = std::make_unique<QSocketNotifier>(_reading.number(), QSocketNotifier::Read);
  QObject::connect(_notifier.get(), &QSocketNotifier::activated,
                   [descriptor = _reading.number(), quit = std::move(quit)] {
                     drain(descriptor);
                     quit();
                   });
  struct sigaction action{};
  action.sa_handler = tellEventLoop;
  action.sa_flags = SA_RESTART;
  for (const int signal : kSignals) sigaction(signal, &action, nullptr);
}

}  // namespace pellora
