// The user at the terminal: questions, whatever standard input and output are, and the progress of slow work. Tested by
// Tests/Companion/ProgramTests.cpp.
#pragma once

#include <condition_variable>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>

#include "PelloraMessagesCore/Files/SecretBytes.h"

namespace pellora::terminal {

// Whether there is somebody to ask: standard input and standard error are a terminal.
bool isThere();

// Verbatim, on standard error; control characters in it are the caller's to take out.
void show(std::string_view text);

// What is typed, without the line's end; absent at its end of input or without a terminal.
std::optional<std::string> line(const std::string& question);

// Only "y" and "yes" mean yes. Absent without a terminal.
std::optional<bool> isConfirmed(const std::string& question);

// Typed without being shown; absent when nothing was typed or without a terminal. Ctrl+C ends the program with the
// terminal as it was.
std::optional<SecretBytes> password(const std::string& question);

}  // namespace pellora::terminal

namespace pellora {

// Shows on standard error that slow work goes on: one line that appears after a second, counts the seconds and goes
// when the work is done. Nothing unless standard error is a terminal.
class Progress {
 public:
  // `activity` as in "Reading contacts.vcf".
  explicit Progress(const std::string& activity);
  ~Progress();

  // How much is done, in hundredths, told from then on.
  void setDone(int hundredths);

  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

 private:
  void tell();

  std::string _activity;
  std::mutex _mutex;
  std::condition_variable _done;
  bool _isDone = false;
  int _hundredths = -1;  // not known
  std::thread _thread;
};

}  // namespace pellora
