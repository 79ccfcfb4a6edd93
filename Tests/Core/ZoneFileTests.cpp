#include <gtest/gtest.h>

#include <limits>
#include <random>
#include <string>
#include <vector>

#include "PelloraMessagesCore/Time/ZoneFile.h"

namespace pellora {
namespace {

std::string bigEndian(std::uint64_t number, int size) {
  std::string result;
  for (int shift = (size - 1) * 8; shift >= 0; shift -= 8) result += static_cast<char>(number >> shift & 0xFF);
  return result;
}

struct Type {
  std::int32_t offset = 0;
  bool isDaylight = false;
};

struct Block {
  char version = 0;
  int timeSize = 4;
  std::vector<std::pair<std::int64_t, int>> transitions;
  std::vector<Type> types;
  std::uint32_t leapSeconds = 0;
  std::uint32_t indicators = 0;

  std::string bytes() const {
    const std::string names("LMT\0", 4);
    std::string result = std::string("TZif") + version + std::string(15, '\0');
    for (const std::size_t count : {std::size_t{indicators}, std::size_t{indicators}, std::size_t{leapSeconds},
                                    transitions.size(), types.size(), names.size()})
      result += bigEndian(count, 4);
    for (const auto& [at, type] : transitions) result += bigEndian(static_cast<std::uint64_t>(at), timeSize);
    for (const auto& [at, type] : transitions) result += static_cast<char>(type);
    for (const Type& type : types)
      result += bigEndian(static_cast<std::uint32_t>(type.offset), 4) + (type.isDaylight ? '\1' : '\0') + '\0';
    result += names;
    result += std::string(leapSeconds * static_cast<std::size_t>(timeSize + 4) + indicators * std::size_t{2}, '\1');
    return result;
  }
};

const std::vector<Type> kTypes = {{7'200, true}, {3'208, false}, {3'600, false}};
constexpr std::int64_t kLongAgo = -5'000'000'000;  // not in 32 bits
constexpr std::int64_t kSummer = 1'774'746'000;    // of 2026
constexpr std::int64_t kWinter = 1'792'890'000;

std::string oldFile() {
  return Block{0, 4, {{-2'000'000'000, 2}, {kSummer, 0}, {kWinter, 2}}, kTypes}.bytes();
}

std::string newFile(char version, const std::string& footer) {
  return Block{version, 4, {{0, 0}}, {{1, false}}, 1, 1}.bytes() +
         Block{version, 8, {{kLongAgo, 2}, {kSummer, 0}, {kWinter, 2}}, kTypes, 2, 3}.bytes() + footer;
}

constexpr auto kFooter = "\nCET-1CEST,M3.5.0,M10.5.0/3\n";

std::int64_t offset(const std::optional<ZoneRules>& rules, std::int64_t seconds) {
  EXPECT_TRUE(rules);
  return rules ? rules->stretch(seconds).offset : -1;
}

TEST(ZoneFile, TheFirstVersionHasTransitionsOfThirtyTwoBits) {
  const auto rules = ZoneFile::read(oldFile());
  EXPECT_EQ(offset(rules, -2'000'000'001), 3'208);  // the first standard time, although daylight time is listed first
  EXPECT_EQ(offset(rules, -2'000'000'000), 3'600);
  EXPECT_EQ(offset(rules, kSummer - 1), 3'600);
  EXPECT_EQ(offset(rules, kSummer), 7'200);
  EXPECT_EQ(offset(rules, kWinter), 3'600);
  EXPECT_EQ(offset(rules, kWinter + 200 * 86'400), 3'600);
}

TEST(ZoneFile, LaterVersionsHaveSixtyFourBitsAndARule) {
  for (const char version : {'2', '3', '4'}) {
    const auto rules = ZoneFile::read(newFile(version, kFooter));
    EXPECT_EQ(offset(rules, kLongAgo - 1), 3'208);
    EXPECT_EQ(offset(rules, kLongAgo), 3'600);
    EXPECT_EQ(offset(rules, kSummer), 7'200);
    EXPECT_EQ(offset(rules, kWinter), 3'600);
    EXPECT_EQ(offset(rules, kWinter + 200 * 86'400), 7'200);
  }
}

TEST(ZoneFile, WithoutAnUnderstoodRuleTheLastOffsetStays) {
  for (const char* footer : {"", "\n", "\n\n", "\nCET-1CEST,M3.5.0,M10.5.0/3", "\nnonsense\n", "CET-1CEST\n"})
    EXPECT_EQ(offset(ZoneFile::read(newFile('2', footer)), kWinter + 200 * 86'400), 3'600) << footer;
}

TEST(ZoneFile, ARuleAloneHoldsAlways) {
  const std::string bytes =
      Block{'2', 4, {}, {{0, false}}}.bytes() + Block{'2', 8, {}, {{1, false}}}.bytes() + "\n<-03>3\n";
  EXPECT_EQ(offset(ZoneFile::read(bytes), 0), -10'800);
}

TEST(ZoneFile, WhatContradictsItselfIsAbsent) {
  const std::vector<std::pair<const char*, std::string>> cases = {
      {"empty", ""},
      {"no types", Block{0, 4, {}, {}}.bytes()},
      {"a type that is not there", Block{0, 4, {{0, 3}}, kTypes}.bytes()},
      {"descending transitions", Block{0, 4, {{5, 0}, {4, 1}}, kTypes}.bytes()},
      {"too far east", Block{0, 4, {}, {{93'600, false}}}.bytes()},
      {"too far west", Block{0, 4, {}, {{-90'000, false}}}.bytes()},
      {"too far of all", Block{0, 4, {}, {{std::numeric_limits<std::int32_t>::min(), false}}}.bytes()},
      {"another magic", "tz" + oldFile().substr(2)},
      {"no second block", Block{'2', 4, {}, kTypes}.bytes()},
      {"too large", newFile('2', "\n\n" + std::string(ZoneFile::kLargestFile, ' '))},
  };
  for (const auto& [name, bytes] : cases) EXPECT_FALSE(ZoneFile::read(bytes)) << name;
  EXPECT_TRUE(ZoneFile::read(Block{0, 4, {{5, 0}, {5, 1}}, kTypes}.bytes()));
  EXPECT_TRUE(ZoneFile::read(Block{0, 4, {}, {{93'599, false}, {-89'999, false}}}.bytes()));
}

TEST(ZoneFile, CutAnywhereItIsAbsentOrWithoutItsRule) {
  const std::string old = oldFile();
  for (std::size_t length = 0; length < old.size(); ++length)
    EXPECT_FALSE(ZoneFile::read(old.substr(0, length))) << length;
  const std::string whole = newFile('2', kFooter);
  const std::size_t blocks = whole.size() - std::string_view(kFooter).size();
  for (std::size_t length = 0; length < whole.size(); ++length) {
    // Exactly that many bytes are allocated, so that reading on is noticed.
    const std::vector<char> cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length));
    const auto rules = ZoneFile::read({cut.data(), cut.size()});
    ASSERT_EQ(rules.has_value(), length >= blocks) << length;
    if (rules) EXPECT_EQ(rules->stretch(kWinter + 200 * 86'400).offset, 3'600) << length;
  }
}

TEST(ZoneFile, CountsBeyondTheFileAreAbsent) {
  constexpr std::size_t kFirstCount = 20;
  constexpr std::size_t kCounts = 6;
  const std::string whole = newFile('2', kFooter);
  const std::size_t second = whole.find("TZif", 1);
  for (const std::size_t header : {std::size_t{0}, second})
    for (std::size_t count = 0; count < kCounts; ++count)
      for (const std::uint32_t value : {0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU, 0x2AAAAAABU, 0x1C71C71DU}) {
        std::string bytes = whole;
        bytes.replace(header + kFirstCount + count * 4, 4, bigEndian(value, 4));
        EXPECT_FALSE(ZoneFile::read(bytes)) << header << " " << count << " " << value;
      }
}

TEST(ZoneFile, AnyBytesGiveRulesOrNone) {
  std::mt19937 random(7);
  const std::string whole = newFile('3', kFooter);
  int understood = 0;
  for (int round = 0; round < 20'000; ++round) {
    std::string bytes = whole;
    for (int change = static_cast<int>(random() % 4); change >= 0; --change)
      bytes[random() % bytes.size()] = static_cast<char>(random());
    const auto rules = ZoneFile::read(bytes);
    if (!rules) continue;
    ++understood;
    for (const std::int64_t seconds : {std::numeric_limits<std::int64_t>::min(), kLongAgo, kSummer, kWinter * 3})
      ASSERT_TRUE(rules->stretch(seconds).contains(seconds)) << round;
  }
  EXPECT_GT(understood, 1'000);
}

}  // namespace
}  // namespace pellora
