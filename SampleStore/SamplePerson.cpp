#include "SampleStore/SamplePerson.h"

#include <array>
#include <cstdio>

#include "SampleStore/SamplePerson.h"

namespace pellora {

namespace {

// Among them a decomposed accent, other scripts and two that share a beginning.
constexpr std::array<const char*, 24> kNames = {"Anna",  "Ben",     "Elena",  "Dmitri", "Chloe\u0301", "Farid",
                                                "Grace", "Hiroshi", "Inês",   "Jonas",  "Kavya",       "Liam",
                                                "Maria", "Noor",    "Olivia", "Pavel",  "Quinn",       "Rosa",
                                                "Sam",   "Tomás",   "Усман",  "Vera",   "Samuel",      "陽子"};

constexpr std::size_t kNumbersAnAreaCode = 100;  // 555-0100 to 555-0199 belong to nobody
constexpr unsigned kFirstAreaCode = 201;
constexpr unsigned kFirstStrangerAreaCode = 601;

std::string phoneNumber(unsigned firstAreaCode, std::size_t index) {
  char text[32];
  std::snprintf(text, sizeof text, "+1%03u55501%02u", firstAreaCode + static_cast<unsigned>(index / kNumbersAnAreaCode),
                static_cast<unsigned>(index % kNumbersAnAreaCode));
  return text;
}

Uuid uuidFrom(SampleRandom& random) {
  std::array<std::uint8_t, 16> bytes{};
  for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(random.next());
  bytes[6] = static_cast<std::uint8_t>((bytes[6] & 0x0F) | 0x40);
  bytes[8] = static_cast<std::uint8_t>((bytes[8] & 0x3F) | 0x80);
  return Uuid(bytes);
}

}  // namespace

std::vector<SamplePerson> samplePeople(std::uint64_t seed, std::size_t count) {
  SampleRandom random(seed ^ 0x50454F504C45);
  std::vector<SamplePerson> people;
  people.reserve(count);
  for (std::size_t index = 0; index < count; ++index) {
    SamplePerson person{uuidFrom(random), kNames[index % kNames.size()], phoneNumber(kFirstAreaCode, index), {}};
    if (index % 3 == 0) person.email = "friend" + std::to_string(index + 1) + "@example.org";
    people.push_back(std::move(person));
  }
  return people;
}

std::string sampleStrangerPhone(std::size_t index) {
  return phoneNumber(kFirstStrangerAreaCode, index);
}

}  // namespace pellora
