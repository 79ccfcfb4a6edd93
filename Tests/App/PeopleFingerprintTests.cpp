#include <gtest/gtest.h>

#include <cstdio>
#include <set>

#include "Pellora_for_Messages/Engine/ReadContext.h"

namespace pellora {
namespace {

const Uuid kAnna = *Uuid::parse("6f1c3a52-0d1b-4e7a-9a55-1f6c2b7d9e10");
const Uuid kSam = *Uuid::parse("00000000-0000-0000-0000-0000000000ff");

// The hash of one text, written here the plain way.
std::string hashOf(const std::string& text) {
  std::uint64_t hash = 0xcbf29ce484222325;
  for (const char byte : text) {
    hash ^= static_cast<unsigned char>(byte);
    hash *= 0x100000001b3;
  }
  char digits[17];
  std::snprintf(digits, sizeof digits, "%llx", static_cast<unsigned long long>(hash));
  return digits;
}

TEST(PeopleFingerprint, NobodyHashesToTheOffsetBasis) {
  EXPECT_EQ(peopleFingerprint({}), "cbf29ce484222325");
}

TEST(PeopleFingerprint, HashesIdNumbersAndAddressesInFileOrder) {
  const HelperPerson anna{kAnna, "Anna", {"5551234567", "\u0661"}, {"anna@example.com", "\u00E4@b.c"}};
  const HelperPerson sam{kSam, "Sam", {}, {}};
  EXPECT_EQ(peopleFingerprint({sam}), hashOf("00000000-0000-0000-0000-0000000000FF::"));
  EXPECT_EQ(peopleFingerprint({anna, sam}),
            hashOf("6F1C3A52-0D1B-4E7A-9A55-1F6C2B7D9E10:5551234567,\u0661:anna@example.com,\u00E4@b.c|"
                   "00000000-0000-0000-0000-0000000000FF::"));
}

TEST(PeopleFingerprint, ChangesWithEverythingButTheName) {
  const HelperPerson anna{kAnna, "Anna", {"1", "2"}, {"a"}};
  const HelperPerson sam{kSam, "Sam", {"3"}, {}};
  const std::set<std::string> different = {
      peopleFingerprint({anna, sam}),
      peopleFingerprint({sam, anna}),
      peopleFingerprint({anna}),
      peopleFingerprint({{kAnna, "Anna", {"2", "1"}, {"a"}}, sam}),
      peopleFingerprint({{kAnna, "Anna", {"1"}, {"a"}}, sam}),
      peopleFingerprint({{kAnna, "Anna", {"1", "2"}, {"b"}}, sam}),
      peopleFingerprint({{kAnna, "Anna", {"1", "2"}, {"a", ""}}, sam}),
  };
  EXPECT_EQ(different.size(), 7u);
  EXPECT_EQ(peopleFingerprint({{kAnna, "Annie", {"1", "2"}, {"a"}}, sam}), peopleFingerprint({anna, sam}));
}

TEST(PeopleFingerprint, ThatOfTheNamesChangesWithNamesOnly) {
  const HelperPerson anna{kAnna, "Anna", {"1"}, {"a"}};
  const HelperPerson sam{kSam, "Sam", {}, {}};
  EXPECT_EQ(namesFingerprint({anna, sam}), hashOf("Anna|Sam|"));
  EXPECT_EQ(namesFingerprint({{kAnna, "Anna", {}, {}}, sam}), namesFingerprint({anna, sam}));
  EXPECT_NE(namesFingerprint({sam, anna}), namesFingerprint({anna, sam}));
  EXPECT_NE(namesFingerprint({{kAnna, "Ann", {}, {}}, {kSam, "aSam", {}, {}}}), namesFingerprint({anna, sam}));
}

TEST(PeopleFingerprint, HasNoLeadingZeros) {
  bool isAnyShort = false;
  for (int number = 0; number < 2000; ++number) {
    const std::string phone = std::string(static_cast<std::size_t>(number % 50), '7') + std::to_string(number);
    const std::string fingerprint = peopleFingerprint({{kSam, "", {phone}, {}}});
    EXPECT_EQ(fingerprint, hashOf("00000000-0000-0000-0000-0000000000FF:" + phone + ":"));
    EXPECT_NE(fingerprint.front(), '0');
    isAnyShort = isAnyShort || fingerprint.size() < 16;
  }
  EXPECT_TRUE(isAnyShort);
}

}  // namespace
}  // namespace pellora
