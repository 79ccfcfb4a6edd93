#include "Adapters/Linux/Desktop/XdgOpen.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <unistd.h>

#include <array>
#include <string>

namespace pellora::XdgOpen {

namespace {

constexpr char kProgram[] = "xdg-open";
constexpr char kNothing[] = "/dev/null";
constexpr int kFirstOfTheLibrary = 32;  // signals from here on are the C library's and of real time

// What a started program needs besides its name; signals as they are for everybody.
class Surroundings {
 public:
  Surroundings() {
    posix_spawn_file_actions_init(&files);
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
      posix_spawn_file_actions_addopen(&files, descriptor, kNothing, O_RDWR, 0);
    posix_spawnattr_init(&attributes);
    sigset_t signals{};
    sigemptyset(&signals);
    for (int signal = 1; signal < kFirstOfTheLibrary; ++signal) sigaddset(&signals, signal);
    posix_spawnattr_setsigdefault(&attributes, &signals);
    sigemptyset(&signals);
    posix_spawnattr_setsigmask(&attributes, &signals);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSID);
  }
  ~Surroundings() {
    posix_spawn_file_actions_destroy(&files);
    posix_spawnattr_destroy(&attributes);
  }
  Surroundings(const Surroundings&) = delete;
  Surroundings& operator=(const Surroundings&) = delete;

  posix_spawn_file_actions_t files{};
  posix_spawnattr_t attributes{};
};

}  // namespace

bool start(const std::filesystem::path& file) {
  const Surroundings surroundings;
  std::string program = kProgram;
  std::string argument = file.string();
  const std::array<char*, 3> arguments{program.data(), argument.data(), nullptr};
  pid_t process = 0;
  return posix_spawnp(&process, kProgram, &surroundings.files, &surroundings.attributes, arguments.data(), environ) ==
         0;
}

}  // namespace pellora::XdgOpen
