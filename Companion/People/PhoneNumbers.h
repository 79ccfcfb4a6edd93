// Numbers as people write them, made into what Messages numbers normalize to. A national number needs a country: the
// one that was asked for, else that of the locale, else those of the international numbers in the file and in the
// store, most frequent first. Of several readings the one that the store knows counts, then the first valid one, then
// the first possible one; what no country reads keeps its digits. Of the store only its handles are used.
// Tested by Tests/Companion/PhoneNumbersTests.cpp.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "Companion/People/ContactCard.h"

namespace pellora {

class PhoneNumbers {
 public:
  struct Hints {
    std::optional<std::string> country;     // two letters; then no other is tried
    std::string localeCountry;              // empty when the locale has none
    std::vector<std::string> storeHandles;  // in the store's spelling
  };

  // Whether there are phone numbers of such a country: "DE".
  static bool isCountry(const std::string& country);

  // Of LC_ALL, LC_TELEPHONE or LANG, the first that is set: "de_AT.UTF-8" is "AT". Empty for "C".
  static std::string localeCountry();

  PhoneNumbers(const Hints& hints, const ImportedPeople& imported);

  // Whether somebody's number is without a country code.
  bool needsCountry() const { return _needsCountry; }

  // Two letters each, in the order in which they are tried.
  const std::vector<std::string>& countries() const { return _countries; }

  // As HelperPerson has it; empty without digits.
  std::string normalized(std::string_view number) const;

  // Normalizes everybody's numbers. Numbers too short to match, and numbers that a company's card or several people of
  // one organization have, are left out with a remark; who has nothing left is skipped.
  void normalize(ImportedPeople& imported) const;

 private:
  bool _needsCountry = false;
  std::vector<std::string> _countries;
  std::unordered_set<std::string> _known;  // the store's, normalized
};

}  // namespace pellora
