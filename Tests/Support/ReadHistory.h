// A helper's life as a program of steps, for differential tests: messages come, go and change, clocks and zones go
// wrong, files are lost and restored, people and models come and go, and reads happen in between. A program is text,
// one step per line, so that one that fails can be printed and run again:
//
//   message anna 90     a text from Anna, 90 minutes ago (also ben, mail, me, group, stranger)
//   forward 25          25 hours pass
//   read                a read in a new process
//
// ReadHistory.cpp has the list of all steps.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "Tests/Support/HistoryStage.h"
#include "Tests/Support/ScopedEnvironment.h"

namespace pellora::support {

// Puts the files of many small tests into memory where that is possible, because nothing about them is for a disk.
class FilesInMemory {
 public:
  FilesInMemory();

 private:
  ScopedEnvironment _environment;
};

class ReadHistory {
 public:
  using Program = std::vector<std::string>;

  // Which steps a random program is made of.
  enum class Steps {
    any,
    healedAtOnce  // only those after which the very next read is right again, not only that of the next day
  };

  // The same program for the same seed.
  static Program random(std::uint32_t seed, Steps steps = Steps::any);
  static Program parse(const std::string& text);
  static std::string text(const Program& program);

  explicit ReadHistory(std::unique_ptr<HistoryStage> stage = std::make_unique<EngineStage>());

  void run(const std::string& step);
  void run(const Program& program);

  // Puts right what a user can put right, lets the next day come and reads; then what the notes and the lately records
  // have and those of a fresh read do not, or the other way round, one line per difference; empty when they agree. What
  // only the model knows does not count.
  std::vector<std::string> differencesNextDay();

  // The same after a read at once; the window's first day, which loses messages as time goes on, does not count.
  std::vector<std::string> differencesAtOnce();

  // As they are now, after a read.
  std::vector<std::string> differences();

  HistoryStage& stage() { return *_stage; }

 private:
  friend struct HistorySteps;

  void putRight();
  std::int64_t chatOf(const std::string& who) const;
  std::string nextText();
  Instant ago(std::int64_t minutes) const;
  std::vector<HelperPerson> people() const;
  void setPeople(const std::vector<HelperPerson>& people);

  FilesInMemory _inMemory;
  std::unique_ptr<HistoryStage> _stage;
  std::int64_t _annaChat = 0;
  std::int64_t _annaMailChat = 0;
  std::int64_t _benChat = 0;
  std::int64_t _groupChat = 0;
  std::int64_t _strangerChat = 0;
  int _texts = 0;
};

}  // namespace pellora::support
