#include "Pellora_for_Messages/Engine/PeopleFingerprint.h"

#include <charconv>

#include "PelloraMessagesCore/Text/Bytes.h"

namespace pellora {

namespace {

void addJoined(Fnv1a& hash, const std::vector<std::string>& texts) {
  for (std::size_t index = 0; index < texts.size(); ++index) {
    if (index > 0) hash.add(",");
    hash.add(texts[index]);
  }
}

std::string digitsOf(const Fnv1a& hash) {
  char digits[16];
  const auto end = std::to_chars(digits, digits + sizeof digits, hash.hash(), 16).ptr;
  return std::string(digits, end);
}

}  // namespace

std::string peopleFingerprint(const std::vector<HelperPerson>& people) {
  Fnv1a fingerprint;
  for (std::size_t index = 0; index < people.size(); ++index) {
    if (index > 0) fingerprint.add("|");
    fingerprint.add(people[index].id.toString());
    fingerprint.add(":");
    addJoined(fingerprint, people[index].phones);
    fingerprint.add(":");
    addJoined(fingerprint, people[index].emails);
  }
  return digitsOf(fingerprint);
}

std::string namesFingerprint(const std::vector<HelperPerson>& people) {
  Fnv1a fingerprint;
  for (const HelperPerson& person : people) {
    fingerprint.add(person.firstName);
    fingerprint.add("|");
  }
  return digitsOf(fingerprint);
}

}  // namespace pellora
