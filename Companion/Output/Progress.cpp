#include "Companion/Output/Progress.h"

#include <pthread.h>
#include <unistd.h>

#include <chrono>
#include <csignal>

#include "Companion/Output/DisplayText.h"

namespace pellora {

namespace {

constexpr std::chrono::seconds kBeat{1};

void writeToTerminal(const std::string& text) {
  if (write(STDERR_FILENO, text.data(), text.size()) < 0) return;
}

}  // namespace

Progress::Progress(const std::string& activity) : _activity(display::printable(activity)) {
  if (isatty(STDERR_FILENO) != 1) return;
  // Signals are the main thread's.
  sigset_t all{};
  sigset_t before{};
  sigfillset(&all);
  pthread_sigmask(SIG_SETMASK, &all, &before);
  _thread = std::thread(&Progress::tell, this);
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

Progress::~Progress() {
  if (!_thread.joinable()) return;
  {
    const std::lock_guard lock(_mutex);
    _isDone = true;
  }
  _done.notify_one();
  _thread.join();
}

void Progress::setDone(int hundredths) {
  const std::lock_guard lock(_mutex);
  _hundredths = hundredths;
}

void Progress::tell() {
  std::unique_lock lock(_mutex);
  std::size_t seconds = 0;
  while (!_done.wait_for(lock, kBeat, [this] { return _isDone; }))
    writeToTerminal("\r" + _activity + " … " + (_hundredths < 0 ? "" : std::to_string(_hundredths) + " %, ") +
                    std::to_string(++seconds) + " s\x1B[K");
  if (seconds > 0) writeToTerminal("\r\x1B[K");
}

}  // namespace pellora
