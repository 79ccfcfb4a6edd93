// Finds the person to whom a Messages handle belongs. A number or address that two people claim belongs to
// nobody. Built once per read. Tested by Tests/Core/HandleMatcherTests.cpp.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "PelloraMessagesCore/HelperPerson.h"
#include "PelloraMessagesCore/Text/Uuid.h"

namespace pellora {

class HandleMatcher {
 public:
  explicit HandleMatcher(const std::vector<HelperPerson>& people);

  // `handle` as the Messages store spells it. Phone numbers shorter than 7 characters never match.
  std::optional<Uuid> person(std::string_view handle) const;

  // First names by person id; of two people with one id, the first one's.
  const std::unordered_map<Uuid, std::string>& firstNames() const { return _firstNames; }

 private:
  std::unordered_map<std::string, Uuid> _byPhone;
  std::unordered_map<std::string, Uuid> _byEmail;
  std::unordered_map<Uuid, std::string> _firstNames;
};

}  // namespace pellora
