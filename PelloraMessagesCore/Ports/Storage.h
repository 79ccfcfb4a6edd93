// Ports of what lasts longer than the process: the folder that the two apps share, the right to read into it, and the
// helper's settings.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "PelloraMessagesCore/Time/Instant.h"

namespace pellora {

// Where the folder lies that the two apps share.
class GroupContainer {
 public:
  virtual ~GroupContainer() = default;

  // The folder of this group, which need not exist yet; absent when the platform has none to give.
  virtual std::optional<std::filesystem::path> folder(const std::string& groupIdentifier) const = 0;
};

// The right to read; destroying it, or the end of its process, gives it back.
class HeldReadLock {
 public:
  virtual ~HeldReadLock() = default;
};

// Lets one read at a time work on the shared folder, in whatever process it runs. A port because platforms differ in
// their locks between processes. All calls on the main thread; none waits.
class ReadLock {
 public:
  virtual ~ReadLock() = default;

  // Null while another read holds it. Where no lock can be made it is given to everybody: files are replaced whole, so
  // two reads cost work, not data.
  virtual std::unique_ptr<HeldReadLock> tryTake() = 0;
};

// Small persistent settings of the helper: typed values under text keys. A value of another type than asked for
// reads as absent. Writing takes a list so that several keys change together or not at all.
class UserDefaults {
 public:
  using Value = std::variant<bool, std::int64_t, std::string, Instant>;
  using Change = std::pair<std::string, Value>;

  virtual ~UserDefaults() = default;

  // The value; absent for an absent key and for one of another type. All four throw FileError when the settings are
  // there and cannot be read: taken for absent, they would let a read begin from nothing.
  virtual std::optional<std::int64_t> integer(const std::string& key) const = 0;
  virtual std::optional<std::string> text(const std::string& key) const = 0;
  virtual std::optional<Instant> date(const std::string& key) const = 0;
  // An absent key is false.
  virtual bool boolean(const std::string& key) const = 0;

  // Stores the changes in the order given, as one step. Throws FileError when they cannot be stored; then none is.
  virtual void store(const std::vector<Change>& changes) = 0;
};

}  // namespace pellora
