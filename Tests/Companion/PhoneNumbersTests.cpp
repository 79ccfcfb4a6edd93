#include <gmock/gmock.h>

#include "Companion/People/PhoneNumbers.h"
#include "PelloraMessagesCore/HandleMatcher.h"
#include "Tests/Support/ScopedEnvironment.h"

namespace pellora {
namespace {

using testing::ElementsAre;

ImportedPeople people(std::vector<std::string> phones) {
  ImportedPeople people;
  people.people.push_back({"Ada", "Ada", "", std::move(phones), {}});
  return people;
}

struct Written {
  const char* country;
  const char* number;
  const char* handle;  // as Messages stores it
};

const Written kWritten[] = {
    {"FR", "06 12 34 56 78", "+33612345678"},       {"CH", "079 123 45 67", "+41791234567"},
    {"AU", "0412 345 678", "+61412345678"},         {"ES", "612 345 678", "+34612345678"},
    {"NL", "06 12345678", "+31612345678"},          {"US", "(201) 555-0123", "+12015550123"},
    {"GB", "07700 900123", "+447700900123"},        {"DE", "0171/1234567", "+491711234567"},
    {"AT", "0664 1234567", "+436641234567"},        {"IT", "347 1234567", "+393471234567"},
    {"BR", "(11) 91234-5678", "+5511912345678"},    {"RU", "8 912 345-67-89", "+79123456789"},
    {"DE", "+49 (0) 30 12345678", "+493012345678"}, {"DE", "0049 30 12345678", "+493012345678"},
    {"US", "0049 30 12345678", "+493012345678"},    {"US", "1-800-FLOWERS", "+18003569377"},
    {"EG", "٠١٠٠ ١٢٣ ٤٥٦٧", "+201001234567"},       {"US", "201-555-0123 ext. 12", "+12015550123"},
};

TEST(PhoneNumbers, NationalNumbersBecomeWhatMessagesStores) {
  for (const Written& written : kWritten)
    EXPECT_EQ(PhoneNumbers({std::string(written.country), "", {}}, {}).normalized(written.number),
              ContactNormalization::phone(written.handle))
        << written.number;
}

TEST(PhoneNumbers, TheCountryComesFromTheLocaleThenTheFileThenTheStore) {
  const PhoneNumbers numbers({std::nullopt, "US", {"+33612345678", "+33612345679", "ada@example.org", "22456"}},
                             people({"01 45 67 89 10", "+41 79 123 45 67"}));
  EXPECT_THAT(numbers.countries(), ElementsAre("US", "CH", "FR"));
  EXPECT_EQ(numbers.normalized("079 123 45 67"), "1791234567") << "no valid number of the US";
  EXPECT_EQ(numbers.normalized("01 45 67 89 10"), "3145678910");
  EXPECT_THAT(PhoneNumbers({"DE", "US", {}}, people({"+41 79 123 45 67"})).countries(), ElementsAre("DE"));
  EXPECT_FALSE(PhoneNumbers({"DE", "US", {}}, people({" +41 79 123 45 67", "+1 201 555 0123"})).needsCountry());
  EXPECT_TRUE(PhoneNumbers({"DE", "US", {}}, people({"+41 79 123 45 67", "079 123 45 67"})).needsCountry());
}

TEST(PhoneNumbers, TheReadingThatTheStoreKnowsCounts) {
  const PhoneNumbers numbers({std::nullopt, "FR", {"+31612345678"}}, {});
  EXPECT_EQ(numbers.normalized("06 12345678"), "1612345678") << "Dutch, although valid in France too";
  EXPECT_EQ(numbers.normalized("06 12 34 56 79"), "3612345679");
}

TEST(PhoneNumbers, WhatIsStoredAlreadyStays) {
  const PhoneNumbers numbers({std::nullopt, "DE", {"+41791234567"}}, {});
  EXPECT_EQ(numbers.normalized("1791234567"), "1791234567");
}

TEST(PhoneNumbers, TheLocaleNamesACountryOrNone) {
  const std::pair<const char*, const char*> kLocales[] = {{"de_AT.UTF-8", "AT"}, {"fr_CA", "CA"}, {"sr_RS@latin", "RS"},
                                                          {"C.UTF-8", ""},       {"POSIX", ""},   {"eo", ""},
                                                          {"xx_QQ", ""}};
  support::ScopedEnvironment environment;
  environment.unset("LC_TELEPHONE");
  for (const auto& [locale, country] : kLocales) {
    environment.set("LC_ALL", locale);
    EXPECT_EQ(PhoneNumbers::localeCountry(), country) << locale;
  }
  environment.unset("LC_ALL");
  environment.set("LANG", "en_US.UTF-8");
  EXPECT_EQ(PhoneNumbers::localeCountry(), "US");
  environment.set("LC_TELEPHONE", "de_DE.UTF-8");
  EXPECT_EQ(PhoneNumbers::localeCountry(), "DE");
}

TEST(PhoneNumbers, AnyBytesAreRead) {
  const PhoneNumbers numbers({std::nullopt, "US", {}}, {});
  for (const std::string& text : {std::string(), std::string("\xFF\xFE+"), std::string(10'000, '1'), std::string("+"),
                                  std::string("\0\0", 2), std::string(300, '(')})
    EXPECT_LE(numbers.normalized(text).size(), 10U);
}

}  // namespace
}  // namespace pellora
