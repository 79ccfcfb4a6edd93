// Owns an open file descriptor; closes it when it goes.
#pragma once

#include <unistd.h>

#include <utility>

namespace pellora {

class FileDescriptor {
 public:
  FileDescriptor() = default;
  // Takes what open() gave; a negative number is "not open".
  explicit FileDescriptor(int number) : _number(number) {}
  FileDescriptor(FileDescriptor&& other) noexcept : _number(std::exchange(other._number, -1)) {}
  FileDescriptor& operator=(FileDescriptor&& other) noexcept {
    std::swap(_number, other._number);
    return *this;
  }
  FileDescriptor(const FileDescriptor&) = delete;
  FileDescriptor& operator=(const FileDescriptor&) = delete;
  ~FileDescriptor() {
    if (_number >= 0) close(_number);
  }

  bool isOpen() const { return _number >= 0; }
  int get() const { return _number; }

 private:
  int _number = -1;
};

}  // namespace pellora
