#include "PelloraMessagesCore/HandleMatcher.h"

#include <algorithm>

#include "PelloraMessagesCore/Text/Text.h"

namespace pellora::ContactNormalization {

namespace {

constexpr std::size_t kKeptCharacters = 10;

}  // namespace

std::string phone(std::string_view text) {
  std::vector<std::string_view> numbers;
  for (const std::string_view character : text::characters(text))
    if (text::isNumberCharacter(character)) numbers.push_back(character);
  const std::size_t dropped = numbers.size() > kKeptCharacters ? numbers.size() - kKeptCharacters : 0;
  std::string result;
  for (std::size_t index = dropped; index < numbers.size(); ++index) result += numbers[index];
  return result;
}

std::string email(std::string_view text) {
  return text::lowercased(text::trimmed(text));
}

}  // namespace pellora::ContactNormalization

namespace pellora {

namespace {

constexpr std::size_t kShortestPhone = 7;  // characters

// The claimant of a number or address; absent when more than one person claims it.
using Claims = std::unordered_map<std::string, std::optional<Uuid>>;

void claim(Claims& claims, const std::vector<std::string>& keys, const Uuid& person) {
  for (const std::string& key : keys) {
    const auto [entry, isFirst] = claims.try_emplace(text::canonical(key), person);
    if (!isFirst && entry->second != person) entry->second.reset();
  }
}

std::unordered_map<std::string, Uuid> undisputed(const Claims& claims) {
  std::unordered_map<std::string, Uuid> result;
  for (const auto& [key, person] : claims)
    if (person) result.emplace(key, *person);
  return result;
}

std::optional<Uuid> lookUp(const std::unordered_map<std::string, Uuid>& people, const std::string& key) {
  const auto found = people.find(text::canonical(key));
  if (found == people.end()) return std::nullopt;
  return found->second;
}

bool containsAtSign(std::string_view handle) {
  if (handle.find('@') == std::string_view::npos) return false;
  const std::vector<std::string_view> characters = text::characters(handle);
  return std::find(characters.begin(), characters.end(), "@") != characters.end();
}

}  // namespace

HandleMatcher::HandleMatcher(const std::vector<HelperPerson>& people) {
  Claims phones;
  Claims emails;
  for (const HelperPerson& person : people) {
    claim(phones, person.phones, person.id);
    claim(emails, person.emails, person.id);
    _firstNames.emplace(person.id, person.firstName);
  }
  _byPhone = undisputed(phones);
  _byEmail = undisputed(emails);
}

std::optional<Uuid> HandleMatcher::person(std::string_view handle) const {
  const std::string_view trimmed = text::trimmed(handle);
  if (containsAtSign(trimmed)) return lookUp(_byEmail, ContactNormalization::email(trimmed));
  const std::string phone = ContactNormalization::phone(trimmed);
  if (text::characterCount(phone) < kShortestPhone) return std::nullopt;
  return lookUp(_byPhone, phone);
}

}  // namespace pellora
