#include "Companion/Output/Terminal.h"

#include <fcntl.h>
#include <openssl/crypto.h>
#include <pthread.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <string_view>

#include "Companion/Output/DisplayText.h"

namespace pellora::terminal {

namespace {

constexpr std::size_t kLongestPassword = 1024;  // bytes
constexpr std::size_t kLongestLine = 4096;      // bytes
constexpr char kInterrupt = '\x03';             // Ctrl+C, where it is not a signal
constexpr char kEndOfInput = '\x04';            // Ctrl+D
constexpr char kEraseLine = '\x15';             // Ctrl+U
constexpr char kErase = '\x7f';
constexpr char kBackspace = '\b';

}  // namespace

void show(std::string_view text) {
  while (!text.empty()) {
    const ssize_t count = ::write(STDERR_FILENO, text.data(), text.size());
    if (count <= 0) return;
    text.remove_prefix(static_cast<std::size_t>(count));
  }
}

namespace {

// One byte; false at the end.
bool readByte(char& byte) {
  ssize_t count = 0;
  do count = ::read(STDIN_FILENO, &byte, 1);
  while (count < 0 && errno == EINTR);
  return count == 1;
}

// The length without the last character, which in UTF-8 ends at its first byte.
std::size_t withoutLastCharacter(const char* text, std::size_t size) {
  while (size > 0 && (static_cast<unsigned char>(text[size - 1]) & 0xC0) == 0x80) --size;
  return size > 0 ? size - 1 : 0;
}

// While it lives, nothing that is typed is shown, and every key arrives at once as a character, Ctrl+C too.
class QuietTerminal {
 public:
  QuietTerminal() {
    ::tcgetattr(STDIN_FILENO, &_before);
    termios quiet = _before;
    quiet.c_lflag &= ~static_cast<tcflag_t>(ECHO | ISIG | ICANON);
    quiet.c_cc[VMIN] = 1;
    quiet.c_cc[VTIME] = 0;
    ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &quiet);
  }
  ~QuietTerminal() { ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &_before); }
  QuietTerminal(const QuietTerminal&) = delete;
  QuietTerminal& operator=(const QuietTerminal&) = delete;

 private:
  termios _before{};
};

}  // namespace

bool isThere() {
  return ::isatty(STDIN_FILENO) == 1 && ::isatty(STDERR_FILENO) == 1;
}

std::optional<std::string> line(const std::string& question) {
  if (!isThere()) return std::nullopt;
  show(display::printable(question) + " ");
  std::string text;
  char byte = 0;
  while (readByte(byte)) {
    if (byte == '\n') return text;
    if (text.size() < kLongestLine) text += byte;
  }
  return std::nullopt;
}

std::optional<bool> isConfirmed(const std::string& question) {
  if (!isThere()) return std::nullopt;
  const auto answer = line(question + " [y/N]");
  return answer && (*answer == "y" || *answer == "Y" || *answer == "yes" || *answer == "Yes");
}

std::optional<SecretBytes> password(const std::string& question) {
  if (!isThere()) return std::nullopt;
  std::array<char, kLongestPassword> typed{};
  std::size_t size = 0;
  bool isInterrupted = false;
  {
    const QuietTerminal quiet;
    show(display::printable(question) + " ");
    char byte = 0;
    while (readByte(byte) && byte != '\n' && byte != '\r' && byte != kEndOfInput) {
      isInterrupted = byte == kInterrupt;
      if (isInterrupted) break;
      if (byte == kErase || byte == kBackspace)
        size = withoutLastCharacter(typed.data(), size);
      else if (byte == kEraseLine)
        size = 0;
      else if (size < typed.size())  // of a longer one the rest must not get to the shell
        typed[size++] = byte;
    }
  }
  show("\n");
  std::optional<SecretBytes> password;
  if (size > 0 && !isInterrupted) password.emplace(std::string_view(typed.data(), size));
  OPENSSL_cleanse(typed.data(), typed.size());
  if (isInterrupted) ::raise(SIGINT);
  return password;
}

}  // namespace pellora::terminal

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
