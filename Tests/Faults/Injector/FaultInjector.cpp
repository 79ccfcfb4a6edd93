// A library to preload: lets one system call of a program fail, or kills the program at it. It counts the calls
// that open, read or change files below a folder, and at the chosen one does what the environment says:
//
//   PELLORA_FAULT_BELOW  only calls on paths that begin so count
//   PELLORA_FAULT_AT     which call, from 1
//   PELLORA_FAULT_KIND   kill            the process dies before the call
//                        torn            dies in the middle of a write
//                        short           a write takes half of the bytes
//                        interrupted     EINTR, where the call can say so
//                        5, 13, 28, ...  the call fails with this error, once
//                        from-28, ...    from this call on all such calls fail with it
//   PELLORA_FAULT_MARK   this file gets the call's name when it came to it
//
// Only calls to which the kind applies are counted. The mark is opened at the start, before a program may have
// given up writing there.
//
// With PELLORA_FAULT_SERVER, a socket, the program waits before its main function and runs in forks of itself
// (Tests/Faults/ForkServer.h). Each message on the socket is the environment to add for one run; the answer is the
// process. A second message asks for the status with which it ended.
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

namespace {

enum class Kind { none, kill, torn, shortWrite, interrupted, error, errorFromOn };

template <class Function>
Function* real(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

std::string_view environment(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? std::string_view() : std::string_view(value);
}

struct Plan {
  Kind kind = Kind::none;
  int code = 0;
  long at = 0;
  long count = 0;
  int mark = -1;
  std::string below;

  Plan() {
    below = environment("PELLORA_FAULT_BELOW");
    at = std::strtol(std::string(environment("PELLORA_FAULT_AT")).c_str(), nullptr, 10);
    std::string_view name = environment("PELLORA_FAULT_KIND");
    if (below.empty() || at == 0) return;
    kind = Kind::error;
    if (name == "kill") kind = Kind::kill;
    if (name == "torn") kind = Kind::torn;
    if (name == "short") kind = Kind::shortWrite;
    if (name == "interrupted") kind = Kind::interrupted;
    if (name.starts_with("from-")) {
      kind = Kind::errorFromOn;
      name.remove_prefix(5);
    }
    code = kind == Kind::interrupted ? EINTR : std::atoi(std::string(name).c_str());
    const std::string file(environment("PELLORA_FAULT_MARK"));
    mark = real<int(const char*, int, ...)>("open")(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
  }

  void tell(const char* call) {
    if (mark < 0) return;
    if (real<ssize_t(int, const void*, size_t)>("write")(mark, call, std::strlen(call)) < 0) std::abort();
  }
};

Plan& plan() {
  static Plan instance;
  return instance;
}

enum class Can { fail, failAndBeInterrupted, write };

bool applies(Can can) {
  switch (plan().kind) {
    case Kind::none:
      return false;
    case Kind::kill:
    case Kind::error:
    case Kind::errorFromOn:
      return true;
    case Kind::torn:
    case Kind::shortWrite:
      return can == Can::write;
    case Kind::interrupted:
      return can != Can::fail;
  }
  return false;
}

[[noreturn]] void die() {
  raise(SIGKILL);
  std::abort();
}

// Whether this call is to be disturbed; does not come back when it is to die here.
bool isHit(const char* call, std::string_view path, Can can) {
  if (!applies(can) || !path.starts_with(plan().below)) return false;
  const long number = ++plan().count;
  const bool hit = plan().kind == Kind::errorFromOn ? number >= plan().at : number == plan().at;
  if (!hit) return false;
  if (number == plan().at) plan().tell(call);
  if (plan().kind == Kind::kill) die();
  return true;
}

std::string pathOf(int descriptor) {
  char target[PATH_MAX];
  const std::string link = "/proc/self/fd/" + std::to_string(descriptor);
  const ssize_t size = readlink(link.c_str(), target, sizeof target);
  return size < 0 ? std::string() : std::string(target, static_cast<std::size_t>(size));
}

std::string pathAt(int folder, const char* path) {
  if (path[0] == '/' || folder == AT_FDCWD) return path;
  return pathOf(folder) + "/" + path;
}

int failed() {
  errno = plan().code;
  return -1;
}

int openAt(const char* name, int folder, const char* path, int flags, mode_t mode) {
  if (isHit(name, pathAt(folder, path), Can::failAndBeInterrupted)) return failed();
  return real<int(int, const char*, int, ...)>("openat")(folder, path, flags, mode);
}

template <class Write>
ssize_t writeWith(const char* name, int descriptor, size_t size, Write write) {
  if (!isHit(name, pathOf(descriptor), Can::write)) return write(size);
  if (plan().kind == Kind::torn) {
    write(size / 2);
    die();
  }
  if (plan().kind == Kind::shortWrite) return write(size > 1 ? size / 2 : size);
  return failed();
}

mode_t modeOf(int flags, va_list arguments) {
  return (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(arguments, mode_t) : 0;
}

constexpr unsigned kPatience = 120;                // seconds
constexpr std::size_t kMostEnvironment = 100'000;  // bytes

// Whole variables, each with a null byte behind it, and another one at the end.
void addToEnvironment(std::string_view variables) {
  while (!variables.empty() && variables.front() != '\0') {
    const std::string_view each = variables.substr(0, variables.find('\0'));
    const std::size_t equals = each.find('=');
    setenv(std::string(each.substr(0, equals)).c_str(), std::string(each.substr(equals + 1)).c_str(), 1);
    variables.remove_prefix(each.size() + 1);
  }
}

void answer(int channel, int number) {
  if (send(channel, &number, sizeof number, MSG_NOSIGNAL) < 0) _exit(0);
}

// Returns only in the forks, one per message.
void serveForks(int channel) {
  static char message[kMostEnvironment];
  for (;;) {
    const ssize_t size = recv(channel, message, sizeof message, 0);
    if (size <= 0) _exit(0);
    const pid_t process = fork();
    if (process < 0) _exit(1);  // which its owner notices
    if (process == 0) {
      addToEnvironment(std::string_view(message, static_cast<std::size_t>(size)));
      real<int(int)>("close")(channel);
      alarm(kPatience);  // a program that hangs dies of it
      return;
    }
    answer(channel, process);
    if (recv(channel, message, sizeof message, 0) <= 0) _exit(0);
    int status = 0;
    waitpid(process, &status, 0);
    answer(channel, status);
  }
}

__attribute__((constructor)) void runInForks() {
  const std::string channel(environment("PELLORA_FAULT_SERVER"));
  if (channel.empty()) return;
  unsetenv("PELLORA_FAULT_SERVER");
  serveForks(std::atoi(channel.c_str()));
  plan() = Plan();  // as the environment of this run says
}

}  // namespace

extern "C" {

int open(const char* path, int flags, ...) {
  va_list arguments;
  va_start(arguments, flags);
  const mode_t mode = modeOf(flags, arguments);
  va_end(arguments);
  return openAt("open", AT_FDCWD, path, flags, mode);
}

int open64(const char* path, int flags, ...) {
  va_list arguments;
  va_start(arguments, flags);
  const mode_t mode = modeOf(flags, arguments);
  va_end(arguments);
  return openAt("open", AT_FDCWD, path, flags, mode);
}

int openat(int folder, const char* path, int flags, ...) {
  va_list arguments;
  va_start(arguments, flags);
  const mode_t mode = modeOf(flags, arguments);
  va_end(arguments);
  return openAt("openat", folder, path, flags, mode);
}

int openat64(int folder, const char* path, int flags, ...) {
  va_list arguments;
  va_start(arguments, flags);
  const mode_t mode = modeOf(flags, arguments);
  va_end(arguments);
  return openAt("openat", folder, path, flags, mode);
}

int __open_2(const char* path, int flags) {
  return openAt("open", AT_FDCWD, path, flags, 0);
}

int __open64_2(const char* path, int flags) {
  return openAt("open", AT_FDCWD, path, flags, 0);
}

ssize_t write(int descriptor, const void* bytes, size_t size) {
  return writeWith("write", descriptor, size, [&](size_t count) {
    return real<ssize_t(int, const void*, size_t)>("write")(descriptor, bytes, count);
  });
}

ssize_t pwrite(int descriptor, const void* bytes, size_t size, off_t offset) {
  return writeWith("pwrite", descriptor, size, [&](size_t count) {
    return real<ssize_t(int, const void*, size_t, off_t)>("pwrite")(descriptor, bytes, count, offset);
  });
}

ssize_t pwrite64(int descriptor, const void* bytes, size_t size, off64_t offset) {
  return pwrite(descriptor, bytes, size, offset);
}

ssize_t read(int descriptor, void* bytes, size_t size) {
  if (isHit("read", pathOf(descriptor), Can::failAndBeInterrupted)) return failed();
  return real<ssize_t(int, void*, size_t)>("read")(descriptor, bytes, size);
}

ssize_t pread(int descriptor, void* bytes, size_t size, off_t offset) {
  if (isHit("pread", pathOf(descriptor), Can::failAndBeInterrupted)) return failed();
  return real<ssize_t(int, void*, size_t, off_t)>("pread")(descriptor, bytes, size, offset);
}

ssize_t pread64(int descriptor, void* bytes, size_t size, off64_t offset) {
  return pread(descriptor, bytes, size, offset);
}

int fstat(int descriptor, struct stat* status) noexcept {
  if (isHit("fstat", pathOf(descriptor), Can::fail)) return failed();
  return real<int(int, struct stat*)>("fstat")(descriptor, status);
}

int fstat64(int descriptor, struct stat64* status) noexcept {
  if (isHit("fstat", pathOf(descriptor), Can::fail)) return failed();
  return real<int(int, struct stat64*)>("fstat64")(descriptor, status);
}

void* mmap(void* address, size_t size, int protection, int flags, int descriptor, off_t offset) noexcept {
  if (descriptor >= 0 && isHit("mmap", pathOf(descriptor), Can::fail)) {
    failed();
    return MAP_FAILED;
  }
  return real<void*(void*, size_t, int, int, int, off_t)>("mmap")(address, size, protection, flags, descriptor, offset);
}

void* mmap64(void* address, size_t size, int protection, int flags, int descriptor, off64_t offset) noexcept {
  return mmap(address, size, protection, flags, descriptor, offset);
}

int fsync(int descriptor) {
  if (isHit("fsync", pathOf(descriptor), Can::failAndBeInterrupted)) return failed();
  return real<int(int)>("fsync")(descriptor);
}

int fdatasync(int descriptor) {
  if (isHit("fdatasync", pathOf(descriptor), Can::failAndBeInterrupted)) return failed();
  return real<int(int)>("fdatasync")(descriptor);
}

// Closes all the same, as the kernel does.
int close(int descriptor) {
  const bool hit = isHit("close", pathOf(descriptor), Can::failAndBeInterrupted);
  const int result = real<int(int)>("close")(descriptor);
  return hit ? failed() : result;
}

int rename(const char* from, const char* to) {
  if (isHit("rename", to, Can::fail)) return failed();
  return real<int(const char*, const char*)>("rename")(from, to);
}

int renameat(int fromFolder, const char* from, int toFolder, const char* to) {
  if (isHit("renameat", pathAt(toFolder, to), Can::fail)) return failed();
  return real<int(int, const char*, int, const char*)>("renameat")(fromFolder, from, toFolder, to);
}

int renameat2(int fromFolder, const char* from, int toFolder, const char* to, unsigned flags) {
  if (isHit("renameat2", pathAt(toFolder, to), Can::fail)) return failed();
  return real<int(int, const char*, int, const char*, unsigned)>("renameat2")(fromFolder, from, toFolder, to, flags);
}

int link(const char* from, const char* to) {
  if (isHit("link", to, Can::fail)) return failed();
  return real<int(const char*, const char*)>("link")(from, to);
}

int linkat(int fromFolder, const char* from, int toFolder, const char* to, int flags) {
  if (isHit("linkat", pathAt(toFolder, to), Can::fail)) return failed();
  return real<int(int, const char*, int, const char*, int)>("linkat")(fromFolder, from, toFolder, to, flags);
}

int unlink(const char* path) {
  if (isHit("unlink", path, Can::fail)) return failed();
  return real<int(const char*)>("unlink")(path);
}

int unlinkat(int folder, const char* path, int flags) {
  if (isHit("unlinkat", pathAt(folder, path), Can::fail)) return failed();
  return real<int(int, const char*, int)>("unlinkat")(folder, path, flags);
}

int mkdir(const char* path, mode_t mode) {
  if (isHit("mkdir", path, Can::fail)) return failed();
  return real<int(const char*, mode_t)>("mkdir")(path, mode);
}

int chmod(const char* path, mode_t mode) {
  if (isHit("chmod", path, Can::fail)) return failed();
  return real<int(const char*, mode_t)>("chmod")(path, mode);
}

int fchmod(int descriptor, mode_t mode) {
  if (isHit("fchmod", pathOf(descriptor), Can::fail)) return failed();
  return real<int(int, mode_t)>("fchmod")(descriptor, mode);
}

int ftruncate(int descriptor, off_t size) {
  if (isHit("ftruncate", pathOf(descriptor), Can::failAndBeInterrupted)) return failed();
  return real<int(int, off_t)>("ftruncate")(descriptor, size);
}

int flock(int descriptor, int operation) {
  if (isHit("flock", pathOf(descriptor), Can::failAndBeInterrupted)) return failed();
  return real<int(int, int)>("flock")(descriptor, operation);
}

}  // extern "C"
