// Small persistent settings of the helper: typed values under text keys. A value of another type than asked for
// reads as absent. Writing takes a list so that several keys change together or not at all.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "PelloraMessagesCore/Time/Instant.h"

namespace pellora {

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
