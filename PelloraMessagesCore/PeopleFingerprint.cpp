#include "PelloraMessagesCore/PeopleFingerprint.h"

#include <charconv>
#include <cstdint>
#include <string_view>

namespace pellora {

namespace {

class Fnv1a {
 public:
  void add(std::string_view text) {
    for (const char byte : text) _hash = (_hash ^ static_cast<unsigned char>(byte)) * kPrime;
  }

  void addJoined(const std::vector<std::string>& texts) {
    for (std::size_t index = 0; index < texts.size(); ++index) {
      if (index > 0) add(",");
      add(texts[index]);
    }
  }

  std::uint64_t hash() const { return _hash; }

 private:
  static constexpr std::uint64_t kOffsetBasis = 0xcbf29ce484222325;
  static constexpr std::uint64_t kPrime = 0x100000001b3;

  std::uint64_t _hash = kOffsetBasis;
};

}  // namespace

std::string peopleFingerprint(const std::vector<HelperPerson>& people) {
  Fnv1a fingerprint;
  for (std::size_t index = 0; index < people.size(); ++index) {
    if (index > 0) fingerprint.add("|");
    fingerprint.add(people[index].id.toString());
    fingerprint.add(":");
    fingerprint.addJoined(people[index].phones);
    fingerprint.add(":");
    fingerprint.addJoined(people[index].emails);
  }
  char digits[16];
  const auto end = std::to_chars(digits, digits + sizeof digits, fingerprint.hash(), 16).ptr;
  return std::string(digits, end);
}

}  // namespace pellora
