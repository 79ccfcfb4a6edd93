// The kernel's Landlock rules as this program uses them, and the files that a program with a window has to read.
#pragma once

#include <cstdint>
#include <filesystem>
#include <vector>

namespace pellora {

// Reading and writing only below some folders, connecting by TCP only to some ports, signals only to the process
// itself. Rules hold for the calling thread and the threads it makes later, and for the very folders that were named: a
// folder that takes the place of one of them has no rule.
class Landlock {
 public:
  // Allowed uses of a file, or of everything below a folder. `everything` is about files and folders, and
  // `everythingAndSockets` about sockets, too. Links, pipes and devices are made nowhere.
  enum class Access { reading, readingAndMakingEmptyFiles, everything, everythingAndSockets };

  static constexpr int kFirstWithNetwork = 4;
  static constexpr int kFirstWithSignals = 6;

  // 0 where the kernel has no Landlock, where it is switched off, and where asking for it is refused.
  static int version();
  // The error with which asking for it was refused; 0 where there is nothing to refuse, too.
  static int refusal();

  // Asks for rules on files, on signals where the kernel has that, and on TCP when `restrictsTcp` and the kernel has
  // that.
  explicit Landlock(bool restrictsTcp);
  ~Landlock();
  Landlock(const Landlock&) = delete;
  Landlock& operator=(const Landlock&) = delete;

  // Does nothing for what does not exist.
  void allow(const std::filesystem::path& path, Access access);
  void allowConnecting(std::uint16_t port);

  // 0, or the error with which the kernel refused this or one of the calls before.
  int enforce();

 private:
  void keepError(long result);

  std::uint64_t _handled = 0;  // every right on files that is ruled
  int _descriptor = -1;
  int _error = 0;
};

// Files that a program with a window reads besides its own: the system's, and those with the user's choices for all
// programs (fonts, themes, icons, colors of the desktop). For confining the reading of the process. Tested by
// Tests/Adapters/ProcessConfinementTests.cpp, and by the desktop tests with the real window.
namespace ReadableFiles {

// Folders and files, whether or not they exist: the system's, those of the libraries that are loaded, of this process
// below /proc, and the ones that the environment names.
std::vector<std::filesystem::path> ofSystem();

// The user's, in the home and configuration folders.
std::vector<std::filesystem::path> ofUser();

}  // namespace ReadableFiles

}  // namespace pellora
