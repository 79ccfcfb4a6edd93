// Handles: those that the Messages store knows, and those that several people claim.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <unordered_set>
#include <vector>

#include "PelloraMessagesCore/HelperExchange.h"

namespace pellora {

// The handles of the Messages store, to tell which people appear there. Their ids are all that is read.
// Tested by Tests/Companion/PeopleCommandTests.cpp.
class StoreHandles {
 public:
  // Absent when the store cannot be read.
  static std::optional<StoreHandles> read(const std::filesystem::path& store);

  // In the store's spelling.
  const std::vector<std::string>& all() const { return _all; }

  bool has(const HelperPerson& person) const;
  bool hasHandle(const std::string& normalized) const { return _normalized.contains(normalized); }

 private:
  std::vector<std::string> _all;
  std::unordered_set<std::string> _normalized;
};

// A handle of the store as HelperPerson would have it.
std::string normalizedHandle(std::string_view handle);

// "Anna"; "Anna (5551234567)" when there is another Anna; the identifier without a name.
std::string personTitle(const HelperPerson& person, const std::vector<HelperPerson>& everybody);

// A number or address that several people claim, so that it matches nobody.
struct SharedHandle {
  std::string handle;
  std::vector<HelperPerson> people;  // two or more, in file order

  // Numbers first, each sorted.
  static std::vector<SharedHandle> find(const std::vector<HelperPerson>& people);

  // "5551234567 is claimed by Anna and Bob, so it will match nobody."
  std::string sentence() const;
};

}  // namespace pellora
