// A helper's life as a program of steps, for differential tests: messages come, go and change, clocks and zones go
// wrong, files are restored, people and models come and go, and reads happen in between. A program is text, one step
// per line, so that one that fails can be printed and run again:
//
//   message anna 90     a text from Anna, 90 minutes ago (also ben, me, group, stranger)
//   forward 25          25 hours pass
//   read                a read in a new process
#pragma once

#include <cstdint>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "Tests/Support/EngineWorld.h"
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

  // The same program for the same seed.
  static Program random(std::uint32_t seed);
  static Program parse(const std::string& text);
  static std::string text(const Program& program);

  ReadHistory();

  void run(const std::string& step);
  void run(const Program& program);

  // Puts right what a user can put right, lets the next day come and reads; then what the notes have and a fresh read
  // does not, or the other way round, one line per difference; empty when they agree. What only the model knows and
  // the window's first day, which loses messages as time goes on, do not count.
  std::vector<std::string> differencesNextDay();

  // As they are now.
  std::vector<std::string> differences();

  FilesInMemory inMemory;
  EngineWorld world;

 private:
  void copyFolder(const std::filesystem::path& from, const std::filesystem::path& to);
  void runOnStore(const std::string& what, const std::string& who, std::int64_t number);
  void runOnFiles(const std::string& what, const std::string& who);
  void runOnWorld(const std::string& what, const std::string& who, std::int64_t number);
  Instant ago(std::int64_t minutes) const;

  std::int64_t _groupChat = 0;
  std::int64_t _strangerChat = 0;
  std::int64_t _annaMailChat = 0;
  int _texts = 0;
  std::unique_ptr<InMemoryUserDefaults> _keptSettings;
};

}  // namespace pellora::support
