// How phone numbers and e-mail addresses are spelled, and whose they are.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "PelloraMessagesCore/HelperExchange.h"
#include "PelloraMessagesCore/Text/Uuid.h"

namespace pellora {

// The one spelling in which phone numbers and e-mail addresses are stored and compared.
// Tested by Tests/Core/HandleMatcherTests.cpp.
namespace ContactNormalization {

// Number characters of any script only, and of those the last ten: a country code falls away.
std::string phone(std::string_view text);

// Trimmed and lower-cased.
std::string email(std::string_view text);

}  // namespace ContactNormalization

// Finds the person to whom a Messages handle belongs. A number or address that two people claim belongs to
// nobody. Built once per read. Tested by Tests/Core/HandleMatcherTests.cpp.
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
