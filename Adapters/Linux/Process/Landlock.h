// The kernel's Landlock rules as this program uses them: writing only below some folders, connecting by TCP only to
// some ports. Rules hold for the calling thread and the threads it makes later.
#pragma once

#include <cstdint>
#include <filesystem>

namespace pellora {

class Landlock {
 public:
  // What may be done below a folder.
  enum class Writing { everything, makeEmptyFiles };

  // 0 where the kernel has no Landlock; 4 and later have network rules.
  static int version();

  // Asks for rules on writing, and on TCP when `restrictsTcp` and the kernel has that.
  explicit Landlock(bool restrictsTcp);
  ~Landlock();
  Landlock(const Landlock&) = delete;
  Landlock& operator=(const Landlock&) = delete;

  // A folder or device that does not exist is left out.
  void allow(const std::filesystem::path& path, Writing writing);
  void allowConnecting(std::uint16_t port);

  // False when the kernel refuses.
  bool enforce();

 private:
  std::uint64_t _writing = 0;  // every right on files that is ruled
  int _descriptor = -1;
};

}  // namespace pellora
