// Owns one open file of the operating system and closes it. Interrupted calls are the caller's to repeat, with
// `retried`.
#pragma once

#include <cerrno>
#include <filesystem>

namespace pellora {

// The result of a system call that is made again as long as a signal interrupts it.
template <class Call>
auto retried(Call call) {
  auto result = call();
  while (result == -1 && errno == EINTR) result = call();
  return result;
}

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

}  // namespace pellora
