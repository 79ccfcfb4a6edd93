// Descriptors of open files, the error of file work, and the three descriptors that a program starts with.
#pragma once

#include <cerrno>
#include <filesystem>
#include <stdexcept>
#include <string>

namespace pellora {

// The result of a system call that is made again as long as a signal interrupts it.
template <class Call>
auto retried(Call call) {
  auto result = call();
  while (result == -1 && errno == EINTR) result = call();
  return result;
}

// Owns one open file of the operating system and closes it. Interrupted calls are the caller's to repeat, with
// `retried`.
class FileDescriptor {
 public:
  FileDescriptor() = default;
  // Takes what a system call gave; a negative number is "not open".
  explicit FileDescriptor(int number) : _number(number) {}
  FileDescriptor(FileDescriptor&& other) noexcept;
  FileDescriptor& operator=(FileDescriptor&& other) noexcept;
  ~FileDescriptor();

  // Never inherited by other programs. `isOpen` is false and errno set when it fails; `mode` is for new files.
  static FileDescriptor open(const std::filesystem::path& file, int flags, unsigned mode = 0);

  int number() const { return _number; }
  bool isOpen() const { return _number >= 0; }

  // False with errno when closing reports an error. The number is free afterwards whatever the result.
  bool close();

 private:
  int _number = -1;
};

// A file or folder could not be created, written or synced. The text is one sentence for a person: what was
// being done, to which file, and the system's reason.
class FileError : public std::runtime_error {
 public:
  // `action` reads like "write"; `code` is an errno value.
  FileError(const std::string& action, const std::filesystem::path& file, int code);

  // The error that every write reports when its folder does not exist.
  static FileError noSuchFile();

  int code() const { return _code; }

 private:
  FileError(const std::string& sentence, int code) : std::runtime_error(sentence), _code(code) {}

  int _code;
};

// A program may be started with its standard input, output or error closed. The first files that it opens would then
// get these numbers, and what it prints would land in them. Tested by Tests/Core/FileDescriptorTests.cpp.
namespace StandardDescriptors {

// Puts the null device on each of the three that is closed, opened the wrong way round: reading the input and writing
// the others fails as it does on a closed one, so that lost output is noticed. The first thing that `main` does.
void fillClosed();

}  // namespace StandardDescriptors

}  // namespace pellora
