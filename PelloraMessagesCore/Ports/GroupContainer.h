// Where the folder lies that the two apps share.
#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>

namespace pellora {

class GroupContainer {
 public:
  virtual ~GroupContainer() = default;

  // The folder of this group, which need not exist yet; absent when the platform has none to give.
  virtual std::optional<std::filesystem::path> folder(const std::string& groupIdentifier) const = 0;
};

// Lets one read at a time work on the shared folder, in whatever process it runs. A port because platforms differ in
// their locks between processes. All calls on the main thread; none waits.
// The right to read; destroying it, or the end of its process, gives it back.
class HeldReadLock {
 public:
  virtual ~HeldReadLock() = default;
};

class ReadLock {
 public:
  virtual ~ReadLock() = default;

  // Null while another read holds it. Where no lock can be made it is given to everybody: files are replaced whole, so
  // two reads cost work, not data.
  virtual std::unique_ptr<HeldReadLock> tryTake() = 0;
};

}  // namespace pellora
