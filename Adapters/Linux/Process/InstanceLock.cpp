#include "Adapters/Linux/Process/InstanceLock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <string>
#include <utility>

#include "Adapters/Linux/Files/RuntimeFolder.h"

namespace pellora {

namespace {

// FNV-1a: only keeps the locks of different folders apart.
std::string nameFor(const std::optional<std::filesystem::path>& folder) {
  std::uint64_t hash = 0xcbf29ce484222325;
  for (const char byte : folder ? folder->lexically_normal().string() : std::string()) {
    hash ^= static_cast<unsigned char>(byte);
    hash *= 0x100000001b3;
  }
  char name[32];
  std::snprintf(name, sizeof name, "helper-%016llx.lock", static_cast<unsigned long long>(hash));
  return name;
}

}  // namespace

std::optional<std::filesystem::path> InstanceLock::file(const std::optional<std::filesystem::path>& sharedFolder) {
  const auto folder = RuntimeFolder::own();
  if (!folder) return std::nullopt;
  return *folder / nameFor(sharedFolder);
}

std::optional<InstanceLock> InstanceLock::take(const std::optional<std::filesystem::path>& sharedFolder) {
  const auto path = file(sharedFolder);
  if (!path) return InstanceLock(-1);
  const int descriptor = open(path->c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, S_IRUSR | S_IWUSR);
  if (descriptor < 0) return InstanceLock(-1);
  if (flock(descriptor, LOCK_EX | LOCK_NB) == 0) return InstanceLock(descriptor);
  const bool isHeld = errno == EWOULDBLOCK;
  close(descriptor);
  if (isHeld) return std::nullopt;
  return InstanceLock(-1);
}

bool InstanceLock::isHeld(const std::optional<std::filesystem::path>& sharedFolder) {
  const auto path = file(sharedFolder);
  struct stat status{};
  if (!path || lstat(path->c_str(), &status) != 0) return false;
  // As the kernel lists it: "1: FLOCK  ADVISORY  WRITE 1234 00:1a:5678 0 EOF", the device's numbers in hexadecimal.
  char place[64];
  std::snprintf(place, sizeof place, " %02x:%02x:%llu ", major(status.st_dev), minor(status.st_dev),
                static_cast<unsigned long long>(status.st_ino));
  std::ifstream locks("/proc/locks");
  for (std::string line; std::getline(locks, line);)
    if (line.find("FLOCK") != std::string::npos && line.find(place) != std::string::npos) return true;
  return false;
}

InstanceLock::InstanceLock(InstanceLock&& other) noexcept : _descriptor(std::exchange(other._descriptor, -1)) {}

InstanceLock::~InstanceLock() {
  if (_descriptor >= 0) close(_descriptor);
}

}  // namespace pellora
